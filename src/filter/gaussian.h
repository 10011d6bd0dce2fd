// Gaussian filter: the spec (kernel and border), the size formulas, and the
// filter over bands (core/band.h) that runs the row pass into a ring of
// intermediate rows in the work buffer and the column pass from the ring into
// the destination.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/band.h"
#include "core/buffer.h"
#include "filter/pipeline.h"

namespace zep::filter {

// The data-type code of the filter of T, as its spec records it.
template <class T>
constexpr int typeCode() {
    return std::is_same_v<T, uint8_t>    ? zep8u
           : std::is_same_v<T, uint16_t> ? zep16u
           : std::is_same_v<T, int16_t>  ? zep16s
                                         : zep32f;
}

// The element types the filter of T runs on: its ring of rows and its taps.
template <class T>
using InterOf = std::conditional_t<std::is_same_v<T, uint8_t>, int16_t, T>;
template <class T>
using TapOf = std::conditional_t<std::is_same_v<T, float>, float,
                                 std::conditional_t<std::is_same_v<T, uint16_t>, uint16_t, int16_t>>;

// The spec's fixed fields, in order; the taps follow from the first 16-byte
// aligned position behind them (16-bit integers, or floats for 32f).
struct GaussianHeader {
    int32_t kernelSize;
    int32_t dataType;
    int32_t channels;
    uint32_t borderType;
    int32_t shift;  // fractional bits of the integer taps; the divisor is 1 << shift
};
constexpr int64_t kHeaderBytes = 20;

inline uint8_t* specTaps(void* spec) {
    const uintptr_t a = (reinterpret_cast<uintptr_t>(spec) + kHeaderBytes + 15) & ~uintptr_t{15};
    return reinterpret_cast<uint8_t*>(a);
}
inline const uint8_t* specTaps(const void* spec) { return specTaps(const_cast<void*>(spec)); }

inline bool gaussianDataType(int t) { return t == zep8u || t == zep16u || t == zep16s || t == zep32f; }
inline bool gaussianKernelSize(uint32_t k) { return k >= 3 && (k & 1); }
inline bool gaussianBorder(uint32_t type, Border& b) {
    return decodeBorder(type, 255, bases({zepBorderRepl, zepBorderMirror, zepBorderConst}), b);
}

// Spec sizes: 16k + 36 for the integer types, 32k + 32 for 32f.
inline Bytes gaussianSpecSize(uint32_t k, int dataType) {
    return dataType == zep32f ? Bytes{32} * k + 32 : Bytes{16} * k + 36;
}

// The work-buffer size of the 32-bit functions.
Bytes gaussianBufferSize(int64_t W, int64_t H, int64_t k, int dataType, int n);

// Writes the header and taps: g_i = exp(-(i^2) * (1 / (sigma * (sigma + sigma)))) in
// single precision, S their sum in order, tap = g / S (32f) or
// trunc((double)((g / S) * 2^shift) + 0.5).
void gaussianInit(void* spec, uint32_t k, float sigma, uint32_t borderType, int dataType, int channels);

// Where a band of output rows is computed from: the ring of intermediate rows.
struct GaussianLayout {
    int64_t strip;     // output rows per band
    int64_t ringRows;  // strip + k - 1
    int64_t ringStep;  // bytes between ring rows
    uint8_t* ring;
    uint8_t* constRow;  // one source row of the border value
    const void** rowPointers;
    int16_t* widened;             // 8u C1: one source row widened to 16 bits with its border pixels (or null)
    Store store = Store::cached;  // how the destination rows are written
};

// The buffer's parts for a W x H image of n channels with band height `strip`
// (ring rows a whole number of cache lines apart if alignRows): the ring, one
// constant-border source row, the ring's row pointers, and for single-channel
// 8u sources (srcBytes 1) a row for their widened copy, which a caller short
// of room may leave out (widened null) without moving the other parts.
// Returns the bytes used from the carve's start.
inline Bytes gaussianLayout(Carve& carve, int64_t W, int64_t k, int64_t n, int64_t strip, int64_t ringBytes,
                            int64_t srcBytes, bool alignRows, GaussianLayout& out) {
    const Bytes L = ((Bytes{W} + k) * n).alignedTo(8);
    const Bytes ringStep = alignRows ? (L * ringBytes).alignedTo(64) : L * ringBytes;
    out.strip = strip;
    out.ringRows = strip + k - 1;
    out.ringStep = ringStep.value();
    out.ring = carve.take<uint8_t>(ringStep * out.ringRows);
    out.constRow = carve.take<uint8_t>(Bytes{W} * n * srcBytes);
    out.rowPointers = carve.take<const void*>(out.ringRows);
    out.widened = srcBytes == 1 && n == 1 ? carve.take<int16_t>(L) : nullptr;  // (W + k - 1) * n values at most
    return carve.size();
}

// Rewrites the n 16-bit integers at the start of a row as the equal floats, in
// place: from the end backwards, each block of floats lands at or beyond the
// integers it came from, and no integer below it has been overwritten.
inline void widenRowInPlace(void* row, int64_t n) {
    const auto* in = static_cast<const int16_t*>(row);
    auto* out = static_cast<float*>(row);
    auto widen = [&](int64_t i, __mmask16 m) { simd::store(out + i, simd::loadAsFloat(in + i, m), m); };
    int64_t i = n - n % 16;
    if (i < n) widen(i, simd::firstLanes16(int(n - i)));
    while (i > 0) widen(i -= 16, 0xFFFF);
}

// The filter over the whole image. Src and Dst share the element type; Inter
// is the row pass's element type, Tap the spec's tap type, and Ring the
// element type the ring holds the rows in: Inter, or float for 16-bit rows
// that the single-precision column pass reads (each converted once, not once
// for every output row it takes part in).
template <Path P, class Src, class Inter, class Ring, class Tap, int Ch>
void gaussianRun(const Src* src, int64_t srcStep, Src* dst, int64_t dstStep, int64_t W, int64_t H, const Src* value,
                 const Border& border, const Tap* taps, int k, int divisor, const GaussianLayout& lay) {
    const int r = k / 2;
    const int64_t E = W * Ch;
    auto srcRow = [&](int64_t i) -> const Src* {
        auto at = [&](int64_t y) {
            return reinterpret_cast<const Src*>(reinterpret_cast<const char*>(src) + y * srcStep);
        };
        if (i >= 0 && i < H) return at(i);
        if ((i < 0 && border.inMemTop) || (i >= H && border.inMemBottom)) return at(i);
        if (border.base == zepBorderConst) return reinterpret_cast<const Src*>(lay.constRow);
        return at(borderIndex(i, H, border.base));
    };
    if (border.base == zepBorderConst) {
        Src* c = reinterpret_cast<Src*>(lay.constRow);
        for (int64_t e = 0; e < E; ++e) c[e] = value[e % Ch];
    }
    Border constBorder = border;  // the border-value rows are constant beyond their ends as well
    constBorder.inMemLeft = constBorder.inMemRight = false;
    auto ringRow = [&](int64_t i) { return lay.ring + ((i + r) % lay.ringRows) * lay.ringStep; };
    // The row pass of 8u rows gives values from round(down * 255 / divisor) to
    // round(up * 255 / divisor) (down and up: the sums of the negative and of
    // the positive taps, swapped for a negative divisor), saturated: bounds
    // that let the column pass prove it computes exactly and needs no
    // saturation of its own.
    int32_t bound = 32768;
    bool nonNegative = false;
    PairPlan widened{};
    if constexpr (std::is_same_v<Src, uint8_t>) {
        int64_t down = 0, up = 0;
        for (int j = 0; j < k; ++j) (taps[j] < 0 ? down : up) += taps[j];
        if (divisor < 0) std::swap(down, up);
        const int64_t least = saturate<int16_t>(roundDivEven(down * 255, divisor));
        const int64_t most = saturate<int16_t>(roundDivEven(up * 255, divisor));
        bound = int32_t(std::max(-least, most));
        nonNegative = least >= 0;
        if constexpr (Ch == 1 && P == Path::vector) widened = widenedPlan(taps, k, divisor);
    }
    int64_t next = -r;  // the next intermediate row to compute
    forEachBand(H, lay.strip, [&](int64_t y0, int64_t nb) {
        for (; next <= y0 + nb - 1 + r; ++next) {
            const Src* row = srcRow(next);
            if (next + 1 < H) {  // the next source row, while this one is filtered
                const char* ahead = reinterpret_cast<const char*>(srcRow(next + 1));
                for (int64_t b = 0; b < E * int64_t(sizeof(Src)); b += 64) _mm_prefetch(ahead + b, _MM_HINT_T0);
            }
            const bool synthetic = reinterpret_cast<const uint8_t*>(row) == lay.constRow;
            const RowPass<Src, Tap> pass{
                row, 0, ImageSize{int32_t(W), 1}, taps, k, r, synthetic ? constBorder : border, value, divisor};
            Inter* out = reinterpret_cast<Inter*>(ringRow(next));
            if constexpr (P == Path::vector && std::is_same_v<Src, uint8_t> && Ch == 1) {
                if (lay.widened && rowPassWidened(pass, lay.widened, out, widened)) continue;
            }
            rowPass<P, Src, Inter, Tap, Ch>(pass, &out);
            if constexpr (!std::is_same_v<Ring, Inter>) widenRowInPlace(out, E);
        }
        const Ring** ptrs = reinterpret_cast<const Ring**>(lay.rowPointers);
        for (int64_t j = 0; j < nb + k - 1; ++j) ptrs[j] = reinterpret_cast<const Ring*>(ringRow(y0 - r + j));
        Src* out = reinterpret_cast<Src*>(reinterpret_cast<char*>(dst) + y0 * dstStep);
        const ColumnPass<Ring, Tap> pass{ptrs, dstStep, E, nb, taps, k, divisor, bound, nonNegative, lay.store};
        columnPass<P, Ring, Src, Tap>(pass, out);
    });
    finishStores(lay.store);
}

}  // namespace zep::filter
