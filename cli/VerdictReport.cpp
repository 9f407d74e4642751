#include "VerdictReport.h"

#include "CommandLine.h"
#include "report/SignatureJson.h"

namespace {

using xmldsig::AdesValidation;
using xmldsig::SignatureResult;
using xmldsig::Signer;
using xmldsig::Trust;

const char* verdictWord(bool valid) {
    return valid ? "VALID" : "INVALID";
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

// "; AdES TOTAL_FAILED (HASH_FAILURE), XAdES-BASELINE-B"
std::string adesText(const std::optional<AdesValidation>& ades) {
    if (!ades)
        return "; AdES not validated";
    std::string text = std::string("; AdES ") + xmldsig::indicationName(ades->indication);
    if (const std::string sub = xmldsig::subIndicationName(ades->subIndication); !sub.empty())
        text += " (" + sub + ")";
    if (!ades->level.empty())
        text += ", " + ades->level;
    return text;
}

bool totalPassed(const SignatureResult& s) {
    return s.ades && s.ades->indication == AdesValidation::Indication::TotalPassed;
}

} // namespace

void printVerdictLines(const FileVerdict& file, const VerdictLineOptions& options, std::ostream& out) {
    if (!file.result.status)
        return;
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
        if (options.ades)
            out << adesText(s.ades);
        out << '\n';
        if (options.log)
            out << s.logText << '\n';
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
                sigs.push_back(signatureJson(s, AdesDetail::Verdict));
            f["signatures"] = sigs;
        }
        files.push_back(f);
    }
    out << nlohmann::json{{"files", files}}.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

int verdictExitCode(const FileVerdict& file, bool byIndication) {
    static_assert(kExitValid < kExitInvalid && kExitInvalid < kExitUsage);
    if (!file.result.status)
        return kExitUsage;
    for (const SignatureResult& s : file.result.signatures)
        if (byIndication ? !totalPassed(s) : !s.valid)
            return kExitInvalid;
    return kExitValid;
}
