#include "transforms/XPathNodeSet.h"

#include "companion/canon/CanonNamespaceName.h"
#include "companion/log/LogBase.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xpath/XPathEvaluator.h"
#include "companion/xpath/XPathTree.h"

#include <algorithm>

namespace {

constexpr std::string_view kXPointerScheme = "xpointer(";
constexpr std::string_view kWholeDocumentXPointer = "xpointer(/)";
constexpr std::string_view kFilterAttribute = "Filter";

std::string_view trimmed(std::string_view s) {
    const size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string_view::npos)
        return {};
    const size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

// The fragment of a same-document URI, with or without its '#'.
std::string_view fragmentOf(std::string_view uri) {
    return uri.starts_with('#') ? uri.substr(1) : uri;
}

// The identifier of "#id" or "#xpointer(id('id'))"; empty for the whole document.
std::string_view identifierOf(std::string_view uri) {
    uri = fragmentOf(uri);
    if (uri.empty() || uri == kWholeDocumentXPointer)
        return {};
    if (uri.starts_with(kXPointerScheme)) {
        const size_t open = uri.find_first_of("'\"");
        const size_t close = open == std::string_view::npos ? open : uri.find(uri[open], open + 1);
        return close == std::string_view::npos ? std::string_view{} : uri.substr(open + 1, close - open - 1);
    }
    return uri;
}

uint32_t elementWithIdentifier(const XPathTree& tree, std::string_view id) {
    std::string value;
    for (uint32_t n = 0; n < tree.size(); ++n) {
        if (tree.kind(n) != XPathNodeKind::Attribute)
            continue;
        const std::string_view local = tree.localName(n);
        uint8_t flags = 0;
        tree.rawAttributeValue(n, flags);
        if (!(flags & kAttrDeclaredId) && local != "Id" && local != "ID" && local != "id")
            continue;
        value.clear();
        tree.appendStringValue(n, value);
        if (value == id)
            return tree.parent(n);
    }
    return kNoXPathNode;
}

} // namespace

XPathNodeSet::XPathNodeSet() = default;
XPathNodeSet::~XPathNodeSet() = default;

bool XPathNodeSet::parseDocument(std::string_view text, const XmlDocument* parsed, LogBase& log) {
    // The XPath tree is built from the nodes under the root only.
    if (parsed && parsed->canStandFor(text) && parsed->prolog().empty() && parsed->epilog().empty()) {
        m_doc = parsed;
    } else {
        std::string error;
        m_owned = XmlDocument::parse(SharedText::ofString(std::string(text)), false, error);
        if (!m_owned) {
            log.LogError("The text an XPath transform reads is not well-formed XML.");
            log.LogDataStr("parseError", error);
            return false;
        }
        m_doc = m_owned.get();
    }
    // The node-set may come to hold any namespace node of the document.
    if (const std::string refusal = canon_namespace_name::firstRefusal(*m_doc); !refusal.empty()) {
        log.LogError(refusal);
        return false;
    }
    m_tree = buildTree(*m_doc, log);
    if (!m_tree)
        return false;
    m_selected.assign(m_tree->size(), 0);
    return true;
}

std::unique_ptr<XPathTree> XPathNodeSet::buildTree(const XmlDocument& doc, LogBase& log) const {
    const uint64_t maxNodes = m_work ? m_work->remaining() / WorkBudget::kUnitsPerTreeNode : UINT64_MAX;
    auto tree = std::make_unique<XPathTree>(doc, maxNodes);
    if (!tree->truncated() && (!m_work || m_work->charge(uint64_t{tree->size()} * WorkBudget::kUnitsPerTreeNode)))
        return tree;
    if (m_work)
        m_work->charge(m_work->remaining() + 1);
    log.LogError("The XPath tree of the document would exceed the verification's work budget (MaxWorkUnits).");
    return nullptr;
}

bool XPathNodeSet::load(std::string_view text, const XmlDocument* parsed, std::string_view uri, bool targetMayBeCut,
                        LogBase& log) {
    if (!parseDocument(text, parsed, log))
        return false;

    uint32_t first = 0;
    uint32_t end = m_tree->size();
    if (const std::string_view id = identifierOf(uri); !id.empty()) {
        first = elementWithIdentifier(*m_tree, id);
        if (first == kNoXPathNode && targetMayBeCut) {
            log.LogInfo("The element the reference names was cut by an earlier transform: the node-set is empty.");
            return true;
        }
        if (first == kNoXPathNode) {
            log.LogError("No element has the identifier the reference names.");
            return false;
        }
        end = m_tree->node(first).end;
    }
    m_inputBegin = first;
    m_inputEnd = end;
    // XPointer keeps the comments that "" and "#id" leave out (XML-DSig 4.4.3.3).
    const bool keepComments = fragmentOf(uri).starts_with(kXPointerScheme);
    for (uint32_t n = first; n < end; ++n)
        m_selected[n] = keepComments || m_tree->kind(n) != XPathNodeKind::Comment;
    return true;
}

