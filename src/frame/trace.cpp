// The counts and checks of zel-trace: only its copy of the library is built with them. Each thread counts in a table of
// its own, which nobody else writes, and the library's last function adds them up and reports. A call is known by the
// return addresses that lead to it: the first one outside of the library is the place, the last one inside the member.
// This copy is built with frame pointers and without tail calls, so that both are on the stack.
#include <cxxabi.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "ZEL_Math.h"
#include "frame/call.h"
#include "frame/lane_loop.h"

// This library's code lies between them; the linker names them. NOLINTNEXTLINE(*-reserved-identifier,cert-dcl*)
extern "C" [[gnu::visibility("hidden")]] const char __ehdr_start, etext;

namespace zel {
namespace {

using Address = std::uintptr_t;
const void* pointer(Address a) { return reinterpret_cast<const void*>(a); }  // NOLINT(performance-no-int-to-ptr)

constexpr std::size_t mostOperands = 8;

/// How far the arrays of a call lie behind a 16-byte boundary, in elements: 3 bits for each operand, and in them a 4
/// for what has no phase.
using Offsets = std::uint32_t;
constexpr unsigned noPhase = 4;
unsigned offset(Offsets offsets, std::size_t operand) { return offsets >> (3 * operand) & 7; }

/// A number that one thread writes and another may read.
struct Number {
    std::atomic<std::uint64_t> value;
    void add(std::uint64_t x) { value.store(get() + x, std::memory_order_relaxed); }
    std::uint64_t get() const { return value.load(std::memory_order_relaxed); }
};

/// What is counted of one member at one place: elements in lane groups, elements in a loop because phases differ, and
/// calls of less than 16 elements.
template <class N> struct Counts { N calls, elements, inLanes, differing, shortCalls; };

enum Fault : unsigned { negativeCount = 1, unusableArray = 2, overlap = 4 };

struct Object {
    std::atomic<Object*> next;
    char path[4096 - sizeof(void*)];
};

struct Entry {
    std::atomic<Address> caller;  // 0: none yet
    Address member;
    const Object* object;
    Address inObject;  // the place, as debug information has it
    Counts<Number> counts;
    struct Pattern {
        Number offsets, elements;
    };
    std::array<Pattern, 4> patterns;  // of arrays apart; further ones add to the last
    unsigned told;
};

struct Table {
    static constexpr std::size_t size = 4096;
    Entry entries[size + 1];  // the last one takes what finds no other
    Table* next;
    std::atomic<bool> taken;
};

std::atomic<Table*> theTables;
std::atomic<Object*> theObjects;
thread_local Activation theActivation;

template <class T> T* mapped() {
    void* const p =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return p == MAP_FAILED ? nullptr : static_cast<T*>(p);
}

/// The table of a thread. When the thread ends, another one goes on with it.
struct Owner {
    Table* owned = nullptr;
    ~Owner() {
        if (owned) owned->taken = false;
        owned = nullptr;
    }
};
thread_local Owner theOwner;

Table* table() {
    if (theOwner.owned) return theOwner.owned;
    for (Table* t = theTables; t; t = t->next)
        if (!t->taken.exchange(true)) return theOwner.owned = t;
    Table* const t = mapped<Table>();
    if (!t) return nullptr;
    t->taken = true;
    t->next = theTables;
    while (!theTables.compare_exchange_weak(t->next, t)) {
    }
    return theOwner.owned = t;
}

/// In a child after fork, which has one thread: the parent tells of what was before.
void forget() {
    for (Table* t = theTables; t; t = t->next) {
        Table* const next = t->next;
        if (madvise(static_cast<void*>(t), sizeof *t, MADV_DONTNEED) != 0)
            std::memset(static_cast<void*>(t), 0, sizeof *t);
        t->next = next;
        t->taken = t == theOwner.owned;
    }
}

/// Where a program or library lies, kept for the time when it may be unloaded.
const Object* objectOf(const char* path) {
    for (const Object* o = theObjects; o; o = o->next)
        if (std::strcmp(o->path, path) == 0) return o;
    Object* const o = mapped<Object>();
    if (!o) return nullptr;
    std::snprintf(o->path, sizeof o->path, "%s", path);
    Object* first = theObjects;
    do o->next = first;
    while (!theObjects.compare_exchange_weak(first, o));
    return o;
}

bool isOurs(Address code) {
    return code >= reinterpret_cast<Address>(&__ehdr_start) && code < reinterpret_cast<Address>(&etext);
}

/// The return addresses into the member and into what called it, and the member's frame.
struct Way {
    Address member, caller;
    const void* frame;
};
[[gnu::always_inline]] inline Way wayHere() {
    struct Frame {
        const Frame* next;
        Address returnTo;
    };
    const auto* frame = static_cast<const Frame*>(__builtin_frame_address(0));
    Way way{};
    for (; isOurs(frame->returnTo); frame = frame->next) way.member = frame->returnTo;
    way.caller = frame->returnTo;
    way.frame = frame;
    return way;
}

Entry* entryFor(Way way) {
    Table* const t = table();
    if (!t) return nullptr;
    std::size_t k = (way.caller * 31 + way.member) * 0x9E3779B97F4A7C15 >> 52;
    for (int tries = 0; tries < 64; ++tries, k = (k + 1) % Table::size) {
        Entry& e = t->entries[k];
        const Address caller = e.caller.load(std::memory_order_relaxed);
        if (caller == way.caller && e.member == way.member) return &e;
        if (caller != 0) continue;
        const int before = errno;
        Dl_info info;
        link_map* map = nullptr;
        if (dladdr1(pointer(way.caller), &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) && map) {
            char self[sizeof Object::path] = {};
            if (!*map->l_name && readlink("/proc/self/exe", self, sizeof self - 1) < 0) self[0] = 0;
            e.object = objectOf(*map->l_name ? map->l_name : self);
            e.inObject = way.caller - map->l_addr;
        }
        errno = before;
        e.member = way.member;
        e.caller.store(way.caller, std::memory_order_release);
        return &e;
    }
    return &t->entries[Table::size];
}

// ---- What is told

/// Where the report goes: the file that zel-trace was given, or standard error unless the program has put another file
/// in its place.
class Output {
public:
    Output() {
        struct stat s;
        if (fstat(STDERR_FILENO, &s) == 0) device = s.st_dev, inode = s.st_ino;
    }
    /// All at once, so that the reports of several processes don't mix.
    void write(const std::string& text) const {
        const char* const path = std::getenv("ZEL_TRACE_OUTPUT");
        const int file = path ? open(path, O_WRONLY | O_APPEND | O_CLOEXEC) : STDERR_FILENO;
        struct stat s;
        if (path || (fstat(file, &s) == 0 && s.st_dev == device && s.st_ino == inode))
            for (std::size_t done = 0; done < text.size();) {
                const ssize_t n = ::write(file, text.data() + done, text.size() - done);
                if (n < 0 && errno == EINTR) continue;
                if (n < 0) break;
                done += static_cast<std::size_t>(n);
            }
        if (path && file >= 0) close(file);
    }

private:
    dev_t device = 0;
    ino_t inode = 0;
};
Output theOutput;

std::string format(const char* pattern, auto... values) {
    const int size = std::snprintf(nullptr, 0, pattern, values...);
    std::string text(static_cast<std::size_t>(std::max(size, 0)), ' ');
    std::snprintf(text.data(), text.size() + 1, pattern, values...);
    return text;
}

/// f of "f(int) const".
std::string withoutParameters(const std::string& function) {
    const std::size_t end = function.rfind(')');
    if (end == std::string::npos) return function;
    std::size_t at = end;
    for (int open = 1; open > 0 && at > 0;) {
        --at;
        open += (function[at] == ')') - (function[at] == '(');
    }
    return function.substr(0, at);
}

/// "function (file:line)" of places in one object by addr2line, or "object+offset" of those that it doesn't know.
std::map<Address, std::string> placesIn(const Object& object, const std::vector<Address>& places) {
    std::map<Address, std::string> names;
    std::vector<std::string> words = {"addr2line", "-a", "-f", "-i", "-C", "-e", object.path};
    for (const Address p : places) {
        names[p] = format("%s+0x%zx", basename(object.path), p);
        words.push_back(format("0x%zx", p - 1));  // the call itself, which ends where it returns to
    }
    std::vector<char*> arguments, environment;
    for (std::string& w : words) arguments.push_back(w.data());
    arguments.push_back(nullptr);
    for (char** e = environ; *e; ++e)
        if (std::strncmp(*e, "LD_PRELOAD=", 11) != 0) environment.push_back(*e);
    environment.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return names;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    sigset_t child, before;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &child, &before);
    pid_t pid = 0;
    const bool spawned = posix_spawnp(&pid, "addr2line", &actions, nullptr, arguments.data(), environment.data()) == 0;
    close(ends[1]);
    std::string said;
    char buffer[4096];
    for (ssize_t n; spawned && (n = read(ends[0], buffer, sizeof buffer)) > 0;)
        said.append(buffer, static_cast<std::size_t>(n));
    close(ends[0]);
    if (spawned) waitpid(pid, nullptr, 0);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    posix_spawn_file_actions_destroy(&actions);

