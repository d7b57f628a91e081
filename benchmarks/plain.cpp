// Plain loops, as a user would write them in place of a call. Built for baseline x86-64 and for the
// machine at hand.
#include <cmath>
#include <iterator>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;
using bench::Values;

// Read once, as a caller's own local would be.
const Values theValues = bench::values();

/// A loop over the elements; element(arrays, values, i) does the one at i.
template <class Element> bench::Kernel loop(const char* name, Element) {
    return {name, [](const Data& p, Count n) {
                const Data q = p;
                const Values v = theValues;
                for (Count i = 0; i < n; ++i) Element()(q, v, i);
            }};
}

const bench::Kernel kernels[] = {
    loop("add", [](auto& q, auto&, Count i) { q.d[i] = q.a[i] + q.b[i]; }),
    loop("add int", [](auto& q, auto&, Count i) { q.k[i] = q.i[i] + q.j[i]; }),
    loop("add double", [](auto& q, auto&, Count i) { q.z[i] = q.x[i] + q.y[i]; }),
    loop("mul value", [](auto& q, auto& v, Count i) { q.d[i] = q.a[i] * v.third; }),
    loop("div", [](auto& q, auto&, Count i) { q.d[i] = q.a[i] / q.b[i]; }),
    loop("safediv", [](auto& q, auto&, Count i) { q.d[i] = q.a[i] / (q.b[i] != 0 ? q.b[i] : HUGE_VALF); }),
    loop("invert", [](auto& q, auto&, Count i) { q.d[i] = 1 / q.a[i]; }),
    loop("sqrt", [](auto& q, auto&, Count i) { q.d[i] = std::sqrt(q.a[i]); }),
    loop("isqrt", [](auto& q, auto&, Count i) { q.d[i] = 1 / std::sqrt(q.a[i]); }),
    loop("abs", [](auto& q, auto&, Count i) { q.d[i] = std::fabs(q.a[i]); }),
    loop("negate", [](auto& q, auto&, Count i) { q.d[i] = -q.a[i]; }),
    loop("zelmin", [](auto& q, auto&, Count i) { q.d[i] = q.b[i] < q.a[i] ? q.b[i] : q.a[i]; }),
    loop("clamp",
         [](auto& q, auto& v, Count i) {
             q.d[i] = v.low >= q.a[i] ? v.low : v.high <= q.a[i] ? v.high : q.a[i];
         }),
    loop("madd", [](auto& q, auto&, Count i) { q.d[i] += q.a[i] * q.b[i]; }),
    loop("scaleoffset values", [](auto& q, auto& v, Count i) { q.d[i] = q.d[i] * v.third + v.low; }),
    loop("lerp", [](auto& q, auto&, Count i) { q.d[i] = (q.b[i] - q.a[i]) * q.c[i] + q.a[i]; }),
    loop("lt", [](auto& q, auto&, Count i) { q.k[i] = q.a[i] < q.b[i]; }),
    loop("lt value", [](auto& q, auto& v, Count i) { q.k[i] = q.a[i] < v.third; }),
    loop("le int", [](auto& q, auto&, Count i) { q.k[i] = q.i[i] <= q.j[i]; }),
    loop("lt double", [](auto& q, auto&, Count i) { q.k[i] = q.x[i] < q.y[i]; }),
    loop("band", [](auto& q, auto&, Count i) { q.k[i] = q.i[i] & q.j[i]; }),
    loop("set", [](auto& q, auto& v, Count i) { q.d[i] = v.third; }),
    loop("set masked", [](auto& q, auto&, Count i) { q.k[i] = q.mask[i] ? q.k[i] : q.i[i]; }),
    loop("swap", [](auto& q, auto&, Count i) { const float held = q.a[i]; q.a[i] = q.b[i]; q.b[i] = held; }),
    loop("cast", [](auto& q, auto&, Count i) { q.k[i] = static_cast<int>(q.a[i]); }),
    loop("floor", [](auto& q, auto&, Count i) { q.k[i] = static_cast<int>(std::floor(q.a[i])); }),
    loop("wpoint 8",
         [](auto& q, auto& v, Count i) {
             const float s = q.a[i] * v.white + 0.5f;
             q.bytes[i] = static_cast<std::uint8_t>(s <= 0 ? 0 : s >= v.white ? v.white : s);
         }),
    loop("iwpoint 8",
         [](auto& q, auto& v, Count i) {
             q.d[i] = static_cast<float>(q.bytes[i] - 1) * (1 / v.white);
         }),
    {"dot",
     [](const Data& q, Count n) {
         double s = 0;
         for (Count i = 0; i < n; ++i) s += q.a[i] * q.b[i];
         bench::keep(q, s);
     }},
    {"zerocount",
     [](const Data& q, Count n) {
         int s = 0;
         for (Count i = 0; i < n; ++i) s += q.i[i] == 0;
         bench::keep(q, s);
     }},
    {"mulRowVec44",
     [](const Data& q, Count n) {
         const Values values = theValues;
         const auto& m = values.matrix;
         for (float* v = q.d; v < q.d + n / 4 * 4; v += 4) {
             const float x = v[0], y = v[1], z = v[2], w = v[3];
             for (int j = 0; j < 4; ++j)
                 v[j] = x * m[0][j] + y * m[1][j] + z * m[2][j] + w * m[3][j];
         }
     }},
};

}  // namespace

bench::Kernels BENCH_FUNCTION() { return {kernels, std::size(kernels)}; }
