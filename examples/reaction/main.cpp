// A reaction that draws: Gray and Scott's equations on a periodic grid, by OpenMP's threads and MPI's ranks.
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <tuple>

#include "ZEL_Math.h"
#include "checkpoint.h"
#include "common/image_io.h"
#include "common/program.h"
#include "common/progress.h"

constexpr const char* help = R"(usage: reaction [INPUT.exr] OUTPUT.png [OPTION]...

Lets two substances react and diffuse on a grid whose borders meet, and draws what comes of it. U is fed in, V turns
U into V and is killed: faster where a photograph is light. Any number of ranks and threads gives the same bits.

  --size WxH          cells, up to 65535 either way (those of INPUT, or 512x512)
  --steps N           steps in all, those before --resume included (4000)
  --feed F, --kill K  rates, 0 to 0.1 (0.04, 0.0605); with INPUT, the mean of K
  --seed S            chooses the places where V starts (1)
  --report N          tell the mass of V and its change every N steps (at the end only)
  --checkpoint FILE   keep the state in FILE.state, at the end and every so many steps. One that is there is replaced
                      only if the run goes on from it.
  --overwrite         replace it in any case
  --every N           how many steps (1000)
  --resume FILE       go on from a checkpoint, which has the size, the rates and what INPUT made of them. If it is
                      that of --checkpoint and not there yet, the run begins afresh: one line serves all starts.
  --flag set|clear    the library's flag (set)

mpirun -n sets the ranks, OMP_NUM_THREADS the threads of each. Change is the sum of the squares of V's changes in the
last step, the digest the CRC-32 of the cells: the first row of U, that of V, the second row of U, and so on. A cell
takes 20 bytes of memory, and a pixel of INPUT 20 in each rank. What isn't free of that is told before it is taken.
)";
constexpr int bytesPerPixel = 20, bytesPerCell = 20;

struct Command {
    std::vector<std::string> files;
    std::string flag = "set";
    std::optional<std::string> save, resume;
    std::optional<std::pair<std::int64_t, std::int64_t>> size;
    std::optional<double> feed, kill, seed;  // where not given, a checkpoint's or the defaults
    double steps = 4000, report = 1e9, every = 0;
    bool overwrite = false;

    bool draws() const { return files.size() > 1; }

    /// Checks the files as well; who rehearses tells whether the run goes on from --resume.
    bool parse(Arguments words, bool rehearse) {
        const auto number = [&](auto& to, double lowest, double highest, Arguments::Kind kind) {
            return [=, &to, &words](auto& option) { to = words.number(option, lowest, highest, kind); };
        };
        files = words.files({
            {"--steps", number(steps, 0, 1e9, Arguments::whole)},
            {"--feed", number(feed, 0, 0.1, Arguments::any)},
            {"--kill", number(kill, 0, 0.1, Arguments::any)},
            {"--seed", number(seed, 0, 1e9, Arguments::whole)},
            {"--report", number(report, 1, 1e9, Arguments::whole)},
            {"--every", number(every, 1, 1e9, Arguments::whole)},
            {"--size", [&](auto& option) { size = words.size(option, Start::maxSide); }},
            {"--overwrite", [&](auto&) { overwrite = true; }},
            {"--checkpoint", [&](auto& option) { save = words.value(option); }},
            {"--flag",
             [&](auto& option) {
                 flag = words.oneOf(option, {"set", "clear"});
             }},
            {"--resume", [&](auto& option) { resume = words.value(option); }},
        });
        if (files.empty() || files.size() > 2) throw std::runtime_error("it takes [INPUT.exr] OUTPUT.png");
        if (every > 0 && !save) throw std::runtime_error("--every needs --checkpoint");
        if (every == 0) every = 1000;
        std::vector<NamedFile> named = {pngOutput(files.back())};
        if (draws()) named.push_back({"the input", files[0]});
        const bool goesOn = save && resume && sameFile(*save, *resume);
        if (save) named.push_back(checkpointFile(*save));
        if (resume && !goesOn) named.push_back({"--resume", *resume});
        checkFiles(named, rehearse);
        std::error_code none;
        const bool there = save && std::filesystem::exists(*save, none);
        if (there && !goesOn && !overwrite && !std::filesystem::is_empty(*save, none))
            refuse(*save, "is there already: --resume it, or replace it by --overwrite");
        return resume && (there || !goesOn);
    }
    /// What a grid begins with: what is given, else a checkpoint's, else the defaults.
    Start start(const Image& photograph, const Head* head) const {
        Start start = head ? head->start : Start{photograph.width, photograph.height};
        if (size) std::tie(start.width, start.height) = *size;
        if (feed) start.feed = float(*feed);
        if (kill) start.kill = float(*kill);
        if (seed) start.seed = std::int64_t(*seed);
        if (head && std::memcmp(&start, &head->start, sizeof start) != 0)
            refuse(*resume, "was made with other values of --size, --feed, --kill or --seed; leave them out");
        return start;
    }
};

static double since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

