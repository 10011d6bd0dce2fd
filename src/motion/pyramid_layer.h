// Layer resampling of image pyramids: the caller's kernel applied separably
// at the pyramid rate, down (one level smaller) or up (one level larger).
//
// Every output coordinate x takes a few source pixels (taps), each with a
// weight read from the kernel by linear interpolation at the pixel's distance:
// down, source pixel i weighs K(i - x * rate); up, it weighs K(i * rate - x)
// (distances in source and in destination pixels). K(k - r) is tap k of the
// kernel (r = n / 2), K is 0 at distances of r + 1 and beyond, and each
// output's weights are divided by their sum (unless it is 0). Init makes
// every table a call needs; a call only reads the state. It works through
// each destination row in chunks of columns: the taps of the row over the
// source columns that the chunk's outputs read, into a float array on the
// stack, then the taps of each destination column of the chunk. Each source
// column's row sum is the same however the columns are chunked, and each
// output reads its taps in the same order, so chunking changes no bit.
// At rate 2 the weights of each phase are the same for every output, so the
// vector path reads them from short lists made at Init (resampleRateTwo);
// for 8u, when those weights are small binary fractions (the Gaussian
// pyramid's 1 4 6 4 1 among them), the sums are exact in integers and the
// layer is made in 16-bit lanes (resampleExact).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/band.h"
#include "core/border.h"
#include "core/check.h"
#include "core/image.h"
#include "core/simd.h"
#include "motion/pyramid.h"

namespace zep::pyramid {

enum class Dir { down, up };

// The header of a layer state, at the 64-byte aligned start of its memory;
// the kernel, the tap tables and the column tables follow at the recorded
// byte offsets. Written by Init only.
struct LayerState {
    uint32_t id;
    int32_t kernelSize;
    float rate;
    int32_t channels;
    ImageSize maxSrc;  // the size Init was given: the largest source
    int32_t maxTaps;   // taps an output coordinate can have
    int32_t margin;    // pixels of source on each side of a rate-2 chunk's columns
    int32_t colTaps;   // the most taps of any destination column
    int32_t extent;    // coordinates with tap tables: the larger side of the largest destination
    int64_t stride;    // elements of one tap's row of column tables
    // rowIndex, rowWeight: room for one coordinate's taps while Init builds the tables.
    // tapFirst[t], tapCount[t], tapWeight[t * maxTaps + k]: the taps of coordinate t
    // (row or column) are source positions tapFirst[t] + k before the border rule.
    int64_t kernel, rowIndex, rowWeight, tapFirst, tapCount, tapWeight, colIndex, colWeight, colWindow;
    // Rate 2: every output of a phase (down one, up two: even and odd
    // outputs) takes the same weights at the same offsets from its centre.
    // The nonzero ones, in tap order: offset and weight arrays of
    // kernelSize entries per phase, and their counts.
    int64_t evenOffset, evenWeight;
    int32_t evenCount[2];
    // Rate 2, 8u: s when every phase's weights are m / 2^s with positive
    // integers m summing to 2^s and 2s <= 8 (exactShiftOf), else -1.
    int32_t exactShift;
};
static_assert(alignedRowStep(sizeof(LayerState)) == 192, "a state's header takes 192 bytes, as it always has");

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
// total that the caller allocates, 63 bytes of alignment slack included. The
// total saturates instead of wrapping; the offsets hold when it fits an int.
inline LayerState stateLayout(Dir d, ImageSize src, float rate, int n, int channels, Bytes& total) {
    LayerState s{};
    s.kernelSize = n;
    s.rate = rate;
    s.channels = channels;
    s.maxSrc = src;
    const int64_t taps = tapBound(d, rate, n);
    s.maxTaps = static_cast<int32_t>(std::min<int64_t>(taps, INT32_MAX));
    const ImageSize dst = largestDst(d, src, rate);
    s.stride = (int64_t{dst.width} * channels + 15) & ~int64_t{15};
    const int64_t extent = std::max(dst.width, dst.height);
    s.extent = static_cast<int32_t>(extent);
    Bytes at = alignedRowStep(sizeof(LayerState));
    auto take = [&at](Bytes bytes) {
        const int64_t here = at.value();
        at = at + bytes.alignedTo(64);
        return here;
    };
    s.kernel = take(Bytes{8} * n);
    s.rowIndex = take(Bytes{4} * taps);
    s.rowWeight = take(Bytes{4} * taps);
    s.tapFirst = take(Bytes{4} * extent);
    s.tapCount = take(Bytes{4} * extent);
    s.tapWeight = take(Bytes{4} * taps * extent);
    s.colIndex = take(Bytes{4} * taps * s.stride);
    s.colWeight = take(Bytes{4} * taps * s.stride);
    s.colWindow = take(Bytes{4} * taps * (s.stride / 16));
    s.margin = n / 2 + 2;
    s.evenOffset = take(Bytes{4} * 2 * n);
    s.evenWeight = take(Bytes{4} * 2 * n);
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
// once), and in *first the position of the first tap before the border rule
// (the taps are consecutive positions). Returns the count.
inline int outputTaps(Dir d, int64_t x, int32_t len, const double* kernel, int n, float rate, int maxTaps,
                      int32_t* index, float* weight, int64_t* first = nullptr) {
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
        if (k == 0 && first != nullptr) *first = i;
        index[k] = tapIndex(d, i, len);
        weight[k] = static_cast<float>(sum != 0.0 ? w / sum : w);
    });
}

// The read-only tables of a state.
struct Tables {
    const double* kernel;
    const int32_t* tapFirst;
    const int32_t* tapCount;
    const float* tapWeight;
    const int32_t* colIndex;
    const float* colWeight;
    const int32_t* colWindow;
};

inline Tables tablesOf(const LayerState* s) {
    const auto* base = reinterpret_cast<const uint8_t*>(s);
    return Tables{
        reinterpret_cast<const double*>(base + s->kernel),    reinterpret_cast<const int32_t*>(base + s->tapFirst),
        reinterpret_cast<const int32_t*>(base + s->tapCount), reinterpret_cast<const float*>(base + s->tapWeight),
        reinterpret_cast<const int32_t*>(base + s->colIndex), reinterpret_cast<const float*>(base + s->colWeight),
        reinterpret_cast<const int32_t*>(base + s->colWindow)};
}

// No 32-element window holds a block's indices of a tap.
constexpr int32_t noWindow = INT32_MIN;

