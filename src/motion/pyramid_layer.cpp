// Exported layer resampling of image pyramids: size queries, Init and the
// down and up operations for 8u, 16u and 32f, one and three channels;
// src/core/exports.txt binds each to one of these entries.
#include "motion/pyramid_layer.h"

namespace {

using zep::Path;
using namespace zep::pyramid;

template <Dir D, class T, int Ch>
ZepStatus layerSize(ImageSize srcRoi, float rate, int kerSize, int* pStateSize) {
    return layerGetSize(D, srcRoi, rate, kerSize, Ch, dataTypeOf<T>(), pStateSize);
}

template <Dir D, class T, int Ch, class State>
ZepStatus layerInitOf(State** ppState, ImageSize srcRoi, float rate, const T* pKernel, int kerSize, int,
                      uint8_t* pStateMem) {
    return layerInit(D, reinterpret_cast<void**>(ppState), srcRoi, rate, pKernel, kerSize, Ch, dataTypeOf<T>(),
                     pStateMem);
}

}  // namespace

#include "bind/motion/pyramid_layer.inc"
