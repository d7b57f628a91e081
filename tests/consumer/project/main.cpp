// A program that knows libZEL from its installed package alone. Success means that it could compute.
#include <ZEL_Math.h>

int main() {
    const float a[6] = {1, 2, 3, 4, 5, 6};
    float d[6];
    ZEL_Math::mul(d, a, a, 6);
    for (int i = 0; i < 6; ++i)
        if (d[i] != a[i] * a[i]) return 1;
    return ZEL_Math::isSIMD() ? 0 : 2;
}
