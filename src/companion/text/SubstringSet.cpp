#include "companion/text/SubstringSet.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

SubstringSet::SubstringSet(std::span<const std::string_view> needles) {
    for (std::string_view n : needles.first(std::min(needles.size(), kMaxNeedles))) {
        m_needles.push_back(Needle{n, static_cast<unsigned char>(n.front()), static_cast<unsigned char>(n.back())});
    }
}

uint64_t SubstringSet::findIn(std::string_view text) const {
    uint64_t found = 0;
    size_t pos = 0;
#if defined(__SSE2__)
    constexpr size_t kLanes = 16;
    // The needles still sought, with their first and last bytes in every lane.
    struct Sought {
        size_t index;
        size_t lastOffset;
        __m128i first;
        __m128i last;
    };
    Sought sought[kMaxNeedles];
    size_t count = 0;
    size_t longest = 0;
    for (size_t i = 0; i < m_needles.size(); ++i) {
        const Needle& n = m_needles[i];
        longest = std::max(longest, n.text.size());
        sought[count++] = Sought{i, n.text.size() - 1, _mm_set1_epi8(static_cast<char>(n.first)),
                                 _mm_set1_epi8(static_cast<char>(n.last))};
    }
    // Lanes where a needle's first and last bytes both match.
    auto candidates = [](const Sought& s, const char* block, __m128i firsts) {
        const __m128i lasts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + s.lastOffset));
        return _mm_and_si128(_mm_cmpeq_epi8(firsts, s.first), _mm_cmpeq_epi8(lasts, s.last));
    };
    // A block is tested only when the longest needle starting at its last
    // lane still fits, so every load stays inside the text.
    for (; count > 0 && pos + kLanes + longest <= text.size() + 1; pos += kLanes) {
        const char* block = text.data() + pos;
        const __m128i firsts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
        // One test for all needles; only a block with a candidate is
        // searched needle by needle.
        __m128i any = _mm_setzero_si128();
        for (size_t k = 0; k < count; ++k)
            any = _mm_or_si128(any, candidates(sought[k], block, firsts));
        if (_mm_movemask_epi8(any) == 0)
            continue;
        for (size_t k = 0; k < count; ++k) {
            const std::string_view needle = m_needles[sought[k].index].text;
            auto lanes = static_cast<unsigned>(_mm_movemask_epi8(candidates(sought[k], block, firsts)));
            for (; lanes != 0; lanes &= lanes - 1) {
                if (std::string_view(block + std::countr_zero(lanes), needle.size()) == needle)
                    break;
            }
            if (lanes != 0) {
                found |= uint64_t{1} << sought[k].index;
                sought[k--] = sought[--count];
            }
        }
    }
#endif
    return findTail(text, pos, found);
}

// Where blocks do not reach (the last bytes, or everything without SSE2),
// each needle not found yet is searched plainly.
uint64_t SubstringSet::findTail(std::string_view text, size_t from, uint64_t found) const {
    for (size_t i = 0; i < m_needles.size(); ++i) {
        if (!(found & (uint64_t{1} << i)) && text.find(m_needles[i].text, from) != std::string_view::npos)
            found |= uint64_t{1} << i;
    }
    return found;
}
