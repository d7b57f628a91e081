// Points, with x, y and z in arrays of their own: the recipes of docs/cookbook.md, and their cost.
#include "recipe.h"

/// The squares of the lengths.
void squares(float* t, const float* x, const float* y, const float* z, std::int64_t n) {
    ZEL_Math::mul(t, x, x, n);
    ZEL_Math::madd(t, y, y, n);  // t = t + y * y
    ZEL_Math::madd(t, z, z, n);
}

/// r = 1 / root of t: a root and a quotient, each rounded once.
void exactFactor(float* r, const float* t, std::int64_t n) {
    ZEL_Math::sqrt(r, t, n);
    ZEL_Math::div(r, 1.0f, r, n);
}

/// The same within 2^-21 of it: an estimate of 12 bits, then Newton's r (1.5 - 0.5 t r r). Not for a t of 0.
void quickFactor(float* r, float* work, const float* t, std::int64_t n) {
    ZEL_Math::isqrt(r, t, n);
    ZEL_Math::mul(work, r, r, n);
    ZEL_Math::mul(work, work, t, n);
    ZEL_Math::scaleoffset(work, -0.5f, 1.5f, n);  // work = work * -0.5 + 1.5
    ZEL_Math::mul(r, r, work, n);
}

/// To length 1, for lengths of 2^-63 to 1.8e19. A mask names what is left alone: shorter vectors, whose squares are
/// denormal and have lost bits. Longer ones become 0.
void normalise(float* x, float* y, float* z, float* t, float* r, int* shorter, std::int64_t n) {
    squares(t, x, y, z, n);
    ZEL_Math::lt(shorter, t, 0x1p-126f, n);
    exactFactor(r, t, n);
    for (float* axis : {x, y, z}) {
        ZEL_Math::mul(t, axis, r, n);
        ZEL_Math::set(axis, t, n, reinterpret_cast<const std::uint32_t*>(shorter));
    }
}

/// Points as x y z x y z ...: those whose entry in `fixed` isn't 0 are neither read nor written.
void turn(float* points, float cosine, float sine, std::int64_t n, const std::uint32_t* fixed) {
    const float m[3][4] = {{cosine, -sine, 0, 0}, {sine, cosine, 0, 0}, {0, 0, 1, 0}};
    ZEL_Math::mulColVec34_3(points, m, n, fixed);
}

/// Sixteen floats as the rows of a matrix.
using Rows = const float (*)[4];

/// M v for each vector v of four, where `flat` holds M row after row.
void transform(float* points, const float* flat, std::int64_t n) {
    ZEL_Math::mulColVec44(points, reinterpret_cast<Rows>(flat), n, nullptr);
}

/// The same where `flat` holds M column after column: to a Row member, a row of four in memory is a column of M.
void transformByColumns(float* points, const float* flat, std::int64_t n) {
    ZEL_Math::mulRowVec44(points, reinterpret_cast<Rows>(flat), n, nullptr);
}

/// Four floats on 16 bytes: from any of its vectors on, a stream of these has the lane form.
struct alignas(16) Point {
    float x, y, z, w;
};

/// `num` points from `first` on. The mask is cut where the stream is, and a null mask stays null.
void transformSome(Point* points, const float* flat, std::int64_t first, std::int64_t num, const std::uint32_t* mask) {
    ZEL_Math::mulColVec44(&points[first].x, reinterpret_cast<Rows>(flat), num, mask ? mask + first : nullptr);
}

/// The greatest of x, -infinity where there is none. NaN is out of the way first: the mask is 0 where x isn't a number,
/// and set writes there. Then the upper half against the lower, until one is left. x is work space.
float greatest(float* x, int* number, std::int64_t n) {
    ZEL_Math::eq(number, x, x, n);
    ZEL_Math::set(x, -INFINITY, n, reinterpret_cast<const std::uint32_t*>(number));
    while (n > 1) {
        const std::int64_t half = (n + 1) / 2, kept = n > 8 ? (half + 3) / 4 * 4 : half;
        ZEL_Math::zelmax(x, x, x + kept, n - kept);
        n = kept;
    }
    return n < 1 ? -INFINITY : x[0];
}

