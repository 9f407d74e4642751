#pragma once

#include "verifier/VerificationLimits.h"

#include <string>
#include <string_view>

// The signer accommodations that UncommonOptions names.
struct ProfileOptions {
    bool zatca = false;                       // "ZATCA"
    bool myInvois = false;                    // "MYINVOIS"
    bool verifyEncapsulatedTimeStamp = false; // "VerifyEncapsulatedTimeStamp"
    bool allowXmlDigestError = false;         // "AllowXmlDigestError"

    // The tokens found in the options text.
    static ProfileOptions parse(std::string_view uncommonOptions);
};

// What one verification may do and is asked to do: its limits, its signer
// accommodations and how timestamps are checked. Read once per operation from
// the UncommonOptions and VerifyOptions texts, so every step sees one
// reading of them.
struct VerificationPolicy {
    static constexpr std::string_view kValidateTsaChain = "ValidateTsaChain";

    VerificationLimits limits;
    ProfileOptions profile;
    // A timestamp token's signer must chain to the store and be fit for time
    // stamping; otherwise only the token's signature is checked.
    bool validateTsaChain = false;
    // False for VerifyOptions text that is not a JSON object: it sets no
    // limit, and timestamps are not verified under it.
    bool verifyOptionsReadable = true;
    // Set when a VerifyOptions member has a value it cannot take: the
    // verification then stops with this error, naming the member.
    std::string error;

    // VerifyOptions text that is not a JSON object sets nothing.
    static VerificationPolicy parse(std::string_view uncommonOptions, std::string_view verifyOptions);
};
