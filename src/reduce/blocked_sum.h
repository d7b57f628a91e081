// The float lane sums of the reductions: blocks of 256 lane groups, summed in a fixed order.
#pragma once

#include <xmmintrin.h>

#include "frame/lane_loop.h"

namespace zel {

constexpr Count blockGroups = 256;  // float sums stay short: the total runs in double
constexpr Count blockElements = 4 * blockGroups;

/// Lane 0 and lane 1, then lane 2 to that, then lane 3 to that, each sum rounded to float.
inline double laneSum(__m128 x) {
    alignas(16) float lane[4];
    _mm_store_ps(lane, x);
    return static_cast<double>(((lane[0] + lane[1]) + lane[2]) + lane[3]);
}

inline void prefetch(const float* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }

/// total, plus the sums of `count` whole blocks from element `first` on, upward. The blocks are formed side
/// by side, a lane group of each in turn: independent chains of additions hide the latency of one. term(i)
/// gives the four float terms of the group at element i. Prefetching asks for the arrays of the blocks to
/// come in a straight line, which a prefetcher that sees several places of an array at once doesn't.
template <unsigned count, bool prefetching, class Term, class... Array>
double addBlocks(double total, Count first, Term term, Array... arrays) {
    constexpr Count line = 16;  // floats of a cache line, asked for while as many are summed
    __m128 sums[count] = {};
    for (Count k = 0; k < blockElements; k += line / count) {
        if constexpr (prefetching) (prefetch(arrays + first + count * (blockElements + k)), ...);
        for (Count i = first + k; i < first + k + line / count; i += 4)
            for (unsigned b = 0; b < count; ++b) sums[b] = _mm_add_ps(sums[b], term(i + b * blockElements));
    }
    for (const __m128 sum : sums) total += laneSum(sum);
    return total;
}

/// A reduction over arrays of one phase: the lead-in's sum, the tail's sum, then the blocks' sums, added in
/// this order and upward. sisd(i, n) is the SISD member over n elements from i on. sideBySide: no store of a
/// term lies in the arrays within two blocks from it, but for its own group.
template <class Sisd, class Term, class... Array>
double reduce(Count num, bool sideBySide, Sisd sisd, Term term, const float* d, Array... others) {
    const auto [lead, end] = LaneBounds(phase(d), num);
    double total = 0;
    if (lead > 0) total += sisd(0, lead);
    total += sisd(end, num - end);

    // Any number of blocks side by side gives the same bits. The bounds are measured: in arrays that no cache
    // holds, two places to read from starve the prefetcher.
    constexpr Count bytesPerElement = sizeof(float) * (1 + sizeof...(others));
    const bool cached = num <= (Count{1536} << 10) / bytesPerElement;
    const bool prefetched = num <= (Count{20} << 20) / bytesPerElement;
    Count i = lead;
    if (sideBySide && prefetched)
        for (; end - i >= 2 * blockElements; i += 2 * blockElements)
            total = cached ? addBlocks<2, false>(total, i, term)
                           : addBlocks<2, true>(total, i, term, d, others...);
    while (i < end) {
        const Count stop = end - i < blockElements ? end : i + blockElements;
        __m128 sum = _mm_setzero_ps();
        for (; i < stop; i += 4) sum = _mm_add_ps(sum, term(i));
        total += laneSum(sum);
    }
    return total;
}

}  // namespace zel
