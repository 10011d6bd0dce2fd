// The largest data cache of the processor: the deterministic cache parameters
// of cpuid (leaf 4 on Intel, 0x8000001D on AMD), and the operating system's
// figures when the processor tells none.
#include <cpuid.h>
#include <unistd.h>
#include <zepcore.h>

#include <initializer_list>

namespace {

// The largest data or unified cache that `leaf` describes, 0 if none.
int64_t largestCache(unsigned leaf) {
    int64_t best = 0;
    for (unsigned sub = 0; sub < 64; ++sub) {
        unsigned a = 0, b = 0, c = 0, d = 0;
        __cpuid_count(leaf, sub, a, b, c, d);
        const unsigned type = a & 0x1F;  // 0 none (end of list), 1 data, 2 instruction, 3 unified
        if (type == 0) break;
        if (type == 2) continue;
        const int64_t ways = ((b >> 22) & 0x3FF) + 1, partitions = ((b >> 12) & 0x3FF) + 1;
        const int64_t line = (b & 0xFFF) + 1, sets = int64_t{c} + 1;
        const int64_t size = ways * partitions * line * sets;
        if (size > best) best = size;
    }
    return best;
}

}  // namespace

extern "C" ZEPCORE_API int32_t zepGetMaxCacheSizeB(int32_t* pSizeByte) {
    if (!pSizeByte) return zepcoreStsNullPointer;
    int64_t size = 0;
    const unsigned maxLeaf = __get_cpuid_max(0, nullptr);
    if (maxLeaf >= 4) size = largestCache(4);
    if (size == 0 && __get_cpuid_max(0x80000000u, nullptr) >= 0x8000001Du) size = largestCache(0x8000001Du);
    if (size == 0) {
        for (int name :
             {_SC_LEVEL4_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL1_DCACHE_SIZE}) {
            const long s = sysconf(name);
            if (s > size) size = s;
        }
    }
    if (size > 0x7fffffff) size = 0x7fffffff;
    *pSizeByte = static_cast<int32_t>(size);
    return size > 0 ? zepcoreStsOk : zepcoreStsNoCacheInfo;
}
