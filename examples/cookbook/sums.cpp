// Sums over threads, in one order: the recipes of docs/cookbook.md, each compared with a plain loop, and
// their cost beside that of a single call.
#include <numeric>

#include "recipe.h"

constexpr std::int64_t blockLength = 1024;  // dotSIMD's own: a call is one block, or less at the end

/// Sums of blocks by any number of threads, then the sum of these in order: the same bits for any number, any
/// flag, address and machine. product(a, n) is a sum over n elements from a on, which lies on 16 bytes.
template <class Product>
double inBlocks(const float* x, std::int64_t num, [[maybe_unused]] int threads, Product product) {
    const bool aligned = reinterpret_cast<std::uintptr_t>(x) % 16 == 0;
    std::vector<double> sums((num + blockLength - 1) / blockLength);
#pragma omp parallel for num_threads(threads)
    for (std::size_t k = 0; k < sums.size(); ++k) {
        const float* block = x + blockLength * static_cast<std::int64_t>(k);
        const std::int64_t n = std::min<std::int64_t>(blockLength, x + num - block);
        alignas(16) float copy[blockLength];
        if (!aligned) std::copy(block, block + n, copy);
        sums[k] = product(aligned ? block : copy, n);
    }
    return std::accumulate(sums.begin(), sums.end(), 0.0);
}

/// The sum is a product with ones, of which one block will do.
double sum(const float* x, std::int64_t num, int threads) {
    alignas(16) float ones[blockLength];
    ZEL_Math::set(ones, 1.0f, blockLength);
    return inBlocks(x, num, threads, [&](auto a, auto n) { return ZEL_Math::dotSIMD(a, ones, n); });
}

double norm(const float* x, std::int64_t num, int threads) {
    return std::sqrt(inBlocks(x, num, threads, [](auto a, auto n) { return ZEL_Math::dotSIMD(a, a, n); }));
}

/// double has no sums: a loop of your own, in one order.
double sumOfDoubles(const double* x, std::int64_t num) { return std::accumulate(x, x + num, 0.0); }

/// The same order in plain loops: of a block what is left of four, then the sum of its four lanes.
double wanted(const float* x, std::int64_t num, bool squares) {
    double total = 0;
    for (std::int64_t i = 0; i < num; i += blockLength) {
        const std::int64_t end = std::min(num, i + blockLength), whole = i + (end - i) / 4 * 4;
        const auto term = [&](std::int64_t k) { return squares ? x[k] * x[k] : x[k]; };
        float lane[4] = {};
        for (std::int64_t k = i; k < whole; ++k) lane[k % 4] += term(k);
        double block = 0;
        for (std::int64_t k = whole; k < end; ++k) block += double{term(k)};
        total += block + double{lane[0] + lane[1] + lane[2] + lane[3]};
    }
    return total;
}

int main() {
    const Floats room = numbers(1 << 20, -1, 3);
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        for (const std::int64_t num : {0, 1, 1023, 16384, 16387, 1000001})
            for (const int offset : {0, 1, 3})
                for (const int threads : {1, 2, 3}) {
                    const float* x = room.data() + offset;
                    expect("sum", sum(x, num, threads) == wanted(x, num, false));
                    expect("norm", norm(x, num, threads) == std::sqrt(wanted(x, num, true)));
                }
    }
    const auto n = static_cast<std::int64_t>(room.size());
    const std::vector<double> doubles(room.begin(), room.end());
    double keep = 0;
    cost("sum, one thread", n, [&] { keep += sum(room.data(), n, 1); });
    cost("sum, two threads", n, [&] { keep += sum(room.data(), n, 2); });
    cost("sum, one thread, other phase", n - 1, [&] { keep += sum(room.data() + 1, n - 1, 1); });
    cost("norm, one thread", n, [&] { keep += norm(room.data(), n, 1); });
    cost("dot, one thread", n, [&] { keep += ZEL_Math::dotSIMD(room.data(), room.data(), n); });
    cost("dotSISD, one thread", n, [&] { keep += ZEL_Math::dotSISD(room.data(), room.data(), n); });
    cost("sum of doubles, a loop", n, [&] { keep += sumOfDoubles(doubles.data(), n); });
    expect("a number", !std::isnan(keep));
    return theFailures;
}
