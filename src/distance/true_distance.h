// The exact Euclidean distance transform, separable: a vertical pass gives
// every pixel its distance g to the nearest zero pixel of its column (kept in
// the destination as an integer), then each row takes the lower envelope of
// the parabolas (x - q)^2 + g(q)^2 and reads the squared distance at every
// x. Parabolas are compared by exact integer cross-multiplication, so the
// squared distances are exact; the row is finished by a single-precision
// square root. The per-row arrays (apex and its value) live in the caller's
// buffer.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"

namespace zep::distance {

using AliasI32 = int32_t __attribute__((may_alias));

// Destination rows seen as integers (the column distances of the first pass).
struct IntRows {
    uint8_t* first;
    ptrdiff_t step;
    AliasI32* operator[](ptrdiff_t y) const { return reinterpret_cast<AliasI32*>(first + y * step); }
};

// Column distance of a pixel without a zero in its column.
constexpr int32_t kNoZero = INT32_MAX;

// Work-buffer bytes: max(w4, h4) * 24 + 56, w4 and h4 rounded up to 4 (an
// operation refuses, last, the sizes whose buffer its query refuses).
inline Bytes trueDistanceBufferBytes(ImageSize roi) {
    const int64_t w4 = (int64_t{roi.width} + 3) & ~int64_t{3};
    const int64_t h4 = (int64_t{roi.height} + 3) & ~int64_t{3};
    return Bytes{std::max(w4, h4)} * 24 + 56;
}

// g(y, x) into the destination rows as integers: down the columns, then up.
template <Path P>
void columnDistances(Rows<const uint8_t> src, IntRows g, ImageSize roi) {
    const int w = roi.width, h = roi.height;
    auto down = [&](int y, int x) {
        const int32_t above = y == 0 ? kNoZero : g[y - 1][x];
        g[y][x] = src[y][x] == 0 ? 0 : (above == kNoZero ? kNoZero : above + 1);
    };
    auto up = [&](int y, int x) {
        const int32_t below = g[y + 1][x];
        if (below != kNoZero && below + 1 < g[y][x]) g[y][x] = below + 1;
    };
    const __m512i one = _mm512_set1_epi32(1), none = _mm512_set1_epi32(kNoZero);
    for (int y = 0; y < h; ++y) {
        int x = 0;
        if constexpr (P == Path::vector) {
            for (; x + 16 <= w; x += 16) {
                // kNoZero + 1 wraps to 0x80000000, above kNoZero as unsigned.
                const __m512i above =
                    y == 0 ? none : _mm512_min_epu32(_mm512_add_epi32(simd::load512(g[y - 1] + x), one), none);
                simd::store512(g[y] + x, simd::zeroOutside<int32_t>(simd::nonzeroLanes<16>(src[y] + x), above));
            }
        }
        for (; x < w; ++x) down(y, x);
    }
    for (int y = h - 2; y >= 0; --y) {
        int x = 0;
        if constexpr (P == Path::vector) {
            for (; x + 16 <= w; x += 16) {
                const __m512i below = _mm512_min_epu32(_mm512_add_epi32(simd::load512(g[y + 1] + x), one), none);
                simd::store512(g[y] + x, _mm512_min_epu32(simd::load512(g[y] + x), below));
            }
        }
        for (; x < w; ++x) up(y, x);
    }
}

// One row: the lower envelope of the parabolas of the columns that have a
// zero, then the squared distance and its square root at every x.
inline void envelopeRow(AliasI32* g, float* out, int w, int32_t* apex, int64_t* value) {
    // value[k] = g(apex)^2 + apex^2, so that parabola k at x is
    // value[k] - 2 x apex[k] + x^2.
    int k = -1;
    for (int q = 0; q < w; ++q) {
        const int32_t gq = g[q];
        if (gq == kNoZero) continue;
        const int64_t fq = int64_t{gq} * gq + int64_t{q} * q;
        // Drop the top parabola while the new one overtakes it no later than
        // the top overtook the one below: s(top, q) <= s(below, top), with
        // s(a, b) = (F(b) - F(a)) / (2 (b - a)), cross-multiplied.
        while (k >= 1) {
            const int64_t t = apex[k], b = apex[k - 1];
            const __int128 lhs = static_cast<__int128>(fq - value[k]) * (t - b);
            const __int128 rhs = static_cast<__int128>(value[k] - value[k - 1]) * (q - t);
            if (lhs > rhs) break;
            --k;
        }
        ++k;
        apex[k] = q;
        value[k] = fq;
    }
    if (k < 0) {
        for (int x = 0; x < w; ++x) out[x] = std::numeric_limits<float>::infinity();
        return;
    }
    int j = 0;
    for (int x = 0; x < w; ++x) {
        // Parabola j + 1 is at least as low from its crossing with j onwards.
        while (j < k && value[j + 1] - 2 * int64_t{x} * apex[j + 1] <= value[j] - 2 * int64_t{x} * apex[j]) ++j;
        const int64_t d2 = value[j] - 2 * int64_t{x} * apex[j] + int64_t{x} * x;
        out[x] = std::sqrt(static_cast<float>(d2));
    }
}

// ---------------------------------------------------------------------------
// The vector method: the same transform with the axes swapped, so that the
// envelopes run down the columns, eight columns side by side in double lanes.
// Pass 1 gives every pixel its distance to the nearest zero of its row (a
// prefix maximum of zero positions from the left and a prefix minimum from the
// right). Pass 2 builds each column's envelope as a stack whose entries are
// kept per row in the buffer: entry q holds the row of the entry below it and
// g(q), so pushing is one contiguous store and only popping gathers. The
// envelope is then read bottom-up, walking the stack downwards. Every value is
// an integer below 2^47, exact in double, so the result equals the scalar
// method's bit for bit. Images with sides up to kIntSide run sixteen columns
// at a time in 32-bit lanes instead (columnStrip16 below); the eight-lane
// double strips cover larger images and strips whose stacks outgrow the buffer.

// GCC 12 builds the "undefined" source of some conversions by
// self-initialisation, which -Wuninitialized reports where they are inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"

// Largest side handled by the vector method (rows and distances fit 15 bits).
constexpr int kVectorSide = 32767;

inline void rowDistances(Rows<const uint8_t> src, IntRows g, ImageSize roi) {
    const int w = roi.width;
    const __m512i idx = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const __m512i none = _mm512_set1_epi32(kNoZero), width = _mm512_set1_epi32(w);
    for (int y = 0; y < roi.height; ++y) {
        const uint8_t* s = src[y];
        AliasI32* out = g[y];
        // From the left: the position of the last zero at or before x.
        __m512i carry = _mm512_set1_epi32(-(1 << 30));
        for (int x = 0; x < w; x += 16) {
            const __mmask16 lanes = simd::firstLanes16(w - x);
            const __mmask16 z = lanes & ~simd::nonzeroLanes<16>(s + x, w - x);
            const __m512i pos = _mm512_add_epi32(idx, _mm512_set1_epi32(x));
            __m512i v = carry;  // a block without a zero keeps the carry
            if (z) {
                v = _mm512_mask_mov_epi32(carry, z, pos);
                v = _mm512_max_epi32(v, _mm512_alignr_epi32(v, carry, 15));
                v = _mm512_max_epi32(v, _mm512_alignr_epi32(v, carry, 14));
                v = _mm512_max_epi32(v, _mm512_alignr_epi32(v, carry, 12));
                v = _mm512_max_epi32(v, _mm512_alignr_epi32(v, carry, 8));
                carry = _mm512_permutexvar_epi32(_mm512_set1_epi32(15), v);
            }
            simd::store<int32_t>(out + x, _mm512_sub_epi32(pos, v), lanes);
        }
        // From the right: the position of the next zero at or after x.
        carry = _mm512_set1_epi32(1 << 30);
        for (int x = (w - 1) & ~15; x >= 0; x -= 16) {
            const __mmask16 lanes = simd::firstLanes16(w - x);
            const __mmask16 z = lanes & ~simd::nonzeroLanes<16>(s + x, w - x);
            const __m512i pos = _mm512_add_epi32(idx, _mm512_set1_epi32(x));
            __m512i v = carry;
            if (z) {
                v = _mm512_mask_mov_epi32(carry, z, pos);
                v = _mm512_min_epi32(v, _mm512_alignr_epi32(carry, v, 1));
                v = _mm512_min_epi32(v, _mm512_alignr_epi32(carry, v, 2));
                v = _mm512_min_epi32(v, _mm512_alignr_epi32(carry, v, 4));
                v = _mm512_min_epi32(v, _mm512_alignr_epi32(carry, v, 8));
                carry = _mm512_permutexvar_epi32(_mm512_setzero_si512(), v);
            }
            const __m512i left = simd::load<int32_t>(out + x, lanes);
            const __m512i d = _mm512_min_epi32(left, _mm512_sub_epi32(v, pos));
            simd::store<int32_t>(out + x, _mm512_mask_mov_epi32(d, _mm512_cmpgt_epi32_mask(d, width), none), lanes);
        }
    }
}

// One level of a column stack held in registers: the entry's row, F of that
// row, and the row of the entry below it (-1: none).
struct Level {
    __m256i row, below;
    __m512d f;
};

inline Level select(__mmask8 k, const Level& to, const Level& from) {
    return {_mm256_mask_mov_epi32(to.row, k, from.row), _mm256_mask_mov_epi32(to.below, k, from.below),
            _mm512_mask_mov_pd(to.f, k, from.f)};
}

// g(row)^2 + row^2, exact in double.
inline __m512d valueOf(__m256i row, __m256i gv) {
    const __m512d r = _mm512_cvtepi32_pd(row), d = _mm512_cvtepi32_pd(gv);
    return _mm512_add_pd(_mm512_mul_pd(d, d), _mm512_mul_pd(r, r));
}

// One strip of up to `lanes` columns starting at x0. The three upper levels
// of every stack stay in registers (top, second, third); popping or walking
// down moves them up and gathers the next one from the buffer, off the
// critical path of the next comparison.
inline void columnStrip(IntRows g, Rows<float> dst, int height, int x0, int count, int lanes, int32_t* entries) {
    const __mmask8 active = static_cast<__mmask8>((1u << count) - 1u);
    const __mmask8 laneMask = static_cast<__mmask8>((1u << lanes) - 1u);
    const __m256i laneIdx = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), lanesV = _mm256_set1_epi32(lanes);
    const __m256i noneV = _mm256_set1_epi32(kNoZero), minusOne = _mm256_set1_epi32(-1), one = _mm256_set1_epi32(1);
    const __m256i low16 = _mm256_set1_epi32(0xFFFF), zero = _mm256_setzero_si256();
    const Level empty{minusOne, minusOne, _mm512_setzero_pd()};
    Level t = empty, s = empty, u = empty;
    __mmask8 has1 = 0, has2 = 0, has3 = 0;
    // Moves the levels up one in the lanes of k (s becomes the top).
    auto raise = [&](__mmask8 k) {
        t = select(k, t, s);
        s = select(k, s, u);
        const __mmask8 deeper = k & has3 & _mm256_cmpge_epi32_mask(u.below, zero);
        has2 = (has2 & ~k) | (k & has3);
        has3 = (has3 & ~k) | deeper;
        const __m256i at = _mm256_add_epi32(_mm256_mullo_epi32(u.below, lanesV), laneIdx);
        const __m256i e = simd::gatherHalf(entries, at, deeper);
        const Level next{u.below, _mm256_sub_epi32(_mm256_srli_epi32(e, 16), one),
                         valueOf(u.below, _mm256_and_si256(e, low16))};
        u = select(deeper, u, next);
    };
    for (int q = 0; q < height; ++q) {
        // Rows are a page or more apart: fetch the strip's bytes ahead.
        if (q + 32 < height) _mm_prefetch(reinterpret_cast<const char*>(g[q + 32] + x0), _MM_HINT_T0);
        const __m256i gq = simd::loadHalf<int32_t>(g[q] + x0, active);
        const __mmask8 m = _mm256_mask_cmpneq_epi32_mask(active, gq, noneV);
        const __m256i qv = _mm256_set1_epi32(q);
        const __m512d qd = _mm512_set1_pd(q);
        const __m512d fq = valueOf(qv, gq);
        for (;;) {
            // Pop the top while q overtakes it no later than it overtook the second.
            const __m512d tr = _mm512_cvtepi32_pd(t.row);
            const __m512d lhs = _mm512_mul_pd(_mm512_sub_pd(fq, t.f), _mm512_sub_pd(tr, _mm512_cvtepi32_pd(s.row)));
            const __m512d rhs = _mm512_mul_pd(_mm512_sub_pd(t.f, s.f), _mm512_sub_pd(qd, tr));
            const __mmask8 pop = m & has2 & _mm512_cmp_pd_mask(lhs, rhs, _CMP_LE_OQ);
            if (!pop) break;
            raise(pop);
        }
        // Push q: its entry records the row below it and g(q).
        const __m256i below = _mm256_mask_mov_epi32(minusOne, has1, t.row);
        const __m256i e = _mm256_or_si256(_mm256_slli_epi32(_mm256_add_epi32(below, one), 16), gq);
        simd::storeHalf(entries + int64_t{q} * lanes, e, laneMask);
        u = select(m, u, s);
        s = select(m, s, t);
        t = select(m, t, Level{qv, below, fq});
        has3 = (has3 & ~m) | (m & has2);
        has2 = (has2 & ~m) | (m & has1);
        has1 |= m;
    }
    // Read the envelope from the bottom row up; the stack top covers the end.
    const __m256 inf = _mm256_set1_ps(std::numeric_limits<float>::infinity());
    for (int q = height - 1; q >= 0; --q) {
        const __m512d qd = _mm512_set1_pd(q), twoQ = _mm512_set1_pd(2.0 * q);
        // Usually at most one entry takes over per row: one masked step
        // without a branch, then a loop for the rare rows where more do.
        auto takeOver = [&] {
            const __m512d lower = _mm512_sub_pd(s.f, _mm512_mul_pd(twoQ, _mm512_cvtepi32_pd(s.row)));
            const __m512d upper = _mm512_sub_pd(t.f, _mm512_mul_pd(twoQ, _mm512_cvtepi32_pd(t.row)));
            return static_cast<__mmask8>(has2 & _mm512_cmp_pd_mask(lower, upper, _CMP_LE_OQ));
        };
        raise(takeOver());
        for (__mmask8 step = takeOver(); step; step = takeOver()) raise(step);
        const __m512d d2 =
            _mm512_add_pd(_mm512_sub_pd(t.f, _mm512_mul_pd(twoQ, _mm512_cvtepi32_pd(t.row))), _mm512_mul_pd(qd, qd));
        const __m256 d = _mm256_mask_mov_ps(inf, has1, _mm256_sqrt_ps(_mm512_cvtpd_ps(d2)));
        simd::storeHalf(dst[q] + x0, d, active);
    }
}

