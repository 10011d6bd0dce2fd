// Upright and tilted integral tables of 8u and 32f images, with optional
// square tables, each in its own arithmetic.
//
// Upright rows: a running row sum s (and s2 of squares) is added to the row
// above. The running sums are formed in blocks of 16 pixels: the prefix of a
// block is computed exactly in integers for 8u sources (so s = carry + prefix
// rounds once per element in a 32f table) and by four doubling steps for 32f
// sources; `blockPrefix` is that rule in scalar form, and the vector block
// must agree with it bit for bit.
//
// Sum tables of 8u sources (without squares) take 64 pixels a step: a
// multiply-add of byte pairs gives the 32 pair sums in 16-bit lanes, their
// prefix is formed by doubling steps there (over all 32 pairs for 32s tables,
// which wrap and so may sum in any order; within each block's 8 pairs for 32f
// tables, whose carry is rounded per block), the prefix at an even pixel is
// the one at its pair less the pair's odd pixel, and one permutation per block
// interleaves the two and widens them to 32 bits. Every partial sum is an
// exact integer below 2^16 until the carry is added.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <type_traits>

#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"

namespace zep::integral {

// The absent square table of the plain integrals.
struct None {};

template <class T>
constexpr bool isNone = std::is_same_v<T, None>;

// Fills a row of a table; the absent square table has none.
template <class T>
inline void fillRow(T* row, int64_t n, T v) {
    if constexpr (!isNone<T>) simd::fill(row, n, v);
}

// ---------------------------------------------------------------------------
// Upright tables.

// The running sum after each pixel of one block of n <= 16 pixels, given the
// running sum before it: the definition of the block rule.
template <class Src, class S>
inline void blockPrefix(const Src* p, int n, S carry, S* s) {
    if constexpr (std::is_same_v<S, int32_t>) {
        // Wrapping 32-bit sums: any order gives the same result.
        uint32_t acc = static_cast<uint32_t>(carry);
        for (int i = 0; i < n; ++i) {
            acc += static_cast<uint32_t>(p[i]);
            s[i] = static_cast<int32_t>(acc);
        }
    } else if constexpr (std::is_same_v<Src, uint8_t>) {
        // Exact integer prefix of the block, added to the carry once.
        int64_t prefix = 0;
        for (int i = 0; i < n; ++i) {
            prefix += p[i];
            s[i] = carry + static_cast<S>(prefix);
        }
    } else {
        // 32f source: four doubling steps v[i] += v[i - k], k = 1, 2, 4, 8.
        float v[16];
        for (int i = 0; i < n; ++i) v[i] = p[i];
        for (int k = 1; k < 16; k *= 2)
            for (int i = n - 1; i >= k; --i) v[i] = v[i] + v[i - k];
        for (int i = 0; i < n; ++i) s[i] = carry + v[i];
    }
}

// Square running sums of one block: wrapping 32-bit, or exact integers added
// to a double carry.
template <class Q>
inline void blockPrefixSq(const uint8_t* p, int n, Q carry, Q* s) {
    if constexpr (std::is_same_v<Q, int32_t>) {
        uint32_t acc = static_cast<uint32_t>(carry);
        for (int i = 0; i < n; ++i) {
            acc += uint32_t{p[i]} * p[i];
            s[i] = static_cast<int32_t>(acc);
        }
    } else {
        int64_t prefix = 0;
        for (int i = 0; i < n; ++i) {
            prefix += int64_t{p[i]} * p[i];
            s[i] = carry + static_cast<double>(prefix);
        }
    }
}

// Table element = element above + running sum, in the table's arithmetic.
template <class T>
inline T addAbove(T above, T s) {
    if constexpr (std::is_same_v<T, int32_t>)
        return static_cast<int32_t>(static_cast<uint32_t>(above) + static_cast<uint32_t>(s));
    else
        return above + s;
}

// One block of n pixels starting at x, scalar: writes out[x+1 .. x+n] (and the
// square row) and returns the carries.
template <class Src, class S, class Q>
inline void scalarBlock(const Src* src, const S* above, S* out, const Q* aboveQ, Q* outQ, int x, int n, S& carry,
                        Q& carryQ) {
    S s[16];
    blockPrefix<Src, S>(src + x, n, carry, s);
    for (int i = 0; i < n; ++i) out[x + 1 + i] = addAbove(above[x + 1 + i], s[i]);
    carry = s[n - 1];
    if constexpr (!isNone<Q>) {
        Q q[16];
        blockPrefixSq<Q>(src + x, n, carryQ, q);
        for (int i = 0; i < n; ++i) outQ[x + 1 + i] = addAbove(aboveQ[x + 1 + i], q[i]);
        carryQ = q[n - 1];
    }
}

// In-register prefix of 16 dwords: v[i] += v[i - k] for k = 1, 2, 4, 8.
inline __m512i prefix16(__m512i v) {
    const __m512i zero = _mm512_setzero_si512();
    v = _mm512_add_epi32(v, _mm512_alignr_epi32(v, zero, 15));
    v = _mm512_add_epi32(v, _mm512_alignr_epi32(v, zero, 14));
    v = _mm512_add_epi32(v, _mm512_alignr_epi32(v, zero, 12));
    v = _mm512_add_epi32(v, _mm512_alignr_epi32(v, zero, 8));
    return v;
}

// The same on floats; lanes below k keep their value (no + 0, which would
// turn -0 into +0).
inline __m512 prefix16(__m512 v) {
    const __m512i zero = _mm512_setzero_si512();
    v = _mm512_mask_add_ps(v, 0xFFFE, v, _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(v), zero, 15)));
    v = _mm512_mask_add_ps(v, 0xFFFC, v, _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(v), zero, 14)));
    v = _mm512_mask_add_ps(v, 0xFFF0, v, _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(v), zero, 12)));
    v = _mm512_mask_add_ps(v, 0xFF00, v, _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(v), zero, 8)));
    return v;
}

