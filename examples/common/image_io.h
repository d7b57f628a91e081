// OpenEXR in, PNG out. Failures are exceptions whose text names the file and fits on one line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"
#include "progress.h"

/// Reads the first part of an OpenEXR file, scan lines or tiles, of any channel type. Samples that are not a
/// number become 0. Whatever else had to be decided about the file is told in `notes`, a sentence each.
Image readExr(const std::string& path, std::vector<std::string>& notes);

/// Writes an sRGB picture with 8 or 16 bits per sample, 16 with the high byte first: rows from the top, red,
/// green and blue side by side.
void writePng(const std::string& path, std::int64_t width, std::int64_t height, int bits,
              const std::vector<std::uint8_t>& bytes, Progress* progress = nullptr);
