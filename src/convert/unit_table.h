// The table of the 8-bit samples as parts of 1, computed when the library is built.
#pragma once

#include <array>

namespace zel {

/// Entry i is i / 255 rounded to six decimal places, as the nearest float: not the float nearest to i / 255.
inline constexpr std::array<float, 256> theUnitTable = [] {
    std::array<float, 256> table{};
    for (int i = 0; i < 256; ++i) {
        const int millionths = (i * 1000000 + 127) / 255;  // no i lands on a half
        table[static_cast<std::size_t>(i)] = static_cast<float>(millionths / 1e6);
    }
    return table;
}();

}  // namespace zel
