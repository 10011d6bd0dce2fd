// The AVX-512 vocabulary of the kernels, per element type T: lane masks, whole
// and masked loads and stores, widening and narrowing with the library's
// rounding and saturation, element-wise min, max and absolute difference, and
// horizontal reductions. A vector of T is Vec<T> (__m512 for float, __m512d
// for double, __m512i otherwise) with kLanes<T> lanes and a Mask<T> of lanes.
//
// Element types each operation takes (a static_assert names the others):
//   load, store, splat, fill                  every type (masked loads: at most 4 bytes)
//   zeroOutside, loadSelected                 elements of at most 4 bytes
//   min, max                                  8u 16u 16s 32u 32s 32f 64f
//   less, greater                             8u 16u 32s 32f
//   absDiff                                   8u 16u 32f
//   reduceMin, reduceMax                      8u 16u 16s 32u 32s 32f
//
// Masked loads and stores touch no byte of a lane outside their mask, so a
// row's tail is read and written in place, up to its last element and no further.
#pragma once

// GCC 12's intrinsics build "undefined" vectors by self-initialisation, which
// -Wuninitialized and -Wmaybe-uninitialized report wherever they are inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

// The emulated configuration (ZEPCV_EMULATE_AVX512) builds the same kernels for
// x86-64-v3: SIMDe supplies the 512-bit types and intrinsics under their own
// names, and core/avx512_shim.h whatever it lacks or computes differently.
#if ZEPCV_EMULATE_AVX512
#include "core/avx512_shim.h"
#endif

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace zep::simd {

// ---- Lanes, vectors and lane masks.

template <class T>
inline constexpr int kLanes = static_cast<int>(64 / sizeof(T));

template <int E>
struct LaneMaskOf;
template <>
struct LaneMaskOf<8> {
    using type = __mmask8;
};
template <>
struct LaneMaskOf<16> {
    using type = __mmask16;
};
template <>
struct LaneMaskOf<32> {
    using type = __mmask32;
};
template <>
struct LaneMaskOf<64> {
    using type = __mmask64;
};
// A mask of E lanes, as the intrinsics of E lanes take it.
template <int E>
using LaneMask = typename LaneMaskOf<E>::type;
template <class T>
using Mask = LaneMask<kLanes<T>>;

template <class T>
struct VecOf {
    using type = __m512i;
};
template <>
struct VecOf<float> {
    using type = __m512;
};
template <>
struct VecOf<double> {
    using type = __m512d;
};
template <class T>
using Vec = typename VecOf<T>::type;

// The unsigned integer of T's size: the element as bits.
template <class T>
using Uint = std::conditional_t<
    sizeof(T) == 1, uint8_t,
    std::conditional_t<sizeof(T) == 2, uint16_t, std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;

template <class T, class... U>
inline constexpr bool isOneOf = (std::is_same_v<T, U> || ...);
template <class T>
inline constexpr bool isFloat = std::is_same_v<T, float>;
template <class T>
inline constexpr bool isDouble = std::is_same_v<T, double>;

// The first n of E lanes: none for n <= 0, all for n >= E.
template <int E>
[[gnu::always_inline]] inline LaneMask<E> firstLanes(int n) {
    return static_cast<LaneMask<E>>(_bzhi_u64(~uint64_t{0}, static_cast<unsigned>(std::clamp(n, 0, E))));
}
// The same by lane count, as the filter and distance kernels call it.
[[gnu::always_inline]] inline __mmask16 firstLanes16(int n) { return firstLanes<16>(n); }
[[gnu::always_inline]] inline __mmask32 firstLanes32(int n) { return firstLanes<32>(n); }
[[gnu::always_inline]] inline __mmask64 firstLanes64(int n) { return firstLanes<64>(n); }

// The lanes i < n (n <= E) whose element p[i] is nonzero (for 32f: compares
// unequal to 0, so -0 is zero and NaN is not); n < E reads n elements only.
// E lanes of 8u (E = 8, 16, 32, 64), 16u (E = 16) or 32f (E = 16).
template <int E, class T>
[[gnu::always_inline]] inline LaneMask<E> nonzeroLanes(const T* p, int n = E) {
    if constexpr (isFloat<T>) {
        static_assert(E == 16, "nonzeroLanes: sixteen 32f lanes");
        const __m512 v = n >= E ? _mm512_loadu_ps(p) : _mm512_maskz_loadu_ps(firstLanes<16>(n), p);
        return _mm512_cmp_ps_mask(v, _mm512_setzero_ps(), _CMP_NEQ_UQ);
    } else if constexpr (sizeof(T) == 2) {
        static_assert(E == 16, "nonzeroLanes: sixteen 16u lanes");
        const __m256i v = n >= E ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))
                                 : _mm256_maskz_loadu_epi16(firstLanes<16>(n), p);
        return _mm256_test_epi16_mask(v, v);
    } else {
        static_assert(sizeof(T) == 1, "nonzeroLanes: 8u, 16u or 32f elements");
        if constexpr (E == 64) {
            const __m512i v = n >= E ? _mm512_loadu_si512(p) : _mm512_maskz_loadu_epi8(firstLanes<64>(n), p);
            return _mm512_test_epi8_mask(v, v);
        } else if constexpr (E == 32) {
            const __m256i v = n >= E ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))
                                     : _mm256_maskz_loadu_epi8(firstLanes<32>(n), p);
            return _mm256_test_epi8_mask(v, v);
        } else {
            const __m128i v = n >= E ? (E == 16 ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(p))
                                                : _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))
                                     : _mm_maskz_loadu_epi8(firstLanes<16>(n), p);
            return static_cast<LaneMask<E>>(_mm_test_epi8_mask(v, v));
        }
    }
}

