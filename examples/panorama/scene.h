// What is to be shown and how, and one strip of the picture on its way through the steps.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/image.h"

struct Options {
    double yaw = 0, pitch = 0, fov = 100;  // degrees; fov is the width of the view
    std::int64_t width = 0, height = 0;
    float offset = 0;
    std::string tone = "filmic";
    bool markClipped = false, flat = false;
    int bits = 8;
};

struct Scene {
    const Image& panorama;
    const Options& options;
    float gain;            // factor on every sample
    float camera[4][4]{};  // from (pixels to the right, pixels up, 1, 0) around the centre to a direction

    Scene(const Image& panorama, const Options& options, double stops);

    /// Width and height of the picture.
    std::pair<std::int64_t, std::int64_t> size() const {
        return options.flat ? std::pair(panorama.width, panorama.height) : std::pair(options.width, options.height);
    }
};

/// All arrays of a strip begin on a cache line, and strips are short enough for the second cache.
struct Strip {
    static constexpr std::int64_t longest = 8192;

    explicit Strip(std::int64_t first, std::int64_t count);

    std::int64_t first, count;                    // pixels of the picture, row after row
    Floats ray;                                   // a vector of four per pixel
    Floats x, y, z;                               // direction: right, up, forward
    Floats length, shrink;                        // square of the length; factor to length 1
    Floats across, down;                          // angles, then texels, then fractions of a texel
    Array<int> column, row;                       // whole texels
    std::array<std::array<Floats, 4>, 3> corner;  // per channel: upper left and right, lower left and right
    std::array<Floats, 3> channel;                // the picture
    Floats scratch, other;
    Array<int> kept;  // 0 where a pixel is blown
    std::int64_t blown = 0;
    std::array<Array<std::uint8_t>, 3> byte;
    std::array<Array<std::uint16_t>, 3> word;
};

struct Step {
    const char* name;
    void (*run)(const Scene&, Strip&);
    bool plain = false;  // a loop of this program, without the library
};

/// The steps from pixel positions to light, from there to stored samples, and all that a picture takes.
extern const std::vector<Step> viewSteps, flatSteps;
std::vector<Step> colourSteps(const Options& options);
std::vector<Step> steps(const Options& options);
