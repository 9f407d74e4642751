#include "CommandLine.h"
#include "Commands.h"
#include "FileVerifier.h"
#include "VerdictReport.h"
#include "VerifySettings.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <thread>

namespace {

constexpr const char* kUsage =
    "usage: xmldsig verify [--selector N | --signature-id ID | --all] [--no-refs] [--key FILE]\n"
    "         [--cert FILE|DIR]... [--hmac-key TEXT [--hmac-encoding ascii|hex|base64]]\n"
    "         [--ext-dir DIR[;DIR...]] [--ref-data INDEX=FILE]... [--ignore-external-refs]\n"
    "         [--options TEXT] [--verify-options JSON] [--log | --verbose] [--json] [-j N] FILE...";

// Files are handed out one at a time to `jobs` threads, each with its own
// verifier; results keep the order of the command line.
bool verifyAll(const VerifySettings& settings, std::vector<FileResult>& results, std::string& error) {
    const unsigned jobs = std::min<unsigned>(settings.jobs, static_cast<unsigned>(settings.files.size()));
    std::vector<std::unique_ptr<FileVerifier>> verifiers;
    for (unsigned i = 0; i < jobs; ++i) {
        verifiers.push_back(std::make_unique<FileVerifier>(settings));
        if (!verifiers.back()->configure(error))
            return false;
    }
    results.resize(settings.files.size());
    std::atomic<size_t> next{0};
    auto work = [&](FileVerifier& verifier) {
        for (size_t i = next++; i < settings.files.size(); i = next++)
            results[i] = verifier.verify(settings.files[i]);
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < jobs; ++i)
        threads.emplace_back(work, std::ref(*verifiers[i]));
    work(*verifiers[0]);
    for (std::thread& t : threads)
        t.join();
    return true;
}

int exitCode(const std::vector<FileResult>& results) {
    int code = kExitValid;
    for (const FileResult& file : results) {
        if (!file.error.empty())
            return kExitUsage;
        for (const SignatureResult& s : file.signatures)
            if (!s.valid)
                code = kExitInvalid;
    }
    return code;
}

} // namespace

int runVerify(CommandLine& args) {
    if (args.takeFlag("--help")) {
        std::cout << kUsage << '\n';
        return kExitValid;
    }
    VerifySettings settings;
    std::string error;
    if (!parseVerifySettings(args, settings, error)) {
        printError(error);
        std::cerr << kUsage << '\n';
        return kExitUsage;
    }
    std::vector<FileResult> results;
    if (!verifyAll(settings, results, error)) {
        printError(error);
        return kExitUsage;
    }
    for (const FileResult& file : results)
        if (!file.error.empty())
            printError(file.error);
    if (settings.json)
        printVerdictJson(results, std::cout);
    else
        printVerdictLines(results, settings.printLog || settings.verbose, std::cout);
    return exitCode(results);
}
