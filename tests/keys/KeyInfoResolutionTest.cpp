// KeyInfo resolution through the public calls: documents signed by xmlsec1
// whose KeyInfo (not signed) is replaced by each form under test. The first
// candidate is what GetPublicKey returns, the key that verified and where it
// came from is the report's signer.
#include "support/Keys.h"
#include "support/Signing.h"

#include "companion/base/ClsStringArray.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/text/ContentCoding.h"

#include <openssl/x509.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace test_support;
using KS = KeySource;

// The second serial is 0x124F: written in hex, it is not a decimal number.
constexpr const char* kSerials[] = {"4660", "4687"};
constexpr const char* kPkiPath =
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-x509-token-profile-1.0#X509PKIPathv1";

// Two self-signed RSA signers, made once per process, and a document each
// one signed (a reference to <p Id="body">, no KeyInfo).
struct Signers {
    Workshop ws;
    std::string cert[2], spki[2], modulus[2], doc[2];

    Signers() {
        const std::string tmpl = "<doc xmlns:ds=\"" + std::string(kDsigNs) +
                                 "\" xmlns:wsse=\"urn:wsse\" xmlns:wsu=\"urn:wsu\"><p Id=\"body\">signed</p>"
                                 "<ds:Signature><ds:SignedInfo><ds:CanonicalizationMethod Algorithm=\"" +
                                 std::string(kC14n) + "\"/><ds:SignatureMethod Algorithm=\"" + std::string(kRsaSha256) +
                                 "\"/><ds:Reference URI=\"#body\"><ds:DigestMethod Algorithm=\"" +
                                 std::string(kSha256) +
                                 "\"/><ds:DigestValue/></ds:Reference></ds:SignedInfo><ds:SignatureValue/>"
                                 "</ds:Signature></doc>";
        for (int i = 0; i < 2; ++i) {
            const std::string name = "signer" + std::to_string(i);
            EXPECT_TRUE(ws.make(
                name,
                Workshop::Request("/C=EE/O=Example/CN=Signer " + std::to_string(i)).serial(kSerials[i]).key("rsa")));
            cert[i] = ws.base64(name);
            spki[i] = base64Of(ws.read(name + ".pub.der").view());
            modulus[i] = runProcess("openssl rsa -in " + shellQuote(ws.keyPath(name).string()) +
                                    " -modulus -noout | cut -d= -f2 | xxd -r -p | base64 -w0")
                             .out;
            std::string diagnostics;
            doc[i] = xmlsecSign(ws.dir(), tmpl, "--id-attr:Id p --privkey-pem " + shellQuote(ws.keyPath(name).string()),
                                &diagnostics);
            EXPECT_FALSE(doc[i].empty()) << diagnostics;
        }
    }
};

const Signers& signers() {
    static const Signers s;
    return s;
}

std::string x509Data(const std::string& inner) {
    return "<ds:X509Data>" + inner + "</ds:X509Data>";
}
std::string certElement(const std::string& base64) {
    return "<ds:X509Certificate>" + base64 + "</ds:X509Certificate>";
}
std::string certElement(int i) {
    return certElement(signers().cert[i]);
}
std::string issuerSerial(const std::string& issuer, const std::string& serial) {
    return "<ds:X509IssuerSerial><ds:X509IssuerName>" + issuer + "</ds:X509IssuerName><ds:X509SerialNumber>" + serial +
           "</ds:X509SerialNumber></ds:X509IssuerSerial>";
}
std::string tokenReference(const std::string& inner) {
    return "<wsse:SecurityTokenReference>" + inner + "</wsse:SecurityTokenReference>";
}
std::string token(const std::string& id, const std::string& type, const std::string& base64) {
    return "<wsse:BinarySecurityToken wsu:Id=\"" + id + "\" ValueType=\"" + type + "\">" + base64 +
           "</wsse:BinarySecurityToken>";
}

// A DER SEQUENCE of both certificates: a PKIPath whose signer is the last.
std::string pkiPathBase64() {
    std::string chain;
    for (int i = 0; i < 2; ++i) {
        DataBuffer der;
        EXPECT_TRUE(ContentCoding::decodeBase64ToDb(signers().cert[i], der));
        chain += der.view();
    }
    const size_t n = chain.size();
    return base64Of(std::string{'\x30', '\x82', static_cast<char>(n >> 8), static_cast<char>(n & 0xff)} + chain);
}

// What a document signed by `signer` with that KeyInfo gives.
struct Outcome {
    bool valid = false;
    VerificationStage stage = VerificationStage::None;
    KeySource source = KeySource::None;
    std::string signerCert; // base64 DER of the certificate that verified
    std::string firstKey;   // GetPublicKey's SubjectPublicKeyInfo, base64
    int certs = -1;         // GetCerts' count, -1 when it failed
    bool limitHit = false;
};

struct Resolve {
    Resolve(int signer, std::string keyInfo, std::string extra = "", std::string options = "", int vault = -1,
            const char* callerKey = "")
        : signer(signer), keyInfo(std::move(keyInfo)), extra(std::move(extra)), options(std::move(options)),
          vault(vault), callerKey(callerKey) {}
    int signer;
    std::string keyInfo, extra, options;
    int vault;             // the signer certificate given to the store
    const char* callerKey; // a public key file set with SetPublicKey
};

