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
/// (vectors in the stream members). A `num` of 0 or less reads and writes nothing, in every member, and
/// pointers may then be null. Arrays must be aligned to their elements, and need be to nothing more; on an
/// array that isn't, lane groups may crash, and element loops happen to work. No member reads or writes
/// outside elements 0 to num - 1, allocates, throws, keeps a pointer, or inspects an argument beyond what is
/// said here: NaN and infinities are results, not errors. A count beyond the end of an array isn't seen by
/// the caller's own address sanitizer, since the library is built without; a library built with it sees it.
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
///    element formula; then the tail, the 0 to 3 elements behind the last lane group, from the last one
///    downward, by the element formula; then the lane groups, four elements on a 16-byte boundary each,
///    upward, by the lane formula: all four read, computed, written.
///  - Not all equal, the fallback route: an element loop over everything.
///
/// So which formula an element meets depends on addresses and num, never on its value. Where the two forms
/// part, the same data at another address can give other bits; with the flag clear it can't.
///
/// **Overlap.** `d` may be the same array as any source of the same element size, except where a block
/// says otherwise: the result is that of separate arrays. Any other overlap gives exactly what the order
/// of work above gives.
///
/// **Arithmetic** follows IEEE 754 in the element type, under the calling thread's rounding and denormal
/// modes. A product is rounded before it is added; nothing is fused, as it may be in a loop of the caller's
/// own that isn't compiled with -ffp-contract=off. A NaN operand of arithmetic gives that NaN, quieted.
/// Infinity minus or by infinity and 0 times infinity give the processor's default NaN, bits 0xFFC00000 in
/// `float` and 0xFFF8000000000000 in `double`. Where two NaNs meet in one addition or multiplication, which
/// of them comes out is not fixed; a subtraction or division gives the left one. Which floating-point
/// exceptions are raised is fixed only where a block says so.
///
/// **Threads.** Any thread may call any member but forceSIMD() at any time, as long as no element that one
/// call writes is read or written by another at once: parts of one array are fine. The flag is one plain byte
/// for the whole process, and a change of it reaches the next call of every thread: set it before any thread
/// but the first starts.
class __attribute__((visibility("default"))) ZEL_Math {
public:
    /// @name The flag
    /// Set at load if the processor has SSE, which every x86-64 processor has; one plain byte for the
    /// process, read once by each call that heeds it, at its start. Where the processor word denies SSE,
    /// the flag stays clear, and the library writes "Disabling SSE vector functions." and a line end to
    /// standard error if the environment variable QUARNEL_VERBOSE_ERROR exists and doesn't start with 0. An
    /// empty one counts too.
    /// @{

    /// Stores the flag. A call that is running goes on as it began. Nothing is checked: lane code on a
    /// processor without SSE is the caller's fault.
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

    /// @name Division
    /// d[i] = a[i] / b[i]. `fdiv` is `div` with another lane form on `float`.
    ///
    /// | form                               | element                    | lane                                    |
    /// |------------------------------------|----------------------------|-----------------------------------------|
    /// | `div`, two arrays or value / array | a / b, rounded once        | the same bits                           |
    /// | `fdiv`, the same                   | a / b, rounded once        | a times rcpps(b), the estimate of 1 / b |
    /// | either, array / `float` value      | r = 1 / b once, then `mul` | the same bits, rounded twice            |
    ///
    /// The estimate is off by at most 1.5 * 2^-12 of the reciprocal (the definition of rcpps); its bits are
    /// the processor's. It takes a denormal divisor as a zero of its sign, and gives a zero where the
    /// reciprocal would be denormal. A divisor value of magnitude 2^-128 or less has an infinite reciprocal
    /// in rounding to nearest; rounding toward zero, down where it is positive, or up where it is negative
    /// makes that the largest finite number. No divisor is looked at: x / 0 is an infinity, 0 / 0 a NaN. With
    /// the flag clear `fdiv` gives the bits of `div`.
    /// @{
    static void div(float* d, const float* a, const float* b, std::int64_t num);
    static void div(double* d, const double* a, const double* b, std::int64_t num);
    static void div(float* d, const float* a, float b, std::int64_t num);
    static void div(float* d, float a, const float* b, std::int64_t num);
    static void div(double* d, double a, const double* b, std::int64_t num);
    static void divSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void divSIMD(float* d, float a, const float* b, std::int64_t num);

