#include "ades/AdesFacts.h"

namespace {

using F = AdesFacts;
using S = AdesSubIndication;

constexpr AdesVerdict failed(S sub) {
    return {AdesIndication::TotalFailed, sub};
}
constexpr AdesVerdict indeterminate(S sub) {
    return {AdesIndication::Indeterminate, sub};
}

std::optional<AdesVerdict> coreVerdict(const AdesFacts& f) {
    if (f.coreValid)
        return std::nullopt;
    switch (f.stage) {
    case VerificationStage::References:
        if (f.referenceMismatch)
            return failed(S::HashFailure);
        return indeterminate(S::SignedDataNotFound);
    case VerificationStage::KeyResolution:
        return indeterminate(S::NoSigningCertificateFound);
    case VerificationStage::SignatureValue:
        return failed(f.valueMismatch ? S::SigCryptoFailure : S::CryptoConstraintsFailure);
    case VerificationStage::Timestamp:
        return failed(S::HashFailure);
    case VerificationStage::Limits:
        return indeterminate(S::SignatureConstraintsFailure);
    default:
        return failed(S::FormatFailure);
    }
}

// A revoked signer fails when a timestamp proves the signature came after
// the revocation; without such proof it cannot be told.
std::optional<AdesVerdict> revocationVerdict(const AdesFacts& f) {
    switch (f.revocation) {
    case F::Revocation::Revoked:
        if (!f.bestTimeFromTimestamp)
            return indeterminate(S::RevokedNoPoe);
        if (f.revocationTime && *f.revocationTime <= f.bestSignatureTime)
            return failed(S::Revoked);
        return std::nullopt;
    case F::Revocation::Unknown:
    case F::Revocation::Unavailable:
    case F::Revocation::NoData:
        return indeterminate(S::TryLater);
    case F::Revocation::Good:
    case F::Revocation::NotChecked:
        break;
    }
    return std::nullopt;
}

std::optional<AdesVerdict> chainVerdict(const AdesFacts& f) {
    switch (f.chain) {
    case F::Chain::NoAnchors:
    case F::Chain::NoCertificate:
    case F::Chain::Untrusted:
        return indeterminate(S::NoCertificateChainFound);
    case F::Chain::KeyUsage:
        return indeterminate(S::ChainConstraintsFailure);
    case F::Chain::OutOfBounds:
        return indeterminate(f.revocation == F::Revocation::Good ? S::OutOfBoundsNotRevoked : S::OutOfBoundsNoPoe);
    case F::Chain::Trusted:
        break;
    }
    return revocationVerdict(f);
}

} // namespace

AdesVerdict adesVerdictOf(const AdesFacts& f) {
    if (std::optional<AdesVerdict> core = coreVerdict(f))
        return *core;
    if (f.timestampImprintFailed)
        return failed(S::HashFailure);
    if (f.formatNamesNoReference)
        return failed(S::FormatFailure);
    if (f.timestampSignatureFailed)
        return failed(S::SigCryptoFailure);
    if (f.revocation == F::Revocation::Revoked && f.bestTimeFromTimestamp && f.revocationTime &&
        *f.revocationTime <= f.bestSignatureTime)
        return failed(S::Revoked);
    if (!f.unsignedContent.empty() || (f.hasXades && !f.signedPropertiesCovered))
        return indeterminate(S::SignedDataNotFound);
    if (f.hasXades && f.signingCertificate != F::SigningCertificate::Matches)
        return indeterminate(S::NoSigningCertificateFound);
    if (f.policy == PolicyCheck::Outcome::Mismatch || f.policy == PolicyCheck::Outcome::Unprocessable)
        return indeterminate(S::PolicyProcessingError);
    if (f.timestampOrderFailed)
        return indeterminate(S::TimestampOrderFailure);
    if (f.counterSignatureFailed)
        return indeterminate(S::SignatureConstraintsFailure);
    if (std::optional<AdesVerdict> chain = chainVerdict(f))
        return *chain;
    return {AdesIndication::TotalPassed, S::None};
}
