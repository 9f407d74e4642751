#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/Rfc4514Name.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

// "type=value" per attribute, '+' within a relative name, " | " between
// them; a BER value as "#" and its hex.
std::string rendered(std::string_view text) {
    const auto rdns = Rfc4514Name::parse(text);
    if (!rdns)
        return "<not a DN>";
    std::string out;
    for (const Rfc4514Rdn& rdn : *rdns) {
        out += out.empty() ? "" : " | ";
        for (size_t i = 0; i < rdn.size(); ++i) {
            out += (i ? "+" : "") + rdn[i].type + "=";
            out += rdn[i].ber ? "#" + test_support::hexOf(test_support::bufferOf(rdn[i].value)) : rdn[i].value;
        }
    }
    return out;
}

TEST(Rfc4514Name, ReadsEscapesHexPairsBerValuesAndMultiValuedNames) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {R"(O=Muster Handel\, GmbH,C=DE)", "O=Muster Handel, GmbH | C=DE"},
        {R"(CN=Max \+ Moritz \"M\"+UID=x,OU=a\\b\<c\>\;\=)", R"(CN=Max + Moritz "M"+UID=x | OU=a\b<c>;=)"},
        {R"(OU=Caf\C3\A9 \#1)", "OU=Café #1"},
        {R"(CN=\#0C03616263)", "CN=#0C03616263"},
        {"CN=#0C03616263", "CN=#0c03616263"},
        {R"(CN=\ padded\ ,  O = spaced  ; C=EE)", "CN= padded  | O=spaced | C=EE"},
        {R"(O="Quoted, Inc.")", "O=Quoted, Inc."},
        {"OID.2.5.4.3=x+2.5.4.10=y", "OID.2.5.4.3=x+2.5.4.10=y"},
        {"  ", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(rendered(c.text), c.expected) << c.text;

    for (const char* malformed : {"CN", "=x", "CN=a\\", "CN=a,", "CN=#12G4", "CN=#", "CN=\"open", "CN=\"a\" b"})
        EXPECT_EQ(rendered(malformed), "<not a DN>") << malformed;
}

// The names that a signer writes for a certificate find it in the store, by
// subject and by issuer and serial, compared as OpenSSL compares names.
TEST(Rfc4514Name, FindsTheCertificateItNames) {
    test_support::Workshop workshop;
    ASSERT_TRUE(
        workshop.make("signer", test_support::Workshop::Request(
                                    R"(/C=DE/O=Muster Handel\, GmbH/OU=Café/CN=Max \+ Moritz "M"/serialNumber=1+UID=x)")
                                    .serial("77")));
    CertificateStore store;
    LogNull log;
    ASSERT_TRUE(store.addCertificate(workshop.load("signer"), log));

    auto found = [&](const std::string& text) {
        auto rdns = Rfc4514Name::parse(text);
        if (!rdns)
            return std::string("<not a DN>");
        std::reverse(rdns->begin(), rdns->end());
        const X509NamePtr name = Rfc4514Name::toX509Name(*rdns);
        if (!name)
            return std::string("<no name>");
        const bool bySubject = store.findBySubjectName(*name) != nullptr;
        const bool byIssuer = store.findByIssuerNameAndSerial(*name, StringBuffer("4D")) != nullptr;
        EXPECT_EQ(bySubject, byIssuer) << text;
        EXPECT_EQ(store.findByIssuerNameAndSerial(*name, StringBuffer("4E")), nullptr);
        return std::string(bySubject ? "found" : "none");
    };
    const std::string xmlsec =
        R"(UID=x+serialNumber=1,CN=Max \+ Moritz \"M\",OU=Caf\C3\A9,O=Muster Handel\, GmbH,C=DE)";
    EXPECT_EQ(found(xmlsec), "found");
    EXPECT_EQ(
        found(
            R"(serialNumber=1 + uid=X, cn=MAX \+  moritz \"m\", OU=Café, 2.5.4.10=#0C134D75737465722048616E64656C2C20476D6248, c=de)"),
        "found");
    EXPECT_EQ(found(R"(C=DE,O=Muster Handel\, GmbH,OU=Caf\C3\A9,CN=Max \+ Moritz \"M\",UID=x+serialNumber=1)"), "none")
        << "the RDN order counts";
    EXPECT_EQ(found(R"(UID=x,serialNumber=1,CN=Max \+ Moritz \"M\",OU=Caf\C3\A9,O=Muster Handel\, GmbH,C=DE)"), "none")
        << "a multi-valued RDN is one RDN";
    EXPECT_EQ(found(R"(UID=x+serialNumber=1,CN=Max \+ Moritz \"M\",OU=Cafe,O=Muster Handel\, GmbH,C=DE)"), "none");
    EXPECT_EQ(found("CN=x,unknownType=y"), "<no name>");
}

} // namespace