    static void fdiv(float* d, const float* a, const float* b, std::int64_t num);
    static void fdiv(double* d, const double* a, const double* b, std::int64_t num);
    static void fdiv(float* d, const float* a, float b, std::int64_t num);
    static void fdiv(float* d, float a, const float* b, std::int64_t num);
    static void fdiv(double* d, double a, const double* b, std::int64_t num);
    static void fdivSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void fdivSIMD(float* d, float a, const float* b, std::int64_t num);
    /// @}

    /// @name Guarded division
    /// d[i] = a[i] / b[i], and a zero where b[i] is +0 or -0 and a[i] a finite number. Only the divisor is
    /// guarded: a quotient can overflow. What a zero divisor gives:
    ///
    /// | dividend          | element form; lanes of array / array | lanes of value / array; array / value |
    /// |-------------------|--------------------------------------|---------------------------------------|
    /// | positive, +0      | +0                                   | +0                                    |
    /// | negative, -0      | -0                                   | +0                                    |
    /// | infinity          | NaN, the default one                 | +0                                    |
    /// | NaN               | that NaN                             | +0                                    |
    ///
    /// Any other divisor gives the quotient rounded once, the same bits in both forms; a NaN divisor
    /// gives NaN. In array / value, one test of b: a zero fills d with +0 without reading a, anything
    /// else is `mul` by r = 1 / b, two roundings, with an infinite r for a magnitude of 2^-128 or less in
    /// rounding to nearest.
    /// @{
    static void safediv(float* d, const float* a, const float* b, std::int64_t num);
    static void safediv(double* d, const double* a, const double* b, std::int64_t num);
    static void safediv(float* d, const float* a, float b, std::int64_t num);
    static void safediv(float* d, float a, const float* b, std::int64_t num);
    static void safediv(double* d, double a, const double* b, std::int64_t num);
    static void safedivSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void safedivSIMD(float* d, float a, const float* b, std::int64_t num);
    /// @}

    /// @name Reciprocal and roots
    /// `invert`: 1 / a[i]. `sqrt`, `fsqrt`: the root of a[i]. `isqrt`: 1 / root of a[i], rounded twice.
    ///
    /// | member   | element           | lane                                      |
    /// |----------|-------------------|-------------------------------------------|
    /// | `invert` | 1 / a             | estimate rcpps(a)                         |
    /// | `sqrt`   | root of a         | the same bits                             |
    /// | `fsqrt`  | root of a         | rcpps(rsqrtps(a)), the error of both      |
    /// | `isqrt`  | 1 / root of a     | estimate rsqrtps(a)                       |
    ///
    /// An estimate is off by at most 1.5 * 2^-12 (the definitions of rcpps and rsqrtps), unrefined; its bits
    /// are the processor's, and 1 need not give 1. Element roots and quotients are correctly rounded (IEEE
    /// 754). At the edges:
    ///
    /// | a              | root     | `fsqrt` lane | `isqrt`    | `isqrt` lane | `invert`   | `invert` lane   |
    /// |----------------|----------|--------------|------------|--------------|------------|-----------------|
    /// | +0, -0         | +0, -0   | +0, -0       | +inf, -inf | +inf, -inf   | +inf, -inf | +inf, -inf      |
    /// | denormal > 0   | root     | +0           | finite     | +inf         | 1 / a (1)  | +inf            |
    /// | denormal < 0   | NaN      | -0           | NaN        | -inf         | 1 / a (1)  | -inf            |
    /// | other < 0      | NaN      | NaN          | NaN        | NaN          | 1 / a      | estimate        |
    /// | +inf           | +inf     | +inf         | +0         | +0           | +0         | +0              |
    /// | NaN            | NaN      | NaN          | NaN        | NaN          | NaN        | NaN             |
    /// | 1 / a denormal | as above | as above     | as above   | as above     | denormal   | zero, sign of a |
    ///
    /// (1) in rounding to nearest an infinity for a magnitude of 2^-128 or less; the other modes are those of
    /// the division. NaN gives NaN. On `double`, `fsqrt` is `sqrt`.
    /// @{
    static void invert(float* d, const float* a, std::int64_t num);
    static void invert(double* d, const double* a, std::int64_t num);
    static void invertSIMD(float* d, const float* a, std::int64_t num);

    static void sqrt(float* d, const float* a, std::int64_t num);
    static void sqrt(double* d, const double* a, std::int64_t num);
    static void sqrtSIMD(float* d, const float* a, std::int64_t num);

    static void fsqrt(float* d, const float* a, std::int64_t num);
    static void fsqrt(double* d, const double* a, std::int64_t num);
    static void fsqrtSIMD(float* d, const float* a, std::int64_t num);