static void run(Ranks& ranks, const Arguments& arguments) {
    Command command;
    std::vector<std::string> notes;
    std::unique_ptr<Reaction> made;
    Head head;
    bool resumes = false;
    together(ranks, [&] {
        resumes = command.parse(arguments, ranks.rank == 0);
        if (ranks.rank == 0 && resumes) head = readHead(*command.resume);
    });
    // What rank 0 found: another machine may not see the same files yet.
    ranks.share(&resumes, sizeof resumes);
    ranks.share(&head, sizeof head);
    if (command.resume && !resumes) notes.push_back(*command.resume + " isn't there yet: from step 0.");
    together(ranks, [&] {
        if (head.step > command.steps) refuse(*command.resume, "is at step " + std::to_string(head.step) + " already");
        const Image photograph =
            command.draws() ? readExr(command.files[0], notes, bytesPerPixel) : Image{512, 512, {}};
        const Start start = command.start(photograph, resumes ? &head : nullptr);
        if (start.height < ranks.count)
            throw std::runtime_error("--size: " + std::to_string(start.height) + " rows are too few for " +
                                     std::to_string(ranks.count) + " ranks");
        askMemory("--size", bytesPerCell * double(start.width) * double(start.height / ranks.count));
        made = std::make_unique<Reaction>(start, ranks.rank, ranks.count, photograph);
    });
    Reaction& reaction = *made;
    const std::int64_t width = reaction.start.width, height = reaction.start.height;
    const std::int64_t steps = std::int64_t(command.steps), begin = head.step, rows = reaction.now.rows;
    if (resumes) {
        const Floats keep = command.draws() ? reaction.keep : Floats();
        loadCheckpoint(ranks, reaction, *command.resume, head);
        together(ranks, [&] {
            if (!keep.empty() && keep != reaction.keep)
                refuse(*command.resume, "was made with another photograph; leave it out");
        });
    }
    for (std::int64_t y = 1; y <= rows; ++y) reaction.now.joinEnds(y);
    ZEL_Math::forceSIMD(command.flag == "set");
    for (const auto& note : notes) std::printf("%s\n", note.c_str());

    Progress progress(ranks.rank == 0);
    double seconds = 0;
    for (std::int64_t done = begin + 1; done <= steps; ++done) {
        const auto start = std::chrono::steady_clock::now();
        for (const int field : {0, 1}) {
            const auto row = [&](std::int64_t y) { return reaction.now.row(field, y) - 1; };
            ranks.startExchange(row(0), row(1), row(rows), row(rows + 1), int(width + 2));
        }
        reaction.advance(2, rows - 1);
        ranks.finishExchange();
        for (const std::int64_t y : std::set{std::int64_t{1}, rows}) reaction.advance(y, y);
        std::swap(reaction.now, reaction.next);
        seconds += since(start);
        progress.show("step %ld of %ld, %.0f s left", done, steps,
                      seconds / double(done - begin) * double(steps - done));
        if (done == steps || done % std::int64_t(command.report) == 0) {
            const Account grid = account(ranks, reaction);
            std::printf("step %ld: mass of V %.17g, change %.17g\n", done, grid.mass, grid.change);
        }
        if (command.save && (done == steps || done % std::int64_t(command.every) == 0))
            saveCheckpoint(ranks, reaction, *command.save, done);
    }

    std::optional<PngFile> picture;
    together(ranks, [&] {
        if (ranks.rank == 0) picture.emplace(command.files.back(), width, height, 8);
    });
    std::vector<std::uint8_t> row(3 * width);
    for (int r = 0; r < ranks.count; ++r)
        for (std::int64_t y = 1; y <= Reaction::rowsOf(height, r, ranks.count); ++y) {
            if (r == ranks.rank) reaction.paint(row.data(), y);
            ranks.pass(r, row.data(), std::int64_t(row.size()));
            if (picture) picture->row(row.data());
        }
    together(ranks, [&] {
        if (picture) picture->finish();
    });
    const std::uint32_t digest = account(ranks, reaction).digest;
    int threads = 0;
#pragma omp parallel reduction(+ : threads)
    ++threads;
    // The same rows once more, a row at a time and each thread's all at once. `next` isn't needed any more.
    std::array<double, 2> best = {1e9, 1e9};
    for (int k = 0; k < 10; ++k) {
        const auto start = std::chrono::steady_clock::now();
        reaction.advance(1, rows, k % 2 ? (rows + threads - 1) / threads : 1);
        best[k % 2] = std::min(best[k % 2], since(start));
    }
    std::printf("%ld x %ld cells, %d ranks, %d threads each\n", width, height, ranks.count, threads);
    if (begin < steps)
        std::printf("%.3g s, %.3g ns a cell and step\n", seconds,
                    1e9 * seconds / double(width * height * (steps - begin)));
    std::printf(
        "this rank alone: %.3g ns a row at a time, %.3g ns over whole arrays\n"
        "164 bytes a cell and step by calls, 28 of them by memory where the caches are too small\n"
        "digest %08x\n",
        1e9 * best[0] / double(width * rows), 1e9 * best[1] / double(width * rows), digest);
}

int main(int argc, char** argv) { return program("reaction", help, argc, argv, run); }
