// A viewer for equirectangular HDR panoramas: OpenEXR in, PNG out, and a report of what the library did.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <tuple>

#include "ZEL_Math.h"
#include "common/arguments.h"
#include "common/image_io.h"
#include "render.h"

namespace {

constexpr const char* help = R"(usage: panorama INPUT.exr OUTPUT.png [OPTION]...

Shows what a camera in the middle of an equirectangular HDR panorama sees, and reports how long each step took
with the library's flag set and clear. Options may stand anywhere, as --name VALUE or --name=VALUE.

  --yaw DEG         turn to the right, any number (0: the middle of the panorama)
  --pitch DEG       look up, -90 to 90 (0)
  --fov DEG         width of the view, above 0 and below 180 (100)
  --size WxH        size of the picture, 1 to 16384 each way (960x540)
  --exposure STOPS  multiply the light by 2 to the power STOPS, -100 to 100. Without it the panorama's typical
                    luminance becomes 0.22; the report tells the STOPS that give the same.
  --offset V        add V to all light after exposure (0)
  --tone NAME       tone curve: filmic, reinhard or none (filmic)
  --mark-clipped    paint magenta what is blown: pixels with a channel at 1 or above after the tone curve
  --bits 8|16       bits per sample of the picture (8)
  --flat            no camera and no tone curve: the whole panorama as it lies, exposed and offset
  --help            this text

Input: any channel types; R, G and B, or one channel as grey. Output: sRGB; its curve is made of square roots and
is at most 0.0016 off. Times are the best of three runs of each step over strips of 8192 pixels, on one core.
)";

struct Command {
    std::vector<std::string> files;
    Options options;
    std::optional<double> exposure;
};

Command parse(Arguments arguments) {
    Command command;
    Options& options = command.options;
    std::string word, viewOption;
    const auto number = [&](double lowest, double highest) {
        return arguments.number(word, lowest, highest);
    };
    const std::map<std::string, std::function<void()>> view = {
        {"--yaw", [&] { options.yaw = number(-1e9, 1e9); }},
        {"--pitch", [&] { options.pitch = number(-90, 90); }},
        {"--fov", [&] { options.fov = number(1e-6, std::nextafter(180, 0)); }},
        {"--size", [&] { std::tie(options.width, options.height) = arguments.size(word, 16384); }},
        {"--tone",
         [&] {
             options.tone = arguments.oneOf(word, {"filmic", "reinhard", "none"});
         }},
    };
    const std::map<std::string, std::function<void()>> others = {
        {"--exposure", [&] { command.exposure = number(-100, 100); }},
        {"--offset", [&] { options.offset = float(number(-1e30, 1e30)); }},
        {"--mark-clipped", [&] { options.markClipped = true; }},
        {"--flat", [&] { options.flat = true; }},
        {"--bits",
         [&] {
             options.bits = std::stoi(arguments.oneOf(word, {"8", "16"}));
         }},
    };
    while (!arguments.empty()) {
        word = arguments.next();
        if (view.contains(word))
            view.at(viewOption = word)();
        else if (others.contains(word))
            others.at(word)();
        else if (word.starts_with("-"))
            throw std::runtime_error("unknown option " + word + "; --help lists them all");
        else
            command.files.push_back(word);
    }
    if (command.files.size() != 2)
        throw std::runtime_error("it takes an input and an output file; --help tells more");
    if (options.flat && !viewOption.empty())
        throw std::runtime_error("--flat shows the panorama as it lies, so " + viewOption +
                                 " can't go with it");
    if (options.flat) options.tone = "none";
    return command;
}

void printRow(const std::string& name, double clear, double set, double pixels, const std::string& remark) {
    std::printf("  %-20s %9.2f %7.0f   %9.2f %7.0f   %s\n", name.c_str(), 1e3 * clear, 1e-6 * pixels / clear,
                1e3 * set, 1e-6 * pixels / set, remark.c_str());
}

std::string differ(double difference) {
    if (difference == 0) return "differ in the sign of zeros";
    char text[64];
    std::snprintf(text, sizeof text, "differ by up to %.2g", difference);
    return text;
}

