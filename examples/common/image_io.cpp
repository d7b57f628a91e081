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
#include <fstream>
#include <stdexcept>

namespace {

constexpr std::int64_t maxPixels = std::int64_t{1} << 27;  // 16384 x 8192; beyond it a header is likely damaged
constexpr std::int64_t maxSide = 1000000;                  // of a PNG, for those who read it by libpng
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

/// A number of a file of the system's, behind a word if there is one; none is infinite.
double read(const char* path, const std::string& label) {
    std::ifstream file(path);
    for (std::string word = label.empty() ? "" : " "; word != label;)
        if (!(file >> word)) return INFINITY;
    double number = 0;
    return file >> number ? number : INFINITY;
}

std::int64_t pixels(const Imath::Box2i& box) {
    return (std::int64_t{box.max.x} - box.min.x + 1) * (std::int64_t{box.max.y} - box.min.y + 1);
}

Image readChannels(const std::string& path, std::vector<std::string>& notes, int bytesPerPixel) {
    Imf::InputFile file(path.c_str());
    const Imath::Box2i data = file.header().dataWindow(), display = file.header().displayWindow();
    if (pixels(data) > maxPixels) throw std::runtime_error("it has more than 134 million pixels");
    const auto names = chooseChannels(file.header().channels(), notes);
    Imath::Box2i frame = data;
    if (data == display) {
    } else if (!display.intersects(data.min) || !display.intersects(data.max)) {
        notes.push_back("Its pixels don't lie within its display window; they are taken as the whole panorama.");
    } else if (pixels(display) > maxPixels) {
        notes.push_back(
            "Its display window has more than 134 million pixels; those it has are taken as the whole panorama.");
    } else {
        notes.push_back("Its pixels cover a part of its display window; the rest is black.");
        frame = display;
    }
    Image image{std::int64_t{frame.max.x} - frame.min.x + 1, std::int64_t{frame.max.y} - frame.min.y + 1, {}};
    askMemory("it", double(bytesPerPixel) * double(image.size()));

    Imf::FrameBuffer buffer;
    const std::int64_t place = (std::int64_t{data.min.y} - frame.min.y) * image.width + data.min.x - frame.min.x;
    for (int c = 0; c < 3; ++c) {
        image.channel[c].resize(image.size());
        if (names[c].empty() || (c > 0 && names[c] == names[0])) continue;
        buffer.insert(names[c], Imf::Slice::Make(Imf::FLOAT, &image.channel[c][place], data, sizeof(float),
                                                 sizeof(float) * image.width));
    }
    file.setFrameBuffer(buffer);
    file.readPixels(data.min.y, data.max.y);
    for (int c = 1; c < 3; ++c)
        if (names[c] == names[0]) image.channel[c] = image.channel[0];
    makeFinite(image, notes);
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

}  // namespace

void askMemory(const std::string& what, double bytes) {
    const double free = std::min(1024 * read("/proc/meminfo", "MemAvailable:"), read("/sys/fs/cgroup/memory.max", ""));
    if (bytes <= free) return;
    char text[100];
    std::snprintf(text, sizeof text, " takes %.3g GB of memory, where %.3g GB are free", 1e-9 * bytes, 1e-9 * free);
    throw std::runtime_error(what + text);
}

Image readExr(const std::string& path, std::vector<std::string>& notes, int bytesPerPixel) {
    try {
        const Silence silence;
        Image image = readChannels(path, notes, bytesPerPixel);
        for (std::string& note : notes)  // a channel's name could command a terminal
            std::ranges::replace_if(
                note, [](char c) { return c < ' ' || c > '~'; }, '?');
        return image;
    } catch (const std::bad_alloc&) {
        fail(path, "doesn't fit into memory");
    } catch (const std::runtime_error& e) {  // OpenEXR's are others
        fail(path, e.what());
    } catch (const std::exception& e) {
        const std::string reason = e.what();
        for (const char* words : {"allocate memory", "bad_alloc"})  // some of them tell of it like this
            if (reason.find(words) != std::string::npos) fail(path, "doesn't fit into memory");
        fail(path, "can't be read as an OpenEXR image: " + reason.substr(0, reason.find('\n')));
    }
}

/// libpng leaves by longjmp, so nothing that `work` begins may need a destructor.
void PngFile::attempt(auto work) {
    if (setjmp(png_jmpbuf(png))) throw std::runtime_error(file.path + ": can't be written: " + reason);
    work();
}

PngFile::PngFile(const std::string& path, std::int64_t width, std::int64_t height, int bits) : PngFile(path) {
    if (std::max(width, height) > maxSide)
        fail(path, std::to_string(width) + " x " + std::to_string(height) + " pixels are too many: a PNG has " +
                       std::to_string(maxSide) + " either way");
    png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &reason, onPngError, onPngWarning);
    info = png ? png_create_info_struct(png) : nullptr;
    if (!info) throw std::bad_alloc();
    attempt([&] {
        png_set_write_fn(png, &file.descriptor, writeBytes, nullptr);
        png_set_IHDR(png, info, png_uint_32(width), png_uint_32(height), bits, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
        png_write_info(png, info);
    });
}

PngFile::~PngFile() { png_destroy_write_struct(&png, &info); }

void PngFile::row(const std::uint8_t* samples) {
    attempt([&] { png_write_row(png, samples); });
}

void PngFile::finish() {
    attempt([&] { png_write_end(png, info); });
    file.finish();
}
