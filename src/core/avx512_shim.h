// AVX-512 on x86-64-v3, for the emulated configuration only (ZEPCV_EMULATE_AVX512).
//
// SIMDe supplies the 512-bit types and most intrinsics under their own names.
// This file adds, from each instruction's documented behaviour, what SIMDe
// 0.7.4 lacks, names with the wrong arity, or computes differently. GCC
// declares every one of these names in immintrin.h, so each is mapped by a
// macro onto a function here rather than declared again.
//
// Masked loads and stores touch no byte of a masked-off lane, as the
// instructions do; streaming stores fault on an address not 64-byte aligned.
// Conversions use the same x86 instructions on narrower vectors (or scalars),
// so rounding, NaN and out-of-range results are those of the native build.
#pragma once

#define SIMDE_ENABLE_NATIVE_ALIASES
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#include <simde/x86/avx512.h>
#pragma GCC diagnostic pop

#include <cstdint>
#include <cstring>

namespace zep::emu {

// ---- Lanes: a vector viewed as an array of elements, and back.
template <class T, class V>
struct Lanes {
    static constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    T at[n];
    explicit Lanes(const V& v) { std::memcpy(at, &v, sizeof(V)); }
    Lanes() : at{} {}
    V vec() const {
        V v;
        std::memcpy(&v, at, sizeof(V));
        return v;
    }
};

inline bool bit(uint64_t k, int i) { return (k >> i) & 1u; }

// ---- Masked memory access, lane by lane.
template <class T, class V>
inline V maskedLoad(V src, uint64_t k, const void* p) {
    Lanes<T, V> r(src);
    for (int i = 0; i < r.n; ++i)
        if (bit(k, i)) std::memcpy(&r.at[i], static_cast<const char*>(p) + i * sizeof(T), sizeof(T));
    return r.vec();
}
template <class T, class V>
inline void maskedStore(void* p, uint64_t k, V v) {
    const Lanes<T, V> a(v);
    for (int i = 0; i < a.n; ++i)
        if (bit(k, i)) std::memcpy(static_cast<char*>(p) + i * sizeof(T), &a.at[i], sizeof(T));
}
template <class T, class V>
inline V gather(V src, uint64_t k, const int32_t* index, const void* base, int scale) {
    Lanes<T, V> r(src);
    for (int i = 0; i < r.n; ++i)
        if (bit(k, i))
            std::memcpy(&r.at[i], static_cast<const char*>(base) + static_cast<int64_t>(index[i]) * scale, sizeof(T));
    return r.vec();
}
inline __m512 gatherPs(__m512 src, uint64_t k, __m512i index, const void* base, int scale) {
    return gather<float>(src, k, Lanes<int32_t, __m512i>(index).at, base, scale);
}
inline __m512i gatherEpi32(__m512i src, uint64_t k, __m512i index, const void* base, int scale) {
    return gather<int32_t>(src, k, Lanes<int32_t, __m512i>(index).at, base, scale);
}
inline __m256i gatherEpi32(__m256i src, uint64_t k, __m256i index, const void* base, int scale) {
    return gather<int32_t>(src, k, Lanes<int32_t, __m256i>(index).at, base, scale);
}
// Lanes are written in order, so of two lanes with one address the higher wins.
inline void scatterEpi32(void* base, uint64_t k, __m512i index, __m512i v, int scale) {
    const Lanes<int32_t, __m512i> i32(index), a(v);
    for (int i = 0; i < 16; ++i)
        if (bit(k, i)) std::memcpy(static_cast<char*>(base) + static_cast<int64_t>(i32.at[i]) * scale, &a.at[i], 4);
}
template <class V>
inline void stream(void* p, V v) {
    if (reinterpret_cast<uintptr_t>(p) % 64 != 0) __builtin_trap();  // as the instruction faults
    const Lanes<__m256i, V> h(v);
    _mm256_stream_si256(static_cast<__m256i*>(p), h.at[0]);
    _mm256_stream_si256(static_cast<__m256i*>(p) + 1, h.at[1]);
}

// ---- Element-wise maps between lane types.
template <class To, class From, class VOut, class VIn, class F>
inline VOut map(VIn in, F f) {
    const Lanes<From, VIn> a(in);
    Lanes<To, VOut> r;
    for (int i = 0; i < a.n && i < r.n; ++i) r.at[i] = f(a.at[i]);
    return r.vec();
}
template <class To, class From, class VOut, class VIn>
inline VOut convert(VIn in) {
    return map<To, From, VOut>(in, [](From x) { return static_cast<To>(x); });
}
template <class To, class From, class VOut, class VIn>
inline VOut saturateUnsigned(VIn in) {
    constexpr From top = static_cast<From>(static_cast<To>(~To{0}));
    return map<To, From, VOut>(in, [](From x) { return static_cast<To>(x > top ? top : x); });
}
template <class V>
inline V blend(uint64_t k, V ifClear, V ifSet) {
    Lanes<int32_t, V> r(ifClear);
    const Lanes<int32_t, V> s(ifSet);
    for (int i = 0; i < r.n; ++i)
        if (bit(k, i)) r.at[i] = s.at[i];
    return r.vec();
}

// The two 256-bit halves of a 512-bit vector, for reusing the AVX2 form of an instruction.
template <class H, class V>
inline H half(V v, int i) {
    return Lanes<H, V>(v).at[i];
}
template <class V, class H>
inline V join(H lo, H hi) {
    Lanes<H, V> r;
    r.at[0] = lo;
    r.at[1] = hi;
    return r.vec();
}

// An instruction's narrower form applied to each half of the operand.
template <class VOut, class HIn, class VIn, class F>
inline VOut byHalves(VIn a, F f) {
    return join<VOut>(f(half<HIn>(a, 0)), f(half<HIn>(a, 1)));
}
inline __m512i cvttps_epi32(__m512 a) {
    return byHalves<__m512i, __m256>(a, [](__m256 h) { return _mm256_cvttps_epi32(h); });
}
inline __m256i cvtpd_epi32(__m512d a) {
    return byHalves<__m256i, __m256d>(a, [](__m256d h) { return _mm256_cvtpd_epi32(h); });
}
inline __m256 cvtpd_ps(__m512d a) {
    return byHalves<__m256, __m256d>(a, [](__m256d h) { return _mm256_cvtpd_ps(h); });
}
inline __m512d cvtps_pd(__m256 a) {
    return byHalves<__m512d, __m128>(a, [](__m128 h) { return _mm256_cvtps_pd(h); });
}
inline __m512 cvtepi32_ps(__m512i a) {
    return byHalves<__m512, __m256i>(a, [](__m256i h) { return _mm256_cvtepi32_ps(h); });
}
inline __m512d cvtepi32_pd(__m256i a) {
    return byHalves<__m512d, __m128i>(a, [](__m128i h) { return _mm256_cvtepi32_pd(h); });
}
// Conversion under an explicit rounding (or the current one, _MM_FROUND_CUR_DIRECTION):
// rounding to an integral value first is exact, and the conversion then keeps it.
template <int R>
inline __m256 roundTo(__m256 a) {
    if constexpr ((R & _MM_FROUND_CUR_DIRECTION) != 0)
        return a;
    else
        return _mm256_round_ps(a, (R & 3) | _MM_FROUND_NO_EXC);
}
template <int R>
inline __m512i cvt_roundps_epi32(__m512 a) {
    return byHalves<__m512i, __m256>(a, [](__m256 h) { return _mm256_cvtps_epi32(roundTo<R>(h)); });
}
// A sum under an explicit rounding: the current one is set for the two
// additions of the halves and restored.
template <int R>
inline __m512 add_round_ps(__m512 a, __m512 b) {
    if constexpr ((R & _MM_FROUND_CUR_DIRECTION) != 0)
        return join<__m512>(_mm256_add_ps(half<__m256>(a, 0), half<__m256>(b, 0)),
                            _mm256_add_ps(half<__m256>(a, 1), half<__m256>(b, 1)));
    const unsigned saved = _mm_getcsr();
    _mm_setcsr((saved & ~0x6000u) | (unsigned(R & 3) << 13));
    const __m256 lo = _mm256_add_ps(half<__m256>(a, 0), half<__m256>(b, 0));
    const __m256 hi = _mm256_add_ps(half<__m256>(a, 1), half<__m256>(b, 1));
    _mm_setcsr(saved);
    return join<__m512>(lo, hi);
}
template <int R>
inline int cvt_roundss_si32(__m128 a) {
    if constexpr ((R & _MM_FROUND_CUR_DIRECTION) != 0)
        return _mm_cvtss_si32(a);
    else
        return _mm_cvtss_si32(_mm_round_ss(a, a, (R & 3) | _MM_FROUND_NO_EXC));
}
inline __m512 mask3_fmadd_ps(__m512 a, __m512 b, __m512 c, uint64_t k) {
    const __m512 f = join<__m512>(_mm256_fmadd_ps(half<__m256>(a, 0), half<__m256>(b, 0), half<__m256>(c, 0)),
                                  _mm256_fmadd_ps(half<__m256>(a, 1), half<__m256>(b, 1), half<__m256>(c, 1)));
    return blend(k, c, f);
}

template <class T, class V>
inline uint64_t testMask(V a, V b) {
    const Lanes<T, V> x(a), y(b);
    uint64_t k = 0;
    for (int i = 0; i < x.n; ++i)
        if ((x.at[i] & y.at[i]) != 0) k |= uint64_t{1} << i;
    return k;
}
template <class T, class V, class F>
inline uint64_t compareMask(uint64_t k, V a, V b, F f) {
    const Lanes<T, V> x(a), y(b);
    uint64_t r = 0;
    for (int i = 0; i < x.n; ++i)
        if (bit(k, i) && f(x.at[i], y.at[i])) r |= uint64_t{1} << i;
    return r;
}
inline constexpr uint64_t kAll = ~uint64_t{0};

// Lanes imm..imm+15 of the 32 lanes b, a (b low).
inline __m512i alignr_epi32(__m512i a, __m512i b, int imm) {
    const Lanes<int32_t, __m512i> x(a), y(b);
    Lanes<int32_t, __m512i> r;
    for (int i = 0; i < 16; ++i) {
        const int j = i + (imm & 15);
        r.at[i] = j < 16 ? y.at[j] : x.at[j - 16];
    }
    return r.vec();
}
inline __m512i maskz_sra_epi32(uint64_t k, __m512i a, __m128i count) {
    const uint64_t c = Lanes<uint64_t, __m128i>(count).at[0];
    const int s = c > 31 ? 31 : static_cast<int>(c);
    const __m512i shifted = map<int32_t, int32_t, __m512i>(a, [s](int32_t x) { return x >> s; });
    return blend(k, __m512i{}, shifted);
}
inline __m512i maskz_sub_epi16(uint64_t k, __m512i a, __m512i b) {
    const Lanes<int16_t, __m512i> x(a), y(b);
    Lanes<int16_t, __m512i> r;
    for (int i = 0; i < 32; ++i)
        if (bit(k, i))
            r.at[i] = static_cast<int16_t>(static_cast<uint16_t>(x.at[i]) - static_cast<uint16_t>(y.at[i]));
    return r.vec();
}
inline __m256i mask_cvtusepi16_epi8(__m256i src, uint64_t k, __m512i a) {
    const __m256i s = saturateUnsigned<uint8_t, uint16_t, __m256i>(a);
    Lanes<uint8_t, __m256i> r(src);
    const Lanes<uint8_t, __m256i> n(s);
    for (int i = 0; i < 32; ++i)
        if (bit(k, i)) r.at[i] = n.at[i];
    return r.vec();
}
// The instruction clears the sign bit, of -0 and of NaN too.
inline __m512 abs_ps(__m512 a) {
    return map<uint32_t, uint32_t, __m512>(a, [](uint32_t x) { return x & 0x7fffffffu; });
}
// In the operation order of GCC's own reduction, which decides NaN and ±0 results.
template <__m256 (*Op8)(__m256, __m256), __m128 (*Op4)(__m128, __m128)>
inline float reduce(__m512 a) {
    const __m256 t3 = Op8(half<__m256>(a, 1), half<__m256>(a, 0));
    const __m128 t6 = Op4(_mm256_extractf128_ps(t3, 1), _mm256_extractf128_ps(t3, 0));
    const __m128 t8 = Op4(t6, _mm_shuffle_ps(t6, t6, _MM_SHUFFLE(1, 0, 3, 2)));
    const __m128 t10 = Op4(t8, _mm_shuffle_ps(t8, t8, _MM_SHUFFLE(0, 1, 0, 1)));
    return _mm_cvtss_f32(t10);
}
inline __m256 min8(__m256 a, __m256 b) { return _mm256_min_ps(a, b); }
inline __m256 max8(__m256 a, __m256 b) { return _mm256_max_ps(a, b); }
inline __m128 min4(__m128 a, __m128 b) { return _mm_min_ps(a, b); }
inline __m128 max4(__m128 a, __m128 b) { return _mm_max_ps(a, b); }

}  // namespace zep::emu

