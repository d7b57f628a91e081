// The walk over a stream of vectors, some of them left out by a mask array.
#pragma once

#include <emmintrin.h>

#include <bit>

#include "frame/lane_loop.h"

namespace zel {

/// vector(v) for each vector of the stream whose mask entry is 0, upward, or for all of them without a mask. A
/// vector that is left out is neither read nor written. Each mask entry counts as it stands when the walk
/// reaches its vector.
template <int stride, class Vector>
inline void eachVector(float* d, Count num, const std::uint32_t* mask, Vector vector) {
    [[maybe_unused]] const Call call(Form::element, num, d);
    const auto one = [=](Count i) { vector(d + stride * i); };
    if (!mask) return upwardByFours<1>(0, num, one);

    const auto masked = [=](Count i) {
        if (mask[i] == 0) one(i);
    };
    const auto fourMasked = [=](Count i) {
        const __m128i entries = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + i));
        const __m128i zeros = _mm_cmpeq_epi32(entries, _mm_setzero_si128());
        auto taken = static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(zeros)));
        if (taken == 0xF) return upwardByFours<1>(i, i + 4, one);
        for (; taken; taken &= taken - 1) one(i + std::countr_zero(taken));
    };
    // Four entries are read at a time only where no store to the stream can change the mask.
    if (num >= 4 && apart(d, num * stride * Count{sizeof(float)}, mask, num * Count{sizeof *mask}))
        upward<4, 1>(0, num, fourMasked, masked);
    else
        upward<1, 1>(0, num, masked, masked);
}

}  // namespace zel
