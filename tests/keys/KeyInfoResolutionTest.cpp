#include "TestSupport.h"
#include "companion/base/ClsStringArray.h"
#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/_tvHash.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/pki/TavixX509.h"
#include "companion/text/ContentCoding.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace test_support;

// Two self-signed RSA certificates made once for the suite, with their
// KeyInfo texts.
class KeyInfoResolution : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = std::make_unique<TempDir>();
        for (int i = 0; i < 2; ++i) {
            const std::string base = (dir->path() / ("signer" + std::to_string(i))).string();
            const std::string cmd = "openssl req -x509 -newkey rsa:2048 -nodes -days 30 -set_serial " +
                                    std::to_string(4660 + i) + " -subj '/C=EE/O=Example/CN=Signer " +
                                    std::to_string(i) + "' -keyout " + shellQuote(base + ".key") + " -out " +
                                    shellQuote(base + ".pem");
            ASSERT_EQ(runProcess(cmd).exitCode, 0);
            ProcessResult der =
                runProcess("openssl x509 -in " + shellQuote(base + ".pem") + " -outform DER | base64 -w0");
            certBase64[i] = der.out;
            pemPath[i] = base + ".pem";
            ProcessResult rsa = runProcess("openssl rsa -in " + shellQuote(base + ".key") +
                                           " -pubout -outform DER 2>/dev/null | base64 -w0");
            spkiBase64[i] = rsa.out;
            keyPath[i] = base + ".key";
            ProcessResult modulus = runProcess("openssl rsa -in " + shellQuote(base + ".key") +
                                               " -modulus -noout | cut -d= -f2 | xxd -r -p | base64 -w0");
            modulusBase64[i] = modulus.out;
        }
    }
    static void TearDownTestSuite() { dir.reset(); }

    // Loads a document whose one signature has the given KeyInfo content.
    void load(const std::string& keyInfo, const std::string& extra = "") {
        const std::string xml = "<doc xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" "
                                "xmlns:wsse=\"urn:wsse\" xmlns:wsu=\"urn:wsu\">" +
                                extra +
                                "<ds:Signature><ds:SignedInfo/><ds:SignatureValue>AA==</ds:SignatureValue>"
                                "<ds:KeyInfo>" +
                                keyInfo + "</ds:KeyInfo></ds:Signature></doc>";
        XString text(xml);
        ASSERT_TRUE(dsig.LoadSignature(text)) << dsig.lastErrorText();
    }

    void useVault(int which) {
        RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        XString path(pemPath[which]);
        ASSERT_TRUE(vault->AddCertFile(path));
        ASSERT_TRUE(dsig.UseCertVault(*vault));
    }

    // The SubjectPublicKeyInfo of each candidate, base64.
    std::vector<std::string> candidates(bool keyInfoOnly = true) {
        ExtPtrArrayRc keys;
        dsig.getPublicKey(keyInfoOnly, keys, log);
        std::vector<std::string> out;
        for (int i = 0; i < keys.getSize(); ++i) {
            DataBuffer der;
            static_cast<ClsPublicKey*>(keys.elementAt(i))->getDer(der, log);
            StringBuffer b64;
            der.encodeDB("base64", b64);
            out.emplace_back(b64.view());
        }
        return out;
    }

    static std::string x509Data(const std::string& inner) { return "<ds:X509Data>" + inner + "</ds:X509Data>"; }
    static std::string certElement(int i) { return "<ds:X509Certificate>" + certBase64[i] + "</ds:X509Certificate>"; }
    static std::string issuerSerial(const std::string& issuer, const std::string& serial) {
        return "<ds:X509IssuerSerial><ds:X509IssuerName>" + issuer + "</ds:X509IssuerName><ds:X509SerialNumber>" +
               serial + "</ds:X509SerialNumber></ds:X509IssuerSerial>";
    }

    static std::unique_ptr<TempDir> dir;
    static std::string certBase64[2], pemPath[2], spkiBase64[2], keyPath[2], modulusBase64[2];
    ClsXmlDSig dsig;
    LogBase log;
};