// ---------------------------------------------------------------------------
// Sixteen columns side by side in 32-bit lanes, for sides up to kIntSide:
// then every F = g^2 + row^2 is below 2^29, differences of F fit 32 bits and
// the cross products of the pop test (below 2^43) are formed exactly in
// 64-bit halves. Each lane keeps its stack contiguous in the buffer, entry k
// of every lane side by side (row << 16 | g), so the entries a step gathers
// lie in a few neighbouring lines. A strip whose stacks would outgrow the
// buffer returns false before writing anything, and the caller redoes it with
// the strips above; either way the squared distances are the same integers.
constexpr int kIntSide = 16383;

struct Level16 {
    __m512i row, f;
};

inline Level16 select(__mmask16 k, const Level16& to, const Level16& from) {
    return {_mm512_mask_mov_epi32(to.row, k, from.row), _mm512_mask_mov_epi32(to.f, k, from.f)};
}

// Lanes where a * b <= c * d, the products exact in 64 bits.
inline __mmask16 productsAtMost(__m512i a, __m512i b, __m512i c, __m512i d) {
    const __m512i evenDiff = _mm512_sub_epi64(_mm512_mul_epi32(c, d), _mm512_mul_epi32(a, b));
    const __m512i oddDiff = _mm512_sub_epi64(_mm512_mul_epi32(_mm512_srli_epi64(c, 32), _mm512_srli_epi64(d, 32)),
                                             _mm512_mul_epi32(_mm512_srli_epi64(a, 32), _mm512_srli_epi64(b, 32)));
    // The high halves carry the signs: lane 2i from evenDiff, lane 2i + 1 from oddDiff.
    const __m512i high = _mm512_mask_blend_epi32(0xAAAA, _mm512_srli_epi64(evenDiff, 32), oddDiff);
    return static_cast<__mmask16>(~_mm512_movepi32_mask(high));
}

