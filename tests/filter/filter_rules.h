// The filters' rules for the models (borders, rounding, one output of a row or
// a column pass), where a source lies in its margin, and breakers.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "support/registry.h"

namespace zf {

constexpr int kMargin = 32;  // pixels around every source, for in-memory borders of up to 33 taps

// Position i of a line of n under base 1 (replicate) or 3 (mirror about the
// edge pixel, not repeating it), reflected as often as a long kernel needs.
inline int64_t fold(int64_t i, int64_t n, int base) {
    while (n > 1 && (i < 0 || i >= n)) i = base == 1 ? (i < 0 ? 0 : n - 1) : i < 0 ? -i : 2 * (n - 1) - i;
    return n > 1 ? i : 0;
}

template <class D>
D saturate(int64_t v) {
    return D(std::clamp<int64_t>(v, std::numeric_limits<D>::lowest(), std::numeric_limits<D>::max()));
}

// Σ taps[j] v(j): 32f in single precision in tap order; integers exactly, then
// divided, rounded to nearest with ties to even, saturated.
template <class D, class Tap, class V>
D rowValue(const Tap* taps, int k, int64_t d, V v) {
    if constexpr (std::is_floating_point_v<D>) {
        float s = taps[0] * v(0);
        for (int j = 1; j < k; ++j) s = s + taps[j] * v(j);
        return s;
    } else {
        int64_t n = 0;
        for (int j = 0; j < k; ++j) n += int64_t{taps[j]} * v(j);
        int64_t q = n / d;
        const int64_t twice = 2 * std::abs(n % d);
        if (twice > std::abs(d) || (twice == std::abs(d) && q % 2 != 0)) q += (n < 0) == (d < 0) ? 1 : -1;
        return saturate<D>(q);
    }
}

// A column-pass output: from 16s rows, while the taps' magnitudes sum below
// 65535, in single precision (tap 2^-16 (1 / divisor) times value 65536,
// summed in tap order, clamped, rounded to even); otherwise as rowValue.
template <class D, class S, class Tap, class V>
D columnValue(const Tap* taps, int k, int d, V v) {
    double mass = 0;
    for (int j = 0; j < k; ++j) mass += std::fabs(double(taps[j]));
    if constexpr (std::is_same_v<S, int16_t>) {
        float s = 0;
        for (int j = 0; j < k && mass < 65535; ++j)
            s = s + float(taps[j]) * 0x1p-16f * (1.0f / float(d)) * float(v(j) * 65536);
        if (mass < 65535)
            return saturate<D>(int64_t(std::nearbyint(
                std::clamp(s, float(std::numeric_limits<D>::lowest()), float(std::numeric_limits<D>::max())))));
    }
    return rowValue<D>(taps, k, d, v);
}

// The first pixel of a region (px bytes a pixel) in image i with t, b rows
// and l, r pixels around it that the call may read: the neighbourhood flush
// with the image's first byte, or its last where the image ends at its
// inaccessible page, so that a read beyond it faults.
inline uint8_t* placed(const zt::CallArgs& a, int i, int px, int t, int b, int l, int r) {
    auto* p = static_cast<uint8_t*>(a.ptr[size_t(i)]);
    const int64_t s = a.step[size_t(i)], m = kMargin, end = (a.roi.height + m - 1) * s + (a.roi.width + m) * px;
    if (!p) return nullptr;
    const bool atEnd = (reinterpret_cast<uintptr_t>(p) + uintptr_t(end)) % uintptr_t(sysconf(_SC_PAGESIZE)) == 0;
    return atEnd ? p + (m - b) * s + (m - r) * px : p + t * s + l * px;
}

// Steps of images {index, pixel bytes, element bytes} checked together: each
// too short or negative, then each not a multiple.
inline std::vector<zt::Breaker> steps(std::vector<std::array<int, 3>> images) {
    std::vector<zt::Breaker> b;
    for (auto [i, px, e] : images)
        b.insert(b.end(),
                 {{"short step", 100 + i, [=](zt::CallArgs& a) { a.step[i] = a.roi.width * px - e; }, zepStsBadStep},
                  {"negative step", 100 + i, [=](zt::CallArgs& a) { a.step[i] = -px; }, zepStsBadStep}});
    for (auto [i, px, e] : images)
        if (e > 1)
            b.push_back({"odd step", 100 + i, [=](zt::CallArgs& a) { a.step[i] = a.roi.width * px + 1; },
                         zepStsStepNotMultiple});
    return b;
}

// Parameter `at` set to v (flags: or-ed in, for the adapters' arguments
// without a role: null kernels, buffers, rows, specs...); the region's size.
inline zt::Breaker set(const char* what, int at, double v, ZepStatus s, bool flags = false) {
    return {what, 300 + at + (flags ? int(v) : 0),
            [=](zt::CallArgs& a) { a.param[size_t(at)] = flags ? double(int(a.param[size_t(at)]) | int(v)) : v; }, s};
}
inline const std::vector<zt::Breaker> kSize = {
    {"zero width", 50, [](zt::CallArgs& a) { a.roi.width = 0; }, zepStsBadSize},
    {"negative height", 51, [](zt::CallArgs& a) { a.roi.height = -1; }, zepStsBadSize}};

}  // namespace zf
