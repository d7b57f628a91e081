// White point: float samples to stored samples of 8, 16 or 32 bits, and back.
#include <algorithm>
#include <cstring>

#include "convert/truncate.h"
#include "convert/unit_table.h"
#include "frame/lane_constants.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

/// Two rounded steps and a clamp, 0 first. The lane clamp takes a NaN to the limit, the element clamp keeps
/// it.
struct Map {
    static float element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        // Two choices that don't depend on each other vectorise; one inside the other becomes a branch.
        const float below = x >= limit ? limit : x;
        return x <= 0 ? 0 : below;
    }
    static __m128 lanes(__m128 a, __m128 scale, __m128 limit, __m128 offset) {
        const __m128 x = _mm_add_ps(_mm_mul_ps(scale, a), offset);
        // minps and maxps give their second operand when the comparison fails: the limit for a NaN, +0 for
        // -0.
        return _mm_max_ps(_mm_min_ps(x, limit), floatLanes(theLaneZero));
    }
};

/// The low bits of the truncated value; nothing saturates.
struct MapToSample {
    static int element(float a, float scale, float limit, float offset) {
        return truncate(Map::element(a, scale, limit, offset));
    }
    static __m128i lanes(__m128 a, __m128 scale, __m128 limit, __m128 offset) {
        return _mm_cvttps_epi32(Map::lanes(a, scale, limit, offset));
    }
};

// ---- Packing: the low bits of 32-bit words. Packs saturate, so the words are brought into their range
// first.

inline __m128i lowHalves(__m128i x, __m128i y) {
    return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(x, 16), 16),
                           _mm_srai_epi32(_mm_slli_epi32(y, 16), 16));
}
inline __m128i lowBytes(__m128i x, __m128i y) {
    const __m128i byte = _mm_set1_epi32(0xFF);
    return _mm_packs_epi32(_mm_and_si128(x, byte), _mm_and_si128(y, byte));
}

inline void storeSamples(std::uint16_t* d, __m128i x) { _mm_storeu_si64(d, lowHalves(x, x)); }
inline void storeSamples(std::uint8_t* d, __m128i x) {
    const __m128i halves = lowBytes(x, x);
    _mm_storeu_si32(d, _mm_packus_epi16(halves, halves));
}
inline void storeSamples(std::uint16_t* d, __m128i x, __m128i y, __m128i z, __m128i w) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), lowHalves(x, y));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 8), lowHalves(z, w));
}
inline void storeSamples(std::uint8_t* d, __m128i x, __m128i y, __m128i z, __m128i w) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(lowBytes(x, y), lowBytes(z, w)));
}

/// float to samples of 8 or 16 bits. d is written in elements, so only a has a phase.
template <class Sample>
void wpointLanes(Sample* d, const float* a, float scale, float limit, float offset, Count num) {
    const Count lead = std::min<Count>(phase(a), num);
    const Count end = lead + ((num - lead) & ~Count{3});
    for (Count i = 0; i < lead; ++i)
        d[i] = static_cast<Sample>(MapToSample::element(a[i], scale, limit, offset));
    for (Count i = num; i-- > end;)
        d[i] = static_cast<Sample>(MapToSample::element(a[i], scale, limit, offset));
    const __m128 scales = spread(scale), limits = spread(limit), offsets = spread(offset);
    const auto samples = [=](Count i) { return MapToSample::lanes(group(a, i), scales, limits, offsets); };
    Count i = lead;
    // Four groups in one store, where that store can't reach what the step has yet to read.
    const void* const aEnd = a + num;
    if (static_cast<const void*>(d) <= a || static_cast<const void*>(d) >= aEnd)
        for (; i + 16 <= end; i += 16)
            storeSamples(d + i, samples(i), samples(i + 4), samples(i + 8), samples(i + 12));
    for (; i < end; i += 4) storeSamples(d + i, samples(i));
}
void wpointLanes(float* d, const float* a, float scale, float limit, float offset, Count num) {
    lanes<Map>(d, num, a, scale, limit, offset);
}

