#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// Which of a few short strings occur in a long text, found in one pass.
// Searching a 200 MB document for a dozen markers one by one reads it a dozen
// times; this reads it once, sixteen bytes at a step, testing at each
// position at once every distinct pair of leading bytes the needles start
// with (far fewer tests than needles, as needles share them), and compares
// whole needles only where a pair matches.
class SubstringSet {
public:
    static constexpr size_t kMaxNeedles = 64;

    // Needles must be non-empty; at most kMaxNeedles are kept.
    explicit SubstringSet(std::span<const std::string_view> needles);

    // Bit i is set when needles[i] occurs in the text.
    uint64_t findIn(std::string_view text) const;
    // The length of the longest needle of two bytes or more (0 when none).
    size_t longest() const { return m_longest; }

private:
    struct Lead {
        unsigned char first;
        unsigned char second;
        bool operator==(const Lead&) const = default;
    };
    uint64_t findInBlocks(std::string_view text, size_t& pos) const;
    uint64_t needlesAt(const char* at, uint64_t sought) const;
    uint64_t findTail(std::string_view text, size_t from, uint64_t found) const;

    std::vector<std::string_view> m_needles;
    std::vector<Lead> m_leads;                 // distinct, of the needles of two bytes or more
    uint64_t m_blockNeedles = 0;               // those needles, searched block by block
    std::array<uint64_t, 256> m_byFirstByte{}; // those needles by their first byte
    size_t m_longest = 0;                      // the longest of them
};
