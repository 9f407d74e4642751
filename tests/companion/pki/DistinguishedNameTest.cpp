#include "PkiTestSupport.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using pki_test::dnKey;

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

std::string withoutTags(const std::string& dn) {
    XString out;
    DistinguishedName::removeDnTags(XString(dn), out);
    return std::string(out.view());
}

std::string valuesKey(const std::string& dn) {
    StringBuffer key;
    DistinguishedName::toValuesKey(XString(withoutTags(dn)), key);
    return std::string(key.view());
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
    // OpenSSL's names for types we have no label of our own for.
    expectAllEquivalent({"houseIdentifier=12, CN=X", "2.5.4.51=12, CN=X", "OID.2.5.4.51=12, cn=x"});
    expectAllEquivalent({"registeredAddress=Main St, CN=X", "2.5.4.26=Main St, CN=X"});
}

TEST(DistinguishedName, CommasInsideValues) {
    expectAllEquivalent({"O=Foo\\, Inc., C=EE", "O=\"Foo, Inc.\", C=EE", "O=Foo, Inc., C=EE", "O=Foo\\2C Inc., C=EE"});
    EXPECT_EQ(part("O=Foo, Inc., C=EE", "O"), "Foo, Inc.");
    EXPECT_EQ(part("CN=a\\+b+OU=c", "CN"), "a+b");
    EXPECT_EQ(part("CN=a\\+b+OU=c", "OU"), "c");
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
    EXPECT_EQ(part("O=Example, C=US", "CN"), "<none>");
    EXPECT_EQ(part("", "CN"), "<none>");
    EXPECT_EQ(part("Untyped, Text", "CN"), "<none>");
}

TEST(DistinguishedName, ValuesAloneMatchAcrossTypeForms) {
    EXPECT_EQ(withoutTags("CN=Foo\\, Inc., O=Bar, C=EE"), "Foo\\, Inc., Bar, EE");
    EXPECT_EQ(withoutTags("CN=\"a+b\" + OU=c"), "a\\+b, c");
    const std::string key = valuesKey("CN=Leaf, O=Example, C=EE");
    EXPECT_FALSE(key.empty());
    EXPECT_EQ(valuesKey("Xx=leaf, Yy=EXAMPLE, Zz=EE"), key);
    EXPECT_EQ(valuesKey("C=EE, O=Example, CN=Leaf"), key);
    EXPECT_NE(valuesKey("CN=Leaf, O=Example"), key);
    EXPECT_NE(valuesKey("CN=Leaf\\, O=Example, C=EE"), key);
}

} // namespace
