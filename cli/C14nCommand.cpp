#include "CommandLine.h"
#include "Commands.h"

#include "xmldsig/Canonicalize.h"

#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

constexpr const char* kUsage =
    "usage: xmldsig c14n [--exclusive | --c14n11] [--with-comments] [--prefixes \"a b\"] [--fragment ID] FILE";

bool readFile(const std::string& path, std::string& bytes) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    bytes = std::move(text).str();
    return static_cast<bool>(in);
}

} // namespace

int runC14n(CommandLine& args) {
    const bool exclusive = args.takeFlag("--exclusive");
    const bool c14n11 = args.takeFlag("--c14n11");
    xmldsig::CanonicalizeOptions options;
    options.withComments = args.takeFlag("--with-comments");
    args.takeValue("--prefixes", options.inclusivePrefixes);
    args.takeValue("--fragment", options.fragmentId);
    const std::vector<std::string> files = args.operands();
    if (!args.error().empty() || files.size() != 1 || (exclusive && c14n11)) {
        printError(args.error().empty() ? kUsage : args.error());
        return kExitUsage;
    }
    options.method = exclusive ? xmldsig::CanonicalizeOptions::Method::Exclusive
                     : c14n11  ? xmldsig::CanonicalizeOptions::Method::Inclusive11
                               : xmldsig::CanonicalizeOptions::Method::Inclusive;

    std::string bytes, canonical;
    if (!readFile(files[0], bytes)) {
        printError(files[0] + ": cannot open");
        return kExitUsage;
    }
    if (const xmldsig::Status status = xmldsig::canonicalize(bytes, options, canonical); !status) {
        printError(files[0] + ": " + status.message);
        return kExitUsage;
    }
    std::fwrite(canonical.data(), 1, canonical.size(), stdout);
    return kExitValid;
}
