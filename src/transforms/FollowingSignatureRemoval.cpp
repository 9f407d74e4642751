#include "companion/xml/XmlSigNames.h"
#include "verifier/ClsXmlDSig.h"

#include <string>
#include <string_view>

namespace {

constexpr int kMaxFollowingSignatures = 100;
constexpr std::string_view kSignatureName = xml_sig_names::kSignature;

// The byte after the last occurrence of endTag at or after `from`, or npos.
size_t afterLastEndTag(std::string_view text, std::string_view endTag, size_t from) {
    size_t hit = text.find(endTag, from);
    if (hit == std::string_view::npos)
        return hit;
    for (size_t next; (next = text.find(endTag, hit + 1)) != std::string_view::npos;)
        hit = next;
    return hit + endTag.size();
}

// The end of the signature element written at p (on its '<'), or npos when
// what stands there is not one. Like the signers' own tools, the element
// reaches to the last matching end tag of the remaining text.
size_t endOfFollowingSignature(std::string_view text, size_t p) {
    const std::string_view afterLt = text.substr(p + 1);
    if (afterLt.starts_with(kSignatureName))
        return afterLastEndTag(text, "</Signature>", p + 10);
    size_t colon = 0;
    while (colon < afterLt.size() && afterLt[colon] != ':') {
        if (afterLt[colon] == '>' || afterLt[colon] == '/')
            return std::string_view::npos;
        ++colon;
    }
    if (colon == afterLt.size() || !afterLt.substr(colon + 1).starts_with(kSignatureName))
        return std::string_view::npos;
    const std::string endTag = "</" + std::string(afterLt.substr(0, colon)) + ":Signature>";
    return afterLastEndTag(text, endTag, p + 1 + colon + 1 + kSignatureName.size());
}

} // namespace

unsigned ClsXmlDSig::signatureAndFollowingLength(std::string_view text, unsigned start, unsigned length) {
    size_t p = static_cast<size_t>(start) + length;
    size_t total = length;
    for (int i = 0; i < kMaxFollowingSignatures && p < text.size() && text[p] == '<'; ++i) {
        const size_t next = endOfFollowingSignature(text, p);
        if (next == std::string_view::npos)
            break;
        total += next - p;
        p = next;
    }
    return static_cast<unsigned>(total);
}

bool ClsXmlDSig::removeSignatureAndFollowingSigs(StringBuffer& xml, unsigned start, unsigned length) {
    xml.removeChunk(start, signatureAndFollowingLength(xml.view(), start, length));
    return true;
}
