// White point: float samples to stored samples of 8, 16 or 32 bits, and back.
//
// Element formulas, and the time of their loops over that of the general ones (Xeon, L1, plain and v4 copy):
//   Map                  float            any limit                    1
//   MapByMinimum         float            the limit isn't denormal     0.61, 0.83
//   MapToSample          8 and 16 bits    any limit                    1
//   MapToSampleThatFits  8 and 16 bits    0 <= limit < 2^31            0.50, 0.72
// Elements around the lane groups go by Map and MapToSample alone.
#include <bit>
#include <cstring>
#include <functional>

#include "convert/packing.h"
#include "convert/rounding.h"
#include "convert/unit_table.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

/// x where it is kept, else +0.
float positive(bool kept, float x) { return std::bit_cast<float>(select(kept, std::bit_cast<int>(x), 0)); }

bool isDenormal(float x) {
    const auto magnitude = std::bit_cast<std::uint32_t>(x) & 0x7FFFFFFF;
    return magnitude != 0 && magnitude < 0x00800000;
}

/// Map with the processor's minimum, one instruction for a comparison and a choice. Where denormals count as zeros the
/// minimum gives a zero for one, so the limit mustn't be a denormal. An x that is one gives 0 anyway.
struct MapByMinimum {
    static float element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        return positive(!(x <= 0), limit < x ? limit : x);
    }
};

/// Two rounded steps and a clamp, 0 first. The lane clamp takes a NaN to the limit, the element clamp keeps it.
struct Map {
    static float element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        return positive(!(x <= 0), x >= limit ? limit : x);
    }
    static void elementForm(float* d, Count num, const float* a, float scale, float limit, float offset) {
        isDenormal(limit) ? elements<Map>(d, num, a, scale, limit, offset)
                          : elements<MapByMinimum>(d, num, a, scale, limit, offset);
    }
    static __m128 lanes(__m128 a, __m128 scale, __m128 limit, __m128 offset) {
        const __m128 x = _mm_add_ps(_mm_mul_ps(scale, a), offset);
        // minps and maxps give their second operand when the comparison fails: for a NaN the limit, and for -0 +0.
        return _mm_max_ps(_mm_min_ps(x, limit), _mm_setzero_ps());
    }
};

/// MapToSample where the limit is a number from 0 to what an int can hold. Every clamped value fits then, and none has
/// to be replaced before its conversion. A NaN passes the limit and isn't above 0, so it gives 0: the low bits that its
/// conversion would have.
template <class Sample> struct MapToSampleThatFits {
    static Sample element(float a, float scale, float limit, float offset) {
        const float x = scale * a + offset;
        const float below = limit < x ? limit : x;
        return static_cast<Sample>(static_cast<int>(positive(below > 0, below)));
    }
};

/// The low bits of the truncated value. Nothing saturates.
template <class Sample> struct MapToSample {
    static Sample element(float a, float scale, float limit, float offset) {
        return static_cast<Sample>(truncate(Map::element(a, scale, limit, offset)));
    }
    static Sample single(float a, float scale, float limit, float offset) {
        return static_cast<Sample>(truncateOne(Map::element(a, scale, limit, offset)));
    }
    static void elementForm(Sample* d, Count num, const float* a, float scale, float limit, float offset) {
        limit >= 0 && limit < inexpressible ? elements<MapToSampleThatFits<Sample>>(d, num, a, scale, limit, offset)
                                            : elements<MapToSample>(d, num, a, scale, limit, offset);
    }
    static __m128i lanes(__m128 a, __m128 scale, __m128 limit, __m128 offset) {
        return _mm_cvttps_epi32(Map::lanes(a, scale, limit, offset));
    }
};

/// The lane groups from element i to end. fourAtOnce: four groups may go into one store.
template <class Pack, class Sample, class Group>
void packGroups(Sample* d, Count i, Count end, bool fourAtOnce, Group group) {
    const auto sixteen = [=](Count k) {
        storeSixteen<Pack>(d + k, group(k), group(k + 4), group(k + 8), group(k + 12));
    };
    const auto four = [=](Count k) { storeFour<Pack>(d + k, group(k)); };
    fourAtOnce ? upward<16, 4>(i, end, sixteen, four) : upward<4, 4>(i, end, four, four);
}

/// float to samples of 8 or 16 bits. d is written in elements, so only a has a phase.
template <class Sample> void wpointLanes(Sample* d, const float* a, float scale, float limit, float offset, Count num) {
    [[maybe_unused]] const Call call(Form::lane, num, d, a);
    const auto [lead, end] =
        leadInAndTail(phase(a), num, [=](Count i) { d[i] = MapToSample<Sample>::single(a[i], scale, limit, offset); });
    const __m128 scales = spread(scale), limits = spread(limit), offsets = spread(offset);
    const auto group = [=](Count i) { return MapToSample<Sample>::lanes(groupAt(a, i), scales, limits, offsets); };
    // A store of sixteen samples mustn't reach floats that are yet to be read. With d at or below a it ends before
    // them: i samples take at most half the bytes of i floats.
    const bool fourAtOnce =
        std::less_equal<const void*>()(d, a) || apart(d, end * Count{sizeof *d}, a, end * Count{sizeof *a});
    if (limit < (sizeof(Sample) == 1 ? 256.0f : 65536.0f))
        packGroups<InRange>(d, lead, end, fourAtOnce, group);
    else
        packGroups<LowBits>(d, lead, end, fourAtOnce, group);
}
template <class Sample>
void wpointBy(bool simd, Sample* d, const float* a, float scale, float limit, float black, Count num) {
    const float offset = black + 0.5f;
    simd ? wpointLanes(d, a, scale, limit, offset, num)
         : elementForm<MapToSample<Sample>>(d, num, a, scale, limit, offset);
}
void wpointBy(bool simd, float* d, const float* a, float scale, float limit, float black, Count num) {
    dispatch<Map>(simd, d, num, a, scale, limit, black + 0.5f);
}

