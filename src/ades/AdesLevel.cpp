#include "ades/AdesLevel.h"

#include "ades/XadesNames.h"

#include <algorithm>

using namespace xades_names;

namespace {

struct Present {
    bool signatureTimestamp = false;
    bool refsTimestamp = false; // SigAndRefsTimeStamp or RefsOnlyTimeStamp
    bool archiveTimestamp = false;
    bool references = false; // CompleteCertificateRefs, CompleteRevocationRefs
    bool values = false;     // CertificateValues, RevocationValues, TimeStampValidationData
    bool policy = false;
};

bool anyValid(std::span<const XadesTimestampOutcome> timestamps, std::initializer_list<XadesTimestampKind> kinds) {
    return std::any_of(timestamps.begin(), timestamps.end(), [&](const XadesTimestampOutcome& t) {
        return t.valid && std::find(kinds.begin(), kinds.end(), t.kind) != kinds.end();
    });
}

Present presentIn(const XmlDocument& doc, const XadesElements& e, std::span<const XadesTimestampOutcome> timestamps) {
    using K = XadesTimestampKind;
    Present p;
    p.signatureTimestamp = anyValid(timestamps, {K::Signature});
    p.refsTimestamp = anyValid(timestamps, {K::SigAndRefs, K::RefsOnly});
    p.archiveTimestamp = anyValid(timestamps, {K::Archive});
    const uint32_t usp = e.unsignedSignatureProperties;
    p.references = xadesChild(doc, usp, "CompleteCertificateRefs") != kNoNode ||
                   xadesChild(doc, usp, "CompleteRevocationRefs") != kNoNode;
    p.values = xadesChild(doc, usp, "CertificateValues") != kNoNode ||
               xadesChild(doc, usp, "RevocationValues") != kNoNode ||
               xadesChild(doc, usp, "TimeStampValidationData") != kNoNode;
    p.policy = xadesChild(doc, e.signedSignatureProperties, "SignaturePolicyIdentifier") != kNoNode;
    return p;
}

std::string baselineLevel(const Present& p) {
    if (!p.signatureTimestamp)
        return "XAdES-BASELINE-B";
    if (!p.values)
        return "XAdES-BASELINE-T";
    return p.archiveTimestamp ? "XAdES-BASELINE-LTA" : "XAdES-BASELINE-LT";
}

std::string olderLevel(const Present& p) {
    if (p.archiveTimestamp)
        return "XAdES-A";
    if (p.refsTimestamp)
        return p.values ? "XAdES-X-L" : "XAdES-X";
    if (p.references)
        return "XAdES-C";
    if (p.signatureTimestamp)
        return "XAdES-T";
    return p.policy ? "XAdES-EPES" : "XAdES-BES";
}

} // namespace

std::string adesLevelOf(const XmlDocument& doc, const XadesElements& e, bool signingTimeStated,
                        bool signingCertificateStated, std::span<const XadesTimestampOutcome> timestamps) {
    if (!e.hasXades())
        return "XML-DSig";
    const Present p = presentIn(doc, e, timestamps);
    const bool baseline =
        e.xadesNamespace == kV132 && signingTimeStated && signingCertificateStated && !p.references && !p.refsTimestamp;
    return baseline ? baselineLevel(p) : olderLevel(p);
}
