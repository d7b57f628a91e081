// The snippets of docs/choosing.md, each with what it has to give.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <vector>

#include "ZEL_Math.h"

// A literal 0 is a null pointer as well as a value, so these calls are ambiguous and don't compile.
template <class T>
concept MultipliesByBareZero = requires(T* d, const T* a) {
    ZEL_Math::mul(d, a, 0, 1);
};
template <class T>
concept SubtractsFromBareZero = requires(T* d, const T* a) {
    ZEL_Math::sub(d, 0, a, 1);
};
template <class T>
concept SetsBareZero = requires(T* d, const std::uint32_t* mask) {
    ZEL_Math::set(d, 0, 1, mask);
};
static_assert(!MultipliesByBareZero<float> && !MultipliesByBareZero<double>);
static_assert(!SubtractsFromBareZero<float> && !SubtractsFromBareZero<double>);
static_assert(!SetsBareZero<float> && SetsBareZero<int>);
template <class T>
concept ComparesBareZero = requires(int* d, const T* a) {
    ZEL_Math::lt(d, a, 0, 1);
};
static_assert(!ComparesBareZero<float> && !ComparesBareZero<double> && ComparesBareZero<int>);

int main() {
    int failures = 0;
    const auto expect = [&](const char* what, const auto& got, const auto& wanted) {
        std::printf("%-20s %s\n", what, got == wanted ? "as told" : "NOT as told");
        failures += got != wanted;
    };
    using Floats = std::vector<float>;
    using Ints = std::vector<int>;
    const std::int64_t n = 5;
    const Floats signal = {-2, -1, 0, 1, 2};

    Floats x = signal, y(n);
    ZEL_Math::mul(y.data(), x.data(), 0.0f, n);  // not 0
    ZEL_Math::sub(y.data(), 1.0f, x.data(), n);  // 1 - x[i]
    expect("1 - x", y, Floats{3, 2, 1, 0, -1});

    // y += 2.5 x, by the name of saxpy
    ZEL_Math::madd(y.data(), x.data(), 2.5f, n);
    expect("saxpy", y, Floats{-2, -0.5f, 1, 2.5f, 4});

    // Where x < 0, write 7. The mask says what to keep: its words are 0 where d is to be written.
    Ints keep(n);
    ZEL_Math::lt(keep.data(), x.data(), 0.0f, n);
    ZEL_Math::bxor(keep.data(), keep.data(), 1, n);  // not `ge`: of a NaN both are false
    ZEL_Math::set(x.data(), 7.0f, n, reinterpret_cast<const std::uint32_t*>(keep.data()));
    expect("where", x, Floats{7, 7, 0, 1, 2});

    Floats odd = {-1, NAN, 1, NAN, -3};
    Ints kept(n), opposite(n);
    ZEL_Math::lt(kept.data(), odd.data(), 0.0f, n);
    ZEL_Math::bxor(kept.data(), kept.data(), 1, n);
    ZEL_Math::ge(opposite.data(), odd.data(), 0.0f, n);
    expect("of NaN, turned", kept, Ints{0, 1, 1, 1, 0});
    expect("of NaN, opposite", opposite, Ints{0, 0, 1, 0, 0});

    // How many were true
    const std::int64_t count = n - ZEL_Math::zerocount(keep.data(), n);
    expect("count", count, std::int64_t{3});

    // The sum, by way of a product with ones
    const Floats ones(n, 1.0f);
    const double sum = ZEL_Math::dot(x.data(), ones.data(), n);
    expect("sum", sum, 17.0);

    // The Euclidean norm
    const double norm = std::sqrt(ZEL_Math::dot(signal.data(), signal.data(), n));
    expect("norm", norm, std::sqrt(10.0));

    // Integers: subtract a value by adding its opposite
    Ints k = {10, 20, 30, 40, 50};
    ZEL_Math::add(k.data(), k.data(), -3, n);
    expect("int subtraction", k, Ints{7, 17, 27, 37, 47});

    // double has no division by a value: multiply by its reciprocal, as the float form does too
    std::vector<double> z = {1, 2, 3, 4, 5};
    ZEL_Math::mul(z.data(), z.data(), 1 / 4.0, n);
    expect("double by a value", z, std::vector<double>{0.25, 0.5, 0.75, 1, 1.25});

    // Round to the nearest integer, halves upward
    Ints rounded(n);
    const Floats halves = {-1.5f, -0.6f, 0.4f, 0.5f, 2.5f};
    ZEL_Math::add(y.data(), halves.data(), 0.5f, n);
    ZEL_Math::floor(rounded.data(), y.data(), n);
    expect("round", rounded, Ints{-1, -1, 0, 1, 3});
    const Floats wrong = {0.49999997f, 8388609.0f};
    ZEL_Math::add(y.data(), wrong.data(), 0.5f, 2);
    ZEL_Math::floor(rounded.data(), y.data(), 2);
    expect("... wrongly", Ints(rounded.begin(), rounded.begin() + 2), Ints{1, 8388610});

    // 0 to 1 into bytes. Nothing saturates, so the limit has to fit.
    std::vector<std::uint8_t> bytes(n);
    const Floats light = {-0.1f, 0, 0.5f, 1, 1.7f};
    ZEL_Math::wpoint(bytes.data(), light.data(), 255.0f, 255.0f, 0.0f, n);
    expect("to bytes", bytes, std::vector<std::uint8_t>{0, 0, 128, 255, 255});

    std::vector<std::uint8_t> samples(256);
    std::iota(samples.begin(), samples.end(), std::uint8_t{0});
    Floats quotients(256);
    for (int i = 0; i < 256; ++i) quotients[i] = static_cast<float>(i) / 255.0f;

    // Bytes into 0 to 1, each the float nearest to i / 255: unscaled, then divided by an array
    Floats unit(256);
    const Floats whole(256, 255.0f);
    ZEL_Math::iwpoint(unit.data(), samples.data(), 1.0f, 0, 256);
    ZEL_Math::div(unit.data(), unit.data(), whole.data(), 256);
    expect("from bytes", unit, quotients);

    // ... and what the shorter ways give
    const auto others = [&](const Floats& got) {
        int count = 0;
        for (int i = 0; i < 256; ++i) count += got[i] != quotients[i];
        return count;
    };
    for (const bool flag : {true, false}) {
        ZEL_Math::forceSIMD(flag);
        ZEL_Math::iwpoint(unit.data(), samples.data(), 255.0f, 0, 256);
        expect("from bytes by 255", others(unit), flag ? 246 : 126);
        ZEL_Math::iwpoint(unit.data(), samples.data(), 1.0f, 0, 256);
        ZEL_Math::div(unit.data(), unit.data(), 255.0f, 256);
        expect("... by a value", others(unit), 126);
    }

    // There is no member that copies an array as it is.
    std::copy(signal.begin(), signal.end(), y.begin());
    expect("copy", y, signal);
    return failures;
}
