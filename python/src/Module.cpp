// The compiled part of the xmldsig package: settings, a verifier that many
// threads may call, and canonicalization. The package's __init__.py turns
// keyword arguments into settings and paths into calls.
#include "Report.h"
#include "ResultTypes.h"
#include "StatusError.h"
#include "VerifierPool.h"

#include "xmldsig/Canonicalize.h"
#include "xmldsig/Settings.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <string>
#include <type_traits>

namespace py = pybind11;
using namespace xmldsig_python;

namespace {

std::string_view bytesView(const py::bytes& data) {
    return {PyBytes_AS_STRING(data.ptr()), static_cast<size_t>(PyBytes_GET_SIZE(data.ptr()))};
}

py::list signaturesOf(xmldsig::Result result) {
    check(result.status);
    return py::cast(std::move(result.signatures));
}

// A Status-returning setter as a method that raises.
template <class... Args> auto raising(xmldsig::Status (xmldsig::Settings::*setter)(Args...)) {
    return [setter](xmldsig::Settings& s, Args... args) { check((s.*setter)(args...)); };
}

void registerSettings(py::module_& m) {
    using S = xmldsig::Settings;
    py::class_<S>(m, "_Settings")
        .def(py::init<>())
        .def("add_key_file", raising(&S::addKeyFile))
        .def("add_certificates", raising(&S::addCertificates))
        .def("set_hmac_key", raising(&S::setHmacKey))
        .def("add_trust_anchors", raising(&S::addTrustAnchors))
        .def("add_crls", raising(&S::addCrls))
        .def("set_verification_time", [](S& s, std::string_view time) { check(s.setVerificationTime(time)); })
        .def("add_external_ref_dir", &S::addExternalRefDir)
        .def("set_ref_data_file", &S::setRefDataFile)
        .def("set_ignore_external_refs", &S::setIgnoreExternalRefs)
        .def("set_ades_validation", &S::setAdesValidation)
        .def("set_online", &S::setOnline)
        .def("add_policy_document", raising(&S::addPolicyDocument))
        .def("set_options", &S::setOptions)
        .def("set_verify_options", raising(&S::setVerifyOptions))
        .def("select_index", &S::selectIndex)
        .def("select_id", &S::selectId)
        .def("select_all", &S::selectAll)
        .def("set_check_references", &S::setCheckReferences)
        .def("set_log_text", &S::setLogText)
        .def("set_log_json", &S::setLogJson)
        .def("set_verbose_log", &S::setVerboseLog);
}

void registerVerifier(py::module_& m) {
    py::class_<VerifierPool>(m, "_Verifier")
        .def(py::init<xmldsig::Settings>())
        .def("verify_bytes",
             [](VerifierPool& pool, const py::bytes& document) {
                 const std::string_view bytes = bytesView(document);
                 xmldsig::Result result;
                 {
                     py::gil_scoped_release release;
                     result = pool.verify(bytes);
                 }
                 return signaturesOf(std::move(result));
             })
        .def("verify_file", [](VerifierPool& pool, const std::filesystem::path& path) {
            xmldsig::Result result;
            {
                py::gil_scoped_release release;
                result = pool.verifyFile(path);
            }
            return signaturesOf(std::move(result));
        });
}

xmldsig::CanonicalizeOptions::Method methodNamed(const std::string& name) {
    using Method = xmldsig::CanonicalizeOptions::Method;
    if (name == "exclusive")
        return Method::Exclusive;
    if (name == "c14n11")
        return Method::Inclusive11;
    return Method::Inclusive;
}

// `canonicalize` or `canonicalizeFile`, run without the GIL.
template <class Document>
py::bytes canonicalForm(const Document& document, const std::string& method, bool withComments, std::string prefixes,
                        std::string fragment) {
    const xmldsig::CanonicalizeOptions options{methodNamed(method), withComments, std::move(prefixes),
                                               std::move(fragment)};
    std::string out;
    xmldsig::Status status;
    {
        py::gil_scoped_release release;
        if constexpr (std::is_same_v<Document, std::filesystem::path>)
            status = xmldsig::canonicalizeFile(document, options, out);
        else
            status = xmldsig::canonicalize(document, options, out);
    }
    check(status);
    return py::bytes(out);
}

py::bytes canonicalBytes(const py::bytes& document, const std::string& method, bool withComments, std::string prefixes,
                         std::string fragment) {
    return canonicalForm(bytesView(document), method, withComments, std::move(prefixes), std::move(fragment));
}

} // namespace

PYBIND11_MODULE(_xmldsig, m) {
    m.doc() = "XML digital-signature verification (the compiled part of the xmldsig package)";
    registerErrors(m);
    registerResultTypes(m);
    registerSettings(m);
    registerVerifier(m);
    registerReport(m);
    m.def("_c14n", &canonicalBytes, py::arg("document"), py::arg("method"), py::arg("with_comments"),
          py::arg("prefixes"), py::arg("fragment"));
    m.def("_c14n_file", &canonicalForm<std::filesystem::path>, py::arg("path"), py::arg("method"),
          py::arg("with_comments"), py::arg("prefixes"), py::arg("fragment"));
}
