#include "CommandLine.h"
#include "Commands.h"

#include "xmldsig/Timestamp.h"

#include <fstream>
#include <iostream>

namespace {

constexpr const char* kUsage = "usage: xmldsig timestamp --tsa URL [--tsa-options JSON] [--selector N] FILE [-o OUT]";

struct TimestampArgs {
    xmldsig::TimestampRequest request;
    std::vector<std::string> files;
    std::string output;
};

bool parseArgs(CommandLine& args, TimestampArgs& out) {
    std::string selectorText;
    const bool hasTsa = args.takeValue("--tsa", out.request.tsaUrl);
    args.takeValue("--tsa-options", out.request.tsaOptions);
    const bool hasSelector = args.takeValue("--selector", selectorText);
    args.takeValue("-o", out.output);
    out.files = args.operands();
    if (!args.error().empty() || !hasTsa || out.files.size() != 1 ||
        (hasSelector && !parseIndex(selectorText, out.request.signatureIndex))) {
        printError(args.error().empty() ? kUsage : args.error());
        return false;
    }
    return true;
}

bool writeOutput(const std::string& path, const std::string& text) {
    if (path.empty()) {
        std::cout << text;
        return static_cast<bool>(std::cout.flush());
    }
    std::ofstream out(path, std::ios::binary);
    out << text;
    return static_cast<bool>(out.flush());
}

} // namespace

int runTimestamp(CommandLine& args) {
    TimestampArgs a;
    if (!parseArgs(args, a))
        return kExitUsage;
    std::string stamped;
    if (const xmldsig::Status status = xmldsig::timestampFile(a.files[0], a.request, stamped); !status) {
        printError(status.code == xmldsig::Errc::bad_option ? "--tsa-options: " + status.message : status.message);
        return kExitUsage;
    }
    if (!writeOutput(a.output, stamped)) {
        printError((a.output.empty() ? std::string("stdout") : a.output) + ": cannot write");
        return kExitUsage;
    }
    return kExitValid;
}
