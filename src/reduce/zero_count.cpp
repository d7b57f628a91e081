// Zero count: integers, so every member gives the same count, modulo 2 to the 32nd.
#include "frame/lane_loop.h"

using namespace zel;

int ZEL_Math::zerocount(const int* a, Count num) {
    return theSIMD ? zerocountSIMD(a, num) : zerocountSISD(a, num);
}

int ZEL_Math::zerocountSIMD(const int* a, Count num) {
    const auto [lead, end] = Groups(phase(a), num);
    const __m128i zero = _mm_setzero_si128();
    const auto zeros = [=](Count i) { return _mm_cmpeq_epi32(group(a, i), zero); };
    // A mask is -1 where the element is 0: subtracting masks counts. Four masks are added first, and two sums
    // run, so that no addition waits for the one before.
    __m128i count = zero, other = zero;
    Count i = lead;
    for (; i + 32 <= end; i += 32) {
        count = _mm_sub_epi32(count, _mm_add_epi32(_mm_add_epi32(zeros(i), zeros(i + 4)),
                                                   _mm_add_epi32(zeros(i + 8), zeros(i + 12))));
        other = _mm_sub_epi32(other, _mm_add_epi32(_mm_add_epi32(zeros(i + 16), zeros(i + 20)),
                                                   _mm_add_epi32(zeros(i + 24), zeros(i + 28))));
    }
    for (; i < end; i += 4) count = _mm_sub_epi32(count, zeros(i));
    alignas(16) unsigned lane[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(lane), _mm_add_epi32(count, other));
    return static_cast<int>(static_cast<unsigned>(zerocountSISD(a, lead)) +
                            static_cast<unsigned>(zerocountSISD(a + end, num - end)) + lane[0] + lane[1] +
                            lane[2] + lane[3]);
}

int ZEL_Math::zerocountSISD(const int* a, Count num) {
    unsigned count = 0;
    for (Count i = 0; i < num; ++i) count += a[i] == 0;
    return static_cast<int>(count);
}
