// Load steps, the flag with its accessors, and the class shell.
#include <cstdio>
#include <cstdlib>

#include "ZEL_Math.h"
#include "kep.h"

bool ZEL_Math::theSIMD = false;

namespace {

// The constants of lane formulas are part of the load image, so detection is the one step left to run. It runs as a
// constructor of the library: the loader finishes it before anything that links to the library can call in.
[[gnu::constructor]] void detect() {
    int family, capabilities;
    KEPgetProcessor(family, capabilities);
    if (capabilities & KEPlaneUnit) {
        ZEL_Math::forceSIMD(true);
        return;
    }
    const char* verbose = std::getenv("QUARNEL_VERBOSE_ERROR");
    if (verbose && verbose[0] != '0') std::fprintf(stderr, "Disabling SSE vector functions.\n");
}

}  // namespace

void ZEL_Math::forceSIMD(bool on) { theSIMD = on; }
bool ZEL_Math::isSIMD() { return theSIMD; }

ZEL_Math& ZEL_Math::operator=(const ZEL_Math&) { return *this; }
ZEL_Math& ZEL_Math::operator=(ZEL_Math&&) { return *this; }
