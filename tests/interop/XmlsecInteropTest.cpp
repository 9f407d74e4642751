// Documents signed at test time by xmlsec1 (RSA-PSS by the openssl command,
// which xmlsec1 1.2 lacks) verify, and one tampered byte makes each fail
// the way it should.
#include "support/Keys.h"
#include "support/Signing.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <map>
#include <memory>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// InContext: a fragment by Id whose ancestors carry xml:* attributes.
enum class Layout { Enveloped, Enveloping, ById, External, ThreeRefs, InContext };
enum class KeyUse { X509, KeyValue, Explicit, Hmac };

struct InteropCase {
    const char* name;
    const char* key; // rsa, rsa-pss, ec256, ec384, dsa1024, dsa2048, hmac
    const char* method;
    const char* signedInfoC14n;
    const char* refC14n;
    Layout layout;
    KeyUse keyUse;
    const char* methodParams = ""; // children of SignatureMethod
};

const std::string kMore = "http://www.w3.org/2001/04/xmldsig-more#";
const std::string kExc = std::string(kExcC14n);
const std::string kExcComments = kExc + "WithComments";
const std::string kInc = std::string(kC14n);
const std::string kIncComments = kInc + "#WithComments";
const std::string kPss = "http://www.w3.org/2007/05/xmldsig-more#sha256-rsa-MGF1";
const std::string kC14n11 = "http://www.w3.org/2006/12/xml-c14n11";
const std::string kC14n11Comments = kC14n11 + "#WithComments";

const InteropCase kCases[] = {
    {"RsaSha1Enveloped", "rsa", "http://www.w3.org/2000/09/xmldsig#rsa-sha1", kInc.c_str(), kInc.c_str(),
     Layout::Enveloped, KeyUse::X509},
    {"RsaSha256EnvelopedKeyValue", "rsa", "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", kExc.c_str(),
     kExc.c_str(), Layout::Enveloped, KeyUse::KeyValue},
    {"RsaSha512EnvelopingComments", "rsa", "http://www.w3.org/2001/04/xmldsig-more#rsa-sha512", kIncComments.c_str(),
     kInc.c_str(), Layout::Enveloping, KeyUse::Explicit},
    {"RsaPssSha256", "rsa-pss", kPss.c_str(), kExc.c_str(), kExc.c_str(), Layout::Enveloped, KeyUse::Explicit},
    {"EcdsaP256ByIdPrefixList", "ec256", "http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256", kExc.c_str(),
     kExc.c_str(), Layout::ById, KeyUse::X509},
    {"EcdsaP384ExcComments", "ec384", "http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha384", kExcComments.c_str(),
     kExcComments.c_str(), Layout::Enveloped, KeyUse::X509},
    {"DsaSha1KeyValue", "dsa1024", "http://www.w3.org/2000/09/xmldsig#dsa-sha1", kInc.c_str(), kInc.c_str(),
     Layout::Enveloped, KeyUse::KeyValue},
    {"DsaSha256ById", "dsa2048", "http://www.w3.org/2009/xmldsig11#dsa-sha256", kIncComments.c_str(), kInc.c_str(),
     Layout::ById, KeyUse::X509},
    {"HmacSha256Enveloping", "hmac", "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256", kExc.c_str(), kExc.c_str(),
     Layout::Enveloping, KeyUse::Hmac},
    {"HmacSha1ById", "hmac", "http://www.w3.org/2000/09/xmldsig#hmac-sha1", kInc.c_str(), kIncComments.c_str(),
     Layout::ById, KeyUse::Hmac},
    // xmlsec1 wraps this value over two lines.
    {"HmacSha512Wrapped", "hmac", "http://www.w3.org/2001/04/xmldsig-more#hmac-sha512", kInc.c_str(), kInc.c_str(),
     Layout::Enveloping, KeyUse::Hmac},
    {"HmacSha1Truncated80", "hmac", "http://www.w3.org/2000/09/xmldsig#hmac-sha1", kExc.c_str(), kExc.c_str(),
     Layout::Enveloped, KeyUse::Hmac, "<HMACOutputLength>80</HMACOutputLength>"},
    {"HmacSha384Truncated192", "hmac", "http://www.w3.org/2001/04/xmldsig-more#hmac-sha384", kInc.c_str(), kInc.c_str(),
     Layout::ById, KeyUse::Hmac, "<HMACOutputLength>192</HMACOutputLength>"},
    {"RsaSha256ExternalFile", "rsa", "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", kExc.c_str(), nullptr,
     Layout::External, KeyUse::X509},
    {"RsaSha256ThreeReferences", "rsa", "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", kInc.c_str(), kExc.c_str(),
     Layout::ThreeRefs, KeyUse::X509},
    {"HmacSha256C14n11InContext", "hmac", "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256", kC14n11.c_str(),
     kC14n11.c_str(), Layout::InContext, KeyUse::Hmac},
    {"RsaSha256C14n11CommentsInContext", "rsa", "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256",
     kC14n11Comments.c_str(), kC14n11Comments.c_str(), Layout::InContext, KeyUse::X509},
};

