// What the library's flag does to a picture: the time of each step, and how far its numbers part.
#pragma once

#include <optional>

#include "render.h"

/// Renders the scene step by step with the flag set and clear, and prints a line for each step. Without an
/// exposure each flag has the one that it measures itself.
void report(const Image& panorama, const Options& options, std::optional<double> exposure);
