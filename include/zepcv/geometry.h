/* zepCV geometric sampling: pixels along digital lines. Included by zepcv.h; do not include directly.
 *
 * SampleLine copies the pixels of the digital line from start to end, both
 * included, into pDst: max(|dx|, |dy|) + 1 samples (all channels of a sample
 * together). The line steps along y when |dx| <= |dy| and along x otherwise;
 * with M and m the major and minor distances, the error starts at M, loses
 * 2m each step, and only when it falls strictly below 0 does the line take a
 * minor step and regain 2M. So (0,0) to (4,1) samples (0,0) (1,0) (2,0) (3,1)
 * (4,1). End points outside the ROI give zepStsOutOfRange. */
#ifndef ZEPCV_GEOMETRY_H
#define ZEPCV_GEOMETRY_H

#ifdef __cplusplus
extern "C" {
#endif

/* The pixels of the line from pt1 to pt2, in order from pt1. */
ZEPCV_API ZepStatus zepiSampleLine_8u_C1R(const uint8_t* pSrc, int srcStep, ImageSize roiSize, uint8_t* pDst,
                                          ImagePoint pt1, ImagePoint pt2);
ZEPCV_API ZepStatus zepiSampleLine_8u_C3R(const uint8_t* pSrc, int srcStep, ImageSize roiSize, uint8_t* pDst,
                                          ImagePoint pt1, ImagePoint pt2);
ZEPCV_API ZepStatus zepiSampleLine_16u_C1R(const uint16_t* pSrc, int srcStep, ImageSize roiSize, uint16_t* pDst,
                                           ImagePoint pt1, ImagePoint pt2);
ZEPCV_API ZepStatus zepiSampleLine_16u_C3R(const uint16_t* pSrc, int srcStep, ImageSize roiSize, uint16_t* pDst,
                                           ImagePoint pt1, ImagePoint pt2);
ZEPCV_API ZepStatus zepiSampleLine_32f_C1R(const float* pSrc, int srcStep, ImageSize roiSize, float* pDst,
                                           ImagePoint pt1, ImagePoint pt2);
ZEPCV_API ZepStatus zepiSampleLine_32f_C3R(const float* pSrc, int srcStep, ImageSize roiSize, float* pDst,
                                           ImagePoint pt1, ImagePoint pt2);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_GEOMETRY_H */
