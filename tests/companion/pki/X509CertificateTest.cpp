#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertPem.h"
#include "companion/pki/CertificateHolder.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using test_support::Workshop;
using Cert = test_support::Workshop::Request;

namespace {

std::string serialOf(const X509Certificate& cert) {
    StringBuffer sb;
    EXPECT_TRUE(cert.get_SerialNumber(sb));
    return std::string(sb.view());
}

std::string decimalToHex(const std::string& decimal) {
    XString x(decimal);
    EXPECT_TRUE(x.reencode("decimal", "hex")) << decimal;
    return std::string(x.view());
}

// Serial numbers written as X509SerialNumber (decimal) must meet the form
// that the certificate gives, or issuer-serial lookups never match.
TEST(X509Certificate, SerialNumberAgreesWithOpensslAndDecimalToHex) {
    Workshop ws;
    const std::vector<std::string> serials = {"0", "128",
                                              // 8F1E...34: the high bit set, so DER adds a sign byte
                                              "817058643153735460730479859766531003025976337204"};
    for (const std::string& decimal : serials) {
        const std::string name = "serial" + decimal;
        ASSERT_TRUE(ws.make(name, Cert("/CN=Serial " + decimal).serial(decimal)));
        const std::string ours = serialOf(ws.load(name));
        EXPECT_EQ(ours, ws.serial(ws.pemPath(name))) << decimal;
        EXPECT_EQ(ours, decimalToHex(decimal)) << decimal;
    }
}

TEST(CertificateHolder, DecodesWrappedBase64AndSharesStoreCopies) {
    Workshop ws;
    ASSERT_TRUE(ws.make("c", Cert("/CN=Holder")));
    const std::string b64 = ws.base64("c");
    std::string wrapped = "\n   ";
    for (size_t i = 0; i < b64.size(); i += 64)
        wrapped += b64.substr(i, 64) + "\r\n\t  ";
    LogBase log;
    auto holder =
        CertificateHolder::createFromBase64(wrapped.data(), static_cast<unsigned>(wrapped.size()), nullptr, log);
    ASSERT_TRUE(holder) << log.renderText();
    X509Certificate* cert = holder->getCertPtr(log);
    ASSERT_TRUE(cert);
    EXPECT_EQ(serialOf(*cert), "01");

    CertificateStore store;
    ASSERT_TRUE(store.addCertificate(*cert, log));
    const X509Certificate storeCopy = *store.findByDer(ws.der("c"));
    auto shared = CertificateHolder::createFromBase64(b64.data(), static_cast<unsigned>(b64.size()), &store, log);
    ASSERT_TRUE(shared);
    EXPECT_EQ(shared->getCertPtr(log)->x509(), storeCopy.x509());

    const std::string notBase64 = "MIIB*x";
    EXPECT_FALSE(CertificateHolder::createFromBase64(notBase64.data(), 6, nullptr, log));
    const std::string notCert = "AAECAwQF";
    log.clear();
    EXPECT_FALSE(CertificateHolder::createFromBase64(notCert.data(), 8, nullptr, log));
    EXPECT_TRUE(log.hasErrors());
}

TEST(CertPem, WritesWhatOpensslWrites) {
    Workshop ws;
    ASSERT_TRUE(ws.make("c", Cert("/CN=Pem")));
    const std::string expected = ws.openssl("x509 -inform DER -in c.der -outform PEM");
    LogBase log;
    StringBuffer pem;
    ASSERT_TRUE(CertPem::derToPem(ws.der("c"), pem, log));
    EXPECT_EQ(pem.view(), expected);
    StringBuffer fromBase64;
    ASSERT_TRUE(CertPem::base64ToPem(StringBuffer(ws.base64("c")), fromBase64, log));
    EXPECT_EQ(fromBase64.view(), expected);
    EXPECT_FALSE(CertPem::base64ToPem(StringBuffer("AAEC"), fromBase64, log));
    EXPECT_EQ(fromBase64.view(), expected);
}

} // namespace
