// Exported integral tables: each binds its types to the one table kernel.
#include "integral/integral.h"

using zep::Path;
using zep::integral::integralImage;
using zep::integral::None;

ZEP_EXPORT(zepiIntegral_32f_C1R)(const float* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roiSize) {
    return integralImage<Path::vector, false, float, float, None>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roiSize,
                                                                  0.0f, None{});
}

ZEP_EXPORT(zepiIntegral_8u32f_C1R)
(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roiSize, float val) {
    return integralImage<Path::vector, false, uint8_t, float, None>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roiSize,
                                                                    val, None{});
}

ZEP_EXPORT(zepiIntegral_8u32s_C1R)
(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, ImageSize roiSize, int32_t val) {
    return integralImage<Path::vector, false, uint8_t, int32_t, None>(pSrc, srcStep, pDst, dstStep, nullptr, 0,
                                                                      roiSize, val, None{});
}

ZEP_EXPORT(zepiSqrIntegral_8u32s_C1R)
(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, int32_t* pSqr, int sqrStep, ImageSize roiSize,
 int32_t val, int32_t valSqr) {
    return integralImage<Path::vector, false>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

ZEP_EXPORT(zepiSqrIntegral_8u32s64f_C1R)
(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, double* pSqr, int sqrStep, ImageSize roiSize,
 int32_t val, double valSqr) {
    return integralImage<Path::vector, false>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

ZEP_EXPORT(zepiSqrIntegral_8u32f64f_C1R)
(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, double* pSqr, int sqrStep, ImageSize roiSize, float val,
 double valSqr) {
    return integralImage<Path::vector, false>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

ZEP_EXPORT(zepiTiltedIntegral_8u32s_C1R)
(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, ImageSize roiSize, int32_t val) {
    return integralImage<Path::vector, true, uint8_t, int32_t, None>(pSrc, srcStep, pDst, dstStep, nullptr, 0,
                                                                     roiSize, val, None{});
}

ZEP_EXPORT(zepiTiltedIntegral_8u32f_C1R)
(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, ImageSize roiSize, float val) {
    return integralImage<Path::vector, true, uint8_t, float, None>(pSrc, srcStep, pDst, dstStep, nullptr, 0, roiSize,
                                                                   val, None{});
}

ZEP_EXPORT(zepiTiltedSqrIntegral_8u32s_C1R)
(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, int32_t* pSqr, int sqrStep, ImageSize roiSize,
 int32_t val, int32_t valSqr) {
    return integralImage<Path::vector, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

ZEP_EXPORT(zepiTiltedSqrIntegral_8u32s64f_C1R)
(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep, double* pSqr, int sqrStep, ImageSize roiSize,
 int32_t val, double valSqr) {
    return integralImage<Path::vector, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

ZEP_EXPORT(zepiTiltedSqrIntegral_8u32f64f_C1R)
(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, double* pSqr, int sqrStep, ImageSize roiSize, float val,
 double valSqr) {
    return integralImage<Path::vector, true>(pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
