// All 2^32 inputs of every member of one float operand, element route and lane route, against the definition.
// Not part of the default run: scripts/test --exhaustive
#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

#include "signatures.h"

using namespace test;

namespace {

constexpr Count block = 1 << 16;
constexpr unsigned usual = 0x1F80, flushed = 0x8040;
constexpr unsigned modes[] = {usual, usual | 0x2000, usual | 0x4000, usual | 0x6000, usual | flushed};
std::atomic<bool> failed = false;

/// d of each block by the member, flag clear and set, and what the formulas give for it.
template <class D, class Element, class Lane>
void sweep(const char* name, void (*plain)(D*, const float*, Count), void (*simd)(D*, const float*, Count),
           Element element, Lane lane, unsigned control = usual, unsigned laneRounding = 0) {
    std::atomic<std::uint64_t> differences = 0;
    const auto half = [&](std::uint64_t from, std::uint64_t to) {
        const auto memory = std::make_unique<std::array<std::uint32_t, 4 * block + 16>>();
        auto* base = reinterpret_cast<std::uint32_t*>(
            (reinterpret_cast<std::uintptr_t>(memory->data()) + 15) & ~std::uintptr_t{15});
        auto* a = reinterpret_cast<float*>(base);
        auto* d = reinterpret_cast<D*>(base + block);
        auto* apart = reinterpret_cast<D*>(base + 3 * block + 5);  // at another phase than a
        auto* wanted = reinterpret_cast<D*>(base + 2 * block);
        const auto same = [&](const D* got) {
            if (std::memcmp(got, wanted, block * sizeof(D)) == 0) return;
            for (Count i = 0; i < block; ++i)
                if (std::memcmp(got + i, wanted + i, sizeof(D)) != 0 && differences++ == 0)
                    std::printf("%s of %08x: wanted %08x, got %08x\n", name, std::bit_cast<unsigned>(a[i]),
                                std::bit_cast<unsigned>(wanted[i]), std::bit_cast<unsigned>(got[i]));
        };
        for (std::uint64_t first = from; first < to; first += block) {
            for (Count i = 0; i < block; ++i)
                base[i] = static_cast<std::uint32_t>(first + static_cast<std::uint64_t>(i));
            _mm_setcsr(control);
            for (Count i = 0; i < block; ++i) wanted[i] = element(a[i]);
            plain(d, a, block);
            simd(apart, a, block);
            same(d);
            same(apart);
            simd(d, a, block);
            _mm_setcsr(control | laneRounding);
            for (Count i = 0; i < block; ++i) wanted[i] = lane(a[i]);
            same(d);
        }
    };
    std::thread other(half, 0, std::uint64_t{1} << 31);
    half(std::uint64_t{1} << 31, std::uint64_t{1} << 32);
    other.join();
    std::printf("%-12s MXCSR %04x: %llu of 3 * 2^32 differ\n", name, control,
                static_cast<unsigned long long>(differences.load()));
    std::fflush(stdout);
    if (differences) failed = true;
}

float rcp(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }
float rsqrt(float x) { return _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))); }
int toInt(double x) { return x >= -2147483648.0 && x < 2147483648.0 ? static_cast<int>(x) : -2147483647 - 1; }
/// The floor in integers and exact doubles only.
int floorOf(float x) {
    const int n = toInt(static_cast<double>(x));
    const auto word = std::bit_cast<std::uint32_t>(x);
    const bool denormal = (word & 0x7F800000) == 0 && word > 0x80000000;
    return n - (denormal || (n != -2147483647 - 1 && static_cast<double>(n) > static_cast<double>(x)));
}

}  // namespace

int main() {
    Z::forceSIMD(false);
    sweep<float>(
        "abs", Z::abs, Z::absSIMD, [](float x) { return std::fabs(x); },
        [](float x) { return _mm_cvtss_f32(_mm_max_ss(_mm_set_ss(0.0f - x), _mm_set_ss(x))); });
    sweep<float>(
        "negate", Z::negate, Z::negateSIMD, [](float x) { return -x; }, [](float x) { return 0.0f - x; });
    const auto root = [](float x) { return std::sqrt(x); };
    sweep<float>("sqrt", Z::sqrt, Z::sqrtSIMD, root, root);
    sweep<float>("fsqrt", Z::fsqrt, Z::fsqrtSIMD, root, [](float x) { return rcp(rsqrt(x)); });
    sweep<float>(
        "isqrt", Z::isqrt, Z::isqrtSIMD, [](float x) { return 1.0f / std::sqrt(x); }, rsqrt);
    sweep<int>(
        "cast", Z::cast, Z::castSIMD, [](float x) { return toInt(static_cast<double>(x)); },
        [](float x) { return toInt(static_cast<double>(x)); });
    for (const unsigned mode : modes) {
        // The quotient in double, narrowed, is what one division in float gives, however the processor rounds.
        sweep<float>(
            "invert", Z::invert, Z::invertSIMD,
            [](float x) { return static_cast<float>(1.0 / static_cast<double>(x)); }, rcp, mode);
        // The lanes take denormals as the mode has them, and so does this conversion.
        sweep<int>(
            "floor", Z::floor, Z::floorSIMD, floorOf,
            [](float x) { return toInt(std::floor(static_cast<double>(x))); }, mode);
    }
    // splitFloat's two results, one at a time.
    alignas(16) static thread_local float frac[block];
    alignas(16) static thread_local int whole[block];
    const auto truncatedLess = [](float x) {
        return static_cast<int>(static_cast<unsigned>(toInt(static_cast<double>(x))) -
                                static_cast<unsigned>(x < 0));
    };
    sweep<int>(
        "splitFloat d", [](int* d, const float* a, Count n) { Z::splitFloat(d, frac, a, n); },
        [](int* d, const float* a, Count n) { Z::splitFloatSIMD(d, frac, a, n); }, truncatedLess, floorOf);
    sweep<float>(
        "splitFloat f", [](float* f, const float* a, Count n) { Z::splitFloat(whole, f, a, n); },
        [](float* f, const float* a, Count n) { Z::splitFloatSIMD(whole, f, a, n); },
        [=](float x) { return x - static_cast<float>(truncatedLess(x)); },
        [](float x) { return x - static_cast<float>(floorOf(x)); }, usual, 0x2000);
    return failed;
}
