// Reads arbitrary bytes as distinguished-name text through the operations
// the certificate lookups use, and checks what the text form promises: an
// escaped value reads back as itself, the values without their types read
// back as the same values, and a DN written again from its attributes reads
// as the same attributes.
#include "FuzzRequire.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/pki/DnSyntax.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kRdnJoin = "+";
constexpr std::string_view kAvaJoin = ", ";

void requireEscapedValuesReadBack(const std::vector<DnAva>& avas) {
    for (const DnAva& ava : avas) {
        std::string text = "CN=";
        DnSyntax::appendEscaped(ava.value, text);
        const std::vector<DnAva> again = DnSyntax::parse(text);
        require(again.size() == 1 && again[0].value == ava.value);
    }
}

void requireValuesReadBack(std::string_view dn, const std::vector<DnAva>& avas) {
    XString in, values;
    in.setFromUtf8(dn);
    DistinguishedName::removeDnTags(in, values);
    std::vector<std::string> expected;
    for (const DnAva& ava : avas)
        if (!ava.value.empty())
            expected.push_back(ava.value);
    require(DnSyntax::parseValues(values.view()) == expected);
}

bool sameAvas(const std::vector<DnAva>& a, const std::vector<DnAva>& b) {
    auto sameRdnAsPrevious = [](const std::vector<DnAva>& v, size_t i) { return i > 0 && v[i].rdn == v[i - 1].rdn; };
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i].type != b[i].type || a[i].value != b[i].value || sameRdnAsPrevious(a, i) != sameRdnAsPrevious(b, i))
            return false;
    return true;
}

// Only a DN whose every attribute has a type can be written again: a
// typeless value holding '=' would read as a type.
void requireRewrittenReadsTheSame(const std::vector<DnAva>& avas) {
    if (std::any_of(avas.begin(), avas.end(), [](const DnAva& ava) { return ava.type.empty(); }))
        return;
    std::string text;
    for (size_t i = 0; i < avas.size(); ++i) {
        if (i > 0)
            text.append(avas[i].rdn == avas[i - 1].rdn ? kRdnJoin : kAvaJoin);
        text.append(avas[i].type).push_back('=');
        DnSyntax::appendEscaped(avas[i].value, text);
    }
    require(sameAvas(DnSyntax::parse(text), avas));
}

void lookUp(std::string_view dn) {
    LogNull log;
    const StringBuffer text(dn);
    StringBuffer out;
    for (const char* type : {"CN", "O", "2.5.4.5", "OID.2.5.4.10", "emailAddress"})
        DistinguishedName::getDnPart(text, type, out, log);
    DistinguishedName::toTvCanonHashKey(text, out, log);
    XString values, in;
    in.setFromUtf8(dn);
    DistinguishedName::removeDnTags(in, values);
    DistinguishedName::toValuesKey(values, out);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view dn(reinterpret_cast<const char*>(data), size);
    const std::vector<DnAva> avas = DnSyntax::parse(dn);
    requireEscapedValuesReadBack(avas);
    requireValuesReadBack(dn, avas);
    requireRewrittenReadsTheSame(avas);
    lookUp(dn);
    return 0;
}
