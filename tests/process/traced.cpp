// Calls whose table is known, by tests/trace_test.sh. With an argument, one of an array that isn't there, caught.
#include <sys/wait.h>
#include <unistd.h>

#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <thread>
#include <vector>

#include "ZEL_Math.h"

alignas(16) static float x[4096], y[4096], z[4096];
alignas(16) static double w[64];
static const std::uint32_t mask[64] = {};
static float matrix[4][4];
static sigjmp_buf back;

static double rows() {
    double sum = 0;
    for (int k = 0; k < 100; ++k) sum += ZEL_Math::dot(x + 1, y, 1000);  // phases differ
    return sum + ZEL_Math::dotSIMD(x + 1, y + 1, 1003);
}

static void streams() {
    ZEL_Math::mulColVec44(x + 1, matrix, 100, mask);  // no vector lies on a boundary
    ZEL_Math::mulRowVec44(x, matrix, 100, nullptr);
    ZEL_Math::vadd4u4(x, y, 3, nullptr);
    ZEL_Math::mulColVec34(x, matrix, 10, nullptr);
}

static void members() {
    ZEL_Math::forceSIMD(false);
    ZEL_Math::sub(x, y, z, 50);
    ZEL_Math::forceSIMD(true);
    ZEL_Math::set(x + 2, y, 60, mask);
    ZEL_Math::madd(x + 1, y, z + 3, 40);
    ZEL_Math::lerp(x, y, z, z, 20);
    ZEL_Math::lerp(x, x, z, 0.5f, 0);
    ZEL_Math::div(x, y, 3.0f, 18);
    ZEL_Math::fdiv(x, y, 3.0f, 19);
    ZEL_Math::swap(x, y + 1, 17);
    ZEL_Math::add(w, w, w, 64);
    ZEL_Math::zelmin(x, y, z, 15);
}

static void work() {
    alignas(16) int own[16] = {};
    for (int n = 0; n < 10000; ++n) ZEL_Math::bxor(own, own, 1, 16);
}

static void faults() {
    float* nothing = nullptr;
    std::signal(SIGSEGV, [](int) { siglongjmp(back, 1); });
    if (!sigsetjmp(back, 1)) ZEL_Math::mul(x, nothing, y, 16);
    ZEL_Math::abs(x, x, -3);
    ZEL_Math::lerp(x, x, y, z, 20);
}

int main(int argc, char**) {
    rows();
    streams();
    members();
    if (argc > 1) faults();
    std::vector<std::thread> threads;
    for (int k = 0; k < 16; ++k) threads.emplace_back(work);
    for (auto& thread : threads) thread.join();
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) ZEL_Math::negate(x, x, 4);
    if (child != 0) waitpid(child, nullptr, 0);
    std::puts(child ? "parent" : "child");
    return 7;
}
