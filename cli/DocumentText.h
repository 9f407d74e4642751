#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

// The signed document's text, read back for excerpts: from the file a few
// hundred bytes at a time, or from the bytes already read (standard input).
class DocumentText {
public:
    static DocumentText ofFile(std::filesystem::path path);
    static DocumentText ofBytes(std::string bytes);

    // The start tag of the element at `offset`, at most kMaxExcerptBytes
    // ("..." marks a cut); empty when no start tag begins there.
    std::string elementStartAt(std::uint32_t offset) const;

    static constexpr size_t kMaxExcerptBytes = 240;

private:
    std::string window(std::uint32_t offset, size_t size) const;

    std::filesystem::path m_path;
    std::string m_bytes;
    bool m_inMemory = false;
};
