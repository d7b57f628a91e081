// Rows of the reductions, and sums that are longer than a pane.
#include <gtest/gtest.h>

#include "engine.h"

using namespace test;

namespace {

/// Rounded to float; an open NaN stays open.
float rounded(double x) { return bits(x) == bits(anyNaN<double>) ? anyNaN<float> : static_cast<float>(x); }

/// The model of a blocked sum: term(row, c, i, lane) works on element i and gives the float to add, in a lane or not.
template <class Term>
void reduction(auto* member, Kind kind, Term term) {
    Row row = modelRow(member, kind, [=](const Row& r, const Case& c) {
        const auto [lead, end] = Groups(lanePhase(r, c), c.count);
        const auto stretch = [&](Count from, Count to) {
            double total = 0;
            for (Count i = from; i < to; ++i) total += static_cast<double>(term(r, c, i, false));
            return total;
        };
        double total = stretch(0, lead);
        total += stretch(end, c.count);
        for (Count block = lead; block < end; block += 1024) {
            float sums[4] = {};
            for (Count i = block; i < std::min(block + 1024, end); i += 4) {
                float terms[4];
                for (int l = 0; l < 4; ++l) terms[l] = term(r, c, i + l, true);
                for (int l = 0; l < 4; ++l) sums[l] += terms[l];
            }
            total += static_cast<double>(((sums[0] + sums[1]) + sums[2]) + sums[3]);
        }
        return bits(total);
    });
    row.large = {67, 1020, 1024, 2049, 3000, 4100};
    add(row);
}

const Register reductions([] {
    const auto dot = [](const Row&, const Case& c, Count i, bool) {
        return c.item<float>(0, i) * c.item<float>(1, i);
    };
    reduction(Z::dot, Kind::dispatching, dot);
    reduction(Z::dotSIMD, Kind::simd, dot);
    reduction(Z::dotSISD, Kind::loop, dot);

    const auto update = [](const Row&, const Case& c, Count i, bool) {
        c.item<float>(0, i) = product(c.item<float>(2, i), c.item<float>(1, i));
        return c.item<float>(0, i) * c.item<float>(1, i);  // a as it now stands
    };
    reduction(Z::mulAndDotDA, Kind::dispatching, update);
    reduction(Z::mulAndDotDASIMD, Kind::simd, update);
    reduction(Z::mulAndDotDASISD, Kind::loop, update);

    const auto norm = [](const Row& row, const Case& c, Count i, bool lane) {
        const float d = c.item<float>(0, i), a = c.item<float>(1, i);
        // The SIMD member is given a float; the dispatching one narrows its double for it.
        const bool given = row.kind == Kind::simd;
        const float narrow = given ? c.item<float>(2) : static_cast<float>(c.item<double>(2));
        const double b = usesLanes(row, c) ? static_cast<double>(narrow) : c.item<double>(2);
        const float u = lane ? sum(product(narrow, a), d)
                             : rounded(sum(product(static_cast<double>(a), b), static_cast<double>(d)));
        c.item<float>(0, i) = u;
        return u * u;
    };
    reduction(Z::maddAndNorm, Kind::dispatching, norm);
    reduction(Z::maddAndNormSIMD, Kind::simd, norm);
    reduction(Z::maddAndNormSISD, Kind::loop, norm);

    const auto zeros = [](const Row&, const Case& c) {
        std::uint64_t count = 0;
        for (Count i = 0; i < c.count; ++i) count += c.item<int>(0, i) == 0;
        return count;
    };
    for (auto* member : {Z::zerocount, Z::zerocountSIMD, Z::zerocountSISD})
        add(modelRow(member, Kind::loop, zeros)).operands[0].content = Content::masks;
});

/// A long sum is its blocks' sums, each of them a short call, added upward.
TEST(Reductions, LongSumsAreTheSumsOfTheirBlocks) {
    for (const Count num : {200000, 3000000}) {
        std::vector<float> a(num), b(num);
        for (Count i = 0; i < num; ++i) {
            a[i] = static_cast<float>(i * 7919 % 10007) * 1e-4f;
            b[i] = static_cast<float>(i * 104729 % 9973) * 1e-4f - 0.5f;
        }
        const auto check = [&](auto member) {
            std::vector<float> whole = b, parts = b;
            double total = 0;
            for (Count i = 0; i < num; i += 1024)
                total += member(&parts[i], &a[i], &b[i], std::min<Count>(1024, num - i));
            EXPECT_EQ(bits(member(whole.data(), a.data(), b.data(), num)), bits(total));
            EXPECT_EQ(whole, parts);
        };
        check([](auto, auto* x, auto* y, Count n) { return Z::dotSIMD(x, y, n); });
        check([](auto* d, auto* x, auto, Count n) { return Z::maddAndNormSIMD(d, x, 0.7f, n); });
        check(Z::mulAndDotDASIMD);
    }
}

}  // namespace
