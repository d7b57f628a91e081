// Every family at a few sizes, with the flag set, clear, and phases apart, beside the peers that are installed.
// Names read kernel/who/elements: "set", "clear" and "apart" are the library, everything else is a peer.
#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <cstring>
#include <string>
#include <vector>

#include "ZEL_Math.h"
#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;
using Z = ZEL_Math;

struct Row : bench::Kernel {
    int bytes;  // read and written for each element
};

const bench::Values v = bench::values();
#define ROW(name, bytes, ...)                                      \
    {                                                              \
        {name, [](const Data& q, Count n) { __VA_ARGS__; }}, bytes \
    }

const Row rows[] = {
    ROW("add", 12, Z::add(q.d, q.a, q.b, n)),
    ROW("add int", 12, Z::add(q.k, q.i, q.j, n)),
    ROW("add double", 24, Z::add(q.z, q.x, q.y, n)),
    ROW("mul value", 8, Z::mul(q.d, q.a, v.third, n)),
    ROW("div", 12, Z::div(q.d, q.a, q.b, n)),
    ROW("fdiv", 12, Z::fdiv(q.d, q.a, q.b, n)),
    ROW("safediv", 12, Z::safediv(q.d, q.a, q.b, n)),
    ROW("invert", 8, Z::invert(q.d, q.a, n)),
    ROW("sqrt", 8, Z::sqrt(q.d, q.a, n)),
    ROW("fsqrt", 8, Z::fsqrt(q.d, q.a, n)),
    ROW("isqrt", 8, Z::isqrt(q.d, q.a, n)),
    ROW("abs", 8, Z::abs(q.d, q.a, n)),
    ROW("negate", 8, Z::negate(q.d, q.a, n)),
    ROW("zelmin", 12, Z::zelmin(q.d, q.a, q.b, n)),
    ROW("clamp", 8, Z::clamp(q.d, q.a, v.low, v.high, n)),
    ROW("madd", 16, Z::madd(q.d, q.a, q.b, n)),
    ROW("scaleoffset values", 8, Z::scaleoffset(q.d, v.third, v.low, n)),
    ROW("lerp", 16, Z::lerp(q.d, q.a, q.b, q.c, n)),
    ROW("lt", 12, Z::lt(q.k, q.a, q.b, n)),
    ROW("lt value", 8, Z::lt(q.k, q.a, v.third, n)),
    ROW("le int", 12, Z::le(q.k, q.i, q.j, n)),
    ROW("lt double", 20, Z::lt(q.k, q.x, q.y, n)),
    ROW("fastlt value", 8, Z::fastlt(q.k, q.a, v.third, n)),
    ROW("band", 12, Z::band(q.k, q.i, q.j, n)),
    ROW("set", 4, Z::set(q.d, v.third, n)),
    ROW("set masked", 16, Z::set(q.k, q.i, n, q.mask)),
    ROW("swap", 16, Z::swap(q.a, q.b, n)),
    ROW("cast", 8, Z::cast(q.k, q.a, n)),
    ROW("floor", 8, Z::floor(q.k, q.a, n)),
    ROW("splitFloat", 12, Z::splitFloat(q.k, q.d, q.a, n)),
    ROW("wpoint 8", 5, Z::wpoint(q.bytes, q.a, v.white, v.white, 0, n)),
    ROW("wpoint 16", 6, Z::wpoint(q.halves, q.a, 65535, 65535, 0, n)),
    ROW("iwpoint 8", 5, Z::iwpoint(q.d, q.bytes, v.white, 1, n)),
    ROW("iwpoint 8 table", 5, Z::iwpoint(q.d, q.bytes, v.white, 0, n)),
    ROW("dot", 8, bench::keep(q, Z::dot(q.a, q.b, n))),
    ROW("maddAndNorm", 12, bench::keep(q, Z::maddAndNorm(q.d, q.a, 1e-6, n))),
    ROW("mulAndDotDA", 12, bench::keep(q, Z::mulAndDotDA(q.d, q.a, q.b, n))),
    ROW("zerocount", 4, bench::keep(q, Z::zerocount(q.i, n))),
    ROW("mulColVec44", 8, Z::mulColVec44(q.d, v.matrix, n / 4, nullptr)),
    ROW("mulRowVec44", 8, Z::mulRowVec44(q.d, v.matrix, n / 4, nullptr)),
    ROW("mulRowVec44 masked", 8, Z::mulRowVec44(q.d, v.matrix, n / 4, q.mask)),
    ROW("mulColVec34", 8, Z::mulColVec34(q.d, v.matrix, n / 3, nullptr)),
    ROW("vadd4u4", 8, Z::vadd4u4(q.d, v.matrix[0], n / 4, nullptr)),
};

