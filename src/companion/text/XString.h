#pragma once

#include "companion/text/StringBuffer.h"

#include <string_view>

class DataBuffer;
class LogBase;
class Charset;

// A caller-facing string, held as UTF-8.
class XString {
public:
    XString() = default;
    explicit XString(std::string_view utf8) : m_sb(utf8) {}
    XString(const XString&) = default;
    XString& operator=(const XString&) = default;
    XString(XString&&) noexcept = default;
    XString& operator=(XString&&) noexcept = default;
    // A string marked secure is wiped when destroyed.
    virtual ~XString();

    const char* getUtf8() const { return m_sb.getString(); }
    std::string_view view() const { return m_sb.view(); }
    const StringBuffer& getUtf8Sb() const { return m_sb; }
    StringBuffer& getUtf8Sb_rw() { return m_sb; }
    unsigned getSizeUtf8() const { return m_sb.getSize(); }
    bool isEmpty() const { return m_sb.isEmpty(); }

    void clear() { m_secure ? m_sb.secureClear() : m_sb.clear(); }
    void setFromUtf8(std::string_view s) { m_sb.setString(s); }
    void setFromSbUtf8(const StringBuffer& sb) { m_sb.setString(sb.view()); }
    void appendUtf8(std::string_view s) { m_sb.append(s); }
    void copyFromX(const XString& other) { m_sb.setString(other.view()); }
    // Copies a secret, clearing the previous content securely; the copy is
    // marked secure.
    void setSecureX(const XString& other);
    // Marks the string as holding a secret (wiped when cleared or destroyed).
    void setSecureX(bool secure) { m_secure = secure; }
    bool isSecure() const { return m_secure; }
    void secureClear() { m_sb.secureClear(); }

    // Text that is not valid UTF-8 is taken to be windows-1252 and converted;
    // true when a repair was made (logged).
    bool checkFixUtf8Windows1252(LogBase& log);
    // The text in the named charset; false when it cannot be represented.
    bool getConverted(std::string_view charset, DataBuffer& out) const;
    bool getConverted(const Charset& charset, DataBuffer& out) const;
    // Reinterprets the held bytes as text in `charset` and converts to UTF-8.
    bool reencode(std::string_view charset);
    // Rewrites the text from one binary-to-text encoding into another
    // (names of TextCodec: "decimal", "hex", "base64", ...); false, with
    // the text unchanged, when it is not valid in the first.
    bool reencode(std::string_view fromEncoding, std::string_view toEncoding);

private:
    StringBuffer m_sb;
    bool m_secure = false;
};
