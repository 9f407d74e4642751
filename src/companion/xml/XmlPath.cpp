#include "companion/xml/XmlPath.h"

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlMatch.h"

#include <charconv>

namespace {

constexpr char kStepSeparator = '|';
constexpr std::string_view kCurrentIndex = "i";

// Splits "Name[N]" into its tag and index; false for a malformed index.
bool parseStep(std::string_view step, int currentIndex, std::string_view& tag, int& index) {
    tag = step;
    index = 0;
    if (!step.ends_with(']'))
        return true;
    const size_t open = step.rfind('[');
    if (open == std::string_view::npos)
        return false;
    tag = step.substr(0, open);
    const std::string_view text = step.substr(open + 1, step.size() - open - 2);
    if (text == kCurrentIndex) {
        index = currentIndex;
        return true;
    }
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), index);
    return ec == std::errc() && end == text.data() + text.size() && index >= 0;
}

} // namespace

uint32_t XmlPath::nthChild(const XmlDocument& doc, uint32_t parent, std::string_view tagPattern, int index) {
    if (index < 0)
        return kNoNode;
    for (uint32_t c = doc.firstChildElement(parent); c != kNoNode; c = doc.nextSiblingElement(c))
        if (xml_match::tagMatches(tagPattern, doc.name(c)) && index-- == 0)
            return c;
    return kNoNode;
}

int XmlPath::countChildren(const XmlDocument& doc, uint32_t parent, std::string_view tagPattern) {
    int count = 0;
    for (uint32_t c = doc.firstChildElement(parent); c != kNoNode; c = doc.nextSiblingElement(c))
        count += xml_match::tagMatches(tagPattern, doc.name(c));
    return count;
}

uint32_t XmlPath::resolve(const XmlDocument& doc, uint32_t from, std::string_view path, int currentIndex) {
    uint32_t at = from;
    while (at != kNoNode) {
        const size_t bar = path.find(kStepSeparator);
        const std::string_view step = path.substr(0, bar);
        std::string_view tag;
        int index = 0;
        if (step.empty() || !parseStep(step, currentIndex, tag, index))
            return kNoNode;
        at = nthChild(doc, at, tag, index);
        if (bar == std::string_view::npos)
            break;
        path.remove_prefix(bar + 1);
    }
    return at;
}