/// Back to float. The difference of samples is exact in int and in float.
struct Unmap {
    static float element(int a, int black, float reciprocal) {
        return static_cast<float>(a - black) * reciprocal;
    }
    static float element(float a, float black, float reciprocal) { return (a - black) * reciprocal; }
};

/// The last num & 3 elements downward, then the others upward, wherever the arrays lie.
template <class Sample>
void iwpointLoop(float* d, const Sample* a, float reciprocal, Sample black, Count num) {
    const Count end = num & ~Count{3};
    for (Count i = num; i-- > end;) d[i] = Unmap::element(a[i], black, reciprocal);
    elements<Unmap>(d, end, a, black, reciprocal);
}

/// d[i] = theUnitTable[a[i]], upward.
void unitElements(float* d, const std::uint8_t* a, Count num) {
    Count i = 0;
    const void* const dEnd = d + num;
    const void* const aEnd = a + num;
    if (dEnd <= a || d >= aEnd)  // eight samples in one load, unless a store could change those to come
        for (; i + 8 <= num; i += 8) {
            std::uint64_t samples;
            std::memcpy(&samples, a + i, sizeof samples);
            for (int k = 0; k < 8; ++k) d[i + k] = theUnitTable[samples >> 8 * k & 0xFF];
        }
    for (; i < num; ++i) d[i] = theUnitTable[a[i]];
}

}  // namespace

void ZEL_Math::wpoint(std::uint8_t* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    return theSIMD ? wpointLanes(d, a, scale, limit, offset, num)
                   : elements<MapToSample>(d, num, a, scale, limit, offset);
}
void ZEL_Math::wpoint(std::uint16_t* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    return theSIMD ? wpointLanes(d, a, scale, limit, offset, num)
                   : elements<MapToSample>(d, num, a, scale, limit, offset);
}
void ZEL_Math::wpoint(float* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    return theSIMD ? wpointLanes(d, a, scale, limit, offset, num)
                   : elements<Map>(d, num, a, scale, limit, offset);
}
void ZEL_Math::wpointSIMD(std::uint8_t* d, const float* a, float scale, float limit, float black, Count num) {
    wpointLanes(d, a, scale, limit, black + 0.5f, num);
}
void ZEL_Math::wpointSIMD(std::uint16_t* d, const float* a, float scale, float limit, float black,
                          Count num) {
    wpointLanes(d, a, scale, limit, black + 0.5f, num);
}
void ZEL_Math::wpointSIMD(float* d, const float* a, float scale, float limit, float black, Count num) {
    wpointLanes(d, a, scale, limit, black + 0.5f, num);
}

void ZEL_Math::iwpoint(float* d, const std::uint8_t* a, float scale, std::uint8_t black, Count num) {
    return theSIMD ? iwpointSIMD(d, a, scale, black, num) : elements<Unmap>(d, num, a, black, 1.0f / scale);
}
void ZEL_Math::iwpoint(float* d, const std::uint16_t* a, float scale, std::uint16_t black, Count num) {
    const float reciprocal = 1.0f / scale;
    return theSIMD ? iwpointLoop(d, a, reciprocal, black, num)
                   : elements<Unmap>(d, num, a, black, reciprocal);
}
void ZEL_Math::iwpoint(float* d, const float* a, float scale, float black, Count num) {
    const float reciprocal = 1.0f / scale;
    return theSIMD ? iwpointLoop(d, a, reciprocal, black, num)
                   : elements<Unmap>(d, num, a, black, reciprocal);
}
void ZEL_Math::iwpointSIMD(float* d, const std::uint8_t* a, float scale, std::uint8_t black, Count num) {
    if (black == 0 && scale == 255.0f) return unitElements(d, a, num);
    iwpointLoop(d, a, 1.0f / scale, black, num);
}
void ZEL_Math::iwpointSIMD(float* d, const std::uint16_t* a, float scale, std::uint16_t black, Count num) {
    iwpointLoop(d, a, 1.0f / scale, black, num);
}
void ZEL_Math::iwpointSIMD(float* d, const float* a, float scale, float black, Count num) {
    iwpointLoop(d, a, 1.0f / scale, black, num);
}
