// White point: float samples to stored samples of 8, 16 or 32 bits, and back.
#include <bit>
#include <cstring>

#include "convert/packing.h"
#include "convert/truncate.h"
#include "convert/unit_table.h"
#include "frame/lane_constants.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

/// x where it is kept, else +0. A word mask: a choice behind another would become a branch, and one in
/// front of a conversion would be made behind it, on samples that were packed for nothing.
float keptOrZero(bool kept, float x) {
    return std::bit_cast<float>(std::bit_cast<int>(x) & -static_cast<int>(kept));
}

/// Two rounded steps and a clamp, 0 first. The lane clamp takes a NaN to the limit, the element
/// clamp keeps it.
struct Map {
    static float element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        return keptOrZero(!(x <= 0), x >= limit ? limit : x);
    }
    static __m128 lanes(__m128 a, __m128 scale, __m128 limit, __m128 offset) {
        const __m128 x = _mm_add_ps(_mm_mul_ps(scale, a), offset);
        // minps and maxps give their second operand when the comparison fails: for a NaN the limit,
        // and for -0 it is +0.
        return _mm_max_ps(_mm_min_ps(x, limit), floatLanes(theLaneZero));
    }
};

/// The same with the processor's minimum, one instruction for a comparison and a choice. Where the caller has
/// denormals taken for zeros the minimum gives a zero for one, so the limit mustn't be a denormal; an x that
/// is one gives 0 anyway.
struct MapByMinimum : Map {
    static float element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        return keptOrZero(!(x <= 0), limit < x ? limit : x);
    }
};

bool isDenormal(float x) {
    const auto magnitude = std::bit_cast<std::uint32_t>(x) & 0x7FFFFFFF;
    return magnitude != 0 && magnitude < 0x00800000;
}

/// The low bits of the truncated value; nothing saturates.
struct MapToSample {
    static int element(float a, float scale, float limit, float offset) {
        return truncate(Map::element(a, scale, limit, offset));
    }
    static int single(float a, float scale, float limit, float offset) {
        // minss may take a zero or a denormal for another, but all of them truncate to 0; a NaN is
        // its second operand.
        const __m128 x = _mm_set_ss(scale * a + offset), below = _mm_min_ss(_mm_set_ss(limit), x);
        return truncateOne(_mm_cvtss_f32(_mm_and_ps(_mm_cmpnle_ss(x, _mm_setzero_ps()), below)));
    }
    static __m128i lanes(__m128 a, __m128 scale, __m128 limit, __m128 offset) {
        return _mm_cvttps_epi32(Map::lanes(a, scale, limit, offset));
    }
};

/// The same samples where the limit is a number from 0 to what an int can hold, so that every clamped value
/// fits and none has to be chosen first. A NaN passes the limit and then isn't above 0: it is 0 here, as its
/// low bits are there.
struct MapToSampleThatFits {
    static int element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        const float below = limit < x ? limit : x;
        return static_cast<int>(keptOrZero(below > 0, below));
    }
};

/// The lane groups from element i to end. fourAtOnce: four groups may go into one store.
template <class Pack, class Sample, class Lanes>
void packGroups(Sample* d, Count i, Count end, bool fourAtOnce, Lanes lanes) {
    const auto sixteen = [=](Count k) {
        storeSixteen<Pack>(d + k, lanes(k), lanes(k + 4), lanes(k + 8), lanes(k + 12));
    };
    const auto four = [=](Count k) { storeFour<Pack>(d + k, lanes(k)); };
    fourAtOnce ? upward<16, 4>(i, end, sixteen, four) : upward<4, 4>(i, end, four, four);
}

/// float to samples of 8 or 16 bits. d is written in elements, so only a has a phase.
template <class Sample>
void wpointLanes(Sample* d, const float* a, float scale, float limit, float offset, Count num) {
    const auto [lead, end] = leadInAndTail(phase(a), num, [=](Count i) {
        d[i] = static_cast<Sample>(MapToSample::single(a[i], scale, limit, offset));
    });
    const __m128 scales = spread(scale), limits = spread(limit), offsets = spread(offset);
    const auto lanes = [=](Count i) { return MapToSample::lanes(load(a, i), scales, limits, offsets); };
    // Only where that store can't reach what is yet to be read.
    const void* const aEnd = a + end;
    const bool fourAtOnce = static_cast<const void*>(d) <= a || static_cast<const void*>(d) >= aEnd;
    if (limit < (sizeof(Sample) == 1 ? 256.0f : 65536.0f))
        packGroups<InRange>(d, lead, end, fourAtOnce, lanes);
    else
        packGroups<LowBits>(d, lead, end, fourAtOnce, lanes);
}
void wpointLanes(float* d, const float* a, float scale, float limit, float offset, Count num) {
    isDenormal(limit) ? lanes<Map>(d, num, a, scale, limit, offset)
                      : lanes<MapByMinimum>(d, num, a, scale, limit, offset);
}

/// With the flag clear.
template <class Sample>
void wpointElements(Sample* d, const float* a, float scale, float limit, float offset, Count num) {
    limit >= 0 && limit < inexpressible ? elements<MapToSampleThatFits>(d, num, a, scale, limit, offset)
                                        : elements<MapToSample>(d, num, a, scale, limit, offset);
}
void wpointElements(float* d, const float* a, float scale, float limit, float offset, Count num) {
    isDenormal(limit) ? elements<Map>(d, num, a, scale, limit, offset)
                      : elements<MapByMinimum>(d, num, a, scale, limit, offset);
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
    const Count end = num < 0 ? num : num & ~Count{3};  // of a negative count nothing is done
    for (Count i = num; i-- > end;) d[i] = Unmap::element(a[i], black, reciprocal);
    elements<Unmap>(d, end, a, black, reciprocal);
}

/// d[i] = theUnitTable[a[i]], upward.
void unitElements(float* d, const std::uint8_t* a, Count num) {
    const auto one = [=](Count i) { d[i] = theUnitTable[a[i]]; };
    const auto four = [=](Count i) {
        std::uint32_t samples;
        std::memcpy(&samples, a + i, sizeof samples);
        _mm_storeu_ps(d + i, _mm_setr_ps(theUnitTable[samples & 0xFF], theUnitTable[samples >> 8 & 0xFF],
                                         theUnitTable[samples >> 16 & 0xFF], theUnitTable[samples >> 24]));
    };
    // Four samples in one load only where no store can change those to come.
    if (num >= 4 && apart(d, num * Count{sizeof *d}, a, num))
        upward<4, 1>(0, num, four, one);
    else
        upward<1, 1>(0, num, one, one);
}

}  // namespace

void ZEL_Math::wpoint(std::uint8_t* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    return theSIMD ? wpointLanes(d, a, scale, limit, offset, num)
                   : wpointElements(d, a, scale, limit, offset, num);
}
void ZEL_Math::wpoint(std::uint16_t* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    return theSIMD ? wpointLanes(d, a, scale, limit, offset, num)
                   : wpointElements(d, a, scale, limit, offset, num);
}
void ZEL_Math::wpoint(float* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    return theSIMD ? wpointLanes(d, a, scale, limit, offset, num)
                   : wpointElements(d, a, scale, limit, offset, num);
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
