/* zepCV integral images and rectangle deviation. Included by zepcv.h; do not include directly.
 *
 * Upright tables have (width + 1) x (height + 1) elements: element (r, c) is
 * val plus the sum of the source pixels above and left of it (rows < r,
 * columns < c). Tilted (45-degree) tables have (width + 2) x (height + 2)
 * elements: rows 0 and 1 hold val, and row y + 2 is
 *   T(y+2, c) = T(y+1, c-1) + T(y+1, c+1) - T(y, c) + src[y][c-1] + src[y][c]
 * with T(y+2, 0) = T(y+1, 1), T(y+2, width + 1) = T(y+1, width), and only
 * src[y][width - 1] in column width. Square tables hold squared pixels and
 * their own offset valSqr. Tables keep their own arithmetic: 32s tables wrap
 * silently, 32f tables sum in single precision (tilted 32f elements are
 * evaluated in double and rounded once), 64f tables in double. The running
 * row sums of upright 32f tables are formed per block of 16 pixels: the exact
 * prefix of 8u pixels is added to the carried sum once, and 32f pixels are
 * prefixed by four doubling steps (v[i] += v[i - k], k = 1, 2, 4, 8) before
 * being added to it. */
#ifndef ZEPCV_INTEGRAL_H
#define ZEPCV_INTEGRAL_H

#ifdef __cplusplus
extern "C" {
#endif

/* Upright sum table of a 32f source, starting from 0. */
ZEPCV_API ZepStatus zepiIntegral_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roiSize);
/* Upright sum table, offset val, single-precision running sums. */
ZEPCV_API ZepStatus zepiIntegral_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                           ImageSize roiSize, float val);
/* Upright sum table, offset val, wrapping 32-bit sums. */
ZEPCV_API ZepStatus zepiIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                           ImageSize roiSize, int32_t val);
/* Upright sum and square tables, both wrapping 32-bit. */
ZEPCV_API ZepStatus zepiSqrIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                              int32_t* pSqr, int sqrStep, ImageSize roiSize, int32_t val,
                                              int32_t valSqr);
/* Upright wrapping 32-bit sum table and double square table. */
ZEPCV_API ZepStatus zepiSqrIntegral_8u32s64f_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                                 double* pSqr, int sqrStep, ImageSize roiSize, int32_t val,
                                                 double valSqr);
/* Upright single-precision sum table and double square table. */
ZEPCV_API ZepStatus zepiSqrIntegral_8u32f64f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                 double* pSqr, int sqrStep, ImageSize roiSize, float val,
                                                 double valSqr);
/* Tilted sum table, wrapping 32-bit. */
ZEPCV_API ZepStatus zepiTiltedIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                                 ImageSize roiSize, int32_t val);
/* Tilted sum table, single precision (each element from double, rounded once). */
ZEPCV_API ZepStatus zepiTiltedIntegral_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                 ImageSize roiSize, float val);
/* Tilted sum and square tables, both wrapping 32-bit. */
ZEPCV_API ZepStatus zepiTiltedSqrIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                                    int32_t* pSqr, int sqrStep, ImageSize roiSize, int32_t val,
                                                    int32_t valSqr);
/* Tilted wrapping 32-bit sum table and double square table. */
ZEPCV_API ZepStatus zepiTiltedSqrIntegral_8u32s64f_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                                       double* pSqr, int sqrStep, ImageSize roiSize, int32_t val,
                                                       double valSqr);
/* Tilted single-precision sum table and double square table. */
ZEPCV_API ZepStatus zepiTiltedSqrIntegral_8u32f64f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                       double* pSqr, int sqrStep, ImageSize roiSize, float val,
                                                       double valSqr);

/* Standard deviation of the pixels of the rectangle (x, y, width, height)
 * offset from every output pixel, from a sum table pSrc and a square table
 * pSqr: differences in the sum table's type (32s wraps), then
 * var = sqsum / n - mean * mean with the product fused, negative variances
 * clamped to 0, and a single-precision square root. */
ZEPCV_API ZepStatus zepiRectStdDev_32f_C1R(const float* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                           float* pDst, int dstStep, ImageSize roiSize, const ImageRect* rect);
ZEPCV_API ZepStatus zepiRectStdDev_32s32f_C1R(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                              float* pDst, int dstStep, ImageSize roiSize, const ImageRect* rect);
/* All in single precision; the result times 2^-scaleFactor plus 0.5,
 * truncated (saturated to the 32s range). */
ZEPCV_API ZepStatus zepiRectStdDev_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pSqr, int sqrStep,
                                              int32_t* pDst, int dstStep, ImageSize roiSize, const ImageRect* rect,
                                              int scaleFactor);
/* The same on tilted tables: corners A = T(i+x+y, j+x-y), B = A + (w, w),
 * C = A + (h, -h), D = A + (w+h, w-h); sum = (A - C) - (B - D), n = 2wh. */
ZEPCV_API ZepStatus zepiTiltedRectStdDev_32f_C1R(const float* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                                 float* pDst, int dstStep, ImageSize roiSize, const ImageRect* rect);
ZEPCV_API ZepStatus zepiTiltedRectStdDev_32s32f_C1R(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                                    float* pDst, int dstStep, ImageSize roiSize,
                                                    const ImageRect* rect);
ZEPCV_API ZepStatus zepiTiltedRectStdDev_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pSqr,
                                                    int sqrStep, int32_t* pDst, int dstStep, ImageSize roiSize,
                                                    const ImageRect* rect, int scaleFactor);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_INTEGRAL_H */
