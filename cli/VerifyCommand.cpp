#include "CommandLine.h"
#include "Commands.h"
#include "ProgressMeter.h"
#include "VerdictReport.h"
#include "VerdictsInOrder.h"
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
// verifier; `take` gets the results in the order of the command line.
void verifyAll(const VerifySettings& settings, const VerdictsInOrder::Take& take) {
    const size_t count = settings.files.size();
    const unsigned jobs = std::min<unsigned>(settings.jobs, static_cast<unsigned>(count));
    VerdictsInOrder results(count, take);
    ProgressMeter progress(count, ProgressMeter::wanted(count), std::cerr);
    std::atomic<size_t> next{0};
    auto work = [&] {
        xmldsig::Verifier verifier(settings.verification);
        for (size_t i = next++; i < count; i = next++) {
            xmldsig::Result result = verifier.verifyFile(settings.files[i]);
            progress.fileDone(!result.valid());
            results.done(i, {settings.files[i], std::move(result)});
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < jobs; ++i)
        threads.emplace_back(work);
    work();
    for (std::thread& t : threads)
        t.join();
    progress.finish();
}

// What the end of a run needs of the files it has handed on: the counts of
// the summary line and the exit code.
struct RunTally {
    size_t valid = 0;
    size_t invalid = 0;
    size_t errors = 0;
    int exitCode = kExitValid;

    void add(const FileVerdict& file, bool byIndication) {
        if (!file.result.status)
            ++errors;
        else if (file.result.valid())
            ++valid;
        else
            ++invalid;
        exitCode = std::max(exitCode, verdictExitCode(file, byIndication));
    }
    size_t files() const { return valid + invalid + errors; }

    // "2,000 files, 1,998 valid, 2 invalid, 0 errors"
    std::string summaryLine() const {
        return withThousands(files()) + " files, " + withThousands(valid) + " valid, " + withThousands(invalid) +
               " invalid, " + withThousands(errors) + " errors";
    }
};

// Settings that no document can be verified with end the run at once.
bool unusableSettings(const FileVerdict& first) {
    const std::error_code code = first.result.status.code;
    return code == xmldsig::Errc::bad_key || code == xmldsig::Errc::bad_certificate;
}

// Each file's lines printed as soon as it and the files before it are done.
int verifyToLines(const VerifySettings& settings) {
    RunTally tally;
    bool unusable = false;
    verifyAll(settings, [&](FileVerdict& file) {
        if (unusable)
            return;
        if (tally.files() == 0 && unusableSettings(file)) {
            unusable = true;
            printError(file.result.status.message);
            return;
        }
        if (!file.result.status)
            printError(file.result.status.message);
        printVerdictLines(file, {.log = settings.printLog, .ades = settings.ades}, std::cout);
        tally.add(file, settings.ades);
    });
    if (unusable)
        return kExitUsage;
    if (tally.files() > 1)
        std::cerr << tally.summaryLine() << '\n';
    return tally.exitCode;
}

// One JSON document, written once every file is done.
int verifyToJson(const VerifySettings& settings) {
    std::vector<FileVerdict> results;
    verifyAll(settings, [&](FileVerdict& file) { results.push_back(std::move(file)); });
    if (!results.empty() && unusableSettings(results.front())) {
        printError(results.front().result.status.message);
        return kExitUsage;
    }
    RunTally tally;
    for (const FileVerdict& file : results) {
        if (!file.result.status)
            printError(file.result.status.message);
        tally.add(file, settings.ades);
    }
    printVerdictJson(results, std::cout);
    if (tally.files() > 1)
        std::cerr << tally.summaryLine() << '\n';
    return tally.exitCode;
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
    return settings.json ? verifyToJson(settings) : verifyToLines(settings);
}