    // Of each address: the address, then function and line of the innermost inlined call, then those around it.
    std::istringstream lines(said);
    auto place = places.begin();
    for (std::string line; std::getline(lines, line) && place != places.end();) {
        std::string function, file;
        if (line.compare(0, 2, "0x") != 0 || !std::getline(lines, function) || !std::getline(lines, file)) continue;
        file = file.substr(file.rfind('/') + 1);
        file = file.substr(0, file.find(' '));
        if (!file.empty() && file.back() != '?') names[*place] = withoutParameters(function) + " (" + file + ")";
        ++place;
    }
    return names;
}

/// A member, from an address in it: its name, and the names of its array operands in their order.
struct Member {
    std::string name = "?";
    std::vector<std::string> operands;

    explicit Member(Address code) {
        Dl_info info;
        if (!dladdr(pointer(code - 1), &info) || !info.dli_sname) return;
        char* const demangled = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr);
        const std::string signature = demangled ? demangled : "";
        std::free(demangled);
        const std::size_t open = signature.find('(');
        if (open == std::string::npos) return;
        name = signature.substr(signature.rfind(':', open) + 1, open - signature.rfind(':', open) - 1);
        const auto is = [this](const char* start) { return name.rfind(start, 0) == 0; };
        std::vector<std::string> names = {"d", "a", "b", "c"};
        if (is("dot") || is("zerocount") || is("swap")) names = {"a", "b"};
        if (is("splitFloat")) names = {"d", "frac", "a"};
        if (is("mulCol") || is("mulRow")) names = {"d", "m"};
        if (name.find("4u4") != std::string::npos) names = {"d", "b"};
        for (std::size_t from = open + 1, to; (to = signature.find_first_of(",)", from)) != std::string::npos;
             from = to + 2) {
            const std::string type = signature.substr(from, to - from);
            if (type == "long") continue;
            const std::size_t k = operands.size();
            operands.push_back(type == "unsigned int const*" ? "mask" : k < names.size() ? names[k] : "?");
        }
    }
};

