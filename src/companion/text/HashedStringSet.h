#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>

class StringBuffer;

// A set of strings with hashed lookup; lookups take views without copying.
class HashedStringSet {
public:
    // bucketCount: the expected size, as a hint.
    explicit HashedStringSet(unsigned bucketCount = 0);
    virtual ~HashedStringSet() = default;

    bool hashContains(std::string_view s) const;
    bool hashContainsSb(const StringBuffer& s) const;
    // True when the string was not yet in the set.
    bool hashInsert(std::string_view s);
    bool hashInsertSb(const StringBuffer& s);
    // True when the string was in the set.
    bool hashDelete(std::string_view s);

    size_t size() const { return m_set.size(); }
    bool isEmpty() const { return m_set.empty(); }
    void clear() { m_set.clear(); }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_set<std::string, Hash, std::equal_to<>> m_set;
};