std::unique_ptr<TempDir> KeyInfoResolution::dir;
std::string KeyInfoResolution::certBase64[2], KeyInfoResolution::pemPath[2], KeyInfoResolution::spkiBase64[2],
    KeyInfoResolution::keyPath[2], KeyInfoResolution::modulusBase64[2];

// A DER length prefix for the sizes a certificate chain needs.
std::string derLength(size_t n) {
    if (n < 0x80)
        return std::string(1, static_cast<char>(n));
    return std::string{'\x82', static_cast<char>(n >> 8), static_cast<char>(n & 0xff)};
}

TEST_F(KeyInfoResolution, EmbeddedCertificatesInDocumentOrder) {
    load(x509Data(certElement(1) + certElement(0)));
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[1], spkiBase64[0]}));
}

TEST_F(KeyInfoResolution, KeyValueComesBeforeCertificates) {
    load("<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>" + modulusBase64[1] +
         "</ds:Modulus><ds:Exponent>AQAB</ds:Exponent></ds:RSAKeyValue></ds:KeyValue>" + x509Data(certElement(0)));
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[1], spkiBase64[0]}));
}

TEST_F(KeyInfoResolution, PkiPathTokenYieldsTheLastCertificate) {
    DataBuffer first, second;
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(certBase64[0], first));
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(certBase64[1], second));
    const std::string chain = std::string(first.view()) + std::string(second.view());
    std::string path = "\x30" + derLength(chain.size()) + chain;
    StringBuffer pathBase64;
    ContentCoding::encodeBase64(path.data(), path.size(), pathBase64);
    const std::string valueType =
        "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-x509-token-profile-1.0#X509PKIPathv1";
    load("<wsse:SecurityTokenReference><wsse:Reference URI=\"#path\" ValueType=\"" + valueType +
             "\"/></wsse:SecurityTokenReference>",
         "<wsse:BinarySecurityToken wsu:Id=\"path\" ValueType=\"" + valueType + "\">" + std::string(pathBase64.view()) +
             "</wsse:BinarySecurityToken>");
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[1]}));

    StringBuffer notDer("AAECAw=="), out;
    log.enterContext("test");
    EXPECT_FALSE(dsig.pkiPathV1_to_cert(notDer, out, log));
    log.leaveContext();
    EXPECT_NE(log.renderText().find("ERROR: Invalid binary security token content.\n"), std::string::npos);
}

TEST_F(KeyInfoResolution, KeyIdentifierIsLookedUpInTheStore) {
    useVault(1);
    const std::string token = "<wsse:SecurityTokenReference><wsse:KeyIdentifier ValueType=\"urn:x#X509v3\">" +
                              certBase64[1] + "</wsse:KeyIdentifier></wsse:SecurityTokenReference>";
    load(token);
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[1]}));
}

TEST_F(KeyInfoResolution, MalformedKeyValueStopsEverything) {
    load("<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>!!</ds:Modulus></ds:RSAKeyValue></ds:KeyValue>" +
         x509Data(certElement(0)));
    ExtPtrArrayRc keys;
    log.enterContext("test");
    EXPECT_FALSE(dsig.getPublicKey(true, keys, log));
    log.leaveContext();
    EXPECT_NE(log.renderText().find("Failed to parse public key RSA XML"), std::string::npos);
}

TEST_F(KeyInfoResolution, IssuerSerialOfAnEmbeddedCertificateIsNotListedTwice) {
    useVault(0);
    load(x509Data(certElement(0) + issuerSerial("CN=Signer 0,O=Example,C=EE", "4660")));
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[0]}));
    load(x509Data(issuerSerial("CN=Signer 0,O=Example,C=EE", "4660")));
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[0]}));
}

