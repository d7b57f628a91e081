// The snippets of docs/phases.md. Prints which form serves which element; phases memory: what streaming stores gain.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ZEL_Math.h"

int phase(const void* p) {
    return static_cast<int>(-(reinterpret_cast<std::uintptr_t>(p) / 4) & 3);  // elements to the next boundary
}

/// Lower-case letters for elements, an upper-case letter for each of a lane group: asked of fastlt, which
/// writes 1 for true by element and -1 by lane.
std::string forms(const float* a, const float* b, std::int64_t num) {
    std::vector<int> room(num + 3);
    int* d = room.data() + (4 + phase(room.data()) - phase(a)) % 4;  // the phase of a
    ZEL_Math::fastlt(d, a, b, num);
    std::string text;
    for (std::int64_t i = 0; i < num; ++i) text += d[i] == -1 ? 'L' : 'e';
    return text;
}

/// Milliseconds of `add` over arrays of this many MiB together, in so many calls: the best of nine runs.
double memory(std::int64_t mib, int calls) {
    const std::int64_t n = (mib << 20) / 12 / 64 * 64, part = n / calls;
    std::vector<float> a(n, 1.0f), b(n, 2.0f), d(n);
    auto best = std::chrono::steady_clock::duration::max();
    for (int repeat = 0; repeat < 9; ++repeat) {
        const auto start = std::chrono::steady_clock::now();
        for (std::int64_t i = 0; i + part <= n; i += part)
            ZEL_Math::add(d.data() + i, a.data() + i, b.data() + i, part);
        best = std::min(best, std::chrono::steady_clock::now() - start);
    }
    return std::chrono::duration<double, std::milli>(best).count();
}

int main(int argc, char**) {
    for (const int mib : {120, 132, 192, 384}) {
        if (argc == 1) break;
        const double one = memory(mib, 1), two = memory(mib, 2);
        ZEL_Math::forceSIMD(false);
        std::printf("| %d MiB | %.1f | %.1f | %.1f |\n", mib, one, two, memory(mib, 1));
        ZEL_Math::forceSIMD(true);
    }

    const std::vector<float> zeros(64, 0.0f), ones(64, 1.0f);  // malloc aligns to 16 bytes: phase 0
    struct {
        std::int64_t a, b, num;
        const char* wanted;
    } const cases[] = {
        {0, 0, 13, "LLLLLLLLLLLLe"},  // three groups and a tail
        {2, 2, 13, "eeLLLLLLLLeee"},  // a lead-in of two
        {2, 2, 5, "eeeee"},           // too short for a group
        {2, 1, 13, "eeeeeeeeeeeee"},  // phases apart
    };
    for (const auto& c : cases) {
        const std::string got = forms(zeros.data() + c.a, ones.data() + c.b, c.num);
        std::printf("a + %d, b + %d, %2d elements: %s\n", static_cast<int>(c.a), static_cast<int>(c.b),
                    static_cast<int>(c.num), got.c_str());
        if (got != c.wanted) return 1;
    }

    // A picture of which each row begins on a cache line, and so does the same column of every row.
    const std::int64_t width = 1001, height = 40;
    const std::int64_t pitch = (width + 15) / 16 * 16;
    const std::unique_ptr<float, void (*)(void*)> picture(
        static_cast<float*>(std::aligned_alloc(64, sizeof(float) * pitch * height)), std::free);
    ZEL_Math::set(picture.get(), 0.5f, pitch * height);

    // Columns 100 to 299: 100 is a multiple of four, so each call is lane groups from its first element on.
    for (std::int64_t y = 0; y < height; ++y) {
        float* row = picture.get() + y * pitch;
        ZEL_Math::mul(row + 100, row + 100, 2.0f, 200);
        if (phase(row + 100) != 0 || row[99] != 0.5f || row[100] != 1 || row[299] != 1 || row[300] != 0.5f) return 1;
    }
}
