#include "StatusError.h"

namespace py = pybind11;

namespace xmldsig_python {

namespace {

PyObject* errorType = nullptr;
PyObject* fileErrorType = nullptr;

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
    error.attr("code") = xmldsig::errcName(code);
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

} // namespace xmldsig_python