// ---- SIMDe aliases of the wrong arity.
#undef _mm512_madd_epi16
#define _mm512_madd_epi16(a, b) simde_mm512_madd_epi16(a, b)
#undef _mm512_mask_cmpge_epi32_mask
#define _mm512_mask_cmpge_epi32_mask(k, a, b) simde_mm512_mask_cmpge_epi32_mask(k, a, b)
#undef _mm256_mask_cmpneq_epi32_mask
#define _mm256_mask_cmpneq_epi32_mask(k, a, b) simde_mm256_mask_cmpneq_epi32_mask(k, a, b)
#define _mm256_cmpge_epi32_mask(a, b) simde_mm256_cmpge_epi32_mask(a, b)

// ---- A different result in SIMDe.
#undef _mm512_abs_ps
#define _mm512_abs_ps(a) zep::emu::abs_ps(a)

// ---- Masked loads and stores.
#define _mm_maskz_loadu_epi8(k, p) zep::emu::maskedLoad<int8_t>(__m128i{}, (k), (p))
#define _mm_maskz_loadu_epi16(k, p) zep::emu::maskedLoad<int16_t>(__m128i{}, (k), (p))
#define _mm256_maskz_loadu_epi8(k, p) zep::emu::maskedLoad<int8_t>(__m256i{}, (k), (p))
#define _mm256_maskz_loadu_epi16(k, p) zep::emu::maskedLoad<int16_t>(__m256i{}, (k), (p))
#define _mm256_maskz_loadu_epi32(k, p) zep::emu::maskedLoad<int32_t>(__m256i{}, (k), (p))
#define _mm512_maskz_loadu_epi8(k, p) zep::emu::maskedLoad<int8_t>(__m512i{}, (k), (p))
#define _mm512_maskz_loadu_epi16(k, p) zep::emu::maskedLoad<int16_t>(__m512i{}, (k), (p))
#define _mm512_maskz_loadu_epi32(k, p) zep::emu::maskedLoad<int32_t>(__m512i{}, (k), (p))
#define _mm512_maskz_loadu_ps(k, p) zep::emu::maskedLoad<float>(__m512{}, (k), (p))
#define _mm512_mask_loadu_epi8(s, k, p) zep::emu::maskedLoad<int8_t>(__m512i(s), (k), (p))
#define _mm512_mask_loadu_epi16(s, k, p) zep::emu::maskedLoad<int16_t>(__m512i(s), (k), (p))
#define _mm512_mask_loadu_epi32(s, k, p) zep::emu::maskedLoad<int32_t>(__m512i(s), (k), (p))
#define _mm_mask_storeu_epi8(p, k, v) zep::emu::maskedStore<int8_t>((p), (k), __m128i(v))
#define _mm_mask_storeu_epi16(p, k, v) zep::emu::maskedStore<int16_t>((p), (k), __m128i(v))
#define _mm256_mask_storeu_epi8(p, k, v) zep::emu::maskedStore<int8_t>((p), (k), __m256i(v))
#define _mm256_mask_storeu_epi16(p, k, v) zep::emu::maskedStore<int16_t>((p), (k), __m256i(v))
#define _mm256_mask_storeu_epi32(p, k, v) zep::emu::maskedStore<int32_t>((p), (k), __m256i(v))
#define _mm256_mask_storeu_ps(p, k, v) zep::emu::maskedStore<float>((p), (k), __m256(v))
#define _mm512_mask_storeu_epi16(p, k, v) zep::emu::maskedStore<int16_t>((p), (k), __m512i(v))
#define _mm512_mask_storeu_epi32(p, k, v) zep::emu::maskedStore<int32_t>((p), (k), __m512i(v))
#define _mm512_mask_storeu_epi64(p, k, v) zep::emu::maskedStore<int64_t>((p), (k), __m512i(v))
#define _mm512_mask_storeu_ps(p, k, v) zep::emu::maskedStore<float>((p), (k), __m512(v))
#define _mm512_mask_cvtusepi32_storeu_epi8(p, k, v) \
    zep::emu::maskedStore<uint8_t>((p), (k), zep::emu::saturateUnsigned<uint8_t, uint32_t, __m128i>(v))
