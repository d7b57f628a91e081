#include "files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

namespace {

// What a user, a batch system or a broken pipe sends. One of the last two that a write of this program causes stays
// blocked, and the write tells the error.
constexpr int endings[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU, SIGPIPE, SIGXFSZ};

// The part files that have a name. Never destroyed: the thread that waits for signals outlives main.
auto& theMutex = *new std::recursive_mutex;
auto& theParts = *new std::set<std::string>;

/// Which file it is and when it was written last; zeros where there is none.
using Identity = std::array<std::int64_t, 4>;
Identity identity(const std::string& path) {
    struct stat s;
    if (stat(path.c_str(), &s) != 0) return {};
    return {std::int64_t(s.st_dev), std::int64_t(s.st_ino), s.st_mtim.tv_sec, s.st_mtim.tv_nsec};
}
std::map<std::string, Identity> theOutputs;  // as they were when they were checked or written

[[noreturn]] void refuse(const NamedFile& file, const std::string& what) {
    throw std::runtime_error(file.path + ": " + file.role + " " + what);
}

void checkInput(const NamedFile& file) {
    std::error_code error;
    const auto kind = fs::status(file.path, error).type();
    if (kind == fs::file_type::not_found) refuse(file, "doesn't exist");
    if (kind == fs::file_type::none) refuse(file, "can't be read: " + error.message());
    if (kind != fs::file_type::regular) refuse(file, "isn't a file that can be read");
    if (access(file.path.c_str(), R_OK) != 0) refuse(file, std::string("can't be read: ") + std::strerror(errno));
}

/// Whether a file can be replaced by another.
void checkReplaceable(const NamedFile& file) {
    const std::string target = targetOf(file.path);
    const int opened = open(target.c_str(), O_RDWR | O_CLOEXEC);
    if (opened < 0) refuse(file, std::string("is there: ") + std::strerror(errno));
    close(opened);
    // Of what isn't a directory, the system asks all that a removal needs before it says so.
    if (rmdir(target.c_str()) != 0 && errno != ENOTDIR)
        refuse(file, std::string("can't be replaced: ") + std::strerror(errno));
    struct statx found;
    if (statx(AT_FDCWD, target.c_str(), 0, 0, &found) == 0 && (found.stx_attributes & STATX_ATTR_MOUNT_ROOT))
        refuse(file, "can't be replaced: something is mounted there");
    std::string start(file.start.size(), 0);
    std::ifstream(target).read(start.data(), std::streamsize(start.size()));
    if (fs::file_size(target) > 0 && start != file.start)
        refuse(file, "would replace a file of another kind, which isn't a " + file.ending.substr(1));
}

void checkOutput(const NamedFile& file) {
    std::error_code error;
    const auto kind = fs::status(file.path, error).type();
    if (kind == fs::file_type::none) refuse(file, "can't go there: " + error.message());
    if (kind == fs::file_type::directory) refuse(file, "is a directory");
    if (!file.path.ends_with(file.ending)) refuse(file, "needs a name that ends in " + file.ending);
    if (kind == fs::file_type::not_found) {
        if (fs::is_symlink(file.path, error)) refuse(file, "is a link to a file that doesn't exist");
    } else if (kind != fs::file_type::regular) {
        refuse(file, "isn't a file to write to");
    } else {
        checkReplaceable(file);
    }
    const fs::path parent = fs::path(targetOf(file.path)).parent_path();
    if (!fs::is_directory(parent, error)) refuse(file, "is to go to a directory that doesn't exist");
    struct statx found;
    if (statx(AT_FDCWD, parent.c_str(), 0, 0, &found) == 0 && (found.stx_attributes & STATX_ATTR_APPEND))
        refuse(file, "can't go there: from that directory nothing can be removed");
}

/// A writer holds it as long as it lives.
bool lock(int file) { return flock(file, LOCK_EX | LOCK_NB) == 0; }

/// Removes the parts of a file whose writers have died.
void removeDeadParts(const NamedFile& file) {
    const fs::path target = targetOf(file.path);
    const std::string stem = target.filename();
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(target.parent_path(), error)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with(stem + ".") || !name.ends_with(".part") || name.size() < stem.size() + 6 ||
            name.find_first_not_of("0123456789", stem.size() + 1) != name.size() - 5)
            continue;
        const int part = open(entry.path().c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (part < 0) continue;
        std::string start(file.start.size(), 0);  // zeros: nothing came into it, or room alone
        if (pread(part, start.data(), start.size(), 0) >= 0 && lock(part) &&
            (start == file.start || start == std::string(start.size(), 0)))
            unlink(entry.path().c_str());
        close(part);
    }
}

}  // namespace

