// Sums over threads, in one order: the recipes of docs/cookbook.md, each compared with a plain loop, and
// their cost beside that of a single call.
#include <numeric>

#include "recipe.h"

constexpr std::int64_t blockLength = 16384;

/// Sums of blocks by any number of threads, then the sum of these in order: the same bits for any number, any
/// flag, address and machine. product(i, n) is a sum over the n elements from i on.
template <class Product>
double inBlocks(std::int64_t num, [[maybe_unused]] int threads, Product product) {
    std::vector<double> sums((num + blockLength - 1) / blockLength);
#pragma omp parallel for num_threads(threads)
    for (std::size_t k = 0; k < sums.size(); ++k) {
        const std::int64_t i = blockLength * static_cast<std::int64_t>(k);
        sums[k] = product(i, std::min(blockLength, num - i));
    }
    return std::accumulate(sums.begin(), sums.end(), 0.0);
}

/// The sum is a product with ones, of which one block will do.
double sum(const float* x, std::int64_t num, int threads) {
    const Floats ones(blockLength, 1.0f);
    return inBlocks(num, threads, [&](auto i, auto n) { return ZEL_Math::dotSISD(x + i, ones.data(), n); });
}

double norm(const float* x, std::int64_t num, int threads) {
    return std::sqrt(
        inBlocks(num, threads, [&](auto i, auto n) { return ZEL_Math::dotSISD(x + i, x + i, n); }));
}

/// double has no sums: a loop of your own, in one order.
double sumOfDoubles(const double* x, std::int64_t num) { return std::accumulate(x, x + num, 0.0); }

/// Blocks in a plain loop.
double wanted(const float* x, std::int64_t num, bool squares) {
    double total = 0;
    for (std::int64_t i = 0; i < num; i += blockLength) {
        double block = 0;
        for (std::int64_t k = i; k < std::min(num, i + blockLength); ++k)
            block += squares ? x[k] * x[k] : x[k];
        total += block;
    }
    return total;
}

int main() {
    const Floats room = numbers(1 << 20, -1, 3);
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        for (const std::int64_t num : {0, 1, 16384, 16385, 1000001})
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
    cost("norm, two threads", n, [&] { keep += norm(room.data(), n, 2); });
    cost("dot with the lanes, one thread", n, [&] { keep += ZEL_Math::dot(room.data(), room.data(), n); });
    cost("sum of doubles, a loop", n, [&] { keep += sumOfDoubles(doubles.data(), n); });
    expect("a number", !std::isnan(keep));
    return theFailures;
}