// The comment is left out of "" and "#id" references even under a
// WithComments canonicalization, as standard signers do.
constexpr const char* kContent = "<a:item xmlns:a=\"urn:a\" amount=\"100\">Hello<!-- note --></a:item>";
constexpr const char* kExternalBytes = "external <a:item amount=\"100\">Hello</a:item>\r\n";
constexpr const char* kRoot = "<doc xmlns:b=\"urn:b\" xmlns:u=\"urn:unused\" b:x=\"1\">";
// Canonical XML 1.1 gives the fragment and SignedInfo the joined base
// "http://example.org/dir/other/", the language and the space, not the xml:id.
constexpr const char* kContextStart = "<doc xml:base=\"http://example.org/dir/\" xml:lang=\"en\" xml:id=\"top\">"
                                      "<wrap xml:base=\"sub/../other/\" xml:space=\"preserve\">";
constexpr const char* kContextEnd = "</wrap></doc>";

std::string c14nElement(const char* tag, const std::string& algorithm) {
    const bool exclusive = algorithm.find("exc-c14n") != std::string::npos;
    if (!exclusive)
        return "<" + std::string(tag) + " Algorithm=\"" + algorithm + "\"/>";
    // The prefix list makes the root's b: declaration part of the output.
    return "<" + std::string(tag) + " Algorithm=\"" + algorithm + "\"><ec:InclusiveNamespaces xmlns:ec=\"" + kExc +
           "\" PrefixList=\"b #default\"/></" + tag + ">";
}

std::string signatureTemplate(const InteropCase& c, const std::string& references, const std::string& object = "") {
    const bool comments = std::string(c.signedInfoC14n).find("omments") != std::string::npos;
    std::string keyInfo;
    if (c.keyUse == KeyUse::X509)
        keyInfo = "<KeyInfo><X509Data/></KeyInfo>";
    else if (c.keyUse == KeyUse::KeyValue)
        keyInfo = "<KeyInfo><KeyValue/></KeyInfo>";
    // Signing rewrites the method for RSA-PSS afterwards.
    const std::string method = c.method == kPss ? std::string(kRsaSha256) : c.method;
    return "<Signature xmlns=\"" + std::string(kDsigNs) + "\"><SignedInfo>" +
           c14nElement("CanonicalizationMethod", c.signedInfoC14n) + (comments ? "<!-- signed note -->" : "") +
           "<SignatureMethod Algorithm=\"" + method + "\">" + c.methodParams + "</SignatureMethod>" + references +
           "</SignedInfo><SignatureValue/>" + keyInfo + object + "</Signature>";
}

