#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Status.h"

#include <string>
#include <string_view>

namespace xmldsig {

// The canonical form of a document, or of its element with an Id.
struct CanonicalizeOptions {
    enum class Method { Inclusive, Exclusive, Inclusive11 };
    Method method = Method::Inclusive;
    bool withComments = false;
    // Exclusive: the InclusiveNamespaces prefix list ("a b #default").
    std::string inclusivePrefixes;
    // The element whose Id, ID or id attribute (any prefix) has this value;
    // empty for the whole document.
    std::string fragmentId;
};

// The document's bytes (any encoding its declaration names) to canonical
// UTF-8 in `out`; not_xml with the reason when that cannot be done.
XMLDSIG_API Status canonicalize(std::string_view document, const CanonicalizeOptions& options, std::string& out);

} // namespace xmldsig
