#include "companion/text/Charset.h"

#include "companion/text/DataBuffer.h"
#include "companion/text/IconvConverter.h"
#include "companion/text/Utf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::string_view kUtf8 = "UTF-8";

// Names that callers use and iconv spells differently (or reads otherwise:
// iconv's "UTF-16" writes big-endian with a BOM).
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kAliases = {{
    {"UTF8", "UTF-8"},
    {"ANSI", "WINDOWS-1252"},
    {"LATIN1", "ISO-8859-1"},
    {"UNICODE", "UTF-16LE"},
    {"UNICODEFFFE", "UTF-16BE"},
    {"UTF-16", "UTF-16LE"},
    {"UTF-32", "UTF-32LE"},
    {"ASCII", "US-ASCII"},
}};

std::string canonicalName(std::string_view name) {
    std::string upper(name);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; });
    for (const auto& [alias, iconvName] : kAliases)
        if (upper == alias)
            return std::string(iconvName);
    return upper;
}

} // namespace

bool Charset::setByName(std::string_view name) {
    std::string canonical = canonicalName(name);
    if (canonical.empty() || !IconvConverter(canonical, std::string(kUtf8)).isOpen())
        return false;
    m_name = std::move(canonical);
    return true;
}

bool Charset::isUtf8() const {
    return m_name == kUtf8;
}

bool Charset::fromUtf8(std::string_view utf8, DataBuffer& out) const {
    if (!isValidUtf8(utf8))
        return false;
    if (isUtf8())
        return out.append(utf8);
    std::string converted;
    if (!IconvConverter(m_name, std::string(kUtf8)).convert(utf8, converted))
        return false;
    return out.append(converted);
}

bool Charset::toUtf8(std::string_view bytes, std::string& out, size_t* rejectedAt) const {
    if (isUtf8()) {
        const size_t valid = validUtf8Prefix(bytes);
        if (valid < bytes.size()) {
            if (rejectedAt)
                *rejectedAt = valid;
            return false;
        }
        out.append(bytes);
        return true;
    }
    return IconvConverter(std::string(kUtf8), m_name).convert(bytes, out, rejectedAt);
}
