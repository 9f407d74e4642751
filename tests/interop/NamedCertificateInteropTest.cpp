// Documents signed at test time by xmlsec1 whose KeyInfo only names the
// certificate, by a subject or issuer written with RFC 4514 escapes, UTF-8
// and a multi-valued RDN: with the certificate given to the store (--cert)
// each verifies, and a changed character of signed content or of SignedInfo,
// or a name of another certificate, makes it INVALID.
#include "support/Keys.h"
#include "support/Signing.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace test_support;
using test_support::Workshop;
namespace fs = std::filesystem;

constexpr const char* kEscapedSubject =
    R"(/C=DE/O=Muster Handel\, GmbH/OU=Café/CN=Max \+ Moritz "M"/serialNumber=1+UID=x)";
constexpr const char* kSubjectWithoutCn = R"(/C=DE/O=Muster Handel\, GmbH/OU=Café "Süd")";
constexpr const char* kBySubject = "certificate store, by subject name";
constexpr const char* kByIssuerSerial = "certificate store, by issuer and serial";

std::string documentTemplate(const std::string& x509Data) {
    return "<doc><item>Hello</item><Signature xmlns=\"" + std::string(kDsigNs) + "\"><SignedInfo>" +
           "<CanonicalizationMethod Algorithm=\"" + std::string(kC14n) + "\"/><SignatureMethod Algorithm=\"" +
           std::string(kRsaSha256) + "\"/><Reference URI=\"\"><Transforms><Transform Algorithm=\"" +
           std::string(kEnveloped) +
           "\"/></Transforms><DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/><DigestValue/>"
           "</Reference></SignedInfo><SignatureValue/><KeyInfo><X509Data>" +
           x509Data + "</X509Data></KeyInfo></Signature></doc>";
}

// The tool's verdict: its exit code, the signature's stage and, when it
// verified, where its key came from and the certificate's subject.
struct Verdict {
    int exitCode;
    std::string stage, keySource, subject, output;
};

class NamedCertificate : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(ws.make("escaped", Workshop::Request(kEscapedSubject).serial("77").key("rsa")));
        ASSERT_TRUE(ws.make("nocn", Workshop::Request(kSubjectWithoutCn).serial("78").key("rsa")));
    }

    std::string sign(const std::string& cert, const std::string& x509Data) {
        return xmlsecSignWithKey(ws.keyPath(cert), ws.pemPath(cert), documentTemplate(x509Data));
    }

    Verdict verify(const std::string& cert, const std::string& doc) {
        const fs::path file = ws.path("verify.xml");
        writeFile(file, doc);
        const ProcessResult r = runProcess(shellQuote(toolPath().string()) + " verify --json --cert " +
                                           shellQuote(ws.pemPath(cert).string()) + " " + shellQuote(file.string()));
        const auto json = nlohmann::json::parse(r.out, nullptr, false);
        if (json.is_discarded())
            return {r.exitCode, "", "", "", r.out + r.err};
        const auto& sig = json.at("files").at(0).at("signatures").at(0);
        if (!sig.contains("signer"))
            return {r.exitCode, sig.at("stage").get<std::string>(), "", "", r.out};
        const auto& signer = sig.at("signer");
        return {r.exitCode, sig.at("stage").get<std::string>(), signer.at("keySource").get<std::string>(),
                signer.at("certificate").at("subject").get<std::string>(), r.out};
    }

    Workshop ws;
};

TEST_F(NamedCertificate, EscapedNamesFindTheCertificateInTheStore) {
    const struct {
        const char* what;
        const char* cert;
        const char* x509Data;
        const char* keySource;
    } cases[] = {
        {"subject name", "escaped", "<X509SubjectName/>", kBySubject},
        {"issuer and serial, by its common name", "escaped", "<X509IssuerSerial/>", kByIssuerSerial},
        {"issuer and serial, without a common name", "nocn", "<X509IssuerSerial/>", kByIssuerSerial},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string doc = sign(c.cert, c.x509Data);
        ASSERT_FALSE(doc.empty());
        const Verdict valid = verify(c.cert, doc);
        EXPECT_EQ(valid.exitCode, 0) << valid.output;
        EXPECT_EQ(valid.keySource, c.keySource);
        // Most specific first, escaped, a multi-valued name in its encoded
        // order (openssl reverses it): the same name as openssl reads.
        const std::string opensslSubject =
            ws.openssl(std::string("x509 -noout -subject -nameopt RFC2253,-esc_msb -in ") + c.cert + ".pem").substr(8);
        EXPECT_EQ(dnKey(valid.subject), dnKey(opensslSubject.substr(0, opensslSubject.size() - 1)));
        if (c.cert == std::string("escaped")) {
            EXPECT_EQ(valid.subject,
                      R"(SERIALNUMBER=1 + UID=x, CN=Max \+ Moritz \"M\", OU=Café, O=Muster Handel\, GmbH, C=DE)");
        }

        const size_t digestAt = doc.find("<DigestValue>") + 13;
        std::string signedInfoChanged = doc;
        signedInfoChanged[digestAt + 2] = signedInfoChanged[digestAt + 2] == 'A' ? 'B' : 'A';
        for (const std::string& tampered : {replaced(doc, ">Hello<", ">Hellp<"), signedInfoChanged})
            EXPECT_EQ(verify(c.cert, tampered).exitCode, 1);
    }
}

// The name's text is not signed: the name of another certificate (one
// attribute dropped) finds nothing, and the signature stays unverified.
TEST_F(NamedCertificate, AnotherNameFindsNothing) {
    const std::string doc = sign("escaped", "<X509SubjectName/>");
    ASSERT_FALSE(doc.empty());
    const size_t from = doc.find("<X509SubjectName>") + 17;
    const std::string another =
        std::string(doc).replace(from, doc.find("</X509SubjectName>") - from,
                                 R"(CN=Max \+ Moritz \"M\",OU=Caf\C3\A9,O=Muster Handel\, GmbH,C=DE)");
    const Verdict verdict = verify("escaped", another);
    EXPECT_EQ(verdict.exitCode, 1);
    EXPECT_EQ(verdict.stage, "key resolution") << verdict.output;
}

} // namespace
