// Gaussian filter: spec and buffer sizes, initialisation, and the checked
// filters of the 32-bit and 64-bit-size families.
#include "filter/gaussian.h"

#include <zepcore.h>

#include "filter/pipeline_checks.h"

namespace zep::filter {

uint32_t gaussianBufferSize(uint32_t W, uint32_t H, uint32_t k, int dataType, int n) {
    const uint32_t un = static_cast<uint32_t>(n);
    const uint32_t h = H < k ? H : k;
    const uint32_t L = ((W + k) * un + 7) & ~7u;
    const bool c3 = n == 3;
    uint32_t R = 0, C = 0;
    switch (dataType) {
        case zep8u:
            R = c3 ? rowSize::u8s16C3(k) : rowSize::u8s16C1(k);
            C = c3 ? columnSize::s16C3(W) : columnSize::s16C1(W);
            break;
        case zep16s:
            R = c3 ? rowSize::s16C3(k) : rowSize::s16C1(k);
            C = c3 ? columnSize::s16C3(W) : columnSize::s16C1(W);
            break;
        case zep16u:
            R = c3 ? rowSize::u16C3(k) : rowSize::u16C1(k);
            C = c3 ? columnSize::u16C3(W, k) : columnSize::u16C1(W, k);
            break;
        default:
            R = c3 ? rowSize::f32C3(k) : rowSize::f32C1(k);
            C = columnSize::f32(k);
            break;
    }
    if (dataType == zep32f) return 4 * k * L + 32 + 4 * L * (h + k) + 64 + R + 32 + C + 32 + 8 * (h + k) + 32;
    return 2 * L * (h + k) + 64 + 2 * (2 * L * (k / 2) + 16) + R + 32 + C + 32 + 8 * (H + k) + 32;
}

void gaussianInit(void* spec, uint32_t k, float sigma, uint32_t borderType, int dataType, int channels) {
    const int32_t shift = dataType == zep16u ? 15 : dataType == zep32f ? 0 : 12;
    const GaussianHeader header{static_cast<int32_t>(k), dataType, channels, borderType, shift};
    std::memcpy(spec, &header, sizeof header);
    const int64_t r = k / 2;
    const float d = sigma * (sigma + sigma);
    const float inv = 1.0f / d;
    auto g = [&](int64_t i) { return std::exp(-static_cast<float>(i * i) * inv); };
    float sum = 0.0f;
    for (int64_t i = -r; i <= r; ++i) sum = sum + g(i);
    uint8_t* taps = specTaps(spec);
    const float scale = static_cast<float>(1 << shift);
    for (int64_t i = -r; i <= r; ++i) {
        const float t = g(i) / sum;
        if (dataType == zep32f) {
            std::memcpy(taps + 4 * (i + r), &t, 4);
        } else {
            const auto q = static_cast<uint16_t>(static_cast<int32_t>(static_cast<double>(t * scale) + 0.5));
            std::memcpy(taps + 2 * (i + r), &q, 2);
        }
    }
}

namespace {

// Checks shared by both families after their pointer, step and size checks:
// a spec that was never initialised (kernel size below 3 or even, or no
// divisor; zeroed memory is the common case) is a no-op that returns
// zepStsOk, so it is recognised before its border field is read; then the
// spec's border type; then a spec of another data type
// or channel count is not this filter's (zepStsBadContext). Sets `run`.
template <class T, int Ch>
ZepStatus specChecks(const void* pSpec, GaussianHeader& h, Border& border, bool& run) {
    std::memcpy(&h, pSpec, sizeof h);
    run = false;
    const bool noDivisor = h.shift < 0 || h.shift > 30;
    if (!gaussianKernelSize(static_cast<uint32_t>(h.kernelSize)) || noDivisor) return zepStsOk;
    if (!gaussianBorder(h.borderType, border)) return zepStsBadBorder;
    if (h.dataType != typeCode<T>() || h.channels != Ch) return zepStsBadContext;
    run = true;
    return zepStsOk;
}

// Whether the ring may hold the rows as floats: 16s rows, which the
// single-precision column pass reads (its taps' magnitudes sum below 65535).
template <class T>
bool floatRing(const void* pSpec, int k) {
    if constexpr (std::is_same_v<T, int16_t>)
        return singlePrecisionColumn(reinterpret_cast<const int16_t*>(specTaps(pSpec)), k);
    else
        return false;
}

template <class T, int Ch>
void runFilter(const T* src, int64_t srcStep, T* dst, int64_t dstStep, int64_t W, int64_t H, const T* value,
               const GaussianHeader& h, const Border& border, const void* pSpec, const GaussianLayout& lay,
               bool ringOfFloats) {
    const auto* taps = reinterpret_cast<const TapOf<T>*>(specTaps(pSpec));
    const int divisor = 1 << h.shift;
    if constexpr (std::is_same_v<T, int16_t>)
        if (ringOfFloats)
            return gaussianRun<Path::vector, T, int16_t, float, int16_t, Ch>(
                src, srcStep, dst, dstStep, W, H, value, border, taps, h.kernelSize, divisor, lay);
    gaussianRun<Path::vector, T, InterOf<T>, InterOf<T>, TapOf<T>, Ch>(src, srcStep, dst, dstStep, W, H, value,
                                                                       border, taps, h.kernelSize, divisor, lay);
}

// The 32-bit filters: pointers, spec, (C3) border value, steps (too small,
// then not a multiple), ROI, then the spec's checks. Bands are min(H, k) rows.
template <class T, int Ch>
ZepStatus gaussianBorder32(const T* pSrc, int srcStep, T* pDst, int dstStep, ImageSize roi, const T* value,
                           const void* pSpec, uint8_t* pBuffer) {
    if (!pSrc || !pDst || !pBuffer) return zepStsNullPointer;
    if (!pSpec) return zepStsNullPointer;
    if (Ch == 3 && !value) return zepStsNullPointer;
    const int64_t rowBytes = int64_t{roi.width} * Ch * int64_t(sizeof(T));
    if (srcStep < rowBytes || dstStep < rowBytes) return zepStsBadStep;
    if (srcStep % int(sizeof(T)) || dstStep % int(sizeof(T))) return zepStsStepNotMultiple;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    GaussianHeader h{};
    Border border{};
    bool run = false;
    if (const ZepStatus s = specChecks<T, Ch>(pSpec, h, border, run); s != zepStsOk || !run) return s;
    const int64_t k = h.kernelSize;
    // Ring rows start on cache lines when a buffer of the size the query reports
    // has room for the padding (it has, but for the narrowest images). A ring
    // of floats takes bands as tall as that buffer allows, down to one row.
    const int64_t strip = roi.height < k ? roi.height : k;
    const int64_t size =
        gaussianBufferSize(uint32_t(roi.width), uint32_t(roi.height), uint32_t(k), typeCode<T>(), Ch);
    GaussianLayout lay{};
    auto fits = [&](int64_t rows, int64_t ringBytes, bool align) {
        return gaussianLayout(pBuffer, roi.width, k, Ch, rows, ringBytes, sizeof(T), sizeof(T), false, align, lay) <=
               size;
    };
    bool ringOfFloats = floatRing<T>(pSpec, int(k));
    if (ringOfFloats) {
        int64_t rows = strip;
        while (rows > 0 && !fits(rows, 4, true)) --rows;
        ringOfFloats = rows > 0;
    }
    if (!ringOfFloats && !fits(strip, sizeof(InterOf<T>), true) && !fits(strip, sizeof(InterOf<T>), false))
        lay.widened = nullptr;  // the regions before it fit the reported size
    runFilter<T, Ch>(pSrc, srcStep, pDst, dstStep, roi.width, roi.height, value, h, border, pSpec, lay, ringOfFloats);
    return zepStsOk;
}

constexpr int64_t kOverflow = 0x7fffffff;

// The 64-bit-size family's band height: up to 64 rows (at least k).
inline int64_t stripOfL(int64_t H, int64_t k) { return H < (k > 64 ? k : 64) ? H : (k > 64 ? k : 64); }

// The ring's element size: 16s rows are held as floats when the taps allow.
int64_t ringBytesOf(int dataType) { return dataType == zep32f || dataType == zep16s ? 4 : 2; }
int64_t elemBytesOf(int dataType) { return dataType == zep8u ? 1 : dataType == zep32f ? 4 : 2; }

int64_t bufferSizeL(int64_t W, int64_t H, int64_t k, int dataType, int n) {
    GaussianLayout lay{};
    return gaussianLayout(nullptr, W, k, n, stripOfL(H, k), ringBytesOf(dataType), elemBytesOf(dataType),
                          elemBytesOf(dataType), true, true, lay) +
           64;
}

// The _L filters: pointers, spec, (C3) border value, ROI, steps (too small,
// then not a multiple), the spec's checks, and last the 32-bit overflow check.
// Destinations of 0x80000 bytes and more ask the cache size: bands are cut so
// that the ring stays within half the cache, and destinations at least as
// large as the cache are written with streaming stores.
template <class T, int Ch>
ZepStatus gaussianL(const T* pSrc, int64_t srcStep, T* pDst, int64_t dstStep, ImageSizeL roi, const T* value,
                    const void* pSpec, uint8_t* pBuffer) {
    if (!pSrc || !pDst || !pBuffer || !pSpec) return zepStsNullPointer;
    if (Ch == 3 && !value) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    const int64_t rowBytes = roi.width * Ch * int64_t(sizeof(T));
    if (srcStep < rowBytes || dstStep < rowBytes) return zepStsBadStep;
    if (srcStep % int64_t(sizeof(T)) || dstStep % int64_t(sizeof(T))) return zepStsStepNotMultiple;
    GaussianHeader h{};
    Border border{};
    bool run = false;
    if (const ZepStatus s = specChecks<T, Ch>(pSpec, h, border, run); s != zepStsOk) return s;
    if (roi.width >= kOverflow || roi.height >= kOverflow || srcStep >= kOverflow || dstStep >= kOverflow)
        return zepStsSizeOverflow;
    if (!run) return zepStsOk;
    const int64_t k = h.kernelSize;
    const bool ringOfFloats = floatRing<T>(pSpec, int(k));
    const int64_t ringBytes = ringOfFloats ? 4 : int64_t(sizeof(InterOf<T>));
    int64_t strip = stripOfL(roi.height, k);
    bool stream = false;
    const int64_t dstData = rowBytes * roi.height;
    if (dstData >= 0x80000) {
        int32_t cache = 0;
        zepGetMaxCacheSizeB(&cache);
        stream = cache > 0 && dstData >= cache;
        const int64_t L = ((roi.width + k) * Ch + 7) & ~int64_t{7};
        const int64_t fit = cache / 2 / (L * ringBytes) - (k - 1);
        if (cache > 0 && fit < strip) strip = fit < 1 ? 1 : fit;
    }
    GaussianLayout lay{};
    gaussianLayout(pBuffer, roi.width, k, Ch, strip, ringBytes, sizeof(T), sizeof(T), stream, true, lay);
    runFilter<T, Ch>(pSrc, srcStep, pDst, dstStep, roi.width, roi.height, value, h, border, pSpec, lay, ringOfFloats);
    return zepStsOk;
}

// Init's checks after the pointer checks and the size check.
ZepStatus initParameterChecks(uint32_t k, float sigma, uint32_t borderType, int dataType, int n) {
    if (!gaussianKernelSize(k)) return zepStsBadArg;
    if (!gaussianDataType(dataType)) return zepStsBadDataType;
    if (n != 1 && n != 3) return zepStsBadChannel;
    if (!(sigma > 0.0f)) return zepStsBadArg;
    Border b{};
    if (!gaussianBorder(borderType, b)) return zepStsBadBorder;
    return zepStsOk;
}

}  // namespace
}  // namespace zep::filter

