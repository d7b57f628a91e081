// Audio: the recipes of docs/cookbook.md, each compared with a plain loop, and their cost.
#include <immintrin.h>

#include "recipe.h"

/// Between signed and unsigned samples: the sign bit, two samples a word. Words lie on 4 bytes, so an odd sample at
/// either end goes by itself.
void flipSigns(std::int16_t* s, std::int64_t n) {
    const auto flip = [](std::int16_t& sample) { sample = static_cast<std::int16_t>(sample ^ 0x8000); };
    if (n > 0 && reinterpret_cast<std::uintptr_t>(s) % 4 != 0) {
        flip(*s++);
        --n;
    }
    int* words = reinterpret_cast<int*>(s);
    ZEL_Math::bxor(words, words, static_cast<int>(0x80008000u), n / 2);
    if (n % 2) flip(s[n - 1]);
}

/// To -1 ... 1, exactly: as unsigned samples they are black at 32768. s is left unsigned.
void fromSamples(float* d, std::int16_t* s, std::int64_t n) {
    flipSigns(s, n);
    ZEL_Math::iwpoint(d, reinterpret_cast<const std::uint16_t*>(s), 32768.0f, 32768, n);
}

/// And back, to the nearest sample, halves upward; what lies outside becomes the last sample there is.
void toSamples(std::int16_t* s, const float* a, std::int64_t n) {
    ZEL_Math::wpoint(reinterpret_cast<std::uint16_t*>(s), a, 32768.0f, 65535.0f, 32768.0f, n);
    flipSigns(s, n);
}

/// A gain for each of two channels, without taking them apart: a vector of four is two frames.
void gains(float* frames, float left, float right, std::int64_t n) {
    const float four[] = {left, right, left, right};
    ZEL_Math::vmul4u4(frames, four, n / 2, nullptr);
    if (n % 2) {
        frames[2 * n - 2] *= left;
        frames[2 * n - 1] *= right;
    }
}

/// Two channels apart. No member has strides: this is a loop of your own, and so is the way back.
void deinterleave(float* left, float* right, const float* frames, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) {
        left[i] = frames[2 * i];
        right[i] = frames[2 * i + 1];
    }
}

void interleave(float* frames, const float* left, const float* right, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) {
        frames[2 * i] = left[i];
        frames[2 * i + 1] = right[i];
    }
}

/// The largest magnitude, 0 of no elements. No NaN. The upper half against the lower, until one is left: halves begin
/// at multiples of four, in the phase of work, which has room for n.
float peak(float* work, const float* x, std::int64_t n) {
    if (n < 1) return 0;
    ZEL_Math::abs(work, x, n);
    while (n > 1) {
        const std::int64_t half = (n + 1) / 2, kept = n > 8 ? (half + 3) / 4 * 4 : half;
        ZEL_Math::zelmax(work, work, work + kept, n - kept);
        n = kept;
    }
    return work[0] + 0.0f;  // the lanes leave -0 as it is: +0 for silence
}

double rms(const float* x, std::int64_t n) {
    return std::sqrt(ZEL_Math::dot(x, x, n) / static_cast<double>(n));  // dotSISD: the same bits anywhere
}

/// x[i] * (from + i * step), where index holds 0, 1, 2 ..., exact up to 2^24; `gain` has room for n.
void ramp(float* x, float* gain, const float* index, float from, float step, std::int64_t n) {
    std::copy(index, index + n, gain);
    ZEL_Math::scaleoffset(gain, step, from, n);  // gain = gain * step + from
    ZEL_Math::mul(x, x, gain, n);
}

/// x / (1 + |x|), which stays within -1 ... 1 for every number; `work` has room for n.
void softClip(float* x, float* work, std::int64_t n) {
    ZEL_Math::abs(work, x, n);
    ZEL_Math::add(work, work, 1.0f, n);
    ZEL_Math::div(x, x, work, n);
}

/// d[i] = taps[0] x[i] + taps[1] x[i - 1] + ..., a call for each tap. `count` - 1 samples lie before x.
void fir(float* d, const float* x, const float* taps, std::int64_t count, std::int64_t n) {
    ZEL_Math::mul(d, x, taps[0], n);
    for (std::int64_t k = 1; k < count; ++k) ZEL_Math::madd(d, x - k, taps[k], n);
}

