// From pixel positions to light: rays through the camera, directions, texels, bilinear look-up.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "ZEL_Math.h"
#include "scene.h"

using std::numbers::pi;

Scene::Scene(const Image& panorama, const Options& options, double stops)
    : panorama(panorama), options(options), gain(float(std::exp2(stops))) {
    const double yaw = std::remainder(options.yaw, 360) * pi / 180, pitch = options.pitch * pi / 180;
    // Scaled by sine and cosine, where a tangent would overflow for the widest views.
    const double side = 2 * std::sin(options.fov * pi / 360) / double(options.width);
    const double ahead = std::cos(options.fov * pi / 360);
    const double right[] = {std::cos(yaw), 0, -std::sin(yaw)};
    const double up[] = {-std::sin(yaw) * std::sin(pitch), std::cos(pitch), -std::cos(yaw) * std::sin(pitch)};
    const double forward[] = {std::sin(yaw) * std::cos(pitch), std::sin(pitch), std::cos(yaw) * std::cos(pitch)};
    for (int i = 0; i < 3; ++i) {
        camera[i][0] = float(right[i] * side);
        camera[i][1] = float(up[i] * side);
        camera[i][2] = float(forward[i] * ahead);
    }
}

namespace {

void rays(const Scene& scene, Strip& s) {
    const auto [width, height] = std::pair(scene.options.width, scene.options.height);
    for (std::int64_t i = 0; i < s.count; ++i) {
        s.ray[4 * i] = float((s.first + i) % width) + 0.5f - 0.5f * float(width);
        s.ray[4 * i + 1] = 0.5f * float(height) - 0.5f - float((s.first + i) / width);
        s.ray[4 * i + 2] = 1;
        s.ray[4 * i + 3] = 0;
    }
}

void turn(const Scene& scene, Strip& s) { ZEL_Math::mulColVec44(s.ray.data(), scene.camera, s.count, nullptr); }

void unpack(const Scene&, Strip& s) {
    for (std::int64_t i = 0; i < s.count; ++i) {
        s.x[i] = s.ray[4 * i];
        s.y[i] = s.ray[4 * i + 1];
        s.z[i] = s.ray[4 * i + 2];
    }
}

void squareLength(const Scene&, Strip& s) {
    ZEL_Math::mul(s.length.data(), s.x.data(), s.x.data(), s.count);
    ZEL_Math::madd(s.length.data(), s.y.data(), s.y.data(), s.count);
    ZEL_Math::madd(s.length.data(), s.z.data(), s.z.data(), s.count);
}

void inverseRoot(const Scene&, Strip& s) { ZEL_Math::isqrt(s.shrink.data(), s.length.data(), s.count); }

// With the flag set, isqrt is an estimate of 12 bits, and near a pole the arc sine would make degrees of
// its error. So one step of Newton's method follows: r (1.5 - 0.5 l r r). It leaves an exact root nearly
// as it is.
void refine(const Scene&, Strip& s) {
    float* t = s.scratch.data();
    ZEL_Math::mul(t, s.length.data(), s.shrink.data(), s.count);
    ZEL_Math::mul(t, t, s.shrink.data(), s.count);
    ZEL_Math::scaleoffset(t, -0.5f, 1.5f, s.count);
    ZEL_Math::mul(s.shrink.data(), s.shrink.data(), t, s.count);
}

void normalise(const Scene&, Strip& s) {
    for (Floats* component : {&s.x, &s.y, &s.z})
        ZEL_Math::mul(component->data(), component->data(), s.shrink.data(), s.count);
    ZEL_Math::clamp(s.y.data(), s.y.data(), -1, 1, s.count);  // straight up may have come out above 1
}

void angles(const Scene&, Strip& s) {
    for (std::int64_t i = 0; i < s.count; ++i) {
        s.across[i] = std::atan2(s.x[i], s.z[i]);
        s.down[i] = std::asin(s.y[i]);
    }
}

// Texel centres lie at whole numbers. The middle of the panorama is straight ahead.
void texels(const Scene& scene, Strip& s) {
    const float width = float(scene.panorama.width), height = float(scene.panorama.height);
    ZEL_Math::scaleoffset(s.across.data(), width / float(2 * pi), 0.5f * width - 0.5f, s.count);
    ZEL_Math::scaleoffset(s.down.data(), -height / float(pi), 0.5f * height - 0.5f, s.count);
    ZEL_Math::splitFloat(s.column.data(), s.across.data(), s.count);
    ZEL_Math::splitFloat(s.row.data(), s.down.data(), s.count);
}

// Of a whole negative number splitFloat makes itself and a fraction of 0, or the number below and a fraction
// of 1: either way the two texels around the place, each with its right weight. Over a pole it goes on half
// a turn away.
void lookUp(const Scene& scene, Strip& s) {
    const Image& panorama = scene.panorama;
    const auto place = [&](std::int64_t column, std::int64_t row) {
        if (row < 0 || row >= panorama.height) {
            row = row < 0 ? -1 - row : 2 * panorama.height - 1 - row;
            column += panorama.width / 2;
        }
        column %= panorama.width;
        return std::clamp<std::int64_t>(row, 0, panorama.height - 1) * panorama.width + column +
               (column < 0 ? panorama.width : 0);
    };
    for (std::int64_t i = 0; i < s.count; ++i) {
        const std::int64_t column = s.column[i], row = s.row[i];
        const std::int64_t from[] = {place(column, row), place(column + 1, row), place(column, row + 1),
                                     place(column + 1, row + 1)};
        for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 4; ++k) s.corner[c][k][i] = panorama.channel[c][from[k]];
    }
}

// lerp may write over its second source, but not over its first, which it reads again with the flag set.
void bilinear(const Scene&, Strip& s) {
    const auto between = [&](Floats& d, const Floats& a, const Floats& b, const Floats& part) {
        ZEL_Math::lerp(d.data(), a.data(), b.data(), part.data(), s.count);
    };
    for (int c = 0; c < 3; ++c) {
        auto& corner = s.corner[c];
        between(corner[1], corner[0], corner[1], s.across);
        between(corner[3], corner[2], corner[3], s.across);
        between(s.channel[c], corner[1], corner[3], s.down);
    }
}

void copy(const Scene& scene, Strip& s) {
    for (int c = 0; c < 3; ++c) std::copy_n(&scene.panorama.channel[c][s.first], s.count, s.channel[c].data());
}

}  // namespace

const std::vector<Step> viewSteps = {
    {"rays", rays, true},      {"turn (mulColVec44)", turn},  {"unpack", unpack, true},
    {"squares", squareLength}, {"isqrt", inverseRoot},        {"Newton step", refine},
    {"normalise", normalise},  {"angles", angles, true},      {"texels (splitFloat)", texels},
    {"look up", lookUp, true}, {"bilinear (lerp)", bilinear},
};
const std::vector<Step> flatSteps = {{"copy", copy, true}};
