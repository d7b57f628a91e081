// Matrix-vector streams: each vector times one matrix, in place.
#include "stream/vector_stream.h"

using namespace zel;

namespace {

enum class Vector { column, row };             // what the matrix multiplies: m v, or v m
enum class Fourth { scaled, added, leftOut };  // what is done with the fourth column or row of coefficients

/// One member: the kind of vector, the floats from one vector to the next, and the fourth coefficients.
template <Vector kind, int stride, Fourth fourth> struct Transform {
    static constexpr int results = fourth == Fourth::scaled ? 4 : 3;
    static constexpr int terms = fourth == Fourth::leftOut ? 3 : 4;

    /// of[k][j] scales component k into result j. All four lanes are filled, so that compilers make a lane operation
    /// of the loop over j. Where a member has three results, the fourth lane repeats the third and is dropped. Only
    /// entries in use are read.
    struct Coefficients {
        float of[4][4];

        explicit Coefficients(const float (*m)[4]) {
            ZEL_UNROLL
            for (int k = 0; k < terms; ++k)
                for (int lane = 0; lane < 4; ++lane) {
                    const int j = lane < results ? lane : results - 1;
                    of[k][lane] = kind == Vector::column ? m[j][k] : m[k][j];
                }
        }
    };

    /// Reads all components, adds from left to right, writes all results.
    static void apply(float* v, const Coefficients& c) {
        const float x = v[0], y = v[1], z = v[2];
        [[maybe_unused]] const float w = fourth == Fourth::scaled ? v[3] : 0;
        float r[4];
        ZEL_UNROLL
        for (int j = 0; j < 4; ++j) {
            r[j] = (x * c.of[0][j] + y * c.of[1][j]) + z * c.of[2][j];
            if constexpr (fourth == Fourth::scaled) r[j] = r[j] + w * c.of[3][j];
            if constexpr (fourth == Fourth::added) r[j] = r[j] + c.of[3][j];
        }
        ZEL_UNROLL
        for (int j = 0; j < results; ++j) v[j] = r[j];
    }

    /// The element path. Each vector is multiplied by the matrix as it then stands: the matrix is read only once where
    /// no store to the stream can change it, and else for each vector.
    [[gnu::noinline]] static void elements(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
        if (num < 1) return;
        if (apart(d, num * stride * Count{sizeof(float)}, m, Count{sizeof(float[4][4])})) {
            const Coefficients coefficients(m);
            eachVector<stride>(d, num, mask, [&](float* v) { apply(v, coefficients); });
        } else {
            eachVector<stride>(d, num, mask, [=](float* v) { apply(v, Coefficients(m)); });
        }
    }
};

/// The lane path, l0 to l3 being what the components scale. The sums pair up, unlike those of
/// the element path.
void transformLanes(float* d, Count num, const std::uint32_t* mask, __m128 l0, __m128 l1, __m128 l2, __m128 l3) {
    eachVector<4>(d, num, mask, [=](float* vector) {
        const __m128 v = groupAt(vector, 0);
        const __m128 x = _mm_shuffle_ps(v, v, 0x00), y = _mm_shuffle_ps(v, v, 0x55);
        const __m128 z = _mm_shuffle_ps(v, v, 0xAA), w = _mm_shuffle_ps(v, v, 0xFF);
        putGroup(vector, 0,
                 _mm_add_ps(_mm_add_ps(_mm_mul_ps(w, l3), _mm_mul_ps(z, l2)),
                            _mm_add_ps(_mm_mul_ps(y, l1), _mm_mul_ps(x, l0))));
    });
}

}  // namespace

void ZEL_Math::mulColVec44(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    const bool simd = theSIMD;
    [[maybe_unused]] const Call call(simd, Form::vectors, num, d, m);
    if (!simd || phase(d) != 0 || num < 1)
        return Transform<Vector::column, 4, Fourth::scaled>::elements(d, m, num, mask);
    __m128 l0 = _mm_loadu_ps(m[0]), l1 = _mm_loadu_ps(m[1]), l2 = _mm_loadu_ps(m[2]), l3 = _mm_loadu_ps(m[3]);
    _MM_TRANSPOSE4_PS(l0, l1, l2, l3);
    transformLanes(d, num, mask, l0, l1, l2, l3);
}
void ZEL_Math::mulColVec44_3(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    Transform<Vector::column, 4, Fourth::leftOut>::elements(d, m, num, mask);
}
void ZEL_Math::mulColVec34(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    Transform<Vector::column, 3, Fourth::added>::elements(d, m, num, mask);
}
void ZEL_Math::mulColVec34_3(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    Transform<Vector::column, 3, Fourth::leftOut>::elements(d, m, num, mask);
}
void ZEL_Math::mulRowVec44(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    const bool simd = theSIMD;
    [[maybe_unused]] const Call call(simd, Form::vectors, num, d, m);
    if (!simd || phase(d) != 0 || num < 1) return Transform<Vector::row, 4, Fourth::scaled>::elements(d, m, num, mask);
    transformLanes(d, num, mask, _mm_loadu_ps(m[0]), _mm_loadu_ps(m[1]), _mm_loadu_ps(m[2]), _mm_loadu_ps(m[3]));
}
void ZEL_Math::mulRowVec44_3(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    Transform<Vector::row, 4, Fourth::leftOut>::elements(d, m, num, mask);
}
void ZEL_Math::mulRowVec34(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    Transform<Vector::row, 3, Fourth::added>::elements(d, m, num, mask);
}
void ZEL_Math::mulRowVec34_3(float* d, const float (*m)[4], Count num, const std::uint32_t* mask) {
    Transform<Vector::row, 3, Fourth::leftOut>::elements(d, m, num, mask);
}