#define _mm512_mask_cvtusepi32_storeu_epi16(p, k, v) \
    zep::emu::maskedStore<uint16_t>((p), (k), zep::emu::saturateUnsigned<uint16_t, uint32_t, __m256i>(v))
#define _mm512_mask_i32gather_ps(s, k, i, b, scale) zep::emu::gatherPs((s), (k), (i), (b), (scale))
#define _mm512_mask_i32gather_epi32(s, k, i, b, scale) zep::emu::gatherEpi32((s), (k), (i), (b), (scale))
#define _mm256_mmask_i32gather_epi32(s, k, i, b, scale) zep::emu::gatherEpi32((s), (k), (i), (b), (scale))
#define _mm512_mask_i32scatter_epi32(b, k, i, v, scale) zep::emu::scatterEpi32((b), (k), (i), (v), (scale))
#define _mm512_stream_ps(p, v) zep::emu::stream((p), __m512(v))
#define _mm512_stream_si512(p, v) zep::emu::stream((p), __m512i(v))

// ---- Widening and narrowing.
#define _mm512_cvtepi16_epi32(a) zep::emu::convert<int32_t, int16_t, __m512i>(__m256i(a))
#define _mm512_cvtepu16_epi32(a) zep::emu::convert<int32_t, uint16_t, __m512i>(__m256i(a))
#define _mm512_cvtepu8_epi32(a) zep::emu::convert<int32_t, uint8_t, __m512i>(__m128i(a))
#define _mm512_cvtepu8_epi16(a) zep::emu::convert<int16_t, uint8_t, __m512i>(__m256i(a))
#define _mm512_cvtepi32_epi64(a) zep::emu::convert<int64_t, int32_t, __m512i>(__m256i(a))
#define _mm512_cvtepu32_epi64(a) zep::emu::convert<int64_t, uint32_t, __m512i>(__m256i(a))
#define _mm256_cvtepi32_epi16(a) zep::emu::convert<int16_t, int32_t, __m128i>(__m256i(a))
#define _mm256_cvtepi32_epi8(a) zep::emu::convert<int8_t, int32_t, __m128i>(__m256i(a))
#define _mm512_cvtepi32_epi16(a) zep::emu::convert<int16_t, int32_t, __m256i>(__m512i(a))
#define _mm512_cvtepi32_epi8(a) zep::emu::convert<int8_t, int32_t, __m128i>(__m512i(a))
#define _mm512_cvtusepi32_epi16(a) zep::emu::saturateUnsigned<uint16_t, uint32_t, __m256i>(__m512i(a))
#define _mm512_cvtusepi32_epi8(a) zep::emu::saturateUnsigned<uint8_t, uint32_t, __m128i>(__m512i(a))
#define _mm512_mask_cvtusepi16_epi8(s, k, a) zep::emu::mask_cvtusepi16_epi8((s), (k), (a))

