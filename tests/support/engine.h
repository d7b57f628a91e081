// The engine: a row names a member and its formulas; the sweep calls it over phases, counts, overlaps and contents,
// and a model does the same work on a copy of the same memory, in the promised order, an element or lane group at a time.
#pragma once

#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "ZEL_Math.h"

namespace test {

using Z = ZEL_Math;
using Count = std::int64_t;
using Mask = std::uint32_t;

// ---- Which NaN comes out where two meet isn't fixed: the model then holds these bits, which any quiet NaN matches.

template <class T>
constexpr T anyNaN = std::bit_cast<T>(0x7FE5EED5);
template <>
inline constexpr double anyNaN<double> = std::bit_cast<double>(0x7FFE5EED5EED7E57);

template <class T>
T sum(T a, T b) {
    return std::isnan(a) && std::isnan(b) ? anyNaN<T> : a + b;
}
template <class T>
T product(T a, T b) {
    return std::isnan(a) && std::isnan(b) ? anyNaN<T> : a * b;
}

// ---- A case: where the operands lie and what the call is given

/// Arrays lie in panes: memory between two unreadable pages. Values lie in a pane of their own. The model has a copy of
/// all panes, at a fixed distance.
constexpr Count page = 4096, paneBytes = 16 * page, paneStride = paneBytes + 2 * page;
constexpr int panes = 6, valuePane = 5;
constexpr Count modelDistance = panes * paneStride;

enum class Content { words, doubles, masks };

struct Operand {
    bool array = false;
    bool phased = false;  // its phase decides on the route
    int size = 0;         // bytes of an element
    int perCount = 1;     // elements for each one counted
    int fixed = 0;        // elements, whatever the count
    bool nullable = false;
    Content content = Content::words;
};

/// The bytes of an operand.
inline Count extent(const Operand& o, Count count) {
    return (o.fixed ? o.fixed : o.perCount * count) * o.size;
}

struct Place {
    int pane = 0;
    Count offset = 0;  // bytes from the start of the pane
    bool null = false;
};

struct Case {
    bool flag = false;
    Count count = 0;
    unsigned control = 0x1F80;  // MXCSR at the call
    std::vector<Place> places;  // by operand

