#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class XPathTree;

// Canonical XML 1.0 or Exclusive XML Canonicalization 1.0 of a node-set of
// an XPathTree (one flag per node): an element outside the set is not
// written but its content in the set is, and namespace and attribute nodes
// are written only when they are in the set, as the two recommendations
// define for node-sets that XPath transforms produce.
class NodeSetCanon {
public:
    struct Options {
        bool exclusive = false;
        bool withComments = false;
        std::vector<std::string> inclusivePrefixes; // exclusive mode; "" is the default namespace
    };

    NodeSetCanon(const XPathTree& tree, const std::vector<uint8_t>& selected, const Options& options)
        : m_tree(tree), m_selected(selected), m_options(options) {}

    void run(std::string& out);

private:
    struct Rendered {
        std::string_view prefix;
        std::string_view uri;
    };
    struct Attr {
        std::string_view uri;
        std::string_view local;
        uint32_t node;
    };

    void visit(uint32_t node);
    void visitElement(uint32_t element);
    void writeNamespaces(uint32_t element, bool orphan);
    void writeAttributes(uint32_t element, bool orphan);
    void addInheritedXmlAttributes(uint32_t element, std::vector<Attr>& attrs) const;
    bool isUtilized(uint32_t element, std::string_view prefix) const;
    bool isListed(std::string_view prefix) const;
    std::string_view inheritedUri(std::string_view prefix) const;
    bool in(uint32_t node) const { return m_selected[node] != 0; }
    void writeText(uint32_t text);
    void writeAttributeValue(std::string_view decoded);

    const XPathTree& m_tree;
    const std::vector<uint8_t>& m_selected;
    const Options& m_options;
    std::vector<uint32_t> m_outputAncestors;
    std::string* m_out = nullptr;
    std::string m_scratch;
};
