#include "companion/pki/Asn1XmlWriter.h"

#include "companion/log/LogBase.h"
#include "companion/pki/Asn1TypeNames.h"
#include "companion/pki/Asn1ValueCodec.h"
#include "companion/text/TextCodec.h"

#include <openssl/asn1.h>
#include <openssl/err.h>

namespace {

constexpr int kMaxDepth = 100;
constexpr int kIndentWidth = 2;
constexpr int kHeaderError = 0x80;
constexpr int kIndefiniteLength = 0x01;
constexpr size_t kEndOfContentsSize = 2;

void appendAttr(std::string_view name, std::string_view value, std::string& attrs) {
    attrs.push_back(' ');
    attrs.append(name);
    attrs.append("=\"");
    attrs.append(value);
    attrs.push_back('"');
}

void appendEscaped(std::string_view text, std::string& xml) {
    for (char c : text) {
        switch (c) {
        case '&':
            xml.append("&amp;");
            break;
        case '<':
            xml.append("&lt;");
            break;
        case '>':
            xml.append("&gt;");
            break;
        default:
            xml.push_back(c);
        }
    }
}

bool atEndOfContents(const unsigned char* p, const unsigned char* end) {
    return static_cast<size_t>(end - p) >= kEndOfContentsSize && p[0] == 0 && p[1] == 0;
}

} // namespace

struct Asn1XmlWriter::Node {
    std::string element;
    std::string attrs; // each with a leading blank
    Asn1ValueForm form = Asn1ValueForm::Hex;
    bool constructed = false;
    bool indefinite = false;
};

Asn1XmlWriter::Node Asn1XmlWriter::describe(int tag, int tagClass, int headerBits) {
    Node n;
    n.constructed = (headerBits & V_ASN1_CONSTRUCTED) != 0;
    n.indefinite = (headerBits & kIndefiniteLength) != 0;
    const Asn1TypeName* named = tagClass == V_ASN1_UNIVERSAL ? Asn1TypeNames::byTag(tag) : nullptr;
    if (named) {
        n.element = named->element;
        n.form = named->form;
        if (n.constructed != (named->form == Asn1ValueForm::Children))
            appendAttr("constructed", n.constructed ? "1" : "0", n.attrs);
    } else {
        n.element = Asn1TypeNames::classElement(tagClass);
        appendAttr("tag", std::to_string(tag), n.attrs);
        appendAttr("constructed", n.constructed ? "1" : "0", n.attrs);
    }
    if (n.indefinite)
        appendAttr("indefinite", "1", n.attrs);
    return n;
}

bool Asn1XmlWriter::write(std::string_view der, std::string& xml, size_t& used, LogBase& log) {
    m_begin = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* p = m_begin;
    if (der.empty())
        return fail("No ASN.1 bytes.", p, log);
    if (!node(p, m_begin + der.size(), 0, xml, log))
        return false;
    used = static_cast<size_t>(p - m_begin);
    return true;
}

bool Asn1XmlWriter::node(const unsigned char*& p, const unsigned char* end, int depth, std::string& xml, LogBase& log) {
    if (depth > kMaxDepth)
        return fail("ASN.1 nested too deeply.", p, log);
    const unsigned char* content = p;
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    const int bits = ASN1_get_object(&content, &length, &tag, &tagClass, end - p);
    if (bits & kHeaderError) {
        ERR_clear_error();
        return fail("Malformed ASN.1 header or length.", p, log);
    }
    // Universal tag 0 only ends an indefinite length: as a value it would be
    // written back as that end.
    if (tagClass == V_ASN1_UNIVERSAL && tag == V_ASN1_EOC)
        return fail("End-of-contents where a value must be.", p, log);
    Node n = describe(tag, tagClass, bits);
    if (!n.constructed) {
        primitive(n, std::string_view(reinterpret_cast<const char*>(content), static_cast<size_t>(length)), depth, xml);
        p = content + length;
        return true;
    }
    const unsigned char* contentEnd = n.indefinite ? end : content + length;
    const bool empty = !n.indefinite && length == 0;
    startTag(n, depth, empty, xml);
    if (empty) {
        p = content;
        return true;
    }
    if (!children(content, contentEnd, n.indefinite, depth + 1, xml, log))
        return false;
    endTag(n, depth, xml);
    p = content;
    return true;
}

bool Asn1XmlWriter::children(const unsigned char*& p, const unsigned char* end, bool indefinite, int depth,
                             std::string& xml, LogBase& log) {
    for (;;) {
        if (indefinite && atEndOfContents(p, end)) {
            p += kEndOfContentsSize;
            return true;
        }
        if (p >= end)
            return !indefinite || fail("Missing end-of-contents.", p, log);
        if (!node(p, end, depth, xml, log))
            return false;
    }
}

void Asn1XmlWriter::primitive(Node& n, std::string_view content, int depth, std::string& xml) const {
    std::optional<Asn1ValueText> value = Asn1ValueCodec::render(n.form, content);
    if (!value) {
        value.emplace();
        TextCodec::encodeHex(content, false, value->text);
        appendAttr("enc", "hex", n.attrs);
    }
    if (value->unusedBits)
        appendAttr("unused", std::to_string(*value->unusedBits), n.attrs);
    startTag(n, depth, value->text.empty(), xml);
    if (value->text.empty())
        return;
    appendEscaped(value->text, xml);
    endTag(n, 0, xml);
}

void Asn1XmlWriter::startTag(const Node& n, int depth, bool selfClosing, std::string& xml) const {
    indent(depth, xml);
    xml.push_back('<');
    xml.append(n.element);
    xml.append(n.attrs);
    if (selfClosing) {
        xml.append("/>");
        newline(xml);
        return;
    }
    xml.push_back('>');
    if (n.constructed)
        newline(xml);
}

void Asn1XmlWriter::endTag(const Node& n, int depth, std::string& xml) const {
    indent(depth, xml);
    xml.append("</");
    xml.append(n.element);
    xml.push_back('>');
    newline(xml);
}

void Asn1XmlWriter::indent(int depth, std::string& xml) const {
    if (!m_compact)
        xml.append(static_cast<size_t>(depth * kIndentWidth), ' ');
}

void Asn1XmlWriter::newline(std::string& xml) const {
    if (!m_compact)
        xml.push_back('\n');
}

bool Asn1XmlWriter::fail(std::string_view message, const unsigned char* at, LogBase& log) const {
    log.LogError(message);
    log.LogDataLong("offset", at - m_begin);
    return false;
}