bool XPathNodeSet::loadOctets(std::string_view text, LogBase& log) {
    if (!parseDocument(text, nullptr, log))
        return false;
    std::fill(m_selected.begin(), m_selected.end(), 1);
    m_inputEnd = m_tree->size();
    m_expressionsInText = false;
    return true;
}

// The element that bears an expression: an element of that local name whose
// text is the expression, inside the signature being verified when it is known.
uint32_t XPathNodeSet::findBearer(const XPathTree& tree, uint32_t signature, std::string_view localName,
                                  std::string_view expression) {
    const std::string_view wanted = trimmed(expression);
    uint32_t found = kNoXPathNode;
    std::string text;
    for (uint32_t n = 0; n < tree.size(); ++n) {
        if (tree.kind(n) != XPathNodeKind::Element || tree.localName(n) != localName)
            continue;
        text.clear();
        tree.appendStringValue(n, text);
        if (trimmed(text) != wanted)
            continue;
        if (signature == kNoXPathNode || (n > signature && n < tree.node(signature).end))
            return n;
        if (found == kNoXPathNode)
            found = n;
    }
    return found;
}

XPathNodeSet::Bearer XPathNodeSet::expressionElement(std::string_view localName, std::string_view expression,
                                                     LogBase& log) {
    const uint32_t signature =
        m_signatureOffset == UINT32_MAX ? kNoXPathNode : m_tree->elementAtOffset(m_signatureOffset);
    if (const uint32_t n = m_expressionsInText ? findBearer(*m_tree, signature, localName, expression) : kNoXPathNode;
        n != kNoXPathNode)
        return Bearer{m_tree.get(), n};
    if (!m_signedDoc || m_signedDoc == m_doc)
        return {};
    if (!m_signedTree)
        m_signedTree = buildTree(*m_signedDoc, log);
    if (!m_signedTree)
        return {};
    if (const uint32_t n = findBearer(*m_signedTree, kNoXPathNode, localName, expression); n != kNoXPathNode)
        return Bearer{m_signedTree.get(), n};
    return {};
}

std::unique_ptr<XPathExpr> XPathNodeSet::parse(std::string_view expression, const Bearer& bearer, LogBase& log) const {
    // Prefixes are those in scope where the expression is written.
    const XPathPrefixResolver resolve = [&](std::string_view prefix, std::string& uri) {
        std::string_view found;
        if (!bearer.found() || !bearer.tree->lookupNamespace(bearer.node, prefix, found))
            return false;
        uri = found;
        return true;
    };
    std::string error;
    XPathExprPtr e = parseXPath(expression, resolve, error);
    if (!e) {
        log.LogError("The XPath expression cannot be evaluated.");
        log.LogDataStr("xpathError", error);
    }
    return e;
}

bool XPathNodeSet::withinBudget(const XPathEvaluator& evaluator, LogBase& log) const {
    log.LogDataLong("xpathNodesVisited", static_cast<long long>(evaluator.visited()));
    m_visited = evaluator.visited();
    if (!evaluator.exhausted())
        return true;
    if (workSpent()) {
        log.LogError("XPath evaluation stopped: the verification's work budget (MaxWorkUnits) is spent.");
        return false;
    }
    m_exhausted = true;
    log.LogError("XPath evaluation stopped: it visited more nodes than MaxXPathNodes allows.");
    log.LogDataLong("MaxXPathNodes", static_cast<long long>(m_budget));
    return false;
}

bool XPathNodeSet::applyXPath(std::string_view expression, LogBase& log) {
    const Bearer bearer = expressionElement("XPath", expression, log);
    const XPathExprPtr e = parse(expression, bearer, log);
    if (!e)
        return false;
    XPathEvaluator evaluator(*m_tree, m_budget, m_work);
    evaluator.setHere(bearer.here(*m_tree));
    for (uint32_t n = 0; n < m_tree->size() && !evaluator.exhausted(); ++n) {
        if (!m_selected[n])
            continue;
        evaluator.charge(1);
        m_selected[n] = evaluator.evaluateBoolean(*e, n);
    }
    return withinBudget(evaluator, log);
}

std::vector<uint8_t> XPathNodeSet::subtrees(const std::vector<uint32_t>& roots) const {
    std::vector<uint8_t> marked(m_tree->size(), 0);
    uint32_t coveredUntil = 0;
    for (uint32_t r : roots) {
        if (r < coveredUntil)
            continue;
        const uint32_t end = m_tree->isContent(r) ? m_tree->node(r).end : r + 1;
        std::fill(marked.begin() + r, marked.begin() + end, 1);
        coveredUntil = end;
    }
    return marked;
}