// ---- Memory: whole vectors and masked tails.

[[gnu::always_inline]] inline __m512i load512(const void* p) { return _mm512_loadu_si512(p); }
[[gnu::always_inline]] inline void store512(void* p, __m512i v) { _mm512_storeu_si512(p, v); }

template <class T>
[[gnu::always_inline]] inline Vec<T> load(const T* p) {
    if constexpr (isFloat<T>)
        return _mm512_loadu_ps(p);
    else if constexpr (isDouble<T>)
        return _mm512_loadu_pd(p);
    else
        return _mm512_loadu_si512(p);
}

// The lanes of k from p, zero elsewhere.
template <class T>
[[gnu::always_inline]] inline Vec<T> load(const T* p, Mask<T> k) {
    static_assert(sizeof(T) <= 4, "masked loads take elements of at most 4 bytes");
    if constexpr (isFloat<T>)
        return _mm512_maskz_loadu_ps(k, p);
    else if constexpr (sizeof(T) == 1)
        return _mm512_maskz_loadu_epi8(k, p);
    else if constexpr (sizeof(T) == 2)
        return _mm512_maskz_loadu_epi16(k, p);
    else
        return _mm512_maskz_loadu_epi32(k, p);
}

// The lanes of k from p, the others from `into` (integer elements).
template <class T>
[[gnu::always_inline]] inline __m512i loadMerged(__m512i into, const T* p, Mask<T> k) {
    static_assert(std::is_integral_v<T> && sizeof(T) <= 4, "merging loads take integers of at most 4 bytes");
    if constexpr (sizeof(T) == 1)
        return _mm512_mask_loadu_epi8(into, k, p);
    else if constexpr (sizeof(T) == 2)
        return _mm512_mask_loadu_epi16(into, k, p);
    else
        return _mm512_mask_loadu_epi32(into, k, p);
}

template <class T>
[[gnu::always_inline]] inline void store(T* p, Vec<T> v) {
    if constexpr (isFloat<T>)
        _mm512_storeu_ps(p, v);
    else if constexpr (isDouble<T>)
        _mm512_storeu_pd(p, v);
    else
        _mm512_storeu_si512(p, v);
}

// The lanes of k of v to p; nothing else is written.
template <class T>
[[gnu::always_inline]] inline void store(T* p, Vec<T> v, Mask<T> k) {
    if constexpr (isFloat<T>) {
        _mm512_mask_storeu_ps(p, k, v);
    } else if constexpr (isDouble<T>) {
        _mm512_mask_storeu_epi64(p, k, _mm512_castpd_si512(v));
    } else if constexpr (sizeof(T) == 1) {
        _mm256_mask_storeu_epi8(p, static_cast<__mmask32>(k), _mm512_castsi512_si256(v));
        _mm256_mask_storeu_epi8(p + 32, static_cast<__mmask32>(k >> 32), _mm512_extracti64x4_epi64(v, 1));
    } else if constexpr (sizeof(T) == 2) {
        _mm512_mask_storeu_epi16(p, k, v);
    } else if constexpr (sizeof(T) == 4) {
        _mm512_mask_storeu_epi32(p, k, v);
    } else {
        _mm512_mask_storeu_epi64(p, k, v);
    }
}

// Every lane v.
template <class T>
[[gnu::always_inline]] inline Vec<T> splat(T v) {
    if constexpr (isFloat<T>)
        return _mm512_set1_ps(v);
    else if constexpr (isDouble<T>)
        return _mm512_set1_pd(v);
    else if constexpr (sizeof(T) == 1)
        return _mm512_set1_epi8(static_cast<char>(v));
    else if constexpr (sizeof(T) == 2)
        return _mm512_set1_epi16(static_cast<short>(v));
    else if constexpr (sizeof(T) == 4)
        return _mm512_set1_epi32(static_cast<int>(v));
    else
        return _mm512_set1_epi64(static_cast<long long>(v));
}

