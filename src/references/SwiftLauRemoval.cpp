#include "companion/log/LogContextExitor.h"
#include "verifier/ProfileMarkers.h"
#include "verifier/_clsXmlDSigBase.h"

namespace {
using profile_markers::kSwiftLauStart;
constexpr std::string_view kLauEnd = "</LAU>";
} // namespace

// SWIFT Alliance signs the message without its LAU (local authentication)
// element, which is added afterwards.
bool _clsXmlDSigBase::postProcessTransformedXml(StringBuffer& xml, LogBase& log) {
    LogContextExitor ctx(log, "postProcessTransformedXml");
    if (!xml.containsSubstring(profile_markers::kSwiftSaa) || !xml.containsSubstring(kSwiftLauStart) ||
        !xml.containsSubstring(kLauEnd))
        return true;
    const int start = xml.findSubstr(kSwiftLauStart);
    const int end = xml.findSubstr(kLauEnd);
    if (start > 0 && end > start) {
        log.LogInfo("Adjusting XML to canonicalized by removing <LAU ... </LAU>");
        xml.removeChunk(static_cast<unsigned>(start), static_cast<unsigned>(end - start) + kLauEnd.size());
    }
    return true;
}
