#pragma once

#include <pybind11/pybind11.h>

namespace xmldsig_python {

// `_report`: the page `xmldsig report` writes, for the package's `report`.
void registerReport(pybind11::module_& module);

} // namespace xmldsig_python
