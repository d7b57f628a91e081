// libZEL: bulk numeric kernels over raw arrays for x86-64 Linux. This is its one header.
#ifndef ZEL_MATH_H
#define ZEL_MATH_H

#if !defined(__x86_64__) || defined(__ILP32__)
#    error "libZEL is written for x86-64: its lane forms are SSE code, its counts and addresses 64 bits wide."
#endif

#include <cstdint>

/// Operations over raw arrays: arithmetic, comparison, movement, conversion, reduction, vector streams. All of them are
/// static members, and no instance is needed. docs/special-values.md prints what most give for zeros, denormals,
/// infinities and NaN, in each rounding mode and each denormal mode. docs/phases.md has the order of work.
///
/// **Arguments.** `d` is the array written. `a`, `b` and `c` are arrays or single values. `num` counts elements, or
/// vectors in a stream. For a `num` of 0 or less nothing is read or written, and pointers may be null. Arrays must be
/// aligned to their elements, and to nothing more. No member touches anything outside elements 0 to num - 1, allocates,
/// throws or keeps a pointer. No argument is checked: NaN and infinities are results, not errors.
///
/// **Two forms.** With the flag set, a plain member such as `add` calls its SIMD member, `addSIMD`. With the flag clear
/// it is an element loop: upward, each element read, computed and written before the next is read. The forms on
/// `double` are always element loops. Above each name stands its formula, and behind "Lane:" that of lane groups
/// where it is another one. Each block says what its members share.
///
/// **Routes.** The phase of an address is the number of 4-byte elements from there to the next 16-byte boundary, 0 to
/// 3. A SIMD member compares the phases of its arrays. If all are equal it takes the aligned route: lane groups, four
/// elements from a 16-byte boundary on, by the lane formula, and up to three elements on either side by the element
/// formula. If not, it takes the fallback route, an element loop. An element's value never decides on its formula.
///
/// **Overlap.** `d` may be any source of the same element size, unless a block says otherwise: the result is that of
/// separate arrays. Any other overlap gives what the order of work gives.
///
/// **Arithmetic** follows IEEE 754 in the element type, in the calling thread's rounding and denormal modes.
///  - A product is rounded before it is added. Nothing is fused.
///  - A NaN operand gives that NaN, quieted. Of two NaNs, `-` and `/` give the left one, `+` and `*` either. Lanes
///    of `fdiv` and division by a `float` value are products.
///  - An invalid operation, such as 0 * infinity, gives the NaN 0xFFC00000 (`double`: 0xFFF8000000000000).
///  - Which exception flags are raised is fixed only where a block says so.
///
/// **Threads.** Any thread may call any member but forceSIMD() at any time, as long as no other thread uses an element
/// that the call writes, or writes one that it reads.
class __attribute__((visibility("default"))) ZEL_Math {
public:
    /// @name The flag
    /// One byte for the process, read once at the start of each call that heeds it. Loading the library sets it if the
    /// processor has SSE, as every x86-64 processor does, and so does loading a second copy by its path. If
    /// `KEPgetProcessor` denies that, the flag stays clear, and "Disabling SSE vector functions." goes to standard
    /// error if the environment has a QUARNEL_VERBOSE_ERROR that doesn't begin with 0.
    /// @{

    /// Stores the flag, unchecked. A call that is running goes on as it began.
    static void forceSIMD(bool on);
    /// The flag as last stored.
    static bool isSIMD();
    /// @}

    /// @name Assignment
    /// @{

    /// Copies nothing and returns the left operand.
    ZEL_Math& operator=(const ZEL_Math&);
    ZEL_Math& operator=(ZEL_Math&&);
    /// @}

    /// @name Add, subtract, multiply
    /// Element and lane form give the same bits, but either of two NaNs may come.
    /// @{

