// The checked forms of the pipeline passes: the argument checks in the
// documented order, then the kernel. Shared by the exports and the tests.
#pragma once

#include "filter/pipeline.h"

namespace zep::filter {

// When a row pass checks its divisor, and what it accepts.
enum class DivisorCheck { none, early, late, earlyPositive };

// Row pass: pointers, size, destination rows, border value (C3), kernel size,
// anchor, source step, step multiple (16-bit and 32f sources), divisor (early
// forms), border type, divisor (late forms).
template <Path P, class Src, class Dst, class Tap, int Ch, DivisorCheck DC>
ZepStatus rowPipeline(const Src* pSrc, int srcStep, Dst* const* ppDst, ImageSize roi, const Tap* pKernel,
                      int kernelSize, int xAnchor, uint32_t borderType, const Src* borderValue, int divisor,
                      const uint8_t* pBuffer) {
    if (!pSrc || !ppDst || !pKernel || !pBuffer) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    for (int y = 0; y < roi.height; ++y)
        if (!ppDst[y]) return zepStsNullPointer;
    if (Ch == 3 && !borderValue) return zepStsNullPointer;
    if (kernelSize < 1) return zepStsBadSize;
    if (xAnchor < 0 || xAnchor >= kernelSize) return zepStsBadAnchor;
    if (int64_t{srcStep} < int64_t{roi.width} * Ch * int64_t(sizeof(Src))) return zepStsBadStep;
    if (sizeof(Src) > 1 && srcStep % int(sizeof(Src)) != 0) return zepStsStepNotMultiple;
    if (DC == DivisorCheck::early && divisor == 0) return zepStsBadArg;
    if (DC == DivisorCheck::earlyPositive && divisor < 1) return zepStsBadArg;
    Border border{};
    if (!decodeBorder(borderType, 255, bases({zepBorderRepl, zepBorderMirror, zepBorderConst}), border))
        return zepStsBadBorder;
    if (DC == DivisorCheck::late && divisor == 0) return zepStsBadArg;
    const RowPass<Src, Tap> pass{pSrc, srcStep, roi, pKernel, kernelSize, xAnchor, border, borderValue, divisor};
    rowPass<P, Src, Dst, Tap, Ch>(pass, ppDst);
    return zepStsOk;
}

// Column pass: pointers, size, the source rows, kernel size, destination step
// (against stepElements elements of Dst a pixel), step multiple, buffer,
// divisor (integer forms).
template <Path P, class Src, class Dst, class Tap, int Ch, bool HasDivisor>
ZepStatus columnPipeline(const Src* const* ppSrc, Dst* pDst, int dstStep, ImageSize roi, const Tap* pKernel,
                         int kernelSize, int divisor, const uint8_t* pBuffer, int stepChannels = Ch) {
    if (!ppSrc || !pDst || !pKernel) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    const int64_t rowsRead = int64_t{roi.height} + kernelSize - 1;
    for (int64_t i = 0; i < rowsRead; ++i)
        if (!ppSrc[i]) return zepStsNullPointer;
    if (kernelSize < 1) return zepStsBadSize;
    if (int64_t{dstStep} < int64_t{roi.width} * stepChannels * int64_t(sizeof(Dst))) return zepStsBadStep;
    if (sizeof(Dst) > 1 && dstStep % int(sizeof(Dst)) != 0) return zepStsStepNotMultiple;
    if (!pBuffer) return zepStsNullPointer;
    if (HasDivisor && divisor == 0) return zepStsBadArg;
    const ColumnPass<Src, Tap> pass{ppSrc,   dstStep,    int64_t{roi.width} * Ch, roi.height,
                                    pKernel, kernelSize, HasDivisor ? divisor : 1};
    columnPass<P, Src, Dst, Tap>(pass, pDst);
    return zepStsOk;
}

// A size query: pointer, then width, height and kernel size; the formula in 32-bit arithmetic.
template <class F>
ZepStatus bufferSizeQuery(ImageSize roi, int kernelSize, int* pBufferSize, F formula) {
    if (!pBufferSize) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1 || kernelSize < 1) return zepStsBadSize;
    *pBufferSize = static_cast<int32_t>(formula(static_cast<uint32_t>(roi.width), static_cast<uint32_t>(kernelSize)));
    return zepStsOk;
}

// The row-pass buffer sizes (unsigned 32-bit arithmetic, wrapping like the int32 result).
namespace rowSize {
inline uint32_t u8s16C1(uint32_t k) { return 34 * k + 32 * (k / 4) + 66; }
inline uint32_t u8s16C3(uint32_t k) { return 60 * k + 144; }
inline uint32_t s16C1(uint32_t k) { return 48 * k + 112; }
inline uint32_t s16C3(uint32_t k) { return 40 * k + 96; }
inline uint32_t low16sC1(uint32_t k) { return 24 * k + 96; }
inline uint32_t low16sC3(uint32_t k) { return 208 * k + 96; }
inline uint32_t u16C1(uint32_t k) { return 64 * k + 96; }
inline uint32_t u16C3(uint32_t k) { return 128 * k + 96; }
inline uint32_t f32C1(uint32_t k) { return 96 * k + 96; }
inline uint32_t f32C3(uint32_t k) { return 288 * k + 96; }
}  // namespace rowSize

// The column-pass buffer sizes.
namespace columnSize {
inline uint32_t s16C1(uint32_t w) { return 12 * ((w + 3) & ~3u) + 64; }
inline uint32_t s16C3(uint32_t w) { return 36 * ((w + 3) & ~3u) + 64; }
inline uint32_t low16sC1(uint32_t w) { return 12 * ((w + 7) & ~7u) + 64; }
inline uint32_t low16sC3(uint32_t w) { return 36 * ((w + 7) & ~7u) + 64; }
inline uint32_t u16C1(uint32_t w, uint32_t k) { return 8 * ((w + 3) & ~3u) + 32 * k + 64; }
inline uint32_t u16C3(uint32_t w, uint32_t k) { return 8 * ((3 * w + 3) & ~3u) + 32 * k + 64; }
inline uint32_t f32(uint32_t k) { return 32 * k + 32; }
}  // namespace columnSize

}  // namespace zep::filter
