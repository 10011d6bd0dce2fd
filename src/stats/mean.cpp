// Exported means and standard deviations: each binds its arguments to the one kernel.
#include "stats/mean.h"

using zep::Path;
using zep::stats::meanImage;
using zep::stats::meanStdDevImage;

// The masked means and the four forms of mean and deviation of one element type.
#define MEAN_EXPORTS(T, tname)                                                                                      \
    ZEP_EXPORT(zepiMean_##tname##_C1MR)                                                                             \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean) {            \
        return meanImage<Path::vector, T, 1>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean);                    \
    }                                                                                                               \
    ZEP_EXPORT(zepiMean_##tname##_C3CMR)                                                                            \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean) {   \
        return meanImage<Path::vector, T, 3>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean);                  \
    }                                                                                                               \
    ZEP_EXPORT(zepiMean_StdDev_##tname##_C1R)                                                                       \
    (const T* pSrc, int srcStep, ImageSize roiSize, double* pMean, double* pStdDev) {                               \
        return meanStdDevImage<Path::vector, T, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMean, pStdDev);   \
    }                                                                                                               \
    ZEP_EXPORT(zepiMean_StdDev_##tname##_C3CR)                                                                      \
    (const T* pSrc, int srcStep, ImageSize roiSize, int coi, double* pMean, double* pStdDev) {                      \
        return meanStdDevImage<Path::vector, T, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMean, pStdDev); \
    }                                                                                                               \
    ZEP_EXPORT(zepiMean_StdDev_##tname##_C1MR)                                                                      \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean,              \
     double* pStdDev) {                                                                                             \
        return meanStdDevImage<Path::vector, T, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean,         \
                                                         pStdDev);                                                  \
    }                                                                                                               \
    ZEP_EXPORT(zepiMean_StdDev_##tname##_C3CMR)                                                                     \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean,     \
     double* pStdDev) {                                                                                             \
        return meanStdDevImage<Path::vector, T, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean,       \
                                                         pStdDev);                                                  \
    }

MEAN_EXPORTS(uint8_t, 8u)
MEAN_EXPORTS(uint16_t, 16u)
MEAN_EXPORTS(float, 32f)
