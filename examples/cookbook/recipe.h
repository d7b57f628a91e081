// What the programs of the cookbook share: the judgement of a recipe, and its cost.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "ZEL_Math.h"

using Floats = std::vector<float>;
using Ints = std::vector<int>;

inline int theFailures = 0;

inline void expect(const char* what, bool told) {
    if (!told) std::printf("%s, flag %s: NOT as told\n", what, ZEL_Math::isSIMD() ? "set" : "clear");
    theFailures += !told;
}

/// The same bits, in arrays of any kind of number.
template <class T> void expectSame(const char* what, const std::vector<T>& got, const std::vector<T>& wanted) {
    const bool same = got.size() == wanted.size() &&
                      (got.empty() || std::memcmp(got.data(), wanted.data(), sizeof(T) * got.size()) == 0);
    expect(what, same);
}

/// What the page says of one value: recipe(a, n) makes `wanted`, to the bit or any NaN, of n times `value`. Counts of
/// 0 and 1, odd and even.
template <class Recipe> void gives(const char* what, float value, float wanted, Recipe recipe) {
    for (const std::int64_t n : {0, 1, 3, 8, 1003}) {
        Floats a(n, value);
        recipe(a.data(), n);
        expect(what, std::all_of(a.begin(), a.end(), [&](float x) {
                   return std::isnan(wanted) ? std::isnan(x) : std::memcmp(&x, &wanted, sizeof x) == 0;
               }));
    }
}

/// Uneven numbers between lo and hi, the same at every run.
inline Floats numbers(std::int64_t num, float lo, float hi) {
    Floats x(num);
    std::uint32_t word = 12345;
    for (float& value : x) {
        word = word * 1664525 + 1013904223;
        value = lo + (hi - lo) * (static_cast<float>(word >> 8) / 16777216);
    }
    return x;
}

/// Nanoseconds an element, of the best run among those of 30 milliseconds: the least disturbed.
template <class Work> double nanoseconds(std::int64_t elements, Work work) {
    using Clock = std::chrono::steady_clock;
    double best = 1e9;
    for (const auto end = Clock::now() + std::chrono::milliseconds(30); Clock::now() < end;) {
        const auto start = Clock::now();
        for (int k = 0; k < 4; ++k) {
            work();
            std::atomic_signal_fence(std::memory_order_seq_cst);  // else a loop of pure work is done once
        }
        best = std::min(best, std::chrono::duration<double, std::nano>(Clock::now() - start).count() / 4);
    }
    return best / static_cast<double>(elements);
}

template <class Work> void cost(const char* what, std::int64_t elements, Work work) {
    std::printf("%-34s %6.2f ns an element\n", what, nanoseconds(elements, work));
}
