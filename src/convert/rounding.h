// float to int, and the rounding switch: the one place where a kernel changes processor state.
#pragma once

#include <xmmintrin.h>

#include <cmath>

namespace zel {

/// 2^31, the first float above 0 that no int can hold.
inline constexpr float inexpressible = 2147483648.0f;

/// Truncation, with the processor's result for what doesn't fit an int: -2147483648. C++ leaves such a conversion
/// undefined, so -2^31 is chosen first for NaN, infinities and numbers that are too large. Unlike the scalar conversion
/// instruction, this form vectorises.
inline int truncate(float x) { return static_cast<int>(std::fabs(x) < inexpressible ? x : -inexpressible); }

/// The same word by that instruction, for a single element.
inline int truncateOne(float x) { return _mm_cvttss_si32(_mm_set_ss(x)); }

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
