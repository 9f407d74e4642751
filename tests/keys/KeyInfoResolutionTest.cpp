#include "TestSupport.h"
#include "companion/base/ClsStringArray.h"
#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/Digest.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/ContentCoding.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace test_support;

// Two self-signed RSA certificates, made once per process: every test runs
// in a process of its own, so fewer, larger tests keep key generation rare.
// The second serial is 0x124F: written in hex, it is not a decimal number.
constexpr int kSerials[] = {4660, 4687};

struct Signers {
    TempDir dir;
    std::string certBase64[2], pemPath[2], spkiBase64[2], keyPath[2], modulusBase64[2];

    Signers() {
        for (int i = 0; i < 2; ++i) {
            const std::string base = (dir.path() / ("signer" + std::to_string(i))).string();
            const std::string cmd = "openssl req -x509 -newkey rsa:2048 -nodes -days 30 -set_serial " +
                                    std::to_string(kSerials[i]) + " -subj '/C=EE/O=Example/CN=Signer " +
                                    std::to_string(i) + "' -keyout " + shellQuote(base + ".key") + " -out " +
                                    shellQuote(base + ".pem");
            EXPECT_EQ(runProcess(cmd).exitCode, 0);
            certBase64[i] =
                runProcess("openssl x509 -in " + shellQuote(base + ".pem") + " -outform DER | base64 -w0").out;
            spkiBase64[i] = runProcess("openssl rsa -in " + shellQuote(base + ".key") +
                                       " -pubout -outform DER 2>/dev/null | base64 -w0")
                                .out;
            modulusBase64[i] = runProcess("openssl rsa -in " + shellQuote(base + ".key") +
                                          " -modulus -noout | cut -d= -f2 | xxd -r -p | base64 -w0")
                                   .out;
            pemPath[i] = base + ".pem";
            keyPath[i] = base + ".key";
        }
    }
};

const Signers& signers() {
    static const Signers s;
    return s;
}

std::string base64Of(const DataBuffer& der) {
    StringBuffer b64;
    der.encodeDB("base64", b64);
    return std::string(b64.view());
}

// A verifier loaded with a document whose one signature has the given
// KeyInfo content.
struct Signed {
    ClsXmlDSig dsig;
    LogBase log;

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
        XString path(signers().pemPath[which]);
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
            out.push_back(base64Of(der));
        }
        return out;
    }

    // The text logged by a getPublicKey call, and its result.
    std::string resolveLogged(bool& ok, int& count) {
        ExtPtrArrayRc keys;
        log.enterContext("test");
        ok = dsig.getPublicKey(true, keys, log);
        log.leaveContext();
        count = keys.getSize();
        return log.renderText();
    }
};

std::string x509Data(const std::string& inner) {
    return "<ds:X509Data>" + inner + "</ds:X509Data>";
}
std::string certElement(int i) {
    return "<ds:X509Certificate>" + signers().certBase64[i] + "</ds:X509Certificate>";
}
std::string issuerSerial(const std::string& issuer, const std::string& serial) {
    return "<ds:X509IssuerSerial><ds:X509IssuerName>" + issuer + "</ds:X509IssuerName><ds:X509SerialNumber>" + serial +
           "</ds:X509SerialNumber></ds:X509IssuerSerial>";
}
std::string tokenReference(const std::string& inner) {
    return "<wsse:SecurityTokenReference>" + inner + "</wsse:SecurityTokenReference>";
}

// A DER length prefix for the sizes a certificate chain needs.
std::string derLength(size_t n) {
    if (n < 0x80)
        return std::string(1, static_cast<char>(n));
    return std::string{'\x82', static_cast<char>(n >> 8), static_cast<char>(n & 0xff)};
}

std::string pkiPathBase64() {
    DataBuffer first, second;
    EXPECT_TRUE(ContentCoding::decodeBase64ToDb(signers().certBase64[0], first));
    EXPECT_TRUE(ContentCoding::decodeBase64ToDb(signers().certBase64[1], second));
    const std::string chain = std::string(first.view()) + std::string(second.view());
    const std::string path = "\x30" + derLength(chain.size()) + chain;
    StringBuffer b64;
    ContentCoding::encodeBase64(path.data(), path.size(), b64);
    return std::string(b64.view());
}

