// Every step runs three times per strip and flag and the fastest counts; both flags get the same
// input. Another copy of each strip goes all the way with the flag clear, to tell what the flag does
// to a whole picture.
#include "report.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "ZEL_Math.h"

namespace {

struct Row {
    std::string name;
    bool plain;
    double clear = 0, set = 0;  // seconds over the whole picture
    bool same = true;           // the same bits from the same input
    double difference = 0;      // the largest between two numbers
    double relative = 0;        // the largest between two factors to length 1
};

/// Between two whole runs, one with the flag set and one with it clear.
struct Runs {
    std::int64_t differentSamples = 0;
    int sampleDifference = 0;
    double directionDifference = 0;
};

/// The library's flag, set or clear for the length of a scope.
struct Flag {
    const bool before = ZEL_Math::isSIMD();
    explicit Flag(bool on) { ZEL_Math::forceSIMD(on); }
    ~Flag() { ZEL_Math::forceSIMD(before); }
};

/// The best of three runs with the flag as told, in seconds; `prepare` isn't timed.
double timed(bool flag, auto&& prepare, auto&& work) {
    const Flag scope(flag);
    double best = INFINITY;
    for (int i = 0; i < 3; ++i) {
        prepare();
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        best = std::min(best, seconds.count());
    }
    return best;
}

std::vector<std::span<const float>> floats(const Strip& s) {
    std::vector<std::span<const float>> all = {s.ray,    s.x,      s.y,    s.z,       s.length,
                                               s.shrink, s.across, s.down, s.scratch, s.other};
    for (int c = 0; c < 3; ++c) {
        all.insert(all.end(), s.corner[c].begin(), s.corner[c].end());
        all.push_back(s.channel[c]);
    }
    return all;
}

/// Everything that a strip holds, bit by bit.
std::vector<std::span<const std::byte>> memory(const Strip& s) {
    std::vector<std::span<const std::byte>> all;
    for (auto array : floats(s)) all.push_back(std::as_bytes(array));
    for (auto* array : {&s.column, &s.row, &s.kept}) all.push_back(std::as_bytes(std::span(*array)));
    for (int c = 0; c < 3; ++c) {
        all.push_back(std::as_bytes(std::span(s.byte[c])));
        all.push_back(std::as_bytes(std::span(s.word[c])));
    }
    return all;
}

void compare(const Strip& a, const Strip& b, Row& row) {
    if (std::ranges::equal(memory(a), memory(b), [](auto p, auto q) { return std::ranges::equal(p, q); })) return;
    row.same = false;
    const auto left = floats(a), right = floats(b);
    for (std::size_t k = 0; k < left.size(); ++k)
        for (std::size_t i = 0; i < left[k].size(); ++i)
            row.difference = std::max<double>(row.difference, std::abs(left[k][i] - right[k][i]));
    for (std::int64_t i = 0; i < a.count; ++i)
        if (b.shrink[i] > 0)
            row.relative = std::max<double>(row.relative, std::abs(a.shrink[i] - b.shrink[i]) / b.shrink[i]);
}

void compareRuns(const Strip& set, const Strip& clear, int bits, Runs& runs) {
    const auto sample = [=](const Strip& s, int c, std::int64_t i) -> int {
        return bits == 8 ? s.byte[c][i] : s.word[c][i];
    };
    for (std::int64_t i = 0; i < set.count; ++i) {
        for (int c = 0; c < 3; ++c) {
            const int difference = std::abs(sample(set, c, i) - sample(clear, c, i));
            runs.differentSamples += difference > 0;
            runs.sampleDifference = std::max(runs.sampleDifference, difference);
        }
        const double apart = std::hypot(set.x[i] - clear.x[i], set.y[i] - clear.y[i], set.z[i] - clear.z[i]);
        runs.directionDifference = std::max(runs.directionDifference, apart);
    }
}

void printRow(const std::string& name, double clear, double set, double pixels, const std::string& remark) {
    std::printf("  %-20s %9.2f %7.0f   %9.2f %7.0f   %s\n", name.c_str(), 1e3 * clear, 1e-6 * pixels / clear, 1e3 * set,
                1e-6 * pixels / set, remark.c_str());
}

std::string differ(double difference) {
    if (difference == 0) return "differ in the sign of zeros";
    char text[64];
    std::snprintf(text, sizeof text, "differ by up to %.2g", difference);
    return text;
}

/// Both measurements, and their line.
std::pair<Brightness, Brightness> measureBoth(const Image& panorama) {
    Brightness clear, set;
    const auto nothing = [] {};
    const double clearTime = timed(false, nothing, [&] { clear = measure(panorama); });
    const double setTime = timed(true, nothing, [&] { set = measure(panorama); });
    const bool same = clear.mean == set.mean && clear.typical == set.typical;
    printRow("measure (dot)", clearTime, setTime, double(panorama.size()),
             same ? "the same bits" : differ(std::abs(clear.mean - set.mean) / clear.mean) + " of the mean");
    return {clear, set};
}

void print(const std::vector<Row>& rows, const Runs& runs, const Options& options, double pixels) {
    Row all{"picture", false}, library{"  in the library", false};
    for (const Row& row : rows) {
        printRow(row.name, row.clear, row.set, pixels,
                 row.plain  ? "(a loop without the library)"
                 : row.same ? "the same bits"
                            : differ(row.difference));
        all.clear += row.clear;
        all.set += row.set;
        all.relative = std::max(all.relative, row.relative);
        if (row.plain) continue;
        library.clear += row.clear;
        library.set += row.set;
    }
    printRow(all.name, all.clear, all.set, pixels, "all steps but the first");
    printRow(library.name, library.clear, library.set, pixels, "all of them but the loops without the library");

    std::printf("\nTwo whole runs, flag set and clear: ");
    if (runs.differentSamples == 0)
        std::printf("the same picture, bit by bit.\n");
    else
        std::printf("%.3g %% of the samples differ, by up to %d of %d.\n",
                    100 * double(runs.differentSamples) / (3 * pixels), runs.sampleDifference,
                    options.bits == 8 ? 255 : 65535);
    if (options.flat) return;
    std::printf(
        "Directions: isqrt, an estimate with the flag set, is up to %.2g of its value off; after the Newton\n"
        "step the normalised directions are up to %.2g of their length apart.\n",
        all.relative, runs.directionDifference);
}

}  // namespace

