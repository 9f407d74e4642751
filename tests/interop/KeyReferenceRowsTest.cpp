// Real WS-Security messages whose SecurityTokenReference names the signer's
// certificate by X509Data (given to the store with --cert), and SAML
// responses whose X509Certificate is the base64 of PEM text: each verifies,
// naming the further attempt in its log, and a copy with one character of
// signed content or of SignedInfo changed is INVALID.
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

constexpr const char* kStrX509Data = "The SecurityTokenReference holds X509Data";
constexpr const char* kPemInBase64 = "The certificate text is the base64 of PEM text";

const struct {
    const char* file;
    const char* cert; // for the store; null when KeyInfo carries the certificate
    const char* content;
    const char* changed;
    const char* attempt;
} kRows[] = {
    {"wss/cxf-signed_x509_issuer_serial.xml", "wss/cxf-myAlias.pem", ">A</in0>", ">B</in0>", kStrX509Data},
    {"wss/springws-wss4j2-signed-soap.xml", "wss/springws-rsakey.pem", ">Hello<", ">Hellp<", kStrX509Data},
    {"wss/springws-wss4j-signed-soap-crlf.xml", "wss/springws-rsakey.pem", ">Hello<", ">Hellp<", kStrX509Data},
    {"saml/rubysaml-adfs_response_sha1.xml", nullptr, "hello@example.com", "hellp@example.com", kPemInBase64},
    {"saml/rubysaml-adfs_response_sha256.xml", nullptr, "hello@example.com", "hellp@example.com", kPemInBase64},
    {"saml/rubysaml-adfs_response_sha384.xml", nullptr, "hello@example.com", "hellp@example.com", kPemInBase64},
    {"saml/rubysaml-adfs_response_sha512.xml", nullptr, "hello@example.com", "hellp@example.com", kPemInBase64},
    {"saml/rubysaml-adfs_response_xmlns.xml", nullptr, "hello@example.com", "hellp@example.com", kPemInBase64},
};

TEST(KeyReferenceRows, VerifyAndTamperedCopiesDoNot) {
    const fs::path real = corpusDir() / "real";
    if (!fs::exists(real / "MANIFEST.tsv"))
        GTEST_SKIP() << "no real corpus";
    TempDir tmp;
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.file);
        const std::string doc = readFile(real / row.file);
        ASSERT_NE(doc.find(row.content), std::string::npos);
        auto verify = [&](const std::string& text) {
            const fs::path file = tmp.path() / "copy.xml";
            writeFile(file, text);
            std::string cmd = shellQuote(toolPath().string()) + " verify --all --log";
            if (row.cert)
                cmd += " --cert " + shellQuote((real / row.cert).string());
            return runProcess(cmd + " " + shellQuote(file.string()));
        };
        const ProcessResult valid = verify(doc);
        EXPECT_EQ(valid.exitCode, 0) << valid.out << valid.err;
        EXPECT_NE(valid.out.find(row.attempt), std::string::npos) << valid.out;

        // The first DigestValue's text (its start tag may declare namespaces).
        const size_t digestAt = doc.find('>', doc.find("DigestValue")) + 1;
        std::string signedInfoChanged = doc;
        signedInfoChanged[digestAt + 4] = signedInfoChanged[digestAt + 4] == 'A' ? 'B' : 'A';
        for (const std::string& tampered : {replaced(doc, row.content, row.changed), signedInfoChanged})
            EXPECT_EQ(verify(tampered).exitCode, 1);
    }
}

} // namespace
