/* libZEL from C: program [PATH]. Given a path, it loads the library there as well, and sees what becomes of the flag. */
#include <dlfcn.h>
#include <stdio.h>

#include "zelc.h"

int main(int argc, char** argv) {
    float a[] = {1, 2, 3, 4, 5}, d[5];
    zel_flag(0);
    zel_mul(d, a, 2.0f, 5);
    printf("%g %d\n", zel_dot(d, a, 5), zel_is_set());
    if (argc > 1) {
        void* by_name = dlopen("libZEL.so.1", RTLD_NOW);
        printf("by name: %d\n", zel_is_set());
        void* by_path = dlopen(argv[1], RTLD_NOW);
        printf("by path: %d\n", zel_is_set());
        return !by_name || !by_path;
    }
    return 0;
}