// v in the lanes of k, 0 elsewhere.
template <class T>
[[gnu::always_inline]] inline Vec<T> zeroOutside(Mask<T> k, Vec<T> v) {
    static_assert(sizeof(T) <= 4, "zeroOutside takes elements of at most 4 bytes");
    if constexpr (isFloat<T>)
        return _mm512_maskz_mov_ps(k, v);
    else if constexpr (sizeof(T) == 1)
        return _mm512_maskz_mov_epi8(k, v);
    else if constexpr (sizeof(T) == 2)
        return _mm512_maskz_mov_epi16(k, v);
    else
        return _mm512_maskz_mov_epi32(k, v);
}

// An optimisation barrier: the compiler must assume v changed, so it cannot
// fold the operations before and after into one (a load and a select into a
// masked load, say). Emulated, a 512-bit value has no register to live in.
template <class V>
[[gnu::always_inline]] inline void opaque(V& v) {
#if ZEPCV_EMULATE_AVX512
    asm("" : "+m"(v));
#else
    asm("" : "+v"(v));
#endif
}

// The lanes of k of a whole vector at p, 0 elsewhere. The load itself is
// unmasked (all of the vector must be readable), so that it need not wait for
// the mask to be known.
template <class T>
[[gnu::always_inline]] inline Vec<T> loadSelected(const T* p, Mask<T> k) {
    Vec<T> v = load(p);
    opaque(v);
    return zeroOutside<T>(k, v);
}

// n elements from p set to v: whole vectors, then one masked store.
template <class T>
[[gnu::always_inline]] inline void fill(T* p, int64_t n, T v) {
    using B = Uint<T>;
    constexpr int E = kLanes<T>;
    const __m512i pattern = splat<B>(std::bit_cast<B>(v));
    B* q = reinterpret_cast<B*>(p);
    int64_t x = 0;
    for (; x + E <= n; x += E) store(q + x, pattern);
    store(q + x, pattern, firstLanes<E>(static_cast<int>(n - x)));
}

// ---- Widening.

// Sixteen elements (8u, 16u, 16s) widened to 32-bit integers; masked, the
// lanes of k (others 0).
template <class T>
[[gnu::always_inline]] inline __m512i loadAsInt32(const T* p) {
    static_assert(isOneOf<T, uint8_t, uint16_t, int16_t>, "loadAsInt32: 8u 16u 16s");
    if constexpr (std::is_same_v<T, uint8_t>)
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    else if constexpr (std::is_same_v<T, uint16_t>)
        return _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    else
        return _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
}
template <class T>
[[gnu::always_inline]] inline __m512i loadAsInt32(const T* p, __mmask16 k) {
    static_assert(isOneOf<T, uint8_t, uint16_t, int16_t>, "loadAsInt32: 8u 16u 16s");
    if constexpr (std::is_same_v<T, uint8_t>)
        return _mm512_cvtepu8_epi32(_mm_maskz_loadu_epi8(k, p));
    else if constexpr (std::is_same_v<T, uint16_t>)
        return _mm512_cvtepu16_epi32(_mm256_maskz_loadu_epi16(k, p));
    else
        return _mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(k, p));
}

// Sixteen elements (8u, 16u, 16s, 32f) converted exactly to single precision;
// masked, the lanes of k (others 0).
template <class T>
[[gnu::always_inline]] inline __m512 loadAsFloat(const T* p) {
    if constexpr (isFloat<T>)
        return _mm512_loadu_ps(p);
    else
        return _mm512_cvtepi32_ps(loadAsInt32(p));
}
template <class T>
[[gnu::always_inline]] inline __m512 loadAsFloat(const T* p, __mmask16 k) {
    if constexpr (isFloat<T>)
        return _mm512_maskz_loadu_ps(k, p);
    else
        return _mm512_cvtepi32_ps(loadAsInt32(p, k));
}

// Eight single-precision elements converted to double.
[[gnu::always_inline]] inline __m512d loadAsDouble(const float* p) { return _mm512_cvtps_pd(_mm256_loadu_ps(p)); }

// Lanes 0..7 (H = 0) or 8..15 (H = 1) of sixteen 32f or 32s lanes, converted
// exactly to double.
template <int H>
[[gnu::always_inline]] inline __m512d halfToDouble(__m512 v) {
    if constexpr (H == 0)
        return _mm512_cvtps_pd(_mm512_castps512_ps256(v));
    else
        return _mm512_cvtps_pd(_mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1)));
}
template <int H>
[[gnu::always_inline]] inline __m512d halfToDouble(__m512i v) {
    if constexpr (H == 0)
        return _mm512_cvtepi32_pd(_mm512_castsi512_si256(v));
    else
        return _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(v, 1));
}

