// Conjugate gradients, preconditioned by the diagonal, for a rectangle of unknowns with weighted neighbours.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>

#include "ZEL_Math.h"
#include "common/image.h"

/// One equation for each pixel: diagonal * v + east * (v to the right) + south * (v below), and the same from
/// the left and from above, where the weights, negative ones, stand at the neighbour. The rectangle is cut
/// into four bands of rows, and a lane group holds one pixel of each: all neighbours lie whole lane groups
/// away, and all calls use the lane form. Where two bands meet, a row more at either end of an array holds
/// copies of the neighbours.
struct System {
    std::int64_t row, band, count;
    Floats diagonal, east, south;
    std::array<Floats, 3> right, solution;
    std::array<int, 3> iterations{};
    std::array<double, 3> residual{};

    System(std::int64_t width, std::int64_t height)
        : row(4 * width), band((height + 3) / 4), count(band * row), diagonal(count + 2 * row) {
        east = south = diagonal;
        right.fill(diagonal);
    }
    std::int64_t at(std::int64_t x, std::int64_t y) const { return (y % band + 1) * row + 4 * x + y / band; }
    float* inner(Floats& a) const { return a.data() + row; }

    /// Solves for one of the right sides, to which the residual is relative. One within the tolerance is
    /// computed again from the equations before it is believed. `watch` is called once an iteration.
    void solve(int c, double tolerance, int limit, const std::function<void()>& watch) {
        Floats x(right[c].size()), z = x, p = x, q = x, inverse = x, r = right[c];
        joinBands(south);
        ZEL_Math::safediv(inner(inverse), 1.0f, inner(diagonal), count);  // 0 where a band isn't full
        const double first = dot(r, r);
        double norm = first, before = INFINITY, now = 0;
        for (;; ++iterations[c]) {
            if (norm <= tolerance * tolerance * first) {
                multiply(r, x);
                ZEL_Math::scaleoffset(inner(r), -1.0f, inner(right[c]), count);
                norm = dot(r, r);
                before = INFINITY;  // if it goes on, then afresh: the old direction gets weight 0
            }
            residual[c] = first > 0 ? std::sqrt(norm / first) : 0;
            if (norm <= tolerance * tolerance * first) break;
            watch();
            if (iterations[c] == limit)
                throw std::runtime_error("no convergence within " + std::to_string(limit) + " iterations");
            now = ZEL_Math::mulAndDotDA(inner(z), inner(r), inner(inverse), count);
            ZEL_Math::scaleoffset(inner(p), float(now / before), inner(z), count);
            multiply(q, p);
            const double step = now / dot(p, q);
            ZEL_Math::madd(inner(x), inner(p), float(step), count);
            norm = ZEL_Math::maddAndNorm(inner(r), inner(q), -step, count);
            before = now;
        }
        solution[c] = std::move(x);
    }

private:
    double dot(Floats& a, Floats& b) const { return ZEL_Math::dot(inner(a), inner(b), count); }
    /// d = the left sides of the equations for v.
    void multiply(Floats& d, Floats& v) {
        joinBands(v);
        ZEL_Math::mul(inner(d), inner(v), inner(diagonal), count);
        ZEL_Math::madd(inner(d), inner(v) + 4, inner(east), count);
        ZEL_Math::madd(inner(d), inner(v) - 4, inner(east) - 4, count);
        ZEL_Math::madd(inner(d), inner(v) + row, inner(south), count);
        ZEL_Math::madd(inner(d), inner(v) - row, inner(south) - row, count);
    }
    void joinBands(Floats& a) const {
        float *above = a.data(), *below = above + row + count;
        for (std::int64_t i = 0; i < row; i += 4)
            for (int lane = 0; lane < 3; ++lane) {
                above[i + lane + 1] = below[i + lane - row];
                below[i + lane] = above[i + lane + 1 + row];
            }
    }
};
