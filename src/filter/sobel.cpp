// Sobel kernel factors: the binomial row C(n - d - 1, .) convolved d times
// with [1, -1], built in place by passes over the array. The 16s form computes
// in 16-bit arithmetic that wraps (binomials pass 32767 from size 19 on).
#include <cstring>
#include <type_traits>

#include "core/check.h"
#include "core/export.h"
#include "core/simd.h"

namespace {

// One pass k[j] = k[j] (+ or -) k[j + 1] for j = 0 .. n - 2 in increasing order.
// Each vector block reads k[j .. j + 16] before it writes k[j .. j + 15], and the
// next block starts at j + 16, which no earlier block wrote: the same values as
// the element-by-element definition.
template <class T, bool Add>
void pass(T* k, int n) {
    int j = 0;
    if constexpr (std::is_same_v<T, float>) {
        for (; j + 16 <= n - 1; j += 16) {
            const __m512 a = zep::simd::load(k + j), b = zep::simd::load(k + j + 1);
            zep::simd::store(k + j, Add ? _mm512_add_ps(a, b) : _mm512_sub_ps(a, b));
        }
    } else {
        for (; j + 32 <= n - 1; j += 32) {
            const __m512i a = zep::simd::load(k + j), b = zep::simd::load(k + j + 1);
            zep::simd::store(k + j, Add ? _mm512_add_epi16(a, b) : _mm512_sub_epi16(a, b));
        }
    }
    for (; j < n - 1; ++j) {
        if constexpr (std::is_same_v<T, float>)
            k[j] = Add ? k[j] + k[j + 1] : k[j] - k[j + 1];
        else  // 16-bit wrap-around arithmetic
            k[j] = static_cast<T>(static_cast<uint16_t>(Add ? uint16_t(k[j]) + uint16_t(k[j + 1])
                                                            : uint16_t(k[j]) - uint16_t(k[j + 1])));
    }
}

template <class T>
ZepStatus genSobel(T* dst, int n, int order, int sign) {
    return zep::Checks{}.notNull(dst).fail(n < 1 || n % 2 == 0 || order < 0 || order >= n, zepStsBadArg).run([&] {
        for (int j = 0; j < n; ++j) dst[j] = T(0);
        dst[n - 1] = T(1);
        for (int p = 0; p < n - order - 1; ++p) pass<T, true>(dst, n);
        for (int p = 0; p < order; ++p) pass<T, false>(dst, n);
        if (sign < 0)
            for (int j = 0; j < n; ++j) dst[j] = static_cast<T>(-dst[j]);
    });
}

}  // namespace

#include "bind/filter/sobel.inc"
