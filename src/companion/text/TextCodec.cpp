#include "companion/text/TextCodec.h"

#include "companion/log/LogBase.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/XString.h"

#include <openssl/bn.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>
#include <optional>
#include <utility>

namespace {

enum class Encoding { Base64, Hex, HexLower, Decimal, Raw };

constexpr std::array<std::pair<std::string_view, Encoding>, 8> kEncodingNames = {{
    {"base64", Encoding::Base64},
    {"hex", Encoding::Hex},
    {"hex_lower", Encoding::HexLower},
    {"decimal", Encoding::Decimal},
    {"ascii", Encoding::Raw},
    {"us-ascii", Encoding::Raw},
    {"utf-8", Encoding::Raw},
    {"utf8", Encoding::Raw},
}};

constexpr std::string_view kUpperDigits = "0123456789ABCDEF";
constexpr std::string_view kLowerDigits = "0123456789abcdef";

char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

std::optional<Encoding> encodingByName(std::string_view name) {
    for (const auto& [known, encoding] : kEncodingNames)
        if (std::equal(name.begin(), name.end(), known.begin(), known.end(),
                       [](char a, char b) { return lowerAscii(a) == b; }))
            return encoding;
    return std::nullopt;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    c = lowerAscii(c);
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

struct BignumFree {
    void operator()(BIGNUM* bn) const { BN_free(bn); }
};
using Bignum = std::unique_ptr<BIGNUM, BignumFree>;

struct OpenSslStringFree {
    void operator()(char* s) const { OPENSSL_free(s); }
};
using OpenSslString = std::unique_ptr<char, OpenSslStringFree>;

// A decimal integer (white space around it allowed) as its minimal
// big-endian bytes; zero is one zero byte.
bool decodeDecimal(std::string_view text, std::string& out) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return false;
    const std::string digits(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
    if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return false;
    BIGNUM* raw = nullptr;
    if (BN_dec2bn(&raw, digits.c_str()) != static_cast<int>(digits.size()))
        return false;
    const Bignum bn(raw);
    const size_t n = static_cast<size_t>(BN_num_bytes(bn.get()));
    if (n == 0) {
        out.push_back('\0');
        return true;
    }
    const size_t start = out.size();
    out.resize(start + n);
    BN_bn2bin(bn.get(), reinterpret_cast<unsigned char*>(out.data() + start));
    return true;
}

bool encodeDecimal(std::string_view bytes, std::string& out) {
    if (bytes.empty())
        return true;
    const Bignum bn(
        BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()), nullptr));
    if (!bn)
        return false;
    const OpenSslString text(BN_bn2dec(bn.get()));
    if (!text)
        return false;
    out.append(text.get());
    return true;
}

} // namespace

void TextCodec::put_EncodingMode(const XString& name) {
    m_mode.assign(name.view());
}

void TextCodec::get_EncodingMode(XString& out) const {
    out.setFromUtf8(m_mode);
}

bool TextCodec::decodeBinary(const XString& text, DataBuffer& out, bool append, LogBase& log) const {
    if (!isKnownEncoding(m_mode)) {
        log.LogError("Unsupported encoding.");
        log.LogDataStr("encoding", m_mode);
        return false;
    }
    std::string bytes;
    if (!decodeByName(text.view(), m_mode, bytes)) {
        log.LogError("Text is not valid in the encoding.");
        log.LogDataStr("encoding", m_mode);
        return false;
    }
    if (!append)
        out.clear();
    out.append(bytes);
    // The bytes are often a secret key.
    OPENSSL_cleanse(bytes.data(), bytes.size());
    return true;
}

bool TextCodec::encodeBinary(const DataBuffer& bytes, XString& out, bool append, LogBase& log) const {
    std::string text = append ? std::string(out.view()) : std::string();
    if (!encodeByName(bytes.view(), m_mode, text)) {
        log.LogError("Unsupported encoding.");
        log.LogDataStr("encoding", m_mode);
        return false;
    }
    out.setFromUtf8(text);
    return true;
}

bool TextCodec::isKnownEncoding(std::string_view name) {
    return encodingByName(name).has_value();
}

bool TextCodec::decodeByName(std::string_view text, std::string_view encoding, std::string& out) {
    const std::optional<Encoding> e = encodingByName(encoding);
    if (!e)
        return false;
    switch (*e) {
    case Encoding::Base64:
        return ContentCoding::decodeBase64(text, out);
    case Encoding::Hex:
    case Encoding::HexLower:
        return decodeHex(text, out);
    case Encoding::Decimal:
        return decodeDecimal(text, out);
    case Encoding::Raw:
        out.append(text);
        return true;
    }
    return false;
}

bool TextCodec::encodeByName(std::string_view bytes, std::string_view encoding, std::string& out) {
    const std::optional<Encoding> e = encodingByName(encoding);
    if (!e)
        return false;
    switch (*e) {
    case Encoding::Base64:
        ContentCoding::encodeBase64(bytes.data(), bytes.size(), out);
        return true;
    case Encoding::Hex:
        encodeHex(bytes, false, out);
        return true;
    case Encoding::HexLower:
        encodeHex(bytes, true, out);
        return true;
    case Encoding::Decimal:
        return encodeDecimal(bytes, out);
    case Encoding::Raw:
        out.append(bytes);
        return true;
    }
    return false;
}

void TextCodec::encodeHex(std::string_view bytes, bool lowerCase, std::string& out) {
    const std::string_view digits = lowerCase ? kLowerDigits : kUpperDigits;
    out.reserve(out.size() + bytes.size() * 2);
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        out.push_back(digits[b >> 4]);
        out.push_back(digits[b & 0x0F]);
    }
}

bool TextCodec::decodeHex(std::string_view text, std::string& out) {
    const size_t start = out.size();
    int high = -1;
    for (char c : text) {
        if (isSpace(c))
            continue;
        const int v = hexValue(c);
        if (v < 0) {
            out.resize(start);
            return false;
        }
        if (high < 0) {
            high = v;
        } else {
            out.push_back(static_cast<char>(high << 4 | v));
            high = -1;
        }
    }
    if (high >= 0) {
        out.resize(start);
        return false;
    }
    return true;
}

bool TextCodec::isHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool TextCodec::isHexText(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isHexDigit);
}
