// The mistakes of docs/debugging.md, those that only give other results: debugging
// Those that harm, to be run on a library with sanitizers: debugging overrun|misaligned
#include <xmmintrin.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "ZEL_Math.h"

void overrun() {
    std::vector<float> a(1000, 1.0f), d(1000);
    ZEL_Math::mul(d.data(), a.data(), 2.0f, 1001);  // one too many
}

void misaligned() {
    std::vector<char> file(4001);
    float* samples = reinterpret_cast<float*>(file.data() + 1);  // behind a header of one byte
    ZEL_Math::mul(samples, samples, 2.0f, 1000);
}

int main(int argc, char** argv) {
    const std::string mistake = argc > 1 ? argv[1] : "";
    if (mistake == "overrun") return overrun(), 0;
    if (mistake == "misaligned") return misaligned(), 0;

    int failures = 0;
    const auto expect = [&](const char* what, bool asTold) {
        std::printf("%-24s %s\n", what, asTold ? "as told" : "NOT as told");
        failures += !asTold;
    };
    const std::vector<float> small(8, 1e-39f), samples(8, 300.0f), ones(8, 1.0f), zeros(8, 0.0f);
    std::vector<float> d(8);
    const unsigned modes = _mm_getcsr();
    _mm_setcsr(modes | 0x8040);  // what a program linked with -ffast-math begins with
    ZEL_Math::mul(d.data(), small.data(), 2.0f, 8);
    _mm_setcsr(modes);
    expect("flush to zero", d == zeros);
    ZEL_Math::mul(d.data(), small.data(), 2.0f, 8);
    expect("... not by itself", d == std::vector<float>(8, 2e-39f));

    const std::vector<float> ordinary(2048, 1.3f), tiny(2048, 1e-39f);
    std::vector<float> products(2048);
    const auto time = [&](const std::vector<float>& a) {
        auto best = std::chrono::nanoseconds::max();
        for (int repeat = 0; repeat < 50; ++repeat) {
            const auto start = std::chrono::steady_clock::now();
            ZEL_Math::mul(products.data(), a.data(), 2.0f, 2048);
            best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
        }
        return static_cast<double>(best.count());
    };
    const double plain = time(ordinary), slow = time(tiny);
    _mm_setcsr(modes | 0x8040);
    std::printf("mul of denormals: %.1f times as long, flushed to zero %.1f\n", slow / plain, time(tiny) / plain);
    _mm_setcsr(modes);

    std::vector<std::uint8_t> bytes(8);
    ZEL_Math::wpoint(bytes.data(), samples.data(), 1.0f, 1000.0f, 0.0f, 8);
    expect("a limit too high", bytes == std::vector<std::uint8_t>(8, 44));
    ZEL_Math::wpoint(bytes.data(), samples.data(), 1.0f, 255.0f, 0.0f, 8);
    expect("... that fits", bytes == std::vector<std::uint8_t>(8, 255));

    const std::vector<std::uint32_t> chosen = {1, 1, 0, 0, 1, 1, 0, 0};
    d = zeros;
    ZEL_Math::set(d.data(), ones.data(), 8, chosen.data());
    expect("an inverted mask", d == std::vector<float>{0, 0, 1, 1, 0, 0, 1, 1});

    std::vector<int> truth(8);
    ZEL_Math::fastlt(truth.data(), zeros.data(), ones.data(), 7);  // a lane group and a tail
    expect("true by form", truth == std::vector<int>{-1, -1, -1, -1, 1, 1, 1, 0});

    std::vector<int> whole(8, 10);
    ZEL_Math::cast(whole.data(), std::vector<float>(8, 3e9f).data(), 8);
    expect("too large for int", whole == std::vector<int>(8, -2147483647 - 1));
    return failures;
}
