// The sweep: memory between unreadable pages, contents, placements, comparison, and the report of a failure.
#include "engine.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <stdexcept>

namespace test {
namespace {

/// Readable bytes between two unreadable pages, for each pane on both sides.
std::byte* const thePanes = [] {
    void* all = mmap(nullptr, 2 * modelDistance, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* first = static_cast<std::byte*>(all) + page;
    for (int k = 0; k < 2 * panes; ++k) mprotect(first + k * paneStride, paneBytes, PROT_READ | PROT_WRITE);
    return first;
}();

// ---- Contents

std::mt19937_64 theRandom;
std::uint32_t below(std::uint32_t n) { return (theRandom() >> 32) * n >> 32; }

/// The bits of a Float: zeros, denormals, infinities, NaNs of both kinds, what lies around 1 and the bounds of integers,
/// everyday numbers, anything. If plain, just a number with the given exponent.
template <class Float, class Bits>
Bits content(bool plain, Bits below1) {
    constexpr int shift = std::numeric_limits<Float>::digits - 1;
    constexpr Bits bias = std::numeric_limits<Float>::max_exponent - 1, top = 2 * bias + 1;
    constexpr Bits quiet = Bits{1} << (shift - 1), full = 2 * quiet - 1, sign = ~(~Bits{0} >> 1);
    const Bits any = theRandom();
    const Bits exponents[] = {0,         1,        bias - 2,  bias - 1,    bias,      bias + 1,
                              bias + 2,  bias + 7, bias + 22, bias + 23,   bias + 24, bias + 30,
                              bias + 31, top - 1,  top,       any >> shift};
    const Bits fractions[] = {0, 1, quiet - 1, quiet, full, any, any, any & 7 * (quiet / 4)};
    const Bits exponent = plain ? bias - below1 : exponents[below(16)];
    const Bits fraction = plain ? any : fractions[below(8)];
    return (any & sign) | (exponent & top) << shift | (fraction & full);
}

/// Words of each content, drawn from by copying: the sweep is too big to make every word anew. The plain ones are
/// numbers of like size within a stretch, since one NaN or infinity would hide every order of additions.
const auto theSoups = [] {
    std::array<std::array<std::vector<std::uint64_t>, 3>, 2> soups;
    std::uint32_t below1 = 0;
    for (const bool plain : {false, true})
        for (int i = 0; i < 1 << 17; ++i) {
            if (i % 256 == 0) below1 = below(32);
            const std::uint64_t low = content<float>(plain, below1), high = content<float>(plain, below1);
            constexpr std::uint64_t halves[] = {0, 0xFFFFFFFF, 0xFFFFFFFF00000000, 0xFFFFFFFFFFFFFFFF};
            soups[plain][0].push_back(high << 32 | low);
            soups[plain][1].push_back(content<double, std::uint64_t>(plain, below1));
            soups[plain][2].push_back((high << 32 | low) & halves[below(4)]);
        }
    return soups;
}();

// ---- The case at work, for the report of a failure or a crash

const Row* theRow;
const Case* theCase;

template <class... A>
std::string format(const char* pattern, A... a) {
    char line[200];
    return {line, line + std::snprintf(line, sizeof line, pattern, a...)};
}

/// What went wrong in which case, and which elements lie at an address of the library's side.
std::string report(const std::string& fault, const void* address = nullptr) {
    if (!theCase) return fault + " outside of any case\n";
    const Case& c = *theCase;
    std::string text = fault + " in " + theRow->name;
    text += format("\n  flag %d, count %ld, MXCSR %04x\n", c.flag, c.count, c.control);
    const Count phase = lanePhase(*theRow, c);
    const Groups groups(phase, c.count);
    for (std::size_t k = 0; k < c.places.size(); ++k) {
        const Operand& o = theRow->operands[k];
        const std::byte *from = c.at(k), *to = from + extent(o, c.count);
        text += format("  operand %zu: phase %ld, %p to %p", k, c.phase(k), from, to);
        if (!o.array) text += format(", value %lx", c.item<std::uint64_t>(k));
        const Count i = (static_cast<const std::byte*>(address) - from) / o.size;
        const char* part = phase < 0         ? "element loop"
                           : i < groups.lead ? "lead-in"
                           : i < groups.end  ? "lane group"
                                             : "tail";
        if (address >= from && address < to) text += format(", there element %ld, %s", i, part);
        text += "\n";
    }
    return text;
}

[[noreturn, maybe_unused]] void crashed(int signal, siginfo_t* info, void*) {
    std::fputs(report(format("signal %d at %p", signal, info->si_addr), info->si_addr).c_str(), stderr);
    _exit(3);
}

// ---- One case

std::uint64_t theDigests[] = {14695981039346656037u, 14695981039346656037u};  // the second of estimates

void digest(const Row& row, std::uint64_t word) {
    theDigests[row.estimate] = (theDigests[row.estimate] ^ word) * 1099511628211u;
}

/// Compares a stretch of memory and digests it; where the model leaves the NaN open, its bits stand for the library's.
void compare(const Row& row, std::span<std::uint32_t> memory) {
    constexpr auto any = std::bit_cast<std::uint32_t>(anyNaN<float>);
    constexpr auto any64 = std::bit_cast<std::array<std::uint32_t, 2>>(anyNaN<double>);
    for (std::uint32_t& got : memory) {
        const std::uint32_t want = (&got)[modelDistance / 4];
        const bool open = (want == any && (got & 0x7FC00000) == 0x7FC00000) || want == any64[0] ||
                          (want == any64[1] && (got & 0x7FF80000) == 0x7FF80000);
        if (got != want && !open)
            throw std::runtime_error(report(format("wanted %08x, got %08x", want, got), &got));
        got = want;
        digest(row, want);
    }
}

/// Fills the memory, calls member and model, compares everything; throws the report of a difference.
void run(const Row& row, Case& c) {
    theRow = &row;
    theCase = &c;
    std::vector<std::span<std::uint32_t>> filled;
    const bool plain = below(2);
    for (std::size_t k = 0; k < row.operands.size(); ++k) {
        const Operand& o = row.operands[k];
        Place& p = c.places[k];
        if (!o.array) p = {valuePane, static_cast<Count>(8 * k)};
        if (p.null) continue;
        const Count margin = o.array ? 256 : 0;
        const Count from = std::max<Count>(p.offset - margin, 0) & ~Count{7};
        const Count to = std::min(p.offset + extent(o, c.count) + margin + 7, paneBytes) & ~Count{7};
        const auto& soup = theSoups[plain][static_cast<std::size_t>(o.content)];
        std::byte* const memory = thePanes + p.pane * paneStride + from;
        std::memcpy(memory, &soup[below(soup.size() - (to - from) / 8)], to - from);
        filled.emplace_back(reinterpret_cast<std::uint32_t*>(memory), (to - from) / 4);
    }
    if (row.adjust) row.adjust(c, [] { return theRandom(); });
    for (const auto memory : filled) std::ranges::copy(memory, memory.data() + modelDistance / 4);

    ZEL_Math::forceSIMD(c.flag);
    _mm_setcsr(c.control);
    const std::uint64_t got = row.call(c);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(c.control & ~_MM_EXCEPT_MASK);
    theModelIsInvalid = false;
    const std::uint64_t want = row.model(row, c);
    _mm_setcsr(0x1F80);

    if ((after ^ c.control) & ~_MM_EXCEPT_MASK)
        throw std::runtime_error(report(format("MXCSR afterwards %04x", after)));
    const bool invalid = theModelIsInvalid || c.control & _MM_EXCEPT_INVALID;
    if (c.control & ~after || (row.raisesInvalid && invalid != (after & _MM_EXCEPT_INVALID)))
        throw std::runtime_error(report(format("exceptions afterwards %02x", after & _MM_EXCEPT_MASK)));
    // Of a sum that is a NaN, it's open which one.
    const bool nan = std::isnan(std::bit_cast<double>(want)) && std::isnan(std::bit_cast<double>(got));
    if (got != want && !nan)
        throw std::runtime_error(report(format("result: wanted %016lx, got %016lx", want, got)));
    digest(row, nan ? 0 : want);
    for (const auto memory : filled) compare(row, memory);
    theCase = nullptr;
}

// ---- The sweep over cases

class Sweep : public testing::Test {
public:
    explicit Sweep(const Row& r) : row(r), c{.places = std::vector<Place>(row.operands.size())} {
        for (std::size_t k = 0; k < row.operands.size(); ++k)
            if (row.operands[k].array) arrays.push_back(k);
    }

    /// Every combination of phases with every count, and every pair of arrays at every shift with every count.
    void TestBody() override {
        theRandom.seed(row.name.size());
        const std::uint32_t n = arrays.size(), trials = 25u << 2 * std::max(n, 2u);
        for (std::uint32_t trial = 0; trial < 2 * trials; ++trial) {
            c.flag = trial >= trials;
            c.count = trial % 25;
            if (c.count > 20) c.count = row.large[below(row.large.size())] + below(4);
            place(trial / 25, true);
            once();
            place(trial / 25, false);
            once();
            if (n == 1) continue;
            if (below(2)) place(below(4) * 0x55, false);
            const std::size_t first = trial % n, second = first + 1 + trial / n % (n - 1);
            for (std::size_t third = 0; third < n; ++third)  // sometimes all in one memory
                if (third != first && below(3) == 0) overlap(arrays[first], arrays[third], below(19));
            overlap(arrays[first], arrays[second % n], trial % 19);
            once();
        }
        for (std::byte* pane = thePanes; pane < thePanes + modelDistance; pane += paneStride)
            ASSERT_EQ(std::memcmp(pane, pane + modelDistance, paneBytes), 0)
                << row.name << " wrote far away from its operands";
    }

private:
    void once() {
        // MXCSR as most callers have it, or any rounding with or without denormals; some flags are up already.
        c.control = 0x1F80;
        if (below(3) == 0) c.control |= below(4) << 13 | (below(2) ? 0x8000 : 0) | (below(2) ? 0x40 : 0);
        if (below(2) == 0) c.control |= below(64);
        for (const std::size_t k : arrays)  // at a count of 0, no pointer is looked at
            c.places[k].null = (row.operands[k].nullable || c.count == 0) && below(2);
        run(row, c);
    }

    /// Each array in memory of its own, by two bits of slots: at phases, or right behind or before an unreadable page.
    void place(std::uint32_t slots, bool atEdges) {
        for (int pane = 0; const std::size_t k : arrays) {
            const Operand& o = row.operands[k];
            const int slot = o.size < 4 ? below(16) : slots >> 2 * pane & 3;
            c.places[k] = {pane++, paneBytes * 3 / 8 + slot * o.size % 16};
            if (atEdges) c.places[k].offset = slot & 1 ? paneBytes - extent(o, c.count) : 0;
        }
    }

    /// k onto the memory of another array, up to nine elements of the smaller kind before or behind it, at times farther.
    void overlap(std::size_t onto, std::size_t k, int shift) {
        const int a = row.operands[onto].size, b = row.operands[k].size;
        const Count offset = c.places[onto].offset + (shift - 9) * std::min(a, b) * (below(8) ? 1 : 16);
        c.places[k] = {c.places[onto].pane, offset - offset % b};  // aligned to its own elements
    }

    const Row& row;
    Case c;
    std::vector<std::size_t> arrays;
};

}  // namespace

std::byte* Case::at(std::size_t operand) const {
    const Place& p = places[operand];
    return p.null ? nullptr : thePanes + p.pane * paneStride + p.offset;
}
Count Case::phase(std::size_t operand) const {
    return -reinterpret_cast<std::uintptr_t>(at(operand)) >> 2 & 3;
}

std::vector<Row>& rows() {
    static std::vector<Row> all;
    return all;
}
Row& add(Row row) { return rows().emplace_back(std::move(row)); }

bool usesLanes(const Row& row, const Case& c) {
    return row.kind == Kind::simd || (row.kind == Kind::dispatching && c.flag);
}

Count lanePhase(const Row& row, const Case& c) {
    unsigned phases = 0;
    for (std::size_t k = 0; k < row.operands.size(); ++k)
        if (row.operands[k].phased) phases |= 1u << c.phase(k);
    return usesLanes(row, c) && std::has_single_bit(phases) ? std::countr_zero(phases) : -1;
}

std::vector<Step> road(Count phase, Count num, int group) {
    const auto [lead, end] = Groups(phase, num);
    std::vector<Step> steps;
    for (Count i = 0; i < lead; ++i) steps.push_back({i, 1, Form::element});
    for (Count i = num; i-- > end;) steps.push_back({i, 1, Form::element});
    for (Count i = lead; i < end; i += group) steps.push_back({i, group, Form::lane});
    return steps;
}
std::vector<Step> standardOrder(const Row& row, const Case& c) { return road(lanePhase(row, c), c.count); }

bool runCase(const Row& row, Case& c, std::uint32_t seed) try {
    theRandom.seed(seed);
    run(row, c);
    return true;
} catch (const std::exception& difference) {
    std::fputs(difference.what(), stderr);
    return false;
}

std::string symbolOf(const void* member, std::string& library) {
    Dl_info info{};
    if (!dladdr(member, &info) || info.dli_saddr != member) return "";
    library = info.dli_fname;
    char* plain = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr);
    const std::string name = plain;
    std::free(plain);
    return name;
}

}  // namespace test

#ifndef ZEL_FUZZ  // the fuzzer brings its own
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    struct sigaction action {};
    action.sa_sigaction = test::crashed;
    action.sa_flags = SA_SIGINFO;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) sigaction(signal, &action, nullptr);
    std::string library;
    for (test::Row& row : test::rows()) {
        row.name = test::symbolOf(row.member, library);
        testing::RegisterTest("Rows", row.name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [&row]() -> testing::Test* { return new test::Sweep(row); });
    }
    const int result = RUN_ALL_TESTS();
    std::printf("library %s\ndigest %016lx, of estimates %016lx\n", library.c_str(), test::theDigests[0],
                test::theDigests[1]);
    return result;
}
#endif
