// Pixels: the recipes of docs/cookbook.md, each compared with a plain loop, and their cost.
#include "recipe.h"

/// i / 255.0f to the bit, for each of the 256 bytes. fulls holds n times 255.
void fromBytes(float* d, const std::uint8_t* a, const float* fulls, std::int64_t n) {
    ZEL_Math::iwpoint(d, a, 1.0f, 0, n);  // 0 to 255: a scale of 255 would give six decimals
    ZEL_Math::div(d, d, fulls, n);        // by an array: a value would multiply by its reciprocal
}

/// Each pixel with its neighbours to the left and right, weights 1 2 1: sums of two, twice, in place. Pixel i
/// ends up at i - 1, and the last two of the n places are left over.
void blurRow(float* row, std::int64_t n) {
    if (n < 3) return;
    ZEL_Math::add(row, row, row + 1, n - 1);
    ZEL_Math::add(row, row, row + 1, n - 2);
    ZEL_Math::mul(row, row, 0.25f, n - 2);
}

/// White where lo <= a <= hi, black elsewhere. Masks say what is left alone: so ask for what lies outside, and for NaN.
void band(float* d, int* outside, int* below, const float* a, float lo, float hi, std::int64_t n) {
    ZEL_Math::ge(outside, a, lo, n);
    ZEL_Math::le(below, a, hi, n);
    ZEL_Math::band(outside, outside, below, n);
    ZEL_Math::bxor(outside, outside, 1, n);
    ZEL_Math::set(d, 0.0f, n);
    ZEL_Math::set(d, 1.0f, n, reinterpret_cast<const std::uint32_t*>(outside));
}

/// d = a < b ? c : e, which is np.where. d is e first; then c where a < b, so where the turned answer is 0.
void select(float* d, int* work, const float* a, const float* b, const float* c, const float* e, std::int64_t n) {
    ZEL_Math::lt(work, a, b, n);
    ZEL_Math::bxor(work, work, 1, n);  // not `ge`: of a NaN both are false
    std::copy(e, e + n, d);
    ZEL_Math::set(d, c, n, reinterpret_cast<const std::uint32_t*>(work));
}

/// Three channels r g b r g b ..., each less its mean and over its deviation: a diagonal and a fourth column.
void normaliseChannels(float* pixels, const float* mean, const float* deviation, std::int64_t n) {
    float m[3][4] = {};
    for (int j = 0; j < 3; ++j) {
        m[j][j] = 1 / deviation[j];
        m[j][3] = -mean[j] / deviation[j];
    }
    ZEL_Math::mulColVec34(pixels, m, n, nullptr);
}

/// int to float, exactly, from -2^22 to 2^22: added to the word of 1.5 * 2^23, a number counts its last
/// bits, and a subtraction takes the rest away.
void toFloats(float* d, int* work, const int* a, std::int64_t n) {
    ZEL_Math::add(work, a, 0x4B400000, n);
    ZEL_Math::sub(d, reinterpret_cast<const float*>(work), 12582912.0f, n);
}

/// Any int, rounded to the nearest float: a loop of your own.
void toFloatsByLoop(float* d, const int* a, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) d[i] = static_cast<float>(a[i]);
}

/// d = a - b, modulo 2 to the 32nd: turned over, a is -a - 1. d may be a, but not b.
void difference(int* d, const int* a, const int* b, std::int64_t n) {
    ZEL_Math::bxor(d, a, -1, n);
    ZEL_Math::add(d, d, b, n);
    ZEL_Math::bxor(d, d, -1, n);
}

void bytes(bool print) {
    const std::int64_t n = 259;
    std::vector<std::uint8_t> a(n);
    Floats wanted(n), got(n), fulls(n, 255.0f);
    for (std::int64_t i = 0; i < n; ++i) {
        a[i] = static_cast<std::uint8_t>(i);
        wanted[i] = static_cast<float>(a[i]) / 255.0f;
    }
    const auto others = [&] {
        int count = 0;
        for (int i = 0; i < 256; ++i) count += std::memcmp(&got[i], &wanted[i], 4) != 0;
        return count;
    };
    ZEL_Math::iwpoint(got.data(), a.data(), 255.0f, 0, n);
    const int scaled = others();
    ZEL_Math::iwpoint(got.data(), a.data(), 1.0f, 0, n);
    ZEL_Math::div(got.data(), got.data(), 255.0f, n);
    const int byValue = others();
    expect("other bits", scaled == (ZEL_Math::isSIMD() ? 246 : 126) && byValue == 126);
    if (print) std::printf("not i / 255: %d by iwpoint, %d by a value\n", scaled, byValue);
    fromBytes(got.data(), a.data(), fulls.data(), n);
    expectSame("bytes", got, wanted);
    got.resize(1);
    for (const std::int64_t few : {0, 1}) fromBytes(got.data(), a.data() + 7, fulls.data(), few);
    expectSame("one byte", got, {7 / 255.0f});
}

void blurs() {
    for (std::int64_t n = 0; n < 70; ++n) {
        const Floats row = numbers(n, 0, 1);
        Floats got = row, wanted(std::max<std::int64_t>(n - 2, 0));
        for (std::int64_t i = 1; i + 1 < n; ++i)
            wanted[i - 1] = ((row[i - 1] + row[i]) + (row[i] + row[i + 1])) * 0.25f;
        blurRow(got.data(), n);
        got.resize(wanted.size());
        expectSame("blur", got, wanted);
    }
}

