// Rows of comparisons and bit logic, and the invalid flag that comparisons raise.
#include <gtest/gtest.h>

#include <cfenv>
#include <limits>

#include "signatures.h"

using namespace test;

namespace {

/// The ten members of one relation; truth in a lane group is 1, or -1 for the fast ones.
#define RELATION(name, nameSIMD, op, laneTruth)                                       \
    const Register name##Rows([] {                                                    \
        const auto element = [](int& d, auto a, auto b) { d = a op b; };              \
        const auto lane = [](int& d, auto a, auto b) { d = a op b ? laneTruth : 0; }; \
        both<III>(Z::name, Z::nameSIMD, element, lane);                               \
        both<IIV>(Z::name, Z::nameSIMD, element, lane);                               \
        both<IFF>(Z::name, Z::nameSIMD, element, lane);                               \
        both<IFV>(Z::name, Z::nameSIMD, element, lane);                               \
        only<IDD>(Z::name, element);                                                  \
        only<IDV>(Z::name, element);                                                  \
    });
RELATION(lt, ltSIMD, <, 1)
RELATION(le, leSIMD, <=, 1)
RELATION(gt, gtSIMD, >, 1)
RELATION(ge, geSIMD, >=, 1)
RELATION(eq, eqSIMD, ==, 1)
RELATION(ne, neSIMD, !=, 1)
RELATION(fastlt, fastltSIMD, <, -1)
RELATION(fastle, fastleSIMD, <=, -1)
RELATION(fastgt, fastgtSIMD, >, -1)
RELATION(fastge, fastgeSIMD, >=, -1)
RELATION(fasteq, fasteqSIMD, ==, -1)
RELATION(fastne, fastneSIMD, !=, -1)
#undef RELATION

const Register bitLogic([] {
    both<III>(Z::band, Z::bandSIMD, [](int& d, int a, int b) { d = a & b; });
    both<IIV>(Z::band, Z::bandSIMD, [](int& d, int a, int b) { d = a & b; });
    both<III>(Z::bor, Z::borSIMD, [](int& d, int a, int b) { d = a | b; });
    both<IIV>(Z::bor, Z::borSIMD, [](int& d, int a, int b) { d = a | b; });
    both<III>(Z::bxor, Z::bxorSIMD, [](int& d, int a, int b) { d = a ^ b; });
    both<IIV>(Z::bxor, Z::bxorSIMD, [](int& d, int a, int b) { d = a ^ b; });
});

/// Whether the call raises the invalid flag for one NaN at each place of an otherwise ordinary array.
template <class T>
void checkInvalid(const char* name, void (*arrays)(int*, const T*, const T*, Count),
                  void (*value)(int*, const T*, T, Count), bool quietRaises) {
    using L = std::numeric_limits<T>;
    alignas(64) T a[160], b[160];
    alignas(64) int d[160];
    for (const bool flag : {false, true})
        for (const Count num : {1, 3, 4, 7, 16, 63, 150})
            for (Count place = 0; place < num; ++place)
                for (const int kind : {0, 1, 2}) {  // no NaN, a quiet one, a signalling one
                    std::fill_n(a, 160, T(1));
                    std::fill_n(b, 160, T(2));
                    const T nan = kind == 2 ? L::signaling_NaN() : L::quiet_NaN();
                    std::memcpy(kind ? &(place % 2 ? a : b)[place] : &a[place], kind ? &nan : &b[0],
                                sizeof nan);
                    Z::forceSIMD(flag);
                    const bool wanted = kind == 2 || (kind == 1 && quietRaises);
                    std::feclearexcept(FE_ALL_EXCEPT);
                    arrays(d, a, b, num);
                    ASSERT_EQ(std::fetestexcept(FE_INVALID) != 0, wanted)
                        << name << ", arrays of " << sizeof(T) << ", count " << num << " NaN at " << place
                        << " flag " << flag;
                    std::feclearexcept(FE_ALL_EXCEPT);
                    value(d, place % 2 ? a : b, 1, num);
                    ASSERT_EQ(std::fetestexcept(FE_INVALID) != 0, wanted)
                        << name << ", value of " << sizeof(T) << ", count " << num << " NaN at " << place
                        << " flag " << flag;
                }
}

TEST(Comparisons, RaiseInvalidByKind) {
#define CHECK_INVALID(name, quietRaises)                       \
    checkInvalid<float>(#name, Z::name, Z::name, quietRaises); \
    checkInvalid<double>(#name, Z::name, Z::name, quietRaises);
    CHECK_INVALID(lt, true)
    CHECK_INVALID(le, true)
    CHECK_INVALID(gt, true)
    CHECK_INVALID(ge, true)
    CHECK_INVALID(eq, false)
    CHECK_INVALID(ne, false)
    CHECK_INVALID(fastlt, true)
    CHECK_INVALID(fastle, true)
    CHECK_INVALID(fastgt, true)
    CHECK_INVALID(fastge, true)
    CHECK_INVALID(fasteq, false)
    CHECK_INVALID(fastne, false)
#undef CHECK_INVALID
}

}  // namespace
