#include "xmldsig/Ades.h"

namespace xmldsig {

const char* indicationName(AdesValidation::Indication indication) noexcept {
    switch (indication) {
    case AdesValidation::Indication::TotalPassed:
        return "TOTAL_PASSED";
    case AdesValidation::Indication::TotalFailed:
        return "TOTAL_FAILED";
    case AdesValidation::Indication::Indeterminate:
        break;
    }
    return "INDETERMINATE";
}

const char* subIndicationName(AdesValidation::SubIndication subIndication) noexcept {
    using S = AdesValidation::SubIndication;
    switch (subIndication) {
    case S::None:
        return "";
    case S::FormatFailure:
        return "FORMAT_FAILURE";
    case S::HashFailure:
        return "HASH_FAILURE";
    case S::SigCryptoFailure:
        return "SIG_CRYPTO_FAILURE";
    case S::SignedDataNotFound:
        return "SIGNED_DATA_NOT_FOUND";
    case S::NoSigningCertificateFound:
        return "NO_SIGNING_CERTIFICATE_FOUND";
    case S::NoCertificateChainFound:
        return "NO_CERTIFICATE_CHAIN_FOUND";
    case S::ChainConstraintsFailure:
        return "CHAIN_CONSTRAINTS_FAILURE";
    case S::Revoked:
        return "REVOKED";
    case S::RevokedNoPoe:
        return "REVOKED_NO_POE";
    case S::OutOfBoundsNoPoe:
        return "OUT_OF_BOUNDS_NO_POE";
    case S::OutOfBoundsNotRevoked:
        return "OUT_OF_BOUNDS_NOT_REVOKED";
    case S::TryLater:
        return "TRY_LATER";
    case S::PolicyProcessingError:
        return "POLICY_PROCESSING_ERROR";
    case S::SignatureConstraintsFailure:
        return "SIG_CONSTRAINTS_FAILURE";
    case S::TimestampOrderFailure:
        return "TIMESTAMP_ORDER_FAILURE";
    case S::CryptoConstraintsFailure:
        return "CRYPTO_CONSTRAINTS_FAILURE";
    }
    return "";
}

const char* checkOutcomeName(AdesValidation::Check::Outcome outcome) noexcept {
    switch (outcome) {
    case AdesValidation::Check::Outcome::Passed:
        return "passed";
    case AdesValidation::Check::Outcome::Failed:
        return "failed";
    case AdesValidation::Check::Outcome::NotDone:
        return "not done";
    case AdesValidation::Check::Outcome::Info:
        break;
    }
    return "info";
}

} // namespace xmldsig