std::string documentTemplate(const InteropCase& c) {
    const std::string refC14n = c.refC14n ? c.refC14n : "";
    const std::string refTransform = c.refC14n ? c14nElement("Transform", refC14n) : "";
    switch (c.layout) {
    case Layout::Enveloped:
        return kRoot + std::string(kContent) +
               signatureTemplate(c, referenceXml("", "", {std::string(kEnveloped), refTransform})) + "</doc>";
    case Layout::Enveloping:
        return signatureTemplate(c, referenceXml("#obj", "", {refTransform}),
                                 "<Object Id=\"obj\">" + std::string(kContent) + "</Object>");
    case Layout::ById:
        return kRoot + std::string("<data Id=\"d1\">") + kContent + "</data>" +
               signatureTemplate(c, referenceXml("#d1", "", {refTransform})) + "</doc>";
    case Layout::External:
        return kRoot + signatureTemplate(c, referenceXml("external.txt", "", {})) + "</doc>";
    case Layout::ThreeRefs:
        return kRoot + std::string("<data Id=\"d1\">") + kContent + "</data>" +
               signatureTemplate(c, referenceXml("external.txt", "", {}) + referenceXml("#d1", "", {refTransform}) +
                                        referenceXml("", "", {std::string(kEnveloped)})) +
               "</doc>";
    case Layout::InContext:
        return kContextStart + std::string("<data Id=\"d1\">") + kContent + "</data>" +
               signatureTemplate(c, referenceXml("#d1", "", {refTransform})) + kContextEnd;
    }
    return {};
}

// One signed document per case, made on first use. Key pairs are shared by
// the cases of one process.
class XmlsecInterop : public ::testing::TestWithParam<InteropCase> {
protected:
    static void SetUpTestSuite() {
        dir = std::make_unique<TempDir>();
        keys = std::make_unique<Workshop>();
    }

    // The key (name.key), its self-signed certificate (name.pem) and public
    // key (name.pub.pem), made on first use.
    static std::string keyFiles(const std::string& key) {
        if (!fs::exists(keys->pemPath(key))) {
            const std::string kind = key == "ec256"                         ? "ec:P-256"
                                     : key == "ec384"                       ? "ec:P-384"
                                     : key == "dsa1024" || key == "dsa2048" ? "dsa:" + key.substr(3)
                                                                            : "rsa";
            EXPECT_TRUE(keys->make(key, Workshop::Request("/CN=" + key).key(kind)));
        }
        return (keys->dir() / key).string();
    }

    static fs::path caseDir(const InteropCase& c) { return dir->path() / c.name; }

    // Signs the case's document (once) and returns its text.
    static std::string signedDocument(const InteropCase& c) {
        auto found = cache.find(c.name);
        if (found != cache.end())
            return found->second;
        const fs::path d = caseDir(c);
        fs::create_directories(d);
        writeFile(d / "external.txt", kExternalBytes);
        writeFile(d / "hmac.key", "interop secret");
        std::string args;
        if (c.keyUse == KeyUse::Hmac) {
            args = "--hmackey hmac.key";
        } else {
            const std::string base = keyFiles(c.key == std::string("rsa-pss") ? "rsa" : c.key);
            args = "--privkey-pem " + shellQuote(base + ".key" + (c.keyUse == KeyUse::X509 ? "," + base + ".pem" : ""));
        }
        if (c.layout == Layout::ById || c.layout == Layout::ThreeRefs || c.layout == Layout::InContext)
            args += " --id-attr:Id data";
        std::string diagnostics;
        std::string doc = xmlsecSign(d, documentTemplate(c), args + " --store-signatures", &diagnostics);
        EXPECT_FALSE(doc.empty()) << diagnostics;
        if (c.key == std::string("rsa-pss") && !doc.empty())
            doc = resignWithPss(c, doc, diagnostics);
        cache[c.name] = doc;
        return doc;
    }

    // Rewrites the method to RSA-PSS and signs the canonical SignedInfo that
    // xmlsec1 printed with the openssl command.
    static std::string resignWithPss(const InteropCase& c, std::string doc, const std::string& diagnostics) {
        const std::string signedInfo = replaced(preSignedData(diagnostics), kRsaSha256, kPss);
        doc = replaced(doc, kRsaSha256, kPss);
        const fs::path d = caseDir(c);
        writeFile(d / "signedinfo.c14n", signedInfo);
        const ProcessResult sig = runProcess(
            "(cd " + shellQuote(d.string()) + " && openssl dgst -sha256 -sign " + shellQuote(keyFiles("rsa") + ".key") +
            " -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32 -sigopt rsa_mgf1_md:sha256 signedinfo.c14n "
            "| base64 -w0)");
        EXPECT_EQ(sig.exitCode, 0) << sig.err;
        return withSignatureValue(doc, sig.out);
    }

