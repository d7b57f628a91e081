// Rows of the vector streams.
#include <gtest/gtest.h>

#include "signatures.h"

using namespace test;

namespace {

using Mask = std::uint32_t;
using Stream = void(float*, const float (*)[4], Count, const Mask*);

enum class Fourth { scaled, added, none };

bool onLanes(const Case& c, Count least) {
    return c.flag && phaseOf(c.at(Side::library, 0)) == 0 && c.count >= least;
}
bool taken(const Case& c, std::size_t mask, Count i) {
    return c.places[mask].null || c.load<Mask>(mask, i) == 0;
}

void matrixRow(Stream* member, bool column, int stride, Fourth fourth) {
    Row& row = modelRow<Stream>(member, Kind::loop, [=](const Row&, const Case& c) -> std::uint64_t {
        const int results = fourth == Fourth::scaled ? 4 : 3;
        const bool lanes = fourth == Fourth::scaled && onLanes(c, 1);
        // Entry that scales component k in result j, as it stands now.
        const auto entry = [&](int k, int j) { return c.load<float>(1, column ? 4 * j + k : 4 * k + j); };
        float first[4][4] = {};
        for (int k = 0; k < 4 && lanes; ++k)
            for (int j = 0; j < 4; ++j) first[k][j] = entry(k, j);
        for (Count i = 0; i < c.count; ++i) {
            if (!taken(c, 3, i)) continue;
            float v[4] = {}, r[4] = {};
            for (int k = 0; k < results; ++k) v[k] = c.load<float>(0, stride * i + k);
            for (int j = 0; j < results; ++j) {
                const auto term = [&](int k) { return product(v[k], lanes ? first[k][j] : entry(k, j)); };
                if (lanes) {
                    r[j] = sum(sum(term(3), term(2)), sum(term(1), term(0)));
                    continue;
                }
                r[j] = sum(sum(term(0), term(1)), term(2));
                if (fourth == Fourth::scaled) r[j] = sum(r[j], term(3));
                if (fourth == Fourth::added) r[j] = sum(r[j], entry(3, j));
            }
            for (int j = 0; j < results; ++j) c.save(0, stride * i + j, r[j]);
        }
        return 0;
    });
    row.operands[0].perCount = stride;
    row.operands[0].size = row.operands[1].size = 4;
    // Floats of m up to the last one that the member names.
    row.operands[1].fixed = fourth == Fourth::scaled ? 16 : fourth == Fourth::none ? 11 : column ? 12 : 15;
    row.operands[3].nullable = true;
}

template <class Formula>
void fourLaneRow(void (*member)(float*, const float*, Count, const Mask*), Formula formula) {
    Row& row = modelRow(member, Kind::loop, [=](const Row&, const Case& c) -> std::uint64_t {
        float first[4] = {};
        const bool lanes = onLanes(c, 4);
        for (int k = 0; k < 4 && lanes; ++k) first[k] = c.load<float>(1, k);
        for (Count i = 0; i < c.count; ++i)
            if (taken(c, 3, i))
                for (int k = 0; k < 4; ++k)
                    c.save(0, 4 * i + k,
                           formula(c.load<float>(0, 4 * i + k), lanes ? first[k] : c.load<float>(1, k)));
        return 0;
    });
    row.operands[0].perCount = row.operands[1].fixed = 4;
    row.operands[3].nullable = true;
}

const Register streams([] {
    matrixRow(Z::mulColVec44, true, 4, Fourth::scaled);
    matrixRow(Z::mulColVec44_3, true, 4, Fourth::none);
    matrixRow(Z::mulColVec34, true, 3, Fourth::added);
    matrixRow(Z::mulColVec34_3, true, 3, Fourth::none);
    matrixRow(Z::mulRowVec44, false, 4, Fourth::scaled);
    matrixRow(Z::mulRowVec44_3, false, 4, Fourth::none);
    matrixRow(Z::mulRowVec34, false, 3, Fourth::added);
    matrixRow(Z::mulRowVec34_3, false, 3, Fourth::none);
    fourLaneRow(Z::vadd4u4, [](float v, float b) { return sum(v, b); });
    fourLaneRow(Z::vsub4u4, [](float v, float b) { return v - b; });
    fourLaneRow(Z::vmul4u4, [](float v, float b) { return product(v, b); });
});

}  // namespace
