// Signatures made at test time by the JDK, one per digest and signature
// method URI, verify with the signer's key; each tampered twin (content,
// value, digest or method URI, context string, RSASSA-PSS parameter) fails.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace {

using namespace test_support;

// Fills an enveloping document's digest and value. Its SignedInfo and Object
// are written so that their canonical form (inclusive C14N) is their own text
// with the default namespace declared, which the JDK hashes and signs as
// bytes. Arguments per case: file, digest, signature algorithm, key generator
// and its parameter, then "-", "ph" or "ctx:TEXT" for EdDSA. The public key
// is written beside the file as DER. The signature algorithm "RSAPSSParams"
// has the JDK's XML-DSig sign an enveloped document with the "#rsa-pss"
// method instead, the key as KeyValue, the parameter "DIGEST/MGF1 DIGEST/SALT
// LENGTH": it writes only the RSAPSSParams children that differ from RFC
// 6931's defaults.
constexpr const char* kSigner = R"(
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.security.*;
import java.security.spec.*;
import java.util.Base64;
import java.util.List;
import javax.crypto.Mac;
import javax.crypto.spec.SecretKeySpec;
import javax.xml.crypto.dsig.*;
import javax.xml.crypto.dsig.dom.DOMSignContext;
import javax.xml.crypto.dsig.keyinfo.KeyInfoFactory;
import javax.xml.crypto.dsig.spec.*;
import javax.xml.parsers.DocumentBuilderFactory;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;
import org.w3c.dom.Document;

public class AlgorithmSigner {
    static final String NS = " xmlns=\"http://www.w3.org/2000/09/xmldsig#\"";

    static String canonical(String doc, String tag) {
        int start = doc.indexOf("<" + tag), end = doc.indexOf("</" + tag + ">") + tag.length() + 3;
        return "<" + tag + NS + doc.substring(start + tag.length() + 1, end);
    }

    static void signPss(String file, String[] p) throws Exception {
        XMLSignatureFactory f = XMLSignatureFactory.getInstance("DOM");
        KeyPairGenerator gen = KeyPairGenerator.getInstance("RSA");
        gen.initialize(2048);
        KeyPair pair = gen.generateKeyPair();
        PSSParameterSpec pss = new PSSParameterSpec(p[0], "MGF1", new MGF1ParameterSpec(p[1]),
            Integer.parseInt(p[2]), 1);
        Reference ref = f.newReference("", f.newDigestMethod(DigestMethod.SHA256, null),
            List.of(f.newTransform(Transform.ENVELOPED, (TransformParameterSpec) null)), null, null);
        SignedInfo si = f.newSignedInfo(
            f.newCanonicalizationMethod(CanonicalizationMethod.EXCLUSIVE, (C14NMethodParameterSpec) null),
            f.newSignatureMethod(SignatureMethod.RSA_PSS, new RSAPSSParameterSpec(pss)), List.of(ref));
        KeyInfoFactory kif = f.getKeyInfoFactory();
        DocumentBuilderFactory dbf = DocumentBuilderFactory.newInstance();
        dbf.setNamespaceAware(true);
        Document doc = dbf.newDocumentBuilder().parse(new java.io.ByteArrayInputStream(
            "<doc><item amount=\"100\">Hello</item></doc>".getBytes("UTF-8")));
        f.newXMLSignature(si, kif.newKeyInfo(List.of(kif.newKeyValue(pair.getPublic()))))
            .sign(new DOMSignContext(pair.getPrivate(), doc.getDocumentElement()));
        TransformerFactory.newInstance().newTransformer().transform(
            new DOMSource(doc), new StreamResult(new java.io.File(file)));
    }

