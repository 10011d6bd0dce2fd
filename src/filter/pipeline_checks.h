// The checked forms of the pipeline passes: the argument checks in the
// documented order, then the kernel. Shared by the exports and the tests.
#pragma once

#include "core/buffer.h"
#include "core/check.h"
#include "filter/pipeline.h"

namespace zep::filter {

// How a pass writes a whole image of dstBytes from srcBytes of rows: large
// ones (core/band.h) with streaming stores. (The pipelines' bands are the
// caller's: one call is one band.)
inline Store pipelineStore(int64_t srcBytes, int64_t dstBytes) {
    return planBands({srcBytes + dstBytes, kStreamQueryBytes, 0, 0, 1, 1}).store;
}

// When a row pass checks its divisor, and what it accepts.
enum class DivisorCheck { none, early, late, earlyPositive };

// Row pass: pointers, size, destination rows, border value (C3), kernel size,
// anchor, source step, step multiple (16-bit and 32f sources), divisor (early
// forms), border type, divisor (late forms), and last a buffer size (of the
// export's size query) past INT32_MAX.
template <Path P, class Src, class Dst, class Tap, int Ch, DivisorCheck DC>
ZepStatus rowPipeline(const Src* pSrc, int srcStep, Dst* const* ppDst, ImageSize roi, const Tap* pKernel,
                      int kernelSize, int xAnchor, uint32_t borderType, const Src* borderValue, int divisor,
                      const uint8_t* pBuffer, Bytes bufferBytes = 0) {
    Border border{};
    const bool borderOk =
        decodeBorder(borderType, 255, bases({zepBorderRepl, zepBorderMirror, zepBorderConst}), border);
    return Checks{}
        .notNull(pSrc, ppDst, pKernel, pBuffer)
        .roi(roi)
        .rowPointers(ppDst, roi.height)
        .fail(Ch == 3 && !borderValue, zepStsNullPointer)
        .fail(kernelSize < 1, zepStsBadSize)
        .fail(xAnchor < 0 || xAnchor >= kernelSize, zepStsBadAnchor)
        .steps({rowOf<Src>(srcStep, roi.width, Ch)})
        .fail(DC == DivisorCheck::early && divisor == 0, zepStsBadArg)
        .fail(DC == DivisorCheck::earlyPositive && divisor < 1, zepStsBadArg)
        .fail(!borderOk, zepStsBadBorder)
        .fail(DC == DivisorCheck::late && divisor == 0, zepStsBadArg)
        .sizeFits(bufferBytes)
        .run([&] {
            const int64_t rowBytes = int64_t{roi.width} * Ch;
            const Store store = pipelineStore(rowBytes * int64_t(sizeof(Src)) * roi.height,
                                              rowBytes * int64_t(sizeof(Dst)) * roi.height);
            const RowPass<Src, Tap> pass{pSrc,    srcStep, roi,         pKernel, kernelSize,
                                         xAnchor, border,  borderValue, divisor, store};
            rowPass<P, Src, Dst, Tap, Ch>(pass, ppDst);
            finishStores(store);
        });
}

// Column pass: pointers, size, the source rows, kernel size, destination step
// (against stepElements elements of Dst a pixel), step multiple, buffer,
// divisor (integer forms), and last a buffer size past INT32_MAX.
template <Path P, class Src, class Dst, class Tap, int Ch, bool HasDivisor>
ZepStatus columnPipeline(const Src* const* ppSrc, Dst* pDst, int dstStep, ImageSize roi, const Tap* pKernel,
                         int kernelSize, int divisor, const uint8_t* pBuffer, int stepChannels = Ch,
                         Bytes bufferBytes = 0) {
    return Checks{}
        .notNull(ppSrc, pDst, pKernel)
        .roi(roi)
        .rowPointers(ppSrc, int64_t{roi.height} + kernelSize - 1)
        .fail(kernelSize < 1, zepStsBadSize)
        .steps({rowOf<Dst>(dstStep, roi.width, stepChannels)})
        .notNull(pBuffer)
        .fail(HasDivisor && divisor == 0, zepStsBadArg)
        .sizeFits(bufferBytes)
        .run([&] {
            const int64_t elements = int64_t{roi.width} * Ch;
            const Store store =
                pipelineStore(elements * int64_t(sizeof(Src)) * (int64_t{roi.height} + kernelSize - 1),
                              elements * int64_t(sizeof(Dst)) * roi.height);
            const ColumnPass<Src, Tap> pass{
                ppSrc, dstStep, elements, roi.height, pKernel, kernelSize, HasDivisor ? divisor : 1,
                32768, false,   store};
            columnPass<P, Src, Dst, Tap>(pass, pDst);
            finishStores(store);
        });
}

// A size query: pointer, then width, height and kernel size, then a size
// past INT32_MAX.
template <class F>
ZepStatus bufferSizeQuery(ImageSize roi, int kernelSize, int* pBufferSize, F formula) {
    const Bytes size = formula(roi.width, kernelSize);
    return Checks{}
        .notNull(pBufferSize)
        .fail(roi.width < 1 || roi.height < 1 || kernelSize < 1, zepStsBadSize)
        .sizeFits(size)
        .run([&] { *pBufferSize = static_cast<int32_t>(size.value()); });
}

// The row-pass buffer sizes, of the kernel size.
namespace rowSize {
inline Bytes u8s16C1(int64_t k) { return Bytes{34} * k + Bytes{32} * (k / 4) + 66; }
inline Bytes u8s16C3(int64_t k) { return Bytes{60} * k + 144; }
inline Bytes s16C1(int64_t k) { return Bytes{48} * k + 112; }
inline Bytes s16C3(int64_t k) { return Bytes{40} * k + 96; }
inline Bytes low16sC1(int64_t k) { return Bytes{24} * k + 96; }
inline Bytes low16sC3(int64_t k) { return Bytes{208} * k + 96; }
inline Bytes u16C1(int64_t k) { return Bytes{64} * k + 96; }
inline Bytes u16C3(int64_t k) { return Bytes{128} * k + 96; }
inline Bytes f32C1(int64_t k) { return Bytes{96} * k + 96; }
inline Bytes f32C3(int64_t k) { return Bytes{288} * k + 96; }
}  // namespace rowSize

// The column-pass buffer sizes, of the width (and the kernel size).
namespace columnSize {
inline int64_t roundUp(int64_t v, int64_t a) { return (v + a - 1) & -a; }
inline Bytes s16C1(int64_t w) { return Bytes{12} * roundUp(w, 4) + 64; }
inline Bytes s16C3(int64_t w) { return Bytes{36} * roundUp(w, 4) + 64; }
inline Bytes low16sC1(int64_t w) { return Bytes{12} * roundUp(w, 8) + 64; }
inline Bytes low16sC3(int64_t w) { return Bytes{36} * roundUp(w, 8) + 64; }
inline Bytes u16C1(int64_t w, int64_t k) { return Bytes{8} * roundUp(w, 4) + Bytes{32} * k + 64; }
inline Bytes u16C3(int64_t w, int64_t k) { return Bytes{8} * roundUp(3 * w, 4) + Bytes{32} * k + 64; }
inline Bytes f32(int64_t k) { return Bytes{32} * k + 32; }
}  // namespace columnSize

}  // namespace zep::filter
