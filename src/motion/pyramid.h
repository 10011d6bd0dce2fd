// Pyramid level sizes and the pyramid record.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/check.h"

namespace zep::pyramid {

// A rate the pyramid functions accept: 1 < rate <= 10 (NaN is refused).
inline bool badRate(float rate) { return !(rate > 1.0f && rate <= 10.0f); }

// A non-negative single-precision value truncated toward zero, held at 2^31 - 1.
inline int64_t truncHeld(float v) { return v >= 2147483647.0f ? INT32_MAX : static_cast<int64_t>(v); }
inline int32_t held32(int64_t v) { return v > INT32_MAX ? INT32_MAX : static_cast<int32_t>(v); }

struct Range {
    int32_t lo, hi;
};

// The sizes that up-sampling a length n by the rate may give; products in
// single precision, truncated.
inline Range upRange(int32_t n, float rate) {
    const int64_t next = int64_t{n} + 1;
    const int64_t lo = n == 1 ? 1 : std::max(truncHeld(static_cast<float>(n - 1) * rate) + 1, next);
    const int64_t hi = std::max(truncHeld(static_cast<float>(n) * rate), next);
    return {held32(lo), held32(hi)};
}

// The next smaller level: the rounded quotient, moved by one per round until
// the source lies in the up range of the result (height and width each move
// at most once a round; the search ends in a round where both are settled).
// The lengths of the up ranges tile the integers, so the search ends next to
// its estimate; the round limit and the final clamp (a result below a source
// of 2 or more) only guard sizes where single precision loses integers.
inline ImageSize downSize(ImageSize src, float rate) {
    auto estimate = [rate](int32_t n) {
        const int64_t d = truncHeld(static_cast<float>(n) / rate + 0.5f);
        return static_cast<int32_t>(d < 1 ? 1 : d);
    };
    ImageSize dst{estimate(src.width), estimate(src.height)};
    for (int round = 0; round < 1024; ++round) {
        const Range rh = upRange(dst.height, rate), rw = upRange(dst.width, rate);
        bool heightSettled = false;
        if (src.height < rh.lo) {
            --dst.height;
        } else if (src.height > rh.hi) {
            ++dst.height;
        } else {
            heightSettled = true;
        }
        if (src.width < rw.lo) {
            --dst.width;
        } else if (src.width > rw.hi) {
            ++dst.width;
        } else if (heightSettled) {
            break;
        }
    }
    auto clamp = [](int32_t d, int32_t n) { return n >= 2 ? std::max(1, std::min(d, n - 1)) : 1; };
    return {clamp(dst.width, src.width), clamp(dst.height, src.height)};
}

// Down sizes from the ROI until 1 x 1, at most `limit` of them; each is passed
// to `visit(i, size)` (i from 1). Returns the number of steps taken.
template <class Visit>
int32_t countLevels(ImageSize roi, float rate, int32_t limit, Visit&& visit) {
    int32_t count = 0;
    ImageSize s = roi;
    while (count < limit && (s.width > 1 || s.height > 1)) {
        s = downSize(s, rate);
        visit(++count, s);
    }
    return count;
}

// The record and its arrays: the record on an 8-byte boundary, then sizes,
// images, rates and steps, each 8-byte aligned after 16 bytes of slack.
struct RecordLayout {
    size_t record, sizes, images, rates, steps;
};

inline RecordLayout recordLayout(uintptr_t memory, int32_t level) {
    auto align8 = [](uintptr_t a) { return (a + 7) & ~uintptr_t{7}; };
    const uintptr_t n = static_cast<uintptr_t>(level) + 1;
    const uintptr_t record = align8(memory);
    const uintptr_t sizes = align8(record + sizeof(Pyramid) + 16);
    const uintptr_t images = align8(sizes + n * sizeof(ImageSize) + 16);
    const uintptr_t rates = align8(images + n * sizeof(void*) + 16);
    const uintptr_t steps = align8(rates + n * sizeof(double) + 16);
    return {record - memory, sizes - memory, images - memory, rates - memory, steps - memory};
}

}  // namespace zep::pyramid
