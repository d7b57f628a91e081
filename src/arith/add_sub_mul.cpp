// Add, subtract, multiply: one rounded operation, the same bits on elements and lanes.
#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct Add {
    template <class T>
    static T element(T a, T b) {
        return a + b;
    }
    // Signed overflow is undefined in C++; unsigned addition wraps to the same word.
    static int element(int a, int b) {
        return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
    }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_add_ps(a, b); }
    static __m128i lanes(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
};

struct Subtract {
    template <class T>
    static T element(T a, T b) {
        return a - b;
    }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_sub_ps(a, b); }
};

struct Multiply {
    template <class T>
    static T element(T a, T b) {
        return a * b;
    }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_mul_ps(a, b); }
};

}  // namespace

void ZEL_Math::add(float* d, const float* a, const float* b, Count num) {
    return theSIMD ? addSIMD(d, a, b, num) : elements<Add>(d, num, a, b);
}
void ZEL_Math::add(double* d, const double* a, const double* b, Count num) { elements<Add>(d, num, a, b); }
void ZEL_Math::add(int* d, const int* a, const int* b, Count num) {
    return theSIMD ? addSIMD(d, a, b, num) : elements<Add>(d, num, a, b);
}
void ZEL_Math::add(float* d, const float* a, float b, Count num) {
    return theSIMD ? addSIMD(d, a, b, num) : elements<Add>(d, num, a, b);
}
void ZEL_Math::add(double* d, const double* a, double b, Count num) { elements<Add>(d, num, a, b); }
void ZEL_Math::add(int* d, const int* a, int b, Count num) {
    return theSIMD ? addSIMD(d, a, b, num) : elements<Add>(d, num, a, b);
}
void ZEL_Math::addSIMD(float* d, const float* a, const float* b, Count num) { lanes<Add>(d, num, a, b); }
void ZEL_Math::addSIMD(int* d, const int* a, const int* b, Count num) { lanes<Add>(d, num, a, b); }
void ZEL_Math::addSIMD(float* d, const float* a, float b, Count num) { lanes<Add>(d, num, a, b); }
void ZEL_Math::addSIMD(int* d, const int* a, int b, Count num) { lanes<Add>(d, num, a, b); }

void ZEL_Math::sub(float* d, const float* a, const float* b, Count num) {
    return theSIMD ? subSIMD(d, a, b, num) : elements<Subtract>(d, num, a, b);
}
void ZEL_Math::sub(double* d, const double* a, const double* b, Count num) {
    elements<Subtract>(d, num, a, b);
}
void ZEL_Math::sub(float* d, const float* a, float b, Count num) {
    return theSIMD ? subSIMD(d, a, b, num) : elements<Subtract>(d, num, a, b);
}
void ZEL_Math::sub(double* d, const double* a, double b, Count num) { elements<Subtract>(d, num, a, b); }
void ZEL_Math::sub(float* d, float a, const float* b, Count num) {
    return theSIMD ? subSIMD(d, a, b, num) : elements<Subtract>(d, num, a, b);
}
void ZEL_Math::sub(double* d, double a, const double* b, Count num) { elements<Subtract>(d, num, a, b); }
void ZEL_Math::subSIMD(float* d, const float* a, const float* b, Count num) { lanes<Subtract>(d, num, a, b); }
void ZEL_Math::subSIMD(float* d, const float* a, float b, Count num) { lanes<Subtract>(d, num, a, b); }
void ZEL_Math::subSIMD(float* d, float a, const float* b, Count num) { lanes<Subtract>(d, num, a, b); }

void ZEL_Math::mul(float* d, const float* a, const float* b, Count num) {
    return theSIMD ? mulSIMD(d, a, b, num) : elements<Multiply>(d, num, a, b);
}
void ZEL_Math::mul(double* d, const double* a, const double* b, Count num) {
    elements<Multiply>(d, num, a, b);
}
void ZEL_Math::mul(float* d, const float* a, float b, Count num) {
    return theSIMD ? mulSIMD(d, a, b, num) : elements<Multiply>(d, num, a, b);
}
void ZEL_Math::mul(double* d, const double* a, double b, Count num) { elements<Multiply>(d, num, a, b); }
void ZEL_Math::mulSIMD(float* d, const float* a, const float* b, Count num) { lanes<Multiply>(d, num, a, b); }
void ZEL_Math::mulSIMD(float* d, const float* a, float b, Count num) { lanes<Multiply>(d, num, a, b); }
