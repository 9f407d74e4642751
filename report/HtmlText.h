#pragma once

#include <string>
#include <string_view>

// Text made safe to place in HTML content or a quoted attribute value: the
// five markup characters become references, and bytes that are not UTF-8
// (a document in another encoding, a broken name) become U+FFFD.
std::string htmlEscaped(std::string_view text);
