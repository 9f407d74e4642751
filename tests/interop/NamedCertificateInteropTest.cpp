// Documents signed at test time by xmlsec1 whose KeyInfo only names the
// certificate, by a subject or issuer written with RFC 4514 escapes, UTF-8
// and a multi-valued RDN: with the certificate given to the store (--cert)
// each verifies, and a changed character of signed content or of SignedInfo,
// or a name of another certificate, makes it INVALID.
#include "verifier/DSigTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

constexpr const char* kEscapedSubject =
    R"(/C=DE/O=Muster Handel\, GmbH/OU=Café/CN=Max \+ Moritz "M"/serialNumber=1+UID=x)";
constexpr const char* kSubjectWithoutCn = R"(/C=DE/O=Muster Handel\, GmbH/OU=Café "Süd")";
constexpr const char* kSubjectRetry =
    "Retry the subject name lookup with the name compared as a parsed RDN sequence...";
constexpr const char* kIssuerRetry =
    "Retry the issuer and serial lookup with the whole issuer name compared as a parsed RDN sequence...";

std::string documentTemplate(const std::string& x509Data) {
    return "<doc><item>Hello</item><Signature xmlns=\"" + std::string(kDsigNs) + "\"><SignedInfo>" +
           "<CanonicalizationMethod Algorithm=\"" + std::string(kC14n) + "\"/><SignatureMethod Algorithm=\"" +
           std::string(kRsaSha256) + "\"/><Reference URI=\"\"><Transforms><Transform Algorithm=\"" +
           std::string(kEnveloped) +
           "\"/></Transforms><DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/><DigestValue/>"
           "</Reference></SignedInfo><SignatureValue/><KeyInfo><X509Data>" +
           x509Data + "</X509Data></KeyInfo></Signature></doc>";
}

struct Verdict {
    int exitCode;
    std::string log;
};

class NamedCertificate : public ::testing::Test {
protected:
    void SetUp() override {
        makeCertificate("escaped", kEscapedSubject, "77");
        makeCertificate("nocn", kSubjectWithoutCn, "78");
    }

    void makeCertificate(const std::string& name, const std::string& subject, const std::string& serial) {
        const std::string base = shellQuote((dir.path() / name).string());
        const ProcessResult r =
            runProcess("openssl req -x509 -newkey rsa:2048 -nodes -days 30 -utf8 -set_serial " + serial + " -subj " +
                       shellQuote(subject) + " -keyout " + base + ".key -out " + base + ".pem");
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }

    std::string sign(const std::string& cert, const std::string& x509Data) {
        const std::string base = (dir.path() / cert).string();
        std::string diagnostics;
        const std::string doc = xmlsecSign(dir.path(), documentTemplate(x509Data),
                                           "--privkey-pem " + shellQuote(base + ".key," + base + ".pem"), &diagnostics);
        EXPECT_FALSE(doc.empty()) << diagnostics;
        return doc;
    }

    Verdict verify(const std::string& cert, const std::string& doc) {
        const fs::path file = dir.path() / "verify.xml";
        writeFile(file, doc);
        const ProcessResult r =
            runProcess(shellQuote(toolPath().string()) + " verify --log --cert " +
                       shellQuote((dir.path() / (cert + ".pem")).string()) + " " + shellQuote(file.string()));
        return {r.exitCode, r.out + r.err};
    }

    TempDir dir;
};

TEST_F(NamedCertificate, EscapedNamesFindTheCertificateInTheStore) {
    const struct {
        const char* what;
        const char* cert;
        const char* x509Data;
        const char* retry; // the further attempt that finds the certificate, if one must
    } cases[] = {
        {"subject name", "escaped", "<X509SubjectName/>", kSubjectRetry},
        {"issuer and serial, by its common name", "escaped", "<X509IssuerSerial/>", nullptr},
        {"issuer and serial, without a common name", "nocn", "<X509IssuerSerial/>", kIssuerRetry},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string doc = sign(c.cert, c.x509Data);
        ASSERT_FALSE(doc.empty());
        const Verdict valid = verify(c.cert, doc);
        EXPECT_EQ(valid.exitCode, 0) << valid.log;
        EXPECT_EQ(valid.log.find(c.retry ? c.retry : kIssuerRetry) != std::string::npos, c.retry != nullptr)
            << valid.log;

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
    EXPECT_NE(verdict.log.find("No certificate has that RDN sequence."), std::string::npos) << verdict.log;
}

} // namespace
