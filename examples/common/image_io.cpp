// Reads OpenEXR through its general input interface, which converts channel types and knows tiles by itself.
#include "image_io.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <fcntl.h>
#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "files.h"

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t maxPixels = std::int64_t{1} << 27;  // 16384 x 8192; beyond it a header is likely damaged
constexpr float maxSample = 1e30f;                         // differences and products of samples stay finite

[[noreturn]] void fail(const std::string& path, const std::string& what) {
    throw std::runtime_error(path + ": " + what);
}

std::string join(const std::vector<std::string>& names) {
    std::string all;
    for (const auto& name : names) all += (all.empty() ? "" : ", ") + name;
    return all;
}

/// Which channel of the file serves red, green and blue; an empty name stands for zeros.
std::array<std::string, 3> chooseChannels(const Imf::ChannelList& list, std::vector<std::string>& notes) {
    std::vector<std::string> all, colours;
    for (auto c = list.begin(); c != list.end(); ++c) {
        // Chroma at half resolution and the like can't be shown as it is.
        const bool whole = c.channel().xSampling == 1 && c.channel().ySampling == 1;
        if (whole) all.push_back(c.name());
    }
    const auto has = [&](const std::string& name) { return std::ranges::find(all, name) != all.end(); };
    std::array<std::string, 3> chosen;
    for (int i = 0; const std::string name : {"R", "G", "B"}) {
        if (has(name)) colours.push_back(chosen[i] = name);
        ++i;
    }
    std::string grey;
    if (colours.size() == 1) grey = colours[0];
    if (colours.empty()) grey = has("Y") ? "Y" : all.size() == 1 ? all[0] : "";
    if (!grey.empty()) {
        notes.push_back("It has no full colour: channel " + grey + " is shown as grey.");
        chosen.fill(grey);
    } else if (colours.empty()) {
        throw std::runtime_error("none of its channels at full size is R, G, B or Y" +
                                 (all.empty() ? "" : " (" + join(all) + ")"));
    } else if (colours.size() == 2) {
        notes.push_back("It has channels " + join(colours) + " only; the missing colour is taken as 0.");
    }
    std::vector<std::string> rest;
    for (auto c = list.begin(); c != list.end(); ++c)
        if (std::ranges::find(chosen, c.name()) == chosen.end()) rest.push_back(c.name());
    if (!rest.empty()) notes.push_back("Channels left out: " + join(rest) + ".");
    return chosen;
}

/// Puts an image that covers only a part of the display window into its place, on black.
Image embed(const Image& part, const Imath::Box2i& data, const Imath::Box2i& display) {
    Image whole{std::int64_t{display.max.x} - display.min.x + 1, std::int64_t{display.max.y} - display.min.y + 1, {}};
    for (int c = 0; c < 3; ++c) {
        whole.channel[c].resize(whole.size());
        for (std::int64_t y = 0; y < part.height; ++y)
            std::copy_n(&part.channel[c][y * part.width], part.width,
                        &whole.channel[c][(y + data.min.y - display.min.y) * whole.width + data.min.x - display.min.x]);
    }
    return whole;
}

void makeFinite(Image& image, std::vector<std::string>& notes) {
    std::int64_t changed = 0;
    for (auto& channel : image.channel)
        for (float& sample : channel) {
            if (std::abs(sample) <= maxSample) continue;
            sample = std::isnan(sample) ? 0 : std::copysign(maxSample, sample);
            ++changed;
        }
    if (changed)
        notes.push_back(std::to_string(changed) + " samples were not a number or beyond 1e30; NaN is taken as 0.");
}