// acc64 plus sixteen 32-bit lanes of T (uint32_t or int32_t) widened to
// 64 bits: 64-bit lane j gains lanes j and j + 8.
template <class T>
[[gnu::always_inline]] inline __m512i addWidened(__m512i acc64, __m512i v32) {
    static_assert(std::is_same_v<T, uint32_t> || std::is_same_v<T, int32_t>);
    const __m256i lo = _mm512_castsi512_si256(v32), hi = _mm512_extracti64x4_epi64(v32, 1);
    if constexpr (std::is_same_v<T, uint32_t>)
        return _mm512_add_epi64(acc64, _mm512_add_epi64(_mm512_cvtepu32_epi64(lo), _mm512_cvtepu32_epi64(hi)));
    else
        return _mm512_add_epi64(acc64, _mm512_add_epi64(_mm512_cvtepi32_epi64(lo), _mm512_cvtepi32_epi64(hi)));
}

#if !ZEPCV_EMULATE_AVX512
// acc plus, in each 32-bit lane, the four products of the unsigned bytes of u
// with the signed bytes of s in the same byte positions, wrapping (AVX512-VNNI
// vpdpbusd). Written as assembly so that its callers need no other target:
// only for code that runs where the processor has been seen to have it.
[[gnu::always_inline]] inline __m512i addDotBytes(__m512i acc, __m512i u, __m512i s) {
    asm("vpdpbusd %2, %1, %0" : "+v"(acc) : "v"(u), "v"(s));
    return acc;
}
#endif

// 1.0 in the selected lanes, 0.0 elsewhere: a mask applied arithmetically.
[[gnu::always_inline]] inline __m512 unitWhere(__mmask16 lanes) {
    return _mm512_maskz_mov_ps(lanes, _mm512_set1_ps(1.0f));
}

// ---- Narrowing: the library's roundings.

// Nearest integer, ties up (floor(v + 0.5) with the sum rounded first),
// saturated to T's range; NaN gives 0. T = float keeps v.
template <class T>
[[gnu::always_inline]] inline T roundHalfUp(float v) {
    if constexpr (isFloat<T>) {
        return v;
    } else {
        static_assert(std::is_same_v<T, uint8_t> || std::is_same_v<T, uint16_t>);
        constexpr float top = std::is_same_v<T, uint8_t> ? 255.0f : 65535.0f;
        float t = std::floor(v + 0.5f);
        t = t > 0.0f ? t : 0.0f;
        t = t < top ? t : top;
        return static_cast<T>(static_cast<int32_t>(t));
    }
}

namespace detail {

// floor(v + 0.5) as integers from 0 up, for an unsigned saturating store:
// values past 65536 are held there first, and NaN, -inf and anything below
// 0 convert to a negative integer that the max lifts to 0 (min returns its
// second operand, NaN, when that is NaN).
[[gnu::always_inline]] inline __m512i halfUpIntegers(__m512 v) {
    const __m512 t = _mm512_min_ps(_mm512_set1_ps(65536.0f), _mm512_add_ps(v, _mm512_set1_ps(0.5f)));
    const __m512i i = _mm512_cvt_roundps_epi32(t, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
    return _mm512_max_epi32(i, _mm512_setzero_si512());
}

}  // namespace detail

// Sixteen results stored as elements of T (8u, 16u, 32f) by roundHalfUp;
// masked, the lanes of k only.
template <class T>
[[gnu::always_inline]] inline void storeRoundHalfUp(T* p, __m512 v) {
    if constexpr (isFloat<T>) {
        _mm512_storeu_ps(p, v);
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtusepi32_epi8(detail::halfUpIntegers(v)));
    } else {
        static_assert(std::is_same_v<T, uint16_t>);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtusepi32_epi16(detail::halfUpIntegers(v)));
    }
}
template <class T>
[[gnu::always_inline]] inline void storeRoundHalfUp(T* p, __m512 v, __mmask16 k) {
    if constexpr (isFloat<T>) {
        _mm512_mask_storeu_ps(p, k, v);
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        _mm512_mask_cvtusepi32_storeu_epi8(p, k, detail::halfUpIntegers(v));
    } else {
        static_assert(std::is_same_v<T, uint16_t>);
        _mm512_mask_cvtusepi32_storeu_epi16(p, k, detail::halfUpIntegers(v));
    }
}

// A non-negative value truncated toward zero, 2^31 and above held at
// INT32_MAX; NaN gives INT32_MIN, as the conversion instruction does.
[[gnu::always_inline]] inline int32_t truncSaturated(float v) {
    if (v >= 2147483648.0f) return INT32_MAX;
    return v == v ? static_cast<int32_t>(v) : INT32_MIN;
}
[[gnu::always_inline]] inline __m512i truncSaturated(__m512 v) {
    const __mmask16 high = _mm512_cmp_ps_mask(v, _mm512_set1_ps(2147483648.0f), _CMP_GE_OQ);
    return _mm512_mask_mov_epi32(_mm512_cvttps_epi32(v), high, _mm512_set1_epi32(INT32_MAX));
}

// ---- Element-wise minimum, maximum, absolute difference and compares.
// For 32f and 64f, min(a, b) and max(a, b) return b when either is NaN.

