// A viewer for equirectangular HDR panoramas: OpenEXR in, PNG out.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>
#include <tuple>

#include "common/image_io.h"
#include "common/program.h"
#include "render.h"
#include "report.h"

namespace {

constexpr const char* help = R"(usage: panorama INPUT.exr OUTPUT.png [OPTION]...

Shows what a camera in the middle of an equirectangular HDR panorama sees. Options may stand anywhere, as
--name VALUE or --name=VALUE.

  --yaw DEG         turn to the right, any number (0: the middle of the panorama)
  --pitch DEG       look up, -90 to 90 (0)
  --fov DEG         width of the view, above 0 and below 180 (100)
  --size WxH        size of the picture, 1 to 16384 each way. Without it, 16 by 9 at the panorama's own resolution
                    in the middle of the view: more would show no more.
  --exposure STOPS  multiply the light by 2 to the power STOPS, -100 to 100. Without it the panorama's typical
                    luminance becomes 0.22; the report tells the STOPS that give the same. Several numbers, with
                    commas, make pictures side by side.
  --offset V        add V to all light after exposure (0)
  --tone NAME       tone curve: filmic, reinhard or none (filmic)
  --mark-clipped    paint magenta what is blown: pixels with a channel at 1 or above after the tone curve
  --bits 8|16       bits per sample of the picture (8)
  --flat            no camera and no tone curve: the whole panorama as it lies, exposed and offset
  --report          tell how long each step takes with the library's flag set and clear, as the best of three runs
                    over strips of 8192 pixels, on one core, and how far the numbers part
  --help            this text

Input: any channel types; R, G and B, or one channel as grey; at most 134 million pixels, 20 bytes of memory each.
What isn't free of that is told before it is taken. Output: sRGB; its curve is made of square roots and is at most
0.0016 off.
)";
constexpr int bytesPerPixel = 20;  // three channels, luminance and its weights

struct Command {
    std::vector<std::string> files;
    Options options;
    std::vector<double> exposures;  // none: the automatic one
    bool report = false;
};

Command parse(Arguments arguments) {
    Command command;
    Options& options = command.options;
    std::string viewOption;
    const auto number = [&](double& to, double lowest, double highest, Arguments::Kind kind = Arguments::any) {
        return [&arguments, &to, &viewOption, lowest, highest, kind](const std::string& option) {
            to = arguments.number(viewOption = option, lowest, highest, kind);
        };
    };
    const auto oneOf = [&](const std::string& option, std::initializer_list<const char*> names) {
        return arguments.oneOf(option, names);
    };
    command.files = arguments.files({
        {"--yaw", number(options.yaw, -1e9, 1e9)},
        {"--pitch", number(options.pitch, -90, 90)},
        {"--fov", number(options.fov, 0, 180, Arguments::inside)},
        {"--size",
         [&](auto& option) { std::tie(options.width, options.height) = arguments.size(viewOption = option, 16384); }},
        {"--tone",
         [&](auto& option) {
             options.tone = oneOf(viewOption = option, {"filmic", "reinhard", "none"});
         }},
        {"--exposure", [&](auto& option) { command.exposures = arguments.numbers(option, -100, 100); }},
        {"--offset", [&](auto& option) { options.offset = float(arguments.number(option, -1e30, 1e30)); }},
        {"--mark-clipped", [&](auto&) { options.markClipped = true; }},
        {"--report", [&](auto&) { command.report = true; }},
        {"--flat", [&](auto&) { options.flat = true; }},
        {"--bits",
         [&](auto& option) {
             options.bits = std::stoi(oneOf(option, {"8", "16"}));
         }},
    });
    if (command.files.size() != 2) throw std::runtime_error("it takes an input and an output file; --help tells more");
    if (options.flat && !viewOption.empty())
        throw std::runtime_error("--flat shows the panorama as it lies, so " + viewOption + " can't go with it");
    if (options.flat) options.tone = "none";
    if (command.report && command.exposures.size() > 1)
        throw std::runtime_error("--report takes its times at one exposure");
    return command;
}

void run(Command command) {
    const std::string &input = command.files[0], &output = command.files[1];
    Options& options = command.options;
    checkFiles({{"the input", input}, pngOutput(output)});
    std::vector<std::string> notes;
    const Image panorama = readExr(input, notes, bytesPerPixel);
    if (options.width == 0) {
        const double texels =
            double(panorama.width) / std::numbers::pi * std::tan(options.fov * std::numbers::pi / 360);
        options.width = std::int64_t(std::clamp(texels, 16.0, 16384.0));
        options.height = options.width * 9 / 16;
    }

    const Brightness brightness = measure(panorama);
    const bool automatic = command.exposures.empty();
    if (automatic) command.exposures = {automaticExposure(brightness)};
    const auto [width, height] = Scene(panorama, options, 0).size();
    const std::int64_t row = width * 3 * options.bits / 8, count = std::int64_t(command.exposures.size());
    PngFile file(output, count * width, height, options.bits);
    askMemory(output + ": a picture of this size", double(row * height * count));
    std::int64_t blown = 0;
    std::string stops;
    {
        Progress progress;
        std::vector<Picture> pictures;
        for (const double exposure : command.exposures) {
            pictures.push_back(render(Scene(panorama, options, exposure), progress));
            blown += pictures.back().blown;
            char text[40];
            std::snprintf(text, sizeof text, "%s%+.10g", stops.empty() ? "" : ", ", exposure);
            stops += text;
        }
        for (std::int64_t y = 0; y < height; ++y) {
            std::vector<std::uint8_t> sideBySide;
            for (const Picture& p : pictures)
                sideBySide.insert(sideBySide.end(), &p.bytes[y * row], &p.bytes[y * row] + row);
            file.row(sideBySide.data());
            progress.show("writing: %d %%", int(100 * y / height));
        }
        file.finish();
    }

    const double pixels = double(count * width * height);
    std::printf("%s, %lld x %lld\n", input.c_str(), (long long)panorama.width, (long long)panorama.height);
    for (const auto& note : notes) std::printf("  %s\n", note.c_str());
    std::printf("%s, %lld x %lld, %d bits\n", output.c_str(), (long long)(count * width), (long long)height,
                options.bits);
    if (options.flat)
        std::printf("  view       the whole panorama as it lies, no tone curve\n");
    else
        std::printf("  view       yaw %g, pitch %g, %g degrees wide, tone curve %s\n", options.yaw, options.pitch,
                    options.fov, options.tone.c_str());
    std::printf("  luminance  mean %g, typical %g\n", brightness.mean, brightness.typical);
    std::printf("  exposure   %s stops%s, offset %g\n", stops.c_str(), automatic ? " (automatic)" : "", options.offset);
    std::printf("  blown      %lld pixels, %.2g %%%s\n", (long long)blown, 100 * double(blown) / pixels,
                options.markClipped ? ", marked" : "");
    if (command.report) report(panorama, options, automatic ? std::nullopt : std::optional(command.exposures[0]));
}

}  // namespace

int main(int argc, char** argv) {
    return program("panorama", help, argc, argv, [](Ranks&, Arguments arguments) { run(parse(std::move(arguments))); });
}
