#include "SignatureJson.h"

#include "AdesJson.h"

namespace {

using nlohmann::json;
using xmldsig::Reference;
using xmldsig::SignatureResult;
using xmldsig::Signer;
using xmldsig::Trust;

json referenceJson(const Reference& r) {
    json j = {{"index", r.index},
              {"uri", r.uri},
              {"target", referenceTargetName(r.target)},
              {"transforms", r.transforms},
              {"digestMethod", r.digestMethod},
              {"matched", r.matched}};
    if (r.target == Reference::Target::Element) {
        j["element"] = r.elementName;
        j["path"] = r.path;
        j["line"] = r.line;
        j["offset"] = r.offset;
    } else if (r.target == Reference::Target::External) {
        j["file"] = r.externalFile;
    } else if (r.target == Reference::Target::Selection) {
        json selected = json::array();
        for (const Reference::SelectedElement& e : r.selected)
            selected.push_back({{"element", e.name}, {"path", e.path}, {"line", e.line}, {"offset", e.offset}});
        j["selected"] = std::move(selected);
        j["selectedCount"] = r.selectedCount;
        j["excludesOutside"] = r.excludesOutside;
    }
    if (!r.matched) {
        j["reason"] = r.failReason;
        j["failure"] = r.failure;
    }
    return j;
}

json signerJson(const Signer& signer) {
    json j = {{"keySource", signer.keySource}, {"keyPath", signer.keyPath},
              {"algorithm", signer.algorithm}, {"signatureMethod", signer.signatureMethod},
              {"keyType", signer.keyType},     {"keyBits", signer.keyBits}};
    if (const auto& c = signer.certificate)
        j["certificate"] = {{"subject", c->subject},     {"issuer", c->issuer},     {"serialNumber", c->serialNumber},
                            {"notBefore", c->notBefore}, {"notAfter", c->notAfter}, {"sha256", c->sha256Fingerprint}};
    if (!signer.signingTime.empty())
        j["signingTime"] = {{"time", signer.signingTime}, {"source", signer.signingTimeSource}};
    return j;
}

json trustJson(const Trust& trust) {
    json j = {{"status", trustStatusName(trust.status)}};
    if (trust.status == Trust::Status::NotChecked)
        return j;
    j["time"] = trust.time;
    j["timeSource"] = trust.timeSource;
    if (!trust.anchorSubject.empty())
        j["anchor"] = trust.anchorSubject;
    if (!trust.reason.empty())
        j["reason"] = trust.reason;
    return j;
}

} // namespace

const char* referenceTargetName(Reference::Target target) {
    switch (target) {
    case Reference::Target::Element:
        return "element";
    case Reference::Target::WholeDocument:
        return "whole document";
    case Reference::Target::External:
        return "external";
    case Reference::Target::Selection:
        return "selection";
    case Reference::Target::Unresolved:
        break;
    }
    return "unresolved";
}

const char* trustStatusName(Trust::Status status) {
    switch (status) {
    case Trust::Status::Trusted:
        return "trusted";
    case Trust::Status::NotTrusted:
        return "not trusted";
    case Trust::Status::NotChecked:
        break;
    }
    return "not checked";
}

json signatureJson(const SignatureResult& s, AdesDetail ades) {
    json refs = json::array();
    for (const auto& ref : s.failedReferences)
        refs.push_back({{"index", ref.index}, {"reason", ref.reason}});
    json covered = json::array();
    for (const Reference& ref : s.references)
        covered.push_back(referenceJson(ref));
    json j = {{"index", s.index},
              {"id", s.id},
              {"verdict", s.valid ? "VALID" : "INVALID"},
              {"refFailReason", s.refFailReason},
              {"failedReferences", refs},
              {"references", covered}};
    if (!s.valid)
        j["reason"] = s.reason;
    j["stage"] = s.stage;
    if (!s.furtherAttempts.empty()) {
        json attempts = json::array();
        for (const auto& attempt : s.furtherAttempts)
            attempts.push_back({{"reference", attempt.reference}, {"attempt", attempt.name}});
        j["furtherAttempts"] = attempts;
    }
    if (s.limit)
        j["limit"] = {{"option", s.limit->option}, {"count", s.limit->count}, {"limit", s.limit->limit}};
    if (s.signer)
        j["signer"] = signerJson(*s.signer);
    j["trust"] = trustJson(s.trust);
    if (s.ades)
        j["ades"] = ades == AdesDetail::Full ? adesFullJson(*s.ades) : adesVerdictJson(*s.ades);
    if (!s.logJson.empty())
        j["log"] = json::parse(s.logJson, nullptr, false);
    return j;
}