Outcome resolve(const Resolve& r) {
    std::string doc = replaced(signers().doc[r.signer], "</ds:SignatureValue>",
                               "</ds:SignatureValue><ds:KeyInfo>" + r.keyInfo + "</ds:KeyInfo>");
    doc = replaced(doc, "<p Id=", r.extra + "<p Id=");
    ClsXmlDSig dsig;
    dsig.put_VerifyOptions(XString(r.options));
    EXPECT_TRUE(loadXml(dsig, doc)) << dsig.lastFailure();
    if (r.vault >= 0) {
        RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        XString path(signers().ws.pemPath("signer" + std::to_string(r.vault)).string());
        EXPECT_TRUE(vault->AddCertFile(path));
        EXPECT_TRUE(dsig.UseCertVault(*vault));
    }
    if (*r.callerKey) {
        EXPECT_TRUE(usePublicKeyFile(dsig, signers().ws.path(r.callerKey).string()));
    }
    Outcome o;
    o.valid = dsig.VerifySignature(true);
    o.stage = dsig.report().stage;
    o.source = dsig.report().signer.source;
    o.limitHit = dsig.report().limit.has_value();
    if (X509* cert = dsig.report().signer.certificate.get()) {
        unsigned char* der = nullptr;
        const int n = i2d_X509(cert, &der);
        o.signerCert = base64Of(std::string_view(reinterpret_cast<const char*>(der), n < 0 ? 0 : n));
        OPENSSL_free(der);
    }
    if (RefPtr<ClsPublicKey> first(dsig.GetPublicKey()); first) {
        DataBuffer der;
        LogNull log;
        first->getDer(der, log);
        o.firstKey = base64Of(der.view());
    }
    ClsStringArray certs;
    o.certs = dsig.GetCerts(certs) ? certs.get_Count() : -1;
    return o;
}

} // namespace

