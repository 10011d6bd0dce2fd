// Chamfer distance transforms with 3x3 and 5x5 masks into 8u, 16u and 32f.
//
// Every row of the forward scan (top-down) is done in two steps that give the
// same minimum as visiting the neighbours one by one: first the neighbours in
// the rows above (vector blocks, edges scalar), then the left neighbour, which
// chains along the row: d[x] = min(t[x], d[x-1] + a). The chain is cut into
// segments run side by side, each then fixed up from its left neighbour
// segment until the carried value stops improving (after that nothing can
// change, because the sum is monotone). The backward scan mirrors it.
// Integer sums saturate at the destination's largest value; 32f sums round.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"

namespace zep::distance {

template <class D>
constexpr D farValue() {
    if constexpr (std::is_same_v<D, float>)
        return FLT_MAX;
    else
        return std::numeric_limits<D>::max();
}

// Step costs in the destination's arithmetic: integer costs clamped to the
// largest value, so that v + cost saturates exactly there.
template <class D>
struct Costs {
    D a, b, c;
};

// v + cost, saturated for integer destinations.
template <class D>
inline D plus(D v, D cost) {
    if constexpr (std::is_same_v<D, float>) {
        return v + cost;
    } else {
        const uint32_t s = uint32_t{v} + cost;
        return static_cast<D>(std::min<uint32_t>(s, farValue<D>()));
    }
}

template <class D>
inline D lower(D x, D y) {
    return y < x ? y : x;
}

// t[x] from the rows already scanned: near is the adjacent row (a above or
// below, b diagonal, c knight two columns over), far the row after it (c one
// column over); null rows are outside the image. Start is the current value:
// the initial value (forward scan) or the forward result (backward scan).
template <class D, int Mask>
inline D fromRows(D start, const D* near, const D* far, int x, int width, const Costs<D>& k) {
    D t = start;
    if (near) {
        t = lower(t, plus(near[x], k.a));
        if (x >= 1) t = lower(t, plus(near[x - 1], k.b));
        if (x + 1 < width) t = lower(t, plus(near[x + 1], k.b));
        if constexpr (Mask == 5) {
            if (x >= 2) t = lower(t, plus(near[x - 2], k.c));
            if (x + 2 < width) t = lower(t, plus(near[x + 2], k.c));
        }
    }
    if constexpr (Mask == 5) {
        if (far) {
            if (x >= 1) t = lower(t, plus(far[x - 1], k.c));
            if (x + 1 < width) t = lower(t, plus(far[x + 1], k.c));
        }
    }
    return t;
}

// The row step from the rows already scanned, for one row: src is the source
// row in the forward scan (initial values) and null in the backward scan.
template <Path P, class D, int Mask>
void rowFromRows(const uint8_t* src, D* row, const D* near, const D* far, int width, const Costs<D>& k) {
    auto start = [&](int x) { return src ? (src[x] == 0 ? D(0) : farValue<D>()) : row[x]; };
    constexpr int edge = Mask / 2;
    int x = 0;
    if constexpr (P == Path::vector) {
        using V = simd::Vec<D>;
        constexpr int L = simd::kLanes<D>;
        if (width >= L + 2 * edge) {
            for (; x < edge; ++x) row[x] = fromRows<D, Mask>(start(x), near, far, x, width, k);
            const V a = simd::splat(k.a), b = simd::splat(k.b), c = simd::splat(k.c),
                    farAway = simd::splat(farValue<D>());
            // t = min(t, p[0] + cost), the sum saturating for integer destinations.
            auto step = [](V t, const D* p, V cost) {
                return simd::min<D>(t, simd::addSaturated<D>(simd::load(p), cost));
            };
            auto block = [&](int i) {
                // The initial value: 0 on a zero source pixel, the far value elsewhere.
                V t = src ? simd::zeroOutside<D>(simd::nonzeroLanes<L>(src + i), farAway) : simd::load(row + i);
                if (near) {
                    t = step(t, near + i, a);
                    t = step(t, near + i - 1, b);
                    t = step(t, near + i + 1, b);
                    if constexpr (Mask == 5) {
                        t = step(t, near + i - 2, c);
                        t = step(t, near + i + 2, c);
                    }
                }
                if constexpr (Mask == 5) {
                    if (far) {
                        t = step(t, far + i - 1, c);
                        t = step(t, far + i + 1, c);
                    }
                }
                simd::store(row + i, t);
            };
            const int end = width - edge;  // blocks stay within [edge, width - edge)
            for (; x + L <= end; x += L) block(x);
            if (x < end) {
                // The last block overlaps the one before: recomputing an
                // element gives the same value (the step is idempotent).
                block(end - L);
                x = end;
            }
        }
    }
    for (; x < width; ++x) row[x] = fromRows<D, Mask>(start(x), near, far, x, width, k);
}

// The chain along one row: d[x] = min(d[x], d[x - dir] + a), in the direction
// dir (+1 left to right, -1 right to left), over n elements starting at the
// row's first element in that direction.
template <class D, int Dir>
inline D& at(D* row, int n, int i) {
    return Dir > 0 ? row[i] : row[n - 1 - i];
}

template <Path P, class D, int Dir>
void chainRow(D* row, int n, D a) {
    constexpr int K = 8;
    if (P == Path::scalar || n < 16 * K) {
        D prev = at<D, Dir>(row, n, 0);
        for (int i = 1; i < n; ++i) {
            D& e = at<D, Dir>(row, n, i);
            prev = lower(e, plus(prev, a));
            e = prev;
        }
        return;
    }
    const int len = n / K;
    D prev[K];
    for (int s = 0; s < K; ++s) prev[s] = at<D, Dir>(row, n, s * len);
    for (int i = 1; i < len; ++i) {
        for (int s = 0; s < K; ++s) {
            D& e = at<D, Dir>(row, n, s * len + i);
            prev[s] = lower(e, plus(prev[s], a));
            e = prev[s];
        }
    }
    for (int i = K * len; i < n; ++i) {
        D& e = at<D, Dir>(row, n, i);
        prev[K - 1] = lower(e, plus(prev[K - 1], a));
        e = prev[K - 1];
    }
    for (int s = 1; s < K; ++s) {
        const int end = s == K - 1 ? n : (s + 1) * len;
        D carry = at<D, Dir>(row, n, s * len - 1);
        for (int i = s * len; i < end; ++i) {
            D& e = at<D, Dir>(row, n, i);
            const D v = plus(carry, a);
            if (!(v < e)) break;
            e = v;
            carry = v;
        }
    }
}

template <Path P, class D, int Mask>
void chamfer(Rows<const uint8_t> src, Rows<D> dst, ImageSize roi, Costs<D> k) {
    const int w = roi.width, h = roi.height;
    for (int y = 0; y < h; ++y) {
        const D* near = y >= 1 ? dst[y - 1] : nullptr;
        const D* far = y >= 2 ? dst[y - 2] : nullptr;
        rowFromRows<P, D, Mask>(src[y], dst[y], near, far, w, k);
        chainRow<P, D, +1>(dst[y], w, k.a);
    }
    for (int y = h - 1; y >= 0; --y) {
        const D* near = y + 1 < h ? dst[y + 1] : nullptr;
        const D* far = y + 2 < h ? dst[y + 2] : nullptr;
        rowFromRows<P, D, Mask>(nullptr, dst[y], near, far, w, k);
        chainRow<P, D, -1>(dst[y], w, k.a);
    }
}

// Checked entry: null pointers, the ROI, the steps (size, then the
// destination's multiple), then the costs. The orthogonal cost becomes the
// diagonal one when it is larger and the image is at least 2 x 2.
template <Path P, class D, int Mask, class C>
ZepStatus chamferImage(const uint8_t* src, int srcStep, D* dst, int dstStep, ImageSize roi, const C* metrics) {
    Checks checks;
    checks.notNull(src, dst, metrics)
        .roi(roi)
        .steps({rowOf<uint8_t>(srcStep, roi.width), rowOf<D>(dstStep, roi.width)});
    if (checks.status() != zepStsOk) return checks.status();
    constexpr int n = Mask == 3 ? 2 : 3;
    C m[3] = {metrics[0], metrics[1], metrics[0]};
    if constexpr (n == 3) m[2] = metrics[2];
    for (int i = 0; i < n; ++i) {
        if constexpr (std::is_same_v<C, float>)
            checks.fail(!(m[i] > 0.0f), zepStsBadMetric);
        else
            checks.fail(m[i] < 1, zepStsBadMetric);
    }
    return checks.run([&] {
        if (m[0] > m[1] && roi.width >= 2 && roi.height >= 2) m[0] = m[1];
        Costs<D> k;
        if constexpr (std::is_same_v<D, float>) {
            k = {m[0], m[1], m[2]};
        } else {
            auto clamp = [](C v) { return static_cast<D>(std::min<int64_t>(v, farValue<D>())); };
            k = {clamp(m[0]), clamp(m[1]), clamp(m[2])};
        }
        chamfer<P, D, Mask>(rows(src, srcStep), rows(dst, dstStep), roi, k);
    });
}

}  // namespace zep::distance
