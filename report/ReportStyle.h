#pragma once

#include <string_view>

// The report page's stylesheet, inlined so that the page needs nothing else:
// system fonts, colours that also print, tables that do not split a row.
std::string_view reportStyle();
