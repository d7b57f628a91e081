// The same work with VOLK, which picks the widest kernel for the machine when it runs.
#include <volk/volk.h>

#include <iterator>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;

unsigned size(Count n) { return static_cast<unsigned>(n); }
const bench::Values v = bench::values();

const bench::Kernel kernels[] = {
    {"add", [](const Data& q, Count n) { volk_32f_x2_add_32f(q.d, q.a, q.b, size(n)); }},
    {"add double", [](const Data& q, Count n) { volk_64f_x2_add_64f(q.z, q.x, q.y, size(n)); }},
    {"mul value", [](const Data& q, Count n) { volk_32f_s32f_multiply_32f(q.d, q.a, v.third, size(n)); }},
    {"div", [](const Data& q, Count n) { volk_32f_x2_divide_32f(q.d, q.a, q.b, size(n)); }},
    {"sqrt", [](const Data& q, Count n) { volk_32f_sqrt_32f(q.d, q.a, size(n)); }},
    {"isqrt", [](const Data& q, Count n) { volk_32f_invsqrt_32f(q.d, q.a, size(n)); }},
    {"zelmin", [](const Data& q, Count n) { volk_32f_x2_min_32f(q.d, q.a, q.b, size(n)); }},
    {"band", [](const Data& q, Count n) { volk_32i_x2_and_32i(q.k, q.i, q.j, size(n)); }},
    // Signed samples, rounded and saturated.
    {"wpoint 8",
     [](const Data& q, Count n) {
         volk_32f_s32f_convert_8i(reinterpret_cast<std::int8_t*>(q.bytes), q.a, v.white, size(n));
     }},
    {"wpoint 16",
     [](const Data& q, Count n) {
         volk_32f_s32f_convert_16i(reinterpret_cast<std::int16_t*>(q.halves), q.a, 65535, size(n));
     }},
    {"dot",
     [](const Data& q, Count n) {
         float s;
         volk_32f_x2_dot_prod_32f(&s, q.a, q.b, size(n));
         bench::keep(q, static_cast<double>(s));
     }},
};

}  // namespace

bench::Kernels volkKernels() { return {kernels, std::size(kernels)}; }
