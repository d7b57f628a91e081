// The pictures and cells of the example programs against plain loops: what a program is to compute, written
// again from its help. Pictures are computed in double and within a stated error, cells bit by bit.
#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <functional>
#include <numbers>
#include <random>

#include "common/image_io.h"

namespace {

using std::numbers::pi;
using Doubles = std::vector<double>;

/// What a program says of the photograph. Names may have spaces.
std::string run(const std::string& program, const std::string& arguments) {
    const std::string command = "'" + program + "' '" PHOTOGRAPH "' " + arguments;
    std::string said;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    for (int c; (c = std::fgetc(pipe)) != EOF;) said += char(c);
    EXPECT_EQ(pclose(pipe), 0) << command << "\n" << said;
    return said;
}

Image photograph() {
    std::vector<std::string> notes;
    return readExr(PHOTOGRAPH, notes, 12);
}

/// The samples of a PNG, red, green and blue in turn.
std::vector<int> samples(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    std::vector<int> all;
    for (std::size_t y = 0; y < png_get_image_height(png, info); ++y)
        for (std::size_t i = 0; i < 3 * png_get_image_width(png, info); ++i) {
            const png_bytep row = png_get_rows(png, info)[y];
            all.push_back(png_get_bit_depth(png, info) == 8 ? row[i] : row[2 * i] << 8 | row[2 * i + 1]);
        }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return all;
}

double srgb(double x) {
    x = std::clamp(x, 0.0, 1.0);
    return x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055;
}

/// Half a sample by rounding, 0.0016 by the curve that is made of roots, and what floats before it cost.
void expectPicture(const std::string& path, int limit,
                   const std::function<double(std::int64_t pixel, int channel)>& light) {
    const std::vector<int> got = samples(path);
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(double(got[i]) / limit, srgb(light(std::int64_t(i) / 3, int(i % 3))), 0.5 / limit + 0.0016 + 0.0004)
            << "pixel " << i / 3 << ", channel " << i % 3;
}

constexpr double weights[] = {0.2126, 0.7152, 0.0722};

/// The light that falls along a direction, from the four texels around its place. Over a pole there are those that lie
/// half a turn away.
double lookUp(const Image& image, int c, double x, double y, double z) {
    const double across = (std::atan2(x, z) / (2 * pi) + 0.5) * double(image.width) - 0.5;
    const double down = (0.5 - std::asin(y / std::hypot(x, y, z)) / pi) * double(image.height) - 0.5;
    const double left = std::floor(across), top = std::floor(down), right = across - left, below = down - top;
    const auto texel = [&](double column, double row) {
        const double inside = std::clamp(row, 0.0, double(image.height - 1));
        const auto turned = std::int64_t(column) + image.width + (inside == row ? 0 : image.width / 2);
        return double(image.channel[c][std::int64_t(inside) * image.width + turned % image.width]);
    };
    return (texel(left, top) * (1 - right) + texel(left + 1, top) * right) * (1 - below) +
           (texel(left, top + 1) * (1 - right) + texel(left + 1, top + 1) * right) * below;
}

TEST(Panorama, ViewOverAPoleIsThatOfLoopsInDouble) {
    const Image image = photograph();
    const int width = 130, height = 71;  // the pole lies between pixels; the last strip isn't of whole lane groups
    const double yaw = 170 * pi / 180, pitch = -88 * pi / 180, fov = 20 * pi / 180;
    for (const std::string tone : {"filmic", "reinhard"}) {
        const std::string said = run(PANORAMA,
                                     "view.png --yaw 170 --pitch=-88 --fov 20 --size 130x71 --bits 16 "
                                     "--offset 0.01 --mark-clipped --exposure 2,2.5 --tone " +
                                         tone);
        int blown = 0;
        expectPicture("view.png", 65535, [&](auto pixel, int c) {
            const auto column = pixel % (2 * width), row = pixel / (2 * width);
            const double across = (2 * (double(column % width) + 0.5) - width) / width * std::tan(fov / 2);
            const double up = (height - 2 * (double(row) + 0.5)) / width * std::tan(fov / 2);
            // Turned up by pitch about the axis to the right, then to the right by yaw.
            const std::complex<double> ahead = std::complex(1.0, up) * std::polar(1.0, pitch);
            const std::complex<double> level = std::complex(ahead.real(), across) * std::polar(1.0, yaw);
            double light[3], l = 0, peak = 0;
            for (int k = 0; k < 3; ++k) {
                light[k] = lookUp(image, k, level.imag(), ahead.imag(), level.real());
                light[k] = std::max(light[k] * std::exp2(column < width ? 2 : 2.5) + 0.01, 0.0);
                l += weights[k] * light[k];
            }
            for (double& x : light) {
                x *= tone == "filmic" ? (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14) : (1 + l / 16) / (1 + l);
                peak = std::max(peak, x);
            }
            if (peak < 1) return light[c];
            blown += c == 0;
            return c == 1 ? 0.0 : 1.0;  // magenta
        });
        EXPECT_NE(said.find("  blown      " + std::to_string(blown) + " pixels"), std::string::npos) << blown << said;
    }
}

TEST(Panorama, ExposureOfItsOwnIsThatOfLoopsInDouble) {
    const Image image = photograph();
    double roots = 0, sphere = 0;
    for (std::int64_t i = 0; i < image.size(); ++i) {
        const double share = std::sin(pi * (double(i / image.width) + 0.5) / double(image.height));
        double light = 0;
        for (int c = 0; c < 3; ++c) light += weights[c] * image.channel[c][i];
        roots += share * std::sqrt(std::max(light, 0.0));
        sphere += share;
    }
    const double stops = std::round(100 * std::log2(0.22 / std::pow(roots / sphere, 2))) / 100;
    char line[80];
    std::snprintf(line, sizeof line, "  exposure   %+.10g stops (automatic)", stops);
    const std::string said = run(PANORAMA, "flat.png --flat");
    EXPECT_NE(said.find(line), std::string::npos) << line << said;
    expectPicture("flat.png", 255, [&](auto pixel, int c) { return image.channel[c][pixel] * std::exp2(stops); });
}

TEST(Poisson, FilledRectangleIsThatOfLoopsInDouble) {
    Image image = photograph();
    constexpr int left = 300, top = 280, width = 14, height = 11, fromLeft = 640, fromTop = 300;
    run(POISSON, "filled.png --rectangle 300,280,14x11 --source 640,300 --exposure -1");
    const auto level = [&](int c, int x, int y) {
        return std::log(std::max(double(image.channel[c][y * image.width + x]), 1e-4));
    };
    const auto weight = [&](int x, int y, int dx, int dy) {
        double d = 0;
        for (int c = 0; c < 3; ++c) d += std::abs(level(c, x + dx, y + dy) - level(c, x, y)) / 3;
        return std::max(0.01, 1 / (1 + 100 * d * d));
    };
    std::array<Doubles, 3> filled;
    for (int c = 0; c < 3; ++c) {
        Doubles& v = filled[c];
        v.assign(width * height, 0);
        for (int sweep = 0; sweep < 3000; ++sweep)  // Gauss and Seidel, until nothing moves
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    double sum = 0, weights = 0;
                    for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
                        const int nx = x + dx, ny = y + dy;
                        const bool inside = nx >= 0 && ny >= 0 && nx < width && ny < height;
                        const double w = weight(fromLeft + x, fromTop + y, dx, dy);
                        sum += w * (inside ? v[ny * width + nx]
                                           : level(c, left + nx, top + ny) - level(c, fromLeft + nx, fromTop + ny));
                        weights += w;
                    }
                    v[y * width + x] = sum / weights;
                }
    }
    expectPicture("filled.png", 255, [&](auto pixel, int c) {
        const int x = int(pixel % image.width) - left, y = int(pixel / image.width) - top;
        const bool inside = x >= 0 && y >= 0 && x < width && y < height;
        return 0.5 * (inside ? std::exp(filled[c][y * width + x] + level(c, fromLeft + x, fromTop + y))
                             : image.channel[c][pixel]);
    });
}