    // A verifier loaded with `doc` and given the case's key material.
    static std::unique_ptr<ClsXmlDSig> verifier(const InteropCase& c, const std::string& doc, int selector = 0) {
        auto dsig = std::make_unique<ClsXmlDSig>();
        EXPECT_TRUE(loadXml(*dsig, doc)) << dsig->lastErrorText();
        dsig->put_Selector(selector);
        XString dirs(caseDir(c).string());
        dsig->put_ExternalRefDirs(dirs);
        if (c.keyUse == KeyUse::Hmac) {
            XString key("interop secret"), encoding("ascii");
            EXPECT_TRUE(dsig->SetHmacKey(key, encoding));
        } else if (c.keyUse == KeyUse::Explicit) {
            EXPECT_TRUE(
                usePublicKeyFile(*dsig, keyFiles(c.key == std::string("rsa-pss") ? "rsa" : c.key) + ".pub.pem"));
        }
        return dsig;
    }

    static inline std::unique_ptr<TempDir> dir;
    static inline std::unique_ptr<Workshop> keys;
    static inline std::map<std::string, std::string> cache;
};

TEST_P(XmlsecInterop, VerifiesAndEveryTamperIsCaught) {
    const InteropCase& c = GetParam();
    const std::string doc = signedDocument(c);
    ASSERT_FALSE(doc.empty());
    {
        auto dsig = verifier(c, doc);
        EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
        EXPECT_EQ(dsig->get_RefFailReason(), 0);
        EXPECT_EQ(dsig->report().signer.signatureMethod, c.method == kPss ? kPss : c.method);
    }

    // External data lives in a file of its own; everything else in the
    // document.
    const bool contentOutside = c.layout == Layout::External;
    const std::string lastDigest = "<DigestValue>";
    const size_t digestAt = doc.rfind(lastDigest) + lastDigest.size();
    const size_t valueAt = doc.find("<SignatureValue>") + 16;
    const size_t valueTamperAt = valueAt + std::min<size_t>(20, (doc.find("</SignatureValue>") - valueAt) / 2);
    std::string digestTampered = doc, valueTampered = doc;
    digestTampered[digestAt + 3] = digestTampered[digestAt + 3] == 'A' ? 'B' : 'A';
    valueTampered[valueTamperAt] = valueTampered[valueTamperAt] == 'A' ? 'B' : 'A';
    const int numRefs = c.layout == Layout::ThreeRefs ? 3 : 1;
    // Which references a change of the signed content breaks: for three
    // references, the #d1 fragment and the whole document.
    const std::vector<int> contentRefs = numRefs == 3 ? std::vector<int>{1, 2} : std::vector<int>{0};

    struct Tamper {
        const char* what;
        std::string doc;
        std::string external;
        std::vector<int> failedRefs;
        int reason;
        bool valueStillVerifies;
    };
    const std::vector<Tamper> tampers = {
        {"content byte", contentOutside ? doc : replaced(doc, ">Hello<", ">Hellp<"),
         contentOutside ? replaced(kExternalBytes, "Hello", "Hellp") : kExternalBytes, contentRefs, 1, true},
        {"attribute", contentOutside ? doc : replaced(doc, "amount=\"100\"", "amount=\"900\""),
         contentOutside ? replaced(kExternalBytes, "\"100\"", "\"900\"") : kExternalBytes, contentRefs, 1, true},
        {"last DigestValue", digestTampered, kExternalBytes, {numRefs - 1}, 1, false},
        {"SignatureValue", valueTampered, kExternalBytes, {}, 0, false},
    };
    for (const Tamper& t : tampers) {
        SCOPED_TRACE(t.what);
        writeFile(caseDir(c) / "external.txt", t.external);
        auto dsig = verifier(c, t.doc);
        EXPECT_FALSE(dsig->VerifySignature(true));
        EXPECT_EQ(dsig->get_RefFailReason(), t.reason) << dsig->lastErrorText();
        EXPECT_EQ(failedIndexes(*dsig), t.failedRefs);
        if (t.failedRefs.empty()) {
            // The key dispatch's own verdict, not an earlier failure.
            EXPECT_EQ(dsig->report().stage, VerificationStage::SignatureValue);
            EXPECT_TRUE(dsig->report().valueMismatch) << dsig->report().reason;
        }
        // The SignedInfo alone still verifies when only referenced data changed.
        EXPECT_EQ(dsig->VerifySignature(false), t.valueStillVerifies) << dsig->lastErrorText();
    }
    writeFile(caseDir(c) / "external.txt", kExternalBytes);
}

