// Audio: the recipes of docs/cookbook.md, each compared with a plain loop, and their cost.
#include "recipe.h"

/// Between signed and unsigned samples: the sign bit, two samples a word. s lies on 4 bytes.
void flipSigns(std::int16_t* s, std::int64_t n) {
    int* words = reinterpret_cast<int*>(s);
    ZEL_Math::bxor(words, words, static_cast<int>(0x80008000u), n / 2);
    if (n % 2) s[n - 1] = static_cast<std::int16_t>(s[n - 1] ^ 0x8000);
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

/// The largest magnitude, at least one element, no NaN: the upper half against the lower, until one is left.
/// Halves begin at multiples of four, in the phase of work, which has room for n.
float peak(float* work, const float* x, std::int64_t n) {
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
}

void channels() {
    const std::int64_t n = 1001;
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
    for (std::int64_t n = 1; n < 1100; ++n) {
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
        expect("rms", ZEL_Math::isSIMD() ? std::fabs(got - root) <= 8e-6 * root : got == root);
    }
    const Floats silence(7, -0.0f);
    Floats work(7);
    expectSame("peak of silence", {peak(work.data(), silence.data(), 7)}, Floats{0});
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

int main() {
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        samples();
        channels();
        levels();
        shapes();
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
    return theFailures;
}