// Init: the taps of every coordinate below the state's extent, and the column
// tables per destination element e = x * Ch + c: tap j reads source element
// colIndex[j][e] = (tapFirst[x] + j) * Ch + c, before the border rule, with
// weight colWeight[j][e]. Columns with fewer taps than the widest repeat their
// first position with weight 0. colWindow[j][b] is the lowest of the indices
// of tap j in the block of 16 elements b when they all lie in a window of 32
// elements from it, else noWindow.
inline void buildTables(Dir d, LayerState* s) {
    auto* base = reinterpret_cast<uint8_t*>(s);
    const auto* kernel = reinterpret_cast<const double*>(base + s->kernel);
    auto* idx = reinterpret_cast<int32_t*>(base + s->rowIndex);
    auto* w = reinterpret_cast<float*>(base + s->rowWeight);
    auto* first = reinterpret_cast<int32_t*>(base + s->tapFirst);
    auto* counts = reinterpret_cast<int32_t*>(base + s->tapCount);
    auto* weights = reinterpret_cast<float*>(base + s->tapWeight);
    auto* colIndex = reinterpret_cast<int32_t*>(base + s->colIndex);
    auto* colWeight = reinterpret_cast<float*>(base + s->colWeight);
    auto* colWindow = reinterpret_cast<int32_t*>(base + s->colWindow);
    const int64_t T = s->maxTaps;
    for (int64_t t = 0; t < s->extent; ++t) {
        int64_t at = 0;
        const int count = outputTaps(d, t, INT32_MAX, kernel, s->kernelSize, s->rate, s->maxTaps, idx, w, &at);
        first[t] = static_cast<int32_t>(at);
        counts[t] = count;
        for (int64_t k = 0; k < T; ++k) weights[t * T + k] = k < count ? w[k] : 0.0f;
    }
    const int Ch = s->channels;
    const int64_t width = largestDst(d, s->maxSrc, s->rate).width;
    int widest = 0;
    for (int64_t x = 0; x < width; ++x) {
        const int count = counts[x];
        widest = std::max(widest, count);
        for (int64_t j = 0; j < T; ++j)
            for (int c = 0; c < Ch; ++c) {
                colIndex[j * s->stride + x * Ch + c] =
                    static_cast<int32_t>((first[x] + (j < count ? j : 0)) * Ch + c);
                colWeight[j * s->stride + x * Ch + c] = j < count ? weights[x * T + j] : 0.0f;
            }
    }
    s->colTaps = widest;
    const int64_t blocks = s->stride / 16;
    for (int j = 0; j < widest; ++j)
        for (int64_t b = 0; b < blocks && 16 * b + 16 <= width * Ch; ++b) {
            const int32_t* in = colIndex + j * s->stride + 16 * b;
            const auto [lo, hi] = std::minmax_element(in, in + 16);
            colWindow[j * blocks + b] = *hi - *lo < 32 ? *lo : noWindow;
        }
}

// acc + w * v, skipped when w is 0 (so an infinity under a zero weight adds nothing).
inline float addTap(float acc, float w, float v) { return w != 0.0f ? acc + w * v : acc; }

// ---- Rate 2: fixed weights per phase, mirrored borders copied into the scratch row.

// The phase lists of a rate-2 state, built at Init from the same weights
// outputTaps gives every output: the taps of an output far from the borders,
// zero weights dropped. Down has one phase (offsets from 2x), up two (offsets
// from x = X / 2 for even and odd outputs X).
inline void buildRateTwoTaps(Dir d, LayerState* s) {
    auto* base = reinterpret_cast<uint8_t*>(s);
    const auto* kernel = reinterpret_cast<const double*>(base + s->kernel);
    auto* idx = reinterpret_cast<int32_t*>(base + s->rowIndex);
    auto* w = reinterpret_cast<float*>(base + s->rowWeight);
    const int n = s->kernelSize;
    for (int p = 0; p < (d == Dir::down ? 1 : 2); ++p) {
        auto* off = reinterpret_cast<int32_t*>(base + s->evenOffset) + p * n;
        auto* weight = reinterpret_cast<float*>(base + s->evenWeight) + p * n;
        const int64_t x = d == Dir::down ? n : 2 * int64_t{n} + p;
        const int64_t centre = d == Dir::down ? 2 * int64_t{n} : n;
        const int count = outputTaps(d, x, 4 * n + 4, kernel, n, s->rate, s->maxTaps, idx, w);
        int kept = 0;
        for (int k = 0; k < count; ++k)
            if (w[k] != 0.0f) off[kept] = static_cast<int32_t>(idx[k] - centre), weight[kept++] = w[k];
        s->evenCount[p] = kept;
    }
}

// acc + product for tap j of a sum that starts from -0: the first product
// itself (-0 + p is p bit for bit, NaNs included), then additions.
inline __m512 plus(__m512 acc, int j, __m512 product) { return j == 0 ? product : _mm512_add_ps(acc, product); }

// out[e] = sum over taps j of w[j] * in[j][e], in tap order, from -0.
template <class T, int N>
inline void sumRowsFixed(const T* const* in, const float* w, int taps, int elems, float* out) {
    const int count = N > 0 ? N : taps;
    __m512 wv[N > 0 ? N : 1];
    const T* rowp[N > 0 ? N : 1];
    if constexpr (N > 0)
        for (int j = 0; j < N; ++j) wv[j] = _mm512_set1_ps(w[j]), rowp[j] = in[j];
    auto tap = [&](int j) {
        if constexpr (N > 0)
            return wv[j];
        else
            return _mm512_set1_ps(w[j]);
    };
    auto row = [&](int j) {
        if constexpr (N > 0)
            return rowp[j];
        else
            return in[j];
    };
    int e = 0;
    for (; e + 32 <= elems; e += 32) {
        __m512 a = _mm512_set1_ps(-0.0f), b = a;
#pragma GCC unroll 8
        for (int j = 0; j < count; ++j) {
            a = plus(a, j, _mm512_mul_ps(tap(j), simd::loadAsFloat(row(j) + e)));
            b = plus(b, j, _mm512_mul_ps(tap(j), simd::loadAsFloat(row(j) + e + 16)));
        }
        simd::store(out + e, a);
        simd::store(out + e + 16, b);
    }
    for (; e < elems; e += 16) {
        const __mmask16 m = simd::firstLanes<16>(elems - e);
        __m512 a = _mm512_set1_ps(-0.0f);
        for (int j = 0; j < count; ++j) a = plus(a, j, _mm512_mul_ps(tap(j), simd::loadAsFloat(row(j) + e, m)));
        simd::store(out + e, a, m);
    }
}

template <class T>
inline void sumRows(const T* const* in, const float* w, int taps, int elems, float* out) {
    switch (taps) {
        case 2:
            return sumRowsFixed<T, 2>(in, w, taps, elems, out);
        case 3:
            return sumRowsFixed<T, 3>(in, w, taps, elems, out);
        case 5:
            return sumRowsFixed<T, 5>(in, w, taps, elems, out);
        default:
            return sumRowsFixed<T, 0>(in, w, taps, elems, out);
    }
}

