// Runs the steps over a picture, strip by strip, with the flag set and clear, and keeps account of both.
#pragma once

#include <string>
#include <vector>

#include "scene.h"

struct Brightness {
    double mean = 0;     // luminance averaged over the sphere
    double typical = 0;  // the same of square roots, so that a sun doesn't outweigh everything
    double seconds = 0;
};

/// Measured with the flag set or clear, the time as the best of three.
Brightness measure(const Image& panorama, bool flag);

/// The factor that takes `typical` to 0.22, in hundredths of a stop, so that it can be given again.
double automaticExposure(const Brightness& brightness);

struct Row {
    std::string name;
    bool plain;
    double clear = 0, set = 0;  // seconds over the whole picture
    bool same = true;           // the same bits from the same input
    double difference = 0;      // the largest between two numbers
    double relative = 0;        // the largest between two factors to length 1
};

struct Result {
    std::int64_t width, height;
    std::vector<std::uint8_t> picture;  // as the PNG writer takes it; made with the flag set
    std::int64_t blown = 0;             // pixels with a channel at 1 or above
    std::vector<Row> rows;
    // Between two whole runs, one with the flag set and one with it clear:
    std::int64_t differentSamples = 0;
    int sampleDifference = 0;
    double directionDifference = 0;
};

/// `set` and `clear` show the same thing, each with the exposure measured under that flag.
Result render(const Scene& set, const Scene& clear);
