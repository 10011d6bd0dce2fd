// Accumulation into single-precision images: sums, squares, products and the
// weighted running average, plain and masked.
#pragma once

#include <cmath>

#include "core/check.h"
#include "core/image.h"
#include "core/rows.h"
#include "core/simd.h"

namespace zep::arith {

enum class Acc { add, square, product, weighted };

// The result of one pixel. a and b are the sources converted exactly to
// single precision, factor is [mask != 0] as 1.0 or 0.0 (masked forms).
// Unmasked squares and products round once (fused); masked forms round the
// product first and add it through the factor, so a masked-off inf or NaN
// makes the accumulator NaN. The running average rounds src - acc, then
// computes diff * alpha + acc fused.
template <Acc Op, bool Masked>
inline float accumulatePixel(float acc, float a, float b, float factor, float alpha) {
    if constexpr (Op == Acc::add) {
        return Masked ? std::fma(a, factor, acc) : acc + a;
    } else if constexpr (Op == Acc::square) {
        return Masked ? std::fma(a * a, factor, acc) : std::fma(a, a, acc);
    } else if constexpr (Op == Acc::product) {
        return Masked ? std::fma(a * b, factor, acc) : std::fma(a, b, acc);
    } else {
        return std::fma(a - acc, Masked ? alpha * factor : alpha, acc);
    }
}

// The same rule on sixteen lanes.
template <Acc Op, bool Masked>
inline __m512 accumulateBlock(__m512 acc, __m512 a, __m512 b, __m512 factor, __m512 alpha) {
    if constexpr (Op == Acc::add) {
        return Masked ? _mm512_fmadd_ps(a, factor, acc) : _mm512_add_ps(acc, a);
    } else if constexpr (Op == Acc::square) {
        return Masked ? _mm512_fmadd_ps(_mm512_mul_ps(a, a), factor, acc) : _mm512_fmadd_ps(a, a, acc);
    } else if constexpr (Op == Acc::product) {
        return Masked ? _mm512_fmadd_ps(_mm512_mul_ps(a, b), factor, acc) : _mm512_fmadd_ps(a, b, acc);
    } else {
        return _mm512_fmadd_ps(_mm512_sub_ps(a, acc), Masked ? _mm512_mul_ps(alpha, factor) : alpha, acc);
    }
}

// accOut = rule(accIn, a, b, mask) over the region; accIn and accOut are the
// same image for the in-place forms. b is read by products only, mask by
// masked forms only.
template <Path P, Acc Op, bool Masked, class Src>
void accumulateRows(Rows<const Src> a, Rows<const Src> b, Rows<const uint8_t> mask, Rows<const float> accIn,
                    Rows<float> accOut, ImageSize roi, float alpha) {
    const __m512 alphaV = _mm512_set1_ps(alpha);
    const bool inPlace = accIn.first == accOut.first;
    const Store store = inPlace ? Store::cached : storeFor(int64_t{roi.width} * 4, roi.height);
    for (int y = 0; y < roi.height; ++y) {
        const Src* rowA = a[y];
        const Src* rowB = b[y];
        const uint8_t* rowM = mask[y];
        const float* in = accIn[y];
        mapRow<P>(
            roi.width, accOut[y], store,
            [&](int x) {
                const __m512 va = simd::loadAsFloat(rowA + x);
                const __m512 vb = Op == Acc::product ? simd::loadAsFloat(rowB + x) : va;
                __m512 factor = _mm512_setzero_ps();
                if constexpr (Masked) factor = simd::unitWhere(simd::nonzeroLanes<16>(rowM + x));
                return accumulateBlock<Op, Masked>(simd::load(in + x), va, vb, factor, alphaV);
            },
            [&](int x) {
                const float va = static_cast<float>(rowA[x]);
                const float vb = Op == Acc::product ? static_cast<float>(rowB[x]) : va;
                const float factor = Masked && rowM[x] != 0 ? 1.0f : 0.0f;
                return accumulatePixel<Op, Masked>(in[x], va, vb, factor, alpha);
            });
    }
    finishStores(store);
}

// An in-place accumulation with its checks: null pointers; the ROI; the
// sources' steps (too small, then not a multiple); then the mask's and the
// accumulator's steps. Arguments a form does not have are not checked.
template <Path P, Acc Op, bool Masked, class Src>
ZepStatus accumulateImage(const Src* src1, int src1Step, const Src* src2, int src2Step, const uint8_t* mask,
                          int maskStep, float* acc, int accStep, ImageSize roi, float alpha = 0.0f) {
    constexpr bool twoSources = Op == Acc::product;
    if constexpr (!twoSources) src2 = src1, src2Step = src1Step;
    if constexpr (!Masked) mask = reinterpret_cast<const uint8_t*>(acc), maskStep = roi.width;
    return Checks{}
        .notNull(src1, src2, mask, acc)
        .roi(roi)
        .steps({rowOf<Src>(src1Step, roi.width), rowOf<Src>(src2Step, roi.width)})
        .steps({rowOf<uint8_t>(maskStep, roi.width), rowOf<float>(accStep, roi.width)})
        .run([&] {
            accumulateRows<P, Op, Masked, Src>(rows(src1, src1Step), rows(src2, src2Step), rows(mask, maskStep),
                                               rows<const float>(acc, accStep), rows(acc, accStep), roi, alpha);
        });
}

// dst = (src1 - src2) * alpha + src2, not in place; the three steps are
// checked together, first for size, then for multiples of 4.
template <Path P>
ZepStatus addWeightedImage(const float* src1, int src1Step, const float* src2, int src2Step, float* dst, int dstStep,
                           ImageSize roi, float alpha) {
    return Checks{}
        .notNull(src1, src2, dst)
        .roi(roi)
        .steps(
            {rowOf<float>(src1Step, roi.width), rowOf<float>(src2Step, roi.width), rowOf<float>(dstStep, roi.width)})
        .run([&] {
            accumulateRows<P, Acc::weighted, false, float>(rows(src1, src1Step), rows(src1, src1Step),
                                                           rows<const uint8_t>(nullptr, 0), rows(src2, src2Step),
                                                           rows(dst, dstStep), roi, alpha);
        });
}

}  // namespace zep::arith
