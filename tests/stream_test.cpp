// Rows of the vector streams.
#include "support/engine.h"

namespace test {

/// Places of the operands; the constant is a matrix, or a vector.
enum { ofVectors, ofConstant, ofMask };
enum class Fourth { scaled, added, none };

/// Lanes read what each vector meets once, before all; elements read it as it stands at each vector.
bool onLanes(const Case& c, Count least) { return c.flag && c.phase(ofVectors) == 0 && c.count >= least; }
bool taken(const Case& c, Count i) { return !c.places[ofMask] || c.item<Mask>(ofMask, i) == 0; }

void matrixRow(void (*member)(float*, const float (*)[4], Count, const Mask*), bool column, int stride, Fourth fourth) {
    Row& row = add(modelRow(member, Kind::own, [=](const Case& c) -> std::uint64_t {
        const int results = fourth == Fourth::scaled ? 4 : 3, terms = fourth == Fourth::none ? 3 : 4;
        const bool lanes = fourth == Fourth::scaled && onLanes(c, 1);
        float m[4][4];  // what scales component k in result j
        for (Count i = 0; i < c.count; ++i) {
            for (int k = 0; k < terms && (i == 0 || !lanes); ++k)
                for (int j = 0; j < results; ++j) m[k][j] = c.item<float>(ofConstant, column ? 4 * j + k : 4 * k + j);
            if (!taken(c, i)) continue;
            float r[4];
            for (int j = 0; j < results; ++j) {
                const auto term = [&](int k) { return product(c.item<float>(ofVectors, stride * i + k), m[k][j]); };
                r[j] = sum(sum(term(0), term(1)), term(2));
                if (fourth == Fourth::added) r[j] = sum(r[j], m[3][j]);
                if (fourth == Fourth::scaled) r[j] = sum(r[j], term(3));
                if (lanes) r[j] = sum(sum(term(3), term(2)), sum(term(1), term(0)));
            }
            for (int j = 0; j < results; ++j) c.item<float>(ofVectors, stride * i + j) = r[j];
        }
        return 0;
    }));
    row.operands[ofVectors].perCount = stride;
    row.operands[ofVectors].spare = stride - (fourth == Fourth::scaled ? 4 : 3);  // the last w of a _3 member
    row.operands[ofConstant].size = 4;
    // Floats of m up to the last one that the member names.
    row.operands[ofConstant].fixed = fourth == Fourth::scaled ? 16 : fourth == Fourth::none ? 11 : column ? 12 : 15;
    row.operands[ofMask].nullable = true;
}

void fourLaneRow(void (*member)(float*, const float*, Count, const Mask*), void (*formula)(float& v, float b)) {
    Row& row = add(modelRow(member, Kind::own, [=](const Case& c) -> std::uint64_t {
        float first[4];
        const bool lanes = onLanes(c, 4);
        for (int k = 0; k < 4 && lanes; ++k) first[k] = c.item<float>(ofConstant, k);
        for (Count i = 0; i < c.count; ++i)
            if (taken(c, i))
                for (int k = 0; k < 4; ++k)
                    formula(c.item<float>(ofVectors, 4 * i + k), lanes ? first[k] : c.item<float>(ofConstant, k));
        return 0;
    }));
    row.operands[ofVectors].perCount = row.operands[ofConstant].fixed = 4;
    row.operands[ofMask].nullable = true;
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
    fourLaneRow(Z::vadd4u4, [](float& v, float b) { v = sum(v, b); });
    fourLaneRow(Z::vsub4u4, [](float& v, float b) { v = v - b; });
    fourLaneRow(Z::vmul4u4, [](float& v, float b) { v = product(v, b); });
});

}  // namespace test