    public static void main(String[] args) throws Exception {
        for (int i = 0; i + 5 < args.length; i += 6) {
            if (args[i + 2].equals("RSAPSSParams")) {
                signPss(args[i], args[i + 4].split("/"));
                continue;
            }
            Path file = Paths.get(args[i]);
            String doc = Files.readString(file);
            byte[] object = canonical(doc, "Object").getBytes(StandardCharsets.UTF_8);
            doc = doc.replace("@DIGEST@", Base64.getEncoder().encodeToString(
                MessageDigest.getInstance(args[i + 1]).digest(object)));
            byte[] signedInfo = canonical(doc, "SignedInfo").getBytes(StandardCharsets.UTF_8);
            byte[] value;
            if (args[i + 2].startsWith("Hmac")) {
                Mac mac = Mac.getInstance(args[i + 2]);
                mac.init(new SecretKeySpec("secret-of-the-test".getBytes(StandardCharsets.UTF_8), args[i + 2]));
                value = mac.doFinal(signedInfo);
            } else {
                KeyPairGenerator gen = KeyPairGenerator.getInstance(args[i + 3]);
                if (args[i + 3].equals("EC"))
                    gen.initialize(new ECGenParameterSpec(args[i + 4]));
                else if (args[i + 3].equals("RSA"))
                    gen.initialize(2048);
                KeyPair pair = gen.generateKeyPair();
                Signature sig = Signature.getInstance(args[i + 2]);
                String variant = args[i + 5];
                if (args[i + 2].equals("RSASSA-PSS")) {
                    String hash = args[i + 4];
                    sig.setParameter(new PSSParameterSpec(hash, "MGF1", new MGF1ParameterSpec(hash),
                        MessageDigest.getInstance(hash).getDigestLength(), 1));
                } else if (variant.equals("ph") || variant.startsWith("ctx:")) {
                    byte[] context = variant.startsWith("ctx:")
                        ? variant.substring(4).getBytes(StandardCharsets.UTF_8) : null;
                    boolean prehash = variant.equals("ph");
                    sig.setParameter(context == null ? new EdDSAParameterSpec(prehash)
                                                     : new EdDSAParameterSpec(prehash, context));
                }
                sig.initSign(pair.getPrivate());
                sig.update(signedInfo);
                value = sig.sign();
                Files.write(Paths.get(args[i] + ".der"), pair.getPublic().getEncoded());
            }
            Files.writeString(file, doc.replace("@VALUE@", Base64.getEncoder().encodeToString(value)));
        }
    }
}
)";

constexpr std::string_view kMore = "http://www.w3.org/2001/04/xmldsig-more#";
constexpr std::string_view kMore07 = "http://www.w3.org/2007/05/xmldsig-more#";
constexpr std::string_view kMore21 = "http://www.w3.org/2021/04/xmldsig-more#";
constexpr const char* kHmacSecret = "secret-of-the-test";

using Twins = std::vector<std::pair<std::string, std::string>>;

struct AlgorithmCase {
    const char* name;
    std::string digestUri;
    const char* jdkDigest;
    std::string methodUri;
    const char* jdkSignature;
    const char* keyGenerator;
    const char* keyParameter;
    const char* variant; // "-", "ph" or "ctx:..."
    std::string methodChildren;
    const char* reportedAlgorithm;
    Twins twins = {}; // more tampered twins: a text of the signed document and what it becomes
};

std::string s(std::string_view a, std::string_view b) {
    return std::string(a) + std::string(b);
}

