#include "companion/pki/DnAttributeTypes.h"

#include "companion/pki/OidText.h"
#include "companion/pki/PkiHandles.h"

#include <openssl/err.h>
#include <openssl/objects.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace {

struct DnAttributeType {
    std::string_view label; // written by getDN and used in canonical keys
    std::string_view oid;
    std::array<std::string_view, 3> aliases; // upper-case; unused slots empty
};

// Labels follow the short forms that XML signers (.NET, Java, OpenSSL) write.
constexpr DnAttributeType kTypes[] = {
    {"CN", "2.5.4.3", {"COMMONNAME"}},
    {"SN", "2.5.4.4", {"SURNAME"}},
    {"SERIALNUMBER", "2.5.4.5", {"DEVICESERIALNUMBER"}},
    {"C", "2.5.4.6", {"COUNTRYNAME"}},
    {"L", "2.5.4.7", {"LOCALITYNAME"}},
    {"ST", "2.5.4.8", {"S", "STATEORPROVINCENAME"}},
    {"STREET", "2.5.4.9", {"STREETADDRESS"}},
    {"O", "2.5.4.10", {"ORGANIZATIONNAME"}},
    {"OU", "2.5.4.11", {"ORGANIZATIONALUNITNAME"}},
    {"T", "2.5.4.12", {"TITLE"}},
    {"DESCRIPTION", "2.5.4.13", {}},
    {"BUSINESSCATEGORY", "2.5.4.15", {}},
    {"POSTALADDRESS", "2.5.4.16", {}},
    {"POSTALCODE", "2.5.4.17", {}},
    {"TELEPHONENUMBER", "2.5.4.20", {}},
    {"NAME", "2.5.4.41", {}},
    {"G", "2.5.4.42", {"GIVENNAME", "GN"}},
    {"I", "2.5.4.43", {"INITIALS"}},
    {"GENERATIONQUALIFIER", "2.5.4.44", {}},
    {"X500UNIQUEIDENTIFIER", "2.5.4.45", {}},
    {"DNQUALIFIER", "2.5.4.46", {}},
    {"PSEUDONYM", "2.5.4.65", {}},
    {"ORGANIZATIONIDENTIFIER", "2.5.4.97", {}},
    {"E", "1.2.840.113549.1.9.1", {"EMAILADDRESS", "EMAIL"}},
    {"UNSTRUCTUREDNAME", "1.2.840.113549.1.9.2", {}},
    {"UNSTRUCTUREDADDRESS", "1.2.840.113549.1.9.8", {}},
    {"DC", "0.9.2342.19200300.100.1.25", {"DOMAINCOMPONENT"}},
    {"UID", "0.9.2342.19200300.100.1.1", {"USERID"}},
    {"JURISDICTIONL", "1.3.6.1.4.1.311.60.2.1.1", {"JURISDICTIONLOCALITYNAME"}},
    {"JURISDICTIONST", "1.3.6.1.4.1.311.60.2.1.2", {"JURISDICTIONSTATEORPROVINCENAME"}},
    {"JURISDICTIONC", "1.3.6.1.4.1.311.60.2.1.3", {"JURISDICTIONCOUNTRYNAME"}},
};

constexpr std::string_view kOidPrefix = "OID.";

std::string upperAscii(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::toupper(c); });
    return out;
}

bool isDottedOid(std::string_view s) {
    return !s.empty() && std::isdigit(static_cast<unsigned char>(s.front())) &&
           std::all_of(s.begin(), s.end(),
                       [](char c) { return c == '.' || std::isdigit(static_cast<unsigned char>(c)); });
}

const DnAttributeType* byLabel(std::string_view upper) {
    if (upper.empty())
        return nullptr;
    for (const DnAttributeType& t : kTypes) {
        if (t.label == upper || std::find(t.aliases.begin(), t.aliases.end(), upper) != t.aliases.end())
            return &t;
    }
    return nullptr;
}

const DnAttributeType* byOid(std::string_view oid) {
    for (const DnAttributeType& t : kTypes) {
        if (t.oid == oid)
            return &t;
    }
    return nullptr;
}

// OpenSSL's own object names ("postalCode", "jurisdictionC", ...) as dotted
// OIDs; empty when OpenSSL does not know the name.
std::string openSslNameToOid(std::string_view name) {
    const std::string text(name);
    const Asn1ObjectPtr obj(OBJ_txt2obj(text.c_str(), 0));
    if (!obj || OBJ_obj2nid(obj.get()) == NID_undef) {
        ERR_clear_error();
        return {};
    }
    return OidText::dotted(obj.get());
}

} // namespace

std::string DnAttributeTypes::canonicalName(std::string_view writtenType) {
    const std::string oid = oidOf(writtenType);
    return oid.empty() ? upperAscii(writtenType) : labelForOid(oid);
}

std::string DnAttributeTypes::oidOf(std::string_view writtenType) {
    const std::string upper = upperAscii(writtenType);
    if (const DnAttributeType* t = byLabel(upper))
        return std::string(t->oid);
    std::string_view oid = upper;
    if (oid.starts_with(kOidPrefix))
        oid.remove_prefix(kOidPrefix.size());
    if (isDottedOid(oid))
        return std::string(oid);
    return openSslNameToOid(writtenType);
}

std::string DnAttributeTypes::labelForOid(std::string_view dottedOid) {
    const DnAttributeType* t = byOid(dottedOid);
    return std::string(t ? t->label : dottedOid);
}
