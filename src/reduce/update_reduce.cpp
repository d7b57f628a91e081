// Reductions that update d in the same pass: d += b a with the squares of d, d = b a with the products of
// d and a.
#include "reduce/blocked_sum.h"

using namespace zel;

namespace {

/// Whether two blocks may be formed side by side: no store to d reaches what another group of theirs reads from the
/// source, because it is d itself, or at least two blocks away.
bool mayPair(const float* d, const float* source) {
    constexpr Count twoBlocks = 2 * blockElements * Count{sizeof(float)};
    return d == source || apart(d, twoBlocks, source, twoBlocks);
}

}  // namespace

double ZEL_Math::maddAndNorm(float* d, const float* a, double b, Count num) {
    return theSIMD ? maddAndNormSIMD(d, a, static_cast<float>(b), num) : maddAndNormSISD(d, a, b, num);
}

double ZEL_Math::maddAndNormSIMD(float* d, const float* a, float b, Count num) {
    [[maybe_unused]] const Call call(Form::lane, num, d, a);
    if (!inPhase(d, a)) return maddAndNormSISD(d, a, b, num);
    const __m128 factor = spread(b);
    return reduce(
        num, mayPair(d, a) ? 2 : 1, [=](Count i, Count n) { return maddAndNormSISD(d + i, a + i, b, n); },
        [=](Count i) {
            const __m128 u = _mm_add_ps(_mm_mul_ps(factor, groupAt(a, i)), groupAt(d, i));
            putGroup(d, i, u);
            return _mm_mul_ps(u, u);
        },
        d, a);
}

double ZEL_Math::maddAndNormSISD(float* d, const float* a, double b, Count num) {
    [[maybe_unused]] const Call call(Form::element, num, d, a);
    double sum = 0;
    for (Count i = 0; i < num; ++i) {
        // Product and sum are rounded to double, then the sum to float: three roundings, where the lanes have two.
        const float u = static_cast<float>(static_cast<double>(a[i]) * b + static_cast<double>(d[i]));
        d[i] = u;
        const float term = u * u;
        sum += static_cast<double>(term);
    }
    return sum;
}

double ZEL_Math::mulAndDotDA(float* d, const float* a, const float* b, Count num) {
    return theSIMD ? mulAndDotDASIMD(d, a, b, num) : mulAndDotDASISD(d, a, b, num);
}

double ZEL_Math::mulAndDotDASIMD(float* d, const float* a, const float* b, Count num) {
    [[maybe_unused]] const Call call(Form::lane, num, d, a, b);
    if (!inPhase(d, a, b)) return mulAndDotDASISD(d, a, b, num);
    const unsigned sideBySide = mayPair(d, a) && mayPair(d, b) ? 2 : 1;
    // Two loops, since GCC would ask in each iteration at -O2.
    const auto sum = [=]<bool inPlace>() {
        return reduce(
            num, sideBySide, [=](Count i, Count n) { return mulAndDotDASISD(d + i, a + i, b + i, n); },
            [=](Count i) {
                const __m128 factor = groupAt(a, i);
                const __m128 product = _mm_mul_ps(groupAt(b, i), factor);
                putGroup(d, i, product);
                // a is meant as it stands after the store, which reaches this group of a only if d is a.
                return _mm_mul_ps(product, inPlace ? product : factor);
            },
            d, a, b);
    };
    return d == a ? sum.template operator()<true>() : sum.template operator()<false>();
}

double ZEL_Math::mulAndDotDASISD(float* d, const float* a, const float* b, Count num) {
    [[maybe_unused]] const Call call(Form::element, num, d, a, b);
    double sum = 0;
    for (Count i = 0; i < num; ++i) {
        const float product = b[i] * a[i];
        d[i] = product;
        const float term = product * a[i];  // a[i] is read again: d may be a
        sum += static_cast<double>(term);
    }
    return sum;
}
