// Standard deviation of a rectangle placed at every output pixel, read from a
// sum table and a square table (upright, or tilted by 45 degrees).
//
// For output (i, j) the four corners P0..P3 of the rectangle give
// sum = (P0 - P1) - (P2 - P3) in the sum table's arithmetic (32s wraps, 32f
// rounds each difference) and sqsum likewise from the square table. Then
// mean = sum * inv, var = sqsum * inv - mean * mean with the product fused,
// in double for the 32f outputs and in single precision for the scaled 32s
// output; a negative variance becomes 0 and the result is the
// single-precision square root (scaled by 2^-sf, plus 0.5, truncated and
// saturated for the 32s output).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"

namespace zep::integral {

// Row and column offsets of the four corners relative to the output pixel.
struct Corners {
    int64_t row[4];
    int64_t col[4];
};

inline Corners rectCorners(const ImageRect& r, bool tilted) {
    const int64_t x = r.x, y = r.y, w = r.width, h = r.height;
    if (!tilted) return {{y, y, y + h, y + h}, {x, x + w, x, x + w}};
    // A, C, B, D of the diagonal rectangle: sum = (A - C) - (B - D).
    return {{x + y, x + y + h, x + y + w, x + y + w + h}, {x - y, x - y - h, x - y + w, x - y + w - h}};
}

// Wrapping differences for 32s tables, rounded differences otherwise.
template <class T>
inline T cornerSum(T p0, T p1, T p2, T p3) {
    if constexpr (std::is_same_v<T, int32_t>) {
        const uint32_t a = static_cast<uint32_t>(p0) - static_cast<uint32_t>(p1);
        const uint32_t b = static_cast<uint32_t>(p2) - static_cast<uint32_t>(p3);
        return static_cast<int32_t>(a - b);
    } else {
        return (p0 - p1) - (p2 - p3);
    }
}

// The output factor 2^-sf for the scaled form: 1 / (1 << sf) for sf >= 0 and
// (1 << -sf) for sf < 0, extended to every sf as the exact power of two
// (clamped to the single-precision exponent range).
inline float scaleOf(int sf) { return std::ldexp(1.0f, -std::clamp(sf, -127, 126)); }

// One output from its sums: the scalar definition.
template <class S, class Q, class D>
inline D deviation(S sum, Q sq, double inv, float invF, float scale) {
    if constexpr (std::is_same_v<D, float>) {
        const double mean = static_cast<double>(sum) * inv;
        float var = static_cast<float>(std::fma(-mean, mean, static_cast<double>(sq) * inv));
        if (var < 0.0f) var = 0.0f;
        return std::sqrt(var);
    } else {
        const float mean = static_cast<float>(sum) * invF;
        float var = std::fma(-mean, mean, static_cast<float>(sq) * invF);
        if (var < 0.0f) var = 0.0f;
        return simd::truncSaturated(std::sqrt(var) * scale + 0.5f);
    }
}

template <class T>
inline __m512i diff4(const T* const* p, int j) {
    const __m512i a = _mm512_sub_epi32(simd::load(p[0] + j), simd::load(p[1] + j));
    const __m512i b = _mm512_sub_epi32(simd::load(p[2] + j), simd::load(p[3] + j));
    return _mm512_sub_epi32(a, b);
}

template <Path P, class S, class Q, class D>
void deviationRows(Rows<const S> sum, Rows<const Q> sq, Rows<D> dst, ImageSize roi, const Corners& k, double inv,
                   float invF, float scale) {
    const __m512d invV = _mm512_set1_pd(inv);
    const __m512 invFV = _mm512_set1_ps(invF), scaleV = _mm512_set1_ps(scale), half = _mm512_set1_ps(0.5f);
    const __m512 zero = _mm512_setzero_ps();
    for (int i = 0; i < roi.height; ++i) {
        const S* ps[4];
        const Q* pq[4];
        for (int c = 0; c < 4; ++c) {
            ps[c] = sum[i + k.row[c]] + k.col[c];
            pq[c] = sq[i + k.row[c]] + k.col[c];
        }
        D* out = dst[i];
        int j = 0;
        if constexpr (P == Path::vector) {
            for (; j + 16 <= roi.width; j += 16) {
                if constexpr (std::is_same_v<D, float>) {
                    __m512d sLo, sHi;
                    if constexpr (std::is_same_v<S, float>) {
                        const __m512 s = _mm512_sub_ps(_mm512_sub_ps(simd::load(ps[0] + j), simd::load(ps[1] + j)),
                                                       _mm512_sub_ps(simd::load(ps[2] + j), simd::load(ps[3] + j)));
                        sLo = simd::halfToDouble<0>(s);
                        sHi = simd::halfToDouble<1>(s);
                    } else {
                        const __m512i s = diff4(ps, j);
                        sLo = simd::halfToDouble<0>(s);
                        sHi = simd::halfToDouble<1>(s);
                    }
                    auto var = [&](__m512d s, int o) {
                        const __m512d q =
                            _mm512_sub_pd(_mm512_sub_pd(simd::load(pq[0] + j + o), simd::load(pq[1] + j + o)),
                                          _mm512_sub_pd(simd::load(pq[2] + j + o), simd::load(pq[3] + j + o)));
                        const __m512d mean = _mm512_mul_pd(s, invV);
                        return _mm512_cvtpd_ps(_mm512_fnmadd_pd(mean, mean, _mm512_mul_pd(q, invV)));
                    };
                    __m512 v = _mm512_insertf32x8(_mm512_castps256_ps512(var(sLo, 0)), var(sHi, 8), 1);
                    v = _mm512_mask_mov_ps(v, _mm512_cmp_ps_mask(v, zero, _CMP_LT_OQ), zero);
                    simd::store(out + j, _mm512_sqrt_ps(v));
                } else {
                    const __m512 s = _mm512_cvtepi32_ps(diff4(ps, j));
                    const __m512 q = _mm512_cvtepi32_ps(diff4(pq, j));
                    const __m512 mean = _mm512_mul_ps(s, invFV);
                    __m512 v = _mm512_fnmadd_ps(mean, mean, _mm512_mul_ps(q, invFV));
                    v = _mm512_mask_mov_ps(v, _mm512_cmp_ps_mask(v, zero, _CMP_LT_OQ), zero);
                    const __m512 r = _mm512_add_ps(_mm512_mul_ps(_mm512_sqrt_ps(v), scaleV), half);
                    simd::store(out + j, simd::truncSaturated(r));
                }
            }
        }
        for (; j < roi.width; ++j)
            out[j] = deviation<S, Q, D>(cornerSum(ps[0][j], ps[1][j], ps[2][j], ps[3][j]),
                                        cornerSum(pq[0][j], pq[1][j], pq[2][j], pq[3][j]), inv, invF, scale);
    }
}

// Checked entry: null pointers; the output ROI; the steps of the sum table
// (columns the rectangle reaches), the destination and the square table, for
// size and then for their element multiples; then the rectangle itself.
template <Path P, bool Tilted, class S, class Q, class D>
ZepStatus rectStdDev(const S* sum, int sumStep, const Q* sq, int sqStep, D* dst, int dstStep, ImageSize roi,
                     const ImageRect* rect, int scaleFactor = 0) {
    Checks checks;
    checks.notNull(sum, sq, dst, rect).roi(roi);
    if (checks.status() != zepStsOk) return checks.status();
    const ImageRect r = *rect;
    const int64_t cols =
        Tilted ? int64_t{r.x} + r.y + r.width + r.height + roi.width - 1 : int64_t{r.x} + roi.width + r.width;
    return checks
        .steps({StepRule{sumStep, cols * int64_t{sizeof(S)}, int64_t{sizeof(S)}}, rowOf<D>(dstStep, roi.width),
                StepRule{sqStep, cols * int64_t{sizeof(Q)}, int64_t{sizeof(Q)}}})
        .fail(r.x < 0 || r.y < 0 || r.width <= 0 || r.height <= 0, zepStsBadSize)
        .run([&] {
            const int64_t area = int64_t{r.width} * r.height * (Tilted ? 2 : 1);
            const double inv = 1.0 / static_cast<double>(area);
            const float invF = 1.0f / static_cast<float>(area);
            deviationRows<P, S, Q, D>(rows(sum, sumStep), rows(sq, sqStep), rows(dst, dstStep), roi,
                                      rectCorners(r, Tilted), inv, invF, scaleOf(scaleFactor));
        });
}

}  // namespace zep::integral
