#include "verifier/FurtherAttempt.h"

const char* furtherAttemptName(FurtherAttempt attempt) {
    switch (attempt) {
    case FurtherAttempt::None:
        return "literal";
    case FurtherAttempt::SortBugEmulated:
        return "attribute-sorting bug emulated";
    case FurtherAttempt::SortBugDropped:
        return "attribute-sorting bug not emulated";
    case FurtherAttempt::CommentsLeftOut:
        return "comments left out";
    case FurtherAttempt::ExternalTransforms:
        return "transforms applied to external data";
    case FurtherAttempt::EveryXPathEvaluated:
        return "every XPath evaluated";
    case FurtherAttempt::OldXmlsecRelationships:
        return "relationship transform as old xmlsec wrote it";
    case FurtherAttempt::SiiDteOwnContext:
        return "SII DTE as its own document";
    case FurtherAttempt::SignedInfoInSiiDteOwnContext:
        return "SignedInfo in the SII DTE's own context";
    case FurtherAttempt::SignedDocRules:
        return "DigiDoc SignedDoc rules";
    case FurtherAttempt::ZatcaRules:
        return "ZATCA rules";
    case FurtherAttempt::HexDigestValue:
        return "digest value written in hex";
    case FurtherAttempt::DigestErrorAllowed:
        return "digest error allowed by option";
    case FurtherAttempt::CallerDataWithoutUri:
        return "caller's data for a reference without URI";
    }
    return "";
}
