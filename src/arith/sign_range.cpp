// Sign and range: element and lane form differ on -0, NaN and crossed bounds.
#include <bit>

#include "frame/lane_loop.h"

using namespace zel;

namespace {

// minps and maxps give their second operand when the comparison fails, so `p < q ? p : q` is min(p, q), and
// `p > q ? p : q` is max(p, q), for NaN and zeros too. All but Negate's lanes pass a signalling NaN on untouched.

/// Element: the sign bit cleared. Lane: the greater of 0 - x and x, where -0 and NaN are never greater.
struct Magnitude {
    static float element(float x) { return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) & 0x7FFFFFFF); }
    static double element(double x) {
        return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) & 0x7FFFFFFFFFFFFFFF);
    }
    static __m128 lanes(__m128 x) {
        x = opaque(x);  // else GCC loads the group once for each of its uses, which costs 10 % in arrays that L2 holds
        return _mm_max_ps(_mm_sub_ps(_mm_setzero_ps(), x), x);
    }
};

/// Element: the sign bit flipped. Lane: a subtraction from +0.
struct Negate {
    static float element(float x) { return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) ^ 0x80000000); }
    static double element(double x) {
        return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) ^ 0x8000000000000000);
    }
    static __m128 lanes(__m128 x) { return _mm_sub_ps(_mm_setzero_ps(), x); }
};

struct Minimum {
    template <class T> static bool takesSecond(T a, T b) { return b < a; }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_min_ps(a, b); }
};

struct Maximum {
    template <class T> static bool takesSecond(T a, T b) { return b > a; }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_max_ps(a, b); }
};

/// The element formula as it is written. Compilers make minps or maxps of it for some elements of a call.
template <class Extreme> struct ByNumber {
    template <class T> static T element(T a, T b) { return Extreme::takesSecond(a, b) ? b : a; }
};

/// The same choice between words. Where a denormal counts as zero, minps and maxps give a zero for it, while the choice
/// gives its bits. Here no compiler can take the one for the other, because it can't see that `nothing` is 0. If one
/// ever does, the rows of zelmin and zelmax fail under denormals-are-zero.
template <class Extreme> struct ByBits {
    template <class T> static T element(T a, T b, int nothing) {
        using Word = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;
        const Word first = std::bit_cast<Word>(a), second = std::bit_cast<Word>(b) | nothing;
        return std::bit_cast<T>(Extreme::takesSecond(a, b) ? second : first);
    }
};

/// The smaller or the greater of two, a where neither is.
template <class Extreme> struct Choose : Extreme {
    static float element(float a, float b) { return ByBits<Extreme>::element(a, b, opaque(0)); }

    /// By number where denormals count as numbers. MXCSR is read and no arithmetic asked: a comparison of a denormal
    /// would raise a flag of its own. Short calls don't ask, which would take longer than their elements.
    template <class T, class B> static void elementForm(T* d, Count num, const T* a, B b) {
        constexpr unsigned denormalsAreZeros = 0x40;  // in MXCSR
        num < 32 || (_mm_getcsr() & denormalsAreZeros) ? elements<ByBits<Extreme>>(d, num, a, b, opaque(0))
                                                       : elements<ByNumber<Extreme>>(d, num, a, b);
    }
};

/// Element: the lower bound first, and an equal bound wins. Lane: the upper bound first, and x wins.
struct Clamp {
    static float element(float x, float lo, float hi) {
        // Two choices that don't depend on each other vectorise; one inside the other becomes a branch.
        const float below = hi <= x ? hi : x;
        return lo >= x ? lo : below;
    }
    static __m128 lanes(__m128 x, __m128 lo, __m128 hi) { return _mm_max_ps(lo, _mm_min_ps(hi, x)); }
};

}  // namespace

void ZEL_Math::abs(float* d, const float* a, Count num) { dispatch<Magnitude>(theSIMD, d, num, a); }
void ZEL_Math::abs(double* d, const double* a, Count num) { elements<Magnitude>(d, num, a); }
void ZEL_Math::absSIMD(float* d, const float* a, Count num) { laneForm<Magnitude>(d, num, a); }

void ZEL_Math::negate(float* d, const float* a, Count num) { dispatch<Negate>(theSIMD, d, num, a); }
void ZEL_Math::negate(double* d, const double* a, Count num) { elements<Negate>(d, num, a); }
void ZEL_Math::negateSIMD(float* d, const float* a, Count num) { laneForm<Negate>(d, num, a); }

void ZEL_Math::zelmin(float* d, const float* a, const float* b, Count num) {
    dispatch<Choose<Minimum>>(theSIMD, d, num, a, b);
}
void ZEL_Math::zelmin(double* d, const double* a, const double* b, Count num) {
    elementForm<Choose<Minimum>>(d, num, a, b);
}
void ZEL_Math::zelmin(float* d, const float* a, float b, Count num) {
    dispatch<Choose<Minimum>>(theSIMD, d, num, a, b);
}
void ZEL_Math::zelmin(double* d, const double* a, double b, Count num) { elementForm<Choose<Minimum>>(d, num, a, b); }
void ZEL_Math::zelminSIMD(float* d, const float* a, const float* b, Count num) {
    laneForm<Choose<Minimum>>(d, num, a, b);
}
void ZEL_Math::zelminSIMD(float* d, const float* a, float b, Count num) { laneForm<Choose<Minimum>>(d, num, a, b); }

void ZEL_Math::zelmax(float* d, const float* a, const float* b, Count num) {
    dispatch<Choose<Maximum>>(theSIMD, d, num, a, b);
}
void ZEL_Math::zelmax(double* d, const double* a, const double* b, Count num) {
    elementForm<Choose<Maximum>>(d, num, a, b);
}
void ZEL_Math::zelmax(float* d, const float* a, float b, Count num) {
    dispatch<Choose<Maximum>>(theSIMD, d, num, a, b);
}
void ZEL_Math::zelmax(double* d, const double* a, double b, Count num) { elementForm<Choose<Maximum>>(d, num, a, b); }
void ZEL_Math::zelmaxSIMD(float* d, const float* a, const float* b, Count num) {
    laneForm<Choose<Maximum>>(d, num, a, b);
}
void ZEL_Math::zelmaxSIMD(float* d, const float* a, float b, Count num) { laneForm<Choose<Maximum>>(d, num, a, b); }

void ZEL_Math::clamp(float* d, const float* a, float lo, float hi, Count num) {
    dispatch<Clamp>(theSIMD, d, num, a, lo, hi);
}
void ZEL_Math::clampSIMD(float* d, const float* a, float lo, float hi, Count num) {
    laneForm<Clamp>(d, num, a, lo, hi);
}
