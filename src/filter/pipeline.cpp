// Exported pipeline passes and their buffer-size queries: src/core/exports.txt
// binds each to one of these entries of the checked passes.
#include "filter/pipeline_checks.h"

namespace zep::filter {
ZEP_SHARED_PASSES()
}  // namespace zep::filter

namespace {

using zep::BorderValue;
using zep::Bytes;
using zep::Path;
using zep::valueOf;
using zep::filter::bufferSizeQuery;
using zep::filter::columnPipeline;
using zep::filter::DivisorCheck;
using zep::filter::rowPipeline;
namespace rs = zep::filter::rowSize;
namespace cs = zep::filter::columnSize;

// Each pass refuses, last, the kernel sizes (and widths) for which its size
// query refuses the buffer size: Size is that query's formula.
template <class S, class D, int Ch, DivisorCheck Dc, Bytes (*Size)(int64_t)>
ZepStatus rowBorder(const S* pSrc, int srcStep, D** ppDst, ImageSize roi, const int16_t* pKernel, int kernelSize,
                    int xAnchor, uint32_t borderType, BorderValue<S, Ch> borderValue, int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, S, D, int16_t, Ch, Dc>(pSrc, srcStep, ppDst, roi, pKernel, kernelSize, xAnchor,
                                                            borderType, valueOf<S, Ch>(borderValue), divisor, pBuffer,
                                                            Size(kernelSize));
}
template <int Ch>
ZepStatus rowBorder32f(const float* pSrc, int srcStep, float** ppDst, ImageSize roi, const float* pKernel,
                       int kernelSize, int xAnchor, uint32_t borderType, BorderValue<float, Ch> borderValue,
                       uint8_t* pBuffer) {
    return rowPipeline<Path::vector, float, float, float, Ch, DivisorCheck::none>(
        pSrc, srcStep, ppDst, roi, pKernel, kernelSize, xAnchor, borderType, valueOf<float, Ch>(borderValue), 1,
        pBuffer, Ch == 1 ? rs::f32C1(kernelSize) : rs::f32C3(kernelSize));
}

// StepChannels: the channels the destination step is checked against (the
// _Low_ C3 form checks it against the one-channel bound, by design).
template <class S, class D, int Ch, Bytes (*Size)(int64_t, int64_t), int StepChannels = Ch>
ZepStatus column(const S* const* ppSrc, D* pDst, int dstStep, ImageSize roi, const int16_t* pKernel, int kernelSize,
                 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, S, D, int16_t, Ch, true>(
        ppSrc, pDst, dstStep, roi, pKernel, kernelSize, divisor, pBuffer, StepChannels, Size(roi.width, kernelSize));
}
template <int Ch>
ZepStatus column32f(const float* const* ppSrc, float* pDst, int dstStep, ImageSize roi, const float* pKernel,
                    int kernelSize, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, float, float, float, Ch, false>(
        ppSrc, pDst, dstStep, roi, pKernel, kernelSize, 0, pBuffer, Ch, cs::f32(kernelSize));
}

// Buffer sizes: a formula of the width and the kernel size.
template <Bytes (*Size)(int64_t)>
Bytes ofKernel(int64_t, int64_t k) {
    return Size(k);
}
template <Bytes (*Size)(int64_t)>
Bytes ofWidth(int64_t w, int64_t) {
    return Size(w);
}
template <Bytes (*Size)(int64_t, int64_t)>
ZepStatus bufferSize(ImageSize roi, int kernelSize, int* pBufferSize) {
    return bufferSizeQuery(roi, kernelSize, pBufferSize, Size);
}

}  // namespace

#include "bind/filter/pipeline.inc"
