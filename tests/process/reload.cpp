// Loads a library that is libZEL or needs it, and unloads it again, fifty times. The exit code is the flag as
// each load left it, or a complaint above 1.
#include <dlfcn.h>

#include <cstdio>

template <class Symbol>
Symbol* find(void* library, const char* name) {
    return reinterpret_cast<Symbol*>(dlsym(library, name));
}

int main(int, char** arguments) {
    int timesSet = 0;
    for (int i = 0; i < 50; ++i) {
        void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (!library) return std::fprintf(stderr, "%s\n", dlerror()), 2;
        const bool* flag = find<bool>(library, "_ZN8ZEL_Math7theSIMDE");
        auto isSIMD = find<bool()>(library, "_ZN8ZEL_Math6isSIMDEv");
        auto forceSIMD = find<void(bool)>(library, "_ZN8ZEL_Math9forceSIMDEb");
        if (!flag || !isSIMD || !forceSIMD) return 3;
        const bool loaded = isSIMD();
        timesSet += loaded;
        forceSIMD(!loaded);  // the next load has to put it right again
        if (*flag == loaded || isSIMD() == loaded) return 4;
        dlclose(library);
        if (dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD)) return 5;
    }
    return timesSet == 0 ? 0 : timesSet == 50 ? 1 : 6;
}
