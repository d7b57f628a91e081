// A picture strip by strip: all steps over one before the next, so that its arrays stay in the second cache.
#include "render.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "ZEL_Math.h"
#include "common/srgb.h"

Strip::Strip(std::int64_t first, std::int64_t count) : first(first), count(count), ray(4 * count) {
    for (Floats* array : {&x, &y, &z, &length, &shrink, &across, &down, &scratch, &other}) array->resize(count);
    for (auto* array : {&column, &row, &kept}) array->resize(count);
    for (int c = 0; c < 3; ++c) {
        for (Floats& array : corner[c]) array.resize(count);
        channel[c].resize(count);
        byte[c].resize(count);
        word[c].resize(count);
    }
}

Brightness measure(const Image& panorama) {
    const std::int64_t size = panorama.size();
    Floats light(size), weight(size);
    double total = 0;
    // A row counts by the share of the sphere that it covers.
    for (std::int64_t y = 0; y < panorama.height; ++y) {
        const double share = std::sin(std::numbers::pi * (double(y) + 0.5) / double(panorama.height));
        ZEL_Math::set(&weight[y * panorama.width], float(share), panorama.width);
        total += share * double(panorama.width);
    }
    luminance(light.data(), panorama.channel, size);
    ZEL_Math::zelmax(light.data(), light.data(), 0.0f, size);  // lossy files dip below 0
    Brightness result;
    result.mean = ZEL_Math::dot(light.data(), weight.data(), size) / total;
    ZEL_Math::sqrt(light.data(), light.data(), size);
    result.typical = std::pow(ZEL_Math::dot(light.data(), weight.data(), size) / total, 2);
    return result;
}

double automaticExposure(const Brightness& brightness) {
    if (brightness.typical <= 0) return 0;
    return std::clamp(std::round(100 * std::log2(0.22 / brightness.typical)) / 100, -100.0, 100.0);
}

std::vector<Step> steps(const Options& options) {
    std::vector<Step> all = options.flat ? flatSteps : viewSteps;
    for (const Step& step : colourSteps(options)) all.push_back(step);
    return all;
}

Picture render(const Scene& scene, Progress& progress) {
    const auto [width, height] = scene.size();
    const std::int64_t size = width * height, bytes = scene.options.bits / 8;
    Picture picture;
    picture.bytes.resize(size * 3 * bytes);
    std::uint8_t* to = picture.bytes.data();
    const std::vector<Step> all = steps(scene.options);
    for (std::int64_t first = 0; first < size; first += Strip::longest) {
        progress.show("computing: %d %%", int(100 * first / size));
        Strip strip(first, std::min(Strip::longest, size - first));
        for (const Step& step : all) step.run(scene, strip);
        picture.blown += strip.blown;
        for (std::int64_t i = 0; i < strip.count; ++i)
            for (int c = 0; c < 3; ++c) {
                if (bytes == 2) *to++ = std::uint8_t(strip.word[c][i] >> 8);
                *to++ = std::uint8_t(bytes == 1 ? strip.byte[c][i] : strip.word[c][i]);
            }
    }
    return picture;
}