// Down, R consecutive destination rows at once: in[k] for k < N + 2R - 2
// are the source rows of consecutive offsets; row r takes tap j from
// in[j + 2r] (its centre 2r rows further) with weight w[j], from -0, in tap
// order: the sums of sumRows for each row, the shared rows loaded once.
// Each row is prefetched 512 bytes ahead: the rows come from memory side by
// side, more streams than the processor's prefetcher follows on its own (a
// prefetch is a hint: past a row's end, or on no mapped page, it loads
// nothing and faults on nothing).
template <class T, int N, int R>
inline void sumRowsGroup(const T* const* in, const float* w, int elems, float* const* out) {
    constexpr int rowsIn = N + 2 * R - 2;
    constexpr int PF = 512 / sizeof(T);
    __m512 wv[N];
    const T* rowp[rowsIn];
    for (int j = 0; j < N; ++j) wv[j] = _mm512_set1_ps(w[j]);
    for (int k = 0; k < rowsIn; ++k) rowp[k] = in[k];
    int e = 0;
    for (; e + 32 <= elems; e += 32) {
        __m512 a[R], b[R];
#pragma GCC unroll 16
        for (int k = 0; k < rowsIn; ++k) {
            const __m512 va = simd::loadAsFloat(rowp[k] + e), vb = simd::loadAsFloat(rowp[k] + e + 16);
            __builtin_prefetch(rowp[k] + e + PF);
            if constexpr (sizeof(T) == 4) __builtin_prefetch(rowp[k] + e + PF + 16);
#pragma GCC unroll 8
            for (int r = 0; r < R; ++r) {
                const int j = k - 2 * r;
                if (j < 0 || j >= N) continue;
                a[r] = j == 0 ? _mm512_mul_ps(wv[j], va) : _mm512_add_ps(a[r], _mm512_mul_ps(wv[j], va));
                b[r] = j == 0 ? _mm512_mul_ps(wv[j], vb) : _mm512_add_ps(b[r], _mm512_mul_ps(wv[j], vb));
            }
        }
#pragma GCC unroll 8
        for (int r = 0; r < R; ++r) simd::store(out[r] + e, a[r]), simd::store(out[r] + e + 16, b[r]);
    }
    for (; e < elems; e += 16) {
        const __mmask16 m = simd::firstLanes<16>(elems - e);
        __m512 a[R];
#pragma GCC unroll 16
        for (int k = 0; k < rowsIn; ++k) {
            const __m512 v = simd::loadAsFloat(rowp[k] + e, m);
#pragma GCC unroll 8
            for (int r = 0; r < R; ++r) {
                const int j = k - 2 * r;
                if (j < 0 || j >= N) continue;
                a[r] = j == 0 ? _mm512_mul_ps(wv[j], v) : _mm512_add_ps(a[r], _mm512_mul_ps(wv[j], v));
            }
        }
#pragma GCC unroll 8
        for (int r = 0; r < R; ++r) simd::store(out[r] + e, a[r], m);
    }
}

// Down, one destination row from the scratch row sc (pixel 0 at sc, mirrored
// margins around it): element e = x * Ch + c takes sc[(2x + o) * Ch + c] =
// sc[2e - c + Ch * o] for each tap offset o. A block of 16 elements starting
// at e0 reads a 32-element window from 2 * e0 - c(e0) + Ch * o.
template <class T, int Ch, int N, bool Stream>
inline void downColumns(const float* sc, const int32_t* off, const float* w, int taps, int dstElems, T* out) {
    __m512i pick[Ch];
    for (int ph = 0; ph < Ch; ++ph) {
        alignas(64) int32_t lane[16];
        const int e0 = 16 * ph;
        for (int m = 0; m < 16; ++m) lane[m] = 2 * m - (e0 + m) % Ch + e0 % Ch;
        pick[ph] = simd::load(lane);
    }
    const int count = N > 0 ? N : taps;
    int ph = 0;
    for (int e = 0; e < dstElems; e += 16) {
        const float* at = sc + 2 * e - e % Ch;
        __m512 acc = _mm512_set1_ps(-0.0f);
#pragma GCC unroll 8
        for (int j = 0; j < count; ++j) {
            const float* p = at + Ch * off[j];
            const __m512 v = _mm512_permutex2var_ps(simd::load(p), pick[ph], simd::load(p + 16));
            acc = plus(acc, j, _mm512_mul_ps(_mm512_set1_ps(w[j]), v));
        }
        if (e + 16 <= dstElems)
            Stream ? simd::streamRoundHalfUp(out + e, acc) : simd::storeRoundHalfUp(out + e, acc);
        else
            simd::storeRoundHalfUp(out + e, acc, simd::firstLanes<16>(dstElems - e));
        if (++ph == Ch) ph = 0;
    }
}

// Up, one destination row: output X = 2x + p takes sc[(x + o) * Ch + c] for
// the offsets o of phase p. One channel: even and odd results of 16 pixels,
// interleaved into 32 outputs.
template <class T, int NE, int NO, bool Stream>
inline void upColumns1(const float* sc, const int32_t* const off[2], const float* const w[2], const int count[2],
                       int dstWidth, T* out) {
    const __m512i lo = _mm512_set_epi32(23, 7, 22, 6, 21, 5, 20, 4, 19, 3, 18, 2, 17, 1, 16, 0);
    const __m512i hi = _mm512_add_epi32(lo, _mm512_set1_epi32(8));
    const int ne = NE > 0 ? NE : count[0], no = NO > 0 ? NO : count[1];
    for (int x = 0; 2 * x < dstWidth; x += 16) {
        __m512 even = _mm512_set1_ps(-0.0f), odd = even;
        for (int j = 0; j < ne; ++j)
            even = plus(even, j, _mm512_mul_ps(_mm512_set1_ps(w[0][j]), simd::load(sc + x + off[0][j])));
        for (int j = 0; j < no; ++j)
            odd = plus(odd, j, _mm512_mul_ps(_mm512_set1_ps(w[1][j]), simd::load(sc + x + off[1][j])));
        const __m512 a = _mm512_permutex2var_ps(even, lo, odd), b = _mm512_permutex2var_ps(even, hi, odd);
        const int left = dstWidth - 2 * x;
        if (left >= 32 && Stream) {
            simd::streamRoundHalfUp(out + 2 * x, a);
            simd::streamRoundHalfUp(out + 2 * x + 16, b);
        } else if (left >= 32) {
            simd::storeRoundHalfUp(out + 2 * x, a);
            simd::storeRoundHalfUp(out + 2 * x + 16, b);
        } else {
            simd::storeRoundHalfUp(out + 2 * x, a, simd::firstLanes<16>(left));
            if (left > 16) simd::storeRoundHalfUp(out + 2 * x + 16, b, simd::firstLanes<16>(left - 16));
        }
    }
}

