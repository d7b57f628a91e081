// The lines of use that README shows.
#include <cstdio>
#include <vector>

#include "ZEL_Math.h"

int main() {
    std::vector<float> signal(1000, 0.25f), gain(1000, 2.0f), out(1000);
    const std::int64_t n = 1000;
    ZEL_Math::mul(out.data(), signal.data(), gain.data(), n);        // out[i] = signal[i] * gain[i]
    ZEL_Math::clamp(out.data(), out.data(), 0.0f, 0.375f, n);        // in place is fine
    std::printf("%g\n", ZEL_Math::dot(out.data(), gain.data(), n));  // prints 750
}
