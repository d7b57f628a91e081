// Every family at a few sizes, with the flag set, clear, and phases apart, beside the peers that are
// installed. Names read kernel/who/elements: "set", "clear" and "apart" are the library, everything else
// is a peer.
#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <regex>
#include <span>
#include <string>
#include <vector>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;

/// Whether a peer writes what the library writes; some differ by a last bit, and say so in the label.
const char* agreement(const bench::Kernel& row, void (*peer)(const Data&, Count), bool flag) {
    constexpr Count n = 1000;
    Data q = bench::makeData(false);
    std::vector<std::byte> written[2];
    for (const bool first : {true, false}) {
        bench::fill(q, n);
        benchForceSIMD(flag);
        first ? row.run(q, n) : peer(q, n);
        bench::each(q, [&]<class T>(const T* array) {
            const auto* from = reinterpret_cast<const std::byte*>(array);
            written[first].insert(written[first].end(), from, from + n * sizeof(T));
        });
    }
    return written[0] == written[1] ? "same bits" : "other bits";
}

void measure(benchmark::State& state, const bench::Kernel& row, void (*run)(const Data&, Count), bool flag, bool apart,
             const char* label) {
    const Count n = state.range(0);
    const Data q = bench::makeData(apart);
    // No row makes numbers that are slower than those it found, so they are written once; filling takes
    // longer than most rows. Phases apart find the same numbers a few elements on.
    static Count filled = 0;
    if (n > filled) bench::fill(bench::makeData(false), filled = n);
    benchForceSIMD(flag);
    for (auto _ : state) {
        run(q, n);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.SetBytesProcessed(state.iterations() * n * row.bytes);
    state.SetLabel(label);
}

int theEnrolled = 0;
constexpr Count sizes[] = {1, 4, 8, 16, 64, 256, 2048, 1 << 16, 1 << 20, 1 << 22, bench::largest};

/// Whether --benchmark_filter, which may begin with a minus for "all but", takes any size of a row.
bool chosen(const bench::Kernel& row, const char* who) {
    std::string filter = benchmark::GetBenchmarkFilter();
    const bool wanted = !filter.starts_with("-");
    if (!wanted) filter.erase(0, 1);
    if (filter.empty() || filter == "all") return true;
    const std::regex pattern(filter, std::regex::extended);
    for (const Count n : sizes)
        if (std::regex_search(std::string(row.name) + "/" + who + "/" + std::to_string(n), pattern) == wanted)
            return true;
    return false;
}

void enroll(const bench::Kernel& row, const char* who, void (*run)(const Data&, Count), bool flag, bool apart,
            const char* label) {
    if (!chosen(row, who)) return;
    ++theEnrolled;
    auto* b = benchmark::RegisterBenchmark((std::string(row.name) + "/" + who).c_str(), measure, std::cref(row), run,
                                           flag, apart, label);
    for (const Count n : sizes)
        if ((n >= 4 || std::strcmp(who, "straight") != 0) && (n <= 1 << 20 || !apart)) b->Arg(n);
}

/// A reporter of all kernels' runs, which are runs by themselves: one context, one end.
template <class Reporter> class Whole : public Reporter {
public:
    explicit Whole(std::ostream& to, auto... options) : Reporter(options...), to(to) {}
    bool ReportContext(const typename Reporter::Context& context) override {
        this->SetOutputStream(&to);
        return begun || (begun = Reporter::ReportContext(context));
    }
    void Finalize() override {}
    void end() {
        this->SetOutputStream(&to);  // the runs had others, which are gone
        if (begun) Reporter::Finalize();
    }

private:
    std::ostream& to;
    bool begun = false;
};

}  // namespace

// Each array at its own distance from a page, so that they don't fight for the same cache lines; apart, at
// its own phase.
Data bench::makeData(bool apart) {
    constexpr std::size_t stride = largest * sizeof(double) + 65536;
    static auto* const memory = static_cast<char*>(mmap(nullptr, bench::arrays * stride, PROT_READ | PROT_WRITE,
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

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "--calls") return bench::printCalls(), 0;
    if (mode == "--chains") return bench::printChains(), 0;
    if (mode == "--against" && argc > 2) {
        std::vector<Count> counts;
        for (int k = 4; k < argc; ++k) counts.push_back(std::clamp<Count>(std::atoll(argv[k]), 1, bench::largest));
        return bench::compareWith(argv[2], argc > 3 ? argv[3] : "", counts);
    }

    const std::pair<const char*, bench::Kernels> peers[] = {
        {"plain", plainKernels()},
        {"native", nativeKernels()},
        {"straight", straightKernels()},
#ifdef BENCH_EIGEN
        {"Eigen", eigenKernels()},
#endif
#ifdef BENCH_VOLK
        {"VOLK", volkKernels()},
#endif
#ifdef BENCH_HIGHWAY
        {"Highway", highwayKernels()},
#endif
#ifdef BENCH_HIGHWAY_NATIVE
        {"Highway native", highwayNativeKernels()},
#endif
    };
    const std::span<const bench::Kernel> rows(libraryKernels().first, libraryKernels().size);
    std::ofstream file;
    std::string nowhere = "--benchmark_out=/dev/null";
    for (char*& argument : std::span(argv, argc))
        if (std::string_view(argument).starts_with("--benchmark_out=")) {
            file.open(std::strchr(argument, '=') + 1);
            argument = nowhere.data();  // which each of the runs would begin anew
        }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    for (const auto& [who, kernels] : peers)
        for (const bench::Kernel& peer : std::span(kernels.first, kernels.size))
            if (std::ranges::none_of(rows, [&](auto& r) { return !std::strcmp(r.name, peer.name); })) {
                std::fprintf(stderr, "%s has a '%s', which the library has no row for.\n", who, peer.name);
                return 1;
            }

    using Screen = benchmark::ConsoleReporter;
    Whole<Screen> screen(std::cout, isatty(STDOUT_FILENO) ? Screen::OO_Color : Screen::OO_None);
    Whole<benchmark::JSONReporter> json(file);
    // One kernel after the other, so that rows come as they are ready; its own rows are mixed.
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const bench::Kernel& row = rows[k];
        enroll(row, "set", row.run, true, false, "");
        enroll(row, "clear", row.run, false, false, "");
        enroll(row, "apart", row.run, true, true, "");
        for (const auto& [who, kernels] : peers)
            for (const bench::Kernel& peer : std::span(kernels.first, kernels.size))
                if (!std::strcmp(row.name, peer.name) && chosen(row, who))
                    enroll(row, who, peer.run, false, false,
                           agreement(row, peer.run, std::strcmp(who, "straight") == 0));
        if (theEnrolled == 0) continue;
        if (isatty(STDERR_FILENO)) std::fprintf(stderr, "%zu of %zu: %s\033[K\r", k + 1, rows.size(), row.name);
        benchmark::RunSpecifiedBenchmarks(&screen, file.is_open() ? &json : nullptr);
        benchmark::ClearRegisteredBenchmarks();
        theEnrolled = 0;
    }
    screen.end();
    json.end();
}
