// Exported pipeline passes and their buffer-size queries: each binds its
// arguments to the checked pass of its types.
#include "filter/pipeline_checks.h"

using zep::Path;
using zep::filter::columnPipeline;
using zep::filter::DivisorCheck;
using zep::filter::rowPipeline;
namespace rs = zep::filter::rowSize;
namespace cs = zep::filter::columnSize;

ZEP_EXPORT(zepiFilterRowBorderPipeline_8u16s_C1R)
(const uint8_t* pSrc, int srcStep, int16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, uint8_t borderValue, int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, uint8_t, int16_t, int16_t, 1, DivisorCheck::late>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_8u16s_C3R)
(const uint8_t* pSrc, int srcStep, int16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, const uint8_t borderValue[3], int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, uint8_t, int16_t, int16_t, 3, DivisorCheck::early>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_16s_C1R)
(const int16_t* pSrc, int srcStep, int16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, int16_t borderValue, int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, int16_t, int16_t, int16_t, 1, DivisorCheck::early>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_16s_C3R)
(const int16_t* pSrc, int srcStep, int16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, const int16_t borderValue[3], int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, int16_t, int16_t, int16_t, 3, DivisorCheck::late>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_Low_16s_C1R)
(const int16_t* pSrc, int srcStep, int16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, int16_t borderValue, int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, int16_t, int16_t, int16_t, 1, DivisorCheck::early>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_Low_16s_C3R)
(const int16_t* pSrc, int srcStep, int16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, const int16_t borderValue[3], int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, int16_t, int16_t, int16_t, 3, DivisorCheck::early>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_16u_C1R)
(const uint16_t* pSrc, int srcStep, uint16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, uint16_t borderValue, int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, uint16_t, uint16_t, int16_t, 1, DivisorCheck::earlyPositive>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_16u_C3R)
(const uint16_t* pSrc, int srcStep, uint16_t** ppDst, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int xAnchor, uint32_t borderType, const uint16_t borderValue[3], int divisor, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, uint16_t, uint16_t, int16_t, 3, DivisorCheck::earlyPositive>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_32f_C1R)
(const float* pSrc, int srcStep, float** ppDst, ImageSize roiSize, const float* pKernel, int kernelSize, int xAnchor,
 uint32_t borderType, float borderValue, uint8_t* pBuffer) {
    return rowPipeline<Path::vector, float, float, float, 1, DivisorCheck::none>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, 1, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipeline_32f_C3R)
(const float* pSrc, int srcStep, float** ppDst, ImageSize roiSize, const float* pKernel, int kernelSize, int xAnchor,
 uint32_t borderType, const float borderValue[3], uint8_t* pBuffer) {
    return rowPipeline<Path::vector, float, float, float, 3, DivisorCheck::none>(
        pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, 1, pBuffer);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16s_C1R)
(const int16_t* const* ppSrc, int16_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, int16_t, int16_t, 1, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                            kernelSize, divisor, pBuffer, 1);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16s_C3R)
(const int16_t* const* ppSrc, int16_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, int16_t, int16_t, 3, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                            kernelSize, divisor, pBuffer, 3);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16s8u_C1R)
(const int16_t* const* ppSrc, uint8_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, uint8_t, int16_t, 1, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                            kernelSize, divisor, pBuffer, 1);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16s8u_C3R)
(const int16_t* const* ppSrc, uint8_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, uint8_t, int16_t, 3, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                            kernelSize, divisor, pBuffer, 3);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16s8s_C1R)
(const int16_t* const* ppSrc, int8_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, int8_t, int16_t, 1, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                           kernelSize, divisor, pBuffer, 1);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16s8s_C3R)
(const int16_t* const* ppSrc, int8_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, int8_t, int16_t, 3, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                           kernelSize, divisor, pBuffer, 3);
}

ZEP_EXPORT(zepiFilterColumnPipeline_Low_16s_C1R)
(const int16_t* const* ppSrc, int16_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, int16_t, int16_t, int16_t, 1, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                            kernelSize, divisor, pBuffer, 1);
}

ZEP_EXPORT(zepiFilterColumnPipeline_Low_16s_C3R)
(const int16_t* const* ppSrc, int16_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    // The C3 form checks the step against the C1 bound (2 * width bytes), by design.
    return columnPipeline<Path::vector, int16_t, int16_t, int16_t, 3, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                            kernelSize, divisor, pBuffer, 1);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16u_C1R)
(const uint16_t* const* ppSrc, uint16_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, uint16_t, uint16_t, int16_t, 1, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                              kernelSize, divisor, pBuffer, 1);
}

ZEP_EXPORT(zepiFilterColumnPipeline_16u_C3R)
(const uint16_t* const* ppSrc, uint16_t* pDst, int dstStep, ImageSize roiSize, const int16_t* pKernel, int kernelSize,
 int divisor, uint8_t* pBuffer) {
    return columnPipeline<Path::vector, uint16_t, uint16_t, int16_t, 3, true>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                              kernelSize, divisor, pBuffer, 3);
}

ZEP_EXPORT(zepiFilterColumnPipeline_32f_C1R)
(const float* const* ppSrc, float* pDst, int dstStep, ImageSize roiSize, const float* pKernel, int kernelSize,
 uint8_t* pBuffer) {
    return columnPipeline<Path::vector, float, float, float, 1, false>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                       kernelSize, 0, pBuffer);
}

ZEP_EXPORT(zepiFilterColumnPipeline_32f_C3R)
(const float* const* ppSrc, float* pDst, int dstStep, ImageSize roiSize, const float* pKernel, int kernelSize,
 uint8_t* pBuffer) {
    return columnPipeline<Path::vector, float, float, float, 3, false>(ppSrc, pDst, dstStep, roiSize, pKernel,
                                                                       kernelSize, 0, pBuffer);
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_8u16s_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::u8s16C1(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_8u16s_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::u8s16C3(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_16s_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::s16C1(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_16s_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::s16C3(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R)
(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::low16sC1(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R)
(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::low16sC3(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_16u_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::u16C1(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_16u_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::u16C3(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_32f_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::f32C1(k); });
}

ZEP_EXPORT(zepiFilterRowBorderPipelineGetBufferSize_32f_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(roiSize, kernelSize, pBufferSize,
                                        [](uint32_t, uint32_t k) { return rs::f32C3(k); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16s_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::s16C1(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16s_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::s16C3(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16s8u_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::s16C1(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16s8u_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::s16C3(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16s8s_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::s16C1(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16s8s_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::s16C3(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_Low_16s_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::low16sC1(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_Low_16s_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::low16sC3(w); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16u_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::u16C1(w, k); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_16u_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::u16C3(w, k); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_32f_C1R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::f32(k); });
}

ZEP_EXPORT(zepiFilterColumnPipelineGetBufferSize_32f_C3R)(ImageSize roiSize, int kernelSize, int* pBufferSize) {
    return zep::filter::bufferSizeQuery(
        roiSize, kernelSize, pBufferSize,
        []([[maybe_unused]] uint32_t w, [[maybe_unused]] uint32_t k) { return cs::f32(k); });
}
