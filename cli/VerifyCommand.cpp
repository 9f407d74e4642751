#include "CommandLine.h"
#include "Commands.h"
#include "ProgressMeter.h"
#include "VerdictReport.h"
#include "VerifySettings.h"

#include "xmldsig/Verifier.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <thread>

namespace {

constexpr const char* kUsage =
    "usage: xmldsig verify [--selector N | --signature-id ID | --all] [--no-refs] [--key FILE]...\n"
    "         [--cert FILE|DIR]... [--hmac-key TEXT [--hmac-encoding ascii|hex|base64]]\n"
    "         [--trust FILE|DIR]... [--crl FILE]... [--at TIME]\n"
    "         [--ext-dir DIR[;DIR...]] [--ref-data INDEX=FILE]... [--ignore-external-refs]\n"
    "         [--options TEXT] [--verify-options JSON] [--ades] [--online] [--policy [IDENTIFIER=]FILE]...\n"
    "         [--log | --verbose] [--json] [-j N] FILE...\n"
    "  --ades     AdES validation (ETSI EN 319 102-1): each line ends with the indication, and the\n"
    "             exit code is 0 only when every signature is TOTAL_PASSED\n"
    "  --online   fetch revocation from the OCSP responders and CRL distribution points\n"
    "             that certificates name (nothing touches the network otherwise)\n"
    "  --policy   a signature policy's document, checked against the digest the signature states\n"
    "  --json     one JSON document, each signature with its AdES verdict (\"ades\")";

// Files are handed out one at a time to `jobs` threads, each with its own
// verifier; results keep the order of the command line.
std::vector<FileVerdict> verifyAll(const VerifySettings& settings) {
    const size_t count = settings.files.size();
    const unsigned jobs = std::min<unsigned>(settings.jobs, static_cast<unsigned>(count));
    std::vector<FileVerdict> results(count);
    ProgressMeter progress(count, ProgressMeter::wanted(count), std::cerr);
    std::atomic<size_t> next{0};
    auto work = [&] {
        xmldsig::Verifier verifier(settings.verification);
        for (size_t i = next++; i < count; i = next++) {
            results[i] = {settings.files[i], verifier.verifyFile(settings.files[i])};
            progress.fileDone(!results[i].result.valid());
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < jobs; ++i)
        threads.emplace_back(work);
    work();
    for (std::thread& t : threads)
        t.join();
    progress.finish();
    return results;
}

// "2,000 files, 1,998 valid, 2 invalid, 0 errors"
std::string summaryLine(const std::vector<FileVerdict>& results) {
    size_t valid = 0, invalid = 0, errors = 0;
    for (const FileVerdict& file : results) {
        if (!file.result.status)
            ++errors;
        else if (file.result.valid())
            ++valid;
        else
            ++invalid;
    }
    return withThousands(results.size()) + " files, " + withThousands(valid) + " valid, " + withThousands(invalid) +
           " invalid, " + withThousands(errors) + " errors";
}

// Settings that no document can be verified with end the run at once.
bool unusableSettings(const std::vector<FileVerdict>& results) {
    if (results.empty())
        return false;
    const std::error_code code = results.front().result.status.code;
    return code == xmldsig::Errc::bad_key || code == xmldsig::Errc::bad_certificate;
}

} // namespace

int runVerify(CommandLine& args) {
    if (args.takeFlag("--help")) {
        std::cout << kUsage << '\n';
        return kExitValid;
    }
    VerifySettings settings;
    if (!takeVerifySettings(args, settings, kUsage))
        return kExitUsage;
    const std::vector<FileVerdict> results = verifyAll(settings);
    if (unusableSettings(results)) {
        printError(results.front().result.status.message);
        return kExitUsage;
    }
    for (const FileVerdict& file : results)
        if (!file.result.status)
            printError(file.result.status.message);
    if (settings.json)
        printVerdictJson(results, std::cout);
    else
        printVerdictLines(results, {.log = settings.printLog, .ades = settings.ades}, std::cout);
    if (results.size() > 1)
        std::cerr << summaryLine(results) << '\n';
    return verdictExitCode(results, settings.ades);
}