/// "b begins 1 element behind a 16-byte boundary, d on one".
std::string words(const Member& member, Offsets offsets) {
    std::string text;
    for (std::size_t k = 0; k < member.operands.size() && k < mostOperands; ++k) {
        const unsigned n = offset(offsets, k);
        if (n == noPhase) continue;
        const bool first = text.empty();
        text += (first ? "" : ", ") + member.operands[k] + (first ? " begins " : " ");
        text += n == 0 ? "on " : format("%u element%s behind ", n, n == 1 ? "" : "s");
        text += first ? "a 16-byte boundary" : "one";
    }
    return text;
}

std::string processName() {
    std::string name = format("%s, process %d", program_invocation_name, getpid());
    for (const char* variable : {"OMPI_COMM_WORLD_RANK", "PMIX_RANK", "PMI_RANK", "SLURM_PROCID"})
        if (const char* rank = std::getenv(variable)) return name + ", rank " + rank;
    return name;
}

/// One line at once, for a fault of a call: the first of its kind at each place.
void tell(Entry* e, Fault fault, Way way, Count num, const std::string& what) {
    if (!e || (e->told & fault)) return;
    e->told |= fault;
    const int before = errno;
    std::string place = "?";
    if (e->object) place = placesIn(*e->object, {e->inObject}).at(e->inObject);
    theOutput.write(format("zel-trace: %s: %s, count %lld, called from %s\n", Member(way.member).name.c_str(),
                           what.c_str(), static_cast<long long>(num), place.c_str()));
    errno = before;
}

