// Exported accumulations: src/core/exports.txt binds each to one of these
// entries of the accumulation kernel.
#include "arith/accumulate.h"

namespace {

using zep::Path;
using zep::arith::Acc;
using zep::arith::accumulateImage;
using zep::arith::addWeightedImage;

// In place: the source is the only operand (alpha for the weighted forms).
template <Acc A, class T, class... Alpha>
ZepStatus accumulate(const T* pSrc, int srcStep, float* pSrcDst, int srcDstStep, ImageSize roi, Alpha... alpha) {
    return accumulateImage<Path::vector, A, false>(pSrc, srcStep, pSrc, srcStep, nullptr, 0, pSrcDst, srcDstStep, roi,
                                                   alpha...);
}
template <Acc A, class T, class... Alpha>
ZepStatus accumulateMasked(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, float* pSrcDst,
                           int srcDstStep, ImageSize roi, Alpha... alpha) {
    return accumulateImage<Path::vector, A, true>(pSrc, srcStep, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep,
                                                  roi, alpha...);
}

// The products of two sources.
template <class T>
ZepStatus addProduct(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, float* pSrcDst, int srcDstStep,
                     ImageSize roi) {
    return accumulateImage<Path::vector, Acc::product, false>(pSrc1, src1Step, pSrc2, src2Step, nullptr, 0, pSrcDst,
                                                              srcDstStep, roi);
}
template <class T>
ZepStatus addProductMasked(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const uint8_t* pMask,
                           int maskStep, float* pSrcDst, int srcDstStep, ImageSize roi) {
    return accumulateImage<Path::vector, Acc::product, true>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep,
                                                             pSrcDst, srcDstStep, roi);
}

}  // namespace

#include "bind/arith/accumulate.inc"
