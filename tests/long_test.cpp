// Arrays that are longer than a pane: sums of many blocks, and counts that an int can't hold.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "support/engine.h"

namespace test {

/// A long sum is its blocks' sums, each of them a short call, added upward.
TEST(Long, SumsAreTheSumsOfTheirBlocks) {
    for (const Count num : {200000, 3000000}) {  // for the caches, and too long for them
        std::vector<float> a(num), b(num);
        for (Count i = 0; i < num; ++i) {
            a[i] = static_cast<float>(i * 7919 % 10007) * 1e-4f;
            b[i] = static_cast<float>(i * 104729 % 9973) * 1e-4f - 0.5f;
        }
        std::vector<float> whole = b, parts = b;
        double sums[3] = {};
        for (Count i = 0; i < num; i += 1024) {
            const Count n = std::min<Count>(1024, num - i);
            sums[0] += Z::dotSIMD(&a[i], &parts[i], n);
            sums[1] += Z::maddAndNormSIMD(&parts[i], &a[i], 0.7f, n);
            sums[2] += Z::mulAndDotDASIMD(&parts[i], &a[i], &b[i], n);
        }
        EXPECT_EQ(Z::dotSIMD(a.data(), whole.data(), num), sums[0]);
        EXPECT_EQ(Z::maddAndNormSIMD(whole.data(), a.data(), 0.7f, num), sums[1]);
        EXPECT_EQ(Z::mulAndDotDASIMD(whole.data(), a.data(), b.data(), num), sums[2]);
        EXPECT_EQ(whole, parts);
    }
}

/// An array that needn't fit into memory: the same pages again and again, and pages of its own at the end.
float* reserve(Count num) {
    constexpr Count part = 16 << 20;
    const Count end = (num * 4 + part) / part * part;
    const int pages = memfd_create("pages", 0);
    EXPECT_EQ(ftruncate(pages, part), 0);
    auto* all = static_cast<char*>(mmap(nullptr, end, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    for (Count i = 0; i + part < end; i += part)
        mmap(all + i, part, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, pages, 0);
    mprotect(all + end - part, part, PROT_READ | PROT_WRITE);
    return reinterpret_cast<float*>(all);
}

TEST(Exhaustive, CountsThatAnIntCannotHold) {
    constexpr Count num = (Count{1} << 31) + 7;
    constexpr float one[4] = {1, 1, 1, 1};
    for (const bool lanes : {false, true}) {
        Z::forceSIMD(lanes);
        const auto endsAt = [](const float* d, Count end) {
            return std::count(d + end - 7, d + end, 1.0f) == 7 && d[end] == 0 && d[end + 1] == 0;
        };
        auto* const d = reserve(num);
        Z::set(d, 1.0f, num);
        EXPECT_TRUE(endsAt(d, num)) << "flag " << lanes;
        auto* const vectors = reserve(4 * num);
        Z::vadd4u4(vectors, one, num, lanes ? reinterpret_cast<Mask*>(reserve(num)) : nullptr);
        EXPECT_TRUE(endsAt(vectors, 4 * num)) << "flag " << lanes;
    }
}

}  // namespace test
