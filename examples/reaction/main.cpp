// A reaction that draws: Gray and Scott's equations on a periodic grid, by OpenMP's threads and MPI's ranks.
#include <chrono>
#include <memory>
#include <set>
#include <tuple>

#include "ZEL_Math.h"
#include "checkpoint.h"
#include "common/arguments.h"
#include "common/image_io.h"

constexpr const char* help = R"(usage: reaction [INPUT.exr] OUTPUT.png [OPTION]...

Lets two substances react and diffuse on a grid whose borders meet, and draws what comes of it. U is fed in, V turns
U into V and is killed: faster where a photograph is light. Any number of ranks and threads gives the same bits.

  --size WxH          cells, up to 65535 either way (those of INPUT, or 512x512)
  --steps N           steps in all, those before --resume included (4000)
  --feed F, --kill K  rates, 0 to 0.1 (0.04, 0.0605); with INPUT, the mean of K
  --seed S            chooses the places where V starts (1)
  --report N          tell the mass of V and its change every N steps (at the end only)
  --checkpoint FILE   keep the state in FILE, at the end and every so many steps
  --every N           how many (1000)
  --resume FILE       go on from a checkpoint, with INPUT, size and rates as they were
  --flag set|clear    the library's flag (set)

mpirun -n sets the ranks, OMP_NUM_THREADS the threads of each. Change is the sum of the squares of V's changes in the
last step, the digest the CRC-32 of the cells: the first row of U, that of V, the second row of U, and so on.
)";

struct Command {
    std::vector<std::string> files;
    std::string save, resume, flag = "set";
    std::int64_t width = 0, height = 0;
    double steps = 4000, feed = 0.04, kill = 0.0605, seed = 1, report = 1e9, every = 0;

    void parse(Arguments words) {
        const auto number = [&](double& to, double lowest, double highest) {
            return [=, &to, &words](auto& option) { to = words.number(option, lowest, highest); };
        };
        files = words.files(
            {{"--steps", number(steps, 0, 1e9)},
             {"--feed", number(feed, 0, 0.1)},
             {"--kill", number(kill, 0, 0.1)},
             {"--seed", number(seed, 0, 1e9)},
             {"--report", number(report, 1, 1e9)},
             {"--every", number(every, 1, 1e9)},
             {"--size", [&](auto& option) { std::tie(width, height) = words.size(option, 65535); }},
             {"--checkpoint", [&](auto& option) { save = words.value(option); }},
             {"--flag",
              [&](auto& option) {
                  flag = words.oneOf(option, {"set", "clear"});
              }},
             {"--resume", [&](auto& option) { resume = words.value(option); }}});
        if (files.empty() || files.size() > 2) throw std::runtime_error("it takes [INPUT.exr] OUTPUT.png");
        if (save.empty() ? every > 0 : save == files.back())
            throw std::runtime_error("--every needs --checkpoint, and that a file of its own");
        if (every == 0) every = 1000;
    }
};

static double since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

static void run(Ranks& ranks, const Arguments& arguments) {
    Command command;
    std::vector<std::string> notes;
    std::unique_ptr<Reaction> made;
    together(ranks, [&] {
        command.parse(arguments);
        auto& [files, save, resume, flag, width, height, steps, feed, kill, seed, report, every] = command;
        checkOutput(files.back(), files.size() > 1 ? files[0] : "");
        if (!save.empty()) checkOutput(save, files[0]);
        const Image photograph = files.size() > 1 ? readExr(files[0], notes) : Image{512, 512, {}};
        if (width == 0) width = photograph.width, height = photograph.height;
        if (height < ranks.count)
            throw std::runtime_error("--size: " + std::to_string(height) + " rows are too few for " +
                                     std::to_string(ranks.count) + " ranks");
        made = std::make_unique<Reaction>(width, height, ranks.rank, ranks.count, float(feed), float(kill),
                                          unsigned(seed), photograph);
    });
    Reaction& reaction = *made;
    const std::int64_t steps = std::int64_t(command.steps), width = command.width, height = command.height,
                       rows = reaction.now.rows;
    const std::int64_t begin =
        command.resume.empty() ? 0 : loadCheckpoint(ranks, reaction, command.resume, steps);
    for (std::int64_t y = 1; y <= rows; ++y) reaction.now.joinEnds(y);
    ZEL_Math::forceSIMD(command.flag == "set");
    for (const auto& note : notes) std::printf("%s\n", note.c_str());

    const bool watched = ranks.rank == 0 && isatty(2);
    double seconds = 0, shown = 0;
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
        if (watched && seconds > shown + 0.2)
            std::fprintf(stderr, "step %ld of %ld, %.0f s left\033[K\r", done, steps,
                         (shown = seconds) / double(done - begin) * double(steps - done));
        if (done == steps || done % std::int64_t(command.report) == 0) {
            const Account grid = account(ranks, reaction);
            std::printf("step %ld: mass of V %.17g, change %.17g\n", done, grid.mass, grid.change);
        }
        if (!command.save.empty() && (done == steps || done % std::int64_t(command.every) == 0))
            saveCheckpoint(ranks, reaction, command.save, done);
    }
    if (watched) std::fputs("\033[K", stderr);

    std::vector<std::uint8_t> picture(ranks.rank == 0 ? 3 * width * height : 0);
    ranks.gather(reaction.picture().data(), picture.data(), 3 * width, height);
    together(ranks, [&] {
        if (ranks.rank == 0) writePng(command.files.back(), width, height, 8, picture);
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

int main(int argc, char** argv) {
    Ranks ranks;
    if (ranks.rank > 0 && !std::freopen("/dev/null", "w", stdout)) return 1;  // one speaks
    return program("reaction", help, argc, argv, [&](const Arguments& arguments) { run(ranks, arguments); });
}
