#include "CommandLine.h"
#include "Commands.h"

#include "xmldsig/Canonicalize.h"

#include <cstdio>

namespace {

constexpr const char* kUsage =
    "usage: xmldsig c14n [--exclusive | --c14n11] [--with-comments] [--prefixes \"a b\"] [--fragment ID] FILE";

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

    std::string canonical;
    if (const xmldsig::Status status = xmldsig::canonicalizeFile(files[0], options, canonical); !status) {
        printError(status.message);
        return kExitUsage;
    }
    std::fwrite(canonical.data(), 1, canonical.size(), stdout);
    return kExitValid;
}