    /// d[i] = a[i] + b[i]. A sum of `int` wraps.
    static void add(float* d, const float* a, const float* b, std::int64_t num);
    static void add(double* d, const double* a, const double* b, std::int64_t num);
    static void add(int* d, const int* a, const int* b, std::int64_t num);
    static void add(float* d, const float* a, float b, std::int64_t num);
    static void add(double* d, const double* a, double b, std::int64_t num);
    static void add(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `add`: the same bits, but for two NaNs.
    static void addSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void addSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void addSIMD(float* d, const float* a, float b, std::int64_t num);
    static void addSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] - b[i].
    static void sub(float* d, const float* a, const float* b, std::int64_t num);
    static void sub(double* d, const double* a, const double* b, std::int64_t num);
    static void sub(float* d, const float* a, float b, std::int64_t num);
    static void sub(double* d, const double* a, double b, std::int64_t num);
    static void sub(float* d, float a, const float* b, std::int64_t num);
    static void sub(double* d, double a, const double* b, std::int64_t num);
    /// The lane form of `sub`: the same bits, but for two NaNs.
    static void subSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void subSIMD(float* d, const float* a, float b, std::int64_t num);
    static void subSIMD(float* d, float a, const float* b, std::int64_t num);
    /// d[i] = a[i] * b[i].
    static void mul(float* d, const float* a, const float* b, std::int64_t num);
    static void mul(double* d, const double* a, const double* b, std::int64_t num);
    static void mul(float* d, const float* a, float b, std::int64_t num);
    static void mul(double* d, const double* a, double b, std::int64_t num);
    /// The lane form of `mul`: the same bits, but for two NaNs.
    static void mulSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void mulSIMD(float* d, const float* a, float b, std::int64_t num);
    /// @}

    /// @name Division
    /// No divisor is checked. The estimate is that of `invert`. An array over a `float` value is `mul` by r = 1 / b in
    /// every form. A value b of zero has an infinite r, and so has a denormal one under denormals-are-zero. Any other b
    /// of magnitude 2^-128 or less has too, or the largest finite number where the rounding mode leads toward zero.
    /// @{

    /// d[i] = a[i] / b[i], rounded once. An array by a `float` value: a[i] * (1 / b), rounded twice.
    static void div(float* d, const float* a, const float* b, std::int64_t num);
    static void div(double* d, const double* a, const double* b, std::int64_t num);
    static void div(float* d, const float* a, float b, std::int64_t num);
    static void div(float* d, float a, const float* b, std::int64_t num);
    static void div(double* d, double a, const double* b, std::int64_t num);
    /// The lane form of `div`: the same bits.
    static void divSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void divSIMD(float* d, float a, const float* b, std::int64_t num);
    /// d[i] = a[i] / b[i]. Lane: a[i] * rcpps(b[i]), an estimate. An array by a `float` value: as `div`.
    static void fdiv(float* d, const float* a, const float* b, std::int64_t num);
    static void fdiv(double* d, const double* a, const double* b, std::int64_t num);
    static void fdiv(float* d, const float* a, float b, std::int64_t num);
    static void fdiv(float* d, float a, const float* b, std::int64_t num);
    static void fdiv(double* d, double a, const double* b, std::int64_t num);
    /// d[i] = a[i] * rcpps(b[i]) in lane groups, a[i] / b[i] elsewhere.
    static void fdivSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void fdivSIMD(float* d, float a, const float* b, std::int64_t num);
    /// @}

    /// @name Guarded division
    /// Only the divisor is guarded: a quotient can overflow.
    ///
    /// | form                              | where b[i] is +0 or -0                                             | elsewhere |
    /// |-----------------------------------|--------------------------------------------------------------------|-----------|
    /// | array / array; value / array by element | a / infinity: zero of the sign of a; NaN for an infinity or NaN | a / b     |
    /// | value / array by lane             | +0, whatever a is                                                  | a / b     |
    /// | array / value                     | +0, and a isn't read                                               | `mul` by r = 1 / b, as in `div` |
    /// @{

    /// d[i] = a[i] / b[i], but 0 for a finite a[i] over a zero.
    static void safediv(float* d, const float* a, const float* b, std::int64_t num);
    static void safediv(double* d, const double* a, const double* b, std::int64_t num);
    static void safediv(float* d, const float* a, float b, std::int64_t num);
    static void safediv(float* d, float a, const float* b, std::int64_t num);
    static void safediv(double* d, double a, const double* b, std::int64_t num);
    /// The lane form of `safediv`. In lane groups a value over a zero is +0, whatever the value.
    static void safedivSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void safedivSIMD(float* d, float a, const float* b, std::int64_t num);
    /// @}

    /// @name Reciprocal and roots
    /// Quotients and roots are correctly rounded (IEEE 754). The bits of the estimates rcpps and rsqrtps are the
    /// processor's. Their relative error is at most 1.5 * 2^-12 (their definitions). The estimate for 1 need not be 1.
    /// @{

