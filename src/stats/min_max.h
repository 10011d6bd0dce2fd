// Minimum and maximum of one channel with the positions of their first
// occurrences, plain and masked.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/channel_lanes.h"
#include "core/check.h"
#include "core/image.h"
#include "stats/mean.h"

namespace zep::stats {

// Start values of the running extrema: the type's range for integers, the
// largest finite single-precision value and its negative for 32f.
template <class T>
constexpr T startMin() {
    if constexpr (std::is_floating_point_v<T>)
        return 3.4028235e38f;
    else
        return std::numeric_limits<T>::max();
}
template <class T>
constexpr T startMax() {
    if constexpr (std::is_floating_point_v<T>)
        return -3.4028235e38f;
    else
        return std::numeric_limits<T>::min();
}

// The result of one pass: the values and positions to report, and whether
// any pixel was selected.
struct Extrema {
    float minVal = 0.0f, maxVal = 0.0f;
    ImagePoint minAt{0, 0}, maxAt{0, 0};
    bool any = false;
};

// The definition, pixel by pixel in row-major order (channel 0-based): a
// pixel replaces the running minimum when it is below it (NaN never is), or
// when it equals the start value and no pixel has been taken yet; likewise
// the maximum. So each position is the first occurrence of its extreme,
// lowest row then lowest column, and the value reported is that pixel's (for
// 32f, -0 or +0 as it stands there). An extreme that no pixel reaches (32f
// pixels all NaN or beyond the start values) keeps its start value at (0, 0).
template <class T, int C, bool Masked>
Extrema extremaScalar(Rows<const T> src, Rows<const uint8_t> mask, ImageSize roi, int channel) {
    T lo = startMin<T>(), hi = startMax<T>();
    bool haveLo = false, haveHi = false;
    Extrema e;
    for (int y = 0; y < roi.height; ++y) {
        const T* row = src[y];
        for (int x = 0; x < roi.width; ++x) {
            if (Masked && mask[y][x] == 0) continue;
            e.any = true;
            const T v = row[x * C + channel];
            if (v < lo || (!haveLo && v == lo)) lo = v, e.minAt = {x, y}, haveLo = true;
            if (v > hi || (!haveHi && v == hi)) hi = v, e.maxAt = {x, y}, haveHi = true;
        }
    }
    e.minVal = static_cast<float>(lo);
    e.maxVal = static_cast<float>(hi);
    return e;
}

// The first selected pixel of row y equal to v (by ==), or -1.
template <class T, int C, bool Masked>
inline int firstEqual(Rows<const T> src, Rows<const uint8_t> mask, int width, int channel, int y, T v) {
    const T* row = src[y];
    for (int x = 0; x < width; ++x)
        if ((!Masked || mask[y][x] != 0) && row[x * C + channel] == v) return x;
    return -1;
}

// The vector pass. Lane-wise running extrema over the whole image (masked
// lanes and row tails under lane masks, see ChannelLanes); at the end of each
// row, when a lane went strictly beyond the extreme so far, the new extreme is
// taken from the lanes and the row remembered: it holds the first occurrence.
// Only rows are tracked in the loop; the column is found afterwards by
// scanning the remembered row from column 0 for the first selected pixel
// equal to the extreme, whose value is reported. When no row went beyond the
// start value, the first selected pixel equal to it is searched in the whole
// image, as the definition takes it. Agrees with extremaScalar.
template <class T, int C, bool Masked>
Extrema extremaVector(Rows<const T> src, Rows<const uint8_t> mask, ImageSize roi, int channel) {
    const simd::ChannelLanes<T, C> lanes(channel);
    // Lane-wise running extrema. For 32f the pixel is the first operand, so
    // a NaN pixel leaves the lane as it was.
    simd::Vec<T> lo = simd::splat(startMin<T>()), hi = simd::splat(startMax<T>());
    T gLo = startMin<T>(), gHi = startMax<T>();
    int rowLo = -1, rowHi = -1;
    bool any = !Masked;
    for (int y = 0; y < roi.height; ++y) {
        simd::forEachBlock(lanes, src[y], Masked ? mask[y] : nullptr, roi.width,
                           [&](simd::Vec<T> v, uint64_t used, auto dense) {
                               if constexpr (decltype(dense)::value) {
                                   lo = simd::min<T>(v, lo);
                                   hi = simd::max<T>(v, hi);
                               } else {
                                   const auto k = static_cast<simd::Mask<T>>(used);  // the lanes of one vector
                                   lo = simd::min<T>(lo, k, v, lo);
                                   hi = simd::max<T>(hi, k, v, hi);
                               }
                               if constexpr (Masked) any = true;
                           });
        // A lane strictly beyond the extreme so far (never a NaN: the lanes hold none).
        if (simd::less<T>(lo, simd::splat(gLo)) != 0) gLo = simd::reduceMin<T>(lo), rowLo = y;
        if (simd::greater<T>(hi, simd::splat(gHi)) != 0) gHi = simd::reduceMax<T>(hi), rowHi = y;
    }
    Extrema e;
    e.any = any;
    if (!any) return e;
    // Position and reported value of one extreme found in row `row` (or not found: -1).
    auto place = [&](int row, T g, ImagePoint& at, float& val) {
        val = static_cast<float>(g);
        if (row < 0) {
            for (int y = 0; y < roi.height; ++y) {
                const int x = firstEqual<T, C, Masked>(src, mask, roi.width, channel, y, g);
                if (x >= 0) {
                    at = {x, y};
                    return;
                }
            }
            at = {0, 0};
            return;
        }
        const int x = firstEqual<T, C, Masked>(src, mask, roi.width, channel, row, g);
        at = {x, row};
        val = static_cast<float>(src[row][x * C + channel]);
    };
    place(rowLo, gLo, e.minAt, e.minVal);
    place(rowHi, gHi, e.maxAt, e.maxVal);
    return e;
}

// Extrema with their checks (see statsChecks). Null outputs are not written.
// A masked form whose mask selects no pixel writes 0 for both values and both
// positions and returns zepStsEmptyMask.
template <Path P, class T, int C, bool Masked>
ZepStatus minMaxImage(const T* src, int srcStep, const uint8_t* mask, int maskStep, ImageSize roi, int coi,
                      float* minVal, float* maxVal, ImagePoint* minAt, ImagePoint* maxAt) {
    const Checks checks = statsChecks<T, C, Masked>(src, srcStep, mask, maskStep, roi, coi);
    return runWithWarning(checks, zepStsEmptyMask, [&] {
        const int channel = C == 3 ? coi - 1 : 0;
        Extrema e = P == Path::scalar
                        ? extremaScalar<T, C, Masked>(rows(src, srcStep), rows(mask, maskStep), roi, channel)
                        : extremaVector<T, C, Masked>(rows(src, srcStep), rows(mask, maskStep), roi, channel);
        if (!e.any) e = Extrema{};
        if (minVal != nullptr) *minVal = e.minVal;
        if (maxVal != nullptr) *maxVal = e.maxVal;
        if (minAt != nullptr) *minAt = e.minAt;
        if (maxAt != nullptr) *maxAt = e.maxAt;
        return !e.any;
    });
}

}  // namespace zep::stats
