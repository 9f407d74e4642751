#include "companion/pki/Asn1ValueCodec.h"

#include "companion/pki/OidText.h"
#include "companion/pki/PkiHandles.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/TextCodec.h"
#include "companion/xml/XmlChars.h"

#include <openssl/err.h>
#include <openssl/objects.h>

#include <algorithm>

namespace {

bool isUnchangedByXml(std::string_view text) {
    if (text.empty())
        return true;
    if (xml_chars::isSpace(text.front()) || xml_chars::isSpace(text.back()))
        return false;
    const bool controls = std::any_of(text.begin(), text.end(), [](char c) {
        const auto b = static_cast<unsigned char>(c);
        return (b < 0x20 && c != '\t' && c != '\n') || b == 0x7F;
    });
    return !controls && xml_chars::checkText(text).badOffset == std::string_view::npos;
}

std::optional<std::string> oidText(std::string_view content) {
    const Asn1ObjectPtr obj(ASN1_OBJECT_create(NID_undef,
                                               reinterpret_cast<unsigned char*>(const_cast<char*>(content.data())),
                                               static_cast<int>(content.size()), nullptr, nullptr));
    std::string text = OidText::dotted(obj.get());
    if (text.empty())
        return std::nullopt;
    return text;
}

bool oidContent(const std::string& text, std::string& out) {
    const Asn1ObjectPtr obj(OBJ_txt2obj(text.c_str(), 1));
    if (!obj) {
        ERR_clear_error();
        return false;
    }
    out.append(reinterpret_cast<const char*>(OBJ_get0_data(obj.get())), OBJ_length(obj.get()));
    return true;
}

// BMPString and UniversalString content as UTF-8, through OpenSSL's converter.
std::optional<std::string> wideText(int type, std::string_view content) {
    const Asn1StringPtr str(ASN1_STRING_type_new(type));
    if (!str || !ASN1_STRING_set(str.get(), content.data(), static_cast<int>(content.size())))
        return std::nullopt;
    unsigned char* utf8 = nullptr;
    const int n = ASN1_STRING_to_UTF8(&utf8, str.get());
    const OpensslBytes owned(utf8);
    if (n < 0) {
        ERR_clear_error();
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(utf8), static_cast<size_t>(n));
}

bool wideContent(unsigned long mask, const std::string& text, std::string& out) {
    ASN1_STRING* converted = nullptr;
    const int type = ASN1_mbstring_copy(&converted, reinterpret_cast<const unsigned char*>(text.data()),
                                        static_cast<int>(text.size()), MBSTRING_UTF8, mask);
    const Asn1StringPtr owned(converted);
    if (type < 0) {
        ERR_clear_error();
        return false;
    }
    out.append(reinterpret_cast<const char*>(ASN1_STRING_get0_data(converted)),
               static_cast<size_t>(ASN1_STRING_length(converted)));
    return true;
}

std::optional<Asn1ValueText> renderUnchecked(Asn1ValueForm form, std::string_view content) {
    Asn1ValueText value;
    switch (form) {
    case Asn1ValueForm::Hex:
        TextCodec::encodeHex(content, false, value.text);
        return value;
    case Asn1ValueForm::Base64:
        ContentCoding::encodeBase64(content.data(), content.size(), value.text);
        return value;
    case Asn1ValueForm::Bits:
        if (content.empty())
            return std::nullopt;
        value.unusedBits = static_cast<unsigned char>(content.front());
        ContentCoding::encodeBase64(content.data() + 1, content.size() - 1, value.text);
        return value;
    case Asn1ValueForm::Oid: {
        std::optional<std::string> text = oidText(content);
        if (!text)
            return std::nullopt;
        value.text = std::move(*text);
        return value;
    }
    case Asn1ValueForm::Text:
        value.text.assign(content);
        break;
    case Asn1ValueForm::Ucs2:
    case Asn1ValueForm::Ucs4: {
        std::optional<std::string> text =
            wideText(form == Asn1ValueForm::Ucs2 ? V_ASN1_BMPSTRING : V_ASN1_UNIVERSALSTRING, content);
        if (!text)
            return std::nullopt;
        value.text = std::move(*text);
        break;
    }
    case Asn1ValueForm::Empty:
        return content.empty() ? std::optional<Asn1ValueText>(value) : std::nullopt;
    case Asn1ValueForm::Children:
        return std::nullopt;
    }
    return isUnchangedByXml(value.text) ? std::optional<Asn1ValueText>(std::move(value)) : std::nullopt;
}

} // namespace

std::optional<Asn1ValueText> Asn1ValueCodec::render(Asn1ValueForm form, std::string_view content) {
    std::optional<Asn1ValueText> value = renderUnchecked(form, content);
    std::string back;
    if (value && (!parse(form, *value, back) || back != content))
        return std::nullopt;
    return value;
}

bool Asn1ValueCodec::parse(Asn1ValueForm form, const Asn1ValueText& value, std::string& out) {
    switch (form) {
    case Asn1ValueForm::Hex:
        return TextCodec::decodeHex(value.text, out);
    case Asn1ValueForm::Base64:
        return ContentCoding::decodeBase64(value.text, out);
    case Asn1ValueForm::Bits: {
        const unsigned unused = value.unusedBits.value_or(0);
        if (unused > 0xFF)
            return false;
        std::string bits(1, static_cast<char>(unused));
        if (!ContentCoding::decodeBase64(value.text, bits))
            return false;
        out.append(bits);
        return true;
    }
    case Asn1ValueForm::Oid:
        return oidContent(value.text, out);
    case Asn1ValueForm::Text:
        out.append(value.text);
        return true;
    case Asn1ValueForm::Ucs2:
        return wideContent(B_ASN1_BMPSTRING, value.text, out);
    case Asn1ValueForm::Ucs4:
        return wideContent(B_ASN1_UNIVERSALSTRING, value.text, out);
    case Asn1ValueForm::Empty:
        return value.text.find_first_not_of(" \t\r\n") == std::string::npos;
    case Asn1ValueForm::Children:
        return false;
    }
    return false;
}
