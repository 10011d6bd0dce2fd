// Layer resampling of image pyramids: the caller's kernel applied separably
// at the pyramid rate, down (one level smaller) or up (one level larger).
//
// Every output coordinate x takes a few source pixels (taps), each with a
// weight read from the kernel by linear interpolation at the pixel's distance:
// down, source pixel i weighs K(i - x * rate); up, it weighs K(i * rate - x)
// (distances in source and in destination pixels). K(k - r) is tap k of the
// kernel (r = n / 2), K is 0 at distances of r + 1 and beyond, and each
// output's weights are divided by their sum (unless it is 0). A call first
// sums the taps of each destination row over whole source rows into a float
// scratch row, then the taps of each destination column of that row.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/border.h"
#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"
#include "motion/pyramid.h"

namespace zep::pyramid {

enum class Dir { down, up };

// The header of a layer state, at the 64-byte aligned start of its memory;
// the kernel, the tap lists, the scratch row and the column tables follow at
// the recorded byte offsets.
struct LayerState {
    uint32_t id;
    int32_t kernelSize;
    float rate;
    int32_t channels;
    ImageSize maxSrc;  // the size Init was given: the largest source
    int32_t maxTaps;   // taps an output coordinate can have
    int32_t pad;
    int64_t stride;  // elements of one tap's row of column tables
    int64_t kernel, rowIndex, rowWeight, scratch, colIndex, colWeight, colWindow;
};

// Identity of a state: direction, data-type code and channels in the low bits.
constexpr uint32_t stateId(Dir d, int dataType, int channels) {
    return 0x5A500000u | (d == Dir::up ? 0x8000u : 0u) | static_cast<uint32_t>(dataType) << 4 |
           static_cast<uint32_t>(channels);
}

template <class T>
constexpr int dataTypeOf() {
    return std::is_same_v<T, uint8_t> ? zep8u : std::is_same_v<T, uint16_t> ? zep16u : zep32f;
}

// A tap bound: integer source positions within the kernel's open reach
// (source pixels down, destination pixels up; up, the reach is at least the
// rate, see outputTaps).
inline int64_t tapBound(Dir d, float rate, int n) {
    if (d == Dir::down) return int64_t{n} + 1;
    const double reach = std::max<double>(n / 2 + 1, rate);
    return static_cast<int64_t>(std::floor(2.0 * reach / static_cast<double>(rate))) + 1;
}

// The largest destination for a source: the down size, or the largest up size.
inline ImageSize largestDst(Dir d, ImageSize src, float rate) {
    if (d == Dir::down) return downSize(src, rate);
    return {upRange(src.width, rate).hi, upRange(src.height, rate).hi};
}

// Byte offsets of the parts of a state (relative to its aligned start) and the
// total that the caller allocates, 63 bytes of alignment slack included.
inline LayerState stateLayout(Dir d, ImageSize src, float rate, int n, int channels, int64_t& total) {
    LayerState s{};
    s.kernelSize = n;
    s.rate = rate;
    s.channels = channels;
    s.maxSrc = src;
    const int64_t taps = tapBound(d, rate, n);
    s.maxTaps = static_cast<int32_t>(std::min<int64_t>(taps, INT32_MAX));
    const ImageSize dst = largestDst(d, src, rate);
    s.stride = (int64_t{dst.width} * channels + 15) & ~int64_t{15};
    int64_t at = alignedRowStep(sizeof(LayerState));
    auto take = [&at](int64_t bytes) {
        const int64_t here = at;
        at += alignedRowStep(bytes);
        return here;
    };
    s.kernel = take(8 * int64_t{n});
    s.rowIndex = take(4 * taps);
    s.rowWeight = take(4 * taps);
    s.scratch = take(4 * int64_t{src.width} * channels);
    s.colIndex = take(4 * taps * s.stride);
    s.colWeight = take(4 * taps * s.stride);
    s.colWindow = take(4 * taps * (s.stride / 16));
    total = at + 63;
    return s;
}

// Source index read at position i outside or inside 0..len-1: down mirrors
// about both edge pixels; up mirrors about the first pixel and half a pixel
// past the last (x = len reads len - 1).
inline int32_t tapIndex(Dir d, int64_t i, int32_t len) {
    if (d == Dir::down) return static_cast<int32_t>(borderIndex(i, len, zepBorderMirror));
    return static_cast<int32_t>(borderIndex(2 * i, 2 * int64_t{len}, zepBorderMirror) / 2);
}

// The kernel at a distance t (|t| < r + 1): taps at integer distances, linear
// interpolation between them, 0 beyond the outer taps.
inline double kernelAt(const double* kernel, int n, double t) {
    const double u = t + n / 2;
    const double fl = std::floor(u);
    const int k = static_cast<int>(fl);
    const double f = u - fl;
    const double a = k >= 0 ? kernel[k] : 0.0;
    if (f == 0.0) return a;
    return a * (1.0 - f) + (k + 1 < n ? kernel[k + 1] : 0.0) * f;
}

// The taps of output coordinate x over a source of `len` pixels: up to
// `maxTaps` indices and weights divided by their sum (in double, then rounded
// once). Returns the count.
inline int outputTaps(Dir d, int64_t x, int32_t len, const double* kernel, int n, float rate, int maxTaps,
                      int32_t* index, float* weight) {
    const double r = static_cast<double>(rate);
    const int half = n / 2;
    // Up at a rate beyond the kernel's reach, distances shrink by (r + 1) / rate
    // so that every output still reaches a source pixel.
    const double scale = d == Dir::up && r > half + 1 ? (half + 1) / r : 1.0;
    const double reach = (half + 1) / scale;
    const double at = static_cast<double>(x);
    int64_t lo, hi;
    if (d == Dir::down) {
        lo = static_cast<int64_t>(std::floor(at * r)) - half;
        hi = static_cast<int64_t>(std::floor(at * r)) + half + 1;
    } else {
        lo = static_cast<int64_t>(std::floor((at - reach) / r));
        hi = static_cast<int64_t>(std::floor((at + reach) / r)) + 1;
    }
    auto reaching = [&](auto&& visit) {
        int count = 0;
        for (int64_t i = lo; i <= hi && count < maxTaps; ++i) {
            const double dist = d == Dir::down ? static_cast<double>(i) - at * r : static_cast<double>(i) * r - at;
            if (std::fabs(dist) < reach) visit(count++, i, kernelAt(kernel, n, dist * scale));
        }
        return count;
    };
    double sum = 0.0;
    reaching([&](int, int64_t, double w) { sum += w; });
    return reaching([&](int k, int64_t i, double w) {
        index[k] = tapIndex(d, i, len);
        weight[k] = static_cast<float>(sum != 0.0 ? w / sum : w);
    });
}

template <class T>
inline T roundToElement(float v) {
    if constexpr (std::is_same_v<T, float>) {
        return v;
    } else {
        constexpr float top = std::is_same_v<T, uint8_t> ? 255.0f : 65535.0f;
        float t = std::floor(v + 0.5f);  // nearest, ties up
        t = t > 0.0f ? t : 0.0f;
        t = t < top ? t : top;
        return static_cast<T>(static_cast<int32_t>(t));
    }
}

// Sixteen results stored as elements of T with the same rounding.
template <class T>
inline void storeElements(T* p, __m512 v) {
    if constexpr (std::is_same_v<T, float>) {
        _mm512_storeu_ps(p, v);
    } else {
        constexpr float top = std::is_same_v<T, uint8_t> ? 255.0f : 65535.0f;
        __m512 t =
            _mm512_roundscale_ps(_mm512_add_ps(v, _mm512_set1_ps(0.5f)), _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
        t = _mm512_min_ps(_mm512_max_ps(t, _mm512_setzero_ps()), _mm512_set1_ps(top));
        const __m512i i = _mm512_cvttps_epi32(t);
        if constexpr (std::is_same_v<T, uint8_t>) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtepi32_epi8(i));
        } else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtepi32_epi16(i));
        }
    }
}

