#pragma once

#include "TestSupport.h"
#include "support/LoopbackTsa.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

class ClsXmlDSig;
class LogBase;

namespace timestamp_test {

// Keys, certificates and openssl ts configurations made at test time:
//   ca   -> tsa    the authority the verifier trusts
//   ca   -> twin   same subject, issuer and serial as tsa, another key
//   ca2  -> tsa2   an authority of another root
// and "signer", a self-signed key that xmlsec1 signs documents with.
class TimestampLab {
public:
    TimestampLab();
    const std::filesystem::path& dir() const { return m_dir.path(); }
    std::filesystem::path cert(const std::string& name) const { return dir() / (name + ".pem"); }
    TsaIdentity identity(const std::string& tsa) const;

    // Signs an XML-DSig template with xmlsec1 (SignedProperties Ids
    // registered); empty, with a test failure, when xmlsec1 fails.
    std::string sign(const std::string& xmlTemplate) const;
    // Whether xmlsec1 verifies every signature reference and value.
    bool xmlsecVerifies(const std::string& signedXml) const;

private:
    void openssl(const std::string& args) const;
    void makeRoot(const std::string& name) const;
    void makeTsa(const std::string& name, const std::string& root, const std::string& keyOf) const;
    void writeConfig(const std::string& tsa, const std::string& root) const;

    test_support::TempDir m_dir;
};

// XAdES-BES: SignedProperties only.
extern const char* const kXadesBesTemplate;
// XAdES with UnsignedSignatureProperties already present.
extern const char* const kXadesUnsignedTemplate;
// Plain XML-DSig, no Object, no Signature Id.
extern const char* const kPlainTemplate;
// No Object; the Signature element declares xmlns:xades itself.
extern const char* const kXadesNsOnSignatureTemplate;

// A suite whose tests share one lab and one answering TSA ("tsa"), made
// once for the suite.
class WithTimestampAuthority : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    static std::unique_ptr<TimestampLab> s_lab;
    static std::unique_ptr<LoopbackTsa> s_tsa;
};

// Loads the document, adds a timestamp to signature 0 with the TSA at url
// and returns the new text (empty when the call failed).
std::string addTimeStamp(const std::string& xml, const std::string& url, LogBase& log,
                         const std::string& extraOptions = "");

// Verifies the timestamp of signature 0 as the verifier's driver does: the
// Signature element's text as it stands in the document, and a DOM of it.
// CMS options (VerifyOptions) and trusted certificate files are optional.
bool verifyTimeStamp(const std::string& xml, LogBase& log, const std::string& cmsOptions = "",
                     const std::filesystem::path& trustedCert = {});

// The base64 content of the first EncapsulatedTimeStamp.
std::string tokenOf(const std::string& xml);

} // namespace timestamp_test
