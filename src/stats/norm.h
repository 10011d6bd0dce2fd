// Masked norms of an image, of the difference of two images, and relative
// norms: the scalar definitions, the AVX-512 reductions that must agree with
// them, and the checked generic wrapper behind every export.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/channel_lanes.h"
#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"

namespace zep::stats {

enum class NormKind { inf, l1, l2 };
// What is measured: a (Norm), a - b (NormDiff), or a - b against b (NormRel).
enum class NormOf { src, diff, rel };

// The totals of one pass: num over a (or a - b), den over b for relative norms.
// Infinity norms hold the maximum; L2 totals are still squared.
struct NormTotals {
    double num = 0.0;
    double den = 0.0;
};

// Writes the result of the totals and returns the status: the square root for
// L2; for relative norms the quotient in double precision, or on a zero
// denominator +inf, the NaN 0xFFF8000000000000 or -inf with a warning.
template <NormKind K, NormOf O>
ZepStatus finishNorm(NormTotals t, double* result) {
    if constexpr (O != NormOf::rel) {
        *result = K == NormKind::l2 ? std::sqrt(t.num) : t.num;
        return zepStsOk;
    } else {
        if (t.den != 0.0) {
            const double q = t.num / t.den;
            *result = K == NormKind::l2 ? std::sqrt(q) : q;
            return zepStsOk;
        }
        if (t.num > 0.0)
            *result = std::numeric_limits<double>::infinity();
        else if (t.num == 0.0)
            *result = std::bit_cast<double>(uint64_t{0xFFF8000000000000});
        else  // below zero, or NaN
            *result = -std::numeric_limits<double>::infinity();
        return zepStsZeroDenominator;
    }
}

// ---------------------------------------------------------------------------
// 8u and 16u: exact. Each row is summed in 64 bits (no row can overflow it),
// rows are added in 128 bits, and the total is converted to double once.

using Wide = unsigned __int128;

struct IntTotals {
    Wide num = 0;
    Wide den = 0;
};

template <NormKind K>
inline void intAdd(uint64_t& acc, uint64_t v) {
    if constexpr (K == NormKind::inf)
        acc = v > acc ? v : acc;
    else if constexpr (K == NormKind::l1)
        acc += v;
    else
        acc += v * v;
}

template <NormKind K>
inline void intAddRow(Wide& total, uint64_t row) {
    if constexpr (K == NormKind::inf)
        total = row > total ? row : total;
    else
        total += row;
}

// The definition: every selected pixel of channel c (0-based) in image order.
template <NormKind K, NormOf O, class T, int Ch>
IntTotals intNormScalar(Rows<const T> a, Rows<const T> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    IntTotals t;
    for (int y = 0; y < roi.height; ++y) {
        const T* ra = a[y];
        const T* rb = b[y];
        const uint8_t* rm = mask[y];
        uint64_t num = 0, den = 0;
        for (int x = 0; x < roi.width; ++x) {
            if (rm[x] == 0) continue;
            const uint64_t va = ra[ptrdiff_t{x} * Ch + c];
            const uint64_t vb = O == NormOf::src ? 0 : rb[ptrdiff_t{x} * Ch + c];
            intAdd<K>(num, O == NormOf::src ? va : va > vb ? va - vb : vb - va);
            if constexpr (O == NormOf::rel) intAdd<K>(den, vb);
        }
        intAddRow<K>(t.num, num);
        intAddRow<K>(t.den, den);
    }
    return t;
}

// Vector reductions of 8u and 16u lanes. Unselected lanes are loaded as 0,
// which adds nothing and never raises a maximum. Sums of squares are formed
// with vpmaddwd on 16-bit words in 32-bit lanes and moved into 64-bit lanes
// (flush) before they could overflow; every sum is exact, so the lane order
// does not matter.
template <class T>
struct IntVec;

template <>
struct IntVec<uint8_t> {
    static constexpr int E = 64;  // elements in a vector
    static __m512i load(uint64_t k, const uint8_t* p) { return _mm512_maskz_loadu_epi8(k, p); }
    static __m512i select(uint64_t k, __m512i v) { return _mm512_maskz_mov_epi8(k, v); }
    static __m512i absDiff(__m512i a, __m512i b) {
        return _mm512_or_si512(_mm512_subs_epu8(a, b), _mm512_subs_epu8(b, a));
    }
    static __m512i max(__m512i a, __m512i b) { return _mm512_max_epu8(a, b); }
    // The selected pixels among the next n (<= E) mask bytes.
    static uint64_t pixels(const uint8_t* m, int n) {
        const __m512i v = n == E ? _mm512_loadu_si512(m) : _mm512_maskz_loadu_epi8(simd::firstLanes64(n), m);
        return _mm512_test_epi8_mask(v, v);
    }
    static uint64_t maxOf(__m512i v) {
        alignas(64) uint8_t l[E];
        _mm512_store_si512(l, v);
        uint64_t m = 0;
        for (uint8_t x : l) m = x > m ? x : m;
        return m;
    }
};

template <>
struct IntVec<uint16_t> {
    static constexpr int E = 32;
    static __m512i load(uint64_t k, const uint16_t* p) {
        return _mm512_maskz_loadu_epi16(static_cast<__mmask32>(k), p);
    }
    static __m512i select(uint64_t k, __m512i v) { return _mm512_maskz_mov_epi16(static_cast<__mmask32>(k), v); }
    static __m512i absDiff(__m512i a, __m512i b) {
        return _mm512_or_si512(_mm512_subs_epu16(a, b), _mm512_subs_epu16(b, a));
    }
    static __m512i max(__m512i a, __m512i b) { return _mm512_max_epu16(a, b); }
    static uint64_t pixels(const uint8_t* m, int n) {
        const __m256i v = n == E ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m))
                                 : _mm256_maskz_loadu_epi8(simd::firstLanes32(n), m);
        return _mm256_test_epi8_mask(v, v);
    }
    static uint64_t maxOf(__m512i v) {
        alignas(64) uint16_t l[E];
        _mm512_store_si512(l, v);
        uint64_t m = 0;
        for (uint16_t x : l) m = x > m ? x : m;
        return m;
    }
};

