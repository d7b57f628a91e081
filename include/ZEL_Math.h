// libZEL: bulk numeric kernels over raw arrays for x86-64 Linux. This is its one header.
#ifndef ZEL_MATH_H
#define ZEL_MATH_H

#if !defined(__x86_64__) || defined(__ILP32__)
#    error "libZEL is written for x86-64: its lane forms are SSE code, its counts and addresses 64 bits wide."
#endif

#include <cstdint>

/// Element-wise arithmetic, comparison, movement, conversion and reduction of arrays, and transforms of
/// vector streams. All operations are static members; no instance is needed.
///
/// **Arguments.** `d` is the array written, `a`, `b`, `c` are arrays or single values, `num` counts elements
/// (vectors in the stream members). `num` of 0 reads and writes nothing, and pointers may then be null; it
/// must not be negative. Arrays are aligned to their elements and to nothing more. No member reads or writes
/// outside elements 0 to num - 1, allocates, throws, keeps a pointer, or inspects an argument beyond what is
/// said here: NaN and infinities are results, not errors.
///
/// **Two forms.** Most operations on `float` and `int` have a plain member (`add`) and a SIMD member
/// (`addSIMD`). With the flag set (isSIMD()) the plain member calls the SIMD member, else it runs an element
/// loop: upward, each element read, computed and written before the next is read. `double` forms are element
/// loops whatever the flag. Some operations give other bits in their lane form than in their element form;
/// each block below says where.
///
/// **Phases and routes.** The phase of an address is the number of 4-byte elements, 0 to 3, from there to the
/// next 16-byte boundary. A SIMD member compares the phases of its arrays (values take no part):
///  - All equal, the aligned route: first the lead-in, the first min(phase, num) elements, upward, by the
///  element
///    formula; then the tail, the 0 to 3 elements behind the last lane group, from the last one downward, by
///    the element formula; then the lane groups, four elements on a 16-byte boundary each, upward, by the
///    lane formula: all four read, computed, written.
///  - Not all equal, the fallback route: an element loop over everything.
///
/// So which formula an element meets depends on addresses and num, never on its value. Where the two forms
/// part, the same data at another address can give other bits; with the flag clear it can't.
///
/// **Overlap.** `d` may be the same array as any source of the same element size, except where a block says
/// otherwise: the result is that of separate arrays. Any other overlap gives exactly what the order of work
/// above gives.
///
/// **Arithmetic** follows IEEE 754 in the element type, under the calling thread's rounding and denormal
/// modes. A product is rounded before it is added; nothing is fused. A NaN operand gives that NaN, quieted.
/// Infinity minus infinity and 0 times infinity give the processor's default NaN, bits 0xFFC00000. Where two
/// NaNs meet in one addition or multiplication, which of them comes out is not fixed.
///
/// **Threads.** Any thread may call any member at any time, as long as no two write the same array at once.
class __attribute__((visibility("default"))) ZEL_Math {
public:
    /// @name The flag
    /// Set at load if the processor has SSE, which every x86-64 processor has; one plain byte for the
    /// process, read once by each call that heeds it. Where the processor word denies SSE, the flag stays
    /// clear, and the library says so on standard error if the environment variable QUARNEL_VERBOSE_ERROR
    /// exists and doesn't start with 0.
    /// @{

    /// Stores the flag. Nothing is checked: lane code on a processor without SSE is the caller's fault.
    static void forceSIMD(bool on);
    /// The flag as last stored.
    static bool isSIMD();
    /// @}

    /// @name Assignment
    /// There is nothing to copy; both give back the left operand.
    /// @{
    ZEL_Math& operator=(const ZEL_Math&);
    ZEL_Math& operator=(ZEL_Math&&);
    /// @}

    /// @name Add, subtract, multiply
    /// d[i] = a[i] op b[i], with an array or a value on either side as the signatures say.
    ///
    /// Element and lane form give the same bits, `int` addition modulo 2 to the 32nd. `sub` of two NaNs gives
    /// that of `a`; `add` and `mul` of two NaNs give one of them.
    /// @{
    static void add(float* d, const float* a, const float* b, std::int64_t num);
    static void add(double* d, const double* a, const double* b, std::int64_t num);
    static void add(int* d, const int* a, const int* b, std::int64_t num);
    static void add(float* d, const float* a, float b, std::int64_t num);
    static void add(double* d, const double* a, double b, std::int64_t num);
    static void add(int* d, const int* a, int b, std::int64_t num);
    static void addSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void addSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void addSIMD(float* d, const float* a, float b, std::int64_t num);
    static void addSIMD(int* d, const int* a, int b, std::int64_t num);

    static void sub(float* d, const float* a, const float* b, std::int64_t num);
    static void sub(double* d, const double* a, const double* b, std::int64_t num);
    static void sub(float* d, const float* a, float b, std::int64_t num);
    static void sub(double* d, const double* a, double b, std::int64_t num);
    static void sub(float* d, float a, const float* b, std::int64_t num);
    static void sub(double* d, double a, const double* b, std::int64_t num);
    static void subSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void subSIMD(float* d, const float* a, float b, std::int64_t num);
    static void subSIMD(float* d, float a, const float* b, std::int64_t num);

    static void mul(float* d, const float* a, const float* b, std::int64_t num);
    static void mul(double* d, const double* a, const double* b, std::int64_t num);
    static void mul(float* d, const float* a, float b, std::int64_t num);
    static void mul(double* d, const double* a, double b, std::int64_t num);
    static void mulSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void mulSIMD(float* d, const float* a, float b, std::int64_t num);
    /// @}

private:
    static bool theSIMD;
};

#endif
