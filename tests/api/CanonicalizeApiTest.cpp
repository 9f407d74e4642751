#include "xmldsig/Canonicalize.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Method = xmldsig::CanonicalizeOptions::Method;

std::string canonical(std::string_view doc, const xmldsig::CanonicalizeOptions& options) {
    std::string out;
    const xmldsig::Status status = xmldsig::canonicalize(doc, options, out);
    EXPECT_TRUE(status) << status.message;
    return out;
}

xmldsig::CanonicalizeOptions options(Method method, std::string fragmentId = "", std::string prefixes = "",
                                     bool withComments = false) {
    return {method, withComments, std::move(prefixes), std::move(fragmentId)};
}

constexpr std::string_view kDoc = "<?xml version=\"1.0\"?>\n"
                                  "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" xml:lang=\"en\"><!-- c -->"
                                  "<a:e z=\"1\" y=\"2\" Id=\"x\"/></r>";

} // namespace

TEST(CanonicalizeApi, WholeDocumentAndElementByIdInEachMethod) {
    EXPECT_EQ(canonical(kDoc, {}), "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" xml:lang=\"en\">"
                                   "<a:e Id=\"x\" y=\"2\" z=\"1\"></a:e></r>");
    EXPECT_EQ(canonical(kDoc, options(Method::Inclusive, "", "", true)),
              "<r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" xml:lang=\"en\">"
              "<!-- c --><a:e Id=\"x\" y=\"2\" z=\"1\"></a:e></r>");
    EXPECT_EQ(canonical(kDoc, options(Method::Inclusive, "x")),
              "<a:e xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" Id=\"x\" y=\"2\" z=\"1\" xml:lang=\"en\"></a:e>");
    EXPECT_EQ(canonical(kDoc, options(Method::Exclusive, "x")),
              "<a:e xmlns:a=\"urn:a\" Id=\"x\" y=\"2\" z=\"1\"></a:e>");
    EXPECT_EQ(canonical(kDoc, options(Method::Exclusive, "x", "b")),
              "<a:e xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" Id=\"x\" y=\"2\" z=\"1\"></a:e>");
}

TEST(CanonicalizeApi, DeclaredEncodingIsConvertedToUtf8) {
    EXPECT_EQ(canonical("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xe9</r>", {}), "<r>\xc3\xa9</r>");
}

TEST(CanonicalizeApi, MalformedInputOrUnknownIdIsNotXml) {
    std::string out;
    EXPECT_EQ(xmldsig::canonicalize("<a><b></a>", {}, out).code, xmldsig::Errc::not_xml);
    const xmldsig::Status missing = xmldsig::canonicalize(kDoc, options(Method::Inclusive, "nope"), out);
    EXPECT_EQ(missing.code, xmldsig::Errc::not_xml);
    EXPECT_FALSE(missing.message.empty());
}
