/* zepCV pixel arithmetic: accumulation into single-precision images and
 * absolute differences. Included by zepcv.h; do not include directly.
 *
 * Accumulators (pSrcDst) are 32f images read and written in place. Integer
 * sources are converted exactly to single precision; all arithmetic is single
 * precision. Masked forms compute every pixel as acc + value * [mask != 0]
 * with one fused multiply-add, so a masked-off 32f source of inf or NaN turns
 * the accumulator into NaN. */
#ifndef ZEPCV_ARITH_H
#define ZEPCV_ARITH_H

#ifdef __cplusplus
extern "C" {
#endif

/* acc = acc + src */
ZEPCV_API ZepStatus zepiAdd_8u32f_C1IR(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                       ImageSize roiSize);
ZEPCV_API ZepStatus zepiAdd_16u32f_C1IR(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                        ImageSize roiSize);
/* acc = acc + src * [m != 0] */
ZEPCV_API ZepStatus zepiAdd_8u32f_C1IMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAdd_16u32f_C1IMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAdd_32f_C1IMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                      float* pSrcDst, int srcDstStep, ImageSize roiSize);

/* acc = acc + src * src, one fused multiply-add */
ZEPCV_API ZepStatus zepiAddSquare_8u32f_C1IR(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                             ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddSquare_16u32f_C1IR(const uint16_t* pSrc, int srcStep, float* pSrcDst,
                                              int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddSquare_32f_C1IR(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                           ImageSize roiSize);
/* acc = acc + (src * src rounded) * [m != 0] */
ZEPCV_API ZepStatus zepiAddSquare_8u32f_C1IMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask,
                                              int maskStep, float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddSquare_16u32f_C1IMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                               int maskStep, float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddSquare_32f_C1IMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                            float* pSrcDst, int srcDstStep, ImageSize roiSize);

/* acc = acc + src1 * src2, one fused multiply-add */
ZEPCV_API ZepStatus zepiAddProduct_8u32f_C1IR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2,
                                              int src2Step, float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddProduct_16u32f_C1IR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                               int src2Step, float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddProduct_32f_C1IR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            float* pSrcDst, int srcDstStep, ImageSize roiSize);
/* acc = acc + (src1 * src2 rounded) * [m != 0] */
ZEPCV_API ZepStatus zepiAddProduct_8u32f_C1IMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2,
                                               int src2Step, const uint8_t* pMask, int maskStep, float* pSrcDst,
                                               int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddProduct_16u32f_C1IMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                                int src2Step, const uint8_t* pMask, int maskStep,
                                                float* pSrcDst, int srcDstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAddProduct_32f_C1IMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
                                             ImageSize roiSize);

/* Running average: acc = (src - acc) * alpha + acc, the difference rounded,
 * then one fused multiply-add; alpha 1 copies src, alpha 0 keeps acc. */
ZEPCV_API ZepStatus zepiAddWeighted_8u32f_C1IR(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                               ImageSize roiSize, float alpha);
ZEPCV_API ZepStatus zepiAddWeighted_16u32f_C1IR(const uint16_t* pSrc, int srcStep, float* pSrcDst,
                                                int srcDstStep, ImageSize roiSize, float alpha);
ZEPCV_API ZepStatus zepiAddWeighted_32f_C1IR(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep,
                                             ImageSize roiSize, float alpha);
/* acc = (src - acc) * (alpha * [m != 0]) + acc */
ZEPCV_API ZepStatus zepiAddWeighted_8u32f_C1IMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask,
                                                int maskStep, float* pSrcDst, int srcDstStep, ImageSize roiSize,
                                                float alpha);
ZEPCV_API ZepStatus zepiAddWeighted_16u32f_C1IMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask,
                                                 int maskStep, float* pSrcDst, int srcDstStep,
                                                 ImageSize roiSize, float alpha);
ZEPCV_API ZepStatus zepiAddWeighted_32f_C1IMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                              float* pSrcDst, int srcDstStep, ImageSize roiSize, float alpha);
/* dst = (src1 - src2) * alpha + src2, not in place */
ZEPCV_API ZepStatus zepiAddWeighted_32f_C1R(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            float* pDst, int dstStep, ImageSize roiSize, float alpha);

/* dst = |src1 - src2|; exact for integers, the rounded difference with its
 * sign cleared for 32f. The C3 form treats a row as width * 3 bytes. */
ZEPCV_API ZepStatus zepiAbsDiff_8u_C1R(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                       uint8_t* pDst, int dstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAbsDiff_8u_C3R(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                       uint8_t* pDst, int dstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAbsDiff_16u_C1R(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                        int src2Step, uint16_t* pDst, int dstStep, ImageSize roiSize);
ZEPCV_API ZepStatus zepiAbsDiff_32f_C1R(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                        float* pDst, int dstStep, ImageSize roiSize);

/* dst = |src - value|. For integers value belongs in the type's range; outside
 * it, pixels are compared with value's low 8 (16) bits, except the last
 * (width mod 4) pixels of an 8u row and the last pixel of an odd-width 16u row,
 * which receive the low bits of |src - value| computed in 32-bit arithmetic. */
ZEPCV_API ZepStatus zepiAbsDiffC_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                        ImageSize roiSize, int value);
ZEPCV_API ZepStatus zepiAbsDiffC_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                         ImageSize roiSize, int value);
ZEPCV_API ZepStatus zepiAbsDiffC_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                         ImageSize roiSize, float value);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_ARITH_H */
