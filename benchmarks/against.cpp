// One build of the library against another, both in this process. Two files of the same name in the loader's
// eyes would be one library, so each has a name space of its own, with its own copy of the rows that call it.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "kernels.h"

namespace {

using bench::Count;
using bench::Data;
using bench::Kernel;

struct Side {
    bench::Kernels rows;
    void (*force)(bool);

    explicit Side(const char* library) {
        void* const zel = dlmopen(LM_ID_NEWLM, library, RTLD_NOW);
        Lmid_t space = 0;
        Dl_info own;
        if (!zel || dlinfo(zel, RTLD_DI_LMID, &space) != 0 || !dladdr(reinterpret_cast<void*>(libraryKernels), &own))
            fail();
        void* const calls = dlmopen(space, own.dli_fname, RTLD_NOW);
        if (!calls) fail();
        rows = reinterpret_cast<bench::Kernels (*)()>(dlsym(calls, "libraryKernels"))();
        force = reinterpret_cast<void (*)(bool)>(dlsym(calls, "benchForceSIMD"));
    }

private:
    [[noreturn]] static void fail() {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
};

double seconds(const Kernel& row, const Data& q, Count n, int calls) {
    const auto start = std::chrono::steady_clock::now();
    for (int k = 0; k < calls; ++k) row.run(q, n);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Of the times of two rows, each measured right after the other's: quartiles of the ratio.
std::array<double, 3> ratio(const Kernel& now, const Kernel& then, const Data& q, Count n) {
    const double once = seconds(then, q, n, 3) / 3;
    const int calls = static_cast<int>(std::clamp(1e-4 / once, 1.0, 1e5));
    std::vector<double> ratios;
    for (int k = 0; k < 40; ++k) {  // in turns, so that whoever goes second has no advantage
        const double first = seconds(k % 2 ? now : then, q, n, calls);
        const double second = seconds(k % 2 ? then : now, q, n, calls);
        ratios.push_back(k % 2 ? first / second : second / first);
    }
    std::ranges::sort(ratios);
    return {ratios[10], (ratios[19] + ratios[20]) / 2, ratios[30]};
}

}  // namespace

int bench::compareWith(const char* library, const char* filter, std::vector<Count> counts) {
    // This build's as the rows are linked to it, so that a wide copy is taken as the loader finds it.
    Dl_info own;
    void* const self = dlsym(RTLD_DEFAULT, "_ZN8ZEL_Math6isSIMDEv");
    if (!self || !dladdr(self, &own)) return 1;
    const Side now(own.dli_fname), then(library);
    std::printf("time of %s\nover that of %s\n", own.dli_fname, library);
    std::printf("median, and the quartiles around it\n\n%-20s %-6s", "", "flag");
    if (counts.empty()) counts = {8, 256, 2048, 1 << 16, 1 << 20};
    for (const Count n : counts) std::printf("%23td", n);
    std::puts("");
    const Data inPhase = makeData(false), apart = makeData(true);
    fill(inPhase, std::ranges::max(counts));
    double logarithms = 0;
    int count = 0;
    for (std::size_t k = 0; k < now.rows.size; ++k) {
        const Kernel &row = now.rows.first[k], &old = then.rows.first[k];
        if (!std::strstr(row.name, filter)) continue;
        for (const char* const mode : {"set", "clear", "apart"}) {
            now.force(*mode != 'c');
            then.force(*mode != 'c');
            std::printf("%-20s %-6s", row.name, mode);
            for (const Count n : counts) {
                const auto [low, median, high] = ratio(row, old, *mode == 'a' ? apart : inPhase, n);
                std::printf("   %5.2f (%.2f to %.2f)", median, low, high);
                std::fflush(stdout);
                logarithms += std::log(median);
                ++count;
            }
            std::puts("");
        }
    }
    std::printf("\ngeometric mean of %d medians: %.3f\n", count, std::exp(logarithms / count));
    return 0;
}
