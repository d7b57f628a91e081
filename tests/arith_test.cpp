// Rows and worked values of element-wise arithmetic.
#include <gtest/gtest.h>

#include <limits>

#include "signatures.h"

using namespace test;

namespace {

const Register addSubMul([] {
    const auto add = [](auto& d, auto a, auto b) { d = sum(a, b); };
    const auto addInt = [](int& d, int a, int b) { d = static_cast<int>(std::int64_t{a} + b); };
    const auto sub = [](auto& d, auto a, auto b) { d = a - b; };
    const auto mul = [](auto& d, auto a, auto b) { d = product(a, b); };
    both<FFF>(Z::add, Z::addSIMD, add);
    both<FFV>(Z::add, Z::addSIMD, add);
    both<III>(Z::add, Z::addSIMD, addInt);
    both<IIV>(Z::add, Z::addSIMD, addInt);
    only<DDD>(Z::add, add);
    only<DDV>(Z::add, add);
    both<FFF>(Z::sub, Z::subSIMD, sub);
    both<FFV>(Z::sub, Z::subSIMD, sub);
    both<FVF>(Z::sub, Z::subSIMD, sub);
    only<DDD>(Z::sub, sub);
    only<DDV>(Z::sub, sub);
    only<DVD>(Z::sub, sub);
    both<FFF>(Z::mul, Z::mulSIMD, mul);
    both<FFV>(Z::mul, Z::mulSIMD, mul);
    only<DDD>(Z::mul, mul);
    only<DDV>(Z::mul, mul);
});

float rcp(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }
float rsqrt(float x) { return _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))); }

/// A value divisor is one reciprocal and a product, on every route.
const auto byReciprocal = [](float& d, float a, float b) { d = product(a, 1.0f / b); };

const Register division([] {
    const auto div = [](auto& d, auto a, auto b) { d = a / b; };
    const auto estimate = [](float& d, float a, float b) { d = product(a, rcp(b)); };
    both<FFF>(Z::div, Z::divSIMD, div);
    both<FVF>(Z::div, Z::divSIMD, div);
    only<DDD>(Z::div, div);
    only<DVD>(Z::div, div);
    both<FFF>(Z::fdiv, Z::fdivSIMD, div, estimate, true);
    both<FVF>(Z::fdiv, Z::fdivSIMD, div, estimate, true);
    only<DDD>(Z::fdiv, div);
    only<DVD>(Z::fdiv, div);
    addRow<>(static_cast<FFV*>(Z::div), Kind::dispatching, byReciprocal, byReciprocal);
    addRow<>(static_cast<FFV*>(Z::fdiv), Kind::dispatching, byReciprocal, byReciprocal);
});

const Register guardedDivision([] {
    const auto guarded = [](auto& d, auto a, auto b) {
        d = b == 0 ? a / std::numeric_limits<decltype(b)>::infinity() : a / b;
    };
    const auto valueLane = [](float& d, float a, float b) { d = b == 0 ? 0.0f : a / b; };
    both<FFF>(Z::safediv, Z::safedivSIMD, guarded);
    both<FVF>(Z::safediv, Z::safedivSIMD, guarded, valueLane);
    only<DDD>(Z::safediv, guarded);
    only<DVD>(Z::safediv, guarded);
    const auto value = [](float& d, float a, float b) { d = b == 0 ? 0.0f : product(a, 1.0f / b); };
    Row& row = addRow(static_cast<FFV*>(Z::safediv), Kind::dispatching, value, value);
    row.adjust = [](Case& c, const auto& random) {
        if (random() % 4 == 0) c.values[2] = random() & 0x80000000;
    };
    // A zero divisor fills d: the phase of a, which isn't read, plays no part then.
    row.order = [](const Row& r, const Case& c) {
        if (c.value<float>(2) != 0 || !c.flag) return standardOrder(r, c);
        return alignedRoute(phaseOf(c.at(Side::library, 0)), c.count);
    };
});

const Register reciprocalAndRoots([] {
    const auto invertWide = [](float& d, float a) { d = static_cast<float>(1.0 / static_cast<double>(a)); };
    const auto invert = [](auto& d, auto a) { d = 1 / a; };
    const auto root = [](auto& d, auto a) { d = std::sqrt(a); };
    const auto inverseRoot = [](auto& d, auto a) { d = 1 / std::sqrt(a); };
    const auto rcpLane = [](float& d, float a) { d = rcp(a); };
    const auto rootLane = [](float& d, float a) { d = rcp(rsqrt(a)); };
    const auto inverseRootLane = [](float& d, float a) { d = rsqrt(a); };
    addRow(static_cast<FF*>(Z::invert), Kind::dispatching, invertWide, rcpLane).estimate = true;
    addRow(static_cast<FF*>(Z::invertSIMD), Kind::simd, invert, rcpLane).estimate = true;
    only<DD>(Z::invert, invert);
    both<FF>(Z::sqrt, Z::sqrtSIMD, root);
    only<DD>(Z::sqrt, root);
    both<FF>(Z::fsqrt, Z::fsqrtSIMD, root, rootLane, true);
    only<DD>(Z::fsqrt, root);
    both<FF>(Z::isqrt, Z::isqrtSIMD, inverseRoot, inverseRootLane, true);
    only<DD>(Z::isqrt, inverseRoot);
});

// The instructions' own minimum and maximum. Where the caller has denormals taken for zeros they give zeros, which a
// comparison and a choice don't.
float least(float p, float q) { return _mm_cvtss_f32(_mm_min_ss(_mm_set_ss(p), _mm_set_ss(q))); }
float greatest(float p, float q) { return _mm_cvtss_f32(_mm_max_ss(_mm_set_ss(p), _mm_set_ss(q))); }

