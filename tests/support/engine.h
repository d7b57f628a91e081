// The engine. A row names a member and has a model of it, written from the member's meaning. The sweep calls
// the member on one memory and the model on a copy, and compares every byte: over phases, counts, overlaps,
// contents, flag and modes. A model works in the promised order, an element or a lane group at a time.
#pragma once

#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
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

// ---- Which NaN comes out where two meet isn't fixed: a model then gives bits that any quiet NaN matches.

template <class T> constexpr T anyNaN = std::bit_cast<T>(0x7FE5EED5);
template <> inline constexpr double anyNaN<double> = std::bit_cast<double>(0x7FFE5EED5EED7E57);

auto sum(auto a, decltype(a) b) { return std::isnan(a) && std::isnan(b) ? anyNaN<decltype(a)> : a + b; }
auto product(auto a, decltype(a) b) { return std::isnan(a) && std::isnan(b) ? anyNaN<decltype(a)> : a * b; }

// ---- What the processor's own operations give

inline float rcp(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }
inline float rsqrt(float x) { return _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))); }
// Where the caller has denormals taken for zeros these give zeros, which a comparison and a choice don't.
inline float least(float p, float q) { return _mm_cvtss_f32(_mm_min_ss(_mm_set_ss(p), _mm_set_ss(q))); }
inline float greatest(float p, float q) { return _mm_cvtss_f32(_mm_max_ss(_mm_set_ss(p), _mm_set_ss(q))); }

// ---- A row: a member, and what the sweep has to know of it

/// By the flag, lanes where phases allow it, an element loop; or as the row's model says by itself.
enum class Kind { dispatching, simd, loop, own };
/// What a result's bits depend on: the numbers alone, the flag too, phases and count too, the processor too.
enum class Bits { everywhere, flag, phases, processor };

/// An array or a value of a member's signature, in its order. The count isn't one.
struct Operand {
    bool array = false;
    bool nullable = false;  // as a mask may be
    bool masks = false;     // half of its elements are zeros
    int size = 0;           // bytes of an element
    int perCount = 1;       // elements for each one counted, as a vector has
    int fixed = 0;          // elements, whatever the count
    int spare = 0;          // elements of the last ones that aren't the member's

    Count bytes(Count count) const { return (fixed ? fixed : std::max<Count>(perCount * count - spare, 0)) * size; }
};

enum class Form { element, lane };
struct Step {
    Count first;
    int elements;  // all of them are read before the first is written
    Form form;
};

/// Places of the operands in most rows. Others have an enumeration of their own.
enum : std::size_t { ofD, ofA, ofB, ofC };

struct Case;
std::vector<Step> standardOrder(const Case& c);

struct Row {
    const void* member = nullptr;
    Kind kind = Kind::loop;
    std::vector<Operand> operands = {};
    std::function<std::uint64_t(const Case&)> call = {}, model;  // both give the bits of the member's result
    std::function<std::vector<Step>(const Case&)> order = standardOrder;
    std::function<void(Case&)> adjust = [](Case&) {};  // gives values that the formulas are about
    std::vector<Count> large = {31, 32, 67, 150};
    unsigned exceptions = 0;  // of MXCSR: raised exactly when the model puts them into theRaised
    unsigned modesApart = 0;  // of MXCSR: modes in which the two forms part, though the bits travel otherwise
    std::string name = {};    // as exported
    Bits bits = {};           // by the list of exports
};
/// Exceptions that the member must leave raised, by the model.
inline unsigned theRaised;

inline std::vector<Row> theRows;
Row& add(Row row);

// ---- A case: one call of a row's member

/// Arrays lie in panes: memory between two unreadable pages. Values lie in a pane of their own. The model has
/// a copy of all panes, at a fixed distance.
constexpr Count page = 4096, paneBytes = 16 * page, paneStride = paneBytes + 2 * page;
constexpr int panes = 6, valuePane = 5;
constexpr Count modelDistance = panes * paneStride;

struct Case {
    const Row& row;
    bool flag = false;
    Count count = 0;
    unsigned control = 0x1F80;            // MXCSR at the call
    std::vector<std::byte*> places = {};  // of the operands; null for an array that isn't there

    /// The model's copy of element i of an array, or of a value.
    template <class T> T& item(std::size_t operand, Count i = 0) const {
        return reinterpret_cast<T*>(places[operand] + modelDistance)[i];
    }
    /// Sets a value.
    void give(std::size_t value, auto x) const { reinterpret_cast<decltype(x)&>(*places[value]) = x; }
    /// An operand's bytes on the library's side.
    std::span<std::byte> bytes(std::size_t operand) const {
        const Count all = row.operands[operand].bytes(std::max<Count>(count, 0));
        return {places[operand], static_cast<std::size_t>(places[operand] ? all : 0)};
    }
    /// Whether the call goes to lanes, if phases allow it.
    bool usesLanes() const { return row.kind == Kind::simd || (row.kind == Kind::dispatching && flag); }
    /// Elements of 4 bytes to the next 16-byte boundary.
    Count phase(std::size_t operand) const { return -reinterpret_cast<std::uintptr_t>(places[operand]) >> 2 & 3; }
    /// The one phase of these arrays; -1 where they differ, and where the call doesn't go to lanes.
    Count phaseOf(const std::vector<std::size_t>& arrays) const;
    /// That of the arrays of 4-byte elements, which decides on the route.
    Count lanePhase() const;
};

