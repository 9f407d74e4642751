#include "VerifySettings.h"

#include "CommandLine.h"

#include "companion/base/ClsJsonObject.h"
#include "companion/log/LogBase.h"

namespace {

constexpr unsigned kMaxJobs = 256;

bool isJsonObject(const std::string& text) {
    ClsJsonObject json;
    LogNull quiet;
    return json.load(text, quiet);
}

// "INDEX=FILE"
bool parseRefData(const std::string& text, std::pair<int, std::string>& out) {
    const size_t eq = text.find('=');
    if (eq == std::string::npos || eq + 1 == text.size())
        return false;
    out.second = text.substr(eq + 1);
    return parseIndex(text.substr(0, eq), out.first);
}

bool parseSelection(CommandLine& args, VerifySettings& s, std::string& error) {
    std::string selector;
    const bool hasSelector = args.takeValue("--selector", selector);
    const bool hasId = args.takeValue("--signature-id", s.signatureId);
    const bool all = args.takeFlag("--all");
    if (int(hasSelector) + int(hasId) + int(all) > 1) {
        error = "--selector, --signature-id and --all exclude each other";
        return false;
    }
    if (hasSelector && !parseIndex(selector, s.selector)) {
        error = "--selector needs a signature index (0, 1, ...)";
        return false;
    }
    s.selection = all ? VerifySettings::Selection::All
                      : (hasId ? VerifySettings::Selection::Id : VerifySettings::Selection::Index);
    return true;
}

bool parseKeys(CommandLine& args, VerifySettings& s, std::string& error) {
    args.takeValue("--key", s.keyFile);
    s.certPaths = args.takeValues("--cert");
    s.hasHmacKey = args.takeValue("--hmac-key", s.hmacKey);
    if (args.takeValue("--hmac-encoding", s.hmacEncoding) && s.hmacEncoding != "ascii" && s.hmacEncoding != "hex" &&
        s.hmacEncoding != "base64") {
        error = "--hmac-encoding must be ascii, hex or base64";
        return false;
    }
    return true;
}

bool parseReferences(CommandLine& args, VerifySettings& s, std::string& error) {
    s.checkReferences = !args.takeFlag("--no-refs");
    args.takeValue("--ext-dir", s.externalRefDirs);
    for (const std::string& item : args.takeValues("--ref-data")) {
        std::pair<int, std::string> entry;
        if (!parseRefData(item, entry)) {
            error = "--ref-data needs INDEX=FILE, got " + item;
            return false;
        }
        s.refData.push_back(entry);
    }
    s.ignoreExternalRefs = args.takeFlag("--ignore-external-refs");
    args.takeValue("--options", s.uncommonOptions);
    if (args.takeValue("--verify-options", s.verifyOptions) && !isJsonObject(s.verifyOptions)) {
        error = "--verify-options needs a JSON object, got " + s.verifyOptions;
        return false;
    }
    return true;
}

bool parseOutput(CommandLine& args, VerifySettings& s, std::string& error) {
    s.printLog = args.takeFlag("--log");
    s.verbose = args.takeFlag("--verbose");
    s.json = args.takeFlag("--json");
    std::string jobs;
    int n = 0;
    if (args.takeValue("-j", jobs) && (!parseIndex(jobs, n) || n < 1 || static_cast<unsigned>(n) > kMaxJobs)) {
        error = "-j needs a thread count from 1 to " + std::to_string(kMaxJobs);
        return false;
    }
    if (n > 0)
        s.jobs = static_cast<unsigned>(n);
    return true;
}

} // namespace

bool parseVerifySettings(CommandLine& args, VerifySettings& s, std::string& error) {
    if (!parseSelection(args, s, error) || !parseKeys(args, s, error) || !parseReferences(args, s, error) ||
        !parseOutput(args, s, error))
        return false;
    s.files = args.operands();
    if (!args.error().empty()) {
        error = args.error();
        return false;
    }
    if (s.files.empty()) {
        error = "verify needs at least one FILE";
        return false;
    }
    return true;
}
