#include "analysis/LikenessSum.h"

#include "analysis/TextSimilarity.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace velmora {

#if defined(__SSE2__)

std::optional<int> likenessSum(const std::int32_t* a, const std::int32_t* b, int count) {
    const __m128 zero = _mm_setzero_ps();
    const __m128 tiny = _mm_set1_ps(0.0001f);
    const __m128 hundred = _mm_set1_ps(100.0f);
    const __m128i hundredInt = _mm_set1_epi32(100);
    __m128i total = _mm_setzero_si128();
    __m128i outOfRange = _mm_setzero_si128();
    for (int k = 0; k < count; k += 4) {
        __m128 x = _mm_cvtepi32_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a + k)));
        __m128 y = _mm_cvtepi32_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(b + k)));
        // A zero counts as 0.0001.
        x = _mm_or_ps(_mm_and_ps(_mm_cmpeq_ps(x, zero), tiny),
                      _mm_andnot_ps(_mm_cmpeq_ps(x, zero), x));
        y = _mm_or_ps(_mm_and_ps(_mm_cmpeq_ps(y, zero), tiny),
                      _mm_andnot_ps(_mm_cmpeq_ps(y, zero), y));
        // The smaller times 100 over the larger, in single precision, rounded
        // half to even by the conversion (the default rounding mode).
        const __m128 ratio = _mm_div_ps(_mm_mul_ps(_mm_min_ps(x, y), hundred), _mm_max_ps(x, y));
        __m128i likeness = _mm_cvtps_epi32(ratio);
        const __m128i equal = _mm_castps_si128(_mm_cmpeq_ps(x, y));
        likeness =
            _mm_or_si128(_mm_and_si128(equal, hundredInt), _mm_andnot_si128(equal, likeness));
        // Outside 0..255 (the conversion gives INT_MIN for values it cannot hold).
        outOfRange = _mm_or_si128(outOfRange, _mm_cmplt_epi32(likeness, _mm_setzero_si128()));
        outOfRange = _mm_or_si128(outOfRange, _mm_cmpgt_epi32(likeness, _mm_set1_epi32(255)));
        total = _mm_add_epi32(total, likeness);
    }
    if (_mm_movemask_epi8(outOfRange) != 0)
        return std::nullopt;
    total = _mm_add_epi32(total, _mm_shuffle_epi32(total, _MM_SHUFFLE(1, 0, 3, 2)));
    total = _mm_add_epi32(total, _mm_shuffle_epi32(total, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(total);
}

#else

std::optional<int> likenessSum(const std::int32_t* a, const std::int32_t* b, int count) {
    int total = 0;
    for (int k = 0; k < count; ++k) {
        const float likeness = comppar(float(a[k]), float(b[k]));
        if (!(likeness >= 0 && likeness <= 255))
            return std::nullopt;
        total += int(likeness);
    }
    return total;
}

#endif

#if !defined(__SSE2__)

int likenessSum16(const std::uint16_t* stored, const float* candidate) {
    int total = 0;
    for (int k = 0; k < 16; ++k)
        total += int(comppar(float(stored[k]), candidate[k]));
    return total;
}

#endif

} // namespace velmora
