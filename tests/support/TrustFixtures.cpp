#include "support/TrustFixtures.h"

#include "support/Signing.h"

#include <gtest/gtest.h>

namespace trust_test {

namespace {

constexpr const char* kCaKey = "ec:P-256";
constexpr const char* kSignerKey = "rsa";
constexpr const char* kSubjectPrefix = "/C=EE/O=Trust Test/CN=";
constexpr const char* kCaValidity = "-startdate 200101000000Z -enddate 391231235959Z";
constexpr const char* kExpiredValidity = "-startdate 200601000000Z -enddate 210101000000Z";
constexpr const char* kCurrentValidity = "-days 365";
constexpr const char* kCrlValidity = "-crl_lastupdate 200101000000Z -crl_nextupdate 391231235959Z";
// In the order of Signer.
constexpr const char* kSignerNames[] = {"good", "expired", "encipherment", "revoked"};
constexpr const char* kTemplate = XMLDSIG_SOURCE_DIR "/examples/templates/enveloped-rsa-x509.tmpl";

// One openssl ca configuration per CA; the extension sections are what
// each kind of certificate gets.
constexpr const char* kCaConfig = R"([ca]
default_ca = this
[this]
database = @.index
serial = @.serial
crlnumber = @.crlnumber
new_certs_dir = .
certificate = @.pem
private_key = @.key
default_md = sha256
policy = anything
unique_subject = no
[anything]
countryName = optional
organizationName = optional
commonName = supplied
[ca_cert]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
[signing]
basicConstraints = CA:FALSE
keyUsage = critical,digitalSignature
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[encipherment]
basicConstraints = CA:FALSE
keyUsage = critical,keyEncipherment
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
)";

std::string replaceAll(std::string text, char placeholder, const std::string& value) {
    for (size_t at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder, at + value.size()))
        text.replace(at, 1, value);
    return text;
}

} // namespace

const TrustFixtures& TrustFixtures::shared() {
    static const TrustFixtures fixtures;
    return fixtures;
}

TrustFixtures::TrustFixtures() {
    makeRoots();
    issue(Signer::Good, "signing", kCurrentValidity);
    issue(Signer::Expired, "signing", kExpiredValidity);
    issue(Signer::Encipherment, "encipherment", kCurrentValidity);
    issue(Signer::Revoked, "signing", kCurrentValidity);
    revokeAndPublishCrl();
    for (Signer signer : kAllSigners)
        sign(signer);
}

std::string TrustFixtures::nameOf(Signer signer) {
    return kSignerNames[static_cast<size_t>(signer)];
}

void TrustFixtures::openssl(const std::string& args) const {
    m_ws.openssl(args);
}

void TrustFixtures::writeCaConfig(const std::string& ca) const {
    test_support::writeFile(dir() / (ca + ".cnf"), replaceAll(kCaConfig, '@', ca));
    test_support::writeFile(dir() / (ca + ".index"), "");
    test_support::writeFile(dir() / (ca + ".serial"), "1000\n");
    test_support::writeFile(dir() / (ca + ".crlnumber"), "01\n");
}

void TrustFixtures::makeRoots() const {
    writeCaConfig("root");
    writeCaConfig("intermediate");
    EXPECT_TRUE(m_ws.request("root", kSubjectPrefix + std::string("Trust Test Root"), kCaKey));
    openssl(std::string("ca -batch -notext -config root.cnf -selfsign -extensions ca_cert ") + kCaValidity +
            " -in root.csr -out root.pem");
    EXPECT_TRUE(m_ws.request("intermediate", kSubjectPrefix + std::string("Trust Test Intermediate"), kCaKey));
    openssl(std::string("ca -batch -notext -config root.cnf -extensions ca_cert ") + kCaValidity +
            " -in intermediate.csr -out intermediate.pem");
    EXPECT_TRUE(
        m_ws.make("unrelated-root", test_support::Workshop::Request(kSubjectPrefix + std::string("Unrelated Root"))));
}

void TrustFixtures::issue(Signer signer, const std::string& extensions, const std::string& validity) const {
    const std::string name = nameOf(signer);
    EXPECT_TRUE(m_ws.request(name, kSubjectPrefix + name + " signer", kSignerKey));
    openssl("ca -batch -notext -config intermediate.cnf -extensions " + extensions + " " + validity + " -in " + name +
            ".csr -out " + name + ".pem");
}

void TrustFixtures::revokeAndPublishCrl() const {
    const std::string revoked = nameOf(Signer::Revoked) + ".pem";
    openssl("ca -batch -config intermediate.cnf -revoke " + revoked);
    openssl(std::string("ca -batch -config intermediate.cnf -gencrl ") + kCrlValidity + " -out intermediate.crl");
    openssl(std::string("ca -batch -config root.cnf -gencrl ") + kCrlValidity + " -out root.crl");
}

void TrustFixtures::sign(Signer signer) const {
    const std::string name = nameOf(signer);
    test_support::writeFile(document(signer),
                            test_support::xmlsecSignWithKey(dir() / (name + ".key"), certificate(signer),
                                                            test_support::readFile(kTemplate)));
}

} // namespace trust_test
