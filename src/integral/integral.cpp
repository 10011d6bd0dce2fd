// Exported integral tables: src/core/exports.txt binds each to the table
// kernel, directly or through these entries for the tables without squares.
#include "integral/integral.h"

namespace {

using zep::Path;
using zep::integral::integralImage;
using zep::integral::None;

template <bool Tilted, class S, class D>
ZepStatus integralOnly(const S* pSrc, int srcStep, D* pDst, int dstStep, ImageSize roi, D val) {
    return integralImage<Path::vector, Tilted, S, D, None>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roi, val,
                                                           None{});
}
// The 32f table starts from zero.
ZepStatus integral32f(const float* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roi) {
    return integralOnly<false>(pSrc, srcStep, pDst, dstStep, roi, 0.0f);
}

}  // namespace

#include "bind/integral/integral.inc"
