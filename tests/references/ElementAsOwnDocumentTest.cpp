// An element taken out as a document of its own keeps only the default
// namespace in scope, and positions in it map back to the document's.
#include "references/ElementAsOwnDocument.h"
#include "companion/xml/XmlDocument.h"

#include <gtest/gtest.h>

namespace {

std::shared_ptr<XmlDocument> parsed(const std::string& text) {
    std::string error;
    return XmlDocument::parse(std::make_shared<const std::string>(text), false, error);
}

uint32_t elementNamed(const XmlDocument& doc, std::string_view name) {
    for (uint32_t n = 0; n < doc.nodeCount(); ++n)
        if (doc.isElement(n) && doc.name(n) == name)
            return n;
    return kNoNode;
}

TEST(ElementAsOwnDocument, DeclaresOnlyTheInheritedDefaultNamespace) {
    const std::string text = "<E xmlns='urn:e' xmlns:xsi='urn:xsi'><S><D ID='x'>1</D><Sig/></S></E>";
    const auto doc = parsed(text);
    ASSERT_TRUE(doc);
    ElementAsOwnDocument own;
    ASSERT_TRUE(elementAsOwnDocument(*doc, elementNamed(*doc, "S"), own));
    EXPECT_EQ(own.text, "<S xmlns='urn:e'><D ID='x'>1</D><Sig/></S>");
    const uint32_t sig = static_cast<uint32_t>(text.find("<Sig"));
    EXPECT_EQ(own.text.substr(own.fromSource(sig), 6), "<Sig/>");
    EXPECT_EQ(own.fromSource(own.sourceBegin), 0u);
}

TEST(ElementAsOwnDocument, KeepsItsOwnDeclarationAndAnUndeclaredDefault) {
    const auto doc = parsed("<E xmlns='urn:e'><S xmlns='urn:s'/><U xmlns=''><T/></U></E>");
    ASSERT_TRUE(doc);
    ElementAsOwnDocument own;
    ASSERT_TRUE(elementAsOwnDocument(*doc, elementNamed(*doc, "S"), own));
    EXPECT_EQ(own.text, "<S xmlns='urn:s'/>");
    ASSERT_TRUE(elementAsOwnDocument(*doc, elementNamed(*doc, "T"), own));
    EXPECT_EQ(own.text, "<T/>");
    EXPECT_EQ(own.inserted, 0u);
}

} // namespace