    /// What the library is called with; null where the place says so.
    std::byte* at(std::size_t operand) const;
    /// Of an array: 4-byte elements to the next 16-byte boundary.
    Count phase(std::size_t operand) const;
    /// The model's copy of an element of an array or, as element 0, of a value.
    template <class T>
    T& item(std::size_t operand, Count i = 0) const {
        return reinterpret_cast<T*>(at(operand) + modelDistance)[i];
    }
    template <class T>
    void give(std::size_t value, T x) const {
        reinterpret_cast<T&>(*at(value)) = x;
    }
};

// ---- A row: a member and its model

enum class Kind { dispatching, simd, loop };
enum class Form { element, lane };

struct Step {
    Count first;
    int elements;  // all of them are read before the first is written
    Form form;
};

/// Where the lane groups lie: from element lead to end. For a phase below 0 there are none, behind all elements.
struct Groups {
    Count lead, end;
    Groups(Count phase, Count num)
        : lead(phase < 0 ? num : std::min(phase, num)), end(lead + ((num - lead) & ~Count{3})) {}
};
/// The promised order of work: an element loop for a phase below 0, else lead-in, tail and groups.
std::vector<Step> road(Count phase, Count num, int group = 4);
/// By flag and phases.
std::vector<Step> standardOrder(const struct Row& row, const Case& c);
bool usesLanes(const Row& row, const Case& c);
/// The phase of the aligned route; below 0 where the elements go one by one.
Count lanePhase(const Row& row, const Case& c);

using Model = std::function<std::uint64_t(const Row&, const Case&)>;

struct Row {
    std::string name;
    const void* member = nullptr;
    Kind kind = Kind::loop;
    std::vector<Operand> operands;
    std::function<std::uint64_t(const Case&)> call;  // the member; the bits of what it returns
    Model model;
    std::function<std::vector<Step>(const Row&, const Case&)> order = standardOrder;
    std::function<void(Case&, std::function<std::uint32_t()>)> adjust;  // gives values the formula is about
    std::vector<Count> large = {31, 32, 67, 150};
    bool estimate = false;       // lane results belong to the processor
    bool raisesInvalid = false;  // the exception, exactly when the model says so by theModelIsInvalid
};
inline bool theModelIsInvalid;

std::vector<Row>& rows();
Row& add(Row row);

/// The exported name of a member, and the library that it comes from.
std::string symbolOf(const void* member, std::string& library);

/// Calls member and model on contents drawn from the seed; false, and a report, if anything differs.
bool runCase(const Row& row, Case& c, std::uint32_t seed);

// ---- From a member's signature to a row

template <class T>
std::uint64_t bits(T x) {
    std::uint64_t all = 0;
    std::memcpy(&all, &x, sizeof x);
    return all;
}

template <class A>
using Item = std::remove_cv_t<std::remove_pointer_t<A>>;
template <class A>
constexpr bool isArray = std::is_pointer_v<A>;

template <class A>
Operand describe() {
    Operand o{.array = isArray<A>, .phased = isArray<A> && sizeof(Item<A>) == 4, .size = sizeof(Item<A>)};
    o.fixed = !o.array;
    if (std::is_same_v<Item<A>, double>) o.content = Content::doubles;
    if (std::is_same_v<Item<A>, Mask>) o.content = Content::masks;
    return o;
}

/// What a member is called with.
template <class A>
A argument(const Case& c, std::size_t operand) {
    if constexpr (std::is_same_v<A, Count>) return c.count;
    if constexpr (isArray<A>) return reinterpret_cast<A>(c.at(operand));
    if constexpr (!isArray<A>) return c.item<A>(operand);
}

/// What a formula is called with: a copy of one element, to which it may write; nothing of the count.
template <class A>
auto copy(const Case& c, std::size_t operand, Count i) {
    if constexpr (std::is_same_v<A, Count>) return std::tuple();
    if constexpr (!std::is_same_v<A, Count>) return std::tuple(c.item<Item<A>>(operand, isArray<A> ? i : 0));
}

/// One step on the model's memory: everything is read, the formula runs on each lane, what is written is stored.
template <class... A, class Formula, std::size_t... K>
void apply(const Formula& formula, const Case& c, const Step& step, std::index_sequence<K...>) {
    decltype(std::tuple_cat(copy<A>(c, K, 0)...)) lanes[4];
    const auto save = [&]<class To, std::size_t k>(Count l) {
        if constexpr (isArray<To> && !std::is_const_v<std::remove_pointer_t<To>>)
            c.item<Item<To>>(k, step.first + l) = std::get<k>(lanes[l]);
    };
    for (Count l = 0; l < step.elements; ++l) lanes[l] = std::tuple_cat(copy<A>(c, K, step.first + l)...);
    for (Count l = 0; l < step.elements; ++l) std::apply(formula, lanes[l]);
    for (Count l = 0; l < step.elements; ++l) (save.template operator()<A, K>(l), ...);
}

/// A row whose model is its own.
template <class R, class... A>
Row modelRow(R (*member)(A...), Kind kind, Model model) {
    const auto call = [=]<std::size_t... K>(const Case& c, std::index_sequence<K...>)->std::uint64_t {
        if constexpr (std::is_void_v<R>) return member(argument<A>(c, K)...), 0;
        if constexpr (!std::is_void_v<R>) return bits(member(argument<A>(c, K)...));
    };
    Row row;
    row.member = reinterpret_cast<const void*>(member);
    row.kind = kind;
    row.operands = {describe<A>()...};
    row.call = [=](const Case& c) { return call(c, std::index_sequence_for<A...>()); };
    row.model = std::move(model);
    return row;
}

/// A row whose model takes each step by the element formula or the lane formula.
template <class R, class... A, class OfElement, class OfLane>
Row formulaRow(R (*member)(A...), Kind kind, OfElement element, OfLane lane) {
    return modelRow(member, kind, [=](const Row& row, const Case& c) {
        constexpr auto indices = std::index_sequence_for<A...>();
        for (const Step& s : row.order(row, c))
            s.form == Form::lane ? apply<A...>(lane, c, s, indices) : apply<A...>(element, c, s, indices);
        return std::uint64_t{0};
    });
}
template <class Signature, class Formula>
Row formulaRow(Signature* member, Kind kind, Formula formula) {
    return formulaRow(member, kind, formula, formula);
}

template <class T>
using Array = const T*;
template <class T>
using Value = T;
/// Chooses among overloads by result and operands.
template <class D, class... X>
using Member = std::type_identity_t<void (*)(D*, X..., Count)>;

/// A member that is an element loop whatever the flag.
template <class D, class... X, class Formula>
void only(Member<D, X...> member, Formula formula) {
    add(formulaRow(member, Kind::loop, formula));
}
/// A dispatching member and its SIMD member, by one formula or by an element formula and a lane formula.
template <class D, class... X, class... Formulas>
std::span<Row> both(Member<D, X...> plain, Member<D, X...> simd, Formulas... formulas) {
    add(formulaRow(plain, Kind::dispatching, formulas...));
    return {&add(formulaRow(simd, Kind::simd, formulas...)) - 1, 2};
}
/// Both for float, and their sibling for double, which has no lanes.
template <template <class> class... X, class Formula, class... Lane>
std::span<Row> real(Member<float, X<float>...> plain, Member<float, X<float>...> simd,
                    Member<double, X<double>...> wide, Formula element, Lane... lane) {
    only<double, X<double>...>(wide, element);
    return both<float, X<float>...>(plain, simd, element, lane...);
}

/// Runs fill with a file's rows before main.
struct Register {
    explicit Register(void (*fill)()) { fill(); }
};

}  // namespace test
