#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class XmlDocument;

// The elements that carry each identifier of a document: the value of an
// attribute named Id, ID or id under any prefix (so wsu:Id and xml:id too),
// or of one the DTD declares of type ID. Built in one pass, so that checking
// any number of references for a unique target stays linear.
class XmlIdIndex {
public:
    explicit XmlIdIndex(const XmlDocument& doc);

    // The elements carrying the identifier, each once, in document order.
    std::span<const uint32_t> elementsWith(std::string_view id) const;

    // Whether an attribute name is one of the identifier spellings.
    static bool isIdName(std::string_view qualifiedName);

private:
    std::unordered_map<std::string, std::vector<uint32_t>> m_elements;
};
