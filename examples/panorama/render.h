// The picture of a scene, made strip by strip.
#pragma once

#include <vector>

#include "common/progress.h"
#include "scene.h"

struct Brightness {
    double mean = 0;     // luminance averaged over the sphere
    double typical = 0;  // the same of square roots, so that a sun doesn't outweigh everything
};
Brightness measure(const Image& panorama);

/// The factor that takes `typical` to 0.22, in hundredths of a stop, so that it can be given again.
double automaticExposure(const Brightness& brightness);

struct Picture {
    std::vector<std::uint8_t> bytes;  // as the PNG writer takes them
    std::int64_t blown = 0;           // pixels with a channel at 1 or above
};
Picture render(const Scene& scene, Progress& progress);
