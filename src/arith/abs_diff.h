// Absolute differences between two images, or between an image and a constant.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/check.h"
#include "core/image.h"
#include "core/rows.h"
#include "core/simd.h"

namespace zep::arith {

// |a - b|: exact for unsigned integers (always representable); for floats
// the rounded difference with its sign bit cleared (NaN stays NaN, -0 is +0).
template <class T>
inline T absDiffPixel(T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::fabs(a - b);
    } else {
        return a > b ? static_cast<T>(a - b) : static_cast<T>(b - a);
    }
}

template <Path P, class T>
void absDiffRows(Rows<const T> a, Rows<const T> b, Rows<T> dst, int rowElements, int height) {
    const Store store = storeFor(int64_t{rowElements} * static_cast<int64_t>(sizeof(T)), height);
    for (int y = 0; y < height; ++y) {
        const T* ra = a[y];
        const T* rb = b[y];
        mapRow<P>(
            rowElements, dst[y], store,
            [&](int x) { return simd::absDiff<T>(simd::load(ra + x), simd::load(rb + x)); },
            [&](int x) { return absDiffPixel(ra[x], rb[x]); });
    }
    finishStores(store);
}

// Checks: null pointers, ROI, then the sources' steps and the destination's;
// 16u checks its three steps together (sizes, then evenness).
template <Path P, class T, int Channels>
ZepStatus absDiffImage(const T* src1, int src1Step, const T* src2, int src2Step, T* dst, int dstStep, ImageSize roi) {
    Checks checks;
    checks.notNull(src1, src2, dst).roi(roi);
    if constexpr (std::is_same_v<T, uint16_t>) {
        checks.steps({rowOf<T>(src1Step, roi.width, Channels), rowOf<T>(src2Step, roi.width, Channels),
                      rowOf<T>(dstStep, roi.width, Channels)});
    } else {
        checks.steps({rowOf<T>(src1Step, roi.width, Channels), rowOf<T>(src2Step, roi.width, Channels)})
            .steps({rowOf<T>(dstStep, roi.width, Channels)});
    }
    return checks.run([&] {
        absDiffRows<P, T>(rows(src1, src1Step), rows(src2, src2Step), rows(dst, dstStep), roi.width * Channels,
                          roi.height);
    });
}

// |src - value| for one pixel at column x of a row of `width` pixels.
// Integers compare with value's low bits, except the last (width mod 4)
// pixels of an 8u row and the last pixel of an odd-width 16u row, which take
// the low bits of |src - value| computed in wrapping 32-bit arithmetic.
// The two agree whenever value lies in the type's range.
template <class T, class V>
inline T absDiffConstPixel(T src, V value, int x, int width) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::fabs(src - value);
    } else {
        constexpr int group = sizeof(T) == 1 ? 4 : 2;
        if (x < width - width % group) return absDiffPixel(src, static_cast<T>(value));
        const uint32_t d = static_cast<uint32_t>(src) - static_cast<uint32_t>(value);
        const uint32_t magnitude = static_cast<int32_t>(d) < 0 ? 0u - d : d;
        return static_cast<T>(magnitude);
    }
}

// The vector blocks cover the low-bits part of each row only.
template <Path P, class T, class V>
void absDiffConstRows(Rows<const T> src, Rows<T> dst, ImageSize roi, V value) {
    // Integers take value's low bits.
    const simd::Vec<T> constant = simd::splat(static_cast<T>(value));
    int lowBitsPart = roi.width;
    if constexpr (!std::is_floating_point_v<T>) lowBitsPart -= roi.width % (sizeof(T) == 1 ? 4 : 2);
    const Store store = storeFor(int64_t{roi.width} * static_cast<int64_t>(sizeof(T)), roi.height);
    for (int y = 0; y < roi.height; ++y) {
        const T* rs = src[y];
        T* rd = dst[y];
        auto pixel = [&](int x) { return absDiffConstPixel(rs[x], value, x, roi.width); };
        mapRow<P>(
            lowBitsPart, rd, store, [&](int x) { return simd::absDiff<T>(simd::load(rs + x), constant); }, pixel);
        for (int x = lowBitsPart; x < roi.width; ++x) rd[x] = pixel(x);
    }
    finishStores(store);
}

template <Path P, class T, class V>
ZepStatus absDiffConstImage(const T* src, int srcStep, T* dst, int dstStep, ImageSize roi, V value) {
    return Checks{}
        .notNull(src, dst)
        .roi(roi)
        .steps({rowOf<T>(srcStep, roi.width)})
        .steps({rowOf<T>(dstStep, roi.width)})
        .run([&] { absDiffConstRows<P, T, V>(rows(src, srcStep), rows(dst, dstStep), roi, value); });
}

}  // namespace zep::arith
