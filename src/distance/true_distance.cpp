// Exported exact Euclidean distance transform and its buffer size.
#include "distance/true_distance.h"

ZEP_EXPORT(zepiTrueDistanceTransformGetBufferSize_8u32f_C1R)(ImageSize roiSize, int* pBufferSize) {
    return zep::Checks{}.notNull(pBufferSize).roi(roiSize).run([&] {
        *pBufferSize = static_cast<int>(zep::distance::trueDistanceBufferBytes(roiSize));
    });
}

ZEP_EXPORT(zepiTrueDistanceTransform_8u32f_C1R)
(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roiSize, uint8_t* pBuffer) {
    return zep::distance::trueDistanceImage<zep::Path::vector>(pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
