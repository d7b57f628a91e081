// What a plain loop does better than calls, and what calls do better: the table of docs/choosing.md, and that both give
// the same bits where the page compares them.
#include <numeric>

#include "recipe.h"

using Bytes = std::vector<std::uint8_t>;

/// A line of the table. Library and loop take turns.
template <class Library, class Loop> void line(const char* what, std::int64_t n, Library library, Loop loop) {
    double called = 1e9, looped = 1e9;
    for (int k = 0; k < 3; ++k) {
        called = std::min(called, nanoseconds(n, library));
        looped = std::min(looped, nanoseconds(n, loop));
    }
    std::printf("| %s | %.2f | %.2f | %.2f |\n", what, called, looped, called / looped);
}

void addByLoop(float* d, const float* a, const float* b, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) d[i] = a[i] + b[i];
}

void stencil(float* d, const float* a, std::int64_t n) {
    ZEL_Math::add(d, a - 1, a, n);
    ZEL_Math::add(d, d, a + 1, n);
    ZEL_Math::mul(d, d, 0.25f, n);
}

void stencilByLoop(float* d, const float* a, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) d[i] = (a[i - 1] + a[i] + a[i + 1]) * 0.25f;
}

/// Bytes by way of float: a quarter of b, three quarters of a.
void blend(std::uint8_t* d, const std::uint8_t* a, const std::uint8_t* b, float* p, float* q, std::int64_t n) {
    ZEL_Math::iwpoint(p, a, 1.0f, 0, n);
    ZEL_Math::iwpoint(q, b, 1.0f, 0, n);
    ZEL_Math::lerp(p, p, q, 0.25f, n);
    ZEL_Math::wpoint(d, p, 1.0f, 255.0f, 0.0f, n);
}

void blendByLoop(std::uint8_t* d, const std::uint8_t* a, const std::uint8_t* b, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) d[i] = static_cast<std::uint8_t>((a[i] * 3 + b[i] + 2) / 4);
}

void turnByLoop(float* v, const float (*m)[4], std::int64_t n) {
    float c[3][4];  // else each store to v could change m
    std::memcpy(c, m, sizeof c);
    for (std::int64_t i = 0; i < n; ++i, v += 3) {
        const float x = v[0], y = v[1], z = v[2];
        for (int j = 0; j < 3; ++j) v[j] = ((x * c[j][0] + y * c[j][1]) + z * c[j][2]) + c[j][3];
    }
}

/// Lengths of n points, all x first, then all y, then all z.
void lengths(float* d, const float* p, std::int64_t n) {
    ZEL_Math::mul(d, p, p, n);
    ZEL_Math::madd(d, p + n, p + n, n);
    ZEL_Math::madd(d, p + 2 * n, p + 2 * n, n);
    ZEL_Math::sqrt(d, d, n);
}

void lengthsByLoop(float* d, const float* x, std::int64_t n) {
    const float *y = x + n, *z = y + n;
    for (std::int64_t i = 0; i < n; ++i) d[i] = std::sqrt((x[i] * x[i] + y[i] * y[i]) + z[i] * z[i]);
}

void floorByLoop(int* d, const float* a, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) d[i] = static_cast<int>(std::floor(a[i]));
}

void toBytesByLoop(std::uint8_t* d, const float* a, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i)
        d[i] = static_cast<std::uint8_t>(static_cast<int>(std::clamp(a[i] * 255 + 0.5f, 0.0f, 255.0f)));
}

