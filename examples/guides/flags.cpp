// The snippets of docs/flags.md: the modes of the calling thread, a reference loop, exceptions by form.
#include <xmmintrin.h>

#include <cfenv>
#include <cstdio>
#include <cstring>
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

/// The exceptions that a call raises.
template <class Call> int raised(Call call) {
    std::feclearexcept(FE_ALL_EXCEPT);
    call();
    return std::fetestexcept(FE_DIVBYZERO | FE_INVALID);
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
    expect("a loop of one's own", std::memcmp(d.data(), e.data(), sizeof(float) * n) == 0);

    // Of what divides by zero, the elements tell, and of estimates in lane groups nobody does.
    const std::vector<float> zeros(64, 0.0f), negative(64, -1.0f), wide(64, 3e9f);
    std::vector<float> r(64);
    std::vector<int> k(64);
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        const int quotient = raised([&] { ZEL_Math::invert(r.data(), zeros.data(), 64); });
        expect("invert of 0", quotient == (flag ? 0 : FE_DIVBYZERO));
        const int root = raised([&] { ZEL_Math::isqrt(r.data(), negative.data(), 64); });
        expect("isqrt of -1", root == (flag ? 0 : FE_INVALID));
        const int down = raised([&] { ZEL_Math::floor(k.data(), wide.data(), 64); });
        expect("floor of 3e9", down == (flag ? FE_INVALID : 0));
        const int guarded = raised([&] { ZEL_Math::safediv(r.data(), 1.0f, zeros.data(), 64); });
        expect("safediv of 1 by 0, by elements", flag || guarded == 0);
        expect("... is 0 whatever was raised", r == zeros);
    }

    feenableexcept(FE_DIVBYZERO);
    std::fenv_t before;
    std::feholdexcept(&before);  // from here nothing traps
    ZEL_Math::safediv(r.data(), 1.0f, zeros.data(), 64);
    std::fesetenv(&before);  // traps and flags as they were
    expect("no trap in a call", fegetexcept() == FE_DIVBYZERO);
    return failures;
}
