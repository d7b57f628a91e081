// Short names for the signatures that overloads are chosen by: result first, F float, D double, I int; V a value.
#pragma once

#include "engine.h"

namespace test {

using Z = ZEL_Math;

using FFF = void(float*, const float*, const float*, Count);
using FFV = void(float*, const float*, float, Count);
using FVF = void(float*, float, const float*, Count);
using FVV = void(float*, float, float, Count);
using FF = void(float*, const float*, Count);
using DDD = void(double*, const double*, const double*, Count);
using DDV = void(double*, const double*, double, Count);
using DVD = void(double*, double, const double*, Count);
using DVV = void(double*, double, double, Count);
using DD = void(double*, const double*, Count);
using III = void(int*, const int*, const int*, Count);
using IIV = void(int*, const int*, int, Count);
using IFF = void(int*, const float*, const float*, Count);
using IFV = void(int*, const float*, float, Count);
using IDD = void(int*, const double*, const double*, Count);
using IDV = void(int*, const double*, double, Count);
using IF = void(int*, const float*, Count);

}  // namespace test
