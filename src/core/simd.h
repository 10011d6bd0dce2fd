// The AVX-512 vocabulary of the kernels: lane masks, widening loads into
// single precision, and mask planes folded into lane masks.
#pragma once

// GCC 12's intrinsics build "undefined" vectors by self-initialisation, which
// -Wmaybe-uninitialized reports wherever they are inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

// The emulated configuration (ZEPCV_EMULATE_AVX512) builds the same kernels for
// x86-64-v3: SIMDe supplies the 512-bit types and intrinsics under their own
// names, and core/avx512_shim.h whatever it lacks or computes differently.
#if ZEPCV_EMULATE_AVX512
#include "core/avx512_shim.h"
#endif

#include <cstdint>

namespace zep::simd {

// Lane masks selecting the first n lanes (0 <= n <= lanes).
inline __mmask16 firstLanes16(int n) { return static_cast<__mmask16>((1u << n) - 1u); }
inline __mmask32 firstLanes32(int n) { return n >= 32 ? ~__mmask32{0} : static_cast<__mmask32>((1u << n) - 1u); }
inline __mmask64 firstLanes64(int n) {
    return n >= 64 ? ~__mmask64{0} : static_cast<__mmask64>((uint64_t{1} << n) - 1u);
}

// The total of eight 64-bit lanes modulo 2^64 (the intrinsic's reduction adds
// signed lanes, which must not wrap).
inline uint64_t totalOfLanes64(__m512i v) {
    const __m256i a = _mm256_add_epi64(_mm512_castsi512_si256(v), _mm512_extracti64x4_epi64(v, 1));
    const __m128i b = _mm_add_epi64(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(b, _mm_unpackhi_epi64(b, b))));
}

// Sixteen elements widened exactly to single precision.
inline __m512 loadAsFloat(const uint8_t* p) {
    return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
}
inline __m512 loadAsFloat(const uint16_t* p) {
    return _mm512_cvtepi32_ps(_mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))));
}
inline __m512 loadAsFloat(const float* p) { return _mm512_loadu_ps(p); }

// The lanes whose mask byte is nonzero, for sixteen mask bytes.
inline __mmask16 nonzeroLanes16(const uint8_t* mask) {
    const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask));
    return _mm_test_epi8_mask(m, m);
}

// 1.0 in the selected lanes, 0.0 elsewhere: a mask applied arithmetically.
inline __m512 unitWhere(__mmask16 lanes) { return _mm512_maskz_mov_ps(lanes, _mm512_set1_ps(1.0f)); }

// An optimisation barrier: the compiler must assume v changed, so it cannot
// fold the operations before and after into one (a load and a select into a
// masked load, say). Emulated, a 512-bit value has no register to live in.
inline void opaque(__m512i& v) {
#if ZEPCV_EMULATE_AVX512
    asm("" : "+m"(v));
#else
    asm("" : "+v"(v));
#endif
}

inline __m512i load512(const void* p) { return _mm512_loadu_si512(p); }
inline void store512(void* p, __m512i v) { _mm512_storeu_si512(p, v); }

}  // namespace zep::simd
