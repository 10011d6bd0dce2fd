// Row walkers shared by the element-wise kernels, always inlined into the
// kernel's row loop, so that the block and pixel functions it passes (and the
// row pointers they capture) stay in registers.
//
// walkRow: whole vector blocks of `Lanes` elements, two per round, then the
// kernel's scalar definition for the rest of the row. The scalar path runs the
// definition over the whole row.
//
// mapRow: the same for kernels that compute each destination element from
// their inputs; the walker does the stores. Destinations that the operation
// does not read and that are too large to stay in cache are written with
// streaming stores, which skip reading the destination's lines first: the
// row's head up to the first 64-byte boundary is computed by the scalar
// definition, the blocks after it are stored aligned and non-temporal.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/export.h"
#include "core/simd.h"

namespace zep {

template <Path P, int Lanes, class Block, class Pixel>
[[gnu::always_inline]] inline void walkRow(int width, Block&& block, Pixel&& pixel) {
    int x = 0;
    if constexpr (P == Path::vector) {
        for (; x + 2 * Lanes <= width; x += 2 * Lanes) {
            block(x);
            block(x + Lanes);
        }
        if (x + Lanes <= width) {
            block(x);
            x += Lanes;
        }
    }
    for (; x < width; ++x) pixel(x);
}

enum class Store { cached, streaming };

// Destinations of at least this many bytes are written with streaming stores
// by operations that do not read them.
constexpr int64_t kStreamingBytes = int64_t{1} << 20;

inline Store storeFor(int64_t rowBytes, int64_t height) {
    return rowBytes * height >= kStreamingBytes ? Store::streaming : Store::cached;
}

// Orders the streaming stores of a call before anything the caller does next.
inline void finishStores(Store store) {
    if (store == Store::streaming) _mm_sfence();
}

namespace detail {

inline void storeBlock(void* p, __m512 v, bool streaming) {
    streaming ? _mm512_stream_ps(static_cast<float*>(p), v) : _mm512_storeu_ps(p, v);
}
inline void storeBlock(void* p, __m512i v, bool streaming) {
    streaming ? _mm512_stream_si512(static_cast<__m512i*>(p), v) : _mm512_storeu_si512(p, v);
}

}  // namespace detail

// dst[x] = pixel(x) for x in [0, count), 64 bytes of results at a time from
// block(x) on the vector path.
template <Path P, class T, class Block, class Pixel>
[[gnu::always_inline]] inline void mapRow(int count, T* dst, Store store, Block&& block, Pixel&& pixel) {
    constexpr int lanes = 64 / static_cast<int>(sizeof(T));
    int x = 0;
    if constexpr (P == Path::vector) {
        const auto address = reinterpret_cast<uintptr_t>(dst);
        if (store == Store::streaming && address % sizeof(T) == 0) {
            const int head = std::min<int>(count, static_cast<int>(((64 - address % 64) % 64) / sizeof(T)));
            for (; x < head; ++x) dst[x] = pixel(x);
            for (; x + lanes <= count; x += lanes) detail::storeBlock(dst + x, block(x), true);
        } else {
            for (; x + 2 * lanes <= count; x += 2 * lanes) {
                detail::storeBlock(dst + x, block(x), false);
                detail::storeBlock(dst + x + lanes, block(x + lanes), false);
            }
            if (x + lanes <= count) {
                detail::storeBlock(dst + x, block(x), false);
                x += lanes;
            }
        }
    }
    for (; x < count; ++x) dst[x] = pixel(x);
}

}  // namespace zep