// Thirty-two 16-bit values of channel c of a three-channel row, gathered
// from the 96 values at p by two two-source word permutes, so that the
// arithmetic runs on one vector per 32 pixels with the pixels' own lane mask.
class Channel16Of3 {
public:
    explicit Channel16Of3(int c) {
        alignas(64) int16_t i01[32], i2[32];
        for (int i = 0; i < 32; ++i) {
            const int e = 3 * i + c;
            i01[i] = static_cast<int16_t>(e < 64 ? e : 0);
            i2[i] = static_cast<int16_t>(e < 64 ? i : 32 + (e - 64));
        }
        idx01_ = _mm512_load_si512(i01);
        idx2_ = _mm512_load_si512(i2);
    }
    // All 96 values at p are read.
    __m512i load(const uint16_t* p) const {
        return join(_mm512_loadu_si512(p), _mm512_loadu_si512(p + 32), _mm512_loadu_si512(p + 64));
    }
    // The first 3n values at p are read (n <= 32); lanes >= n are undefined.
    __m512i loadPart(const uint16_t* p, int n) const {
        const int e = 3 * n;
        return join(_mm512_maskz_loadu_epi16(simd::firstLanes32(std::min(e, 32)), p),
                    _mm512_maskz_loadu_epi16(simd::firstLanes32(std::clamp(e - 32, 0, 32)), p + 32),
                    _mm512_maskz_loadu_epi16(simd::firstLanes32(std::clamp(e - 64, 0, 32)), p + 64));
    }

private:
    __m512i join(__m512i v0, __m512i v1, __m512i v2) const {
        return _mm512_permutex2var_epi16(_mm512_permutex2var_epi16(v0, idx01_, v1), idx2_, v2);
    }
    __m512i idx01_, idx2_;
};

