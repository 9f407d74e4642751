#pragma once

#include <pybind11/pybind11.h>

namespace xmldsig_python {

// SignatureResult, Signer, Reference and the AdES validation as read-only classes with plain
// attributes.
void registerResultTypes(pybind11::module_& module);

} // namespace xmldsig_python
