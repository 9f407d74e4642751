// Enveloping signatures made at test time by the JDK's own digests, MACs and
// signatures, one per digest and signature method URI, verify with the
// signer's key; each tampered twin (content, value, digest or method URI,
// context string) fails.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_support;

// Fills a document's digest and value. Its SignedInfo and Object are written
// so that their canonical form (inclusive C14N) is their own text with the
// default namespace declared, which the JDK hashes and signs as bytes.
// Arguments per case: file, digest, signature algorithm, key generator and
// its parameter, then "-", "ph" or "ctx:TEXT" for EdDSA. The public key is
// written beside the file as DER.
constexpr const char* kSigner = R"(
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.security.*;
import java.security.spec.*;
import java.util.Base64;
import javax.crypto.Mac;
import javax.crypto.spec.SecretKeySpec;

public class AlgorithmSigner {
    static final String NS = " xmlns=\"http://www.w3.org/2000/09/xmldsig#\"";

    static String canonical(String doc, String tag) {
        int start = doc.indexOf("<" + tag), end = doc.indexOf("</" + tag + ">") + tag.length() + 3;
        return "<" + tag + NS + doc.substring(start + tag.length() + 1, end);
    }

    public static void main(String[] args) throws Exception {
        for (int i = 0; i + 5 < args.length; i += 6) {
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
};

std::string s(std::string_view a, std::string_view b) {
    return std::string(a) + std::string(b);
}

const std::vector<AlgorithmCase>& cases() {
    static const std::string context = "<EdDSAContextString>YSBjb250ZXh0</EdDSAContextString>";
    static const std::vector<AlgorithmCase> all = {
        {"rsa-sha224", s(kMore, "sha224"), "SHA-224", s(kMore, "rsa-sha224"), "SHA224withRSA", "RSA", "-", "-", "",
         "rsa-sha224"},
        {"rsa-sha3-256", s(kMore07, "sha3-256"), "SHA3-256", s(kMore21, "rsa-sha3-256"), "SHA3-256withRSA", "RSA", "-",
         "-", "", "rsa-sha3-256"},
        {"pss-sha3-384", s(kMore07, "sha3-384"), "SHA3-384", s(kMore07, "sha3-384-rsa-MGF1"), "RSASSA-PSS", "RSA",
         "SHA3-384", "-", "", "sha3-384-rsa-MGF1"},
        {"pss-sha224", s(kMore07, "sha3-224"), "SHA3-224", s(kMore07, "sha224-rsa-MGF1"), "RSASSA-PSS", "RSA",
         "SHA-224", "-", "", "sha224-rsa-MGF1"},
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
         "ctx:a context", context, "eddsa-ed25519ctx"},
        {"ed448", s(kMore07, "sha3-512"), "SHA3-512", s(kMore21, "eddsa-ed448"), "Ed448", "Ed448", "-", "-", "",
         "eddsa-ed448"},
        {"ed448-context", s(kMore07, "sha3-512"), "SHA3-512", s(kMore21, "eddsa-ed448"), "Ed448", "Ed448", "-",
         "ctx:a context", context, "eddsa-ed448"},
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

class JdkAlgorithm : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = std::make_unique<TempDir>();
        writeFile(dir->path() / "AlgorithmSigner.java", kSigner);
        for (const AlgorithmCase& c : cases())
            writeFile(dir->path() / (std::string(c.name) + ".xml"), documentTemplate(c));
        std::string ordered;
        for (const AlgorithmCase& c : cases()) {
            ordered += " " + std::string(c.name) + ".xml";
            for (const char* arg : {c.jdkDigest, c.jdkSignature, c.keyGenerator, c.keyParameter, c.variant})
                ordered += " " + shellQuote(arg);
        }
        const ProcessResult r =
            runProcess("(cd " + shellQuote(dir->path().string()) +
                       " && javac -d . AlgorithmSigner.java && java -cp . AlgorithmSigner" + ordered + ")");
        signerError = r.exitCode == 0 ? "" : r.out + r.err;
    }
    static void TearDownTestSuite() { dir.reset(); }

    void SetUp() override { ASSERT_EQ(signerError, "") << "the JDK signer failed"; }

    static bool verifies(const AlgorithmCase& c, const std::string& doc, std::string* algorithm = nullptr) {
        ClsXmlDSig dsig;
        EXPECT_TRUE(loadXml(dsig, doc));
        if (std::string(c.keyGenerator) == "-")
            useHmacSecret(dsig, kHmacSecret);
        else
            EXPECT_TRUE(usePublicKeyFile(dsig, (dir->path() / (std::string(c.name) + ".xml.der")).string()));
        const bool valid = dsig.VerifySignature(true);
        if (algorithm)
            *algorithm = dsig.report().signer.algorithmName();
        EXPECT_TRUE(valid || dsig.report().stage >= VerificationStage::References) << dsig.report().reason;
        return valid;
    }

    static std::unique_ptr<TempDir> dir;
    static std::string signerError;
};

std::unique_ptr<TempDir> JdkAlgorithm::dir;
std::string JdkAlgorithm::signerError;

// The content, one byte of the value, the digest read as another hash, the
// method read as another form, and the context string.
std::vector<std::string> tamperedTwins(const AlgorithmCase& c, const std::string& doc) {
    const size_t valueAt = doc.find("<SignatureValue>") + 20;
    std::string value = doc;
    value[valueAt] = value[valueAt] == 'A' ? 'B' : 'A';
    std::vector<std::string> out = {replaced(doc, ">Hello<", ">Hellp<"), value};
    const bool sha3 = c.digestUri.find("sha3-") != std::string::npos;
    out.push_back(replaced(doc, c.digestUri, sha3 ? replaced(c.digestUri, "sha3-", "sha") : c.digestUri + "x"));
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
    if (!c.methodChildren.empty())
        out.push_back(replaced(doc, "YSBjb250ZXh0", "YSBjb250ZXh1"));
    return out;
}

TEST_F(JdkAlgorithm, EachMethodAndDigestVerifiesAndItsTamperedTwinsDoNot) {
    for (const AlgorithmCase& c : cases()) {
        SCOPED_TRACE(c.name);
        const std::string doc = readFile(dir->path() / (std::string(c.name) + ".xml"));
        ASSERT_EQ(doc.find('@'), std::string::npos) << doc;
        std::string algorithm;
        EXPECT_TRUE(verifies(c, doc, &algorithm)) << doc;
        EXPECT_EQ(algorithm, c.reportedAlgorithm);
        for (const std::string& tampered : tamperedTwins(c, doc))
            EXPECT_FALSE(verifies(c, tampered)) << tampered;
    }
}

// Methods OpenSSL 3.0 cannot verify, and forms RFC 9231 does not define, are
// refused by name, never read as another algorithm.
TEST(AlgorithmRefusal, UnverifiableMethodsAreNamed) {
    const std::string mlDsa = "http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#ml-dsa-44";
    const std::string gost = "urn:ietf:params:xml:ns:cpxmlsec:algorithms:gostr34102012-gostr34112012-256";
    for (const std::string& method : {mlDsa, gost, s(kMore21, "eddsa-ed448ctx")}) {
        SCOPED_TRACE(method);
        ClsXmlDSig dsig;
        AlgorithmCase c{"", s(kMore, "sha224"), "", method, "", "", "", "", "", ""};
        std::string doc = replaced(replaced(documentTemplate(c), "@VALUE@", "AAAA"), "@DIGEST@", "AAAA");
        ASSERT_TRUE(loadXml(dsig, doc));
        EXPECT_FALSE(dsig.VerifySignature(true));
        EXPECT_EQ(dsig.report().stage, VerificationStage::SignedInfo);
        EXPECT_EQ(dsig.report().reason, "unsupported signature method: " + method);
    }
}

} // namespace
