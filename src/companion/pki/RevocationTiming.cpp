#include "companion/pki/RevocationTiming.h"

#include "companion/pki/CertificateSummary.h"
#include "companion/pki/PkiHandles.h"

namespace {

std::string timeText(std::time_t t) {
    const Asn1TimePtr time(ASN1_TIME_set(nullptr, t));
    return asn1TimeText(time.get());
}

} // namespace

std::string applyRevocationTiming(RevocationEvidence& evidence, const RevocationQuery& query) {
    if (!evidence.thisUpdate)
        return "it has no thisUpdate";
    const std::time_t thisUpdate = *evidence.thisUpdate;
    if (evidence.nextUpdate && *evidence.nextUpdate < thisUpdate)
        return "its nextUpdate is before its thisUpdate";
    const bool current =
        thisUpdate <= query.at + query.allowance && (!evidence.nextUpdate || query.at <= *evidence.nextUpdate);
    const bool issuedLater = thisUpdate > query.at && evidence.status != RevocationStatus::Unknown;
    if (!current && !issuedLater)
        return "it was not current at " + timeText(query.at) + " (thisUpdate " + timeText(thisUpdate) +
               (evidence.nextUpdate ? ", nextUpdate " + timeText(*evidence.nextUpdate) : std::string()) + ")";
    if (evidence.status == RevocationStatus::Revoked && evidence.revocationTime && *evidence.revocationTime > query.at)
        evidence.status = RevocationStatus::Good;
    return {};
}
