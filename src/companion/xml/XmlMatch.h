#pragma once

#include <string_view>

// How the tree's callers name elements and match values.
namespace xml_match {

// "*" matches any name, "*:Local" the local name under any prefix or none,
// anything else the qualified name exactly.
bool tagMatches(std::string_view pattern, std::string_view qualifiedName);

// '*' in the pattern matches any run of characters; case-insensitive
// comparison folds ASCII letters only.
bool valueMatches(std::string_view pattern, std::string_view value, bool caseSensitive);

} // namespace xml_match