// Up, three channels: first the even and odd sums of every scratch element
// j = 3x + c (rows ev and od), then the block of 16 outputs from t0 picks its
// elements from the 16 of each row from jb = 3 * (t0 / 3 / 2); the pick
// repeats every three blocks.
template <class T, bool Stream>
inline void upColumns3(const float* sc, const int32_t* const off[2], const float* const w[2], const int count[2],
                       int dstElems, float* ev, float* od, T* out) {
    const int pairs = (dstElems / 3 + 1) / 2;
    for (int j = 0; j < 3 * pairs + 16; j += 16) {
        __m512 even = _mm512_set1_ps(-0.0f), odd = even;
        for (int k = 0; k < count[0]; ++k)
            even = plus(even, k, _mm512_mul_ps(_mm512_set1_ps(w[0][k]), simd::load(sc + j + 3 * off[0][k])));
        for (int k = 0; k < count[1]; ++k)
            odd = plus(odd, k, _mm512_mul_ps(_mm512_set1_ps(w[1][k]), simd::load(sc + j + 3 * off[1][k])));
        simd::store(ev + j, even);
        simd::store(od + j, odd);
    }
    __m512i pick[3];
    for (int ph = 0; ph < 3; ++ph) {
        alignas(64) int32_t lane[16];
        const int t0 = 16 * ph, jb = 3 * (t0 / 3 / 2);
        for (int m = 0; m < 16; ++m) {
            const int t = t0 + m, X = t / 3, c = t % 3;
            lane[m] = (X % 2) * 16 + 3 * (X / 2) + c - jb;
        }
        pick[ph] = simd::load(lane);
    }
    int ph = 0;
    for (int t0 = 0; t0 < dstElems; t0 += 16) {
        const int jb = 3 * (t0 / 3 / 2);
        const __m512 v = _mm512_permutex2var_ps(simd::load(ev + jb), pick[ph], simd::load(od + jb));
        if (t0 + 16 <= dstElems)
            Stream ? simd::streamRoundHalfUp(out + t0, v) : simd::storeRoundHalfUp(out + t0, v);
        else
            simd::storeRoundHalfUp(out + t0, v, simd::firstLanes<16>(dstElems - t0));
        if (++ph == 3) ph = 0;
    }
}

// Floats of the stack array a chunk works in (16 KiB).
constexpr int chunkFloats = 4096;

// The rows pass of one destination row for source columns [a, b) into
// out[(p - a) * Ch + c]: the taps of `taps` row pointers with weights w,
// from -0, in tap order, zero weights skipped.
template <Path P, class T, int Ch>
inline void rowsPass(const T* const* in, const float* w, int taps, int64_t a, int64_t b, float* out) {
    const int elems = static_cast<int>((b - a) * Ch);
    const int64_t e0 = a * Ch;
    int e = 0;
    if constexpr (P == Path::vector) {
        const int blocks = elems / 16 * 16;
        for (int k = 0; k < blocks; k += 16) simd::store(out + k, _mm512_set1_ps(-0.0f));
        for (int j = 0; j < taps; ++j) {
            if (w[j] == 0.0f) continue;
            const __m512 wv = _mm512_set1_ps(w[j]);
            const T* src = in[j] + e0;
            for (int k = 0; k < blocks; k += 16)
                simd::store(out + k,
                            _mm512_add_ps(simd::load(out + k), _mm512_mul_ps(wv, simd::loadAsFloat(src + k))));
        }
        e = blocks;
    }
    for (; e < elems; ++e) {
        float acc = -0.0f;
        for (int j = 0; j < taps; ++j) acc = addTap(acc, w[j], static_cast<float>(in[j][e0 + e]));
        out[e] = acc;
    }
}

// Positions [lo, hi) of a chunk's source columns, of which [a, b) hold their
// row sums in buf (position p at buf[(p - lo) * Ch]): the others take the
// sum of the column the border rule reads, copied when it lies in [a, b),
// else summed here by `column(q, c)`.
template <int Ch, class Column>
inline void borderColumns(Dir d, int32_t W, int64_t lo, int64_t hi, int64_t a, int64_t b, float* buf,
                          Column&& column) {
    for (int64_t p = lo; p < hi; ++p) {
        if (p >= a && p < b) {
            p = b - 1;
            continue;
        }
        const int64_t q = tapIndex(d, p, W);
        for (int c = 0; c < Ch; ++c) buf[(p - lo) * Ch + c] = q >= a && q < b ? buf[(q - lo) * Ch + c] : column(q, c);
    }
}

// The bands of a layer (core/band.h): each destination row of a band adds
// about two source rows down, one up, read a chunk of columns at a time.
template <class T, int Ch>
inline Bands layerBands(Dir d, const LayerState* s, ImageSize srcRoi, ImageSize dstRoi) {
    const int64_t srcRow = int64_t{srcRoi.width} * Ch * int64_t(sizeof(T)),
                  dstRow = int64_t{dstRoi.width} * Ch * int64_t(sizeof(T));
    const int64_t chunkRow = std::min<int64_t>(int64_t{srcRoi.width} * Ch, chunkFloats) * int64_t(sizeof(T));
    return planBands({srcRow * srcRoi.height + dstRow * dstRoi.height, kStreamQueryBytes,
                      chunkRow * (d == Dir::down ? 2 : 1), s->kernelSize, 1, dstRoi.height});
}

// Whether destination row `row` takes streaming stores: the call's bands say
// so, and its blocks of sixteen results start on their own size.
template <class T>
inline bool streamRow(const Bands& bands, const T* row) {
    return bands.store == Store::streaming && reinterpret_cast<uintptr_t>(row) % (16 * sizeof(T)) == 0;
}