    /// d[i] = 1 / a[i]. Lane: rcpps(a[i]), to which denormals are 0, in and out.
    static void invert(float* d, const float* a, std::int64_t num);
    static void invert(double* d, const double* a, std::int64_t num);
    /// d[i] = rcpps(a[i]) in lane groups, an estimate. 1 / a[i] elsewhere.
    static void invertSIMD(float* d, const float* a, std::int64_t num);
    /// d[i] = the root of a[i].
    static void sqrt(float* d, const float* a, std::int64_t num);
    static void sqrt(double* d, const double* a, std::int64_t num);
    /// The lane form of `sqrt`: the same bits.
    static void sqrtSIMD(float* d, const float* a, std::int64_t num);
    /// d[i] = the root of a[i]. Lane: rcpps(rsqrtps(a[i])), with the errors of both.
    static void fsqrt(float* d, const float* a, std::int64_t num);
    static void fsqrt(double* d, const double* a, std::int64_t num);
    /// d[i] = rcpps(rsqrtps(a[i])) in lane groups, an estimate. The root elsewhere.
    static void fsqrtSIMD(float* d, const float* a, std::int64_t num);
    /// d[i] = 1 / the root of a[i], rounded twice. Lane: rsqrtps(a[i]), to which denormals are 0.
    static void isqrt(float* d, const float* a, std::int64_t num);
    static void isqrt(double* d, const double* a, std::int64_t num);
    /// d[i] = rsqrtps(a[i]) in lane groups, an estimate. 1 / the root elsewhere.
    static void isqrtSIMD(float* d, const float* a, std::int64_t num);
    /// @}

    /// @name Sign and range
    /// A comparison with NaN is false, and a choice gives the bits of what it chose. Where denormals are taken for
    /// zeros, a lane form gives a zero for one that it chooses. Where they are only flushed, lanes of `negate` do so,
    /// and those of `abs` for a negative one. An element form keeps its bits, though its comparisons may take it for a
    /// zero. The forms of `clamp` differ on zeros, and where lo > hi.
    /// @{

    /// d[i] = a[i], sign bit cleared. Lane: t = 0 - a[i]; t > a[i] ? t : a[i]. They differ on -0 and a negative NaN.
    static void abs(float* d, const float* a, std::int64_t num);
    static void abs(double* d, const double* a, std::int64_t num);
    /// t = 0 - a[i]; d[i] = t > a[i] ? t : a[i] in lane groups. -0 stays -0 there.
    static void absSIMD(float* d, const float* a, std::int64_t num);
    /// d[i] = a[i], sign bit flipped. Lane: 0 - a[i]. They differ on +0 and NaN, which a lane quiets.
    static void negate(float* d, const float* a, std::int64_t num);
    static void negate(double* d, const double* a, std::int64_t num);
    /// d[i] = 0 - a[i] in lane groups. That quiets a NaN.
    static void negateSIMD(float* d, const float* a, std::int64_t num);
    /// d[i] = b[i] < a[i] ? b[i] : a[i]. Lane: a[i] < b[i] ? a[i] : b[i]. They differ on NaN and zeros of two signs.
    static void zelmin(float* d, const float* a, const float* b, std::int64_t num);
    static void zelmin(double* d, const double* a, const double* b, std::int64_t num);
    static void zelmin(float* d, const float* a, float b, std::int64_t num);
    static void zelmin(double* d, const double* a, double b, std::int64_t num);
    /// d[i] = a[i] < b[i] ? a[i] : b[i] in lane groups: b[i] where either is NaN.
    static void zelminSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void zelminSIMD(float* d, const float* a, float b, std::int64_t num);
    /// d[i] = b[i] > a[i] ? b[i] : a[i]. Lane: a[i] > b[i] ? a[i] : b[i]. They differ on NaN and zeros of two signs.
    static void zelmax(float* d, const float* a, const float* b, std::int64_t num);
    static void zelmax(double* d, const double* a, const double* b, std::int64_t num);
    static void zelmax(float* d, const float* a, float b, std::int64_t num);
    static void zelmax(double* d, const double* a, double b, std::int64_t num);
    /// d[i] = a[i] > b[i] ? a[i] : b[i] in lane groups: b[i] where either is NaN.
    static void zelmaxSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void zelmaxSIMD(float* d, const float* a, float b, std::int64_t num);
    /// d[i] = lo >= a[i] ? lo : hi <= a[i] ? hi : a[i]. Lane: t = hi < a[i] ? hi : a[i]; lo > t ? lo : t.
    static void clamp(float* d, const float* a, float lo, float hi, std::int64_t num);
    /// t = hi < a[i] ? hi : a[i]; d[i] = lo > t ? lo : t in lane groups.
    static void clampSIMD(float* d, const float* a, float lo, float hi, std::int64_t num);
    /// @}

