// A detached signature whose Reference has no URI, made at test time by an
// independent signer (lxml's exclusive C14N, python3-cryptography's RSA),
// verifies with the caller's data for that index and its transforms; other
// data, and no data, do not.
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

// Writes signature.xml (its Reference without URI, over data.xml with an
// exclusive C14N transform) and key.der. SignedInfo is written in its
// canonical form, so its text is what is signed.
constexpr const char* kSigner = R"(
import base64, hashlib, sys
from lxml import etree
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import padding, rsa

folder = sys.argv[1]
data = etree.parse(folder + "/data.xml")
digest = base64.b64encode(hashlib.sha256(etree.tostring(data, method="c14n", exclusive=True, with_comments=False)).digest()).decode()
ns = ' xmlns="http://www.w3.org/2000/09/xmldsig#"'
signed_info = ('<SignedInfo%s><CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#">'
    '</CanonicalizationMethod><SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256">'
    '</SignatureMethod><Reference><Transforms><Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#">'
    '</Transform></Transforms><DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"></DigestMethod>'
    '<DigestValue>%s</DigestValue></Reference></SignedInfo>') % (ns, digest)
key = rsa.generate_private_key(public_exponent=65537, key_size=2048)
value = base64.b64encode(key.sign(signed_info.encode(), padding.PKCS1v15(), hashes.SHA256())).decode()
with open(folder + "/signature.xml", "w") as out:
    out.write('<Signature%s>%s<SignatureValue>%s</SignatureValue></Signature>'
              % (ns, signed_info.replace(ns, "", 1), value))
with open(folder + "/key.der", "wb") as out:
    out.write(key.public_key().public_bytes(serialization.Encoding.DER,
                                            serialization.PublicFormat.SubjectPublicKeyInfo))
)";

constexpr const char* kData = "<?xml version=\"1.0\"?>\n<!-- detached -->\n<order  id='7'><item>book</item></order>\n";

TEST(CallerDataWithoutUri, TheCallersDocumentWithItsTransformsDecides) {
    TempDir dir;
    writeFile(dir.path() / "sign.py", kSigner);
    writeFile(dir.path() / "data.xml", kData);
    const ProcessResult r = runProcess("/usr/bin/python3 " + shellQuote((dir.path() / "sign.py").string()) + " " +
                                       shellQuote(dir.path().string()));
    ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
    const std::string signature = readFile(dir.path() / "signature.xml");
    ASSERT_EQ(signature.find("URI="), std::string::npos) << signature;

    const std::pair<const char*, bool> cases[] = {
        {kData, true},
        {"<order id=\"7\"><item>book</item></order>", true}, // the same canonical form
        {"<order id=\"8\"><item>book</item></order>", false},
        {"", false},
    };
    for (const auto& [data, valid] : cases) {
        SCOPED_TRACE(data);
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, signature));
        ASSERT_TRUE(usePublicKeyFile(dsig, (dir.path() / "key.der").string()));
        if (*data != '\0')
            setBytes(dsig, 0, data);
        EXPECT_EQ(dsig.VerifySignature(true), valid) << dsig.report().reason;
        EXPECT_EQ(usedAttempt(dsig, FurtherAttempt::CallerDataWithoutUri, 0), valid);
        EXPECT_EQ(failedIndexes(dsig), valid ? std::vector<int>{} : std::vector<int>{0});
    }
}

} // namespace
