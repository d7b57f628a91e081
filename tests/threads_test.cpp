// Several threads at once, each with its own rounding and denormal mode: each gets the bits that it gets alone.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cstring>
#include <thread>
#include <vector>

#include "ZEL_Math.h"

namespace {

using Z = ZEL_Math;
constexpr std::int64_t num = 1203;       // two vector streams' worth, three elements of tail
alignas(16) float theA[num], theB[num];  // read by all
alignas(16) std::uint32_t theMask[num];

/// One of each family on arrays of its own under one mode: every bit that they give, and the mode afterwards.
std::vector<unsigned char> results(unsigned control) {
    std::vector<unsigned char> all;
    const auto keep = [&](const auto&... x) {
        (all.insert(all.end(), reinterpret_cast<const unsigned char*>(&x),
                    reinterpret_cast<const unsigned char*>(&x + 1)),
         ...);
    };
    alignas(16) float d[num] = {}, e[num] = {};
    alignas(16) int n[num] = {};
    std::uint8_t samples[num] = {};
    _mm_setcsr(control);
    Z::add(d, theA, theB, num), Z::madd(d, theA, theB, num), Z::div(e, d, 3.0f, num), keep(d, e);
    Z::safediv(d, theA, theB, num), Z::sqrt(e, d, num), Z::clamp(d, e, 0.25f, 8.0f, num), keep(d, e);
    Z::lerp(d, theA, theB, 0.3f, num), Z::floor(n, d, num), keep(d, n);
    Z::splitFloat(n, e, theA, num), keep(n, e);
    Z::lt(n, theA, theB, num), Z::bxor(n, n, 5, num), Z::set(e, theB, num, theMask), keep(n, e);
    Z::wpoint(samples, theA, 255.0f, 255.0f, 1.0f, num), Z::iwpoint(e, samples, 9.0f, 1, num),
        keep(samples, e);
    Z::mulColVec44(d, reinterpret_cast<const float(*)[4]>(theA), num / 4, theMask), Z::swap(d, e, num);
    Z::vadd4u4(d, theB, num / 4, nullptr), keep(d, e);
    const double sums[] = {Z::dot(theA, theB, num), Z::maddAndNorm(d, theA, 0.7, num),
                           Z::mulAndDotDA(e, theA, theB, num)};
    // Again and again, so that the switches of two threads do meet.
    for (int repeat = 0; repeat < 100; ++repeat) Z::floor(n, theA, num);
    const unsigned after = _mm_getcsr() & ~0x3Fu;
    keep(d, e, sums, Z::zerocount(n, num), after);
    return all;
}

TEST(Threads, KeepTheirOwnModes) {
    for (std::int64_t i = 0; i < num; ++i) {
        theA[i] = static_cast<float>(i % 97 - 40) / 7;
        theB[i] = static_cast<float>(i % 61) * 1e-3f;
        theMask[i] = i % 3 == 0;
    }
    std::vector<std::vector<unsigned char>> alone;
    for (unsigned mode = 0; mode < 8; ++mode)
        alone.push_back(results(0x1F80 | (mode & 3) << 13 | (mode & 4) << 13));
    _mm_setcsr(0x1F80);
    std::vector<std::thread> threads;
    std::vector<int> different(8);
    for (unsigned mode = 0; mode < 8; ++mode)
        threads.emplace_back([&, mode] {
            for (int repeat = 0; repeat < 200; ++repeat)
                different[mode] += results(0x1F80 | (mode & 3) << 13 | (mode & 4) << 13) != alone[mode];
        });
    for (std::thread& t : threads) t.join();
    for (unsigned mode = 0; mode < 8; ++mode) EXPECT_EQ(different[mode], 0) << "mode " << mode;
    for (unsigned mode = 1; mode < 4; ++mode) EXPECT_NE(alone[mode], alone[0]) << "rounding changes nothing";
}

}  // namespace
