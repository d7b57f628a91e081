// One array over several threads, with the bits of one call, and what that gains: threads [THREADS]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "ZEL_Math.h"

/// Where part k of `parts` begins: on a cache line of x, and so with a whole lane group.
std::int64_t cut(const float* x, std::int64_t num, int k, int parts) {
    if (k == 0) return 0;
    if (k == parts) return num;
    const std::int64_t lead = -(reinterpret_cast<std::uintptr_t>(x) / 4) & 15;
    return std::min(num, lead + num * k / parts / 16 * 16);
}

/// work(first, count) for each part, a thread each. x is the array that all others share their phase with.
template <class Work> void inParts(const float* x, std::int64_t num, int parts, Work work) {
#pragma omp parallel for num_threads(parts)
    for (int k = 0; k < parts; ++k) {
        const std::int64_t first = cut(x, num, k, parts);
        work(first, cut(x, num, k + 1, parts) - first);
    }
}

int phase(const void* p) {
    return static_cast<int>(-(reinterpret_cast<std::uintptr_t>(p) / 4) & 3);  // elements to the next boundary
}

/// dotSIMD(a, b, num) to the bit: its blocks of 1024 elements side by side, their sums in its order.
double dotInParts(const float* a, const float* b, std::int64_t num, [[maybe_unused]] int parts) {
    if (phase(a) != phase(b)) return ZEL_Math::dotSISD(a, b, num);  // one sum, one order: nothing to share out
    const std::int64_t lead = std::min<std::int64_t>(phase(a), num), end = lead + (num - lead) / 4 * 4;
    std::vector<double> sums((end - lead + 1023) / 1024);
#pragma omp parallel for num_threads(parts)
    for (std::size_t k = 0; k < sums.size(); ++k) {
        const std::int64_t i = lead + 1024 * static_cast<std::int64_t>(k);
        sums[k] = ZEL_Math::dotSIMD(a + i, b + i, std::min<std::int64_t>(1024, end - i));
    }
    double total = ZEL_Math::dotSISD(a, b, lead);
    total += ZEL_Math::dotSISD(a + end, b + end, num - end);
    for (const double sum : sums) total += sum;
    return total;
}

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// Seconds of the best run among those of 0.15 seconds: on a machine with other work, the least disturbed.
template <class Work> double best(Work work) {
    double seconds = 1e9;
    for (const auto begin = Clock::now(); since(begin) < 0.15;) {
        const auto start = Clock::now();
        work();
        seconds = std::min(seconds, since(start));
    }
    return seconds;
}

/// Every phase, odd counts, more parts than lane groups: the bits must be those of one call.
bool sameBits() {
    std::vector<float> a(20000), b(20000), one(20000), many(20000);
    for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] = 1 + 0.37f * static_cast<float>(i % 101);
        b[i] = static_cast<float>(i % 7) - 3.3f;
    }
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        for (std::int64_t offset = 0; offset < 16; ++offset)
            for (const std::int64_t num : {0, 1, 5, 16, 37, 1023, 19970})
                for (const int parts : {1, 2, 3, 7}) {
                    const float *x = a.data() + offset, *y = b.data() + offset;
                    float *d = one.data() + offset, *e = many.data() + offset;
                    ZEL_Math::fdiv(d, y, x, num);
                    inParts(x, num, parts,
                            [=](std::int64_t i, std::int64_t n) { ZEL_Math::fdiv(e + i, y + i, x + i, n); });
                    const double whole = ZEL_Math::dotSIMD(x, y, num), sum = dotInParts(x, y, num, parts);
                    if (std::memcmp(d, e, sizeof(float) * num) != 0 || std::memcmp(&whole, &sum, sizeof sum) != 0) {
                        std::printf("phase %d, %d elements, %d parts: other bits\n", static_cast<int>(offset),
                                    static_cast<int>(num), parts);
                        return false;
                    }
                }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const int parts =
        argc > 1 ? std::atoi(argv[1]) : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    if (parts < 1 || parts > 1024) return std::fprintf(stderr, "usage: threads [THREADS]\n"), 2;
    if (!sameBits()) return 1;
    std::printf("in parts as in one call: the same bits\n\n%-26s %12s %12s %8s\n", "ns per 1000 elements", "1 thread",
                "threads", "gain");
    const auto report = [&](const char* what, double elements, double one, double many) {
        std::printf("%-26s %12.0f %12.0f %8.2f\n", what, one / elements * 1e12, many / elements * 1e12, one / many);
    };

    // Far more than the caches hold: what is measured is the memory. Half of it still has streaming stores.
    const std::int64_t large = 32 << 20;
    std::vector<float> a(large, 1.5f), b(large, 2.5f), d(large);
    const auto mul = [&](std::int64_t i, std::int64_t n) {
        ZEL_Math::mul(d.data() + i, a.data() + i, b.data() + i, n);
    };
    report("mul, 32 Mi elements", static_cast<double>(large), best([&] { mul(0, large); }),
           best([&] { inParts(d.data(), large, parts, mul); }));
    report("dot, 32 Mi elements", static_cast<double>(large),
           best([&] { ZEL_Math::dotSIMD(a.data(), b.data(), large); }),
           best([&] { dotInParts(a.data(), b.data(), large, parts); }));

    // A part for each thread that fits its cache, gone over many times by one and the same thread.
    const std::int64_t small = 4096 * parts;
    const int rounds = 3000;
    const auto again = [&](std::int64_t i, std::int64_t n) {
        for (int round = 0; round < rounds; ++round) mul(i, n);
    };
    report("mul, 4096 a thread", static_cast<double>(small) * rounds, best([&] { again(0, small); }),
           best([&] { inParts(d.data(), small, parts, again); }));

    // The same, but the threads are called together for each call.
    report("mul, called each time", static_cast<double>(small), best([&] { mul(0, small); }),
           best([&] { inParts(d.data(), small, parts, mul); }));
}
