#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Opens the profile switches that the transform reads.
class Verifier : public ClsXmlDSig {
public:
    using _clsXmlDSigBase::m_isCmaStp;
};

struct Result {
    bool ok;
    std::string text;
};

Result canonicalize(Verifier& v, const std::string& xml, const std::string& algorithm, const std::string& uri = "",
                    const std::string& transformXml = "") {
    LogNull log;
    RefPtr<ClsXml> transform;
    if (!transformXml.empty()) {
        transform.reset(ClsXml::createNewCls());
        EXPECT_TRUE(transform->loadXml(std::string_view(transformXml), false, log));
    }
    StringBuffer text(xml), alg(algorithm), u(uri);
    const bool ok = v.transformCanonicalize(transform.get(), text, alg, u, log);
    return {ok, std::string(text.view())};
}

TEST(CanonicalizationTransform, StpDocumentIsCutOutOfItsWrapper) {
    Verifier v;
    v.m_isCmaStp = true;
    const std::string doc = "<?xml version=\"1.0\"?><!--x--><Wrap><Document xmlns=\"urn:cma:stp:xsd:stp.1.0\">"
                            "<a/></Document><Sig/></Wrap>";
    EXPECT_EQ(canonicalize(v, doc, "c14n").text, "<Document xmlns=\"urn:cma:stp:xsd:stp.1.0\"><a></a></Document>");
}

TEST(CanonicalizationEntryPoints, VersionTextSelectsTheMode) {
    ClsXmlDSig dsig;
    XString xml("<r xmlns:u=\"urn:unused\"><x Id=\"f\">t</x></r>"), fragment("f"), prefixes(""), out;
    XString exclusive("  EXCL_C14N "), longer("excl_c14n11"), empty("");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, fragment, exclusive, prefixes, false, out));
    EXPECT_EQ(out.view(), "<x Id=\"f\">t</x>");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, fragment, longer, prefixes, false, out));
    EXPECT_EQ(out.view(), "<x xmlns:u=\"urn:unused\" Id=\"f\">t</x>");
    XString none("");
    ASSERT_TRUE(dsig.CanonicalizeFragment(xml, none, empty, prefixes, false, out));
    EXPECT_EQ(out.view(), "<r xmlns:u=\"urn:unused\"><x Id=\"f\">t</x></r>");
    ASSERT_TRUE(dsig.CanonicalizeXml(xml, exclusive, false, out));
    EXPECT_EQ(out.view(), "<r><x Id=\"f\">t</x></r>");
}

} // namespace
