#include "ades/AdesFacts.h"
#include "ades/AdesLevel.h"
#include "ades/SignedDataCoverage.h"
#include "ades/SignerChainCheck.h"
#include "ades/SigningCertificateCheck.h"
#include "ades/TimestampFacts.h"
#include "ades/ValidationData.h"
#include "ades/XadesElements.h"
#include "ades/XadesNames.h"
#include "ades/XadesPropertiesReader.h"
#include "companion/crypto/ClsPublicKey.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/CertificateSummary.h"
#include "companion/pki/TrustAnchors.h"
#include "companion/text/XmlDateTime.h"
#include "verifier/ClsXmlDSig.h"

#include <algorithm>

namespace {

AdesCheckOutcome passedIf(bool ok) {
    return ok ? AdesCheckOutcome::Passed : AdesCheckOutcome::Failed;
}

void noteCoreFacts(const VerificationReport& core, AdesFacts& facts, AdesReport& report) {
    facts.stage = core.stage;
    facts.coreValid = core.valid;
    facts.valueMismatch = core.valueMismatch;
    for (const ReferenceOutcome& r : core.references) {
        facts.referenceMismatch |= !r.matched && r.target != ReferenceOutcome::Target::Unresolved;
        facts.referenceUnresolved |= r.target == ReferenceOutcome::Target::Unresolved;
    }
    std::string detail = core.valid ? "the references and the signature value verify"
                                    : std::string("failed at the ") + verificationStageName(core.stage) + " stage";
    if (!core.valid && !core.reason.empty())
        detail += ": " + core.reason;
    report.check("signature", passedIf(core.valid), std::move(detail));
}

void checkSignedData(const XmlDocument& doc, const XadesElements& e, const VerificationReport& core, AdesFacts& facts,
                     AdesReport& report) {
    facts.hasXades = e.hasXades();
    facts.signedPropertiesCovered = e.signedProperties != kNoNode;
    facts.unsignedContent = unsignedSignatureContent(doc, e, core.references);
    if (facts.hasXades)
        report.check("signed properties", passedIf(facts.signedPropertiesCovered),
                     facts.signedPropertiesCovered ? "a matched reference covers SignedProperties"
                                                   : "no matched reference covers a SignedProperties");
    for (const std::string& finding : facts.unsignedContent)
        report.check("unsigned content", AdesCheckOutcome::Failed, finding);
}

void checkSigningCertificate(const SigningCertificateProperty& property, X509* signer, AdesFacts& facts,
                             AdesReport& report) {
    using SC = AdesFacts::SigningCertificate;
    const char* name = property.v2 ? "SigningCertificateV2" : "SigningCertificate";
    if (!property.present) {
        facts.signingCertificate = SC::NotStated;
        if (facts.hasXades)
            report.check("signing certificate", AdesCheckOutcome::Failed, "the signed properties name none");
        return;
    }
    if (!signer) {
        facts.signingCertificate = SC::NoCertificate;
        report.check(name, AdesCheckOutcome::NotDone, "no certificate verified the signature");
        return;
    }
    std::string why = "it states no certificate";
    for (const SigningCertificateRef& ref : property.certs) {
        why = mismatchOf(ref, signer);
        if (why.empty())
            break;
    }
    facts.signingCertificate = why.empty() ? SC::Matches : SC::Mismatch;
    report.check(name, passedIf(why.empty()),
                 why.empty() ? "it names the certificate that verified the signature"
                             : "it does not name the certificate that verified the signature: " + why);
}

// Each DataObjectFormat must describe a reference of the signature.
void checkDataObjectFormats(const XadesProperties& properties, AdesFacts& facts, AdesReport& report) {
    for (const XadesProperties::DataObjectFormat& format : properties.dataObjectFormats) {
        if (format.reference >= 0)
            continue;
        facts.formatNamesNoReference = true;
        report.check("DataObjectFormat", AdesCheckOutcome::Failed,
                     "\"" + format.objectReference + "\" names no reference of the signature");
    }
}

void checkPolicy(const PolicyCheck& policy, AdesFacts& facts, AdesReport& report) {
    using O = PolicyCheck::Outcome;
    facts.policy = policy.outcome;
    switch (policy.outcome) {
    case O::NoPolicy:
        return;
    case O::Implied:
        report.check("signature policy", AdesCheckOutcome::Info, "implied by the signature's context");
        return;
    case O::NoDocument:
        report.check("signature policy", AdesCheckOutcome::NotDone, policy.detail);
        return;
    case O::Matched:
    case O::Mismatch:
    case O::Unprocessable:
        report.check("signature policy", passedIf(policy.outcome == O::Matched), policy.detail);
        return;
    }
}

std::string subjectOf(X509* cert) {
    return cert ? summarizeCertificate(cert).subject : std::string();
}

} // namespace

AdesReport ClsXmlDSig::ValidateAdes(const AdesContext& context) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "ValidateAdes");
    return validateAdes(context, m_log);
}

