// The same work with Eigen's array expressions.
#include <Eigen/Core>

#include <iterator>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;

template <class T> auto array(T* p, Count n) { return Eigen::Map<Eigen::Array<T, Eigen::Dynamic, 1>>(p, n); }
const bench::Values v = bench::values();

const bench::Kernel kernels[] = {
    {"add", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n) + array(q.b, n); }},
    {"add int", [](const Data& q, Count n) { array(q.k, n) = array(q.i, n) + array(q.j, n); }},
    {"add double", [](const Data& q, Count n) { array(q.z, n) = array(q.x, n) + array(q.y, n); }},
    {"mul value", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n) * v.third; }},
    {"div", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n) / array(q.b, n); }},
    {"invert", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n).inverse(); }},
    {"sqrt", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n).sqrt(); }},
    {"isqrt", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n).rsqrt(); }},
    {"abs", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n).abs(); }},
    {"negate", [](const Data& q, Count n) { array(q.d, n) = -array(q.a, n); }},
    {"zelmin", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n).min(array(q.b, n)); }},
    {"clamp", [](const Data& q, Count n) { array(q.d, n) = array(q.a, n).max(v.low).min(v.high); }},
    {"madd", [](const Data& q, Count n) { array(q.d, n) += array(q.a, n) * array(q.b, n); }},
    {"scaleoffset values", [](const Data& q, Count n) { array(q.d, n) = array(q.d, n) * v.third + v.low; }},
    {"lerp",
     [](const Data& q, Count n) { array(q.d, n) = (array(q.b, n) - array(q.a, n)) * array(q.c, n) + array(q.a, n); }},
    {"set", [](const Data& q, Count n) { array(q.d, n) = v.third; }},
    {"swap", [](const Data& q, Count n) { array(q.a, n).swap(array(q.b, n)); }},
    {"cast", [](const Data& q, Count n) { array(q.k, n) = array(q.a, n).cast<int>(); }},
    {"dot", [](const Data& q, Count n) { bench::keep(q, static_cast<double>((array(q.a, n) * array(q.b, n)).sum())); }},
};

}  // namespace

bench::Kernels eigenKernels() { return {kernels, std::size(kernels)}; }
