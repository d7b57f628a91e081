// What is measured: calls over one set of arrays, from the library and from what a user would write
// or pick instead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

using Count = std::int64_t;

/// Arrays of one phase, or of phases apart; every kernel finds its operands here.
struct Data {
    float *d, *a, *b, *c;
    int *i, *j, *k;
    double *x, *y, *z;
    std::uint8_t* bytes;
    std::uint16_t* halves;
    std::uint32_t* mask;
};
constexpr std::size_t arrays = sizeof(Data) / sizeof(void*);  // all of its members are pointers

/// visit(array) for each array.
template <class Visit> void each(Data& q, Visit visit) {
    auto& [d, a, b, c, i, j, k, x, y, z, bytes, halves, mask] = q;
    [&](auto&... array) { (visit(array), ...); }(d, a, b, c, i, j, k, x, y, z, bytes, halves, mask);
}

/// Ordinary numbers in all arrays.
inline void fill(const Data& q, Count n) {
    std::uint32_t random = 1;
    for (Count i = 0; i < n; ++i) {
        random = random * 1664525 + 1013904223;
        q.a[i] = 0.5f + static_cast<float>(random >> 8) / (1 << 24);
        q.b[i] = 1.5f - q.a[i] / 2;
        q.c[i] = q.d[i] = static_cast<float>(random >> 9 & 0xFF) / 256;
        q.i[i] = static_cast<int>(random >> 29);
        q.j[i] = static_cast<int>(random >> 28 & 7);
        q.k[i] = 0;
        q.x[i] = static_cast<double>(q.a[i]);
        q.y[i] = static_cast<double>(q.b[i]);
        q.z[i] = 0;
        q.bytes[i] = static_cast<std::uint8_t>(random >> 24);
        q.halves[i] = 0;
        q.mask[i] = random >> 31;
    }
}

struct Kernel {
    const char* name;  // the same name is the same work, whoever does it
    void (*run)(const Data&, Count);
    int bytes = 0;  // read and written for each element; the library's rows say it for all
};
struct Kernels {
    const Kernel* first;
    std::size_t size;
};

/// The numbers that value operands stand for. The matrix keeps the mean of a vector, so that no stream decays
/// to denormals, which would be measured instead.
struct Values {
    float third = 1.0f / 3, low = 0.25f, high = 0.75f, white = 255;
    alignas(16) float matrix[4][4] = {
        {.7f, .1f, .1f, .1f}, {.1f, .7f, .1f, .1f}, {.1f, .1f, .7f, .1f}, {.1f, .1f, .1f, .7f}};
};
/// As a caller has them: known when the program runs, and to no compiler.
inline Values values() {
    Values v;
    asm volatile("" : "+m"(v));
    return v;
}

/// Where a sum goes, so that no compiler drops it and it can be compared.
inline void keep(const Data& q, double sum) { *q.z = sum; }

}  // namespace bench

// The library's rows and each peer's are a library of their own, so that every call crosses
// a library boundary.
#pragma GCC visibility push(default)
extern "C" {
bench::Kernels libraryKernels();
bench::Kernels plainKernels();
bench::Kernels nativeKernels();
bench::Kernels straightKernels();
bench::Kernels eigenKernels();
bench::Kernels volkKernels();
bench::Kernels highwayKernels();
bench::Kernels highwayNativeKernels();

/// Sets the flag of the libZEL that libraryKernels calls.
void benchForceSIMD(bool on);
/// Behind a library boundary, and empty.
void benchNothing(float*, const float*, const float*, bench::Count);
}
#pragma GCC visibility pop

namespace bench {

/// Arrays for up to `largest` elements, or for kernels that find their operands in phases apart.
constexpr Count largest = Count{1} << 25;
Data makeData(bool apart);

/// Prints the cycles of calls on 0 to 8 elements.
void printCalls();

/// Prints the times of five members one after the other over 2048 x 2048 elements.
void printChains();

/// Prints, row by row, the time of this build's libZEL over that of the library in another file, both called
/// in turn: of rows with `filter` in their name, for counts up to largest. 0 if all went well.
int compareWith(const char* library, const char* filter, std::vector<Count> counts);

}  // namespace bench
