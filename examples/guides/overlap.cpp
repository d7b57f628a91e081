// The snippets of docs/overlap.md, each with what it has to give.
#include <cstdio>
#include <numeric>
#include <vector>

#include "ZEL_Math.h"

int main() {
    int failures = 0;
    const auto expect = [&](const char* what, const std::vector<float>& got, const std::vector<float>& wanted) {
        std::printf("%-16s %s\n", what, got == wanted ? "as told" : "NOT as told");
        failures += got != wanted;
    };
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        {
            std::vector<float> a = {1, 4, 9, 16, 25, 36, 49};
            const std::int64_t n = 7;

            ZEL_Math::sqrt(a.data(), a.data(), n);           // in place
            ZEL_Math::mul(a.data(), a.data(), a.data(), n);  // all three the same array
            expect("in place", a, {1, 4, 9, 16, 25, 36, 49});

            // Differences to the right neighbour, in place: an upward loop reads each element before
            // it is written.
            ZEL_Math::sub(a.data(), a.data() + 1, a.data(), n - 1);
            expect("differences", a, {3, 5, 7, 9, 11, 13, 49});
        }
        {
            std::vector<float> a = {1, 2, 3, 4, 5, 6, 7};
            const std::int64_t n = 7;

            // Running sums, in place: each addition reads the sum before it.
            ZEL_Math::add(a.data() + 1, a.data() + 1, a.data(), n - 1);
            expect("running sums", a, {1, 3, 6, 10, 15, 21, 28});
        }
        {
            // Four apart the phases agree, and what is read was written one group, or one element, before.
            std::vector<float> a(16, 1.0f);
            ZEL_Math::add(a.data() + 4, a.data() + 4, a.data(), 12);
            expect("four apart", a, {1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4});
        }
        {
            // ... but a tail goes before the groups: the last element reads a 1 that an upward loop has
            // made a 3.
            std::vector<float> a(13, 1.0f);
            ZEL_Math::add(a.data() + 4, a.data() + 4, a.data(), 9);
            expect("with a tail", a, {1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, flag ? 2.0f : 4.0f});
        }
        {
            std::vector<float> a = {0, 0, 0, 0}, b = {1, 2, 3, 4};
            const std::vector<float> c = {0.5f, 0.5f, 0.5f, 0.5f};
            ZEL_Math::lerp(b.data(), a.data(), b.data(), c.data(), 4);  // array weight: d may be b
            expect("lerp into b", b, {0.5f, 1, 1.5f, 2});
            ZEL_Math::lerp(a.data(), a.data(), b.data(), 0.5f, 4);  // value weight: d may be a
            expect("lerp into a", a, {0.25f, 0.5f, 0.75f, 1});
        }
    }
    return failures;
}