namespace detail {

// The lane-wise minimum (Max false) or maximum of a and b.
template <class T, bool Max>
[[gnu::always_inline]] inline Vec<T> extreme(Vec<T> a, Vec<T> b) {
    static_assert(isOneOf<T, uint8_t, uint16_t, int16_t, uint32_t, int32_t, float, double>,
                  "min, max: 8u 16u 16s 32u 32s 32f 64f");
    if constexpr (isFloat<T>)
        return Max ? _mm512_max_ps(a, b) : _mm512_min_ps(a, b);
    else if constexpr (isDouble<T>)
        return Max ? _mm512_max_pd(a, b) : _mm512_min_pd(a, b);
    else if constexpr (std::is_same_v<T, uint8_t>)
        return Max ? _mm512_max_epu8(a, b) : _mm512_min_epu8(a, b);
    else if constexpr (std::is_same_v<T, uint16_t>)
        return Max ? _mm512_max_epu16(a, b) : _mm512_min_epu16(a, b);
    else if constexpr (std::is_same_v<T, int16_t>)
        return Max ? _mm512_max_epi16(a, b) : _mm512_min_epi16(a, b);
    else if constexpr (std::is_same_v<T, uint32_t>)
        return Max ? _mm512_max_epu32(a, b) : _mm512_min_epu32(a, b);
    else
        return Max ? _mm512_max_epi32(a, b) : _mm512_min_epi32(a, b);
}

// The same in the lanes of k; the other lanes keep src.
template <class T, bool Max>
[[gnu::always_inline]] inline Vec<T> extreme(Vec<T> src, Mask<T> k, Vec<T> a, Vec<T> b) {
    static_assert(isOneOf<T, uint8_t, uint16_t, uint32_t, int32_t, float>, "masked min, max: 8u 16u 32u 32s 32f");
    if constexpr (isFloat<T>)
        return Max ? _mm512_mask_max_ps(src, k, a, b) : _mm512_mask_min_ps(src, k, a, b);
    else if constexpr (std::is_same_v<T, uint8_t>)
        return Max ? _mm512_mask_max_epu8(src, k, a, b) : _mm512_mask_min_epu8(src, k, a, b);
    else if constexpr (std::is_same_v<T, uint16_t>)
        return Max ? _mm512_mask_max_epu16(src, k, a, b) : _mm512_mask_min_epu16(src, k, a, b);
    else if constexpr (std::is_same_v<T, uint32_t>)
        return Max ? _mm512_mask_max_epu32(src, k, a, b) : _mm512_mask_mov_epi32(src, k, _mm512_min_epu32(a, b));
    else
        return _mm512_mask_mov_epi32(src, k, (extreme<T, Max>(a, b)));
}

// The lanes where a > b (Greater) or a < b; for 32f ordered, so never where a NaN is.
template <class T, bool Greater>
[[gnu::always_inline]] inline Mask<T> compare(Vec<T> a, Vec<T> b) {
    static_assert(isOneOf<T, uint8_t, uint16_t, int32_t, float>, "less, greater: 8u 16u 32s 32f");
    if constexpr (isFloat<T>)
        return _mm512_cmp_ps_mask(a, b, Greater ? _CMP_GT_OQ : _CMP_LT_OQ);
    else if constexpr (std::is_same_v<T, uint8_t>)
        return Greater ? _mm512_cmpgt_epu8_mask(a, b) : _mm512_cmplt_epu8_mask(a, b);
    else if constexpr (std::is_same_v<T, uint16_t>)
        return Greater ? _mm512_cmpgt_epu16_mask(a, b) : _mm512_cmplt_epu16_mask(a, b);
    else
        return Greater ? _mm512_cmpgt_epi32_mask(a, b) : _mm512_cmpgt_epi32_mask(b, a);
}

}  // namespace detail

template <class T>
[[gnu::always_inline]] inline Vec<T> min(Vec<T> a, Vec<T> b) {
    return detail::extreme<T, false>(a, b);
}
template <class T>
[[gnu::always_inline]] inline Vec<T> max(Vec<T> a, Vec<T> b) {
    return detail::extreme<T, true>(a, b);
}
template <class T>
[[gnu::always_inline]] inline Vec<T> min(Vec<T> src, Mask<T> k, Vec<T> a, Vec<T> b) {
    return detail::extreme<T, false>(src, k, a, b);
}
template <class T>
[[gnu::always_inline]] inline Vec<T> max(Vec<T> src, Mask<T> k, Vec<T> a, Vec<T> b) {
    return detail::extreme<T, true>(src, k, a, b);
}
template <class T>
[[gnu::always_inline]] inline Mask<T> less(Vec<T> a, Vec<T> b) {
    return detail::compare<T, false>(a, b);
}
template <class T>
[[gnu::always_inline]] inline Mask<T> greater(Vec<T> a, Vec<T> b) {
    return detail::compare<T, true>(a, b);
}

