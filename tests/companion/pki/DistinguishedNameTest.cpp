#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using test_support::dnKey;

namespace {

std::string part(const std::string& dn, const char* type) {
    LogNull log;
    StringBuffer out("stale");
    if (!DistinguishedName::getDnPart(StringBuffer(dn), type, out, log)) {
        EXPECT_TRUE(out.isEmpty());
        return "<none>";
    }
    return std::string(out.view());
}

void expectAllEquivalent(const std::vector<std::string>& dns) {
    const std::string key = dnKey(dns.front());
    ASSERT_FALSE(key.empty()) << dns.front();
    for (const std::string& dn : dns)
        EXPECT_EQ(dnKey(dn), key) << dn << "\nvs " << dns.front();
}

TEST(DistinguishedName, KeyIgnoresCaseSpacingOrderAndTypeForm) {
    expectAllEquivalent({
        "CN=Foo, O=Bar,C=EE",
        "c=ee,o=bar,cn=foo",
        "  CN = Foo ;  O=Bar ; C=EE ",
        "2.5.4.3=Foo, OID.2.5.4.10=Bar, countryName=EE",
        "commonName=FOO,organizationName=Bar,C=EE",
        "CN=Foo+O=Bar+C=EE",
        "CN=\"Foo\", O=Bar, C=EE",
        "CN=#0C03466F6F, O=Bar, C=EE",
        "CN=F\\6Fo, O=Bar, C=EE",
    });
    expectAllEquivalent({"E=a@b.ee, S=Harju", "EMAILADDRESS=a@b.ee, ST=Harju",
                         "1.2.840.113549.1.9.1=a@b.ee, "
                         "stateOrProvinceName=Harju"});
    expectAllEquivalent({"SERIALNUMBER=PNOEE-1, CN=X", "serialNumber=PNOEE-1,CN=X", "2.5.4.5=PNOEE-1, CN=X"});
    expectAllEquivalent({"CN=Foo  Bar", "CN=foo bar", "CN=  Foo\tBar "});
    expectAllEquivalent({"CN=\\#0C03466F6F", "CN=\"#0C03466F6F\"", "CN=\\230C03466F6F"});
    // OpenSSL's names for types we have no label of our own for.
    expectAllEquivalent({"houseIdentifier=12, CN=X", "2.5.4.51=12, CN=X", "OID.2.5.4.51=12, cn=x"});
    expectAllEquivalent({"registeredAddress=Main St, CN=X", "2.5.4.26=Main St, CN=X"});
}

TEST(DistinguishedName, KeySeparatesDifferentNames) {
    const std::vector<std::string> distinct = {
        "CN=Foo, O=Bar, C=EE",
        "CN=Fooo, O=Bar, C=EE",
        "O=Foo, O=Bar, C=EE",
        "CN=Foo, O=Bar",
        "CN=Foo, O=Bar, C=EE, OU=X",
        "CN=Foo, O=Bar\\, C=EE",
        "CN=FooBar, C=EE",
        "CN=Foo Bar, C=EE",
        "CN=Foo, OU=Foo, O=Bar, C=EE",
        "CN=Foo, OU=Foo, OU=Foo, O=Bar, C=EE",
        // Escaped, "#" is the character, not DER hex of "Foo".
        "CN=\\#0C03466F6F, O=Bar, C=EE",
    };
    for (size_t i = 0; i < distinct.size(); ++i) {
        for (size_t j = i + 1; j < distinct.size(); ++j)
            EXPECT_NE(dnKey(distinct[i]), dnKey(distinct[j])) << distinct[i] << " | " << distinct[j];
    }
    LogBase log;
    StringBuffer key("stale");
    EXPECT_FALSE(DistinguishedName::toTvCanonHashKey(StringBuffer("  "), key, log));
    EXPECT_TRUE(key.isEmpty());
}

TEST(DistinguishedName, GetDnPartFindsTypesInAnyForm) {
    EXPECT_EQ(part("CN=Alice, O=Example, C=US", "CN"), "Alice");
    EXPECT_EQ(part("2.5.4.3=Alice, O=Example", "CN"), "Alice");
    EXPECT_EQ(part("OID.2.5.4.3=Alice", "cn"), "Alice");
    EXPECT_EQ(part("emailAddress=a@b.c, CN=Alice", "E"), "a@b.c");
    EXPECT_EQ(part("CN=First, OU=x, CN=Second", "CN"), "First");
    EXPECT_EQ(part("CN=\"Quoted, name\" , O=x", "CN"), "Quoted, name");
    EXPECT_EQ(part("CN=  Spaced   , O=x", "CN"), "Spaced");
    EXPECT_EQ(part("CN=trailing\\ ", "CN"), "trailing ");
    EXPECT_EQ(part("CN=\\230C0161", "CN"), "#0C0161");
    EXPECT_EQ(part("O=Example, C=US", "CN"), "<none>");
    EXPECT_EQ(part("", "CN"), "<none>");
    EXPECT_EQ(part("Untyped, Text", "CN"), "<none>");
}

} // namespace