const std::vector<AlgorithmCase>& cases() {
    static const std::string context = "<EdDSAContextString>YSBjb250ZXh0</EdDSAContextString>";
    static const Twins contextTwin = {{"YSBjb250ZXh0", "YSBjb250ZXh1"}};
    static const std::string pss = s(kMore07, "rsa-pss");
    static const std::string sha256 = std::string(kSha256);
    static const std::vector<AlgorithmCase> all = {
        {"rsa-sha224", s(kMore, "sha224"), "SHA-224", s(kMore, "rsa-sha224"), "SHA224withRSA", "RSA", "-", "-", "",
         "rsa-sha224"},
        {"rsa-sha3-256", s(kMore07, "sha3-256"), "SHA3-256", s(kMore21, "rsa-sha3-256"), "SHA3-256withRSA", "RSA", "-",
         "-", "", "rsa-sha3-256"},
        {"pss-sha3-384", s(kMore07, "sha3-384"), "SHA3-384", s(kMore07, "sha3-384-rsa-MGF1"), "RSASSA-PSS", "RSA",
         "SHA3-384", "-", "", "sha3-384-rsa-MGF1"},
        {"pss-sha224", s(kMore07, "sha3-224"), "SHA3-224", s(kMore07, "sha224-rsa-MGF1"), "RSASSA-PSS", "RSA",
         "SHA-224", "-", "", "sha224-rsa-MGF1"},
        {"pss-defaults", sha256, "-", pss, "RSAPSSParams", "RSA", "SHA-256/SHA-256/32", "-", "", "rsa-pss"},
        {"pss-sha384",
         sha256,
         "-",
         pss,
         "RSAPSSParams",
         "RSA",
         "SHA-384/SHA-384/48",
         "-",
         "",
         "rsa-pss",
         {{"more#sha384\"", "more#sha512\""}}},
        {"pss-sha512-mgf1-sha256-salt20",
         sha256,
         "-",
         pss,
         "RSAPSSParams",
         "RSA",
         "SHA-512/SHA-256/20",
         "-",
         "",
         "rsa-pss",
         {{">20<", ">21<"},
          {"MGF1\"><DigestMethod Algorithm=\"" + sha256, "MGF1\"><DigestMethod Algorithm=\"" + s(kMore, "sha384")}}},
        {"p256-sha224", s(kMore, "sha224"), "SHA-224", s(kMore, "ecdsa-sha224"), "SHA224withECDSAinP1363Format", "EC",
         "secp256r1", "-", "", "ecdsa-sha224"},
        {"p384-sha3-512", s(kMore07, "sha3-512"), "SHA3-512", s(kMore21, "ecdsa-sha3-512"),
         "SHA3-512withECDSAinP1363Format", "EC", "secp384r1", "-", "", "ecdsa-sha3-512"},
        {"p521-sha3-256", s(kMore07, "sha3-256"), "SHA3-256", s(kMore21, "ecdsa-sha3-256"),
         "SHA3-256withECDSAinP1363Format", "EC", "secp521r1", "-", "", "ecdsa-sha3-256"},
        {"hmac-sha224", s(kMore, "sha224"), "SHA-224", s(kMore, "hmac-sha224"), "HmacSHA224", "-", "-", "-", "",
         "hmac-sha224"},
        {"ed25519", s(kMore07, "sha3-256"), "SHA3-256", s(kMore21, "eddsa-ed25519"), "Ed25519", "Ed25519", "-", "-", "",
         "eddsa-ed25519"},
        {"ed25519ph", s(kMore07, "sha3-256"), "SHA3-256", s(kMore21, "eddsa-ed25519ph"), "Ed25519", "Ed25519", "-",
         "ph", "", "eddsa-ed25519ph"},
        {"ed25519ctx", s(kMore07, "sha3-256"), "SHA3-256", s(kMore21, "eddsa-ed25519ctx"), "Ed25519", "Ed25519", "-",
         "ctx:a context", context, "eddsa-ed25519ctx", contextTwin},
        {"ed448", s(kMore07, "sha3-512"), "SHA3-512", s(kMore21, "eddsa-ed448"), "Ed448", "Ed448", "-", "-", "",
         "eddsa-ed448"},
        {"ed448-context", s(kMore07, "sha3-512"), "SHA3-512", s(kMore21, "eddsa-ed448"), "Ed448", "Ed448", "-",
         "ctx:a context", context, "eddsa-ed448", contextTwin},
        {"ed448ph", s(kMore07, "sha3-512"), "SHA3-512", s(kMore21, "eddsa-ed448ph"), "Ed448", "Ed448", "-", "ph", "",
         "eddsa-ed448ph"},
    };
    return all;
}

