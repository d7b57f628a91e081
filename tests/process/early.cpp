// A library that calls libZEL while it is being loaded itself.
#include "ZEL_Math.h"

/// Three and four, added by a SIMD member.
[[gnu::visibility("default")]] int seven() {
    const int a[6] = {3, 3, 3, 3, 3, 3};
    int d[6];
    ZEL_Math::addSIMD(d, a, 4, 6);
    return d[1] == d[4] ? d[1] : 0;
}
[[gnu::visibility("default")]] int theEarlySeven = ZEL_Math::isSIMD() ? seven() : 0;
