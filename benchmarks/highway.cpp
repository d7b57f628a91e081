// White point with Highway, whose wrappers take the widest registers that the compiler's flags allow. Built
// for 128 bits, as it has them with SSE4, and for the machine at hand.
#include <hwy/highway.h>

#include <iterator>

#include "kernels.h"

namespace {

namespace hn = hwy::HWY_NAMESPACE;
using bench::Count;
using bench::Data;

const hn::ScalableTag<float> floats;
const bench::Values theValues = bench::values();

template <class Sample> void map(Sample* d, const float* a, float scale, Count n) {
    const hn::RebindToSigned<decltype(floats)> words;
    const hn::Rebind<Sample, decltype(floats)> samples;
    const auto scales = hn::Set(floats, scale), half = hn::Set(floats, 0.5f), zero = hn::Zero(floats);
    const auto lanes = static_cast<Count>(hn::Lanes(floats));
    Count i = 0;
    for (; i + lanes <= n; i += lanes) {
        const auto x = hn::MulAdd(hn::LoadU(floats, a + i), scales, half);
        const auto clamped = hn::Max(hn::Min(x, scales), zero);
        hn::StoreU(hn::DemoteTo(samples, hn::ConvertTo(words, clamped)), samples, d + i);
    }
    for (; i < n; ++i) {
        const float x = scale * a[i] + 0.5f;
        d[i] = static_cast<Sample>(x >= scale ? scale : x > 0 ? x : 0);
    }
}

const bench::Kernel kernels[] = {
    {"wpoint 8", [](const Data& q, Count n) { map(q.bytes, q.a, theValues.white, n); }},
    {"wpoint 16", [](const Data& q, Count n) { map(q.halves, q.a, 65535, n); }},
};

}  // namespace

bench::Kernels BENCH_FUNCTION() { return {kernels, std::size(kernels)}; }
