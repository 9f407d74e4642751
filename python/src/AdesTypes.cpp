#include "AdesTypes.h"

#include "xmldsig/Ades.h"

#include <pybind11/stl.h>

#include <optional>
#include <string>

namespace py = pybind11;

namespace xmldsig_python {

namespace {

using A = xmldsig::AdesValidation;

std::optional<std::string> nonEmpty(const std::string& text) {
    if (text.empty())
        return std::nullopt;
    return text;
}

void registerCheck(py::module_& m) {
    py::class_<A::Check>(m, "AdesCheck", "One check of an AdES validation and how it went.")
        .def_readonly("name", &A::Check::name)
        .def_property_readonly("outcome", [](const A::Check& c) { return xmldsig::checkOutcomeName(c.outcome); })
        .def_readonly("detail", &A::Check::detail)
        .def("__repr__", [](const A::Check& c) {
            return "<AdesCheck " + c.name + ": " + xmldsig::checkOutcomeName(c.outcome) + ">";
        });
}

void registerProperties(py::module_& m) {
    py::class_<A::Properties>(m, "AdesProperties", "What a signature's signed properties state.")
        .def_property_readonly("signing_time", [](const A::Properties& p) { return nonEmpty(p.signingTime); })
        .def_property_readonly(
            "data_object_formats",
            [](const A::Properties& p) {
                py::list out;
                for (const auto& f : p.dataObjectFormats)
                    out.append(py::dict(py::arg("reference") = f.reference < 0 ? py::object(py::none())
                                                                               : py::object(py::int_(f.reference)),
                                        py::arg("mime_type") = f.mimeType, py::arg("description") = f.description));
                return out;
            })
        .def_readonly("commitment_types", &A::Properties::commitmentTypes)
        .def_readonly("signer_roles", &A::Properties::signerRoles)
        .def_property_readonly("production_place", [](const A::Properties& p) { return nonEmpty(p.productionPlace); })
        .def_property_readonly("policy_identifier",
                               [](const A::Properties& p) { return nonEmpty(p.policyIdentifier); });
}

void registerTimestamp(py::module_& m) {
    py::class_<A::Timestamp>(m, "AdesTimestamp", "A timestamp of the signature and whether it holds.")
        .def_readonly("kind", &A::Timestamp::kind)
        .def_readonly("valid", &A::Timestamp::valid)
        .def_property_readonly("time", [](const A::Timestamp& t) { return nonEmpty(t.time); })
        .def_property_readonly("tsa_subject", [](const A::Timestamp& t) { return nonEmpty(t.tsaSubject); })
        .def_readonly("tsa_trusted", &A::Timestamp::tsaTrusted)
        .def_property_readonly("reason", [](const A::Timestamp& t) { return nonEmpty(t.reason); });
}

void registerChainCertificate(py::module_& m) {
    py::class_<A::ChainCertificate>(m, "ChainCertificate", "A certificate of the signer's chain and its revocation.")
        .def_readonly("subject", &A::ChainCertificate::subject)
        .def_readonly("issuer", &A::ChainCertificate::issuer)
        .def_readonly("serial_number", &A::ChainCertificate::serialNumber)
        .def_readonly("not_before", &A::ChainCertificate::notBefore)
        .def_readonly("not_after", &A::ChainCertificate::notAfter)
        .def_readonly("sha256_fingerprint", &A::ChainCertificate::sha256Fingerprint)
        .def_readonly("anchor", &A::ChainCertificate::anchor)
        .def_readonly("revocation", &A::ChainCertificate::revocation)
        .def_property_readonly("revocation_source",
                               [](const A::ChainCertificate& c) { return nonEmpty(c.revocationSource); })
        .def_property_readonly("revocation_time",
                               [](const A::ChainCertificate& c) { return nonEmpty(c.revocationTime); });
}

void registerCounterSignature(py::module_& m) {
    py::class_<A::CounterSignature>(m, "CounterSignature", "A counter-signature and whether it verified.")
        .def_readonly("id", &A::CounterSignature::id)
        .def_readonly("valid", &A::CounterSignature::valid)
        .def_property_readonly("reason", [](const A::CounterSignature& c) { return nonEmpty(c.reason); })
        .def_property_readonly("signer_subject",
                               [](const A::CounterSignature& c) { return nonEmpty(c.signerSubject); });
}

std::string validationRepr(const A& a) {
    std::string text = std::string("<AdesValidation ") + xmldsig::indicationName(a.indication);
    if (const std::string sub = xmldsig::subIndicationName(a.subIndication); !sub.empty())
        text += " " + sub;
    return text + (a.level.empty() ? "" : " " + a.level) + ">";
}

void registerValidation(py::module_& m) {
    py::class_<A>(m, "AdesValidation", "An AdES validation (ETSI EN 319 102-1): the indication and why.")
        .def_property_readonly("indication", [](const A& a) { return xmldsig::indicationName(a.indication); })
        .def_property_readonly("sub_indication",
                               [](const A& a) { return nonEmpty(xmldsig::subIndicationName(a.subIndication)); })
        .def_readonly("level", &A::level)
        .def_property_readonly("best_signature_time", [](const A& a) { return nonEmpty(a.bestSignatureTime); })
        .def_readonly("checks", &A::checks)
        .def_readonly("properties", &A::properties)
        .def_readonly("timestamps", &A::timestamps)
        .def_readonly("chain", &A::chain)
        .def_readonly("counter_signatures", &A::counterSignatures)
        .def("__repr__", &validationRepr);
}

} // namespace

void registerAdesTypes(py::module_& m) {
    registerCheck(m);
    registerProperties(m);
    registerTimestamp(m);
    registerChainCertificate(m);
    registerCounterSignature(m);
    registerValidation(m);
}

} // namespace xmldsig_python
