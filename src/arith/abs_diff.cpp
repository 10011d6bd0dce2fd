// Exported absolute differences.
#include "arith/abs_diff.h"

using zep::Path;
using zep::arith::absDiffConstImage;
using zep::arith::absDiffImage;

ZEP_EXPORT(zepiAbsDiff_8u_C1R)
(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step, uint8_t* pDst, int dstStep,
 ImageSize roiSize) {
    return absDiffImage<Path::vector, uint8_t, 1>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}

ZEP_EXPORT(zepiAbsDiff_8u_C3R)
(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step, uint8_t* pDst, int dstStep,
 ImageSize roiSize) {
    return absDiffImage<Path::vector, uint8_t, 3>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}

ZEP_EXPORT(zepiAbsDiff_16u_C1R)
(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step, uint16_t* pDst, int dstStep,
 ImageSize roiSize) {
    return absDiffImage<Path::vector, uint16_t, 1>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}

ZEP_EXPORT(zepiAbsDiff_32f_C1R)
(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pDst, int dstStep, ImageSize roiSize) {
    return absDiffImage<Path::vector, float, 1>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}

ZEP_EXPORT(zepiAbsDiffC_8u_C1R)
(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep, ImageSize roiSize, int value) {
    return absDiffConstImage<Path::vector>(pSrc, srcStep, pDst, dstStep, roiSize, value);
}

ZEP_EXPORT(zepiAbsDiffC_16u_C1R)
(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep, ImageSize roiSize, int value) {
    return absDiffConstImage<Path::vector>(pSrc, srcStep, pDst, dstStep, roiSize, value);
}

ZEP_EXPORT(zepiAbsDiffC_32f_C1R)
(const float* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roiSize, float value) {
    return absDiffConstImage<Path::vector>(pSrc, srcStep, pDst, dstStep, roiSize, value);
}
