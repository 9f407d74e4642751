#include "companion/pki/DistinguishedName.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DnAttributeTypes.h"
#include "companion/pki/DnSyntax.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace {

constexpr char kKeySeparator = ',';
constexpr std::string_view kValueSeparator = ", ";

// Trimmed, white space runs as one blank, ASCII letters in lower case.
std::string normalizedValue(std::string_view value) {
    std::string out;
    bool pendingSpace = false;
    for (char c : value) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            pendingSpace = !out.empty();
            continue;
        }
        if (pendingSpace)
            out.push_back(' ');
        pendingSpace = false;
        out.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    }
    return out;
}

void joinSorted(std::vector<std::string>& parts, StringBuffer& out) {
    std::sort(parts.begin(), parts.end());
    std::string key;
    for (const std::string& part : parts) {
        if (!key.empty())
            key.push_back(kKeySeparator);
        key.append(part);
    }
    out.setString(key);
}

} // namespace

bool DistinguishedName::getDnPart(const StringBuffer& dn, const char* type, StringBuffer& out, LogBase& log) {
    out.clear();
    const std::string wanted = DnAttributeTypes::canonicalName(type);
    for (const DnAva& ava : DnSyntax::parse(dn.view())) {
        if (DnAttributeTypes::canonicalName(ava.type) == wanted) {
            out.setString(ava.value);
            return true;
        }
    }
    if (log.verbose())
        log.LogDataStr("dnPartNotFound", type);
    return false;
}

void DistinguishedName::removeDnTags(const XString& dn, XString& out) {
    std::string values;
    for (const DnAva& ava : DnSyntax::parse(dn.view())) {
        if (!values.empty())
            values.append(kValueSeparator);
        DnSyntax::appendEscaped(ava.value, values);
    }
    out.setFromUtf8(values);
}

bool DistinguishedName::toTvCanonHashKey(const StringBuffer& dn, StringBuffer& out, LogBase& log) {
    std::vector<std::string> parts;
    for (const DnAva& ava : DnSyntax::parse(dn.view())) {
        std::string part = ava.type.empty() ? std::string() : DnAttributeTypes::canonicalName(ava.type);
        part.push_back('=');
        DnSyntax::appendEscaped(normalizedValue(ava.value), part);
        parts.push_back(std::move(part));
    }
    if (parts.empty()) {
        out.clear();
        if (log.verbose())
            log.LogInfo("The distinguished name holds no attribute.");
        return false;
    }
    joinSorted(parts, out);
    return true;
}

bool DistinguishedName::toValuesKey(const XString& dnWithoutTags, StringBuffer& out) {
    std::vector<std::string> parts;
    for (const std::string& value : DnSyntax::parseValues(dnWithoutTags.view())) {
        std::string part;
        DnSyntax::appendEscaped(normalizedValue(value), part);
        parts.push_back(std::move(part));
    }
    if (parts.empty()) {
        out.clear();
        return false;
    }
    joinSorted(parts, out);
    return true;
}
