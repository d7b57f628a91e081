// What a member tells of a call before it touches an array. In delivered libraries it is nothing. Debug and sanitized
// builds stop where an array isn't usable. The copy of zel-trace counts, and tells what isn't usable.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "frame/operands.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define ZEL_SANITIZED
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#        define ZEL_SANITIZED
#    endif
#endif

namespace zel {

/// How a call means to do its elements: by an element loop, by lane groups where its arrays have one phase, or by
/// whole vectors where its first array lies on a 16-byte boundary, from one or from four on.
enum class Form { element, lane, vectors, fourVectors };

#ifdef ZEL_TRACE

/// An operand of a call in the order of the member's parameters. A value has no size.
struct Operand {
    const void* start;
    std::size_t elementBytes;
};
template <class T> Operand operand(const T* x) { return {x, sizeof(T)}; }
template <class T, std::size_t count> Operand operand(const T (*x)[count]) { return {x, sizeof(T)}; }
inline Operand operand(double) { return {nullptr, 0}; }

class Call;

/// The call that a thread is in: the frame of the member that the program called, and where that returns to.
struct Activation {
    const Call* call;
    const void* frame;
    std::uintptr_t caller;
};

/// Lives as long as the call. Calls inside of it, of a member by a member, are part of it.
class Call {
public:
    template <class... X> [[gnu::always_inline]] Call(Form form, Count num, X... x) {
        const Operand operands[] = {operand(x)...};
        begin(form, num, operands, sizeof...(x));
    }
    template <class First, class Second, class... X>
    [[gnu::always_inline]] Call(Form form, Count num, Two<First, Second> d, X... x)
        : Call(form, num, d.first, d.second, x...) {}
    template <class... X>
    [[gnu::always_inline]] Call(bool simd, Form form, Count num, X... x)
        : Call(simd ? form : Form::element, num, x...) {}
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Tells it where d overlaps x, which mustn't.
    void mustBeApart(const float* d, const float* x, const char* name, Count num) const;

private:
    void begin(Form form, Count num, const Operand* operands, std::size_t count);

    Activation before;  // of a call that a signal handler has interrupted
};

#else

struct Call {
    template <class... X> [[gnu::always_inline]] Call(Form, [[maybe_unused]] Count num, [[maybe_unused]] X... x) {
#    if defined(ZEL_ASSERTS) || defined(ZEL_SANITIZED)
        if (num <= 0 || (usable(x) && ...)) return;
        std::fputs("libZEL: an array of this call is null, or not aligned to its elements.\n", stderr);
        std::abort();
#    endif
    }
    template <class... X> [[gnu::always_inline]] Call(bool, Form form, Count num, X... x) : Call(form, num, x...) {}
    void mustBeApart(const float*, const float*, const char*, Count) const {}
};

#endif

/// The operands of a formula as its member has them: d stands twice where the formula reads it.
template <class Formula, class D, class First, class... X>
requires requires { Formula::updates; }
Call callOf(Form form, D d, Count num, First, X... x) { return Call(form, num, d, x...); }
template <class Formula, class D, class... X>
[[gnu::always_inline]] inline Call callOf(Form form, D d, Count num, X... x) {
    return Call(form, num, d, x...);
}

}  // namespace zel
