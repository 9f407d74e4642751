#include "companion/log/LogContextExitor.h"
#include "verifier/ProfileMarkers.h"
#include "verifier/_clsXmlDSigBase.h"

#include <string>

namespace {

constexpr std::string_view kDocumentoStart = "<Documento ";
constexpr std::string_view kDteStart = "<DTE ";
constexpr std::string_view kDteEnd = "</DTE>";

// The nearest '<' strictly before `from`, or npos when the walk reaches the
// first byte of the text (an element there never qualifies).
size_t previousTagStart(std::string_view text, size_t from) {
    if (from == 0)
        return std::string_view::npos;
    const size_t lt = text.rfind('<', from - 1);
    return (lt == std::string_view::npos || lt == 0) ? std::string_view::npos : lt;
}

} // namespace

void _clsXmlDSigBase::extract_sii_cl_dte(StringBuffer& xml, const char* id, bool keepCopy, LogBase& log) {
    LogContextExitor ctx(log, "extract_sii_cl_dte");
    const std::string_view text = xml.view();
    const std::string idAttr = std::string("ID=\"") + id + "\"";
    const size_t match = text.find(idAttr);
    if (match == std::string_view::npos)
        return;
    const size_t documento = previousTagStart(text, match + 1);
    if (documento == std::string_view::npos || !text.substr(documento).starts_with(kDocumentoStart))
        return;
    const size_t dte = previousTagStart(text, documento);
    if (dte == std::string_view::npos || !text.substr(dte).starts_with(kDteStart))
        return;
    m_siiDteOffset = static_cast<uint32_t>(dte);
    const size_t end = text.find(kDteEnd, dte);
    if (end == std::string_view::npos)
        return;
    // The signer's DTE text runs one byte past its end tag.
    StringBuffer dteText(text.substr(dte, end - dte + kDteEnd.size() + 1));
    if (keepCopy)
        m_siiDteXml.setString(dteText.view());
    xml.takeSb(dteText);
}

bool _clsXmlDSigBase::preprocessXmlToTransform(StringBuffer& uri, StringBuffer& xml, std::string_view ownDocument,
                                               LogBase& log) {
    LogContextExitor ctx(log, "preprocessXmlToTransform");
    if (m_profile.isSiiCl) {
        log.LogInfo(std::string("Preprocessing for ") + std::string(profile_markers::kSiiChile));
        if (ownDocument.empty())
            extract_sii_cl_dte(xml, uri.getString(), true, log);
        else
            xml.setString(ownDocument);
    }
    return true;
}
