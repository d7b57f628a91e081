// Five members one after the other, as a caller meets them: over whole arrays, row by row so that a row stays
// in the nearest cache, and as one loop by hand.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "ZEL_Math.h"
#include "kernels.h"

namespace {

using bench::Count;
using Z = ZEL_Math;

constexpr Count side = 2048;
const bench::Values v = bench::values();

/// Gain, haze, range, vignette, contrast.
void members(float* d, const float* a, const float* b, const float* c, Count n) {
    Z::mul(d, a, v.third, n);
    Z::add(d, d, b, n);
    Z::clamp(d, d, v.low, v.high, n);
    Z::mul(d, d, c, n);
    Z::scaleoffset(d, v.third, v.low, n);
}

void whole(const bench::Data& q) { members(q.d, q.a, q.b, q.c, side * side); }
void rows(const bench::Data& q) {
    for (Count i = 0; i < side * side; i += side) members(q.d + i, q.a + i, q.b + i, q.c + i, side);
}
void byHand(const bench::Data& p) {
    const bench::Data q = p;
    const bench::Values w = v;
    for (Count i = 0; i < side * side; ++i) {
        const float hazy = q.a[i] * w.third + q.b[i];
        const float below = w.high < hazy ? w.high : hazy;
        q.d[i] = (below < w.low ? w.low : below) * q.c[i] * w.third + w.low;
    }
}

struct Way {
    const char* name;
    void (*run)(const bench::Data&);
    double best = 1e9;
};

}  // namespace

void bench::printChains() {
    const Data q = makeData(false);
    fill(q, side * side);
    for (const bool flag : {true, false}) {
        Z::forceSIMD(flag);
        Way ways[] = {{"whole arrays", whole}, {"row by row", rows}, {"one loop by hand", byHand}};
        std::vector<float> first;
        for (int repeat = 0; repeat < 40; ++repeat)
            for (Way& way : ways) {
                const auto start = std::chrono::steady_clock::now();
                way.run(q);
                const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
                way.best = std::min(way.best, time.count());
                if (first.empty()) first.assign(q.d, q.d + side * side);
                if (std::memcmp(first.data(), q.d, side * side * sizeof(float)) != 0)
                    std::printf("%s gives other bits\n", way.name);
            }
        for (const Way& way : ways)
            std::printf("flag %-5s  %-16s  %5.2f ms\n", flag ? "set" : "clear", way.name, 1e3 * way.best);
    }
}