/// Where the lane groups lie: from element lead to end. For a phase below 0 there are none, behind all else.
struct Groups {
    Count lead, end;
    Groups(Count phase, Count num)
        : lead(phase < 0 ? num : std::min(phase, num)), end(lead + ((num - lead) & ~Count{3})) {}
};
/// The promised order of work: an element loop for a phase below 0, else lead-in, tail and groups.
std::vector<Step> route(Count phase, Count num, int group = 4);

/// A number from 0 to n - 1.
std::uint32_t below(std::uint32_t n);

// ---- From a member's signature to a row

std::uint64_t bits(auto x) {
    std::uint64_t all = 0;
    std::memcpy(&all, &x, sizeof x);
    return all;
}

template <class A> using Item = std::remove_cv_t<std::remove_pointer_t<A>>;

template <class A> void describe(std::vector<Operand>& operands) {
    constexpr bool array = std::is_pointer_v<A>, masks = std::is_same_v<Item<A>, Mask>;
    if (std::is_same_v<A, Count>) return;
    operands.push_back({.array = array, .masks = masks, .size = sizeof(Item<A>), .fixed = !array});
}

/// The next argument of a call: the count, or an operand.
template <class A> A argument(const Case& c, std::size_t& operand) {
    if constexpr (std::is_same_v<A, Count>) return c.count;
    if constexpr (std::is_pointer_v<A>) return reinterpret_cast<A>(c.places[operand++]);
    if constexpr (!std::is_pointer_v<A> && !std::is_same_v<A, Count>) return c.item<A>(operand++);
}

/// A row with a model of its own.
template <class R, class... A>
Row modelRow(R (*member)(A...), Kind kind, std::function<std::uint64_t(const Case&)> model) {
    Row row{.member = reinterpret_cast<const void*>(member), .kind = kind, .model = std::move(model)};
    (describe<A>(row.operands), ...);
    row.call = [member](const Case& c) -> std::uint64_t {
        std::size_t operand = 0;  // in braces, arguments are taken from left to right
        const std::tuple<A...> arguments{argument<A>(c, operand)...};
        if constexpr (std::is_void_v<R>) return std::apply(member, arguments), 0;
        if constexpr (!std::is_void_v<R>) return bits(std::apply(member, arguments));
    };
    return row;
}

/// What a formula is given of the next operand: element i of an array, or the value.
template <class X> Item<X> given(const Case& c, std::size_t& operand, Count i) {
    return c.item<Item<X>>(operand++, std::is_pointer_v<X> ? i : 0);
}

/// Stores what a formula gives: element i of the first array, or of the first two.
template <class D> void store(const Case& c, Count i, D result) { c.item<D>(0, i) = result; }
template <class D, class First, class Second> void store(const Case& c, Count i, std::pair<First, Second> results) {
    c.item<First>(0, i) = results.first;
    c.item<Second>(1, i) = results.second;
}

/// One step by a formula, a function from what all operands hold, d first, to what d gets. X are their types.
template <class D, class... X, class Formula> void work(const Formula& formula, const Case& c, const Step& step) {
    const auto result = [&](Count i) {
        std::size_t k = 0;
        return std::apply(formula, std::tuple<D, Item<X>...>{given<D*>(c, k, i), given<X>(c, k, i)...});
    };
    decltype(result(0)) results[4];
    for (int lane = 0; lane < step.elements; ++lane) results[lane] = result(step.first + lane);
    for (int lane = 0; lane < step.elements; ++lane) store<D>(c, step.first + lane, results[lane]);
}

/// A row with one formula, or one of elements and one of lanes. The signature: D*, X..., somewhere the count.
template <class D, class... X, class Signature, class... Formulas>
Row formulaRow(Signature* member, Kind kind, Formulas... formulas) {
    return modelRow(member, kind, [all = std::tuple(formulas...)](const Case& c) {
        for (const Step& step : c.row.order(c))
            step.form == Form::element ? work<D, X...>(std::get<0>(all), c, step)
                                       : work<D, X...>(std::get<sizeof...(Formulas) - 1>(all), c, step);
        return std::uint64_t{0};
    });
}

template <class T> using Array = const T*;
template <class T> using Value = T;
/// Chooses among overloads by result and operands.
template <class D, class... X> using Member = std::type_identity_t<void (*)(D*, X..., Count)>;

/// A member without sibling, by one formula; most are an element loop whatever the flag.
template <class D, class... X, class Formula>
Row& only(Member<D, X...> member, Formula formula, Kind kind = Kind::loop) {
    return add(formulaRow<D, X...>(member, kind, formula));
}
/// A dispatching member and its SIMD member, by one formula or by an element formula and a lane formula.
template <class D, class... X, class... Formulas>
std::span<Row> both(Member<D, X...> plain, Member<D, X...> simd, Formulas... formulas) {
    add(formulaRow<D, X...>(plain, Kind::dispatching, formulas...));
    add(formulaRow<D, X...>(simd, Kind::simd, formulas...));
    return std::span(theRows).last(2);
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
