// Prints docs/special-values.md by running the library; a test sees that the page is what this prints.
#include <bit>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>

#include "ZEL_Math.h"

namespace {

using Z = ZEL_Math;
using L = std::numeric_limits<float>;

struct Input {
    const char* name;
    float x;
};
const Input inputs[] = {
    {"+0", 0.0f},
    {"-0", -0.0f},
    {"+denormal", L::denorm_min()},
    {"-denormal", -L::denorm_min()},
    {"+inf", L::infinity()},
    {"-inf", -L::infinity()},
    {"NaN", L::quiet_NaN()},
    {"-NaN", -L::quiet_NaN()},
    {"signalling", std::bit_cast<float>(0x7F800001)},
    {"-signalling", std::bit_cast<float>(0xFF800001)},
};

/// Numbers in short decimals; NaN by sign and kind.
std::string show(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    char text[40];
    if (x == x)
        std::snprintf(text, sizeof text, "%+.8g", static_cast<double>(x));
    else
        std::snprintf(text, sizeof text, "%s%s", bits >> 31 ? "-" : "", bits & 0x400000 ? "NaN" : "signalling");
    return text;
}
std::string show(int x) { return std::to_string(x); }

/// One row a member: element form by three elements, which are all tail; lane form by four.
template <class D> void row(const char* name, const std::function<void(D*, const float*, std::int64_t)>& call) {
    std::printf("| `%s` |", name);
    for (const Input& input : inputs) {
        alignas(16) float a[4] = {input.x, input.x, input.x, input.x};
        alignas(16) D element[4], lane[4];
        call(element, a, 3);
        call(lane, a, 4);
        const std::string e = show(element[0]), l = show(lane[0]);
        std::printf(" %s |", e == l ? e.c_str() : (e + " / **" + l + "**").c_str());
    }
    std::printf("\n");
}
void table(const char* title) {
    std::printf("\n## %s\n\n| a[i] |", title);
    for (const Input& input : inputs) std::printf(" %s |", input.name);
    std::printf("\n|---|");
    for (std::size_t k = 0; k < std::size(inputs); ++k) std::printf("---|");
    std::printf("\n");
}

}  // namespace

int main() {
    using N = std::int64_t;
    std::printf(
        "# Special values\n\nWhat members give for zeros, denormals, infinities and NaNs, in the default "
        "rounding and denormal modes. "
        "Where element and lane form\ndiffer, both stand: element / **lane**. Printed by "
        "`docs/special_values.cpp` from the library "
        "itself; a test keeps it so.\n");
    table("One operand");
    row<float>("abs", [](float* d, const float* a, N n) { Z::absSIMD(d, a, n); });
    row<float>("negate", [](float* d, const float* a, N n) { Z::negateSIMD(d, a, n); });
    row<float>("invert", [](float* d, const float* a, N n) { Z::invertSIMD(d, a, n); });
    row<float>("sqrt", [](float* d, const float* a, N n) { Z::sqrtSIMD(d, a, n); });
    row<float>("fsqrt", [](float* d, const float* a, N n) { Z::fsqrtSIMD(d, a, n); });
    row<float>("isqrt", [](float* d, const float* a, N n) { Z::isqrtSIMD(d, a, n); });
    row<int>("cast", [](int* d, const float* a, N n) { Z::castSIMD(d, a, n); });
    row<int>("floor", [](int* d, const float* a, N n) { Z::floorSIMD(d, a, n); });
    alignas(16) static float frac[4];
    alignas(16) static int whole[4];
    row<int>("splitFloat, d", [](int* d, const float* a, N n) { Z::splitFloatSIMD(d, frac, a, n); });
    row<float>("splitFloat, frac", [](float* d, const float* a, N n) { Z::splitFloatSIMD(whole, d, a, n); });
    table("Arithmetic with 1");
    row<float>("add(a, 1)", [](float* d, const float* a, N n) { Z::addSIMD(d, a, 1, n); });
    row<float>("sub(1, a)", [](float* d, const float* a, N n) { Z::subSIMD(d, 1.0f, a, n); });
    row<float>("mul(a, 1)", [](float* d, const float* a, N n) { Z::mulSIMD(d, a, 1, n); });
    row<float>("div(1, a)", [](float* d, const float* a, N n) { Z::divSIMD(d, 1.0f, a, n); });
    row<float>("fdiv(1, a)", [](float* d, const float* a, N n) { Z::fdivSIMD(d, 1.0f, a, n); });
    row<float>("safediv(1, a)", [](float* d, const float* a, N n) { Z::safedivSIMD(d, 1.0f, a, n); });
    row<float>("safediv(-1, a)", [](float* d, const float* a, N n) { Z::safedivSIMD(d, -1.0f, a, n); });
    table("Choices");
    row<float>("zelmin(a, 0)", [](float* d, const float* a, N n) { Z::zelminSIMD(d, a, 0.0f, n); });
    row<float>("zelmax(a, 0)", [](float* d, const float* a, N n) { Z::zelmaxSIMD(d, a, 0.0f, n); });
    row<float>("zelmax(a, NaN)", [](float* d, const float* a, N n) { Z::zelmaxSIMD(d, a, L::quiet_NaN(), n); });
    row<float>("clamp(a, 0, 1)", [](float* d, const float* a, N n) { Z::clampSIMD(d, a, 0, 1, n); });
    row<float>("clamp(a, 1, 0)", [](float* d, const float* a, N n) { Z::clampSIMD(d, a, 1, 0, n); });
    row<float>("wpoint(a, 1, 1, -0.5)", [](float* d, const float* a, N n) { Z::wpointSIMD(d, a, 1, 1, -0.5f, n); });
    table("Relations to 0");
    row<int>("lt", [](int* d, const float* a, N n) { Z::ltSIMD(d, a, 0.0f, n); });
    row<int>("le", [](int* d, const float* a, N n) { Z::leSIMD(d, a, 0.0f, n); });
    row<int>("gt", [](int* d, const float* a, N n) { Z::gtSIMD(d, a, 0.0f, n); });
    row<int>("ge", [](int* d, const float* a, N n) { Z::geSIMD(d, a, 0.0f, n); });
    row<int>("eq", [](int* d, const float* a, N n) { Z::eqSIMD(d, a, 0.0f, n); });
    row<int>("ne", [](int* d, const float* a, N n) { Z::neSIMD(d, a, 0.0f, n); });
    row<int>("fastge", [](int* d, const float* a, N n) { Z::fastgeSIMD(d, a, 0.0f, n); });
}
