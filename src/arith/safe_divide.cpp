// Guarded division: a zero divisor gives a zero. The guard has three shapes, which differ on what
// kind of zero.
#include <limits>

#include "frame/lane_constants.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

inline __m128 choose(__m128 mask, __m128 yes, __m128 no) {
    return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}

/// Infinity in the place of a zero divisor. A NaN isn't equal to 0 and stays.
struct DivideGuarded {
    template <class T>
    static T element(T a, T b) {
        return a / (b != 0 ? b : std::numeric_limits<T>::infinity());
    }
    static __m128 lanes(__m128 a, __m128 b) {
        const __m128 zero = _mm_cmpeq_ps(b, _mm_setzero_ps());
        return _mm_div_ps(a, choose(zero, floatLanes(theLaneInfinity), b));
    }
};

/// In the lanes, +0 in the place of the quotient, whatever the dividend.
struct DivideValueGuarded : DivideGuarded {
    static __m128 lanes(__m128 a, __m128 b) {
        const __m128 quotient = _mm_div_ps(a, b);
        const __m128 zero = _mm_cmpeq_ps(b, _mm_setzero_ps());
        return choose(zero, floatLanes(theLaneZero), quotient);
    }
};

}  // namespace

void ZEL_Math::safediv(float* d, const float* a, const float* b, Count num) {
    return theSIMD ? safedivSIMD(d, a, b, num) : elements<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safediv(double* d, const double* a, const double* b, Count num) {
    elements<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safediv(float* d, const float* a, float b, Count num) {
    return b != 0 ? mul(d, a, 1.0f / b, num) : set(d, 0.0f, num);
}
void ZEL_Math::safediv(float* d, float a, const float* b, Count num) {
    return theSIMD ? safedivSIMD(d, a, b, num) : elements<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safediv(double* d, double a, const double* b, Count num) {
    elements<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safedivSIMD(float* d, const float* a, const float* b, Count num) {
    lanes<DivideGuarded>(d, num, a, b);
}
void ZEL_Math::safedivSIMD(float* d, float a, const float* b, Count num) {
    lanes<DivideValueGuarded>(d, num, a, b);
}
