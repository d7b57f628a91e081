// What the programs of the cookbook share: the judgement of a recipe, and its cost.
#pragma once

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
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

/// The shortest digits that give this float again.
inline std::string digits(float x) {
    char text[32];
    return std::isnan(x) ? "NaN" : std::string(text, std::to_chars(text, text + sizeof text, x).ptr);
}

/// A row of a table of edges: recipe(a, n) puts its results in the place of n equal elements.
struct Edge {
    const char* name;
    void (*recipe)(float* a, std::int64_t n);
};

/// Prints a table of docs/cookbook.md, which a test compares: what becomes of elements that all have one value, in
/// calls of no to 4096 elements. Behind the slash, in bold, stands what comes with the flag set alone.
inline int printEdges(const char* title, std::initializer_list<float> values, std::initializer_list<Edge> rows) {
    std::string head = std::string("| ") + title, rule = "|---";
    for (const float value : values) {
        head += " | " + digits(value);
        rule += "|---";
    }
    std::printf("%s |\n%s|\n", head.c_str(), rule.c_str());
    for (const Edge& row : rows) {
        std::printf("| `%s` |", row.name);
        for (const float value : values) {
            std::vector<std::string> seen;
            for (const bool flag : {false, true})
                for (const std::int64_t n : {0, 1, 3, 8, 1003, 4096}) {
                    ZEL_Math::forceSIMD(flag);
                    Floats a(n, value);
                    row.recipe(a.data(), n);
                    for (const float x : a) {
                        const std::string text = digits(x);
                        const bool known = std::count(seen.begin(), seen.end(), text) != 0;
                        if (!known && std::count(seen.begin(), seen.end(), "**" + text + "**") == 0)
                            seen.push_back(flag ? "**" + text + "**" : text);
                    }
                }
            for (const std::string& text : seen) std::printf(" %s%s", &text == seen.data() ? "" : "/ ", text.c_str());
            std::printf(" |");
        }
        std::printf("\n");
    }
    std::printf("\n");
    return 0;
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