inline __m512i lastLane(__m512i v) { return _mm512_permutexvar_epi32(_mm512_set1_epi32(15), v); }
inline __m512 lastLane(__m512 v) { return _mm512_permutexvar_ps(_mm512_set1_epi32(15), v); }

// Word lanes of the pair kernel. kPairWiden[m]: 32-bit lane L of block m
// takes word 8m + L/2 of the even-pixel prefixes (L even) or of the pair
// prefixes (L odd, the permutation's second table); odd words are zeroed by
// the permutation's mask. kWordBelow: word i takes word i - 1.
inline constexpr auto kPairWiden = [] {
    std::array<std::array<int16_t, 32>, 4> t{};
    for (int m = 0; m < 4; ++m)
        for (int lane = 0; lane < 16; ++lane)
            t[static_cast<size_t>(m)][static_cast<size_t>(2 * lane)] =
                static_cast<int16_t>((lane & 1) * 32 + 8 * m + lane / 2);
    return t;
}();
inline constexpr auto kWordBelow = [] {
    std::array<int16_t, 32> t{};
    for (int i = 1; i < 32; ++i) t[static_cast<size_t>(i)] = static_cast<int16_t>(i - 1);
    return t;
}();
constexpr __mmask32 kEvenWords = 0x55555555u;

// The pair kernel's constant vectors.
struct PairConstants {
    __m512i ones = _mm512_set1_epi8(1);
    __m512i below = _mm512_loadu_si512(kWordBelow.data());
    __m512i widen[4] = {_mm512_loadu_si512(kPairWiden[0].data()), _mm512_loadu_si512(kPairWiden[1].data()),
                        _mm512_loadu_si512(kPairWiden[2].data()), _mm512_loadu_si512(kPairWiden[3].data())};
};