// |a - b|: exact for unsigned integers; for 32f the rounded difference with
// its sign bit cleared (NaN stays NaN, -0 becomes +0).
template <class T>
[[gnu::always_inline]] inline Vec<T> absDiff(Vec<T> a, Vec<T> b) {
    static_assert(isOneOf<T, uint8_t, uint16_t, float>, "absDiff: 8u 16u 32f");
    if constexpr (isFloat<T>)
        return _mm512_abs_ps(_mm512_sub_ps(a, b));
    else if constexpr (std::is_same_v<T, uint8_t>)
        return _mm512_or_si512(_mm512_subs_epu8(a, b), _mm512_subs_epu8(b, a));
    else
        return _mm512_or_si512(_mm512_subs_epu16(a, b), _mm512_subs_epu16(b, a));
}

// ---- Horizontal reductions.

namespace detail {

// Integer lanes folded by op: halves of the 32-bit lanes in turn, then the
// parts of lane 0 for narrower elements. Any order gives an integer
// minimum or maximum.
template <class T, class Op>
[[gnu::always_inline]] inline T foldLanes(__m512i v, Op op) {
    v = op(v, _mm512_alignr_epi32(v, v, 8));
    v = op(v, _mm512_alignr_epi32(v, v, 4));
    v = op(v, _mm512_alignr_epi32(v, v, 2));
    v = op(v, _mm512_alignr_epi32(v, v, 1));
    if constexpr (sizeof(T) <= 2) v = op(v, _mm512_srli_epi32(v, 16));
    if constexpr (sizeof(T) == 1) v = op(v, _mm512_srli_epi32(v, 8));
    return static_cast<T>(_mm512_cvtsi512_si32(v));
}

}  // namespace detail

// The least (greatest) lane. For 32f the order of GCC's reduction, which
// decides between -0 and +0 and which NaN operands decide.
template <class T>
[[gnu::always_inline]] inline T reduceMin(Vec<T> v) {
    if constexpr (isFloat<T>)
        return _mm512_reduce_min_ps(v);
    else
        return detail::foldLanes<T>(v, [](__m512i a, __m512i b) { return min<T>(a, b); });
}
template <class T>
[[gnu::always_inline]] inline T reduceMax(Vec<T> v) {
    if constexpr (isFloat<T>)
        return _mm512_reduce_max_ps(v);
    else
        return detail::foldLanes<T>(v, [](__m512i a, __m512i b) { return max<T>(a, b); });
}

// The sum of eight double lanes, halves added pairwise: lane i with i + 4,
// then i with i + 2, then the last two (pairwiseSum is the same in scalar form).
[[gnu::always_inline]] inline double reduceAdd(__m512d v) {
    const __m256d a4 = _mm256_add_pd(_mm512_castpd512_pd256(v), _mm512_extractf64x4_pd(v, 1));
    const __m128d a2 = _mm_add_pd(_mm256_castpd256_pd128(a4), _mm256_extractf128_pd(a4, 1));
    return _mm_cvtsd_f64(_mm_add_sd(a2, _mm_unpackhi_pd(a2, a2)));
}
[[gnu::always_inline]] inline double pairwiseSum(const double (&lane)[8]) {
    double a[4], b[2];
    for (int i = 0; i < 4; ++i) a[i] = lane[i] + lane[i + 4];
    for (int i = 0; i < 2; ++i) b[i] = a[i] + a[i + 2];
    return b[0] + b[1];
}

// The total of eight 64-bit lanes modulo 2^64 (the intrinsic's reduction adds
// signed lanes, which must not wrap).
[[gnu::always_inline]] inline uint64_t reduceAdd64(__m512i v) {
    const __m256i a = _mm256_add_epi64(_mm512_castsi512_si256(v), _mm512_extracti64x4_epi64(v, 1));
    const __m128i b = _mm_add_epi64(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(b, _mm_unpackhi_epi64(b, b))));
}

// The exact total of eight unsigned 64-bit lanes.
[[gnu::always_inline]] inline unsigned __int128 reduceAddExact(__m512i v) {
    alignas(64) uint64_t lane[8];
    _mm512_store_si512(lane, v);
    unsigned __int128 s = 0;
    for (uint64_t x : lane) s += x;
    return s;
}

// ==== Separable filters and pyramid layers: narrow lanes, packed pairs and
// streaming stores. (Appended vocabulary; the sections above are unchanged.)

// Eight elements (8u, 16u, 16s) converted exactly to double; the lanes of k (others 0).
template <class T>
[[gnu::always_inline]] inline __m512d loadAsDouble(const T* p, __mmask8 k) {
    static_assert(isOneOf<T, uint8_t, uint16_t, int16_t>, "loadAsDouble: 8u 16u 16s");
    if constexpr (std::is_same_v<T, uint8_t>)
        return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(_mm_maskz_loadu_epi8(k, p)));
    else if constexpr (std::is_same_v<T, uint16_t>)
        return _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(_mm_maskz_loadu_epi16(k, p)));
    else
        return _mm512_cvtepi32_pd(_mm256_cvtepi16_epi32(_mm_maskz_loadu_epi16(k, p)));
}

