// The transfer curve of sRGB and its luminance, made of library calls.
#pragma once

#include "ZEL_Math.h"
#include "image.h"

/// d is 0.2126 red + 0.7152 green + 0.0722 blue.
inline void luminance(float* d, const std::array<Floats, 3>& channel, std::int64_t num) {
    ZEL_Math::mul(d, channel[0].data(), 0.2126f, num);
    ZEL_Math::madd(d, channel[1].data(), 0.7152f, num);
    ZEL_Math::madd(d, channel[2].data(), 0.0722f, num);
}

/// x, from 0 to 1, becomes 12.92 x up to 0.0031308, and above it a sum of roots, at most 0.0016 off. The
/// other arrays are scratch; all hold `num`.
inline void toSrgb(float* x, float* root, float* line, int* kept, std::int64_t num) {
    ZEL_Math::mul(line, x, 12.92f, num);
    ZEL_Math::ge(kept, x, 0.0031308f, num);
    ZEL_Math::sqrt(root, x, num);
    ZEL_Math::mul(x, root, 0.585122381f, num);
    ZEL_Math::sqrt(root, root, num);
    ZEL_Math::madd(x, root, 0.783140355f, num);
    ZEL_Math::sqrt(root, root, num);
    ZEL_Math::madd(x, root, -0.368262736f, num);
    ZEL_Math::set(x, line, num, reinterpret_cast<const std::uint32_t*>(kept));
}
