// From light to stored samples: exposure, tone curve, clipping, sRGB transfer, white point.
#include "ZEL_Math.h"
#include "common/srgb.h"
#include "scene.h"

namespace {

constexpr float brightest = 1e6f;  // numbers in the tone curves stay finite, whatever the exposure

void expose(const Scene& scene, Strip& s) {
    for (Floats& channel : s.channel) {
        ZEL_Math::mul(channel.data(), channel.data(), scene.gain, s.count);
        ZEL_Math::add(channel.data(), channel.data(), scene.options.offset, s.count);
    }
}

// Reinhard's curve on luminance l, with 4 as the brightest: x (1 + l / 16) / (1 + l). Hues stay.
void reinhard(const Scene&, Strip& s) {
    float *light = s.scratch.data(), *factor = s.other.data();
    for (Floats& channel : s.channel) ZEL_Math::clamp(channel.data(), channel.data(), 0, brightest, s.count);
    luminance(light, s.channel, s.count);
    ZEL_Math::mul(factor, light, 1 / 16.f, s.count);
    ZEL_Math::add(factor, factor, 1, s.count);
    ZEL_Math::add(light, light, 1, s.count);
    ZEL_Math::div(factor, factor, light, s.count);
    for (Floats& channel : s.channel) ZEL_Math::mul(channel.data(), channel.data(), factor, s.count);
}

// A film-like curve per channel: x (2.51 x + 0.03) / (x (2.43 x + 0.59) + 0.14). It reaches 1 at about 7.2.
void filmic(const Scene&, Strip& s) {
    float* below = s.scratch.data();
    float* above = s.other.data();
    for (Floats& channel : s.channel) {
        float* x = channel.data();
        ZEL_Math::clamp(x, x, 0, brightest, s.count);
        ZEL_Math::mul(above, x, 2.51f, s.count);
        ZEL_Math::add(above, above, 0.03f, s.count);
        ZEL_Math::mul(above, above, x, s.count);
        ZEL_Math::mul(below, x, 2.43f, s.count);
        ZEL_Math::add(below, below, 0.59f, s.count);
        ZEL_Math::mul(below, below, x, s.count);
        ZEL_Math::add(below, below, 0.14f, s.count);
        ZEL_Math::div(x, above, below, s.count);
    }
}

// A result of a comparison is a mask as it stands: 1 leaves a pixel alone, 0 is a blown one, to be marked.
void markClipped(const Scene& scene, Strip& s) {
    float* peak = s.scratch.data();
    ZEL_Math::zelmax(peak, s.channel[0].data(), s.channel[1].data(), s.count);
    ZEL_Math::zelmax(peak, peak, s.channel[2].data(), s.count);
    ZEL_Math::lt(s.kept.data(), peak, 1.0f, s.count);
    s.blown = ZEL_Math::zerocount(s.kept.data(), s.count);
    if (!scene.options.markClipped) return;
    const auto* mask = reinterpret_cast<const std::uint32_t*>(s.kept.data());
    constexpr float magenta[] = {1, 0, 1};
    for (int c = 0; c < 3; ++c) ZEL_Math::set(s.channel[c].data(), magenta[c], s.count, mask);
}

void range(const Scene&, Strip& s) {
    for (Floats& channel : s.channel) ZEL_Math::clamp(channel.data(), channel.data(), 0, 1, s.count);
}

void transfer(const Scene&, Strip& s) {
    for (Floats& channel : s.channel) toSrgb(channel.data(), s.scratch.data(), s.other.data(), s.kept.data(), s.count);
}

void quantise(const Scene& scene, Strip& s) {
    for (int c = 0; c < 3; ++c) {
        if (scene.options.bits == 8)
            ZEL_Math::wpoint(s.byte[c].data(), s.channel[c].data(), 255, 255, 0, s.count);
        else
            ZEL_Math::wpoint(s.word[c].data(), s.channel[c].data(), 65535, 65535, 0, s.count);
    }
}

}  // namespace

std::vector<Step> colourSteps(const Options& options) {
    std::vector<Step> steps = {{"exposure (mul, add)", expose}};
    if (options.tone == "reinhard") steps.push_back({"tone (reinhard)", reinhard});
    if (options.tone == "filmic") steps.push_back({"tone (filmic)", filmic});
    steps.insert(steps.end(), {{"clipped (lt, set)", markClipped},
                               {"range (clamp)", range},
                               {"transfer (sqrt)", transfer},
                               {"samples (wpoint)", quantise}});
    return steps;
}