    static void isqrt(float* d, const float* a, std::int64_t num);
    static void isqrt(double* d, const double* a, std::int64_t num);
    static void isqrtSIMD(float* d, const float* a, std::int64_t num);
    /// @}

    /// @name Sign and range
    /// Magnitude, opposite, the lesser, the greater, and the range lo to hi. A comparison with a
    /// NaN is false.
    ///
    /// | member   | element                                 | lane                                  |
    /// |----------|-----------------------------------------|---------------------------------------|
    /// | `abs`    | sign bit cleared                        | t = 0 - a; t > a ? t : a              |
    /// | `negate` | sign bit flipped                        | 0 - a                                 |
    /// | `zelmin` | b < a ? b : a                           | a < b ? a : b                         |
    /// | `zelmax` | b > a ? b : a                           | a > b ? a : b                         |
    /// | `clamp`  | lo if lo >= a, else hi if hi <= a, else a | t = hi < a ? hi : a; lo > t ? lo : t |
    ///
    /// The forms part on zeros and NaN: `abs` of -0 is +0 by element and -0 by lane, and of a NaN has its
    /// sign cleared by element and kept by lane; `negate` of +0 is -0 by element and +0 by lane (-0 by both
    /// where the thread rounds down), and a NaN's sign is flipped by element and kept by lane. In `zelmin`
    /// and `zelmax`, a NaN on one side gives a by element (a NaN in a survives) and b by lane; so do zeros of
    /// two signs. In `clamp`, a NaN in a comes through and a NaN bound is no bound, in both forms; an a equal
    /// to a bound gives the bound by element and a by lane, which shows on zeros; with lo > hi the element
    /// form gives lo up to lo and hi above, the lane form lo for every number: of 2 between 1 and 0 the one
    /// makes 0, the other 1. Bits pass unchanged, signalling NaNs too, except that a lane `negate` quiets.
    /// (In the denormals-are-zero mode minps and maxps give zeros for denormals: the lane forms of `abs`,
    /// `zelmin`, `zelmax` and `clamp` do; an element form gives the bits of what it chose.)
    /// @{
    static void abs(float* d, const float* a, std::int64_t num);
    static void abs(double* d, const double* a, std::int64_t num);
    static void absSIMD(float* d, const float* a, std::int64_t num);

    static void negate(float* d, const float* a, std::int64_t num);
    static void negate(double* d, const double* a, std::int64_t num);
    static void negateSIMD(float* d, const float* a, std::int64_t num);

    static void zelmin(float* d, const float* a, const float* b, std::int64_t num);
    static void zelmin(double* d, const double* a, const double* b, std::int64_t num);
    static void zelmin(float* d, const float* a, float b, std::int64_t num);
    static void zelmin(double* d, const double* a, double b, std::int64_t num);
    static void zelminSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void zelminSIMD(float* d, const float* a, float b, std::int64_t num);

    static void zelmax(float* d, const float* a, const float* b, std::int64_t num);
    static void zelmax(double* d, const double* a, const double* b, std::int64_t num);
    static void zelmax(float* d, const float* a, float b, std::int64_t num);
    static void zelmax(double* d, const double* a, double b, std::int64_t num);
    static void zelmaxSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void zelmaxSIMD(float* d, const float* a, float b, std::int64_t num);

    static void clamp(float* d, const float* a, float lo, float hi, std::int64_t num);
    static void clampSIMD(float* d, const float* a, float lo, float hi, std::int64_t num);
    /// @}

    /// @name Multiply-add
    /// `madd`: d[i] = d[i] + a[i] * b[i]. `scaleoffset`: d[i] = d[i] * a[i] + b[i]. The product is rounded,
    /// then the sum: element and lane form give the same bits, but for which of two NaNs comes out.
    ///
    /// `lerp` goes from a (c = 0) to b (c = 1). It has no SIMD member; the flag chooses the formula:
    ///
    /// | c     | flag clear                  | flag set                  | made of                                    |
    /// |-------|-----------------------------|---------------------------|--------------------------------------------|
    /// | array | (b[i] - a[i]) * c[i] + a[i] | the same bits             | subSIMD(d, b, a), scaleoffsetSIMD(d, c, a) |
    /// | value | (b[i] - a[i]) * c + a[i]    | a[i] * (1 - c) + b[i] * c | mulSIMD(d, a, 1 - c), maddSIMD(d, b, c)    |
    ///
    /// With the flag set d holds the result of the first call during the second. So d may be b, but must not
    /// overlap a or c, where c is an array; and may be a, but must not overlap b, where c is a value. With
    /// the flag clear, d may be any of them. The flag is read once.
    /// @{
    static void madd(float* d, const float* a, const float* b, std::int64_t num);
    static void madd(double* d, const double* a, const double* b, std::int64_t num);
    static void madd(float* d, const float* a, float b, std::int64_t num);
    static void madd(double* d, const double* a, double b, std::int64_t num);
    static void maddSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void maddSIMD(float* d, const float* a, float b, std::int64_t num);