void firByLoop(float* d, const float* x, const float* taps, std::int64_t count, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) {
        float sum = x[i] * taps[0];
        for (std::int64_t k = 1; k < count; ++k) sum += x[i - k] * taps[k];
        d[i] = sum;
    }
}

/// y[i] = y[i] + feedback y[i - 1]. Each result waits for the one before: a loop keeps it in a register.
void onePole(float* y, float feedback, std::int64_t n) {
    float last = y[-1];
    for (std::int64_t i = 0; i < n; ++i) y[i] = last = y[i] + last * feedback;
}

/// The same bits by a call, through memory: two arrays one element apart have two phases.
void onePoleByCall(float* y, float feedback, std::int64_t n) { ZEL_Math::madd(y, y - 1, feedback, n); }

/// While it lives, denormals are 0 in this thread, as results and as operands.
struct WithoutDenormals {
    WithoutDenormals() { _mm_setcsr(before | 0x8040); }  // flush-to-zero, denormals-are-zero
    ~WithoutDenormals() { _mm_setcsr(before); }
    const unsigned before = _mm_getcsr();
};

/// What a driver calls for each buffer.
void callback(float* buffer, float gain, std::int64_t n) {
    const WithoutDenormals mode;
    ZEL_Math::mul(buffer, buffer, gain, n);
}

void samples() {
    const std::int64_t n = 65537;  // every sample, and one more
    std::vector<std::int16_t> all(n), back(n);
    Floats wanted(n), got(n);
    for (std::int64_t i = 0; i < n; ++i) {
        all[i] = static_cast<std::int16_t>(i);
        wanted[i] = static_cast<float>(all[i]) / 32768;
    }
    std::vector<std::int16_t> changed = all;
    fromSamples(got.data(), changed.data(), n);
    expectSame("16 bits in", got, wanted);
    toSamples(back.data(), got.data(), n);
    expectSame("16 bits in and out", back, all);

    const Floats loud = numbers(n, -1.5f, 1.5f);
    toSamples(back.data(), loud.data(), n);
    for (std::int64_t i = 0; i < n; ++i) {
        const float x = 32768 * loud[i] + 32768.5f;
        all[i] = static_cast<std::int16_t>(static_cast<int>(x < 0 ? 0 : x > 65535 ? 65535 : x) - 32768);
    }
    expectSame("16 bits out", back, all);

    for (const std::int64_t start : {0, 1, 2, 3})
        for (const std::int64_t count : {0, 1, 2, 7, 8}) {
            std::vector<std::int16_t> some(16, 5), flipped = some;
            for (std::int64_t i = start; i < start + count; ++i) flipped[i] = 5 - 32768;
            flipSigns(some.data() + start, count);
            expectSame("a slice of samples", some, flipped);
        }
}

void channels(std::int64_t n) {
    const Floats frames = numbers(2 * n, -1, 1);
    Floats left(n), right(n), both(2 * n), wanted = frames;
    deinterleave(left.data(), right.data(), frames.data(), n);
    interleave(both.data(), left.data(), right.data(), n);
    expectSame("apart and together", both, frames);
    gains(both.data(), 0.3f, -0.7f, n);
    for (std::int64_t i = 0; i < 2 * n; ++i) wanted[i] *= i % 2 ? -0.7f : 0.3f;
    expectSame("gains", both, wanted);
}

void levels() {
    for (std::int64_t n = 0; n < 1100; ++n) {
        const Floats x = numbers(n, -1, 1);
        Floats work(n);
        float wanted = 0;
        double squares = 0;
        for (const float value : x) {
            wanted = std::max(wanted, std::fabs(value));
            squares += value * value;
        }
        expect("peak", peak(work.data(), x.data(), n) == wanted);
        const double root = std::sqrt(squares / static_cast<double>(n)), got = rms(x.data(), n);
        expect("rms", n == 0               ? std::isnan(got)
                      : ZEL_Math::isSIMD() ? std::fabs(got - root) <= 8e-6 * root
                                           : got == root);
    }
    Floats x(16, 1.0f), work(16);
    x[0] = 5;
    x[8] = NAN;
    expect("a NaN hides the peak", peak(work.data(), x.data(), 16) == (ZEL_Math::isSIMD() ? 1 : 5));
}

