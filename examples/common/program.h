// The main of every program: one line on standard error for whatever goes wrong, once, and nobody who waits for ever.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

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

/// One line, none for an empty text. A name from a file must not command a terminal, by UTF-8 neither.
inline void tell(std::array<char, 1000> text) {
    unsigned char before = 0;
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c && (std::iscntrl(byte) || (before == 0xC2 && byte < 0xA0))) c = c == '\n' ? ' ' : '?';
        before = byte;
    }
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

/// What leaves a rank alone ends all of them, since they may wait for it. Of ranks that fail together the first to tell
/// its line ends the others before they do, and of threads the others wait for their end.
inline void endAlone() {
    static std::atomic_flag ended;
    if (ended.test_and_set()) pause();
    std::this_thread::sleep_for(std::chrono::milliseconds(100) * std::min(Ranks::rank, 10));
    if (std::current_exception()) tell(currentLine());
    removeParts();
    Ranks::abort();
}

/// A whole main: `--help` anywhere prints the help, and what `run` throws becomes a line. A rank that throws alone, in
/// whichever thread, or is ended by a library, ends the others as well.
inline int program(const char* name, const char* help, int argc, char** argv, auto&& run) {
    theProgram = name;
    // A file must not come to lie where text is printed. What is open the wrong way round tells who uses it.
    for (const int stream : {0, 1, 2})
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY) != stream) return 1;
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // what a run of days tells is there while it runs
    const Signals signals;
    std::set_terminate([] {
        endAlone();
        std::_Exit(1);
    });
    std::atexit([] {  // libgomp ends a program where it can't have a thread
        removeParts();
        Ranks::abort();
    });
    Ranks ranks;
    try {
        signals.watch();
        if (ranks.rank > 0 && !std::freopen("/dev/null", "w", stdout)) throw std::runtime_error(std::strerror(errno));
#ifndef WITH_MPI
        // mpirun would start it several times over, all for one file.
        for (const char* size : {"OMPI_COMM_WORLD_SIZE", "PMI_SIZE"})
            if (const char* started = std::getenv(size); started && started != std::string("1"))
                throw std::runtime_error("was built without MPI, and can't run under mpirun");
#endif
        if (std::find(argv, argv + argc, std::string("--help")) != argv + argc)
            std::fputs(help, stdout);
        else
            run(ranks, Arguments(argc, argv));
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw Agreed("standard output can't be written");
        return 0;
    } catch (const Agreed&) {
        tell(currentLine());
    } catch (...) {
        endAlone();
    }
    return 1;
}
