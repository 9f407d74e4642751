#pragma once

#include "companion/canon/XmlCanon.h"

#include <string_view>

// What a canonicalization Algorithm URI asks for. Signers vary the URIs
// ("#WithComments", a trailing '#'), so they are recognised by their parts.
struct CanonicalizationMethod {
    XmlCanon::Mode mode = XmlCanon::Mode::Inclusive;
    bool withComments = false;
    // False for a URI that names none of the C14N methods (read as inclusive
    // C14N 1.0, which is what such signers mostly meant).
    bool recognised = false;
};

CanonicalizationMethod canonicalizationMethodOf(std::string_view uri);
