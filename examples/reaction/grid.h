// The rows of a grid that one rank holds, and Gray and Scott's reaction on them: P. Gray and S. K. Scott,
// Chemical Engineering Science 39 (1984). V eats U and becomes more V; U is fed in, V is killed, both
// diffuse. All members called give the same bits at any address, with any flag, in every copy of the library.
#pragma once

#include <zlib.h>

#include <algorithm>
#include <random>

#include "ZEL_Math.h"
#include "common/srgb.h"

/// U's plane and then V's, each with a row more above and below, 0 and rows + 1, for the neighbours'. A row
/// has room on either side for the cell at its other end, so that x - 1 and x + 1 are addresses.
struct Cells {
    static constexpr std::int64_t lead = 16;  // a row begins on a cache line
    std::int64_t width, rows, stride = lead + (width + lead - 1) / lead * lead;
    std::int64_t plane = (rows + 2) * stride + lead;
    Floats data = Floats(2 * plane);

    Cells(std::int64_t width, std::int64_t rows) : width(width), rows(rows) {}
    float* row(int field, std::int64_t y) { return data.data() + field * plane + y * stride + lead; }
    void joinEnds(std::int64_t y) {
        for (float* x : {row(0, y), row(1, y)}) {
            x[-1] = x[width - 1];
            x[width] = x[0];
        }
    }
};

/// Of a row or the grid: V's mass, the squares of its last change, CRC-32 of U and V, and with `keep`.
struct Account {
    static constexpr std::int64_t digestBytes = 8, checksumBytes = 12;  // of a cell
    double mass = 0, change = 0;
    std::uint32_t digest = 0, checksum = 0;
};

/// What a grid begins with, beside the photograph.
struct Start {
    static constexpr std::int64_t maxSide = 65535;
    std::int64_t width = 0, height = 0;
    float feed = 0.04f, kill = 0.0605f;
    std::int64_t seed = 1;
};

struct Reaction {
    static constexpr float spreadU = 0.1f, spreadV = 0.05f;  // for steps and cells of size 1
    Start start;
    std::int64_t first;  // which of the grid's rows is row 1 here
    Cells now, next = now;
    Floats keep = Floats(now.plane);  // which share of V stays for the next step, in the shape of a plane

    float* keepRow(std::int64_t y) { return &keep[y * now.stride + Cells::lead]; }
    /// The calling thread's own, kept from step to step.
    static float* scratch(std::int64_t size) {
        static thread_local Floats mine;
        mine.resize(size);
        return mine.data();
    }
    /// Which of the grid's rows is the first of a rank.
    static std::int64_t firstRow(std::int64_t height, int rank, int ranks) { return height * rank / ranks; }
    static std::int64_t rowsOf(std::int64_t height, int rank, int ranks) {
        return firstRow(height, rank + 1, ranks) - firstRow(height, rank, ranks);
    }

    /// U everywhere, V in squares that `seed` places. V dies faster where the photograph, if any, is light.
    Reaction(const Start& start, int rank, int ranks, const Image& photograph)
        : start(start),
          first(firstRow(start.height, rank, ranks)),
          now(start.width, rowsOf(start.height, rank, ranks)) {
        const auto [width, height, feed, kill, seed] = start;
        // How light a pixel is: the share of the photograph that is darker.
        Floats light(photograph.channel[0].size()), sorted;
        luminance(light.data(), photograph.channel, std::int64_t(light.size()));
        std::ranges::sort(sorted = light);
        for (float& x : light) x = float(std::ranges::lower_bound(sorted, x) - sorted.begin()) / float(light.size());
        for (std::int64_t y = 1; y <= now.rows; ++y) {
            ZEL_Math::set(now.row(0, y), 1, width);
            ZEL_Math::set(keepRow(y), 1 - 4 * spreadV - feed - kill, width);
            const std::int64_t from = (first + y - 1) * photograph.height / height * photograph.width;
            for (std::int64_t x = 0; x < width && !light.empty(); ++x)
                keepRow(y)[x] += 0.0095f * (0.5f - light[from + x * photograph.width / width]);
        }
        // Every rank draws the squares of the whole grid, and sets what lies in its rows.
        std::mt19937 random{std::uint32_t(seed)};
        const std::int64_t side = std::min<std::int64_t>({width, height, 6});
        for (std::int64_t k = 0; k <= width * height / 120; ++k) {
            const std::int64_t x = random() % (width - side + 1), top = random() % (height - side + 1) - first;
            for (std::int64_t y = std::max<std::int64_t>(top, 0); y < std::min(top + side, now.rows); ++y) {
                ZEL_Math::set(now.row(0, y + 1) + x, 0.5f, side);
                ZEL_Math::set(now.row(1, y + 1) + x, 0.25f, side);
            }
        }
    }