// Table elements x + 1 .. x + n of a row of an upright sum table of an 8u
// source (n <= 64; n == 64 when Whole), from the running sum `carry` before
// pixel x, which it advances.
template <class S, bool Whole>
[[gnu::always_inline]] inline void pairStep(const PairConstants& c, const uint8_t* src, const S* above, S* out, int x,
                                            int n, simd::Vec<S>& carry) {
    constexpr bool kFloat = std::is_same_v<S, float>;
    const __m512i zero = _mm512_setzero_si512();
    const __m512i px = Whole ? _mm512_loadu_si512(src + x) : _mm512_maskz_loadu_epi8(simd::firstLanes64(n), src + x);
    __m512i q = _mm512_maddubs_epi16(px, c.ones);  // pair sums
    if constexpr (kFloat) {
        // Within each block's 8 pairs.
        q = _mm512_mask_add_epi16(q, 0xFEFEFEFEu, q, _mm512_maskz_permutexvar_epi16(~1u, c.below, q));
        q = _mm512_mask_add_epi16(q, 0xFCFCFCFCu, q, _mm512_alignr_epi32(q, zero, 15));
        q = _mm512_mask_add_epi16(q, 0xF0F0F0F0u, q, _mm512_alignr_epi32(q, zero, 14));
    } else {
        q = _mm512_add_epi16(q, _mm512_maskz_permutexvar_epi16(~1u, c.below, q));
        q = _mm512_add_epi16(q, _mm512_alignr_epi32(q, zero, 15));
        q = _mm512_add_epi16(q, _mm512_alignr_epi32(q, zero, 14));
        q = _mm512_add_epi16(q, _mm512_alignr_epi32(q, zero, 12));
        q = _mm512_add_epi16(q, _mm512_alignr_epi32(q, zero, 8));
    }
    const __m512i even = _mm512_sub_epi16(q, _mm512_srli_epi16(px, 8));
#pragma GCC unroll 4
    for (int m = 0; m < 4; ++m) {
        if (!Whole && 16 * m >= n) break;
        const __m512i prefix = _mm512_maskz_permutex2var_epi16(kEvenWords, even, c.widen[m], q);
        S* o = out + x + 16 * m + 1;
        const S* a = above + x + 16 * m + 1;
        const __mmask16 k = simd::firstLanes16(n - 16 * m);
        simd::Vec<S> row;
        if constexpr (kFloat) {
            const __m512 f = _mm512_cvtepi32_ps(prefix);
            const __m512 s = _mm512_add_ps(carry, f);
            row = _mm512_add_ps(Whole ? simd::load(a) : simd::load(a, k), s);
            carry = _mm512_add_ps(carry, _mm512_permutexvar_ps(_mm512_set1_epi32(15), f));  // = s[15]
        } else {
            row = _mm512_add_epi32(_mm512_add_epi32(Whole ? simd::load(a) : simd::load(a, k), prefix), carry);
        }
        if (Whole)
            simd::store(o, row);
        else
            simd::store(o, row, k);
    }
    if constexpr (!kFloat)
        carry = _mm512_add_epi32(carry, _mm512_maskz_permutexvar_epi16(kEvenWords, _mm512_set1_epi16(31), q));
}

// One row of an upright sum table of an 8u source: out[c] = above[c] +
// s_{c-1} for c = 1 .. width (out[0] is the caller's).
template <class S>
void pairRow(const uint8_t* src, const S* above, S* out, int width) {
    const PairConstants c;
    simd::Vec<S> carry = simd::splat(S(0));
    int x = 0;
    if constexpr (std::is_same_v<S, int32_t>) {
        // Wrapping sums may start their steps anywhere: the first step ends
        // where the stores reach a 64-byte boundary.
        const int head = static_cast<int>(simd::toBoundary<64>(out + 1));
        if (head > 0 && head + 64 <= width) {
            pairStep<S, false>(c, src, above, out, 0, head, carry);
            x = head;
        }
    }
    for (; x + 64 <= width; x += 64) pairStep<S, true>(c, src, above, out, x, 64, carry);
    if (x < width) pairStep<S, false>(c, src, above, out, x, width - x, carry);
}