void report(const Image& panorama, const Options& options, std::optional<double> exposure) {
    std::printf("\n  %-20s %17s   %17s   %s\n  %-20s %9s %7s   %9s %7s   %s\n", "", "flag clear", "flag set",
                "numbers with the flag set and clear,", "step", "ms", "MP/s", "ms", "MP/s", "from the same input");
    const auto [clearLight, setLight] = measureBoth(panorama);
    const Scene clear(panorama, options, exposure.value_or(automaticExposure(clearLight)));
    const Scene set(panorama, options, exposure.value_or(automaticExposure(setLight)));

    std::vector<Row> rows;
    for (const Step& step : steps(options)) rows.push_back({step.name, step.plain});
    Runs runs;
    const auto [width, height] = set.size();
    for (std::int64_t first = 0; first < width * height; first += Strip::longest) {
        Strip now(first, std::min(Strip::longest, width * height - first)), withSet = now, withClear = now,
                                                                            allClear = now;
        for (std::size_t k = 0; const Step& step : steps(options)) {
            Row& row = rows[k++];
            row.clear += timed(
                false, [&] { withClear = now; }, [&] { step.run(set, withClear); });
            row.set += timed(
                true, [&] { withSet = now; }, [&] { step.run(set, withSet); });
            compare(withSet, withClear, row);
            std::swap(now, withSet);
        }
        const Flag flag(false);
        for (const Step& step : steps(options)) step.run(clear, allClear);
        compareRuns(now, allClear, options.bits, runs);
    }
    print(rows, runs, options, double(width * height));
}
