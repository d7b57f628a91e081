// Fill, masked copy, exchange. Everything moves as bits; nothing is computed, so signalling NaNs stay
// as they are.
#include <bit>

#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct Fill {
    template <class T>
    static T element(T value) {
        return value;
    }
    static __m128 lanes(__m128 value) { return value; }
};

/// value where the mask entry is 0, else what d has. d is stored back either way.
struct MaskedCopy {
    // A word mask and not a choice: for a choice the compiler would read only what it takes,
    // and not vectorise.
    static int element(int d, int value, std::uint32_t mask) {
        const int take = -static_cast<int>(mask == 0);
        return (value & take) | (d & ~take);
    }
    static __m128i lanes(__m128i d, __m128i value, __m128i mask) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i take = _mm_cmpeq_epi32(mask, zero);
        const __m128i keep = _mm_cmpeq_epi32(take, zero);
        return _mm_or_si128(_mm_and_si128(keep, d), _mm_and_si128(take, value));
    }
};

template <class T>
void exchange(T& a, T& b) {
    const T held = a;
    a = b;
    b = held;
}

template <class T>
[[gnu::noinline]] void swapElements(T* a, T* b, Count num) {
    ZEL_UNROLL_ELEMENTS
    for (Count i = 0; i < num; ++i) exchange(a[i], b[i]);
}

}  // namespace

void ZEL_Math::set(int* d, int value, Count num) { elements<Fill>(d, num, value); }
void ZEL_Math::set(int* d, int value, Count num, const std::uint32_t* mask) {
    return theSIMD ? setSIMD(d, value, num, mask) : elements<MaskedCopy>(d, num, d, value, mask);
}
void ZEL_Math::set(int* d, const int* a, Count num, const std::uint32_t* mask) {
    return theSIMD ? setSIMD(d, a, num, mask) : elements<MaskedCopy>(d, num, d, a, mask);
}
void ZEL_Math::set(float* d, float value, Count num) {
    return theSIMD ? setSIMD(d, value, num) : elements<Fill>(d, num, value);
}
void ZEL_Math::set(float* d, float value, Count num, const std::uint32_t* mask) {
    set(reinterpret_cast<int*>(d), std::bit_cast<int>(value), num, mask);
}
void ZEL_Math::set(float* d, const float* a, Count num, const std::uint32_t* mask) {
    set(reinterpret_cast<int*>(d), reinterpret_cast<const int*>(a), num, mask);
}
void ZEL_Math::setSIMD(int* d, int value, Count num, const std::uint32_t* mask) {
    lanes<MaskedCopy>(d, num, d, value, mask);
}
void ZEL_Math::setSIMD(int* d, const int* a, Count num, const std::uint32_t* mask) {
    lanes<MaskedCopy>(d, num, d, a, mask);
}
void ZEL_Math::setSIMD(float* d, float value, Count num) { lanes<Fill>(d, num, value); }

void ZEL_Math::swap(float* a, float* b, Count num) {
    return theSIMD ? swapSIMD(a, b, num) : swapElements(a, b, num);
}
void ZEL_Math::swap(double* a, double* b, Count num) { swapElements(a, b, num); }
void ZEL_Math::swapSIMD(float* a, float* b, Count num) {
    if (!inPhase(a, b)) return swapElements(a, b, num);
    alignedRoute(
        phase(a), num, [=](Count i) { exchange(a[i], b[i]); },
        [=](Count i) {
            const __m128 held = load(a, i);
            store(a + i, load(b, i));
            store(b + i, held);
        });
}