inline bool columnStrip16(IntRows g, Rows<float> dst, int height, int x0, int count, int32_t* stack, int capacity) {
    const __mmask16 active = simd::firstLanes16(count);
    const __m512i laneIdx = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const __m512i noneV = _mm512_set1_epi32(kNoZero), one = _mm512_set1_epi32(1), two = _mm512_set1_epi32(2);
    const __m512i three = _mm512_set1_epi32(3);
    const __m512i full = _mm512_set1_epi32(capacity);
    const Level16 empty{_mm512_setzero_si512(), _mm512_setzero_si512()};
    Level16 t = empty, s = empty, u = empty;
    __m512i depth = _mm512_setzero_si512();  // entries per lane, t, s and u included
    // Drops the top in the lanes of k: s and u move up, u reloads from the stack.
    auto raise = [&](__mmask16 k) {
        t = select(k, t, s);
        s = select(k, s, u);
        depth = _mm512_mask_sub_epi32(depth, k, depth, one);
        const __mmask16 deeper = k & _mm512_cmpge_epi32_mask(depth, three);
        const __m512i at = _mm512_add_epi32(_mm512_slli_epi32(_mm512_sub_epi32(depth, three), 4), laneIdx);
        const __m512i e = simd::gather(stack, at, deeper);
        u = select(deeper, u, Level16{_mm512_srli_epi32(e, 16), _mm512_madd_epi16(e, e)});
    };
    for (int q = 0; q < height; ++q) {
        if (q + 16 < height) _mm_prefetch(reinterpret_cast<const char*>(g[q + 16] + x0), _MM_HINT_T0);
        const __m512i gq = simd::load<int32_t>(g[q] + x0, active);
        const __mmask16 m = _mm512_mask_cmpneq_epi32_mask(active, gq, noneV);
        const __m512i qv = _mm512_set1_epi32(q);
        // The entry of q (row << 16 | g): one pairwise multiply-add of its halves gives F.
        const __m512i e = _mm512_or_si512(_mm512_slli_epi32(qv, 16), gq);
        const __m512i fq = _mm512_madd_epi16(e, e);
        // Pop the top while q overtakes it no later than it overtook the second:
        // (F(q) - F(t)) (t - s) <= (F(t) - F(s)) (q - t). Some lane usually
        // pops once: one masked step without a branch, then a loop.
        auto overtaken = [&] {
            return static_cast<__mmask16>(m & _mm512_cmpge_epi32_mask(depth, two) &
                                          productsAtMost(_mm512_sub_epi32(fq, t.f), _mm512_sub_epi32(t.row, s.row),
                                                         _mm512_sub_epi32(t.f, s.f), _mm512_sub_epi32(qv, t.row)));
        };
        raise(overtaken());
        for (__mmask16 pop = overtaken(); pop; pop = overtaken()) raise(pop);
        if (_mm512_mask_cmpge_epi32_mask(m, depth, full)) return false;
        simd::scatter(stack, _mm512_add_epi32(_mm512_slli_epi32(depth, 4), laneIdx), e, m);
        depth = _mm512_mask_add_epi32(depth, m, depth, one);
        u = select(m, u, s);
        s = select(m, s, t);
        t = select(m, t, Level16{qv, fq});
    }
    const __mmask16 any = _mm512_cmpge_epi32_mask(depth, one);
    const __m512 inf = _mm512_set1_ps(std::numeric_limits<float>::infinity());
    for (int q = height - 1; q >= 0; --q) {
        // 2 q and the rows fit the low 16 bits: a pairwise multiply-add forms 2 q row.
        const __m512i twoQ = _mm512_set1_epi32(2 * q);
        // s takes over from t once F(s) - 2 q s <= F(t) - 2 q t.
        auto takeOver = [&] {
            const __m512i lower = _mm512_sub_epi32(s.f, _mm512_madd_epi16(twoQ, s.row));
            const __m512i upper = _mm512_sub_epi32(t.f, _mm512_madd_epi16(twoQ, t.row));
            return static_cast<__mmask16>(_mm512_cmpge_epi32_mask(depth, two) &
                                          _mm512_cmple_epi32_mask(lower, upper));
        };
        raise(takeOver());
        for (__mmask16 step = takeOver(); step; step = takeOver()) raise(step);
        const __m512i d2 =
            _mm512_add_epi32(_mm512_sub_epi32(t.f, _mm512_madd_epi16(twoQ, t.row)), _mm512_set1_epi32(q * q));
        const __m512 d = _mm512_mask_mov_ps(inf, any, _mm512_sqrt_ps(_mm512_cvtepi32_ps(d2)));
        simd::store(dst[q] + x0, d, active);
    }
    return true;
}