    static void scaleoffset(float* d, const float* a, const float* b, std::int64_t num);
    static void scaleoffset(double* d, const double* a, const double* b, std::int64_t num);
    static void scaleoffset(float* d, const float* a, float b, std::int64_t num);
    static void scaleoffset(double* d, const double* a, double b, std::int64_t num);
    static void scaleoffset(float* d, float a, const float* b, std::int64_t num);
    static void scaleoffset(double* d, double a, const double* b, std::int64_t num);
    static void scaleoffset(float* d, float a, float b, std::int64_t num);
    static void scaleoffset(double* d, double a, double b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, const float* a, const float* b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, const float* a, float b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, float a, const float* b, std::int64_t num);
    static void scaleoffsetSIMD(float* d, float a, float b, std::int64_t num);

    static void lerp(float* d, const float* a, const float* b, const float* c, std::int64_t num);
    static void lerp(float* d, const float* a, const float* b, float c, std::int64_t num);
    /// @}

    /// @name Comparisons
    /// d[i] = 1 where a[i] < b[i] (`lt`), <= (`le`), > (`gt`), >= (`ge`), == (`eq`), != (`ne`), else 0: the
    /// same words on every route.
    ///
    /// `float` and `double` compare by IEEE 754: a NaN is unordered, so `ne` gives 1 and the others 0; +0
    /// equals -0. `lt`, `le`, `gt` and `ge` raise the invalid flag on any `float` or `double` NaN, `eq` and
    /// `ne` on signalling ones only. d may be a or b of `float` and `int`.
    /// @{
    static void lt(int* d, const float* a, const float* b, std::int64_t num);
    static void lt(int* d, const double* a, const double* b, std::int64_t num);
    static void lt(int* d, const int* a, const int* b, std::int64_t num);
    static void lt(int* d, const float* a, float b, std::int64_t num);
    static void lt(int* d, const double* a, double b, std::int64_t num);
    static void lt(int* d, const int* a, int b, std::int64_t num);
    static void ltSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void ltSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void ltSIMD(int* d, const float* a, float b, std::int64_t num);
    static void ltSIMD(int* d, const int* a, int b, std::int64_t num);

    static void le(int* d, const float* a, const float* b, std::int64_t num);
    static void le(int* d, const double* a, const double* b, std::int64_t num);
    static void le(int* d, const int* a, const int* b, std::int64_t num);
    static void le(int* d, const float* a, float b, std::int64_t num);
    static void le(int* d, const double* a, double b, std::int64_t num);
    static void le(int* d, const int* a, int b, std::int64_t num);
    static void leSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void leSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void leSIMD(int* d, const float* a, float b, std::int64_t num);
    static void leSIMD(int* d, const int* a, int b, std::int64_t num);

    static void gt(int* d, const float* a, const float* b, std::int64_t num);
    static void gt(int* d, const double* a, const double* b, std::int64_t num);
    static void gt(int* d, const int* a, const int* b, std::int64_t num);
    static void gt(int* d, const float* a, float b, std::int64_t num);
    static void gt(int* d, const double* a, double b, std::int64_t num);
    static void gt(int* d, const int* a, int b, std::int64_t num);
    static void gtSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void gtSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void gtSIMD(int* d, const float* a, float b, std::int64_t num);
    static void gtSIMD(int* d, const int* a, int b, std::int64_t num);

    static void ge(int* d, const float* a, const float* b, std::int64_t num);
    static void ge(int* d, const double* a, const double* b, std::int64_t num);
    static void ge(int* d, const int* a, const int* b, std::int64_t num);
    static void ge(int* d, const float* a, float b, std::int64_t num);
    static void ge(int* d, const double* a, double b, std::int64_t num);
    static void ge(int* d, const int* a, int b, std::int64_t num);
    static void geSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void geSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void geSIMD(int* d, const float* a, float b, std::int64_t num);
    static void geSIMD(int* d, const int* a, int b, std::int64_t num);

