// Fills a rectangle of a photograph from its surroundings, by a Poisson equation solved on
// the library's kernels.
#include <optional>
#include <tuple>

#include "common/image_io.h"
#include "common/program.h"
#include "common/progress.h"
#include "common/srgb.h"
#include "system.h"

namespace {

constexpr const char* help = R"(usage: poisson INPUT.exr OUTPUT.png --rectangle X,Y,WxH [OPTION]...

Fills a rectangle of a picture with what is seen elsewhere in it, fitted seamlessly to the surroundings, or with a
smooth membrane between them.

  --rectangle X,Y,WxH  what to fill: its upper left pixel, counted from 0, and its size
  --source X,Y         upper left pixel of what fills it. Without this option it is a membrane.
  --tolerance T        residual, relative to the right side, at which it is solved, 1e-9 to 0.5 (1e-5)
  --iterations N       most iterations for one colour, 1 to 1000000 (10000)
  --exposure STOPS     multiply the light by 2 to the power STOPS, -100 to 100 (0)
  --help               this text

Rectangle and source may touch the border of the picture, where pixels have fewer neighbours, as long as anything
surrounds the rectangle. A picture has at most 134 million pixels. Each takes 52 bytes of memory, and 60 more in the
rectangle; what isn't free of that is told before it is taken.

The unknown is the logarithm of filling / source: inside, each is the weighted mean of its neighbours. The weight is
1 / (1 + (d / 0.1)^2), at least 0.01, where logarithms of the source differ by d: a change is hardly seen there.
)";
constexpr int bytesPerPixel = 52, bytesPerUnknown = 60;

struct Place {
    std::int64_t x = 0, y = 0, width = 0, height = 0;

    bool has(std::int64_t px, std::int64_t py) const { return px >= x && py >= y && px < x + width && py < y + height; }
    void check(const std::string& option, const Place& all) const {
        if (!all.has(x, y) || !all.has(x + width - 1, y + height - 1))
            throw std::runtime_error(option + " doesn't lie within the picture, " + std::to_string(all.width) + "x" +
                                     std::to_string(all.height));
    }
};

struct Command {
    std::vector<std::string> files;
    std::optional<Place> rectangle, source;
    double tolerance = 1e-5, stops = 0;
    int iterations = 10000;
};

Command parse(Arguments arguments) {
    Command command;
    const auto place = [&](const std::string& option, bool sized) {
        const std::string text = arguments.value(option);
        long long x = 0, y = 0, width = 0, height = 0;
        int end[2] = {};
        std::sscanf(text.c_str(), "%6lld,%6lld%n,%6lldx%6lld%n", &x, &y, &end[0], &width, &height, &end[1]);
        if (text.empty() || end[sized] != int(text.size()))
            throw std::runtime_error(option + " is written " + (sized ? "X,Y,WxH" : "X,Y") + ", not '" + text + "'");
        if (sized && (width < 1 || height < 1)) throw std::runtime_error(option + " is empty");
        return Place{x, y, width, height};
    };
    command.files = arguments.files({
        {"--rectangle", [&](auto& option) { command.rectangle = place(option, true); }},
        {"--source", [&](auto& option) { command.source = place(option, false); }},
        {"--tolerance", [&](auto& option) { command.tolerance = arguments.number(option, 1e-9, 0.5); }},
        {"--iterations",
         [&](auto& option) { command.iterations = int(arguments.number(option, 1, 1e6, Arguments::whole)); }},
        {"--exposure", [&](auto& option) { command.stops = arguments.number(option, -100, 100); }},
    });
    if (command.files.size() != 2 || !command.rectangle)
        throw std::runtime_error("it takes an input, an output file and --rectangle; --help tells more");
    if (command.source)
        std::tie(command.source->width, command.source->height) =
            std::tie(command.rectangle->width, command.rectangle->height);
    return command;
}

using Levels = std::array<Floats, 3>;  // logarithms of light

