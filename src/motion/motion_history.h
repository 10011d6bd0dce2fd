// Motion history: silhouette pixels take the time stamp, history older than
// the duration is cleared, the rest is kept.
#pragma once

#include <cstdint>

#include "core/check.h"
#include "core/image.h"
#include "core/rows.h"
#include "core/simd.h"

namespace zep::motion {

// A silhouette pixel counts when it is nonzero; for 32f, -0 is zero and NaN is not.
template <class S>
inline bool inSilhouette(S s) {
    return s != S(0);
}

// The rule for one pixel. NaN history values compare false and are kept.
inline float historyPixel(bool silhouette, float history, float timestamp, float threshold) {
    if (silhouette) return timestamp;
    return history < threshold ? 0.0f : history;
}

template <Path P, class S>
void updateHistoryRows(Rows<const S> silhouette, Rows<float> history, ImageSize roi, float timestamp,
                       float duration) {
    const float threshold = timestamp - duration;
    const __m512 ts = simd::splat(timestamp), th = simd::splat(threshold);
    for (int y = 0; y < roi.height; ++y) {
        const S* sil = silhouette[y];
        float* mhi = history[y];
        walkRow<P, 16>(
            roi.width,
            [&](int x) {
                const __mmask16 inside = simd::nonzeroLanes<16>(sil + x);
                const __m512 h = simd::load(mhi + x);
                const __mmask16 stale = simd::less<float>(h, th) & static_cast<__mmask16>(~inside);
                __m512 out = _mm512_mask_mov_ps(h, stale, _mm512_setzero_ps());
                out = _mm512_mask_mov_ps(out, inside, ts);
                simd::store(mhi + x, out);
            },
            [&](int x) { mhi[x] = historyPixel(inSilhouette(sil[x]), mhi[x], timestamp, threshold); });
    }
}

// Checks: null pointers, ROI, the silhouette's and the history's steps (sizes,
// then multiples), then a negative duration.
template <Path P, class S>
ZepStatus updateHistoryImage(const S* silhouette, int silhStep, float* history, int mhiStep, ImageSize roi,
                             float timestamp, float duration) {
    return Checks{}
        .notNull(silhouette, history)
        .roi(roi)
        .steps({rowOf<S>(silhStep, roi.width), rowOf<float>(mhiStep, roi.width)})
        .fail(duration < 0.0f, zepStsOutOfRange)
        .run([&] {
            updateHistoryRows<P, S>(rows(silhouette, silhStep), rows(history, mhiStep), roi, timestamp, duration);
        });
}

}  // namespace zep::motion
