// Lane kernels as one would first write them with intrinsics: one lane group per step, no lead-in and no tail. They tell
// what the library's lane loops gain. Arrays on 16-byte boundaries, counts in fours.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;

const bench::Values theValues = bench::values();

__m128 load(const float* x) { return _mm_load_ps(x); }
__m128i load(const int* x) { return _mm_load_si128(reinterpret_cast<const __m128i*>(x)); }
__m128i load(const std::uint32_t* x) { return _mm_load_si128(reinterpret_cast<const __m128i*>(x)); }
void store(float* d, __m128 x) { _mm_store_ps(d, x); }
void store(int* d, __m128i x) { _mm_store_si128(reinterpret_cast<__m128i*>(d), x); }
__m128i bits(__m128 mask) { return _mm_castps_si128(mask); }

/// The four float lanes, added to a double.
double laneSum(__m128 x) {
    float lane[4];
    _mm_storeu_ps(lane, x);
    return static_cast<double>(((lane[0] + lane[1]) + lane[2]) + lane[3]);
}

/// Blocks of 256 lane groups, one after the other.
template <class Term>
void blockedSum(const Data& q, Count n, Term term) {
    double total = 0;
    for (Count block = 0; block < n; block += 1024) {
        __m128 sum = _mm_setzero_ps();
        for (Count i = block; i < std::min(block + 1024, n); i += 4) sum = _mm_add_ps(sum, term(i));
        total += laneSum(sum);
    }
    bench::keep(q, total);
}

/// What a clamp in lanes leaves of scaled samples, as words.
__m128i samples(const float* a, __m128 scale, __m128 half) {
    const __m128 x = _mm_add_ps(_mm_mul_ps(scale, load(a)), half);
    return _mm_cvttps_epi32(_mm_max_ps(_mm_min_ps(x, scale), _mm_setzero_ps()));
}

void transform(float* v, const __m128* m) {
    const __m128 x = load(v);
    const __m128 wz = _mm_add_ps(_mm_mul_ps(_mm_shuffle_ps(x, x, 0xFF), m[3]),
                                 _mm_mul_ps(_mm_shuffle_ps(x, x, 0xAA), m[2]));
    const __m128 yx = _mm_add_ps(_mm_mul_ps(_mm_shuffle_ps(x, x, 0x55), m[1]),
                                 _mm_mul_ps(_mm_shuffle_ps(x, x, 0x00), m[0]));
    store(v, _mm_add_ps(wz, yx));
}

// In a loop: i is the first element of a lane group; low, high, third, white the values of the rows in all lanes.
#define LANES(name, ...)                                                                                  \
    {                                                                                                     \
        name, [](const Data& p, Count n) {                                                                \
            [[maybe_unused]] const Data q = p;                                                            \
            [[maybe_unused]] const __m128 low = _mm_set1_ps(theValues.low),                               \
                                          high = _mm_set1_ps(theValues.high),                             \
                                          third = _mm_set1_ps(theValues.third),                           \
                                          white = _mm_set1_ps(theValues.white), half = _mm_set1_ps(0.5f), \
                                          zero = _mm_setzero_ps(),                                        \
                                          m[4] = {load(theValues.matrix[0]), load(theValues.matrix[1]),   \
                                                  load(theValues.matrix[2]), load(theValues.matrix[3])};  \
            [[maybe_unused]] const __m128i one = _mm_set1_epi32(1);                                       \
            for (Count i = 0; i < n; i += 4) {                                                            \
                __VA_ARGS__;                                                                              \
            }                                                                                             \
        }                                                                                                 \
    }