namespace {

using namespace zep::filter;

ZepStatus getBufferSize(ImageSize roi, uint32_t kernelSize, int dataType, int numChannels, int* pSpecSize,
                        int* pBufferSize) {
    if (!pSpecSize || !pBufferSize) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    if (!gaussianKernelSize(kernelSize)) return zepStsBadArg;
    if (!gaussianDataType(dataType)) return zepStsBadDataType;
    if (numChannels != 1 && numChannels != 3) return zepStsBadChannel;
    *pSpecSize = static_cast<int32_t>(gaussianSpecSize(kernelSize, dataType));
    *pBufferSize = static_cast<int32_t>(gaussianBufferSize(
        static_cast<uint32_t>(roi.width), static_cast<uint32_t>(roi.height), kernelSize, dataType, numChannels));
    return zepStsOk;
}

ZepStatus initSpec(ImageSize roi, uint32_t kernelSize, float sigma, uint32_t borderType, int dataType,
                   int numChannels, FilterGaussianSpec* pSpec, uint8_t* pBuffer) {
    if (!pSpec || !pBuffer) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    if (const ZepStatus s = initParameterChecks(kernelSize, sigma, borderType, dataType, numChannels); s != zepStsOk)
        return s;
    gaussianInit(pSpec, kernelSize, sigma, borderType, dataType, numChannels);
    return zepStsOk;
}

ZepStatus getSpecSizeL(uint32_t kernelSize, int dataType, int numChannels, int64_t* pSpecSize) {
    if (!pSpecSize) return zepStsNullPointer;
    if (!gaussianKernelSize(kernelSize)) return zepStsBadArg;
    if (!gaussianDataType(dataType)) return zepStsBadDataType;
    if (numChannels != 1 && numChannels != 3) return zepStsBadChannel;
    *pSpecSize = dataType == zep32f ? 32 * int64_t{kernelSize} + 32 : 16 * int64_t{kernelSize} + 36;
    return zepStsOk;
}

ZepStatus getBufferSizeL(ImageSizeL roi, uint32_t kernelSize, int dataType, int numChannels, int64_t* pBufferSize) {
    if (!pBufferSize) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    if (!gaussianKernelSize(kernelSize)) return zepStsBadArg;
    if (!gaussianDataType(dataType)) return zepStsBadDataType;
    if (numChannels != 1 && numChannels != 3) return zepStsBadChannel;
    if (roi.width >= kOverflow || roi.height >= kOverflow) return zepStsSizeOverflow;
    *pBufferSize = bufferSizeL(roi.width, roi.height, kernelSize, dataType, numChannels);
    return zepStsOk;
}

ZepStatus initSpecL(ImageSizeL roi, uint32_t kernelSize, float sigma, uint32_t borderType, int dataType,
                    int numChannels, FilterGaussianSpec* pSpec) {
    if (!pSpec) return zepStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return zepStsBadSize;
    if (const ZepStatus s = initParameterChecks(kernelSize, sigma, borderType, dataType, numChannels); s != zepStsOk)
        return s;
    if (roi.width >= kOverflow || roi.height >= kOverflow) return zepStsSizeOverflow;
    gaussianInit(pSpec, kernelSize, sigma, borderType, dataType, numChannels);
    return zepStsOk;
}

// The filters of both families, one and three channels.
template <class T, int Ch>
ZepStatus filter(const T* pSrc, int srcStep, T* pDst, int dstStep, ImageSize roi, zep::BorderValue<T, Ch> borderValue,
                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer) {
    return gaussianBorder32<T, Ch>(pSrc, srcStep, pDst, dstStep, roi, zep::valueOf<T, Ch>(borderValue), pSpec,
                                   pBuffer);
}
template <class T, int Ch>
ZepStatus filterL(const T* pSrc, int64_t srcStep, T* pDst, int64_t dstStep, ImageSizeL roi,
                  zep::BorderValue<T, Ch> borderValue, const FilterGaussianSpec* pSpec, uint8_t* pBuffer) {
    return gaussianL<T, Ch>(pSrc, srcStep, pDst, dstStep, roi, zep::valueOf<T, Ch>(borderValue), pSpec, pBuffer);
}

}  // namespace

#include "bind/filter/gaussian.inc"