void choices() {
    const std::int64_t n = 1003;
    const Floats a = numbers(n, 0, 1), b = numbers(n, 0.3f, 0.6f), c = numbers(n, 2, 3), e = numbers(n, 4, 5);
    Floats banded(n), wantedBand(n), selected(n), wantedSelect(n);
    Ints below(n), above(n);
    band(banded.data(), below.data(), above.data(), a.data(), 0.25f, 0.5f, n);
    select(selected.data(), below.data(), a.data(), b.data(), c.data(), e.data(), n);
    for (std::int64_t i = 0; i < n; ++i) {
        wantedBand[i] = a[i] >= 0.25f && a[i] <= 0.5f ? 1.0f : 0.0f;
        wantedSelect[i] = a[i] < b[i] ? c[i] : e[i];
    }
    expectSame("band", banded, wantedBand);
    expectSame("select", selected, wantedSelect);
}

void channels() {
    const float mean[] = {0.5f, 0.25f, 0.75f}, deviation[] = {0.25f, 0.3f, 0.2f};
    for (const std::int64_t n : {0, 1, 501}) {
        Floats got = numbers(3 * n, 0, 1), wanted = got;
        normaliseChannels(got.data(), mean, deviation, n);
        for (std::int64_t i = 0; i < n; ++i) {
            const float *v = &wanted[3 * i], r = v[0] * (1 / deviation[0]), g = v[1] * (1 / deviation[1]);
            const float out[] = {r + -mean[0] / deviation[0], g + -mean[1] / deviation[1],
                                 v[2] * (1 / deviation[2]) + -mean[2] / deviation[2]};
            std::copy_n(out, 3, &wanted[3 * i]);
        }
        expectSame("channels", got, wanted);
    }
}

/// Pixels of red `a` and green and blue 1, less a mean of 0 and over a deviation of 0.5: one channel of them.
template <int channel> void normalised(float* a, std::int64_t n) {
    const float mean[3] = {}, deviation[] = {0.5f, 0.5f, 0.5f};
    Floats pixels(3 * n, 1.0f);
    for (std::int64_t i = 0; i < n; ++i) pixels[3 * i] = a[i];
    normaliseChannels(pixels.data(), mean, deviation, n);
    for (std::int64_t i = 0; i < n; ++i) a[i] = pixels[3 * i + channel];
}

int edges() {
    return printEdges("Pixels", {0.0f, -0.0f, -1e-40f, 1.0f, 1.1f, INFINITY, -INFINITY, NAN},
                      {{"band from 0 to 1",
                        [](float* a, std::int64_t n) {
                            const Floats copy(a, a + n);
                            band(a, Ints(n).data(), Ints(n).data(), copy.data(), 0, 1, n);
                        }},
                       {"select: a < 0 ? 5 : a",
                        [](float* a, std::int64_t n) {
                            const Floats copy(a, a + n), zeros(n), fives(n, 5.0f);
                            select(a, Ints(n).data(), copy.data(), zeros.data(), fives.data(), copy.data(), n);
                        }},
                       {"normaliseChannels: red", normalised<0>},
                       {"normaliseChannels: green", normalised<1>}});
}

void integers() {
    const std::int64_t n = 1 << 23;
    Ints a(n), work(n);
    Floats got(n), wanted(n);
    for (std::int64_t i = 0; i < n; ++i) a[i] = static_cast<int>(i - n / 2);
    toFloats(got.data(), work.data(), a.data(), n);
    toFloatsByLoop(wanted.data(), a.data(), n);
    expectSame("int to float", got, wanted);

    const int ends[] = {-4194305, 4194304, 4194305};
    toFloats(got.data(), work.data(), ends, 3);
    expect("int to float, ends", got[0] != -4194305.0f && got[1] == 4194304.0f && got[2] != 4194305.0f);
    const Ints b = {5, -7, 2147483647, -2147483647 - 1, 0};
    const auto few = static_cast<std::int64_t>(b.size());
    Ints differences(few), wantedDifferences(few);
    for (std::int64_t i = 0; i < few; ++i)
        wantedDifferences[i] = static_cast<int>(static_cast<unsigned>(a[i]) - static_cast<unsigned>(b[i]));
    difference(differences.data(), a.data(), b.data(), few);
    expectSame("difference", differences, wantedDifferences);
}

int main(int argc, char**) {
    if (argc > 1) return edges();
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        bytes(flag);
        blurs();
        choices();
        channels();
        integers();
    }
    const std::int64_t n = 4096;
    std::vector<std::uint8_t> eight(n);
    Floats x = numbers(n, 0, 1), y = x, fulls(n, 255.0f);
    Ints i(n), j(n);
    cost("bytes, exactly", n, [&] { fromBytes(y.data(), eight.data(), fulls.data(), n); });
    cost("bytes, six decimals", n, [&] { ZEL_Math::iwpoint(y.data(), eight.data(), 255.0f, 0, n); });
    cost("blur of a row", n, [&] { blurRow(y.data(), n); });
    cost("band", n, [&] { band(y.data(), i.data(), j.data(), x.data(), 0.25f, 0.5f, n); });
    cost("select", n, [&] { select(y.data(), i.data(), x.data(), fulls.data(), x.data(), fulls.data(), n); });
    cost("int to float", n, [&] { toFloats(y.data(), j.data(), i.data(), n); });
    cost("int to float, a loop", n, [&] { toFloatsByLoop(y.data(), i.data(), n); });
    cost("difference of ints", n, [&] { difference(i.data(), i.data(), j.data(), n); });
    return theFailures;
}
