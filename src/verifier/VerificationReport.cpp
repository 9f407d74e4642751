#include "verifier/VerificationReport.h"

const char* verificationStageName(VerificationStage stage) {
    switch (stage) {
    case VerificationStage::None:
        return "none";
    case VerificationStage::Selection:
        return "selection";
    case VerificationStage::Limits:
        return "limits";
    case VerificationStage::References:
        return "references";
    case VerificationStage::Location:
        return "location";
    case VerificationStage::Timestamp:
        return "timestamp";
    case VerificationStage::SignedInfo:
        return "SignedInfo";
    case VerificationStage::KeyResolution:
        return "key resolution";
    case VerificationStage::SignatureValue:
        return "signature value";
    }
    return "";
}