std::string documentTemplate(const AlgorithmCase& c) {
    return std::string("<Signature xmlns=\"") + std::string(kDsigNs) +
           "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" + std::string(kC14n) +
           "\"></CanonicalizationMethod><SignatureMethod Algorithm=\"" + c.methodUri + "\">" + c.methodChildren +
           "</SignatureMethod><Reference URI=\"#obj\"><DigestMethod Algorithm=\"" + c.digestUri +
           "\"></DigestMethod><DigestValue>@DIGEST@</DigestValue></Reference></SignedInfo><SignatureValue>@VALUE@"
           "</SignatureValue><Object Id=\"obj\">Hello</Object></Signature>";
}

// What verifying a document gave.
struct Outcome {
    bool valid = false;
    VerificationStage stage = VerificationStage::None;
    std::string reason, algorithm;
    KeySource source = KeySource::None;
};

class JdkAlgorithm : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        writeFile(dir.path() / "AlgorithmSigner.java", kSigner);
        std::string ordered;
        for (const AlgorithmCase& c : cases()) {
            writeFile(dir.path() / (std::string(c.name) + ".xml"), documentTemplate(c));
            ordered += " " + std::string(c.name) + ".xml";
            for (const char* arg : {c.jdkDigest, c.jdkSignature, c.keyGenerator, c.keyParameter, c.variant})
                ordered += " " + shellQuote(arg);
        }
        const ProcessResult r =
            runProcess("(cd " + shellQuote(dir.path().string()) +
                       " && javac -d . AlgorithmSigner.java && java -cp . AlgorithmSigner" + ordered + ")");
        signerError = r.exitCode == 0 ? "" : r.out + r.err;
    }

    void SetUp() override { ASSERT_EQ(signerError, "") << "the JDK signer failed"; }

    static std::string document(const AlgorithmCase& c) {
        return readFile(dir.path() / (std::string(c.name) + ".xml"));
    }

    // With the HMAC secret, the key the JDK wrote beside the document, or
    // the document's own KeyValue.
    static Outcome verify(const AlgorithmCase& c, const std::string& doc) {
        ClsXmlDSig dsig;
        EXPECT_TRUE(loadXml(dsig, doc));
        if (std::string(c.keyGenerator) == "-") {
            useHmacSecret(dsig, kHmacSecret);
        } else if (doc.find("<KeyValue>") == std::string::npos) {
            EXPECT_TRUE(usePublicKeyFile(dsig, (dir.path() / (std::string(c.name) + ".xml.der")).string()));
        }
        const bool valid = dsig.VerifySignature(true);
        const VerificationReport& r = dsig.report();
        return {valid, r.stage, r.reason, r.signer.algorithmName(), r.signer.source};
    }

    static inline TempDir dir;
    static inline std::string signerError;
};

// The content, one byte of the value, the reference's digest read as another
// hash, the method read as another form, and the case's own.
std::vector<std::string> tamperedTwins(const AlgorithmCase& c, const std::string& doc) {
    const size_t valueAt = doc.find("<SignatureValue>") + 20;
    std::string value = doc;
    value[valueAt] = value[valueAt] == 'A' ? 'B' : 'A';
    std::vector<std::string> out = {replaced(doc, ">Hello<", ">Hellp<"), value};
    const bool sha3 = c.digestUri.find("sha3-") != std::string::npos;
    out.push_back(replaced(doc, c.digestUri, sha3 ? replaced(c.digestUri, "sha3-", "sha") : c.digestUri + "x",
                           doc.find("<Reference")));
    if (c.methodUri.find("eddsa") != std::string::npos) {
        // The prehash form for the others, the plain one for the prehash forms.
        std::string other = c.methodUri;
        if (other.ends_with("ph")) {
            other.resize(other.size() - 2);
        } else {
            if (other.ends_with("ctx"))
                other.resize(other.size() - 3);
            other += "ph";
        }
        out.push_back(replaced(doc, "Algorithm=\"" + c.methodUri + "\"", "Algorithm=\"" + other + "\""));
    }
    for (const auto& [from, to] : c.twins)
        out.push_back(replaced(doc, from, to));
    return out;
}

