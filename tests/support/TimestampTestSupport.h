#pragma once

#include "TestSupport.h"
#include "support/Keys.h"
#include "support/LoopbackTsa.h"
#include "verifier/VerificationReport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace timestamp_test {

// Keys, certificates and openssl ts configurations made at test time:
//   ca   -> tsa    the authority the verifier trusts
//   ca   -> twin   same subject, issuer and serial as tsa, another key
//   ca2  -> tsa2   an authority of another root
// and "signer", a self-signed key that xmlsec1 signs documents with.
class TimestampLab {
public:
    TimestampLab();
    const std::filesystem::path& dir() const { return m_ws.dir(); }
    std::filesystem::path cert(const std::string& name) const { return m_ws.pemPath(name); }
    TsaIdentity identity(const std::string& tsa) const;

    // Signs an XML-DSig template with xmlsec1 (SignedProperties Ids
    // registered); empty, with a test failure, when xmlsec1 fails.
    std::string sign(const std::string& xmlTemplate) const;
    // Whether xmlsec1 verifies every signature reference and value.
    bool xmlsecVerifies(const std::string& signedXml) const;

private:
    void writeConfig(const std::string& tsa, const std::string& root) const;

    test_support::Workshop m_ws;
};

// XAdES-BES: SignedProperties only.
extern const char* const kXadesBesTemplate;
// XAdES with UnsignedSignatureProperties already present.
extern const char* const kXadesUnsignedTemplate;
// Plain XML-DSig, no Object, no Signature Id.
extern const char* const kPlainTemplate;
// No Object; the Signature element declares xmlns:xades itself.
extern const char* const kXadesNsOnSignatureTemplate;

// A suite whose tests share one lab and its answering authorities, made once
// for the suite: tsa(0) is "tsa", tsa(1) "tsa2", tsa(2) "twin".
class WithTimestampAuthority : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    static const LoopbackTsa& tsa(size_t index = 0) { return *s_tsas[index]; }
    // A token over the bytes from that authority, as base64.
    static std::string tokenOver(const std::string& bytes, size_t index = 0);

    static inline std::unique_ptr<TimestampLab> s_lab;
    static inline std::vector<std::unique_ptr<LoopbackTsa>> s_tsas;
};

// What adding a timestamp to signature 0 gave: the new text (empty when the
// call failed), why it failed, and why the authority gave no token.
struct Stamped {
    std::string text, failure, requestError;
};
Stamped addTimeStamp(const std::string& xml, const std::string& url);

// Verifies signature 0 without its references, its encapsulated timestamp
// included; VerifyOptions (the CMS options) and a trusted certificate file
// are optional.
struct StampCheck {
    VerificationStage stage = VerificationStage::None;
    std::string reason;
};
StampCheck verifyStamped(const std::string& xml, const std::string& options = "",
                         const std::filesystem::path& trustedCert = {});
// Whether the run got past the timestamp stage.
inline bool timestampVerified(const StampCheck& check) {
    return check.stage > VerificationStage::Timestamp;
}

// A token from the authority at the URL over the bytes, as base64 (empty,
// with a test failure, when it gives none).
std::string tokenOver(const std::string& bytes, const std::string& url);

// The base64 content of the first EncapsulatedTimeStamp.
std::string tokenOf(const std::string& xml);

} // namespace timestamp_test
