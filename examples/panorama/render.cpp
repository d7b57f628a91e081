// Every step runs three times per strip and flag and the fastest counts; both flags get the same
// input. Another copy of each strip goes all the way with the flag clear, to tell what the flag does
// to a whole picture.
#include "render.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <numbers>

#include "ZEL_Math.h"

namespace {

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

void compare(const Strip& a, const Strip& b, Row& row) {
    if (std::ranges::equal(a.memory(), b.memory(), [](auto p, auto q) { return std::ranges::equal(p, q); }))
        return;
    row.same = false;
    const auto left = a.floats(), right = b.floats();
    for (std::size_t k = 0; k < left.size(); ++k)
        for (std::size_t i = 0; i < left[k].size(); ++i)
            row.difference = std::max<double>(row.difference, std::abs(left[k][i] - right[k][i]));
    for (std::int64_t i = 0; i < a.count; ++i)
        if (b.shrink[i] > 0)
            row.relative = std::max<double>(row.relative, std::abs(a.shrink[i] - b.shrink[i]) / b.shrink[i]);
}

int sample(const Strip& s, int bits, int c, std::int64_t i) {
    return bits == 8 ? s.byte[c][i] : s.word[c][i];
}

/// Adds a finished strip to the picture, and what sets it apart from the one made with the flag clear.
void finish(const Strip& set, const Strip& clear, int bits, Result& result) {
    result.blown += set.blown;
    for (std::int64_t i = 0; i < set.count; ++i) {
        for (int c = 0; c < 3; ++c) {
            const int value = sample(set, bits, c, i);
            if (bits == 16) result.picture.push_back(std::uint8_t(value >> 8));
            result.picture.push_back(std::uint8_t(value));
            const int difference = std::abs(value - sample(clear, bits, c, i));
            result.differentSamples += difference > 0;
            result.sampleDifference = std::max(result.sampleDifference, difference);
        }
        const double difference =
            std::hypot(set.x[i] - clear.x[i], set.y[i] - clear.y[i], set.z[i] - clear.z[i]);
        result.directionDifference = std::max(result.directionDifference, difference);
    }
}

}  // namespace

Strip::Strip(std::int64_t first, std::int64_t count) : first(first), count(count), ray(4 * count) {
    for (Floats* array : {&x, &y, &z, &length, &shrink, &across, &down, &scratch, &other})
        array->resize(count);
    for (auto* array : {&column, &row, &kept}) array->resize(count);
    for (int c = 0; c < 3; ++c) {
        for (Floats& array : corner[c]) array.resize(count);
        channel[c].resize(count);
        byte[c].resize(count);
        word[c].resize(count);
    }
}

std::vector<std::span<const float>> Strip::floats() const {
    std::vector<std::span<const float>> all = {ray, x, y, z, length, shrink, across, down, scratch, other};
    for (int c = 0; c < 3; ++c) {
        all.insert(all.end(), corner[c].begin(), corner[c].end());
        all.push_back(channel[c]);
    }
    return all;
}

std::vector<std::span<const std::byte>> Strip::memory() const {
    std::vector<std::span<const std::byte>> all;
    for (auto array : floats()) all.push_back(std::as_bytes(array));
    for (auto* array : {&column, &row, &kept}) all.push_back(std::as_bytes(std::span(*array)));
    for (int c = 0; c < 3; ++c) {
        all.push_back(std::as_bytes(std::span(byte[c])));
        all.push_back(std::as_bytes(std::span(word[c])));
    }
    return all;
}

Brightness measure(const Image& panorama, bool flag) {
    const std::int64_t size = panorama.size();
    Floats light(size), weight(size);
    double total = 0;
    // A row counts by the share of the sphere that it covers.
    for (std::int64_t y = 0; y < panorama.height; ++y) {
        const double share = std::sin(std::numbers::pi * (double(y) + 0.5) / double(panorama.height));
        ZEL_Math::set(&weight[y * panorama.width], float(share), panorama.width);
        total += share * double(panorama.width);
    }
    Brightness result;
    const auto work = [&] {
        ZEL_Math::mul(light.data(), panorama.channel[0].data(), 0.2126f, size);
        ZEL_Math::madd(light.data(), panorama.channel[1].data(), 0.7152f, size);
        ZEL_Math::madd(light.data(), panorama.channel[2].data(), 0.0722f, size);
        ZEL_Math::zelmax(light.data(), light.data(), 0.0f, size);  // lossy files dip below 0
        result.mean = ZEL_Math::dot(light.data(), weight.data(), size) / total;
        ZEL_Math::sqrt(light.data(), light.data(), size);
        result.typical = std::pow(ZEL_Math::dot(light.data(), weight.data(), size) / total, 2);
    };
    result.seconds = timed(
        flag, [] {}, work);
    return result;
}

double automaticExposure(const Brightness& brightness) {
    if (brightness.typical <= 0) return 0;
    return std::clamp(std::round(100 * std::log2(0.22 / brightness.typical)) / 100, -100.0, 100.0);
}

Result render(const Scene& set, const Scene& clear) {
    const Options& options = set.options;
    Result result;
    result.width = options.flat ? set.panorama.width : options.width;
    result.height = options.flat ? set.panorama.height : options.height;
    std::vector<Step> steps = options.flat ? flatSteps : viewSteps;
    for (const Step& step : colourSteps(options)) steps.push_back(step);
    for (const Step& step : steps) result.rows.push_back({step.name, step.plain});

    const std::int64_t size = result.width * result.height;
    result.picture.reserve(size * 3 * options.bits / 8);
    for (std::int64_t first = 0; first < size; first += Strip::longest) {
        Strip now(first, std::min(Strip::longest, size - first)), withSet = now, withClear = now,
                                                                  allClear = now;
        for (std::size_t k = 0; k < steps.size(); ++k) {
            Row& row = result.rows[k];
            row.clear += timed(
                false, [&] { withClear = now; }, [&] { steps[k].run(set, withClear); });
            row.set += timed(
                true, [&] { withSet = now; }, [&] { steps[k].run(set, withSet); });
            compare(withSet, withClear, row);
            std::swap(now, withSet);
        }
        const Flag flag(false);
        for (const Step& step : steps) step.run(clear, allClear);
        finish(now, allClear, options.bits, result);
    }
    return result;
}
