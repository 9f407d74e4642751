#include "CommandLine.h"
#include "Commands.h"

#include <iostream>
#include <string_view>

namespace {

constexpr const char* kUsage = "usage: xmldsig <command> [options] FILE...\n"
                               "commands:\n"
                               "  verify [options] FILE...\n"
                               "                       verify signatures (xmldsig verify --help for options)\n"
                               "  report FILE [--format html|json] [-o OUT] [verify options]\n"
                               "                       a page on the signatures: AdES indication, signer, chain,\n"
                               "                       timestamps, properties, what was signed (HTML or JSON)\n"
                               "  info FILE [--json]   signatures, references and detected profile\n"
                               "  c14n [--exclusive] [--with-comments] [--prefixes \"a b\"] [--fragment ID] FILE\n"
                               "                       canonical form of the document or of one element\n"
                               "  certs FILE [--selector N]\n"
                               "                       the certificates of a signature's KeyInfo, as PEM\n"
                               "  timestamp --tsa URL [--tsa-options JSON] [--selector N] FILE [-o OUT]\n"
                               "                       adds an RFC 3161 timestamp (XAdES-T) to a signature\n"
                               "  serve [--listen HOST:PORT] [--threads N] [verify settings]\n"
                               "                       verification over HTTP (xmldsig serve --help)\n";

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << kUsage;
        return kExitUsage;
    }
    const std::string_view command = argv[1];
    CommandLine args(argc, argv, 2);
    if (command == "verify")
        return runVerify(args);
    if (command == "info")
        return runInfo(args);
    if (command == "c14n")
        return runC14n(args);
    if (command == "certs")
        return runCerts(args);
    if (command == "timestamp")
        return runTimestamp(args);
    if (command == "report")
        return runReport(args);
    if (command == "serve")
        return runServe(args);
    if (command == "--help" || command == "-h") {
        std::cout << kUsage;
        return kExitValid;
    }
    printError("unknown command: " + std::string(command));
    std::cerr << kUsage;
    return kExitUsage;
}
