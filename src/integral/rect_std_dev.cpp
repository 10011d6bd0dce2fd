// Exported rectangle deviations, upright and tilted.
#include "integral/rect_std_dev.h"

using zep::Path;
using zep::integral::rectStdDev;

ZEP_EXPORT(zepiRectStdDev_32f_C1R)
(const float* pSrc, int srcStep, const double* pSqr, int sqrStep, float* pDst, int dstStep, ImageSize roiSize,
 const ImageRect* rect) {
    return rectStdDev<Path::vector, false>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}

ZEP_EXPORT(zepiRectStdDev_32s32f_C1R)
(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep, float* pDst, int dstStep, ImageSize roiSize,
 const ImageRect* rect) {
    return rectStdDev<Path::vector, false>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}

ZEP_EXPORT(zepiRectStdDev_32s_C1RSfs)
(const int32_t* pSrc, int srcStep, const int32_t* pSqr, int sqrStep, int32_t* pDst, int dstStep, ImageSize roiSize,
 const ImageRect* rect, int scaleFactor) {
    return rectStdDev<Path::vector, false>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect, scaleFactor);
}

ZEP_EXPORT(zepiTiltedRectStdDev_32f_C1R)
(const float* pSrc, int srcStep, const double* pSqr, int sqrStep, float* pDst, int dstStep, ImageSize roiSize,
 const ImageRect* rect) {
    return rectStdDev<Path::vector, true>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}

ZEP_EXPORT(zepiTiltedRectStdDev_32s32f_C1R)
(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep, float* pDst, int dstStep, ImageSize roiSize,
 const ImageRect* rect) {
    return rectStdDev<Path::vector, true>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}

ZEP_EXPORT(zepiTiltedRectStdDev_32s_C1RSfs)
(const int32_t* pSrc, int srcStep, const int32_t* pSqr, int sqrStep, int32_t* pDst, int dstStep, ImageSize roiSize,
 const ImageRect* rect, int scaleFactor) {
    return rectStdDev<Path::vector, true>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect, scaleFactor);
}