// Thirty-two elements (8u, 16u, 16s) as 16-bit lanes, 8u zero-extended; the
// lanes of k (others 0).
template <class T>
[[gnu::always_inline]] inline __m512i loadAsInt16(const T* p, __mmask32 k) {
    static_assert(isOneOf<T, uint8_t, uint16_t, int16_t>, "loadAsInt16: 8u 16u 16s");
    if constexpr (std::is_same_v<T, uint8_t>)
        return _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(k, p));
    else
        return _mm512_maskz_loadu_epi16(k, p);
}

// 32-bit lanes whose values lie inside T's range (8u 8s 16u 16s) stored as
// elements of T, the lanes of k only: sixteen from a 512-bit vector, eight
// from a 256-bit one.
template <class T>
[[gnu::always_inline]] inline void storeNarrow(T* p, __m512i v, __mmask16 k) {
    static_assert(isOneOf<T, uint8_t, int8_t, uint16_t, int16_t>, "storeNarrow: 8u 8s 16u 16s");
    if constexpr (sizeof(T) == 1)
        _mm_mask_storeu_epi8(p, k, _mm512_cvtepi32_epi8(v));
    else
        _mm256_mask_storeu_epi16(p, k, _mm512_cvtepi32_epi16(v));
}
template <class T>
[[gnu::always_inline]] inline void storeNarrow(T* p, __m256i v, __mmask8 k) {
    static_assert(isOneOf<T, uint8_t, int8_t, uint16_t, int16_t>, "storeNarrow: 8u 8s 16u 16s");
    if constexpr (sizeof(T) == 1)
        _mm_mask_storeu_epi8(p, k, _mm256_cvtepi32_epi8(v));
    else
        _mm_mask_storeu_epi16(p, k, _mm256_cvtepi32_epi16(v));
}

// Sixteen 32-bit lanes whose values lie inside T's range (8u 8s 16u 16s) as
// sixteen elements of T, in order: a 256-bit vector for 16-bit T, 128-bit for 8-bit.
template <class T>
[[gnu::always_inline]] inline auto narrow(__m512i v) {
    static_assert(isOneOf<T, uint8_t, int8_t, uint16_t, int16_t>, "narrow: 8u 8s 16u 16s");
    if constexpr (sizeof(T) == 1)
        return _mm512_cvtepi32_epi8(v);
    else
        return _mm512_cvtepi32_epi16(v);
}

// Two vectors of sixteen 32-bit lanes packed into thirty-two elements of T,
// each saturated to T's range, in the order of the 128-bit-lane packs: within
// every 128-bit lane, four lanes of lo, then four of hi (the inverse of
// interleaving 16-bit lanes with unpacklo and unpackhi): a 512-bit vector for
// 16-bit T, 256-bit for 8-bit.
template <class T>
[[gnu::always_inline]] inline auto packSaturated(__m512i lo, __m512i hi) {
    static_assert(isOneOf<T, uint8_t, int8_t, uint16_t, int16_t>, "packSaturated: 8u 8s 16u 16s");
    // (explicit pass-through operands: GCC's "undefined" ones warn in debug builds)
    if constexpr (std::is_same_v<T, int16_t>) {
        return _mm512_packs_epi32(lo, hi);
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        return _mm512_packus_epi32(lo, hi);
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        const __m512i w = _mm512_max_epi16(_mm512_packs_epi32(lo, hi), _mm512_setzero_si512());
        return _mm512_mask_cvtusepi16_epi8(_mm256_setzero_si256(), ~__mmask32{0}, w);
    } else {
        return _mm512_mask_cvtsepi16_epi8(_mm256_setzero_si256(), ~__mmask32{0}, _mm512_packs_epi32(lo, hi));
    }
}

// Thirty-two packed elements of T to p, the lanes of k only.
template <class T, class V>
[[gnu::always_inline]] inline void storePacked(T* p, V v, __mmask32 k) {
    if constexpr (sizeof(T) == 2)
        _mm512_mask_storeu_epi16(p, k, v);
    else
        _mm256_mask_storeu_epi8(p, k, v);
}

// A whole vector to p, aligned to the vector's size, with a non-temporal store:
// the line is neither read first nor kept in the cache. The caller orders a
// call's streaming stores with _mm_sfence before it returns (finishStores).
[[gnu::always_inline]] inline void stream(float* p, __m512 v) { _mm512_stream_ps(p, v); }
template <class T>
[[gnu::always_inline]] inline void stream(T* p, __m512i v) {
    _mm512_stream_si512(reinterpret_cast<__m512i*>(p), v);
}
template <class T>
[[gnu::always_inline]] inline void stream(T* p, __m256i v) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v);
}
template <class T>
[[gnu::always_inline]] inline void stream(T* p, __m128i v) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(p), v);
}

