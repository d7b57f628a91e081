// Rows of the reductions.
#include "support/engine.h"

namespace test {

/// Rounded to float; an open NaN stays open.
float rounded(double x) { return bits(x) == bits(anyNaN<double>) ? anyNaN<float> : static_cast<float>(x); }

/// A blocked sum: term(c, i, lane) works on element i, in a lane or not, and gives the float to add.
template <class Term> void reduction(auto* member, Kind kind, Term term) {
    Row& row = add(modelRow(member, kind, [=](const Case& c) {
        const auto [lead, end] = Groups(c.lanePhase(), c.count);
        const auto elements = [&](Count from, Count to) {
            double total = 0;
            for (Count i = from; i < to; ++i) total += static_cast<double>(term(c, i, false));
            return total;
        };
        double total = elements(0, lead);
        total += elements(end, c.count);
        for (Count block = lead; block < end; block += 1024) {
            float sums[4] = {};
            for (Count i = block; i < std::min(block + 1024, end); i += 4)
                for (int l = 0; l < 4; ++l) sums[l] += term(c, i + l, true);
            total += static_cast<double>(((sums[0] + sums[1]) + sums[2]) + sums[3]);
        }
        return bits(total);
    }));
    row.large = {67, 1020, 1024, 2049, 3000, 4100};
}

const Register reductions([] {
    enum { ofFirst, ofSecond };
    const auto dot = [](const Case& c, Count i, bool) {
        return c.item<float>(ofFirst, i) * c.item<float>(ofSecond, i);
    };
    reduction(Z::dot, Kind::dispatching, dot);
    reduction(Z::dotSIMD, Kind::simd, dot);
    reduction(Z::dotSISD, Kind::loop, dot);

    const auto update = [](const Case& c, Count i, bool) {
        c.item<float>(ofD, i) = product(c.item<float>(ofB, i), c.item<float>(ofA, i));
        return c.item<float>(ofD, i) * c.item<float>(ofA, i);  // a as it now stands
    };
    reduction(Z::mulAndDotDA, Kind::dispatching, update);
    reduction(Z::mulAndDotDASIMD, Kind::simd, update);
    reduction(Z::mulAndDotDASISD, Kind::loop, update);

    const auto norm = [](const Case& c, Count i, bool lane) {
        const float d = c.item<float>(ofD, i), a = c.item<float>(ofA, i);
        // The SIMD member is given a float; the dispatching one narrows its double for it.
        const float narrow = c.row.kind == Kind::simd ? c.item<float>(ofB) : float(c.item<double>(ofB));
        const double b = c.usesLanes() ? static_cast<double>(narrow) : c.item<double>(ofB);
        const float u = lane ? sum(product(narrow, a), d)
                             : rounded(sum(product(static_cast<double>(a), b), static_cast<double>(d)));
        c.item<float>(ofD, i) = u;
        return u * u;
    };
    reduction(Z::maddAndNorm, Kind::dispatching, norm);
    reduction(Z::maddAndNormSIMD, Kind::simd, norm);
    reduction(Z::maddAndNormSISD, Kind::loop, norm);

    const auto zeros = [](const Case& c) -> std::uint64_t {
        return c.count > 0 ? std::count(&c.item<int>(0), &c.item<int>(0, c.count), 0) : 0;
    };
    for (auto* member : {Z::zerocount, Z::zerocountSIMD, Z::zerocountSISD})
        add(modelRow(member, Kind::own, zeros)).operands[0].masks = true;
});

}  // namespace test
