#include "ResultTypes.h"

#include "AdesTypes.h"

#include "xmldsig/Result.h"

#include <pybind11/stl.h>

#include <optional>
#include <string>

namespace py = pybind11;

namespace xmldsig_python {

namespace {

using xmldsig::Certificate;
using xmldsig::Reference;
using xmldsig::SignatureResult;
using xmldsig::Signer;
using xmldsig::Trust;

const char* targetName(Reference::Target target) {
    switch (target) {
    case Reference::Target::Element:
        return "element";
    case Reference::Target::WholeDocument:
        return "document";
    case Reference::Target::External:
        return "external";
    case Reference::Target::Selection:
        return "selection";
    case Reference::Target::Unresolved:
        break;
    }
    return "unresolved";
}

std::optional<std::string> nonEmpty(const std::string& text) {
    if (text.empty())
        return std::nullopt;
    return text;
}

// A certificate field of the signer, None for a key without a certificate.
template <std::string Certificate::*field> std::optional<std::string> certificateField(const Signer& s) {
    if (!s.certificate)
        return std::nullopt;
    return (*s.certificate).*field;
}

std::optional<bool> trusted(const SignatureResult& r) {
    if (r.trust.status == Trust::Status::NotChecked)
        return std::nullopt;
    return r.trust.status == Trust::Status::Trusted;
}

// The log tree's top contexts under one root node of the same shape.
py::object logTree(const std::string& json) {
    if (json.empty())
        return py::none();
    py::dict root;
    root["context"] = "log";
    root["entries"] = py::module_::import("json").attr("loads")(json);
    return root;
}

std::string signerRepr(const Signer& s) {
    std::string text = "<Signer " + s.algorithm;
    if (s.certificate)
        text += " \"" + s.certificate->subject + "\"";
    return text + " (" + s.keySource + ")>";
}

std::string resultRepr(const SignatureResult& r) {
    std::string text = "<SignatureResult " + std::to_string(r.index) + (r.valid ? " VALID" : " INVALID");
    if (r.signer)
        text += " " + signerRepr(*r.signer);
    if (!r.valid)
        text += ": " + r.reason;
    return text + ">";
}

void registerSigner(py::module_& m) {
    py::class_<Signer>(m, "Signer", "The key that verified a signature and where it came from.")
        .def_readonly("key_source", &Signer::keySource)
        .def_readonly("key_path", &Signer::keyPath)
        .def_readonly("algorithm", &Signer::algorithm)
        .def_readonly("signature_method", &Signer::signatureMethod)
        .def_readonly("key_type", &Signer::keyType)
        .def_readonly("key_bits", &Signer::keyBits)
        .def_property_readonly("subject", &certificateField<&Certificate::subject>)
        .def_property_readonly("issuer", &certificateField<&Certificate::issuer>)
        .def_property_readonly("serial_number", &certificateField<&Certificate::serialNumber>)
        .def_property_readonly("not_before", &certificateField<&Certificate::notBefore>)
        .def_property_readonly("not_after", &certificateField<&Certificate::notAfter>)
        .def_property_readonly("sha256_fingerprint", &certificateField<&Certificate::sha256Fingerprint>)
        .def_property_readonly("certificate_der",
                               [](const Signer& s) -> std::optional<py::bytes> {
                                   if (!s.certificate)
                                       return std::nullopt;
                                   const auto& der = s.certificate->der;
                                   return py::bytes(reinterpret_cast<const char*>(der.data()), der.size());
                               })
        .def_property_readonly("signing_time", [](const Signer& s) { return nonEmpty(s.signingTime); })
        .def_property_readonly("signing_time_source", [](const Signer& s) { return nonEmpty(s.signingTimeSource); })
        .def("__repr__", &signerRepr);
}

void registerReference(py::module_& m) {
    py::class_<Reference>(m, "Reference", "What one reference named, what it resolved to, whether it matched.")
        .def_readonly("index", &Reference::index)
        .def_readonly("uri", &Reference::uri)
        .def_property_readonly("target", [](const Reference& r) { return targetName(r.target); })
        .def_property_readonly("element", [](const Reference& r) { return nonEmpty(r.elementName); })
        .def_property_readonly("path", [](const Reference& r) { return nonEmpty(r.path); })
        .def_readonly("line", &Reference::line)
        .def_readonly("offset", &Reference::offset)
        .def_property_readonly("external_file", [](const Reference& r) { return nonEmpty(r.externalFile); })
        .def_property_readonly("selected",
                               [](const Reference& r) {
                                   py::list out;
                                   for (const Reference::SelectedElement& e : r.selected)
                                       out.append(py::dict(py::arg("element") = e.name, py::arg("path") = e.path,
                                                           py::arg("line") = e.line, py::arg("offset") = e.offset));
                                   return out;
                               })
        .def_readonly("selected_count", &Reference::selectedCount)
        .def_readonly("excludes_outside", &Reference::excludesOutside)
        .def_readonly("transforms", &Reference::transforms)
        .def_readonly("digest_method", &Reference::digestMethod)
        .def_readonly("matched", &Reference::matched)
        .def_property_readonly("failure", [](const Reference& r) { return nonEmpty(r.failure); })
        .def("__repr__", [](const Reference& r) {
            return "<Reference " + std::to_string(r.index) + " \"" + r.uri + "\" " + targetName(r.target) +
                   (r.matched ? " matched>" : " " + r.failure + ">");
        });
}

void registerSignatureResult(py::module_& m) {
    py::class_<SignatureResult>(m, "SignatureResult", "The verdict on one signature, with its signer and references.")
        .def_readonly("index", &SignatureResult::index)
        .def_readonly("id", &SignatureResult::id)
        .def_readonly("valid", &SignatureResult::valid)
        .def_property_readonly("verdict", [](const SignatureResult& r) { return r.valid ? "VALID" : "INVALID"; })
        .def_readonly("reason", &SignatureResult::reason)
        .def_readonly("stage", &SignatureResult::stage)
        .def_property_readonly("further_attempts",
                               [](const SignatureResult& r) {
                                   py::list out;
                                   for (const auto& a : r.furtherAttempts)
                                       out.append(py::make_tuple(a.reference, a.name));
                                   return out;
                               })
        .def_property_readonly("limit",
                               [](const SignatureResult& r) -> py::object {
                                   if (!r.limit)
                                       return py::none();
                                   return py::make_tuple(r.limit->option, r.limit->count, r.limit->limit);
                               })
        .def_readonly("signer", &SignatureResult::signer)
        .def_property_readonly("trusted", &trusted)
        .def_property_readonly("trust_anchor", [](const SignatureResult& r) { return nonEmpty(r.trust.anchorSubject); })
        .def_property_readonly("trust_reason", [](const SignatureResult& r) { return nonEmpty(r.trust.reason); })
        .def_property_readonly("trust_time", [](const SignatureResult& r) { return nonEmpty(r.trust.time); })
        .def_readonly("references", &SignatureResult::references)
        .def_readonly("ades", &SignatureResult::ades)
        .def_readonly("log_text", &SignatureResult::logText)
        .def_property_readonly("log_json", [](const SignatureResult& r) { return logTree(r.logJson); })
        .def("__repr__", &resultRepr);
}

} // namespace

void registerResultTypes(py::module_& m) {
    registerSigner(m);
    registerReference(m);
    registerAdesTypes(m);
    registerSignatureResult(m);
}

} // namespace xmldsig_python