// ---- Float and double conversions.
#define _mm512_cvtepi32_ps(a) zep::emu::cvtepi32_ps(a)
#define _mm512_mask_cvtepi32_ps(s, k, a) zep::emu::blend((k), __m512(s), zep::emu::cvtepi32_ps(a))
#define _mm512_cvtepi32_pd(a) zep::emu::cvtepi32_pd(a)
#define _mm512_cvtepu32_pd(a) zep::emu::convert<double, uint32_t, __m512d>(__m256i(a))
#define _mm512_cvtps_pd(a) zep::emu::cvtps_pd(a)
#define _mm512_cvtpd_ps(a) zep::emu::cvtpd_ps(a)
#define _mm512_cvttps_epi32(a) zep::emu::cvttps_epi32(a)
#define _mm512_cvtpd_epi32(a) zep::emu::cvtpd_epi32(a)
#define _mm512_cvt_roundps_epi32(a, r) zep::emu::cvt_roundps_epi32<(r)>(a)
#define _mm512_add_round_ps(a, b, r) zep::emu::add_round_ps<(r)>((a), (b))
#define _mm512_mask_cvt_roundps_epi32(s, k, a, r) \
    zep::emu::blend((k), __m512i(s), zep::emu::cvt_roundps_epi32<(r)>(a))
