// Exported means and standard deviations: each binds its arguments to the one kernel.
#include "stats/mean.h"

using zep::Path;
using zep::stats::meanImage;
using zep::stats::meanStdDevImage;

ZEP_EXPORT(zepiMean_8u_C1MR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean) {
    return meanImage<Path::vector, uint8_t, 1>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean);
}

ZEP_EXPORT(zepiMean_8u_C3CMR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean) {
    return meanImage<Path::vector, uint8_t, 3>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean);
}

ZEP_EXPORT(zepiMean_16u_C1MR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean) {
    return meanImage<Path::vector, uint16_t, 1>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean);
}

ZEP_EXPORT(zepiMean_16u_C3CMR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean) {
    return meanImage<Path::vector, uint16_t, 3>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean);
}

ZEP_EXPORT(zepiMean_32f_C1MR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean) {
    return meanImage<Path::vector, float, 1>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean);
}

ZEP_EXPORT(zepiMean_32f_C3CMR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean) {
    return meanImage<Path::vector, float, 3>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean);
}

ZEP_EXPORT(zepiMean_StdDev_8u_C1R)
(const uint8_t* pSrc, int srcStep, ImageSize roiSize, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, uint8_t, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_8u_C3CR)
(const uint8_t* pSrc, int srcStep, ImageSize roiSize, int coi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, uint8_t, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_8u_C1MR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean,
 double* pStdDev) {
    return meanStdDevImage<Path::vector, uint8_t, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean,
                                                           pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_8u_C3CMR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean,
 double* pStdDev) {
    return meanStdDevImage<Path::vector, uint8_t, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean,
                                                           pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_16u_C1R)
(const uint16_t* pSrc, int srcStep, ImageSize roiSize, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, uint16_t, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_16u_C3CR)
(const uint16_t* pSrc, int srcStep, ImageSize roiSize, int coi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, uint16_t, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_16u_C1MR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean,
 double* pStdDev) {
    return meanStdDevImage<Path::vector, uint16_t, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean,
                                                            pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_16u_C3CMR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean,
 double* pStdDev) {
    return meanStdDevImage<Path::vector, uint16_t, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean,
                                                            pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_32f_C1R)
(const float* pSrc, int srcStep, ImageSize roiSize, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, float, 1, false>(pSrc, srcStep, nullptr, 0, roiSize, 0, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_32f_C3CR)
(const float* pSrc, int srcStep, ImageSize roiSize, int coi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, float, 3, false>(pSrc, srcStep, nullptr, 0, roiSize, coi, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_32f_C1MR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pMean,
 double* pStdDev) {
    return meanStdDevImage<Path::vector, float, 1, true>(pSrc, srcStep, pMask, maskStep, roiSize, 0, pMean, pStdDev);
}

ZEP_EXPORT(zepiMean_StdDev_32f_C3CMR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pMean,
 double* pStdDev) {
    return meanStdDevImage<Path::vector, float, 3, true>(pSrc, srcStep, pMask, maskStep, roiSize, coi, pMean,
                                                         pStdDev);
}