bool XPathNodeSet::applyFilter2(std::string_view expression, LogBase& log) {
    const Bearer first = expressionElement("XPath", expression, log);
    if (!first.found()) {
        log.LogError("The XPath Filter 2.0 elements are not found in the document.");
        return false;
    }
    const XPathTree& source = *first.tree;
    const uint32_t transform = source.parent(first.node);
    std::vector<uint8_t> filter(m_tree->size(), 1);
    XPathEvaluator evaluator(*m_tree, m_budget, m_work);
    for (uint32_t x = source.firstChild(transform); x != kNoXPathNode; x = source.node(x).nextSibling) {
        if (source.kind(x) != XPathNodeKind::Element || source.localName(x) != "XPath")
            continue;
        std::string operation;
        const uint32_t attrs = source.firstAttribute(x);
        for (uint32_t a = attrs; a < attrs + source.node(x).attributeCount; ++a)
            if (source.localName(a) == kFilterAttribute)
                source.appendStringValue(a, operation);
        std::string text;
        source.appendStringValue(x, text);
        const Bearer bearer{&source, x};
        const XPathExprPtr e = parse(text, bearer, log);
        if (!e)
            return false;
        evaluator.setHere(bearer.here(*m_tree));
        const XPathValue v = evaluator.evaluate(*e, 0);
        if (!withinBudget(evaluator, log))
            return false;
        if (v.type != XPathValue::Type::NodeSet) {
            log.LogError("An XPath Filter 2.0 expression does not give a node-set.");
            return false;
        }
        const std::vector<uint8_t> selected = subtrees(v.nodes);
        log.LogDataStr("filter", operation);
        for (size_t n = 0; n < filter.size(); ++n) {
            if (operation == "intersect")
                filter[n] &= selected[n];
            else if (operation == "subtract")
                filter[n] &= static_cast<uint8_t>(!selected[n]);
            else if (operation == "union")
                filter[n] |= selected[n];
            else {
                log.LogError("Unknown XPath Filter 2.0 operation.");
                return false;
            }
        }
    }
    for (size_t n = 0; n < filter.size(); ++n)
        m_selected[n] &= filter[n];
    return true;
}

bool XPathNodeSet::applyXPointer(std::string_view expression, LogBase& log) {
    std::string_view inner = trimmed(expression);
    if (!inner.starts_with(kXPointerScheme) || !inner.ends_with(')')) {
        log.LogError("Only the xpointer() scheme is supported.");
        return false;
    }
    inner = inner.substr(kXPointerScheme.size(), inner.size() - kXPointerScheme.size() - 1);
    const Bearer bearer = expressionElement("XPointer", expression, log);
    const XPathExprPtr e = parse(inner, bearer, log);
    if (!e)
        return false;
    XPathEvaluator evaluator(*m_tree, m_budget, m_work);
    evaluator.setHere(bearer.here(*m_tree));
    const XPathValue v = evaluator.evaluate(*e, 0);
    if (!withinBudget(evaluator, log))
        return false;
    if (v.type != XPathValue::Type::NodeSet) {
        log.LogError("The XPointer does not select nodes.");
        return false;
    }
    const std::vector<uint8_t> selected = subtrees(v.nodes);
    for (size_t n = 0; n < selected.size(); ++n)
        m_selected[n] &= selected[n];
    return true;
}

void XPathNodeSet::subtractElementsIn(uint32_t start, uint32_t length) {
    for (uint32_t n = 0; n < m_tree->size(); ++n) {
        if (m_tree->kind(n) != XPathNodeKind::Element)
            continue;
        const uint32_t at = m_doc->startTagBegin(m_tree->node(n).source);
        if (at >= start && at < start + length) {
            std::fill(m_selected.begin() + n, m_selected.begin() + m_tree->node(n).end, 0);
            n = m_tree->node(n).end - 1;
        }
    }
}

XPathNodeSet::Selection XPathNodeSet::selection(size_t max) const {
    Selection out;
    uint32_t insideTopUntil = 0;
    uint32_t namedElement = kNoXPathNode;
    for (uint32_t n = m_inputBegin; n < m_inputEnd; ++n) {
        const XPathNodeKind kind = m_tree->kind(n);
        const bool content = kind == XPathNodeKind::Element || kind == XPathNodeKind::Text ||
                             kind == XPathNodeKind::ProcessingInstruction;
        if (kind == XPathNodeKind::Element && namedElement == kNoXPathNode)
            namedElement = n;
        if (n < insideTopUntil || !content)
            continue;
        if (!m_selected[n] || kind != XPathNodeKind::Element) {
            out.excludesOutside |= !m_selected[n];
            continue;
        }
        if (out.topElements.size() < max)
            out.topElements.push_back(m_tree->node(n).source);
        ++out.topCount;
        insideTopUntil = m_tree->node(n).end;
        out.coversInput = out.topCount == 1 && n == namedElement;
    }
    out.coversInput = out.coversInput && out.topCount == 1 && !out.excludesOutside;
    return out;
}

void XPathNodeSet::render(const NodeSetCanon::Options& options, std::string& out) const {
    const size_t before = out.size();
    NodeSetCanon(*m_tree, m_selected, options).run(out);
    if (m_work)
        m_work->charge((out.size() - before) / WorkBudget::kCanonicalBytesPerUnit);
}
