// Exported extrema with positions: src/core/exports.txt binds each to one of
// these entries of the one kernel.
#include "stats/min_max.h"

namespace {

using zep::Path;
using zep::stats::minMaxImage;

template <class T>
ZepStatus minMaxC1(const T* pSrc, int srcStep, ImageSize roi, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
                   ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, T, 1, false>(pSrc, srcStep, nullptr, 0, roi, 0, pMinVal, pMaxVal, pMinIndex,
                                                  pMaxIndex);
}
template <class T>
ZepStatus minMaxC3C(const T* pSrc, int srcStep, ImageSize roi, int coi, float* pMinVal, float* pMaxVal,
                    ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, T, 3, false>(pSrc, srcStep, nullptr, 0, roi, coi, pMinVal, pMaxVal, pMinIndex,
                                                  pMaxIndex);
}
template <class T>
ZepStatus minMaxC1M(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, float* pMinVal,
                    float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, T, 1, true>(pSrc, srcStep, pMask, maskStep, roi, 0, pMinVal, pMaxVal, pMinIndex,
                                                 pMaxIndex);
}
template <class T>
ZepStatus minMaxC3CM(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, int coi,
                     float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, T, 3, true>(pSrc, srcStep, pMask, maskStep, roi, coi, pMinVal, pMaxVal,
                                                 pMinIndex, pMaxIndex);
}

}  // namespace

#include "bind/stats/min_max.inc"
