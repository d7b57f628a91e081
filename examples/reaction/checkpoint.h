// Accounts of the whole grid, and checkpoints: a head, then all rows of U, of V and of `keep` as in memory.
#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "common/files.h"
#include "common/program.h"
#include "grid.h"

/// The sum of all rows' accounts, in the order of the grid wherever they come from. For rank 0.
inline Account account(Ranks& ranks, Reaction& reaction) {
    std::vector<Account> rows = reaction.accounts();
    Account all;
    for (int r = 0; r < ranks.count; ++r) {
        if (ranks.rank == 0) rows.resize(Reaction::rowsOf(reaction.start.height, r, ranks.count));
        ranks.pass(r, rows.data(), std::int64_t(sizeof(Account) * rows.size()));
        for (const Account& row : rows) {
            all.mass += row.mass, all.change += row.change;
            all.digest =
                std::uint32_t(crc32_combine(all.digest, row.digest, Account::digestBytes * reaction.now.width));
            all.checksum =
                std::uint32_t(crc32_combine(all.checksum, row.checksum, Account::checksumBytes * reaction.now.width));
        }
    }
    return all;
}

/// What a run goes on from, whatever it is told. Words as they lie in memory, the lowest byte first.
struct Head {
    char kind[8] = {'r', 'e', 'a', 'c', 't', ' ', '2', '\n'};
    std::int64_t step = 0;
    Start start;
    std::uint64_t checksum = 0;  // CRC-32 of what stands before it, and of each row's U, V and `keep`

    std::int64_t bytes() const { return sizeof(Head) + cells(); }
    std::int64_t cells() const { return Account::checksumBytes * start.width * start.height; }
    /// For rank 0.
    std::uint32_t sum(Ranks& ranks, Reaction& r) const {
        const auto before = crc32(0, reinterpret_cast<const Bytef*>(this), offsetof(Head, checksum));
        return std::uint32_t(crc32_combine(before, account(ranks, r).checksum, cells()));
    }
};
static_assert(sizeof(Head) == 56);  // no padding, which would be anything

inline NamedFile checkpointFile(const std::string& path) {
    return {"--checkpoint", path, ".state", std::string(Head().kind, sizeof Head().kind)};
}

/// Each rank moves its own rows, and closes the file; gives an error of the system, or 0. Not by MPI's files: opening
/// those makes others, which a signal would leave behind.
inline int transfer(int file, bool write, const Ranks& ranks, Head& head, Reaction& reaction) {
    Cells& cells = reaction.now;
    int error = file < 0 ? errno : 0;
    const auto move = [&](std::int64_t at, void* data, std::int64_t bytes) {
        ssize_t moved = 0;  // perhaps less than told: then the next call tells why
        for (char* from = static_cast<char*>(data); !error && bytes > 0; at += moved, from += moved, bytes -= moved) {
            moved = write ? pwrite(file, from, bytes, at) : pread(file, from, bytes, at);
            if (moved <= 0) error = moved < 0 ? errno : EIO;
        }
    };
    if (write && ranks.rank == 0) move(0, &head, sizeof head);
    for (const int field : {0, 1, 2})
        for (std::int64_t y = 1; y <= cells.rows; ++y)
            move(sizeof head + 4 * cells.width * (field * head.start.height + reaction.first + y - 1),
                 field == 2 ? reaction.keepRow(y) : cells.row(field, y), 4 * cells.width);
    if (!error && write && fsync(file) != 0) error = errno;
    if (file >= 0 && close(file) != 0 && !error) error = errno;
    return error;
}

/// Replaces a checkpoint when the new one is complete and on the disk.
inline void saveCheckpoint(Ranks& ranks, Reaction& reaction, const std::string& path, std::int64_t step) {
    Head head{.step = step, .start = reaction.start};
    head.checksum = head.sum(ranks, reaction);
    std::optional<PartFile> file;
    int number = 0;
    // Room for all of it first: a full disk is told before any rank writes.
    together(ranks, [&] {
        if (ranks.rank != 0) return;
        file.emplace(path, ranks.count > 1);
        number = file->number;
        if (const int error = posix_fallocate(file->descriptor, 0, head.bytes())) file->fail(error);
    });
    ranks.share(&number, sizeof number);
    together(ranks, [&] {
        const int own = file ? dup(file->descriptor) : open(partOf(path, number).c_str(), O_WRONLY | O_CLOEXEC);
        if (const int error = transfer(own, true, ranks, head, reaction))
            throw std::runtime_error(path + ": can't be written: " + std::strerror(error));
    });
    together(ranks, [&] {
        if (file) file->finish();
    });
}

[[noreturn]] inline void refuse(const std::string& path, const std::string& why) {
    throw std::runtime_error(path + ": " + why);
}

/// The head of a checkpoint, which is as long as it says.
inline Head readHead(const std::string& path) {
    Head head;
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(&head), sizeof head);
    if (!file.is_open() || file.bad()) refuse(path, std::string("can't be read: ") + std::strerror(errno));
    if (!file || std::memcmp(head.kind, Head().kind, sizeof head.kind) != 0) refuse(path, "isn't a checkpoint");
    const auto [width, height, feed, kill, seed] = head.start;
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    if (std::min(width, height) < 1 || std::max(width, height) > Start::maxSide)
        refuse(path, "is damaged: its grid has " + size + " cells");
    const auto found = std::int64_t(std::filesystem::file_size(path));
    if (found != head.bytes())
        refuse(path, std::to_string(found) + " bytes; a checkpoint of " + size + " cells has " +
                         std::to_string(head.bytes()));
    return head;
}

/// Takes U, V and `keep` from a checkpoint.
inline void loadCheckpoint(Ranks& ranks, Reaction& reaction, const std::string& path, Head head) {
    const int error = transfer(open(path.c_str(), O_RDONLY | O_CLOEXEC), false, ranks, head, reaction);
    const std::uint32_t sum = head.sum(ranks, reaction);
    together(ranks, [&] {
        if (error) refuse(path, std::string("can't be read: ") + std::strerror(error));
        if (ranks.rank == 0 && sum != head.checksum) refuse(path, "is damaged");
    });
}
