// A step of heat on a grid, whole and row by row: the recipe of docs/cookbook.md, compared with a plain loop,
// and its cost: heat [WIDTH HEIGHT]
#include <cstdlib>

#include "recipe.h"

/// n cells from u on, in rows of `width`: d = u + k (above + below + left + right - 4 u).
void heat(float* d, const float* u, std::int64_t width, float k, std::int64_t n) {
    ZEL_Math::add(d, u - width, u + width, n);
    ZEL_Math::add(d, d, u - 1, n);
    ZEL_Math::add(d, d, u + 1, n);
    ZEL_Math::madd(d, u, -4.0f, n);     // d = d + u * -4
    ZEL_Math::scaleoffset(d, k, u, n);  // d = d * k + u
}

/// A step inside the border, which stays: the calls get a row at a time, so that d and u wait in the cache.
void byRows(float* d, const float* u, std::int64_t width, std::int64_t height, float k) {
    for (std::int64_t y = 1; y < height - 1; ++y) heat(d + y * width + 1, u + y * width + 1, width, k, width - 2);
}

/// The same in five calls over everything. The border's cells within are put back.
void whole(float* d, const float* u, std::int64_t width, std::int64_t height, float k) {
    heat(d + width + 1, u + width + 1, width, k, (height - 2) * width - 2);
    for (std::int64_t y = 1; y < height; ++y) {
        d[y * width - 1] = u[y * width - 1];
        d[y * width] = u[y * width];
    }
}

/// By hand, rounded in the same places; the compiler must not fuse a product with a sum.
void byHand(float* d, const float* u, std::int64_t width, std::int64_t height, float k) {
    for (std::int64_t y = 1; y < height - 1; ++y)
        for (std::int64_t i = y * width + 1; i < (y + 1) * width - 1; ++i)
            d[i] = (((u[i - width] + u[i + width]) + u[i - 1] + u[i + 1]) + u[i] * -4.0f) * k + u[i];
}

int main(int argc, char** argv) {
    const std::int64_t width = argc > 2 ? std::atoi(argv[1]) : 1024, height = argc > 2 ? std::atoi(argv[2]) : 1024;
    if (width < 3 || height < 3) return std::fprintf(stderr, "usage: heat [WIDTH HEIGHT]\n"), 2;
    const Floats u = numbers(width * height, 0, 1);
    Floats rows = u, all = u, hand = u;
    byHand(hand.data(), u.data(), width, height, 0.2f);
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        byRows(rows.data(), u.data(), width, height, 0.2f);
        expectSame("row by row", rows, hand);
        whole(all.data(), u.data(), width, height, 0.2f);
        expectSame("whole", all, hand);
    }
    cost("heat, row by row", width * height, [&] { byRows(rows.data(), u.data(), width, height, 0.2f); });
    cost("heat, whole", width * height, [&] { whole(all.data(), u.data(), width, height, 0.2f); });
    cost("heat, by hand", width * height, [&] { byHand(hand.data(), u.data(), width, height, 0.2f); });
    return theFailures;
}
