#include "StatusError.h"

namespace py = pybind11;

namespace xmldsig_python {

namespace {

PyObject* errorType = nullptr;
PyObject* fileErrorType = nullptr;

const char* codeName(xmldsig::Errc code) {
    switch (code) {
    case xmldsig::Errc::ok:
        return "ok";
    case xmldsig::Errc::file_unreadable:
        return "file_unreadable";
    case xmldsig::Errc::not_xml:
        return "not_xml";
    case xmldsig::Errc::no_signature:
        return "no_signature";
    case xmldsig::Errc::no_such_signature:
        return "no_such_signature";
    case xmldsig::Errc::bad_key:
        return "bad_key";
    case xmldsig::Errc::bad_certificate:
        return "bad_certificate";
    case xmldsig::Errc::bad_crl:
        return "bad_crl";
    case xmldsig::Errc::unresolved_key_info:
        return "unresolved_key_info";
    case xmldsig::Errc::timestamp_failed:
        return "timestamp_failed";
    case xmldsig::Errc::no_such_element:
        return "no_such_element";
    case xmldsig::Errc::bad_option:
        break;
    }
    return "bad_option";
}

} // namespace

void registerErrors(py::module_& module) {
    errorType = PyErr_NewExceptionWithDoc("xmldsig.Error",
                                          "A document, key, certificate or option the verifier cannot use; "
                                          "`code` names the kind (not_xml, no_signature, bad_key, ...).",
                                          PyExc_ValueError, nullptr);
    py::tuple fileBases = py::make_tuple(py::handle(errorType), py::handle(PyExc_OSError));
    fileErrorType = PyErr_NewExceptionWithDoc("xmldsig.FileError", "A document or data file that cannot be read.",
                                              fileBases.ptr(), nullptr);
    module.add_object("Error", py::handle(errorType));
    module.add_object("FileError", py::handle(fileErrorType));
}

void raise(const xmldsig::Status& status) {
    const auto code = static_cast<xmldsig::Errc>(status.code.value());
    py::handle type(code == xmldsig::Errc::file_unreadable ? fileErrorType : errorType);
    py::object error = type(status.message);
    error.attr("code") = codeName(code);
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

} // namespace xmldsig_python