    static void eq(int* d, const float* a, const float* b, std::int64_t num);
    static void eq(int* d, const double* a, const double* b, std::int64_t num);
    static void eq(int* d, const int* a, const int* b, std::int64_t num);
    static void eq(int* d, const float* a, float b, std::int64_t num);
    static void eq(int* d, const double* a, double b, std::int64_t num);
    static void eq(int* d, const int* a, int b, std::int64_t num);
    static void eqSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void eqSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void eqSIMD(int* d, const float* a, float b, std::int64_t num);
    static void eqSIMD(int* d, const int* a, int b, std::int64_t num);

    static void ne(int* d, const float* a, const float* b, std::int64_t num);
    static void ne(int* d, const double* a, const double* b, std::int64_t num);
    static void ne(int* d, const int* a, const int* b, std::int64_t num);
    static void ne(int* d, const float* a, float b, std::int64_t num);
    static void ne(int* d, const double* a, double b, std::int64_t num);
    static void ne(int* d, const int* a, int b, std::int64_t num);
    static void neSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void neSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void neSIMD(int* d, const float* a, float b, std::int64_t num);
    static void neSIMD(int* d, const int* a, int b, std::int64_t num);
    /// @}

    /// @name Fast comparisons
    /// The comparisons with one step less in the lanes: a true relation is -1 (all bits set) in a lane group
    /// and 1 anywhere else. Only 0 and not 0 can be told apart by a caller. `double` forms give 0 and 1.
    /// @{
    static void fastlt(int* d, const float* a, const float* b, std::int64_t num);
    static void fastlt(int* d, const double* a, const double* b, std::int64_t num);
    static void fastlt(int* d, const int* a, const int* b, std::int64_t num);
    static void fastlt(int* d, const float* a, float b, std::int64_t num);
    static void fastlt(int* d, const double* a, double b, std::int64_t num);
    static void fastlt(int* d, const int* a, int b, std::int64_t num);
    static void fastltSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastltSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastltSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastltSIMD(int* d, const int* a, int b, std::int64_t num);

    static void fastle(int* d, const float* a, const float* b, std::int64_t num);
    static void fastle(int* d, const double* a, const double* b, std::int64_t num);
    static void fastle(int* d, const int* a, const int* b, std::int64_t num);
    static void fastle(int* d, const float* a, float b, std::int64_t num);
    static void fastle(int* d, const double* a, double b, std::int64_t num);
    static void fastle(int* d, const int* a, int b, std::int64_t num);
    static void fastleSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastleSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastleSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastleSIMD(int* d, const int* a, int b, std::int64_t num);

    static void fastgt(int* d, const float* a, const float* b, std::int64_t num);
    static void fastgt(int* d, const double* a, const double* b, std::int64_t num);
    static void fastgt(int* d, const int* a, const int* b, std::int64_t num);
    static void fastgt(int* d, const float* a, float b, std::int64_t num);
    static void fastgt(int* d, const double* a, double b, std::int64_t num);
    static void fastgt(int* d, const int* a, int b, std::int64_t num);
    static void fastgtSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastgtSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastgtSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastgtSIMD(int* d, const int* a, int b, std::int64_t num);

    static void fastge(int* d, const float* a, const float* b, std::int64_t num);
    static void fastge(int* d, const double* a, const double* b, std::int64_t num);
    static void fastge(int* d, const int* a, const int* b, std::int64_t num);
    static void fastge(int* d, const float* a, float b, std::int64_t num);
    static void fastge(int* d, const double* a, double b, std::int64_t num);
    static void fastge(int* d, const int* a, int b, std::int64_t num);
    static void fastgeSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastgeSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastgeSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastgeSIMD(int* d, const int* a, int b, std::int64_t num);

    static void fasteq(int* d, const float* a, const float* b, std::int64_t num);
    static void fasteq(int* d, const double* a, const double* b, std::int64_t num);
    static void fasteq(int* d, const int* a, const int* b, std::int64_t num);
    static void fasteq(int* d, const float* a, float b, std::int64_t num);
    static void fasteq(int* d, const double* a, double b, std::int64_t num);
    static void fasteq(int* d, const int* a, int b, std::int64_t num);
    static void fasteqSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fasteqSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fasteqSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fasteqSIMD(int* d, const int* a, int b, std::int64_t num);

    static void fastne(int* d, const float* a, const float* b, std::int64_t num);
    static void fastne(int* d, const double* a, const double* b, std::int64_t num);
    static void fastne(int* d, const int* a, const int* b, std::int64_t num);
    static void fastne(int* d, const float* a, float b, std::int64_t num);
    static void fastne(int* d, const double* a, double b, std::int64_t num);
    static void fastne(int* d, const int* a, int b, std::int64_t num);
    static void fastneSIMD(int* d, const float* a, const float* b, std::int64_t num);
    static void fastneSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void fastneSIMD(int* d, const float* a, float b, std::int64_t num);
    static void fastneSIMD(int* d, const int* a, int b, std::int64_t num);
    /// @}

