// The sweep: memory between unreadable pages, contents, placements, comparison, and the report of a failure.
#include "engine.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>

namespace test {
namespace {

constexpr Count margin = 256;
constexpr int panes = 5;

/// Readable bytes between two unreadable pages, for each pane on both sides.
std::byte* paneMemory(Side side, int pane) {
    static std::byte* const base = [] {
        constexpr Count stride = paneBytes + 2 * page;
        void* all = mmap(nullptr, 2 * panes * stride, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        auto* bytes = static_cast<std::byte*>(all);
        for (int k = 0; k < 2 * panes; ++k)
            mprotect(bytes + k * stride + page, paneBytes, PROT_READ | PROT_WRITE);
        return bytes;
    }();
    return base + ((side == Side::model ? panes : 0) + pane) * (paneBytes + 2 * page) + page;
}

std::mt19937 random32;
std::uint64_t random64() {
    const std::uint64_t high = random32();
    return high << 32 | random32();
}
std::uint32_t below(std::uint32_t n) {
    return static_cast<std::uint32_t>(std::uint64_t{random32()} * n >> 32);
}

/// A special value, random bits, or a number of everyday size, as the bits of a Float.
template <class Float, class Bits>
Bits content() {
    using L = std::numeric_limits<Float>;
    constexpr Bits sign = ~(~Bits{0} >> 1), quiet = Bits{1} << (L::digits - 2);
    const auto of = [](double x) { return std::bit_cast<Bits>(static_cast<Float>(x)); };
    static const Bits one = of(1), infinity = std::bit_cast<Bits>(L::infinity()), two31 = of(2147483648.0);
    static const Bits special[] = {0,
                                   1,
                                   quiet - 1,
                                   std::bit_cast<Bits>(L::min()),
                                   std::bit_cast<Bits>(L::min()) - 1,
                                   std::bit_cast<Bits>(L::max()),
                                   infinity,
                                   infinity + 1,
                                   infinity + quiet / 2,
                                   infinity + quiet,
                                   infinity + quiet + 0x1234,
                                   one,
                                   one - 1,
                                   of(0.5),
                                   of(0.5) - 1,
                                   of(2),
                                   of(255),
                                   of(8388608),
                                   of(8388607.5),
                                   of(16777216),
                                   of(16777218),
                                   two31,
                                   two31 - 1,
                                   two31 + 1,
                                   sign - 1};
    const std::uint32_t kind = below(4), draw = random32();
    if (kind == 0) return special[draw % std::size(special)] ^ (below(2) ? sign : 0);
    if (kind == 1) return static_cast<Bits>(random64());
    if (kind == 2) return of((static_cast<int>(draw % 4001) - 2000) / 8.0);
    return of(std::ldexp(draw >> 8, static_cast<int>(below(9)) - 24));
}

/// A long stretch of each content, drawn from by copying: the sweep is too big to make every word anew.
const std::vector<std::byte>& soup(Content kind) {
    static const auto soups = [] {
        random32.seed(1);
        std::array<std::vector<std::byte>, 4> all;
        for (auto& s : all) s.resize(1 << 20);
        for (std::size_t i = 0; i < all[0].size(); i += 8) {
            std::uint64_t words = content<float, std::uint32_t>();
            words = words << 32 | content<float, std::uint32_t>();
            const std::uint64_t halves =
                (below(2) ? ~std::uint32_t{0} : 0u) | (below(2) ? std::uint64_t{0xFFFFFFFF} << 32 : 0);
            const std::uint64_t chunk[] = {words, content<double, std::uint64_t>(), words & halves,
                                           random64() & halves};
            for (std::size_t k = 0; k < 4; ++k) std::memcpy(&all[k][i], &chunk[k], 8);
        }
        return all;
    }();
    return soups[static_cast<std::size_t>(kind)];
}
const std::byte* ladle(Content kind, Count bytes) {
    const auto& s = soup(kind);
    return &s[below(static_cast<std::uint32_t>((static_cast<Count>(s.size()) - bytes) / 8)) * 8];
}

// ---- The case at work, for the report of a failure or a crash.

const Row* theRow;
const Case* theCase;

Count extent(const Operand& o, Count count) { return (o.fixed ? o.fixed : o.perCount * count) * o.size; }

template <class... A>
std::string format(const char* pattern, A... a) {
    char line[200];
    std::snprintf(line, sizeof line, pattern, a...);
    return line;
}

std::string describeCase() {
    const Case& c = *theCase;
    std::string text = theRow->name + format("\n  flag %s, count %ld, MXCSR %04x\n", c.flag ? "set" : "clear",
                                             c.count, c.control);
    for (std::size_t k = 0; k < theRow->operands.size(); ++k) {
        const Place& p = c.places[k];
        if (!theRow->operands[k].array)
            text += format("  operand %zu: value %lx\n", k, c.values[k]);
        else
            text +=
                format("  operand %zu: phase %ld, memory %d%s from byte %ld of %ld\n", k,
                       phaseOf(c.at(Side::library, k)), p.pane, p.null ? " (null)" : "", p.offset, paneBytes);
    }
    return text;
}

/// Which element of which operand a byte belongs to, and what part of the work that is.
std::string whereIs(int pane, Count byte) {
    for (std::size_t k = 0; k < theRow->operands.size(); ++k) {
        const Operand& o = theRow->operands[k];
        const Place& p = theCase->places[k];
        if (!o.array || p.null || p.pane != pane || byte < p.offset ||
            byte >= p.offset + extent(o, theCase->count))
            continue;
        const Count i = (byte - p.offset) / o.size;
        const char* part = "";
        Count end = 0;  // of the lane groups
        for (const Step& s : theRow->order ? theRow->order(*theRow, *theCase) : Steps()) {
            if (s.lanes == 4) end = s.first + 4;
            if (s.lanes == 4 && i >= s.first && i < end) part = ", in a lane group";
        }
        if (end && !*part) part = i >= end ? ", in the tail" : ", in the lead-in";
        return format("operand %zu, index %ld%s", k, i, part);
    }
    return "outside of all operands";
}

[[noreturn]] void crashed(int signal, siginfo_t* info, void*) {
    std::fprintf(stderr, "signal %d at %p in %s", signal, info->si_addr,
                 theCase ? describeCase().c_str() : "no case");
    for (int pane = 0; pane < panes; ++pane) {
        const Count byte = static_cast<std::byte*>(info->si_addr) - paneMemory(Side::library, pane);
        if (byte >= -page && byte < paneBytes + page)
            std::fprintf(stderr, "  byte %ld of memory %d\n", byte, pane);
    }
    _exit(3);
}

// ---- One case

std::uint64_t theDigests[2] = {14695981039346656037u,
                               14695981039346656037u};  // FNV-1a; the second of estimates
void digest(bool estimate, const std::byte* bytes, Count size) {
    std::uint64_t& d = theDigests[estimate];
    for (Count i = 0; i < size; ++i) d = (d ^ static_cast<std::uint64_t>(bytes[i])) * 1099511628211u;
}

/// Compares one pane's window; where the model leaves the NaN open, the library's is replaced by the model's.
std::string compareWindow(int pane, Count from, Count to) {
    std::byte* got = paneMemory(Side::library, pane);
    const std::byte* want = paneMemory(Side::model, pane);
    if (std::memcmp(got + from, want + from, static_cast<std::size_t>(to - from)) == 0) return "";
    for (Count i = from & ~Count{3}; i < to; i += 4) {
        std::uint32_t g, w;
        std::memcpy(&g, got + i, 4);
        std::memcpy(&w, want + i, 4);
        const bool open = (w == anyNaN && (g & 0x7FC00000) == 0x7FC00000) ||
                          w == static_cast<std::uint32_t>(anyNaN64) ||
                          (w == anyNaN64 >> 32 && (g & 0x7FF80000) == 0x7FF80000);
        if (g != w && !open)
            return describeCase() + "  " + whereIs(pane, i) + format(": wanted %08x, got %08x\n", w, g);
        std::memcpy(got + i, &w, 4);
    }
    return "";
}

/// Fills the memory, calls member and model, compares everything. False ends the row.
bool run(const Row& row, Case& c) {
    theRow = &row;
    theCase = &c;
    Count from[panes], to[panes];
    std::fill_n(from, panes, paneBytes);
    std::fill_n(to, panes, Count{0});
    c.values.assign(row.operands.size(), 0);
    for (std::size_t k = 0; k < row.operands.size(); ++k) {
        const Operand& o = row.operands[k];
        const Place& p = c.places[k];
        if (!o.array) {
            std::memcpy(&c.values[k], ladle(o.content, 8), static_cast<std::size_t>(o.size));
        } else if (!p.null) {
            const Count first = std::max<Count>(p.offset - margin, 0) & ~Count{7};
            const Count last = std::min(p.offset + extent(o, c.count) + margin, paneBytes);
            from[p.pane] = std::min(from[p.pane], first);
            to[p.pane] = std::max(to[p.pane], last);
            // Shifted, so that values of this operand's type start at its elements.
            const Count shift = (p.offset - first) % 8;
            std::memcpy(paneMemory(Side::library, p.pane) + first,
                        ladle(o.content, last - first + 8) + (8 - shift) % 8,
                        static_cast<std::size_t>(last - first));
        }
    }
    if (row.adjust) row.adjust(c, [] { return random32(); });
    for (int k = 0; k < panes; ++k)
        if (from[k] < to[k])
            std::memcpy(paneMemory(Side::model, k) + from[k], paneMemory(Side::library, k) + from[k],
                        static_cast<std::size_t>(to[k] - from[k]));

    ZEL_Math::forceSIMD(c.flag);
    _mm_setcsr(c.control);
    const std::uint64_t got = row.call(c);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(c.control & ~0x3Fu);
    const std::uint64_t want = row.model(row, c);
    _mm_setcsr(0x1F80);

    std::string message;
    const bool nan = std::isnan(std::bit_cast<double>(want));  // of a sum: which one is open
    // Control bits as before, and no raised flag lowered.
    if ((after ^ c.control) & ~0x3Fu || c.control & ~after)
        message = describeCase() + format("  MXCSR afterwards: %04x\n", after);
    else if (got != want && !(nan && std::isnan(std::bit_cast<double>(got))))
        message = describeCase() + format("  result: wanted %016lx, got %016lx\n", want, got);
    for (int k = 0; k < panes && message.empty(); ++k)
        if (from[k] < to[k]) {
            message = compareWindow(k, from[k], to[k]);
            digest(row.estimate, paneMemory(Side::library, k) + from[k], to[k] - from[k]);
        }
    const std::uint64_t result = nan ? anyNaN64 : got;
    digest(row.estimate, reinterpret_cast<const std::byte*>(&result), sizeof result);
    theCase = nullptr;
    if (!message.empty()) ADD_FAILURE() << message;
    return message.empty();
}

// ---- The sweep over cases

/// MXCSR as most callers have it, or any rounding with or without denormals, and some flags already up.
unsigned anyControl() {
    if (below(3)) return 0x1F80 | (below(4) ? 0 : below(64));
    return 0x1F80 | below(4) << 13 | below(2) << 15 | below(2) << 6 | below(64);
}

class Sweep {
public:
    explicit Sweep(const Row& r) : row(r) {
        for (std::size_t k = 0; k < row.operands.size(); ++k)
            if (row.operands[k].array) arrays.push_back(k);
    }

    bool all() {
        for (const bool flag : {false, true}) {
            c.flag = flag;
            if (!apart() || !edges() || !overlapped() || !nothing()) return false;
        }
        for (int pane = 0; pane < panes; ++pane)
            if (std::memcmp(paneMemory(Side::library, pane), paneMemory(Side::model, pane), paneBytes) != 0) {
                ADD_FAILURE() << row.name << " wrote far away from its operands";
                return false;
            }
        return true;
    }

private:
    bool once() {
        c.control = anyControl();
        for (const std::size_t k : arrays) c.places[k].null = row.operands[k].nullable && below(2);
        return run(row, c);
    }

    /// Each array in memory of its own, in the middle, `slot` elements behind a 16-byte boundary: two bits of slots each.
    void placeApart(std::uint32_t slots) {
        c.places.assign(row.operands.size(), {});
        int pane = 0;
        for (const std::size_t k : arrays) {
            const int size = row.operands[k].size;
            const std::uint32_t slot = size < 4 ? below(16) : slots & 3;
            c.places[k] = {pane++, paneBytes * 3 / 8 + slot * static_cast<std::uint32_t>(size) % 16, false};
            slots >>= 2;
        }
    }
    bool placedApart(std::uint32_t slots, Count count) {
        c.count = count;
        placeApart(slots);
        return once();
    }

    /// Every combination of phases, each array in memory of its own.
    bool apart() {
        const std::uint32_t combinations = 1u << 2 * arrays.size();
        for (std::uint32_t slots = 0; slots < combinations; ++slots) {
            // Equal phases are where lanes run; there, every count and all the large ones.
            const bool same = slots == (slots & 3) * (0x155 & (combinations - 1));
            for (Count count = 0; count <= 20; count += same ? 1 : 1 + below(4))
                if (!placedApart(slots, count)) return false;
            for (const Count large : row.large)
                if ((same || !below(8)) && !placedApart(slots, large + below(4))) return false;
        }
        return true;
    }

    /// Arrays that begin right behind an unreadable page or end right before one.
    bool edges() {
        for (c.count = 0; c.count <= 40; ++c.count)
            for (std::uint32_t which = 0; which < 1u << arrays.size(); ++which) {
                placeApart(0);
                for (std::size_t n = 0; n < arrays.size(); ++n)
                    c.places[arrays[n]].offset =
                        which >> n & 1 ? 0 : paneBytes - extent(row.operands[arrays[n]], c.count);
                if (!once()) return false;
            }
        return true;
    }

    /// Pairs in the same memory, shifted by up to nine elements of the smaller kind; the others anywhere.
    bool overlapped() {
        for (std::size_t first = 0; first < arrays.size(); ++first)
            for (std::size_t second = first + 1; second < arrays.size(); ++second)
                for (int shift = -9; shift <= 9; ++shift)
                    for (int repeat = 0; repeat < 40; ++repeat) {
                        c.count = repeat < 36
                                      ? repeat
                                      : row.large[below(static_cast<std::uint32_t>(row.large.size()))];
                        placeApart(below(2) ? below(4) * 0x55 : random32());
                        overlap(arrays[first], arrays[second], shift);
                        for (const std::size_t third : arrays)  // sometimes all in one memory
                            if (third != arrays[first] && third != arrays[second] && !below(3))
                                overlap(arrays[first], third, static_cast<int>(below(19)) - 9);
                        if (!once()) return false;
                    }
        return true;
    }
    /// A count of 0, for which no pointer is looked at.
    bool nothing() {
        c.count = 0;
        placeApart(0);
        for (const std::size_t k : arrays) c.places[k].null = true;
        return run(row, c);
    }
    void overlap(std::size_t onto, std::size_t k, int shift) {
        const int a = row.operands[onto].size, b = row.operands[k].size;
        Count offset = c.places[onto].offset + shift * std::min(a, b) * (below(8) ? 1 : 16);
        offset -= offset % b;  // aligned to its own elements
        c.places[k] = {c.places[onto].pane, std::max<Count>(offset, 0), false};
    }

    const Row& row;
    std::vector<std::size_t> arrays;
    Case c;
};

class RowTest : public testing::Test {
public:
    explicit RowTest(const Row& r) : row(r) {}
    void TestBody() override {
        soup(Content::words);
        random32.seed(static_cast<unsigned>(row.name.size()) * 31 + static_cast<unsigned>(row.name[10]));
        Sweep(row).all();
    }

private:
    const Row& row;
};

}  // namespace

std::byte* Case::at(Side side, std::size_t operand) const {
    const Place& p = places[operand];
    return p.null ? nullptr : paneMemory(side, p.pane) + p.offset;
}

std::vector<Row>& rows() {
    static std::vector<Row> all;
    return all;
}

bool usesLanes(const Row& row, const Case& c) {
    return row.kind == Kind::simd || (row.kind == Kind::dispatching && c.flag);
}

bool samePhase(const Row& row, const Case& c) {
    Count common = -1;
    for (std::size_t k = 0; k < row.operands.size(); ++k) {
        if (!row.operands[k].array || row.operands[k].size != 4) continue;  // samples have no phase
        const Count phase = phaseOf(c.at(Side::library, k));
        if (common >= 0 && phase != common) return false;
        common = phase;
    }
    return true;
}

Steps upward(Count num) {
    Steps steps;
    for (Count i = 0; i < num; ++i) steps.push_back({i, 1});
    return steps;
}

Steps alignedRoute(Count phase, Count num) {
    const Count lead = std::min(phase, num), groups = (num - lead) / 4;
    Steps steps = upward(lead);
    for (Count i = num - 1; i >= lead + 4 * groups; --i) steps.push_back({i, 1});
    for (Count g = 0; g < groups; ++g) steps.push_back({lead + 4 * g, 4});
    return steps;
}

Steps standardOrder(const Row& row, const Case& c) {
    if (!usesLanes(row, c) || !samePhase(row, c)) return upward(c.count);
    for (std::size_t k = 0; k < row.operands.size(); ++k)
        if (row.operands[k].array && row.operands[k].size == 4)
            return alignedRoute(phaseOf(c.at(Side::library, k)), c.count);
    return upward(c.count);
}

bool runCase(const Row& row, Case& c, std::uint32_t seed) {
    soup(Content::words);
    random32.seed(seed);
    return run(row, c);
}

std::string symbolOf(const void* member, std::string& library) {
    Dl_info info{};
    if (!dladdr(member, &info) || info.dli_saddr != member) return "";
    library = info.dli_fname;
    char* plain = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr);
    std::string name = plain ? plain : info.dli_sname;
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
                              [&row]() -> testing::Test* { return new test::RowTest(row); });
    }
    const int result = RUN_ALL_TESTS();
    std::printf("library %s\ndigest %016llx, of estimates %016llx\n", library.c_str(),
                static_cast<unsigned long long>(test::theDigests[0]),
                static_cast<unsigned long long>(test::theDigests[1]));
    return result;
}
#endif
