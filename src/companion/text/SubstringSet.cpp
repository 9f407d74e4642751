#include "companion/text/SubstringSet.h"

#include <algorithm>
#include <bit>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#elif defined(__SSE2__)
#include <emmintrin.h>
#endif

SubstringSet::SubstringSet(std::span<const std::string_view> needles) {
    m_needles.assign(needles.begin(), needles.begin() + static_cast<ptrdiff_t>(std::min(needles.size(), kMaxNeedles)));
    for (size_t i = 0; i < m_needles.size(); ++i) {
        const std::string_view n = m_needles[i];
        if (n.size() < 2)
            continue;
        const Lead lead{static_cast<unsigned char>(n[0]), static_cast<unsigned char>(n[1])};
        if (std::find(m_leads.begin(), m_leads.end(), lead) == m_leads.end())
            m_leads.push_back(lead);
        m_blockNeedles |= uint64_t{1} << i;
        m_byFirstByte[lead.first] |= uint64_t{1} << i;
        m_longest = std::max(m_longest, n.size());
    }
    std::vector<unsigned char> firstBytes;
    for (const Lead& lead : m_leads) {
        auto at = std::find(firstBytes.begin(), firstBytes.end(), lead.first);
        if (at == firstBytes.end())
            at = firstBytes.insert(at, lead.first);
        addToBuckets(lead, static_cast<size_t>(at - firstBytes.begin()) % 8);
    }
}

void SubstringSet::addToBuckets(const Lead& lead, size_t bucket) {
    constexpr unsigned kNibble = 0x0f;
    const auto bit = static_cast<uint8_t>(1u << bucket);
    m_buckets.firstLow[lead.first & kNibble] |= bit;
    m_buckets.firstHigh[lead.first >> 4] |= bit;
    m_buckets.secondLow[lead.second & kNibble] |= bit;
    m_buckets.secondHigh[lead.second >> 4] |= bit;
}

uint64_t SubstringSet::findIn(std::string_view text) const {
    size_t pos = 0;
    const uint64_t found = findInBlocks(text, pos);
    return findTail(text, pos, found);
}

// The needles of two bytes or more that start at the text's first `pos`
// bytes; `pos` ends where blocks no longer reach.
uint64_t SubstringSet::findInBlocks(std::string_view text, size_t& pos) const {
    uint64_t found = 0;
#if defined(__x86_64__) && defined(__GNUC__)
    // Most of the time goes into testing blocks: twice as many bytes a step
    // where the processor allows, the rest sixteen at a time.
    static const bool wide = __builtin_cpu_supports("avx2");
    if (wide)
        found = findInWideBlocks(text, pos);
#endif
    return findInNarrowBlocks(text, pos, found);
}

// The needles' leading pairs are tested a group at a time; the last pair is
// repeated to make whole groups.
constexpr size_t kGroup = 4;

uint64_t SubstringSet::findInNarrowBlocks(std::string_view text, size_t& pos, uint64_t found) const {
#if defined(__SSE2__)
    constexpr size_t kLanes = 16;
    struct Pair {
        __m128i first;
        __m128i second;
    };
    Pair pairs[kMaxNeedles + kGroup];
    const size_t count = m_leads.size();
    const size_t padded = (count + kGroup - 1) / kGroup * kGroup;
    for (size_t k = 0; k < padded; ++k) {
        const Lead& lead = m_leads[std::min(k, count - 1)];
        pairs[k] = Pair{_mm_set1_epi8(static_cast<char>(lead.first)), _mm_set1_epi8(static_cast<char>(lead.second))};
    }
    // A block is tested only when the longest needle starting at its last
    // lane still fits, so every load stays inside the text.
    for (; found != m_blockNeedles && pos + kLanes + m_longest <= text.size() + 1; pos += kLanes) {
        const char* block = text.data() + pos;
        const __m128i firsts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
        const __m128i seconds = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 1));
        auto hits = [&](const Pair& pair) {
            return _mm_and_si128(_mm_cmpeq_epi8(firsts, pair.first), _mm_cmpeq_epi8(seconds, pair.second));
        };
        __m128i any = _mm_setzero_si128();
        for (size_t k = 0; k < padded; k += kGroup)
            any = _mm_or_si128(any, _mm_or_si128(_mm_or_si128(hits(pairs[k]), hits(pairs[k + 1])),
                                                 _mm_or_si128(hits(pairs[k + 2]), hits(pairs[k + 3]))));
        for (auto lanes = static_cast<unsigned>(_mm_movemask_epi8(any)); lanes != 0; lanes &= lanes - 1)
            found |= needlesAt(block + std::countr_zero(lanes), m_blockNeedles & ~found);
    }