inline __m512i add32To64(__m512i acc64, __m512i v32) {
    acc64 = _mm512_add_epi64(acc64, _mm512_cvtepu32_epi64(_mm512_castsi512_si256(v32)));
    return _mm512_add_epi64(acc64, _mm512_cvtepu32_epi64(_mm512_extracti64x4_epi64(v32, 1)));
}

inline Wide sumLanes(__m512i v64) {
    alignas(64) uint64_t l[8];
    _mm512_store_si512(l, v64);
    Wide s = 0;
    for (uint64_t x : l) s += x;
    return s;
}

// One reduction over vectors of T: add(v) takes a vector of values,
// addDiff(a, b) the absolute differences; flush() must run at least every
// kFlush vectors; total() is the exact result.
template <NormKind K, class T>
struct IntAcc;

constexpr int kFlush = 8192;  // 8192 * 4 * 255^2 < 2^32

template <class T>
struct IntAcc<NormKind::inf, T> {
    __m512i m = _mm512_setzero_si512();
    void add(__m512i v) { m = IntVec<T>::max(m, v); }
    void addDiff(__m512i a, __m512i b) { add(IntVec<T>::absDiff(a, b)); }
    void flush() {}
    Wide total() const { return IntVec<T>::maxOf(m); }
};

template <>
struct IntAcc<NormKind::l1, uint8_t> {
    __m512i s = _mm512_setzero_si512();
    void add(__m512i v) { s = _mm512_add_epi64(s, _mm512_sad_epu8(v, _mm512_setzero_si512())); }
    void addDiff(__m512i a, __m512i b) { s = _mm512_add_epi64(s, _mm512_sad_epu8(a, b)); }
    void flush() {}
    Wide total() const { return sumLanes(s); }
};

// 16-bit values through their bytes: sad gives sum(lo + hi) and, shifted,
// sum(hi); the sum of the values is sum(lo + hi) + 255 * sum(hi).
template <>
struct IntAcc<NormKind::l1, uint16_t> {
    __m512i both = _mm512_setzero_si512(), hi = _mm512_setzero_si512();
    void add(__m512i v) {
        const __m512i z = _mm512_setzero_si512();
        both = _mm512_add_epi64(both, _mm512_sad_epu8(v, z));
        hi = _mm512_add_epi64(hi, _mm512_sad_epu8(_mm512_srli_epi16(v, 8), z));
    }
    void addDiff(__m512i a, __m512i b) { add(IntVec<uint16_t>::absDiff(a, b)); }
    void flush() {}
    Wide total() const { return sumLanes(both) + sumLanes(hi) * 255; }
};

template <>
struct IntAcc<NormKind::l2, uint8_t> {
    __m512i s32 = _mm512_setzero_si512(), s64 = _mm512_setzero_si512();
    void add(__m512i v) {
        const __m512i z = _mm512_setzero_si512();
        const __m512i lo = _mm512_unpacklo_epi8(v, z), hi = _mm512_unpackhi_epi8(v, z);
        s32 = _mm512_add_epi32(s32, _mm512_add_epi32(_mm512_madd_epi16(lo, lo), _mm512_madd_epi16(hi, hi)));
    }
    void addDiff(__m512i a, __m512i b) { add(IntVec<uint8_t>::absDiff(a, b)); }
    void flush() {
        s64 = add32To64(s64, s32);
        s32 = _mm512_setzero_si512();
    }
    Wide total() const { return sumLanes(s64); }
};

