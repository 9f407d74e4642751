#include "companion/pki/DnSyntax.h"

#include "companion/pki/PkiHandles.h"
#include "companion/text/TextCodec.h"
#include "companion/xml/XmlChars.h"

#include <openssl/asn1.h>

#include <cctype>
#include <string_view>

namespace {

constexpr std::string_view kSeparators = ",;+";
constexpr std::string_view kMustEscape = ",;+\"\\<>";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool isSeparator(char c) {
    return kSeparators.find(c) != std::string_view::npos;
}

bool isTypeChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_';
}

// Reads DN text left to right.
class DnReader {
public:
    explicit DnReader(std::string_view text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }
    void skipSpace() {
        while (!atEnd() && xml_chars::isSpace(m_text[m_pos]))
            ++m_pos;
    }
    // Consumes a separator, returning it, or '\0' at the end of the text.
    char takeSeparator() { return atEnd() ? '\0' : m_text[m_pos++]; }

    // "type =" at the current position (after white space): the type, with
    // the '=' consumed; empty (nothing consumed) when there is none.
    std::string takeType() {
        const size_t start = m_pos;
        skipSpace();
        const size_t typeStart = m_pos;
        while (!atEnd() && isTypeChar(m_text[m_pos]))
            ++m_pos;
        const size_t typeEnd = m_pos;
        skipSpace();
        if (typeEnd > typeStart && peek() == '=') {
            ++m_pos;
            return std::string(m_text.substr(typeStart, typeEnd - typeStart));
        }
        m_pos = start;
        return {};
    }

    // A value up to the next separator that starts a new attribute (or any
    // separator when `everySeparator`); escapes and quotes are resolved.
    std::string takeValue(bool everySeparator) {
        skipSpace();
        std::string value;
        size_t keepTo = 0; // bytes of value that trailing-space trimming must keep
        while (!atEnd()) {
            const char c = m_text[m_pos];
            if (isSeparator(c) && (everySeparator || startsAttributeAfter(m_pos + 1)))
                break;
            ++m_pos;
            if (c == '\\') {
                takeEscape(value);
                keepTo = value.size();
            } else if (c == '"') {
                takeQuoted(value);
                keepTo = value.size();
            } else {
                value.push_back(c);
            }
        }
        while (value.size() > keepTo && xml_chars::isSpace(value.back()))
            value.pop_back();
        return value;
    }

private:
    bool startsAttributeAfter(size_t pos) const {
        DnReader rest(m_text);
        rest.m_pos = pos;
        rest.skipSpace();
        return rest.atEnd() || !rest.takeType().empty();
    }

    void takeEscape(std::string& value) {
        if (m_pos + 1 < m_text.size() && TextCodec::isHexDigit(m_text[m_pos]) &&
            TextCodec::isHexDigit(m_text[m_pos + 1])) {
            TextCodec::decodeHex(m_text.substr(m_pos, 2), value);
            m_pos += 2;
        } else if (!atEnd()) {
            value.push_back(m_text[m_pos++]);
        }
    }

    void takeQuoted(std::string& value) {
        while (!atEnd()) {
            const char c = m_text[m_pos++];
            if (c == '"')
                return;
            if (c == '\\')
                takeEscape(value);
            else
                value.push_back(c);
        }
    }

    std::string_view m_text;
    size_t m_pos = 0;
};

// "#" followed by the hex of a DER string value: the string's text when it
// is one, else the text as written. Only an unescaped, unquoted '#' starts
// this form; "\#" and "\23" are the character.
std::string decodeHexValue(const std::string& written) {
    std::string der;
    if (written.size() < 2 || written.front() != '#' || !TextCodec::decodeHex(written.substr(1), der))
        return written;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(der.data());
    const Asn1TypePtr any(d2i_ASN1_TYPE(nullptr, &p, static_cast<long>(der.size())));
    if (!any || any->type == V_ASN1_BOOLEAN || any->type == V_ASN1_NULL || any->type == V_ASN1_OBJECT)
        return written;
    unsigned char* utf8 = nullptr;
    const int n = ASN1_STRING_to_UTF8(&utf8, any->value.asn1_string);
    const OpensslBytes owned(utf8);
    return n < 0 ? written : std::string(reinterpret_cast<const char*>(utf8), static_cast<size_t>(n));
}

} // namespace

std::vector<DnAva> DnSyntax::parse(std::string_view dn) {
    std::vector<DnAva> avas;
    DnReader reader(dn);
    int rdn = 0;
    reader.skipSpace();
    while (!reader.atEnd()) {
        DnAva ava;
        ava.type = reader.takeType();
        reader.skipSpace();
        const bool hexForm = reader.peek() == '#';
        std::string written = reader.takeValue(false);
        ava.value = hexForm ? decodeHexValue(written) : std::move(written);
        ava.rdn = rdn;
        if (!ava.type.empty() || !ava.value.empty())
            avas.push_back(std::move(ava));
        if (reader.takeSeparator() != '+')
            ++rdn;
        reader.skipSpace();
    }
    return avas;
}

std::vector<std::string> DnSyntax::parseValues(std::string_view values) {
    std::vector<std::string> out;
    DnReader reader(values);
    reader.skipSpace();
    while (!reader.atEnd()) {
        std::string value = reader.takeValue(true);
        if (!value.empty())
            out.push_back(std::move(value));
        reader.takeSeparator();
        reader.skipSpace();
    }
    return out;
}

void DnSyntax::appendEscaped(std::string_view value, std::string& out) {
    for (size_t i = 0; i < value.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(value[i]);
        const bool edgeSpace = c == ' ' && (i == 0 || i + 1 == value.size());
        if (c < 0x20 || c == 0x7F) {
            out.push_back('\\');
            out.push_back(kHexDigits[c >> 4]);
            out.push_back(kHexDigits[c & 0xF]);
            continue;
        }
        if (kMustEscape.find(static_cast<char>(c)) != std::string_view::npos || edgeSpace || (i == 0 && c == '#'))
            out.push_back('\\');
        out.push_back(static_cast<char>(c));
    }
}
