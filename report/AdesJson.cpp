#include "AdesJson.h"

namespace {

using nlohmann::json;
using xmldsig::AdesValidation;

json textOrNull(const std::string& text) {
    return text.empty() ? json(nullptr) : json(text);
}

json checksJson(const std::vector<AdesValidation::Check>& checks) {
    json out = json::array();
    for (const AdesValidation::Check& c : checks)
        out.push_back({{"name", c.name}, {"outcome", xmldsig::checkOutcomeName(c.outcome)}, {"detail", c.detail}});
    return out;
}

json propertiesJson(const AdesValidation::Properties& p) {
    json formats = json::array();
    for (const auto& f : p.dataObjectFormats)
        formats.push_back({{"reference", f.reference < 0 ? json(nullptr) : json(f.reference)},
                           {"mimeType", f.mimeType},
                           {"description", f.description}});
    return {{"signingTime", textOrNull(p.signingTime)},
            {"dataObjectFormats", formats},
            {"commitmentTypes", p.commitmentTypes},
            {"signerRoles", p.signerRoles},
            {"productionPlace", textOrNull(p.productionPlace)},
            {"policyIdentifier", textOrNull(p.policyIdentifier)}};
}

json timestampsJson(const std::vector<AdesValidation::Timestamp>& timestamps) {
    json out = json::array();
    for (const auto& t : timestamps) {
        json j = {{"kind", t.kind},
                  {"valid", t.valid},
                  {"time", textOrNull(t.time)},
                  {"tsaSubject", textOrNull(t.tsaSubject)},
                  {"tsaTrusted", t.tsaTrusted}};
        if (!t.valid)
            j["reason"] = t.reason;
        out.push_back(std::move(j));
    }
    return out;
}

json chainJson(const std::vector<AdesValidation::ChainCertificate>& chain) {
    json out = json::array();
    for (const auto& c : chain)
        out.push_back({{"subject", c.subject},
                       {"issuer", c.issuer},
                       {"serialNumber", c.serialNumber},
                       {"notBefore", c.notBefore},
                       {"notAfter", c.notAfter},
                       {"sha256", c.sha256Fingerprint},
                       {"anchor", c.anchor},
                       {"revocation",
                        {{"status", c.revocation},
                         {"source", textOrNull(c.revocationSource)},
                         {"time", textOrNull(c.revocationTime)}}}});
    return out;
}

json counterSignaturesJson(const std::vector<AdesValidation::CounterSignature>& counterSignatures) {
    json out = json::array();
    for (const auto& c : counterSignatures) {
        json j = {{"id", c.id}, {"valid", c.valid}, {"signerSubject", textOrNull(c.signerSubject)}};
        if (!c.valid)
            j["reason"] = c.reason;
        out.push_back(std::move(j));
    }
    return out;
}

} // namespace

json adesVerdictJson(const AdesValidation& ades) {
    return {{"indication", xmldsig::indicationName(ades.indication)},
            {"subIndication", textOrNull(xmldsig::subIndicationName(ades.subIndication))},
            {"level", ades.level},
            {"bestSignatureTime", textOrNull(ades.bestSignatureTime)},
            {"checks", checksJson(ades.checks)}};
}

json adesFullJson(const AdesValidation& ades) {
    json j = adesVerdictJson(ades);
    j["properties"] = propertiesJson(ades.properties);
    j["timestamps"] = timestampsJson(ades.timestamps);
    j["chain"] = chainJson(ades.chain);
    j["counterSignatures"] = counterSignaturesJson(ades.counterSignatures);
    return j;
}
