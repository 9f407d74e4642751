#include "TestSupport.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

#include <gtest/gtest.h>

#include <memory>

using namespace test_support;

// Leaving the enveloping signature out while canonicalizing must give the
// bytes that cutting it from the text and canonicalizing the rest gives.
TEST(EnvelopedExclusion, MatchesCuttingOnEveryCorpusSignature) {
    int compared = 0;
    for (const auto& path : corpusXmlFiles()) {
        std::unique_ptr<ClsXmlDSig> dsig(ClsXmlDSig::createNewCls());
        XString xml;
        xml.setFromUtf8(readFile(path));
        if (!dsig->LoadSignature(xml))
            continue;
        const StringBuffer text(xml.view());
        for (int s = 0; s < dsig->get_NumSignatures(); ++s) {
            dsig->put_Selector(s);
            LogBase log;
            RefPtr<ClsXml> element(dsig->getReference(0, log));
            if (!element)
                continue;
            DSigReference ref;
            ref.parseReference(*element, log);
            ClsXmlDSig::EnvelopedRange range;
            if (!dsig->envelopedSignatureRange(text, ref, range, log) || range.length != range.signatureLength)
                continue;
            StringBuffer cut(text.view());
            cut.removeChunk(range.start, range.length);
            for (const auto mode : {XmlCanon::Mode::Inclusive, XmlCanon::Mode::Exclusive}) {
                XmlCanon canon;
                canon.setMode(mode);
                StringBuffer expected, actual;
                const bool cutOk = canon.xmlCanonicalize(cut, nullptr, 0, expected, log);
                canon.setExcludedRange(range.start, range.length);
                const bool excludedOk = canon.xmlCanonicalize(text, nullptr, 0, actual, log);
                ASSERT_EQ(cutOk, excludedOk) << path << " signature " << s;
                EXPECT_TRUE(actual.equals(expected.view())) << path << " signature " << s;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 200);
    std::cout << compared << " canonical forms compared\n";
}

// Empty-element tags end in a token of no width, right where a neighbour may
// begin or where an empty excluded element ends.
TEST(EnvelopedExclusion, EmptyElementsAroundAndInside) {
    struct Case {
        const char* doc;
        const char* excluded;
        const char* expected;
    };
    const Case cases[] = {
        {"<a><w/><S xmlns=\"u\"><b/></S></a>", "<S xmlns=\"u\"><b/></S>", "<a><w></w></a>"},
        {"<a><w/><S/><v/></a>", "<S/>", "<a><w></w><v></v></a>"},
        {"<a>x<S>y</S>z</a>", "<S>y</S>", "<a>xz</a>"},
    };
    for (const Case& c : cases) {
        const StringBuffer doc(c.doc);
        const std::string_view excluded(c.excluded);
        XmlCanon canon;
        canon.setExcludedRange(static_cast<unsigned>(doc.view().find(excluded)),
                               static_cast<unsigned>(excluded.size()));
        StringBuffer out;
        LogBase log;
        ASSERT_TRUE(canon.xmlCanonicalize(doc, nullptr, 0, out, log)) << c.doc;
        EXPECT_EQ(out.view(), c.expected) << c.doc;
    }
}