struct Row {
    Counts<unsigned long long> counts{};
    std::map<Offsets, unsigned long long> patterns;
};

std::string percent(std::uint64_t part, std::uint64_t whole) {
    if (part == 0 || whole == 0) return "-";
    const double share = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    return share < 0.5 ? "<1 %" : share > 99.5 && part < whole ? ">99 %" : format("%.0f %%", share);
}

[[gnu::destructor]] void report() {
    std::map<Address, Member> members;
    std::map<const Object*, std::vector<Address>> places;
    std::vector<const Entry*> entries;
    for (const Table* t = theTables; t; t = t->next)
        for (const Entry& e : t->entries) {
            if (e.counts.calls.get() == 0) continue;
            entries.push_back(&e);
            members.emplace(e.member, Member(e.member));
            if (e.object) places[e.object].push_back(e.inObject);
        }
    const char* const traced = std::getenv("ZEL_TRACE_PROCESS");
    if (entries.empty()) {
        if (traced && traced == std::to_string(getpid()))
            theOutput.write(format("zel-trace: %s called no member of libZEL.\n", processName().c_str()));
        return;
    }
    std::map<std::pair<const Object*, Address>, std::string> names;
    for (auto& [object, in] : places) {
        std::ranges::sort(in);
        in.erase(std::unique(in.begin(), in.end()), in.end());
        for (const auto& [place, name] : placesIn(*object, in)) names[{object, place}] = name;
    }
    std::map<std::pair<std::string, std::string>, std::pair<Row, const Member*>> rows;
    for (const Entry* e : entries) {
        const Member& member = members.at(e->member);
        const std::string place = e->object ? names.at({e->object, e->inObject}) : "places beyond 4096, or unknown";
        auto& [row, of] = rows[{member.name, place}];
        of = &member;
        auto& [calls, elements, inLanes, differing, shortCalls] = row.counts;
        calls += e->counts.calls.get(), elements += e->counts.elements.get(), inLanes += e->counts.inLanes.get();
        differing += e->counts.differing.get(), shortCalls += e->counts.shortCalls.get();
        for (const Entry::Pattern& p : e->patterns)
            if (p.elements.get()) row.patterns[static_cast<Offsets>(p.offsets.get())] += p.elements.get();
    }
    std::vector<const decltype(rows)::value_type*> order;
    order.reserve(rows.size());
    for (const auto& row : rows) order.push_back(&row);
    std::ranges::stable_sort(order, [](auto* x, auto* y) {
        const auto &p = x->second.first.counts, &q = y->second.first.counts;
        return p.differing != q.differing ? p.differing > q.differing : p.elements > q.elements;
    });
    std::string text = "zel-trace: " + processName() + "\n";
    text += "       calls      elements  in lanes  phases differ  under 16  member, and where it is called\n";
    for (const auto* row : order) {
        const auto& [counts, patterns] = row->second.first;
        text += format(
            "%12llu  %12llu  %8s  %13s  %8s  %s  %s\n", counts.calls, counts.elements,
            percent(counts.inLanes, counts.elements).c_str(), percent(counts.differing, counts.elements).c_str(),
            percent(counts.shortCalls, counts.calls).c_str(), row->first.first.c_str(), row->first.second.c_str());
        std::vector<std::pair<unsigned long long, Offsets>> most;
        most.reserve(patterns.size());
        for (const auto& [offsets, n] : patterns) most.emplace_back(n, offsets);
        std::ranges::sort(most, std::greater<>());
        for (const auto& [n, offsets] : most)
            text += format("%26llu of them: ", n) + words(*row->second.second, offsets) + "\n";
    }
    theOutput.write(text);
}

