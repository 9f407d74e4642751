#include "references/StreamedDigest.h"

#include "companion/text/DataBuffer.h"

namespace {

// Once this much has been hashed here, the output has proved long enough to
// be worth a thread (starting one costs about a millisecond on a busy VM).
constexpr size_t kBackgroundAfter = 2u << 20;

} // namespace

StreamedDigest::StreamedDigest(int hashAlg, std::string_view marker)
    : m_marker(marker), m_markerSearch({}), m_worker([this](std::string_view text) { consume(text); }) {
    m_hasher.init(hashAlg);
    const std::string_view needle = m_marker;
    if (!needle.empty())
        m_markerSearch = SubstringSet({&needle, 1});
}

void StreamedDigest::write(std::string_view text) {
    m_used = true;
    if (!m_worker.running()) {
        consume(text);
        return;
    }
    std::string piece(text);
    m_worker.handOver(piece);
}

void StreamedDigest::handOver(std::string& piece) {
    m_used = true;
    if (!m_worker.running() && m_hashed >= kBackgroundAfter)
        m_worker.start();
    if (m_worker.running()) {
        m_worker.handOver(piece);
        return;
    }
    consume(piece);
    piece.clear();
}

bool StreamedDigest::sawMarker() {
    m_worker.finish();
    return m_sawMarker;
}

bool StreamedDigest::final(DataBuffer& digest) {
    m_worker.finish();
    return m_hasher.final(digest);
}

void StreamedDigest::consume(std::string_view text) {
    m_hashed += text.size();
    m_hasher.update(text.data(), text.size());
    if (m_sawMarker || m_marker.empty())
        return;
    const size_t keep = m_marker.size() - 1;
    const std::string_view head = text.substr(0, std::min(keep, text.size()));
    m_tail.append(head);
    m_sawMarker = m_tail.find(m_marker) != std::string::npos || m_markerSearch.findIn(text) != 0;
    if (text.size() >= keep)
        m_tail.assign(text.substr(text.size() - keep));
    else if (m_tail.size() > keep)
        m_tail.erase(0, m_tail.size() - keep);
}
