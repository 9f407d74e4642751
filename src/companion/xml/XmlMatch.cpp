#include "companion/xml/XmlMatch.h"

namespace xml_match {
namespace {

constexpr std::string_view kAnyPrefix = "*:";

char foldCase(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

bool tagMatches(std::string_view pattern, std::string_view qualifiedName) {
    if (pattern == "*")
        return true;
    if (!pattern.starts_with(kAnyPrefix))
        return pattern == qualifiedName;
    const std::string_view local = pattern.substr(kAnyPrefix.size());
    const size_t colon = qualifiedName.find(':');
    return (colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1)) == local;
}

bool valueMatches(std::string_view pattern, std::string_view value, bool caseSensitive) {
    auto same = [&](char a, char b) { return caseSensitive ? a == b : foldCase(a) == foldCase(b); };
    size_t p = 0;
    size_t v = 0;
    // Where to resume after the last '*': the pattern after it, and the value position it absorbed up to.
    size_t starPattern = std::string_view::npos;
    size_t starValue = 0;
    while (v < value.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starPattern = ++p;
            starValue = v;
        } else if (p < pattern.size() && same(pattern[p], value[v])) {
            ++p;
            ++v;
        } else if (starPattern != std::string_view::npos) {
            p = starPattern;
            v = ++starValue;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

} // namespace xml_match
