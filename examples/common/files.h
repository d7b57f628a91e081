// No file of a user's is lost: not by a mistaken command line, not by a signal, not by a full disk.
#pragma once

#include <string>
#include <vector>

/// A file of a command line: what its user calls it, and where it is.
struct NamedFile {
    std::string role, path;
    // Of one to be written: how its name ends, and the bytes that all of its kind begin with.
    std::string ending = {}, start = {};
};

inline NamedFile pngOutput(const std::string& path) { return {"the output", path, ".png", "\x89PNG\r\n\x1a\n"}; }

/// Tells before any work, by an exception of one line, what would go wrong or destroy a file. A file to be
/// written has the ending of its kind. One that is there already is empty or begins as its kind does. It is
/// none of the other files, whatever its name.
void checkFiles(const std::vector<NamedFile>& files);

/// The target of links, and its name while it is written, with a number that no other process has.
std::string targetOf(const std::string& path);
std::string partOf(const std::string& path, int process);

/// A file that appears under its name when it is complete, or not at all. One at a time.
class PartFile {
public:
    explicit PartFile(const std::string& path);
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    /// Onto the disk, then under its name in place of what was there.
    void finish();

    [[noreturn]] void fail(int error) const;

    const std::string path, part;
    int descriptor = -1;
};

/// From now on SIGINT, SIGTERM and SIGHUP remove the part file and end the program as they do by default.
/// What was ignored when it started, as nohup has it, stays ignored.
void cleanUpOnSignals();
