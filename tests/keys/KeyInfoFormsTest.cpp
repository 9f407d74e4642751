// A document xmlsec1 signs at test time with an EC key verifies when its
// KeyInfo leads to that key through each XML-DSig 1.1 form or indirection,
// and the report names the path; the same form leading to another key (the
// tampered twin) fails. Indirections that loop end without a key.
#include "companion/crypto/HashIds.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "support/Keys.h"
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

constexpr std::string_view kDsig11 = "http://www.w3.org/2009/xmldsig11#";
constexpr std::string_view kPlaceholder = "<KeyInfo><KeyName>placeholder</KeyName></KeyInfo>";

std::string signedTemplate() {
    return "<doc><data>Hello</data><Signature xmlns=\"" + std::string(kDsigNs) +
           "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" + std::string(kC14n) +
           "\"/><SignatureMethod Algorithm=\"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256\"/><Reference "
           "URI=\"\"><Transforms><Transform Algorithm=\"" +
           std::string(kEnveloped) + "\"/></Transforms><DigestMethod Algorithm=\"" + std::string(kSha256) +
           "\"/><DigestValue/></Reference></SignedInfo><SignatureValue/>" + std::string(kPlaceholder) +
           "</Signature></doc>";
}

std::string sha3Of(const DataBuffer& der) {
    DataBuffer digest;
    Digest::doHash(der.getData(), der.getSize(), hash_alg::kSha3_256, digest);
    StringBuffer out;
    digest.encodeDB("base64", out);
    return std::string(out.view());
}

// One form: its KeyInfo (and what it names, in an Object) for a
// certificate's name, and the path the report gives.
struct KeyForm {
    const char* name;
    std::string (*keyInfo)(const Workshop&, const std::string& cert);
    const char* path;
};

std::string certificateData(const Workshop& w, const std::string& cert, const char* id) {
    return std::string("<X509Data") + id + "><X509Certificate>" + w.base64(cert) + "</X509Certificate></X509Data>";
}

const KeyForm kForms[] = {
    {"DEREncodedKeyValue",
     [](const Workshop& w, const std::string& cert) {
         StringBuffer key;
         w.read(cert + ".pub.der").encodeDB("base64", key);
         return "<KeyInfo><DEREncodedKeyValue xmlns=\"" + std::string(kDsig11) + "\">" + std::string(key.view()) +
                "</DEREncodedKeyValue></KeyInfo>";
     },
     "DEREncodedKeyValue"},
    {"KeyInfoReference",
     [](const Workshop& w, const std::string& cert) {
         return "<KeyInfo><dsig11:KeyInfoReference xmlns:dsig11=\"" + std::string(kDsig11) +
                "\" URI=\"#ki\"/></KeyInfo><Object><KeyInfo Id=\"ki\">" + certificateData(w, cert, "") +
                "</KeyInfo></Object>";
     },
     "KeyInfoReference → X509Data"},
    {"RetrievalMethod to X509Data",
     [](const Workshop& w, const std::string& cert) {
         return "<KeyInfo><RetrievalMethod URI=\"#xd\" Type=\"" + std::string(kDsigNs) +
                "X509Data\"/></KeyInfo><Object>" + certificateData(w, cert, " Id=\"xd\"") + "</Object>";
     },
     "RetrievalMethod → X509Data"},
    {"RetrievalMethod to a raw certificate",
     [](const Workshop&, const std::string& cert) {
         return "<KeyInfo><RetrievalMethod URI=\"" + cert + ".der\" Type=\"" + std::string(kDsigNs) +
                "rawX509Certificate\"/></KeyInfo>";
     },
     "RetrievalMethod → raw X.509 certificate"},
    {"X509Digest",
     [](const Workshop& w, const std::string& cert) {
         return "<KeyInfo><X509Data><dsig11:X509Digest xmlns:dsig11=\"" + std::string(kDsig11) +
                "\" Algorithm=\"http://www.w3.org/2007/05/xmldsig-more#sha3-256\">" + sha3Of(w.der(cert)) +
                "</dsig11:X509Digest></X509Data></KeyInfo>";
     },
     "X509Digest lookup in the store"},
    {"KeyName",
     [](const Workshop&, const std::string& cert) { return "<KeyInfo><KeyName>" + cert + " key</KeyName></KeyInfo>"; },
     "KeyName lookup in the store"},
};

class KeyInfoForms : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(workshop.make("signer", Workshop::Request("/O=Forms/CN=signer key")));
        ASSERT_TRUE(workshop.make("other", Workshop::Request("/O=Forms/CN=other key")));
        std::string diagnostics;
        signedDoc = xmlsecSign(workshop.dir(), signedTemplate(), "--privkey-pem signer.key", &diagnostics);
        ASSERT_FALSE(signedDoc.empty()) << diagnostics;
    }

    // The verdict with the store holding both certificates and the workshop
    // as the external folder; `path` receives the key path reported.
    bool verifies(const std::string& keyInfo, std::string* path = nullptr) const {
        ClsXmlDSig dsig;
        EXPECT_TRUE(loadXml(dsig, replaced(signedDoc, kPlaceholder, keyInfo)));
        RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        for (const char* cert : {"signer", "other"}) {
            XString file(workshop.derPath(cert).string());
            EXPECT_TRUE(vault->AddCertFile(file));
        }
        dsig.UseCertVault(*vault);
        XString dirs(workshop.dir().string());
        dsig.put_ExternalRefDirs(dirs);
        const bool valid = dsig.VerifySignature(true);
        if (path)
            *path = dsig.report().signer.keyPath;
        return valid;
    }

    Workshop workshop;
    std::string signedDoc;
};

TEST_F(KeyInfoForms, EachFormLeadsToTheSignersKeyAndNamesItsPath) {
    for (const KeyForm& form : kForms) {
        SCOPED_TRACE(form.name);
        std::string path;
        EXPECT_TRUE(verifies(form.keyInfo(workshop, "signer"), &path));
        EXPECT_EQ(path, form.path);
        EXPECT_FALSE(verifies(form.keyInfo(workshop, "other")));
    }
}

TEST_F(KeyInfoForms, IndirectionsThatLoopOrLeaveTheFoldersFindNoKey) {
    const std::string loop = "<KeyInfo><dsig11:KeyInfoReference xmlns:dsig11=\"" + std::string(kDsig11) +
                             "\" URI=\"#a\"/></KeyInfo><Object><KeyInfo Id=\"a\"><dsig11:KeyInfoReference "
                             "xmlns:dsig11=\"" +
                             std::string(kDsig11) + "\" URI=\"#a\"/></KeyInfo></Object>";
    const std::string outside = "<KeyInfo><RetrievalMethod URI=\"../signer.der\" Type=\"" + std::string(kDsigNs) +
                                "rawX509Certificate\"/></KeyInfo>";
    const std::string wrongType = "<KeyInfo><RetrievalMethod URI=\"#xd\" Type=\"" + std::string(kDsigNs) +
                                  "RSAKeyValue\"/></KeyInfo><Object>" +
                                  certificateData(workshop, "signer", " Id=\"xd\"") + "</Object>";
    for (const std::string& keyInfo : {loop, outside, wrongType}) {
        SCOPED_TRACE(keyInfo);
        EXPECT_FALSE(verifies(keyInfo));
    }
}

} // namespace
