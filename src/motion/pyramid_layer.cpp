// Exported layer resampling of image pyramids: size queries, Init and the
// down and up operations for 8u, 16u and 32f, one and three channels.
#include "motion/pyramid_layer.h"

using zep::Path;
using namespace zep::pyramid;

#define ZEP_LAYER_EXPORTS(T, SUFFIX, CODE, CH)                                                                       \
    ZEP_EXPORT(zepiPyramidLayerDownGetSize_##SUFFIX)(ImageSize srcRoi, float rate, int kerSize, int* pStateSize) {   \
        return layerGetSize(Dir::down, srcRoi, rate, kerSize, CH, CODE, pStateSize);                                 \
    }                                                                                                                \
    ZEP_EXPORT(zepiPyramidLayerUpGetSize_##SUFFIX)(ImageSize srcRoi, float rate, int kerSize, int* pStateSize) {     \
        return layerGetSize(Dir::up, srcRoi, rate, kerSize, CH, CODE, pStateSize);                                   \
    }                                                                                                                \
    ZEP_EXPORT(zepiPyramidLayerDownInit_##SUFFIX)                                                                    \
    (PyramidDownState * *ppState, ImageSize srcRoi, float rate, const T* pKernel, int kerSize, int,                  \
     uint8_t* pStateMem) {                                                                                           \
        return layerInit(Dir::down, reinterpret_cast<void**>(ppState), srcRoi, rate, pKernel, kerSize, CH, CODE,     \
                         pStateMem);                                                                                 \
    }                                                                                                                \
    ZEP_EXPORT(zepiPyramidLayerUpInit_##SUFFIX)                                                                      \
    (PyramidUpState * *ppState, ImageSize srcRoi, float rate, const T* pKernel, int kerSize, int,                    \
     uint8_t* pStateMem) {                                                                                           \
        return layerInit(Dir::up, reinterpret_cast<void**>(ppState), srcRoi, rate, pKernel, kerSize, CH, CODE,       \
                         pStateMem);                                                                                 \
    }                                                                                                                \
    ZEP_EXPORT(zepiPyramidLayerDown_##SUFFIX)                                                                        \
    (const T* pSrc, int srcStep, ImageSize srcRoi, T* pDst, int dstStep, ImageSize dstRoi,                           \
     PyramidDownState* pState) {                                                                                     \
        return layerImage<Path::vector, Dir::down, T, CH>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, pState);     \
    }                                                                                                                \
    ZEP_EXPORT(zepiPyramidLayerUp_##SUFFIX)                                                                          \
    (const T* pSrc, int srcStep, ImageSize srcRoi, T* pDst, int dstStep, ImageSize dstRoi, PyramidUpState* pState) { \
        return layerImage<Path::vector, Dir::up, T, CH>(pSrc, srcStep, srcRoi, pDst, dstStep, dstRoi, pState);       \
    }

ZEP_LAYER_EXPORTS(uint8_t, 8u_C1R, zep8u, 1)
ZEP_LAYER_EXPORTS(uint8_t, 8u_C3R, zep8u, 3)
ZEP_LAYER_EXPORTS(uint16_t, 16u_C1R, zep16u, 1)
ZEP_LAYER_EXPORTS(uint16_t, 16u_C3R, zep16u, 3)
ZEP_LAYER_EXPORTS(float, 32f_C1R, zep32f, 1)
ZEP_LAYER_EXPORTS(float, 32f_C3R, zep32f, 3)
