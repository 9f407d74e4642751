#include "companion/log/LogContextExitor.h"
#include "verifier/DSigReference.h"

#include <string>
#include <string_view>

namespace {

constexpr std::string_view kSoapNextActor = "actor=\"http://schemas.xmlsoap.org/soap/actor/next\"";
constexpr std::string_view kEbXmlNextMsh = "actor=\"urn:oasis:names:tc:ebxml-msg:actor:nextMSH\"";
constexpr int kMaxRemovals = 13;

size_t findNextActor(std::string_view text, size_t from) {
    const size_t soap = text.find(kSoapNextActor, from);
    return soap != std::string_view::npos ? soap : text.find(kEbXmlNextMsh, from);
}

} // namespace

// ebXML messages are signed without the header elements addressed to the next
// message handler, which may rewrite them in transit.
void DSigReference::removeEbXmlFragments(StringBuffer& xml, LogBase& log) {
    LogContextExitor ctx(log, "removeEbXmlFragments");
    size_t searchPos = 0;
    for (int removed = 0; removed < kMaxRemovals;) {
        std::string_view text = xml.view();
        const size_t match = findNextActor(text, searchPos);
        if (match == std::string_view::npos)
            return;
        size_t i = match;
        while (i > searchPos && text[i - 1] != '<' && text[i - 1] != '>')
            --i;
        if (i == searchPos)
            return;
        const size_t tagStart = i - 1;
        if (text[tagStart] == '>') {
            searchPos = match + 1;
            continue;
        }
        if (tagStart == searchPos)
            return;
        size_t nameEnd = tagStart + 1;
        while (nameEnd < text.size() && text[nameEnd] != ' ' && text[nameEnd] != '\t' && text[nameEnd] != '>') {
            if (text[nameEnd] == '\0')
                return;
            ++nameEnd;
        }
        const std::string endTag = "</" + std::string(text.substr(tagStart + 1, nameEnd - tagStart - 1));
        const size_t endStart = text.find(endTag, tagStart);
        if (endStart == std::string_view::npos)
            return;
        const size_t endGt = text.find('>', endStart);
        if (endGt == std::string_view::npos)
            return;
        // The removal offset is taken relative to the search position, as the
        // signers' own implementation does.
        xml.removeChunk(static_cast<unsigned>(tagStart - searchPos), static_cast<unsigned>(endGt + 1 - tagStart));
        ++removed;
    }
}