// (256 h + l)^2 = 65536 h^2 + 512 h l + l^2, with h and l the bytes of a value.
template <>
struct IntAcc<NormKind::l2, uint16_t> {
    __m512i ll32 = _mm512_setzero_si512(), hl32 = _mm512_setzero_si512(), hh32 = _mm512_setzero_si512();
    __m512i ll = _mm512_setzero_si512(), hl = _mm512_setzero_si512(), hh = _mm512_setzero_si512();
    void add(__m512i v) {
        const __m512i l = _mm512_and_si512(v, _mm512_set1_epi16(0xFF)), h = _mm512_srli_epi16(v, 8);
        ll32 = _mm512_add_epi32(ll32, _mm512_madd_epi16(l, l));
        hl32 = _mm512_add_epi32(hl32, _mm512_madd_epi16(h, l));
        hh32 = _mm512_add_epi32(hh32, _mm512_madd_epi16(h, h));
    }
    void addDiff(__m512i a, __m512i b) { add(IntVec<uint16_t>::absDiff(a, b)); }
    void flush() {
        ll = add32To64(ll, ll32), hl = add32To64(hl, hl32), hh = add32To64(hh, hh32);
        ll32 = hl32 = hh32 = _mm512_setzero_si512();
    }
    Wide total() const { return sumLanes(ll) + (sumLanes(hl) << 9) + (sumLanes(hh) << 16); }
};

// Rows in groups of E pixels (one vector; for C3 one gathered vector of 16u
// or three 8u vectors under the channel's lane masks), the last group of a
// row under a lane mask.
template <NormKind K, NormOf O, class T, int Ch>
IntTotals intNormVector(Rows<const T> a, Rows<const T> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    using V = IntVec<T>;
    constexpr int E = V::E;
    constexpr int kGroupsPerFlush = kFlush / 3;
    const simd::ChannelLanes<T, 3> lanes(c);
    IntAcc<K, T> num, den;
    // A whole vector inside the row is loaded unmasked, so that the load does
    // not wait for the lane mask, and then zeroed where unselected; the row's
    // last group loads under the mask.
    auto body = [&]<bool Whole>(uint64_t k, const T* pa, const T* pb) {
        auto load = [k](const T* p) {
            if constexpr (Whole) {
                __m512i v = _mm512_loadu_si512(p);
                simd::opaque(v);  // keeps the compiler from folding the two into a masked load
                return V::select(k, v);
            } else {
                return V::load(k, p);
            }
        };
        const __m512i va = load(pa);
        if constexpr (O == NormOf::src) {
            num.add(va);
        } else {
            const __m512i vb = load(pb);
            num.addDiff(va, vb);
            if constexpr (O == NormOf::rel) den.add(vb);
        }
    };
    // The three channel patterns, held in registers through the rows.
    const uint64_t p0 = lanes.pattern(0), p1 = lanes.pattern(1), p2 = lanes.pattern(2);
    const int s0 = lanes.first(0), s1 = lanes.first(1), s2 = lanes.first(2);
    // 16u: the channel is gathered into one vector; 8u: three vectors under
    // the channel's lane masks (byte permutes are not in this instruction set).
    [[maybe_unused]] const Channel16Of3 gather16(c);
    auto group = [&]<bool Whole>(uint64_t px, const T* pa, const T* pb, int n) {
        if constexpr (Ch == 1) {
            body.template operator()<Whole>(px, pa, pb);
        } else if constexpr (sizeof(T) == 2) {
            auto load = [&](const T* p) {
                __m512i v = Whole ? gather16.load(p) : gather16.loadPart(p, n);
                simd::opaque(v);  // as above
                return V::select(px, v);
            };
            const __m512i va = load(pa);
            if constexpr (O == NormOf::src) {
                num.add(va);
            } else {
                const __m512i vb = load(pb);
                num.addDiff(va, vb);
                if constexpr (O == NormOf::rel) den.add(vb);
            }
        } else {
            body.template operator()<Whole>(_pdep_u64(px >> s0, p0), pa, pb);
            body.template operator()<Whole>(_pdep_u64(px >> s1, p1), pa + E, pb + E);
            body.template operator()<Whole>(_pdep_u64(px >> s2, p2), pa + 2 * E, pb + 2 * E);
        }
    };
    for (int y = 0; y < roi.height; ++y) {
        const T* ra = a[y];
        const T* rb = b[y];
        const uint8_t* rm = mask[y];
        int x = 0, groups = 0;
        for (; x <= roi.width - E; x += E) {
            group.template operator()<true>(V::pixels(rm + x, E), ra + ptrdiff_t{x} * Ch, rb + ptrdiff_t{x} * Ch, E);
            if (++groups == kGroupsPerFlush) {
                num.flush(), den.flush();
                groups = 0;
            }
        }
        if (x < roi.width)
            group.template operator()<false>(V::pixels(rm + x, roi.width - x), ra + ptrdiff_t{x} * Ch,
                                             rb + ptrdiff_t{x} * Ch, roi.width - x);
        num.flush(), den.flush();
    }
    return {num.total(), O == NormOf::rel ? den.total() : 0};
}