// Which key each KeyInfo form yields first, which one verified, and from
// where; candidates are tried in document order until one verifies.
TEST(KeyInfoResolution, EachFormYieldsItsKeys) {
    const Signers& k = signers();
    const std::string token1 = token("other", "urn:x#X509v3", k.cert[1]);
    const std::string issuer0 = "CN=Signer 0,O=Example,C=EE";
    DataBuffer ski;
    ASSERT_TRUE(k.ws.load("signer0").getSubjectKeyId(ski));
    // Resolves `in` and checks the outcome; signer indexes, -1 for none.
    auto expect = [&](const char* what, bool valid, KeySource source, int firstKey, int signerCert, int certs,
                      const Resolve& in) {
        SCOPED_TRACE(what);
        const Outcome o = resolve(in);
        EXPECT_EQ(o.valid, valid);
        EXPECT_EQ(o.stage, valid ? VerificationStage::SignatureValue : VerificationStage::KeyResolution);
        EXPECT_EQ(o.source, source);
        EXPECT_EQ(o.firstKey, firstKey < 0 ? "" : k.spki[firstKey]);
        EXPECT_EQ(o.signerCert, signerCert < 0 ? "" : k.cert[signerCert]);
        EXPECT_EQ(o.certs, certs);
    };
    expect("certificates in document order", true, KS::KeyInfoCertificate, 0, 1, 2,
           {1, x509Data(certElement(0) + certElement(1))});
    expect("KeyValue before certificates", true, KS::KeyValue, 1, -1, 1,
           {1, "<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>" + k.modulus[1] +
                   "</ds:Modulus><ds:Exponent>AQAB</ds:Exponent></ds:RSAKeyValue></ds:KeyValue>" +
                   x509Data(certElement(0))});
    expect("PKIPath token: its last certificate", true, KS::WsSecurityToken, 1, 1, 1,
           {1, tokenReference("<wsse:Reference URI=\"#path\" ValueType=\"" + std::string(kPkiPath) + "\"/>"),
            token("path", kPkiPath, pkiPathBase64())});
    expect("PKIPath token that is no DER", false, KS::None, -1, -1, -1,
           {1, tokenReference("<wsse:Reference URI=\"#path\" ValueType=\"" + std::string(kPkiPath) + "\"/>"),
            token("path", kPkiPath, "AAECAw==")});
    // Verification falls back to any token; certificate listing does not.
    expect("reference to a missing token", true, KS::WsSecurityToken, 1, 1, -1,
           {1, tokenReference("<wsse:Reference URI=\"#missing\" ValueType=\"urn:x#X509v3\"/>"), token1});
    expect("a thumbprint is not compared", true, KS::WsSecurityToken, 1, 1, 0,
           {1, tokenReference("<wsse:KeyIdentifier ValueType=\"urn:x#ThumbprintSHA1\">AAAA</wsse:KeyIdentifier>"),
            token1});
    // Certificates named by KeyInfo come from the store; listing reads a
    // KeyIdentifier only as an SKI.
    expect("KeyIdentifier", true, KS::WsSecurityToken, 1, 1, 0,
           {1, tokenReference("<wsse:KeyIdentifier ValueType=\"urn:x#X509v3\">" + k.cert[1] + "</wsse:KeyIdentifier>"),
            "", "", 1});
    expect("subject name", true, KS::StoreBySubjectName, 1, 1, 1,
           {1, x509Data("<ds:X509SubjectName>CN=Signer 1, O=Example, C=EE</ds:X509SubjectName>"), "", "", 1});
    expect("issuer serial", true, KS::StoreByIssuerSerial, 0, 0, 1,
           {0, x509Data(issuerSerial(issuer0, "4660")), "", "", 0});
    // Those embedded too are not listed twice, except by their SKI.
    expect("issuer serial of an embedded certificate", true, KS::KeyInfoCertificate, 0, 0, 1,
           {0, x509Data(certElement(0) + issuerSerial(issuer0, "4660")), "", "", 0});
    expect("subject name of an embedded certificate", true, KS::KeyInfoCertificate, 0, 0, 1,
           {0, x509Data(certElement(0) + "<ds:X509SubjectName>" + issuer0 + "</ds:X509SubjectName>"), "", "", 0});
    expect("SKI of an embedded certificate", true, KS::KeyInfoCertificate, 0, 0, 2,
           {0, x509Data(certElement(0) + "<ds:X509SKI>" + base64Of(ski.view()) + "</ds:X509SKI>"), "", "", 0});
    expect("issuer without a common name", false, KS::None, -1, -1, 0,
           {0, x509Data(issuerSerial("O=Example,C=EE", "4660")), "", "", 0});
    expect("another serial", false, KS::None, -1, -1, 0, {0, x509Data(issuerSerial(issuer0, "1234")), "", "", 0});
    expect("serial written in hex", true, KS::StoreByIssuerSerial, 1, 1, 1,
           {1, x509Data(issuerSerial("CN=Signer 1,O=Example,C=EE", "124f")), "", "", 1});
    expect("SecurityTokenReference holding X509Data", true, KS::StoreBySubjectName, 1, 1, 1,
           {1, tokenReference(x509Data("<ds:X509SubjectName>CN=Signer 1,O=Example,C=EE</ds:X509SubjectName>")), "", "",
            1});
    // A malformed KeyValue stops resolution; an unhandled token
    // reference is passed over, though certificate listing stops there.
    expect("malformed KeyValue", false, KS::None, -1, -1, 1,
           {0, "<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>!!</ds:Modulus></ds:RSAKeyValue></ds:KeyValue>" +
                   x509Data(certElement(0))});
    expect(
        "unhandled token reference", true, KS::KeyInfoCertificate, 0, 0, -1,
        {0, x509Data(certElement(0)) + tokenReference("<wsse:Reference URI=\"cid:x\" ValueType=\"urn:x#X509v3\"/>")});
    // A caller's key comes after KeyInfo's, and only for verification.
    expect("caller's key", true, KS::CallerKey, 0, -1, 1, {1, x509Data(certElement(0)), "", "", -1, "signer1.pub.pem"});
}

// Certificate text beyond MaxCertificateBytes is not decoded, in KeyInfo and
// in a PKIPath token alike.
TEST(KeyInfoResolution, CertificatesOverTheSizeLimitAreNotRead) {
    const Signers& k = signers();
    for (const size_t limit : {k.cert[1].size() - 1, k.cert[1].size()}) {
        const bool within = limit == k.cert[1].size();
        const Outcome o =
            resolve({1, x509Data(certElement(1)), "", R"({"MaxCertificateBytes": )" + std::to_string(limit) + "}"});
        EXPECT_EQ(o.valid, within);
        EXPECT_EQ(o.limitHit, !within);
    }
    const Outcome path =
        resolve({1, tokenReference("<wsse:Reference URI=\"#path\" ValueType=\"" + std::string(kPkiPath) + "\"/>"),
                 token("path", kPkiPath, pkiPathBase64()), R"({"MaxCertificateBytes": 100})"});
    EXPECT_FALSE(path.valid);
    EXPECT_TRUE(path.limitHit);
}

// Certificates are decoded once per process, and each thread keeps the last
// certificate text it decoded; a document carries only the key of its own
// certificate bytes, not one decoded for an earlier document with the same
// subject and serial, or a text of the same length.
TEST(KeyInfoResolution, DecodedCertificatesServeOnlyTheirOwnBytes) {
    const Signers& k = signers();
    DataBuffer der, modulus;
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(k.cert[1], der));
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb(k.modulus[1], modulus));
    std::string forged(der.view());
    const size_t at = forged.find(modulus.view());
    ASSERT_NE(at, std::string::npos);
    forged[at + modulus.getSize() / 2] ^= 1;
    const std::pair<std::string, bool> sequence[] = {
        {k.cert[1], true}, {k.cert[1], true}, {base64Of(forged), false}, {k.cert[0], false}, {k.cert[1], true}};
    for (const auto& [cert, valid] : sequence)
        EXPECT_EQ(resolve({1, x509Data(certElement(cert))}).valid, valid);
}
