#include "references/StreamedDigest.h"

#include "companion/text/DataBuffer.h"

StreamedDigest::StreamedDigest(int hashAlg, std::string_view marker) : m_marker(marker) {
    m_hasher.init(hashAlg);
}

void StreamedDigest::write(std::string_view text) {
    m_used = true;
    m_hasher.update(text.data(), text.size());
    if (m_sawMarker || m_marker.empty())
        return;
    const size_t keep = m_marker.size() - 1;
    const std::string_view head = text.substr(0, std::min(keep, text.size()));
    m_tail.append(head);
    m_sawMarker = m_tail.find(m_marker) != std::string::npos || text.find(m_marker) != std::string_view::npos;
    if (text.size() >= keep)
        m_tail.assign(text.substr(text.size() - keep));
    else if (m_tail.size() > keep)
        m_tail.erase(0, m_tail.size() - keep);
}

bool StreamedDigest::final(DataBuffer& digest) {
    return m_hasher.final(digest);
}