    /// @name Bit logic
    /// `band`: d[i] = a[i] & b[i]. `bor`: a[i] | b[i]. `bxor`: a[i] ^ b[i]. The same words on every route.
    /// @{
    static void band(int* d, const int* a, const int* b, std::int64_t num);
    static void band(int* d, const int* a, int b, std::int64_t num);
    static void bandSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void bandSIMD(int* d, const int* a, int b, std::int64_t num);

    static void bor(int* d, const int* a, const int* b, std::int64_t num);
    static void bor(int* d, const int* a, int b, std::int64_t num);
    static void borSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void borSIMD(int* d, const int* a, int b, std::int64_t num);

    static void bxor(int* d, const int* a, const int* b, std::int64_t num);
    static void bxor(int* d, const int* a, int b, std::int64_t num);
    static void bxorSIMD(int* d, const int* a, const int* b, std::int64_t num);
    static void bxorSIMD(int* d, const int* a, int b, std::int64_t num);
    /// @}

    /// @name Fill, masked copy, exchange
    /// `set` without a mask fills d. With one, d[i] = value or a[i] where mask[i] is 0, and keeps its bits
    /// where mask[i] is anything else. `swap` exchanges a[i] and b[i].
    ///
    /// Everything moves as bits, signalling NaNs and -0 too, the same on every route. A kept element is
    /// still written back, and a is read at every element, whatever the mask; mask must not be null. The
    /// mask is an array like any other in the phase test. The `float` forms with a mask go on in the `int`
    /// members; the fill on `int` has no lanes. With a and b of `swap` overlapping, pairs are exchanged in
    /// the order of work.
    /// @{
    static void set(float* d, float value, std::int64_t num);
    static void set(int* d, int value, std::int64_t num);
    static void set(float* d, float value, std::int64_t num, const std::uint32_t* mask);
    static void set(int* d, int value, std::int64_t num, const std::uint32_t* mask);
    static void set(float* d, const float* a, std::int64_t num, const std::uint32_t* mask);
    static void set(int* d, const int* a, std::int64_t num, const std::uint32_t* mask);
    static void setSIMD(float* d, float value, std::int64_t num);
    static void setSIMD(int* d, int value, std::int64_t num, const std::uint32_t* mask);
    static void setSIMD(int* d, const int* a, std::int64_t num, const std::uint32_t* mask);

    static void swap(float* a, float* b, std::int64_t num);
    static void swap(double* a, double* b, std::int64_t num);
    static void swapSIMD(float* a, float* b, std::int64_t num);
    /// @}

    /// @name Float to integer
    /// `cast` truncates toward zero, `floor` rounds down; both the same on every route, but that a negative
    /// denormal in denormals-are-zero mode has the floor 0 in lanes and -1 elsewhere. `splitFloat` gives an
    /// integer part in d and the rest in frac; without a, frac is the source too. NaN, infinities and what
    /// doesn't fit `int` give -2147483648 (the integer indefinite value of cvttps2dq). Only `splitFloat` by
    /// elements gives 2147483647 for -2147483648 and all below, since it takes one off and wraps.
    ///
    /// The two forms of `splitFloat` are different operations:
    ///
    /// | form    | d                                      | frac                                         |
    /// |---------|----------------------------------------|----------------------------------------------|
    /// | element | truncation, one less for a < 0 (wraps) | a - (float)d, rounded as the caller has it   |
    /// | lane    | floor                                  | a - (float)d, rounded down: an exact 0 is -0 |
    ///
    /// | a         | element           | lane              |
    /// |-----------|-------------------|-------------------|
    /// | 2.5       | 2, 0.5            | 2, 0.5            |
    /// | 2         | 2, +0             | 2, -0             |
    /// | -2        | -3, 1             | -2, -0            |
    /// | -1e-10    | -1, 1             | -1, 0.99999994    |
    /// | -infinity | 2147483647, -inf  | -2147483648, -inf |
    ///
    /// The lane loops of `floor` and `splitFloat` switch this thread's rounding control and put it back, at
    /// some 60 cycles a call; flags they raise remain. d, frac and a must share their phase for the lanes. d
    /// and frac overlapping is the order of work: d is written before frac.
    /// @{
    static void cast(int* d, const float* a, std::int64_t num);
    static void castSIMD(int* d, const float* a, std::int64_t num);

    static void floor(int* d, const float* a, std::int64_t num);
    static void floorSIMD(int* d, const float* a, std::int64_t num);

