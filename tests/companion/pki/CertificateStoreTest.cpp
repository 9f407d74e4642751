#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertificateStore.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

#include <string>

using test_support::Workshop;
using Cert = test_support::Workshop::Request;

namespace {

// A CA, a leaf it issued with serial 0x80, and an unrelated self-signed
// certificate with that serial and the CA's common name: the issuer's DN,
// when given, decides which one an issuer-serial lookup finds.
TEST(CertificateStore, IssuerDnSeparatesIssuersWithTheSameCommonName) {
    Workshop ws;
    ASSERT_TRUE(ws.make("ca", Cert("/C=EE/O=Example/CN=Example CA")));
    ASSERT_TRUE(ws.make("leaf", Cert("/C=EE/O=Example/OU=Signing/CN=Leaf One").serial("128").issuer("ca")));
    ASSERT_TRUE(ws.make("other", Cert("/C=EE/O=Other/CN=Example CA").serial("128")));
    CertificateStore store;
    LogBase log;
    for (const char* name : {"ca", "leaf", "other"})
        ASSERT_TRUE(store.addCertificate(ws.load(name), log));

    auto found = [&](const StringBuffer* issuerDn) {
        const X509Certificate* cert = store.findX509(StringBuffer("80"), StringBuffer("Example CA"), issuerDn, log);
        StringBuffer cn;
        return cert && cert->get_SubjectCN(cn) ? std::string(cn.view()) : "<none>";
    };
    const StringBuffer exampleIssuer("C=EE, O=Example, CN=Example CA");
    const StringBuffer otherIssuer("cn=example ca, o=other, c=ee");
    const StringBuffer unknownIssuer("CN=Example CA, O=Nobody");
    EXPECT_EQ(found(nullptr), "Leaf One");
    EXPECT_EQ(found(&exampleIssuer), "Leaf One");
    EXPECT_EQ(found(&otherIssuer), "Example CA");
    EXPECT_EQ(found(&unknownIssuer), "<none>");
}

} // namespace