/// The largest relative error of r as the reciprocal root of t.
double error(const Floats& r, const Floats& t) {
    double largest = 0;
    for (std::size_t i = 0; i < t.size(); ++i)
        largest = std::max(largest, std::fabs(r[i] * std::sqrt(static_cast<double>(t[i])) - 1));
    return largest;
}

void factors(bool print) {
    for (const float scale : {0x1p-124f, 0x1p124f, 1.0f}) {
        Floats t = numbers(1 << 20, 0.25f, 4);  // two octaves twice: the roots repeat beyond
        const std::int64_t n = static_cast<std::int64_t>(t.size());
        Floats r(n), work(n);
        for (float& value : t) value *= scale;
        ZEL_Math::isqrt(r.data(), t.data(), n);
        const double estimate = error(r, t);
        quickFactor(r.data(), work.data(), t.data(), n);
        const double quick = error(r, t);
        exactFactor(r.data(), t.data(), n);
        const double exact = error(r, t);
        expect("estimate", estimate <= 1.5 / 4096);
        expect("estimate and Newton", quick <= 1.0 / (1 << 21));
        expect("root and quotient", exact <= 1.5 / (1 << 24) * 1.000001);
        if (print && scale == 1)
            std::printf("largest error: %.1e, with Newton %.1e, exact %.1e\n", estimate, quick, exact);
    }
}

void lengths() {
    const std::int64_t n = 1003;
    Floats x = numbers(n, -1, 1), y = numbers(n, -3, 2), z = numbers(n, 5, 6), t(n), r(n);
    x[7] = y[7] = z[7] = x[n - 1] = y[n - 1] = z[n - 1] = 0;
    Floats wanted[] = {x, y, z};
    Ints zeros(n);
    normalise(x.data(), y.data(), z.data(), t.data(), r.data(), zeros.data(), n);
    for (std::int64_t i = 0; i < n; ++i) {
        const float square = (wanted[0][i] * wanted[0][i] + wanted[1][i] * wanted[1][i]) + wanted[2][i] * wanted[2][i];
        if (square >= 0x1p-126f)
            for (Floats& axis : wanted) axis[i] *= 1 / std::sqrt(square);
    }
    expectSame("normalise x", x, wanted[0]);
    expectSame("normalise y", y, wanted[1]);
    expectSame("normalise z", z, wanted[2]);

    for (std::int64_t i = 5; i < n; i += 31) wanted[1][i] = NAN;
    Floats work = wanted[1];
    float most = -INFINITY;
    for (const float value : wanted[1]) most = std::max(most, value);
    expect("the greatest but for NaN", greatest(work.data(), zeros.data(), n) == most);
    expect("the greatest of NaN alone", greatest(Floats(9, NAN).data(), zeros.data(), 9) == -INFINITY);
}

int edges() {
    return printEdges(
        "Points", {0.0f, -0.0f, -1.0f, 1e-40f, 3e-23f, 1e-19f, 1.1e-19f, 1.8e19f, 1.9e19f, INFINITY, NAN},
        {{"exactFactor", [](float* a, std::int64_t n) { exactFactor(a, a, n); }},
         {"quickFactor",
          [](float* a, std::int64_t n) {  // the exact factor where the bound holds: estimates are the processor's
              Floats exact(n), quick(n);
              exactFactor(exact.data(), a, n);
              quickFactor(quick.data(), Floats(n).data(), a, n);
              for (std::int64_t i = 0; i < n; ++i)
                  a[i] = std::fabs(quick[i] - exact[i]) <= exact[i] / (1 << 21) ? exact[i] : quick[i];
          }},
         {"normalise", [](float* a, std::int64_t n) {
              Floats y(n), z(n), square(n), factor(n);
              normalise(a, y.data(), z.data(), square.data(), factor.data(), Ints(n).data(), n);
          }}});
}

