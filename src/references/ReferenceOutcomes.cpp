#include "companion/canon/CanonTarget.h"
#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlElementPath.h"
#include "references/DigestAttempt.h"
#include "references/ReferenceVerifier.h"
#include "verifier/ClsXmlDSig.h"

#include <algorithm>

namespace {

void readTransformsAndDigestMethod(ClsXml& reference, ReferenceOutcome& out) {
    StringBuffer algorithm;
    if (RefPtr<ClsXml> transforms(reference.findChild("*:Transforms")); transforms) {
        for (int i = 0; i < transforms->get_NumChildren(); ++i) {
            RefPtr<ClsXml> transform(transforms->getChild(i));
            if (transform && transform->getAttrValue("Algorithm", algorithm))
                out.transforms.emplace_back(algorithm.view());
        }
    }
    if (reference.getChildAttrValue("*:DigestMethod", "Algorithm", algorithm))
        out.digestMethod = algorithm.view();
}

} // namespace

uint32_t ReferenceVerifier::LineCounter::lineOf(std::string_view text, uint32_t offset) {
    if (offset < m_offset) {
        m_offset = 0;
        m_line = 1;
    }
    const std::string_view between = text.substr(m_offset, offset - m_offset);
    m_line += static_cast<uint32_t>(std::count(between.begin(), between.end(), '\n'));
    m_offset = offset;
    return m_line;
}

// SK-XML writers put the URI's '#' into the Id too.
std::span<const uint32_t> ReferenceVerifier::elementsNamed(std::string_view uri) {
    const std::span<const uint32_t> carriers = m_engine.elementsNamedBy(uri);
    return carriers.empty() ? m_engine.elementsNamedBy("#" + std::string(uri)) : carriers;
}

ReferenceOutcome ReferenceVerifier::outcome(int index, bool matched, const ReferenceCheck& check, LogBase& log) {
    ReferenceOutcome out;
    out.index = index;
    out.matched = matched;
    out.failReason = matched ? 0 : m_engine.get_RefFailReason();
    RefPtr<ClsXml> reference(m_engine.getReference(index, log));
    if (!reference)
        return out;
    StringBuffer uri;
    reference->getAttrValue("URI", uri);
    out.uri = uri.view();
    readTransformsAndDigestMethod(*reference, out);
    uri.trim2();
    CanonTarget target;
    if (!uri.isEmpty() && !uri.beginsWith("#")) {
        out.target = ReferenceOutcome::Target::External;
        out.externalFile = check.externalFile;
    } else if (!CanonTarget::fromUri(uri.view(), 0, target)) {
        out.target = ReferenceOutcome::Target::Unresolved;
    } else if (check.selection) {
        out.target = ReferenceOutcome::Target::Selection;
        out.selection = *check.selection;
        for (ReferenceSelection::Element& e : out.selection.elements)
            if (e.inLoadedText)
                e.line = m_lines.lineOf(m_engine.loadedTree()->source(), e.offset);
    } else if (target.isDocument()) {
        out.target = ReferenceOutcome::Target::WholeDocument;
    } else if (const std::span<const uint32_t> carriers = elementsNamed(uri.view()); carriers.size() == 1) {
        const XmlDocument& doc = *m_engine.loadedTree();
        out.target = ReferenceOutcome::Target::Element;
        out.elementName = doc.name(carriers[0]);
        out.path = xmlElementPath(doc, carriers[0]);
        out.offset = doc.startTagBegin(carriers[0]);
        out.line = m_lines.lineOf(doc.source(), out.offset);
    }
    return out;
}
