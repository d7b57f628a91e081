// Packing of words into samples of 8 or 16 bits, four or sixteen at once. The processor's packs saturate, so
// words out of their range lose their high bits first.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace zel {

/// The low bits of any words.
struct LowBits {
    static __m128i halves(__m128i x, __m128i y) {
        return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(x, 16), 16), _mm_srai_epi32(_mm_slli_epi32(y, 16), 16));
    }
    static __m128i bytes(__m128i x, __m128i y) {
        const __m128i low = _mm_set1_epi32(0xFF);
        return _mm_packs_epi32(_mm_and_si128(x, low), _mm_and_si128(y, low));
    }
};

/// Words from 0 to 255 (bytes) or 65535 (halves), of which no bit is lost.
struct InRange {
    // The pack saturates as signed words, so 0 to 65535 become -32768 to 32767 for it, and are moved back.
    static __m128i halves(__m128i x, __m128i y) {
        const __m128i middle = _mm_set1_epi32(0x8000);
        return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(x, middle), _mm_sub_epi32(y, middle)),
                             _mm_set1_epi16(-0x8000));
    }
    static __m128i bytes(__m128i x, __m128i y) { return _mm_packs_epi32(x, y); }
};

template <class Pack> void storeFour(std::uint16_t* d, __m128i x) { _mm_storeu_si64(d, Pack::halves(x, x)); }
template <class Pack> void storeFour(std::uint8_t* d, __m128i x) {
    const __m128i words = Pack::bytes(x, x);
    _mm_storeu_si32(d, _mm_packus_epi16(words, words));
}
template <class Pack> void storeSixteen(std::uint16_t* d, __m128i x, __m128i y, __m128i z, __m128i w) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), Pack::halves(x, y));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 8), Pack::halves(z, w));
}
template <class Pack> void storeSixteen(std::uint8_t* d, __m128i x, __m128i y, __m128i z, __m128i w) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(Pack::bytes(x, y), Pack::bytes(z, w)));
}

}  // namespace zel
