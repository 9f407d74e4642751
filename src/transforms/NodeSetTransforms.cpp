#include "companion/canon/CanonSink.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlElementPath.h"
#include "transforms/CanonicalizationMethod.h"
#include "transforms/XPathNodeSet.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <sstream>

namespace {

using algorithm_uri::kXPathFilter2Marker;
using algorithm_uri::kXPointerMarker;

constexpr std::string_view kDefaultPrefixToken = "#default";

std::vector<std::string> inclusivePrefixes(ClsXml& transform, LogBase& log) {
    std::vector<std::string> prefixes;
    RefPtr<ClsXml> inclusive(transform.getNthChildWithTagUtf8("*:InclusiveNamespaces", 0, log));
    if (!inclusive)
        return prefixes;
    StringBuffer list;
    inclusive->getAttrValue("PrefixList", list);
    std::istringstream words{std::string(list.view())};
    for (std::string p; words >> p;)
        prefixes.push_back(p == kDefaultPrefixToken ? std::string() : p);
    return prefixes;
}

} // namespace

std::unique_ptr<XPathNodeSet> ClsXmlDSig::startNodeSet(StringBuffer& uri, DSigReference& ref, const StringBuffer& xml,
                                                       CanonShortcut& pending, LogBase& log) {
    auto nodes = std::make_unique<XPathNodeSet>();
    nodes->setBudget(m_policy.limits.maxXPathNodes);
    nodes->setWorkBudget(&m_work);
    // The text an enveloped-signature transform cut may have lost the
    // identified element (one inside the signature).
    const bool targetMayBeCut = !uri.isEmpty() && !elementsNamedBy(uri.view()).empty();
    if (!nodes->load(xml.view(), loadedTree(), uri.view(), targetMayBeCut, log))
        return nullptr;
    nodes->setSignedDocument(loadedTree());
    // Text an earlier transform edited may no longer hold the signature.
    EnvelopedRange signature;
    if (isLoadedText(xml.view()) && envelopedSignatureRange(xml, ref, signature, log))
        nodes->setSignatureOffset(signature.start);
    // An enveloped-signature cut left for the canonicalizer is made here.
    if (pending.excludedLength > 0) {
        nodes->subtractElementsIn(pending.excludedStart, pending.excludedLength);
        pending = CanonShortcut{};
    }
    return nodes;
}

bool ClsXmlDSig::applyNodeSetTransform(XPathNodeSet& nodes, ClsXml& transform, const StringBuffer& algorithm,
                                       LogBase& log) {
    LogContextExitor ctx(log, "evaluateXPath");
    const bool xpointer = algorithm.containsSubstring(kXPointerMarker);
    StringBuffer expression;
    if (!transform.getChildContentUtf8(xpointer ? "*:XPointer" : "*:XPath", expression, false)) {
        log.LogError("No XPath found in transform.");
        return false;
    }
    log.LogDataSb("xPath", expression);
    const bool applied = xpointer ? nodes.applyXPointer(expression.view(), log)
                         : algorithm.containsSubstring(kXPathFilter2Marker) ? nodes.applyFilter2(expression.view(), log)
                                                                            : nodes.applyXPath(expression.view(), log);
    if (!applied && nodes.budgetExhausted() && !m_report.limit)
        m_report.limit =
            LimitExceeded{std::string(VerificationLimits::kMaxXPathNodes), nodes.visited(), nodes.budget()};
    return applied;
}

std::optional<ReferenceSelection> ClsXmlDSig::selectionOf(const XPathNodeSet& nodes) const {
    const XPathNodeSet::Selection found = nodes.selection(m_policy.limits.maxReportedElements);
    if (found.coversInput)
        return std::nullopt;
    ReferenceSelection out;
    out.elementCount = found.topCount;
    out.excludesOutside = found.excludesOutside;
    const XmlDocument& doc = nodes.document();
    // Offsets are the loaded text's when the node-set read that text, even
    // through a tree of its own.
    const bool loaded = &doc == loadedTree() || doc.source() == m_document.text.view();
    for (uint32_t element : found.topElements)
        out.elements.push_back({std::string(doc.name(element)), xmlElementPath(doc, element), 0,
                                loaded ? doc.startTagBegin(element) : 0, loaded});
    return out;
}

void ClsXmlDSig::renderNodeSet(const XPathNodeSet& nodes, ClsXml* transform, const StringBuffer& algorithm,
                               CanonSink* sink, StringBuffer& xml, LogBase& log) {
    NodeSetCanon::Options options;
    const CanonicalizationMethod method = canonicalizationMethodOf(algorithm.view());
    options.exclusive = method.mode == XmlCanon::Mode::Exclusive;
    options.withComments = method.withComments;
    if (transform && options.exclusive)
        options.inclusivePrefixes = inclusivePrefixes(*transform, log);
    std::string out;
    nodes.render(options, out);
    if (log.verbose())
        log.LogDataStr("canonicalNodeSet", out);
    xml.clear();
    if (sink)
        sink->write(out);
    else
        xml.append(out);
}
