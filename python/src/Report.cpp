#include "Report.h"

#include "StatusError.h"
#include "report/ReportPage.h"

#include "xmldsig/Verifier.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace py = pybind11;

namespace xmldsig_python {
namespace {

ReportFormat formatNamed(const std::string& name) {
    if (name == "html")
        return ReportFormat::Html;
    if (name == "json")
        return ReportFormat::Json;
    throw py::value_error("format must be \"html\" or \"json\", not \"" + name + "\"");
}

// The document is verified and its excerpts read from the same source: the
// bytes given, or the file. Runs without the GIL, so a failure is returned,
// not raised.
xmldsig::Status renderReport(xmldsig::Settings settings, const std::optional<std::string>& document,
                             const std::filesystem::path& path, ReportFormat format, const std::string& name,
                             std::string& page) {
    prepareReportSettings(settings, format);
    xmldsig::Verifier verifier(settings);
    const xmldsig::Result result = document ? verifier.verify(std::string_view(*document)) : verifier.verifyFile(path);
    if (!result.status)
        return result.status;
    const DocumentText text = document ? DocumentText::ofBytes(*document) : DocumentText::ofFile(path);
    page = reportPage(format, name, result, text);
    return result.status;
}

} // namespace

void registerReport(py::module_& m) {
    m.def(
        "_report",
        [](const xmldsig::Settings& settings, std::optional<py::bytes> document, const std::filesystem::path& path,
           const std::string& format, const std::string& name) {
            const ReportFormat chosen = formatNamed(format);
            std::optional<std::string> bytes;
            if (document)
                bytes = std::string(*document);
            std::string page;
            xmldsig::Status status;
            {
                py::gil_scoped_release release;
                status = renderReport(settings, bytes, path, chosen, name, page);
            }
            check(status);
            return page;
        },
        py::arg("settings"), py::arg("document"), py::arg("path"), py::arg("format"), py::arg("name"));
}

} // namespace xmldsig_python
