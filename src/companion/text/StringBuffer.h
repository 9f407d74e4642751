#pragma once

#include "companion/text/SharedText.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

class DataBuffer;
class ExtPtrArraySb;

// A growable UTF-8 (or byte) string. Thin over std::string; the one addition
// is share(): the buffer can hand its bytes to a reader (the XML tree) without
// a copy, and copies them back only if it is written to afterwards.
class StringBuffer {
public:
    StringBuffer() = default;
    explicit StringBuffer(std::string_view s) : m_str(s) {}
    explicit StringBuffer(std::string&& s) : m_str(std::move(s)) {}
    // Without it a string literal would fit both constructors above.
    explicit StringBuffer(const char* s) : m_str(s) {}
    StringBuffer(const StringBuffer& other) : m_str(other.view()) {}
    StringBuffer& operator=(const StringBuffer& other);
    StringBuffer(StringBuffer&&) noexcept = default;
    StringBuffer& operator=(StringBuffer&&) noexcept = default;
    virtual ~StringBuffer() = default;

    // Reading.
    std::string_view view() const { return m_shared ? m_shared.view() : std::string_view(m_str); }
    const char* getString() const { return m_shared ? m_shared.c_str() : m_str.c_str(); }
    unsigned getSize() const { return static_cast<unsigned>(view().size()); }
    bool isEmpty() const { return view().empty(); }
    char charAt(unsigned i) const { return i < getSize() ? view()[i] : '\0'; }
    const char* pCharAt(unsigned i) const { return i <= getSize() ? getString() + i : nullptr; }
    char lastChar() const { return isEmpty() ? '\0' : view().back(); }

    bool equals(std::string_view s) const { return view() == s; }
    bool equalsIgnoreCase(std::string_view s) const;
    bool beginsWith(std::string_view s) const { return view().starts_with(s); }
    bool endsWith(std::string_view s) const { return view().ends_with(s); }
    bool containsSubstring(std::string_view s) const { return view().find(s) != std::string_view::npos; }
    bool containsSubstringNoCase(std::string_view s) const;
    bool containsChar(char c) const { return view().find(c) != std::string_view::npos; }
    // Byte index of the first occurrence at or after start, or -1.
    int findSubstr(std::string_view s, unsigned start = 0) const;
    // The text from the first `start` through the following `end` (both
    // included when `inclusive`); out is left empty when either is missing.
    bool getDelimited(std::string_view start, std::string_view end, bool inclusive, StringBuffer& out) const;
    // Simple glob match: '*' any run of characters.
    bool matches(std::string_view pattern, bool caseSensitive = true) const;
    unsigned countCharOccurances(char c) const;

    // Writing.
    void clear();
    void secureClear();
    void setString(std::string_view s);
    bool append(std::string_view s);
    bool append(const StringBuffer& s) { return append(s.view()); }
    bool appendN(const char* p, size_t n) { return append(std::string_view(p, n)); }
    bool appendChar(char c);
    bool appendInt64(long long v);
    bool append3(std::string_view a, std::string_view b, std::string_view c);
    bool insertAt(unsigned pos, std::string_view s);
    void shorten(unsigned n);
    void removeChunk(unsigned start, unsigned len);
    unsigned removeCharOccurances(char c);
    unsigned replaceAllOccurances(std::string_view from, std::string_view to);
    bool replaceFirstOccurance(std::string_view from, std::string_view to);
    void trim2();
    void toLowerCase();
    void toUpperCase();
    // CRLF and lone CR become LF.
    void toLF();
    // Every line end (LF, CRLF or lone CR) becomes CRLF.
    void toCRLF();
    // Moves the bytes of db into this buffer (db is emptied); read-only bytes
    // it holds stay shared.
    void takeFromDb(DataBuffer& db);
    // Takes the content of other, leaving it empty.
    void takeSb(StringBuffer& other);
    void swap(StringBuffer& other) noexcept;

    // Splits on a delimiter; each part is appended to parts. With
    // `exceptDoubleQuoted`, delimiters inside double quotes do not split;
    // with `keepEmpty`, empty parts are kept.
    void split(ExtPtrArraySb& parts, char delim, bool exceptDoubleQuoted, bool keepEmpty) const;
    // Splits on any of the delimiter characters; each delimiter is a token
    // of its own, and empty runs between delimiters are dropped.
    void tokenize(ExtPtrArraySb& parts, std::string_view delims) const;

    // Direct access for code that builds large texts; invalidates sharing.
    std::string& raw();
    // Takes other's bytes without copying them; a later write to either
    // buffer copies first.
    void shareFrom(StringBuffer& other);
    // Hands out the current bytes for read-only sharing. Later writes to
    // this buffer copy first, so the shared text never changes.
    SharedText share();

private:
    void own();

    std::string m_str;
    SharedText m_shared;
};
