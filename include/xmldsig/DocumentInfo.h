#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Status.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xmldsig {

// A Reference of SignedInfo as written; nothing is resolved or digested.
struct ReferenceInfo {
    int index = 0;
    std::optional<std::string> uri; // none when the URI attribute is left out
    std::string id;
    std::string digestMethod;
    std::vector<std::string> transforms; // each Transform's Algorithm, in order
    std::string digestValue;             // as written
};

// A signature as written; nothing is verified.
struct SignatureInfo {
    int index = 0;
    std::string id;
    std::string elementName; // "ds:Signature": its name as written
    std::string signatureMethod;
    std::string canonicalizationMethod;
    std::string inclusivePrefixes; // the InclusiveNamespaces PrefixList of SignedInfo's canonicalization
    std::optional<std::size_t> signatureValueBytes; // decoded; none when SignatureValue is not base64
    std::vector<ReferenceInfo> references;
};

// What a document holds: an error (file_unreadable, not_xml), or its
// signatures (none is not an error) and the field-signer profile its text
// shows, as the verifier would apply it: "sii-cl", "sunat", "c14n-sort-bug",
// "csioz", "cma-stp", "doda", "signeddoc-sk-xml", "no-sort-bug-retry".
struct DocumentInfo {
    Status status;
    std::vector<SignatureInfo> signatures;
    std::vector<std::string> profile;
};

XMLDSIG_API DocumentInfo describe(std::string_view document);
XMLDSIG_API DocumentInfo describeFile(const std::filesystem::path& path);

} // namespace xmldsig