template <class T>
auto stateParts(LayerState* s) {
    auto* base = reinterpret_cast<uint8_t*>(s);
    struct Parts {
        const double* kernel;
        int32_t* rowIndex;
        float* rowWeight;
        float* scratch;
        int32_t* colIndex;
        float* colWeight;
        int32_t* colWindow;
    };
    return Parts{reinterpret_cast<const double*>(base + s->kernel), reinterpret_cast<int32_t*>(base + s->rowIndex),
                 reinterpret_cast<float*>(base + s->rowWeight),     reinterpret_cast<float*>(base + s->scratch),
                 reinterpret_cast<int32_t*>(base + s->colIndex),    reinterpret_cast<float*>(base + s->colWeight),
                 reinterpret_cast<int32_t*>(base + s->colWindow)};
}

// The column tables of a call, per destination element e = x * Ch + c: tap j
// reads scratch element colIndex[j][e] with weight colWeight[j][e]. Outputs
// with fewer taps than the widest repeat their first index with weight 0.
// colWindow[j][b] is the first scratch element of a 32-element window that
// holds every index of tap j in the block of 16 elements b, or -1.
// Returns the table's tap count.
template <class T, int Ch>
int buildColumnTables(Dir d, LayerState* s, int32_t srcWidth, int32_t dstWidth) {
    auto parts = stateParts<T>(s);
    int widest = 0;
    for (int32_t x = 0; x < dstWidth; ++x) {
        int32_t* idx = parts.rowIndex;
        float* w = parts.rowWeight;
        const int count = outputTaps(d, x, srcWidth, parts.kernel, s->kernelSize, s->rate, s->maxTaps, idx, w);
        for (int j = count; j < s->maxTaps; ++j) idx[j] = count > 0 ? idx[0] : 0, w[j] = 0.0f;
        widest = std::max(widest, count);
        for (int j = 0; j < s->maxTaps; ++j)
            for (int c = 0; c < Ch; ++c) {
                parts.colIndex[j * s->stride + int64_t{x} * Ch + c] = idx[j] * Ch + c;
                parts.colWeight[j * s->stride + int64_t{x} * Ch + c] = w[j];
            }
    }
    const int64_t blocks = s->stride / 16;
    for (int j = 0; j < widest; ++j)
        for (int64_t b = 0; b < blocks && 16 * b + 16 <= int64_t{dstWidth} * Ch; ++b) {
            const int32_t* idx = parts.colIndex + j * s->stride + 16 * b;
            const auto [lo, hi] = std::minmax_element(idx, idx + 16);
            parts.colWindow[j * blocks + b] = *hi - *lo < 32 ? *lo : -1;
        }
    return widest;
}

