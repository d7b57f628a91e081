// Zero count: integers, so every member gives the same count, modulo 2 to the 32nd.
#include "frame/lane_loop.h"

using namespace zel;

int ZEL_Math::zerocount(const int* a, Count num) { return theSIMD ? zerocountSIMD(a, num) : zerocountSISD(a, num); }

int ZEL_Math::zerocountSIMD(const int* a, Count num) {
    [[maybe_unused]] const Call call(Form::lane, num, a);
    const auto [lead, end] = LaneBounds(phase(a), num);
    const __m128i zero = _mm_setzero_si128();
    // A mask is -1 where the element is 0, so the masks add up to the negated count. There are two sums, and four masks
    // are added before they go into one, so that additions don't wait for one another.
    __m128i sum = zero, other = zero;
    const auto masks = [=](Count i) { return _mm_cmpeq_epi32(groupAt(a, i), zero); };
    const auto fourMasks = [=](Count i) {
        return _mm_add_epi32(_mm_add_epi32(masks(i), masks(i + 4)), _mm_add_epi32(masks(i + 8), masks(i + 12)));
    };
    const auto eightGroups = [&](Count i) {
        sum = _mm_add_epi32(sum, fourMasks(i));
        other = _mm_add_epi32(other, fourMasks(i + 16));
    };
    upward<32, 4>(lead, end, eightGroups, [&](Count i) { sum = _mm_add_epi32(sum, masks(i)); });
    alignas(16) unsigned lane[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(lane), _mm_add_epi32(sum, other));
    return static_cast<int>(static_cast<unsigned>(zerocountSISD(a, lead)) +
                            static_cast<unsigned>(zerocountSISD(a + end, num - end)) -
                            (lane[0] + lane[1] + lane[2] + lane[3]));
}

int ZEL_Math::zerocountSISD(const int* a, Count num) {
    [[maybe_unused]] const Call call(Form::element, num, a);
    unsigned count = 0;
    for (Count i = 0; i < num; ++i) count += a[i] == 0;
    return static_cast<int>(count);
}
