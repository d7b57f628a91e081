// The snippets of docs/reproducibility.md: a result that has the same bits on every machine.
#include <cstdio>
#include <cstring>
#include <vector>

#include "ZEL_Math.h"

/// While it lives, plain members run element loops in the whole process.
struct PortableBits {
    const bool before = ZEL_Math::isSIMD();
    PortableBits() { ZEL_Math::forceSIMD(false); }
    ~PortableBits() { ZEL_Math::forceSIMD(before); }
};

/// A checksum to compare with the one in a golden file.
std::uint64_t fingerprint(const float* a, std::int64_t num) {
    std::uint64_t hash = 14695981039346656037u;
    for (std::int64_t i = 0; i < num; ++i) {
        std::uint32_t word;
        std::memcpy(&word, a + i, sizeof word);
        hash = (hash ^ word) * 1099511628211u;
    }
    return hash;
}

/// Lengths normalised, by members whose lane forms are estimates and blocked sums.
std::uint64_t work(std::int64_t offset) {
    const std::int64_t num = 5000;
    std::vector<float> room(num + offset), roots(num + offset);
    float *a = room.data() + offset, *r = roots.data() + offset;
    for (std::int64_t i = 0; i < num; ++i) a[i] = 1 + 0.25f * static_cast<float>(i % 97);
    ZEL_Math::isqrt(r, a, num);
    ZEL_Math::mul(a, a, static_cast<float>(1 / ZEL_Math::dot(r, r, num)), num);
    return fingerprint(a, num);
}

int main() {
    int different = 0;
    for (std::int64_t offset = 1; offset < 4; ++offset) different += work(offset) != work(0);
    std::printf("flag set:   %d of 3 other addresses give other bits here\n", different);

    const PortableBits portable;
    for (std::int64_t offset = 0; offset < 4; ++offset) {
        const std::uint64_t got = work(offset);
        std::printf("flag clear: %016llx\n", static_cast<unsigned long long>(got));
        if (got != 0x0e0b620f1c4ef1fa) return 1;
    }
}