// ---------------------------------------------------------------------------
// 32f sums (L1: |x|, L2: x * x). The lanes of a row are part of the result:
//   pixels in blocks of 32: pixel x + l goes to lane A[l] (l < 16) or
//   B[l - 16]; then one block of 16 into A; then one block of 8 into A[0..7];
//   the last 0..7 pixels into the scalar t. Each lane adds its pixels in row
//   order in single precision (L1: acc + |x|; L2: fma(x, x, acc), one
//   rounding). At the row's end the lanes are converted to double and summed
//   in the fixed order of rowSum(), and the row's sum is added to the double
//   total. So a row is never summed in a longer single-precision chain than
//   width / 32 terms, and the vector code needs no reordering.

template <NormKind K>
inline float lanePixel(float acc, float x) {
    if constexpr (K == NormKind::l1)
        return acc + std::fabs(x);
    else
        return std::fma(x, x, acc);
}

// d[l] = (A[l] + A[l+8]) + (B[l] + B[l+8]) in double, then halves folded
// (d[l] + d[l+4], then e[l] + e[l+2], then f[0] + f[1]), then + t.
inline double rowSum(const float* A, const float* B, float t) {
    double d[8], e[4], f[2];
    for (int l = 0; l < 8; ++l) d[l] = (double(A[l]) + double(A[l + 8])) + (double(B[l]) + double(B[l + 8]));
    for (int l = 0; l < 4; ++l) e[l] = d[l] + d[l + 4];
    for (int l = 0; l < 2; ++l) f[l] = e[l] + e[l + 2];
    return (f[0] + f[1]) + double(t);
}

inline double rowSum(__m512 A, __m512 B, float t) {
    auto lo = [](__m512 v) { return _mm512_cvtps_pd(_mm512_castps512_ps256(v)); };
    auto hi = [](__m512 v) {
        return _mm512_cvtps_pd(_mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1)));
    };
    const __m512d d = _mm512_add_pd(_mm512_add_pd(lo(A), hi(A)), _mm512_add_pd(lo(B), hi(B)));
    const __m256d e = _mm256_add_pd(_mm512_castpd512_pd256(d), _mm512_extractf64x4_pd(d, 1));
    const __m128d f = _mm_add_pd(_mm256_castpd256_pd128(e), _mm256_extractf128_pd(e, 1));
    return (_mm_cvtsd_f64(f) + _mm_cvtsd_f64(_mm_unpackhi_pd(f, f))) + double(t);
}

template <NormKind K, NormOf O, int Ch>
NormTotals floatSumScalar(Rows<const float> a, Rows<const float> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    NormTotals t;
    const int w = roi.width;
    for (int y = 0; y < roi.height; ++y) {
        const float* ra = a[y];
        const float* rb = b[y];
        const uint8_t* rm = mask[y];
        float nA[16] = {}, nB[16] = {}, dA[16] = {}, dB[16] = {}, nT = 0.0f, dT = 0.0f;
        auto pixel = [&](int x, float& n, float& d) {
            if (rm[x] == 0) return;
            const float va = ra[ptrdiff_t{x} * Ch + c];
            const float vb = O == NormOf::src ? 0.0f : rb[ptrdiff_t{x} * Ch + c];
            n = lanePixel<K>(n, O == NormOf::src ? va : va - vb);
            if constexpr (O == NormOf::rel) d = lanePixel<K>(d, vb);
        };
        int x = 0;
        for (; x + 32 <= w; x += 32)
            for (int l = 0; l < 32; ++l) pixel(x + l, l < 16 ? nA[l] : nB[l - 16], l < 16 ? dA[l] : dB[l - 16]);
        if (x + 16 <= w) {
            for (int l = 0; l < 16; ++l) pixel(x + l, nA[l], dA[l]);
            x += 16;
        }
        if (x + 8 <= w) {
            for (int l = 0; l < 8; ++l) pixel(x + l, nA[l], dA[l]);
            x += 8;
        }
        for (; x < w; ++x) pixel(x, nT, dT);
        t.num += rowSum(nA, nB, nT);
        if constexpr (O == NormOf::rel) t.den += rowSum(dA, dB, dT);
    }
    return t;
}

