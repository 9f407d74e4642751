#include "companion/xml/XmlSerializer.h"

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlTextDecoder.h"

void XmlSerializer::appendElement(const XmlDocument& doc, uint32_t element, std::string& out) {
    const std::string_view name = doc.name(element);
    out.push_back('<');
    out.append(name);
    std::string value;
    for (const XmlDocument::Attribute& a : doc.attributes(element)) {
        value.clear();
        doc.appendAttributeValue(a, value);
        out.push_back(' ');
        out.append(doc.attributeName(a));
        out.append("=\"");
        appendEscapedAttribute(value, out);
        out.push_back('"');
    }
    if (doc.node(element).flags & XmlDocument::kSelfClosing) {
        out.append("/>");
        return;
    }
    out.push_back('>');
    std::string text;
    // Recursion is bounded by the scanner's element depth limit.
    doc.forEachContent(element, [&](uint32_t child, std::string_view raw) {
        if (child == kNoNode) {
            text.clear();
            XmlTextDecoder::appendContent(raw, doc.dtd(), text);
            appendEscapedText(text, out);
            return;
        }
        const XmlDocument::Node& c = doc.node(child);
        const std::string_view whole = doc.dtd().slice(XmlSpan{c.begin, c.startEnd - c.begin});
        switch (c.kind) {
        case XmlNodeKind::Element:
            appendElement(doc, child, out);
            break;
        case XmlNodeKind::Text:
            text.clear();
            XmlTextDecoder::appendContent(whole, doc.dtd(), text);
            appendEscapedText(text, out);
            break;
        case XmlNodeKind::Comment:
        case XmlNodeKind::CData:
        case XmlNodeKind::ProcessingInstruction:
            out.append(whole);
            break;
        }
    });
    out.append("</");
    out.append(name);
    out.push_back('>');
}

void XmlSerializer::appendEscapedText(std::string_view text, std::string& out) {
    for (char c : text) {
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '\r':
            out.append("&#13;");
            break;
        default:
            out.push_back(c);
        }
    }
}

void XmlSerializer::appendEscapedAttribute(std::string_view value, std::string& out) {
    for (char c : value) {
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '"':
            out.append("&quot;");
            break;
        case '\t':
            out.append("&#9;");
            break;
        case '\n':
            out.append("&#10;");
            break;
        case '\r':
            out.append("&#13;");
            break;
        default:
            out.push_back(c);
        }
    }
}
