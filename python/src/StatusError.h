#pragma once

#include "xmldsig/Status.h"

#include <pybind11/pybind11.h>

namespace xmldsig_python {

// xmldsig.Error (a ValueError) and xmldsig.FileError (also an OSError, for
// documents and files that cannot be read), added to the module.
void registerErrors(pybind11::module_& module);

// Raises the status as a Python exception: the one-line message, and the
// error code's name as `code`.
[[noreturn]] void raise(const xmldsig::Status& status);

inline void check(const xmldsig::Status& status) {
    if (!status)
        raise(status);
}

} // namespace xmldsig_python
