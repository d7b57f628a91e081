// Rows of comparisons and bit logic.
#include <limits>

#include "support/engine.h"

namespace test {

template <class Is, int truth>
constexpr auto relation = [](int, auto a, auto b) {
    // Any NaN is an invalid operand of an order; of equality, only a signalling one is, whose quiet bit is 0.
    const auto invalid = [](auto x) {
        constexpr bool order = Is()(1, 2) != Is()(2, 1);
        return x != x && (order || !(bits(x) >> (std::numeric_limits<decltype(x)>::digits - 2) & 1));
    };
    if (invalid(a) || invalid(b)) theRaised |= _MM_EXCEPT_INVALID;
    return Is()(a, b) ? truth : 0;
};

/// The ten members of a relation; truth in a lane group is 1, or -1 for the fast ones.
#define RELATION(plain, simd, Is, laneTruth)                                                     \
    const Register plain##Rows([] {                                                              \
        const std::size_t first = theRows.size();                                                \
        constexpr auto element = relation<Is, 1>;                                                \
        constexpr auto lane = relation<Is, laneTruth>;                                           \
        both<int, Array<int>, Array<int>>(Z::plain, Z::simd, element, lane);                     \
        both<int, Array<int>, int>(Z::plain, Z::simd, element, lane);                            \
        both<int, Array<float>, Array<float>>(Z::plain, Z::simd, element, lane);                 \
        both<int, Array<float>, float>(Z::plain, Z::simd, element, lane);                        \
        only<int, Array<double>, Array<double>>(Z::plain, element);                              \
        only<int, Array<double>, double>(Z::plain, element);                                     \
        for (Row & row : std::span(theRows).subspan(first)) row.exceptions = _MM_EXCEPT_INVALID; \
    });
RELATION(lt, ltSIMD, std::less<>, 1)
RELATION(le, leSIMD, std::less_equal<>, 1)
RELATION(gt, gtSIMD, std::greater<>, 1)
RELATION(ge, geSIMD, std::greater_equal<>, 1)
RELATION(eq, eqSIMD, std::equal_to<>, 1)
RELATION(ne, neSIMD, std::not_equal_to<>, 1)
RELATION(fastlt, fastltSIMD, std::less<>, -1)
RELATION(fastle, fastleSIMD, std::less_equal<>, -1)
RELATION(fastgt, fastgtSIMD, std::greater<>, -1)
RELATION(fastge, fastgeSIMD, std::greater_equal<>, -1)
RELATION(fasteq, fasteqSIMD, std::equal_to<>, -1)
RELATION(fastne, fastneSIMD, std::not_equal_to<>, -1)
#undef RELATION

const Register bitLogic([] {
    const auto bitAnd = [](int, int a, int b) { return a & b; };
    const auto bitOr = [](int, int a, int b) { return a | b; };
    const auto bitXor = [](int, int a, int b) { return a ^ b; };
    both<int, Array<int>, Array<int>>(Z::band, Z::bandSIMD, bitAnd);
    both<int, Array<int>, int>(Z::band, Z::bandSIMD, bitAnd);
    both<int, Array<int>, Array<int>>(Z::bor, Z::borSIMD, bitOr);
    both<int, Array<int>, int>(Z::bor, Z::borSIMD, bitOr);
    both<int, Array<int>, Array<int>>(Z::bxor, Z::bxorSIMD, bitXor);
    both<int, Array<int>, int>(Z::bxor, Z::bxorSIMD, bitXor);
});

}  // namespace test