constexpr Count largest = Count{1} << 22;

/// All arrays, each at its own distance from a page so that they don't fight for the same cache lines. Apart: each
/// at another phase.
Data makeData(bool apart) {
    constexpr std::size_t stride = largest * sizeof(double) + 65536;
    static auto* const memory = static_cast<char*>(mmap(nullptr, 13 * stride, PROT_READ | PROT_WRITE,
                                                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    std::size_t k = 0;
    Data q;
    bench::each(q, [&]<class T>(T*& array) {
        const std::size_t shift = apart && sizeof(T) < 8 ? k % 4 * 4 : 0;
        array = reinterpret_cast<T*>(memory + k * stride + 4096 + k * 320 + shift);
        ++k;
    });
    return q;
}

/// Whether a peer writes what the library writes; some differ by a last bit, and say so in the label.
const char* agreement(const Row& row, void (*peer)(const Data&, Count), bool flag) {
    constexpr Count n = 1000;
    Data q = makeData(false);
    std::vector<std::byte> written[2];
    for (const bool first : {true, false}) {
        bench::fill(q, n);
        Z::forceSIMD(flag);
        first ? row.run(q, n) : peer(q, n);
        bench::each(q, [&]<class T>(const T* array) {
            const auto* from = reinterpret_cast<const std::byte*>(array);
            written[first].insert(written[first].end(), from, from + n * sizeof(T));
        });
    }
    return written[0] == written[1] ? "same bits" : "other bits";
}

void measure(benchmark::State& state, const Row& row, void (*run)(const Data&, Count), bool flag, bool apart,
             const char* label) {
    const Count n = state.range(0);
    const Data q = makeData(apart);
    bench::fill(q, n);
    Z::forceSIMD(flag);
    for (auto _ : state) {
        run(q, n);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.SetBytesProcessed(state.iterations() * n * row.bytes);
    state.SetLabel(label);
}

void enroll(const Row& row, const char* who, void (*run)(const Data&, Count), bool flag, bool apart,
            const char* label) {
    auto* b = benchmark::RegisterBenchmark((std::string(row.name) + "/" + who).c_str(), measure,
                                           std::cref(row), run, flag, apart, label);
    for (const Count n : {Count{1}, Count{4}, Count{8}, Count{16}, Count{64}, Count{256}, Count{2048},
                          Count{1} << 16, Count{1} << 20, largest})
        if (n >= 4 || std::strcmp(who, "straight") != 0) b->Arg(n);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--calls") == 0) {
        printCalls({std::begin(rows), std::end(rows)});
        return 0;
    }
    const std::pair<const char*, bench::Kernels> peers[] = {
        {"plain", plainKernels()}, {"native", nativeKernels()}, {"straight", straightKernels()},
#ifdef BENCH_EIGEN
        {"Eigen", eigenKernels()},
#endif
#ifdef BENCH_VOLK
        {"VOLK", volkKernels()},
#endif
    };
    for (const Row& row : rows) {
        enroll(row, "set", row.run, true, false, "");
        enroll(row, "clear", row.run, false, false, "");
        enroll(row, "apart", row.run, true, true, "");
        for (const auto& [who, kernels] : peers)
            for (std::size_t k = 0; k < kernels.size; ++k)
                if (const auto& [name, run] = kernels.first[k]; std::strcmp(name, row.name) == 0)
                    enroll(row, who, run, false, false,
                           agreement(row, run, std::strcmp(who, "straight") == 0));
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
}