// acc + w * v, skipped when w is 0 (so an infinity under a zero weight adds nothing).
inline float addTap(float acc, float w, float v) { return w != 0.0f ? acc + w * v : acc; }

template <Path P, class T, int Ch>
void resampleRows(Dir d, LayerState* s, Rows<const T> src, ImageSize srcRoi, Rows<T> dst, ImageSize dstRoi) {
    auto parts = stateParts<T>(s);
    const int taps = buildColumnTables<T, Ch>(d, s, srcRoi.width, dstRoi.width);
    const int srcElems = srcRoi.width * Ch, dstElems = dstRoi.width * Ch;
    const int64_t stride = s->stride;
    float* scratch = parts.scratch;
    for (int y = 0; y < dstRoi.height; ++y) {
        // Rows: the destination row's taps over whole source rows.
        const int rowTaps = outputTaps(d, y, srcRoi.height, parts.kernel, s->kernelSize, s->rate, s->maxTaps,
                                       parts.rowIndex, parts.rowWeight);
        const int32_t* ri = parts.rowIndex;
        const float* rw = parts.rowWeight;
        int e = 0;
        if constexpr (P == Path::vector) {
            // Tap by tap over whole blocks, the scratch row holding each element's sum.
            const int blocks = srcElems / 16 * 16;
            for (int b = 0; b < blocks; b += 16) _mm512_store_ps(scratch + b, _mm512_set1_ps(-0.0f));
            for (int j = 0; j < rowTaps; ++j) {
                if (rw[j] == 0.0f) continue;
                const __m512 w = _mm512_set1_ps(rw[j]);
                const T* in = src[ri[j]];
                for (int b = 0; b < blocks; b += 16)
                    _mm512_store_ps(scratch + b, _mm512_add_ps(_mm512_load_ps(scratch + b),
                                                               _mm512_mul_ps(w, simd::loadAsFloat(in + b))));
            }
            e = blocks;
        }
        for (; e < srcElems; ++e) {
            float acc = -0.0f;
            for (int j = 0; j < rowTaps; ++j) acc = addTap(acc, rw[j], static_cast<float>(src[ri[j]][e]));
            scratch[e] = acc;
        }
        // Columns: each destination element's taps along the scratch row.
        T* out = dst[y];
        e = 0;
        if constexpr (P == Path::vector) {
            for (; e + 16 <= dstElems; e += 16) {
                __m512 acc = _mm512_set1_ps(-0.0f);
                for (int j = 0; j < taps; ++j) {
                    const __m512 w = _mm512_loadu_ps(parts.colWeight + j * stride + e);
                    const __m512i i = _mm512_loadu_si512(parts.colIndex + j * stride + e);
                    const __mmask16 used = _mm512_cmp_ps_mask(w, _mm512_setzero_ps(), _CMP_NEQ_UQ);
                    const int32_t window = parts.colWindow[j * (stride / 16) + e / 16];
                    __m512 v;
                    if (window >= 0) {  // the tap's pixels lie in two registers: permute, not gather
                        const int left = srcElems - window;
                        const __m512 lo =
                            _mm512_maskz_loadu_ps(simd::firstLanes16(std::clamp(left, 0, 16)), scratch + window);
                        const __m512 hi = _mm512_maskz_loadu_ps(simd::firstLanes16(std::clamp(left - 16, 0, 16)),
                                                                scratch + window + 16);
                        v = _mm512_permutex2var_ps(lo, _mm512_sub_epi32(i, _mm512_set1_epi32(window)), hi);
                    } else {
                        v = _mm512_mask_i32gather_ps(_mm512_setzero_ps(), used, i, scratch, 4);
                    }
                    acc = _mm512_mask_add_ps(acc, used, acc, _mm512_mul_ps(w, v));
                }
                storeElements(out + e, acc);
            }
        }
        for (; e < dstElems; ++e) {
            float acc = -0.0f;
            for (int j = 0; j < taps; ++j)
                acc = addTap(acc, parts.colWeight[j * stride + e], scratch[parts.colIndex[j * stride + e]]);
            out[e] = roundToElement<T>(acc);
        }
    }
}

