#pragma once

#include "DocumentText.h"

#include "xmldsig/Result.h"
#include "xmldsig/Settings.h"

#include <nlohmann/json.hpp>

#include <string>

// The report a person reads on one document, as `xmldsig report` writes it
// and Python's `xmldsig.report` returns it.
enum class ReportFormat { Html, Json };

// What a report needs of the verification: AdES validation always, and each
// signature's log tree for JSON.
void prepareReportSettings(xmldsig::Settings& settings, ReportFormat format);

// {"file": name, "signatures": [...]}: each signature's result with its AdES
// validation in full.
nlohmann::json reportJson(const std::string& name, const xmldsig::Result& result);

// The whole page: HTML (excerpts of the signed elements from `text`), or the
// JSON above indented by two spaces, ending with a newline.
std::string reportPage(ReportFormat format, const std::string& name, const xmldsig::Result& result,
                       const DocumentText& text);
