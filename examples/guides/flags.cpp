// The snippets of docs/flags.md: the modes of the calling thread, a reference loop, exceptions held off.
#include <xmmintrin.h>

#include <cfenv>
#include <cstdio>
#include <functional>
#include <numeric>
#include <vector>

#include "ZEL_Math.h"

/// What libZEL takes from its thread: how it rounds, what becomes of denormals, which exceptions trap.
bool modesAreTheUsual() {
    const unsigned word = _mm_getcsr() & 0xFFC0;  // without the flags of exceptions that were raised
    std::printf("MXCSR %04x: %s\n", word, word == 0x1F80 ? "the usual modes" : "other modes, other bits");
    return word == 0x1F80;
}

/// Where nothing is fused, the bits of madd.
void reference(float* d, const float* a, const float* b, std::int64_t num) {
    for (std::int64_t i = 0; i < num; ++i) d[i] = d[i] + a[i] * b[i];  // -ffp-contract=off
}

int main() {
    int failures = !modesAreTheUsual();
    const auto expect = [&](const char* what, bool asTold) {
        std::printf("%-40s %s\n", what, asTold ? "as told" : "NOT as told");
        failures += !asTold;
    };

    const std::int64_t n = 1000;
    std::vector<float> a(n), b(n), d(n), e(n);
    for (std::int64_t i = 0; i < n; ++i) {
        a[i] = 1 + 0.37f * static_cast<float>(i);
        b[i] = 2 - 0.113f * static_cast<float>(i);
        d[i] = e[i] = 0.7f * static_cast<float>(i);
    }
    reference(e.data(), a.data(), b.data(), n);
    ZEL_Math::madd(d.data(), a.data(), b.data(), n);
    std::printf("a loop of one's own: %d of 1000 elements differ from madd\n",
                std::inner_product(d.begin(), d.end(), e.begin(), 0, std::plus(), std::not_equal_to()));
    expect("... none of them", d == e);

    const std::vector<float> zeros(64, 0.0f);
    std::vector<float> r(64, 1.0f);
    feenableexcept(FE_DIVBYZERO);
    std::fenv_t before;
    std::feholdexcept(&before);  // from here nothing traps
    ZEL_Math::safediv(r.data(), 1.0f, zeros.data(), 64);
    std::fesetenv(&before);  // traps and flags as they were
    expect("no trap in a call", fegetexcept() == FE_DIVBYZERO && r == zeros);
    return failures;
}
