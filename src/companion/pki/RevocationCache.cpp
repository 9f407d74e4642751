#include "companion/pki/RevocationCache.h"

#include <algorithm>

RevocationCache::RevocationCache(size_t maxEntries, size_t maxBytes) : m_maxEntries(maxEntries), m_maxBytes(maxBytes) {
}

RevocationCache::Bytes RevocationCache::find(const std::string& key, std::time_t now) const {
    const std::lock_guard lock(m_mutex);
    const auto it = m_entries.find(key);
    return it != m_entries.end() && it->second.expires >= now ? it->second.bytes : nullptr;
}

void RevocationCache::store(const std::string& key, Bytes bytes, std::time_t expires, std::time_t now) {
    if (!bytes || bytes->size() > m_maxBytes || m_maxEntries == 0 || expires < now)
        return;
    const std::lock_guard lock(m_mutex);
    if (const auto it = m_entries.find(key); it != m_entries.end())
        erase(it);
    makeRoom(bytes->size(), now);
    m_bytes += bytes->size();
    m_entries[key] = {std::move(bytes), expires};
}

void RevocationCache::erase(std::map<std::string, Entry>::iterator it) {
    m_bytes -= it->second.bytes->size();
    m_entries.erase(it);
}

void RevocationCache::makeRoom(size_t bytes, std::time_t now) {
    std::erase_if(m_entries, [&](const auto& entry) {
        const bool expired = entry.second.expires < now;
        if (expired)
            m_bytes -= entry.second.bytes->size();
        return expired;
    });
    while (!m_entries.empty() && (m_entries.size() >= m_maxEntries || m_bytes + bytes > m_maxBytes)) {
        erase(std::min_element(m_entries.begin(), m_entries.end(),
                               [](const auto& a, const auto& b) { return a.second.expires < b.second.expires; }));
    }
}
