#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int endings[] = {SIGINT, SIGTERM, SIGHUP};
std::atomic<const char*> thePart = nullptr;  // what a signal has to remove

void leave(int signal) {
    if (const char* part = thePart) unlink(part);
    raise(signal);  // with its default action again, as soon as this returns
}

/// Asked before main: MPI may have handlers of its own.
const auto theIgnored = [] {
    std::vector<int> ignored;
    struct sigaction before;
    for (const int signal : endings)
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) ignored.push_back(signal);
    return ignored;
}();

[[noreturn]] void refuse(const NamedFile& file, const std::string& what) {
    throw std::runtime_error(file.path + ": " + file.role + " " + what);
}

bool same(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) || targetOf(a) == targetOf(b);
}

void checkOutput(const NamedFile& file) {
    std::error_code error;
    const auto kind = fs::status(file.path, error).type();
    if (kind == fs::file_type::directory) refuse(file, "is a directory");
    if (!file.path.ends_with(file.ending)) refuse(file, "needs a name that ends in " + file.ending);
    if (kind == fs::file_type::not_found) {
        if (fs::is_symlink(file.path, error)) refuse(file, "is a link to a file that doesn't exist");
    } else if (kind != fs::file_type::regular) {
        refuse(file, "isn't a file to write to");
    } else {
        if (access(file.path.c_str(), R_OK | W_OK) != 0) refuse(file, std::string("is there: ") + std::strerror(errno));
        std::string start(file.start.size(), 0);
        std::ifstream(file.path).read(start.data(), std::streamsize(start.size()));
        if (fs::file_size(file.path) > 0 && start != file.start)
            refuse(file, "would replace a file of another kind, which isn't a " + file.ending.substr(1));
    }
    const fs::path parent = fs::path(targetOf(file.path)).parent_path();
    if (!fs::is_directory(parent, error)) refuse(file, "is to go to a directory that doesn't exist");
    if (access(parent.c_str(), W_OK) != 0) refuse(file, std::string("can't go there: ") + std::strerror(errno));
}

}  // namespace

void checkFiles(const std::vector<NamedFile>& files) {
    for (const NamedFile& file : files)
        if (file.path.empty()) throw std::runtime_error(file.role + " has an empty name");
    for (const NamedFile& file : files) {
        if (file.ending.empty()) continue;
        checkOutput(file);
        for (const NamedFile& other : files)
            if (&other != &file && same(file.path, other.path)) refuse(file, "is the same file as " + other.role);
    }
}

std::string targetOf(const std::string& path) { return fs::weakly_canonical(fs::absolute(path)); }

std::string partOf(const std::string& path, int process) {
    return targetOf(path) + "." + std::to_string(process) + ".part";
}

PartFile::PartFile(const std::string& path) : path(path), part(partOf(path, getpid())) {
    thePart = part.c_str();  // before it is there: a signal may come at once
    descriptor = open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
    if (descriptor >= 0) return;
    const int error = errno;
    thePart = nullptr;
    fail(error);
}

PartFile::~PartFile() {
    if (descriptor < 0) return;
    close(descriptor);
    unlink(part.c_str());
    thePart = nullptr;
}

void PartFile::fail(int error) const { throw std::runtime_error(path + ": can't be written: " + std::strerror(error)); }

void PartFile::finish() {
    const fs::path target = targetOf(path);
    if (fsync(descriptor) != 0 || rename(part.c_str(), target.c_str()) != 0) fail(errno);
    thePart = nullptr;
    close(std::exchange(descriptor, open(target.parent_path().c_str(), O_RDONLY)));
    fsync(descriptor);  // the new name, too; not every file system can
    close(std::exchange(descriptor, -1));
}

void cleanUpOnSignals() {
    struct sigaction action = {};
    action.sa_handler = leave;
    action.sa_flags = int(SA_RESETHAND);
    for (const int signal : endings)
        if (std::ranges::find(theIgnored, signal) == theIgnored.end()) sigaction(signal, &action, nullptr);
}
