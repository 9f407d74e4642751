// A reported reference path names the element the reference signed: steps by
// namespace and local name, however the prefixes are written, and a path
// read back by a resolver of its own lands on the element at the reported
// offset, for every element reference of the real corpus.
#include "support/Signing.h"

#include "companion/xml/XmlDocument.h"
#include "xmldsig/xmldsig.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace {

using namespace test_support;

// The element's namespace name as a path writes it: from the nearest
// declaration of its prefix, with '%', '{' and '}' escaped.
std::string pathNamespaceOf(const XmlDocument& doc, uint32_t element) {
    const std::string_view prefix = XmlDocument::prefix(doc.name(element));
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
    const XmlDocument::Attribute* nearest = nullptr;
    for (uint32_t e = element; e != kNoNode && !nearest; e = doc.parent(e))
        for (const XmlDocument::Attribute& a : doc.attributes(e))
            if (!nearest && doc.attributeName(a) == declaration)
                nearest = &a;
    std::string uri, escaped;
    if (nearest)
        doc.appendAttributeValue(*nearest, uri);
    for (char c : uri)
        escaped += c == '%' ? "%25" : c == '{' ? "%7B" : c == '}' ? "%7D" : std::string(1, c);
    return escaped;
}

// The start of the element a path names, or the document's size when it
// names none.
uint32_t resolvedOffset(const XmlDocument& doc, const std::string& path) {
    static const std::regex kStep(R"(/(?:\{([^}]*)\})?([^/\[{]+)(?:\[(\d+)\])?)");
    const auto none = static_cast<uint32_t>(doc.source().size());
    auto named = [&](uint32_t e, const std::smatch& step) {
        return XmlDocument::localName(doc.name(e)) == step[2].str() && pathNamespaceOf(doc, e) == step[1].str();
    };
    uint32_t element = kNoNode;
    size_t parsed = 0;
    for (std::sregex_iterator it(path.begin(), path.end(), kStep), end; it != end; ++it) {
        const std::smatch& step = *it;
        if (static_cast<size_t>(step.position()) != parsed)
            return none;
        parsed += static_cast<size_t>(step.length());
        if (element == kNoNode) {
            element = named(doc.root(), step) && !step[3].matched ? doc.root() : kNoNode;
        } else {
            int wanted = step[3].matched ? std::stoi(step[3]) : 0;
            uint32_t c = doc.firstChildElement(element);
            while (c != kNoNode && !(named(c, step) && --wanted == 0))
                c = doc.nextSiblingElement(c);
            element = c;
        }
        if (element == kNoNode)
            return none;
    }
    return parsed == path.size() && element != kNoNode ? doc.startTagBegin(element) : none;
}

// The tree of the text the verifier reads: the bytes in UTF-8.
std::shared_ptr<XmlDocument> treeOf(const std::string& bytes) {
    LogBase log;
    DataBuffer text = bufferOf(bytes);
    EXPECT_TRUE(text.convertXmlToUtf8(log)) << log.firstError();
    std::string error;
    auto doc = XmlDocument::parse(SharedText::ofString(std::string(text.view())), false, error);
    EXPECT_TRUE(doc) << error;
    return doc;
}

TEST(ReferencePath, NamesTheSignedElementByNamespaceAndPosition) {
    const struct {
        const char* what;
        std::string content, path;
    } cases[] = {
        {"same local name, other prefixes and namespaces",
         R"(<root xmlns:a="urn:a" xmlns:b="urn:b"><a:Item>EVIL</a:Item><b:Item Id="x">GENUINE</b:Item></root>)",
         "/doc/root[1]/{urn:b}Item[1]"},
        {"two prefixes of one namespace",
         R"(<root xmlns:p="urn:i" xmlns:q="urn:i"><p:Item>EVIL</p:Item><q:Item Id="x">GENUINE</q:Item></root>)",
         "/doc/root[1]/{urn:i}Item[2]"},
        {"a prefixed sibling before one in no namespace",
         R"(<root xmlns:a="urn:a"><a:Item>EVIL</a:Item><Item Id="x">GENUINE</Item></root>)", "/doc/root[1]/Item[1]"},
        {"a default namespace left on one sibling",
         R"(<r:root xmlns:r="urn:r" xmlns="urn:d"><Item>EVIL</Item><Item xmlns="" Id="x">GENUINE</Item></r:root>)",
         "/doc/{urn:r}root[1]/Item[1]"},
        {"a namespace name holding the escaped characters",
         R"(<root xmlns:p="urn:{a}%"><p:Item>EVIL</p:Item><p:Item Id="x">GENUINE</p:Item></root>)",
         "/doc/root[1]/{urn:%7Ba%7D%25}Item[2]"},
    };
    for (const auto& c : cases) {
        const std::string doc = documentWithReferences(c.content, referenceXml("#x", "AAAA"));
        const xmldsig::Result r = xmldsig::verify(std::string_view(doc), xmldsig::Settings());
        ASSERT_EQ(r.signatures.size(), 1u) << c.what << ": " << r.status.message;
        const xmldsig::Reference& ref = r.signatures[0].references.at(0);
        EXPECT_EQ(ref.path, c.path) << c.what;
        EXPECT_TRUE(doc.substr(ref.offset, doc.find('>', ref.offset) - ref.offset).ends_with(R"(Id="x")")) << c.what;
        EXPECT_EQ(resolvedOffset(*treeOf(doc), ref.path), ref.offset) << c.what;
    }
}

