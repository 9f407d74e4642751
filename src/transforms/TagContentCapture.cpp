#include "companion/log/LogBase.h"
#include "verifier/ClsXmlDSig.h"

#include <string>
#include <string_view>

namespace {

bool isXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Tabs and line ends become spaces and runs of spaces one space, so that an
// attribute reads the same however the signer laid the tag out.
std::string normalizedTag(std::string_view tag, std::string_view attr) {
    std::string out;
    for (char c : tag) {
        const char ch = isXmlSpace(c) ? ' ' : c;
        if (ch == ' ' && !out.empty() && out.back() == ' ')
            continue;
        out += ch;
    }
    const std::string spaced = std::string(attr) + " =";
    if (const size_t at = out.find(spaced); at != std::string::npos)
        out.erase(at + attr.size(), 1);
    return out;
}

} // namespace

bool ClsXmlDSig::captureUniqueTagContent(const char* tag, StringBuffer& xml, StringBuffer& out) {
    out.clear();
    const std::string_view text = xml.view();
    const size_t at = tag ? text.find(tag) : std::string_view::npos;
    const size_t gt = at == std::string_view::npos ? at : text.find('>', at);
    if (gt == std::string_view::npos)
        return false;
    size_t begin = gt + 1;
    while (begin < text.size() && isXmlSpace(text[begin]))
        ++begin;
    const size_t lt = text.find('<', begin);
    if (lt == std::string_view::npos)
        return false;
    size_t end = lt;
    while (end > begin && isXmlSpace(text[end - 1]))
        --end;
    out.append(text.substr(begin, end - begin));
    return true;
}

bool ClsXmlDSig::captureUniqueAttrContent(const char* tag, const char* attr, StringBuffer& xml, StringBuffer& out,
                                          LogBase& log) {
    out.clear();
    if (!tag || !attr)
        return false;
    const std::string_view text = xml.view();
    const size_t at = text.find(tag);
    const size_t gt = at == std::string_view::npos ? at : text.find('>', at);
    if (gt == std::string_view::npos)
        return false;
    const std::string sb = normalizedTag(text.substr(at, gt - at), attr);
    const std::string key = std::string(attr) + "=";
    size_t p = sb.find(key);
    if (p == std::string::npos) {
        log.LogError("Failed to find SignatureValue Id");
        log.LogDataStr("sb", sb);
        return false;
    }
    p += key.size();
    while (p < sb.size() && sb[p] == ' ')
        ++p;
    if (p >= sb.size() || sb[p] != '"') {
        log.LogError("Expected open double quote");
        log.LogDataStr("sb", sb);
        return false;
    }
    const size_t close = sb.find('"', p + 1);
    if (close == std::string::npos) {
        log.LogError("Expected end double quote");
        log.LogDataStr("sb", sb);
        return false;
    }
    out.append(std::string_view(sb).substr(p + 1, close - p - 1));
    return true;
}