inline void trueDistanceVector(Rows<const uint8_t> src, Rows<float> dst, ImageSize roi, uint8_t* buffer) {
    const IntRows g{reinterpret_cast<uint8_t*>(dst.first), dst.step};
    rowDistances(src, g, roi);
    int32_t* entries = alignUp64<int32_t>(buffer);
    const int64_t room = trueDistanceBufferBytes(roi).value() - (reinterpret_cast<uint8_t*>(entries) - buffer);
    const int lanes = int64_t{roi.height} * 8 * 4 <= room ? 8 : 4;
    const bool wide = roi.width <= kIntSide && roi.height <= kIntSide;
    const int capacity = static_cast<int>(std::min<int64_t>(room / 64, roi.height));
    for (int x0 = 0; x0 < roi.width;) {
        const int count = std::min(16, roi.width - x0);
        if (wide && count > lanes && columnStrip16(g, dst, roi.height, x0, count, entries, capacity)) {
            x0 += count;
            continue;
        }
        const int end = x0 + (wide ? count : lanes);
        for (; x0 < end && x0 < roi.width; x0 += lanes)
            columnStrip(g, dst, roi.height, x0, std::min(lanes, roi.width - x0), lanes, entries);
    }
}

#pragma GCC diagnostic pop

template <Path P>
void trueDistance(Rows<const uint8_t> src, Rows<float> dst, ImageSize roi, uint8_t* buffer) {
    if (P == Path::vector && roi.width <= kVectorSide && roi.height <= kVectorSide) {
        trueDistanceVector(src, dst, roi, buffer);
        return;
    }
    const IntRows g{reinterpret_cast<uint8_t*>(dst.first), dst.step};
    columnDistances<P>(src, g, roi);
    int32_t* apex = alignUp64<int32_t>(buffer);
    const int64_t apexBytes = (int64_t{roi.width} * 4 + 7) & ~int64_t{7};
    int64_t* value = reinterpret_cast<int64_t*>(reinterpret_cast<uint8_t*>(apex) + apexBytes);
    for (int y = 0; y < roi.height; ++y) envelopeRow(g[y], dst[y], roi.width, apex, value);
}

template <Path P>
ZepStatus trueDistanceImage(const uint8_t* src, int srcStep, float* dst, int dstStep, ImageSize roi,
                            uint8_t* buffer) {
    return Checks{}
        .notNull(src, dst, buffer)
        .roi(roi)
        .steps({rowOf<uint8_t>(srcStep, roi.width), rowOf<float>(dstStep, roi.width)})
        .sizeFits(trueDistanceBufferBytes(roi))
        .run([&] { trueDistance<P>(rows(src, srcStep), rows(dst, dstStep), roi, buffer); });
}

}  // namespace zep::distance