/// Back to float. The difference of samples is exact in int and in float.
struct Unmap {
    static float element(int a, int black, float reciprocal) { return static_cast<float>(a - black) * reciprocal; }
    static float element(float a, float black, float reciprocal) { return (a - black) * reciprocal; }
};

/// The last num & 3 elements downward, then the others upward, wherever the arrays lie.
template <class Sample> void iwpointLoop(float* d, const Sample* a, float scale, Sample black, Count num) {
    const float reciprocal = 1.0f / scale;
    [[maybe_unused]] const Call call(Form::element, num, d, a);
    const Count end = num < 0 ? num : num & ~Count{3};  // for a negative count neither loop does anything
    for (Count i = num; i-- > end;) d[i] = Unmap::element(a[i], black, reciprocal);
    elements<Unmap>(d, end, a, black, reciprocal);
}

/// d[i] = theUnitTable[a[i]], upward.
void unitElements(float* d, const std::uint8_t* a, Count num) {
    [[maybe_unused]] const Call call(Form::element, num, d, a);
    const auto one = [=](Count i) { d[i] = theUnitTable[a[i]]; };
    const auto four = [=](Count i) {
        std::uint32_t samples;
        std::memcpy(&samples, a + i, sizeof samples);
        _mm_storeu_ps(d + i, _mm_setr_ps(theUnitTable[samples & 0xFF], theUnitTable[samples >> 8 & 0xFF],
                                         theUnitTable[samples >> 16 & 0xFF], theUnitTable[samples >> 24]));
    };
    // Four samples are loaded at once only where no store can change those that come later.
    if (num >= 4 && apart(d, num * Count{sizeof *d}, a, num))
        upward<4, 1>(0, num, four, one);
    else
        upward<1, 1>(0, num, one, one);
}

}  // namespace

void ZEL_Math::wpoint(std::uint8_t* d, const float* a, float scale, float limit, float black, Count num) {
    wpointBy(theSIMD, d, a, scale, limit, black, num);
}
void ZEL_Math::wpoint(std::uint16_t* d, const float* a, float scale, float limit, float black, Count num) {
    wpointBy(theSIMD, d, a, scale, limit, black, num);
}
void ZEL_Math::wpoint(float* d, const float* a, float scale, float limit, float black, Count num) {
    wpointBy(theSIMD, d, a, scale, limit, black, num);
}
void ZEL_Math::wpointSIMD(std::uint8_t* d, const float* a, float scale, float limit, float black, Count num) {
    wpointBy(true, d, a, scale, limit, black, num);
}
void ZEL_Math::wpointSIMD(std::uint16_t* d, const float* a, float scale, float limit, float black, Count num) {
    wpointBy(true, d, a, scale, limit, black, num);
}
void ZEL_Math::wpointSIMD(float* d, const float* a, float scale, float limit, float black, Count num) {
    wpointBy(true, d, a, scale, limit, black, num);
}

void ZEL_Math::iwpoint(float* d, const std::uint8_t* a, float scale, std::uint8_t black, Count num) {
    theSIMD ? iwpointSIMD(d, a, scale, black, num) : elements<Unmap>(d, num, a, black, 1.0f / scale);
}
void ZEL_Math::iwpoint(float* d, const std::uint16_t* a, float scale, std::uint16_t black, Count num) {
    theSIMD ? iwpointLoop(d, a, scale, black, num) : elements<Unmap>(d, num, a, black, 1.0f / scale);
}
void ZEL_Math::iwpoint(float* d, const float* a, float scale, float black, Count num) {
    theSIMD ? iwpointLoop(d, a, scale, black, num) : elements<Unmap>(d, num, a, black, 1.0f / scale);
}
void ZEL_Math::iwpointSIMD(float* d, const std::uint8_t* a, float scale, std::uint8_t black, Count num) {
    if (black == 0 && scale == 255.0f) return unitElements(d, a, num);
    iwpointLoop(d, a, scale, black, num);
}
void ZEL_Math::iwpointSIMD(float* d, const std::uint16_t* a, float scale, std::uint16_t black, Count num) {
    iwpointLoop(d, a, scale, black, num);
}
void ZEL_Math::iwpointSIMD(float* d, const float* a, float scale, float black, Count num) {
    iwpointLoop(d, a, scale, black, num);
}
