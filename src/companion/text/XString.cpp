#include "companion/text/XString.h"

#include "companion/log/LogBase.h"
#include "companion/text/Charset.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/TextCodec.h"
#include "companion/text/Utf8.h"
#include "companion/text/Windows1252.h"

XString::~XString() {
    if (m_secure)
        m_sb.secureClear();
}

void XString::setSecureX(const XString& other) {
    m_sb.secureClear();
    m_sb.setString(other.view());
    m_secure = true;
}

bool XString::checkFixUtf8Windows1252(LogBase& log) {
    if (isValidUtf8(view()))
        return false;
    std::string utf8;
    appendWindows1252AsUtf8(view(), utf8);
    if (m_secure)
        m_sb.secureClear();
    m_sb.setString(utf8);
    log.LogInfo("The string is not valid UTF-8; converted it from windows-1252.");
    return true;
}

bool XString::getConverted(std::string_view charset, DataBuffer& out) const {
    Charset cs;
    return cs.setByName(charset) && getConverted(cs, out);
}

bool XString::getConverted(const Charset& charset, DataBuffer& out) const {
    return charset.fromUtf8(view(), out);
}

bool XString::reencode(std::string_view charset) {
    Charset cs;
    std::string utf8;
    if (!cs.setByName(charset) || !cs.toUtf8(view(), utf8))
        return false;
    m_sb.setString(utf8);
    return true;
}

bool XString::reencode(std::string_view fromEncoding, std::string_view toEncoding) {
    std::string bytes;
    std::string text;
    if (!TextCodec::decodeByName(view(), fromEncoding, bytes) || !TextCodec::encodeByName(bytes, toEncoding, text))
        return false;
    m_sb.setString(text);
    return true;
}
