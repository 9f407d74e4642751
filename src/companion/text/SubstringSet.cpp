#include "companion/text/SubstringSet.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

SubstringSet::SubstringSet(std::span<const std::string_view> needles) {
    for (std::string_view n : needles.first(std::min(needles.size(), kMaxNeedles))) {
        m_needles.push_back(Needle{n, static_cast<unsigned char>(n.front()), static_cast<unsigned char>(n.back())});
        m_all = (m_all << 1) | 1;
    }
}

uint64_t SubstringSet::findIn(std::string_view text) const {
    uint64_t found = 0;
    size_t pos = 0;
#if defined(__SSE2__)
    constexpr size_t kLanes = 16;
    size_t longest = 0;
    for (const Needle& n : m_needles)
        longest = std::max(longest, n.text.size());
    // A block is tested only when the longest needle starting at its last
    // lane still fits, so every load stays inside the text.
    for (; found != m_all && pos + kLanes + longest <= text.size() + 1; pos += kLanes) {
        const char* block = text.data() + pos;
        for (size_t i = 0; i < m_needles.size(); ++i) {
            const Needle& n = m_needles[i];
            if (found & (uint64_t{1} << i))
                continue;
            const __m128i firsts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
            const __m128i lasts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + n.text.size() - 1));
            const __m128i hits = _mm_and_si128(_mm_cmpeq_epi8(firsts, _mm_set1_epi8(static_cast<char>(n.first))),
                                               _mm_cmpeq_epi8(lasts, _mm_set1_epi8(static_cast<char>(n.last))));
            for (auto lanes = static_cast<unsigned>(_mm_movemask_epi8(hits)); lanes != 0; lanes &= lanes - 1) {
                if (std::string_view(block + std::countr_zero(lanes), n.text.size()) == n.text) {
                    found |= uint64_t{1} << i;
                    break;
                }
            }
        }
    }
#endif
    return findTail(text, pos, found);
}

// Where blocks do not reach (the last bytes, or everything without SSE2),
// each needle is searched plainly.
uint64_t SubstringSet::findTail(std::string_view text, size_t from, uint64_t found) const {
    for (size_t i = 0; i < m_needles.size(); ++i) {
        if (!(found & (uint64_t{1} << i)) && text.find(m_needles[i].text, from) != std::string_view::npos)
            found |= uint64_t{1} << i;
    }
    return found;
}
