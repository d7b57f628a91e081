// The sweep: memory between unreadable pages, contents, placements, comparison, and the report of a failure.
#include "engine.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <stdexcept>

// The address sanitizer's, null without it.
extern "C" [[gnu::weak]] void __asan_poison_memory_region(const volatile void*, std::size_t);
extern "C" [[gnu::weak]] void __asan_unpoison_memory_region(const volatile void*, std::size_t);

namespace test {
namespace {

/// Readable bytes between two unreadable pages, for each pane on both sides.
std::byte* const thePanes = [] {
    void* all = mmap(nullptr, 2 * modelDistance, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* first = static_cast<std::byte*>(all) + page;
    for (int k = 0; k < 2 * panes; ++k) mprotect(first + k * paneStride, paneBytes, PROT_READ | PROT_WRITE);
    return first;
}();
std::byte* pane(int k) { return thePanes + k * paneStride; }

void mark(decltype(__asan_poison_memory_region)* region, std::span<const std::byte> memory) {
    if (region) region(memory.data(), memory.size());
}

// ---- Random numbers and contents

/// Any word: what a row is tried with follows from it and from the row's name.
const std::string theSeed = std::getenv("ZEL_TEST_SEED") ? std::getenv("ZEL_TEST_SEED") : "1";
std::linear_congruential_engine<std::uint64_t, 6364136223846793005, 1442695040888963407, 0> theRandom;
std::span<const std::uint8_t> theFuzz;  // a fuzzer's bytes come first

std::uint64_t anything() {
    std::uint64_t x = theRandom();
    if (theFuzz.size() < sizeof x) return x ^ x >> 32;  // the lowest bits by themselves repeat soon
    std::memcpy(&x, theFuzz.data(), sizeof x);
    theFuzz = theFuzz.subspan(sizeof x);
    return x;
}

/// A float's word: zeros, denormals, infinities, NaNs, what is near 1 or a bound of integers, anything.
std::uint32_t special() {
    const std::uint64_t any = anything();
    const auto word = static_cast<std::uint32_t>(any);
    const std::uint32_t exponents[] = {0,   1,   125, 126, 127, 128, 129, 134,
                                       149, 150, 151, 157, 158, 254, 255, word >> 23 & 255};
    const std::uint32_t fractions[] = {0, 1, 0x3FFFFF, 0x400000, 0x7FFFFF, word, word, word & 0x700000};
    return (word & 0x80000000) | exponents[any >> 32 & 15] << 23 | (fractions[any >> 36 & 7] & 0x7FFFFF);
}

// ---- The report of a failure or a crash

const Case* theCase;                            // at work
std::vector<std::vector<std::byte>> theInputs;  // what its operands held before the call
std::vector<std::vector<std::byte>> inputs(const Case& c) {
    std::vector<std::vector<std::byte>> all;
    for (std::size_t k = 0; k < c.places.size(); ++k) all.emplace_back(c.bytes(k).begin(), c.bytes(k).end());
    return all;
}

std::string format(const char* pattern, auto... a) {
    char line[200];
    return {line, line + std::snprintf(line, sizeof line, pattern, a...)};
}
std::string hex(const std::byte* element, int size) {
    std::uint64_t word = 0;
    std::memcpy(&word, element, size);
    return format("%0*lx", 2 * size, word);
}

/// By the row's order, what does element i; nothing where the row has no such order.
std::string part(const Case& c, Count i) {
    if (c.row.kind == Kind::own) return "";
    Count groups = -1;  // where the first lane group begins
    for (const Step& step : c.row.order(c)) {
        if (step.form != Form::lane) continue;
        if (groups < 0) groups = step.first;
        if (i >= step.first && i < step.first + step.elements) return ", lane group";
    }
    return groups < 0 ? ", element loop" : i < groups ? ", lead-in" : ", tail";
}

/// What went wrong in which case, and what lies at an address of the library's side.
std::runtime_error report(const Case& c, const std::string& fault, const void* address = nullptr) {
    std::string text = fault + " in " + c.row.name;
    text += format("\n  flag %d, count %ld, MXCSR %04x", c.flag, c.count, c.control);
    Count item = -1;  // the element or vector at the address
    for (std::size_t k = 0; k < c.places.size(); ++k) {
        const Operand& o = c.row.operands[k];
        const Count i = (static_cast<const std::byte*>(address) - c.places[k]) / o.size;
        if (o.array && !o.fixed && address >= c.places[k] && i < c.count * o.perCount) item = i / o.perCount;
    }
    for (std::size_t k = 0; k < c.places.size(); ++k) {
        const Operand& o = c.row.operands[k];
        const std::byte* const first = c.places[k];
        text += format("\n  operand %zu: ", k);
        if (!o.array) text += hex(theInputs[k].data(), o.size);
        if (o.array) text += format("phase %ld, %p to %p", c.phase(k), first, first + c.bytes(k).size());
        if (!o.array || o.fixed || item < 0 || !first) continue;
        text += format(o.perCount > 1 ? ", vector %ld was" : ", element %ld was", item);
        for (int j = 0; j < o.perCount && (item * o.perCount + j + 1) * o.size <= std::ssize(theInputs[k]); ++j)
            text += ' ' + hex(theInputs[k].data() + (item * o.perCount + j) * o.size, o.size);
    }
    return std::runtime_error(text + (item < 0 ? "" : part(c, item)) + "\n");
}

sigjmp_buf theEscape;  // from a crash, back into the check of its case
volatile int theSignal;
void* volatile theAddress;  // null where the processor gives none, as for one that isn't aligned
[[noreturn, maybe_unused]] void crashed(int signal, siginfo_t* info, void*) {
    theSignal = signal;
    theAddress = info->si_code == SI_KERNEL ? nullptr : info->si_addr;
    if (theCase) siglongjmp(theEscape, 1);
    _exit(3);
}

// ---- One call

Count theCalls = 0;
const bool theExceptionsCount = !std::getenv("ZEL_TEST_EXCEPTIONS");  // not with a coverage build's counters
constexpr std::uint64_t emptyDigest = 14695981039346656037u;
std::uint64_t theDigest;                             // of the row at work
std::map<std::string, std::uint64_t> theRowDigests;  // of those that are through

std::uint64_t digest(std::uint64_t sum, std::uint64_t word) { return (sum ^ word) * 1099511628211u; }

/// What is filled and compared: each operand that is there, with what lies around it as far as its pane goes.
std::vector<std::span<std::uint32_t>> surroundings(const Case& c) {
    std::vector<std::span<std::uint32_t>> all;
    for (std::size_t k = 0; k < c.places.size(); ++k) {
        if (!c.places[k]) continue;
        const Count margin = c.row.operands[k].array ? 64 : 0;
        std::byte* const first = pane((c.places[k] - thePanes) / paneStride);
        const Count from = std::max<Count>(c.places[k] - first - margin, 0) & ~Count{7};
        const Count to = std::min(c.places[k] - first + std::ssize(c.bytes(k)) + margin + 7, paneBytes) & ~Count{7};
        all.emplace_back(reinterpret_cast<std::uint32_t*>(first + from), (to - from) / 4);
    }
    return all;
}

/// Gives the values their places, and all operands numbers: special ones, or plain ones of like size, since
/// one NaN or infinity would hide every order of additions.
void fill(Case& c) {
    for (std::size_t k = 0; k < c.places.size(); ++k)
        if (!c.row.operands[k].array) c.places[k] = pane(valuePane) + 8 * k;
    const std::uint32_t plain = below(2) ? 96 + below(32) : 0;
    const auto number = [=] { return plain ? (anything() & 0x807FFFFF) | plain << 23 : special(); };
    for (const auto memory : surroundings(c))
        for (std::uint32_t& word : memory) word = number();
    for (std::size_t k = 0; k < c.places.size(); ++k) {
        const Operand& o = c.row.operands[k];
        const auto bytes = c.bytes(k), before = c.bytes(k ? k - 1 : k);
        for (std::size_t at = 0; at < bytes.size(); at += o.size) {
            std::byte* const element = bytes.data() + at;
            const std::uint32_t choice = below(8);
            if (o.size == sizeof(double) && choice > 3) {  // any two words are seldom an everyday number
                const auto near = std::bit_cast<float>(static_cast<std::uint32_t>(number()));
                const std::uint64_t wide = bits(double{near}) | (choice > 5 ? anything() & 0x1FFFFFFF : 0);
                std::memcpy(element, &wide, sizeof wide);
            }
            // Some zeros, and some equal numbers in two operands.
            if (choice == 0 || (o.masks && choice < 4)) std::memset(element, 0, o.size);
            const std::size_t same = o.fixed == 1 && c.count > 0 ? below(c.count) * o.size : at;
            if (choice == 1 && same + o.size <= before.size()) std::memmove(element, before.data() + same, o.size);
        }
    }
    c.row.adjust(c);
}

/// Sees that memory is what the model made of its copy, but for NaNs that the model leaves open.
void compare(const Case& c, std::span<const std::uint32_t> memory) {
    constexpr auto any = std::bit_cast<std::uint32_t>(anyNaN<float>);
    constexpr auto any64 = std::bit_cast<std::array<std::uint32_t, 2>>(anyNaN<double>);
    for (const std::uint32_t& got : memory) {
        const std::uint32_t want = (&got)[modelDistance / 4];
        const bool open = (want == any && (got & 0x7FC00000) == 0x7FC00000) || want == any64[0] ||
                          (want == any64[1] && (got & 0x7FF80000) == 0x7FF80000);
        if (got != want && !open) throw report(c, format("wanted %08x, got %08x", want, got), &got);
    }
}

/// Takes the model's memory over, so that an open NaN is the same everywhere, and digests it.
void adopt(std::span<std::uint32_t> memory) {
    std::copy_n(memory.data() + modelDistance / 4, memory.size(), memory.data());
    for (const std::uint32_t word : memory) theDigest = digest(theDigest, word);
}

/// Calls member and model on what fill has left, gives the result's bits, throws the report of a difference.
std::uint64_t check(const Case& c) {
    theCase = &c;
    theInputs = inputs(c);
    const auto filled = surroundings(c);
    for (const auto memory : filled) std::ranges::copy(memory, memory.data() + modelDistance / 4);
    // Under the address sanitizer, what isn't an operand can't even be read, or written back as it was.
    for (const auto memory : filled) mark(__asan_poison_memory_region, std::as_bytes(memory));
    for (std::size_t k = 0; k < c.places.size(); ++k) mark(__asan_unpoison_memory_region, c.bytes(k));

    ZEL_Math::forceSIMD(c.flag);
    _mm_setcsr(c.control);
    if (sigsetjmp(theEscape, 0)) {
        theCase = nullptr;
        _mm_setcsr(0x1F80);
        for (const auto memory : filled) mark(__asan_unpoison_memory_region, std::as_bytes(memory));
        if (theAddress) throw report(c, format("signal %d at %p", theSignal, theAddress), theAddress);
        throw report(c, format("signal %d at an address that isn't aligned, or none at all", theSignal));
    }
    const std::uint64_t got = c.row.call(c);
    const unsigned after = _mm_getcsr();
    for (const auto memory : filled) mark(__asan_unpoison_memory_region, std::as_bytes(memory));
    _mm_setcsr(c.control & ~_MM_EXCEPT_MASK);
    theRaised = c.control & _MM_EXCEPT_MASK;
    const std::uint64_t want = c.row.model(c);
    _mm_setcsr(0x1F80);
    ++theCalls;

    if ((after ^ c.control) & ~_MM_EXCEPT_MASK) throw report(c, format("MXCSR afterwards %04x", after));
    if (theExceptionsCount && (theRaised & ~after || after & ~theRaised & c.row.exceptions))
        throw report(c, format("exceptions afterwards %02x, of the wanted %02x and no others of %02x",
                               after & _MM_EXCEPT_MASK, theRaised, c.row.exceptions));
    // Of a sum that is a NaN, it's open which one.
    const bool nan = std::isnan(std::bit_cast<double>(want)) && std::isnan(std::bit_cast<double>(got));
    if (got != want && !nan) throw report(c, format("result: wanted %016lx, got %016lx", want, got));
    theDigest = digest(theDigest, nan ? 0 : want);
    for (const auto memory : filled) {
        compare(c, memory);
        adopt(memory);
    }
    theCase = nullptr;
    return nan ? 0 : want;
}

/// What a list beside the tests has for a member: the word before its name.
std::string listed(const std::string& file, const std::string& member) {
    std::ifstream list(ZEL_TEST_LISTS + file);
    for (std::string word, symbol; list >> word && std::getline(list >> std::ws, symbol);)
        if (symbol == member) return word;
    return "nothing";
}

// ---- All calls of a row

class Sweep : public testing::Test {
public:
    explicit Sweep(const Row& row) : c{.row = row, .places = std::vector<std::byte*>(row.operands.size())} {
        for (std::size_t k = 0; k < row.operands.size(); ++k)
            if (row.operands[k].array) arrays.push_back(k);
    }

    /// With every count: every combination of phases, and every pair of arrays at every shift.
    void TestBody() override {
        for (int k = 0; k < panes; ++k)  // a row that failed leaves them unequal
            std::memcpy(pane(k) + modelDistance, pane(k), paneBytes);
        const std::string words = theSeed + c.row.name;
        std::seed_seq seed(words.begin(), words.end());
        theRandom.seed(seed);
        theDigest = emptyDigest;
        const std::uint32_t trials = 50u << 2 * std::max<std::size_t>(arrays.size(), 2);
        for (std::uint32_t trial = 0; trial < trials; ++trial) attempt(trial, trial >= trials / 2);
        for (c.count = -16; c.count < 0; ++c.count) {  // nothing is done
            c.flag = c.count & 1;
            place(c, below(256));
            draw();
            check(c);
        }
        for (int k = 0; k < panes; ++k)
            if (std::memcmp(pane(k), pane(k) + modelDistance, paneBytes) != 0)
                throw std::runtime_error("something was written far away from its operands");
        if (seen != std::min(c.row.bits, Bits::phases))
            throw std::runtime_error("the bits travel farther than the list of exports says");
        theRowDigests[c.row.name] = theDigest;
        const std::string was = listed("digests.txt", c.row.name);
        if (theSeed == "1" && c.row.bits != Bits::processor && was != format("%016lx", theDigest))
            throw std::runtime_error("its digest is " + format("%016lx", theDigest) + ", in tests/digests.txt " + was);
    }

    void attempt(std::uint32_t trial, bool flag) {
        const std::uint32_t n = arrays.size();
        c.flag = flag;
        c.count = trial % 25;
        if (c.count > 20) c.count = c.row.large[below(c.row.large.size())] + below(4);
        place(c, trial / 25, true);
        draw();
        check(c);
        repeatElsewhere(trial / 25);
        if (n == 1) return;
        place(c, below(2) ? below(4) * 0x55 : trial / 25);
        const std::size_t first = trial % n, second = first + 1 + trial / n % (n - 1);
        for (std::size_t third = 0; third < n; ++third)  // sometimes all in one memory
            if (third != first && below(3) == 0) overlap(arrays[first], arrays[third], below(19));
        overlap(arrays[first], arrays[second % n], trial % 19);
        draw();
        check(c);
    }

private:
    /// Modes, and numbers in their places.
    void draw() {
        // MXCSR as most callers have it, or any rounding, with denormals or not; some flags are up already.
        c.control = 0x1F80;
        if (below(3) == 0) c.control |= below(4) << 13 | (below(2) ? 0x8000 : 0) | (below(2) ? 0x40 : 0);
        if (below(2) == 0) c.control |= below(64);
        for (const std::size_t k : arrays)  // at a count of 0, no pointer is looked at
            if ((c.row.operands[k].nullable || c.count <= 0) && below(2)) c.places[k] = nullptr;
        fill(c);
    }

    /// A call, and one with the same numbers at other addresses, perhaps with another flag or in other phases. Results
    /// that differ say how far the bits travel.
    void repeatElsewhere(std::uint32_t slots) {
        place(c, slots);
        draw();
        const auto numbers = inputs(c);
        const std::uint64_t result = check(c);
        const auto results = inputs(c);

        const bool sameFlag = below(2), samePhases = below(4) == 0;
        Case other = c;
        other.flag = c.flag == sameFlag;
        place(other, samePhases ? slots : below(256));
        for (const std::size_t k : arrays) other.places[k] = c.places[k] ? other.places[k] + 16 * below(4) : nullptr;
        fill(other);
        for (std::size_t k = 0; k < other.places.size(); ++k) std::ranges::copy(numbers[k], other.places[k]);
        const bool sameBits = check(other) == result && inputs(other) == results;
        if (sameBits || c.control & c.row.modesApart) return;

        seen = std::max(seen, sameFlag ? Bits::phases : Bits::flag);
        const bool allowed = sameFlag ? c.row.bits >= Bits::phases && !samePhases : c.row.bits >= Bits::flag;
        if (!allowed) throw report(other, "other bits than elsewhere");
    }

    /// Each array in memory of its own, by two bits of slots: at phases, or next to an unreadable page.
    void place(Case& at, std::uint32_t slots, bool atEdges = false) {
        for (int k = 0; const std::size_t a : arrays) {
            const Operand& o = c.row.operands[a];
            const int slot = o.size < 4 ? below(16) : slots >> 2 * k & 3;
            const Count edge = slot & 1 ? paneBytes - o.bytes(c.count) : 0;
            at.places[a] = pane(k++) + (atEdges ? edge : paneBytes * 3 / 8 + slot * o.size % 16);
        }
    }

    /// k onto the memory of another array, up to nine elements of the smaller kind before or behind it, at
    /// times farther up to farther than two blocks of a sum.
    void overlap(std::size_t onto, std::size_t k, int shift) {
        const int a = c.row.operands[onto].size, b = c.row.operands[k].size, scales[] = {16, 256};
        const Count offset = (shift - 9) * std::min(a, b) * (below(8) ? 1 : scales[below(2)]);
        c.places[k] = c.places[onto] + offset;
        c.places[k] -= reinterpret_cast<std::uintptr_t>(c.places[k]) % b;  // aligned to its own elements
    }

    Case c;
    std::vector<std::size_t> arrays;
    Bits seen = Bits::everywhere;  // the narrowest class that the results so far need
};

/// All inputs of the members of a kind that have one source.
void tryAllInputs(Kind kind) {
    const std::vector<std::string> oneSource = {"(float*, float const*, long)", "(int*, float const*, long)",
                                                "(int*, float*, float const*, long)"};
    for (const Row& row : theRows) {
        const bool hasOne = std::ranges::count(oneSource, row.name.substr(row.name.find('('))) > 0;
        if (row.kind != kind || !hasOne) continue;
        Case c{.row = row, .count = paneBytes / 8};
        for (std::size_t k = 0; k < row.operands.size(); ++k) c.places.push_back(pane(k));
        auto* const source = reinterpret_cast<std::uint32_t*>(c.places.back());
        for (const unsigned control : {0x1F80, 0xDFC0})  // the usual mode, and upward without denormals
            for (std::uint64_t first = 0; first < std::uint64_t{1} << 32; first += c.count) {
                c.control = control;
                std::iota(source, source + c.count, static_cast<std::uint32_t>(first));
                check(c);
            }
    }
}
// The flag is clear, so the dispatching ones go by elements.
TEST(Exhaustive, InputsOfElements) { tryAllInputs(Kind::dispatching); }
TEST(Exhaustive, InputsOfLaneGroups) { tryAllInputs(Kind::simd); }

}  // namespace

std::uint32_t below(std::uint32_t n) { return (anything() >> 32) * n >> 32; }

Count Case::phaseOf(const std::vector<std::size_t>& arrays) const {
    unsigned phases = 0;
    for (const std::size_t k : arrays) phases |= 1u << phase(k);
    return usesLanes() && std::has_single_bit(phases) ? std::countr_zero(phases) : -1;
}
Count Case::lanePhase() const {
    std::vector<std::size_t> arrays;
    for (std::size_t k = 0; k < row.operands.size(); ++k)
        if (row.operands[k].array && row.operands[k].size == 4) arrays.push_back(k);
    return phaseOf(arrays);
}

std::vector<Step> route(Count phase, Count num, int group) {
    const auto [lead, end] = Groups(phase, num);
    std::vector<Step> steps;
    for (Count i = 0; i < lead; ++i) steps.push_back({i, 1, Form::element});
    for (Count i = num; i-- > end;) steps.push_back({i, 1, Form::element});
    for (Count i = lead; i < end; i += group) steps.push_back({i, group, Form::lane});
    return steps;
}
std::vector<Step> standardOrder(const Case& c) { return route(c.lanePhase(), c.count); }

Row& add(Row row) {
    Dl_info symbol;
    dladdr(row.member, &symbol);
    char* const name = abi::__cxa_demangle(symbol.dli_sname, nullptr, nullptr, nullptr);
    row.name = name;
    std::free(name);
    const std::string words[] = {"everywhere", "flag", "phases", "processor"};
    const auto word = std::ranges::find(words, listed("exports.txt", row.name));
    if (word == std::end(words)) throw std::runtime_error("not in the list of exports: " + row.name);
    row.bits = static_cast<Bits>(word - words);
    return theRows.emplace_back(std::move(row));
}

}  // namespace test

#ifdef ZEL_FUZZ
/// One row and one of its trials, the random numbers given by libFuzzer as long as it has any.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
    test::theRandom.seed();
    test::theFuzz = {data, size};
    const auto& rows = test::theRows;
    test::Sweep(rows[test::below(rows.size())]).attempt(test::below(1 << 16), test::below(2));
    return 0;
} catch (const std::exception& difference) {
    std::fputs(difference.what(), stderr);
    std::abort();
}
#else
int main(int argc, char** argv) {
    testing::GTEST_FLAG(filter) = "-Exhaustive.*:Counts.*";
    testing::InitGoogleTest(&argc, argv);
    struct sigaction action {};
    action.sa_sigaction = test::crashed;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) sigaction(signal, &action, nullptr);
    for (const test::Row& row : test::theRows)
        testing::RegisterTest("Rows", row.name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [&row]() -> testing::Test* { return new test::Sweep(row); });
    const int result = RUN_ALL_TESTS();
    Dl_info library;
    dladdr(test::theRows.front().member, &library);
    std::uint64_t all[] = {test::emptyDigest, test::emptyDigest};  // the second of estimates
    std::ofstream list(std::getenv("ZEL_TEST_DIGESTS") ? std::getenv("ZEL_TEST_DIGESTS") : "/dev/null");
    for (const test::Row& row : test::theRows) {
        std::uint64_t& sum = all[row.bits == test::Bits::processor];
        sum = test::digest(sum, test::theRowDigests[row.name]);
        if (&sum == all) list << test::format("%016lx ", test::theRowDigests[row.name]) << row.name << '\n';
    }
    std::printf("library %s\nseed %s, %ld calls\ndigest %016lx, of estimates %016lx\n", library.dli_fname,
                test::theSeed.c_str(), test::theCalls, all[0], all[1]);
    const char* const wanted = std::getenv("ZEL_TEST_LIBRARY");
    if (!wanted || std::strstr(library.dli_fname, wanted)) return result;
    std::fprintf(stderr, "Another library was tested than %s.\n", wanted);
    return 1;
}
#endif
