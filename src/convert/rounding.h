// The rounding switch: the one place where a kernel changes processor state.
#pragma once

#include <xmmintrin.h>

namespace zel {

/// While it lives, this thread's SSE arithmetic rounds toward negative infinity. All other bits of the
/// control and status register stay as they are, flags raised in between included.
class RoundDown {
public:
    RoundDown() : before(_mm_getcsr() & _MM_ROUND_MASK) { switchTo(_MM_ROUND_DOWN); }
    ~RoundDown() { switchTo(before); }
    RoundDown(const RoundDown&) = delete;
    RoundDown& operator=(const RoundDown&) = delete;

private:
    // Compilers don't know that arithmetic depends on the register. The barriers keep loads and stores, and
    // with them the arithmetic in between, on their side of the switch.
    static void switchTo(unsigned rounding) {
        asm volatile("" ::: "memory");
        _mm_setcsr((_mm_getcsr() & ~unsigned{_MM_ROUND_MASK}) | rounding);
        asm volatile("" ::: "memory");
    }

    unsigned before;
};

}  // namespace zel