// Sixteen pixels of channel c of a three-channel row, gathered from the 48
// values at p by two two-source permutes.
class ChannelOf3 {
public:
    explicit ChannelOf3(int c) {
        alignas(64) int32_t i01[16], i2[16];
        for (int i = 0; i < 16; ++i) {
            const int e = 3 * i + c;
            i01[i] = e < 32 ? e : 0;
            i2[i] = e < 32 ? i : 16 + (e - 32);
        }
        idx01_ = _mm512_load_si512(i01);
        idx2_ = _mm512_load_si512(i2);
    }
    // The first 3n values at p are read (n = 8 or 16); lanes >= n are undefined then.
    __m512 load(const float* p, int n) const {
        const __m512 v0 = _mm512_loadu_ps(p);
        const __m512 v1 = n == 16 ? _mm512_loadu_ps(p + 16) : _mm512_maskz_loadu_ps(0xFF, p + 16);
        const __m512 v2 = n == 16 ? _mm512_loadu_ps(p + 32) : _mm512_setzero_ps();
        return _mm512_permutex2var_ps(_mm512_permutex2var_ps(v0, idx01_, v1), idx2_, v2);
    }
    // Any n in 0..16, masked loads.
    __m512 loadPart(const float* p, int n) const {
        const int e = 3 * n;
        const __m512 v0 = _mm512_maskz_loadu_ps(simd::firstLanes16(std::min(e, 16)), p);
        const __m512 v1 = _mm512_maskz_loadu_ps(simd::firstLanes16(std::clamp(e - 16, 0, 16)), p + 16);
        const __m512 v2 = _mm512_maskz_loadu_ps(simd::firstLanes16(std::clamp(e - 32, 0, 16)), p + 32);
        return _mm512_permutex2var_ps(_mm512_permutex2var_ps(v0, idx01_, v1), idx2_, v2);
    }

private:
    __m512i idx01_, idx2_;
};

template <NormKind K>
inline __m512 laneBlock(__m512 acc, __mmask16 k, __m512 x) {
    if constexpr (K == NormKind::l1)
        return _mm512_mask_add_ps(acc, k, acc, _mm512_abs_ps(x));
    else
        return _mm512_mask3_fmadd_ps(x, x, acc, k);
}

inline __mmask16 nonzero8(const uint8_t* m) {
    const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(m));
    return static_cast<__mmask16>(_mm_test_epi8_mask(v, v) & 0xFF);
}

