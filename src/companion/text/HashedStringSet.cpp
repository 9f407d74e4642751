#include "companion/text/HashedStringSet.h"

#include "companion/text/StringBuffer.h"

HashedStringSet::HashedStringSet(unsigned bucketCount) : m_set(bucketCount) {
}

bool HashedStringSet::hashContains(std::string_view s) const {
    return m_set.find(s) != m_set.end();
}

bool HashedStringSet::hashContainsSb(const StringBuffer& s) const {
    return hashContains(s.view());
}

bool HashedStringSet::hashInsert(std::string_view s) {
    return m_set.emplace(s).second;
}

bool HashedStringSet::hashInsertSb(const StringBuffer& s) {
    return hashInsert(s.view());
}

bool HashedStringSet::hashDelete(std::string_view s) {
    const auto it = m_set.find(s);
    if (it == m_set.end())
        return false;
    m_set.erase(it);
    return true;
}
