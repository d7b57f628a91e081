// Multiply-add forms: always two roundings, the product's and the sum's.
#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct MultiplyAdd {
    static constexpr bool updates = true;
    template <class T> static T element(T d, T a, T b) { return d + a * b; }
    static __m128 lanes(__m128 d, __m128 a, __m128 b) { return _mm_add_ps(d, _mm_mul_ps(a, b)); }
};

struct ScaleOffset {
    static constexpr bool updates = true;
    template <class T> static T element(T d, T a, T b) { return d * a + b; }
    static __m128 lanes(__m128 d, __m128 a, __m128 b) { return _mm_add_ps(_mm_mul_ps(d, a), b); }
};

struct Interpolate {
    static float element(float a, float b, float c) { return (b - a) * c + a; }
};

}  // namespace

void ZEL_Math::madd(float* d, const float* a, const float* b, Count num) {
    dispatch<MultiplyAdd>(theSIMD, d, num, d, a, b);
}
void ZEL_Math::madd(double* d, const double* a, const double* b, Count num) { elements<MultiplyAdd>(d, num, d, a, b); }
void ZEL_Math::madd(float* d, const float* a, float b, Count num) { dispatch<MultiplyAdd>(theSIMD, d, num, d, a, b); }
void ZEL_Math::madd(double* d, const double* a, double b, Count num) { elements<MultiplyAdd>(d, num, d, a, b); }
void ZEL_Math::maddSIMD(float* d, const float* a, const float* b, Count num) { laneForm<MultiplyAdd>(d, num, d, a, b); }
void ZEL_Math::maddSIMD(float* d, const float* a, float b, Count num) { laneForm<MultiplyAdd>(d, num, d, a, b); }

void ZEL_Math::scaleoffset(float* d, const float* a, const float* b, Count num) {
    dispatch<ScaleOffset>(theSIMD, d, num, d, a, b);
}
void ZEL_Math::scaleoffset(double* d, const double* a, const double* b, Count num) {
    elements<ScaleOffset>(d, num, d, a, b);
}
void ZEL_Math::scaleoffset(float* d, const float* a, float b, Count num) {
    dispatch<ScaleOffset>(theSIMD, d, num, d, a, b);
}
void ZEL_Math::scaleoffset(double* d, const double* a, double b, Count num) { elements<ScaleOffset>(d, num, d, a, b); }
void ZEL_Math::scaleoffset(float* d, float a, const float* b, Count num) {
    dispatch<ScaleOffset>(theSIMD, d, num, d, a, b);
}
void ZEL_Math::scaleoffset(double* d, double a, const double* b, Count num) { elements<ScaleOffset>(d, num, d, a, b); }
void ZEL_Math::scaleoffset(float* d, float a, float b, Count num) { dispatch<ScaleOffset>(theSIMD, d, num, d, a, b); }
void ZEL_Math::scaleoffset(double* d, double a, double b, Count num) { elements<ScaleOffset>(d, num, d, a, b); }
void ZEL_Math::scaleoffsetSIMD(float* d, const float* a, const float* b, Count num) {
    laneForm<ScaleOffset>(d, num, d, a, b);
}
void ZEL_Math::scaleoffsetSIMD(float* d, const float* a, float b, Count num) { laneForm<ScaleOffset>(d, num, d, a, b); }
void ZEL_Math::scaleoffsetSIMD(float* d, float a, const float* b, Count num) { laneForm<ScaleOffset>(d, num, d, a, b); }
void ZEL_Math::scaleoffsetSIMD(float* d, float a, float b, Count num) { laneForm<ScaleOffset>(d, num, d, a, b); }

// With the flag set, two whole passes: d holds an intermediate result during the second.
void ZEL_Math::lerp(float* d, const float* a, const float* b, const float* c, Count num) {
    const bool simd = theSIMD;
    [[maybe_unused]] const Call call(simd, Form::lane, num, d, a, b, c);
    if (!simd) return elements<Interpolate>(d, num, a, b, c);
    call.mustBeApart(d, a, "a", num);
    call.mustBeApart(d, c, "c", num);
    subSIMD(d, b, a, num);
    scaleoffsetSIMD(d, c, a, num);
}
void ZEL_Math::lerp(float* d, const float* a, const float* b, float c, Count num) {
    const bool simd = theSIMD;
    [[maybe_unused]] const Call call(simd, Form::lane, num, d, a, b, c);
    if (!simd) return elements<Interpolate>(d, num, a, b, c);
    call.mustBeApart(d, b, "b", num);
    mulSIMD(d, a, 1.0f - c, num);
    maddSIMD(d, b, c, num);
}
