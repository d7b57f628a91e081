// What a process sees of the library: how the load leaves the flag, what it prints, and that every place from
// which code can run may call in: constructors, a forked child, signal handlers, threads.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xmmintrin.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ZEL_Math.h"
#include "kep.h"

// Of early.cpp: a sum by a SIMD member, and what it was while that library was being loaded.
int seven();
extern int theEarlySeven;

namespace {

using Z = ZEL_Math;

const int theStaticSeven = Z::isSIMD() ? seven() : 0;

TEST(Load, IsDoneBeforeAnyCallerRuns) {
    EXPECT_EQ(theStaticSeven, 7);
    EXPECT_EQ(theEarlySeven, 7);
}

struct Setting {
    const char* value;
    bool yes;
};
// Words for the processor, null for its own, and whether they mean lanes.
constexpr Setting theWords[] = {{nullptr, true}, {"8", true},          {"15", true}, {"264", true},
                                {"-1", true},    {"0", false},         {"7", false}, {"16", false},
                                {"-9", false},   {"2147483639", false}};
// Values of the variable, null for none, and whether they ask for the message.
constexpr Setting theVerbose[] = {{nullptr, false}, {"0", false}, {"0x1", false}, {"00", false},
                                  {"", true},       {"1", true},  {"yes", true},  {" 0", true}};

void set(const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); }

/// What a command says on standard error, and its exit code.
std::string run(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1 >/dev/null; echo flag $?").c_str(), "r");
    std::string said(4096, '\0');
    said.resize(std::fread(said.data(), 1, said.size(), pipe));
    pclose(pipe);
    return said;
}

TEST(Load, GivesTheFlagOrSaysOnRequestWhyNot) {
    set("ASAN_OPTIONS", "verify_asan_link_order=0");  // else a sanitizer refuses to come behind the stand-in
    for (const char* library : {ZEL_TEST_BUILD "/lib/libZEL.so.1", ZEL_TEST_BUILD "/lib/libearly.so"})
        for (const Setting& word : theWords)
            for (const Setting& verbose : theVerbose) {
                set("STANDIN_WORD", word.value);
                set("QUARNEL_VERBOSE_ERROR", verbose.value);
                std::string wanted;
                for (int load = 0; load < 50; ++load)
                    if (!word.yes && verbose.yes) wanted += "Disabling SSE vector functions.\n";
                wanted += word.yes ? "flag 1\n" : "flag 0\n";
                const std::string standin =
                    word.value ? "LD_PRELOAD=" ZEL_TEST_BUILD "/lib/libstandin.so " : "";
                EXPECT_EQ(run(standin + ZEL_TEST_BUILD "/bin/process-reload " + library), wanted)
                    << testing::PrintToString(word.value) << ' ' << testing::PrintToString(verbose.value);
            }
}

TEST(Processor, DefinesBothWords) {
    int family = -1, capabilities = -1;
    KEPgetProcessor(family, capabilities);
    EXPECT_EQ(system(("grep -q 'cpu family.*: " + std::to_string(family) + "$' /proc/cpuinfo").c_str()), 0);
    EXPECT_EQ(capabilities, 8);
}

TEST(Shell, AssignmentCopiesNothing) {
    char bytes[] = "ab";
    auto* const pair = reinterpret_cast<Z*>(bytes);
    EXPECT_EQ(&(pair[0] = pair[1]), pair);
    EXPECT_EQ(&(pair[1] = std::move(pair[0])), pair + 1);
    EXPECT_STREQ(bytes, "ab");
    EXPECT_TRUE(Z::isSIMD());
}

TEST(Callers, AForkedChildHasItsOwnFlag) {
    Z::forceSIMD(false);
    const pid_t child = fork();
    if (child == 0) {
        if (Z::isSIMD()) _exit(1);
        Z::forceSIMD(true);
        _exit(seven() == 7 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(Z::isSIMD());
    Z::forceSIMD(true);
}

volatile int theSignalSeven = 0;

TEST(Callers, AHandlerOnASmallAlternateStack) {
    const std::size_t size = SIGSTKSZ, page = sysconf(_SC_PAGESIZE);
    void* guard = mmap(nullptr, page + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_EQ(mprotect(guard, page, PROT_NONE), 0);  // who needs more than the stack falls into it
    const stack_t stack = {.ss_sp = static_cast<char*>(guard) + page, .ss_flags = 0, .ss_size = size};
    ASSERT_EQ(sigaltstack(&stack, nullptr), 0);
    struct sigaction action = {};
    action.sa_flags = SA_ONSTACK;
    action.sa_handler = [](int) { theSignalSeven = seven(); };
    ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
    raise(SIGUSR1);
    EXPECT_EQ(theSignalSeven, 7);
}

constexpr std::int64_t num = 1203;       // two blocks of a sum, three elements of tail
alignas(16) float theA[num], theB[num];  // read by all
alignas(16) std::uint32_t theMask[num];

/// One of each family on arrays of its own, under a rounding and denormal mode.
struct Results {
    alignas(16) float f[6][num + 1] = {};
    alignas(16) int n[3][num + 1] = {};
    std::uint8_t samples[num + 13] = {};  // fills its 16 bytes: nothing lies between that isn't compared
    double sums[2] = {};

    explicit Results(unsigned mode) {
        const unsigned control = 0x1F80 | (mode & 3) << 13 | (mode & 4) << 13;
        _mm_setcsr(control);
        Z::madd(f[0], theA, theB, num), Z::safediv(f[1], theA, theB, num);
        Z::lt(n[0], theA, theB, num), Z::splitFloat(n[1], f[2], theA, num);
        Z::wpoint(samples, theA, 255.0f, 255.0f, 1.0f, num), Z::iwpoint(f[3], samples, 255.0f, 0, num);
        Z::set(f[4], theB, num, theMask), Z::vadd4u4(f[4], theA, num / 4, nullptr);
        Z::mulColVec44(f[4], reinterpret_cast<const float(*)[4]>(theA), num / 4, theMask);
        sums[0] = Z::dot(theA, theB, num), sums[1] = Z::maddAndNorm(f[5], theA, 0.7, num);
        // Again and again, so that the switches of two threads do meet.
        for (int repeat = 0; repeat < 100; ++repeat) Z::floor(n[2], theA, num);
        EXPECT_EQ(_mm_getcsr() & ~0x3Fu, control);
        _mm_setcsr(0x1F80);
    }
    bool operator==(const Results& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
};

TEST(Threads, GetTheBitsThatTheyGetAlone) {
    for (int i = 0; i < num; ++i) {
        theA[i] = static_cast<float>(i % 97 - 40) / 7;
        theB[i] = static_cast<float>(i % 61) * 1e-3f;
        theMask[i] = i % 3 == 0;
    }
    theB[1] = 1e-40f;  // for the modes without denormals
    std::vector<Results> alone;
    for (unsigned mode = 0; mode < 8; ++mode) alone.emplace_back(mode);
    for (unsigned mode = 1; mode < 8; ++mode)
        EXPECT_FALSE(alone[mode] == alone[0]) << "a mode without effect";
    std::vector<std::thread> threads;
    for (unsigned mode = 0; mode < 8; ++mode)
        threads.emplace_back([&, mode] {
            for (int repeat = 0; repeat < 200; ++repeat) EXPECT_TRUE(Results(mode) == alone[mode]) << mode;
        });
    for (std::thread& t : threads) t.join();
}

}  // namespace
