#include "transforms/Base64Transform.h"

#include "companion/log/LogContextExitor.h"
#include "companion/text/DataBuffer.h"
#include "companion/xml/ClsXml.h"

#include <string>

namespace {

constexpr unsigned kLoggedBase64Limit = 200;

void decodeLogged(std::string_view text, DataBuffer& decoded, LogBase& log) {
    log.LogDataLong("base64_string_length", text.size());
    if (!decoded.appendEncoded(text, "base64")) {
        log.LogError("base64 decoding failed.  Maybe this was not actually base64?");
        std::string shown(text.substr(0, kLoggedBase64Limit));
        if (text.size() > kLoggedBase64Limit)
            shown.append("...");
        log.LogDataStr("base64_string", shown);
    }
    log.LogDataLong("decodedSize", decoded.getSize());
}

} // namespace

void base64DecodeOctets(std::string_view octets, DataBuffer& decoded, LogBase& log) {
    LogContextExitor ctx(log, "base64Transform");
    decodeLogged(octets, decoded, log);
}

bool base64DecodeXmlContent(const StringBuffer& xml, DataBuffer& decoded, LogBase& log) {
    LogContextExitor ctx(log, "base64Transform");
    RefPtr<ClsXml> root(ClsXml::createNewCls());
    if (!root)
        return false;
    root->loadXml(xml.view(), true, log);
    const int numChildren = root->get_NumChildren();
    if (numChildren >= 1) {
        log.LogError("Expected 0 XML children.");
        log.LogDataLong("numChildren", numChildren);
    }
    StringBuffer content;
    root->get_Content(content);
    decodeLogged(content.view(), decoded, log);
    return true;
}
