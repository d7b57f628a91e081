// The engine: a row names a member and its formulas; the sweep calls it over phases, counts, overlaps and contents,
// and a model does the same work on a copy of the same memory, in the promised order, one element or lane at a time.
#pragma once

#include <xmmintrin.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "ZEL_Math.h"

namespace test {

using Count = std::int64_t;

/// Operands lie in panes: memory between two unreadable pages.
constexpr Count page = 4096, paneBytes = 16 * page;

// ---- Which NaN comes out where two meet isn't fixed: the model then holds these bits, which any quiet NaN matches.

constexpr std::uint32_t anyNaN = 0x7FE5EED5;
constexpr std::uint64_t anyNaN64 = 0x7FFE5EED5EED7E57;
template <class T>
T either(T a, T b, T result) {
    if (!(std::isnan(a) && std::isnan(b))) return result;
    if constexpr (sizeof(T) == 4) return std::bit_cast<T>(anyNaN);
    if constexpr (sizeof(T) == 8) return std::bit_cast<T>(anyNaN64);
}
template <class T>
T sum(T a, T b) {
    return either(a, b, a + b);
}
template <class T>
T product(T a, T b) {
    return either(a, b, a * b);
}

// ---- A case: where the operands lie and what the call is given.

enum class Content { words, doubles, masks, bytes };

struct Operand {
    bool array = false, written = false;
    int size = 0;      // bytes of an element, or of the value
    int perCount = 1;  // elements for each one counted
    int fixed = 0;     // elements, whatever the count
    bool nullable = false;
    Content content = Content::words;
};

struct Place {
    int pane = 0;
    Count offset = 0;  // bytes from the start of the pane
    bool null = false;
};

enum class Side { library, model };

struct Case {
    bool flag = false;
    Count count = 0;
    unsigned control = 0x1F80;  // MXCSR at the call
    std::vector<Place> places;  // by operand; empty places for values
    std::vector<std::uint64_t> values;