void printSteps(const Result& result, const Options& options, const Brightness& clear, const Brightness& set,
                double panoramaPixels) {
    const double pixels = double(result.width * result.height);
    std::printf("\n  %-20s %17s   %17s   %s\n  %-20s %9s %7s   %9s %7s   %s\n", "", "flag clear", "flag set",
                "numbers with the flag set and clear,", "step", "ms", "MP/s", "ms", "MP/s",
                "from the same input");
    const bool sameMean = clear.mean == set.mean && clear.typical == set.typical;
    printRow(
        "measure (dot)", clear.seconds, set.seconds, panoramaPixels,
        sameMean ? "the same bits" : differ(std::abs(clear.mean - set.mean) / clear.mean) + " of the mean");
    double all[2] = {}, library[2] = {}, relative = 0;
    for (const Row& row : result.rows) {
        const std::string remark = row.plain  ? "(a loop without the library)"
                                   : row.same ? "the same bits"
                                              : differ(row.difference);
        printRow(row.name, row.clear, row.set, pixels, remark);
        for (int k : {0, 1}) {
            const double seconds = k ? row.set : row.clear;
            all[k] += seconds;
            if (!row.plain) library[k] += seconds;
        }
        relative = std::max(relative, row.relative);
    }
    printRow("picture", all[0], all[1], pixels, "all steps but the first");
    printRow("  in the library", library[0], library[1], pixels,
             "all of them but the loops without the library");

    std::printf("\nTwo whole runs, flag set and clear: ");
    if (result.differentSamples == 0)
        std::printf("the same picture, bit by bit.\n");
    else
        std::printf("%.3g %% of the samples differ, by up to %d of %d.\n",
                    100 * double(result.differentSamples) / (3 * pixels), result.sampleDifference,
                    options.bits == 8 ? 255 : 65535);
    if (options.flat) return;
    std::printf(
        "Directions: isqrt, an estimate with the flag set, is up to %.2g of its value off; after the Newton\n"
        "step the normalised directions are up to %.2g of their length apart.\n",
        relative, result.directionDifference);
}

void run(const Command& command) {
    const std::string &input = command.files[0], &output = command.files[1];
    const Options& options = command.options;
    checkOutput(output, input);
    std::vector<std::string> notes;
    const Image panorama = readExr(input, notes);

    const Brightness clear = measure(panorama, false), set = measure(panorama, true);
    const auto stops = [&](const Brightness& b) { return command.exposure.value_or(automaticExposure(b)); };
    const auto scene = [&](double stops) { return Scene(panorama, options, float(std::exp2(stops))); };
    const Result result = render(scene(stops(set)), scene(stops(clear)));
    writePng(output, result.width, result.height, options.bits, result.picture);

    const double pixels = double(result.width * result.height);
    std::printf("%s, %lld x %lld\n", input.c_str(), (long long)panorama.width, (long long)panorama.height);
    for (const auto& note : notes) std::printf("  %s\n", note.c_str());
    std::printf("%s, %lld x %lld, %d bits\n", output.c_str(), (long long)result.width,
                (long long)result.height, options.bits);
    if (options.flat)
        std::printf("  view       the whole panorama as it lies, no tone curve\n");
    else
        std::printf("  view       yaw %g, pitch %g, %g degrees wide, tone curve %s\n", options.yaw,
                    options.pitch, options.fov, options.tone.c_str());
    std::printf("  luminance  mean %g, typical %g\n", set.mean, set.typical);
    std::printf("  exposure   %+.10g stops%s, offset %g\n", stops(set),
                command.exposure ? "" : " (automatic)", options.offset);
    std::printf("  blown      %lld pixels, %.2g %%%s\n", (long long)result.blown,
                100 * double(result.blown) / pixels, options.markClipped ? ", marked" : "");
    printSteps(result, options, clear, set, double(panorama.size()));
}

}  // namespace

int main(int argc, char** argv) {
    return program("panorama", help, argc, argv,
                   [](Arguments arguments) { run(parse(std::move(arguments))); });
}