#define _mm_cvt_roundss_si32(a, r) zep::emu::cvt_roundss_si32<(r)>(a)
#define _mm512_cvtss_f32(a) zep::emu::half<float>(__m512(a), 0)
#define _mm512_cvtsd_f64(a) zep::emu::half<double>(__m512d(a), 0)
#define _mm512_cvtsi512_si32(a) zep::emu::half<int32_t>(__m512i(a), 0)

// ---- Lane arithmetic, compares and reductions.
#define _mm512_alignr_epi32(a, b, imm) zep::emu::alignr_epi32((a), (b), (imm))
#define _mm512_mask3_fmadd_ps(a, b, c, k) zep::emu::mask3_fmadd_ps((a), (b), (c), (k))
#define _mm512_maskz_sra_epi32(k, a, c) zep::emu::maskz_sra_epi32((k), (a), (c))
#define _mm512_maskz_sub_epi16(k, a, b) zep::emu::maskz_sub_epi16((k), (a), (b))
#define _mm_test_epi8_mask(a, b) static_cast<__mmask16>(zep::emu::testMask<int8_t>(__m128i(a), __m128i(b)))
#define _mm256_test_epi8_mask(a, b) static_cast<__mmask32>(zep::emu::testMask<int8_t>(__m256i(a), __m256i(b)))
#define _mm256_test_epi16_mask(a, b) static_cast<__mmask16>(zep::emu::testMask<int16_t>(__m256i(a), __m256i(b)))
#define _mm512_cmpgt_epu16_mask(a, b)                                                              \
    static_cast<__mmask32>(zep::emu::compareMask<uint16_t>(zep::emu::kAll, __m512i(a), __m512i(b), \
                                                           [](uint16_t zl, uint16_t zr) { return zl > zr; }))
#define _mm512_cmplt_epu16_mask(a, b)                                                              \
    static_cast<__mmask32>(zep::emu::compareMask<uint16_t>(zep::emu::kAll, __m512i(a), __m512i(b), \
                                                           [](uint16_t zl, uint16_t zr) { return zl < zr; }))
#define _mm512_mask_cmpneq_epi32_mask(k, a, b)                                         \
    static_cast<__mmask16>(zep::emu::compareMask<int32_t>((k), __m512i(a), __m512i(b), \
                                                          [](int32_t zl, int32_t zr) { return zl != zr; }))
#define _mm_mask_cmpeq_epi8_mask(k, a, b) \
    static_cast<__mmask16>(               \
        zep::emu::compareMask<int8_t>((k), __m128i(a), __m128i(b), [](int8_t zl, int8_t zr) { return zl == zr; }))
#define _mm512_reduce_min_ps(a) zep::emu::reduce<zep::emu::min8, zep::emu::min4>(a)
#define _mm512_reduce_max_ps(a) zep::emu::reduce<zep::emu::max8, zep::emu::max4>(a)
