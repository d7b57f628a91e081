// Reciprocal and roots: true in element form; the lanes of invert, fsqrt and isqrt are the bare estimates.
#include <cmath>

#include "frame/lane_loop.h"

using namespace zel;

namespace {

/// On float the plain member is defined as a division in double, narrowed. With 53 bits its two roundings give what one
/// rounding gives, in every rounding mode and with flushed denormals. So one division in float serves both.
struct Reciprocal {
    template <class T> static T element(T a) { return 1 / a; }
    static __m128 lanes(__m128 a) { return _mm_rcp_ps(a); }
};

struct Root {
    template <class T> static T element(T a) { return std::sqrt(a); }
    static __m128 lanes(__m128 a) { return _mm_sqrt_ps(a); }
};

/// The reciprocal of the reciprocal root, and no product with a: 0 stays 0, and infinity infinity.
struct RootByEstimate : Root {
    static __m128 lanes(__m128 a) { return _mm_rcp_ps(_mm_rsqrt_ps(a)); }
};

struct ReciprocalRoot {
    template <class T> static T element(T a) { return 1 / std::sqrt(a); }
    static __m128 lanes(__m128 a) { return _mm_rsqrt_ps(a); }
};

}  // namespace

void ZEL_Math::invert(float* d, const float* a, Count num) { dispatch<Reciprocal>(theSIMD, d, num, a); }
void ZEL_Math::invert(double* d, const double* a, Count num) { elements<Reciprocal>(d, num, a); }
void ZEL_Math::invertSIMD(float* d, const float* a, Count num) { laneForm<Reciprocal>(d, num, a); }

void ZEL_Math::sqrt(float* d, const float* a, Count num) { dispatch<Root>(theSIMD, d, num, a); }
void ZEL_Math::sqrt(double* d, const double* a, Count num) { elements<Root>(d, num, a); }
void ZEL_Math::sqrtSIMD(float* d, const float* a, Count num) { laneForm<Root>(d, num, a); }

void ZEL_Math::fsqrt(float* d, const float* a, Count num) { dispatch<RootByEstimate>(theSIMD, d, num, a); }
void ZEL_Math::fsqrt(double* d, const double* a, Count num) { elements<Root>(d, num, a); }
void ZEL_Math::fsqrtSIMD(float* d, const float* a, Count num) { laneForm<RootByEstimate>(d, num, a); }

void ZEL_Math::isqrt(float* d, const float* a, Count num) { dispatch<ReciprocalRoot>(theSIMD, d, num, a); }
void ZEL_Math::isqrt(double* d, const double* a, Count num) { elements<ReciprocalRoot>(d, num, a); }
void ZEL_Math::isqrtSIMD(float* d, const float* a, Count num) { laneForm<ReciprocalRoot>(d, num, a); }
