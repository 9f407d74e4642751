#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class LogBase;
class StringBuffer;

// A growable byte buffer. Bytes live in a std::string so that text can move
// between DataBuffer and StringBuffer without a copy.
class DataBuffer {
public:
    DataBuffer() = default;
    virtual ~DataBuffer() = default;
    DataBuffer(const DataBuffer&) = default;
    DataBuffer& operator=(const DataBuffer&) = default;
    DataBuffer(DataBuffer&&) noexcept = default;
    DataBuffer& operator=(DataBuffer&&) noexcept = default;

    const unsigned char* getData() const { return reinterpret_cast<const unsigned char*>(m_bytes.data()); }
    unsigned char* getDataRw() { return reinterpret_cast<unsigned char*>(m_bytes.data()); }
    unsigned getSize() const { return static_cast<unsigned>(m_bytes.size()); }
    bool isEmpty() const { return m_bytes.empty(); }
    std::string_view view() const { return m_bytes; }

    void clear() { m_bytes.clear(); }
    // Overwrites the bytes before releasing them; for key material.
    void secureClear();
    bool append(const void* data, size_t n);
    bool append(std::string_view s) { return append(s.data(), s.size()); }
    bool append(const DataBuffer& other) { return append(other.view()); }
    bool appendChar(unsigned char c);
    void ensureBuffer(size_t n) { m_bytes.reserve(n); }
    bool equals(const DataBuffer& other) const { return m_bytes == other.m_bytes; }
    void takeString(std::string&& s) { m_bytes = std::move(s); }
    std::string takeString() { return std::move(m_bytes); }
    void swap(DataBuffer& other) noexcept { m_bytes.swap(other.m_bytes); }

    // Decodes text in the named encoding ("base64", "hex", "ascii", "utf-8")
    // and appends the bytes; false for malformed input or unknown encoding.
    bool appendEncoded(std::string_view encoded, std::string_view encoding);
    // Appends the bytes encoded as the named encoding ("base64", "hex", ...).
    bool encodeDB(std::string_view encoding, StringBuffer& out) const;

    // Converts an XML document in any declared or BOM-marked encoding into
    // UTF-8 in place; every leading byte-order mark is dropped. Bytes that
    // are not valid in the encoding (UTF-8 when none is declared), or a start
    // that contradicts the declaration, fail with one error line that says
    // where ("XML parse error at line L, column C: ...").
    bool convertXmlToUtf8(LogBase& log);

private:
    std::string m_bytes;
};
