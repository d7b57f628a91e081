// Division: true quotients, but for fdiv's lanes, which multiply by the processor's reciprocal estimate.
#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct Divide {
    template <class T> static T element(T a, T b) { return a / b; }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_div_ps(a, b); }
};

struct DivideByEstimate : Divide {
    static __m128 lanes(__m128 a, __m128 b) { return _mm_mul_ps(a, _mm_rcp_ps(b)); }
};

}  // namespace

void ZEL_Math::div(float* d, const float* a, const float* b, Count num) { dispatch<Divide>(theSIMD, d, num, a, b); }
void ZEL_Math::div(double* d, const double* a, const double* b, Count num) { elements<Divide>(d, num, a, b); }
void ZEL_Math::div(float* d, const float* a, float b, Count num) { mul(d, a, 1.0f / b, num); }
void ZEL_Math::div(float* d, float a, const float* b, Count num) { dispatch<Divide>(theSIMD, d, num, a, b); }
void ZEL_Math::div(double* d, double a, const double* b, Count num) { elements<Divide>(d, num, a, b); }
void ZEL_Math::divSIMD(float* d, const float* a, const float* b, Count num) { laneForm<Divide>(d, num, a, b); }
void ZEL_Math::divSIMD(float* d, float a, const float* b, Count num) { laneForm<Divide>(d, num, a, b); }

void ZEL_Math::fdiv(float* d, const float* a, const float* b, Count num) {
    dispatch<DivideByEstimate>(theSIMD, d, num, a, b);
}
void ZEL_Math::fdiv(double* d, const double* a, const double* b, Count num) { elements<Divide>(d, num, a, b); }
void ZEL_Math::fdiv(float* d, const float* a, float b, Count num) { mul(d, a, 1.0f / b, num); }
void ZEL_Math::fdiv(float* d, float a, const float* b, Count num) { dispatch<DivideByEstimate>(theSIMD, d, num, a, b); }
void ZEL_Math::fdiv(double* d, double a, const double* b, Count num) { elements<Divide>(d, num, a, b); }
void ZEL_Math::fdivSIMD(float* d, const float* a, const float* b, Count num) {
    laneForm<DivideByEstimate>(d, num, a, b);
}
void ZEL_Math::fdivSIMD(float* d, float a, const float* b, Count num) { laneForm<DivideByEstimate>(d, num, a, b); }
