// Exported chamfer transforms and their standard costs: src/core/exports.txt
// binds each to its kernel or to one of these entries.
#include "distance/distance_transform.h"

namespace {

using zep::Path;
using zep::distance::chamferImage;

template <int K>
ZepStatus chamferInPlace(uint8_t* pSrcDst, int srcDstStep, ImageSize roi, const int32_t* pMetrics) {
    return chamferImage<Path::vector, uint8_t, K>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, roi, pMetrics);
}

// Standard costs by kernel (3, 5) and norm (chessboard, city block, Euclidean).
constexpr float kCosts32f[2][3][3] = {{{1.0f, 1.0f}, {1.0f, 2.0f}, {0.955f, 1.3693f}},
                                      {{1.0f, 1.0f, 2.0f}, {1.0f, 2.0f, 3.0f}, {1.0f, 1.4f, 2.1969f}}};
constexpr int32_t kCosts32s[2][3][3] = {{{1, 1}, {1, 2}, {2, 3}}, {{1, 1, 2}, {1, 2, 3}, {5, 7, 11}}};

// (After what the caller checked first:) null pointer, then the kernel size,
// then the norm.
template <class T>
ZepStatus standardCosts(zep::Checks checks, int kerSize, int norm, T* out, const T (&table)[2][3][3]) {
    return checks.notNull(out)
        .fail(kerSize != 3 && kerSize != 5, zepStsBadSize)
        .fail(norm < 0 || norm > 2, zepStsBadArg)
        .run([&] {
            const int k = kerSize == 3 ? 0 : 1;
            for (int i = 0; i < kerSize / 2 + 1; ++i) out[i] = table[k][norm][i];
        });
}

ZepStatus standardCosts32f(int kerSize, int norm, float* pMetrics) {
    return standardCosts({}, kerSize, norm, pMetrics, kCosts32f);
}
ZepStatus standardCosts32s(int kerSize, int norm, int32_t* pMetrics) {
    return standardCosts({}, kerSize, norm, pMetrics, kCosts32s);
}

// The code's remainder is checked first, then everything the 32f form checks.
ZepStatus standardCostsOfCode(int maskType, float* pMetrics) {
    const int norm = maskType % 10;
    return standardCosts(zep::Checks{}.fail(norm < 0 || norm > 2, zepStsBadArg), maskType / 10, norm, pMetrics,
                         kCosts32f);
}

}  // namespace

#include "bind/distance/distance_transform.inc"
