// Prints which floating-point exceptions each member with a lane form raises, by element and by lane group, for a
// list of inputs: lines of member, input, element, lane. scripts/proof/exceptions makes docs/exceptions.md of it.
#include <xmmintrin.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "ZEL_Math.h"

namespace {

using Z = ZEL_Math;
using L = std::numeric_limits<float>;

const std::pair<const char*, float> inputs[] = {{"0", 0.0f},
                                                {"1.4e-45", L::denorm_min()},
                                                {"1e-39", 1e-39f},
                                                {"1e-30", 1e-30f},
                                                {"1", 1.0f},
                                                {"-1", -1.0f},
                                                {"3e9", 3e9f},
                                                {"1.8e19", 1.8e19f},
                                                {"3e38", 3e38f},
                                                {"infinity", L::infinity()},
                                                {"-infinity", -L::infinity()},
                                                {"NaN", L::quiet_NaN()},
                                                {"signalling NaN", std::bit_cast<float>(0x7F800001)}};

struct alignas(16) Four {
    float x[4];
    explicit Four(float value = 0) : x{value, value, value, value} {}
};
alignas(16) int words[4];
const float matrix[4][4] = {{-1, 0, 1, 1}, {0, 0, 0, 0}, {1, 0, 0, 0}, {1, 0, 0, 0}};

/// A member of which x is the operand that the name shows. d holds ones at the call.
using Call = std::function<void(float* d, float* x, std::int64_t num)>;
struct Member {
    const char* name;
    Call call;
};
const Member members[] = {
    {"add(x, x)", [](auto d, auto x, auto n) { Z::add(d, x, x, n); }},
    {"sub(x, x)", [](auto d, auto x, auto n) { Z::sub(d, x, x, n); }},
    {"mul(x, x)", [](auto d, auto x, auto n) { Z::mul(d, x, x, n); }},
    {"div(1, x)", [](auto d, auto x, auto n) { Z::div(d, 1.0f, x, n); }},
    {"fdiv(1, x)", [](auto d, auto x, auto n) { Z::fdiv(d, 1.0f, x, n); }},
    {"fdiv(x, x)", [](auto d, auto x, auto n) { Z::fdiv(d, x, x, n); }},
    {"safediv(1, x)", [](auto d, auto x, auto n) { Z::safediv(d, 1.0f, x, n); }},
    {"safediv(0, x)", [](auto d, auto x, auto n) { Z::safediv(d, 0.0f, x, n); }},
    {"safediv(infinity, x)", [](auto d, auto x, auto n) { Z::safediv(d, L::infinity(), x, n); }},
    {"safediv(x, x)", [](auto d, auto x, auto n) { Z::safediv(d, x, x, n); }},
    {"invert(x)", [](auto d, auto x, auto n) { Z::invert(d, x, n); }},
    {"sqrt(x)", [](auto d, auto x, auto n) { Z::sqrt(d, x, n); }},
    {"fsqrt(x)", [](auto d, auto x, auto n) { Z::fsqrt(d, x, n); }},
    {"isqrt(x)", [](auto d, auto x, auto n) { Z::isqrt(d, x, n); }},
    {"abs(x)", [](auto d, auto x, auto n) { Z::abs(d, x, n); }},
    {"negate(x)", [](auto d, auto x, auto n) { Z::negate(d, x, n); }},
    {"zelmin(x, 1)", [](auto d, auto x, auto n) { Z::zelmin(d, x, 1.0f, n); }},
    {"zelmax(x, 1)", [](auto d, auto x, auto n) { Z::zelmax(d, x, 1.0f, n); }},
    {"clamp(x, 0, 1)", [](auto d, auto x, auto n) { Z::clamp(d, x, 0, 1, n); }},
    {"madd(x, x)", [](auto d, auto x, auto n) { Z::madd(d, x, x, n); }},
    {"scaleoffset(x, x)", [](auto d, auto x, auto n) { Z::scaleoffset(d, x, x, n); }},
    {"lerp(1, x, 0.5)", [](auto d, auto x, auto n) { Z::lerp(d, Four(1).x, x, 0.5f, n); }},
    {"lerp(1, x, x)", [](auto d, auto x, auto n) { Z::lerp(d, Four(1).x, x, x, n); }},
    {"lt(x, 1)", [](auto, auto x, auto n) { Z::lt(words, x, 1.0f, n); }},
    {"eq(x, 1)", [](auto, auto x, auto n) { Z::eq(words, x, 1.0f, n); }},
    {"fastge(x, 1)", [](auto, auto x, auto n) { Z::fastge(words, x, 1.0f, n); }},
    {"fastne(x, 1)", [](auto, auto x, auto n) { Z::fastne(words, x, 1.0f, n); }},
    {"set(x)", [](auto d, auto x, auto n) { Z::set(d, x[0], n); }},
    {"swap(x)", [](auto d, auto x, auto n) { Z::swap(d, x, n); }},
    {"cast(x)", [](auto, auto x, auto n) { Z::cast(words, x, n); }},
    {"floor(x)", [](auto, auto x, auto n) { Z::floor(words, x, n); }},
    {"splitFloat(x)", [](auto d, auto x, auto n) { Z::splitFloat(words, d, x, n); }},
    {"wpoint to 8 bits (x, 1, 255, 0)",
     [](auto d, auto x, auto n) { Z::wpoint(reinterpret_cast<std::uint8_t*>(d), x, 1, 255, 0, n); }},
    {"wpoint to 16 bits (x, 1, 1e10, 0)",
     [](auto d, auto x, auto n) { Z::wpoint(reinterpret_cast<std::uint16_t*>(d), x, 1, 1e10f, 0, n); }},
    {"wpoint to float (x, 1, 1, 0)", [](auto d, auto x, auto n) { Z::wpoint(d, x, 1, 1, 0, n); }},
    {"dot(x, x)", [](auto, auto x, auto n) { Z::dot(x, x, n); }},
    {"maddAndNorm(x, 1)", [](auto d, auto x, auto n) { Z::maddAndNorm(d, x, 1, n); }},
    {"mulAndDotDA(x, x)", [](auto d, auto x, auto n) { Z::mulAndDotDA(d, x, x, n); }},
    {"mulColVec44(x)", [](auto, auto x, auto n) { Z::mulColVec44(x, matrix, n, nullptr); }},
    {"mulRowVec44(x)", [](auto, auto x, auto n) { Z::mulRowVec44(x, matrix, n, nullptr); }},
    {"vadd4u4(x, 1)", [](auto, auto x, auto n) { Z::vadd4u4(x, Four(1).x, n, nullptr); }},
    {"vmul4u4(x, 1)", [](auto, auto x, auto n) { Z::vmul4u4(x, Four(1).x, n, nullptr); }}};

/// Of a call on four elements or vectors; inexact and the processor's flag for denormal operands are left out.
std::string raised(const Member& member, float value, bool flag) {
    Four x[4], d[4];
    for (int k = 0; k < 4; ++k) x[k] = Four(value), d[k] = Four(1);
    Z::forceSIMD(flag);
    _mm_setcsr(0x1F80);
    member.call(d[0].x, x[0].x, 4);
    const unsigned flags = _mm_getcsr();
    std::string all;
    for (const auto& [bit, word] : {std::pair{_MM_EXCEPT_INVALID, "invalid"},
                                    {_MM_EXCEPT_DIV_ZERO, "division by zero"},
                                    {_MM_EXCEPT_OVERFLOW, "overflow"},
                                    {_MM_EXCEPT_UNDERFLOW, "underflow"}})
        if (flags & static_cast<unsigned>(bit)) all += (all.empty() ? "" : ", ") + std::string(word);
    return all.empty() ? "nothing" : all;
}

}  // namespace

int main() {
    for (const Member& member : members)
        for (const auto& [name, value] : inputs)
            std::printf("%s|%s|%s|%s\n", member.name, name, raised(member, value, false).c_str(),
                        raised(member, value, true).c_str());
}