int main() {
    const std::int64_t n = 4096, many = 12 << 20;  // three arrays of `many` are 144 MiB
    const float m[3][4] = {{0.6f, -0.8f, 0, 0.1f}, {0.8f, 0.6f, 0, 0.2f}, {0, 0, 1, 0.3f}};
    Floats a = numbers(n + 2, 0, 1), b = numbers(n, 0, 1), d(n), e(n), x = numbers(3 * n, 0, 1), y = x, points = x;
    Floats sums = a, sumsByLoop = a;
    Ints i(n), j(n);
    Bytes s(n), t(n), r(n), u(n);
    for (std::int64_t k = 0; k < n; ++k) s[k] = static_cast<std::uint8_t>(k), t[k] = static_cast<std::uint8_t>(k / 16);
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        stencil(d.data(), a.data() + 1, n);
        stencilByLoop(e.data(), a.data() + 1, n);
        expectSame("stencil", d, e);
        blend(r.data(), s.data(), t.data(), d.data(), e.data(), n);
        blendByLoop(u.data(), s.data(), t.data(), n);
        expectSame("blend", r, u);
        ZEL_Math::mulColVec34(x.data(), m, n, nullptr);
        turnByLoop(y.data(), m, n);
        expectSame("x y z", x, y);
        lengths(d.data(), points.data(), n);
        lengthsByLoop(e.data(), points.data(), n);
        expectSame("lengths", d, e);
        sums = sumsByLoop = a;
        ZEL_Math::add(sums.data() + 1, sums.data() + 1, sums.data(), n - 1);
        std::partial_sum(a.begin(), a.begin() + n, sumsByLoop.begin());
        expectSame("running sums", sums, sumsByLoop);
        ZEL_Math::floor(i.data(), a.data(), n);
        floorByLoop(j.data(), a.data(), n);
        expectSame("floor", i, j);
        ZEL_Math::wpoint(r.data(), a.data(), 255.0f, 255.0f, 0.0f, n);
        toBytesByLoop(u.data(), a.data(), n);
        expectSame("to bytes", r, u);
    }
    Floats far(many, 1.0f), farther(many, 1.0f), farthest(many);
    float* const p = far.data();
    double keep = 0;
    std::printf("| | calls | loop | calls / loop |\n|---|---|---|---|\n");
    const auto short4 = [&](auto add) {
        return [&, add] {
            for (std::int64_t k = 0; k < n; k += 4) add(d.data() + k, a.data() + k, b.data() + k, 4);
        };
    };
    line("`add`, 4 elements a call", n, short4([](auto... arguments) { ZEL_Math::add(arguments...); }),
         short4([](auto... arguments) { addByLoop(arguments...); }));
    line(
        "x y z: `mulColVec34`", n, [&] { ZEL_Math::mulColVec34(x.data(), m, n, nullptr); },
        [&] { turnByLoop(y.data(), m, n); });
    line(
        "lengths: `mul`, `madd` twice, `sqrt`", n, [&] { lengths(d.data(), points.data(), n); },
        [&] { lengthsByLoop(e.data(), points.data(), n); });
    line(
        "blend of bytes: `iwpoint` twice, `lerp`, `wpoint`", n,
        [&] { blend(r.data(), s.data(), t.data(), d.data(), e.data(), n); },
        [&] { blendByLoop(u.data(), s.data(), t.data(), n); });
    line(
        "stencil of 3: `add` twice, `mul`", n, [&] { stencil(d.data(), a.data() + 1, n); },
        [&] { stencilByLoop(e.data(), a.data() + 1, n); });
    line(
        "running sums: `add` one element apart", n - 1,
        [&] { ZEL_Math::add(e.data() + 1, e.data() + 1, e.data(), n - 1); },
        [&] { std::partial_sum(a.begin(), a.begin() + n, d.begin()); });
    line(
        "`add` of 4096 elements", n, [&] { ZEL_Math::add(d.data(), a.data(), b.data(), n); },
        [&] { addByLoop(d.data(), a.data(), b.data(), n); });
    line(
        "`add` in 144 MiB", many, [&] { ZEL_Math::add(farthest.data(), p, farther.data(), many); },
        [&] { addByLoop(farthest.data(), p, farther.data(), many); });
    line(
        "`dot`", n, [&] { keep += ZEL_Math::dot(a.data(), b.data(), n); },
        [&] { keep += std::inner_product(b.begin(), b.end(), a.begin(), 0.0); });
    line(
        "`floor`", n, [&] { ZEL_Math::floor(i.data(), a.data(), n); }, [&] { floorByLoop(j.data(), a.data(), n); });
    line(
        "`wpoint` to bytes", n, [&] { ZEL_Math::wpoint(r.data(), a.data(), 255.0f, 255.0f, 0.0f, n); },
        [&] { toBytesByLoop(u.data(), a.data(), n); });
    expect("a number", !std::isnan(keep));
    return theFailures;
}
