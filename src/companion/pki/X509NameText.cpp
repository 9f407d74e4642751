#include "companion/pki/X509NameText.h"

#include "companion/pki/DnAttributeTypes.h"
#include "companion/pki/DnSyntax.h"
#include "companion/pki/OidText.h"
#include "companion/pki/PkiHandles.h"
#include "companion/text/TextCodec.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::string_view kRdnSeparator = ", ";
constexpr std::string_view kMultiValueSeparator = " + ";

bool stringValue(const ASN1_STRING* value, std::string& out) {
    unsigned char* utf8 = nullptr;
    const int n = ASN1_STRING_to_UTF8(&utf8, value);
    const OpensslBytes owned(utf8);
    if (n < 0)
        return false;
    out.assign(reinterpret_cast<const char*>(utf8), static_cast<size_t>(n));
    return true;
}

// "#" and the hex of the value's DER, for values that are not strings.
std::string hexValue(const ASN1_STRING* value) {
    const Asn1TypePtr any(ASN1_TYPE_new());
    if (!any || !ASN1_TYPE_set1(any.get(), ASN1_STRING_type(value), value))
        return "#";
    unsigned char* der = nullptr;
    const int n = i2d_ASN1_TYPE(any.get(), &der);
    const OpensslBytes owned(der);
    std::string out = "#";
    if (n > 0)
        TextCodec::encodeHex(std::string_view(reinterpret_cast<const char*>(der), static_cast<size_t>(n)), false, out);
    return out;
}

void appendEntry(const X509_NAME_ENTRY* entry, int flags, std::string& out) {
    const std::string oid = OidText::dotted(X509_NAME_ENTRY_get_object(entry));
    out.append((flags & X509NameText::kOidTypes) ? oid : DnAttributeTypes::labelForOid(oid));
    out.push_back('=');
    const ASN1_STRING* value = X509_NAME_ENTRY_get_data(entry);
    std::string text;
    if (stringValue(value, text))
        DnSyntax::appendEscaped(text, out);
    else
        out.append(hexValue(value));
}

// The entries grouped by relative name, in encoded order.
std::vector<std::vector<const X509_NAME_ENTRY*>> relativeNames(const X509_NAME* name) {
    std::vector<std::vector<const X509_NAME_ENTRY*>> rdns;
    int current = -1;
    for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
        const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
        if (rdns.empty() || X509_NAME_ENTRY_set(entry) != current)
            rdns.emplace_back();
        current = X509_NAME_ENTRY_set(entry);
        rdns.back().push_back(entry);
    }
    return rdns;
}

} // namespace

std::string X509NameText::format(const X509_NAME* name, bool mostSpecificFirst, int flags) {
    std::vector<std::vector<const X509_NAME_ENTRY*>> rdns = relativeNames(name);
    if (mostSpecificFirst)
        std::reverse(rdns.begin(), rdns.end());
    std::string out;
    for (const auto& rdn : rdns) {
        if (!out.empty())
            out.append(kRdnSeparator);
        for (size_t i = 0; i < rdn.size(); ++i) {
            if (i > 0)
                out.append(kMultiValueSeparator);
            appendEntry(rdn[i], flags, out);
        }
    }
    return out;
}

bool X509NameText::lastValueOf(const X509_NAME* name, int nid, std::string& out) {
    int found = -1;
    for (int i = X509_NAME_get_index_by_NID(name, nid, -1); i >= 0; i = X509_NAME_get_index_by_NID(name, nid, i))
        found = i;
    return found >= 0 && stringValue(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, found)), out);
}