const Register signAndRange([] {
    const auto abs = [](auto& d, auto a) { d = std::copysign(a, decltype(a)(1)); };
    const auto negate = [](auto& d, auto a) { d = std::copysign(a, std::signbit(a) ? 1.0f : -1.0f); };
    both<FF>(Z::abs, Z::absSIMD, abs, [](float& d, float a) { d = greatest(0.0f - a, a); });
    only<DD>(Z::abs, abs);
    both<FF>(Z::negate, Z::negateSIMD, negate, [](float& d, float a) { d = 0.0f - a; });
    only<DD>(Z::negate, negate);
    const std::size_t first = rows().size();
    const auto min = [](auto& d, auto a, auto b) { d = b < a ? b : a; };
    const auto minLane = [](float& d, float a, float b) { d = least(a, b); };
    const auto max = [](auto& d, auto a, auto b) { d = b > a ? b : a; };
    const auto maxLane = [](float& d, float a, float b) { d = greatest(a, b); };
    both<FFF>(Z::zelmin, Z::zelminSIMD, min, minLane);
    both<FFV>(Z::zelmin, Z::zelminSIMD, min, minLane);
    only<DDD>(Z::zelmin, min);
    only<DDV>(Z::zelmin, min);
    both<FFF>(Z::zelmax, Z::zelmaxSIMD, max, maxLane);
    both<FFV>(Z::zelmax, Z::zelmaxSIMD, max, maxLane);
    only<DDD>(Z::zelmax, max);
    only<DDV>(Z::zelmax, max);
    // Whether an element choice is that instruction is the compiler's, so denormals stay denormals here.
    for (std::size_t k = first; k < rows().size(); ++k)
        rows()[k].adjust = [](Case& c, const auto&) { c.control &= ~0x40u; };
    both<void(float*, const float*, float, float, Count)>(
        Z::clamp, Z::clampSIMD,
        [](float& d, float a, float lo, float hi) { d = lo >= a   ? lo
                                                        : hi <= a ? hi
                                                                  : a; },
        [](float& d, float a, float lo, float hi) { d = greatest(lo, least(hi, a)); });
});

using FFFF = void(float*, const float*, const float*, const float*, Count);
using FFFV = void(float*, const float*, const float*, float, Count);

/// Two passes over the same memory, each with its own road.
std::uint64_t lerpModel(const Row& row, const Case& c, std::array<std::size_t, 3> first,
                        std::array<std::size_t, 3> second, float (*firstPass)(float, float),
                        float (*secondPass)(float, float, float)) {
    const auto phase = [&](std::size_t k) { return phaseOf(c.at(Side::library, k)); };
    const auto pass = [&](std::array<std::size_t, 3> k, auto formula) {
        bool same = true;
        for (const std::size_t o : k) same = same && (!row.operands[o].array || phase(o) == phase(0));
        for (const Step& s : same ? alignedRoute(phase(0), c.count) : upward(c.count)) {
            float result[4];
            const auto in = [&](std::size_t o, Count i) {
                return row.operands[o].array ? c.load<float>(o, i) : c.value<float>(o);
            };
            for (int l = 0; l < s.lanes; ++l)
                result[l] = formula(in(k[0], s.first + l), in(k[1], s.first + l), in(k[2], s.first + l));
            for (int l = 0; l < s.lanes; ++l) c.save(0, s.first + l, result[l]);
        }
    };
    pass(first, [=](float, float x, float y) { return firstPass(x, y); });
    pass(second, [=](float d, float x, float y) { return secondPass(d, x, y); });
    return 0;
}

const Register multiplyAdd([] {
    const auto madd = [](auto& d, auto a, auto b) { d = sum(d, product(a, b)); };
    const auto scaleoffset = [](auto& d, auto a, auto b) { d = sum(product(d, a), b); };
    both<FFF>(Z::madd, Z::maddSIMD, madd);
    both<FFV>(Z::madd, Z::maddSIMD, madd);
    only<DDD>(Z::madd, madd);
    only<DDV>(Z::madd, madd);
    both<FFF>(Z::scaleoffset, Z::scaleoffsetSIMD, scaleoffset);
    both<FFV>(Z::scaleoffset, Z::scaleoffsetSIMD, scaleoffset);
    both<FVF>(Z::scaleoffset, Z::scaleoffsetSIMD, scaleoffset);
    both<FVV>(Z::scaleoffset, Z::scaleoffsetSIMD, scaleoffset);
    only<DDD>(Z::scaleoffset, scaleoffset);
    only<DDV>(Z::scaleoffset, scaleoffset);
    only<DVD>(Z::scaleoffset, scaleoffset);
    only<DVV>(Z::scaleoffset, scaleoffset);

    const auto lerp = [](float& d, float a, float b, float c) { d = sum(product(b - a, c), a); };
    const auto sub = [](float x, float y) { return x - y; };
    const auto scaled = [](float d, float c, float a) { return sum(product(d, c), a); };
    Row& array = addRow(static_cast<FFFF*>(Z::lerp), Kind::loop, lerp, lerp);
    array.model = [=, loop = array.model](const Row& r, const Case& c) {
        return c.flag ? lerpModel(r, c, {0, 2, 1}, {0, 3, 1}, sub, scaled) : loop(r, c);
    };
    const auto added = [](float d, float b, float c) { return sum(d, product(b, c)); };
    const auto weighted = [](float a, float c) { return product(a, 1.0f - c); };
    Row& value = addRow(static_cast<FFFV*>(Z::lerp), Kind::loop, lerp, lerp);
    value.model = [=, loop = value.model](const Row& r, const Case& c) {
        return c.flag ? lerpModel(r, c, {0, 1, 3}, {0, 2, 3}, weighted, added) : loop(r, c);
    };
});

}  // namespace
