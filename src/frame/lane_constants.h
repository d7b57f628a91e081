// Lane constants: 16-byte blocks that lane formulas read. They are part of the load image: they hold from the moment
// the library is mapped. They are constant, so a compiler keeps them in registers across stores to a caller's arrays.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace zel {

using LaneWords = std::int32_t[4];

alignas(16) constexpr LaneWords theLaneZero = {0, 0, 0, 0};
alignas(16) constexpr LaneWords theLaneInfinity = {0x7F800000, 0x7F800000, 0x7F800000, 0x7F800000};
alignas(16) constexpr LaneWords theLaneOne = {1, 1, 1, 1};

inline __m128i intLanes(const LaneWords& words) { return _mm_load_si128(reinterpret_cast<const __m128i*>(words)); }
inline __m128 floatLanes(const LaneWords& words) { return _mm_castsi128_ps(intLanes(words)); }

}  // namespace zel