    static void splitFloat(int* d, float* frac, const float* a, std::int64_t num);
    static void splitFloat(int* d, float* frac, std::int64_t num);
    static void splitFloatSIMD(int* d, float* frac, const float* a, std::int64_t num);
    static void splitFloatSIMD(int* d, float* frac, std::int64_t num);
    /// @}

    /// @name White point
    /// `wpoint` maps floats to stored samples: x = scale * a[i] + (black + 0.5), clamped to 0..limit,
    /// truncated, the low 8 or 16 bits stored. Nothing saturates: 300 stores 44 in 8 bits, and a
    /// clamped value of 2^31 or above stores 0. On `float` samples there is no truncation, and the 0.5
    /// stays in the result.
    ///
    /// | form    | clamp                                         | NaN sample, limit > 0       |
    /// |---------|-----------------------------------------------|-----------------------------|
    /// | element | 0 if x <= 0, else limit if x >= limit, else x | NaN; stores 0 in 8, 16 bits |
    /// | lane    | y = x < limit ? x : limit; y > 0 ? y : 0      | limit                       |
    ///
    /// A negative limit, -0 too, gives limit for x > 0 by element, 0 by lane; a NaN limit is none by element
    /// and gives 0 by lane. With 8 and 16 bits only the phase of a counts: there is no fallback route, and d
    /// may lie anywhere.
    ///
    /// `iwpoint` maps back: d[i] = (a[i] - black) * (1 / scale), the reciprocal rounded first. There are no
    /// lanes and no phases: with the flag set the last num mod 4 elements come first, downward, then the
    /// others upward. With the flag set (and in iwpointSIMD), 8 bits, black 0 and scale 255, d[i] is the
    /// six-decimal number nearest to a[i] / 255, elements in upward order: another result than the formula's
    /// for 245 of the 256 samples, by up to 5.4e-7.
    ///
    /// Neither refuses a scale or a limit. d may be a where both are `float`.
    /// @{
    static void wpoint(float* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpoint(std::uint16_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpoint(std::uint8_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpointSIMD(float* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpointSIMD(std::uint16_t* d, const float* a, float scale, float limit, float black, std::int64_t num);
    static void wpointSIMD(std::uint8_t* d, const float* a, float scale, float limit, float black, std::int64_t num);

    static void iwpoint(float* d, const float* a, float scale, float black, std::int64_t num);
    static void iwpoint(float* d, const std::uint16_t* a, float scale, std::uint16_t black, std::int64_t num);
    static void iwpoint(float* d, const std::uint8_t* a, float scale, std::uint8_t black, std::int64_t num);
    static void iwpointSIMD(float* d, const float* a, float scale, float black, std::int64_t num);
    static void iwpointSIMD(float* d, const std::uint16_t* a, float scale, std::uint16_t black, std::int64_t num);
    static void iwpointSIMD(float* d, const std::uint8_t* a, float scale, std::uint8_t black, std::int64_t num);
    /// @}

    /// @name Dot product
    /// The sum of a[i] * b[i]. Each product is formed in `float` and rounded, in every member.
    ///
    /// | member    | sum                                                                                |
    /// |-----------|------------------------------------------------------------------------------------|
    /// | `dotSISD` | in `double`, one addition per element, upward from +0                              |
    /// | `dotSIMD` | lead-in by `dotSISD` + tail by `dotSISD` (upward) + the blocks upward, in `double` |
    ///
    /// A block is up to 256 lane groups: four `float` sums, one per lane, then lane 0 + lane 1 + lane 2 +
    /// lane 3 in `float`. So block sums round in `float` and can overflow where those of `dotSISD` don't.
    /// With unequal phases `dotSIMD` is `dotSISD`. Of the same numbers the result depends on phases, num and
    /// flag, on the thread's rounding and denormal modes, and on nothing else. num of 0 or less gives +0.
    /// @{
    static double dot(const float* a, const float* b, std::int64_t num);
    static double dotSIMD(const float* a, const float* b, std::int64_t num);
    static double dotSISD(const float* a, const float* b, std::int64_t num);
    /// @}

    /// @name Update and reduce
    /// `maddAndNorm`: d[i] = d[i] + b * a[i], returns the sum of the squares of the new d[i]. `mulAndDotDA`:
    /// d[i] = b[i] * a[i], returns the sum of d[i] * a[i], with a[i] as it stands after d[i] is written. The
    /// sums are those of `dot`.
    ///
    /// | member        | element (SISD)                       | lane                                |
    /// |---------------|--------------------------------------|-------------------------------------|
    /// | `maddAndNorm` | in `double`, rounded to `float` once | in `float`, product and sum rounded |
    /// | `mulAndDotDA` | in `float`                           | the same d                          |
    ///
    /// With the flag set, `maddAndNorm` narrows b to `float` first; that b also serves the SISD stretches. d
    /// may be a or b.
    /// @{
    static double maddAndNorm(float* d, const float* a, double b, std::int64_t num);
    static double maddAndNormSIMD(float* d, const float* a, float b, std::int64_t num);
    static double maddAndNormSISD(float* d, const float* a, double b, std::int64_t num);

    static double mulAndDotDA(float* d, const float* a, const float* b, std::int64_t num);
    static double mulAndDotDASIMD(float* d, const float* a, const float* b, std::int64_t num);
    static double mulAndDotDASISD(float* d, const float* a, const float* b, std::int64_t num);
    /// @}

    /// @name Zero count
    /// How many a[i] are 0, modulo 2 to the 32nd; the same count from all three. The word of the `float`
    /// -0 isn't 0.
    /// @{
    static int zerocount(const int* a, std::int64_t num);
    static int zerocountSIMD(const int* a, std::int64_t num);
    static int zerocountSISD(const int* a, std::int64_t num);
    /// @}

    /// @name Matrix-vector streams
    /// d holds num vectors x y z (w) without gaps, each replaced by its product with m, rows of four floats.
    /// Where mask isn't null, a vector whose mask entry isn't 0 is left out: neither read nor written.
    ///
    /// | member          | floats a vector | new component j                                   | entries of m read    |
    /// |-----------------|-----------------|---------------------------------------------------|----------------------|
    /// | `mulColVec44`   | 4               | ((x m[j][0] + y m[j][1]) + z m[j][2]) + w m[j][3] | all                  |
    /// | `mulColVec44_3` | 4, w stays      | (x m[j][0] + y m[j][1]) + z m[j][2]               | rows, columns 0 to 2 |
    /// | `mulColVec34`   | 3               | ((x m[j][0] + y m[j][1]) + z m[j][2]) + m[j][3]   | rows 0 to 2          |
    /// | `mulColVec34_3` | 3               | (x m[j][0] + y m[j][1]) + z m[j][2]               | rows, columns 0 to 2 |
    /// | `mulRowVec44`   | 4               | ((x m[0][j] + y m[1][j]) + z m[2][j]) + w m[3][j] | all                  |
    /// | `mulRowVec44_3` | 4, w stays      | (x m[0][j] + y m[1][j]) + z m[2][j]               | rows, columns 0 to 2 |
    /// | `mulRowVec34`   | 3               | ((x m[0][j] + y m[1][j]) + z m[2][j]) + m[3][j]   | columns 0 to 2       |
    /// | `mulRowVec34_3` | 3               | (x m[0][j] + y m[1][j]) + z m[2][j]               | rows, columns 0 to 2 |
    ///
    /// `mulColVec44` and `mulRowVec44` take another sum, (w term + z term) + (y term + x term), for all
    /// vectors if the flag is set and d lies on a 16-byte boundary. A 0 in m isn't skipped: NaN and
    /// infinities spread. If m lies in the stream, the element sums use it as it stands at each vector, the
    /// lane sums as it stood at the call; of a mask in the stream each entry counts as it stands when the
    /// turn of its vector comes, in both.
    /// @{
    static void mulColVec44(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulColVec44_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulColVec34(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulColVec34_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulRowVec44(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulRowVec44_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulRowVec34(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    static void mulRowVec34_3(float* d, const float (*m)[4], std::int64_t num, const std::uint32_t* mask);
    /// @}

    /// @name Four-lane streams
    /// Each vector of four floats in d, plus, minus or times the four floats at b, component by component.
    /// The mask is that of the matrix streams. Lanes serve from 4 vectors on a 16-byte boundary up, with the
    /// same bits where b is apart from the stream. Where it lies in it, and so where b is d, the lanes use b
    /// as it stood at the call, and the elements read b[k] anew for component k of each vector: `vadd4u4` of
    /// five vectors of ones by d itself gives five of twos in lanes, and 2 3 3 3 3 by elements.
    /// @{
    static void vadd4u4(float* d, const float* b, std::int64_t num, const std::uint32_t* mask);
    static void vsub4u4(float* d, const float* b, std::int64_t num, const std::uint32_t* mask);
    static void vmul4u4(float* d, const float* b, std::int64_t num, const std::uint32_t* mask);
    /// @}

private:
    static bool theSIMD;
};

#endif
