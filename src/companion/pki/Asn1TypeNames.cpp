#include "companion/pki/Asn1TypeNames.h"

#include <openssl/asn1.h>

namespace {

// Universal tags that OpenSSL has no constant for.
constexpr int kEmbeddedPdvTag = 11;
constexpr int kRelativeOidTag = 13;

constexpr Asn1TypeName kTypes[] = {
    {V_ASN1_BOOLEAN, "bool", Asn1ValueForm::Hex},
    {V_ASN1_INTEGER, "int", Asn1ValueForm::Hex},
    {V_ASN1_BIT_STRING, "bits", Asn1ValueForm::Bits},
    {V_ASN1_OCTET_STRING, "octets", Asn1ValueForm::Base64},
    {V_ASN1_NULL, "null", Asn1ValueForm::Empty},
    {V_ASN1_OBJECT, "oid", Asn1ValueForm::Oid},
    {V_ASN1_OBJECT_DESCRIPTOR, "objectDescriptor", Asn1ValueForm::Text},
    {V_ASN1_EXTERNAL, "external", Asn1ValueForm::Children},
    {V_ASN1_REAL, "real", Asn1ValueForm::Hex},
    {V_ASN1_ENUMERATED, "enumerated", Asn1ValueForm::Hex},
    {kEmbeddedPdvTag, "embeddedPdv", Asn1ValueForm::Children},
    {V_ASN1_UTF8STRING, "utf8", Asn1ValueForm::Text},
    {kRelativeOidTag, "relativeOid", Asn1ValueForm::Hex},
    {V_ASN1_SEQUENCE, "sequence", Asn1ValueForm::Children},
    {V_ASN1_SET, "set", Asn1ValueForm::Children},
    {V_ASN1_NUMERICSTRING, "numeric", Asn1ValueForm::Text},
    {V_ASN1_PRINTABLESTRING, "printable", Asn1ValueForm::Text},
    {V_ASN1_T61STRING, "t61", Asn1ValueForm::Text},
    {V_ASN1_VIDEOTEXSTRING, "videotex", Asn1ValueForm::Text},
    {V_ASN1_IA5STRING, "ia5", Asn1ValueForm::Text},
    {V_ASN1_UTCTIME, "utctime", Asn1ValueForm::Text},
    {V_ASN1_GENERALIZEDTIME, "gentime", Asn1ValueForm::Text},
    {V_ASN1_GRAPHICSTRING, "graphic", Asn1ValueForm::Text},
    {V_ASN1_VISIBLESTRING, "visible", Asn1ValueForm::Text},
    {V_ASN1_GENERALSTRING, "general", Asn1ValueForm::Text},
    {V_ASN1_UNIVERSALSTRING, "universalString", Asn1ValueForm::Ucs4},
    {V_ASN1_BMPSTRING, "bmp", Asn1ValueForm::Ucs2},
};

struct ClassElement {
    int tagClass;
    std::string_view element;
};

constexpr ClassElement kClassElements[] = {
    {V_ASN1_UNIVERSAL, "universalTag"},
    {V_ASN1_APPLICATION, "application"},
    {V_ASN1_CONTEXT_SPECIFIC, "contextSpecific"},
    {V_ASN1_PRIVATE, "private"},
};

} // namespace

const Asn1TypeName* Asn1TypeNames::byTag(int universalTag) {
    for (const Asn1TypeName& t : kTypes) {
        if (t.tag == universalTag)
            return &t;
    }
    return nullptr;
}

const Asn1TypeName* Asn1TypeNames::byElement(std::string_view element) {
    for (const Asn1TypeName& t : kTypes) {
        if (t.element == element)
            return &t;
    }
    return nullptr;
}

std::string_view Asn1TypeNames::classElement(int tagClass) {
    for (const ClassElement& c : kClassElements) {
        if (c.tagClass == tagClass)
            return c.element;
    }
    return kClassElements[0].element;
}

bool Asn1TypeNames::classOfElement(std::string_view element, int& tagClass) {
    for (const ClassElement& c : kClassElements) {
        if (c.element == element) {
            tagClass = c.tagClass;
            return true;
        }
    }
    return false;
}
