// Exported line sampling.
#include "geometry/sample_line.h"

using zep::Path;
using zep::geometry::sampleLineImage;

ZEP_EXPORT(zepiSampleLine_8u_C1R)
(const uint8_t* pSrc, int srcStep, ImageSize roiSize, uint8_t* pDst, ImagePoint pt1, ImagePoint pt2) {
    return sampleLineImage<Path::vector, uint8_t, 1>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}

ZEP_EXPORT(zepiSampleLine_8u_C3R)
(const uint8_t* pSrc, int srcStep, ImageSize roiSize, uint8_t* pDst, ImagePoint pt1, ImagePoint pt2) {
    return sampleLineImage<Path::vector, uint8_t, 3>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}

ZEP_EXPORT(zepiSampleLine_16u_C1R)
(const uint16_t* pSrc, int srcStep, ImageSize roiSize, uint16_t* pDst, ImagePoint pt1, ImagePoint pt2) {
    return sampleLineImage<Path::vector, uint16_t, 1>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}

ZEP_EXPORT(zepiSampleLine_16u_C3R)
(const uint16_t* pSrc, int srcStep, ImageSize roiSize, uint16_t* pDst, ImagePoint pt1, ImagePoint pt2) {
    return sampleLineImage<Path::vector, uint16_t, 3>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}

ZEP_EXPORT(zepiSampleLine_32f_C1R)
(const float* pSrc, int srcStep, ImageSize roiSize, float* pDst, ImagePoint pt1, ImagePoint pt2) {
    return sampleLineImage<Path::vector, float, 1>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}

ZEP_EXPORT(zepiSampleLine_32f_C3R)
(const float* pSrc, int srcStep, ImageSize roiSize, float* pDst, ImagePoint pt1, ImagePoint pt2) {
    return sampleLineImage<Path::vector, float, 3>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}
