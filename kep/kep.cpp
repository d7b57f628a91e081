#include "kep.h"

#include <cpuid.h>

void KEPgetProcessor(int& family, int& capabilities) {
    family = 0;
    capabilities = 0;
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return;
    family = static_cast<int>(a >> 8 & 0xF);
    if (family == 0xF) family += static_cast<int>(a >> 20 & 0xFF);  // the extended part counts behind 15 only
    if ((d & bit_SSE) && (d & bit_SSE2)) capabilities = KEPlaneUnit;
}
