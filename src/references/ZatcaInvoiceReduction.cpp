#include "companion/log/LogContextExitor.h"
#include "verifier/_clsXmlDSigBase.h"

#include <string>

namespace {

constexpr int kMaxRemovals = 100;

void dropXmlDeclaration(std::string& text) {
    if (!text.starts_with("<?"))
        return;
    const size_t end = text.find("?>");
    if (end == std::string::npos)
        return;
    size_t rest = end + 2;
    while (rest < text.size() && (text[rest] == '\t' || text[rest] == '\n' || text[rest] == '\r' || text[rest] == ' '))
        ++rest;
    text.erase(0, rest);
}

// The Invoice start tag on one line with single blanks, as the invoice hash
// is computed over it.
void flattenInvoiceStartTag(std::string& text) {
    if (!text.starts_with("<Invoice"))
        return;
    const size_t gt = text.find('>');
    if (gt == std::string::npos)
        return;
    std::string tag;
    tag.reserve(gt + 1);
    for (size_t i = 0; i <= gt; ++i) {
        const char c = (text[i] == '\r' || text[i] == '\n' || text[i] == '\t') ? ' ' : text[i];
        if (!(c == ' ' && !tag.empty() && tag.back() == ' '))
            tag.push_back(c);
    }
    text.replace(0, gt + 1, tag);
}

} // namespace

bool _clsXmlDSigBase::zatcaTransformInvoice(StringBuffer& xml, LogBase& log) {
    LogContextExitor ctx(log, "zatcaTransformInvoice");
    xml.toLF();
    xml.trim2();
    dropXmlDeclaration(xml.raw());
    flattenInvoiceStartTag(xml.raw());
    for (int i = 0; i < kMaxRemovals && removeXmlChunk("<ext:UBLExtensions>", "</ext:UBLExtensions>", xml); ++i) {
    }
    for (int i = 0;
         i < kMaxRemovals && removeXmlChunkContaining("<cac:AdditionalDocumentReference>",
                                                      "</cac:AdditionalDocumentReference>", "<cbc:ID>QR", xml, log);
         ++i) {
    }
    for (int i = 0; i < kMaxRemovals && removeXmlChunk("<cac:Signature>", "</cac:Signature>", xml); ++i) {
    }
    return true;
}