TEST_F(JdkAlgorithm, EachMethodAndDigestVerifiesAndItsTamperedTwinsDoNot) {
    for (const AlgorithmCase& c : cases()) {
        SCOPED_TRACE(c.name);
        const std::string doc = document(c);
        ASSERT_EQ(doc.find('@'), std::string::npos) << doc;
        const Outcome o = verify(c, doc);
        EXPECT_TRUE(o.valid) << o.reason << "\n" << doc;
        EXPECT_EQ(o.algorithm, c.reportedAlgorithm);
        if (doc.find("<KeyValue>") != std::string::npos) {
            EXPECT_EQ(o.source, KeySource::KeyValue);
        }
        for (const std::string& tampered : tamperedTwins(c, doc)) {
            const Outcome t = verify(c, tampered);
            EXPECT_FALSE(t.valid) << tampered;
            EXPECT_GE(t.stage, VerificationStage::References) << t.reason;
        }
    }
}

// Methods OpenSSL 3.0 cannot verify, forms RFC 9231 does not define, and
// RSASSA-PSS parameters that cannot be verified (only the 0xBC trailer
// exists; a hash the PSS primitive lacks) are refused by name before any key
// is tried, never read as another algorithm.
TEST_F(JdkAlgorithm, UnverifiableMethodsAndParametersAreRefused) {
    const std::string mlDsa = "http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#ml-dsa-44";
    const std::string gost = "urn:ietf:params:xml:ns:cpxmlsec:algorithms:gostr34102012-gostr34112012-256";
    const AlgorithmCase& rsa = cases().front();
    const AlgorithmCase& pss = *std::find_if(cases().begin(), cases().end(), [](const AlgorithmCase& c) {
        return std::string(c.keyParameter) == "SHA-512/SHA-256/20";
    });
    std::vector<std::tuple<const AlgorithmCase*, std::string, std::string>> refused;
    for (const std::string& method : {mlDsa, gost, s(kMore21, "eddsa-ed448ctx")}) {
        AlgorithmCase c{"", s(kMore, "sha224"), "", method, "", "", "", "", "", ""};
        refused.emplace_back(&rsa, replaced(replaced(documentTemplate(c), "@VALUE@", "AAAA"), "@DIGEST@", "AAAA"),
                             "unsupported signature method: " + method);
    }
    const std::string salted = document(pss);
    const std::string params = "<pss:SaltLength>20</pss:SaltLength>";
    const std::string negative = "SaltLength and TrailerField of RSAPSSParams must be non-negative numbers.";
    refused.emplace_back(&pss, replaced(salted, params, params + "<pss:TrailerField>2</pss:TrailerField>"),
                         "Only TrailerField 1 is defined for RSASSA-PSS.");
    refused.emplace_back(&pss, replaced(salted, params, params + "<pss:TrailerField>one</pss:TrailerField>"), negative);
    refused.emplace_back(&pss, replaced(salted, params, "<pss:SaltLength>-20</pss:SaltLength>"), negative);
    refused.emplace_back(&pss, replaced(salted, "xmlenc#sha512", "xmldsig-more#md2"),
                         "Unsupported DigestMethod in RSAPSSParams.");
    for (const auto& [c, doc, reason] : refused) {
        const Outcome o = verify(*c, doc);
        EXPECT_FALSE(o.valid) << doc;
        EXPECT_EQ(o.stage, VerificationStage::SignedInfo);
        EXPECT_EQ(o.reason, reason);
    }
}

} // namespace
