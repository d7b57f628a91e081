// The rounding switch: the one place where a kernel changes processor state.
#pragma once

#include <xmmintrin.h>

namespace zel {

/// While it lives, this thread's SSE arithmetic rounds toward negative infinity. All other bits of the
/// control and status register stay as they are, flags raised in between included.
class RoundDown {
public:
    RoundDown() : RoundDown(control()) {}
    ~RoundDown() { round(control(), before); }
    RoundDown(const RoundDown&) = delete;
    RoundDown& operator=(const RoundDown&) = delete;

private:
    explicit RoundDown(unsigned now) : before(now & _MM_ROUND_MASK) { round(now, _MM_ROUND_DOWN); }

    // Compilers don't know that arithmetic depends on the register. The barriers keep loads and stores, and
    // with them the arithmetic in between, on their side of the switch.
    static unsigned control() {
        asm volatile("" ::: "memory");
        return _mm_getcsr();
    }
    static void round(unsigned now, unsigned rounding) {
        _mm_setcsr((now & ~unsigned{_MM_ROUND_MASK}) | rounding);
        asm volatile("" ::: "memory");
    }

    unsigned before;
};

}  // namespace zel