System pose(const Levels& level, const Levels& source, const Place& picture, const Place& to, const Place& from) {
    System system(to.width, to.height);
    bool surrounded = false;
    for (std::int64_t i = 0; i < to.width * to.height; ++i)
        for (const auto& [across, down] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            const std::int64_t x = i % to.width, y = i / to.width, k = system.at(x, y);
            const std::int64_t nx = x + across, ny = y + down;
            if (!picture.has(to.x + nx, to.y + ny) || !picture.has(from.x + nx, from.y + ny)) continue;
            const std::int64_t here = (from.y + y) * picture.width + from.x + x;
            const std::int64_t there = here + down * picture.width + across;
            float difference = 0;
            for (const Floats& s : source) difference += std::abs(s[there] - s[here]) / 3;
            const float weight = std::max(0.01f, 1 / (1 + 100 * difference * difference));
            system.diagonal[k] += weight;
            if (to.has(to.x + nx, to.y + ny)) {
                if (across > 0) system.east[k] = -weight;
                if (down > 0) system.south[k] = -weight;
                continue;
            }
            surrounded = true;
            for (int c = 0; c < 3; ++c)
                system.right[c][k] += weight * (level[c][(to.y + ny) * picture.width + to.x + nx] - source[c][there]);
        }
    if (!surrounded) throw std::runtime_error("nothing surrounds the rectangle, so there is nothing to fit it to");
    return system;
}

std::vector<std::uint8_t> develop(Image& image, double stops) {
    const std::int64_t size = image.size();
    Floats root(size), line(size);
    Array<int> kept(size);
    std::vector<std::uint8_t> sample(size), picture(3 * size);
    for (int c = 0; c < 3; ++c) {
        float* x = image.channel[c].data();
        ZEL_Math::mul(x, x, float(std::exp2(stops)), size);
        ZEL_Math::clamp(x, x, 0, 1, size);
        toSrgb(x, root.data(), line.data(), kept.data(), size);
        ZEL_Math::wpoint(sample.data(), x, 255, 255, 0, size);
        for (std::int64_t i = 0; i < size; ++i) picture[3 * i + c] = sample[i];
    }
    return picture;
}

void printReport(const System& system) {
    float least = 4, most = 0;
    for (float d : system.diagonal)
        if (d > 0) least = std::min(least, d), most = std::max(most, d);
    std::printf("  diagonal    %.3g to %.3g%s\n", least, most,
                least == most ? ": preconditioning by it is only a scale" : "");
    const auto [red, green, blue] = system.iterations;
    std::printf("  iterations  %d, %d, %d for red, green, blue\n", red, green, blue);
    std::printf("  residuals   %.2g, %.2g, %.2g\n", system.residual[0], system.residual[1], system.residual[2]);
}

void run(Ranks&, Arguments arguments) {
    const Command command = parse(std::move(arguments));
    const std::string &input = command.files[0], &output = command.files[1];
    checkFiles({{"the input", input}, pngOutput(output)});
    std::vector<std::string> notes;
    Image image = readExr(input, notes, bytesPerPixel);
    const Place picture{0, 0, image.width, image.height}, to = *command.rectangle;
    const Place from = command.source.value_or(to);
    to.check("--rectangle", picture);
    from.check("--source", picture);
    askMemory("--rectangle", double(bytesPerUnknown) * double(to.width * to.height));
    PngFile file(output, image.width, image.height, 8);

    Levels level, source;
    for (int c = 0; c < 3; ++c) {
        level[c].reserve(image.size());
        for (float light : image.channel[c])  // lossy files dip below 0
            level[c].push_back(std::log(std::max(light, 1e-4f)));
        source[c] = command.source ? level[c] : Floats(image.size());
    }
    System system = pose(level, source, picture, to, from);
    {
        Progress progress;
        for (int c = 0; c < 3; ++c)
            system.solve(c, command.tolerance, command.iterations, [&] {
                progress.show("%s: iteration %d, residual %.2e", std::array{"red", "green", "blue"}[c],
                              system.iterations[c], system.residual[c]);
            });
    }
    for (int c = 0; c < 3; ++c)
        for (std::int64_t i = 0; i < to.width * to.height; ++i) {
            const std::int64_t x = i % to.width, y = i / to.width;
            image.channel[c][(to.y + y) * image.width + to.x + x] =
                std::exp(source[c][(from.y + y) * image.width + from.x + x] + system.solution[c][system.at(x, y)]);
        }
    const std::vector<std::uint8_t> samples = develop(image, command.stops);
    for (std::int64_t y = 0; y < image.height; ++y) file.row(&samples[3 * y * image.width]);
    file.finish();

    std::printf("%s, %lld x %lld\n", input.c_str(), (long long)image.width, (long long)image.height);
    for (const auto& note : notes) std::printf("  %s\n", note.c_str());
    std::printf("%s, %lld x %lld pixels of it %s\n", output.c_str(), (long long)to.width, (long long)to.height,
                command.source ? "filled from elsewhere" : "filled by a membrane");
    printReport(system);
}

}  // namespace

int main(int argc, char** argv) { return program("poisson", help, argc, argv, run); }
