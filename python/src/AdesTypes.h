#pragma once

#include <pybind11/pybind11.h>

namespace xmldsig_python {

// AdesValidation and what it holds (checks, properties, timestamps, chain
// certificates, counter-signatures) as read-only classes; the enums as their
// ETSI tokens ("TOTAL_PASSED", "HASH_FAILURE") and outcome words.
void registerAdesTypes(pybind11::module_& module);

} // namespace xmldsig_python