// Whether dst is the destination the direction allows for src.
inline bool dstFits(Dir d, ImageSize src, ImageSize dst, float rate) {
    if (d == Dir::down) {
        const ImageSize want = downSize(src, rate);
        return dst.width == want.width && dst.height == want.height;
    }
    const Range w = upRange(src.width, rate), h = upRange(src.height, rate);
    return dst.width >= w.lo && dst.width <= w.hi && dst.height >= h.lo && dst.height <= h.hi;
}

// One layer with its checks: null pointers; both sizes; both steps (sizes,
// then multiples); the state's identity; then, read from the state, a source
// larger than the state was made for or a destination the rate does not give
// (zepStsBadSize).
template <Path P, Dir D, class T, int Ch>
ZepStatus layerImage(const T* src, int srcStep, ImageSize srcRoi, T* dst, int dstStep, ImageSize dstRoi,
                     void* state) {
    Checks checks;
    checks.notNull(src, dst, state)
        .roi(srcRoi)
        .roi(dstRoi)
        .steps({rowOf<T>(srcStep, srcRoi.width, Ch), rowOf<T>(dstStep, dstRoi.width, Ch)});
    auto* s = static_cast<LayerState*>(state);
    if (checks.status() == zepStsOk) {
        checks.fail(s->id != stateId(D, dataTypeOf<T>(), Ch), zepStsBadContext);
        checks.fail(
            checks.status() == zepStsOk && (srcRoi.width > s->maxSrc.width || srcRoi.height > s->maxSrc.height ||
                                            !dstFits(D, srcRoi, dstRoi, s->rate)),
            zepStsBadSize);
    }
    return checks.run([&] { resampleRows<P, T, Ch>(D, s, rows(src, srcStep), srcRoi, rows(dst, dstStep), dstRoi); });
}

// GetSize and Init checks: the source size; the rate, kernel size below 3 or
// even (zepStsBadArg); channels (zepStsBadChannelCount); data type
// (zepStsBadDataType); then a state past 2^31 - 1 bytes (zepStsBadArg).
inline Checks& layerChecks(Checks& checks, Dir d, ImageSize roi, float rate, int n, int channels, int dataType,
                           int64_t& total) {
    checks.roi(roi)
        .fail(badRate(rate) || n < 3 || n % 2 == 0, zepStsBadArg)
        .fail(channels != 1 && channels != 3, zepStsBadChannelCount)
        .fail(dataType != zep8u && dataType != zep16u && dataType != zep32f, zepStsBadDataType);
    if (checks.status() == zepStsOk) {
        stateLayout(d, roi, rate, n, channels, total);
        checks.fail(total > INT32_MAX, zepStsBadArg);
    }
    return checks;
}

inline ZepStatus layerGetSize(Dir d, ImageSize roi, float rate, int n, int channels, int dataType, int* stateSize) {
    int64_t total = 0;
    Checks checks;
    checks.notNull(stateSize);
    return layerChecks(checks, d, roi, rate, n, channels, dataType, total).run([&] {
        *stateSize = static_cast<int>(total);
    });
}

inline ZepStatus layerInit(Dir d, void** state, ImageSize roi, float rate, const void* kernel, int n, int channels,
                           int dataType, uint8_t* memory) {
    int64_t total = 0;
    Checks checks;
    checks.notNull(state, kernel, memory);
    return layerChecks(checks, d, roi, rate, n, channels, dataType, total).run([&] {
        uint8_t* at = alignUp64(memory);
        auto* s = reinterpret_cast<LayerState*>(at);
        *s = stateLayout(d, roi, rate, n, channels, total);
        s->id = stateId(d, dataType, channels);
        auto* k = reinterpret_cast<double*>(at + s->kernel);
        for (int i = 0; i < n; ++i) {
            if (dataType == zep8u) k[i] = static_cast<const uint8_t*>(kernel)[i];
            if (dataType == zep16u) k[i] = static_cast<const uint16_t*>(kernel)[i];
            if (dataType == zep32f) k[i] = static_cast<const float*>(kernel)[i];
        }
        *state = s;
    });
}

}  // namespace zep::pyramid
