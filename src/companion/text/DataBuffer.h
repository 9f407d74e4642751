#pragma once

#include "companion/text/SharedText.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

class LogBase;
class StringBuffer;

// A growable byte buffer. Bytes live in a std::string so that text can move
// between DataBuffer and StringBuffer without a copy; read-only bytes handed
// over as a SharedText (a mapped file) are copied only if written to.
class DataBuffer {
public:
    DataBuffer() = default;
    virtual ~DataBuffer() = default;
    DataBuffer(const DataBuffer&) = default;
    DataBuffer& operator=(const DataBuffer&) = default;
    DataBuffer(DataBuffer&&) noexcept = default;
    DataBuffer& operator=(DataBuffer&&) noexcept = default;

    const unsigned char* getData() const { return reinterpret_cast<const unsigned char*>(view().data()); }
    unsigned char* getDataRw() {
        own();
        return reinterpret_cast<unsigned char*>(m_bytes.data());
    }
    unsigned getSize() const { return static_cast<unsigned>(view().size()); }
    bool isEmpty() const { return view().empty(); }
    std::string_view view() const { return m_shared ? m_shared.view() : std::string_view(m_bytes); }

    void clear() {
        m_shared.reset();
        m_bytes.clear();
    }
    // Overwrites the bytes before releasing them; for key material.
    void secureClear();
    bool append(const void* data, size_t n);
    bool append(std::string_view s) { return append(s.data(), s.size()); }
    bool append(const DataBuffer& other) { return append(other.view()); }
    bool appendChar(unsigned char c);
    void ensureBuffer(size_t n) {
        own();
        m_bytes.reserve(n);
    }
    bool equals(const DataBuffer& other) const { return view() == other.view(); }
    void takeString(std::string&& s) {
        m_shared.reset();
        m_bytes = std::move(s);
    }
    std::string takeString() {
        own();
        return std::move(m_bytes);
    }
    // Holds these read-only bytes in place of its own.
    void takeShared(SharedText text) {
        m_bytes.clear();
        m_shared = std::move(text);
    }
    // The read-only bytes it holds, if any (it is left empty then).
    SharedText takeShared() {
        SharedText text = std::move(m_shared);
        m_shared.reset();
        return text;
    }
    void swap(DataBuffer& other) noexcept {
        m_bytes.swap(other.m_bytes);
        std::swap(m_shared, other.m_shared);
    }

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
    // Copies shared bytes into the buffer's own before a write.
    void own();
    void dropFront(size_t n);

    std::string m_bytes;
    SharedText m_shared;
};
