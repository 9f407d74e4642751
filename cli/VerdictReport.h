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

// A line per signature: file, index, Id, VALID with the signer and its
// trust, or INVALID and the reason; with `withLog`, each signature's log
// follows its line.
void printVerdictLines(const std::vector<FileVerdict>& results, bool withLog, std::ostream& out);

// One JSON document: per file and signature the verdict, RefFailReason, the
// failing reference indexes, the signer, the trust, the references and the
// log tree.
void printVerdictJson(const std::vector<FileVerdict>& results, std::ostream& out);
