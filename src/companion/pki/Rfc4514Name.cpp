#include "companion/pki/Rfc4514Name.h"

#include "companion/pki/DnAttributeTypes.h"
#include "companion/text/TextCodec.h"
#include "companion/xml/XmlChars.h"

#include <openssl/err.h>
#include <openssl/objects.h>

#include <cctype>

namespace {

constexpr int kNewRdn = 0;   // X509_NAME_add_entry: the entry starts a relative name
constexpr int kSameRdn = -1; // ... or joins the one before it

bool isRdnEnd(char c) {
    return c == ',' || c == ';';
}

bool isAvaEnd(char c) {
    return isRdnEnd(c) || c == '+';
}

bool isTypeChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-';
}

class Rfc4514Reader {
public:
    explicit Rfc4514Reader(std::string_view text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    void skipBlanks() {
        while (!atEnd() && xml_chars::isSpace(m_text[m_pos]))
            ++m_pos;
    }
    // The separator after a value, or '\0' at the end of the text.
    char takeSeparator() { return atEnd() ? '\0' : m_text[m_pos++]; }

    bool readType(std::string& type) {
        skipBlanks();
        const size_t start = m_pos;
        while (!atEnd() && isTypeChar(m_text[m_pos]))
            ++m_pos;
        type = m_text.substr(start, m_pos - start);
        skipBlanks();
        if (type.empty() || atEnd() || m_text[m_pos] != '=')
            return false;
        ++m_pos;
        return true;
    }

    bool readValue(Rfc4514Ava& ava) {
        skipBlanks();
        if (atEnd())
            return true;
        if (m_text[m_pos] == '#')
            return readHexValue(ava);
        if (m_text[m_pos] == '"')
            return readQuoted(ava.value);
        return readString(ava.value);
    }

private:
    bool atValueEnd() {
        skipBlanks();
        return atEnd() || isAvaEnd(m_text[m_pos]);
    }

    bool readHexValue(Rfc4514Ava& ava) {
        const size_t start = ++m_pos;
        while (!atEnd() && TextCodec::isHexDigit(m_text[m_pos]))
            ++m_pos;
        ava.ber = true;
        return m_pos > start && TextCodec::decodeHex(m_text.substr(start, m_pos - start), ava.value) && atValueEnd();
    }

    bool readQuoted(std::string& value) {
        ++m_pos;
        while (!atEnd()) {
            const char c = m_text[m_pos++];
            if (c == '"')
                return atValueEnd();
            if (c != '\\')
                value.push_back(c);
            else if (!readEscape(value))
                return false;
        }
        return false;
    }

    // Up to the next unescaped separator; blanks at the end are dropped
    // unless escaped.
    bool readString(std::string& value) {
        size_t escapedTo = 0;
        while (!atEnd() && !isAvaEnd(m_text[m_pos])) {
            const char c = m_text[m_pos++];
            if (c != '\\') {
                value.push_back(c);
                continue;
            }
            if (!readEscape(value))
                return false;
            escapedTo = value.size();
        }
        while (value.size() > escapedTo && xml_chars::isSpace(value.back()))
            value.pop_back();
        return true;
    }

    // After a backslash: a hex pair is one byte, anything else itself.
    bool readEscape(std::string& value) {
        if (atEnd())
            return false;
        if (m_pos + 1 < m_text.size() && TextCodec::isHexDigit(m_text[m_pos]) &&
            TextCodec::isHexDigit(m_text[m_pos + 1])) {
            TextCodec::decodeHex(m_text.substr(m_pos, 2), value);
            m_pos += 2;
        } else {
            value.push_back(m_text[m_pos++]);
        }
        return true;
    }

    std::string_view m_text;
    size_t m_pos = 0;
};

// The string a "#hex" value encodes, with its ASN.1 type; false for values
// that are not strings (BOOLEAN, NULL, OBJECT) or not one whole BER element.
bool berString(const std::string& ber, Asn1TypePtr& any) {
    const auto* p = reinterpret_cast<const unsigned char*>(ber.data());
    any.reset(d2i_ASN1_TYPE(nullptr, &p, static_cast<long>(ber.size())));
    if (!any) {
        ERR_clear_error();
        return false;
    }
    const bool whole = p == reinterpret_cast<const unsigned char*>(ber.data()) + ber.size();
    return whole && any->type != V_ASN1_BOOLEAN && any->type != V_ASN1_NULL && any->type != V_ASN1_OBJECT;
}

bool addEntry(X509_NAME* name, const Rfc4514Ava& ava, int set) {
    const std::string oid = DnAttributeTypes::oidOf(ava.type);
    const Asn1ObjectPtr obj(oid.empty() ? nullptr : OBJ_txt2obj(oid.c_str(), 1));
    if (!obj) {
        ERR_clear_error();
        return false;
    }
    int type = V_ASN1_UTF8STRING;
    const auto* bytes = reinterpret_cast<const unsigned char*>(ava.value.data());
    int length = static_cast<int>(ava.value.size());
    Asn1TypePtr any;
    if (ava.ber) {
        if (!berString(ava.value, any))
            return false;
        type = any->type;
        bytes = ASN1_STRING_get0_data(any->value.asn1_string);
        length = ASN1_STRING_length(any->value.asn1_string);
    }
    return X509_NAME_add_entry_by_OBJ(name, obj.get(), type, bytes, length, -1, set) == 1;
}

} // namespace

std::optional<std::vector<Rfc4514Rdn>> Rfc4514Name::parse(std::string_view text) {
    std::vector<Rfc4514Rdn> rdns;
    Rfc4514Reader reader(text);
    reader.skipBlanks();
    if (reader.atEnd())
        return rdns;
    Rfc4514Rdn rdn;
    for (;;) {
        Rfc4514Ava ava;
        if (!reader.readType(ava.type) || !reader.readValue(ava))
            return std::nullopt;
        rdn.push_back(std::move(ava));
        const char separator = reader.takeSeparator();
        if (separator == '+')
            continue;
        rdns.push_back(std::move(rdn));
        rdn.clear();
        if (separator == '\0')
            return rdns;
    }
}

X509NamePtr Rfc4514Name::toX509Name(const std::vector<Rfc4514Rdn>& encodedOrder) {
    X509NamePtr name(X509_NAME_new());
    if (!name)
        return nullptr;
    for (const Rfc4514Rdn& rdn : encodedOrder) {
        for (size_t i = 0; i < rdn.size(); ++i) {
            if (!addEntry(name.get(), rdn[i], i == 0 ? kNewRdn : kSameRdn))
                return nullptr;
        }
    }
    return name;
}
