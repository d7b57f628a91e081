// All 2^32 inputs of every member of one float operand, element route and lane route, against the definition.
// Not part of the default run: scripts/test --exhaustive
#include <atomic>
#include <cstdio>
#include <thread>

#include "definitions.h"
#include "engine.h"

using namespace test;

namespace {

constexpr Count block = 1 << 16;
constexpr unsigned usual = 0x1F80, downward = 0x2000;
constexpr unsigned modes[] = {usual, usual | downward, usual | 0x4000, usual | 0x6000, usual | 0x8040};
bool failed = false;

/// Both members of a name with the flag clear: one goes by elements, the SIMD one by lanes, whose formula may hold in
/// another rounding mode.
template <class D, class Element, class Lane>
void sweep(const char* name, void (*plain)(D*, const float*, Count), void (*simd)(D*, const float*, Count),
           Element element, Lane lane, unsigned control = usual, unsigned laneRounding = 0) {
    std::atomic<Count> differences = 0;
    const auto half = [&](std::uint32_t sign) {
        alignas(16) static thread_local float a[block];
        alignas(16) static thread_local D d[block], wanted[block];
        const auto check = [&](auto member, D* got, auto formula, unsigned rounding) {
            _mm_setcsr(control);
            member(got, a, block);
            _mm_setcsr(control | rounding);
            for (Count i = 0; i < block; ++i) wanted[i] = formula(a[i]);
            if (std::memcmp(got, wanted, sizeof wanted) == 0) return;
            for (Count i = 0; i < block; ++i)
                if (std::memcmp(got + i, wanted + i, sizeof(D)) != 0 && differences++ == 0)
                    std::printf("%s of %08x: wanted %08x, got %08x\n", name, std::bit_cast<unsigned>(a[i]),
                                std::bit_cast<unsigned>(wanted[i]), std::bit_cast<unsigned>(got[i]));
        };
        for (std::uint32_t first = 0; first < 1u << 31; first += block) {
            for (std::uint32_t i = 0; i < block; ++i) a[i] = std::bit_cast<float>(sign << 31 | (first + i));
            check(plain, d, element, 0);
            check(simd, d, lane, laneRounding);
        }
    };
    std::thread negative(half, 1);
    half(0);
    negative.join();
    std::printf("%-12s MXCSR %04x: %td of 2 * 2^32 differ\n", name, control, differences.load());
    std::fflush(stdout);
    failed |= differences != 0;
}

}  // namespace

int main() {
    Z::forceSIMD(false);
    const auto magnitude = [](float x) { return std::fabs(x); };
    const auto root = [](float x) { return std::sqrt(x); };
    const auto inverseRoot = [](float x) { return 1 / std::sqrt(x); };
    // The quotient in double, narrowed, is what one division in float gives, however the processor rounds.
    const auto inverse = [](float x) { return static_cast<float>(1.0 / static_cast<double>(x)); };
    const auto truncated = [](float x) { return toInt(std::trunc(exact(x))); };
    const auto floor = [](float x) { return toInt(std::floor(exact(x))); };
    // Lanes take denormals as the mode has them, and so does this conversion.
    const auto floorLane = [](float x) { return toInt(std::floor(static_cast<double>(x))); };
    // The truncated value, or one less where x is below 0.
    const auto less = [=](float x) {
        return static_cast<int>(static_cast<unsigned>(truncated(x)) - (x < 0));
    };
    sweep<float>("abs", Z::abs, Z::absSIMD, magnitude, [](float x) { return greatest(0.0f - x, x); });
    sweep<float>("negate", Z::negate, Z::negateSIMD, std::negate<float>(), [](float x) { return 0.0f - x; });
    sweep<float>("sqrt", Z::sqrt, Z::sqrtSIMD, root, root);
    sweep<float>("fsqrt", Z::fsqrt, Z::fsqrtSIMD, root, [](float x) { return rcp(rsqrt(x)); });
    sweep<float>("isqrt", Z::isqrt, Z::isqrtSIMD, inverseRoot, rsqrt);
    sweep<int>("cast", Z::cast, Z::castSIMD, truncated, truncated);
    for (const unsigned mode : modes) {
        sweep<float>("invert", Z::invert, Z::invertSIMD, inverse, rcp, mode);
        sweep<int>("floor", Z::floor, Z::floorSIMD, floor, floorLane, mode);
    }
    // splitFloat's two results, one at a time.
    alignas(16) static thread_local float frac[block];
    alignas(16) static thread_local int whole[block];
    sweep<int>(
        "splitFloat d", [](int* d, const float* a, Count n) { Z::splitFloat(d, frac, a, n); },
        [](int* d, const float* a, Count n) { Z::splitFloatSIMD(d, frac, a, n); }, less, floor);
    sweep<float>(
        "splitFloat f", [](float* f, const float* a, Count n) { Z::splitFloat(whole, f, a, n); },
        [](float* f, const float* a, Count n) { Z::splitFloatSIMD(whole, f, a, n); },
        [=](float x) { return x - static_cast<float>(less(x)); },
        [=](float x) { return x - static_cast<float>(floor(x)); }, usual, downward);
    return failed;
}