    std::byte* at(Side side, std::size_t operand) const;
    template <class T>
    T value(std::size_t operand) const {
        T x;
        std::memcpy(&x, &values[operand], sizeof x);
        return x;
    }
    template <class T>
    T load(std::size_t operand, Count i) const {  // from the model's memory
        T x;
        std::memcpy(&x, at(Side::model, operand) + i * Count{sizeof(T)}, sizeof x);
        return x;
    }
    template <class T>
    void save(std::size_t operand, Count i, T x) const {
        std::memcpy(at(Side::model, operand) + i * Count{sizeof(T)}, &x, sizeof x);
    }
};

/// 4-byte elements from the address to the next 16-byte boundary.
inline Count phaseOf(const void* p) {
    return static_cast<Count>(-reinterpret_cast<std::uintptr_t>(p) >> 2 & 3);
}

struct Step {
    Count first;
    int lanes;  // 1: an element; 4: a lane group
};
using Steps = std::vector<Step>;

enum class Kind { dispatching, simd, loop };

struct Row {
    std::string name;
    const void* member = nullptr;
    Kind kind = Kind::loop;
    std::vector<Operand> operands;
    bool estimate = false;  // lane results belong to the processor
    std::vector<Count> large = {31, 32, 67, 150};
    std::function<void(Case&, std::function<std::uint32_t()>)> adjust;  // gives values the formula is about
    std::function<Steps(const Row&, const Case&)> order;
    std::function<void(const Case&, const Step&)> apply;
    std::function<std::uint64_t(const Case&)> call;  // the member; the bits of what it returns
    std::function<std::uint64_t(const Row&, const Case&)> model;
};

/// The promised order of work: a road of elements and lane groups, by flag and phases.
Steps standardOrder(const Row& row, const Case& c);
Steps upward(Count num);
Steps alignedRoute(Count phase, Count num);
bool samePhase(const Row& row, const Case& c);
bool usesLanes(const Row& row, const Case& c);

std::vector<Row>& rows();

/// The exported name of a member, and the library that it comes from.
std::string symbolOf(const void* member, std::string& library);

/// Calls member and model on contents drawn from the seed; false, and a report, if anything differs.
bool runCase(const Row& row, Case& c, std::uint32_t seed);

// ---- From a member's signature to a row.

template <class T>
constexpr bool isCount = std::is_same_v<T, Count>;

template <class A>
Operand describe() {
    Operand o;
    using T = std::remove_cv_t<std::remove_pointer_t<A>>;
    o.array = std::is_pointer_v<A>;
    o.written = o.array && !std::is_const_v<std::remove_pointer_t<A>>;
    o.size = sizeof(T);
    if (std::is_same_v<T, double>) o.content = Content::doubles;
    if (std::is_same_v<T, std::uint32_t>) o.content = Content::masks;
    if (sizeof(T) < 4) o.content = Content::bytes;
    return o;
}

/// What a member is called with.
template <class A>
A argument(const Case& c, std::size_t operand) {
    if constexpr (isCount<A>)
        return c.count;
    else if constexpr (std::is_pointer_v<A>)
        return reinterpret_cast<A>(c.at(Side::library, operand));
    else
        return c.value<A>(operand);
}

/// What a formula sees of an operand at one element: a copy that it may write to.
template <class A>
using Local = std::remove_cv_t<std::remove_pointer_t<A>>;
template <class A>
Local<A> local(const Case& c, std::size_t operand, Count i) {
    if constexpr (isCount<A>)
        return 0;
    else if constexpr (std::is_pointer_v<A>)
        return c.load<Local<A>>(operand, i);
    else
        return c.value<A>(operand);
}
/// A formula is called with everything but the count.
template <class A>
auto pass(Local<A>& x) {
    if constexpr (isCount<A>)
        return std::tuple<>();
    else
        return std::tuple<Local<A>&>(x);
}

template <class R, class... A, std::size_t... K>
Row bareRow(R (*member)(A...), Kind kind, std::index_sequence<K...>) {
    Row row;
    row.member = reinterpret_cast<const void*>(member);
    row.kind = kind;
    row.operands = {describe<A>()...};
    row.call = [member](const Case& c) -> std::uint64_t {
        if constexpr (std::is_void_v<R>) {
            member(argument<A>(c, K)...);
            return 0;
        } else {
            const R result = member(argument<A>(c, K)...);
            std::uint64_t bits = 0;
            std::memcpy(&bits, &result, sizeof result);
            return bits;
        }
    };
    return row;
}

/// One step on the model's memory: everything is read, the formula runs on each lane, what is written is stored.
template <class Formula, class R, class... A, std::size_t... K>
void applyStep(R (*)(A...), const Formula& formula, const Case& c, const Step& step,
               std::index_sequence<K...>) {
    std::array<std::tuple<Local<A>...>, 4> lane{};
    for (int l = 0; l < step.lanes; ++l) lane[l] = {local<A>(c, K, step.first + l)...};
    for (int l = 0; l < step.lanes; ++l)
        std::apply(formula, std::tuple_cat(pass<A>(std::get<K>(lane[l]))...));
    const auto save = [&]<class Arg, std::size_t k>(Arg*, std::integral_constant<std::size_t, k>) {
        if constexpr (std::is_pointer_v<Arg>)
            if constexpr (!std::is_const_v<std::remove_pointer_t<Arg>>)
                for (int l = 0; l < step.lanes; ++l) c.save(k, step.first + l, std::get<k>(lane[l]));
    };
    (save(static_cast<A*>(nullptr), std::integral_constant<std::size_t, K>()), ...);
}

template <class R, class... A, class Element, class Lane>
Row& addRow(R (*member)(A...), Kind kind, Element element, Lane lane) {
    constexpr auto indices = std::index_sequence_for<A...>();
    Row row = bareRow(member, kind, indices);
    row.order = standardOrder;
    row.apply = [=](const Case& c, const Step& step) {
        if (step.lanes == 1)
            applyStep(member, element, c, step, indices);
        else
            applyStep(member, lane, c, step, indices);
    };
    row.model = [](const Row& r, const Case& c) -> std::uint64_t {
        for (const Step& step : r.order(r, c)) r.apply(c, step);
        return 0;
    };
    rows().push_back(row);
    return rows().back();
}

/// A row whose model is its own.
template <class Signature>
Row& modelRow(Signature* member, Kind kind, std::function<std::uint64_t(const Row&, const Case&)> model) {
    rows().push_back([&]<class R, class... A>(R (*m)(A...)) {
        return bareRow(m, kind, std::index_sequence_for<A...>());
    }(member));
    rows().back().model = std::move(model);
    return rows().back();
}

/// A dispatching member and its SIMD member.
template <class Signature, class Element, class Lane>
void both(Signature* plain, Signature* simd, Element element, Lane lane, bool estimate = false) {
    addRow(plain, Kind::dispatching, element, lane).estimate = estimate;
    addRow(simd, Kind::simd, element, lane).estimate = estimate;
}
template <class Signature, class Formula>
void both(Signature* plain, Signature* simd, Formula formula) {
    both<Signature>(plain, simd, formula, formula);
}
/// A member that is an element loop whatever the flag.
template <class Signature, class Formula>
Row& only(Signature* member, Formula formula) {
    return addRow(member, Kind::loop, formula, formula);
}

/// Runs fill with each file's rows before main.
struct Register {
    template <class Fill>
    explicit Register(Fill fill) {
        fill();
    }
};

}  // namespace test
