// The exact Euclidean distance transform, separable: a vertical pass gives
// every pixel its distance g to the nearest zero pixel of its column (kept in
// the destination as an integer), then each row takes the lower envelope of
// the parabolas (x - q)^2 + g(q)^2 and reads the squared distance at every
// x. Parabolas are compared by exact integer cross-multiplication, so the
// squared distances are exact; the row is finished by a single-precision
// square root. The per-row arrays (apex and its value) live in the caller's
// buffer.
#pragma once

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

// Work-buffer bytes: max(w4, h4) * 24 + 56, w4 and h4 rounded up to 4.
inline int64_t trueDistanceBufferBytes(ImageSize roi) {
    const int64_t w4 = (int64_t{roi.width} + 3) & ~int64_t{3};
    const int64_t h4 = (int64_t{roi.height} + 3) & ~int64_t{3};
    return std::max(w4, h4) * 24 + 56;
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
                const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src[y] + x));
                // kNoZero + 1 wraps to 0x80000000, above kNoZero as unsigned.
                const __m512i above = y == 0 ? none : _mm512_min_epu32(_mm512_add_epi32(simd::load512(g[y - 1] + x), one), none);
                simd::store512(g[y] + x, _mm512_maskz_mov_epi32(_mm_test_epi8_mask(p, p), above));
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

template <Path P>
void trueDistance(Rows<const uint8_t> src, Rows<float> dst, ImageSize roi, uint8_t* buffer) {
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
        .run([&] { trueDistance<P>(rows(src, srcStep), rows(dst, dstStep), roi, buffer); });
}

}  // namespace zep::distance
