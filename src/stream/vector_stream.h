// The walk over a stream of vectors, some of them left out by a mask array.
#pragma once

#include <emmintrin.h>

#include <bit>

#include "frame/lane_loop.h"

namespace zel {

/// Whether two ranges of memory have no byte in common.
inline bool apart(const void* p, Count pBytes, const void* q, Count qBytes) {
    const auto first = reinterpret_cast<std::uintptr_t>(p), second = reinterpret_cast<std::uintptr_t>(q);
    return first + static_cast<std::uintptr_t>(pBytes) <= second ||
           second + static_cast<std::uintptr_t>(qBytes) <= first;
}

/// vector(v) for each vector of the stream whose mask entry is 0, upward; all of them without a mask. A
/// vector that is left out is neither read nor written. Each mask entry counts as it stands when its vector's
/// turn comes.
template <int stride, class Vector>
inline void eachVector(float* d, Count num, const std::uint32_t* mask, Vector vector) {
    if (!mask) {
        Count i = 0;
        for (; num - i >= 4; i += 4) {
            vector(d + stride * i);
            vector(d + stride * (i + 1));
            vector(d + stride * (i + 2));
            vector(d + stride * (i + 3));
        }
        for (; i < num; ++i) vector(d + stride * i);
        return;
    }
    Count i = 0;
    // Four entries at a time, where no store to the stream can change the mask.
    if (num >= 4 && apart(d, num * stride * Count{sizeof(float)}, mask, num * Count{sizeof *mask})) {
        const __m128i zero = _mm_setzero_si128();
        for (; i + 4 <= num; i += 4) {
            const __m128i entries = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + i));
            auto taken =
                static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(entries, zero))));
            if (taken == 0xF) {
                vector(d + stride * i);
                vector(d + stride * (i + 1));
                vector(d + stride * (i + 2));
                vector(d + stride * (i + 3));
                continue;
            }
            for (; taken; taken &= taken - 1) vector(d + stride * (i + std::countr_zero(taken)));
        }
    }
    for (; i < num; ++i)
        if (mask[i] == 0) vector(d + stride * i);
}

}  // namespace zel