// storeRoundHalfUp's sixteen results with a non-temporal store, to p aligned
// to their bytes (64 for 32f, 32 for 16u, 16 for 8u).
template <class T>
[[gnu::always_inline]] inline void streamRoundHalfUp(T* p, __m512 v) {
    if constexpr (isFloat<T>) {
        _mm512_stream_ps(p, v);
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtusepi32_epi8(detail::halfUpIntegers(v)));
    } else {
        static_assert(std::is_same_v<T, uint16_t>);
        _mm256_stream_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtusepi32_epi16(detail::halfUpIntegers(v)));
    }
}

// The elements from p to the next boundary of B bytes (0 if p is on one, or if
// p is not aligned to its elements and so never reaches one).
template <int B, class T>
[[gnu::always_inline]] inline int64_t toBoundary(const T* p) {
    const auto bytes = static_cast<int64_t>((B - (reinterpret_cast<uintptr_t>(p) & (B - 1))) & (B - 1));
    return bytes % static_cast<int64_t>(sizeof(T)) ? 0 : bytes / static_cast<int64_t>(sizeof(T));
}

}  // namespace zep::simd

// ===========================================================================
// Saturating sums, eight-lane halves, gathers and scatters.
//
// Element types each operation takes (a static_assert names the others):
//   addSaturated                              8u 16u 32f
//   loadHalf                                  32s 32u
//   storeHalf                                 32s 32u 32f
//   gather                                    32s 32u 32f
//   gatherHalf, scatter                       32s 32u

namespace zep::simd {

// a + b: 8u and 16u held at their largest value, 32f rounded to nearest.
template <class T>
[[gnu::always_inline]] inline Vec<T> addSaturated(Vec<T> a, Vec<T> b) {
    static_assert(isOneOf<T, uint8_t, uint16_t, float>, "addSaturated: 8u 16u 32f");
    if constexpr (isFloat<T>)
        return _mm512_add_ps(a, b);
    else if constexpr (sizeof(T) == 1)
        return _mm512_adds_epu8(a, b);
    else
        return _mm512_adds_epu16(a, b);
}

// Eight 32-bit lanes, half a vector: the partner of eight double lanes.
template <class T>
struct HalfVecOf {
    static_assert(sizeof(T) == 4, "half vectors hold eight 32-bit lanes");
    using type = __m256i;
};
template <>
struct HalfVecOf<float> {
    using type = __m256;
};
template <class T>
using HalfVec = typename HalfVecOf<T>::type;

// The lanes of k of eight elements at p, zero elsewhere; no other element is read.
template <class T>
[[gnu::always_inline]] inline HalfVec<T> loadHalf(const T* p, LaneMask<8> k) {
    static_assert(isOneOf<T, int32_t, uint32_t>, "loadHalf: 32s 32u");
    return _mm256_maskz_loadu_epi32(k, p);
}

// The lanes of k of v to p; nothing else is written.
template <class T>
[[gnu::always_inline]] inline void storeHalf(T* p, HalfVec<T> v, LaneMask<8> k) {
    if constexpr (isFloat<T>)
        _mm256_mask_storeu_ps(p, k, v);
    else
        _mm256_mask_storeu_epi32(p, k, v);
}

// Lane i: base[index[i]] in the lanes of k, 0 elsewhere. Only the elements of
// the lanes of k are read.
template <class T>
[[gnu::always_inline]] inline Vec<T> gather(const T* base, __m512i index, Mask<T> k) {
    static_assert(isOneOf<T, int32_t, uint32_t, float>, "gather: 32s 32u 32f");
    if constexpr (isFloat<T>)
        return _mm512_mask_i32gather_ps(_mm512_setzero_ps(), k, index, base, 4);
    else
        return _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), k, index, base, 4);
}
template <class T>
[[gnu::always_inline]] inline HalfVec<T> gatherHalf(const T* base, __m256i index, LaneMask<8> k) {
    static_assert(isOneOf<T, int32_t, uint32_t>, "gatherHalf: 32s 32u");
    return _mm256_mmask_i32gather_epi32(_mm256_setzero_si256(), k, index, base, 4);
}

// base[index[i]] = lane i of v for the lanes i of k, in lane order (where two
// lanes share an index, the higher lane's value stays). Nothing else is written.
template <class T>
[[gnu::always_inline]] inline void scatter(T* base, __m512i index, Vec<T> v, Mask<T> k) {
    static_assert(isOneOf<T, int32_t, uint32_t>, "scatter: 32s 32u");
    _mm512_mask_i32scatter_epi32(base, k, index, v, 4);
}

}  // namespace zep::simd