[[gnu::constructor]] void prepare() { pthread_atfork(nullptr, nullptr, forget); }

}  // namespace

void Call::begin(Form form, Count num, const Operand* operands, std::size_t count) {
    const Way way = wayHere();
    before = theActivation;
    // Another one of the same activation is part of it. The same one again shows that a jump has left it.
    if (way.frame == before.frame && way.caller == before.caller && this != before.call) return;
    theActivation = {this, way.frame, way.caller};
    Entry* const e = entryFor(way);
    if (!e) return;
    const std::size_t known = std::min(count, mostOperands);
    Offsets offsets = 0;
    for (std::size_t k = 0; k < mostOperands; ++k) {
        const bool counts = k == 0 || form == Form::lane || form == Form::element;  // of vectors the first array alone
        const bool has = counts && k < known && operands[k].elementBytes == sizeof(float);
        const unsigned behind = has ? static_cast<unsigned>(-phase(operands[k].start)) & 3 : noPhase;
        offsets |= behind << (3 * k);
    }
    if (num < 0) tell(e, negativeCount, way, num, "the count is below 0");
    for (std::size_t k = 0; num > 0 && k < known; ++k) {
        const auto [start, bytes] = operands[k];
        const auto at = reinterpret_cast<Address>(start);
        if (bytes == 0 || (at != 0 && at % bytes == 0)) continue;
        const Member member(way.member);
        tell(e, unusableArray, way, num,
             (k < member.operands.size() ? member.operands[k] : "an array") +
                 (at ? " isn't aligned to its elements" : " is null"));
    }

    Count inLanes = 0;
    bool differ = false;
    if (form == Form::lane) {
        unsigned common = noPhase;
        for (std::size_t k = 0; k < known; ++k) {
            const unsigned n = offset(offsets, k);
            if (n == noPhase) continue;
            differ |= common != noPhase && n != common;
            common = n;
        }
        if (!differ && num > 0) {
            const LaneBounds bounds(static_cast<int>(-common & 3), num);
            inLanes = bounds.end - bounds.lead;
        }
    } else if (form != Form::element) {
        differ = offset(offsets, 0) != 0;
        inLanes = differ || num < (form == Form::fourVectors ? 4 : 0) ? 0 : num;
    }
    const auto size = static_cast<std::uint64_t>(std::max(num, Count{0}));
    e->counts.calls.add(1);
    e->counts.elements.add(size);
    e->counts.inLanes.add(static_cast<std::uint64_t>(inLanes));
    e->counts.shortCalls.add(num < 16);
    if (!differ) return;
    e->counts.differing.add(size);
    for (Entry::Pattern& p : e->patterns) {
        if (p.elements.get() && p.offsets.get() != offsets && &p != &e->patterns.back()) continue;
        p.offsets.value.store(offsets, std::memory_order_relaxed);
        p.elements.add(size);
        break;
    }
}

Call::~Call() {
    if (theActivation.call == this) theActivation = before;
}

void Call::mustBeApart(const float* d, const float* x, const char* name, Count num) const {
    if (theActivation.call != this || num <= 0 || apart(d, num * Count{sizeof *d}, x, num * Count{sizeof *x})) return;
    const Way way = wayHere();
    tell(entryFor(way), overlap, way, num, std::string("d overlaps ") + name);
}

}  // namespace zel
