#include "ReportPage.h"

#include "HtmlReport.h"
#include "SignatureJson.h"

#include <sstream>

void prepareReportSettings(xmldsig::Settings& settings, ReportFormat format) {
    settings.setAdesValidation(true);
    settings.setLogJson(format == ReportFormat::Json);
}

nlohmann::json reportJson(const std::string& name, const xmldsig::Result& result) {
    nlohmann::json sigs = nlohmann::json::array();
    for (const xmldsig::SignatureResult& s : result.signatures)
        sigs.push_back(signatureJson(s, AdesDetail::Full));
    return {{"file", name}, {"signatures", sigs}};
}

std::string reportPage(ReportFormat format, const std::string& name, const xmldsig::Result& result,
                       const DocumentText& text) {
    if (format == ReportFormat::Json)
        return reportJson(name, result).dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    std::ostringstream out;
    writeHtmlReport(name, result, text, out);
    return out.str();
}