TEST_F(KeyInfoResolution, IssuerSerialNeedsACommonNameAndADecimalSerial) {
    useVault(0);
    load(x509Data(issuerSerial("O=Example,C=EE", "4660")));
    EXPECT_TRUE(candidates().empty());
    load(x509Data(issuerSerial("CN=Signer 0,O=Example,C=EE", "1234")));
    EXPECT_TRUE(candidates().empty());
}

TEST_F(KeyInfoResolution, SubjectNameIsLookedUpInTheStore) {
    useVault(1);
    load(x509Data("<ds:X509SubjectName>CN=Signer 1, O=Example, C=EE</ds:X509SubjectName>"));
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[1]}));
}

TEST_F(KeyInfoResolution, SkiOfAnEmbeddedCertificateIsListedAgain) {
    useVault(0);
    DataBuffer der, ski;
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(certBase64[0], der));
    TavixX509 cert;
    ASSERT_TRUE(cert.loadX509Der(der, log));
    ASSERT_TRUE(cert.getSubjectKeyId(ski));
    StringBuffer skiBase64;
    ski.encodeDB("base64", skiBase64);
    load(x509Data(certElement(0) + "<ds:X509SKI>" + std::string(skiBase64.view()) + "</ds:X509SKI>"));
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[0], spkiBase64[0]}));
}

TEST_F(KeyInfoResolution, TokenReferenceFallsBackToAnyToken) {
    const std::string token = "<wsse:BinarySecurityToken wsu:Id=\"other\" ValueType=\"urn:x#X509v3\">" + certBase64[1] +
                              "</wsse:BinarySecurityToken>";
    load("<wsse:SecurityTokenReference><wsse:Reference URI=\"#missing\" ValueType=\"urn:x#X509v3\"/>"
         "</wsse:SecurityTokenReference>",
         token);
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[1]}));

    // Certificate listing does not fall back.
    ClsStringArray certs;
    EXPECT_FALSE(dsig.GetCerts(certs));
    EXPECT_EQ(certs.get_Count(), 0);
}

TEST_F(KeyInfoResolution, UnhandledTokenReferenceFails) {
    load(x509Data(certElement(0)) + "<wsse:SecurityTokenReference><wsse:Reference URI=\"cid:x\" "
                                    "ValueType=\"urn:x#X509v3\"/></wsse:SecurityTokenReference>");
    ExtPtrArrayRc keys;
    log.enterContext("test");
    EXPECT_TRUE(dsig.getPublicKey(true, keys, log));
    log.leaveContext();
    EXPECT_EQ(keys.getSize(), 1);
    EXPECT_NE(log.renderText().find("Unhandled security token reference."), std::string::npos);
}

TEST_F(KeyInfoResolution, ThumbprintIsLoggedNotCompared) {
    const std::string token =
        "<wsse:BinarySecurityToken ValueType=\"urn:x#X509v3\">" + certBase64[0] + "</wsse:BinarySecurityToken>";
    load("<wsse:SecurityTokenReference><wsse:KeyIdentifier ValueType=\"urn:x#ThumbprintSHA1\">AAAA"
         "</wsse:KeyIdentifier></wsse:SecurityTokenReference>",
         token);
    EXPECT_EQ(candidates(), (std::vector<std::string>{spkiBase64[0]}));
}

TEST_F(KeyInfoResolution, ExplicitKeyComesLastAndOnlyForVerification) {
    load(x509Data(certElement(0)));
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    XString pem(pemPath[1]);
    ASSERT_TRUE(key->LoadFromFile(pem));
    ASSERT_TRUE(dsig.SetPublicKey(*key));
    EXPECT_EQ(candidates(false), (std::vector<std::string>{spkiBase64[0], spkiBase64[1]}));
    RefPtr<ClsPublicKey> first(dsig.GetPublicKey());
    ASSERT_TRUE(first);
    DataBuffer der;
    first->getDer(der, log);
    StringBuffer b64;
    der.encodeDB("base64", b64);
    EXPECT_EQ(b64.view(), spkiBase64[0]);
}

