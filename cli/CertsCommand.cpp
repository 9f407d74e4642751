#include "CommandLine.h"
#include "Commands.h"

#include "xmldsig/Certificates.h"

#include <iostream>

namespace {

constexpr const char* kUsage = "usage: xmldsig certs FILE [--selector N]";

} // namespace

int runCerts(CommandLine& args) {
    std::string selectorText;
    int selector = 0;
    const bool hasSelector = args.takeValue("--selector", selectorText);
    const std::vector<std::string> files = args.operands();
    if (!args.error().empty() || files.size() != 1 || (hasSelector && !parseIndex(selectorText, selector))) {
        printError(args.error().empty() ? kUsage : args.error());
        return kExitUsage;
    }
    std::vector<xmldsig::Certificate> certs;
    if (const xmldsig::Status status = xmldsig::keyInfoCertificatesOfFile(files[0], selector, certs); !status) {
        printError(status.message);
        // A document that loads but whose certificates cannot be read is a
        // finding about the signature, not a usage error.
        return status.code == xmldsig::Errc::unresolved_key_info ? kExitInvalid : kExitUsage;
    }
    for (const xmldsig::Certificate& cert : certs)
        std::cout << xmldsig::pem(cert);
    return kExitValid;
}
