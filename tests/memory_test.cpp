// What needs memory of its own: sums of many blocks, vectors on a page that can't be touched, counts beyond an int.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <numeric>

#include "support/engine.h"

namespace test {

/// Two copies of an array of which `away` more elements are used by an operand that overlaps d.
struct Overlapped {
    std::vector<float> whole, parts;
    Overlapped(Count num, Count away) : whole(num + away) {
        for (Count i = 0; i < num + away; ++i) whole[i] = static_cast<float>(i * 7919 % 10007) * 1e-4f - 0.5f;
        parts = whole;
    }
};

/// A long sum is its blocks' sums, each of them a short call, added upward: in arrays apart from one another, in place
/// and where d overlaps a source by less than two or four blocks.
TEST(Memory, SumsAreTheSumsOfTheirBlocks) {
    for (const Count num : {150000, 199996, 3000000})  // for the caches, with prefetching, and too long for both
        for (const Count away : {0, 4, 1028, 2044, 2052, 3076}) {
            const Overlapped other(num, 0);
            const float* const b = other.whole.data();
            for (const bool above : {false, true}) {
                const Count d = above ? away : 0, a = away - d;
                Overlapped x(num, away), y(num, away);
                double sums[3] = {};
                for (Count i = 0; i < num; i += 1024) {
                    const Count n = std::min<Count>(1024, num - i);
                    sums[0] += Z::dotSIMD(b + i, &other.parts[i], n);
                    sums[1] += Z::maddAndNormSIMD(&x.parts[d + i], &x.parts[a + i], 0.7f, n);
                    sums[2] += Z::mulAndDotDASIMD(&y.parts[d + i], &y.parts[a + i], b + i, n);
                }
                EXPECT_EQ(Z::dotSIMD(b, other.parts.data(), num), sums[0]);
                EXPECT_EQ(Z::maddAndNormSIMD(&x.whole[d], &x.whole[a], 0.7f, num), sums[1]) << num << ' ' << d - a;
                EXPECT_EQ(Z::mulAndDotDASIMD(&y.whole[d], &y.whole[a], b, num), sums[2]) << num << ' ' << d - a;
                EXPECT_TRUE(x.whole == x.parts && y.whole == y.parts) << num << ' ' << d - a;
            }
        }
}

/// A vector that a mask leaves out can lie in memory that can't be touched; the others are as in calls of their own.
TEST(Memory, VectorsLeftOutAreNeitherReadNorWritten) {
    constexpr float m[4][4] = {{1, 2, 3, 4}, {-4, 3, -2, 1}, {0.5f, 0.25f, 2, 8}, {7, 5, 3, 1}};
    using Stream = std::function<void(float*, Count, const Mask*)>;
    const auto matrix = [&](auto* member) { return [=, &m](auto* d, auto... x) { member(d, m, x...); }; };
    const auto vector = [&](auto* member) { return [=, &m](auto* d, auto... x) { member(d, m[0], x...); }; };
    const std::tuple<const char*, int, Stream> streams[] = {
        {"mulColVec44", 4, matrix(Z::mulColVec44)}, {"mulColVec44_3", 4, matrix(Z::mulColVec44_3)},
        {"mulColVec34", 3, matrix(Z::mulColVec34)}, {"mulColVec34_3", 3, matrix(Z::mulColVec34_3)},
        {"mulRowVec44", 4, matrix(Z::mulRowVec44)}, {"mulRowVec44_3", 4, matrix(Z::mulRowVec44_3)},
        {"mulRowVec34", 3, matrix(Z::mulRowVec34)}, {"mulRowVec34_3", 3, matrix(Z::mulRowVec34_3)},
        {"vadd4u4", 4, vector(Z::vadd4u4)},         {"vsub4u4", 4, vector(Z::vsub4u4)},
        {"vmul4u4", 4, vector(Z::vmul4u4)}};
    constexpr Count all = 3 * page / 4;
    auto* const memory = static_cast<float*>(mmap(nullptr, 3 * page, 3, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    float *const hidden = memory + page / 4, *const end = hidden + page / 4;
    for (const auto& [name, stride, stream] : streams)
        for (int trial = 0; trial < 16; ++trial) {
            float* const d = memory + trial % 4;  // in all four phases
            // To the end of the memory, or up to three vectors that are left out.
            const Count num = trial & 4 ? (all - 3) / stride : (hidden - d) / stride + 3;
            Z::forceSIMD(trial & 8);
            std::iota(memory, memory + all, -500.0f);
            std::vector<float> wanted(memory, memory + all);
            std::vector<Mask> mask(num);
            for (Count i = 0; i < num; ++i) {
                const float* const v = d + stride * i;
                mask[i] = v + stride > hidden && v < end ? 1 : i % 5 == 1;
                if (!mask[i]) stream(&wanted[v - memory], 1, nullptr);
            }
            mprotect(hidden, page, PROT_NONE);
            stream(d, num, mask.data());
            mprotect(hidden, page, PROT_READ | PROT_WRITE);
            EXPECT_EQ(std::memcmp(memory, wanted.data(), all * sizeof(float)), 0) << name;
        }
    munmap(memory, 3 * page);
}

/// The passes of lerp are those of one form, though another flag is stored while the first one reads its first element.
TEST(Memory, AFlagStoredDuringACallCountsFromTheNext) {
    static void* a;  // zeros, on a page that can't be read before
    a = mmap(nullptr, page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const auto before = signal(SIGSEGV, [](int) {
        Z::forceSIMD(!Z::isSIMD());
        mprotect(a, page, PROT_READ);
    });
    alignas(16) float d[4], b[4] = {1, 1, 1, 1};
    for (const bool flag : {false, true}) {
        mprotect(a, page, PROT_NONE);
        Z::forceSIMD(flag);
        Z::lerp(d, static_cast<float*>(a), b, 3.0f, 4);  // (b - a) c + a, but a (1 - c) + b c
        EXPECT_NE(Z::isSIMD(), flag);
        EXPECT_EQ(std::count(d, d + 4, 3.0f), 4) << "flag " << flag << ": " << d[0];
    }
    signal(SIGSEGV, before);
    munmap(a, page);
}

#if defined(ZEL_ASSERTS) || defined(__SANITIZE_ADDRESS__)
/// What debug and sanitized builds refuse: one array of each call is null or lies a byte off.
TEST(Memory, ArraysThatCannotBeUsedStopADebugBuild) {
    alignas(16) float good[8] = {};
    const auto off = [](auto* p) { return reinterpret_cast<decltype(p)>(reinterpret_cast<std::uintptr_t>(p) + 1); };
    auto* const words = reinterpret_cast<int*>(good);
    auto* const halves = reinterpret_cast<std::uint16_t*>(good);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(good);
    float* const none = nullptr;
    const std::function<void()> calls[] = {[&] { Z::add(off(good), good, good, 1); },
                                           [&] { Z::addSIMD(good, none, good, 1); },
                                           [&] { Z::swap(good, off(good), 1); },
                                           [&] { Z::dotSIMD(good, off(good) + 3, 4); },
                                           [&] { Z::dotSISD(none, good, 1); },
                                           [&] { Z::maddAndNormSISD(off(good), good, 1, 1); },
                                           [&] { Z::mulAndDotDASISD(good, good, none, 1); },
                                           [&] { Z::maddAndNormSIMD(none, none, 1, 4); },
                                           [&] { Z::zerocountSIMD(off(words), 7); },
                                           [&] { Z::zerocountSISD(off(words), 1); },
                                           [&] { Z::wpointSIMD(off(halves), good, 1, 1, 1, 1); },
                                           [&] { Z::iwpointSIMD(good, off(halves), 1, 1, 1); },
                                           [&] { Z::iwpointSIMD(none, bytes, 255, 0, 1); },
                                           [&] { Z::vadd4u4(off(good), good, 1, nullptr); }};
    for (const bool flag : {false, true}) {
        Z::forceSIMD(flag);
        for (const auto& call : calls) EXPECT_EXIT(call(), testing::KilledBySignal(SIGABRT), "null, or not aligned");
    }
}
#endif

/// An array that needn't fit into memory: the same pages again and again, and pages of its own at the end.
template <class T> std::span<T> reserve(Count num) {
    constexpr Count part = 16 << 20;
    const Count end = (num * static_cast<Count>(sizeof(T)) + part) / part * part;
    const int pages = memfd_create("pages", 0);
    EXPECT_EQ(ftruncate(pages, part), 0);
    auto* all = static_cast<char*>(mmap(nullptr, end, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    for (Count i = 0; i + part < end; i += part)
        mmap(all + i, part, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED | MAP_POPULATE, pages, 0);
    mprotect(all + end - part, part, PROT_READ | PROT_WRITE);
    close(pages);
    return {reinterpret_cast<T*>(all), static_cast<std::size_t>(num)};
}
template <class T> void release(std::span<T> array) { munmap(array.data(), array.size_bytes()); }

/// set writes by non-temporal stores, madd by ordinary ones, and the next one is an element loop.
TEST(Counts, BeyondThirtyTwoBits) {
    constexpr Count num = (Count{1} << 32) + 7;
    const auto d = reserve<float>(num);
    const auto ofTheLast = [&](float value) { return std::count(d.data() + num - 7, d.data() + num + 2, value); };
    Z::setSIMD(d.data(), 1.0f, num);
    EXPECT_EQ(ofTheLast(1), 7) << "setSIMD";
    Z::maddSIMD(d.data(), d.data(), 1.0f, num);
    EXPECT_EQ(ofTheLast(2), 7) << "maddSIMD";
    Z::set(reinterpret_cast<int*>(d.data()), std::bit_cast<int>(3.0f), num);
    EXPECT_EQ(ofTheLast(3), 7) << "set";
    release(d);
}
TEST(Counts, ThatAnIntCannotHold) {
    constexpr Count num = (Count{1} << 31) + 7;
    const auto zeros = reserve<int>(num);
    EXPECT_EQ(Z::zerocountSISD(zeros.data(), num), -2147483647 + 6);
    EXPECT_EQ(Z::zerocountSIMD(zeros.data(), num), -2147483647 + 6);
    release(zeros);
}
TEST(Exhaustive, CountsOfVectors) {
    constexpr Count num = (Count{1} << 31) + 7;
    constexpr float one[4] = {1, 1, 1, 1};
    for (const bool lanes : {false, true}) {
        Z::forceSIMD(lanes);
        const auto d = reserve<float>(4 * num);
        Z::vadd4u4(d.data(), one, num, lanes ? reserve<Mask>(num).data() : nullptr);
        EXPECT_EQ(std::count(d.data() + 4 * num - 7, d.data() + 4 * num + 2, 1.0f), 7) << "flag " << lanes;
        release(d);
    }
}

}  // namespace test
