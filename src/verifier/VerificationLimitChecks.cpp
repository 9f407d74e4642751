#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <string>

void ClsXmlDSig::readPolicy() {
    m_policy = VerificationPolicy::parse(m_uncommonOptions.view(), m_cmsOptions.view());
}

bool ClsXmlDSig::policyIsValid(LogBase& log) const {
    if (m_policy.error.empty())
        return true;
    log.LogError(m_policy.error);
    return false;
}

void ClsXmlDSig::startWorkBudget() {
    const uint64_t allowance = m_document.text.getSize() / VerificationLimits::kDocumentBytesPerWorkUnit;
    m_work = WorkBudget(m_policy.limits.maxWorkUnits + allowance);
}

bool ClsXmlDSig::withinLimit(uint64_t count, uint64_t limit, std::string_view what, std::string_view option,
                             LogBase& log) {
    if (count <= limit)
        return true;
    const std::string message = VerificationLimits::excess(count, limit, what, option);
    log.LogError(message);
    m_report.limit = LimitExceeded{std::string(option), count, limit};
    m_report.reason = message;
    return false;
}

// Checked before any digest is computed, so that a document over a limit
// costs a walk of its SignedInfo and nothing more.
bool ClsXmlDSig::withinVerificationLimits(ClsXml& signature, LogBase& log) {
    LogContextExitor ctx(log, "verificationLimits");
    if (!policyIsValid(log)) {
        m_report.reason = m_policy.error;
        return false;
    }
    const ExtPtrArrayRc& references = selectedReferences().references;
    if (!withinLimit(static_cast<uint64_t>(references.getSize()), m_policy.limits.maxReferences,
                     "References in the signature:", VerificationLimits::kMaxReferences, log))
        return false;
    for (int i = 0; i < references.getSize(); ++i) {
        const auto* reference = static_cast<const ClsXml*>(references.elementAt(i));
        RefPtr<ClsXml> transforms(reference ? reference->getChildWithTagUtf8("*:Transforms") : nullptr);
        const int count = transforms ? transforms->get_NumChildren() : 0;
        if (!withinLimit(static_cast<uint64_t>(count), m_policy.limits.maxTransforms,
                         "Transforms in reference " + std::to_string(i) + ":", VerificationLimits::kMaxTransforms, log))
            return false;
    }
    // The element's bytes bound its text without copying it.
    RefPtr<ClsXml> value(signature.getChildWithTagUtf8("*:SignatureValue"));
    const uint64_t valueBytes = value ? value->endTagBegin() - value->startTagEnd() : 0;
    return withinLimit(valueBytes, m_policy.limits.maxSignatureValueBytes,
                       "Bytes of SignatureValue:", VerificationLimits::kMaxSignatureValueBytes, log);
}