// Which candidate keys each KeyInfo form yields, in order, without a store.
TEST(KeyInfoResolution, KeyInfoFormsYieldTheirKeysInOrder) {
    const Signers& k = signers();
    const std::string pkiPath =
        "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-x509-token-profile-1.0#X509PKIPathv1";
    const std::string token1 = "<wsse:BinarySecurityToken wsu:Id=\"other\" ValueType=\"urn:x#X509v3\">" +
                               k.certBase64[1] + "</wsse:BinarySecurityToken>";
    const struct {
        const char* what;
        std::string keyInfo, extra;
        std::vector<std::string> expected;
    } cases[] = {
        {"certificates in document order",
         x509Data(certElement(1) + certElement(0)),
         "",
         {k.spkiBase64[1], k.spkiBase64[0]}},
        {"KeyValue before certificates",
         "<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>" + k.modulusBase64[1] +
             "</ds:Modulus><ds:Exponent>AQAB</ds:Exponent></ds:RSAKeyValue></ds:KeyValue>" + x509Data(certElement(0)),
         "",
         {k.spkiBase64[1], k.spkiBase64[0]}},
        {"PKIPath token: its last certificate",
         tokenReference("<wsse:Reference URI=\"#path\" ValueType=\"" + pkiPath + "\"/>"),
         "<wsse:BinarySecurityToken wsu:Id=\"path\" ValueType=\"" + pkiPath + "\">" + pkiPathBase64() +
             "</wsse:BinarySecurityToken>",
         {k.spkiBase64[1]}},
        {"reference to a missing token falls back to any token",
         tokenReference("<wsse:Reference URI=\"#missing\" ValueType=\"urn:x#X509v3\"/>"),
         token1,
         {k.spkiBase64[1]}},
        {"thumbprint is logged, not compared",
         tokenReference("<wsse:KeyIdentifier ValueType=\"urn:x#ThumbprintSHA1\">AAAA</wsse:KeyIdentifier>"),
         token1,
         {k.spkiBase64[1]}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Signed s;
        s.load(c.keyInfo, c.extra);
        EXPECT_EQ(s.candidates(), c.expected);
    }

    // Certificate listing does not fall back to any token.
    Signed s;
    s.load(cases[3].keyInfo, token1);
    ClsStringArray certs;
    EXPECT_FALSE(s.dsig.GetCerts(certs));
    EXPECT_EQ(certs.get_Count(), 0);

    StringBuffer notDer("AAECAw=="), out;
    EXPECT_FALSE(s.dsig.keyResolver().pkiPathV1_to_cert(notDer, out, s.log));
    EXPECT_TRUE(out.isEmpty());
}

// Certificates named by KeyInfo are looked up in the vault; those embedded
// too are not listed twice, except by their SKI.
TEST(KeyInfoResolution, NamedCertificatesComeFromTheStore) {
    const Signers& k = signers();
    DataBuffer der, ski;
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(k.certBase64[0], der));
    X509Certificate cert;
    LogBase log;
    ASSERT_TRUE(cert.loadX509Der(der, log));
    ASSERT_TRUE(cert.getSubjectKeyId(ski));
    const std::string issuer0 = "CN=Signer 0,O=Example,C=EE";
    const struct {
        const char* what;
        int vault;
        std::string keyInfo;
        std::vector<std::string> expected;
    } cases[] = {
        {"KeyIdentifier",
         1,
         tokenReference("<wsse:KeyIdentifier ValueType=\"urn:x#X509v3\">" + k.certBase64[1] + "</wsse:KeyIdentifier>"),
         {k.spkiBase64[1]}},
        {"subject name",
         1,
         x509Data("<ds:X509SubjectName>CN=Signer 1, O=Example, C=EE</ds:X509SubjectName>"),
         {k.spkiBase64[1]}},
        {"issuer serial", 0, x509Data(issuerSerial(issuer0, "4660")), {k.spkiBase64[0]}},
        {"issuer serial of an embedded certificate",
         0,
         x509Data(certElement(0) + issuerSerial(issuer0, "4660")),
         {k.spkiBase64[0]}},
        {"issuer without a common name", 0, x509Data(issuerSerial("O=Example,C=EE", "4660")), {}},
        {"another serial", 0, x509Data(issuerSerial(issuer0, "1234")), {}},
        {"serial written in hex", 1, x509Data(issuerSerial("CN=Signer 1,O=Example,C=EE", "124f")), {k.spkiBase64[1]}},
        {"SKI of an embedded certificate",
         0,
         x509Data(certElement(0) + "<ds:X509SKI>" + base64Of(ski) + "</ds:X509SKI>"),
         {k.spkiBase64[0], k.spkiBase64[0]}},
        {"SecurityTokenReference holding X509Data",
         1,
         tokenReference(x509Data("<ds:X509SubjectName>CN=Signer 1,O=Example,C=EE</ds:X509SubjectName>")),
         {k.spkiBase64[1]}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Signed s;
        s.useVault(c.vault);
        s.load(c.keyInfo);
        EXPECT_EQ(s.candidates(), c.expected);
        // Listing reads a KeyIdentifier only as an SKI.
        ClsStringArray certs;
        s.dsig.GetCerts(certs);
        EXPECT_EQ(certs.get_Count(), &c == cases ? 0 : static_cast<int>(c.expected.size()));
        // Read as decimal first; hex is the logged further reading.
        EXPECT_EQ(logHas(s.dsig.m_log, LogBase::Kind::Info, "serial read as hexadecimal"),
                  std::string(c.what) == "serial written in hex");
    }
}

TEST(KeyInfoResolution, UnreadableKeyInfo) {
    bool ok = true;
    int count = 0;
    Signed malformed;
    malformed.load("<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>!!</ds:Modulus></ds:RSAKeyValue></ds:KeyValue>" +
                   x509Data(certElement(0)));
    EXPECT_NE(malformed.resolveLogged(ok, count).find("Failed to parse public key RSA XML"), std::string::npos);
    EXPECT_FALSE(ok) << "a malformed KeyValue stops everything";

    Signed unhandled;
    unhandled.load(x509Data(certElement(0)) +
                   tokenReference("<wsse:Reference URI=\"cid:x\" ValueType=\"urn:x#X509v3\"/>"));
    EXPECT_NE(unhandled.resolveLogged(ok, count).find("Unhandled security token reference."), std::string::npos);
    EXPECT_TRUE(ok);
    EXPECT_EQ(count, 1);
}

// Certificate text beyond MaxCertificateBytes is not decoded, in KeyInfo and
// in a PKIPath token alike.
TEST(KeyInfoResolution, CertificatesOverTheSizeLimitAreNotRead) {
    const Signers& k = signers();
    const std::string pkiPathType =
        "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-x509-token-profile-1.0#X509PKIPathv1";
    const std::string pkiPath = "<wsse:BinarySecurityToken wsu:Id=\"path\" ValueType=\"" + pkiPathType + "\">" +
                                pkiPathBase64() + "</wsse:BinarySecurityToken>";
    const std::string pathReference =
        tokenReference("<wsse:Reference URI=\"#path\" ValueType=\"" + pkiPathType + "\"/>");
    for (const size_t limit : {k.certBase64[0].size() - 1, k.certBase64[0].size()}) {
        Signed s;
        s.dsig.put_VerifyOptions(XString(R"({"MaxCertificateBytes": )" + std::to_string(limit) + "}"));
        s.load(x509Data(certElement(0)));
        const bool within = limit == k.certBase64[0].size();
        EXPECT_EQ(s.candidates(), within ? std::vector<std::string>{k.spkiBase64[0]} : std::vector<std::string>{});
        EXPECT_EQ(logHas(s.log, LogBase::Kind::Error, "(VerifyOptions \"MaxCertificateBytes\")", false), !within);
    }
    Signed path;
    path.dsig.put_VerifyOptions(XString(R"({"MaxCertificateBytes": 100})"));
    path.load(pathReference, pkiPath);
    EXPECT_TRUE(path.candidates().empty());
    EXPECT_TRUE(logHas(path.log, LogBase::Kind::Error, "(VerifyOptions \"MaxCertificateBytes\")", false));
}

TEST(KeyInfoResolution, ExplicitKeyComesLastAndOnlyForVerification) {
    const Signers& k = signers();
    Signed s;
    s.load(x509Data(certElement(0)));
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    XString pem(k.pemPath[1]);
    ASSERT_TRUE(key->LoadFromFile(pem));
    ASSERT_TRUE(s.dsig.SetPublicKey(*key));
    EXPECT_EQ(s.candidates(false), (std::vector<std::string>{k.spkiBase64[0], k.spkiBase64[1]}));
    RefPtr<ClsPublicKey> first(s.dsig.GetPublicKey());
    ASSERT_TRUE(first);
    DataBuffer der;
    first->getDer(der, s.log);
    EXPECT_EQ(base64Of(der), k.spkiBase64[0]);
}

constexpr const char* kSignedText = "<ds:SignedInfo>the canonical text</ds:SignedInfo>";

// The base64 output of an openssl command over kSignedText.
std::string opensslOverText(const std::string& command) {
    TempDir tmp;
    const auto file = tmp.path() / "signed.txt";
    writeFile(file, kSignedText);
    return runProcess(command + " " + shellQuote(file.string()) + " | base64 -w0").out;
}

ClsXmlDSig::SignedInfoCheck checkOf(int hashAlg, int keyType, const std::string& signatureBase64) {
    ClsXmlDSig::SignedInfoCheck check;
    check.hashAlg = hashAlg;
    check.keyType = keyType;
    check.canonical.setString(kSignedText);
    check.signatureBase64.setString(signatureBase64);
    check.signatureValue.appendEncoded(signatureBase64, "base64");
    Digest::doHash(check.canonical.getString(), check.canonical.getSize(), hashAlg, check.hash);
    return check;
}

TEST(KeyInfoResolution, SignatureValueDispatch) {
    // RSA: each candidate is tried in turn.
    const std::string sig =
        opensslOverText("openssl dgst -sha256 -sign " + shellQuote(signers().keyPath[1]) + " -binary");
    Signed rsa;
    rsa.load(x509Data(certElement(0) + certElement(1)));
    ClsXmlDSig::SignedInfoCheck check = checkOf(7, 1, sig);
    check.method.setString("http://www.w3.org/2001/04/xmldsig-more#rsa-sha256");
    bool ended = false;
    rsa.log.enterContext("test");
    EXPECT_TRUE(rsa.dsig.verifySignatureValue(check, ended, rsa.log));
    rsa.log.leaveContext();
    const std::string text = rsa.log.renderText();
    EXPECT_LT(text.find("Not the correct key."), text.find("The RSA signature was verified.")) << text;
    check.hash.getDataRw()[0] ^= 1;
    EXPECT_FALSE(rsa.dsig.verifySignatureValue(check, ended, rsa.log));
    EXPECT_FALSE(ended);

    // HMAC: the MAC text is compared, with its ends trimmed.
    const std::string mac = opensslOverText("openssl dgst -sha256 -hmac secret -binary");
    Signed hmac;
    hmac.load("");
    EXPECT_FALSE(hmac.dsig.verifySignatureValue(checkOf(7, 4, mac), ended, hmac.log));
    EXPECT_TRUE(ended);
    XString key("secret"), ascii("ascii");
    ASSERT_TRUE(hmac.dsig.SetHmacKey(key, ascii));
    EXPECT_TRUE(hmac.dsig.verifySignatureValue(checkOf(7, 4, "  " + mac + "\n"), ended, hmac.log));
    hmac.log.enterContext("test");
    EXPECT_FALSE(hmac.dsig.verifySignatureValue(checkOf(1, 4, mac), ended, hmac.log));
    hmac.log.leaveContext();
    EXPECT_EQ(hmac.log.firstError(), "HMAC validation failed.");
}

// Certificates are decoded once per process; a document carries only the
// key of its own certificate bytes, not one decoded for an earlier document
// with the same subject and serial.
TEST(KeyInfoResolution, DecodedCertificatesServeOnlyTheirOwnBytes) {
    const std::string sig =
        opensslOverText("openssl dgst -sha256 -sign " + shellQuote(signers().keyPath[1]) + " -binary");
    DataBuffer der, modulus;
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(signers().certBase64[1], der));
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(signers().modulusBase64[1], modulus));
    std::string forged(der.view());
    const size_t at = forged.find(modulus.view());
    ASSERT_NE(at, std::string::npos);
    forged[at + modulus.getSize() / 2] ^= 1;
    StringBuffer forgedBase64;
    ContentCoding::encodeBase64(forged.data(), forged.size(), forgedBase64);

    auto verifies = [&](const std::string& certBase64) {
        Signed doc;
        doc.load(x509Data("<ds:X509Certificate>" + certBase64 + "</ds:X509Certificate>"));
        ClsXmlDSig::SignedInfoCheck check = checkOf(7, 1, sig);
        check.method.setString("http://www.w3.org/2001/04/xmldsig-more#rsa-sha256");
        bool ended = false;
        return doc.dsig.verifySignatureValue(check, ended, doc.log);
    };
    EXPECT_TRUE(verifies(signers().certBase64[1]));
    EXPECT_FALSE(verifies(std::string(forgedBase64.view())));
    EXPECT_FALSE(verifies(signers().certBase64[0]));
    EXPECT_TRUE(verifies(signers().certBase64[1]));
}

} // namespace
