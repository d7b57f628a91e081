// How far a program is: on a terminal one line that is written over, and gone in the end; elsewhere nothing.
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdio>

class Progress {
public:
    explicit Progress(bool speaks = true) : shown(speaks && isatty(STDERR_FILENO)) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (shown) std::fputs("\r\033[K", stderr);
    }

    /// Tells as printf does, at most ten times a second.
    template <class... Values> void show(const char* format, Values... values) {
        const auto now = std::chrono::steady_clock::now();
        if (!shown || now < next) return;
        next = now + std::chrono::milliseconds(100);
        std::fputc('\r', stderr);
        std::fprintf(stderr, format, values...);
        std::fputs("\033[K", stderr);
    }

private:
    bool shown;
    std::chrono::steady_clock::time_point next{};
};
