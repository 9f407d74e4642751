#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertMgr.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using test_support::Workshop;
using Cert = test_support::Workshop::Request;

namespace {

// A CA, two leaves it issued (the second without a key identifier
// extension) and an unrelated self-signed certificate with the same serial.
class CertificateStoreTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_ws = std::make_unique<Workshop>();
        ASSERT_TRUE(s_ws->make("ca", Cert("/C=EE/O=Example/CN=Example CA")));
        ASSERT_TRUE(s_ws->make("leaf1", Cert("/C=EE/O=Example/OU=Signing/CN=Leaf One").serial("128").issuer("ca")));
        ASSERT_TRUE(s_ws->make(
            "leaf2", Cert("/C=EE/O=Example/CN=Leaf Two").serial("129").issuer("ca").extensions("without_ski")));
        ASSERT_TRUE(s_ws->make("other", Cert("/C=EE/O=Other/CN=Example CA").serial("128")));
    }

    void SetUp() override {
        for (const char* name : {"ca", "leaf1", "leaf2"})
            ASSERT_TRUE(m_store.addCertificate(s_ws->load(name), m_log));
    }

    std::string serialOf(const X509Certificate* cert) {
        StringBuffer serial;
        return cert && cert->get_SerialNumber(serial) ? std::string(serial.view()) : "<none>";
    }

    std::string subjectCnOf(const X509Certificate* cert) {
        StringBuffer cn;
        return cert && cert->get_SubjectCN(cn) ? std::string(cn.view()) : "<none>";
    }

    std::string byIssuerSerial(const std::string& cn, const std::string& serial,
                               const StringBuffer* issuerDn = nullptr) {
        return subjectCnOf(m_store.findX509(StringBuffer(serial), StringBuffer(cn), issuerDn, m_log));
    }

    std::string bySubject(const std::string& dn, bool tryValuesOnly = true) {
        XString name(dn);
        XString values;
        DistinguishedName::removeDnTags(name, values);
        return subjectCnOf(m_store.findBySubjectDN_x509(values, name, tryValuesOnly, m_log));
    }

    static inline std::unique_ptr<Workshop> s_ws;
    LogBase m_log;
    CertificateStore m_store;
};

TEST_F(CertificateStoreTest, IssuerDnSeparatesIssuersWithTheSameCommonName) {
    ASSERT_TRUE(m_store.addCertificate(s_ws->load("other"), m_log));
    const StringBuffer exampleIssuer("C=EE, O=Example, CN=Example CA");
    const StringBuffer otherIssuer("cn=example ca, o=other, c=ee");
    const StringBuffer unknownIssuer("CN=Example CA, O=Nobody");
    EXPECT_EQ(byIssuerSerial("Example CA", "80"), "Leaf One");
    EXPECT_EQ(byIssuerSerial("Example CA", "80", &exampleIssuer), "Leaf One");
    EXPECT_EQ(byIssuerSerial("Example CA", "80", &otherIssuer), "Example CA");
    EXPECT_EQ(byIssuerSerial("Example CA", "80", &unknownIssuer), "<none>");
}

TEST_F(CertificateStoreTest, AddingIsIdempotentAndClearEmpties) {
    EXPECT_EQ(m_store.getNumCerts(), 3);
    EXPECT_TRUE(m_store.addCertificate(s_ws->load("leaf1"), m_log));
    EXPECT_EQ(m_store.getNumCerts(), 3);
    EXPECT_TRUE(m_store.findByDer(s_ws->der("leaf1")));
    EXPECT_FALSE(m_store.findByDer(s_ws->der("other")));
    EXPECT_FALSE(m_store.addCertificate(X509Certificate(), m_log));

    CertMgr vault;
    ASSERT_TRUE(vault.addCertificate(s_ws->load("other")));
    ASSERT_TRUE(vault.addCertificate(s_ws->load("leaf1")));
    EXPECT_FALSE(vault.addCertificate(s_ws->load("leaf1")));
    EXPECT_TRUE(m_store.addCertVault(vault, m_log));
    EXPECT_EQ(m_store.getNumCerts(), 4);

    m_store.clear();
    EXPECT_EQ(m_store.getNumCerts(), 0);
    EXPECT_EQ(byIssuerSerial("Example CA", "80"), "<none>");
    EXPECT_EQ(bySubject("CN=Leaf One, OU=Signing, O=Example, C=EE"), "<none>");
}

} // namespace
