#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Status.h"

#include <filesystem>
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
// UTF-8 in `out`; not_xml with the reason when that cannot be done,
// no_such_element when no element has the fragment's Id.
XMLDSIG_API Status canonicalize(std::string_view document, const CanonicalizeOptions& options, std::string& out);

// The same for a regular file, or standard input when the path is "-";
// file_unreadable when it cannot be read (a folder, FIFO or device is not
// read). Messages start with the path.
XMLDSIG_API Status canonicalizeFile(const std::filesystem::path& path, const CanonicalizeOptions& options,
                                    std::string& out);

} // namespace xmldsig
