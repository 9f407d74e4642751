#include "ades/ReferenceOutputs.h"

#include "ades/XadesNames.h"

using namespace xades_names;

namespace {

constexpr std::string_view kSignedPropertiesType = "http://uri.etsi.org/01903#SignedProperties";

} // namespace

ReferenceOutputs::ReferenceOutputs(ClsXmlDSig& engine, const XString& externalRefDirs, WorkBudget& work,
                                   const XmlDocument& doc, const XadesElements& e,
                                   std::span<const ReferenceOutcome> outcomes)
    : m_doc(doc), m_work(work), m_verifier(engine, externalRefDirs), m_outcomes(outcomes) {
    if (e.signedInfo != kNoNode)
        for (uint32_t c = doc.firstChildElement(e.signedInfo); c != kNoNode; c = doc.nextSiblingElement(c))
            if (isDsigElement(doc, c, "Reference"))
                m_references.push_back(c);
    if (e.signedProperties != kNoNode)
        m_signedPropertiesOffset = doc.startTagBegin(e.signedProperties);
    m_octets.resize(m_references.size());
}

int ReferenceOutputs::indexOf(std::string_view id) const {
    for (size_t i = 0; i < m_references.size(); ++i)
        if (!id.empty() && attributeValue(m_doc, m_references[i], "Id") == id)
            return static_cast<int>(i);
    return -1;
}

bool ReferenceOutputs::coversSignedProperties(int index) const {
    for (const ReferenceOutcome& r : m_outcomes)
        if (r.index == index && r.target == ReferenceOutcome::Target::Element && m_signedPropertiesOffset != 0 &&
            r.offset == m_signedPropertiesOffset)
            return true;
    return attributeValue(m_doc, m_references[static_cast<size_t>(index)], "Type") == kSignedPropertiesType;
}

const std::string* ReferenceOutputs::octets(int index, std::string& reason, LogBase& log) {
    const std::string which = "reference " + std::to_string(index);
    if (index < 0 || index >= count()) {
        reason = "no " + which;
        return nullptr;
    }
    for (const ReferenceOutcome& r : m_outcomes)
        if (r.index == index && !r.matched) {
            // The octets it covers changed, or could not be read again.
            reason = "the digest of " + which + " does not match";
            return nullptr;
        }
    std::optional<HashedOctets>& slot = m_octets[static_cast<size_t>(index)];
    if (!slot) {
        slot.emplace();
        slot->work = &m_work;
        m_verifier.hashedOctets(index, *slot, log);
    }
    if (slot->complete && !m_work.spent())
        return &slot->bytes;
    reason = m_work.spent() ? "the work budget was spent digesting " + which
                            : "what " + which + " was digested over is not available";
    return nullptr;
}
