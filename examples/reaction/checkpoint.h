// Accounts of the whole grid, and checkpoints: a head, then the rows of U and of V as they lie in memory.
#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <filesystem>

#include "common/ranks.h"
#include "grid.h"

/// The sum of all rows' accounts, in the order of the grid wherever they come from. For rank 0.
inline Account account(Ranks& ranks, Reaction& reaction) {
    std::vector<Account> rows(reaction.height);
    ranks.gather(reaction.accounts().data(), rows.data(), sizeof(Account), reaction.height);
    Account all;
    for (const Account& row : rows) {
        all.mass += row.mass, all.change += row.change;
        all.digest = std::uint32_t(crc32_combine(all.digest, row.digest, 8 * reaction.now.width));
        all.checksum = std::uint32_t(crc32_combine(all.checksum, row.checksum, 12 * reaction.now.width));
    }
    return all;
}

struct Head {
    char kind[8] = {'r', 'e', 'a', 'c', 't', 'i', 'o', 'n'};
    std::int64_t width, height, step;
    float feed;
    std::uint32_t checksum = 0;  // of what stands before it, and of the rows of U, V and `keep`

    Head(Ranks& ranks, Reaction& r, std::int64_t step)
        : width(r.now.width), height(r.height), step(step), feed(r.feed) {
        const auto before = crc32(0, reinterpret_cast<const Bytef*>(this), offsetof(Head, checksum));
        checksum = std::uint32_t(crc32_combine(before, account(ranks, r).checksum, 12 * width * height));
    }
    std::int64_t bytes() const { return sizeof(Head) + 8 * width * height; }
};

inline bool transfer(const std::string& path, bool write, const Ranks& ranks, Head& head,
                     Reaction& reaction) {
    Cells& cells = reaction.now;
    File file(path, write);
    if (!write || ranks.rank == 0) file.move(0, &head, sizeof head);
    for (const int field : {0, 1})
        for (std::int64_t y = 1; y <= cells.rows; ++y)
            file.move(sizeof head + 4 * cells.width * (field * reaction.height + reaction.first + y - 1),
                      cells.row(field, y), int(4 * cells.width));
    return file.close();
}

/// Replaces a checkpoint when the new one is complete and on the disk.
inline void saveCheckpoint(Ranks& ranks, Reaction& reaction, const std::string& path, std::int64_t step) {
    const std::filesystem::path target = absolute(std::filesystem::weakly_canonical(path)),
                                part = target.string() + ".part";
    Head head(ranks, reaction, step);
    const auto check = [&](int error) {
        if (error == 0) return;
        unlink(part.c_str());
        throw std::runtime_error(path + ": can't be written: " + std::strerror(error));
    };
    // Room for all of it first, since MPI tells little of a disk that fills up.
    together(ranks, [&] {
        if (ranks.rank != 0) return;
        const int file = open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        check(file < 0 ? errno : posix_fallocate(file, 0, head.bytes()));
        close(file);
    });
    together(ranks, [&, good = transfer(part, true, ranks, head, reaction)] { check(good ? 0 : EIO); });
    together(ranks, [&] {
        if (ranks.rank != 0) return;
        const int directory = open(target.parent_path().c_str(), O_RDONLY);
        check(rename(part.c_str(), target.c_str()) == 0 && fsync(directory) == 0 ? 0 : errno);
        close(directory);
    });
}

/// Takes U and V from a checkpoint, and gives the number of steps done.
inline std::int64_t loadCheckpoint(Ranks& ranks, Reaction& reaction, const std::string& path,
                                   std::int64_t steps) {
    Head head(ranks, reaction, 0);
    const auto refuse = [&](const std::string& why) { throw std::runtime_error(path + ": " + why); };
    together(ranks, [&] {
        std::error_code error;
        const auto found = std::int64_t(std::filesystem::file_size(path, error));
        if (error) refuse(error.message());
        if (found != head.bytes())
            refuse(std::to_string(found) + " bytes; a checkpoint of this grid has " +
                   std::to_string(head.bytes()));
    });
    const bool good = transfer(path, false, ranks, head, reaction);
    const Head expected(ranks, reaction, head.step);
    together(ranks, [&] {
        if (!good) refuse("can't be read");
        if (ranks.rank == 0 && std::memcmp(&head, &expected, sizeof head) != 0)
            refuse("is damaged, or of another grid, photograph, --feed or --kill");
        if (head.step > steps) refuse("is at step " + std::to_string(head.step) + " already");
    });
    return head.step;
}
