#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// Which of a few short strings occur in a long text, found in one pass.
// Searching a 200 MB document for a dozen markers one by one reads it a dozen
// times; this reads it once, 16 or 32 bytes at a step, finds the positions
// where some needle's two leading bytes could start, and compares whole
// needles only there. Sixteen bytes at a time, every distinct leading pair is
// tested at each position (far fewer tests than needles, as needles share
// them); 32 at a time (AVX2), each byte's two nibbles are looked up in
// tables of eight buckets of pairs, the same few instructions however many
// needles there are (the "Teddy" filter).
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
    uint64_t findInNarrowBlocks(std::string_view text, size_t& pos, uint64_t found) const;
    uint64_t findInWideBlocks(std::string_view text, size_t& pos) const;
    uint64_t needlesAt(const char* at, uint64_t sought) const;
    uint64_t findTail(std::string_view text, size_t from, uint64_t found) const;

    // Per nibble of a pair's first and second byte, the buckets (bits) of
    // the leading pairs that have it; pairs with the same first byte share
    // a bucket.
    struct NibbleBuckets {
        std::array<uint8_t, 16> firstLow{};
        std::array<uint8_t, 16> firstHigh{};
        std::array<uint8_t, 16> secondLow{};
        std::array<uint8_t, 16> secondHigh{};
    };
    void addToBuckets(const Lead& lead, size_t bucket);

    std::vector<std::string_view> m_needles;
    std::vector<Lead> m_leads;                 // distinct, of the needles of two bytes or more
    uint64_t m_blockNeedles = 0;               // those needles, searched block by block
    std::array<uint64_t, 256> m_byFirstByte{}; // those needles by their first byte
    size_t m_longest = 0;                      // the longest of them
    NibbleBuckets m_buckets;
};