void transforms() {
    const std::int64_t n = 501, cut = 7;
    const Floats m = numbers(16, -1, 1), coordinates = numbers(4 * n, -1, 1);
    Floats columns(16), byRows = coordinates, byColumns = coordinates, wanted = coordinates;
    std::vector<std::uint32_t> mask(n);
    for (std::int64_t i = 0; i < n; i += 3) mask[i] = 1;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) columns[4 * c + r] = m[4 * r + c];
    for (std::int64_t i = 0; i < n; ++i)
        for (int r = 0; r < 4; ++r) {
            const float *row = &m[4 * r], *v = &coordinates[4 * i];
            wanted[4 * i + r] = ZEL_Math::isSIMD() ? (v[3] * row[3] + v[2] * row[2]) + (v[1] * row[1] + v[0] * row[0])
                                                   : ((v[0] * row[0] + v[1] * row[1]) + v[2] * row[2]) + v[3] * row[3];
        }
    transform(byRows.data(), m.data(), n);
    transformByColumns(byColumns.data(), columns.data(), n);
    expectSame("matrix, row after row", byRows, wanted);
    expectSame("matrix, column after column", byColumns, wanted);

    std::vector<Point> points(n);
    std::memcpy(points.data(), coordinates.data(), sizeof(Point) * n);
    transformSome(points.data(), m.data(), 0, cut, mask.data());
    transformSome(points.data(), m.data(), cut, n - cut, mask.data());
    for (std::int64_t i = 0; i < n; i += 3) std::copy_n(&coordinates[4 * i], 4, &wanted[4 * i]);
    expect("in two parts", std::memcmp(points.data(), wanted.data(), sizeof(Point) * n) == 0);
}

void turns() {
    const std::int64_t n = 501;
    Floats points = numbers(3 * n, -1, 1), wanted = points;
    std::vector<std::uint32_t> fixed(n);
    for (std::int64_t i = 0; i < n; i += 3) fixed[i] = 1;
    turn(points.data(), 0.6f, 0.8f, n, fixed.data());
    for (std::int64_t i = 0; i < n; ++i) {
        const float x = wanted[3 * i], y = wanted[3 * i + 1];
        if (fixed[i]) continue;
        wanted[3 * i] = x * 0.6f + y * -0.8f;
        wanted[3 * i + 1] = x * 0.8f + y * 0.6f;
    }
    expectSame("turn", points, wanted);
}

int main(int argc, char**) {
    if (argc > 1) return edges();
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        factors(flag);
        lengths();
        turns();
        transforms();
    }
    const std::int64_t n = 4096;
    Floats x = numbers(n, -1, 1), y = x, z = x, t = numbers(n, 1, 2), r(n), work(n), points = numbers(3 * n, -1, 1);
    Ints zeros(n);
    const std::vector<std::uint32_t> none(n);
    cost("squares of lengths", n, [&] { squares(t.data(), x.data(), y.data(), z.data(), n); });
    cost("1 / root, exact", n, [&] { exactFactor(r.data(), t.data(), n); });
    cost("1 / root, estimate and Newton", n, [&] { quickFactor(r.data(), work.data(), t.data(), n); });
    cost("normalise, with a mask", n,
         [&] { normalise(x.data(), y.data(), z.data(), t.data(), r.data(), zeros.data(), n); });
    cost("turn x y z, with a mask", n, [&] { turn(points.data(), 0.6f, 0.8f, n, none.data()); });
    const Floats m = {0.6f, -0.8f, 0, 0, 0.8f, 0.6f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    Floats four = numbers(4 * n + 1, -1, 1);
    cost("x y z w, on 16 bytes", n, [&] { transform(four.data(), m.data(), n); });
    cost("x y z w, elsewhere", n, [&] { transform(four.data() + 1, m.data(), n); });
    return theFailures;
}
