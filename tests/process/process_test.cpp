// What a process sees of the library: how the load leaves the flag, what it prints, and that every place from
// which code can run may call in. Loads are watched from outside, in child processes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "ZEL_Math.h"
#include "kep.h"

int earlySum();  // of early.cpp: 72 if the library was ready for it

namespace {

struct Outcome {
    int code;  // the exit code, or minus the signal
    std::string out, err;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& o, const Outcome& x) {
    return o << "code " << x.code << ", stdout \"" << x.out << "\", stderr \"" << x.err << '"';
}

std::string content(std::FILE* file) {
    std::string text(64 * 1024, '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

// Runs a program with this word for the processor and this value of the variable. Null means the real
// processor, and no variable.
Outcome run(std::vector<const char*> command, const char* word, const char* verbose) {
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        unsetenv("QUARNEL_VERBOSE_ERROR");
        if (verbose) setenv("QUARNEL_VERBOSE_ERROR", verbose, 1);
        // A sanitizer would insist on being loaded first, before the stand-in.
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
        if (word) setenv("STANDIN_WORD", word, 1);
        if (word) setenv("LD_PRELOAD", ZEL_TEST_STANDIN, 1);
        command.push_back(nullptr);
        execv(command[0], const_cast<char**>(command.data()));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), content(out), content(err)};
}

struct Verbose {
    const char* value;
    bool speaks;
};
constexpr Verbose theVerbose[] = {{nullptr, false}, {"0", false}, {"0x1", false}, {"00", false},
                                  {"", true},       {"1", true},  {"yes", true},  {" 0", true}};
constexpr const char* theWordsWithLanes[] = {nullptr, "8", "15", "264", "-1"};
constexpr const char* theWordsWithout[] = {"0", "7", "16", "-9", "2147483639"};
constexpr const char* theMessage = "Disabling SSE vector functions.\n";

TEST(Load, BitSetGivesTheFlagInSilence) {
    for (const char* word : theWordsWithLanes)
        for (const Verbose& verbose : theVerbose)
            EXPECT_EQ(run({ZEL_TEST_START}, word, verbose.value), (Outcome{1, "", ""}))
                << "word " << (word ? word : "of the processor") << ", variable "
                << (verbose.value ? verbose.value : "unset");
}

TEST(Load, BitClearLeavesTheFlagAndSaysSoOnRequest) {
    for (const char* word : theWordsWithout)
        for (const Verbose& verbose : theVerbose)
            EXPECT_EQ(run({ZEL_TEST_START}, word, verbose.value),
                      (Outcome{0, "", verbose.speaks ? theMessage : ""}))
                << "word " << word << ", variable " << (verbose.value ? verbose.value : "unset");
}

TEST(Load, EachOfManyLoadsStartsAfresh) {
    std::string messages;
    for (int i = 0; i < 50; ++i) messages += theMessage;
    for (const char* library : {ZEL_TEST_LIBRARY, ZEL_TEST_EARLY}) {
        EXPECT_EQ(run({ZEL_TEST_RELOAD, library}, nullptr, "1"), (Outcome{1, "", ""})) << library;
        EXPECT_EQ(run({ZEL_TEST_RELOAD, library}, "0", "1"), (Outcome{0, "", messages})) << library;
        EXPECT_EQ(run({ZEL_TEST_RELOAD, library}, "0", nullptr), (Outcome{0, "", ""})) << library;
    }
}

// Three and four, added by a SIMD member.
int seven() {
    const int a[6] = {3, 3, 3, 3, 3, 3};
    int d[6];
    ZEL_Math::addSIMD(d, a, 4, 6);
    return d[1] == d[4] ? d[1] : 0;
}
const int theStaticSeven = ZEL_Math::isSIMD() ? seven() : 0;

TEST(Load, IsDoneBeforeAnyCallerRuns) {
    EXPECT_EQ(theStaticSeven, 7);
    EXPECT_EQ(earlySum(), 72);
}

TEST(Processor, DefinesBothWords) {
    std::ifstream description("/proc/cpuinfo");
    std::string line;
    while (std::getline(description, line) && !line.starts_with("cpu family")) {
    }
    const int wantedFamily = std::stoi(line.substr(line.find(':') + 1));
    for (int before : {0, -1}) {
        int family = before, capabilities = before;
        KEPgetProcessor(family, capabilities);
        EXPECT_EQ(family, wantedFamily);
        EXPECT_EQ(capabilities, 8);
    }
}

// Adds one to five elements that land four further on. An element loop has written the first of these sums
// when it reads it for the last, 2 then; the lane form does the last one first, while it still reads 0.
template <class Add>
int lastSum(Add add) {
    alignas(16) int x[12] = {};
    add(x + 4, x, 1, 5);
    return x[8];
}
int dispatched() {
    return lastSum([](int* d, const int* a, int b, int num) { ZEL_Math::add(d, a, b, num); });
}
int inLanes() {
    return lastSum([](int* d, const int* a, int b, int num) { ZEL_Math::addSIMD(d, a, b, num); });
}

TEST(Flag, ChoosesForDispatchingMembersOnly) {
    for (bool on : {false, true}) {
        ZEL_Math::forceSIMD(on);
        EXPECT_EQ(dispatched(), on ? 1 : 2);
        EXPECT_EQ(inLanes(), 1);
    }
}

TEST(Shell, AssignmentCopiesNothing) {
    ZEL_Math pair[2];
    const char bytes[2] = {0x12, 0x34};
    static_assert(sizeof pair == sizeof bytes);
    std::memcpy(static_cast<void*>(pair), bytes, 2);
    EXPECT_EQ(&(pair[0] = pair[1]), &pair[0]);
    EXPECT_EQ(&(pair[1] = std::move(pair[0])), &pair[1]);
    EXPECT_EQ(std::memcmp(static_cast<void*>(pair), bytes, 2), 0);
    EXPECT_TRUE(ZEL_Math::isSIMD());
}

TEST(Callers, AForkedChildHasItsOwnFlag) {
    ZEL_Math::forceSIMD(false);
    const pid_t child = fork();
    if (child == 0) {
        const bool inherited = !ZEL_Math::isSIMD() && dispatched() == 2;
        ZEL_Math::forceSIMD(true);
        _exit(inherited && dispatched() == 1 && seven() == 7 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(ZEL_Math::isSIMD());
    ZEL_Math::forceSIMD(true);
}

char* theStack;  // the page below it is nobody's
volatile int theSignalSeven = 0;
volatile bool theStackWasUsed = false;

TEST(Callers, AHandlerOnASmallAlternateStack) {
    const std::size_t size = SIGSTKSZ, page = sysconf(_SC_PAGESIZE);
    char* guard = static_cast<char*>(
        mmap(nullptr, page + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(mprotect(guard, page, PROT_NONE), 0);
    theStack = guard + page;
    stack_t stack = {}, before = {};
    stack.ss_sp = theStack;
    stack.ss_size = size;
    ASSERT_EQ(sigaltstack(&stack, &before), 0);
    struct sigaction action = {};
    action.sa_flags = SA_ONSTACK;
    action.sa_handler = [](int) {
        char here;
        theStackWasUsed = &here >= theStack && &here < theStack + SIGSTKSZ;
        theSignalSeven = seven();
    };
    ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
    raise(SIGUSR1);
    sigaltstack(&before, nullptr);
    EXPECT_TRUE(theStackWasUsed);
    EXPECT_EQ(theSignalSeven, 7);
}

}  // namespace
