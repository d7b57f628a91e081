// The main of every program: one line on standard error for whatever goes wrong, once, and nobody who waits for ever.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "arguments.h"
#include "files.h"
#include "ranks.h"

inline const char* theProgram = "";

/// Of the exception that is being handled. It takes no memory, which may be what is missing.
inline std::array<char, 1000> currentLine() {
    std::array<char, 1000> line{};
    const auto take = [&](const char* text) { std::strncpy(line.data(), text, line.size() - 1); };
    try {
        throw;
    } catch (const std::bad_alloc&) {
        take("not enough memory");
    } catch (const std::exception& e) {
        take(e.what());
    } catch (...) {
        take("ended by an unknown exception");
    }
    return line;
}

/// One line, none for an empty text. What a file has in its names must not command a terminal.
inline void tell(std::array<char, 1000> text) {
    for (char& c : text)
        if (c && std::iscntrl(static_cast<unsigned char>(c))) c = c == '\n' ? ' ' : '?';
    if (text[0]) std::fprintf(stderr, "%s: %s\n", theProgram, text.data());
}

/// What all ranks know of: each unwinds to its end.
struct Agreed : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// If any rank's work throws, all do: the first of them what it caught, the others nothing to tell.
inline void together(Ranks& ranks, auto&& work) {
    std::array<char, 1000> line{};
    bool failed = false;
    try {
        work();
    } catch (...) {
        line = currentLine();
        failed = true;
    }
    const int speaker = ranks.least(failed ? ranks.rank : ranks.count);
    if (speaker < ranks.count) throw Agreed(speaker == ranks.rank ? line.data() : "");
}

/// A whole main: `--help` anywhere prints the help, and what `run` throws becomes a line. What a rank throws alone, in
/// whichever thread, ends the others as well: they may wait for it.
inline int program(const char* name, const char* help, int argc, char** argv, auto&& run) {
    theProgram = name;
    // A file must not come to lie where text is printed. What is open the wrong way round tells who uses it.
    for (const int stream : {0, 1, 2})
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY) != stream) return 1;
    std::set_terminate([] {
        if (std::current_exception()) tell(currentLine());
        removeParts();
        Ranks::abort();
        std::_Exit(1);
    });
    watchSignals();
    Ranks ranks;
    int status = 0;
    try {
        if (ranks.rank > 0 && !std::freopen("/dev/null", "w", stdout)) throw std::runtime_error(std::strerror(errno));
        const bool helps = std::find(argv, argv + argc, std::string("--help")) != argv + argc;
        if (helps)
            std::fputs(help, stdout);
        else
            run(ranks, Arguments(argc, argv));
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw Agreed("standard output can't be written");
    } catch (const Agreed&) {
        tell(currentLine());
        status = 1;
    } catch (...) {
        tell(currentLine());
        if (ranks.count > 1) Ranks::abort();
        status = 1;
    }
    return status;
}
