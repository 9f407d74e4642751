#pragma once

#include <cstdint>
#include <string_view>

class XmlDocument;

// Element paths: steps joined by '|', each a tag pattern (see xml_match)
// with an optional index: "Name[2]" is the third matching child, "Name[i]"
// uses the caller's current index.
class XmlPath {
public:
    // The element the path leads to from `from`, or kNoNode.
    static uint32_t resolve(const XmlDocument& doc, uint32_t from, std::string_view path, int currentIndex);
    // The index-th child element of `parent` whose tag matches, or kNoNode.
    static uint32_t nthChild(const XmlDocument& doc, uint32_t parent, std::string_view tagPattern, int index);
    static int countChildren(const XmlDocument& doc, uint32_t parent, std::string_view tagPattern);
};