template <NormKind K, NormOf O, int Ch>
NormTotals floatSumVector(Rows<const float> a, Rows<const float> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    NormTotals t;
    const int w = roi.width;
    const ChannelOf3 gather(c);
    for (int y = 0; y < roi.height; ++y) {
        const float* ra = a[y];
        const float* rb = b[y];
        const uint8_t* rm = mask[y];
        __m512 nA = _mm512_setzero_ps(), nB = nA, dA = nA, dB = nA;
        float nT = 0.0f, dT = 0.0f;
        // n (16 or 8) pixels from x into the lanes n, d.
        auto block = [&](int x, int n, __mmask16 k, __m512& accN, __m512& accD) {
            auto load = [&](const float* r) {
                if constexpr (Ch == 1)
                    return n == 16 ? _mm512_loadu_ps(r + x) : _mm512_maskz_loadu_ps(0xFF, r + x);
                else
                    return gather.load(r + ptrdiff_t{x} * 3, n);
            };
            const __m512 va = load(ra);
            if constexpr (O == NormOf::src) {
                accN = laneBlock<K>(accN, k, va);
            } else {
                const __m512 vb = load(rb);
                accN = laneBlock<K>(accN, k, _mm512_sub_ps(va, vb));
                if constexpr (O == NormOf::rel) accD = laneBlock<K>(accD, k, vb);
            }
        };
        int x = 0;
        for (; x + 32 <= w; x += 32) {
            const __m256i m = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rm + x));
            const __mmask32 k = _mm256_test_epi8_mask(m, m);
            block(x, 16, static_cast<__mmask16>(k), nA, dA);
            block(x + 16, 16, static_cast<__mmask16>(k >> 16), nB, dB);
        }
        if (x + 16 <= w) {
            block(x, 16, simd::nonzeroLanes16(rm + x), nA, dA);
            x += 16;
        }
        if (x + 8 <= w) {
            block(x, 8, nonzero8(rm + x), nA, dA);
            x += 8;
        }
        for (; x < w; ++x) {
            if (rm[x] == 0) continue;
            const float va = ra[ptrdiff_t{x} * Ch + c];
            const float vb = O == NormOf::src ? 0.0f : rb[ptrdiff_t{x} * Ch + c];
            nT = lanePixel<K>(nT, O == NormOf::src ? va : va - vb);
            if constexpr (O == NormOf::rel) dT = lanePixel<K>(dT, vb);
        }
        t.num += rowSum(nA, nB, nT);
        if constexpr (O == NormOf::rel) t.den += rowSum(dA, dB, dT);
    }
    return t;
}

// ---------------------------------------------------------------------------
// 32f infinity norms: the maximum of |x| is exact in any order. A selected NaN
// (any sign or payload) makes the norm the quiet NaN 0x7FF8000000000000.

struct FloatMax {
    float m = 0.0f;
    bool nan = false;
    void add(float x) {
        const float ax = std::fabs(x);
        m = ax > m ? ax : m;
        nan = nan || std::isnan(ax);
    }
    double value() const { return nan ? std::numeric_limits<double>::quiet_NaN() : double(m); }
};

template <NormOf O, int Ch>
NormTotals floatMaxScalar(Rows<const float> a, Rows<const float> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    FloatMax num, den;
    for (int y = 0; y < roi.height; ++y)
        for (int x = 0; x < roi.width; ++x) {
            if (mask[y][x] == 0) continue;
            const float va = a[y][ptrdiff_t{x} * Ch + c];
            const float vb = O == NormOf::src ? 0.0f : b[y][ptrdiff_t{x} * Ch + c];
            num.add(O == NormOf::src ? va : va - vb);
            if constexpr (O == NormOf::rel) den.add(vb);
        }
    return {num.value(), den.value()};
}

// The vector form compares the bits of |x| as unsigned integers: they order
// as the values do, and every NaN lies above +inf, so one maximum both finds
// the largest value and notices a NaN.
struct FloatMaxVector {
    __m512i m = _mm512_setzero_si512();
    void add(__mmask16 k, __m512 x) {
        const __m512i bits = _mm512_and_si512(_mm512_castps_si512(x), _mm512_set1_epi32(0x7FFFFFFF));
        m = _mm512_mask_max_epu32(m, k, m, bits);
    }
    double value() const {
        alignas(64) uint32_t l[16];
        _mm512_store_si512(l, m);
        uint32_t r = 0;
        for (uint32_t v : l) r = v > r ? v : r;
        return r > 0x7F800000u ? std::numeric_limits<double>::quiet_NaN() : double(std::bit_cast<float>(r));
    }
};

