#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// Which of a few short strings occur in a long text, found in one pass.
// Searching a 200 MB document for a dozen markers one by one reads it a dozen
// times; this reads it once, sixteen bytes at a step, testing every needle's
// first and last byte at each position at once, and compares whole needles
// only where those match.
class SubstringSet {
public:
    static constexpr size_t kMaxNeedles = 64;

    // Needles must be non-empty; at most kMaxNeedles are kept.
    explicit SubstringSet(std::span<const std::string_view> needles);

    // Bit i is set when needles[i] occurs in the text.
    uint64_t findIn(std::string_view text) const;

private:
    struct Needle {
        std::string_view text;
        unsigned char first;
        unsigned char last;
    };
    uint64_t findTail(std::string_view text, size_t from, uint64_t found) const;

    std::vector<Needle> m_needles;
};
