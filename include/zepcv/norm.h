/* zepCV norms of images, of their differences, and relative norms. Included by zepcv.h; do not include directly.
 *
 * Every form is masked: a pixel takes part when its mask byte (one byte a
 * pixel, its own step) is nonzero. a is the first source, b the second. The
 * C3CMR forms read channel coi (1 to 3) of a pixel-interleaved three-channel
 * image. The result is written through pNorm, and only when the status is not
 * an error.
 *
 * 8u and 16u norms are exact sums and maxima converted to double. 32f sums
 * (|x| for L1, x * x fused for L2) run in single precision per vector lane
 * within a row; each row's lane sums are converted to double and added to a
 * double total; 32f differences a - b are rounded to single precision first.
 * The L2 result is the double square root of the total.
 *
 * Relative norms divide in double precision (L2: the square root of the
 * quotient of the squared sums). A zero denominator returns the warning
 * zepStsZeroDenominator with +inf for a positive numerator, the NaN with bits
 * 0xFFF8000000000000 for a zero numerator, and -inf otherwise (a NaN numerator).
 * An infinity norm over 32f data with a selected NaN is the quiet NaN
 * 0x7FF8000000000000.
 *
 * Checks: null pointers; the ROI; then the steps. Norm: the source step too
 * small, the source step not a multiple of the element size, then the mask
 * step too small. NormDiff and NormRel: both source steps and the mask step
 * too small, then both source steps not a multiple. Last the channel of
 * interest (zepStsBadChannelOfInterest). */
#ifndef ZEPCV_NORM_H
#define ZEPCV_NORM_H

#ifdef __cplusplus
extern "C" {
#endif

/* Norm_Inf: max |a| over the selected pixels (0 when none is selected). */
ZEPCV_API ZepStatus zepiNorm_Inf_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_Inf_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_Inf_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_Inf_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                           ImageSize roiSize, int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_Inf_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_Inf_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                           ImageSize roiSize, int coi, double* pNorm);

/* Norm_L1: sum of |a| over the selected pixels. */
ZEPCV_API ZepStatus zepiNorm_L1_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L1_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L1_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L1_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L1_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L1_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, int coi, double* pNorm);

/* Norm_L2: square root of the sum of a * a over the selected pixels. */
ZEPCV_API ZepStatus zepiNorm_L2_8u_C1MR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                        ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L2_8u_C3CMR(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L2_16u_C1MR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L2_16u_C3CMR(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L2_32f_C1MR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                         ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNorm_L2_32f_C3CMR(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep,
                                          ImageSize roiSize, int coi, double* pNorm);

/* NormDiff_Inf: max |a - b| over the selected pixels (0 when none is selected). */
ZEPCV_API ZepStatus zepiNormDiff_Inf_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_Inf_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                              const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                              double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_Inf_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                              int src2Step, const uint8_t* pMask, int maskStep, ImageSize roiSize,
                                              double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_Inf_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                               int src2Step, const uint8_t* pMask, int maskStep, ImageSize roiSize,
                                               int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_Inf_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                              const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_Inf_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                               const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                               double* pNorm);

/* NormDiff_L1: sum of |a - b| over the selected pixels. */
ZEPCV_API ZepStatus zepiNormDiff_L1_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L1_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L1_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L1_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                              int src2Step, const uint8_t* pMask, int maskStep, ImageSize roiSize,
                                              int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L1_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L1_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                              const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                              double* pNorm);

/* NormDiff_L2: square root of the sum of (a - b)^2 over the selected pixels. */
ZEPCV_API ZepStatus zepiNormDiff_L2_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L2_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L2_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L2_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                              int src2Step, const uint8_t* pMask, int maskStep, ImageSize roiSize,
                                              int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L2_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormDiff_L2_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                              const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                              double* pNorm);

/* NormRel_Inf: max |a - b| / max |b| over the selected pixels. */
ZEPCV_API ZepStatus zepiNormRel_Inf_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_Inf_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_Inf_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_Inf_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2,
                                              int src2Step, const uint8_t* pMask, int maskStep, ImageSize roiSize,
                                              int coi, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_Inf_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_Inf_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                              const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                              double* pNorm);

/* NormRel_L1: sum |a - b| / sum |b| over the selected pixels. */
ZEPCV_API ZepStatus zepiNormRel_L1_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L1_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                            double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L1_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L1_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L1_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L1_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);

/* NormRel_L2: square root of (sum (a - b)^2 / sum b^2) over the selected pixels. */
ZEPCV_API ZepStatus zepiNormRel_L2_8u_C1MR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                           const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L2_8u_C3CMR(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                            double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L2_16u_C1MR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L2_16u_C3CMR(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L2_32f_C1MR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                            const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm);
ZEPCV_API ZepStatus zepiNormRel_L2_32f_C3CMR(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step,
                                             const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi,
                                             double* pNorm);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_NORM_H */
