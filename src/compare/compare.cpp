// Comparisons: the plain ones write 0 or 1 everywhere, the fast ones keep the mask in lane groups.
#include "compare/relations.h"

#include "frame/lane_constants.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

template <class Relation>
struct Word : Relation {
    template <class Lanes>
    static __m128i lanes(Lanes a, Lanes b) {
        return _mm_and_si128(Relation::mask(a, b), intLanes(theLaneOne));
    }
};

template <class Relation>
struct Mask : Relation {
    template <class Lanes>
    static __m128i lanes(Lanes a, Lanes b) {
        return Relation::mask(a, b);
    }
};

}  // namespace

// The ten members of one name; Formula is Word or Mask of its relation.
#define ZEL_COMPARISON(name, nameSIMD, Formula)                                                              \
    void ZEL_Math::name(int* d, const int* a, const int* b, Count num) {                                     \
        return theSIMD ? nameSIMD(d, a, b, num) : elements<Formula>(d, num, a, b);                           \
    }                                                                                                        \
    void ZEL_Math::name(int* d, const int* a, int b, Count num) {                                            \
        return theSIMD ? nameSIMD(d, a, b, num) : elements<Formula>(d, num, a, b);                           \
    }                                                                                                        \
    void ZEL_Math::name(int* d, const float* a, const float* b, Count num) {                                 \
        return theSIMD ? nameSIMD(d, a, b, num) : elements<Formula>(d, num, a, b);                           \
    }                                                                                                        \
    void ZEL_Math::name(int* d, const float* a, float b, Count num) {                                        \
        return theSIMD ? nameSIMD(d, a, b, num) : elements<Formula>(d, num, a, b);                           \
    }                                                                                                        \
    void ZEL_Math::name(int* d, const double* a, const double* b, Count num) {                               \
        elements<Formula>(d, num, a, b);                                                                     \
    }                                                                                                        \
    void ZEL_Math::name(int* d, const double* a, double b, Count num) { elements<Formula>(d, num, a, b); }   \
    void ZEL_Math::nameSIMD(int* d, const int* a, const int* b, Count num) { lanes<Formula>(d, num, a, b); } \
    void ZEL_Math::nameSIMD(int* d, const int* a, int b, Count num) { lanes<Formula>(d, num, a, b); }        \
    void ZEL_Math::nameSIMD(int* d, const float* a, const float* b, Count num) {                             \
        lanes<Formula>(d, num, a, b);                                                                        \
    }                                                                                                        \
    void ZEL_Math::nameSIMD(int* d, const float* a, float b, Count num) { lanes<Formula>(d, num, a, b); }

ZEL_COMPARISON(lt, ltSIMD, Word<Less>)
ZEL_COMPARISON(le, leSIMD, Word<LessOrEqual>)
ZEL_COMPARISON(gt, gtSIMD, Word<Greater>)
ZEL_COMPARISON(ge, geSIMD, Word<GreaterOrEqual>)
ZEL_COMPARISON(eq, eqSIMD, Word<Equal>)
ZEL_COMPARISON(ne, neSIMD, Word<NotEqual>)

ZEL_COMPARISON(fastlt, fastltSIMD, Mask<Less>)
ZEL_COMPARISON(fastle, fastleSIMD, Mask<LessOrEqual>)
ZEL_COMPARISON(fastgt, fastgtSIMD, Mask<Greater>)
ZEL_COMPARISON(fastge, fastgeSIMD, Mask<GreaterOrEqual>)
ZEL_COMPARISON(fasteq, fasteqSIMD, Mask<Equal>)
ZEL_COMPARISON(fastne, fastneSIMD, Mask<NotEqual>)

#undef ZEL_COMPARISON
