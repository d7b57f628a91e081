// Rows and worked values of conversions, fills and exchanges.
#include <gtest/gtest.h>

#include <cfenv>
#include <string>

#include "signatures.h"

using namespace test;

namespace {

/// The integer of a whole number in double, or the one that stands for none.
int toInt(double whole) {
    return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<int>(whole) : -2147483647 - 1;
}

/// The value that the bits mean, even where denormals are taken for zeros.
double exact(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    const bool denormal = (bits & 0x7F800000) == 0 && (bits & 0x7FFFFFFF);
    return denormal ? (bits >> 31 ? -1e-40 : 1e-40) : static_cast<double>(x);
}

const Register floatToInt([] {
    both<IF>(Z::cast, Z::castSIMD, [](int& d, float a) { d = toInt(std::trunc(exact(a))); });
    // The lane conversion takes denormals as the caller's mode has them; the element floor goes by bits.
    both<IF>(
        Z::floor, Z::floorSIMD, [](int& d, float a) { d = toInt(std::floor(exact(a))); },
        [](int& d, float a) { d = toInt(std::floor(static_cast<double>(a))); });

    const auto element = [](int& d, float& frac, float x) {
        const std::int64_t n = std::int64_t{toInt(std::trunc(exact(x)))} - (x < 0);
        d = static_cast<int>(static_cast<std::uint32_t>(n));
        frac = x - static_cast<float>(d);
    };
    const auto lane = [](int& d, float& frac, float x) {
        const unsigned control = _mm_getcsr();
        _mm_setcsr((control & ~0x6000u) | 0x2000);
        volatile float source = x;  // the subtraction happens here, under this rounding
        d = toInt(std::floor(static_cast<double>(x)));
        volatile float whole = static_cast<float>(d);
        frac = source - whole;
        _mm_setcsr(control);
    };
    both<void(int*, float*, const float*, Count)>(
        Z::splitFloat, Z::splitFloatSIMD, [=](int& d, float& f, float a) { element(d, f, a); },
        [=](int& d, float& f, float a) { lane(d, f, a); });
    both<void(int*, float*, Count)>(
        Z::splitFloat, Z::splitFloatSIMD, [=](int& d, float& f) { element(d, f, f); },
        [=](int& d, float& f) { lane(d, f, f); });
});

const Register setAndSwap([] {
    using Mask = std::uint32_t;
    const auto fill = [](auto& d, auto value) { d = value; };
    const auto masked = [](auto& d, auto value, Mask mask) { d = mask ? d : value; };
    only<void(int*, int, Count)>(Z::set, fill);
    both<void(float*, float, Count)>(Z::set, Z::setSIMD, fill);
    // num comes third and the mask last; formulas are called with everything but num.
    both<void(int*, int, Count, const Mask*)>(Z::set, Z::setSIMD, masked);
    both<void(int*, const int*, Count, const Mask*)>(Z::set, Z::setSIMD, masked);
    addRow(static_cast<void (*)(float*, float, Count, const Mask*)>(Z::set), Kind::dispatching, masked,
           masked);
    addRow(static_cast<void (*)(float*, const float*, Count, const Mask*)>(Z::set), Kind::dispatching, masked,
           masked);
    both<void(float*, float*, Count)>(Z::swap, Z::swapSIMD, [](float& a, float& b) { std::swap(a, b); });
    only<void(double*, double*, Count)>(Z::swap, [](double& a, double& b) { std::swap(a, b); });
});

template <class Sample>
void whitePointRows() {
    const auto mapped = [](float a, float scale, float black) {
        return sum(product(scale, a), black + 0.5f);
    };
    const auto store = [](float x) {
        if constexpr (std::is_same_v<Sample, float>)
            return x;
        else
            return static_cast<Sample>(toInt(std::trunc(exact(x))));
    };
    using Out = void(Sample*, const float*, float, float, float, Count);
    both<Out>(
        Z::wpoint, Z::wpointSIMD,
        [=](Sample& d, float a, float scale, float limit, float black) {
            const float x = mapped(a, scale, black);
            d = store(x <= 0 ? 0.0f : x >= limit ? limit : x);
        },
        [=](Sample& d, float a, float scale, float limit, float black) {
            const float x = mapped(a, scale, black);
            const float y = x < limit ? x : limit;
            d = store(y > 0 ? y : 0.0f);
        });
    // Half the cases as images have them, so that not everything ends at a bound.
    for (std::size_t k = rows().size() - 2; k < rows().size(); ++k)
        rows()[k].adjust = [](Case& c, const auto& random) {
            if (random() & 1) return;
            const float scales[] = {1, 255, 65535}, limits[] = {255, 256, 65535, 1000};
            c.values[2] = std::bit_cast<std::uint32_t>(scales[random() % 3]);
            c.values[3] = std::bit_cast<std::uint32_t>(limits[random() % 4]);
            c.values[4] = std::bit_cast<std::uint32_t>(static_cast<float>(random() % 16));
        };

    using Back = void(float*, const Sample*, float, Sample, Count);
    const auto back = [](float& d, Sample a, float scale, Sample black) {
        if constexpr (std::is_same_v<Sample, float>)
            d = product(a - black, 1.0f / scale);
        else
            d = static_cast<float>(int{a} - int{black}) * (1.0f / scale);
    };
    // Six decimals, read back as text would be: not the float nearest to a / 255.
    const auto unit = [](float& d, Sample a, float, Sample) {
        char text[16];
        std::snprintf(text, sizeof text, "%.6f", static_cast<double>(a) / 255);
        d = std::strtof(text, nullptr);
    };
    for (Back* member : {static_cast<Back*>(Z::iwpoint), static_cast<Back*>(Z::iwpointSIMD)}) {
        const bool simd = member == static_cast<Back*>(Z::iwpointSIMD);
        Row& row = addRow(member, simd ? Kind::simd : Kind::dispatching, back, unit);
        row.adjust = [](Case& c, const auto& random) {
            const auto roll = random() % 4;
            if (roll < 2) c.values[2] = std::bit_cast<std::uint32_t>(255.0f);
            if (roll < 1) c.values[3] = 0;
        };
        // No phases. Lanes of the model stand for the table here; an element is the formula.
        row.order = [](const Row& r, const Case& c) {
            if (!usesLanes(r, c)) return upward(c.count);
            Steps steps;
            if (sizeof(Sample) == 1 && c.values[3] == 0 && c.value<float>(2) == 255.0f) {
                for (Count i = 0; i < c.count; ++i) steps.push_back({i, 0});
                return steps;
            }
            const Count end = c.count & ~Count{3};
            for (Count i = c.count; i-- > end;) steps.push_back({i, 1});
            for (Count i = 0; i < end; ++i) steps.push_back({i, 1});
            return steps;
        };
        row.apply = [member, back, unit](const Case& c, const Step& s) {
            constexpr auto indices = std::make_index_sequence<5>();
            if (s.lanes)
                applyStep(member, back, c, s, indices);
            else
                applyStep(member, unit, c, {s.first, 1}, indices);
        };
    }
}
const Register whitePoint([] {
    whitePointRows<std::uint8_t>();
    whitePointRows<std::uint16_t>();
    whitePointRows<float>();
});

// ---- Worked values

struct SplitValue {
    float x;
    int d;
    float frac;
    int laneD;
    float laneFrac;
};
TEST(SplitFloat, WorkedValues) {
    constexpr float inf = std::numeric_limits<float>::infinity();
    constexpr int none = -2147483647 - 1;
    const SplitValue values[] = {
        {2.5f, 2, 0.5f, 2, 0.5f},
        {2, 2, 0.0f, 2, -0.0f},
        {0.0f, 0, 0.0f, 0, -0.0f},
        {-0.0f, 0, -0.0f, 0, -0.0f},
        {-2.5f, -3, 0.5f, -3, 0.5f},
        {-2, -3, 1, -2, -0.0f},
        {-1e-10f, -1, 1, -1, 0.99999994f},
        {-16777216, -16777217, 0.0f, -16777216, -0.0f},
        {-16777218, -16777219, 2, -16777218, -0.0f},
        {2147483648.0f, none, 4294967296.0f, none, 4294967296.0f},
        {-2147483648.0f, 2147483647, -4294967296.0f, none, -0.0f},
        {-1e10f, 2147483647, -12147483648.0f, none, -7852516352.0f},
        {inf, none, inf, none, inf},
        {-inf, 2147483647, -inf, none, -inf},
    };
    for (const SplitValue& v : values)
        for (const bool lanes : {false, true}) {
            alignas(16) const float a[4] = {v.x, v.x, v.x, v.x};
            alignas(16) int d[4];
            alignas(16) float frac[4];
            Z::splitFloatSIMD(d, frac, a, lanes ? 4 : 3);
            EXPECT_EQ(d[1], lanes ? v.laneD : v.d) << v.x;
            EXPECT_EQ(std::bit_cast<int>(frac[1]), std::bit_cast<int>(lanes ? v.laneFrac : v.frac)) << v.x;
        }
}

TEST(FloatToInt, LaneFlagsRemain) {
    alignas(16) const float a[4] = {0.5f, 0.5f, 0.5f, 0.5f};
    alignas(16) int d[4];
    std::feclearexcept(FE_ALL_EXCEPT);
    Z::floorSIMD(d, a, 4);
    EXPECT_TRUE(std::fetestexcept(FE_INEXACT));
}

}  // namespace