template <NormOf O, int Ch>
NormTotals floatMaxVector(Rows<const float> a, Rows<const float> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    FloatMaxVector num, den;
    const ChannelOf3 gather(c);
    for (int y = 0; y < roi.height; ++y) {
        const float* ra = a[y];
        const float* rb = b[y];
        const uint8_t* rm = mask[y];
        // Whole blocks of 16 load unmasked; the row's last block under a lane mask.
        auto block = [&]<bool Whole>(int x, int n) {
            const __mmask16 lanes = simd::firstLanes16(n);
            const __m128i mv = Whole ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(rm + x))
                                     : _mm_maskz_loadu_epi8(lanes, rm + x);
            const __mmask16 k = _mm_test_epi8_mask(mv, mv);
            auto load = [&](const float* r) {
                if constexpr (Ch == 1)
                    return Whole ? _mm512_loadu_ps(r + x) : _mm512_maskz_loadu_ps(lanes, r + x);
                else
                    return Whole ? gather.load(r + ptrdiff_t{x} * 3, 16) : gather.loadPart(r + ptrdiff_t{x} * 3, n);
            };
            const __m512 va = load(ra);
            if constexpr (O == NormOf::src) {
                num.add(k, va);
            } else {
                const __m512 vb = load(rb);
                num.add(k, _mm512_sub_ps(va, vb));
                if constexpr (O == NormOf::rel) den.add(k, vb);
            }
        };
        int x = 0;
        for (; x + 16 <= roi.width; x += 16) block.template operator()<true>(x, 16);
        if (x < roi.width) block.template operator()<false>(x, roi.width - x);
    }
    return {num.value(), den.value()};
}

// ---------------------------------------------------------------------------

template <Path P, NormKind K, NormOf O, class T, int Ch>
NormTotals normTotals(Rows<const T> a, Rows<const T> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    if constexpr (std::is_same_v<T, float>) {
        if constexpr (K == NormKind::inf)
            return P == Path::vector ? floatMaxVector<O, Ch>(a, b, mask, roi, c)
                                     : floatMaxScalar<O, Ch>(a, b, mask, roi, c);
        else
            return P == Path::vector ? floatSumVector<K, O, Ch>(a, b, mask, roi, c)
                                     : floatSumScalar<K, O, Ch>(a, b, mask, roi, c);
    } else {
        const IntTotals t = P == Path::vector ? intNormVector<K, O, T, Ch>(a, b, mask, roi, c)
                                              : intNormScalar<K, O, T, Ch>(a, b, mask, roi, c);
        return {static_cast<double>(t.num), static_cast<double>(t.den)};
    }
}

// A norm with its checks. Norm: null pointers, the ROI, the source step
// (too small, then not a multiple), then the mask step; for 8u sources this is
// the same as checking the source and mask steps together. NormDiff and
// NormRel: the three steps too small, then the two source steps not a
// multiple. Then the channel of interest (1..3) of the C3 forms. b is not read
// by Norm.
template <Path P, NormKind K, NormOf O, class T, int Ch>
ZepStatus normImage(const T* a, int aStep, const T* b, int bStep, const uint8_t* mask, int maskStep, ImageSize roi,
                    int coi, double* result) {
    Checks checks;
    if constexpr (O == NormOf::src) {
        checks.notNull(a, mask, result)
            .roi(roi)
            .steps({rowOf<T>(aStep, roi.width, Ch)})
            .steps({rowOf<uint8_t>(maskStep, roi.width)});
        b = a, bStep = aStep;
    } else {
        checks.notNull(a, b, mask, result)
            .roi(roi)
            .steps({rowOf<T>(aStep, roi.width, Ch), rowOf<T>(bStep, roi.width, Ch),
                    rowOf<uint8_t>(maskStep, roi.width)});
    }
    if constexpr (Ch == 3) checks.fail(coi < 1 || coi > 3, zepStsBadChannelOfInterest);
    if (checks.status() != zepStsOk) return checks.status();
    const int c = Ch == 3 ? coi - 1 : 0;
    const NormTotals t = normTotals<P, K, O, T, Ch>(rows(a, aStep), rows(b, bStep), rows(mask, maskStep), roi, c);
    return finishNorm<K, O>(t, result);
}

}  // namespace zep::stats
