#include "CommandLine.h"
#include "Commands.h"
#include "OutputFile.h"
#include "VerdictReport.h"
#include "VerifySettings.h"
#include "report/ReportPage.h"

#include "xmldsig/Verifier.h"

#include <iostream>
#include <iterator>

namespace {

constexpr const char* kUsage =
    "usage: xmldsig report FILE [--format html|json] [-o OUT] [the options of xmldsig verify]\n"
    "  an HTML page (or JSON) on the document's signatures: the AdES indication, the signer,\n"
    "  chain and revocation, timestamps, signed properties and what each reference covered;\n"
    "  to standard output unless -o names a file";

struct ReportArgs {
    VerifySettings settings;
    ReportFormat format = ReportFormat::Html;
    std::string output;
};

// The verify options that make no sense for one page are refused rather
// than ignored.
bool refuseVerifyOnly(CommandLine& args, std::string& error) {
    for (const char* flag : {"--json", "--log", "--verbose"})
        if (args.takeFlag(flag)) {
            error = std::string(flag) + " is not an option of report (--format json gives JSON)";
            return false;
        }
    std::string jobs;
    if (args.takeValue("-j", jobs)) {
        error = "-j is not an option of report";
        return false;
    }
    return true;
}

int parseArgs(CommandLine& args, ReportArgs& a) {
    std::string error;
    std::string format = "html";
    args.takeValue("--format", format);
    args.takeValue("-o", a.output);
    if (!refuseVerifyOnly(args, error) || (format != "html" && format != "json")) {
        printError(error.empty() ? "--format must be html or json" : error);
        std::cerr << kUsage << '\n';
        return kExitUsage;
    }
    if (!takeVerifySettings(args, a.settings, kUsage))
        return kExitUsage;
    if (a.settings.files.size() != 1) {
        printError("report takes one FILE");
        return kExitUsage;
    }
    a.format = format == "json" ? ReportFormat::Json : ReportFormat::Html;
    prepareReportSettings(a.settings.verification, a.format);
    return kExitValid;
}

// Standard input is read here, once, so that the excerpts come from the same
// bytes that were verified.
FileVerdict verifyDocument(const ReportArgs& a, DocumentText& text) {
    const std::string& path = a.settings.files.front();
    xmldsig::Verifier verifier(a.settings.verification);
    if (path != "-") {
        text = DocumentText::ofFile(path);
        return {path, verifier.verifyFile(path)};
    }
    std::string bytes{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
    FileVerdict verdict{path, verifier.verify(std::string_view(bytes))};
    text = DocumentText::ofBytes(std::move(bytes));
    return verdict;
}

bool emit(const ReportArgs& a, const std::string& page) {
    if (a.output.empty()) {
        std::cout << page;
        if (std::cout.flush())
            return true;
        printError("stdout: cannot write");
        return false;
    }
    std::string error;
    if (writeWholeFile(a.output, page, a.settings.files.front(), error))
        return true;
    printError(error);
    return false;
}

} // namespace

int runReport(CommandLine& args) {
    if (args.takeFlag("--help")) {
        std::cout << kUsage << '\n';
        return kExitValid;
    }
    ReportArgs a;
    if (const int code = parseArgs(args, a); code != kExitValid)
        return code;
    DocumentText text = DocumentText::ofBytes({});
    const FileVerdict verdict = verifyDocument(a, text);
    if (!verdict.result.status) {
        printError(verdict.result.status.message);
        return kExitUsage;
    }
    if (!emit(a, reportPage(a.format, verdict.path, verdict.result, text)))
        return kExitUsage;
    return verdictExitCode(verdict, true);
}
