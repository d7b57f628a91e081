// Prints docs/special-values.md by running the library; a test sees that the page is what this prints.
#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <iterator>
#include <limits>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "ZEL_Math.h"

namespace {

using Z = ZEL_Math;
using L = std::numeric_limits<float>;
using N = std::int64_t;

struct Input {
    const char* name;
    float x;
};
const Input inputs[] = {
    {"+0", 0.0f},
    {"-0", -0.0f},
    {"1.4e-45", L::denorm_min()},
    {"-1.4e-45", -L::denorm_min()},
    {"1e-39", 1e-39f},
    {"-1e-39", -1e-39f},
    {"2^127", 0x1p127f},
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

/// What a member gives for one number in a mode of MXCSR: element form by three elements, which are all tail, and lane
/// form by four. An estimate that isn't the same on every processor is called that.
using Cell = std::function<std::string(float, unsigned)>;
struct Row {
    std::string name;
    Cell cell;
};
template <class D> Row row(const char* name, std::function<void(D*, const float*, N)> call, bool estimate = false) {
    return {name, [=](float x, unsigned mode) {
                alignas(16) float a[4] = {x, x, x, x};
                alignas(16) D element[4] = {}, lane[4] = {};
                _mm_setcsr(0x1F80 | mode);
                call(element, a, 3);
                call(lane, a, 4);
                _mm_setcsr(0x1F80);
                std::string e = show(element[0]), l = show(lane[0]);
                if (estimate && lane[0] == lane[0] && lane[0] != 0 && lane[0] - lane[0] == 0) l = "estimate";
                return e == l ? e : e + " / **" + l + "**";
            }};
}

alignas(16) float frac[4];
alignas(16) int whole[4];
using F = float;
const std::vector<std::pair<const char*, std::vector<Row>>> tables = {
    {"One operand",
     {row<F>("abs", [](F* d, const F* a, N n) { Z::absSIMD(d, a, n); }),
      row<F>("negate", [](F* d, const F* a, N n) { Z::negateSIMD(d, a, n); }),
      row<F>(
          "invert", [](F* d, const F* a, N n) { Z::invertSIMD(d, a, n); }, true),
      row<F>("sqrt", [](F* d, const F* a, N n) { Z::sqrtSIMD(d, a, n); }),
      row<F>(
          "fsqrt", [](F* d, const F* a, N n) { Z::fsqrtSIMD(d, a, n); }, true),
      row<F>(
          "isqrt", [](F* d, const F* a, N n) { Z::isqrtSIMD(d, a, n); }, true),
      row<int>("cast", [](int* d, const F* a, N n) { Z::castSIMD(d, a, n); }),
      row<int>("floor", [](int* d, const F* a, N n) { Z::floorSIMD(d, a, n); }),
      row<int>("splitFloat, d", [](int* d, const F* a, N n) { Z::splitFloatSIMD(d, frac, a, n); }),
      row<F>("splitFloat, frac", [](F* d, const F* a, N n) { Z::splitFloatSIMD(whole, d, a, n); })}},
    {"Arithmetic with 1",
     {row<F>("add(a, 1)", [](F* d, const F* a, N n) { Z::addSIMD(d, a, 1, n); }),
      row<F>("sub(1, a)", [](F* d, const F* a, N n) { Z::subSIMD(d, 1.0f, a, n); }),
      row<F>("sub(a, a)", [](F* d, const F* a, N n) { Z::subSIMD(d, a, a, n); }),
      row<F>("mul(a, 1)", [](F* d, const F* a, N n) { Z::mulSIMD(d, a, 1, n); }),
      row<F>("div(1, a)", [](F* d, const F* a, N n) { Z::divSIMD(d, 1.0f, a, n); }),
      row<F>("div(a, 3)", [](F* d, const F* a, N n) { Z::div(d, a, 3.0f, n); }),
      row<F>(
          "fdiv(1, a)", [](F* d, const F* a, N n) { Z::fdivSIMD(d, 1.0f, a, n); }, true),
      row<F>("safediv(1, a)", [](F* d, const F* a, N n) { Z::safedivSIMD(d, 1.0f, a, n); }),
      row<F>("safediv(-1, a)", [](F* d, const F* a, N n) { Z::safedivSIMD(d, -1.0f, a, n); }),
      row<F>("safediv(a, a)", [](F* d, const F* a, N n) { Z::safedivSIMD(d, a, a, n); })}},
    {"Choices",
     {row<F>("zelmin(a, 0)", [](F* d, const F* a, N n) { Z::zelminSIMD(d, a, 0.0f, n); }),
      row<F>("zelmax(a, 0)", [](F* d, const F* a, N n) { Z::zelmaxSIMD(d, a, 0.0f, n); }),
      row<F>("zelmax(a, NaN)", [](F* d, const F* a, N n) { Z::zelmaxSIMD(d, a, L::quiet_NaN(), n); }),
      row<F>("clamp(a, 0, 1)", [](F* d, const F* a, N n) { Z::clampSIMD(d, a, 0, 1, n); }),
      row<F>("clamp(a, 1, 0)", [](F* d, const F* a, N n) { Z::clampSIMD(d, a, 1, 0, n); }),
      row<F>("wpoint(a, 1, 1, -0.5)", [](F* d, const F* a, N n) { Z::wpointSIMD(d, a, 1, 1, -0.5f, n); })}},
    {"Relations to 0",
     {row<int>("lt(a, 0)", [](int* d, const F* a, N n) { Z::ltSIMD(d, a, 0.0f, n); }),
      row<int>("le(a, 0)", [](int* d, const F* a, N n) { Z::leSIMD(d, a, 0.0f, n); }),
      row<int>("gt(a, 0)", [](int* d, const F* a, N n) { Z::gtSIMD(d, a, 0.0f, n); }),
      row<int>("ge(a, 0)", [](int* d, const F* a, N n) { Z::geSIMD(d, a, 0.0f, n); }),
      row<int>("eq(a, 0)", [](int* d, const F* a, N n) { Z::eqSIMD(d, a, 0.0f, n); }),
      row<int>("ne(a, 0)", [](int* d, const F* a, N n) { Z::neSIMD(d, a, 0.0f, n); }),
      row<int>("fastge(a, 0)", [](int* d, const F* a, N n) { Z::fastgeSIMD(d, a, 0.0f, n); })}}};

void line(const std::vector<std::string>& cells) {
    for (const std::string& cell : cells) std::printf("| %s ", cell.c_str());
    std::printf("|\n");
}
void head(const std::vector<std::string>& cells) {
    line(cells);
    for (std::size_t k = 0; k < cells.size(); ++k) std::printf("|---");
    std::printf("|\n");
}
std::vector<std::string> names(const char* first) {
    std::vector<std::string> all = {first};
    for (const Input& input : inputs) all.push_back(input.name);
    return all;
}
std::vector<std::string> cells(const Row& row, unsigned mode) {
    std::vector<std::string> all;
    for (const Input& input : inputs) all.push_back(row.cell(input.x, mode));
    return all;
}

}  // namespace

int main() {
    std::printf(
        "# Special values\n\nWhat members give for zeros, denormals, infinities and NaN. Where element and lane "
        "form differ, both stand: element / **lane**.\nPrinted by `docs/special_values.cpp` from the library "
        "itself; a test keeps it so.\n");
    for (const auto& [title, rows] : tables) {
        std::printf("\n## %s\n\n", title);
        head(names("a[i]"));
        for (const Row& row : rows) {
            std::vector<std::string> all = cells(row, 0);
            all.insert(all.begin(), "`" + row.name + "`");
            line(all);
        }
    }

    constexpr unsigned flush = 0x8000, zeros = 0x40;
    std::printf(
        "\n## Modes without denormals\n\n*flush*: flush-to-zero, a denormal result becomes a zero. *zeros*: "
        "denormals-are-zero, a denormal operand counts as a zero.\nRows and columns in which something changes; "
        "all else is as above.\n\n");
    const std::pair<const char*, unsigned> modes[] = {{"flush", flush}, {"zeros", zeros}, {"both", flush | zeros}};
    std::set<std::size_t> changing;  // columns
    for (const auto& [title, rows] : tables)
        for (const Row& row : rows)
            for (const auto& [mode, bits] : modes)
                for (std::size_t k = 0; k < std::size(inputs); ++k)
                    if (row.cell(inputs[k].x, bits) != row.cell(inputs[k].x, 0)) changing.insert(k);
    std::vector<std::string> heads = {"a[i]", "mode"};
    for (const std::size_t k : changing) heads.push_back(inputs[k].name);
    head(heads);
    for (const auto& [title, rows] : tables)
        for (const Row& row : rows) {
            const auto usual = cells(row, 0);
            std::vector<std::pair<std::vector<std::string>, std::string>> seen;  // what a row gives, in which modes
            for (const auto& [mode, bits] : modes) {
                const auto here = cells(row, bits);
                const auto same = std::ranges::find(seen, here, [](const auto& entry) { return entry.first; });
                if (same != seen.end())
                    same->second += std::string(", ") + mode;
                else if (here != usual)
                    seen.emplace_back(here, mode);
            }
            for (const auto& [here, which] : seen) {
                std::vector<std::string> all = {"`" + row.name + "`", which};
                for (const std::size_t k : changing) all.push_back(here[k] == usual[k] ? "" : here[k]);
                line(all);
            }
        }

    std::printf(
        "\n## Rounding modes\n\nWhere a zero or an infinity comes or goes with the thread's rounding mode. That other "
        "numbers are rounded as the\nmode says isn't shown.\n\n");
    head({"member", "a[i]", "to nearest", "down", "up", "toward zero"});
    for (const auto& [title, rows] : tables)
        for (const Row& row : rows)
            for (const Input& input : inputs) {
                std::vector<std::string> all = {"`" + row.name + "`", input.name};
                for (const unsigned mode : {0x0000, 0x2000, 0x4000, 0x6000}) all.push_back(row.cell(input.x, mode));
                // Of each cell, how many zeros and infinities it names.
                std::set<std::string> kinds;
                for (std::size_t k = 2; k < all.size(); ++k)
                    kinds.insert(std::regex_replace(all[k], std::regex("[+-](?!0\\b(?!\\.)|inf)[0-9.e+-]+"), "x"));
                if (kinds.size() > 1) line(all);
            }
}
