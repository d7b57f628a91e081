// The library's members, one row each, in a library of its own: it calls whichever libZEL is
// loaded beside it.
#include <iterator>

#include "ZEL_Math.h"
#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;
using Z = ZEL_Math;

const bench::Values v = bench::values();

const bench::Kernel kernels[] = {
    {"add", [](const Data& q, Count n) { Z::add(q.d, q.a, q.b, n); }, 12},
    {"add int", [](const Data& q, Count n) { Z::add(q.k, q.i, q.j, n); }, 12},
    {"add double", [](const Data& q, Count n) { Z::add(q.z, q.x, q.y, n); }, 24},
    {"mul value", [](const Data& q, Count n) { Z::mul(q.d, q.a, v.third, n); }, 8},
    {"div", [](const Data& q, Count n) { Z::div(q.d, q.a, q.b, n); }, 12},
    {"fdiv", [](const Data& q, Count n) { Z::fdiv(q.d, q.a, q.b, n); }, 12},
    {"safediv", [](const Data& q, Count n) { Z::safediv(q.d, q.a, q.b, n); }, 12},
    {"invert", [](const Data& q, Count n) { Z::invert(q.d, q.a, n); }, 8},
    {"sqrt", [](const Data& q, Count n) { Z::sqrt(q.d, q.a, n); }, 8},
    {"fsqrt", [](const Data& q, Count n) { Z::fsqrt(q.d, q.a, n); }, 8},
    {"isqrt", [](const Data& q, Count n) { Z::isqrt(q.d, q.a, n); }, 8},
    {"abs", [](const Data& q, Count n) { Z::abs(q.d, q.a, n); }, 8},
    {"negate", [](const Data& q, Count n) { Z::negate(q.d, q.a, n); }, 8},
    {"zelmin", [](const Data& q, Count n) { Z::zelmin(q.d, q.a, q.b, n); }, 12},
    {"clamp", [](const Data& q, Count n) { Z::clamp(q.d, q.a, v.low, v.high, n); }, 8},
    {"madd", [](const Data& q, Count n) { Z::madd(q.d, q.a, q.b, n); }, 16},
    {"scaleoffset values", [](const Data& q, Count n) { Z::scaleoffset(q.d, v.third, v.low, n); }, 8},
    {"lerp", [](const Data& q, Count n) { Z::lerp(q.d, q.a, q.b, q.c, n); }, 16},
    {"lt", [](const Data& q, Count n) { Z::lt(q.k, q.a, q.b, n); }, 12},
    {"lt value", [](const Data& q, Count n) { Z::lt(q.k, q.a, v.third, n); }, 8},
    {"le int", [](const Data& q, Count n) { Z::le(q.k, q.i, q.j, n); }, 12},
    {"lt double", [](const Data& q, Count n) { Z::lt(q.k, q.x, q.y, n); }, 20},
    {"fastlt value", [](const Data& q, Count n) { Z::fastlt(q.k, q.a, v.third, n); }, 8},
    {"band", [](const Data& q, Count n) { Z::band(q.k, q.i, q.j, n); }, 12},
    {"set", [](const Data& q, Count n) { Z::set(q.d, v.third, n); }, 4},
    {"set masked", [](const Data& q, Count n) { Z::set(q.k, q.i, n, q.mask); }, 16},
    {"swap", [](const Data& q, Count n) { Z::swap(q.a, q.b, n); }, 16},
    {"cast", [](const Data& q, Count n) { Z::cast(q.k, q.a, n); }, 8},
    {"floor", [](const Data& q, Count n) { Z::floor(q.k, q.a, n); }, 8},
    {"splitFloat", [](const Data& q, Count n) { Z::splitFloat(q.k, q.d, q.a, n); }, 12},
    {"wpoint", [](const Data& q, Count n) { Z::wpoint(q.d, q.a, v.white, v.white, 0, n); }, 8},
    {"wpoint 8", [](const Data& q, Count n) { Z::wpoint(q.bytes, q.a, v.white, v.white, 0, n); }, 5},
    {"wpoint 16", [](const Data& q, Count n) { Z::wpoint(q.halves, q.a, 65535, 65535, 0, n); }, 6},
    {"iwpoint 8", [](const Data& q, Count n) { Z::iwpoint(q.d, q.bytes, v.white, 1, n); }, 5},
    {"iwpoint 8 table", [](const Data& q, Count n) { Z::iwpoint(q.d, q.bytes, v.white, 0, n); }, 5},
    {"dot", [](const Data& q, Count n) { bench::keep(q, Z::dot(q.a, q.b, n)); }, 8},
    {"maddAndNorm", [](const Data& q, Count n) { bench::keep(q, Z::maddAndNorm(q.d, q.a, 1e-6, n)); }, 12},
    {"mulAndDotDA", [](const Data& q, Count n) { bench::keep(q, Z::mulAndDotDA(q.d, q.a, q.b, n)); }, 12},
    {"zerocount", [](const Data& q, Count n) { bench::keep(q, Z::zerocount(q.i, n)); }, 4},
    {"mulColVec44", [](const Data& q, Count n) { Z::mulColVec44(q.d, v.matrix, n / 4, nullptr); }, 8},
    {"mulRowVec44", [](const Data& q, Count n) { Z::mulRowVec44(q.d, v.matrix, n / 4, nullptr); }, 8},
    {"mulRowVec44 masked", [](const Data& q, Count n) { Z::mulRowVec44(q.d, v.matrix, n / 4, q.mask); }, 8},
    {"mulColVec34", [](const Data& q, Count n) { Z::mulColVec34(q.d, v.matrix, n / 3, nullptr); }, 8},
    {"vadd4u4", [](const Data& q, Count n) { Z::vadd4u4(q.d, v.matrix[0], n / 4, nullptr); }, 8},
};

}  // namespace

bench::Kernels libraryKernels() { return {kernels, std::size(kernels)}; }

void benchForceSIMD(bool on) { Z::forceSIMD(on); }
