#pragma once

#include "FileVerifier.h"

#include <ostream>
#include <vector>

// A line per signature: file, index, Id, VALID or INVALID and the reason;
// with `withLog`, each signature's log follows its line.
void printVerdictLines(const std::vector<FileResult>& results, bool withLog, std::ostream& out);

// One JSON document: per file and signature the verdict, RefFailReason, the
// failing reference indexes and the log tree.
void printVerdictJson(const std::vector<FileResult>& results, std::ostream& out);
