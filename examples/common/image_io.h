// OpenEXR in, PNG out. Failures are exceptions whose text names the file and fits on one line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files.h"
#include "image.h"

struct png_struct_def;
struct png_info_def;

/// Reads the first part of an OpenEXR file, scan lines or tiles, of any channel type. Samples that are not a
/// number become 0. Whatever else had to be decided about the file is told in `notes`, a sentence each. What the
/// program is to take of memory for it, so many bytes a pixel, is asked for first.
Image readExr(const std::string& path, std::vector<std::string>& notes, int bytesPerPixel);

/// Refuses what doesn't fit into the memory that is free: the system may grant it, and end the program later.
void askMemory(const std::string& what, double bytes);

/// An sRGB picture with 8 or 16 bits per sample, 16 with the high byte first: rows from the top, red, green and
/// blue side by side.
class PngFile {
public:
    PngFile(const std::string& path, std::int64_t width, std::int64_t height, int bits);
    ~PngFile();
    void row(const std::uint8_t* samples);
    void finish();

private:
    explicit PngFile(const std::string& path) : file(path) {}
    void attempt(auto work);

    PartFile file;
    png_struct_def* png = nullptr;
    png_info_def* info = nullptr;
    std::string reason;
};
