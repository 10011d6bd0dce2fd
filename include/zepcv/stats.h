/* zepCV image statistics: means, standard deviations and extrema with positions. Included by zepcv.h; do not include directly.
 *
 * Each function reads one channel: a one-channel image (C1), or channel coi
 * (1, 2 or 3) of a three-channel pixel-interleaved image (C3C). Masked forms
 * (M) take an 8u mask plane of one byte per pixel; a pixel takes part when its
 * mask byte is nonzero. Arguments are checked in this order: source (and mask)
 * null, ROI size, source step below its row (or mask step below the width),
 * source step not a multiple of the element size, channel of interest.
 *
 * Sums are double precision: integer pixels are summed exactly within a row;
 * 32f pixels are summed in sixteen double lanes per row (element index mod 16)
 * that are combined pairwise at the end of the row; row sums are added in row
 * order. The standard deviation is the population deviation
 * sqrt(|sumSq/n - mean*mean|), the difference fused. */
#ifndef ZEPCV_STATS_H
#define ZEPCV_STATS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Mean of the selected pixels; 0 when the mask selects none. pMean is required. */
ZEPCV_API ZepStatus zepiMean_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                     ImageSize roiSize, double* pMean);
ZEPCV_API ZepStatus zepiMean_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      ImageSize roiSize, double* pMean);
ZEPCV_API ZepStatus zepiMean_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      ImageSize roiSize, double* pMean);
/* The same on channel coi of a three-channel image. */
ZEPCV_API ZepStatus zepiMean_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      ImageSize roiSize, int coi, double* pMean);
ZEPCV_API ZepStatus zepiMean_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       ImageSize roiSize, int coi, double* pMean);
ZEPCV_API ZepStatus zepiMean_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                       ImageSize roiSize, int coi, double* pMean);

/* Mean and population standard deviation of the whole ROI; either output may be null (not written). */
ZEPCV_API ZepStatus zepiMean_StdDev_8u_C1R(const uint8_t* pSrc, int srcStep, ImageSize roiSize, double* pMean,
                                           double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_16u_C1R(const uint16_t* pSrc, int srcStep, ImageSize roiSize, double* pMean,
                                            double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_32f_C1R(const float* pSrc, int srcStep, ImageSize roiSize, double* pMean,
                                            double* pStdDev);
/* The same on channel coi of a three-channel image. */
ZEPCV_API ZepStatus zepiMean_StdDev_8u_C3CR(const uint8_t* pSrc, int srcStep, ImageSize roiSize, int coi,
                                            double* pMean, double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_16u_C3CR(const uint16_t* pSrc, int srcStep, ImageSize roiSize, int coi,
                                             double* pMean, double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_32f_C3CR(const float* pSrc, int srcStep, ImageSize roiSize, int coi,
                                             double* pMean, double* pStdDev);
/* Mean and deviation of the selected pixels; both 0 when the mask selects none. */
ZEPCV_API ZepStatus zepiMean_StdDev_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                            ImageSize roiSize, double* pMean, double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                             int maskStep, ImageSize roiSize, double* pMean, double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                             ImageSize roiSize, double* pMean, double* pStdDev);
/* The same on channel coi of a three-channel image. */
ZEPCV_API ZepStatus zepiMean_StdDev_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask,
                                             int maskStep, ImageSize roiSize, int coi, double* pMean,
                                             double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                              int maskStep, ImageSize roiSize, int coi, double* pMean,
                                              double* pStdDev);
ZEPCV_API ZepStatus zepiMean_StdDev_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask,
                                              int maskStep, ImageSize roiSize, int coi, double* pMean,
                                              double* pStdDev);

/* Minimum and maximum with the positions (x, y) of their first occurrences in
 * row-major order; every output may be null (not written). 32f extrema start
 * at +-3.4028235e38 and NaN pixels never compare; an extreme that no pixel
 * reaches is reported at (0, 0). */
ZEPCV_API ZepStatus zepiMinMaxIndx_8u_C1R(const uint8_t* pSrc, int srcStep, ImageSize roiSize, float* pMinVal,
                                          float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_16u_C1R(const uint16_t* pSrc, int srcStep, ImageSize roiSize, float* pMinVal,
                                           float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_32f_C1R(const float* pSrc, int srcStep, ImageSize roiSize, float* pMinVal,
                                           float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
/* The same on channel coi of a three-channel image. */
ZEPCV_API ZepStatus zepiMinMaxIndx_8u_C3CR(const uint8_t* pSrc, int srcStep, ImageSize roiSize, int coi,
                                           float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
                                           ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_16u_C3CR(const uint16_t* pSrc, int srcStep, ImageSize roiSize, int coi,
                                            float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
                                            ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_32f_C3CR(const float* pSrc, int srcStep, ImageSize roiSize, int coi,
                                            float* pMinVal, float* pMaxVal, ImagePoint* pMinIndex,
                                            ImagePoint* pMaxIndex);
/* Extrema of the selected pixels; a mask that selects none writes zero values
 * and positions and returns zepStsEmptyMask. */
ZEPCV_API ZepStatus zepiMinMaxIndx_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                           ImageSize roiSize, float* pMinVal, float* pMaxVal,
                                           ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                            int maskStep, ImageSize roiSize, float* pMinVal, float* pMaxVal,
                                            ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                            ImageSize roiSize, float* pMinVal, float* pMaxVal,
                                            ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
/* The same on channel coi of a three-channel image. */
ZEPCV_API ZepStatus zepiMinMaxIndx_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask,
                                            int maskStep, ImageSize roiSize, int coi, float* pMinVal,
                                            float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                             int maskStep, ImageSize roiSize, int coi, float* pMinVal,
                                             float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex);
ZEPCV_API ZepStatus zepiMinMaxIndx_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask,
                                             int maskStep, ImageSize roiSize, int coi, float* pMinVal,
                                             float* pMaxVal, ImagePoint* pMinIndex, ImagePoint* pMaxIndex);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_STATS_H */