// One row of an upright table (and its square companion): out[0] = val,
// out[c] = above[c] + s_{c-1}.
template <Path P, class Src, class S, class Q>
void uprightRow(const Src* src, const S* above, S* out, const Q* aboveQ, Q* outQ, int width, S val, Q valQ) {
    if constexpr (P == Path::vector && std::is_same_v<Src, uint8_t> && isNone<Q>) {
        out[0] = val;
        pairRow<S>(src, above, out, width);
        return;
    }
    out[0] = val;
    if constexpr (!isNone<Q>) outQ[0] = valQ;
    S carry = S(0);
    Q carryQ{};
    if constexpr (!isNone<Q>) carryQ = Q(0);
    int x = 0;
    if constexpr (P == Path::vector) {
        if (width >= 16) {
            simd::Vec<S> cs = simd::splat(S(0));
            __m512i cq = _mm512_setzero_si512();
            __m512d cqd = _mm512_setzero_pd();
            for (; x + 16 <= width; x += 16) {
                __m512i pix;
                if constexpr (std::is_same_v<Src, uint8_t>) pix = simd::loadAsInt32(src + x);
                if constexpr (std::is_same_v<S, int32_t>) {
                    const __m512i s = _mm512_add_epi32(prefix16(pix), cs);
                    cs = lastLane(s);
                    simd::store(out + x + 1, _mm512_add_epi32(simd::load(above + x + 1), s));
                } else if constexpr (std::is_same_v<Src, uint8_t>) {
                    const __m512 s = _mm512_add_ps(cs, _mm512_cvtepi32_ps(prefix16(pix)));
                    cs = lastLane(s);
                    simd::store(out + x + 1, _mm512_add_ps(simd::load(above + x + 1), s));
                } else {
                    const __m512 s = _mm512_add_ps(cs, prefix16(simd::load(src + x)));
                    cs = lastLane(s);
                    simd::store(out + x + 1, _mm512_add_ps(simd::load(above + x + 1), s));
                }
                if constexpr (std::is_same_v<Q, int32_t>) {
                    const __m512i q = _mm512_add_epi32(prefix16(_mm512_mullo_epi32(pix, pix)), cq);
                    cq = lastLane(q);
                    simd::store(outQ + x + 1, _mm512_add_epi32(simd::load(aboveQ + x + 1), q));
                } else if constexpr (std::is_same_v<Q, double>) {
                    const __m512i q = prefix16(_mm512_mullo_epi32(pix, pix));
                    const __m512d lo = _mm512_add_pd(cqd, simd::halfToDouble<0>(q));
                    const __m512d hi = _mm512_add_pd(cqd, simd::halfToDouble<1>(q));
                    cqd = _mm512_permutexvar_pd(_mm512_set1_epi64(7), hi);
                    simd::store(outQ + x + 1, _mm512_add_pd(simd::load(aboveQ + x + 1), lo));
                    simd::store(outQ + x + 9, _mm512_add_pd(simd::load(aboveQ + x + 9), hi));
                }
            }
            if constexpr (std::is_same_v<S, float>)
                carry = _mm512_cvtss_f32(cs);
            else
                carry = _mm512_cvtsi512_si32(cs);
            if constexpr (std::is_same_v<Q, int32_t>) carryQ = _mm512_cvtsi512_si32(cq);
            if constexpr (std::is_same_v<Q, double>) carryQ = _mm512_cvtsd_f64(cqd);
        }
    }
    for (; x < width; x += 16)
        scalarBlock<Src, S, Q>(src, above, out, aboveQ, outQ, x, std::min(16, width - x), carry, carryQ);
}

template <Path P, class Src, class S, class Q>
void uprightTable(Rows<const Src> src, Rows<S> sum, Rows<Q> sq, ImageSize roi, S val, Q valQ) {
    fillRow<S>(sum[0], int64_t{roi.width} + 1, val);
    if constexpr (!isNone<Q>) fillRow<Q>(sq[0], int64_t{roi.width} + 1, valQ);
    for (int y = 0; y < roi.height; ++y)
        uprightRow<P, Src, S, Q>(src[y], sum[y], sum[y + 1], sq[y], sq[y + 1], roi.width, val, valQ);
}

// ---------------------------------------------------------------------------
// Tilted tables.

// One element T(y+2, c) from its three table terms and its pixel sum.
template <class T>
inline T tiltedElement(T left, T right, T twoUp, uint32_t pixels) {
    if constexpr (std::is_same_v<T, int32_t>) {
        return static_cast<int32_t>(static_cast<uint32_t>(left) + static_cast<uint32_t>(right) -
                                    static_cast<uint32_t>(twoUp) + pixels);
    } else {
        // 32f evaluated in double, rounded once; 64f in double.
        const double v = (static_cast<double>(left) + static_cast<double>(right) - static_cast<double>(twoUp)) +
                         static_cast<double>(pixels);
        return static_cast<T>(v);
    }
}

// Pixel sum of column c of a tilted row, squared or not.
template <bool Square>
inline uint32_t pix(const uint8_t* s, int i) {
    return Square ? uint32_t{s[i]} * s[i] : uint32_t{s[i]};
}

