// Exported norms: src/core/exports.txt binds each to one of these entries of
// the one checked norm kernel.
#include "stats/norm.h"

namespace {

using zep::Path;
using zep::stats::normImage;
using zep::stats::NormKind;
using zep::stats::NormOf;

// The norm of one image.
template <NormKind K, class T>
ZepStatus normC1M(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, double* pNorm) {
    return normImage<Path::vector, K, NormOf::src, T, 1>(pSrc, srcStep, nullptr, 0, pMask, maskStep, roi, 1, pNorm);
}
template <NormKind K, class T>
ZepStatus normC3CM(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, int coi,
                   double* pNorm) {
    return normImage<Path::vector, K, NormOf::src, T, 3>(pSrc, srcStep, nullptr, 0, pMask, maskStep, roi, coi, pNorm);
}

// The norm of the difference of two images, or that relative to the second's.
template <NormKind K, NormOf Of, class T>
ZepStatus norm2C1M(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,
                   ImageSize roi, double* pNorm) {
    return normImage<Path::vector, K, Of, T, 1>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roi, 1, pNorm);
}
template <NormKind K, NormOf Of, class T>
ZepStatus norm2C3CM(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,
                    ImageSize roi, int coi, double* pNorm) {
    return normImage<Path::vector, K, Of, T, 3>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roi, coi, pNorm);
}

}  // namespace

#include "bind/stats/norm.inc"
