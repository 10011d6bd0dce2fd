// Line sampling: the pixels of a digital straight line between two points of
// the ROI, rasterised with an integer error term.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/image.h"

namespace zep::geometry {

// The stepping of one line. The major axis is y when |dx| <= |dy| (so a
// diagonal and a single point step along y), x otherwise.
struct LineSteps {
    int64_t major, minor;  // distances along the major and minor axis
    int sMajorX, sMajorY;  // unit step along the major axis
    int sMinorX, sMinorY;  // unit step along the minor axis
};

inline LineSteps lineSteps(ImagePoint from, ImagePoint to) {
    const int64_t dx = int64_t{to.x} - from.x, dy = int64_t{to.y} - from.y;
    const int sx = dx < 0 ? -1 : 1, sy = dy < 0 ? -1 : 1;
    const int64_t ax = dx < 0 ? -dx : dx, ay = dy < 0 ? -dy : dy;
    if (ax <= ay) return {ay, ax, 0, sy, sx, 0};
    return {ax, ay, sx, 0, 0, sy};
}

// Samples of a line, M + 1 computed in 32-bit arithmetic: negative (refused
// with zepStsLengthOverflow) when it does not fit.
inline int32_t lineSampleCount(ImagePoint from, ImagePoint to) {
    const LineSteps s = lineSteps(from, to);
    return static_cast<int32_t>(static_cast<uint32_t>(s.major) + 1u);
}

// The rule as stated: copy, lose 2m, and step along the minor axis only when
// the error falls strictly below 0 (then regain 2M).
template <class T, int Ch>
void sampleLineRule(Rows<const T> src, T* dst, ImagePoint from, ImagePoint to) {
    const LineSteps s = lineSteps(from, to);
    int64_t e = s.major;
    int64_t x = from.x, y = from.y;
    for (int64_t k = 0; k <= s.major; ++k) {
        std::memcpy(dst + k * Ch, src[y] + x * Ch, sizeof(T) * Ch);
        e -= 2 * s.minor;
        x += s.sMajorX;
        y += s.sMajorY;
        if (e < 0) {
            x += s.sMinorX;
            y += s.sMinorY;
            e += 2 * s.major;
        }
    }
}

// The same line, two samples a round, with the minor step and the error
// correction selected by the error's sign mask instead of a branch.
template <class T, int Ch>
void sampleLineFast(Rows<const T> src, T* dst, ImagePoint from, ImagePoint to) {
    const LineSteps s = lineSteps(from, to);
    const ptrdiff_t pixel = static_cast<ptrdiff_t>(sizeof(T)) * Ch;
    const ptrdiff_t majorStep = s.sMajorX * pixel + s.sMajorY * src.step;
    const ptrdiff_t minorStep = s.sMinorX * pixel + s.sMinorY * src.step;
    const int64_t lose = 2 * s.minor, regain = 2 * s.major;
    const char* base = reinterpret_cast<const char*>(src[from.y] + int64_t{from.x} * Ch);
    ptrdiff_t offset = 0;
    int64_t e = s.major;
    auto one = [&](int64_t k) {
        std::memcpy(dst + k * Ch, base + offset, sizeof(T) * Ch);
        e -= lose;
        const int64_t negative = e >> 63;  // all ones when e < 0
        offset += majorStep + (minorStep & negative);
        e += regain & negative;
    };
    const int64_t n = s.major + 1;
    int64_t k = 0;
    for (; k + 2 <= n; k += 2) {
        one(k);
        one(k + 1);
    }
    if (k < n) one(k);
}

// Checks: null pointers, ROI, the source step (size, then multiple for 16u
// and 32f), end points inside the ROI, then the sample count.
template <Path P, class T, int Ch>
ZepStatus sampleLineImage(const T* src, int srcStep, ImageSize roi, T* dst, ImagePoint from, ImagePoint to) {
    auto outside = [&](ImagePoint p) { return p.x < 0 || p.y < 0 || p.x >= roi.width || p.y >= roi.height; };
    return Checks{}
        .notNull(src, dst)
        .roi(roi)
        .steps({rowOf<T>(srcStep, roi.width, Ch)})
        .fail(outside(from) || outside(to), zepStsOutOfRange)
        .fail(lineSampleCount(from, to) < 0, zepStsLengthOverflow)
        .run([&] {
            if constexpr (P == Path::vector) {
                sampleLineFast<T, Ch>(rows(src, srcStep), dst, from, to);
            } else {
                sampleLineRule<T, Ch>(rows(src, srcStep), dst, from, to);
            }
        });
}

}  // namespace zep::geometry
