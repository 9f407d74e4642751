// Documents signed at test time by the JDK's XML-DSig with RSASSA-PSS and
// RSAPSSParams (the "#rsa-pss" method URI) verify with the key of their
// KeyValue, and every tampered variant fails.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// Signs an enveloped document per (file, digest, MGF1 digest, salt length)
// quadruple of its arguments, each with a fresh RSA key given as KeyValue.
// The JDK writes only the RSAPSSParams children that differ from RFC 6931's
// defaults, and no RSAPSSParams at all when none does.
constexpr const char* kSigner = R"(
import java.io.*;
import java.security.*;
import java.security.spec.*;
import java.util.List;
import javax.xml.crypto.dsig.*;
import javax.xml.crypto.dsig.dom.DOMSignContext;
import javax.xml.crypto.dsig.keyinfo.KeyInfoFactory;
import javax.xml.crypto.dsig.spec.*;
import javax.xml.parsers.DocumentBuilderFactory;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;
import org.w3c.dom.Document;

public class PssSigner {
    public static void main(String[] args) throws Exception {
        XMLSignatureFactory f = XMLSignatureFactory.getInstance("DOM");
        KeyPairGenerator gen = KeyPairGenerator.getInstance("RSA");
        gen.initialize(2048);
        for (int i = 0; i + 3 < args.length; i += 4) {
            KeyPair pair = gen.generateKeyPair();
            PSSParameterSpec pss = new PSSParameterSpec(args[i + 1], "MGF1",
                new MGF1ParameterSpec(args[i + 2]), Integer.parseInt(args[i + 3]), 1);
            Reference ref = f.newReference("", f.newDigestMethod(DigestMethod.SHA256, null),
                List.of(f.newTransform(Transform.ENVELOPED, (TransformParameterSpec) null)), null, null);
            SignedInfo si = f.newSignedInfo(
                f.newCanonicalizationMethod(CanonicalizationMethod.EXCLUSIVE, (C14NMethodParameterSpec) null),
                f.newSignatureMethod(SignatureMethod.RSA_PSS, new RSAPSSParameterSpec(pss)), List.of(ref));
            KeyInfoFactory kif = f.getKeyInfoFactory();
            DocumentBuilderFactory dbf = DocumentBuilderFactory.newInstance();
            dbf.setNamespaceAware(true);
            Document doc = dbf.newDocumentBuilder().parse(new ByteArrayInputStream(
                "<doc><item amount=\"100\">Hello</item></doc>".getBytes("UTF-8")));
            f.newXMLSignature(si, kif.newKeyInfo(List.of(kif.newKeyValue(pair.getPublic()))))
                .sign(new DOMSignContext(pair.getPrivate(), doc.getDocumentElement()));
            TransformerFactory.newInstance().newTransformer().transform(
                new DOMSource(doc), new StreamResult(new File(args[i])));
        }
    }
}
)";

struct PssCase {
    const char* name;
    const char* digest;
    const char* mgf1Digest;
    int saltLength;
    const char* paramsWritten; // a child RSAPSSParams must carry, or "" for none
};

const PssCase kCases[] = {
    {"defaults", "SHA-256", "SHA-256", 32, ""},
    {"sha384", "SHA-384", "SHA-384", 48, "#sha384"},
    {"sha512-mgf1-sha256-salt20", "SHA-512", "SHA-256", 20, "<pss:SaltLength>20</pss:SaltLength>"},
};

class JdkPss : public ::testing::Test {
protected:
    // Compiles the signer and signs every case once for the suite.
    static void SetUpTestSuite() {
        dir = std::make_unique<TempDir>();
        writeFile(dir->path() / "PssSigner.java", kSigner);
        std::string args;
        for (const PssCase& c : kCases)
            args += std::string(" ") + c.name + ".xml " + c.digest + " " + c.mgf1Digest + " " +
                    std::to_string(c.saltLength);
        const ProcessResult r = runProcess("(cd " + shellQuote(dir->path().string()) +
                                           " && javac -d . PssSigner.java && java -cp . PssSigner" + args + ")");
        signerError = r.exitCode == 0 ? "" : r.out + r.err;
    }
    static void TearDownTestSuite() { dir.reset(); }

