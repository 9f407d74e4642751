#pragma once

#include "xmldsig/Settings.h"

#include <string>
#include <vector>

class CommandLine;

// What `xmldsig verify` was asked to do: the verification settings, and how
// to run and report.
struct VerifySettings {
    xmldsig::Settings verification;
    bool printLog = false;
    bool json = false;
    bool ades = false; // --ades: the indication decides the exit code

    unsigned jobs = 1;
    std::vector<std::string> files;
};

enum class ParseOutcome { Ok, UsageError, UnusableFile };

// Whether the command verifies FILE operands (verify, report) or documents
// that arrive later (serve), which takes none.
enum class FileOperands { Required, None };

// Reads the options; on failure `error` says why: a usage error, or a key,
// certificate or CRL file that cannot be used.
ParseOutcome parseVerifySettings(CommandLine& args, VerifySettings& settings, std::string& error,
                                 FileOperands operands = FileOperands::Required);
// The same for a command that verifies FILE operands: false once it has said
// why on standard error (with `usage` after a usage error).
bool takeVerifySettings(CommandLine& args, VerifySettings& settings, const char* usage);
