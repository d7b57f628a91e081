// Worked values: what a reader would try by hand, so that a wrong model isn't its own witness. Zeros, infinities and
// NaN are on the page of special values, which a test compares.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "support/engine.h"

namespace test {

constexpr float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
constexpr int least32 = std::numeric_limits<int>::min();
float word(std::uint32_t bits) { return std::bit_cast<float>(bits); }
const float defaultNaN = word(0xFFC00000);  // of an invalid operation

/// Four elements from a 16-byte boundary on: a lane group where the flag is set.
template <class T> struct alignas(16) Four {
    T x[4];
    explicit Four(T value) : x{value, value, value, value} {}
};
template <class A> A pass(Four<Item<A>>& four) {
    if constexpr (std::is_pointer_v<A>) return four.x;
    if constexpr (!std::is_pointer_v<A>) return four.x[0];
}

/// A call where each element of d, and then of each operand, is the number given: what d holds afterwards, by element
/// and in a lane group.
template <class D, class... X>
void worked(int line, Member<D, X...> member, std::tuple<D, Item<X>...> numbers, D byElement, D byLane) {
    for (const bool flag : {false, true}) {
        Z::forceSIMD(flag);
        auto fours = std::apply([](auto... x) { return std::tuple(Four(x)...); }, numbers);
        std::apply([&](auto& d, auto&... x) { member(d.x, pass<X>(x)..., 4); }, fours);
        for (const D got : std::get<0>(fours).x)
            EXPECT_EQ(bits(got), bits(flag ? byLane : byElement)) << "line " << line << ", flag " << flag;
    }
}
#define BOTH(member, types, numbers, result) worked<UNWRAP types>(__LINE__, Z::member, {UNWRAP numbers}, result, result)
#define EACH(member, types, numbers, byElement, byLane) \
    worked<UNWRAP types>(__LINE__, Z::member, {UNWRAP numbers}, byElement, byLane)
#define UNWRAP(...) __VA_ARGS__

using F = float;
using A = Array<float>;
using DA = Array<double>;
using IA = Array<int>;

TEST(Worked, Arithmetic) {
    BOTH(add, (F, A, A), (0, 1.5f, 2.25f), 3.75f);
    BOTH(add, (F, A, F), (0, 16777216, 1), 16777216);  // a tie goes to the even one
    BOTH(add, (F, A, A), (0, inf, -inf), defaultNaN);
    BOTH(add, (int, IA, int), (0, 2147483647, 1), least32);
    BOTH(add, (double, DA, double), (0, 0.1, 0.2), 0.30000000000000004);
    BOTH(sub, (F, F, A), (0, 3, 5), -2);
    BOTH(sub, (double, double, DA), (0, 3, 5), -2);
    BOTH(mul, (F, A, A), (0, 0, inf), defaultNaN);
    BOTH(mul, (F, A, F), (0, 3e38f, 10), inf);
    BOTH(div, (F, A, A), (0, 5, 3), word(0x3FD55555));
    BOTH(div, (F, A, F), (0, 5, 3), word(0x3FD55556));  // 5 times the float nearest to a third
    BOTH(fdiv, (F, A, F), (0, 5, 3), word(0x3FD55556));
    BOTH(fdiv, (double, DA, DA), (0, 1, 4), 0.25);
    BOTH(safediv, (F, A, A), (0, -5, 0), -0.0f);
    BOTH(safediv, (F, A, A), (0, inf, 0), defaultNaN);
    BOTH(safediv, (F, A, F), (0, -5, 0), 0.0f);
    EACH(safediv, (F, F, A), (0, inf, -0.0f), defaultNaN, 0.0f);
    BOTH(invert, (double, DA), (0, 4), 0.25);
    BOTH(sqrt, (F, A), (0, 2), word(0x3FB504F3));
    BOTH(isqrt, (double, DA), (0, 16), 0.25);
    BOTH(abs, (F, A), (0, -3), 3);
    EACH(abs, (F, A), (0, word(0xFFC00001)), word(0x7FC00001), word(0xFFC00001));
    EACH(negate, (F, A), (0, word(0x7F800001)), word(0xFF800001), word(0x7FC00001));
    BOTH(negate, (double, DA), (0, 0), -0.0);
    EACH(zelmin, (F, A, F), (0, 1, nan), 1, nan);
    EACH(zelmin, (F, A, A), (0, 0, -0.0f), 0.0f, -0.0f);
    BOTH(zelmax, (double, DA, double), (0, 1, 2), 2);
    BOTH(madd, (F, A, A), (1, 2, 3), 7);
    BOTH(madd, (F, A, F), (-1, 1 + 0x1p-12f, 1 + 0x1p-12f), 0x1p-11f);  // fused it would be 2^-24 more
    BOTH(scaleoffset, (F, A, F), (2, 3, 4), 10);
    BOTH(scaleoffset, (double, double, double), (2, 3, 4), 10);
    BOTH(lerp, (F, A, A, A), (0, 1e8f, 1, 1), 0);
    EACH(lerp, (F, A, A, F), (0, 1e8f, 1, 1), 0, 1);  // (b - a) c + a, but a (1 - c) + b c
}

TEST(Worked, ComparisonAndBits) {
    BOTH(lt, (int, A, A), (0, 1, 2), 1);
    BOTH(ne, (int, A, A), (0, nan, nan), 1);
    BOTH(le, (int, IA, int), (0, -1, -1), 1);
    BOTH(gt, (int, IA, IA), (0, -1, 1), 0);
    BOTH(fastlt, (int, DA, double), (0, 1, 2), 1);
    EACH(fastlt, (int, A, F), (0, 1, 2), 1, -1);
    EACH(fastne, (int, IA, int), (0, 1, 2), 1, -1);
    BOTH(band, (int, IA, int), (0, 12, 10), 8);
    BOTH(bor, (int, IA, IA), (0, 12, 10), 14);
    BOTH(bxor, (int, IA, int), (0, 12, 10), 6);
}

TEST(Worked, MovementAndConversion) {
    BOTH(set, (F, F), (0, word(0x7F800001)), word(0x7F800001));  // a signalling NaN stays one
    BOTH(set, (int, int), (0, 7), 7);
    BOTH(cast, (int, A), (0, -2.9f), -2);
    BOTH(cast, (int, A), (0, 2147483520), 2147483520);
    BOTH(cast, (int, A), (0, 3e9f), least32);
    BOTH(floor, (int, A), (0, -0.5f), -1);
    BOTH(floor, (int, A), (0, -3), -3);
    BOTH(wpoint, (std::uint8_t, A, F, F, F), (0, 0.5f, 255, 255, 0), 128);
    BOTH(wpoint, (std::uint8_t, A, F, F, F), (0, 0.001f, 255, 255, 0), 0);
    BOTH(wpoint, (std::uint8_t, A, F, F, F), (0, 300, 1, 1000, 0), 44);  // low bits
    EACH(wpoint, (std::uint8_t, A, F, F, F), (0, nan, 255, 255, 0), 0, 255);
    EACH(wpoint, (std::uint16_t, A, F, F, F), (0, 1, 1, -1, 0), 65535, 0);
    BOTH(wpoint, (F, A, F, F, F), (0, 0.25f, 1, 1, 0), 0.75f);
    EACH(iwpoint, (F, Array<std::uint8_t>, F, std::uint8_t), (0, 1, 255, 0), word(0x3B808081), 0.003922f);
    BOTH(iwpoint, (F, Array<std::uint8_t>, F, std::uint8_t), (0, 3, 8, 5), -0.25f);
    BOTH(iwpoint, (F, Array<std::uint16_t>, F, std::uint16_t), (0, 5, 0, 5), defaultNaN);
    BOTH(iwpoint, (F, A, F, F), (0, 1.5f, 2, 0.5f), 0.5f);

    // Whole and fraction of -3 and 0, which the forms see differently, and of -1.25.
    for (const bool flag : {false, true}) {
        Z::forceSIMD(flag);
        alignas(16) float x[4] = {-3, 0, -1.25f, 2.75f};
        alignas(16) int whole[4];
        Z::splitFloat(whole, x, 4);
        EXPECT_EQ(std::to_array(whole), (std::array{flag ? -3 : -4, 0, -2, 2}));
        EXPECT_EQ(bits(std::to_array(x)[0]), bits(flag ? -0.0f : 1.0f));
        EXPECT_EQ(bits(std::to_array(x)[1]), bits(flag ? -0.0f : 0.0f));
        EXPECT_EQ((std::array{x[2], x[3]}), (std::array{0.75f, 0.75f}));
        const Mask mask[] = {0, 1, 0, 2};
        Z::set(whole, 9, 4, mask);
        EXPECT_EQ(std::to_array(whole), (std::array{9, 0, 9, 2}));
        alignas(16) float y[4] = {1, 2, 3, 4};
        Z::swap(x, y, 4);
        EXPECT_EQ((std::array{x[3], y[3]}), (std::array{4.0f, 0.75f}));
    }
}

TEST(Worked, ReductionsAndStreams) {
    constexpr float m[4][4] = {{0, -1, 0, 10}, {1, 0, 0, 20}, {0, 0, 2, 30}, {0, 0, 0, 1}};
    using Vector = std::array<float, 4>;
    for (const bool flag : {false, true}) {
        Z::forceSIMD(flag);
        alignas(16) Vector a = {1, 2, 3, 4}, d = {5, 6, 7, 8}, twos = {2, 2, 2, 2};
        EXPECT_EQ(Z::dot(a.data(), d.data(), 4), 70);
        d = a;
        EXPECT_EQ(Z::maddAndNorm(d.data(), a.data(), 2, 4), 9 + 36 + 81 + 144);
        EXPECT_EQ(Z::mulAndDotDA(d.data(), a.data(), twos.data(), 4), 2 + 8 + 18 + 32);
        EXPECT_EQ(d, (Vector{2, 4, 6, 8}));
        alignas(16) const int zeros[4] = {0, 1, 0, least32};
        EXPECT_EQ(Z::zerocount(zeros, 4), 2);
        const auto streamed = [](auto* member, auto* operand, Vector v) {
            alignas(16) Vector all[4] = {v, v, v, v};  // with stride three, the last four floats are left
            member(all[0].data(), operand, 4, nullptr);
            return all[0];
        };
        EXPECT_EQ(streamed(Z::mulColVec44, m, {1, 2, 3, 1}), (Vector{8, 21, 36, 1}));
        EXPECT_EQ(streamed(Z::mulRowVec44, m, {1, 2, 3, 1}), (Vector{2, -1, 6, 141}));
        EXPECT_EQ(streamed(Z::mulColVec44_3, m, {1, 2, 3, 9}), (Vector{-2, 1, 6, 9}));
        EXPECT_EQ(streamed(Z::mulRowVec44_3, m, {1, 2, 3, 9}), (Vector{2, -1, 6, 9}));
        EXPECT_EQ(streamed(Z::mulColVec34, m, {1, 2, 3, 1}), (Vector{8, 21, 36, 9}));  // of (1, 1, 2), the x
        EXPECT_EQ(streamed(Z::mulRowVec34, m, {1, 2, 3, 1}), (Vector{2, -1, 6, 1}));
        EXPECT_EQ(streamed(Z::vadd4u4, twos.data(), {1, 2, 3, 4}), (Vector{3, 4, 5, 6}));

        EXPECT_EQ(streamed(Z::vmul4u4, twos.data(), {1, 2, 3, 4}), (Vector{2, 4, 6, 8}));
    }
}

}  // namespace test