/// While it lives, nothing reaches standard error: some versions of OpenEXR write there what they also throw.
class Silence {
public:
    Silence() : before(dup(STDERR_FILENO)) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~Silence() {
        dup2(before, STDERR_FILENO);
        close(before);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    int before;
};

Image readChannels(const std::string& path, std::vector<std::string>& notes) {
    Imf::InputFile file(path.c_str());
    const Imath::Box2i data = file.header().dataWindow(), display = file.header().displayWindow();
    Image image{std::int64_t{data.max.x} - data.min.x + 1, std::int64_t{data.max.y} - data.min.y + 1, {}};
    const auto tooLarge = [](const Imath::Box2i& box) {
        return (std::int64_t{box.max.x} - box.min.x + 1) * (std::int64_t{box.max.y} - box.min.y + 1) > maxPixels;
    };
    if (tooLarge(data)) throw std::runtime_error("it has more than 134 million pixels");

    const auto names = chooseChannels(file.header().channels(), notes);
    Imf::FrameBuffer buffer;
    for (int c = 0; c < 3; ++c) {
        image.channel[c].resize(image.size());
        if (names[c].empty() || (c > 0 && names[c] == names[0])) continue;
        buffer.insert(names[c], Imf::Slice::Make(Imf::FLOAT, image.channel[c].data(), data, sizeof(float),
                                                 sizeof(float) * image.width));
    }
    file.setFrameBuffer(buffer);
    file.readPixels(data.min.y, data.max.y);
    for (int c = 1; c < 3; ++c)
        if (names[c] == names[0]) image.channel[c] = image.channel[0];
    makeFinite(image, notes);

    if (data == display) return image;
    if (display.intersects(data.min) && display.intersects(data.max) && !tooLarge(display)) {
        notes.push_back("Its pixels cover a part of its display window; the rest is black.");
        return embed(image, data, display);
    }
    notes.push_back("Its pixels don't lie within its display window; they are taken as the whole panorama.");
    return image;
}

void onPngError(png_structp png, png_const_charp text) {
    *static_cast<std::string*>(png_get_error_ptr(png)) = text;
    png_longjmp(png, 1);
}
void onPngWarning(png_structp, png_const_charp) {}

/// Gives the system's own word for what goes wrong, such as a full disk.
void writeBytes(png_structp png, png_bytep bytes, std::size_t size) {
    const int descriptor = *static_cast<const int*>(png_get_io_ptr(png));
    while (size > 0) {
        const ssize_t written = write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) png_error(png, std::strerror(errno));
        bytes += written, size -= std::size_t(written);
    }
}

/// libpng leaves by longjmp, so nothing in here may need a destructor. Failing, it leaves a
/// reason in `reason`.
bool encode(int descriptor, png_uint_32 width, png_uint_32 height, int bits, const std::uint8_t* bytes,
            Progress* progress, std::string& reason) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &reason, onPngError, onPngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &descriptor, writeBytes, nullptr);
    png_set_IHDR(png, info, width, height, bits, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    png_write_info(png, info);
    for (png_uint_32 y = 0; y < height; ++y) {
        if (progress) progress->show("writing: %d %%", int(100ll * y / height));
        png_write_row(png, bytes + std::size_t{y} * width * 3 * (bits / 8));
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

Image readExr(const std::string& path, std::vector<std::string>& notes) {
    std::error_code error;
    const auto kind = fs::status(path, error).type();
    if (kind == fs::file_type::not_found) fail(path, "there is no such file");
    if (kind != fs::file_type::regular) fail(path, "isn't a file that can be read");
    if (access(path.c_str(), R_OK) != 0) fail(path, std::strerror(errno));
    try {
        const Silence silence;
        return readChannels(path, notes);
    } catch (const std::bad_alloc&) {
        fail(path, "doesn't fit into memory");
    } catch (const std::exception& e) {
        const std::string reason = e.what();
        fail(path, "can't be read as an OpenEXR image: " + reason.substr(0, reason.find('\n')));
    }
}

void writePng(const std::string& path, std::int64_t width, std::int64_t height, int bits,
              const std::vector<std::uint8_t>& bytes, Progress* progress) {
    PartFile file(path);
    std::string reason = "libpng has no memory";
    if (!encode(file.descriptor, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), bits, bytes.data(),
                progress, reason))
        throw std::runtime_error(path + ": can't be written: " + reason);
    file.finish();
}
