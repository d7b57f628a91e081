// Rows and worked values of conversions, fills and exchanges.
#include <gtest/gtest.h>

#include <cfenv>
#include <cstdio>

#include "definitions.h"
#include "engine.h"

using namespace test;

namespace {

const Register floatToInt([] {
    const auto cast = [](int& d, float a) { d = toInt(std::trunc(exact(a))); };
    // The lane conversion takes denormals as the caller's mode has them; the element floor goes by bits.
    const auto floor = [](int& d, float a) { d = toInt(std::floor(exact(a))); };
    const auto floorLane = [](int& d, float a) { d = toInt(std::floor(static_cast<double>(a))); };
    both<int, Array<float>>(Z::cast, Z::castSIMD, cast);
    both<int, Array<float>>(Z::floor, Z::floorSIMD, floor, floorLane);

    const auto split = [](int& d, float& frac, float x) {
        const std::int64_t n = std::int64_t{toInt(std::trunc(exact(x)))} - (x < 0);
        d = static_cast<int>(static_cast<std::uint32_t>(n));
        frac = x - static_cast<float>(d);
    };
    const auto splitLane = [](int& d, float& frac, float x) {
        const unsigned control = _mm_getcsr();
        _mm_setcsr((control & ~0x6000u) | 0x2000);
        volatile float source = x;  // the subtraction happens here, under this rounding
        d = toInt(std::floor(static_cast<double>(x)));
        volatile float whole = static_cast<float>(d);
        frac = source - whole;
        _mm_setcsr(control);
    };
    both<int, float*, Array<float>>(Z::splitFloat, Z::splitFloatSIMD, split, splitLane);
    both<int, float*>(
        Z::splitFloat, Z::splitFloatSIMD, [=](int& d, float& f) { split(d, f, f); },
        [=](int& d, float& f) { splitLane(d, f, f); });
});

/// num comes third here; formulas are called with everything but num.
template <class D, class A>
using Masked = void (*)(D*, A, Count, const Mask*);

const Register setAndSwap([] {
    const auto fill = [](auto& d, auto value) { d = value; };
    only<int, int>(Z::set, fill);
    both<float, float>(Z::set, Z::setSIMD, fill);
    const auto masked = [](auto& d, auto value, Mask mask) { d = mask ? d : value; };
    add(formulaRow(Masked<int, int>(Z::set), Kind::dispatching, masked));
    add(formulaRow(Masked<int, int>(Z::setSIMD), Kind::simd, masked));
    add(formulaRow(Masked<int, const int*>(Z::set), Kind::dispatching, masked));
    add(formulaRow(Masked<int, const int*>(Z::setSIMD), Kind::simd, masked));
    add(formulaRow(Masked<float, float>(Z::set), Kind::dispatching, masked));
    add(formulaRow(Masked<float, const float*>(Z::set), Kind::dispatching, masked));
    const auto swap = [](auto& a, auto& b) { std::swap(a, b); };
    both<float, float*>(Z::swap, Z::swapSIMD, swap);
    only<double, double*>(Z::swap, swap);
});

template <class Sample>
void whitePointRows() {
    constexpr bool wide = std::is_same_v<Sample, float>;
    const auto mapped = [](float a, float scale, float black) {
        return sum(product(scale, a), black + 0.5f);
    };
    const auto store = [](float x) -> Sample {
        if constexpr (wide) return x;
        return static_cast<Sample>(toInt(std::trunc(exact(x))));
    };
    const auto out = [=](Sample& d, float a, float scale, float limit, float black) {
        const float x = mapped(a, scale, black);
        d = store(x <= 0 ? 0.0f : x >= limit ? limit : x);
    };
    const auto outLane = [=](Sample& d, float a, float scale, float limit, float black) {
        const float x = mapped(a, scale, black), y = x < limit ? x : limit;
        d = store(y > 0 ? y : 0.0f);
    };
    for (Row& row : both<Sample, Array<float>, float, float, float>(Z::wpoint, Z::wpointSIMD, out, outLane)) {
        // Half the cases as images have them, so that not everything ends at a bound.
        row.adjust = [](Case& c, const auto& random) {
            if (random() % 2) return;
            c.give(2, std::array{1.0f, 255.0f, 65535.0f}[random() % 3]);
            c.give(3, std::array{255.0f, 256.0f, 65535.0f, 65536.0f}[random() % 4]);
            c.give(4, static_cast<float>(random() % 16));
        };
    }

    const auto tabled = [](float scale, Sample black) {
        return sizeof(Sample) == 1 && black == 0 && scale == 255.0f;
    };
    const auto back = [](float& d, Sample a, float scale, Sample black) {
        if constexpr (wide)
            d = product(a - black, 1.0f / scale);
        else
            d = static_cast<float>(int{a} - int{black}) * (1.0f / scale);
    };
    // Six decimals, read back as text would be: not the float nearest to a / 255.
    const auto backLane = [=](float& d, Sample a, float scale, Sample black) {
        if (!tabled(scale, black)) return back(d, a, scale, black);
        char text[16];
        std::snprintf(text, sizeof text, "%.6f", static_cast<double>(a) / 255);
        d = std::strtof(text, nullptr);
    };
    for (Row& row : both<float, Array<Sample>, float, Sample>(Z::iwpoint, Z::iwpointSIMD, back, backLane)) {
        row.adjust = [](Case& c, const auto& random) {
            const auto roll = random() % 4;
            if (roll < 2) c.give(2, 255.0f);
            if (roll < 1) c.give(3, Sample{0});
        };
        // No phases: the tail, then one element after the other, wherever the arrays lie.
        row.order = [=](const Row& r, const Case& c) {
            if (!usesLanes(r, c)) return road(-1, c.count);
            std::vector<Step> steps = road(tabled(c.item<float>(2), c.item<Sample>(3)) ? -1 : 0, c.count, 1);
            for (Step& s : steps) s.form = Form::lane;
            return steps;
        };
    }
}
const Register whitePoint([] {
    whitePointRows<std::uint8_t>();
    whitePointRows<std::uint16_t>();
    whitePointRows<float>();
});

TEST(SplitFloat, WhatLanesRaiseRemains) {
    alignas(16) const float a[4] = {-1e-10f, -1e-10f, -1e-10f, -1e-10f};
    alignas(16) int d[4];
    alignas(16) float frac[4];
    std::feclearexcept(FE_ALL_EXCEPT);
    Z::splitFloatSIMD(d, frac, a, 4);
    EXPECT_EQ(frac[0], 0.99999994f);
    EXPECT_TRUE(std::fetestexcept(FE_INEXACT));
}

}  // namespace
