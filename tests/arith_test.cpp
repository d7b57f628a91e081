// Rows of element-wise arithmetic.
#include <limits>

#include "definitions.h"
#include "engine.h"

using namespace test;

namespace {

const Register addSubMul([] {
    const auto addition = [](auto& d, auto a, auto b) { d = sum(a, b); };
    const auto addInt = [](int& d, int a, int b) { d = static_cast<int>(std::int64_t{a} + b); };
    const auto difference = [](auto& d, auto a, auto b) { d = a - b; };
    const auto times = [](auto& d, auto a, auto b) { d = product(a, b); };
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

using ByValue = void (*)(float*, const float*, float, Count);

const Register division([] {
    const auto quotient = [](auto& d, auto a, auto b) { d = a / b; };
    const auto estimate = [](float& d, float a, float b) { d = product(a, rcp(b)); };
    real<Array, Array>(Z::div, Z::divSIMD, Z::div, quotient);
    real<Value, Array>(Z::div, Z::divSIMD, Z::div, quotient);
    for (Row& row : real<Array, Array>(Z::fdiv, Z::fdivSIMD, Z::fdiv, quotient, estimate))
        row.estimate = true;
    for (Row& row : real<Value, Array>(Z::fdiv, Z::fdivSIMD, Z::fdiv, quotient, estimate))
        row.estimate = true;
    // A value divisor is one reciprocal and a product, on every route.
    const auto byReciprocal = [](float& d, float a, float b) { d = product(a, 1.0f / b); };
    add(formulaRow(ByValue(Z::div), Kind::dispatching, byReciprocal));
    add(formulaRow(ByValue(Z::fdiv), Kind::dispatching, byReciprocal));

    const auto guarded = [](auto& d, auto a, auto b) {
        d = b == 0 ? a / std::numeric_limits<decltype(b)>::infinity() : a / b;
    };
    const auto valueLane = [](float& d, float a, float b) { d = b == 0 ? 0.0f : a / b; };
    real<Array, Array>(Z::safediv, Z::safedivSIMD, Z::safediv, guarded);
    real<Value, Array>(Z::safediv, Z::safedivSIMD, Z::safediv, guarded, valueLane);
    const auto byGuarded = [](float& d, float a, float b) { d = b == 0 ? 0.0f : product(a, 1.0f / b); };
    Row& row = add(formulaRow(ByValue(Z::safediv), Kind::dispatching, byGuarded));
    row.adjust = [](Case& c, const auto& random) {
        if (random() % 4 == 0) c.give(2, random() & 0x80000000);
    };
    // A zero divisor fills d: the phase of a, which isn't read, plays no part then.
    row.order = [](const Row& r, const Case& c) {
        return c.flag && c.item<float>(2) == 0 ? road(c.phase(0), c.count) : standardOrder(r, c);
    };
});

const Register reciprocalAndRoots([] {
    const auto invert = [](auto& d, auto a) { d = 1 / a; };
    const auto invertLane = [](float& d, float a) { d = rcp(a); };
    const auto root = [](auto& d, auto a) { d = std::sqrt(a); };
    const auto rootLane = [](float& d, float a) { d = rcp(rsqrt(a)); };
    const auto inverseRoot = [](auto& d, auto a) { d = 1 / std::sqrt(a); };
    const auto inverseRootLane = [](float& d, float a) { d = rsqrt(a); };
    for (Row& row : real<Array>(Z::invert, Z::invertSIMD, Z::invert, invert, invertLane)) row.estimate = true;
    real<Array>(Z::sqrt, Z::sqrtSIMD, Z::sqrt, root);
    for (Row& row : real<Array>(Z::fsqrt, Z::fsqrtSIMD, Z::fsqrt, root, rootLane)) row.estimate = true;
    for (Row& row : real<Array>(Z::isqrt, Z::isqrtSIMD, Z::isqrt, inverseRoot, inverseRootLane))
        row.estimate = true;
});

const Register signAndRange([] {
    const auto abs = [](auto& d, auto a) { d = std::copysign(a, decltype(a)(1)); };
    const auto negate = [](auto& d, auto a) { d = std::copysign(a, std::signbit(a) ? 1.0f : -1.0f); };
    real<Array>(Z::abs, Z::absSIMD, Z::abs, abs, [](float& d, float a) { d = greatest(0.0f - a, a); });
    real<Array>(Z::negate, Z::negateSIMD, Z::negate, negate, [](float& d, float a) { d = 0.0f - a; });

    const std::size_t first = rows().size();
    const auto min = [](auto& d, auto a, auto b) { d = b < a ? b : a; };
    const auto max = [](auto& d, auto a, auto b) { d = b > a ? b : a; };
    const auto minLane = [](float& d, float a, float b) { d = least(a, b); };
    const auto maxLane = [](float& d, float a, float b) { d = greatest(a, b); };
    real<Array, Array>(Z::zelmin, Z::zelminSIMD, Z::zelmin, min, minLane);
    real<Array, Value>(Z::zelmin, Z::zelminSIMD, Z::zelmin, min, minLane);
    real<Array, Array>(Z::zelmax, Z::zelmaxSIMD, Z::zelmax, max, maxLane);
    real<Array, Value>(Z::zelmax, Z::zelmaxSIMD, Z::zelmax, max, maxLane);
    // Whether an element choice is that instruction is the compiler's, so denormals stay denormals here.
    for (std::size_t k = first; k < rows().size(); ++k)
        rows()[k].adjust = [](Case& c, const auto&) { c.control &= ~0x40u; };
    both<float, Array<float>, float, float>(
        Z::clamp, Z::clampSIMD,
        [](float& d, float a, float lo, float hi) {
            d = hi <= a ? hi : a;
            if (lo >= a) d = lo;
        },
        [](float& d, float a, float lo, float hi) { d = greatest(lo, least(hi, a)); });
});

const Register multiplyAdd([] {
    const auto madd = [](auto& d, auto a, auto b) { d = sum(d, product(a, b)); };
    const auto scaleoffset = [](auto& d, auto a, auto b) { d = sum(product(d, a), b); };
    real<Array, Array>(Z::madd, Z::maddSIMD, Z::madd, madd);
    real<Array, Value>(Z::madd, Z::maddSIMD, Z::madd, madd);
    real<Array, Array>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
    real<Array, Value>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
    real<Value, Array>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
    real<Value, Value>(Z::scaleoffset, Z::scaleoffsetSIMD, Z::scaleoffset, scaleoffset);
});

/// lerp with the flag set: two passes over the same memory, each on a road of its own, which one operand plays no part in.
template <class Signature, class First, class Second>
void lerpRow(Signature* member, std::size_t notInFirst, First first, std::size_t notInSecond, Second second) {
    Row row = formulaRow(member, Kind::loop,
                         [](float& d, float a, float b, float c) { d = sum(product(b - a, c), a); });
    Row pass1 = formulaRow(member, Kind::simd, first), pass2 = formulaRow(member, Kind::simd, second);
    pass1.operands[notInFirst].phased = pass2.operands[notInSecond].phased = false;
    row.model = [=, loop = row.model](const Row& r, const Case& c) {
        if (!c.flag) return loop(r, c);
        pass1.model(pass1, c);
        return pass2.model(pass2, c);
    };
    add(row);
}

const Register interpolation([] {
    lerpRow<void(float*, const float*, const float*, const float*, Count)>(
        Z::lerp, 3, [](float& d, float a, float b, float) { d = b - a; },  //
        2, [](float& d, float a, float, float c) { d = sum(product(d, c), a); });
    lerpRow<void(float*, const float*, const float*, float, Count)>(
        Z::lerp, 2, [](float& d, float a, float, float c) { d = product(a, 1.0f - c); },  //
        1, [](float& d, float, float b, float c) { d = sum(d, product(b, c)); });
});

}  // namespace
