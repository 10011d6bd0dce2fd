// Bands of rows, for the filters that compute through intermediate rows (the
// Gaussian filter's ring, the pipeline passes, the pyramid layers): how many
// output rows a band takes and how the destination is stored, both chosen from
// the processor's largest cache; the walk over a destination band by band,
// and over a destination row in blocks that streaming stores can write.
//
//   const Bands bands = planBands({passBytes, kStreamQueryBytes, ringRowBytes, k - 1, 1, mostRows});
//   forEachBand(height, bands.rows, [&](int64_t y0, int64_t rows) { ... });
//   finishStores(bands.store);
#pragma once

#include <zepcore.h>

#include <algorithm>
#include <cstdint>

#include "core/rows.h"
#include "core/simd.h"

namespace zep {

// When the largest cache is asked: the data passing through a call is
// measured against kCacheQueryBytes by the filters whose documented rule it
// is (the Gaussian _L family: destination data of 0x80000 bytes and more),
// against kStreamQueryBytes by the others. (The query costs cpuid
// instructions, which a virtual machine may trap: tens of microseconds.
// Below 32 MiB a call takes too little time to pay for it, and streaming
// would gain little on the processors this library runs on.)
constexpr int64_t kCacheQueryBytes = 0x80000;
constexpr int64_t kStreamQueryBytes = int64_t{32} << 20;

// A band's intermediate rows keep to the first-level data cache (32 KiB or
// more on the processors the library runs on), or to half the largest cache
// should that be smaller: rows that the next pass reads while still there.
constexpr int64_t kBandBytes = int64_t{32} << 10;

// What a filter tells the planner about one call.
struct BandNeeds {
    int64_t passBytes;   // the data through the cache: streaming stores when it fills the cache
    int64_t queryBytes;  // the cache is asked when passBytes are at least this
    int64_t rowBytes;    // the intermediate bytes of one row of a band
    int64_t extraRows;   // the intermediate rows a band holds beyond its own (a kernel's reach)
    int64_t fewest;      // the band heights the work buffer has room for, fewest <= most
    int64_t most;
    int64_t budget = kBandBytes;  // the bytes the intermediate rows may take (within half the cache, when asked)
};

struct Bands {
    int64_t rows;  // output rows per band
    Store store;   // how the destination rows are written
};

// Bands as tall as the intermediate rows' budget allows within [fewest,
// most]. A call that asks the largest cache has the budget capped by it and
// streaming stores when passBytes are at least the whole cache (a failed
// query reads as 0 and changes nothing).
inline Bands planBands(const BandNeeds& n) {
    int64_t budget = n.budget;
    Store store = Store::cached;
    if (n.passBytes >= n.queryBytes) {
        int32_t cache = 0;
        zepGetMaxCacheSizeB(&cache);
        if (cache > 0) {
            budget = std::min<int64_t>(budget, cache / 2);
            if (n.passBytes >= cache) store = Store::streaming;
        }
    }
    const int64_t fit = n.rowBytes > 0 ? budget / n.rowBytes - n.extraRows : n.most;
    return {std::clamp(fit, n.fewest, n.most), store};
}

// band(y0, rows) for consecutive bands of `rows` rows (the last one shorter)
// covering [0, height).
template <class Band>
[[gnu::always_inline]] inline void forEachBand(int64_t height, int64_t rows, Band&& band) {
    for (int64_t y0 = 0; y0 < height; y0 += rows) band(y0, std::min(rows, height - y0));
}

// Elements [0, n) of a destination row in blocks of Lanes elements: those
// before the next boundary of a block's bytes, then whole blocks on such
// boundaries, then the rest. block(e, lanes, whole) writes the elements of
// the block at e in its lanes (a constant mask of all lanes for whole
// blocks); `whole` says that the block lies on a boundary, which a streaming
// store may write. (A row that is not aligned to its elements reaches no
// boundary: none of its blocks is on one.)
template <int Lanes, class T, class Block>
[[gnu::always_inline]] inline void walkBlocks(T* out, int64_t n, Block&& block) {
    using Mask = simd::LaneMask<Lanes>;
    constexpr Mask all = static_cast<Mask>(~uint64_t{0});
    constexpr int kBytes = Lanes * static_cast<int>(sizeof(T));
    static_assert((kBytes & (kBytes - 1)) == 0, "blocks of a power-of-two size");
    int64_t e = std::min(n, simd::toBoundary<kBytes>(out));
    if (e > 0) block(int64_t{0}, simd::firstLanes<Lanes>(static_cast<int>(e)), false);
    const bool whole = reinterpret_cast<uintptr_t>(out + e) % kBytes == 0;
    for (; e + Lanes <= n; e += Lanes) block(e, all, whole);
    if (e < n) block(e, simd::firstLanes<Lanes>(static_cast<int>(n - e)), false);
}

}  // namespace zep
