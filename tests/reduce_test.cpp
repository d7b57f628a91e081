// Rows and worked values of the reductions.
#include <gtest/gtest.h>

#include <vector>

#include "signatures.h"

using namespace test;

namespace {

std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }

/// Rounded to float; an open NaN stays open.
float rounded(double x) { return bits(x) == anyNaN64 ? std::bit_cast<float>(anyNaN) : static_cast<float>(x); }

/// The model of a blocked sum. term(i, lane) forms one float term on the model's memory, by element or lane formula.
template <class Term>
double blocked(const Row& row, const Case& c, Term term) {
    const auto stretch = [&](Count first, Count num) {
        double total = 0;
        for (Count i = first; i < first + num; ++i) total += static_cast<double>(term(i, false));
        return total;
    };
    if (!usesLanes(row, c) || !samePhase(row, c)) return stretch(0, c.count);
    double total = 0;
    const Count lead = std::min(phaseOf(c.at(Side::library, 0)), c.count), groups = (c.count - lead) / 4;
    if (lead) total += stretch(0, lead);
    total += stretch(lead + 4 * groups, c.count - lead - 4 * groups);
    for (Count block = 0; block < groups; block += 256) {
        float sums[4] = {};
        for (Count g = block; g < std::min(block + 256, groups); ++g) {
            float terms[4];
            for (int l = 0; l < 4; ++l) terms[l] = term(lead + 4 * g + l, true);
            for (int l = 0; l < 4; ++l) sums[l] += terms[l];
        }
        total += static_cast<double>(((sums[0] + sums[1]) + sums[2]) + sums[3]);
    }
    return total;
}

template <class Signature, class Term>
void reduction(Signature* member, Kind kind, Term term) {
    Row& row = modelRow<Signature>(member, kind, [=](const Row& r, const Case& c) {
        return bits(blocked(r, c, [&](Count i, bool lane) { return term(r, c, i, lane); }));
    });
    row.large = {67, 1020, 1024, 1025, 2049, 3000, 4100};
    // Mostly numbers of like size within a stretch: one NaN or infinity would hide every order of additions.
    row.adjust = [operands = row.operands](Case& c, const auto& random) {
        if (random() % 4 == 0) return;
        for (std::size_t k = 0; k < operands.size(); ++k) {
            const double value = 0.5 + random() * 0x1p-32;
            if (!operands[k].array)
                c.values[k] = operands[k].size == 8 ? bits(value)
                                                    : std::bit_cast<std::uint32_t>(static_cast<float>(value));
            std::uint32_t exponent = 0;
            for (Count i = 0; operands[k].array && i < c.count; ++i) {
                if (i % 512 == 0) exponent = (0x60 + random() % 32) << 23;
                const std::uint32_t word = exponent | (random() & 0x807FFFFF);
                std::memcpy(c.at(Side::library, k) + 4 * i, &word, 4);
            }
        }
    };
}

using Dot = double(const float*, const float*, Count);
using Update = double(float*, const float*, const float*, Count);

const Register reductions([] {
    const auto dot = [](const Row&, const Case& c, Count i, bool) {
        return c.load<float>(0, i) * c.load<float>(1, i);
    };
    reduction<Dot>(Z::dot, Kind::dispatching, dot);
    reduction<Dot>(Z::dotSIMD, Kind::simd, dot);
    reduction<Dot>(Z::dotSISD, Kind::loop, dot);

    const auto update = [](const Row&, const Case& c, Count i, bool) {
        c.save(0, i, product(c.load<float>(2, i), c.load<float>(1, i)));
        return c.load<float>(0, i) * c.load<float>(1, i);  // a as it now stands
    };
    reduction<Update>(Z::mulAndDotDA, Kind::dispatching, update);
    reduction<Update>(Z::mulAndDotDASIMD, Kind::simd, update);
    reduction<Update>(Z::mulAndDotDASISD, Kind::loop, update);

    const auto norm = [](const Row& row, const Case& c, Count i, bool lane) {
        const float d = c.load<float>(0, i), a = c.load<float>(1, i);
        // The SIMD member is given a float; the dispatching one narrows its double for it.
        const bool simd = usesLanes(row, c), given = row.kind == Kind::simd;
        const float narrow = given ? c.value<float>(2) : static_cast<float>(c.value<double>(2));
        const double b = simd ? static_cast<double>(narrow) : c.value<double>(2);
        const float u = lane ? sum(product(narrow, a), d)
                             : rounded(sum(product(static_cast<double>(a), b), static_cast<double>(d)));
        c.save(0, i, u);
        return u * u;
    };
    reduction<double(float*, const float*, double, Count)>(Z::maddAndNorm, Kind::dispatching, norm);
    reduction<double(float*, const float*, float, Count)>(Z::maddAndNormSIMD, Kind::simd, norm);
    reduction<double(float*, const float*, double, Count)>(Z::maddAndNormSISD, Kind::loop, norm);

    const auto zeros = [](const Row&, const Case& c) {
        std::uint32_t count = 0;
        for (Count i = 0; i < c.count; ++i) count += c.load<int>(0, i) == 0;
        return std::uint64_t{count};
    };
    using Zeros = int(const int*, Count);
    for (Zeros* member : {Z::zerocount, Z::zerocountSIMD, Z::zerocountSISD}) {
        Row& row = modelRow<Zeros>(member, Kind::loop, zeros);
        row.operands[0].content = Content::masks;  // zeros half of the time
    }
});

/// More than a pane holds: a long sum is its blocks' sums, each of them a short call, added upward.
TEST(Reductions, LongSumsAreTheSumsOfTheirBlocks) {
    for (const Count num : {Count{200000}, Count{3000000}}) {
        std::vector<float> a, b, d;
        for (Count i = 0; i < num; ++i) {
            a.push_back(static_cast<float>(i * 7919 % 10007) * 1e-4f);
            b.push_back(static_cast<float>(i * 104729 % 9973) * 1e-4f - 0.5f);
        }
        std::vector<float> c = d = b;
        double dot = 0, norm = 0, product = 0;
        for (Count i = 0; i < num; i += 1024) {
            const Count n = std::min<Count>(1024, num - i);
            dot += Z::dotSIMD(&a[i], &b[i], n);
            norm += Z::maddAndNormSIMD(&d[i], &a[i], 0.7f, n);
        }
        EXPECT_EQ(bits(Z::dotSIMD(a.data(), b.data(), num)), bits(dot));
        EXPECT_EQ(bits(Z::maddAndNormSIMD(c.data(), a.data(), 0.7f, num)), bits(norm));
        EXPECT_EQ(c, d);
        for (Count i = 0; i < num; i += 1024)
            product += Z::mulAndDotDASIMD(&d[i], &a[i], &b[i], std::min<Count>(1024, num - i));
        EXPECT_EQ(bits(Z::mulAndDotDASIMD(c.data(), a.data(), b.data(), num)), bits(product));
        EXPECT_EQ(c, d);
    }
}

}  // namespace