    /// `next` from `now` in rows `from` to `to`, by all threads; each call is for `block` rows.
    void advance(std::int64_t from, std::int64_t to, std::int64_t block = 1) {
#pragma omp parallel for schedule(static) if (to > from)
        for (std::int64_t y = from; y <= to; y += block) {
            const std::int64_t count = std::min(block, to + 1 - y), num = (count - 1) * now.stride + now.width;
            // Only the cells to the left and right lie at other phases.
            const auto neighbours = [&](float* d, const float* a) {
                ZEL_Math::add(d, a - 1, a + 1, num);
                ZEL_Math::add(d, d, a - now.stride, num);
                ZEL_Math::add(d, d, a + now.stride, num);
            };
            const float *u = now.row(0, y), *v = now.row(1, y);
            float *nextU = next.row(0, y), *nextV = next.row(1, y), *eaten = scratch(num);
            ZEL_Math::mul(eaten, v, v, num);
            ZEL_Math::mul(eaten, eaten, u, num);

            neighbours(nextU, u);
            ZEL_Math::scaleoffset(nextU, spreadU, start.feed, num);
            ZEL_Math::madd(nextU, u, 1 - 4 * spreadU - start.feed, num);
            ZEL_Math::sub(nextU, nextU, eaten, num);

            neighbours(nextV, v);
            // A trace of V comes in everywhere: without it cells sink into the denormals, which are slow.
            ZEL_Math::scaleoffset(nextV, spreadV, 1e-18f, num);
            ZEL_Math::madd(nextV, v, keepRow(y), num);
            ZEL_Math::add(nextV, nextV, eaten, num);
            for (std::int64_t k = y; k < y + count; ++k) next.joinEnds(k);
        }
    }

    /// Rows and scratch begin on 16 bytes: a sum has one order with lanes, too, whatever the flag.
    std::vector<Account> accounts() {
        std::vector<Account> rows(now.rows);
#pragma omp parallel for schedule(static)
        for (std::int64_t y = 1; y <= now.rows; ++y) {
            const auto crc = [&](uLong before, const float* x) {
                return std::uint32_t(crc32(before, reinterpret_cast<const Bytef*>(x), uInt(4 * now.width)));
            };
            float* x = scratch(now.width);
            ZEL_Math::set(x, 1, now.width);
            const double mass = ZEL_Math::dotSIMD(now.row(1, y), x, now.width);
            ZEL_Math::sub(x, now.row(1, y), next.row(1, y), now.width);
            const std::uint32_t digest = crc(crc(0, now.row(0, y)), now.row(1, y));
            rows[y - 1] = {mass, ZEL_Math::dotSIMD(x, x, now.width), digest, crc(digest, keepRow(y))};
        }
        return rows;
    }

    /// Red, green and blue for each cell of a row.
    void paint(std::uint8_t* rgb, std::int64_t y) {
        // From little V to much: paper, peach, coral, wine, plum, ink.
        constexpr int colours[][3] = {{252, 244, 226}, {250, 228, 192}, {242, 166, 122},
                                      {196, 80, 92},   {98, 36, 94},    {20, 14, 50}};
        std::vector<std::uint8_t> level(now.width);
        float *shade = scratch(now.width), *v = now.row(1, y);
        // Slopes that rise to the right are darker, as if light came from there.
        ZEL_Math::sub(shade, v, v - 1, now.width);
        ZEL_Math::scaleoffset(shade, 0.75f, v, now.width);
        ZEL_Math::wpoint(level.data(), shade, 660, 254, 0, now.width);
        for (const int x : level)
            for (int c = 0; c < 3; ++c)
                *rgb++ = std::uint8_t((colours[x / 51][c] * (51 - x % 51) + colours[x / 51 + 1][c] * (x % 51)) / 51);
    }
};
