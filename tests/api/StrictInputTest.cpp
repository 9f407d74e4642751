// Input that libxml2 refuses, or would read as other characters, is refused
// where it is read: the bytes and their encoding at load, the rules of
// Namespaces in XML at load, a relative namespace name where a document is
// canonicalized.
#include "xmldsig/xmldsig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

enum class Reader { Load, Canonicalize, XPathReference };

struct MalformedCase {
    const char* what;
    std::string bytes;
    Reader reader;
    std::string error;
};

std::string utf16le(std::string_view ascii) {
    std::string out = "\xFF\xFE";
    for (char c : ascii) {
        out.push_back(c);
        out.push_back('\0');
    }
    return out;
}

// A signature whose one reference runs an XPath transform (evaluated, not a
// recognised form) over a document whose root declares `declaration`.
std::string xpathReferenceTo(const std::string& declaration) {
    const std::string dsig = "http://www.w3.org/2000/09/xmldsig#";
    return "<doc " + declaration + "><Signature xmlns=\"" + dsig + "\"><SignedInfo>" +
           "<CanonicalizationMethod Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315\"/>" +
           "<SignatureMethod Algorithm=\"http://www.w3.org/2000/09/xmldsig#hmac-sha1\"/><Reference URI=\"\">" +
           "<Transforms><Transform Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116\">" +
           "<XPath>count(ancestor::*) &gt;= 0</XPath></Transform></Transforms>" +
           "<DigestMethod Algorithm=\"http://www.w3.org/2000/09/xmldsig#sha1\"/><DigestValue>AAAA</DigestValue>" +
           "</Reference></SignedInfo><SignatureValue>AAAA</SignatureValue></Signature></doc>";
}

std::string errorOf(const MalformedCase& c) {
    switch (c.reader) {
    case Reader::Load:
        return xmldsig::describe(c.bytes).status.message;
    case Reader::Canonicalize: {
        std::string out;
        return xmldsig::canonicalize(c.bytes, {}, out).message;
    }
    case Reader::XPathReference: {
        const xmldsig::Result r = xmldsig::verify(std::string_view(c.bytes), xmldsig::Settings());
        return r.signatures.empty() ? r.status.message : r.signatures[0].reason;
    }
    }
    return {};
}

TEST(StrictInput, MalformedInputIsRefusedSayingWhereAndWhy) {
    const std::string xmlDecl = R"(<?xml version="1.0" encoding=")";
    const MalformedCase cases[] = {
        {"a Latin-1 byte under a UTF-8 declaration", xmlDecl + "UTF-8\"?>\n<a>caf\xE9</a>", Reader::Load,
         "document: XML parse error at line 2, column 7: invalid UTF-8 byte sequence"},
        {"an overlong '/'", xmlDecl + "utf-8\"?><a>\xC0\xAF</a>", Reader::Load,
         "document: XML parse error at line 1, column 42: invalid UTF-8 byte sequence"},
        {"a Latin-1 byte without a declaration", "<a>\n\n x\xE9</a>", Reader::Load,
         "document: XML parse error at line 3, column 3: invalid UTF-8 byte sequence"},
        {"a byte Shift_JIS does not have", xmlDecl + "Shift_JIS\"?>\n<a>x\x81</a>", Reader::Load,
         "document: XML parse error at line 2, column 5: invalid SHIFT_JIS byte sequence"},
        {"a byte windows-1252 leaves undefined", xmlDecl + "windows-1252\"?><a>\x80\x81</a>", Reader::Load,
         "document: XML parse error at line 1, column 50: invalid WINDOWS-1252 byte sequence"},
        {"a UTF-8 mark on a Latin-1 declaration", "\xEF\xBB\xBF" + xmlDecl + "ISO-8859-1\"?><a>\xC3\xA9</a>",
         Reader::Load,
         "document: XML parse error at line 1, column 31: the declared encoding ISO-8859-1 contradicts the UTF-8 "
         "byte-order mark"},
        {"a UTF-16 mark on a Latin-1 declaration", utf16le(xmlDecl + "ISO-8859-1\"?><a/>"), Reader::Load,
         "document: XML parse error at line 1, column 31: the declared encoding ISO-8859-1 contradicts the UTF-16LE "
         "byte-order mark"},
        {"two prefixes of one namespace on one local name",
         R"(<r xmlns:a="urn:x" xmlns:b="urn:x"><e a:z="1" b:z="2"/></r>)", Reader::Load,
         "document: XML parse error at line 1, column 47: attributes 'a:z' and 'b:z' have the same namespace and "
         "local name"},
        {"the same, the namespace written with a reference",
         R"(<r xmlns:a="urn:x"><e xmlns:b="urn&#x3A;x" b:z="1" a:z="2"/></r>)", Reader::Load,
         "document: XML parse error at line 1, column 52: attributes 'b:z' and 'a:z' have the same namespace and "
         "local name"},
        {"xml bound elsewhere", R"(<r xmlns:xml="urn:x"/>)", Reader::Load,
         "document: XML parse error at line 1, column 4: the prefix xml cannot be bound to 'urn:x'"},
        {"the XML namespace under another prefix", R"(<r xmlns:p="http://www.w3.org/XML/1998/namespace"/>)",
         Reader::Load,
         "document: XML parse error at line 1, column 4: the XML namespace cannot be bound to the prefix p"},
        {"xmlns declared", "<r>\n  <e xmlns:xmlns=\"urn:x\"/></r>", Reader::Load,
         "document: XML parse error at line 2, column 6: the prefix xmlns cannot be declared"},
        {"the xmlns namespace declared", R"(<r xmlns="http://www.w3.org/2000/xmlns/"/>)", Reader::Load,
         "document: XML parse error at line 1, column 4: the namespace http://www.w3.org/2000/xmlns/ cannot be "
         "declared"},
        {"an element named with the prefix xmlns", "<r><xmlns:e/></r>", Reader::Load,
         "document: XML parse error at line 1, column 4: element name 'xmlns:e' has the reserved prefix xmlns"},
        {"an empty prefixed namespace in XML 1.0", R"(<r xmlns:p=""/>)", Reader::Load,
         "document: XML parse error at line 1, column 4: the prefix p cannot be bound to an empty namespace name in "
         "XML 1.0"},
        {"a DTD default that binds xml elsewhere", R"(<!DOCTYPE r [<!ATTLIST r xmlns:xml CDATA "urn:x">]><r/>)",
         Reader::Load, "document: XML parse error at line 1, column 52: the prefix xml cannot be bound to 'urn:x'"},
        {"a relative namespace name", R"(<r xmlns:p="foo"><p:x/></r>)", Reader::Canonicalize,
         "The namespace name 'foo' (line 1, column 4) is a relative URI, which canonicalization refuses."},
        {"a relative default namespace on a descendant", "<r>\n<x xmlns=\"../x\"/></r>", Reader::Canonicalize,
         "The namespace name '../x' (line 2, column 4) is a relative URI, which canonicalization refuses."},
        {"a relative namespace name under an XPath transform", xpathReferenceTo(R"(xmlns:p="p")"),
         Reader::XPathReference, "reference 0: could not be processed"},
    };
    for (const MalformedCase& c : cases)
        EXPECT_EQ(errorOf(c), c.error) << c.what;
}

} // namespace
