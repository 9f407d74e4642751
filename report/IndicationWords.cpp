#include "IndicationWords.h"

using xmldsig::AdesValidation;

const char* indicationMeaning(AdesValidation::Indication indication) {
    switch (indication) {
    case AdesValidation::Indication::TotalPassed:
        return "Every check passed: the signature may be relied on at the level shown.";
    case AdesValidation::Indication::TotalFailed:
        return "The signature is not valid: a check failed that no further information can change.";
    case AdesValidation::Indication::Indeterminate:
        break;
    }
    return "The checks could not decide: what is missing (revocation data, a trust anchor, a proof of time) "
           "might settle it either way.";
}

const char* subIndicationMeaning(AdesValidation::SubIndication subIndication) {
    using S = AdesValidation::SubIndication;
    switch (subIndication) {
    case S::None:
        return "";
    case S::FormatFailure:
        return "The signature is not built as its format requires.";
    case S::HashFailure:
        return "Signed data does not match its digest: it was changed after signing.";
    case S::SigCryptoFailure:
        return "The signature value does not verify with the signer's key.";
    case S::SignedDataNotFound:
        return "Data the signature covers could not be found.";
    case S::NoSigningCertificateFound:
        return "The signer's certificate could not be identified.";
    case S::NoCertificateChainFound:
        return "No chain leads from the signer's certificate to a trust anchor.";
    case S::ChainConstraintsFailure:
        return "A certificate of the chain breaks a constraint (validity, key usage, policy).";
    case S::Revoked:
        return "The signer's certificate is revoked.";
    case S::RevokedNoPoe:
        return "The signer's certificate was revoked, and nothing proves the signature existed before that.";
    case S::OutOfBoundsNoPoe:
        return "The signer's certificate is outside its validity period, and nothing proves the signature "
               "existed while it was valid.";
    case S::OutOfBoundsNotRevoked:
        return "The signer's certificate has expired; it was not revoked while valid.";
    case S::TryLater:
        return "Revocation information is not available yet: validate again later.";
    case S::PolicyProcessingError:
        return "The signature policy could not be obtained or processed, or its digest does not match.";
    case S::SignatureConstraintsFailure:
        return "The signed properties break a constraint of the validation policy.";
    case S::TimestampOrderFailure:
        return "The timestamps are not in the order they must be.";
    case S::CryptoConstraintsFailure:
        return "An algorithm or key size is not considered secure at the time that matters.";
    }
    return "";
}
