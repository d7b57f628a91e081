// Comparisons: the plain ones write 0 or 1 everywhere, the fast ones keep the mask in lane groups.
#include "compare/relations.h"

#include "frame/lane_loop.h"

using namespace zel;

namespace {

template <class Relation> struct StoresOne : Relation {
    template <class Lanes> static __m128i lanes(Lanes a, Lanes b) {
        return _mm_and_si128(Relation::mask(a, b), _mm_set1_epi32(1));
    }
};

template <class Relation> struct StoresMask : Relation {
    template <class Lanes> static __m128i lanes(Lanes a, Lanes b) { return Relation::mask(a, b); }
};

}  // namespace

// The ten members of one name; Formula says what its relation stores in a lane group.
#define ZEL_COMPARISON(plain, lanes, Formula)                                                                         \
    void ZEL_Math::plain(int* d, const int* a, const int* b, Count num) { dispatch<Formula>(theSIMD, d, num, a, b); } \
    void ZEL_Math::plain(int* d, const int* a, int b, Count num) { dispatch<Formula>(theSIMD, d, num, a, b); }        \
    void ZEL_Math::plain(int* d, const float* a, const float* b, Count num) {                                         \
        dispatch<Formula>(theSIMD, d, num, a, b);                                                                     \
    }                                                                                                                 \
    void ZEL_Math::plain(int* d, const float* a, float b, Count num) { dispatch<Formula>(theSIMD, d, num, a, b); }    \
    void ZEL_Math::plain(int* d, const double* a, const double* b, Count num) { elements<Formula>(d, num, a, b); }    \
    void ZEL_Math::plain(int* d, const double* a, double b, Count num) { elements<Formula>(d, num, a, b); }           \
    void ZEL_Math::lanes(int* d, const int* a, const int* b, Count num) { laneForm<Formula>(d, num, a, b); }          \
    void ZEL_Math::lanes(int* d, const int* a, int b, Count num) { laneForm<Formula>(d, num, a, b); }                 \
    void ZEL_Math::lanes(int* d, const float* a, const float* b, Count num) { laneForm<Formula>(d, num, a, b); }      \
    void ZEL_Math::lanes(int* d, const float* a, float b, Count num) { laneForm<Formula>(d, num, a, b); }

ZEL_COMPARISON(lt, ltSIMD, StoresOne<Less>)
ZEL_COMPARISON(le, leSIMD, StoresOne<LessOrEqual>)
ZEL_COMPARISON(gt, gtSIMD, StoresOne<Greater>)
ZEL_COMPARISON(ge, geSIMD, StoresOne<GreaterOrEqual>)
ZEL_COMPARISON(eq, eqSIMD, StoresOne<Equal>)
ZEL_COMPARISON(ne, neSIMD, StoresOne<NotEqual>)

ZEL_COMPARISON(fastlt, fastltSIMD, StoresMask<Less>)
ZEL_COMPARISON(fastle, fastleSIMD, StoresMask<LessOrEqual>)
ZEL_COMPARISON(fastgt, fastgtSIMD, StoresMask<Greater>)
ZEL_COMPARISON(fastge, fastgeSIMD, StoresMask<GreaterOrEqual>)
ZEL_COMPARISON(fasteq, fasteqSIMD, StoresMask<Equal>)
ZEL_COMPARISON(fastne, fastneSIMD, StoresMask<NotEqual>)

#undef ZEL_COMPARISON