#else
    (void)text;
    (void)pos;
#endif
    return found;
}

#if defined(__x86_64__) && defined(__GNUC__)
namespace {

[[gnu::target("avx2")]] __m256i bucketTable(const std::array<uint8_t, 16>& table) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table.data())));
}

// The buckets each of the bytes belongs to: those of its low nibble that are
// also those of its high one.
[[gnu::target("avx2")]] __m256i bucketsOf(__m256i bytes, __m256i low, __m256i high) {
    const __m256i nibble = _mm256_set1_epi8(0x0f);
    return _mm256_and_si256(_mm256_shuffle_epi8(low, _mm256_and_si256(bytes, nibble)),
                            _mm256_shuffle_epi8(high, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble)));
}

} // namespace

// A position can start a needle when its byte and the next share a bucket
// as first and second byte. Buckets hold several pairs, and the nibbles of
// different pairs mix, so some positions pass that start none: needlesAt
// tells.
[[gnu::target("avx2")]] uint64_t SubstringSet::findInWideBlocks(std::string_view text, size_t& pos) const {
    constexpr size_t kLanes = 32;
    const __m256i firstLow = bucketTable(m_buckets.firstLow);
    const __m256i firstHigh = bucketTable(m_buckets.firstHigh);
    const __m256i secondLow = bucketTable(m_buckets.secondLow);
    const __m256i secondHigh = bucketTable(m_buckets.secondHigh);
    uint64_t found = 0;
    size_t at = pos;
    for (; found != m_blockNeedles && at + kLanes + m_longest <= text.size() + 1; at += kLanes) {
        const char* block = text.data() + at;
        const __m256i firsts = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block));
        const __m256i seconds = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block + 1));
        const __m256i shared =
            _mm256_and_si256(bucketsOf(firsts, firstLow, firstHigh), bucketsOf(seconds, secondLow, secondHigh));
        const auto none =
            static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(shared, _mm256_setzero_si256())));
        for (uint32_t lanes = ~none; lanes != 0; lanes &= lanes - 1)
            found |= needlesAt(block + std::countr_zero(lanes), m_blockNeedles & ~found);
    }
    pos = at;
    return found;
}
#endif

// The sought needles that start at `at`, which all fit in the text there.
uint64_t SubstringSet::needlesAt(const char* at, uint64_t sought) const {
    uint64_t found = 0;
    for (sought &= m_byFirstByte[static_cast<unsigned char>(at[0])]; sought != 0; sought &= sought - 1) {
        const auto i = static_cast<size_t>(std::countr_zero(sought));
        const std::string_view n = m_needles[i];
        if (at[1] == n[1] && std::string_view(at, n.size()) == n)
            found |= uint64_t{1} << i;
    }
    return found;
}

// Where blocks do not reach (the last bytes, one-byte needles, or everything
// without SSE2), each needle not found yet is searched plainly.
uint64_t SubstringSet::findTail(std::string_view text, size_t from, uint64_t found) const {
    for (size_t i = 0; i < m_needles.size(); ++i) {
        const uint64_t bit = uint64_t{1} << i;
        const size_t start = (m_blockNeedles & bit) ? from : 0;
        if (!(found & bit) && text.find(m_needles[i], start) != std::string_view::npos)
            found |= bit;
    }
    return found;
}