TEST_F(KeyInfoResolution, GetCertsCleansEscapedCarriageReturns) {
    std::string split = certBase64[0];
    split.insert(64, "&amp;#13;\n");
    load(x509Data("<ds:X509Certificate>" + split + "</ds:X509Certificate>" + certElement(1)));
    ClsStringArray certs;
    EXPECT_TRUE(dsig.GetCerts(certs));
    ASSERT_EQ(certs.get_Count(), 2);
    XString first, second;
    certs.GetString(0, first);
    certs.GetString(1, second);
    std::string expectedFirst = certBase64[0];
    expectedFirst.insert(64, "\n");
    EXPECT_EQ(first.view(), expectedFirst);
    EXPECT_EQ(second.view(), certBase64[1]);
    EXPECT_NE(dsig.lastErrorText().find("Failed."), std::string::npos);
}

} // namespace

namespace {

using test_support::runProcess;
using test_support::shellQuote;

constexpr const char* kSignedText = "<ds:SignedInfo>the canonical text</ds:SignedInfo>";

// The base64 output of an openssl command over kSignedText.
std::string opensslOverText(const test_support::TempDir& tmp, const std::string& command) {
    const auto file = tmp.path() / "signed.txt";
    test_support::writeFile(file, kSignedText);
    return runProcess(command + " " + shellQuote(file.string()) + " | base64 -w0").out;
}

ClsXmlDSig::SignedInfoCheck checkOf(int hashAlg, int keyType, const std::string& signatureBase64) {
    ClsXmlDSig::SignedInfoCheck check;
    check.hashAlg = hashAlg;
    check.keyType = keyType;
    check.canonical.setString(kSignedText);
    check.signatureBase64.setString(signatureBase64);
    check.signatureValue.appendEncoded(signatureBase64, "base64");
    _tvHash::doHash(check.canonical.getString(), check.canonical.getSize(), hashAlg, check.hash);
    return check;
}

} // namespace

TEST_F(KeyInfoResolution, RsaDispatchTriesEachCandidateInTurn) {
    TempDir tmp;
    const std::string sig = opensslOverText(tmp, "openssl dgst -sha256 -sign " + shellQuote(keyPath[1]) + " -binary");
    load(x509Data(certElement(0) + certElement(1)));
    ClsXmlDSig::SignedInfoCheck check = checkOf(7, 1, sig);
    check.method.setString("http://www.w3.org/2001/04/xmldsig-more#rsa-sha256");
    bool ended = false;
    log.enterContext("test");
    EXPECT_TRUE(dsig.verifySignatureValue(check, ended, log));
    log.leaveContext();
    const std::string text = log.renderText();
    EXPECT_LT(text.find("Not the correct key."), text.find("The RSA signature was verified.")) << text;

    check.hash.getDataRw()[0] ^= 1;
    EXPECT_FALSE(dsig.verifySignatureValue(check, ended, log));
    EXPECT_FALSE(ended);
}

TEST_F(KeyInfoResolution, HmacDispatchComparesTheMacText) {
    TempDir tmp;
    const std::string mac = opensslOverText(tmp, "openssl dgst -sha256 -hmac secret -binary");
    load("");
    bool ended = false;
    EXPECT_FALSE(dsig.verifySignatureValue(checkOf(7, 4, mac), ended, log));
    EXPECT_TRUE(ended);

    XString key("secret"), ascii("ascii");
    ASSERT_TRUE(dsig.SetHmacKey(key, ascii));
    EXPECT_TRUE(dsig.verifySignatureValue(checkOf(7, 4, "  " + mac + "\n"), ended, log));
    log.enterContext("test");
    EXPECT_FALSE(dsig.verifySignatureValue(checkOf(1, 4, mac), ended, log));
    log.leaveContext();
    EXPECT_EQ(log.firstError(), "HMAC validation failed.");
}
