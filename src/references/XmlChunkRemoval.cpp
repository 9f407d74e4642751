#include "verifier/_clsXmlDSigBase.h"

#include <string_view>

namespace {

// The first run from `start` through the first `end` after it, at or after
// `from`; npos when either is missing.
struct Chunk {
    size_t begin = std::string_view::npos;
    size_t length = 0;
};

Chunk findChunk(std::string_view text, std::string_view start, std::string_view end, size_t from) {
    const size_t a = text.find(start, from);
    if (a == std::string_view::npos)
        return {};
    const size_t b = text.find(end, a);
    if (b == std::string_view::npos)
        return {};
    return {a, b + end.size() - a};
}

} // namespace

bool _clsXmlDSigBase::removeXmlChunk(const char* start, const char* end, StringBuffer& xml) {
    const Chunk chunk = findChunk(xml.view(), start, end, 0);
    if (chunk.begin == std::string_view::npos)
        return false;
    xml.removeChunk(static_cast<unsigned>(chunk.begin), static_cast<unsigned>(chunk.length));
    return true;
}

bool _clsXmlDSigBase::removeXmlChunkContaining(const char* start, const char* end, const char* mustContain,
                                               StringBuffer& xml, LogBase&) {
    const std::string_view text = xml.view();
    for (Chunk chunk = findChunk(text, start, end, 0); chunk.begin != std::string_view::npos;
         chunk = findChunk(text, start, end, chunk.begin + chunk.length)) {
        if (text.substr(chunk.begin, chunk.length).find(mustContain) != std::string_view::npos) {
            xml.removeChunk(static_cast<unsigned>(chunk.begin), static_cast<unsigned>(chunk.length));
            return true;
        }
    }
    return false;
}
