// Fill, masked copy, exchange. Everything moves as bits. Nothing is computed, so signalling NaNs stay as they are.
#include <bit>

#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct Fill {
    template <class T> static T element(T value) { return value; }
    static __m128 lanes(__m128 value) { return value; }
};

/// value where the mask entry is 0, else what d has. d is stored back either way.
struct MaskedCopy {
    static constexpr bool updates = true;
    static int element(int d, int value, std::uint32_t mask) { return select(mask == 0, value, d); }
    static __m128i lanes(__m128i d, __m128i value, __m128i mask) {
        return select(_mm_cmpeq_epi32(mask, _mm_setzero_si128()), value, d);
    }
};

/// What each of two elements gets is the other one.
struct Exchange {
    template <class T> struct Both { T first, second; };
    template <class T> static Both<T> element(T a, T b) { return {b, a}; }
    struct Lanes {
        __m128 first, second;
    };
    static Lanes lanes(__m128 a, __m128 b) { return {b, a}; }
};

}  // namespace

void ZEL_Math::set(int* d, int value, Count num) { elements<Fill>(d, num, value); }
void ZEL_Math::set(int* d, int value, Count num, const std::uint32_t* mask) {
    dispatch<MaskedCopy>(theSIMD, d, num, d, value, mask);
}
void ZEL_Math::set(int* d, const int* a, Count num, const std::uint32_t* mask) {
    dispatch<MaskedCopy>(theSIMD, d, num, d, a, mask);
}
void ZEL_Math::set(float* d, float value, Count num) { dispatch<Fill>(theSIMD, d, num, value); }
void ZEL_Math::set(float* d, float value, Count num, const std::uint32_t* mask) {
    set(reinterpret_cast<int*>(d), std::bit_cast<int>(value), num, mask);
}
void ZEL_Math::set(float* d, const float* a, Count num, const std::uint32_t* mask) {
    set(reinterpret_cast<int*>(d), reinterpret_cast<const int*>(a), num, mask);
}
void ZEL_Math::setSIMD(int* d, int value, Count num, const std::uint32_t* mask) {
    laneForm<MaskedCopy>(d, num, d, value, mask);
}
void ZEL_Math::setSIMD(int* d, const int* a, Count num, const std::uint32_t* mask) {
    laneForm<MaskedCopy>(d, num, d, a, mask);
}
void ZEL_Math::setSIMD(float* d, float value, Count num) { laneForm<Fill>(d, num, value); }

void ZEL_Math::swap(float* a, float* b, Count num) { dispatch<Exchange>(theSIMD, Two{a, b}, num, a, b); }
void ZEL_Math::swap(double* a, double* b, Count num) { elements<Exchange>(Two{a, b}, num, a, b); }
void ZEL_Math::swapSIMD(float* a, float* b, Count num) { laneForm<Exchange>(Two{a, b}, num, a, b); }