// Below max(80, half the hash) a truncated MAC is refused whatever its bytes
// (CVE-2009-0217); xmlsec1 signs such a document all the same.
TEST_F(XmlsecInterop, HmacTruncatedBelowTheMinimumIsRefused) {
    const InteropCase below = {"HmacSha256Truncated80",
                               "hmac",
                               "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256",
                               kInc.c_str(),
                               kInc.c_str(),
                               Layout::Enveloping,
                               KeyUse::Hmac,
                               "<HMACOutputLength>80</HMACOutputLength>"};
    const std::string truncated = signedDocument(below);
    ASSERT_FALSE(truncated.empty());
    // The same declaration over the whole MAC: the declaration is refused,
    // not the value's length.
    const std::string doc = replaced(truncated, "<SignedInfo", "<SignedInfo Id=\"si\"");
    auto canonicalizer = verifier(below, doc);
    XString xml(doc), id("si"), version("c14n"), prefixes, canonical;
    ASSERT_TRUE(canonicalizer->CanonicalizeFragment(xml, id, version, prefixes, false, canonical));
    const std::string secret = "interop secret";
    unsigned char mac[EVP_MAX_MD_SIZE];
    unsigned macLength = 0;
    HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
         reinterpret_cast<const unsigned char*>(canonical.getUtf8()), canonical.getSizeUtf8(), mac, &macLength);
    const std::string fullMac = base64Of(std::string_view(reinterpret_cast<const char*>(mac), macLength));

    for (const std::string& value : {truncated, withSignatureValue(doc, fullMac)}) {
        auto dsig = verifier(below, value);
        EXPECT_FALSE(dsig->VerifySignature(true));
        EXPECT_EQ(dsig->report().stage, VerificationStage::SignatureValue);
        EXPECT_EQ(dsig->report().reason, "HMAC output length below the allowed minimum");
        EXPECT_FALSE(dsig->report().valueMismatch);
    }
}

// What Canonical XML 1.1 signs of a fragment's ancestors: their joined base,
// language and space, but not their xml:id.
TEST_F(XmlsecInterop, AncestorXmlAttributesSignedAsC14n11Says) {
    const std::pair<const char*, const char*> signedChanges[] = {
        {"xml:base=\"sub/../other/\"", "xml:base=\"sub/../others/\""},
        {"xml:base=\"http://example.org/dir/\"", "xml:base=\"http://example.org/dir2/\""},
        {"xml:lang=\"en\"", "xml:lang=\"de\""},
        {"xml:space=\"preserve\"", "xml:space=\"default\""},
    };
    int checked = 0;
    for (const InteropCase& c : kCases) {
        // Only a fragment in context has xml:* attributes around it.
        if (c.layout != Layout::InContext)
            continue;
        SCOPED_TRACE(c.name);
        const std::string doc = signedDocument(c);
        ASSERT_FALSE(doc.empty());
        for (const auto& [from, to] : signedChanges) {
            SCOPED_TRACE(to);
            auto dsig = verifier(c, replaced(doc, from, to));
            EXPECT_FALSE(dsig->VerifySignature(true));
            EXPECT_EQ(failedIndexes(*dsig), std::vector<int>{0});
            EXPECT_FALSE(dsig->VerifySignature(false));
        }
        auto dsig = verifier(c, replaced(doc, "xml:id=\"top\"", "xml:id=\"other\""));
        EXPECT_TRUE(dsig->VerifySignature(true)) << dsig->lastErrorText();
        ++checked;
    }
    EXPECT_GT(checked, 0);
}

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const InteropCase& c, std::ostream* os) {
    *os << c.name;
}

INSTANTIATE_TEST_SUITE_P(Signers, XmlsecInterop, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