void shapes() {
    const std::int64_t n = 1003;
    const Floats x = numbers(n, -4, 4);
    Floats index(n), work(n), ramped = x, clipped = x, wantedRamp(n), wantedClip(n);
    for (std::int64_t i = 0; i < n; ++i) {
        index[i] = static_cast<float>(i);
        wantedRamp[i] = x[i] * (0.1f + static_cast<float>(i) * 0.001f);
        wantedClip[i] = x[i] / (1 + std::fabs(x[i]));
    }
    ramp(ramped.data(), work.data(), index.data(), 0.1f, 0.001f, n);
    expectSame("ramp", ramped, wantedRamp);
    softClip(clipped.data(), work.data(), n);
    expectSame("soft clip", clipped, wantedClip);
}

void filters() {
    const std::int64_t n = 1003, taps = 9;
    const Floats x = numbers(n + taps, -1, 1), weights = numbers(taps, -1, 1);
    Floats got(n), wanted(n), pole = x, poleByCall = x;
    fir(got.data(), x.data() + taps, weights.data(), taps, n);
    firByLoop(wanted.data(), x.data() + taps, weights.data(), taps, n);
    expectSame("fir", got, wanted);
    onePole(pole.data() + 1, 0.9f, n);
    onePoleByCall(poleByCall.data() + 1, 0.9f, n);
    expectSame("one pole", poleByCall, pole);

    const unsigned modes = _mm_getcsr() & 0xFFC0;  // without the flags of exceptions that were raised
    callback(got.data(), 0.5f, n);
    expect("the thread's modes after a callback", (_mm_getcsr() & 0xFFC0) == modes);
}

int edges() {
    return printEdges(
        "Audio", {0.0f, -0.0f, 3e-23f, 1e-30f, -1e-30f, 5e17f, 1e18f, 1e20f, 3.4028235e38f, INFINITY, -INFINITY, NAN},
        {{"toSamples",
          [](float* a, std::int64_t n) {
              std::vector<std::int16_t> s(n);
              toSamples(s.data(), a, n);
              std::copy(s.begin(), s.end(), a);
          }},
         {"peak",
          [](float* a, std::int64_t n) { std::fill_n(a, n, peak(Floats(n).data(), Floats(a, a + n).data(), n)); }},
         {"rms", [](float* a, std::int64_t n) { std::fill_n(a, n, static_cast<float>(rms(a, n))); }},
         {"softClip", [](float* a, std::int64_t n) { softClip(a, Floats(n).data(), n); }},
         {"callback", [](float* a, std::int64_t n) { callback(a, 1e-10f, n); }}});
}

int main(int argc, char**) {
    if (argc > 1) return edges();
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        samples();
        for (const std::int64_t n : {0, 1, 1001}) channels(n);
        levels();
        shapes();
        filters();
    }
    const std::int64_t n = 4096;
    std::vector<std::int16_t> s(n);
    Floats x = numbers(n, -1, 1), y = x, z = x, frames = numbers(2 * n, -1, 1), index(n, 1.0f);
    cost("16 bits in", n, [&] { fromSamples(y.data(), s.data(), n); });
    cost("16 bits out", n, [&] { toSamples(s.data(), x.data(), n); });
    cost("gains, interleaved, a frame", n, [&] { gains(frames.data(), 1, -1, n); });
    cost("deinterleave, a frame", n, [&] { deinterleave(y.data(), z.data(), frames.data(), n); });
    cost("interleave, a frame", n, [&] { interleave(frames.data(), y.data(), z.data(), n); });
    cost("peak", n, [&] { peak(y.data(), x.data(), n); });
    cost("rms", n, [&] { rms(x.data(), n); });
    cost("ramp", n, [&] { ramp(x.data(), y.data(), index.data(), 1, 0, n); });
    cost("soft clip", n, [&] { softClip(x.data(), y.data(), n); });
    const std::int64_t taps = 32, block = 512;
    const Floats history = numbers(block + taps, -1, 1), weights = numbers(taps, -1, 1);
    const float* const recent = history.data() + taps;
    cost("fir of 32 taps, by calls", block, [&] { fir(y.data(), recent, weights.data(), taps, block); });
    cost("fir of 32 taps, a loop", block, [&] { firByLoop(y.data(), recent, weights.data(), taps, block); });
    cost("one pole, a loop", n - 1, [&] { onePole(x.data() + 1, 0.0f, n - 1); });
    cost("one pole, a call", n - 1, [&] { onePoleByCall(x.data() + 1, 0.0f, n - 1); });
    return theFailures;
}
