// Exported means and standard deviations: src/core/exports.txt binds each to
// one of these entries of the one kernel.
#include "stats/mean.h"

namespace {

using zep::Path;
using zep::stats::meanImage;
using zep::stats::meanStdDevImage;

template <class T>
ZepStatus meanC1M(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, double* pMean) {
    return meanImage<Path::vector, T, 1>(pSrc, srcStep, pMask, maskStep, roi, 0, pMean);
}
template <class T>
ZepStatus meanC3CM(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, int coi,
                   double* pMean) {
    return meanImage<Path::vector, T, 3>(pSrc, srcStep, pMask, maskStep, roi, coi, pMean);
}
template <class T>
ZepStatus meanStdDevC1(const T* pSrc, int srcStep, ImageSize roi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 1, false>(pSrc, srcStep, nullptr, 0, roi, 0, pMean, pStdDev);
}
template <class T>
ZepStatus meanStdDevC3C(const T* pSrc, int srcStep, ImageSize roi, int coi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 3, false>(pSrc, srcStep, nullptr, 0, roi, coi, pMean, pStdDev);
}
template <class T>
ZepStatus meanStdDevC1M(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, double* pMean,
                        double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 1, true>(pSrc, srcStep, pMask, maskStep, roi, 0, pMean, pStdDev);
}
template <class T>
ZepStatus meanStdDevC3CM(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, int coi,
                         double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 3, true>(pSrc, srcStep, pMask, maskStep, roi, coi, pMean, pStdDev);
}

}  // namespace

#include "bind/stats/mean.inc"