const bench::Kernel kernels[] = {
    LANES("add", store(q.d + i, _mm_add_ps(load(q.a + i), load(q.b + i)))),
    LANES("add int", store(q.k + i, _mm_add_epi32(load(q.i + i), load(q.j + i)))),
    LANES("mul value", store(q.d + i, _mm_mul_ps(load(q.a + i), third))),
    LANES("div", store(q.d + i, _mm_div_ps(load(q.a + i), load(q.b + i)))),
    LANES("fdiv", store(q.d + i, _mm_mul_ps(load(q.a + i), _mm_rcp_ps(load(q.b + i))))),
    LANES("invert", store(q.d + i, _mm_rcp_ps(load(q.a + i)))),
    LANES("sqrt", store(q.d + i, _mm_sqrt_ps(load(q.a + i)))),
    LANES("fsqrt", store(q.d + i, _mm_rcp_ps(_mm_rsqrt_ps(load(q.a + i))))),
    LANES("isqrt", store(q.d + i, _mm_rsqrt_ps(load(q.a + i)))),
    LANES("abs", const __m128 x = load(q.a + i); store(q.d + i, _mm_max_ps(_mm_sub_ps(zero, x), x))),
    LANES("negate", store(q.d + i, _mm_sub_ps(zero, load(q.a + i)))),
    LANES("zelmin", store(q.d + i, _mm_min_ps(load(q.a + i), load(q.b + i)))),
    LANES("clamp", store(q.d + i, _mm_max_ps(low, _mm_min_ps(high, load(q.a + i))))),
    LANES("madd", store(q.d + i, _mm_add_ps(load(q.d + i), _mm_mul_ps(load(q.a + i), load(q.b + i))))),
    LANES("scaleoffset values", store(q.d + i, _mm_add_ps(_mm_mul_ps(load(q.d + i), third), low))),
    LANES("lt", store(q.k + i, _mm_and_si128(bits(_mm_cmplt_ps(load(q.a + i), load(q.b + i))), one))),
    LANES("lt value", store(q.k + i, _mm_and_si128(bits(_mm_cmplt_ps(load(q.a + i), third)), one))),
    LANES("le int", store(q.k + i, _mm_andnot_si128(_mm_cmpgt_epi32(load(q.i + i), load(q.j + i)), one))),
    LANES("fastlt value", store(q.k + i, bits(_mm_cmplt_ps(load(q.a + i), third)))),
    LANES("band", store(q.k + i, _mm_and_si128(load(q.i + i), load(q.j + i)))),
    LANES("set", store(q.d + i, third)),
    LANES("set masked", const __m128i take = _mm_cmpeq_epi32(load(q.mask + i), _mm_setzero_si128());
          store(q.k + i, _mm_or_si128(_mm_andnot_si128(take, load(q.k + i)), _mm_and_si128(take, load(q.i + i))))),
    LANES("swap", const __m128 held = load(q.a + i); store(q.a + i, load(q.b + i)); store(q.b + i, held)),
    LANES("cast", store(q.k + i, _mm_cvttps_epi32(load(q.a + i)))),
    LANES("wpoint 8", const __m128i x = samples(q.a + i, white, half); const __m128i words = _mm_packs_epi32(x, x);
          _mm_storeu_si32(q.bytes + i, _mm_packus_epi16(words, words))),
    LANES("wpoint 16", const __m128i x = samples(q.a + i, _mm_set1_ps(65535), half);
          const __m128i low16 = _mm_srai_epi32(_mm_slli_epi32(x, 16), 16);
          _mm_storeu_si64(q.halves + i, _mm_packs_epi32(low16, low16))),
    {"dot",
     [](const Data& q, Count n) {
         blockedSum(q, n, [=](Count i) { return _mm_mul_ps(load(q.a + i), load(q.b + i)); });
     }},
    {"maddAndNorm",
     [](const Data& q, Count n) {
         const __m128 factor = _mm_set1_ps(1e-6f);
         blockedSum(q, n, [=](Count i) {
             const __m128 u = _mm_add_ps(_mm_mul_ps(factor, load(q.a + i)), load(q.d + i));
             store(q.d + i, u);
             return _mm_mul_ps(u, u);
         });
     }},
    {"mulAndDotDA",
     [](const Data& q, Count n) {
         blockedSum(q, n, [=](Count i) {
             store(q.d + i, _mm_mul_ps(load(q.b + i), load(q.a + i)));
             return _mm_mul_ps(load(q.d + i), load(q.a + i));
         });
     }},
    {"zerocount",
     [](const Data& q, Count n) {
         __m128i count = _mm_setzero_si128();
         for (Count i = 0; i < n; i += 4)
             count = _mm_sub_epi32(count, _mm_cmpeq_epi32(load(q.i + i), _mm_setzero_si128()));
         bench::keep(q, laneSum(_mm_cvtepi32_ps(count)));
     }},
    LANES("mulRowVec44", transform(q.d + i, m)),
    LANES("mulRowVec44 masked", if (q.mask[i / 4] == 0) transform(q.d + i, m)),
    LANES("vadd4u4", store(q.d + i, _mm_add_ps(load(q.d + i), m[0]))),
};

}  // namespace

bench::Kernels straightKernels() { return {kernels, std::size(kernels)}; }

extern "C" __attribute__((visibility("default"))) void benchNothing(float*, const float*, const float*,
                                                                    Count) {}
