// No file of a user's is lost: not by a mistaken command line, not by a signal, not by a full disk.
#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <vector>

/// A file of a command line: what its user calls it, and where it is.
struct NamedFile {
    std::string role, path;
    // Of one to be written: how its name ends, and the bytes that all of its kind begin with.
    std::string ending = {}, start = {};
};

inline NamedFile pngOutput(const std::string& path) { return {"the output", path, ".png", "\x89PNG\r\n\x1a\n"}; }

/// Tells before any work, by an exception of one line, what would go wrong or destroy a file. A file to be read
/// is one that can be read, and no pipe. One to be written has the ending of its kind. If it is there already,
/// it is empty or begins as its kind does, and can be replaced. It is none of the other files, whatever its name.
/// Who rehearses makes a part of each output, and removes those whose writers have died.
void checkFiles(const std::vector<NamedFile>& files, bool rehearse = true);

/// Whether two names, or links, are of one file.
bool sameFile(const std::string& a, const std::string& b);

/// The target of links, and its name while it is written.
std::string targetOf(const std::string& path);
std::string partOf(const std::string& path, int number);

/// A file of `checkFiles` that appears under its name when it is complete, or not at all. Until then it has no
/// name where the file system can do that, unless other processes write to it: they need one, with a number.
class PartFile {
public:
    explicit PartFile(const std::string& path, bool shared = false);
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    void giveName();
    /// Onto the disk, then under its name in place of what was there, if that is as it was.
    void finish();

    [[noreturn]] void fail(int error) const;

    const std::string path, target;
    int number = 0, descriptor = -1;

private:
    void takeName(const std::function<bool()>& make);

    std::string part;
};

/// Signals that end the program: before they do they remove the parts, at once, since a thread waits for nothing else,
/// and none for a slow disk. Make it before other threads start, which inherit that these signals are blocked. From
/// `watch` on they are taken; mpirun 4 may hang where a rank dies before MPI is there. What was ignored when the
/// program started, as nohup has it, stays ignored.
class Signals {
public:
    Signals();
    void watch() const;

private:
    sigset_t awaited;
};
void removeParts();
