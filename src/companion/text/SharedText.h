#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

class MappedFile;

// Read-only bytes a buffer hands to its readers without a copy: a string
// moved in, or a mapped file. A zero byte follows them either way. Copies
// share the bytes.
class SharedText {
public:
    SharedText() = default;
    static SharedText ofString(std::string&& bytes);
    static SharedText ofFile(std::shared_ptr<const MappedFile> file);

    explicit operator bool() const { return m_string || m_file; }
    std::string_view view() const { return m_view; }
    const char* c_str() const { return m_view.data(); }
    void reset() { *this = SharedText(); }
    // Leaves the first n bytes out of the view (a byte-order mark).
    void dropFront(size_t n) { m_view.remove_prefix(std::min(n, m_view.size())); }
    // A reader is done with [begin, end) of the view for now: a mapped file
    // gives those pages back (they are mapped again if read), a string keeps
    // them.
    void releasePages(size_t begin, size_t end) const;

private:
    std::shared_ptr<const std::string> m_string;
    std::shared_ptr<const MappedFile> m_file;
    std::string_view m_view;
};
