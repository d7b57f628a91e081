// Guarded division: a zero divisor gives a zero. Of which sign it is differs between the three guards.
#include <limits>

#include "frame/lane_loop.h"

using namespace zel;

namespace {

/// Infinity in the place of a zero divisor. A NaN isn't equal to 0 and stays.
struct DivideGuarded {
    template <class T> static T element(T a, T b) { return a / (b != 0 ? b : std::numeric_limits<T>::infinity()); }
    static __m128 lanes(__m128 a, __m128 b) {
        const __m128 zero = _mm_cmpeq_ps(b, _mm_setzero_ps());
        return _mm_div_ps(a, select(zero, _mm_set1_ps(std::numeric_limits<float>::infinity()), b));
    }
};

/// In the lanes, +0 in the place of the quotient, whatever the dividend.
struct DivideValueGuarded : DivideGuarded {
    static __m128 lanes(__m128 a, __m128 b) {
        const __m128 quotient = _mm_div_ps(a, b);
        const __m128 zero = _mm_cmpeq_ps(b, _mm_setzero_ps());
        return select(zero, _mm_setzero_ps(), quotient);
    }
};

}  // namespace

void ZEL_Math::safediv(float* d, const float* a, const float* b, Count num) {
    dispatch<DivideGuarded>(theSIMD, d, num, a, b);
}
void ZEL_Math::safediv(double* d, const double* a, const double* b, Count num) {
    elements<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safediv(float* d, const float* a, float b, Count num) {
    return b != 0 ? mul(d, a, 1.0f / b, num) : set(d, 0.0f, num);
}
void ZEL_Math::safediv(float* d, float a, const float* b, Count num) {
    dispatch<DivideValueGuarded>(theSIMD, d, num, a, b);
}
void ZEL_Math::safediv(double* d, double a, const double* b, Count num) { elements<DivideGuarded>(d, num, a, b); }
void ZEL_Math::safedivSIMD(float* d, const float* a, const float* b, Count num) {
    laneForm<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safedivSIMD(float* d, float a, const float* b, Count num) { laneForm<DivideValueGuarded>(d, num, a, b); }
