#include "VerdictReport.h"

#include <nlohmann/json.hpp>

namespace {

using xmldsig::Reference;
using xmldsig::SignatureResult;
using xmldsig::Signer;
using xmldsig::Trust;

const char* verdictWord(bool valid) {
    return valid ? "VALID" : "INVALID";
}

const char* targetKind(Reference::Target target) {
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

const char* trustWord(Trust::Status status) {
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

// `rsa-sha256 signer "CN=..., O=..." (certificate in KeyInfo)`
std::string signerText(const Signer& signer) {
    std::string text = signer.algorithm + " signer ";
    if (signer.certificate)
        text += "\"" + signer.certificate->subject + "\" ";
    return text + "(" + signer.keySource + ")";
}

std::string trustText(const Trust& trust) {
    if (trust.status == Trust::Status::NotChecked)
        return "signer not checked against a trust anchor";
    if (trust.anchorSubject.empty())
        return "signer trusted (" + trust.reason + ")";
    return "signer trusted (chain to \"" + trust.anchorSubject + "\")";
}

nlohmann::json referenceJson(const Reference& r) {
    nlohmann::json j = {{"index", r.index},
                        {"uri", r.uri},
                        {"target", targetKind(r.target)},
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
        nlohmann::json selected = nlohmann::json::array();
        for (const Reference::SelectedElement& e : r.selected)
            selected.push_back({{"element", e.name}, {"path", e.path}, {"line", e.line}, {"offset", e.offset}});
        j["selected"] = std::move(selected);
        j["selectedCount"] = r.selectedCount;
        j["excludesOutside"] = r.excludesOutside;
    }
    if (!r.matched)
        j["reason"] = r.failReason;
    return j;
}

nlohmann::json signerJson(const Signer& signer) {
    nlohmann::json j = {{"keySource", signer.keySource}, {"keyPath", signer.keyPath},
                        {"algorithm", signer.algorithm}, {"signatureMethod", signer.signatureMethod},
                        {"keyType", signer.keyType},     {"keyBits", signer.keyBits}};
    if (const auto& c = signer.certificate)
        j["certificate"] = {{"subject", c->subject},     {"issuer", c->issuer},     {"serialNumber", c->serialNumber},
                            {"notBefore", c->notBefore}, {"notAfter", c->notAfter}, {"sha256", c->sha256Fingerprint}};
    if (!signer.signingTime.empty())
        j["signingTime"] = {{"time", signer.signingTime}, {"source", signer.signingTimeSource}};
    return j;
}

nlohmann::json trustJson(const Trust& trust) {
    nlohmann::json j = {{"status", trustWord(trust.status)}};
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

nlohmann::json signatureJson(const SignatureResult& s) {
    nlohmann::json refs = nlohmann::json::array();
    for (const auto& ref : s.failedReferences)
        refs.push_back({{"index", ref.index}, {"reason", ref.reason}});
    nlohmann::json covered = nlohmann::json::array();
    for (const Reference& ref : s.references)
        covered.push_back(referenceJson(ref));
    nlohmann::json j = {{"index", s.index},
                        {"id", s.id},
                        {"verdict", verdictWord(s.valid)},
                        {"refFailReason", s.refFailReason},
                        {"failedReferences", refs},
                        {"references", covered}};
    if (!s.valid)
        j["reason"] = s.reason;
    j["stage"] = s.stage;
    if (!s.furtherAttempts.empty()) {
        nlohmann::json attempts = nlohmann::json::array();
        for (const auto& attempt : s.furtherAttempts)
            attempts.push_back({{"reference", attempt.reference}, {"attempt", attempt.name}});
        j["furtherAttempts"] = attempts;
    }
    if (s.limit)
        j["limit"] = {{"option", s.limit->option}, {"count", s.limit->count}, {"limit", s.limit->limit}};
    if (s.signer)
        j["signer"] = signerJson(*s.signer);
    j["trust"] = trustJson(s.trust);
    j["log"] = nlohmann::json::parse(s.logJson, nullptr, false);
    return j;
}

} // namespace

void printVerdictLines(const std::vector<FileVerdict>& results, bool withLog, std::ostream& out) {
    for (const FileVerdict& file : results) {
        if (!file.result.status)
            continue;
        for (const SignatureResult& s : file.result.signatures) {
            out << file.path << ": signature " << s.index;
            if (!s.id.empty())
                out << " (Id " << s.id << ")";
            out << ": " << verdictWord(s.valid);
            if (!s.valid)
                out << ": " << s.reason;
            else if (s.signer)
                out << ' ' << signerText(*s.signer) << (s.trust.status == Trust::Status::NotChecked ? "; " : ", ")
                    << trustText(s.trust);
            out << '\n';
            if (withLog)
                out << s.logText << '\n';
        }
    }
}

void printVerdictJson(const std::vector<FileVerdict>& results, std::ostream& out) {
    nlohmann::json files = nlohmann::json::array();
    for (const FileVerdict& file : results) {
        nlohmann::json f = {{"file", file.path}};
        if (!file.result.status) {
            f["error"] = file.result.status.message;
        } else {
            nlohmann::json sigs = nlohmann::json::array();
            for (const SignatureResult& s : file.result.signatures)
                sigs.push_back(signatureJson(s));
            f["signatures"] = sigs;
        }
        files.push_back(f);
    }
    out << nlohmann::json{{"files", files}}.dump(2) << '\n';
}