// The rate-2 layer, band by band of destination rows (core/band.h), and in
// each band chunk by chunk of K outputs (a multiple of 32, so every block and
// phase pattern starts as at column 0), row by row: the rows pass over the
// chunk's source columns and s->margin more on each side (mirrored at the
// image edges), then the columns pass. The same products summed in the same
// order as the general tables give, so the results are those of the scalar
// definition. Returns false, having written nothing, when not even 32 outputs
// fit the chunk array.
template <class T, int Ch>
bool resampleRateTwo(Dir d, const LayerState* s, Rows<const T> src, ImageSize srcRoi, Rows<T> dst, ImageSize dstRoi,
                     const Bands& bands) {
    const auto* base = reinterpret_cast<const uint8_t*>(s);
    const int n = s->kernelSize;
    const int M = s->margin, W = srcRoi.width;
    if (n > 64) return false;
    // Floats per chunk: pad, margins and the source columns of K outputs, 64 of
    // slack for the window loads; up, three channels: the even and odd rows.
    constexpr int pad = 16;
    const int fixed = pad + 2 * M * Ch + 64 + (d == Dir::up && Ch == 3 ? 64 : 0);
    const int perOutput2 = d == Dir::down ? 4 * Ch : (Ch == 3 ? 9 : 1);  // twice the floats per output
    // Down with taps at consecutive offsets (3 or 5 of them), R consecutive
    // destination rows share most of their source rows: their rows pass runs
    // once over all of them (sumRowsGroup), in bands of whole groups, each row
    // in its part of the chunk array.
    constexpr int R = 4;
    const int taps0 = s->evenCount[0];
    const int32_t* off0 = reinterpret_cast<const int32_t*>(base + s->evenOffset);
    bool groups = d == Dir::down && (taps0 == 3 || taps0 == 5);
    for (int j = 1; groups && j < taps0; ++j) groups = off0[j] == off0[0] + j;
    const int rowFloats = groups ? 2 * chunkFloats / R : chunkFloats;
    const int K = (rowFloats - fixed) * 2 / perOutput2 / 32 * 32;
    if (K < 32) return false;
    const int32_t* off[2] = {reinterpret_cast<const int32_t*>(base + s->evenOffset),
                             reinterpret_cast<const int32_t*>(base + s->evenOffset) + n};
    const float* w[2] = {reinterpret_cast<const float*>(base + s->evenWeight),
                         reinterpret_cast<const float*>(base + s->evenWeight) + n};
    const int* count = s->evenCount;
    alignas(64) float buf[2 * chunkFloats];
    const T* rp[64 + 2 * R];
    const T* ra[64 + 2 * R];
    const int64_t bandRows = groups ? (bands.rows + R - 1) / R * R : bands.rows;
    forEachBand(dstRoi.height, bandRows, [&](int64_t y0, int64_t rows) {
        for (int x0 = 0; x0 < dstRoi.width; x0 += K) {
            const int x1 = std::min(dstRoi.width, x0 + K);
            const int64_t s0 = d == Dir::down ? 2 * int64_t{x0} : x0 / 2;
            const int64_t s1 = d == Dir::down ? 2 * int64_t{x1 - 1} + 1 : (x1 - 1) / 2 + 1;
            const int64_t lo = s0 - M, hi = s1 + M;
            const int64_t a = std::max<int64_t>(lo, 0), b = std::min<int64_t>(hi, W);
            const int outs = x1 - x0;
            const int elems = static_cast<int>((b - a) * Ch);
            // The border columns and the columns pass of row y, whose taps read
            // the rows `in` and whose row sums over [a, b) are in cols.
            auto finish = [&](int64_t y, int p, const T* const* in, float* cols) {
                const int taps = count[p];
                borderColumns<Ch>(d, W, lo, hi, a, b, cols, [&](int64_t q, int c) {
                    float acc = -0.0f;
                    for (int j = 0; j < taps; ++j) acc = acc + w[p][j] * static_cast<float>(in[j][q * Ch + c]);
                    return acc;
                });
                const float* sc = cols + int64_t{M} * Ch;  // position s0
                T* out = dst[y] + int64_t{x0} * Ch;
                auto columns = [&]<bool S>() {
                    if (d == Dir::down) {
                        if (count[0] == 5)
                            downColumns<T, Ch, 5, S>(sc, off[0], w[0], 5, outs * Ch, out);
                        else if (count[0] == 3)
                            downColumns<T, Ch, 3, S>(sc, off[0], w[0], 3, outs * Ch, out);
                        else
                            downColumns<T, Ch, 0, S>(sc, off[0], w[0], count[0], outs * Ch, out);
                    } else if constexpr (Ch == 1) {
                        if (count[0] == 3 && count[1] == 2)
                            upColumns1<T, 3, 2, S>(sc, off, w, count, outs, out);
                        else
                            upColumns1<T, 0, 0, S>(sc, off, w, count, outs, out);
                    } else {
                        float* ev = cols + (hi - lo) * Ch + 64;
                        upColumns3<T, S>(sc, off, w, count, outs * Ch, ev, ev + 3 * (K / 2) + 32, out);
                    }
                };
                if (streamRow(bands, dst[y]))
                    columns.template operator()<true>();
                else
                    columns.template operator()<false>();
            };
            float* cols = buf + pad;  // position lo
            for (int64_t y = y0; y < y0 + rows;) {
                if (groups && y + R <= y0 + rows) {
                    float* part[R];
                    for (int r = 0; r < R; ++r) part[r] = buf + r * rowFloats + pad + (a - lo) * Ch;
                    for (int k = 0; k < taps0 + 2 * R - 2; ++k)
                        rp[k] = src[tapIndex(d, 2 * y + off0[0] + k, srcRoi.height)];
                    if (a < b) {
                        for (int k = 0; k < taps0 + 2 * R - 2; ++k) ra[k] = rp[k] + a * Ch;
                        if (taps0 == 5)
                            sumRowsGroup<T, 5, R>(ra, w[0], elems, part);
                        else
                            sumRowsGroup<T, 3, R>(ra, w[0], elems, part);
                    }
                    for (int r = 0; r < R; ++r) finish(y + r, 0, rp + 2 * r, buf + r * rowFloats + pad);
                    y += R;
                    continue;
                }
                const int p = d == Dir::down ? 0 : static_cast<int>(y % 2);
                const int64_t centre = d == Dir::down ? 2 * y : y / 2;
                const int taps = count[p];
                for (int j = 0; j < taps; ++j) rp[j] = src[tapIndex(d, centre + off[p][j], srcRoi.height)];
                if (a < b) {
                    for (int j = 0; j < taps; ++j) ra[j] = rp[j] + a * Ch;
                    sumRows<T>(ra, w[p], taps, elems, cols + (a - lo) * Ch);
                }
                finish(y, p, rp, cols);
                ++y;
            }
        }
    });
    finishStores(bands.store);
    return true;
}

// ---- Rate 2, 8u in integers.
//
// When every weight of a phase is m / 2^s (positive integers m summing to
// 2^s, one s for all phases), each single-precision product and partial sum
// of the rows pass is a multiple of 2^-s no larger than the largest pixel
// value, and each of the columns pass a multiple of 2^-2s: all exact while
// that value times 2^2s, plus a half, stays below 2^24, which 2s <= 8 gives
// for 8u and 16u alike. The documented result, floor(v + 0.5) of a sum v that
// lies in T's range, is then (M + 2^(2s-1)) >> 2s of the integer sum M of
// the products m_row * m_col * pixel, in whichever order it is formed. 8u
// takes 16-bit lanes (255 * 256 + 128 < 2^16). (16u would take 32-bit lanes,
// as many per vector as single precision: measured, no faster than it.)

// s for a rate-2 state whose weights allow it, else -1.
inline int32_t exactShiftOf(Dir d, const LayerState* s) {
    const auto* weights = reinterpret_cast<const float*>(reinterpret_cast<const uint8_t*>(s) + s->evenWeight);
    for (int shift = 0; 2 * shift <= 8; ++shift) {
        bool exact = true;
        for (int p = 0; p < (d == Dir::down ? 1 : 2); ++p) {
            const float* w = weights + p * s->kernelSize;
            float sum = 0.0f;  // integers below 2^24: exact
            for (int k = 0; k < s->evenCount[p]; ++k) {
                const float m = std::ldexp(w[k], shift);
                exact = exact && m > 0.0f && m == std::floor(m);
                sum += m;
            }
            exact = exact && sum == std::ldexp(1.0f, shift);
        }
        if (exact) return shift;
    }
    return -1;
}

