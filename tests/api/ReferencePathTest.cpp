// A reported reference path names the element the reference signed: steps by
// namespace and local name, however the prefixes are written, and a path
// read back by a resolver of its own lands on the element at the reported
// offset, for every element reference of the real corpus.
#include "TestSupport.h"

#include "companion/text/DataBuffer.h"
#include "companion/xml/XmlDocument.h"
#include "xmldsig/xmldsig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace test_support;

// `content` and a signature with one reference to "#x", in a root element
// opened by `rootTag`.
std::string signedDocument(const std::string& rootTag, const std::string& content) {
    const std::string rootName = rootTag.substr(1, rootTag.find_first_of(" >") - 1);
    return rootTag + content + R"(<Signature xmlns="http://www.w3.org/2000/09/xmldsig#"><SignedInfo>)" +
           R"(<CanonicalizationMethod Algorithm="http://www.w3.org/TR/2001/REC-xml-c14n-20010315"/>)" +
           R"(<SignatureMethod Algorithm="http://www.w3.org/2000/09/xmldsig#hmac-sha1"/><Reference URI="#x">)" +
           R"(<DigestMethod Algorithm="http://www.w3.org/2000/09/xmldsig#sha1"/><DigestValue>AAAA</DigestValue>)" +
           "</Reference></SignedInfo><SignatureValue>AAAA</SignatureValue></Signature></" + rootName + ">";
}

struct Step {
    std::string uri; // with '%', '{' and '}' escaped, as a path writes it
    std::string localName;
    int position = 1;
};

std::vector<Step> stepsOf(std::string_view path) {
    std::vector<Step> steps;
    while (path.starts_with('/')) {
        path.remove_prefix(1);
        Step step;
        if (path.starts_with('{')) {
            const size_t close = path.find('}');
            step.uri = path.substr(1, close - 1);
            path.remove_prefix(close + 1);
        }
        const size_t end = std::min(path.find_first_of("[/"), path.size());
        step.localName = path.substr(0, end);
        path.remove_prefix(end);
        if (path.starts_with('[')) {
            const size_t close = path.find(']');
            step.position = std::stoi(std::string(path.substr(1, close - 1)));
            path.remove_prefix(close + 1);
        }
        steps.push_back(step);
    }
    EXPECT_TRUE(path.empty()) << path;
    return steps;
}

// The element's namespace name, from the nearest declaration of its prefix,
// escaped as a path writes it.
std::string escapedNamespaceOf(const XmlDocument& doc, uint32_t element) {
    const std::string_view prefix = XmlDocument::prefix(doc.name(element));
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
    std::string uri;
    bool found = false;
    for (uint32_t e = element; e != kNoNode && !found; e = doc.parent(e)) {
        for (const XmlDocument::Attribute& a : doc.attributes(e)) {
            if (!found && doc.attributeName(a) == declaration) {
                doc.appendAttributeValue(a, uri);
                found = true;
            }
        }
    }
    std::string escaped;
    for (char c : uri)
        escaped += c == '%' ? "%25" : c == '{' ? "%7B" : c == '}' ? "%7D" : std::string(1, c);
    return escaped;
}

bool matches(const XmlDocument& doc, uint32_t element, const Step& step) {
    return XmlDocument::localName(doc.name(element)) == step.localName && escapedNamespaceOf(doc, element) == step.uri;
}

// The start of the element a path names, or the document's size when it
// names none.
uint32_t resolvedOffset(const XmlDocument& doc, std::string_view path) {
    const auto none = static_cast<uint32_t>(doc.source().size());
    const std::vector<Step> steps = stepsOf(path);
    if (steps.empty() || !matches(doc, doc.root(), steps[0]))
        return none;
    uint32_t element = doc.root();
    for (size_t i = 1; i < steps.size() && element != kNoNode; ++i) {
        int seen = 0;
        uint32_t c = doc.firstChildElement(element);
        while (c != kNoNode && !(matches(doc, c, steps[i]) && ++seen == steps[i].position))
            c = doc.nextSiblingElement(c);
        element = c;
    }
    return element == kNoNode ? none : doc.startTagBegin(element);
}

// The tree of the text the verifier reads: the bytes in UTF-8.
std::shared_ptr<XmlDocument> treeOf(const std::string& bytes) {
    LogBase log;
    DataBuffer text = bufferOf(bytes);
    EXPECT_TRUE(text.convertXmlToUtf8(log)) << log.firstError();
    std::string error;
    auto doc = XmlDocument::parse(std::make_shared<const std::string>(text.view()), false, error);
    EXPECT_TRUE(doc) << error;
    return doc;
}

TEST(ReferencePath, NamesTheSignedElementByNamespaceAndPosition) {
    const struct {
        const char* what;
        std::string rootTag, content, path;
    } cases[] = {
        {"same local name, other prefixes and namespaces", R"(<root xmlns:a="urn:a" xmlns:b="urn:b">)",
         R"(<a:Item>EVIL</a:Item><b:Item Id="x">GENUINE</b:Item>)", "/root/{urn:b}Item[1]"},
        {"two prefixes of one namespace", R"(<root xmlns:p="urn:i" xmlns:q="urn:i">)",
         R"(<p:Item>EVIL</p:Item><q:Item Id="x">GENUINE</q:Item>)", "/root/{urn:i}Item[2]"},
        {"a prefixed sibling before one in no namespace", R"(<root xmlns:a="urn:a">)",
         R"(<a:Item>EVIL</a:Item><Item Id="x">GENUINE</Item>)", "/root/Item[1]"},
        {"a default namespace left on one sibling", R"(<r:root xmlns:r="urn:r" xmlns="urn:d">)",
         R"(<Item>EVIL</Item><Item xmlns="" Id="x">GENUINE</Item>)", "/{urn:r}root/Item[1]"},
        {"a namespace name holding the escaped characters", R"(<root xmlns:p="urn:{a}%">)",
         R"(<p:Item>EVIL</p:Item><p:Item Id="x">GENUINE</p:Item>)", "/root/{urn:%7Ba%7D%25}Item[2]"},
    };
    for (const auto& c : cases) {
        const std::string doc = signedDocument(c.rootTag, c.content);
        const xmldsig::Result r = xmldsig::verify(std::string_view(doc), xmldsig::Settings());
        ASSERT_EQ(r.signatures.size(), 1u) << c.what << ": " << r.status.message;
        const xmldsig::Reference& ref = r.signatures[0].references.at(0);
        EXPECT_EQ(ref.path, c.path) << c.what;
        const std::string startTag = doc.substr(ref.offset, doc.find('>', ref.offset) - ref.offset);
        EXPECT_NE(startTag.find(R"(Id="x")"), std::string::npos) << c.what;
        EXPECT_EQ(resolvedOffset(*treeOf(doc), ref.path), ref.offset) << c.what;
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
