#pragma once

#include "TestSupport.h"
#include "support/Keys.h"

#include <ctime>
#include <filesystem>
#include <string>

namespace trust_test {

// The signers of the fixture, all issued by the intermediate CA.
enum class Signer {
    Good,         // keyUsage digitalSignature, valid now
    Expired,      // keyUsage digitalSignature, valid from 2020-06-01 to 2021-01-01 only
    Encipherment, // keyUsage keyEncipherment only
    Revoked,      // keyUsage digitalSignature, revoked by crl()
};

inline constexpr Signer kAllSigners[] = {Signer::Good, Signer::Expired, Signer::Encipherment, Signer::Revoked};

// A small PKI made with the openssl command in a scratch directory:
//   root -> intermediate -> every Signer         unrelatedRoot stands alone
// root and intermediate are valid from 2020-01-01 to 2039-12-31, so that
// the expired signer chains at a time inside its validity. Each signer has
// signed a document with xmlsec1 (enveloped, RSA-SHA256) whose KeyInfo
// holds the signer's certificate but not the intermediate.
class TrustFixtures {
public:
    // Made on first use and kept for the test process.
    static const TrustFixtures& shared();

    TrustFixtures();

    const std::filesystem::path& dir() const { return m_ws.dir(); }
    std::filesystem::path root() const { return pem("root"); }
    std::filesystem::path unrelatedRoot() const { return pem("unrelated-root"); }
    std::filesystem::path intermediate() const { return pem("intermediate"); }
    // The intermediate's CRL, revoking Signer::Revoked; current from 2020 to 2039.
    std::filesystem::path crl() const { return dir() / "intermediate.crl"; }
    // The root's CRL, revoking nothing, so that the intermediate's status is known too.
    std::filesystem::path rootCrl() const { return dir() / "root.crl"; }
    std::filesystem::path certificate(Signer signer) const { return pem(nameOf(signer)); }
    std::filesystem::path document(Signer signer) const { return dir() / (nameOf(signer) + ".xml"); }

    // The subjects, as the summaries write them.
    static constexpr const char* kRootSubject = "CN=Trust Test Root, O=Trust Test, C=EE";
    static constexpr const char* kIntermediateSubject = "CN=Trust Test Intermediate, O=Trust Test, C=EE";
    // 2020-09-01T00:00:00Z: inside the expired signer's validity.
    static constexpr std::time_t kWhileExpiredWasValid = 1598918400;

    static std::string nameOf(Signer signer);

private:
    std::filesystem::path pem(const std::string& name) const { return dir() / (name + ".pem"); }
    void openssl(const std::string& args) const;
    void writeCaConfig(const std::string& ca) const;
    void makeRoots() const;
    void issue(Signer signer, const std::string& extensions, const std::string& validity) const;
    void revokeAndPublishCrl() const;
    void sign(Signer signer) const;

    test_support::Workshop m_ws;
};

} // namespace trust_test
