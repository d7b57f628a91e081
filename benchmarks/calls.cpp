// What short calls cost, in cycles of the core. The time stamp counter ticks at a rate of its own, so a chain
// of additions, a cycle each, is timed beside every figure.
#include <x86intrin.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;

// Calls go round the sets, so that none waits for the stores of the one before.
constexpr int sets = 16, rounds = 50;

template <class Work> double ticks(Work work) {
    const auto start = __rdtsc();
    work();
    return static_cast<double>(__rdtsc() - start);
}

double ticksPerCycle() {
    constexpr int length = 2000;
    return ticks([] {
               for (int i = 0; i < length; ++i) asm volatile(".rept 10\n add $1, %%rax\n .endr" ::: "rax");
           }) /
           (10 * length);
}

/// Arrays for calls of up to 8 elements, each from a cache line on.
Data makeSet() {
    static char* next = static_cast<char*>(_mm_malloc(sets * bench::arrays * 192, 64));
    Data q;
    bench::each(q, []<class T>(T*& array) {
        array = reinterpret_cast<T*>(next);
        next += 192;
    });
    bench::fill(q, 8);
    return q;
}

}  // namespace

void bench::printCalls() {
    std::vector<Data> data;
    for (int k = 0; k < sets; ++k) data.push_back(makeSet());
    benchForceSIMD(true);
    std::printf("%-20s%s\n", "cycles a call", "   0    1    2    3    4    5    6    7    8 elements");
    const auto row = [&](const char* name, void (*run)(const Data&, Count)) {
        std::printf("%-20s", name);
        for (Count n = 0; n <= 8; ++n) {
            double cycle = 1e9, calls = 1e9;
            for (int repeat = 0; repeat < 50; ++repeat) {
                cycle = std::min(cycle, ticksPerCycle());
                calls = std::min(calls, ticks([&] {
                                     for (int k = 0; k < rounds; ++k)
                                         for (const Data& q : data) run(q, n);
                                 }));
            }
            std::printf("%5.0f", calls / (rounds * sets) / cycle);
        }
        std::puts("");
    };
    row("an empty function", [](const Data& q, Count n) { benchNothing(q.d, q.a, q.b, n); });
    const Kernels rows = libraryKernels();
    for (std::size_t k = 0; k < rows.size; ++k) row(rows.first[k].name, rows.first[k].run);
}
