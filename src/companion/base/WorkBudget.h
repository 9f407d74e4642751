#pragma once

#include <cstdint>
#include <limits>

// The work one task may do, in units shared by every step that draws on it:
// an XPath node walked, kCanonicalBytesPerUnit bytes read or written by a
// canonicalization (about the same time here), or kUnitsPerTreeNode for a
// node of an XPath tree, which also holds memory. Once more has been charged
// than allowed it stays spent, and the steps stop where they are.
class WorkBudget {
public:
    static constexpr uint64_t kCanonicalBytesPerUnit = 16;
    static constexpr uint64_t kUnitsPerTreeNode = 8;
    static constexpr uint64_t kUnlimited = std::numeric_limits<uint64_t>::max();

    WorkBudget() = default;
    explicit WorkBudget(uint64_t allowed) : m_allowed(allowed) {}

    // False once the budget is spent.
    bool charge(uint64_t units) {
        m_used = units > kUnlimited - m_used ? kUnlimited : m_used + units;
        return !spent();
    }
    bool spent() const { return m_used > m_allowed; }
    uint64_t used() const { return m_used; }
    uint64_t allowed() const { return m_allowed; }
    // What may still be charged before it is spent.
    uint64_t remaining() const { return spent() ? 0 : m_allowed - m_used; }

private:
    uint64_t m_allowed = kUnlimited;
    uint64_t m_used = 0;
};