// Row y + 2 of a tilted table from rows y (up2), y + 1 (up1) and source row s.
template <Path P, bool Square, class T>
void tiltedRow(const uint8_t* s, const T* up2, const T* up1, T* out, int width) {
    out[0] = up1[1];
    int c = 1;
    if constexpr (P == Path::vector) {
        for (; c + 16 <= width; c += 16) {
            __m512i a = simd::loadAsInt32(s + c - 1);
            __m512i b = simd::loadAsInt32(s + c);
            if constexpr (Square) {
                a = _mm512_mullo_epi32(a, a);
                b = _mm512_mullo_epi32(b, b);
            }
            const __m512i pixels = _mm512_add_epi32(a, b);
            if constexpr (std::is_same_v<T, int32_t>) {
                const __m512i v = _mm512_add_epi32(
                    _mm512_sub_epi32(_mm512_add_epi32(simd::load(up1 + c - 1), simd::load(up1 + c + 1)),
                                     simd::load(up2 + c)),
                    pixels);
                simd::store(out + c, v);
            } else if constexpr (std::is_same_v<T, float>) {
                auto half = [&](int o, __m512d px) {
                    const __m512d l = simd::loadAsDouble(up1 + c - 1 + o);
                    const __m512d r = simd::loadAsDouble(up1 + c + 1 + o);
                    const __m512d u = simd::loadAsDouble(up2 + c + o);
                    return _mm512_cvtpd_ps(_mm512_add_pd(_mm512_sub_pd(_mm512_add_pd(l, r), u), px));
                };
                const __m256 lo = half(0, simd::halfToDouble<0>(pixels));
                const __m256 hi = half(8, simd::halfToDouble<1>(pixels));
                _mm256_storeu_ps(out + c, lo);
                _mm256_storeu_ps(out + c + 8, hi);
            } else {
                auto half = [&](int o, __m512d px) {
                    const __m512d l = simd::load(up1 + c - 1 + o);
                    const __m512d r = simd::load(up1 + c + 1 + o);
                    const __m512d u = simd::load(up2 + c + o);
                    simd::store(out + c + o, _mm512_add_pd(_mm512_sub_pd(_mm512_add_pd(l, r), u), px));
                };
                half(0, simd::halfToDouble<0>(pixels));  // pixel sums below 2^31: signed lanes convert exactly
                half(8, simd::halfToDouble<1>(pixels));
            }
        }
    }
    for (; c < width; ++c)
        out[c] = tiltedElement(up1[c - 1], up1[c + 1], up2[c], pix<Square>(s, c - 1) + pix<Square>(s, c));
    out[width] = tiltedElement(up1[width - 1], up1[width + 1], up2[width], pix<Square>(s, width - 1));
    out[width + 1] = up1[width];
}

template <Path P, class S, class Q>
void tiltedTable(Rows<const uint8_t> src, Rows<S> sum, Rows<Q> sq, ImageSize roi, S val, Q valQ) {
    const int64_t cols = int64_t{roi.width} + 2;
    fillRow<S>(sum[0], cols, val);
    fillRow<S>(sum[1], cols, val);
    if constexpr (!isNone<Q>) {
        fillRow<Q>(sq[0], cols, valQ);
        fillRow<Q>(sq[1], cols, valQ);
    }
    for (int y = 0; y < roi.height; ++y) {
        tiltedRow<P, false, S>(src[y], sum[y], sum[y + 1], sum[y + 2], roi.width);
        if constexpr (!isNone<Q>) tiltedRow<P, true, Q>(src[y], sq[y], sq[y + 1], sq[y + 2], roi.width);
    }
}

// ---------------------------------------------------------------------------
// Checked entry: null pointers (source, table, square table), the ROI, then
// every step for its row size and then for its element multiple.
template <Path P, bool Tilted, class Src, class S, class Q>
ZepStatus integralImage(const Src* src, int srcStep, S* sum, int sumStep, Q* sq, int sqStep, ImageSize roi, S val,
                        Q valQ) {
    const int64_t extra = Tilted ? 2 : 1;
    const int64_t cols = int64_t{roi.width} + extra;
    const void* sqPtr = sq;
    const int sqRows = isNone<Q> ? 0 : sqStep;  // the absent table is never addressed
    if constexpr (isNone<Q>) sqPtr = sum, sqStep = sumStep;
    const int64_t qBytes = isNone<Q> ? int64_t{sizeof(S)} : int64_t{sizeof(Q)};
    return Checks{}
        .notNull(src, sum, sqPtr)
        .roi(roi)
        .steps({rowOf<Src>(srcStep, roi.width), StepRule{sumStep, cols * int64_t{sizeof(S)}, int64_t{sizeof(S)}},
                StepRule{sqStep, cols * qBytes, qBytes}})
        .run([&] {
            if constexpr (Tilted)
                tiltedTable<P, S, Q>(rows(src, srcStep), rows(sum, sumStep), rows(sq, sqRows), roi, val, valQ);
            else
                uprightTable<P, Src, S, Q>(rows(src, srcStep), rows(sum, sumStep), rows(sq, sqRows), roi, val, valQ);
        });
}

}  // namespace zep::integral
