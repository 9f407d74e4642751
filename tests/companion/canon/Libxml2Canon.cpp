#include "Libxml2Canon.h"

#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <functional>

namespace libxml2_canon {

namespace {

constexpr int kParseOptions = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NONET | XML_PARSE_HUGE;

void ignoreError(void*, xmlErrorPtr) {
}

// External entities and DTDs are never read, as by the canonicalizer.
xmlParserInputPtr refuseExternal(const char*, const char*, xmlParserCtxtPtr) {
    return nullptr;
}

void quietOnce() {
    static const bool done = [] {
        xmlInitParser();
        xmlSetStructuredErrorFunc(nullptr, ignoreError);
        xmlSetExternalEntityLoader(refuseExternal);
        return true;
    }();
    (void)done;
}

bool isIdName(const xmlChar* name) {
    const std::string_view n(reinterpret_cast<const char*>(name));
    return n == "Id" || n == "ID" || n == "id";
}

std::string attributeValue(xmlAttrPtr attr) {
    xmlChar* value = xmlNodeListGetString(attr->doc, attr->children, 1);
    std::string out = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return out;
}

// Calls visit for every element in document order until it returns true.
xmlNodePtr findElement(xmlNodePtr node, const std::function<bool(xmlNodePtr)>& visit) {
    for (; node; node = node->next) {
        if (node->type != XML_ELEMENT_NODE)
            continue;
        if (visit(node))
            return node;
        if (xmlNodePtr found = findElement(node->children, visit))
            return found;
    }
    return nullptr;
}

std::optional<std::string> idOf(xmlNodePtr element) {
    for (xmlAttrPtr a = element->properties; a; a = a->next)
        if (isIdName(a->name))
            return attributeValue(a);
    return std::nullopt;
}

bool hasIdValue(xmlNodePtr element, std::string_view id) {
    for (xmlAttrPtr a = element->properties; a; a = a->next)
        if (isIdName(a->name) && attributeValue(a) == id)
            return true;
    return false;
}

// The node-set of an element's subtree: a node is visible when the apex is
// the node itself or one of its ancestors; attributes and namespace nodes
// go with their element.
int inSubtree(void* apex, xmlNodePtr node, xmlNodePtr parent) {
    xmlNodePtr n = (node->type == XML_NAMESPACE_DECL || node->type == XML_ATTRIBUTE_NODE) ? parent : node;
    for (; n; n = n->parent)
        if (n == apex)
            return 1;
    return 0;
}

class PrefixArray {
public:
    explicit PrefixArray(const std::vector<std::string>& prefixes) {
        for (const std::string& p : prefixes)
            m_items.push_back(const_cast<xmlChar*>(reinterpret_cast<const xmlChar*>(p.c_str())));
        m_items.push_back(nullptr);
    }
    xmlChar** get() { return m_items.size() > 1 ? m_items.data() : nullptr; }

private:
    std::vector<xmlChar*> m_items;
};

int modeOf(const Settings& s) {
    if (s.exclusive)
        return XML_C14N_EXCLUSIVE_1_0;
    return s.c14n11 ? XML_C14N_1_1 : XML_C14N_1_0;
}

} // namespace

struct Document::Impl {
    xmlDocPtr doc = nullptr;

    std::optional<std::string> subtree(const Settings& settings, xmlNodePtr apex) const {
        if (!apex)
            return std::nullopt;
        PrefixArray prefixes(settings.inclusivePrefixes);
        xmlOutputBufferPtr buffer = xmlAllocOutputBuffer(nullptr);
        const int rc = xmlC14NExecute(doc, inSubtree, apex, modeOf(settings), prefixes.get(),
                                      settings.withComments ? 1 : 0, buffer);
        std::optional<std::string> out;
        if (rc >= 0)
            out = std::string(reinterpret_cast<const char*>(xmlOutputBufferGetContent(buffer)),
                              xmlOutputBufferGetSize(buffer));
        xmlOutputBufferClose(buffer);
        return out;
    }
};

Document::Document(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
}

Document::~Document() {
    xmlFreeDoc(m_impl->doc);
}

std::unique_ptr<Document> Document::parse(std::string_view bytes) {
    quietOnce();
    auto impl = std::make_unique<Impl>();
    impl->doc = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "document.xml", nullptr, kParseOptions);
    if (!impl->doc)
        return nullptr;
    return std::unique_ptr<Document>(new Document(std::move(impl)));
}

std::optional<std::string> Document::canonicalize(const Settings& settings) const {
    PrefixArray prefixes(settings.inclusivePrefixes);
    xmlChar* text = nullptr;
    const int length = xmlC14NDocDumpMemory(m_impl->doc, nullptr, modeOf(settings), prefixes.get(),
                                            settings.withComments ? 1 : 0, &text);
    std::optional<std::string> out;
    if (length >= 0)
        out = std::string(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
    xmlFree(text);
    return out;
}

std::optional<std::string> Document::canonicalizeFragment(const Settings& settings, std::string_view id) const {
    xmlNodePtr apex = findElement(m_impl->doc->children, [&](xmlNodePtr e) { return hasIdValue(e, id); });
    return m_impl->subtree(settings, apex);
}

std::vector<std::string> Document::idValues(size_t limit) const {
    std::vector<std::string> values;
    findElement(m_impl->doc->children, [&](xmlNodePtr e) {
        if (std::optional<std::string> id = idOf(e); id && std::find(values.begin(), values.end(), *id) == values.end())
            values.push_back(*id);
        return values.size() >= limit;
    });
    return values;
}

} // namespace libxml2_canon
