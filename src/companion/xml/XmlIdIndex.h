#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

class XmlDocument;

// The elements of a tree by the value of their Id, ID or id attribute (any
// prefix): for each value, the first such element in document order. Built
// in one pass, so that looking up many fragment ids costs one walk of the
// tree rather than one per id.
class XmlIdIndex {
public:
    explicit XmlIdIndex(const XmlDocument& doc);

    // The first element whose id attribute has this value, or kNoNode.
    uint32_t find(std::string_view id) const;

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_map<std::string, uint32_t, Hash, std::equal_to<>> m_first;
};
