#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Revocation data fetched online (OCSP responses, CRLs), kept by key until it expires, for any thread of the
// process. Bounded by entries and bytes: when full, the entries that expire first go first; an answer larger
// than the whole byte bound is never kept.
class RevocationCache {
public:
    using Bytes = std::shared_ptr<const std::vector<uint8_t>>;

    RevocationCache(size_t maxEntries, size_t maxBytes);

    // The bytes kept under `key`, unless they expired before `now`; null otherwise.
    Bytes find(const std::string& key, std::time_t now) const;
    void store(const std::string& key, Bytes bytes, std::time_t expires, std::time_t now);

private:
    struct Entry {
        Bytes bytes;
        std::time_t expires = 0;
    };
    void makeRoom(size_t bytes, std::time_t now);
    void erase(std::map<std::string, Entry>::iterator it);

    size_t m_maxEntries;
    size_t m_maxBytes;
    mutable std::mutex m_mutex;
    std::map<std::string, Entry> m_entries;
    size_t m_bytes = 0;
};
