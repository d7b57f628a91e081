// Lane constants: 16-byte blocks that lane formulas read. They are part of the load image, so they hold from
// the moment the library is mapped, and no store through a caller's pointer makes a compiler read them again.
#pragma once

#include <emmintrin.h>

namespace zel {

alignas(16) inline constexpr int theLaneZeroWords[4] = {0, 0, 0, 0};
alignas(16) inline constexpr int theLaneInfinityWords[4] = {0x7F800000, 0x7F800000, 0x7F800000, 0x7F800000};
alignas(16) inline constexpr int theLaneOneWords[4] = {1, 1, 1, 1};

}  // namespace zel
