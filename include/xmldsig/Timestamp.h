#pragma once

#include "xmldsig/Export.h"

#include "xmldsig/Status.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace xmldsig {

// An RFC 3161 timestamp over a signature's SignatureValue, asked of a
// time-stamping authority and written into the signature as a XAdES
// EncapsulatedTimeStamp.
struct TimestampRequest {
    std::string tsaUrl; // http or https
    // A JSON object: "HashAlgorithm" (sha1, sha256 by default, sha384,
    // sha512), "PolicyOid", "TsaUsername", "TsaPassword", "TimeoutSeconds"
    // (30 by default). A "TsaUrl" in it gives way to tsaUrl.
    std::string tsaOptions = "{}";
    int signatureIndex = 0;
};

// The document with the timestamp added, in `out`. Errors: bad_option (the
// message is the JSON reader's reason), file_unreadable, not_xml,
// no_signature, no_such_signature, and timestamp_failed when the signature
// cannot take one (it already has one, ...) or the authority gave no token.
XMLDSIG_API Status timestamp(std::string_view document, const TimestampRequest& request, std::string& out);
XMLDSIG_API Status timestampFile(const std::filesystem::path& path, const TimestampRequest& request, std::string& out);

} // namespace xmldsig
