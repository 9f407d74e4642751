#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// A lookup key mapped to the positions of the certificates that have it, in
// the order they were added.
class CertIndex {
public:
    void add(std::string key, size_t position) { m_map[std::move(key)].push_back(position); }
    // Null when no certificate has the key.
    const std::vector<size_t>* find(const std::string& key) const {
        const auto it = m_map.find(key);
        return it == m_map.end() ? nullptr : &it->second;
    }
    void clear() { m_map.clear(); }

private:
    std::unordered_map<std::string, std::vector<size_t>> m_map;
};