    /// @name Multiply-add
    /// Element and lane form give the same bits, but for `lerp` by a value. With the flag set `lerp` is two passes, and
    /// d holds the result of the first during the second. So d may be b but mustn't overlap a or c where c is an array,
    /// and may be a but mustn't overlap b where c is a value.
    /// @{

    /// d[i] = d[i] + a[i] * b[i].
    static void madd(float* d, const float* a, const float* b, std::int64_t num);
    static void madd(double* d, const double* a, const double* b, std::int64_t num);
    static void madd(float* d, const float* a, float b, std::int64_t num);
    static void madd(double* d, const double* a, double b, std::int64_t num);
    /// The lane form of `madd`: the same bits.
    static void maddSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void maddSIMD(float* d, const float* a, float b, std::int64_t num);
    /// d[i] = d[i] * a[i] + b[i].
    static void scaleoffset(float* d, const float* a, const float* b, std::int64_t num);
    static void scaleoffset(double* d, const double* a, const double* b, std::int64_t num);
    static void scaleoffset(float* d, const float* a, float b, std::int64_t num);
    static void scaleoffset(double* d, const double* a, double b, std::int64_t num);
    static void scaleoffset(float* d, float a, const float* b, std::int64_t num);
    static void scaleoffset(double* d, double a, const double* b, std::int64_t num);
    static void scaleoffset(float* d, float a, float b, std::int64_t num);
    static void scaleoffset(double* d, double a, double b, std::int64_t num);
    /// The lane form of `scaleoffset`: the same bits.
    static void scaleoffsetSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, const float* a, float b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, float a, const float* b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, float a, float b, std::int64_t num);
    /// d[i] = (b[i] - a[i]) * c[i] + a[i]. Flag set: subSIMD(d, b, a), then scaleoffsetSIMD(d, c, a): the same bits.
    static void lerp(float* d, const float* a, const float* b, const float* c, std::int64_t num);
    /// d[i] = (b[i] - a[i]) * c + a[i]. Flag set: mulSIMD(d, a, 1 - c), then maddSIMD(d, b, c): other bits.
    static void lerp(float* d, const float* a, const float* b, float c, std::int64_t num);
    /// @}

    /// @name Comparisons
    /// Element and lane form give the same bits. NaN is unordered: `ne` gives 1, the others 0. +0 equals -0. `lt`,
    /// `le`, `gt` and `ge` raise the invalid flag on any NaN, `eq` and `ne` on a signalling one only. d may be a or
    /// b of `float` and `int`.
    /// @{

    /// d[i] = a[i] < b[i] ? 1 : 0.
    static void lt(int* d, const float* a, const float* b, std::int64_t num);
    static void lt(int* d, const double* a, const double* b, std::int64_t num);
    static void lt(int* d, const int* a, const int* b, std::int64_t num);
    static void lt(int* d, const float* a, float b, std::int64_t num);
    static void lt(int* d, const double* a, double b, std::int64_t num);
    static void lt(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `lt`: the same bits.
    static void ltSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void ltSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void ltSIMD(int* d, const float* a, float b, std::int64_t num);
    static void ltSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] <= b[i] ? 1 : 0.
    static void le(int* d, const float* a, const float* b, std::int64_t num);
    static void le(int* d, const double* a, const double* b, std::int64_t num);
    static void le(int* d, const int* a, const int* b, std::int64_t num);
    static void le(int* d, const float* a, float b, std::int64_t num);
    static void le(int* d, const double* a, double b, std::int64_t num);
    static void le(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `le`: the same bits.
    static void leSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void leSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void leSIMD(int* d, const float* a, float b, std::int64_t num);
    static void leSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] > b[i] ? 1 : 0.
    static void gt(int* d, const float* a, const float* b, std::int64_t num);
    static void gt(int* d, const double* a, const double* b, std::int64_t num);
    static void gt(int* d, const int* a, const int* b, std::int64_t num);
    static void gt(int* d, const float* a, float b, std::int64_t num);
    static void gt(int* d, const double* a, double b, std::int64_t num);
    static void gt(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `gt`: the same bits.
    static void gtSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void gtSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void gtSIMD(int* d, const float* a, float b, std::int64_t num);
    static void gtSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] >= b[i] ? 1 : 0.
    static void ge(int* d, const float* a, const float* b, std::int64_t num);
    static void ge(int* d, const double* a, const double* b, std::int64_t num);
    static void ge(int* d, const int* a, const int* b, std::int64_t num);
    static void ge(int* d, const float* a, float b, std::int64_t num);
    static void ge(int* d, const double* a, double b, std::int64_t num);
    static void ge(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `ge`: the same bits.
    static void geSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void geSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void geSIMD(int* d, const float* a, float b, std::int64_t num);
    static void geSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] == b[i] ? 1 : 0.
    static void eq(int* d, const float* a, const float* b, std::int64_t num);
    static void eq(int* d, const double* a, const double* b, std::int64_t num);
    static void eq(int* d, const int* a, const int* b, std::int64_t num);
    static void eq(int* d, const float* a, float b, std::int64_t num);
    static void eq(int* d, const double* a, double b, std::int64_t num);
    static void eq(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `eq`: the same bits.
    static void eqSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void eqSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void eqSIMD(int* d, const float* a, float b, std::int64_t num);
    static void eqSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] != b[i] ? 1 : 0.
    static void ne(int* d, const float* a, const float* b, std::int64_t num);
    static void ne(int* d, const double* a, const double* b, std::int64_t num);
    static void ne(int* d, const int* a, const int* b, std::int64_t num);
    static void ne(int* d, const float* a, float b, std::int64_t num);
    static void ne(int* d, const double* a, double b, std::int64_t num);
    static void ne(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `ne`: the same bits.
    static void neSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void neSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void neSIMD(int* d, const float* a, float b, std::int64_t num);
    static void neSIMD(int* d, const int* a, int b, std::int64_t num);
    /// @}

    /// @name Fast comparisons
    /// The comparisons with another word for true: -1 in a lane group, 1 elsewhere and on `double`. Test for
    /// 0 or not 0.
    /// @{

    /// d[i] = a[i] < b[i] ? 1 : 0. Lane: -1 for true.
    static void fastlt(int* d, const float* a, const float* b, std::int64_t num);
    static void fastlt(int* d, const double* a, const double* b, std::int64_t num);
    static void fastlt(int* d, const int* a, const int* b, std::int64_t num);
    static void fastlt(int* d, const float* a, float b, std::int64_t num);
    static void fastlt(int* d, const double* a, double b, std::int64_t num);
    static void fastlt(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] < b[i] ? -1 : 0 in lane groups, 1 for true elsewhere.
    static void fastltSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastltSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastltSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastltSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] <= b[i] ? 1 : 0. Lane: -1 for true.
    static void fastle(int* d, const float* a, const float* b, std::int64_t num);
    static void fastle(int* d, const double* a, const double* b, std::int64_t num);
    static void fastle(int* d, const int* a, const int* b, std::int64_t num);
    static void fastle(int* d, const float* a, float b, std::int64_t num);
    static void fastle(int* d, const double* a, double b, std::int64_t num);
    static void fastle(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] <= b[i] ? -1 : 0 in lane groups, 1 for true elsewhere.
    static void fastleSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastleSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastleSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastleSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] > b[i] ? 1 : 0. Lane: -1 for true.
    static void fastgt(int* d, const float* a, const float* b, std::int64_t num);
    static void fastgt(int* d, const double* a, const double* b, std::int64_t num);
    static void fastgt(int* d, const int* a, const int* b, std::int64_t num);
    static void fastgt(int* d, const float* a, float b, std::int64_t num);
    static void fastgt(int* d, const double* a, double b, std::int64_t num);
    static void fastgt(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] > b[i] ? -1 : 0 in lane groups, 1 for true elsewhere.
    static void fastgtSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastgtSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastgtSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastgtSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] >= b[i] ? 1 : 0. Lane: -1 for true.
    static void fastge(int* d, const float* a, const float* b, std::int64_t num);
    static void fastge(int* d, const double* a, const double* b, std::int64_t num);
    static void fastge(int* d, const int* a, const int* b, std::int64_t num);
    static void fastge(int* d, const float* a, float b, std::int64_t num);
    static void fastge(int* d, const double* a, double b, std::int64_t num);
    static void fastge(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] >= b[i] ? -1 : 0 in lane groups, 1 for true elsewhere.
    static void fastgeSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastgeSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastgeSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastgeSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] == b[i] ? 1 : 0. Lane: -1 for true.
    static void fasteq(int* d, const float* a, const float* b, std::int64_t num);
    static void fasteq(int* d, const double* a, const double* b, std::int64_t num);
    static void fasteq(int* d, const int* a, const int* b, std::int64_t num);
    static void fasteq(int* d, const float* a, float b, std::int64_t num);
    static void fasteq(int* d, const double* a, double b, std::int64_t num);
    static void fasteq(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] == b[i] ? -1 : 0 in lane groups, 1 for true elsewhere.
    static void fasteqSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fasteqSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fasteqSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fasteqSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] != b[i] ? 1 : 0. Lane: -1 for true.
    static void fastne(int* d, const float* a, const float* b, std::int64_t num);
    static void fastne(int* d, const double* a, const double* b, std::int64_t num);
    static void fastne(int* d, const int* a, const int* b, std::int64_t num);
    static void fastne(int* d, const float* a, float b, std::int64_t num);
    static void fastne(int* d, const double* a, double b, std::int64_t num);
    static void fastne(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] != b[i] ? -1 : 0 in lane groups, 1 for true elsewhere.
    static void fastneSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastneSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastneSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastneSIMD(int* d, const int* a, int b, std::int64_t num);
    /// @}

    /// @name Bit logic
    /// @{

    /// d[i] = a[i] & b[i].
    static void band(int* d, const int* a, const int* b, std::int64_t num);
    static void band(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `band`: the same bits.
    static void bandSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void bandSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] | b[i].
    static void bor(int* d, const int* a, const int* b, std::int64_t num);
    static void bor(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `bor`: the same bits.
    static void borSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void borSIMD(int* d, const int* a, int b, std::int64_t num);
    /// d[i] = a[i] ^ b[i].
    static void bxor(int* d, const int* a, const int* b, std::int64_t num);
    static void bxor(int* d, const int* a, int b, std::int64_t num);
    /// The lane form of `bxor`: the same bits.
    static void bxorSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void bxorSIMD(int* d, const int* a, int b, std::int64_t num);
    /// @}

    /// @name Fill, masked copy, exchange
    /// Everything moves as bits, the same by element and lane. With a mask, all of a must be readable, d is written
    /// back where it is kept, the mask mustn't be null, and its phase counts. Where a and b of `swap` overlap, pairs
    /// are exchanged in the order of work.
    /// @{

    /// d[i] = value. With a mask, d[i] = value or a[i] where mask[i] is 0.
    static void set(float* d, float value, std::int64_t num);
    static void set(int* d, int value, std::int64_t num);
    static void set(float* d, float value, std::int64_t num, const std::uint32_t* mask);
    static void set(int* d, int value, std::int64_t num, const std::uint32_t* mask);
    static void set(float* d, const float* a, std::int64_t num, const std::uint32_t* mask);
    static void set(int* d, const int* a, std::int64_t num, const std::uint32_t* mask);
    /// The lane form of `set`: the same bits.
    static void setSIMD(float* d, float value, std::int64_t num);
    static void setSIMD(int* d, int value, std::int64_t num, const std::uint32_t* mask);
    static void setSIMD(int* d, const int* a, std::int64_t num, const std::uint32_t* mask);
    /// Exchanges a[i] and b[i].
    static void swap(float* a, float* b, std::int64_t num);
    static void swap(double* a, double* b, std::int64_t num);
    /// The lane form of `swap`: the same bits.
    static void swapSIMD(float* a, float* b, std::int64_t num);
    /// @}

    /// @name Float to integer
    /// NaN, infinities and what doesn't fit give -2147483648 (the definition of cvttps2dq), and 1 less wraps. By
    /// element frac is rounded as the caller has it. So `splitFloat` of -2 is -3 and 1 by element, -2 and -0 by lane.
    /// By element it gives -16777219 and 2 for -16777218, where float(d) is rounded, and 2147483647 for -infinity. The
    /// lane loops of `floor` and `splitFloat` switch the thread's rounding mode and restore it. Without a, frac is the
    /// source. Where d and frac overlap, d is written first.
    /// @{

    /// d[i] = a[i] truncated.
    static void cast(int* d, const float* a, std::int64_t num);
    /// The lane form of `cast`: the same bits.
    static void castSIMD(int* d, const float* a, std::int64_t num);
    /// d[i] = a[i] rounded down. Lane: 0 for a denormal that the mode takes for a zero.
    static void floor(int* d, const float* a, std::int64_t num);
    /// The lane form of `floor`: 0 for a denormal that the mode takes for a zero.
    static void floorSIMD(int* d, const float* a, std::int64_t num);
    /// d[i] = a[i] truncated, 1 less where a[i] < 0; frac[i] = a[i] - float(d[i]). Lane: d[i] = a[i] rounded down.
    static void splitFloat(int* d, float* frac, const float* a, std::int64_t num);
    static void splitFloat(int* d, float* frac, std::int64_t num);
    /// d[i] = a[i] rounded down, frac[i] = a[i] - float(d[i]) rounded down, in lane groups. A 0 in frac is -0 there.
    static void splitFloatSIMD(int* d, float* frac, const float* a, std::int64_t num);
    static void splitFloatSIMD(int* d, float* frac, std::int64_t num);
    /// @}

    /// @name White point
    /// `wpoint` stores the low 8 or 16 bits of x = scale * a[i] + (black + 0.5), clamped and truncated. Nothing
    /// saturates: 300 stores 44 in 8 bits, and 2^31 or more stores 0.
    ///
    /// | form    | clamp                                         | x NaN, limit > 0      | limit not above 0, or NaN    |
    /// |---------|-----------------------------------------------|-----------------------|------------------------------|
    /// | element | 0 if x <= 0, else limit if x >= limit, else x | NaN; 0 in 8, 16 bits  | limit for x > 0; NaN: none   |
    /// | lane    | y = x < limit ? x : limit; y > 0 ? y : 0      | limit                 | 0                            |
    ///
    /// With 8 and 16 bits only the phase of a counts, d may lie anywhere, and there is no fallback route.
    ///
    /// 1 / scale of `iwpoint` is rounded first. For 8 and 16 bits the difference is an `int`, so it is never -0.
    /// Element and lane form differ in order: with the flag set the last num mod 4 elements come first, downward, then
    /// the others upward. With black 0, scale 255 and 8 bits, where they differ in bits too, all of it is upward. d may
    /// be a where both are `float`.
    /// @{

    /// d[i] = scale * a[i] + (black + 0.5), clamped to 0 and limit, truncated where d isn't `float`.
    static void wpoint(float* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpoint(std::uint16_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpoint(std::uint8_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    /// The lane form of `wpoint`: a NaN gives a limit above 0.
    static void wpointSIMD(float* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpointSIMD(std::uint16_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpointSIMD(std::uint8_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    /// d[i] = (a[i] - black) * (1 / scale). Lane, 8 bits, black 0, scale 255: a[i] / 255 to six decimals.
    static void iwpoint(float* d, const float* a, float scale, float black, std::int64_t num);
    static void iwpoint(float* d, const std::uint16_t* a, float scale, std::uint16_t black, std::int64_t num);
    static void iwpoint(float* d, const std::uint8_t* a, float scale, std::uint8_t black, std::int64_t num);
    /// The lane form of `iwpoint`, in another order.
    static void iwpointSIMD(float* d, const float* a, float scale, float black, std::int64_t num);
    static void iwpointSIMD(float* d, const std::uint16_t* a, float scale, std::uint16_t black, std::int64_t num);
    static void iwpointSIMD(float* d, const std::uint8_t* a, float scale, std::uint8_t black, std::int64_t num);
    /// @}

    /// @name Dot product
    /// The sum starts from +0, in `double`. A block is up to 256 lane groups, summed in `float`: one sum a lane, then
    /// ((lane 0 + lane 1) + lane 2) + lane 3. So a block can overflow where `dotSISD` doesn't. Lead-in and tail are
    /// sums of `dotSISD`. The bits depend on phases, num, flag and modes, and on no thread.
    /// @{

    /// The sum of a[i] * b[i], each rounded to `float`: `dotSIMD` with the flag set, else `dotSISD`.
    static double dot(const float* a, const float* b, std::int64_t num);
    /// The sum of lead-in, tail, then blocks of lane groups, upward. Where phases differ: `dotSISD`.
    static double dotSIMD(const float* a, const float* b, std::int64_t num);
    /// The sum element by element, upward, in `double`.
    static double dotSISD(const float* a, const float* b, std::int64_t num);
    /// @}

    /// @name Update and reduce
    /// Each writes d and returns a sum of products in `float`, in the order of `dot`. b of `maddAndNorm` is narrowed to
    /// `float` if the flag is set.
    /// @{

    /// d[i] = d[i] + b * a[i]. Gives the sum of d[i] * d[i].
    static double maddAndNorm(float* d, const float* a, double b, std::int64_t num);
    /// The lane form of `maddAndNorm`: in lane groups product and sum are `float`. Sums as `dotSIMD` does.
    static double maddAndNormSIMD(float* d, const float* a, float b, std::int64_t num);
    /// The element form of `maddAndNorm`: product and sum are rounded to `double`, d[i] to `float`. Sums upward.
    static double maddAndNormSISD(float* d, const float* a, double b, std::int64_t num);
    /// d[i] = b[i] * a[i]. Gives the sum of d[i] * a[i], read after d[i] is written.
    static double mulAndDotDA(float* d, const float* a, const float* b, std::int64_t num);
    /// The lane form of `mulAndDotDA`. Sums as `dotSIMD` does.
    static double mulAndDotDASIMD(float* d, const float* a, const float* b, std::int64_t num);
    /// The element form of `mulAndDotDA`. Sums upward.
    static double mulAndDotDASISD(float* d, const float* a, const float* b, std::int64_t num);
    /// @}

    /// @name Zero count
    /// The word of the `float` -0 isn't 0.
    /// @{

    /// How many a[i] are 0, modulo 2^32.
    static int zerocount(const int* a, std::int64_t num);
    /// The lane form of `zerocount`: the same count.
    static int zerocountSIMD(const int* a, std::int64_t num);
    /// The element form of `zerocount`: the same count.
    static int zerocountSISD(const int* a, std::int64_t num);
    /// @}

    /// @name Matrix-vector streams
    /// d holds num vectors, each replaced by its product with m, rows of four floats. A vector whose mask entry isn't 0
    /// is neither read nor written. A null mask leaves none out.
    ///
    /// The rows and columns that a member reads are those of m. The members with 44 in their name have four floats a
    /// vector, the others three. Element and lane form differ: `mulColVec44` and `mulRowVec44` sum (w term + z term) +
    /// (y term + x term), for all vectors, if the flag is set and d lies on a 16-byte boundary. A 0 in m isn't skipped:
    /// 0 * infinity is NaN. Where m lies in the stream, element sums read it anew for each vector, lane sums once at
    /// the call. Where the mask does, each entry is read when its vector is reached.
    /// @{

    /// Component j of each x y z w = ((x m[j][0] + y m[j][1]) + z m[j][2]) + w m[j][3]. Reads all of m.
    static void mulColVec44(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z = (x m[j][0] + y m[j][1]) + z m[j][2], and w stays. Reads rows and columns 0 to 2.
    static void mulColVec44_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z = ((x m[j][0] + y m[j][1]) + z m[j][2]) + m[j][3]. Reads rows 0 to 2.
    static void mulColVec34(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z = (x m[j][0] + y m[j][1]) + z m[j][2]. Reads rows and columns 0 to 2.
    static void mulColVec34_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z w = ((x m[0][j] + y m[1][j]) + z m[2][j]) + w m[3][j]. Reads all of m.
    static void mulRowVec44(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z = (x m[0][j] + y m[1][j]) + z m[2][j], and w stays. Reads rows and columns 0 to 2.
    static void mulRowVec44_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z = ((x m[0][j] + y m[1][j]) + z m[2][j]) + m[3][j]. Reads columns 0 to 2.
    static void mulRowVec34(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// Component j of each x y z = (x m[0][j] + y m[1][j]) + z m[2][j]. Reads rows and columns 0 to 2.
    static void mulRowVec34_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// @}

    /// @name Four-lane streams
    /// b has four floats. The mask is as above. Element and lane form differ only where b lies in the stream.
    /// Lanes, from 4 vectors on a 16-byte boundary on, read b once at the call. Elements read b[k] anew for
    /// each component. `vadd4u4` of five vectors of ones, with b = d, gives five of twos by lane, and 2 3 3 3 3
    /// in each component by element.
    /// @{

    /// v = v + b for each vector v of four floats.
    static void vadd4u4(float* d, const float* b, std::int64_t num, const std::uint32_t* mask);
    /// v = v - b for each vector v of four floats.
    static void vsub4u4(float* d, const float* b, std::int64_t num, const std::uint32_t* mask);
    /// v = v * b for each vector v of four floats, component by component.
    static void vmul4u4(float* d, const float* b, std::int64_t num, const std::uint32_t* mask);
    /// @}

private:
    static bool theSIMD;
};

#endif
