// Plain loops, as a user would write them in place of a call. Built for baseline x86-64 and for the machine at hand.
#include <cmath>
#include <iterator>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;

// Read once, as a caller's own local would be.
const bench::Values theValues = bench::values();

#define LOOP(name, ...)                                         \
    {                                                           \
        name, [](const Data& p, Count n) {                      \
            [[maybe_unused]] const Data q = p;                  \
            [[maybe_unused]] const bench::Values v = theValues; \
            for (Count i = 0; i < n; ++i) {                     \
                __VA_ARGS__;                                    \
            }                                                   \
        }                                                       \
    }

const bench::Kernel kernels[] = {
    LOOP("add", q.d[i] = q.a[i] + q.b[i]),
    LOOP("add int", q.k[i] = q.i[i] + q.j[i]),
    LOOP("add double", q.z[i] = q.x[i] + q.y[i]),
    LOOP("mul value", q.d[i] = q.a[i] * v.third),
    LOOP("div", q.d[i] = q.a[i] / q.b[i]),
    LOOP("safediv", q.d[i] = q.a[i] / (q.b[i] != 0 ? q.b[i] : HUGE_VALF)),
    LOOP("invert", q.d[i] = 1 / q.a[i]),
    LOOP("sqrt", q.d[i] = std::sqrt(q.a[i])),
    LOOP("isqrt", q.d[i] = 1 / std::sqrt(q.a[i])),
    LOOP("abs", q.d[i] = std::fabs(q.a[i])),
    LOOP("negate", q.d[i] = -q.a[i]),
    LOOP("zelmin", q.d[i] = q.b[i] < q.a[i] ? q.b[i] : q.a[i]),
    LOOP("clamp", q.d[i] = v.low >= q.a[i] ? v.low : v.high <= q.a[i] ? v.high : q.a[i]),
    LOOP("madd", q.d[i] += q.a[i] * q.b[i]),
    LOOP("scaleoffset values", q.d[i] = q.d[i] * v.third + v.low),
    LOOP("lerp", q.d[i] = (q.b[i] - q.a[i]) * q.c[i] + q.a[i]),
    LOOP("lt", q.k[i] = q.a[i] < q.b[i]),
    LOOP("lt value", q.k[i] = q.a[i] < v.third),
    LOOP("le int", q.k[i] = q.i[i] <= q.j[i]),
    LOOP("lt double", q.k[i] = q.x[i] < q.y[i]),
    LOOP("band", q.k[i] = q.i[i] & q.j[i]),
    LOOP("set", q.d[i] = v.third),
    LOOP("set masked", q.k[i] = q.mask[i] ? q.k[i] : q.i[i]),
    LOOP("swap", const float held = q.a[i]; q.a[i] = q.b[i]; q.b[i] = held),
    LOOP("cast", q.k[i] = static_cast<int>(q.a[i])),
    LOOP("floor", q.k[i] = static_cast<int>(std::floor(q.a[i]))),
    LOOP("wpoint 8", const float s = q.a[i] * v.white + 0.5f;
         q.bytes[i] = static_cast<std::uint8_t>(s <= 0 ? 0 : s >= v.white ? v.white : s)),
    LOOP("iwpoint 8", q.d[i] = static_cast<float>(q.bytes[i] - 1) * (1 / v.white)),
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
         const auto m = theValues;
         for (float* v = q.d; v < q.d + n / 4 * 4; v += 4) {
             const float x = v[0], y = v[1], z = v[2], w = v[3];
             for (int j = 0; j < 4; ++j) v[j] = x * m.matrix[0][j] + y * m.matrix[1][j] + z * m.matrix[2][j] + w * m.matrix[3][j];
         }
     }},
};

}  // namespace

bench::Kernels BENCH_FUNCTION() { return {kernels, std::size(kernels)}; }
