// Rows of element-wise arithmetic.
#include "support/engine.h"

namespace test {

const Register addSubMul([] {
    const auto addition = [](auto, auto a, auto b) { return sum(a, b); };
    const auto addInt = [](int, int a, int b) { return static_cast<int>(std::int64_t{a} + b); };
    const auto difference = [](auto, auto a, auto b) { return a - b; };
    const auto times = [](auto, auto a, auto b) { return product(a, b); };
    real<Array, Array>(Z::add, Z::addSIMD, Z::add, addition);
    real<Array, Value>(Z::add, Z::addSIMD, Z::add, addition);
    both<int, Array<int>, Array<int>>(Z::add, Z::addSIMD, addInt);
    both<int, Array<int>, int>(Z::add, Z::addSIMD, addInt);
    real<Array, Array>(Z::sub, Z::subSIMD, Z::sub, difference);
    real<Array, Value>(Z::sub, Z::subSIMD, Z::sub, difference);
    real<Value, Array>(Z::sub, Z::subSIMD, Z::sub, difference);
    real<Array, Array>(Z::mul, Z::mulSIMD, Z::mul, times);
    real<Array, Value>(Z::mul, Z::mulSIMD, Z::mul, times);
});

const Register division([] {
    const auto quotient = [](auto, auto a, auto b) { return a / b; };
    const auto estimate = [](float, float a, float b) { return product(a, rcp(b)); };
    real<Array, Array>(Z::div, Z::divSIMD, Z::div, quotient);
    real<Value, Array>(Z::div, Z::divSIMD, Z::div, quotient);
    real<Array, Array>(Z::fdiv, Z::fdivSIMD, Z::fdiv, quotient, estimate);
    real<Value, Array>(Z::fdiv, Z::fdivSIMD, Z::fdiv, quotient, estimate);
    // A value divisor is one reciprocal and a product, on every route, and there is no SIMD member.
    const auto byReciprocal = [](float, float a, float b) { return product(a, 1.0f / b); };
    only<float, Array<float>, float>(Z::div, byReciprocal, Kind::dispatching);
    only<float, Array<float>, float>(Z::fdiv, byReciprocal, Kind::dispatching);

    const auto guarded = [](auto, auto a, auto b) { return a / (b == 0 ? decltype(b)(HUGE_VAL) : b); };
    real<Array, Array>(Z::safediv, Z::safedivSIMD, Z::safediv, guarded);
    real<Value, Array>(Z::safediv, Z::safedivSIMD, Z::safediv, guarded,
                       [](float, float a, float b) { return b == 0 ? 0.0f : a / b; });
    const auto guardedByValue = [](float, float a, float b) { return b == 0 ? 0.0f : product(a, 1.0f / b); };
    Row& row = only<float, Array<float>, float>(Z::safediv, guardedByValue, Kind::dispatching);
    row.adjust = [](Case& c) {
        if (below(4) == 0) c.give(ofB, below(2) ? 0.0f : -0.0f);
    };
    // A zero divisor fills d: the phase of a, which isn't read, plays no part then.
    row.order = [](const Case& c) {
        return c.flag && c.item<float>(ofB) == 0 ? route(c.phase(ofD), c.count) : standardOrder(c);
    };
});

const Register reciprocalAndRoots([] {
    const auto invert = [](auto, auto a) { return 1 / a; };
    const auto root = [](auto, auto a) { return std::sqrt(a); };
    const auto inverseRoot = [](auto, auto a) { return 1 / std::sqrt(a); };
    real<Array>(Z::invert, Z::invertSIMD, Z::invert, invert, [](float, float a) { return rcp(a); });
    real<Array>(Z::sqrt, Z::sqrtSIMD, Z::sqrt, root);
    real<Array>(Z::fsqrt, Z::fsqrtSIMD, Z::fsqrt, root, [](float, float a) { return rcp(rsqrt(a)); });
    real<Array>(Z::isqrt, Z::isqrtSIMD, Z::isqrt, inverseRoot, [](float, float a) { return rsqrt(a); });
});

const Register signAndRange([] {
    const auto abs = [](auto, auto a) { return std::copysign(a, decltype(a)(1)); };
    const auto negate = [](auto, auto a) { return std::copysign(a, decltype(a)(std::signbit(a) ? 1 : -1)); };
    real<Array>(Z::abs, Z::absSIMD, Z::abs, abs, [](float, float a) { return greatest(0.0f - a, a); });
    real<Array>(Z::negate, Z::negateSIMD, Z::negate, negate, [](float, float a) { return 0.0f - a; });
    // The condition is held: a minimum would give a zero for a denormal that counts as one.
    const auto choice = [](auto takesSecond) {
        return [=](auto, auto a, auto b) {
            const volatile bool second = takesSecond(b, a);
            return second ? b : a;
        };
    };
    const auto minLane = [](float, float a, float b) { return least(a, b); };
    const auto maxLane = [](float, float a, float b) { return greatest(a, b); };
    real<Array, Array>(Z::zelmin, Z::zelminSIMD, Z::zelmin, choice(std::less<>()), minLane);
    real<Array, Value>(Z::zelmin, Z::zelminSIMD, Z::zelmin, choice(std::less<>()), minLane);
    real<Array, Array>(Z::zelmax, Z::zelmaxSIMD, Z::zelmax, choice(std::greater<>()), maxLane);
    real<Array, Value>(Z::zelmax, Z::zelmaxSIMD, Z::zelmax, choice(std::greater<>()), maxLane);
    const auto clamp = [](float, float a, float lo, float hi) { return lo >= a ? lo : hi <= a ? hi : a; };
    const auto clampLane = [](float, float a, float lo, float hi) { return greatest(lo, least(hi, a)); };
    both<float, Array<float>, float, float>(Z::clamp, Z::clampSIMD, clamp, clampLane);
});

const Register multiplyAdd([] {
    const auto madd = [](auto d, auto a, auto b) { return sum(d, product(a, b)); };
    const auto scaleoffset = [](auto d, auto a, auto b) { return sum(product(d, a), b); };
    real<Array, Array>(Z::madd, Z::maddSIMD, Z::madd, madd);
    real<Array, Value>(Z::madd, Z::maddSIMD, Z::madd, madd);
    real<Array, Array>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
    real<Array, Value>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
    real<Value, Array>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
    real<Value, Value>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
});

/// One pass of lerp with an array or a value for c; the arrays that take part in it decide on its route.
template <class C, class Formula>
std::uint64_t pass(const Case& c, const std::vector<std::size_t>& arrays, Formula formula) {
    for (const Step& step : route(c.phaseOf(arrays), c.count))
        work<float, Array<float>, Array<float>, C>(formula, c, step);
    return 0;
}

const Register interpolation([] {
    const auto lerp = [](float, float a, float b, float c) { return sum(product(b - a, c), a); };
    const Member<float, Array<float>, Array<float>, Array<float>> byArray = Z::lerp;
    add(modelRow(byArray, Kind::dispatching, [=](const Case& c) {
        if (!c.flag) return pass<Array<float>>(c, {}, lerp);
        pass<Array<float>>(c, {ofD, ofA, ofB}, [](float, float a, float b, float) { return b - a; });
        return pass<Array<float>>(c, {ofD, ofA, ofC},
                                  [](float d, float a, float, float c) { return sum(product(d, c), a); });
    }));
    const Member<float, Array<float>, Array<float>, float> byValue = Z::lerp;
    add(modelRow(byValue, Kind::dispatching, [=](const Case& c) {
        if (!c.flag) return pass<float>(c, {}, lerp);
        pass<float>(c, {ofD, ofA}, [](float, float a, float, float c) { return product(a, 1.0f - c); });
        return pass<float>(c, {ofD, ofB}, [](float d, float, float b, float c) { return sum(d, product(b, c)); });
    }));
});

}  // namespace test
