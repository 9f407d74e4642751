#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class XmlDocument;

// The elements of a tree by identifier: for each value, every element that
// carries it in an attribute named Id, ID or id under any prefix (so wsu:Id
// and xml:id too) or in one the DTD declares of type ID. Built in one pass,
// so that looking up many fragment ids, or checking that each is unique,
// costs one walk of the tree rather than one per id.
class XmlIdIndex {
public:
    explicit XmlIdIndex(const XmlDocument& doc);

    // The first element whose Id, ID or id attribute has this value, as a
    // fragment URI names it, or kNoNode.
    uint32_t find(std::string_view id) const;
    // Every element carrying the identifier in any spelling, each once, in
    // document order.
    std::span<const uint32_t> elementsWith(std::string_view id) const;

    // Whether an attribute name is one of the Id, ID, id spellings.
    static bool isIdName(std::string_view qualifiedName);

private:
    struct Carriers {
        std::vector<uint32_t> elements;
        uint32_t firstByName;
    };
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_map<std::string, Carriers, Hash, std::equal_to<>> m_carriers;
};
