#include "TestSupport.h"

#include "companion/canon/XmlCanon.h"
#include "companion/log/LogBase.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlScanner.h"
#include "companion/xml/XmlSigLocate.h"
#include "companion/xml/XmlTreeReplay.h"
#include "companion/xml/_tvXmlDtd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Replaying a parsed tree must be indistinguishable from scanning its text:
// checked on every corpus document (and a few hand-made ones) for the token
// stream itself, for canonical forms of the whole document and of elements,
// and for located signatures.
namespace {

struct Parsed {
    StringBuffer text;
    std::shared_ptr<XmlDocument> doc;
};

Parsed parse(const std::string& bytes) {
    Parsed p;
    p.text.setString(bytes);
    std::string error;
    p.doc = XmlDocument::parse(p.text.share(), false, error);
    return p;
}

// Markup tokens and the character data inside the root, as one string each.
struct Stream {
    std::string markup;
    std::string text;
};

void record(const XmlTokenSource& source, std::string_view document, Stream& s) {
    const XmlToken& t = source.token();
    auto slice = [&](XmlSpan span) { return std::string(document.substr(span.offset, span.length)); };
    if (t.kind == XmlTokenKind::Text) {
        if (source.depth() > 0)
            s.text += slice(t.content);
        return;
    }
    s.markup += std::to_string(static_cast<int>(t.kind)) + "@" + std::to_string(t.begin) + "-" + std::to_string(t.end) +
                " d" + std::to_string(source.depth()) + " " + slice(t.name) + "|" + slice(t.content) + "|";
    for (const XmlAttribute& a : t.attributes)
        s.markup += slice(a.name) + "=" + slice(a.value) + "/" + std::to_string(a.flags) + " ";
    s.markup += "\n";
}

Stream scanned(std::string_view document) {
    XmlDtd dtd(document);
    XmlScanner scanner(dtd);
    Stream s;
    while (scanner.next())
        record(scanner, document, s);
    return s;
}

Stream replayed(const XmlDocument& doc) {
    XmlTreeReplay replay(doc);
    Stream s;
    while (replay.next())
        record(replay, doc.source(), s);
    return s;
}

std::string canonical(const Parsed& p, const XmlDocument* tree, bool exclusive, unsigned offset,
                      unsigned excludedStart = 0, unsigned excludedLength = 0, const char* uri = nullptr) {
    XmlCanon canon;
    canon.setParsedDocument(tree);
    canon.setMode(exclusive ? XmlCanon::Mode::Exclusive : XmlCanon::Mode::Inclusive);
    canon.setWithComments(true);
    canon.setExcludedRange(excludedStart, excludedLength);
    StringBuffer out;
    LogNull log;
    if (!canon.xmlCanonicalize(p.text, uri, offset, out, log))
        return "failed";
    return std::string(out.view());
}

// Up to `most` element start offsets spread over the document, the root first.
std::vector<uint32_t> sampleElements(const XmlDocument& doc, size_t most) {
    std::vector<uint32_t> all;
    for (uint32_t n = 0; n < doc.nodeCount(); ++n)
        if (doc.isElement(n))
            all.push_back(n);
    std::vector<uint32_t> picked;
    const size_t step = all.size() / most + 1;
    for (size_t i = 0; i < all.size(); i += step)
        picked.push_back(all[i]);
    return picked;
}

void expectSameAsScanning(const std::string& bytes, const std::string& name) {
    SCOPED_TRACE(name);
    const Parsed p = parse(bytes);
    ASSERT_TRUE(p.doc);
    const XmlDocument& doc = *p.doc;

    // A document that is not replayable (its tree lacks what came from its
    // DTD) is always scanned.
    if (doc.isReplayable()) {
        const Stream fromText = scanned(p.text.view());
        const Stream fromTree = replayed(doc);
        EXPECT_EQ(fromTree.markup, fromText.markup);
        EXPECT_EQ(fromTree.text, fromText.text);
    }

    for (bool exclusive : {false, true}) {
        EXPECT_EQ(canonical(p, &doc, exclusive, 0), canonical(p, nullptr, exclusive, 0));
        for (uint32_t n : sampleElements(doc, 40)) {
            const uint32_t at = doc.startTagBegin(n);
            EXPECT_EQ(canonical(p, &doc, exclusive, at), canonical(p, nullptr, exclusive, at)) << "element at " << at;
            // The element cut out of the whole document, as the enveloped transform does.
            const uint32_t length = doc.endTagEnd(n) - at;
            EXPECT_EQ(canonical(p, &doc, exclusive, 0, at, length), canonical(p, nullptr, exclusive, 0, at, length))
                << "without the element at " << at;
        }
    }

    // An id names the same element through the tree's index as by searching,
    // also when the element that has it is cut out (a later one, or none).
    for (uint32_t n : sampleElements(doc, 40)) {
        for (const XmlDocument::Attribute& a : doc.attributes(n)) {
            const std::string_view local = XmlDocument::localName(doc.attributeName(a));
            if (local != "Id" && local != "ID" && local != "id")
                continue;
            std::string uri = "#";
            doc.appendAttributeValue(a, uri);
            const uint32_t at = doc.startTagBegin(n), length = doc.endTagEnd(n) - at;
            for (bool exclusive : {false, true}) {
                EXPECT_EQ(canonical(p, &doc, exclusive, 0, 0, 0, uri.c_str()),
                          canonical(p, nullptr, exclusive, 0, 0, 0, uri.c_str()))
                    << uri;
                EXPECT_EQ(canonical(p, &doc, exclusive, 0, at, length, uri.c_str()),
                          canonical(p, nullptr, exclusive, 0, at, length, uri.c_str()))
                    << uri << " without the element at " << at;
            }
        }
    }

    // Every Id, and every reference digest, finds the same signature (or none).
    for (uint32_t n = 0; n < doc.nodeCount(); ++n) {
        if (!doc.isElement(n))
            continue;
        const XmlDocument::Attribute* id = doc.findAttribute(n, "Id");
        const bool digest = XmlDocument::localName(doc.name(n)) == "DigestValue";
        if (!id && !digest)
            continue;
        std::string key;
        if (digest)
            doc.appendContent(n, key);
        else
            doc.appendAttributeValue(*id, key);
        XmlSigLocate withTree, withText;
        withTree.setParsedDocument(&doc);
        _tvXmlDtd dtd1, dtd2;
        LogNull log;
        const bool found = digest ? withTree.FindXmlSigByRefDigest(key, p.text.view(), dtd1, log)
                                  : withTree.FindXmlSigById(key, p.text.view(), dtd1, log);
        EXPECT_EQ(found, digest ? withText.FindXmlSigByRefDigest(key, p.text.view(), dtd2, log)
                                : withText.FindXmlSigById(key, p.text.view(), dtd2, log))
            << key;
        EXPECT_TRUE(static_cast<const XmlSigPositions&>(withTree) == static_cast<const XmlSigPositions&>(withText))
            << key;
    }
}

TEST(XmlTreeReplay, HandMadeDocumentsCanonicalizeAsScanned) {
    const std::vector<std::string> documents = {
        // Every node kind inside the root, CR line ends, references, an empty element.
        "<?xml version=\"1.0\"?>\r\n<a xmlns=\"urn:a\" xmlns:p=\"urn:p\" p:x=\"1&amp;2\" b='\t'>\r\n"
        "<!-- c\r\n --><?pi  data ?><![CDATA[x\r\ny]]>t&#x3E;&lt;u<p:e/><e2 xml:lang=\"en\"><f/></e2>\r\n</a>\r\n",
        // Text before and after nested elements, an excluded element with a namespace.
        "<r><s:Signature xmlns:s=\"urn:s\"><s:SignedInfo Id=\"i\"/></s:Signature>tail<x Id=\"y\">z</x></r>",
        // Signatures after other content, their prefix declared on the root: a plain one and
        // an EBICS-style one recognized by its children.
        "<r xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><a Id=\"a\">t<ds:SignedInfo/></a>"
        "<ds:Signature Id=\"s1\"><ds:SignedInfo Id=\"i1\"><ds:Reference><ds:DigestValue>d</ds:DigestValue>"
        "</ds:Reference></ds:SignedInfo><ds:SignatureValue>v</ds:SignatureValue></ds:Signature>"
        "<Auth Id=\"s2\"><ds:SignedInfo/><ds:SignatureValue/></Auth></r>",
        // Comments and processing instructions around the root are replayed with it.
        "<?xml version=\"1.0\"?>\n<?xml-stylesheet href=\"a.xsl\"?>\n<!-- prolog --><r a=\"1\"><b/></r><?epilog  x ?>\n"
        "<!-- end -->\n",
        // Not replayable (a DOCTYPE): the scanner is used and the results agree.
        "<!DOCTYPE r [<!ENTITY e \"<b>in</b>\"><!ATTLIST r d CDATA \"v\">]><r>&e;</r>",
        // Ids given twice: an element and its descendant, a later element after one to cut out,
        // prefixed and escaped ids.
        "<r xmlns:w=\"urn:w\"><a Id=\"d\"><b Id=\"d\">in</b></a><c id=\"d\"/><s Id=\"x\"><e ID=\"e\"/></s>"
        "<e Id=\"e\">second</e><q w:Id=\"w\"/><v Id=\"a&amp;b\">amp</v><u Id=\"a&amp;b\"/></r>",
    };
    for (size_t i = 0; i < documents.size(); ++i)
        expectSameAsScanning(documents[i], "document " + std::to_string(i));
    EXPECT_TRUE(parse(documents[0]).doc->isReplayable());
    EXPECT_TRUE(parse(documents[3]).doc->isReplayable());
    EXPECT_FALSE(parse(documents[4]).doc->isReplayable());
}

TEST(XmlTreeReplay, CorpusDocumentsCanonicalizeAndLocateAsScanned) {
    size_t replayable = 0;
    size_t checked = 0;
    for (const auto& path : test_support::corpusXmlFiles()) {
        const std::string bytes = test_support::readFile(path);
        const Parsed p = parse(bytes);
        if (!p.doc)
            continue; // not well-formed: nothing to replay
        replayable += p.doc->isReplayable();
        expectSameAsScanning(bytes, path.string());
        ++checked;
    }
    EXPECT_GT(checked, 100u);
    EXPECT_GT(replayable, checked / 2);
}

} // namespace
