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

// Writes the result of the totals: the square root for L2; for relative norms
// the quotient in double precision, or on a zero denominator +inf, the NaN
// 0xFFF8000000000000 or -inf. Returns whether the denominator was zero (the
// result then comes with a warning).
template <NormKind K, NormOf O>
bool finishNorm(NormTotals t, double* result) {
    if constexpr (O != NormOf::rel) {
        *result = K == NormKind::l2 ? std::sqrt(t.num) : t.num;
        return false;
    } else {
        if (t.den != 0.0) {
            const double q = t.num / t.den;
            *result = K == NormKind::l2 ? std::sqrt(q) : q;
            return false;
        }
        if (t.num > 0.0)
            *result = std::numeric_limits<double>::infinity();
        else if (t.num == 0.0)
            *result = std::bit_cast<double>(uint64_t{0xFFF8000000000000});
        else  // below zero, or NaN
            *result = -std::numeric_limits<double>::infinity();
        return true;
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
//
// One reduction over vectors of T: add(v) takes a vector of values,
// addDiff(a, b) the absolute differences; flush() must run at least every
// kFlush vectors; total() is the exact result.
template <NormKind K, class T>
struct IntAcc;

constexpr int kFlush = 8192;  // 8192 * 4 * 255^2 < 2^32

template <class T>
struct IntAcc<NormKind::inf, T> {
    __m512i m = _mm512_setzero_si512();
    void add(__m512i v) { m = simd::max<T>(m, v); }
    void addDiff(__m512i a, __m512i b) { add(simd::absDiff<T>(a, b)); }
    void flush() {}
    Wide total() const { return simd::reduceMax<T>(m); }
};

template <>
struct IntAcc<NormKind::l1, uint8_t> {
    __m512i s = _mm512_setzero_si512();
    void add(__m512i v) { s = _mm512_add_epi64(s, _mm512_sad_epu8(v, _mm512_setzero_si512())); }
    void addDiff(__m512i a, __m512i b) { s = _mm512_add_epi64(s, _mm512_sad_epu8(a, b)); }
    void flush() {}
    Wide total() const { return simd::reduceAddExact(s); }
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
    void addDiff(__m512i a, __m512i b) { add(simd::absDiff<uint16_t>(a, b)); }
    void flush() {}
    Wide total() const { return simd::reduceAddExact(both) + simd::reduceAddExact(hi) * 255; }
};

template <>
struct IntAcc<NormKind::l2, uint8_t> {
    __m512i s32 = _mm512_setzero_si512(), s64 = _mm512_setzero_si512();
    void add(__m512i v) {
        const __m512i z = _mm512_setzero_si512();
        const __m512i lo = _mm512_unpacklo_epi8(v, z), hi = _mm512_unpackhi_epi8(v, z);
        s32 = _mm512_add_epi32(s32, _mm512_add_epi32(_mm512_madd_epi16(lo, lo), _mm512_madd_epi16(hi, hi)));
    }
    void addDiff(__m512i a, __m512i b) { add(simd::absDiff<uint8_t>(a, b)); }
    void flush() {
        s64 = simd::addWidened<uint32_t>(s64, s32);
        s32 = _mm512_setzero_si512();
    }
    Wide total() const { return simd::reduceAddExact(s64); }
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
    void addDiff(__m512i a, __m512i b) { add(simd::absDiff<uint16_t>(a, b)); }
    void flush() {
        ll = simd::addWidened<uint32_t>(ll, ll32);
        hl = simd::addWidened<uint32_t>(hl, hl32);
        hh = simd::addWidened<uint32_t>(hh, hh32);
        ll32 = hl32 = hh32 = _mm512_setzero_si512();
    }
    Wide total() const {
        return simd::reduceAddExact(ll) + (simd::reduceAddExact(hl) << 9) + (simd::reduceAddExact(hh) << 16);
    }
};

// Rows in groups of E pixels (one vector; for C3 one gathered vector of 16u
// or three 8u vectors under the channel's lane masks), the last group of a
// row under a lane mask.
template <NormKind K, NormOf O, class T, int Ch>
IntTotals intNormVector(Rows<const T> a, Rows<const T> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    constexpr int E = simd::kLanes<T>;
    constexpr int kGroupsPerFlush = kFlush / 3;
    IntAcc<K, T> num, den;
    // The values that load(p) gives at pa (and pb) into the totals.
    auto add = [&](auto&& load, const T* pa, const T* pb) {
        const __m512i va = load(pa);
        if constexpr (O == NormOf::src) {
            num.add(va);
        } else {
            const __m512i vb = load(pb);
            num.addDiff(va, vb);
            if constexpr (O == NormOf::rel) den.add(vb);
        }
    };
    // The lanes k of one vector. A whole vector inside the row is loaded
    // unmasked, so that the load does not wait for the lane mask, and then
    // zeroed where unselected; the row's last group loads under the mask.
    auto body = [&]<bool Whole>(uint64_t selected, const T* pa, const T* pb) {
        const auto k = static_cast<simd::Mask<T>>(selected);  // E bits at most
        add(
            [k](const T* p) {
                if constexpr (Whole)
                    return simd::loadSelected(p, k);
                else
                    return simd::load(p, k);
            },
            pa, pb);
    };
    // Three channels. 16u: the channel is gathered into one vector; 8u: three
    // vectors under the channel's lane masks (byte permutes are not in this
    // instruction set), whose patterns are held in registers through the rows.
    const simd::ChannelLanes<T, 3> lanes(c);
    const uint64_t p0 = lanes.pattern(0), p1 = lanes.pattern(1), p2 = lanes.pattern(2);
    const int s0 = lanes.first(0), s1 = lanes.first(1), s2 = lanes.first(2);
    [[maybe_unused]] const auto gather16 = [c] {
        if constexpr (sizeof(T) == 2)
            return simd::Deinterleave<T, 3>(c);
        else
            return c;
    }();
    auto group = [&]<bool Whole>(uint64_t px, const T* pa, const T* pb, int n) {
        if constexpr (Ch == 1) {
            body.template operator()<Whole>(px, pa, pb);
        } else if constexpr (sizeof(T) == 2) {
            add(
                [&](const T* p) {
                    __m512i v = Whole ? gather16(p) : gather16(p, n);
                    simd::opaque(v);  // keeps the compiler from folding the loads and the select into masked loads
                    return simd::zeroOutside<T>(static_cast<simd::Mask<T>>(px), v);
                },
                pa, pb);
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
            group.template operator()<true>(simd::nonzeroLanes<E>(rm + x), ra + ptrdiff_t{x} * Ch,
                                            rb + ptrdiff_t{x} * Ch, E);
            if (++groups == kGroupsPerFlush) {
                num.flush(), den.flush();
                groups = 0;
            }
        }
        if (x < roi.width)
            group.template operator()<false>(simd::nonzeroLanes<E>(rm + x, roi.width - x), ra + ptrdiff_t{x} * Ch,
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
// (d[l] + d[l+4], then e[l] + e[l+2], then f[0] + f[1]: simd::pairwiseSum),
// then + t.
inline double rowSum(const float* A, const float* B, float t) {
    double d[8];
    for (int l = 0; l < 8; ++l) d[l] = (double(A[l]) + double(A[l + 8])) + (double(B[l]) + double(B[l + 8]));
    return simd::pairwiseSum(d) + double(t);
}

inline double rowSum(__m512 A, __m512 B, float t) {
    using simd::halfToDouble;
    const __m512d d = _mm512_add_pd(_mm512_add_pd(halfToDouble<0>(A), halfToDouble<1>(A)),
                                    _mm512_add_pd(halfToDouble<0>(B), halfToDouble<1>(B)));
    return simd::reduceAdd(d) + double(t);
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

template <NormKind K>
inline __m512 laneBlock(__m512 acc, __mmask16 k, __m512 x) {
    if constexpr (K == NormKind::l1)
        return _mm512_mask_add_ps(acc, k, acc, _mm512_abs_ps(x));
    else
        return _mm512_mask3_fmadd_ps(x, x, acc, k);
}

template <NormKind K, NormOf O, int Ch>
NormTotals floatSumVector(Rows<const float> a, Rows<const float> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    NormTotals t;
    const int w = roi.width;
    const simd::Deinterleave<float, Ch> gather(c);
    for (int y = 0; y < roi.height; ++y) {
        const float* ra = a[y];
        const float* rb = b[y];
        const uint8_t* rm = mask[y];
        __m512 nA = _mm512_setzero_ps(), nB = nA, dA = nA, dB = nA;
        float nT = 0.0f, dT = 0.0f;
        // n (16 or 8) pixels from x into the lanes n, d.
        auto block = [&](int x, int n, __mmask16 k, __m512& accN, __m512& accD) {
            auto load = [&](const float* r) { return gather(r + ptrdiff_t{x} * Ch, n); };
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
            const __mmask32 k = simd::nonzeroLanes<32>(rm + x);
            block(x, 16, static_cast<__mmask16>(k), nA, dA);
            block(x + 16, 16, static_cast<__mmask16>(k >> 16), nB, dB);
        }
        if (x + 16 <= w) {
            block(x, 16, simd::nonzeroLanes<16>(rm + x), nA, dA);
            x += 16;
        }
        if (x + 8 <= w) {
            block(x, 8, simd::nonzeroLanes<8>(rm + x), nA, dA);
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
        m = simd::max<uint32_t>(m, k, m, bits);
    }
    double value() const {
        const uint32_t r = simd::reduceMax<uint32_t>(m);
        return r > 0x7F800000u ? std::numeric_limits<double>::quiet_NaN() : double(std::bit_cast<float>(r));
    }
};

template <NormOf O, int Ch>
NormTotals floatMaxVector(Rows<const float> a, Rows<const float> b, Rows<const uint8_t> mask, ImageSize roi, int c) {
    FloatMaxVector num, den;
    const simd::Deinterleave<float, Ch> gather(c);
    for (int y = 0; y < roi.height; ++y) {
        const float* ra = a[y];
        const float* rb = b[y];
        const uint8_t* rm = mask[y];
        // Whole blocks of 16 load unmasked; the row's last block under a lane mask.
        auto block = [&]<bool Whole>(int x, int n) {
            const __mmask16 k = Whole ? simd::nonzeroLanes<16>(rm + x) : simd::nonzeroLanes<16>(rm + x, n);
            auto load = [&](const float* r) {
                return Whole ? gather(r + ptrdiff_t{x} * Ch) : gather(r + ptrdiff_t{x} * Ch, n);
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
    return runWithWarning(checks, zepStsZeroDenominator, [&] {
        const int c = Ch == 3 ? coi - 1 : 0;
        const NormTotals t = normTotals<P, K, O, T, Ch>(rows(a, aStep), rows(b, bStep), rows(mask, maskStep), roi, c);
        return finishNorm<K, O>(t, result);
    });
}

}  // namespace zep::stats