AdesReport ClsXmlDSig::validateAdes(const AdesContext& context, LogBase& log) {
    AdesReport report;
    ClsXml* selected = selectedSignature();
    const XmlDocument* doc = m_document.tree ? m_document.tree->parsedDocument() : nullptr;
    const uint32_t signature = doc && selected ? doc->elementAt(selected->startTagBegin()) : kNoNode;
    if (signature == kNoNode) {
        report.indication = AdesIndication::TotalFailed;
        report.subIndication = AdesSubIndication::FormatFailure;
        report.check("signature", AdesCheckOutcome::Failed, "no signature is selected");
        return report;
    }
    XadesElements e = XadesElements::find(*doc, signature, m_report.references);
    ValidationData data = ValidationData::read(*doc, e.unsignedSignatureProperties, e.keyInfo);
    data.revocation.online = context.online;
    const SigningCertificateProperty signingCertificate = readSigningCertificate(*doc, e.signedSignatureProperties);
    if (e.hasXades() && m_report.stage == VerificationStage::KeyResolution &&
        verifyWithNamedCertificate(signingCertificate, data, context, log))
        e = XadesElements::find(*doc, signature, m_report.references);

    AdesFacts facts;
    facts.bestSignatureTime = context.at.value_or(std::time(nullptr));
    noteCoreFacts(m_report, facts, report);
    checkSignedData(*doc, e, m_report, facts, report);
    checkSigningCertificate(signingCertificate, m_report.signer.certificate.get(), facts, report);
    report.properties = readXadesProperties(*doc, e);
    checkDataObjectFormats(report.properties, facts, report);
    checkPolicy(checkSignaturePolicy(*doc, e.signedSignatureProperties, context.policies, log), facts, report);
    report.timestamps = verifyXadesTimestamps(e, context, log);
    noteTimestampFacts(report.timestamps, context.anchors && !context.anchors->empty(), facts, report);
    checkCounterSignatures(*doc, e, facts, report, log);
    checkSignerChain(m_report.signer, data, context, facts, report);

    const AdesVerdict verdict = adesVerdictOf(facts);
    report.indication = verdict.indication;
    report.subIndication = verdict.subIndication;
    report.bestSignatureTime = facts.bestSignatureTime;
    report.level =
        adesLevelOf(*doc, e, report.properties.signingTime.has_value(), signingCertificate.present, report.timestamps);
    logAdesReport(report, log);
    return report;
}

// A signer whose certificate KeyInfo does not give is looked for by the
// digest its SigningCertificate states, among the signature's
// CertificateValues and the caller's certificates, and the signature is
// verified again with that certificate's key.
bool ClsXmlDSig::verifyWithNamedCertificate(const SigningCertificateProperty& property, const ValidationData& data,
                                            const AdesContext& context, LogBase& log) {
    std::vector<X509*> candidates = data.certificatePointers();
    candidates.insert(candidates.end(), context.pool.begin(), context.pool.end());
    X509* cert = certificateNamedBy(property, candidates);
    if (!cert)
        return false;
    log.LogInfo("Verify again with the key of the certificate SigningCertificate names...");
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    if (!key || !key->loadPkey(PkeyPtr(X509_get_pubkey(cert)), log))
        return false;
    key->setOrigin(static_cast<int>(KeySource::NamedBySigningCertificate), cert);
    m_signingCertificateKey = std::move(key);
    verifySignature(true, log);
    m_signingCertificateKey = RefPtr<ClsPublicKey>();
    return true;
}

void ClsXmlDSig::checkCounterSignatures(const XmlDocument& doc, const XadesElements& e, AdesFacts& facts,
                                        AdesReport& report, LogBase& log) {
    xades_names::forEachXadesChild(doc, e.unsignedSignatureProperties, "CounterSignature", [&](uint32_t holder) {
        const uint32_t counterSignature = xades_names::dsigChild(doc, holder, "Signature");
        if (counterSignature == kNoNode)
            return;
        CounterSignatureOutcome outcome = verifyCounterSignature(doc, counterSignature, e.signatureValue, log);
        facts.counterSignatureFailed |= !outcome.valid;
        report.check("counter-signature " + outcome.id, passedIf(outcome.valid),
                     outcome.valid ? "it verifies and covers the signature's value" : outcome.reason);
        report.counterSignatures.push_back(std::move(outcome));
    });
}

// The counter-signature is verified as the signature it is, then must cover
// its parent's SignatureValue element with a matched reference. The
// parent's run is restored after.
CounterSignatureOutcome ClsXmlDSig::verifyCounterSignature(const XmlDocument& doc, uint32_t counterSignature,
                                                           uint32_t parentValue, LogBase& log) {
    LogContextExitor ctx(log, "counterSignature");
    CounterSignatureOutcome outcome;
    outcome.id = xades_names::attributeValue(doc, counterSignature, "Id");
    const int index = signatureIndexAt(doc.startTagBegin(counterSignature));
    if (index < 0) {
        outcome.reason = "it is not a signature of the document";
        return outcome;
    }
    const int parent = m_selector;
    const int parentRefFailReason = m_refFailReason;
    VerificationReport parentReport = std::move(m_report);
    m_selector = index;
    const bool valid = verifySignature(true, log);
    const bool covers = parentValue != kNoNode && coveredByMatchedReference(doc, parentValue, m_report.references);
    outcome.valid = valid && covers;
    if (!valid)
        outcome.reason = std::string("it failed at the ") + verificationStageName(m_report.stage) + " stage";
    else if (!covers)
        outcome.reason = "no reference of it covers the SignatureValue of the signature it is under";
    outcome.signerSubject = subjectOf(m_report.signer.certificate.get());
    m_selector = parent;
    m_refFailReason = parentRefFailReason;
    m_report = std::move(parentReport);
    return outcome;
}

int ClsXmlDSig::signatureIndexAt(uint32_t offset) const {
    for (int i = 0; i < m_document.signatures.getSize(); ++i)
        if (const auto* sig = static_cast<const ClsXml*>(m_document.signatures.elementAt(i));
            sig && sig->startTagBegin() == offset)
            return i;
    return -1;
}

void ClsXmlDSig::logAdesReport(const AdesReport& report, LogBase& log) {
    for (const AdesCheck& check : report.checks)
        log.LogDataStr(check.name, check.detail);
    log.LogDataStr("level", report.level);
    if (report.bestSignatureTime)
        log.LogDataStr("bestSignatureTime", formatXmlDateTime(*report.bestSignatureTime));
}
