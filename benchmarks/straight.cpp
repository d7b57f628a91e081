// Lane kernels as one would first write them with intrinsics: one lane group per step, no lead-in and no
// tail. They tell what the library's lane loops gain. Arrays on 16-byte boundaries, counts in fours.
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
template <class Term> void blockedSum(const Data& q, Count n, Term term) {
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
    const __m128 wz =
        _mm_add_ps(_mm_mul_ps(_mm_shuffle_ps(x, x, 0xFF), m[3]), _mm_mul_ps(_mm_shuffle_ps(x, x, 0xAA), m[2]));
    const __m128 yx =
        _mm_add_ps(_mm_mul_ps(_mm_shuffle_ps(x, x, 0x55), m[1]), _mm_mul_ps(_mm_shuffle_ps(x, x, 0x00), m[0]));
    store(v, _mm_add_ps(wz, yx));
}

/// The values of the rows, each in all lanes.
struct Lanes {
    __m128 low = _mm_set1_ps(theValues.low), high = _mm_set1_ps(theValues.high);
    __m128 third = _mm_set1_ps(theValues.third), white = _mm_set1_ps(theValues.white);
    __m128 half = _mm_set1_ps(0.5f), zero = _mm_setzero_ps();
    __m128i one = _mm_set1_epi32(1);
    __m128 m[4] = {load(theValues.matrix[0]), load(theValues.matrix[1]), load(theValues.matrix[2]),
                   load(theValues.matrix[3])};
};

/// A loop over the lane groups; group(arrays, values, i) does the one at element i.
template <class Group> bench::Kernel loop(const char* name, Group) {
    return {name, [](const Data& p, Count n) {
                const Data q = p;
                const Lanes v;
                for (Count i = 0; i < n; i += 4) Group()(q, v, i);
            }};
}

const bench::Kernel kernels[] = {
    loop("add", [](auto& q, auto&, Count i) { store(q.d + i, _mm_add_ps(load(q.a + i), load(q.b + i))); }),
    loop("add int",
         [](auto& q, auto&, Count i) {
             store(q.k + i, _mm_add_epi32(load(q.i + i), load(q.j + i)));
         }),
    loop("mul value", [](auto& q, auto& v, Count i) { store(q.d + i, _mm_mul_ps(load(q.a + i), v.third)); }),
    loop("div", [](auto& q, auto&, Count i) { store(q.d + i, _mm_div_ps(load(q.a + i), load(q.b + i))); }),
    loop("fdiv",
         [](auto& q, auto&, Count i) {
             store(q.d + i, _mm_mul_ps(load(q.a + i), _mm_rcp_ps(load(q.b + i))));
         }),
    loop("invert", [](auto& q, auto&, Count i) { store(q.d + i, _mm_rcp_ps(load(q.a + i))); }),
    loop("sqrt", [](auto& q, auto&, Count i) { store(q.d + i, _mm_sqrt_ps(load(q.a + i))); }),
    loop("fsqrt", [](auto& q, auto&, Count i) { store(q.d + i, _mm_rcp_ps(_mm_rsqrt_ps(load(q.a + i)))); }),
    loop("isqrt", [](auto& q, auto&, Count i) { store(q.d + i, _mm_rsqrt_ps(load(q.a + i))); }),
    loop("abs",
         [](auto& q, auto& v, Count i) {
             const __m128 x = load(q.a + i);
             store(q.d + i, _mm_max_ps(_mm_sub_ps(v.zero, x), x));
         }),
    loop("negate", [](auto& q, auto& v, Count i) { store(q.d + i, _mm_sub_ps(v.zero, load(q.a + i))); }),
    loop("zelmin", [](auto& q, auto&, Count i) { store(q.d + i, _mm_min_ps(load(q.a + i), load(q.b + i))); }),
    loop("clamp",
         [](auto& q, auto& v, Count i) {
             store(q.d + i, _mm_max_ps(v.low, _mm_min_ps(v.high, load(q.a + i))));
         }),
    loop("madd",
         [](auto& q, auto&, Count i) {
             store(q.d + i, _mm_add_ps(load(q.d + i), _mm_mul_ps(load(q.a + i), load(q.b + i))));
         }),
    loop("scaleoffset values",
         [](auto& q, auto& v, Count i) {
             store(q.d + i, _mm_add_ps(_mm_mul_ps(load(q.d + i), v.third), v.low));
         }),
    loop("lt",
         [](auto& q, auto& v, Count i) {
             store(q.k + i, _mm_and_si128(bits(_mm_cmplt_ps(load(q.a + i), load(q.b + i))), v.one));
         }),
    loop("lt value",
         [](auto& q, auto& v, Count i) {
             store(q.k + i, _mm_and_si128(bits(_mm_cmplt_ps(load(q.a + i), v.third)), v.one));
         }),
    loop("le int",
         [](auto& q, auto& v, Count i) {
             store(q.k + i, _mm_andnot_si128(_mm_cmpgt_epi32(load(q.i + i), load(q.j + i)), v.one));
         }),
    loop("fastlt value",
         [](auto& q, auto& v, Count i) {
             store(q.k + i, bits(_mm_cmplt_ps(load(q.a + i), v.third)));
         }),
    loop("band",
         [](auto& q, auto&, Count i) {
             store(q.k + i, _mm_and_si128(load(q.i + i), load(q.j + i)));
         }),
    loop("set", [](auto& q, auto& v, Count i) { store(q.d + i, v.third); }),
    loop("set masked",
         [](auto& q, auto&, Count i) {
             const __m128i take = _mm_cmpeq_epi32(load(q.mask + i), _mm_setzero_si128());
             const __m128i kept = _mm_andnot_si128(take, load(q.k + i));
             store(q.k + i, _mm_or_si128(kept, _mm_and_si128(take, load(q.i + i))));
         }),
    loop("swap",
         [](auto& q, auto&, Count i) {
             const __m128 held = load(q.a + i);
             store(q.a + i, load(q.b + i));
             store(q.b + i, held);
         }),
    loop("cast", [](auto& q, auto&, Count i) { store(q.k + i, _mm_cvttps_epi32(load(q.a + i))); }),
    loop("wpoint 8",
         [](auto& q, auto& v, Count i) {
             const __m128i x = samples(q.a + i, v.white, v.half);
             const __m128i words = _mm_packs_epi32(x, x);
             _mm_storeu_si32(q.bytes + i, _mm_packus_epi16(words, words));
         }),
    loop("wpoint 16",
         [](auto& q, auto& v, Count i) {
             const __m128i x = samples(q.a + i, _mm_set1_ps(65535), v.half);
             const __m128i low16 = _mm_srai_epi32(_mm_slli_epi32(x, 16), 16);
             _mm_storeu_si64(q.halves + i, _mm_packs_epi32(low16, low16));
         }),
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
    loop("mulRowVec44", [](auto& q, auto& v, Count i) { transform(q.d + i, v.m); }),
    loop("mulRowVec44 masked",
         [](auto& q, auto& v, Count i) {
             if (q.mask[i / 4] == 0) transform(q.d + i, v.m);
         }),
    loop("vadd4u4", [](auto& q, auto& v, Count i) { store(q.d + i, _mm_add_ps(load(q.d + i), v.m[0])); }),
};

}  // namespace

bench::Kernels straightKernels() { return {kernels, std::size(kernels)}; }

void benchNothing(float*, const float*, const float*, Count) {}
