// Bands of rows, for the filters that compute through intermediate rows (the
// Gaussian filter's ring, the pipeline passes, the pyramid layers): how many
// output rows a band takes and how the destination is stored, both chosen from
// the processor's largest cache; the walk over a destination band by band,
// and over a destination row in blocks that streaming stores can write.
//
//   const Bands bands = planBands({dstBytes, passBytes, ringRowBytes, k - 1, 1, mostRows});
//   forEachBand(height, bands.rows, [&](int64_t y0, int64_t rows) { ... });
//   finishStores(bands.store);
#pragma once

#include <zepcore.h>

#include <algorithm>
#include <cstdint>

#include "core/rows.h"
#include "core/simd.h"

namespace zep {

// Destinations smaller than this many bytes are filtered without asking the
// cache size: in bands as tall as the caller allows, with ordinary stores.
constexpr int64_t kCacheQueryBytes = 0x80000;

// A band's intermediate rows keep to this share of the largest cache (half a
// megabyte of a 32 MB last-level cache, inside a core's own second-level
// cache on the processors the library runs on), and to no less than the floor.
constexpr int64_t kBandCacheShare = 64;
constexpr int64_t kBandFloorBytes = int64_t{64} << 10;

// What a filter tells the planner about one call.
struct BandNeeds {
    int64_t dstBytes;   // the destination's data: row bytes times height
    int64_t passBytes;  // the data whose size decides streaming: it must pass the cache at least once
    int64_t rowBytes;   // the intermediate bytes of one row of a band
    int64_t extraRows;  // the intermediate rows a band holds beyond its own (a kernel's reach)
    int64_t fewest;     // the band heights the work buffer has room for, fewest <= most
    int64_t most;
};

struct Bands {
    int64_t rows;  // output rows per band
    Store store;   // how the destination rows are written
};

// Destinations of kCacheQueryBytes and more ask the largest cache: bands as
// tall as the intermediate rows' share of it allows, and streaming stores
// when passBytes are at least the whole cache (a failed query reads as 0:
// tallest bands, ordinary stores).
inline Bands planBands(const BandNeeds& n) {
    Bands bands{n.most, Store::cached};
    if (n.dstBytes < kCacheQueryBytes) return bands;
    int32_t cache = 0;
    zepGetMaxCacheSizeB(&cache);
    if (cache <= 0) return bands;
    if (n.passBytes >= cache) bands.store = Store::streaming;
    const int64_t budget = std::max<int64_t>(cache / kBandCacheShare, kBandFloorBytes);
    const int64_t fit = n.rowBytes > 0 ? budget / n.rowBytes - n.extraRows : n.most;
    bands.rows = std::clamp(fit, n.fewest, n.most);
    return bands;
}

// band(y0, rows) for consecutive bands of `rows` rows (the last one shorter)
// covering [0, height).
template <class Band>
[[gnu::always_inline]] inline void forEachBand(int64_t height, int64_t rows, Band&& band) {
    for (int64_t y0 = 0; y0 < height; y0 += rows) band(y0, std::min(rows, height - y0));
}

// Elements [0, n) of a destination row in blocks of Lanes elements: those
// before the next boundary of a block's bytes, then whole blocks on such
// boundaries, then the rest. block(e, count, whole) writes elements
// [e, e + count); `whole` says they are a whole block on a boundary, which a
// streaming store may write. (A row that is not aligned to its elements
// reaches no boundary: none of its blocks is whole.)
template <int Lanes, class T, class Block>
[[gnu::always_inline]] inline void walkBlocks(T* out, int64_t n, Block&& block) {
    constexpr int kBytes = Lanes * static_cast<int>(sizeof(T));
    static_assert((kBytes & (kBytes - 1)) == 0, "blocks of a power-of-two size");
    int64_t e = std::min(n, simd::toBoundary<kBytes>(out));
    if (e > 0) block(int64_t{0}, e, false);
    const bool whole = reinterpret_cast<uintptr_t>(out + e) % kBytes == 0;
    for (; e + Lanes <= n; e += Lanes) block(e, int64_t{Lanes}, whole);
    if (e < n) block(e, n - e, false);
}

}  // namespace zep
