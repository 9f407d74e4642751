#include "VerdictReport.h"

#include <nlohmann/json.hpp>

namespace {

const char* verdictWord(bool valid) {
    return valid ? "VALID" : "INVALID";
}

const char* targetKind(ReferenceOutcome::Target target) {
    switch (target) {
    case ReferenceOutcome::Target::Element:
        return "element";
    case ReferenceOutcome::Target::WholeDocument:
        return "whole document";
    case ReferenceOutcome::Target::External:
        return "external";
    case ReferenceOutcome::Target::Unresolved:
        break;
    }
    return "unresolved";
}

nlohmann::json referenceJson(const ReferenceOutcome& r) {
    nlohmann::json j = {{"index", r.index},
                        {"uri", r.uri},
                        {"target", targetKind(r.target)},
                        {"transforms", r.transforms},
                        {"digestMethod", r.digestMethod},
                        {"matched", r.matched}};
    if (r.target == ReferenceOutcome::Target::Element) {
        j["element"] = r.elementName;
        j["path"] = r.path;
        j["line"] = r.line;
        j["offset"] = r.offset;
    } else if (r.target == ReferenceOutcome::Target::External) {
        j["file"] = r.externalFile;
    }
    if (!r.matched)
        j["reason"] = r.failReason;
    return j;
}

nlohmann::json signatureJson(const SignatureResult& s) {
    nlohmann::json refs = nlohmann::json::array();
    for (const auto& ref : s.failedReferences)
        refs.push_back({{"index", ref.index}, {"reason", ref.reason}});
    nlohmann::json covered = nlohmann::json::array();
    for (const ReferenceOutcome& ref : s.references)
        covered.push_back(referenceJson(ref));
    nlohmann::json j = {{"index", s.index},
                        {"id", s.id},
                        {"verdict", verdictWord(s.valid)},
                        {"refFailReason", s.refFailReason},
                        {"failedReferences", refs},
                        {"references", covered}};
    if (!s.valid)
        j["reason"] = s.reason;
    j["log"] = nlohmann::json::parse(s.logJson, nullptr, false);
    return j;
}

} // namespace

void printVerdictLines(const std::vector<FileResult>& results, bool withLog, std::ostream& out) {
    for (const FileResult& file : results) {
        if (!file.error.empty())
            continue;
        for (const SignatureResult& s : file.signatures) {
            out << file.path << ": signature " << s.index;
            if (!s.id.empty())
                out << " (Id " << s.id << ")";
            out << ": " << verdictWord(s.valid);
            if (!s.valid)
                out << ": " << s.reason;
            out << '\n';
            if (withLog)
                out << s.logText << '\n';
        }
    }
}

void printVerdictJson(const std::vector<FileResult>& results, std::ostream& out) {
    nlohmann::json files = nlohmann::json::array();
    for (const FileResult& file : results) {
        nlohmann::json f = {{"file", file.path}};
        if (!file.error.empty()) {
            f["error"] = file.error;
        } else {
            nlohmann::json sigs = nlohmann::json::array();
            for (const SignatureResult& s : file.signatures)
                sigs.push_back(signatureJson(s));
            f["signatures"] = sigs;
        }
        files.push_back(f);
    }
    out << nlohmann::json{{"files", files}}.dump(2) << '\n';
}
