// Exported extrema with positions: each binds its arguments to the one kernel.
#include "stats/min_max.h"

using zep::Path;
using zep::stats::minMaxImage;

// The four forms (plain or masked, one channel or one of three) of one element type.
#define MIN_MAX_EXPORTS(T, tname)                                                                                    \
    ZEP_EXPORT(zepiMinMaxIndx_##tname##_C1R)                                                                         \
    (const T* pSrc, int srcStep, ImageSize roiSize, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,           \
     ImagePoint* pMaxIndex) {                                                                                        \
        return minMaxImage<Path::vector, T, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMinVal, pMaxVal,       \
                                                      pMinIndex, pMaxIndex);                                         \
    }                                                                                                                \
    ZEP_EXPORT(zepiMinMaxIndx_##tname##_C3CR)                                                                        \
    (const T* pSrc, int srcStep, ImageSize roiSize, int coi, float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,  \
     ImagePoint* pMaxIndex) {                                                                                        \
        return minMaxImage<Path::vector, T, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMinVal, pMaxVal,     \
                                                      pMinIndex, pMaxIndex);                                         \
    }                                                                                                                \
    ZEP_EXPORT(zepiMinMaxIndx_##tname##_C1MR)                                                                        \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, float* pMinVal,              \
     float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {                                                 \
        return minMaxImage<Path::vector, T, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMinVal, pMaxVal,   \
                                                     pMinIndex, pMaxIndex);                                          \
    }                                                                                                                \
    ZEP_EXPORT(zepiMinMaxIndx_##tname##_C3CMR)                                                                       \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, float* pMinVal,     \
     float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex) {                                                 \
        return minMaxImage<Path::vector, T, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMinVal, pMaxVal, \
                                                     pMinIndex, pMaxIndex);                                          \
    }

MIN_MAX_EXPORTS(uint8_t, 8u)
MIN_MAX_EXPORTS(uint16_t, 16u)
MIN_MAX_EXPORTS(float, 32f)