// A whole-document reference whose expressions keep only part of it is
// reported as the selection it is, with its top elements' paths; one that
// keeps the document element whole (the signature aside) stays the document.
TEST(ReferencePath, AnXPathSelectedReferenceNamesWhatItKept) {
    const std::string envelope = R"(<e:Envelope xmlns:e="urn:e"><e:Header>UNSIGNED</e:Header>)"
                                 R"(<e:Body><e:Item>a</e:Item></e:Body><e:Body>b</e:Body></e:Envelope>)";
    const std::string e = " xmlns:e=\"urn:e\"";
    const struct {
        const char* what;
        std::string transform;
        std::vector<std::string> paths;
        uint64_t count;
    } cases[] = {
        {"Filter 2.0 intersect",
         filter2Transform("intersect", "//e:Body", e),
         {"/doc/{urn:e}Envelope[1]/{urn:e}Body[1]", "/doc/{urn:e}Envelope[1]/{urn:e}Body[2]"},
         2},
        {"XPath 1.0", xpathTransform("ancestor-or-self::e:Body", e), {"/doc/{urn:e}Envelope[1]/{urn:e}Body[1]"}, 2},
        {"the signature subtracted", filter2Transform("subtract", "//*[local-name()='Signature']"), {}, 0},
    };
    xmldsig::Settings settings;
    ASSERT_TRUE(settings.setVerifyOptions(R"({"MaxReportedElements": 1})").ok());
    for (const auto& c : cases) {
        const std::string doc = documentWithReferences(envelope, referenceXml("", "AAAA", {c.transform}));
        const xmldsig::Result r =
            xmldsig::verify(std::string_view(doc), c.paths.size() == 1 ? settings : xmldsig::Settings());
        ASSERT_EQ(r.signatures.size(), 1u) << c.what << ": " << r.status.message;
        const xmldsig::Reference& ref = r.signatures[0].references.at(0);
        if (c.paths.empty()) {
            EXPECT_EQ(ref.target, xmldsig::Reference::Target::WholeDocument) << c.what;
            continue;
        }
        ASSERT_EQ(ref.target, xmldsig::Reference::Target::Selection) << c.what;
        EXPECT_EQ(ref.selectedCount, c.count) << c.what;
        EXPECT_TRUE(ref.excludesOutside) << c.what;
        ASSERT_EQ(ref.selected.size(), c.paths.size()) << c.what;
        for (size_t i = 0; i < c.paths.size(); ++i) {
            EXPECT_EQ(ref.selected[i].path, c.paths[i]) << c.what;
            EXPECT_EQ(resolvedOffset(*treeOf(doc), ref.selected[i].path), ref.selected[i].offset) << c.what;
        }
    }
}

TEST(ReferencePath, EveryPathInTheRealCorpusResolvesToTheReportedElement) {
    xmldsig::Settings all;
    all.selectAll();
    int checked = 0;
    for (const std::filesystem::path& file : corpusXmlFiles()) {
        if (file.string().find("/real/") == std::string::npos)
            continue;
        const xmldsig::Result r = xmldsig::verifyFile(file, all);
        std::shared_ptr<XmlDocument> doc;
        for (const xmldsig::SignatureResult& sig : r.signatures) {
            for (const xmldsig::Reference& ref : sig.references) {
                if (ref.target != xmldsig::Reference::Target::Element)
                    continue;
                if (!doc)
                    doc = treeOf(readFile(file));
                ASSERT_TRUE(doc) << file;
                EXPECT_EQ(resolvedOffset(*doc, ref.path), ref.offset) << file << ": " << ref.path;
                ++checked;
            }
        }
    }
    EXPECT_GE(checked, 200);
}

} // namespace
