#include "verifier/SignatureMethodMapping.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

namespace {

struct Mapping {
    const char* uri;
    int hashAlg;
    int keyType;
};

TEST(SignatureMethodMapping, UrisOfRealSigners) {
    const Mapping cases[] = {
        {"http://www.w3.org/2000/09/xmldsig#rsa-sha1", 1, 1},
        {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", 7, 1},
        {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha512", 3, 1},
        {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha384", 2, 3},
        {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256", 7, 3},
        {"http://www.w3.org/2000/09/xmldsig#dsa-sha1", 1, 2},
        {"http://www.w3.org/2009/xmldsig11#dsa-sha256", 7, 2},
        {"http://www.w3.org/2000/09/xmldsig#hmac-sha1", 1, 4},
        {"http://www.w3.org/2001/04/xmldsig-more#hmac-ripemd160", 10, 4},
        {"http://www.w3.org/2001/04/xmldsig-more#rsa-md5", 5, 1},
        {"http://www.w3.org/2007/05/xmldsig-more#sha256-rsa-MGF1", 7, 1},
        {"http://www.w3.org/2007/05/xmldsig-more#ripemd128-rsa-MGF1", 9, 1},
        {"http://www.w3.org/2007/05/xmldsig-more#sha3-256-rsa-MGF1", -1, 1},
        // ADFS writes the SHA-256 method under another host and path.
        {"http://www.w3.org/2001/04/xmldsig-more/rsa-sha256", 7, 1},
        // The tests are case-sensitive.
        {"http://www.w3.org/2001/04/xmldsig-more#RSA-SHA256", 0, -1},
        {"", 0, -1},
    };
    LogNull log;
    for (const Mapping& c : cases) {
        const StringBuffer uri(c.uri);
        EXPECT_EQ(signatureMethodToHashAlg(uri, log), c.hashAlg) << c.uri;
        EXPECT_EQ(signatureMethodToKeyType(uri, log), c.keyType) << c.uri;
    }
}

} // namespace
