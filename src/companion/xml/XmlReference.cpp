#include "companion/xml/XmlReference.h"

#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlLimits.h"

#include <cstdio>

namespace {

constexpr uint32_t kBeyondUnicode = 0x110000;

int digitValue(char c, bool hex) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (hex && c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (hex && c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool parseCharacter(const char* p, const char* end, XmlReference& ref, std::string& reason) {
    const bool hex = p < end && *p == 'x';
    if (hex)
        ++p;
    const uint32_t base = hex ? 16 : 10;
    uint32_t value = 0;
    const char* digits = p;
    for (int d; p < end && (d = digitValue(*p, hex)) >= 0; ++p)
        value = std::min(value * base + static_cast<uint32_t>(d), kBeyondUnicode);
    if (p == digits || p >= end || *p != ';') {
        reason = "malformed character reference";
        return false;
    }
    if (!xml_chars::isXmlChar(value)) {
        char buf[64];
        if (value >= kBeyondUnicode)
            std::snprintf(buf, sizeof buf, "character reference out of range");
        else
            std::snprintf(buf, sizeof buf, "character reference to illegal character U+%04X", value);
        reason = buf;
        return false;
    }
    ref.kind = XmlReference::Kind::Character;
    ref.codePoint = value;
    ref.end = p + 1;
    return true;
}

} // namespace

bool XmlReference::predefined(std::string_view name, uint32_t& codePoint) {
    struct Predefined {
        std::string_view name;
        char value;
    };
    static constexpr Predefined kPredefined[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
    for (const Predefined& e : kPredefined) {
        if (e.name == name) {
            codePoint = static_cast<uint32_t>(e.value);
            return true;
        }
    }
    return false;
}

bool XmlReference::parse(const char* p, const char* end, XmlReference& ref, std::string& reason) {
    ++p; // '&'
    if (p < end && *p == '#')
        return parseCharacter(p + 1, end, ref, reason);
    const char* nameEnd = xml_chars::scanName(p, end);
    if (nameEnd == p || nameEnd >= end || *nameEnd != ';') {
        reason = "'&' must start a reference such as &amp;";
        return false;
    }
    if (static_cast<uint32_t>(nameEnd - p) > xml_limits::kMaxNameLength) {
        reason = "entity name too long";
        return false;
    }
    ref.name = std::string_view(p, static_cast<size_t>(nameEnd - p));
    ref.end = nameEnd + 1;
    ref.kind = predefined(ref.name, ref.codePoint) ? Kind::Predefined : Kind::Entity;
    return true;
}
