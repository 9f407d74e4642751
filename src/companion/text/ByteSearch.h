#pragma once

#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The first byte in [p, end) that is one of Stops, or end. Sixteen bytes are
// tested at a step where SSE2 is there: readers of markup stop at a few bytes
// that long runs of content (base64 above all) rarely hold.
template <char... Stops> const char* findFirstOf(const char* p, const char* end) {
#if defined(__SSE2__)
    constexpr long kLanes = 16;
    for (; end - p >= kLanes; p += kLanes) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        __m128i hits = _mm_setzero_si128();
        ((hits = _mm_or_si128(hits, _mm_cmpeq_epi8(block, _mm_set1_epi8(Stops)))), ...);
        if (const auto lanes = static_cast<unsigned>(_mm_movemask_epi8(hits)); lanes != 0)
            return p + std::countr_zero(lanes);
    }
#endif
    while (p < end && ((*p != Stops) && ...))
        ++p;
    return p;
}
