// Exported extrema with positions: each binds its arguments to the one kernel.
#include "stats/min_max.h"

using zep::Path;
using zep::stats::minMaxImage;

ZEP_EXPORT(zepiMinMaxIndx_8u_C1R)
(const uint8_t* pSrc, int srcStep, ImageSize roiSize, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
 ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint8_t, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMinVal, pMaxVal,
                                                        pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_8u_C3CR)
(const uint8_t* pSrc, int srcStep, ImageSize roiSize, int coi, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
 ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint8_t, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMinVal, pMaxVal,
                                                        pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_8u_C1MR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, float* pMinVal,
 float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint8_t, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMinVal, pMaxVal,
                                                       pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_8u_C3CMR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, float* pMinVal,
 float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint8_t, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMinVal, pMaxVal,
                                                       pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_16u_C1R)
(const uint16_t* pSrc, int srcStep, ImageSize roiSize, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
 ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint16_t, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMinVal, pMaxVal,
                                                         pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_16u_C3CR)
(const uint16_t* pSrc, int srcStep, ImageSize roiSize, int coi, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
 ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint16_t, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMinVal, pMaxVal,
                                                         pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_16u_C1MR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, float* pMinVal,
 float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint16_t, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMinVal, pMaxVal,
                                                        pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_16u_C3CMR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, float* pMinVal,
 float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, uint16_t, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMinVal,
                                                        pMaxVal, pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_32f_C1R)
(const float* pSrc, int srcStep, ImageSize roiSize, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
 ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, float, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMinVal, pMaxVal,
                                                      pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_32f_C3CR)
(const float* pSrc, int srcStep, ImageSize roiSize, int coi, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
 ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, float, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMinVal, pMaxVal,
                                                      pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_32f_C1MR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, float* pMinVal,
 float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, float, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMinVal, pMaxVal,
                                                     pMinIndex, pMaxIndex);
}

ZEP_EXPORT(zepiMinMaxIndx_32f_C3CMR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, float* pMinVal,
 float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {
    return minMaxImage<Path::vector, float, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMinVal, pMaxVal,
                                                     pMinIndex, pMaxIndex);
}
