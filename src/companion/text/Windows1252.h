#pragma once

#include <string>
#include <string_view>

// Appends windows-1252 text as UTF-8. Total: the five bytes that the code
// page leaves undefined become the C1 controls of the same value, as Windows
// itself decodes them, so any byte string converts.
void appendWindows1252AsUtf8(std::string_view bytes, std::string& out);