// Lanes of twice T's width (16 bits for 8u) and what the integer passes do
// with them.
template <class T>
struct Wide;
template <>
struct Wide<uint8_t> {
    using Lane = uint16_t;
    static constexpr int lanes = 32;
    using Mask = __mmask32;
    // p[0..lanes), zero-extended.
    static __m512i load(const uint8_t* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    // p[0], p[2], ..., p[2 * lanes - 2].
    static __m512i evens(const uint8_t* p) { return _mm512_and_si512(simd::load512(p), _mm512_set1_epi16(0xff)); }
    static __m512i splat(int v) { return _mm512_set1_epi16(static_cast<int16_t>(v)); }
    static __m512i add(__m512i a, __m512i b) { return _mm512_add_epi16(a, b); }
    static __m512i mul(__m512i a, __m512i b) { return _mm512_mullo_epi16(a, b); }
    static __m512i shift(__m512i a, __m128i n) { return _mm512_srl_epi16(a, n); }
    static __m512i pick(__m512i a, __m512i i, __m512i b) { return _mm512_permutex2var_epi16(a, i, b); }
    static void store(uint8_t* p, __m512i v, Mask k) { _mm256_mask_storeu_epi8(p, k, _mm512_cvtepi16_epi8(v)); }
    static void stream(uint8_t* p, __m512i v) { simd::stream(p, _mm512_cvtepi16_epi8(v)); }
};
// Source elements [lo, hi) of a row of W pixels of Ch channels into out:
// those in the row copied, those before it mirrored by the border rule, and
// those past it up to `need` mirrored, the rest 0 (lanes no result takes).
template <class T, int Ch>
inline void edgeWindow(Dir d, const T* row, int32_t W, int64_t lo, int64_t hi, int64_t need, T* out) {
    const int64_t end = int64_t{W} * Ch;
    const int64_t a = std::clamp<int64_t>(lo, 0, end), b = std::clamp<int64_t>(hi, a, end);
    std::copy(row + a, row + b, out + (a - lo));
    auto mirrored = [&](int64_t p) {
        const int64_t px = p >= 0 ? p / Ch : -((Ch - 1 - p) / Ch);
        return row[int64_t{tapIndex(d, px, W)} * Ch + (p - px * Ch)];
    };
    for (int64_t p = lo; p < a; ++p) out[p - lo] = mirrored(p);
    for (int64_t p = b; p < hi; ++p) out[p - lo] = p < need ? mirrored(p) : T{0};
}

// The taps of a phase as integers: offsets o (in tap order) and multiples m.
struct ExactPhase {
    const int32_t* off;
    int taps;
    int lo, hi;  // the least and the greatest offset
    int32_t m[64];
};

// The horizontal sums of one source row, as lanes from element 0 of out,
// for destination columns [x0, x1). Down, element e = x * Ch + c takes
// source element 2e - c + Ch * o for each offset o: one channel, the even
// elements of a window from 2e + o; three, a pick of two windows from
// 2e + 3o, in blocks of whole pixels. Up, the source elements j of pixels
// x0 / 2 on take even sums E (phase 0) and odd sums O (phase 1), and
// destination element 3X + c (X = 2x + p) the sum of phase p at j = 3x + c;
// blocks of whole pixels give two blocks of results each.
template <class T, int Ch, int N0, int N1>
inline void exactRow(Dir d, const T* row, int32_t W, int64_t x0, int64_t x1, const ExactPhase* ph,
                     const __m512i* picks, typename Wide<T>::Lane* out) {
    using V = Wide<T>;
    constexpr int NL = V::lanes, NB = Ch == 1 ? NL : NL / 3 * 3;
    alignas(64) T window[2 * NL + 3 * 64 + 64];
    const int64_t end = int64_t{W} * Ch;
    // Where elements [lo, hi) are read: element i at in[i - origin], from
    // `row` when they lie in it, else from window.
    const T* in = row;
    int64_t origin = 0;
    auto source = [&](int64_t lo, int64_t hi, int64_t need) {
        in = row, origin = 0;
        if (lo >= 0 && hi <= end) return;
        edgeWindow<T, Ch>(d, row, W, lo, hi, need, window);
        in = window, origin = lo;
    };
    if (d == Dir::down) {
        const ExactPhase& p = ph[0];
        const int64_t elems = (x1 - x0) * Ch, need = (2 * (x1 - 1) + p.hi + 1) * Ch;
        for (int64_t e = 0; e < elems; e += NB) {
            const int64_t at = 2 * (x0 * Ch + e);  // 2e - c + Ch * o, less Ch * o and c - c0 = 0 at lane 0
            source(at + Ch * p.lo, at + Ch * p.hi + 2 * NL, need);
            __m512i acc = _mm512_setzero_si512();
            for (int k = 0; k < (N0 > 0 ? N0 : p.taps); ++k) {
                const T* q = in + (at + Ch * p.off[k] - origin);
                const __m512i v = Ch == 1 ? V::evens(q) : V::pick(V::load(q), picks[0], V::load(q + NL));
                acc = V::add(acc, V::mul(v, V::splat(p.m[k])));
            }
            simd::store512(out + e, acc);
        }
    } else {
        const int64_t s0 = x0 / 2, s1 = (x1 - 1) / 2 + 1;
        const int64_t elems = (s1 - s0) * Ch, need = (s1 + std::max(ph[0].hi, ph[1].hi)) * Ch;
        const int lo = std::min(ph[0].lo, ph[1].lo), hi = std::max(ph[0].hi, ph[1].hi);
        for (int64_t j = 0; j < elems; j += NB) {
            const int64_t at = s0 * Ch + j;
            source(at + Ch * lo, at + Ch * hi + NL, need);
            __m512i sum[2];
            for (int p = 0; p < 2; ++p) {
                sum[p] = _mm512_setzero_si512();
                for (int k = 0; k < (p == 0 && N0 > 0 ? N0 : p == 1 && N1 > 0 ? N1 : ph[p].taps); ++k) {
                    const T* q = in + (at + Ch * ph[p].off[k] - origin);
                    sum[p] = V::add(sum[p], V::mul(V::load(q), V::splat(ph[p].m[k])));
                }
            }
            simd::store512(out + 2 * j, V::pick(sum[0], picks[0], sum[1]));
            simd::store512(out + 2 * j + NB, V::pick(sum[0], picks[1], sum[1]));
        }
    }
}

// The pick indices of exactRow for a direction: down, lane m of a block
// takes window element 2m - m % Ch; up, result u = t + b * NB of a block
// pair (pixel X = u / Ch, channel c) takes lane Ch * (X / 2) + c of E (X
// even) or O.
template <class T, int Ch>
inline void exactPicks(Dir d, __m512i picks[2]) {
    using Lane = typename Wide<T>::Lane;
    constexpr int NL = Wide<T>::lanes, NB = Ch == 1 ? NL : NL / 3 * 3;
    for (int b = 0; b < 2; ++b) {
        alignas(64) Lane lane[NL] = {};
        for (int t = 0; t < NB; ++t) {
            const int u = t + b * NB, X = u / Ch, c = u % Ch;
            lane[t] = static_cast<Lane>(d == Dir::down ? 2 * t - t % Ch : (X % 2) * NL + Ch * (X / 2) + c);
        }
        picks[b] = simd::load512(lane);
    }
}

// The rate-2 layer of 8u in integers (see exactShiftOf): chunk by
// chunk of destination columns, each source row's horizontal sums made once
// into a ring of rows, then each destination row from the ring rows of its
// taps. Returns false, having written nothing, unless the state's weights
// allow it and a chunk of 64 outputs fits the ring.
template <class T, int Ch>
bool resampleExact(Dir d, const LayerState* s, Rows<const T> src, ImageSize srcRoi, Rows<T> dst, ImageSize dstRoi,
                   const Bands& bands) {
    using V = Wide<T>;
    using Lane = typename V::Lane;
    constexpr int NL = V::lanes;
    const int shift = s->exactShift, n = s->kernelSize;
    if (shift < 0 || n > 64) return false;
    const auto* base = reinterpret_cast<const uint8_t*>(s);
    ExactPhase ph[2];
    int span = 1;
    for (int p = 0; p < (d == Dir::down ? 1 : 2); ++p) {
        ph[p].off = reinterpret_cast<const int32_t*>(base + s->evenOffset) + p * n;
        ph[p].taps = s->evenCount[p];
        const float* w = reinterpret_cast<const float*>(base + s->evenWeight) + p * n;
        for (int k = 0; k < ph[p].taps; ++k) ph[p].m[k] = static_cast<int32_t>(std::ldexp(w[k], shift));
        ph[p].lo = ph[p].taps ? *std::min_element(ph[p].off, ph[p].off + ph[p].taps) : 0;
        ph[p].hi = ph[p].taps ? *std::max_element(ph[p].off, ph[p].off + ph[p].taps) : 0;
        span = std::max(span, ph[p].hi - ph[p].lo + 1);
    }
    // Ring rows: the source rows of one destination row lie within `span`
    // consecutive ones (mirrored or not), so their slots (row mod span) differ;
    // down, the two rows a destination row adds take the slots of the two it
    // no longer reads.
    constexpr int ringLanes = 32768 / static_cast<int>(sizeof(Lane));
    const int rows = span;
    const int K = (ringLanes / rows - 3 * NL) / Ch / 64 * 64;
    if (K < 64) return false;
    // Chunks narrower than the image read the source in strips, which costs
    // more than the rows pass of single precision saves down at three channels.
    if (d == Dir::down && Ch == 3 && K < dstRoi.width) return false;
    const int64_t stride = int64_t{K} * Ch + 3 * NL;
    alignas(64) Lane ring[ringLanes];
    int64_t held[64];
    __m512i picks[2];
    exactPicks<T, Ch>(d, picks);
    const int S = 2 * shift;
    const __m128i count = _mm_cvtsi32_si128(S);
    const __m512i half = V::splat(S > 0 ? 1 << (S - 1) : 0);
    const Lane* at[64];
    // N0, N1: the taps of phases 0 and 1 when the compiler knows them, else 0.
    auto run = [&]<int N0, int N1>() {
        for (int x0 = 0; x0 < dstRoi.width; x0 += K) {
            const int x1 = std::min(dstRoi.width, x0 + K);
            std::fill(held, held + rows, int64_t{-1});
            for (int64_t y = 0; y < dstRoi.height; ++y) {
                const int phase = d == Dir::down ? 0 : static_cast<int>(y % 2);
                const ExactPhase& p = ph[phase];
                const int taps = phase == 0 && N0 > 0 ? N0 : phase == 1 && N1 > 0 ? N1 : p.taps;
                const int64_t centre = d == Dir::down ? 2 * y : y / 2;
                for (int k = 0; k < taps; ++k) {
                    const int32_t q = tapIndex(d, centre + p.off[k], srcRoi.height);
                    Lane* slot = ring + (q % rows) * stride;
                    if (held[q % rows] != q) {
                        exactRow<T, Ch, N0, N1>(d, src[q], srcRoi.width, x0, x1, ph, picks, slot);
                        held[q % rows] = q;
                    }
                    at[k] = slot;
                }
                T* out = dst[y] + int64_t{x0} * Ch;
                const bool stream = bands.store == Store::streaming;
                walkBlocks<NL>(out, int64_t{x1 - x0} * Ch, [&](int64_t e, typename V::Mask k, bool whole) {
                    __m512i acc = half;
                    for (int j = 0; j < taps; ++j)
                        acc = V::add(acc, V::mul(simd::load512(at[j] + e), V::splat(p.m[j])));
                    acc = V::shift(acc, count);
                    if (stream && whole)
                        V::stream(out + e, acc);
                    else
                        V::store(out + e, acc, k);
                });
            }
        }
    };
    if (d == Dir::down && ph[0].taps == 5)
        run.template operator()<5, 0>();
    else if (d == Dir::down && ph[0].taps == 3)
        run.template operator()<3, 0>();
    else if (d == Dir::up && ph[0].taps == 3 && ph[1].taps == 2)
        run.template operator()<3, 2>();
    else
        run.template operator()<0, 0>();
    finishStores(bands.store);
    return true;
}

// The general layer, chunk by chunk of destination columns: a chunk is whole
// groups of 16 outputs whose source columns fit the chunk array; for each
// destination row, the rows pass over those columns, then the columns pass.
// A group that does not fit alone is summed output by output from the tables.
template <Path P, class T, int Ch>
void resampleRows(Dir d, const LayerState* s, Rows<const T> src, ImageSize srcRoi, Rows<T> dst, ImageSize dstRoi) {
    const Bands bands = layerBands<T, Ch>(d, s, srcRoi, dstRoi);
    if constexpr (P == Path::vector) {
        if constexpr (std::is_same_v<T, uint8_t>) {
            if (s->rate == 2.0f && resampleExact<T, Ch>(d, s, src, srcRoi, dst, dstRoi, bands)) return;
        }
        if (s->rate == 2.0f && resampleRateTwo<T, Ch>(d, s, src, srcRoi, dst, dstRoi, bands)) return;
    }
    const Tables t = tablesOf(s);
    const int taps = s->colTaps;
    const int64_t T_ = s->maxTaps, stride = s->stride;
    const int32_t W = srcRoi.width, H = srcRoi.height;
    alignas(64) float buf[chunkFloats];
    constexpr int rowTapsOnStack = 64;
    const T* rp[rowTapsOnStack];
    // The source span [lo, hi) of outputs [x0, x1).
    auto span = [&](int x0, int x1, int64_t& lo, int64_t& hi) {
        for (int x = x0; x < x1; ++x) {
            lo = std::min<int64_t>(lo, t.tapFirst[x]);
            hi = std::max<int64_t>(hi, int64_t{t.tapFirst[x]} + std::max(t.tapCount[x], 1));
        }
    };
    // The row sum of source column q, channel c, for destination row y.
    auto column = [&](int y, int64_t q, int c) {
        const int rowTaps = t.tapCount[y];
        const float* rw = t.tapWeight + y * T_;
        float acc = -0.0f;
        for (int j = 0; j < rowTaps; ++j)
            acc = addTap(acc, rw[j], static_cast<float>(src[tapIndex(d, int64_t{t.tapFirst[y]} + j, H)][q * Ch + c]));
        return acc;
    };
    forEachBand(dstRoi.height, bands.rows, [&](int64_t y0, int64_t bandRows) {
        const int yEnd = static_cast<int>(y0 + bandRows);
        for (int x0 = 0; x0 < dstRoi.width;) {
            int64_t lo = INT64_MAX, hi = INT64_MIN;
            int x1 = x0;
            while (x1 < dstRoi.width) {
                const int next = std::min(dstRoi.width, x1 + 16);
                int64_t l = lo, h = hi;
                span(x1, next, l, h);
                if ((h - l) * Ch > chunkFloats - 32) break;  // 32 floats for the last window loads
                lo = l, hi = h, x1 = next;
            }
            if (x1 == x0) {  // one group too wide: output by output
                x1 = std::min(dstRoi.width, x0 + 16);
                for (int y = static_cast<int>(y0); y < yEnd; ++y)
                    for (int64_t e = int64_t{x0} * Ch; e < int64_t{x1} * Ch; ++e) {
                        const int64_t x = e / Ch;
                        float acc = -0.0f;
                        for (int j = 0; j < taps; ++j) {
                            const float wj = t.colWeight[j * stride + e];
                            if (wj != 0.0f)
                                acc = acc + wj * column(y, tapIndex(d, t.tapFirst[x] + j, W), int(e % Ch));
                        }
                        dst[y][e] = simd::roundHalfUp<T>(acc);
                    }
                x0 = x1;
                continue;
            }
            const int64_t a = std::max<int64_t>(lo, 0), b = std::min<int64_t>(hi, W);
            const int filled = static_cast<int>((hi - lo) * Ch);
            const int64_t origin = lo * Ch;  // element index of buf[0]
            for (int y = static_cast<int>(y0); y < yEnd; ++y) {
                // Rows: the destination row's taps over the chunk's source columns.
                const int rowTaps = t.tapCount[y];
                const float* rw = t.tapWeight + y * T_;
                if (a < b) {
                    if (rowTaps <= rowTapsOnStack) {
                        for (int j = 0; j < rowTaps; ++j) rp[j] = src[tapIndex(d, int64_t{t.tapFirst[y]} + j, H)];
                        rowsPass<P, T, Ch>(rp, rw, rowTaps, a, b, buf + (a - lo) * Ch);
                    } else {
                        for (int64_t q = a; q < b; ++q)
                            for (int c = 0; c < Ch; ++c) buf[(q - lo) * Ch + c] = column(y, q, c);
                    }
                }
                borderColumns<Ch>(d, W, lo, hi, a, b, buf, [&](int64_t q, int c) { return column(y, q, c); });
                // Columns: each destination element's taps along the chunk.
                T* out = dst[y];
                const bool stream = streamRow(bands, out);
                int64_t e = int64_t{x0} * Ch;
                const int64_t end = int64_t{x1} * Ch;
                if constexpr (P == Path::vector) {
                    const __m512i shift = _mm512_set1_epi32(static_cast<int32_t>(origin));
                    for (; e + 16 <= end; e += 16) {
                        __m512 acc = _mm512_set1_ps(-0.0f);
                        for (int j = 0; j < taps; ++j) {
                            const __m512 w = simd::load(t.colWeight + j * stride + e);
                            const __m512i i = _mm512_sub_epi32(simd::load(t.colIndex + j * stride + e), shift);
                            const __mmask16 used = _mm512_cmp_ps_mask(w, _mm512_setzero_ps(), _CMP_NEQ_UQ);
                            const int32_t window = t.colWindow[j * (stride / 16) + e / 16];
                            __m512 v;
                            if (window != noWindow) {  // the tap's pixels lie in two registers: permute, not gather
                                const int at = static_cast<int>(window - origin), left = filled - at;
                                const __m512 l = simd::load(buf + at, simd::firstLanes<16>(left));
                                const __m512 h = simd::load(buf + at + 16, simd::firstLanes<16>(left - 16));
                                v = _mm512_permutex2var_ps(l, _mm512_sub_epi32(i, _mm512_set1_epi32(at)), h);
                            } else {
                                v = _mm512_mask_i32gather_ps(_mm512_setzero_ps(), used, i, buf, 4);
                            }
                            acc = _mm512_mask_add_ps(acc, used, acc, _mm512_mul_ps(w, v));
                        }
                        stream ? simd::streamRoundHalfUp(out + e, acc) : simd::storeRoundHalfUp(out + e, acc);
                    }
                }
                for (; e < end; ++e) {
                    float acc = -0.0f;
                    for (int j = 0; j < taps; ++j)
                        acc = addTap(acc, t.colWeight[j * stride + e], buf[t.colIndex[j * stride + e] - origin]);
                    out[e] = simd::roundHalfUp<T>(acc);
                }
            }
            x0 = x1;
        }
    });
    finishStores(bands.store);
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
    const auto* s = static_cast<const LayerState*>(state);
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
// (zepStsBadDataType); then, last, a state past 2^31 - 1 bytes
// (zepStsSizeOverflow).
inline Checks& layerChecks(Checks& checks, Dir d, ImageSize roi, float rate, int n, int channels, int dataType,
                           Bytes& total) {
    checks.roi(roi)
        .fail(badRate(rate) || n < 3 || n % 2 == 0, zepStsBadArg)
        .fail(channels != 1 && channels != 3, zepStsBadChannelCount)
        .fail(dataType != zep8u && dataType != zep16u && dataType != zep32f, zepStsBadDataType);
    if (checks.status() == zepStsOk) {
        stateLayout(d, roi, rate, n, channels, total);
        checks.sizeFits(total);
    }
    return checks;
}

inline ZepStatus layerGetSize(Dir d, ImageSize roi, float rate, int n, int channels, int dataType, int* stateSize) {
    Bytes total;
    Checks checks;
    checks.notNull(stateSize);
    return layerChecks(checks, d, roi, rate, n, channels, dataType, total).run([&] {
        *stateSize = static_cast<int>(total.value());
    });
}

inline ZepStatus layerInit(Dir d, void** state, ImageSize roi, float rate, const void* kernel, int n, int channels,
                           int dataType, uint8_t* memory) {
    Bytes total;
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
        buildTables(d, s);
        s->exactShift = -1;
        if (rate == 2.0f) buildRateTwoTaps(d, s);
        if (rate == 2.0f && dataType == zep8u) s->exactShift = exactShiftOf(d, s);
        *state = s;
    });
}

}  // namespace zep::pyramid
