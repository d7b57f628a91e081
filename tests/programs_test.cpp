// The pictures and cells of the example programs against plain loops: what a program is to compute, written
// again from its help. Pictures are computed in double and within a stated error, cells bit by bit.
#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <numbers>
#include <random>

#include "common/image_io.h"

namespace {

using std::numbers::pi;
using Doubles = std::vector<double>;
using Channels = std::array<Doubles, 3>;

std::string run(const std::string& command) {
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

/// The samples of a PNG of 8 bits, from 0 to 1, red, green and blue in turn.
Doubles samples(const std::string& path) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    EXPECT_TRUE(png_image_begin_read_from_file(&png, path.c_str())) << png.message;
    png.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(png));
    EXPECT_TRUE(png_image_finish_read(&png, nullptr, bytes.data(), 0, nullptr)) << png.message;
    Doubles all;
    for (const int byte : bytes) all.push_back(byte / 255.0);
    return all;
}

double srgb(double x) {
    x = std::clamp(x, 0.0, 1.0);
    return x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055;
}

/// Half a sample by rounding, 0.0016 by the curve that is made of roots, and what floats before it cost.
constexpr double error = 0.5 / 255 + 0.0016 + 0.0004;

void expectPicture(const std::string& path, const std::function<double(std::int64_t pixel, int channel)>& light) {
    const Doubles got = samples(path);
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(got[i], srgb(light(std::int64_t(i) / 3, int(i % 3))), error)
            << "pixel " << i / 3 << ", channel " << i % 3;
}

/// The light that falls along a direction, from the four texels around its place.
double lookUp(const Image& image, int c, double x, double y, double z) {
    const double across = (std::atan2(x, z) / (2 * pi) + 0.5) * double(image.width) - 0.5;
    const double down = (0.5 - std::asin(y / std::hypot(x, y, z)) / pi) * double(image.height) - 0.5;
    const double left = std::floor(across), top = std::floor(down), right = across - left, below = down - top;
    const auto texel = [&](double column, double row) {
        const auto wide = std::int64_t(column + double(image.width)) % image.width;
        return double(image.channel[c][std::int64_t(row) * image.width + wide]);
    };
    return (texel(left, top) * (1 - right) + texel(left + 1, top) * right) * (1 - below) +
           (texel(left, top + 1) * (1 - right) + texel(left + 1, top + 1) * right) * below;
}

TEST(Panorama, ViewIsThatOfLoopsInDouble) {
    const Image image = photograph();
    const int width = 96, height = 50;
    const double yaw = 170 * pi / 180, pitch = -20 * pi / 180, fov = 80 * pi / 180;
    const auto light = [&](std::int64_t pixel, int c) {
        const double across = (2 * (double(pixel % width) + 0.5) - width) / width * std::tan(fov / 2);
        const double up = (height - 2 * (double(pixel / width) + 0.5)) / width * std::tan(fov / 2);
        // Turned up by pitch about the axis to the right, then to the right by yaw.
        const std::complex<double> ahead = std::complex(1.0, up) * std::polar(1.0, pitch);
        const std::complex<double> level = std::complex(ahead.real(), across) * std::polar(1.0, yaw);
        return lookUp(image, c, level.imag(), ahead.imag(), level.real()) * 0.5;
    };
    const std::string command = std::string(PANORAMA) + " " + PHOTOGRAPH +
                                " view.png --yaw 170 --pitch=-20 --fov 80 --size 96x50 --exposure -1 --tone ";
    run(command + "none");
    expectPicture("view.png", light);
    run(command + "filmic");
    expectPicture("view.png", [&](auto pixel, int c) {
        const double x = std::max(light(pixel, c), 0.0);
        return x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14);
    });
    run(command + "reinhard");
    expectPicture("view.png", [&](auto pixel, int c) {
        double l = 0;
        for (int k = 0; k < 3; ++k) l += std::array{0.2126, 0.7152, 0.0722}[k] * std::max(light(pixel, k), 0.0);
        return std::max(light(pixel, c), 0.0) * (1 + l / 16) / (1 + l);
    });
}

TEST(Poisson, FilledRectangleIsThatOfLoopsInDouble) {
    Image image = photograph();
    constexpr int left = 300, top = 280, width = 14, height = 11, fromLeft = 640, fromTop = 300;
    run(std::string(POISSON) + " " + PHOTOGRAPH +
        " filled.png --rectangle 300,280,14x11 --source 640,300 --exposure -1");
    const auto level = [&](int c, int x, int y) {
        return std::log(std::max(double(image.channel[c][y * image.width + x]), 1e-4));
    };
    const auto weight = [&](int x, int y, int dx, int dy) {
        double d = 0;
        for (int c = 0; c < 3; ++c) d += std::abs(level(c, x + dx, y + dy) - level(c, x, y)) / 3;
        return std::max(0.01, 1 / (1 + 100 * d * d));
    };
    Channels filled;
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
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                v[y * width + x] = std::exp(v[y * width + x] + level(c, fromLeft + x, fromTop + y));
    }
    expectPicture("filled.png", [&](auto pixel, int c) {
        const auto x = pixel % image.width - left, y = pixel / image.width - top;
        const bool inside = x >= 0 && y >= 0 && x < width && y < height;
        return 0.5 * (inside ? filled[c][y * width + x] : image.channel[c][pixel]);
    });
}

TEST(Reaction, CellsAndSumsAreThoseOfAPlainLoop) {
    constexpr int width = 1030, height = 24, steps = 40, size = width * height;
    const float feed = 0.03f, kill = 0.06f;
    std::vector<float> u(size, 1), v(size, 0), nextU(size), nextV(size);
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
                nextV[i] = aroundV * 0.05f + 1e-18f + v[i] * (1 - 4 * 0.05f - feed - kill) + eaten;
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
    for (const char* flag : {"set", "clear"}) {
        const std::string said = run(std::string(REACTION) +
                                     " cells.png --size 1030x24 --steps 40 --feed 0.03 "
                                     "--kill 0.06 --seed 7 --flag " +
                                     flag);
        for (const char* line : wanted) EXPECT_NE(said.find(line), std::string::npos) << line << said;
    }
}

}  // namespace
