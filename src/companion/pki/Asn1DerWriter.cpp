#include "companion/pki/Asn1DerWriter.h"

#include "companion/log/LogBase.h"
#include "companion/pki/Asn1TypeNames.h"
#include "companion/pki/Asn1ValueCodec.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <openssl/asn1.h>

#include <charconv>
#include <climits>

namespace {

constexpr int kMaxDepth = 100;
constexpr size_t kMaxHeaderSize = 16;
constexpr int kIndefiniteForm = 2; // ASN1_put_object's "constructed, indefinite length"
constexpr std::string_view kEndOfContents{"\0\0", 2};
constexpr std::string_view kTrue = "1";
constexpr std::string_view kHexEncoding = "hex";

bool readNumber(const ClsXml& element, const char* attr, unsigned& out) {
    StringBuffer text;
    if (!element.getAttrValue(attr, text))
        return false;
    const std::string_view v = text.view();
    const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), out);
    return ec == std::errc() && end == v.data() + v.size();
}

bool readFlag(const ClsXml& element, const char* attr, bool fallback) {
    StringBuffer text;
    return element.getAttrValue(attr, text) ? text.equals(kTrue) : fallback;
}

} // namespace

struct Asn1DerWriter::Node {
    int tag = 0;
    int tagClass = V_ASN1_UNIVERSAL;
    Asn1ValueForm form = Asn1ValueForm::Hex;
    bool constructed = false;
    bool indefinite = false;
};

bool Asn1DerWriter::write(const ClsXml& element, std::string& der, LogBase& log) {
    return node(element, 0, der, log);
}

bool Asn1DerWriter::node(const ClsXml& element, int depth, std::string& der, LogBase& log) {
    if (depth > kMaxDepth) {
        log.LogError("ASN.1 XML nested too deeply.");
        return false;
    }
    Node n;
    std::string body;
    if (!describe(element, n, log) || !content(element, n, depth, body, log))
        return false;
    header(n, body.size(), der);
    der.append(body);
    if (n.indefinite)
        der.append(kEndOfContents);
    return true;
}

bool Asn1DerWriter::describe(const ClsXml& element, Node& n, LogBase& log) {
    const std::string_view name = element.tag();
    if (const Asn1TypeName* named = Asn1TypeNames::byElement(name)) {
        n.tag = named->tag;
        n.form = named->form;
        n.constructed = named->form == Asn1ValueForm::Children;
    } else {
        unsigned tag = 0;
        if (!Asn1TypeNames::classOfElement(name, n.tagClass) || !readNumber(element, "tag", tag) || tag > INT_MAX) {
            log.LogError("Not an ASN.1 element of this codec, or its tag is missing.");
            log.LogDataStr("element", name);
            return false;
        }
        n.tag = static_cast<int>(tag);
        if (n.tagClass == V_ASN1_UNIVERSAL && n.tag == V_ASN1_EOC) {
            log.LogError("Universal tag 0 is end-of-contents, not a value.");
            return false;
        }
    }
    n.constructed = readFlag(element, "constructed", n.constructed);
    n.indefinite = n.constructed && readFlag(element, "indefinite", false);
    StringBuffer encoding;
    if (element.getAttrValue("enc", encoding) && encoding.equals(kHexEncoding))
        n.form = Asn1ValueForm::Hex;
    return true;
}

bool Asn1DerWriter::content(const ClsXml& element, const Node& n, int depth, std::string& out, LogBase& log) {
    if (n.constructed) {
        for (int i = 0; i < element.get_NumChildren(); ++i) {
            const RefPtr<ClsXml> child(element.GetChild(i));
            if (!child || !node(*child, depth + 1, out, log))
                return false;
        }
        return true;
    }
    Asn1ValueText value;
    StringBuffer text;
    element.get_Content(text);
    value.text.assign(text.view());
    unsigned unused = 0;
    if (readNumber(element, "unused", unused))
        value.unusedBits = unused;
    if (Asn1ValueCodec::parse(n.form, value, out))
        return true;
    log.LogError("The text of an ASN.1 element is not valid for its type.");
    log.LogDataStr("element", element.tag());
    return false;
}

void Asn1DerWriter::header(const Node& n, size_t length, std::string& der) {
    unsigned char buf[kMaxHeaderSize];
    unsigned char* p = buf;
    const int form = n.indefinite ? kIndefiniteForm : (n.constructed ? 1 : 0);
    ASN1_put_object(&p, form, static_cast<int>(length), n.tag, n.tagClass);
    der.append(reinterpret_cast<const char*>(buf), static_cast<size_t>(p - buf));
}
