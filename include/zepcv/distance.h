/* zepCV distance transforms. Included by zepcv.h; do not include directly.
 *
 * Every pixel of an 8u image gets its distance to the nearest zero pixel.
 * Chamfer transforms scan forward (top-down, left to right) and backward with
 * step costs: 3x3 masks take (a, b) for orthogonal and diagonal steps, 5x5
 * masks (a, b, c) with c for knight moves. Non-zero pixels start at the
 * destination's largest value (255, 65535, 3.4028235e38); integer sums
 * saturate there. When a > b and the image is at least 2 x 2, a is replaced
 * by b. */
#ifndef ZEPCV_DISTANCE_H
#define ZEPCV_DISTANCE_H

#ifdef __cplusplus
extern "C" {
#endif

/* 3x3 chamfer transforms; pMetrics = {a, b}. */
ZEPCV_API ZepStatus zepiDistanceTransform_3x3_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int32_t* pMetrics);
ZEPCV_API ZepStatus zepiDistanceTransform_3x3_8u_C1IR(uint8_t* pSrcDst, int srcDstStep, ImageSize roiSize,
                                                      const int32_t* pMetrics);
ZEPCV_API ZepStatus zepiDistanceTransform_3x3_8u16u_C1R(const uint8_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                        ImageSize roiSize, const int32_t* pMetrics);
ZEPCV_API ZepStatus zepiDistanceTransform_3x3_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                        ImageSize roiSize, const float* pMetrics);
/* 5x5 chamfer transforms; pMetrics = {a, b, c}. */
ZEPCV_API ZepStatus zepiDistanceTransform_5x5_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int32_t* pMetrics);
ZEPCV_API ZepStatus zepiDistanceTransform_5x5_8u_C1IR(uint8_t* pSrcDst, int srcDstStep, ImageSize roiSize,
                                                      const int32_t* pMetrics);
ZEPCV_API ZepStatus zepiDistanceTransform_5x5_8u16u_C1R(const uint8_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                        ImageSize roiSize, const int32_t* pMetrics);
ZEPCV_API ZepStatus zepiDistanceTransform_5x5_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                        ImageSize roiSize, const float* pMetrics);

/* Standard chamfer costs for mask type 10 * kernelSize + norm (norm 0
 * chessboard, 1 city block, 2 Euclidean), as single precision. */
ZEPCV_API ZepStatus zepiGetDistanceTransformMask(int maskType, float* pMetrics);
/* Standard costs for a kernel size (3 or 5) and norm (0, 1, 2). */
ZEPCV_API ZepStatus zepiGetDistanceTransformMask_32f(int kerSize, int norm, float* pMetrics);
ZEPCV_API ZepStatus zepiGetDistanceTransformMask_32s(int kerSize, int norm, int32_t* pMetrics);

/* Work-buffer bytes of the exact Euclidean transform:
 * max(width, height rounded up to 4) * 24 + 56. */
ZEPCV_API ZepStatus zepiTrueDistanceTransformGetBufferSize_8u32f_C1R(ImageSize roiSize, int* pBufferSize);
/* Exact Euclidean distance to the nearest zero pixel (+inf everywhere when
 * the image has none). */
ZEPCV_API ZepStatus zepiTrueDistanceTransform_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                        ImageSize roiSize, uint8_t* pBuffer);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_DISTANCE_H */
