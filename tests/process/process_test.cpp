// What a process sees of the library: how the load leaves the flag, what it prints, that threads can call in.
#include <cpuid.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "ZEL_Math.h"
#include "kep.h"

namespace other {
unsigned theVersion, theFeatures;  // what the instruction answers on another processor
int answer(unsigned, unsigned* a, unsigned*, unsigned*, unsigned* d) {
    *a = theVersion, *d = theFeatures;
    return theVersion != 0;
}
#define __get_cpuid answer
#include "kep.cpp"
}  // namespace other

namespace {

using Z = ZEL_Math;

using Setting = std::pair<const char*, bool>;
// Words for the processor, null for its own, and whether they mean lanes.
constexpr Setting theWords[] = {{nullptr, true}, {"8", true}, {"264", true}, {"0", false}, {"7", false}, {"16", false}};
// Values of the variable, null for none, and whether they ask for the message.
constexpr Setting theVerbose[] = {{nullptr, false}, {"0", false}, {"0x1", false},
                                  {"", true},       {"1", true},  {" 0", true}};

void set(const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); }

/// What a command, begun in the build directory, says on standard error, and its exit code.
std::string run(const std::string& command) {
    FILE* pipe = popen(("cd '" ZEL_TEST_BUILD "'; " + command + " 2>&1 >/dev/null; echo flag $?").c_str(), "r");
    std::string said(4096, '\0');
    said.resize(std::fread(said.data(), 1, said.size(), pipe));
    pclose(pipe);
    return said;
}

TEST(Load, GivesTheFlagOrSaysOnRequestWhyNot) {
    set("ASAN_OPTIONS", "verify_asan_link_order=0");  // else a sanitizer refuses to come behind the stand-in
    for (const auto& [word, lanes] : theWords)
        for (const auto& [verbose, asked] : theVerbose) {
            set("STANDIN_WORD", word);
            set("QUARNEL_VERBOSE_ERROR", verbose);
            std::string wanted = lanes ? "flag 1\n" : "flag 0\n";
            for (int load = 0; load < 50 && !lanes && asked; ++load)
                wanted = "Disabling SSE vector functions.\n" + wanted;
            const std::string standin = word ? "LD_PRELOAD=lib/libstandin.so " : "";
            EXPECT_EQ(run(standin + "bin/process-reload lib/libZEL.so.1"), wanted)
                << testing::PrintToString(word) << ' ' << testing::PrintToString(verbose);
        }
}

TEST(Processor, DefinesBothWords) {
    int family = -1, capabilities = -1;
    KEPgetProcessor(family, capabilities);
    EXPECT_EQ(system(("grep -q 'cpu family.*: " + std::to_string(family) + "$' /proc/cpuinfo").c_str()), 0);
    EXPECT_EQ(capabilities, 8);
}

TEST(Processor, OtherOnesHaveTheirWords) {
    constexpr unsigned both = bit_SSE | bit_SSE2;
    constexpr struct {
        unsigned version, features;
        int family, capabilities;
    } processors[] = {{0x0FF00F12, both, 15 + 255, 8},
                      {0x0FF006F1, both, 6, 8},
                      {0x800F12, bit_SSE, 15 + 8, 0},
                      {0x6F1, bit_SSE2, 6, 0},
                      {0, both, 0, 0}};
    for (const auto& wanted : processors) {
        other::theVersion = wanted.version, other::theFeatures = wanted.features;
        int family = -1, capabilities = -1;
        other::KEPgetProcessor(family, capabilities);
        EXPECT_EQ(std::pair(family, capabilities), std::pair(wanted.family, wanted.capabilities)) << wanted.version;
    }
}

TEST(Shell, AssignmentCopiesNothing) {
    char bytes[] = "ab";
    auto* const pair = reinterpret_cast<Z*>(bytes);
    EXPECT_EQ(&(pair[0] = pair[1]), pair);
    EXPECT_EQ(&(pair[1] = std::move(pair[0])), pair + 1);
    EXPECT_STREQ(bytes, "ab");
}

constexpr std::int64_t num = 1203;  // two blocks of a sum, three elements of tail

/// Members with their own arrays, under a rounding and denormal mode.
struct Results {
    alignas(16) float a[num], frac[num] = {};
    alignas(16) int floor[num] = {}, split[num] = {};
    double sums[2];

    explicit Results(unsigned mode) {
        for (int i = 0; i < num; ++i) a[i] = i == 1 ? 1e-40f : static_cast<float>(i % 97 - 40) / 7;
        const unsigned control = 0x1F80 | (mode & 3) << 13 | (mode & 4) << 13;
        _mm_setcsr(control);
        Z::splitFloat(split, frac, a, num);
        sums[0] = Z::dot(a, a, num), sums[1] = Z::maddAndNorm(a, frac, 0.7, num);
        // Again and again, so that the switches of two threads do meet.
        for (int repeat = 0; repeat < 100; ++repeat) Z::floor(floor, a, num);
        EXPECT_EQ(_mm_getcsr() & ~0x3Fu, control);
        _mm_setcsr(0x1F80);
    }
    bool operator==(const Results&) const = default;
};

TEST(Threads, GetTheBitsThatTheyGetAlone) {
    std::vector<std::jthread> threads;
    for (unsigned mode = 0; mode < 8; ++mode) {
        EXPECT_EQ(Results(mode) == Results(0), mode == 0) << "a mode without effect";
        threads.emplace_back([mode, alone = Results(mode)] {
            for (int repeat = 0; repeat < 200; ++repeat) EXPECT_TRUE(Results(mode) == alone) << mode;
        });
    }
}

}  // namespace
