// The shim: members of ZEL_Math under the names of zelc.h, which C can spell.
#include "zelc.h"

#include "ZEL_Math.h"

void zel_mul(float* d, const float* a, float b, int64_t num) { ZEL_Math::mul(d, a, b, num); }
double zel_dot(const float* a, const float* b, int64_t num) { return ZEL_Math::dot(a, b, num); }
void zel_flag(int on) { ZEL_Math::forceSIMD(on != 0); }
int zel_is_set(void) { return ZEL_Math::isSIMD(); }
