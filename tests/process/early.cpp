// A library that calls libZEL while it is being loaded itself.
#include "ZEL_Math.h"

static int theSum = 0;

[[gnu::constructor]] static void load() {
    const int a[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    int d[8];
    if (!ZEL_Math::isSIMD()) return;
    ZEL_Math::add(d, a, a, 8);
    for (int x : d) theSum += x;
}

[[gnu::visibility("default")]] int earlySum() { return theSum; }
