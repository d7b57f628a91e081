// Bitwise and, or, exclusive or of int arrays: the same word on every route.
#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct And {
    static int element(int a, int b) { return a & b; }
    static __m128i lanes(__m128i a, __m128i b) { return _mm_and_si128(a, b); }
};

struct Or {
    static int element(int a, int b) { return a | b; }
    static __m128i lanes(__m128i a, __m128i b) { return _mm_or_si128(a, b); }
};

struct ExclusiveOr {
    static int element(int a, int b) { return a ^ b; }
    static __m128i lanes(__m128i a, __m128i b) { return _mm_xor_si128(a, b); }
};

}  // namespace

void ZEL_Math::band(int* d, const int* a, const int* b, Count num) { dispatch<And>(theSIMD, d, num, a, b); }
void ZEL_Math::band(int* d, const int* a, int b, Count num) { dispatch<And>(theSIMD, d, num, a, b); }
void ZEL_Math::bandSIMD(int* d, const int* a, const int* b, Count num) { laneForm<And>(d, num, a, b); }
void ZEL_Math::bandSIMD(int* d, const int* a, int b, Count num) { laneForm<And>(d, num, a, b); }

void ZEL_Math::bor(int* d, const int* a, const int* b, Count num) { dispatch<Or>(theSIMD, d, num, a, b); }
void ZEL_Math::bor(int* d, const int* a, int b, Count num) { dispatch<Or>(theSIMD, d, num, a, b); }
void ZEL_Math::borSIMD(int* d, const int* a, const int* b, Count num) { laneForm<Or>(d, num, a, b); }
void ZEL_Math::borSIMD(int* d, const int* a, int b, Count num) { laneForm<Or>(d, num, a, b); }

void ZEL_Math::bxor(int* d, const int* a, const int* b, Count num) { dispatch<ExclusiveOr>(theSIMD, d, num, a, b); }
void ZEL_Math::bxor(int* d, const int* a, int b, Count num) { dispatch<ExclusiveOr>(theSIMD, d, num, a, b); }
void ZEL_Math::bxorSIMD(int* d, const int* a, const int* b, Count num) { laneForm<ExclusiveOr>(d, num, a, b); }
void ZEL_Math::bxorSIMD(int* d, const int* a, int b, Count num) { laneForm<ExclusiveOr>(d, num, a, b); }