    void SetUp() override { ASSERT_EQ(signerError, "") << "the JDK signer failed"; }

    static std::string document(const PssCase& c) { return readFile(dir->path() / (std::string(c.name) + ".xml")); }

    // The report's stage, reason and signer algorithm.
    struct Outcome {
        VerificationStage stage = VerificationStage::None;
        std::string reason, algorithm;
        KeySource source = KeySource::None;
    };
    static bool verifies(const std::string& doc, Outcome* out = nullptr) {
        ClsXmlDSig dsig;
        EXPECT_TRUE(loadXml(dsig, doc));
        const bool valid = dsig.VerifySignature(true);
        if (out) {
            const VerificationReport& r = dsig.report();
            *out = {r.stage, r.reason, r.signer.algorithmName(), r.signer.source};
        }
        return valid;
    }

    static std::unique_ptr<TempDir> dir;
    static std::string signerError;
};

std::unique_ptr<TempDir> JdkPss::dir;
std::string JdkPss::signerError;

// The content, the signature value, and each parameter the signer wrote.
std::vector<std::string> tamperedVariants(const std::string& doc) {
    const size_t valueAt = doc.find("SignatureValue>") + 30;
    std::string value = doc;
    value[valueAt] = value[valueAt] == 'A' ? 'B' : 'A';
    std::vector<std::string> out = {replaced(doc, ">Hello<", ">Hellp<"), replaced(doc, "\"100\"", "\"900\""), value};
    if (doc.find("#sha384\"") != std::string::npos)
        out.push_back(replaced(doc, "#sha384\"", "#sha512\""));
    if (doc.find(">20<") != std::string::npos)
        out.push_back(replaced(doc, ">20<", ">21<"));
    const size_t mgf = doc.find("MaskGenerationFunction");
    if (mgf != std::string::npos)
        out.push_back(replaced(doc, "xmlenc#sha256", "xmldsig-more#sha384", mgf));
    return out;
}

} // namespace

TEST_F(JdkPss, SignedWithParametersVerifiesAndEveryTamperFails) {
    for (const PssCase& c : kCases) {
        SCOPED_TRACE(c.name);
        const std::string doc = document(c);
        ASSERT_NE(doc.find("xmldsig-more#rsa-pss"), std::string::npos) << doc;
        EXPECT_EQ(doc.find("RSAPSSParams") != std::string::npos, *c.paramsWritten != '\0') << doc;
        EXPECT_NE(doc.find(c.paramsWritten), std::string::npos) << doc;
        Outcome report;
        EXPECT_TRUE(verifies(doc, &report)) << report.reason;
        EXPECT_EQ(report.algorithm, "rsa-pss");
        EXPECT_EQ(report.source, KeySource::KeyValue);
        for (const std::string& tampered : tamperedVariants(doc))
            EXPECT_FALSE(verifies(tampered)) << tampered;
    }
}

// Only the 0xBC trailer exists; another one, or a hash the PSS primitive
// lacks, is refused before any key is tried.
TEST_F(JdkPss, UnverifiableParametersAreRefused) {
    const std::string doc = document(kCases[2]);
    const std::string params = "<pss:SaltLength>20</pss:SaltLength>";
    const std::pair<std::string, const char*> refusals[] = {
        {params + "<pss:TrailerField>2</pss:TrailerField>", "Only TrailerField 1 is defined for RSASSA-PSS."},
        {params + "<pss:TrailerField>one</pss:TrailerField>", "must be non-negative numbers"},
        {"<pss:SaltLength>-20</pss:SaltLength>", "must be non-negative numbers"},
    };
    for (const auto& [edit, reason] : refusals) {
        Outcome report;
        EXPECT_FALSE(verifies(replaced(doc, params, edit), &report)) << edit;
        EXPECT_EQ(report.stage, VerificationStage::SignedInfo);
        EXPECT_NE(report.reason.find(reason), std::string::npos) << report.reason;
    }
    Outcome report;
    EXPECT_FALSE(verifies(replaced(doc, "xmlenc#sha512", "xmldsig-more#md2"), &report));
    EXPECT_EQ(report.stage, VerificationStage::SignedInfo);
    EXPECT_EQ(report.reason, "Unsupported DigestMethod in RSAPSSParams.");
}
