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

/// How far ahead of the sums to run; any choice gives the same bits.
enum class Flight {
    oneBlock,       // a stream too long for any cache: two places in it starve the prefetcher
    twoPrefetched,  // blocks side by side, the next two asked for in a straight line
    twoBlocks,      // two independent chains of additions hide the latency of one
};

/// By the bytes that one call streams through; the bounds are measured.
inline Flight flightFor(Count bytes) {
    if (bytes <= Count{1536} << 10) return Flight::twoBlocks;
    return bytes <= Count{20} << 20 ? Flight::twoPrefetched : Flight::oneBlock;
}

/// total, plus the sum of each block of lane groups from element `first` to `end`, upward. term(i) gives the
/// four float terms of the group at element i; ahead(i) prefetches around there. With two blocks in flight
/// the terms of the second are formed before the first is through.
template <class Term, class Ahead>
double blockedSum(double total, Count first, Count end, Flight flight, Term term, Ahead ahead) {
    Count i = first;
    if (flight != Flight::oneBlock) {
        for (; i + 2 * blockElements <= end; i += 2 * blockElements) {
            __m128 sum = _mm_setzero_ps(), next = _mm_setzero_ps();
            if (flight == Flight::twoBlocks) {
                for (Count k = i; k < i + blockElements; k += 4) {
                    sum = _mm_add_ps(sum, term(k));
                    next = _mm_add_ps(next, term(k + blockElements));
                }
            } else {
                for (Count k = i; k < i + blockElements; k += 8) {
                    ahead(i + 2 * blockElements + 2 * (k - i));
                    sum = _mm_add_ps(sum, term(k));
                    next = _mm_add_ps(next, term(k + blockElements));
                    sum = _mm_add_ps(sum, term(k + 4));
                    next = _mm_add_ps(next, term(k + 4 + blockElements));
                }
            }
            total += laneSum(sum);
            total += laneSum(next);
        }
    }
    while (i < end) {
        const Count stop = i + blockElements < end ? i + blockElements : end;
        __m128 sum = _mm_setzero_ps();
        for (; i < stop; i += 4) sum = _mm_add_ps(sum, term(i));
        total += laneSum(sum);
    }
    return total;
}

/// A reduction over arrays of one phase: the lead-in's sum, the tail's sum, then the blocks, added in this
/// order. stretch(i, n) is the SISD member over n elements from i on, upward.
template <class Stretch, class Term, class Ahead>
double reduce(int phase, Count num, Flight flight, Stretch stretch, Term term, Ahead ahead) {
    double total = 0;
    const auto [lead, end] = Groups(phase, num);
    if (lead > 0) total += stretch(0, lead);
    total += stretch(end, num - end);
    return blockedSum(total, lead, end, flight, term, ahead);
}

}  // namespace zel
