// Loads libZEL and unloads it again, fifty times. The exit code is the flag after each, else a complaint.
#include <dlfcn.h>
#include <xmmintrin.h>

int main(int, char** arguments) {
    int timesSet = 0;
    constexpr unsigned control = 0xFFC0;  // toward zero, denormals as zeros: a load leaves it so
    for (int i = 0; i < 50; ++i) {
        _mm_setcsr(control);
        void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (!library || _mm_getcsr() != control) return 2;
        const auto* flag = static_cast<bool*>(dlsym(library, "_ZN8ZEL_Math7theSIMDE"));
        const auto isSIMD = reinterpret_cast<bool (*)()>(dlsym(library, "_ZN8ZEL_Math6isSIMDEv"));
        const auto forceSIMD = reinterpret_cast<void (*)(bool)>(dlsym(library, "_ZN8ZEL_Math9forceSIMDEb"));
        const bool loaded = *flag;  // before any member had a chance to set it
        if (isSIMD() != loaded) return 6;
        timesSet += loaded;
        forceSIMD(!loaded);  // the next load has to put it right again
        if (*flag == loaded || isSIMD() == loaded) return 3;
        dlclose(library);
        if (dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD)) return 4;
    }
    return timesSet == 0 ? 0 : timesSet == 50 ? 1 : 5;
}
