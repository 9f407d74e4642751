#include "api/AdesConversion.h"

#include "companion/pki/CertificateSummary.h"
#include "companion/text/XmlDateTime.h"

namespace xmldsig {

namespace {

// The engine's enumerations list their values in the API's order.
static_assert(static_cast<int>(AdesSubIndication::CryptoConstraintsFailure) ==
              static_cast<int>(AdesValidation::SubIndication::CryptoConstraintsFailure));
static_assert(static_cast<int>(AdesIndication::TotalFailed) ==
              static_cast<int>(AdesValidation::Indication::TotalFailed));
static_assert(static_cast<int>(AdesCheckOutcome::Info) == static_cast<int>(AdesValidation::Check::Outcome::Info));

std::string timeText(const std::optional<std::time_t>& t) {
    return t ? formatXmlDateTime(*t) : std::string();
}

AdesValidation::Timestamp timestampOf(const XadesTimestampOutcome& t) {
    AdesValidation::Timestamp out;
    out.kind = xadesTimestampElementName(t.kind);
    out.valid = t.valid;
    out.time = timeText(t.time);
    if (t.tsaCertificate)
        out.tsaSubject = summarizeCertificate(t.tsaCertificate.get()).subject;
    out.tsaTrusted = t.tsaTrusted;
    out.reason = t.valid ? t.tsaReason : t.reason;
    return out;
}

AdesValidation::ChainCertificate chainCertificateOf(const AdesChainLink& link) {
    const CertificateSummary summary = summarizeCertificate(link.certificate.get());
    AdesValidation::ChainCertificate out;
    out.subject = summary.subject;
    out.issuer = summary.issuer;
    out.serialNumber = summary.serialNumber;
    out.notBefore = summary.notBefore;
    out.notAfter = summary.notAfter;
    out.sha256Fingerprint = summary.sha256Fingerprint;
    out.anchor = link.anchor;
    out.revocation = link.revocation;
    out.revocationSource = link.revocationSource;
    out.revocationTime = timeText(link.revocationTime);
    return out;
}

AdesValidation::Properties propertiesOf(const XadesProperties& p) {
    AdesValidation::Properties out;
    out.signingTime = p.signingTime ? formatXmlDateTime(*p.signingTime) : p.signingTimeText;
    for (const XadesProperties::DataObjectFormat& f : p.dataObjectFormats)
        out.dataObjectFormats.push_back({f.reference, f.mimeType, f.description});
    out.commitmentTypes = p.commitmentTypes;
    out.signerRoles = p.signerRoles;
    out.productionPlace = p.productionPlace;
    out.policyIdentifier = p.policyIdentifier;
    return out;
}

} // namespace

AdesValidation adesValidation(const AdesReport& report) {
    AdesValidation out;
    out.indication = static_cast<AdesValidation::Indication>(report.indication);
    out.subIndication = static_cast<AdesValidation::SubIndication>(report.subIndication);
    out.level = report.level;
    out.bestSignatureTime = timeText(report.bestSignatureTime);
    for (const AdesCheck& c : report.checks)
        out.checks.push_back({c.name, static_cast<AdesValidation::Check::Outcome>(c.outcome), c.detail});
    out.properties = propertiesOf(report.properties);
    for (const XadesTimestampOutcome& t : report.timestamps)
        out.timestamps.push_back(timestampOf(t));
    for (const AdesChainLink& link : report.chain)
        out.chain.push_back(chainCertificateOf(link));
    for (const CounterSignatureOutcome& c : report.counterSignatures)
        out.counterSignatures.push_back({c.id, c.valid, c.reason, c.signerSubject});
    return out;
}

} // namespace xmldsig
