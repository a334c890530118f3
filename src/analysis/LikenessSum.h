#pragma once

#include <cstdint>
#include <optional>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace velmora {

// Sum of comppar(a[k], b[k]) over k < count (a multiple of 4), each likeness
// taken as a byte, computed four at a time. Bit for bit the same as calling
// comppar per pair; nullopt when some likeness falls outside 0..255 (negative
// inputs), in which case the caller runs the per-pair path, which reports the
// failure.
std::optional<int> likenessSum(const std::int32_t* a, const std::int32_t* b, int count);

// The same sum over sixteen counts, for a stored record packed in 16 bits
// against a candidate whose counts are already floats with every zero taken
// as 0.0001 (as comppar takes it). Both sides are non-negative, so every
// likeness lies in 0..100 and the sum always exists.
// Inline: it runs once per record when a table is scanned.
int likenessSum16(const std::uint16_t* stored, const float* candidate);

#if defined(__SSE2__)

namespace detail {

inline __m128i packedLikeness(__m128i storedCounts, __m128 y) {
    const __m128 zero = _mm_setzero_ps();
    __m128 x = _mm_cvtepi32_ps(storedCounts);
    x = _mm_or_ps(_mm_and_ps(_mm_cmpeq_ps(x, zero), _mm_set1_ps(0.0001f)),
                  _mm_andnot_ps(_mm_cmpeq_ps(x, zero), x));
    const __m128 ratio =
        _mm_div_ps(_mm_mul_ps(_mm_min_ps(x, y), _mm_set1_ps(100.0f)), _mm_max_ps(x, y));
    const __m128i likeness = _mm_cvtps_epi32(ratio);
    const __m128i equal = _mm_castps_si128(_mm_cmpeq_ps(x, y));
    return _mm_or_si128(_mm_and_si128(equal, _mm_set1_epi32(100)),
                        _mm_andnot_si128(equal, likeness));
}

} // namespace detail

inline int likenessSum16(const std::uint16_t* stored, const float* candidate) {
    const __m128i zero = _mm_setzero_si128();
    __m128i total = zero;
    for (int k = 0; k < 16; k += 8) {
        const __m128i counts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(stored + k));
        total = _mm_add_epi32(total, detail::packedLikeness(_mm_unpacklo_epi16(counts, zero),
                                                            _mm_loadu_ps(candidate + k)));
        total = _mm_add_epi32(total, detail::packedLikeness(_mm_unpackhi_epi16(counts, zero),
                                                            _mm_loadu_ps(candidate + k + 4)));
    }
    total = _mm_add_epi32(total, _mm_shuffle_epi32(total, _MM_SHUFFLE(1, 0, 3, 2)));
    total = _mm_add_epi32(total, _mm_shuffle_epi32(total, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(total);
}

#endif

} // namespace velmora
