// Gaussian filter: spec and buffer sizes, initialisation, and the checked
// filters of the 32-bit and 64-bit-size families.
#include "filter/gaussian.h"

#include "filter/pipeline_checks.h"

namespace zep::filter {

Bytes gaussianBufferSize(int64_t W, int64_t H, int64_t k, int dataType, int n) {
    const int64_t h = H < k ? H : k;
    const Bytes L = ((Bytes{W} + k) * n).alignedTo(8);
    const bool c3 = n == 3;
    Bytes R = 0, C = 0;
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
    if (dataType == zep32f)
        return Bytes{4} * k * L + 32 + Bytes{4} * L * (h + k) + 64 + R + 32 + C + 32 + Bytes{8} * (h + k) + 32;
    return Bytes{2} * L * (h + k) + 64 + Bytes{2} * (Bytes{2} * L * (k / 2) + 16) + R + 32 + C + 32 +
           Bytes{8} * (H + k) + 32;
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

// What a spec says of itself, read once the pointer checks have passed. A
// spec that was never initialised (kernel size below 3 or even, or no
// divisor; zeroed memory is the common case) makes the filter a no-op that
// returns zepStsOk, so it is recognised before its border field is read;
// then the border type must be one the filter accepts (zepStsBadBorder), and
// a spec of another data type or channel count is not this filter's
// (zepStsBadContext).
struct SpecView {
    GaussianHeader h{};
    Border border{};
    bool initialised = false, borderOk = false, ours = false;
};
template <class T, int Ch>
SpecView readSpec(const void* pSpec) {
    SpecView v;
    std::memcpy(&v.h, pSpec, sizeof v.h);
    const bool divisor = v.h.shift >= 0 && v.h.shift <= 30;
    v.initialised = gaussianKernelSize(static_cast<uint32_t>(v.h.kernelSize)) && divisor;
    v.borderOk = !v.initialised || gaussianBorder(v.h.borderType, v.border);
    v.ours = !v.initialised || (v.h.dataType == typeCode<T>() && v.h.channels == Ch);
    return v;
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

// The bands of a call (core/band.h): at least min(k, most) rows (most: the
// tallest the buffer holds), more while the ring stays within its budget, and
// streaming stores when passBytes fill the cache (asked from queryBytes on).
template <int Ch>
Bands gaussianBands(int64_t W, int64_t k, int64_t ringBytes, int64_t most, int64_t passBytes, int64_t queryBytes,
                    int64_t budget) {
    const int64_t L = ((W + k) * Ch + 7) & ~int64_t{7};
    return planBands({passBytes, queryBytes, L * ringBytes, k - 1, most < k ? most : k, most, budget});
}

// The 32-bit filters: pointers, spec, (C3) border value, steps (too small,
// then not a multiple), ROI, then the spec's checks, and last a buffer size
// that the size query refuses. Bands keep within what the reported size
// holds; a source and destination too large for the cache together are
// written with streaming stores.
template <class T, int Ch>
ZepStatus gaussianBorder32(const T* pSrc, int srcStep, T* pDst, int dstStep, ImageSize roi, const T* value,
                           const void* pSpec, uint8_t* pBuffer) {
    Checks checks;
    checks.notNull(pSrc, pDst, pBuffer)
        .notNull(pSpec)
        .fail(Ch == 3 && !value, zepStsNullPointer)
        .steps({rowOf<T>(srcStep, roi.width, Ch), rowOf<T>(dstStep, roi.width, Ch)})
        .roi(roi);
    const SpecView spec = checks.ok() ? readSpec<T, Ch>(pSpec) : SpecView{};
    const int64_t k = spec.h.kernelSize;
    const Bytes size = gaussianBufferSize(roi.width, roi.height, k, typeCode<T>(), Ch);
    checks.quietIf(!spec.initialised)
        .fail(!spec.borderOk, zepStsBadBorder)
        .fail(!spec.ours, zepStsBadContext)
        .sizeFits(size);
    return checks.run([&] {
        // Ring rows start on cache lines when a buffer of the size the query
        // reports has room for the padding (it has, but for the narrowest
        // images), and bands are at most as tall as that buffer allows. Should
        // no ring of floats fit, the rows stay 16-bit; should no ring of
        // min(H, k) rows fit, the widened row is left out (the parts before it
        // fit).
        GaussianLayout lay{};
        auto fits = [&](int64_t rows, int64_t ringBytes, bool align) {
            Carve carve(pBuffer);
            return gaussianLayout(carve, roi.width, k, Ch, rows, ringBytes, sizeof(T), align, lay).value() <=
                   size.value();
        };
        // The tallest band that fits (fits is monotonic in the rows), 0 if none.
        auto tallest = [&](int64_t ringBytes, bool align) {
            int64_t lo = 0, hi = std::min<int64_t>(roi.height, size.value() / ringBytes + 1);
            while (lo < hi) {
                const int64_t mid = hi - (hi - lo) / 2;
                if (fits(mid, ringBytes, align))
                    lo = mid;
                else
                    hi = mid - 1;
            }
            return lo;
        };
        bool ringOfFloats = floatRing<T>(pSpec, int(k));
        int64_t rows = ringOfFloats ? tallest(4, true) : 0;
        ringOfFloats = rows > 0;
        const int64_t ringBytes = ringOfFloats ? 4 : int64_t(sizeof(InterOf<T>));
        bool align = true;
        if (!ringOfFloats) rows = tallest(ringBytes, true);
        if (rows == 0) align = false, rows = tallest(ringBytes, false);
        const bool widened = rows > 0;
        if (!widened) rows = roi.height < k ? roi.height : k;
        const int64_t dataBytes = int64_t{roi.width} * Ch * int64_t(sizeof(T)) * roi.height;
        const Bands bands =
            gaussianBands<Ch>(roi.width, k, ringBytes, rows, 2 * dataBytes, kStreamQueryBytes, kBandBytes);
        fits(bands.rows, ringBytes, align);
        if (!widened) lay.widened = nullptr;
        lay.store = bands.store;
        runFilter<T, Ch>(pSrc, srcStep, pDst, dstStep, roi.width, roi.height, value, spec.h, spec.border, pSpec, lay,
                         ringOfFloats);
    });
}

constexpr int64_t kOverflow = 0x7fffffff;
constexpr int64_t kNoBudget = INT64_MAX;  // the ring bounded by the cache alone
inline bool beyond32(ImageSizeL roi) { return roi.width >= kOverflow || roi.height >= kOverflow; }

// The 64-bit-size family's band height: up to 64 rows (at least k).
inline int64_t stripOfL(int64_t H, int64_t k) { return H < (k > 64 ? k : 64) ? H : (k > 64 ? k : 64); }

// The ring's element size: 16s rows are held as floats when the taps allow.
int64_t ringBytesOf(int dataType) { return dataType == zep32f || dataType == zep16s ? 4 : 2; }
int64_t elemBytesOf(int dataType) { return dataType == zep8u ? 1 : dataType == zep32f ? 4 : 2; }

Bytes bufferSizeL(int64_t W, int64_t H, int64_t k, int dataType, int n) {
    Carve measure;
    GaussianLayout lay{};
    return gaussianLayout(measure, W, k, n, stripOfL(H, k), ringBytesOf(dataType), elemBytesOf(dataType), true, lay);
}

// The _L filters: pointers, spec, (C3) border value, ROI, steps (too small,
// then not a multiple), the spec's checks, then the 32-bit overflow check
// (sizes and steps of 0x7fffffff and more) and a buffer size past INT64_MAX.
// Destinations of 0x80000 bytes and more ask the cache size (core/band.h):
// bands of up to 64 rows are cut so that the ring stays within half the
// cache (taller bands than the 32-bit family's: measured faster at 4K where
// the destination is not streamed), and destinations at least as large as
// the cache are written with streaming stores.
template <class T, int Ch>
ZepStatus gaussianL(const T* pSrc, int64_t srcStep, T* pDst, int64_t dstStep, ImageSizeL roi, const T* value,
                    const void* pSpec, uint8_t* pBuffer) {
    Checks checks;
    checks.notNull(pSrc, pDst, pBuffer, pSpec)
        .fail(Ch == 3 && !value, zepStsNullPointer)
        .fail(roi.width < 1 || roi.height < 1, zepStsBadSize)
        .steps({rowOf<T>(srcStep, roi.width, Ch), rowOf<T>(dstStep, roi.width, Ch)});
    const SpecView spec = checks.ok() ? readSpec<T, Ch>(pSpec) : SpecView{};
    const int64_t k = spec.h.kernelSize;
    checks.fail(!spec.borderOk, zepStsBadBorder)
        .fail(!spec.ours, zepStsBadContext)
        .fail(beyond32(roi) || srcStep >= kOverflow || dstStep >= kOverflow, zepStsSizeOverflow)
        .quietIf(!spec.initialised)
        .sizeFits64(bufferSizeL(roi.width, roi.height, k, typeCode<T>(), Ch));
    return checks.run([&] {
        const bool ringOfFloats = floatRing<T>(pSpec, int(k));
        const int64_t ringBytes = ringOfFloats ? 4 : int64_t(sizeof(InterOf<T>));
        const int64_t dstBytes = roi.width * Ch * int64_t(sizeof(T)) * roi.height;
        const Bands bands = gaussianBands<Ch>(roi.width, k, ringBytes, stripOfL(roi.height, k), dstBytes,
                                              kCacheQueryBytes, kNoBudget);
        GaussianLayout lay{};
        Carve carve(pBuffer);
        gaussianLayout(carve, roi.width, k, Ch, bands.rows, ringBytes, sizeof(T), true, lay);
        lay.store = bands.store;
        runFilter<T, Ch>(pSrc, srcStep, pDst, dstStep, roi.width, roi.height, value, spec.h, spec.border, pSpec, lay,
                         ringOfFloats);
    });
}

// Init's checks after the pointer checks and the size check.
Checks& initParameterChecks(Checks& checks, uint32_t k, float sigma, uint32_t borderType, int dataType, int n) {
    Border b{};
    return checks.fail(!gaussianKernelSize(k), zepStsBadArg)
        .fail(!gaussianDataType(dataType), zepStsBadDataType)
        .fail(n != 1 && n != 3, zepStsBadChannel)
        .fail(!(sigma > 0.0f), zepStsBadArg)
        .fail(!gaussianBorder(borderType, b), zepStsBadBorder);
}

// The size query's checks after its pointer checks.
Checks& sizeParameterChecks(Checks& checks, uint32_t k, int dataType, int n) {
    return checks.fail(!gaussianKernelSize(k), zepStsBadArg)
        .fail(!gaussianDataType(dataType), zepStsBadDataType)
        .fail(n != 1 && n != 3, zepStsBadChannel);
}

}  // namespace
}  // namespace zep::filter

namespace {

using namespace zep::filter;
using zep::Bytes;
using zep::Checks;

// Sizes and initialisations refuse, last, what does not fit their outputs
// (spec and buffer sizes past INT32_MAX, or past INT64_MAX for _L).
ZepStatus getBufferSize(ImageSize roi, uint32_t kernelSize, int dataType, int numChannels, int* pSpecSize,
                        int* pBufferSize) {
    const Bytes spec = gaussianSpecSize(kernelSize, dataType);
    const Bytes buffer = gaussianBufferSize(roi.width, roi.height, kernelSize, dataType, numChannels);
    Checks checks;
    checks.notNull(pSpecSize, pBufferSize).roi(roi);
    return sizeParameterChecks(checks, kernelSize, dataType, numChannels).sizeFits(spec).sizeFits(buffer).run([&] {
        *pSpecSize = static_cast<int32_t>(spec.value());
        *pBufferSize = static_cast<int32_t>(buffer.value());
    });
}

ZepStatus initSpec(ImageSize roi, uint32_t kernelSize, float sigma, uint32_t borderType, int dataType,
                   int numChannels, FilterGaussianSpec* pSpec, uint8_t* pBuffer) {
    Checks checks;
    checks.notNull(pSpec, pBuffer).roi(roi);
    return initParameterChecks(checks, kernelSize, sigma, borderType, dataType, numChannels)
        .sizeFits(gaussianSpecSize(kernelSize, dataType))
        .sizeFits(gaussianBufferSize(roi.width, roi.height, kernelSize, dataType, numChannels))
        .run([&] { gaussianInit(pSpec, kernelSize, sigma, borderType, dataType, numChannels); });
}

ZepStatus getSpecSizeL(uint32_t kernelSize, int dataType, int numChannels, int64_t* pSpecSize) {
    Checks checks;
    checks.notNull(pSpecSize);
    return sizeParameterChecks(checks, kernelSize, dataType, numChannels).run([&] {
        *pSpecSize = dataType == zep32f ? 32 * int64_t{kernelSize} + 32 : 16 * int64_t{kernelSize} + 36;
    });
}

ZepStatus getBufferSizeL(ImageSizeL roi, uint32_t kernelSize, int dataType, int numChannels, int64_t* pBufferSize) {
    const Bytes buffer = bufferSizeL(roi.width, roi.height, kernelSize, dataType, numChannels);
    Checks checks;
    checks.notNull(pBufferSize).fail(roi.width < 1 || roi.height < 1, zepStsBadSize);
    return sizeParameterChecks(checks, kernelSize, dataType, numChannels)
        .fail(beyond32(roi), zepStsSizeOverflow)
        .sizeFits64(buffer)
        .run([&] { *pBufferSize = buffer.value(); });
}

ZepStatus initSpecL(ImageSizeL roi, uint32_t kernelSize, float sigma, uint32_t borderType, int dataType,
                    int numChannels, FilterGaussianSpec* pSpec) {
    Checks checks;
    checks.notNull(pSpec).fail(roi.width < 1 || roi.height < 1, zepStsBadSize);
    return initParameterChecks(checks, kernelSize, sigma, borderType, dataType, numChannels)
        .fail(beyond32(roi), zepStsSizeOverflow)
        .sizeFits64(bufferSizeL(roi.width, roi.height, kernelSize, dataType, numChannels))
        .run([&] { gaussianInit(pSpec, kernelSize, sigma, borderType, dataType, numChannels); });
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
