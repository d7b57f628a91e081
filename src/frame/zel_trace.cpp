// zel-trace PROGRAM [ARGUMENT...]: the program on the library that counts. It is preloaded, and a library that is
// preloaded stands for every other of its name, wherever the program's run path leads. The program replaces this
// process, so that its output, status and signals are its own. What can't work is told before.
#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char theHelp[] = R"(zel-trace [--output FILE] PROGRAM [ARGUMENT...]

Runs PROGRAM on a copy of libZEL that counts, with the same results, and at its end prints a table: each member and the
place that it was called from, with its calls and elements (of streams: vectors), the share of the elements that were
done in lane groups, the share that an element loop did because the phases of the arrays differ, and the share of calls
of less than 16 elements. Where phases differ, it says which array begins where. Places whose phases differ for most
elements come first.

It also tells, at the first such call of a place, of an array that is null or not aligned to its elements, of arrays that
overlap where they mustn't, and of a count below 0.

    zel-trace ./program input.dat
    zel-trace --output trace.txt mpirun -n 4 ./program

  --output FILE   the table goes there instead of to standard error

Build the program with -g, and it names functions and lines (by addr2line, of binutils). A call that is the last thing
its function does may be told of that function's caller; -fno-optimize-sibling-calls prevents it. Each process that the
program starts prints a table of its own. A process that ends by a signal, _exit, quick_exit or exec prints none. Calls of
a libZEL that was loaded by its path aren't counted. Programs that are setuid, static or of another C library than glibc
can't be traced.
)";

[[noreturn]] void refuse(const std::string& why) {
    std::fprintf(stderr, "zel-trace: %s\n", why.c_str());
    std::exit(2);
}

/// Where the shell would find it, or nothing.
std::string found(const std::string& program) {
    if (program.find('/') != std::string::npos) return access(program.c_str(), F_OK) == 0 ? program : "";
    const char* const path = std::getenv("PATH");
    std::istringstream directories(path ? path : "/bin:/usr/bin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string file = (directory.empty() ? "." : directory) + "/" + program;
        struct stat s;
        if (stat(file.c_str(), &s) == 0 && S_ISREG(s.st_mode) && access(file.c_str(), X_OK) == 0) return file;
    }
    return "";
}

/// Refuses a program that no preloaded library gets into. Of a script it is the interpreter that counts.
void check(const std::string& program, int depth = 0) {
    struct stat s;
    if (stat(program.c_str(), &s) != 0) refuse(program + ": " + std::strerror(errno));
    if (!S_ISREG(s.st_mode) || access(program.c_str(), X_OK) != 0) refuse(program + " isn't a program.");
    const bool other = geteuid() != 0 || (s.st_mode & S_ISUID && s.st_uid != 0);
    if ((s.st_mode & (S_ISUID | S_ISGID) && other) || getxattr(program.c_str(), "security.capability", nullptr, 0) > 0)
        refuse(program + " is setuid, setgid or has capabilities, so the loader takes no other library for it.");
    std::ifstream file(program, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.starts_with("#!") && depth < 4) {
        std::istringstream line(bytes.substr(2, bytes.find('\n') - 2));
        std::string interpreter, argument;
        line >> interpreter >> argument;
        if (interpreter.ends_with("/env") && !argument.empty() && argument[0] != '-') interpreter = found(argument);
        if (!interpreter.empty()) check(interpreter, depth + 1);
        return;
    }
    Elf64_Ehdr head;
    if (bytes.size() < sizeof head) return;
    std::memcpy(&head, bytes.data(), sizeof head);
    if (std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) return;  // the kernel will say what it is
    if (head.e_ident[EI_CLASS] != ELFCLASS64 || head.e_machine != EM_X86_64) refuse(program + " isn't for x86-64.");
    std::string loader;
    for (std::size_t k = 0; k < head.e_phnum; ++k) {
        Elf64_Phdr segment;
        if (head.e_phoff + (k + 1) * sizeof segment > bytes.size()) refuse(program + " is cut short.");
        std::memcpy(&segment, bytes.data() + head.e_phoff + k * sizeof segment, sizeof segment);
        if (segment.p_type == PT_INTERP && segment.p_offset < bytes.size()) loader = bytes.data() + segment.p_offset;
    }
    if (loader.empty()) refuse(program + " is static: it loads no library.");
    if (loader.find("ld-linux") == std::string::npos)
        refuse(program + " is of another C library than glibc (" + loader + ").");
}

/// The counting library, found from where this program lies.
std::string library() {
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string directory(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    directory.resize(directory.rfind('/') + 1);
    for (const char* place : {ZEL_TRACE_LIBRARY, "../lib/zel-trace/libZEL.so.1"}) {
        char absolute[PATH_MAX];
        if (realpath((place[0] == '/' ? place : directory + place).c_str(), absolute)) return absolute;
    }
    refuse("its library isn't at " + directory + ZEL_TRACE_LIBRARY + ".");
}

}  // namespace

int main(int argc, char** argv) {
    std::string output;
    int at = 1;
    for (; at < argc && argv[at][0] == '-'; ++at) {
        const std::string option = argv[at];
        if (option == "--help") return std::fputs(theHelp, stdout) < 0 || std::fflush(stdout) != 0;
        if (option == "--") {
            ++at;
            break;
        }
        if (option.starts_with("--output="))
            output = option.substr(9);
        else if (option == "--output" && at + 1 < argc)
            output = argv[++at];
        else
            refuse("unknown option or missing value: " + option + " (--help tells which there are).");
        if (output.empty()) refuse("--output needs a file.");
    }
    if (at == argc) refuse("which program? (--help tells more.)");
    const std::string program = found(argv[at]);
    if (program.empty()) refuse(std::string(argv[at]) + ": there is no such program.");
    check(program);
    const std::string counting = library();

    if (!output.empty()) {
        const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        char absolute[PATH_MAX];
        if (file < 0 || !realpath(output.c_str(), absolute)) refuse(output + ": " + std::strerror(errno));
        close(file);
        setenv("ZEL_TRACE_OUTPUT", absolute, 1);
    } else {
        unsetenv("ZEL_TRACE_OUTPUT");
    }
    const char* const before = std::getenv("LD_PRELOAD");
    setenv("LD_PRELOAD", (counting + (before && *before ? std::string(":") + before : "")).c_str(), 1);
    setenv("ZEL_TRACE_PROCESS", std::to_string(getpid()).c_str(), 1);
    execv(program.c_str(), argv + at);
    refuse(program + ": " + std::strerror(errno));
}
