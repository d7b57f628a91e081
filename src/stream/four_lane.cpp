// Four-lane streams: one constant vector added to, subtracted from or multiplied into each vector, in place.
#include "arith/operations.h"
#include "stream/vector_stream.h"

using namespace zel;

namespace {

/// Lanes read b once. Elements read it for each component, as it stands after the component before was stored.
template <class Formula>
inline void combine(bool simd, float* d, const float* b, Count num, const std::uint32_t* mask) {
    [[maybe_unused]] const Call call(simd, Form::fourVectors, num, d, b);
    if (simd && phase(d) == 0 && num >= 4) {
        const __m128 constant = _mm_loadu_ps(b);
        eachVector<4>(d, num, mask, [=](float* v) { putGroup(v, 0, Formula::lanes(groupAt(v, 0), constant)); });
    } else if (num > 0 && apart(d, num * Count{sizeof(float[4])}, b, Count{sizeof(float[4])})) {
        const float constant[4] = {b[0], b[1], b[2], b[3]};
        eachVector<4>(d, num, mask, [&](float* v) {
            ZEL_UNROLL
            for (int k = 0; k < 4; ++k) v[k] = Formula::element(v[k], constant[k]);
        });
    } else {
        eachVector<4>(d, num, mask, [=](float* v) {
            ZEL_UNROLL
            for (int k = 0; k < 4; ++k) v[k] = Formula::element(v[k], b[k]);
        });
    }
}

}  // namespace

void ZEL_Math::vadd4u4(float* d, const float* b, Count num, const std::uint32_t* mask) {
    combine<Add>(theSIMD, d, b, num, mask);
}
void ZEL_Math::vsub4u4(float* d, const float* b, Count num, const std::uint32_t* mask) {
    combine<Subtract>(theSIMD, d, b, num, mask);
}
void ZEL_Math::vmul4u4(float* d, const float* b, Count num, const std::uint32_t* mask) {
    combine<Multiply>(theSIMD, d, b, num, mask);
}