TEST(Reaction, CellsSumsAndPictureAreThoseOfAPlainLoop) {
    const Image image = photograph();
    constexpr int width = 1030, height = 24, steps = 40, size = width * height;
    const float feed = 0.03f, kill = 0.06f;
    std::vector<float> u(size, 1), v(size, 0), nextU(size), nextV(size), keep(size), light(image.size());
    // V dies faster where more of the photograph is darker.
    for (std::size_t i = 0; i < light.size(); ++i)
        light[i] = image.channel[0][i] * 0.2126f + image.channel[1][i] * 0.7152f + image.channel[2][i] * 0.0722f;
    std::vector<float> sorted = light;
    std::ranges::sort(sorted);
    for (int i = 0; i < size; ++i) {
        const auto x = i % width * image.width / width, y = i / width * image.height / height;
        const auto darker = std::ranges::lower_bound(sorted, light[y * image.width + x]) - sorted.begin();
        keep[i] = 1 - 4 * 0.05f - feed - kill + 0.0095f * (0.5f - float(darker) / float(light.size()));
    }
    std::mt19937 random(7);
    for (int k = 0; k <= size / 120; ++k) {
        const int x = int(random() % (width - 5)), y = int(random() % (height - 5));
        for (int i = 0; i < 36; ++i) {
            u[(y + i / 6) * width + x + i % 6] = 0.5f;
            v[(y + i / 6) * width + x + i % 6] = 0.25f;
        }
    }
    for (int step = 0; step < steps; ++step) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int i = y * width + x, row = y * width, up = (y + height - 1) % height * width + x;
                const int left = row + (x + width - 1) % width, right = row + (x + 1) % width;
                const int down = (y + 1) % height * width + x;
                const float eaten = v[i] * v[i] * u[i];
                const float aroundU = u[left] + u[right] + u[up] + u[down];
                const float aroundV = v[left] + v[right] + v[up] + v[down];
                nextU[i] = aroundU * 0.1f + feed + u[i] * (1 - 4 * 0.1f - feed) - eaten;
                nextV[i] = aroundV * 0.05f + 1e-18f + v[i] * keep[i] + eaten;
            }
        u.swap(nextU), v.swap(nextV);
    }
    // A row is summed in four lanes of blocks of 1024, what is left of four before them.
    const auto sum = [&](int row, auto term) {
        double total = 0;
        for (int x = width / 4 * 4; x < width; ++x) total += double(term(row * width + x));
        for (int block = 0; block < width / 4 * 4; block += 1024) {
            float lane[4] = {};
            for (int x = block; x < std::min(block + 1024, width / 4 * 4); ++x) lane[x % 4] += term(row * width + x);
            total += double(lane[0] + lane[1] + lane[2] + lane[3]);
        }
        return total;
    };
    double mass = 0, change = 0;
    uLong digest = crc32(0, nullptr, 0);
    for (int y = 0; y < height; ++y) {
        mass += sum(y, [&](int i) { return v[i]; });
        change += sum(y, [&](int i) { return (v[i] - nextV[i]) * (v[i] - nextV[i]); });
        for (const auto* cells : {&u, &v})
            digest = crc32(digest, reinterpret_cast<const Bytef*>(&(*cells)[y * width]), 4 * width);
    }
    char wanted[2][120];
    std::snprintf(wanted[0], 120, "step %d: mass of V %.17g, change %.17g\n", steps, mass, change);
    std::snprintf(wanted[1], 120, "digest %08lx\n", digest);
    // Six colours, 51 levels from one to the next, darker where V rises to the right.
    constexpr int colours[][3] = {{252, 244, 226}, {250, 228, 192}, {242, 166, 122},
                                  {196, 80, 92},   {98, 36, 94},    {20, 14, 50}};
    std::vector<int> picture;
    for (int i = 0; i < size; ++i) {
        const float left = v[i % width ? i - 1 : i + width - 1], shade = (v[i] - left) * 0.75f + v[i];
        const int level = int(std::clamp(shade * 660 + 0.5f, 0.0f, 254.0f)), from = level / 51, part = level % 51;
        for (int c = 0; c < 3; ++c)
            picture.push_back((colours[from][c] * (51 - part) + colours[from + 1][c] * part) / 51);
    }
    for (const char* flag : {"set", "clear"}) {
        const std::string options = "cells.png --size 1030x24 --steps 40 --feed 0.03 --kill 0.06 --seed 7 --flag ";
        const std::string said = run(REACTION, options + flag);
        for (const char* line : wanted) EXPECT_NE(said.find(line), std::string::npos) << line << said;
        EXPECT_TRUE(samples("cells.png") == picture) << flag;
    }
}

}  // namespace
