// Rows and worked values of element-wise arithmetic.
#include <gtest/gtest.h>

#include "engine.h"

using namespace test;
using Z = ZEL_Math;

namespace {

using FFF = void(float*, const float*, const float*, Count);
using FFV = void(float*, const float*, float, Count);
using FVF = void(float*, float, const float*, Count);
using FF = void(float*, const float*, Count);
using DDD = void(double*, const double*, const double*, Count);
using DDV = void(double*, const double*, double, Count);
using DVD = void(double*, double, const double*, Count);
using DD = void(double*, const double*, Count);
using III = void(int*, const int*, const int*, Count);
using IIV = void(int*, const int*, int, Count);

const Register addSubMul([] {
    const auto add = [](auto& d, auto a, auto b) { d = sum(a, b); };
    const auto addInt = [](int& d, int a, int b) { d = static_cast<int>(std::int64_t{a} + b); };
    const auto sub = [](auto& d, auto a, auto b) { d = a - b; };
    const auto mul = [](auto& d, auto a, auto b) { d = product(a, b); };
    both<FFF>(Z::add, Z::addSIMD, add);
    both<FFV>(Z::add, Z::addSIMD, add);
    both<III>(Z::add, Z::addSIMD, addInt);
    both<IIV>(Z::add, Z::addSIMD, addInt);
    only<DDD>(Z::add, add);
    only<DDV>(Z::add, add);
    both<FFF>(Z::sub, Z::subSIMD, sub);
    both<FFV>(Z::sub, Z::subSIMD, sub);
    both<FVF>(Z::sub, Z::subSIMD, sub);
    only<DDD>(Z::sub, sub);
    only<DDV>(Z::sub, sub);
    only<DVD>(Z::sub, sub);
    both<FFF>(Z::mul, Z::mulSIMD, mul);
    both<FFV>(Z::mul, Z::mulSIMD, mul);
    only<DDD>(Z::mul, mul);
    only<DDV>(Z::mul, mul);
});

}  // namespace
