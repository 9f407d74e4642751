#include "CommandLine.h"
#include "Commands.h"
#include "DocumentLoader.h"

#include "companion/base/ClsJsonObject.h"
#include "verifier/ClsXmlDSig.h"

#include <fstream>
#include <iostream>
#include <memory>

namespace {

constexpr const char* kUsage = "usage: xmldsig timestamp --tsa URL [--tsa-options JSON] [--selector N] FILE [-o OUT]";
constexpr std::string_view kRequestContext = "getTimestampToken";

struct TimestampArgs {
    std::string tsaUrl;
    std::string tsaOptions = "{}";
    int selector = 0;
    std::vector<std::string> files;
    std::string output;
};

bool parseArgs(CommandLine& args, TimestampArgs& out) {
    std::string selectorText;
    const bool hasTsa = args.takeValue("--tsa", out.tsaUrl);
    args.takeValue("--tsa-options", out.tsaOptions);
    const bool hasSelector = args.takeValue("--selector", selectorText);
    args.takeValue("-o", out.output);
    out.files = args.operands();
    if (!args.error().empty() || !hasTsa || out.files.size() != 1 ||
        (hasSelector && !parseIndex(selectorText, out.selector))) {
        printError(args.error().empty() ? kUsage : args.error());
        return false;
    }
    return true;
}

bool writeOutput(const std::string& path, const StringBuffer& text) {
    if (path.empty()) {
        std::cout << text.view();
        return static_cast<bool>(std::cout.flush());
    }
    std::ofstream out(path, std::ios::binary);
    out << text.view();
    return static_cast<bool>(out.flush());
}

// The first error line that the timestamp request logged (in its own
// context or below), or empty when the request went through.
std::string timestampRequestError(const LogBase& log) {
    const std::vector<LogBase::Entry>& entries = log.entries();
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].kind != LogBase::Kind::Context || entries[i].tag != kRequestContext)
            continue;
        for (size_t j = i + 1; j < entries.size() && entries[j].depth > entries[i].depth; ++j)
            if (entries[j].kind == LogBase::Kind::Error)
                return entries[j].value;
    }
    return {};
}

} // namespace

int runTimestamp(CommandLine& args) {
    TimestampArgs a;
    if (!parseArgs(args, a))
        return kExitUsage;
    ClsJsonObject options;
    LogBase optionsLog;
    if (!options.load(a.tsaOptions, optionsLog)) {
        printError("--tsa-options: " + optionsLog.firstError());
        return kExitUsage;
    }
    options.updateString("TsaUrl", a.tsaUrl);

    std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
    std::string error;
    if (!loadDocumentFile(*dsig, a.files[0], error)) {
        printError(error);
        return kExitUsage;
    }
    if (a.selector >= dsig->get_NumSignatures()) {
        printError(a.files[0] + ": no signature at index " + std::to_string(a.selector));
        return kExitUsage;
    }
    dsig->put_Selector(a.selector);
    ClsStringBuilder out;
    if (!dsig->AddEncapsulatedTimeStamp(options, out)) {
        printError(a.files[0] + ": " + dsig->m_log.firstError());
        return kExitUsage;
    }
    // The call succeeds even when the authority gave no token; the log says
    // whether it did.
    if (const std::string tsaError = timestampRequestError(dsig->m_log); !tsaError.empty()) {
        printError("timestamp authority: " + tsaError);
        return kExitUsage;
    }
    if (!writeOutput(a.output, out.m_str)) {
        printError((a.output.empty() ? std::string("stdout") : a.output) + ": cannot write");
        return kExitUsage;
    }
    return kExitValid;
}
