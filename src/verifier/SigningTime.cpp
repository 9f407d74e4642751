#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <algorithm>

namespace {

constexpr const char* kSignedPropertiesTag = "*:SignedProperties";
constexpr const char* kSigningTimePath = "*:SignedSignatureProperties|*:SigningTime";

} // namespace

// A SigningTime counts only when a reference that matched names the
// SignedProperties holding it: otherwise anyone could have written it.
void ClsXmlDSig::noteSigningTime() {
    if (!m_timestampTime.empty()) {
        m_report.signer.signingTime = m_timestampTime;
        m_report.signer.signingTimeSource = "signature timestamp";
    } else if (ClsXml* sig = selectedSignature()) {
        RefPtr<ClsXml> properties(sig->findDescendant(kSignedPropertiesTag));
        if (!properties)
            return;
        const uint32_t offset = properties->startTagBegin();
        const bool covered = std::any_of(m_report.references.begin(), m_report.references.end(), [&](const auto& r) {
            return r.matched && r.target == ReferenceOutcome::Target::Element && r.offset == offset;
        });
        StringBuffer time;
        if (!covered || !properties->getChildContentUtf8(kSigningTimePath, time, false) || time.isEmpty())
            return;
        time.trim2();
        m_report.signer.signingTime = time.view();
        m_report.signer.signingTimeSource = "SigningTime";
    }
}
