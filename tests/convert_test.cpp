// Rows of conversions, fills and exchanges.
#include <array>
#include <cstdio>
#include <cstdlib>

#include "support/engine.h"

namespace test {

/// What the bits mean, in any mode: no operation meets a denormal. NaN and infinities exceed every int.
double exact(float x) {
    const std::uint64_t word = bits(x), exponent = word >> 23 & 255;
    const auto unit = std::bit_cast<double>((std::max<std::uint64_t>(exponent, 1) + 1023 - 150) << 52);
    const double magnitude = unit * static_cast<double>((word & 0x7FFFFF) | (exponent ? 0x800000 : 0));
    return word >> 31 ? -magnitude : magnitude;
}

/// The integer of a whole number, or the one that stands for none.
int toInt(double whole) {
    return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<int>(whole) : -2147483647 - 1;
}
int truncated(float x) { return toInt(std::trunc(exact(x))); }
/// In lanes, denormals count as the mode has it.
int laneFloor(float x) {
    const bool zero = (_mm_getcsr() & 0x40) && (bits(x) & 0x7F800000) == 0;
    return zero ? 0 : toInt(std::floor(exact(x)));
}

const Register floatToInt([] {
    both<int, Array<float>>(Z::cast, Z::castSIMD, [](int, float a) { return truncated(a); });
    const auto floor = [](int, float a) { return toInt(std::floor(exact(a))); };
    const auto floorLane = [](int, float a) { return laneFloor(a); };
    for (Row& row : both<int, Array<float>>(Z::floor, Z::floorSIMD, floor, floorLane)) row.modesApart = 0x40;

    const auto split = [](int, float, float x) {
        const auto whole = static_cast<int>(static_cast<unsigned>(truncated(x)) - (x < 0));
        return std::pair(whole, x - static_cast<float>(whole));
    };
    const auto splitLane = [](int, float, float x) {
        const unsigned control = _mm_getcsr() & ~_MM_EXCEPT_MASK;
        _mm_setcsr((control & ~0x6000u) | 0x2000);
        volatile float source = x;  // volatile: the subtraction stays here, under this rounding
        volatile float whole = static_cast<float>(laneFloor(x));
        volatile float frac = source - whole;
        theRaised |= _mm_getcsr() & _MM_EXCEPT_INEXACT;
        _mm_setcsr(control);
        return std::pair(laneFloor(x), static_cast<float>(frac));
    };
    both<int, float*, Array<float>>(Z::splitFloat, Z::splitFloatSIMD, split, splitLane);
    both<int, float*>(
        Z::splitFloat, Z::splitFloatSIMD, [=](int d, float f) { return split(d, f, f); },
        [=](int d, float f) { return splitLane(d, f, f); });
});

/// A member that takes its count before its mask.
template <class D, class A> void maskedRow(void (*member)(D*, A, Count, const Mask*), Kind kind = Kind::dispatching) {
    add(formulaRow<D, A, const Mask*>(member, kind, [](D d, D a, Mask mask) { return mask ? d : a; }));
}

const Register setAndSwap([] {
    const auto fill = [](auto, auto value) { return value; };
    only<int, int>(Z::set, fill);
    both<float, float>(Z::set, Z::setSIMD, fill);
    maskedRow<int, int>(Z::set);
    maskedRow<int, int>(Z::setSIMD, Kind::simd);
    maskedRow<int, const int*>(Z::set);
    maskedRow<int, const int*>(Z::setSIMD, Kind::simd);
    maskedRow<float, float>(Z::set);
    maskedRow<float, const float*>(Z::set);
    const auto swap = [](auto a, auto b) { return std::pair(b, a); };
    both<float, float*>(Z::swap, Z::swapSIMD, swap);
    only<double, double*>(Z::swap, swap);
});

template <class Sample> void whitePointRows() {
    constexpr bool wide = std::is_same_v<Sample, float>;
    const auto shown = [](float a, float scale, float black) { return sum(product(scale, a), black + 0.5f); };
    const auto stored = [](float x) {
        if constexpr (wide) return x;
        if constexpr (!wide) return static_cast<Sample>(truncated(x));
    };
    const auto out = [=](Sample, float a, float scale, float limit, float black) {
        const float x = shown(a, scale, black);
        return stored(x <= 0 ? 0.0f : x >= limit ? limit : x);
    };
    const auto outLane = [=](Sample, float a, float scale, float limit, float black) {
        const float x = shown(a, scale, black), y = x < limit ? x : limit;
        return stored(y > 0 ? y : 0.0f);
    };
    enum { ofScale = 2, ofLimit, ofBlack };
    // Half the cases as images have them, so that not everything ends at a bound.
    for (Row& row : both<Sample, Array<float>, float, float, float>(Z::wpoint, Z::wpointSIMD, out, outLane))
        row.adjust = [](Case& c) {
            if (below(2)) return;
            c.give(ofScale, std::array{1.0f, 255.0f, 65535.0f}[below(3)]);
            const auto roll = below(5);
            c.give(ofLimit, std::array{255.0f, 256.0f, 65535.0f, 65536.0f, 1e-40f}[roll]);
            // So that x can be a zero or a denormal.
            c.give(ofBlack, below(4) ? static_cast<float>(below(16)) : -0.5f);
        };

    const auto tabled = [](float scale, Sample black) { return sizeof(Sample) == 1 && black == 0 && scale == 255.0f; };
    const auto back = [](float, Sample a, float scale, Sample black) {
        if constexpr (wide) return product(a - black, 1.0f / scale);
        if constexpr (!wide) return static_cast<float>(int{a} - int{black}) * (1.0f / scale);
    };
    enum { ofBackScale = 2, ofBackBlack };
    // Six decimals, read back as text would be: not the float nearest to a / 255.
    const auto backLane = [=](float d, Sample a, float scale, Sample black) {
        if (!tabled(scale, black)) return back(d, a, scale, black);
        char text[16];
        std::snprintf(text, sizeof text, "%.6f", static_cast<double>(a) / 255);
        return std::strtof(text, nullptr);
    };
    for (Row& row : both<float, Array<Sample>, float, Sample>(Z::iwpoint, Z::iwpointSIMD, back, backLane)) {
        row.adjust = [](Case& c) {
            const auto roll = below(4);
            if (roll < 2) c.give(ofBackScale, below(4) ? 255.0f : std::nextafter(255.0f, below(2) ? 0.0f : 256.0f));
            if (roll < 1) c.give(ofBackBlack, Sample{0});
        };
        // No phases: the tail, then one element after the other, wherever the arrays lie.
        row.order = [=](const Case& c) {
            if (!c.usesLanes()) return route(-1, c.count);
            std::vector<Step> steps =
                route(tabled(c.item<float>(ofBackScale), c.item<Sample>(ofBackBlack)) ? -1 : 0, c.count, 1);
            for (Step& s : steps) s.form = Form::lane;
            return steps;
        };
    }
}
const Register whitePoint8(whitePointRows<std::uint8_t>);
const Register whitePoint16(whitePointRows<std::uint16_t>);
const Register whitePointFloat(whitePointRows<float>);

}  // namespace test
