// Exported accumulations: each binds its arguments to the one accumulation kernel.
#include "arith/accumulate.h"

using zep::Path;
using zep::arith::Acc;
using zep::arith::accumulateImage;

ZEP_EXPORT(zepiAdd_8u32f_C1IR)(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::add, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                          srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAdd_8u32f_C1IMR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::add, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                         srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAdd_16u32f_C1IR)
(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::add, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                          srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAdd_16u32f_C1IMR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::add, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                         srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAdd_32f_C1IMR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::add, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                         srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddSquare_8u32f_C1IR)
(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::square, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                             srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddSquare_8u32f_C1IMR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::square, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                            srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddSquare_16u32f_C1IR)
(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::square, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                             srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddSquare_16u32f_C1IMR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::square, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                            srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddSquare_32f_C1IR)
(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::square, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                             srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddSquare_32f_C1IMR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::square, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                            srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddProduct_8u32f_C1IR)
(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::product, false>(pSrc1, src1Step, pSrc2, src2Step, nullptr, 0, pSrcDst,
                                                              srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddProduct_8u32f_C1IMR)
(const uint8_t* pSrc1, int src1Step, const uint8_t* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,
 float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::product, true>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep,
                                                             pSrcDst, srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddProduct_16u32f_C1IR)
(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::product, false>(pSrc1, src1Step, pSrc2, src2Step, nullptr, 0, pSrcDst,
                                                              srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddProduct_16u32f_C1IMR)
(const uint16_t* pSrc1, int src1Step, const uint16_t* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,
 float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::product, true>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep,
                                                             pSrcDst, srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddProduct_32f_C1IR)
(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pSrcDst, int srcDstStep,
 ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::product, false>(pSrc1, src1Step, pSrc2, src2Step, nullptr, 0, pSrcDst,
                                                              srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddProduct_32f_C1IMR)
(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,
 float* pSrcDst, int srcDstStep, ImageSize roiSize) {
    return accumulateImage<Path::vector, Acc::product, true>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep,
                                                             pSrcDst, srcDstStep, roiSize);
}

ZEP_EXPORT(zepiAddWeighted_8u32f_C1IR)
(const uint8_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize, float alpha) {
    return accumulateImage<Path::vector, Acc::weighted, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                               srcDstStep, roiSize, alpha);
}

ZEP_EXPORT(zepiAddWeighted_8u32f_C1IMR)
(const uint8_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize, float alpha) {
    return accumulateImage<Path::vector, Acc::weighted, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                              srcDstStep, roiSize, alpha);
}

ZEP_EXPORT(zepiAddWeighted_16u32f_C1IR)
(const uint16_t* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize, float alpha) {
    return accumulateImage<Path::vector, Acc::weighted, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                               srcDstStep, roiSize, alpha);
}

ZEP_EXPORT(zepiAddWeighted_16u32f_C1IMR)
(const uint16_t* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize, float alpha) {
    return accumulateImage<Path::vector, Acc::weighted, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                              srcDstStep, roiSize, alpha);
}

ZEP_EXPORT(zepiAddWeighted_32f_C1IR)
(const float* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roiSize, float alpha) {
    return accumulateImage<Path::vector, Acc::weighted, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst,
                                                               srcDstStep, roiSize, alpha);
}

ZEP_EXPORT(zepiAddWeighted_32f_C1IMR)
(const float* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst, int srcDstStep,
 ImageSize roiSize, float alpha) {
    return accumulateImage<Path::vector, Acc::weighted, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst,
                                                              srcDstStep, roiSize, alpha);
}

ZEP_EXPORT(zepiAddWeighted_32f_C1R)
(const float* pSrc1, int src1Step, const float* pSrc2, int src2Step, float* pDst, int dstStep, ImageSize roiSize,
 float alpha) {
    return zep::arith::addWeightedImage<Path::vector>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize,
                                                      alpha);
}
