// The float lane sums of the reductions: blocks of 256 lane groups, summed in a fixed order.
#pragma once

#include <xmmintrin.h>

#include <utility>

#include "frame/lane_loop.h"

namespace zel {

constexpr Count blockGroups = 256;  // so few are added in float, and their sums in double
constexpr Count blockElements = 4 * blockGroups;

/// ((lane 0 + lane 1) + lane 2) + lane 3, each sum rounded to float.
inline double laneSum(__m128 x) {
    alignas(16) float lane[4];
    _mm_store_ps(lane, x);
    return static_cast<double>(((lane[0] + lane[1]) + lane[2]) + lane[3]);
}

inline void prefetch(const float* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }

/// total, plus the sums of `count` whole blocks from element `from` on, upward. The blocks are formed side
/// by side, a lane group of each in turn: independent chains of additions hide the latency of one. group(i) does the
/// lane group at element i and gives the four floats to add. `prefetching` loads the next blocks in the order of
/// their addresses. The processor's own prefetcher doesn't, where two places of an array are read in turn.
template <unsigned count, bool prefetching, class Group, class... Array>
double addBlocks(double total, Count from, Group group, Array... arrays) {
    constexpr Count line = 16;  // floats of a cache line, asked for while as many are summed
    constexpr Count step = prefetching ? line / count : 4;
    __m128 sums[count] = {};
    // Indices that are constants: with a loop over them, GCC would keep the sums in memory at -O2.
    const auto addGroups = [&]<std::size_t... b>(Count i, std::index_sequence<b...>) {
        ((sums[b] = _mm_add_ps(sums[b], group(i + Count{b} * blockElements))), ...);
    };
    for (Count k = 0; k < blockElements; k += step) {
        if constexpr (prefetching) (prefetch(arrays + from + count * (blockElements + k)), ...);
        for (Count i = from + k; i < from + k + step; i += 4) addGroups(i, std::make_index_sequence<count>());
    }
    for (const __m128 sum : sums) total += laneSum(sum);
    return total;
}

/// A reduction over arrays of one phase: the lead-in's sum, the tail's sum, then the blocks' sums, added in
/// this order and upward. sisd(i, n) is the SISD member over n elements from i on, group(i) as above. sideBySide: how
/// many blocks may be formed so, because a group writes nothing that another group of them reads.
template <class Sisd, class Group, class... Array>
double reduce(Count num, unsigned sideBySide, Sisd sisd, Group group, const float* first, Array... others) {
    const LaneBounds bounds(phase(first), num);
    const Count lead = bounds.lead, end = bounds.end;  // Clang 14 captures no structured binding
    double total = 0;
    if (lead > 0) total += sisd(0, lead);
    total += sisd(end, num - end);

    // Any number of blocks side by side gives the same bits.
    constexpr Count bytesPerElement = sizeof(float) * (1 + sizeof...(others));
    const bool cached = num <= pairedBytes / bytesPerElement;
    const bool prefetched = num <= prefetchedBytes / bytesPerElement;
    Count i = lead;
    const auto addAll = [&]<unsigned count, bool prefetching>() {
        for (; end - i >= count * blockElements; i += count * blockElements)
            total = addBlocks<count, prefetching>(total, i, group, first, others...);
    };
    if (cached) {
        if (sideBySide >= 4) addAll.template operator()<4, false>();
        if (sideBySide >= 3) addAll.template operator()<3, false>();
        if (sideBySide >= 2) addAll.template operator()<2, false>();
    } else if (prefetched && sideBySide >= 2) {
        addAll.template operator()<2, true>();
    }
    while (i < end) {
        const Count stop = end - i < blockElements ? end : i + blockElements;
        __m128 sum = _mm_setzero_ps();
        for (; i < stop; i += 4) sum = _mm_add_ps(sum, group(i));
        total += laneSum(sum);
    }
    return total;
}

}  // namespace zel
