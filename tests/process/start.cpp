// Has libZEL from its start. The exit code is the flag as the load left it, or a complaint above 1.
#include "ZEL_Math.h"

int main() {
    const bool loaded = ZEL_Math::isSIMD();
    const bool settings[] = {true, false, false, true, true};
    for (bool on : settings) {
        ZEL_Math::forceSIMD(on);
        if (ZEL_Math::isSIMD() != on) return 2;
    }
    return loaded;
}