void checkFiles(const std::vector<NamedFile>& files, bool rehearse) {
    for (const NamedFile& file : files)
        if (file.path.empty()) throw std::runtime_error(file.role + " has an empty name");
    for (const NamedFile& file : files) {
        if (file.ending.empty()) {
            checkInput(file);
            continue;
        }
        checkOutput(file);
        for (const NamedFile& other : files)
            if (&other != &file && sameFile(file.path, other.path)) refuse(file, "is the same file as " + other.role);
    }
    for (const NamedFile& file : files) {
        if (file.ending.empty()) continue;
        theOutputs[targetOf(file.path)] = identity(targetOf(file.path));
        if (!rehearse) continue;
        removeDeadParts(file);
        PartFile(file.path).giveName();
    }
}

std::string targetOf(const std::string& path) { return fs::weakly_canonical(fs::absolute(path)); }

bool sameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) || targetOf(a) == targetOf(b);
}

std::string partOf(const std::string& path, int number) {
    return targetOf(path) + "." + std::to_string(number) + ".part";
}

PartFile::PartFile(const std::string& path, bool shared) : path(path), target(targetOf(path)) {
    const std::string folder = fs::path(target).parent_path();
    struct stat old;
    const bool replaces = stat(target.c_str(), &old) == 0;
    const mode_t mode = replaces ? 0600 : 0666;
    if (!shared && access("/proc/self/fd", F_OK) == 0)
        descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
    if (descriptor < 0)
        takeName([&] { return (descriptor = open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)) >= 0; });
    else
        lock(descriptor);
    if (!replaces) return;
    // As private as what it replaces, and its owner's where that is allowed.
    const bool group = fchown(descriptor, old.st_uid, old.st_gid) == 0 || fchown(descriptor, -1, old.st_gid) == 0;
    fchmod(descriptor, old.st_mode & (group ? 0777 : 0707));
}

void PartFile::takeName(const std::function<bool()>& make) {
    std::random_device random;
    const std::lock_guard guard(theMutex);  // a signal finds it among the parts as soon as it is there
    for (;;) {
        number = int(random() >> 1);
        part = partOf(path, number);
        struct stat made;
        if (!make()) {
            if (errno == EEXIST) continue;
            const int error = errno;
            part.clear();
            fail(error);
        }
        // Another run may have found it before it was locked, and taken it for a dead one's.
        if ((lock(descriptor) || errno != EWOULDBLOCK) && fstat(descriptor, &made) == 0 && made.st_nlink > 0) break;
        close(descriptor);
    }
    theParts.insert(part);
}

void PartFile::giveName() {
    if (!part.empty()) return;
    const std::string open = "/proc/self/fd/" + std::to_string(descriptor);
    takeName([&] { return linkat(AT_FDCWD, open.c_str(), AT_FDCWD, part.c_str(), AT_SYMLINK_FOLLOW) == 0; });
}

PartFile::~PartFile() {
    if (!part.empty()) {
        const std::lock_guard guard(theMutex);
        unlink(part.c_str());
        theParts.erase(part);
    }
    if (descriptor >= 0) close(descriptor);
}

void PartFile::fail(int error) const { throw std::runtime_error(path + ": can't be written: " + std::strerror(error)); }

void PartFile::finish() {
    if (fsync(descriptor) != 0) fail(errno);
    giveName();
    if (identity(target) != theOutputs[target])
        throw std::runtime_error(path + ": can't be written: since the start a file of that name has come or changed");
    {
        const std::lock_guard guard(theMutex);
        if (rename(part.c_str(), target.c_str()) != 0) fail(errno);
        theParts.erase(std::exchange(part, {}));
    }
    theOutputs[target] = identity(target);
    const int folder = open(fs::path(target).parent_path().c_str(), O_RDONLY | O_CLOEXEC);
    fsync(folder);  // the new name, too; not every file system can
    close(folder);
}

void removeParts() {
    theMutex.lock();  // for good: no other thread makes one
    for (const std::string& part : theParts) unlink(part.c_str());
}

Signals::Signals() {
    sigemptyset(&awaited);
    struct sigaction before;
    for (const int signal : endings)
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaddset(&awaited, signal);
    pthread_sigmask(SIG_BLOCK, &awaited, nullptr);
}

void Signals::watch() const {
    std::thread([awaited = awaited] {
        int signal = 0;
        sigwait(&awaited, &signal);
        removeParts();
        std::signal(signal, SIG_DFL);
        pthread_sigmask(SIG_UNBLOCK, &awaited, nullptr);
        raise(signal);
    }).detach();
}
