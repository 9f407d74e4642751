#pragma once

#include "xmldsig/Result.h"

#include <ostream>
#include <string>
#include <vector>

// One file's result, under the name it was given.
struct FileVerdict {
    std::string path;
    xmldsig::Result result;
};

struct VerdictLineOptions {
    bool log = false;  // each signature's log follows its line
    bool ades = false; // each line ends with the AdES indication
};

// A line per signature of the file: file, index, Id, VALID with the signer
// and its trust, or INVALID and the reason.
void printVerdictLines(const FileVerdict& file, const VerdictLineOptions& options, std::ostream& out);

// One JSON document: per file and signature the verdict, RefFailReason, the
// failing reference indexes, the signer, the trust, the references, the AdES
// verdict and the log tree.
void printVerdictJson(const std::vector<FileVerdict>& results, std::ostream& out);

// kExitUsage when the file could not be verified, else kExitInvalid when a
// signature is not valid (byIndication: not TOTAL_PASSED), else kExitValid.
// The codes rise with what went wrong, so a run's code is its files' largest.
int verdictExitCode(const FileVerdict& file, bool byIndication);
