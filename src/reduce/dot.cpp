// Dot product: float products, summed in double by elements and in float lanes by blocks.
#include "reduce/blocked_sum.h"

using namespace zel;

double ZEL_Math::dot(const float* a, const float* b, Count num) {
    return theSIMD ? dotSIMD(a, b, num) : dotSISD(a, b, num);
}

double ZEL_Math::dotSIMD(const float* a, const float* b, Count num) {
    [[maybe_unused]] const Call call(Form::lane, num, a, b);
    if (!inPhase(a, b)) return dotSISD(a, b, num);
    return reduce(
        num, 4, [=](Count i, Count n) { return dotSISD(a + i, b + i, n); },
        [=](Count i) { return _mm_mul_ps(groupAt(a, i), groupAt(b, i)); }, a, b);
}

double ZEL_Math::dotSISD(const float* a, const float* b, Count num) {
    [[maybe_unused]] const Call call(Form::element, num, a, b);
    double sum = 0;
    for (Count i = 0; i < num; ++i) {
        const float term = a[i] * b[i];
        sum += static_cast<double>(term);
    }
    return sum;
}
