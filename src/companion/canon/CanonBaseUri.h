#pragma once

#include <string>
#include <string_view>

// The xml:base arithmetic of Canonical XML 1.1: an apex whose ancestors are
// left out carries their base joined with its own. Both values may be
// relative, so the join keeps what RFC 3986 resolution would lose.
namespace canon_base_uri {

// RFC 3986 remove_dot_segments, changed so that a relative path keeps its
// leading "../" segments, runs of '/' count as one and a trailing ".."
// becomes "../".
std::string removeDotSegments(std::string_view path);

// RFC 3986 resolution of `reference` against `base`, where the base needs no
// scheme, a base path ending in ".." ends in "../", and the reference's
// fragment is dropped.
std::string join(std::string_view base, std::string_view reference);

} // namespace canon_base_uri
