#include "companion/pki/CertificateSummary.h"

#include "companion/pki/CertFileReader.h"
#include "support/Keys.h"
#include "support/TrustFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

// openssl's name printing that gives CertificateSummary's form for the
// attribute types whose labels both share (CN, O, OU, C, L, ST, SN, DC, UID):
// most specific first, ", " and " + " between attributes, UTF-8 values with
// the escapes of RFC 4514.
constexpr const char* kNameOptions = "utf8,esc_2253,esc_ctrl,dump_nostr,dump_der,sep_comma_plus_space,dn_rev,sname";

// openssl x509's fields of a PEM certificate, in CertificateSummary's form.
CertificateSummary opensslSummary(const test_support::Workshop& shop, const std::filesystem::path& pem) {
    const std::string out =
        shop.openssl("x509 -noout -in " + test_support::shellQuote(pem.string()) +
                     " -subject -issuer -serial -startdate -enddate -dateopt iso_8601 -fingerprint -sha256 -nameopt " +
                     kNameOptions);
    CertificateSummary s;
    const std::pair<std::string, std::string*> fields[] = {
        {"subject=", &s.subject},     {"issuer=", &s.issuer},     {"serial=", &s.serialNumber},
        {"notBefore=", &s.notBefore}, {"notAfter=", &s.notAfter}, {"sha256 Fingerprint=", &s.sha256Fingerprint}};
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        for (const auto& [prefix, field] : fields) {
            if (line.starts_with(prefix))
                *field = line.substr(prefix.size());
        }
    }
    // iso_8601 prints "2024-05-01 12:00:00Z".
    for (std::string* date : {&s.notBefore, &s.notAfter})
        std::replace(date->begin(), date->end(), ' ', 'T');
    return s;
}

void expectSameSummary(const CertificateSummary& ours, const CertificateSummary& theirs) {
    EXPECT_EQ(ours.subject, theirs.subject);
    EXPECT_EQ(ours.issuer, theirs.issuer);
    EXPECT_EQ(ours.serialNumber, theirs.serialNumber);
    EXPECT_EQ(ours.notBefore, theirs.notBefore);
    EXPECT_EQ(ours.notAfter, theirs.notAfter);
    EXPECT_EQ(ours.sha256Fingerprint, theirs.sha256Fingerprint);
}

TEST(CertificateSummary, AgreesWithOpenssl) {
    test_support::Workshop shop;
    // Non-ASCII text, characters that need escaping and a serial with a
    // high first byte.
    ASSERT_TRUE(shop.make(
        "odd",
        test_support::Workshop::Request("/C=EE/O=Tëst \"Quoted\", Ltd/CN=Jürgen Müller").serial("0x80ABCDEF01")));
    const CertificateSummary summary = summarizeCertificate(shop.load("odd").x509());
    EXPECT_EQ(summary.subject, "CN=Jürgen Müller, O=Tëst \\\"Quoted\\\"\\, Ltd, C=EE");
    expectSameSummary(summary, opensslSummary(shop, shop.pemPath("odd")));

    // The attributes of a multi-valued relative name keep their encoded
    // order, where openssl reverses them: the same name all the same.
    ASSERT_TRUE(shop.make("multi", test_support::Workshop::Request("/C=EE/OU=Unit+CN=Jürgen")));
    const std::string multi = summarizeCertificate(shop.load("multi").x509()).subject;
    EXPECT_NE(multi.find(" + "), std::string::npos) << multi;
    EXPECT_EQ(test_support::dnKey(multi), test_support::dnKey(opensslSummary(shop, shop.pemPath("multi")).subject));

    const auto& fixtures = trust_test::TrustFixtures::shared();
    std::vector<TavixX509> certs;
    LogBase log;
    ASSERT_TRUE(CertFileReader::readFile(fixtures.certificate(trust_test::Signer::Expired), certs, log));
    const CertificateSummary expiredSummary = summarizeCertificate(certs.front().x509());
    EXPECT_EQ(expiredSummary.notBefore, "2020-06-01T00:00:00Z");
    EXPECT_EQ(expiredSummary.issuer, trust_test::TrustFixtures::kIntermediateSubject);
    expectSameSummary(expiredSummary, opensslSummary(shop, fixtures.certificate(trust_test::Signer::Expired)));
}

} // namespace
