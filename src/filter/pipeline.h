// Separable pipeline filters: the row pass (source rows -> rows addressed by
// pointers, horizontal border synthesised or read from memory) and the column
// pass (rows addressed by pointers -> strided image). Each pass has a scalar
// definition, used for the row heads and tails and as the reference of the
// vector blocks, which must agree with it bit for bit.
//
// Integer arithmetic. The integer row passes and the 16u column pass compute
// the weighted sum exactly and round sum / divisor to nearest, ties to even,
// then saturate. The vector blocks reach the same result in one of two ways,
// chosen per call from the taps:
//  - |divisor| a power of two 2^s (s <= 30) and sum|tap| * max|value| <= 2^30:
//    the sum in 32-bit lanes (it cannot overflow), then (v + 2^(s-1) - 1 +
//    ((v >> s) & 1)) >> s, which is round-half-to-even of v / 2^s for every
//    integer v (the added odd bit turns a tie upwards exactly when the
//    truncated quotient is odd);
//  - otherwise, while sum|tap| * max|value| < 2^52: the sum in double lanes
//    (every product and partial sum is an integer below 2^53, so exact), one
//    correctly rounded division and round-to-nearest-even. The rounded
//    quotient q' differs from the true q = sum / d by at most |q| * 2^-53, and
//    a non-tie q lies at least 1 / (2 |d|) >= 2^-32 from the nearest
//    half-integer; for |q| < 2^20 the rounding therefore cannot cross a tie
//    and a tie itself is exact, and |q| >= 2^20 saturates either way.
//  - beyond that bound the row runs the scalar definition (64-bit sums).
// The column pass from 16s computes in single precision as documented in the
// public header; kernels with sum|tap| >= 65535 go through the exact integer
// path instead (the documented Σ/divisor rounded to nearest and saturated).
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "core/band.h"
#include "core/border.h"
#include "core/export.h"
#include "core/image.h"
#include "core/simd.h"

namespace zep::filter {

// ---- Scalar helpers ----

// round(n / d) to nearest, ties to even, exactly (d != 0).
inline int64_t roundDivEven(int64_t n, int64_t d) {
    if (d < 0) n = -n, d = -d;
    int64_t q = 0, r = 0;      // floor division: n = q * d + r, 0 <= r < d
    if ((d & (d - 1)) == 0) {  // a power of two, the filters' usual divisor: a shift, not a division
        q = n >> __builtin_ctzll(uint64_t(d));
        r = n & (d - 1);
    } else {
        q = n / d, r = n % d;
        if (r < 0) q -= 1, r += d;
    }
    if (2 * r > d || (2 * r == d && (q & 1))) q += 1;
    return q;
}

template <class D>
constexpr int64_t lowest() {
    return std::numeric_limits<D>::lowest();
}
template <class D>
constexpr int64_t highest() {
    return std::numeric_limits<D>::max();
}
template <class D>
inline D saturate(int64_t v) {
    return static_cast<D>(v < lowest<D>() ? lowest<D>() : v > highest<D>() ? highest<D>() : v);
}
// The largest magnitude of a source element.
template <class S>
constexpr int64_t maxAbs() {
    return std::is_same_v<S, uint8_t> ? 255 : std::is_same_v<S, int16_t> ? 32768 : 65535;
}

// Round to nearest, ties to even, independent of the current rounding mode.
inline int32_t roundEven(float v) {
    return _mm_cvt_roundss_si32(_mm_set_ss(v), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
}

// How the vector blocks of an integer pass compute, chosen per call.
enum class IntMode { scalar, shift32, exact64 };

struct IntPlan {
    IntMode mode = IntMode::scalar;
    int shift = 0;        // shift32: |divisor| = 1 << shift
    bool negate = false;  // shift32: divisor < 0
};

template <class Src, class Tap>
IntPlan planInteger(const Tap* taps, int k, int divisor) {
    int64_t sumAbs = 0;
    for (int j = 0; j < k; ++j) sumAbs += std::llabs(static_cast<int64_t>(taps[j]));
    const int64_t bound = sumAbs * maxAbs<Src>();
    const uint64_t ad = divisor < 0 ? uint64_t(-int64_t(divisor)) : uint64_t(divisor);
    IntPlan plan;
    if ((ad & (ad - 1)) == 0 && ad <= (uint64_t{1} << 30) && bound <= (int64_t{1} << 30)) {
        plan.mode = IntMode::shift32;
        plan.shift = __builtin_ctzll(ad);
        plan.negate = divisor < 0;
    } else if (bound < (int64_t{1} << 52)) {
        plan.mode = IntMode::exact64;
    }
    return plan;
}

// Taps are broadcast once per call for the fixed kernel sizes, per use otherwise.

// Loop-invariant vectors of the shift32 mode.
struct ShiftConstants {
    __m128i count;
    __m512i bias, one, lo, hi;
    bool shifts, negate;
};

template <class Dst>
inline ShiftConstants shiftConstants(const IntPlan& plan) {
    const int s = plan.shift > 0 ? plan.shift : 1;
    return {_mm_cvtsi32_si128(plan.shift),
            _mm512_set1_epi32((1 << (s - 1)) - 1),
            _mm512_set1_epi32(1),
            _mm512_set1_epi32(int32_t(lowest<Dst>())),
            _mm512_set1_epi32(int32_t(highest<Dst>())),
            plan.shift > 0,
            plan.negate};
}

// One block of n <= 16 integer outputs: sum over taps of taps[j] * at(j)[lane],
// divided, rounded and saturated as the plan's mode M says; stored to out.
template <IntMode M, int K, class Src, class Dst, class Tap, class At>
inline void integerBlock(const ShiftConstants& sc, const Tap* taps, int k, const __m512i* tapsI, const __m512d* tapsD,
                         double divisor, At at, Dst* out, int n) {
    const int count = K > 0 ? K : k;
    if constexpr (M == IntMode::shift32) {
        const __mmask16 m = simd::firstLanes16(n);
        auto tap = [&](int j) { return K > 0 ? tapsI[j] : _mm512_set1_epi32(taps[j]); };
        __m512i acc = _mm512_mullo_epi32(tap(0), simd::loadAsInt32(at(0), m));
#pragma GCC unroll 16
        for (int j = 1; j < count; ++j)
            acc = _mm512_add_epi32(acc, _mm512_mullo_epi32(tap(j), simd::loadAsInt32(at(j), m)));
        if (sc.shifts) {  // round-half-to-even of acc / 2^s (see the file comment)
            const __m512i odd = _mm512_and_si512(_mm512_maskz_sra_epi32(0xFFFF, acc, sc.count), sc.one);
            acc = _mm512_maskz_sra_epi32(0xFFFF, _mm512_add_epi32(_mm512_add_epi32(acc, sc.bias), odd), sc.count);
        }
        if (sc.negate) acc = _mm512_sub_epi32(_mm512_setzero_si512(), acc);
        acc = _mm512_min_epi32(_mm512_max_epi32(acc, sc.lo), sc.hi);
        simd::storeNarrow(out, acc, m);
    } else {
        const __m512d d = _mm512_set1_pd(divisor);
        const __m512d lo = _mm512_set1_pd(double(lowest<Dst>())), hi = _mm512_set1_pd(double(highest<Dst>()));
        auto tap = [&](int j) { return K > 0 ? tapsD[j] : _mm512_set1_pd(double(taps[j])); };
        for (int half = 0; half < n; half += 8) {
            const int left = n - half < 8 ? n - half : 8;
            const __mmask8 m = static_cast<__mmask8>((1u << left) - 1u);
            __m512d acc = _mm512_mul_pd(tap(0), simd::loadAsDouble(at(0) + half, m));
#pragma GCC unroll 16
            for (int j = 1; j < count; ++j)
                acc = _mm512_add_pd(acc, _mm512_mul_pd(tap(j), simd::loadAsDouble(at(j) + half, m)));
            __m512d q = _mm512_roundscale_pd(_mm512_div_pd(acc, d), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
            q = _mm512_min_pd(_mm512_max_pd(q, lo), hi);
            simd::storeNarrow(out + half, _mm512_cvtpd_epi32(q), m);
        }
    }
}

template <int K, class Tap>
inline void broadcastTaps(const Tap* taps, __m512i* tapsI, __m512d* tapsD) {
    for (int j = 0; j < K; ++j) {
        tapsI[j] = _mm512_set1_epi32(taps[j]);
        tapsD[j] = _mm512_set1_pd(double(taps[j]));
    }
}

// ---- Paired 16-bit products (vpmaddwd) ----
//
// Thirty-two outputs a block. The values of taps j and j+1 are loaded as
// 16-bit lanes and interleaved (unpacklo/unpackhi), so that one vpmaddwd with
// the tap pair (t_j, t_j+1) forms t_j*v_j + t_j+1*v_j+1 in 32-bit lanes; the
// low half holds outputs 0-3, 8-11, 16-19, 24-27 and the high half the others,
// and packing the two halves (packs/packus) puts them back in order while
// saturating to 16 bits. Values enter as 16-bit integers: 8u zero-extended,
// 16s as they are, 16u as v - 32768 (the top bit flipped), which takes
// 32768 * sum(taps) out of the sum; it comes back as a whole number of
// divisor units (see planPairs).
//
// The result is the same integer as the scalar definition because:
//  - every tap fits in 16 signed bits, and every product, pair sum and partial
//    sum is bounded by B = sum|tap| * max|value| with B + 2^(s-1) < 2^31, so
//    nothing wraps in the 32-bit lanes, rounding bias included;
//  - the divisor is +-2^s, and (v + 2^(s-1) - 1 + ((v >> s) & 1)) >> s is
//    round-half-to-even of v / 2^s (as in the shift32 mode). With the 16u
//    offset, v = v' + Q * 2^s with Q = sum(taps) * 2^(15-s) a whole number
//    (s <= 15), so v >> s = (v' >> s) + Q and the same formula reads
//    ((v' + 2^(s-1) - 1 + (((v' >> s) + Q) & 1)) >> s) + Q;
//  - a negative divisor negates the rounded quotient (ties to even are
//    symmetric), and the packs saturate like saturate<Dst>.

constexpr int kMaxPairTaps = 32;

struct PairPlan {
    bool ok = false;
    int shift = 0;
    bool negate = false;               // divisor < 0: the taps are negated instead of the quotient
    bool offset = false;               // 16u values enter as v - 32768
    bool symmetric = false;            // taps[j] == taps[k-1-j] and two values add without wrapping
    bool floatRound = false;           // every sum below 2^24: rounded through single precision
    bool magic = false;                // and rounded by adding 1.5 * 2^(23+s), every quotient inside Dst (planMagic)
    int32_t q = 0;                     // with the offset: sum = sum' + q * 2^shift
    int64_t tapsDown = 0, tapsUp = 0;  // the sums of the negative and of the positive taps (negated for divisor < 0)

    // How the sums are rounded: 0 in integers, 1 through single precision, 2 by the magic number.
    int rounding() const { return magic ? 2 : floatRound ? 1 : 0; }
};

// valueBound: the largest magnitude of a value as it enters the products.
//  - Symmetric taps: t_j*v_j + t_j*v_k-1-j = t_j*(v_j + v_k-1-j), and the
//    16-bit sum of the two values is exact while 2 * valueBound < 2^15.
//  - Sums below 2^24 in magnitude convert to single precision exactly, the
//    product by 2^-s is exact, and converting back with round-to-nearest-even
//    is round-half-to-even of v / 2^s: three instructions instead of five.
//  - A negative divisor: round(-x) = -round(x) with ties to even, so the taps
//    are negated (none may be -32768) and the divisor taken as |divisor|.
//  - Sums below 2^24 with s >= 2: M + v, M = 1.5 * 2^(23+s), lies inside
//    [2^(23+s), 2^(24+s)) where floats are 2^s apart, so adding v to M in
//    single precision (rounding to nearest even) gives M + round(v / 2^s) *
//    2^s, whose bit pattern is that of M plus the rounded quotient. M's low
//    sixteen bits are zero, so where the quotients provably lie inside Dst
//    (planMagic) the low 16 (or 8) bits of each lane are the result, and a
//    permute gathers them: two instructions a lane instead of five.
template <class Src, class Tap>
PairPlan planPairs(const Tap* taps, int k, int64_t divisor, int64_t valueBound) {
    PairPlan plan;
    if (k > kMaxPairTaps) return plan;
    int64_t sumAbs = 0, sum = 0;
    bool symmetric = true, hasMin = false;
    for (int j = 0; j < k; ++j) {
        const int64_t t = taps[j];
        if (t < -32768 || t > 32767) return plan;
        hasMin |= t == -32768;
        symmetric &= t == int64_t{taps[k - 1 - j]};
        sumAbs += t < 0 ? -t : t;
        sum += t;
        const int64_t entered = divisor < 0 ? -t : t;
        (entered < 0 ? plan.tapsDown : plan.tapsUp) += entered;
    }
    const uint64_t ad = divisor < 0 ? uint64_t(-divisor) : uint64_t(divisor);
    if (ad == 0 || (ad & (ad - 1)) != 0 || ad > (uint64_t{1} << 30)) return plan;
    if (divisor < 0 && hasMin) return plan;
    const int s = __builtin_ctzll(ad);
    const bool offset = std::is_same_v<Src, uint16_t>;
    if (offset && (s < 1 || s > 15)) return plan;  // Q whole, and v' >> s + Q inside 32 bits
    const int64_t bias = s > 0 ? int64_t{1} << (s - 1) : 0;
    const int64_t bound = sumAbs * valueBound;
    if (bound + bias >= (int64_t{1} << 31)) return plan;
    plan.ok = true;
    plan.shift = s;
    plan.negate = divisor < 0;
    plan.offset = offset;
    plan.symmetric = !offset && symmetric && 2 * valueBound < 32768;
    plan.floatRound = !offset && bound < (int64_t{1} << 24);
    plan.q = offset ? int32_t((divisor < 0 ? -sum : sum) << (15 - s)) : 0;
    return plan;
}

// Rounds a single-precision plan by the magic number where every quotient
// lies inside Dst's range for values in [lo, hi] (lo <= hi), so that no
// saturation is needed.
template <class Dst>
inline void planMagic(PairPlan& plan, int64_t lo, int64_t hi) {
    if (!plan.ok || !plan.floatRound || plan.offset || plan.shift < 2) return;
    const int64_t d = int64_t{1} << plan.shift;
    const int64_t least = plan.tapsUp * lo + plan.tapsDown * hi, most = plan.tapsUp * hi + plan.tapsDown * lo;
    plan.magic = roundDivEven(least, d) >= lowest<Dst>() && roundDivEven(most, d) <= highest<Dst>();
}

struct PairConstants {
    __m128i count;
    __m512i bias, one, q;
    __m512 scale;  // 2^-s
    __m512 magic;  // 1.5 * 2^(23+s)
};

inline PairConstants pairConstants(const PairPlan& plan) {
    const int s = plan.shift;
    auto power = [](int e) {  // 2^e as a float, from its bits (-126 <= e <= 127)
        const uint32_t b = uint32_t(127 + e) << 23;
        float f;
        std::memcpy(&f, &b, 4);
        return f;
    };
    return {_mm_cvtsi32_si128(s),
            _mm512_set1_epi32(s > 0 ? (1 << (s - 1)) - 1 : 0),
            _mm512_set1_epi32(s > 0 ? 1 : 0),
            _mm512_set1_epi32(plan.q),
            _mm512_set1_ps(power(-s)),
            _mm512_set1_ps(s <= 30 ? 1.5f * power(23 + s) : 0.0f)};
}

// The tap pairs (t_2i, t_2i+1) as 32-bit lane patterns, negated for a negative
// divisor; an odd last tap pairs with 0. Symmetric plans use the first half.
template <class Tap>
inline void tapPairs(const Tap* taps, int k, const PairPlan& plan, __m512i* out) {
    const int n = plan.symmetric ? (k + 1) / 2 : k;
    auto tap = [&](int j) -> uint32_t {
        const int32_t t = plan.negate ? -int32_t(taps[j]) : int32_t(taps[j]);
        return uint16_t(int16_t(t));
    };
    for (int j = 0; j < n; j += 2) {
        const uint32_t a = tap(j), b = j + 1 < n ? tap(j + 1) : 0u;
        out[j / 2] = _mm512_set1_epi32(int32_t(a | (b << 16)));
    }
}

// Thirty-two values as they enter the paired products: 16u offset by -32768
// (the top bit flipped), the others as loaded.
template <class Src>
inline __m512i pairValues(const Src* p, __mmask32 m) {
    const __m512i v = simd::loadAsInt16(p, m);
    if constexpr (std::is_same_v<Src, uint16_t>)
        return _mm512_xor_si512(v, _mm512_set1_epi16(int16_t(0x8000)));
    else
        return v;
}

// Round-half-to-even of the 32-bit sums by 2^s (with the offset's Q); by the
// magic number (R 2), the result in the low bits of each lane.
template <int R, bool Offset>
inline __m512i pairRound(const PairConstants& c, __m512i v) {
    if constexpr (R == 2) {
        const __m512 f = _mm512_mask_cvtepi32_ps(_mm512_setzero_ps(), 0xFFFF, v);
        return _mm512_castps_si512(_mm512_add_round_ps(f, c.magic, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
    } else if constexpr (R == 1) {
        // (explicit pass-through operands: GCC's "undefined" ones warn in debug builds)
        const __m512 f = _mm512_mul_ps(_mm512_mask_cvtepi32_ps(_mm512_setzero_ps(), 0xFFFF, v), c.scale);
        return _mm512_mask_cvt_roundps_epi32(_mm512_setzero_si512(), 0xFFFF, f,
                                             _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    } else {
        __m512i h = _mm512_maskz_sra_epi32(0xFFFF, v, c.count);
        if constexpr (Offset) h = _mm512_add_epi32(h, c.q);
        const __m512i odd = _mm512_and_si512(h, c.one);
        v = _mm512_maskz_sra_epi32(0xFFFF, _mm512_add_epi32(_mm512_add_epi32(v, c.bias), odd), c.count);
        if constexpr (Offset) v = _mm512_add_epi32(v, c.q);
        return v;
    }
}

// Thirty-two results of the magic rounding as elements of Dst (their low
// 16 or 8 bits): word i of the result is word idx[i] of a (idx < 32) or of b.
template <class Dst>
[[gnu::always_inline]] inline auto magicPack(__m512i a, __m512i b, __m512i idx) {
    const __m512i words = _mm512_permutex2var_epi16(a, idx, b);
    if constexpr (sizeof(Dst) == 2)
        return words;
    else
        return _mm512_cvtepi16_epi8(words);
}
// The word indices that put back in order the low words of lanes laid out as
// packSaturated's lo and hi (four of each in every 128-bit lane) ...
inline __m512i magicOrderPacked() {
    alignas(64) int16_t idx[32];
    for (int n = 0; n < 32; ++n) idx[n] = int16_t((n % 8 < 4 ? 0 : 32) + 2 * (4 * (n / 8) + n % 4));
    return _mm512_load_si512(idx);
}
// ... and those of the even and the odd outputs.
inline __m512i magicOrderEvenOdd() {
    alignas(64) int16_t idx[32];
    for (int n = 0; n < 32; ++n) idx[n] = int16_t(n % 2 == 0 ? n : 32 + n - 1);
    return _mm512_load_si512(idx);
}

// One block of up to 32 outputs (lanes of m): at(j) points to the values of
// tap j. Symmetric plans first add the values of taps j and k-1-j. A whole
// block on its boundary may be written with a streaming store (stream).
template <int K, bool Sym, int R, class Dst, class At>
[[gnu::always_inline]] inline void pairBlock(const PairConstants& c, const __m512i* tp, int k, At at, Dst* out,
                                             __mmask32 m, bool stream = false) {
    using Src = std::remove_cv_t<std::remove_pointer_t<decltype(at(0))>>;
    constexpr bool offset = std::is_same_v<Src, uint16_t>;
    const int count = K > 0 ? K : k;
    const int n = Sym ? (count + 1) / 2 : count;
    auto value = [&](int i) {
        if (Sym && count - 1 - i != i)
            return _mm512_add_epi16(pairValues(at(i), m), pairValues(at(count - 1 - i), m));
        return pairValues(at(i), m);
    };
    __m512i lo = _mm512_setzero_si512(), hi = _mm512_setzero_si512();
    int j = 0;
#pragma GCC unroll 16
    for (; j + 1 < n; j += 2) {
        const __m512i a = value(j), b = value(j + 1);
        lo = _mm512_add_epi32(lo, _mm512_madd_epi16(_mm512_unpacklo_epi16(a, b), tp[j >> 1]));
        hi = _mm512_add_epi32(hi, _mm512_madd_epi16(_mm512_unpackhi_epi16(a, b), tp[j >> 1]));
    }
    if (j < n) {
        const __m512i a = value(j), z = _mm512_setzero_si512();
        lo = _mm512_add_epi32(lo, _mm512_madd_epi16(_mm512_unpacklo_epi16(a, z), tp[j >> 1]));
        hi = _mm512_add_epi32(hi, _mm512_madd_epi16(_mm512_unpackhi_epi16(a, z), tp[j >> 1]));
    }
    auto pack = [&] {
        if constexpr (R == 2)
            return magicPack<Dst>(pairRound<R, offset>(c, lo), pairRound<R, offset>(c, hi), magicOrderPacked());
        else
            return simd::packSaturated<Dst>(pairRound<R, offset>(c, lo), pairRound<R, offset>(c, hi));
    };
    const auto packed = pack();
    if (stream)
        simd::stream(out, packed);
    else
        simd::storePacked(out, packed, m);
}

// Single-channel 16-bit rows need no interleaving: the 32-bit lane d of the
// values loaded at offset o already holds the adjacent pair (x[o+2d],
// x[o+2d+1]). The even outputs 2d take the pairs at offsets 0, 2, 4, ...,
// the odd outputs 2d+1 those at 1, 3, 5, ..., with the same tap pairs; the
// two halves are packed and their 16-bit lanes interleaved back into order.
// Loads keep to the lanes some output of the block reads (an odd last tap
// pairs with 0, and the value beside it is not loaded at the block's end).
// Full blocks (N = 32, every offset's lanes inside the row) pass N as a
// template argument, so that with a fixed K the masks are constants and the
// tap loop unrolls.
template <int K, int R, int N = 0, class Src, class Dst>
inline void adjacentBlock(const PairConstants& c, const __m512i* tp, int k, const Src* base, Dst* out, int n) {
    constexpr bool offset = std::is_same_v<Src, uint16_t>;
    if constexpr (N > 0) n = N;
    const int count = K > 0 ? K : k;
    const int lanes[2] = {n + (n & 1), n - (n & 1)};  // the even and the odd outputs' lanes
    auto load = [&](int o) {
        int l = lanes[o & 1];
        if (l > count + n - 1 - o) l = count + n - 1 - o;
        return pairValues(base + o, simd::firstLanes32(l));
    };
    __m512i even = _mm512_setzero_si512(), odd = _mm512_setzero_si512();
#pragma GCC unroll 16
    for (int j = 0; j < count; j += 2) {
        even = _mm512_add_epi32(even, _mm512_madd_epi16(load(j), tp[j >> 1]));
        odd = _mm512_add_epi32(odd, _mm512_madd_epi16(load(j + 1), tp[j >> 1]));
    }
    even = pairRound<R, offset>(c, even);
    odd = pairRound<R, offset>(c, odd);
    if constexpr (R == 2) {
        simd::storePacked(out, magicPack<Dst>(even, odd, magicOrderEvenOdd()), simd::firstLanes32(n));
        return;
    }
    // packs gives, in each 128-bit lane, four even then four odd outputs.
    const __m512i packed =
        std::is_same_v<Dst, uint16_t> ? _mm512_packus_epi32(even, odd) : _mm512_packs_epi32(even, odd);
    // (bytes 0 1 8 9 2 3 10 11 4 5 12 13 6 7 14 15 of every 128-bit lane)
    const __m512i order = _mm512_set4_epi32(0x0F0E0706, 0x0D0C0504, 0x0B0A0302, 0x09080100);
    simd::store(out, _mm512_shuffle_epi8(packed, order), simd::firstLanes32(n));
}

// Outputs [0, n) of single-channel 16-bit values at `values` (the value of
// tap j for output x at values[x + j]): full blocks of 32, then one masked.
template <int K, int R, class Src, class Dst>
inline void adjacentSpan(const PairConstants& c, const __m512i* tp, int k, const Src* values, Dst* out, int64_t n) {
    int64_t x = 0;
    for (; x + 32 <= n; x += 32) adjacentBlock<K, R, 32>(c, tp, k, values + x, out + x, 32);
    if (x < n) adjacentBlock<K, R>(c, tp, k, values + x, out + x, int(n - x));
}

// Calls f with the compile-time forms of a plan.
template <class F>
inline void withPairForms(const PairPlan& plan, F f) {
    auto round = [&]<bool Sym>() {
        switch (plan.rounding()) {
            case 2:
                return f.template operator()<Sym, 2>();
            case 1:
                return f.template operator()<Sym, 1>();
            default:
                return f.template operator()<Sym, 0>();
        }
    };
    if (plan.symmetric)
        round.template operator()<true>();
    else
        round.template operator()<false>();
}
// The same for the rounding alone.
template <class F>
inline void withRounding(const PairPlan& plan, F f) {
    switch (plan.rounding()) {
        case 2:
            return f.template operator()<2>();
        case 1:
            return f.template operator()<1>();
        default:
            return f.template operator()<0>();
    }
}

// ---- Row pass ----

template <class Src, class Tap>
struct RowPass {
    const Src* src;
    int64_t srcStep;
    ImageSize roi;
    const Tap* taps;
    int k;
    int anchor;
    Border border;
    const Src* value;             // one per channel (constant border)
    int divisor;                  // integer variants
    Store store = Store::cached;  // 32f: whole blocks on cache lines may bypass the cache
};

// ext(i) of channel c of a source row: the pixel, a synthesised border pixel,
// or the memory beyond the region where the border's flag says it is valid.
template <class Src, int Ch>
inline Src extended(const Src* row, int64_t i, int c, int64_t width, const Border& b, const Src* value) {
    const bool inside = (i >= 0 && i < width) || (i < 0 && b.inMemLeft) || (i >= width && b.inMemRight);
    if (inside) return row[i * Ch + c];
    if (b.base == zepBorderConst) return value[c];
    return row[borderIndex(i, width, b.base) * Ch + c];
}

// The definition of one output from the values under its taps, value(j) for
// tap j: integers sum exactly and round sum / divisor to nearest, ties to
// even, then saturate; 32f sums the products in tap order.
template <class Src, class Dst, class Tap, class Value>
inline Dst rowResult(const RowPass<Src, Tap>& p, Value value) {
    if constexpr (std::is_same_v<Src, float>) {
        float sum = p.taps[0] * value(0);
        for (int j = 1; j < p.k; ++j) sum = sum + p.taps[j] * value(j);
        return sum;
    } else {
        int64_t sum = 0;
        for (int j = 0; j < p.k; ++j) sum += int64_t(p.taps[j]) * value(j);
        return saturate<Dst>(roundDivEven(sum, p.divisor));
    }
}

// The definition of element e (pixel e / Ch, channel e % Ch) of a row pass.
template <class Src, class Dst, class Tap, int Ch>
inline Dst rowElement(const RowPass<Src, Tap>& p, const Src* row, int64_t e) {
    const int64_t x = e / Ch;
    const int c = static_cast<int>(e % Ch);
    return rowResult<Src, Dst, Tap>(
        p, [&](int j) { return extended<Src, Ch>(row, x + j - p.anchor, c, p.roi.width, p.border, p.value); });
}

// The elements whose kernel span stays inside the row: [lo, hi).
template <class Src, class Tap, int Ch>
inline void interior(const RowPass<Src, Tap>& p, int64_t& lo, int64_t& hi) {
    lo = int64_t{p.anchor} * Ch;
    hi = (int64_t{p.roi.width} - p.k + p.anchor + 1) * Ch;
    if (hi < lo) hi = lo;
}

// Elements [e0, e1) of a row by the definition, for the vector passes' row
// heads and tails: the extended pixels of their window are synthesised once
// each (not once per tap), then every element follows rowResult.
template <class Src, class Dst, class Tap, int Ch>
inline void edgeSpan(const RowPass<Src, Tap>& p, const Src* row, Dst* out, int64_t e0, int64_t e1) {
    constexpr int64_t kWindow = 256;  // elements
    if (e0 >= e1) return;
    const int64_t x0 = e0 / Ch, n = (e1 - 1) / Ch - x0 + p.k;  // the window's first pixel is x0 - anchor
    if (n * Ch > kWindow) {
        for (int64_t e = e0; e < e1; ++e) out[e] = rowElement<Src, Dst, Tap, Ch>(p, row, e);
        return;
    }
    Src w[kWindow];
    for (int64_t i = 0; i < n; ++i)
        for (int c = 0; c < Ch; ++c)
            w[i * Ch + c] = extended<Src, Ch>(row, x0 - p.anchor + i, c, p.roi.width, p.border, p.value);
    for (int64_t e = e0; e < e1; ++e) {
        const Src* v = w + (e / Ch - x0) * Ch + e % Ch;  // ext(x - anchor) of element e
        out[e] = rowResult<Src, Dst, Tap>(p, [&](int j) { return v[j * Ch]; });
    }
}

// Elements [e0, e1) of a row, for the paired row passes' heads and tails:
// the extended pixels of their window are synthesised once each, as in
// edgeSpan, and the vector block(base, out, m) computes up to 32 elements at
// a time from them (the value of tap j of element i of the block at
// base[i + j * Ch]; lanes of m), as it does the interior. Windows too wide
// for the stack go by the definition.
template <class Src, class Dst, class Tap, int Ch, class Block>
[[gnu::always_inline]] inline void edgeSpanBlocks(const RowPass<Src, Tap>& p, const Src* row, Dst* out, int64_t e0,
                                                  int64_t e1, Block&& block) {
    constexpr int64_t kWindow = 256;  // elements
    if (e0 >= e1) return;
    const int64_t x0 = e0 / Ch, n = (e1 - 1) / Ch - x0 + p.k;  // the window's first pixel is x0 - anchor
    if (n * Ch > kWindow) return edgeSpan<Src, Dst, Tap, Ch>(p, row, out, e0, e1);
    Src w[kWindow];
    for (int64_t i = 0; i < n; ++i)
        for (int c = 0; c < Ch; ++c)
            w[i * Ch + c] = extended<Src, Ch>(row, x0 - p.anchor + i, c, p.roi.width, p.border, p.value);
    for (int64_t e = e0; e < e1; e += 32)
        block(w + (e - x0 * Ch), out + e, simd::firstLanes32(e1 - e < 32 ? int(e1 - e) : 32));
}

// The integer row pass in paired 16-bit products (the plan holds).
template <int K, class Src, class Dst, class Tap, int Ch>
void rowPassPairs(const RowPass<Src, Tap>& p, Dst* const* dst, const PairPlan& plan) {
    __m512i tp[kMaxPairTaps / 2];
    tapPairs(p.taps, p.k, plan, tp);
    const PairConstants c = pairConstants(plan);
    const int64_t E = int64_t{p.roi.width} * Ch;
    int64_t lo = E, hi = E;
    interior<Src, Tap, Ch>(p, lo, hi);
    const int k = p.k;
    const int64_t back = int64_t{p.anchor} * Ch;
    if constexpr (Ch == 1 && sizeof(Src) == 2) {
        if (!plan.symmetric) {
            withRounding(plan, [&]<int FR>() {
                const PairConstants cl = c;  // (locals stay in registers across the stores)
                __m512i tl[kMaxPairTaps / 2];
                for (int i = 0; i < (K > 0 ? (K + 1) / 2 : (k + 1) / 2); ++i) tl[i] = tp[i];
                auto edge = [&](const Src* base, Dst* o, __mmask32 m) {
                    pairBlock<K, false, FR>(
                        cl, tl, k, [&](int j) { return base + j; }, o, m);
                };
                for (int y = 0; y < p.roi.height; ++y) {
                    const Src* row =
                        reinterpret_cast<const Src*>(reinterpret_cast<const char*>(p.src) + y * p.srcStep);
                    Dst* out = dst[y];
                    const int64_t head = lo < E ? lo : E;
                    edgeSpanBlocks<Src, Dst, Tap, Ch>(p, row, out, 0, head, edge);
                    if (lo < hi) adjacentSpan<K, FR>(cl, tl, k, row + lo - back, out + lo, hi - lo);
                    edgeSpanBlocks<Src, Dst, Tap, Ch>(p, row, out, hi > head ? hi : head, E, edge);
                }
            });
            return;
        }
    }
    withPairForms(plan, [&]<bool Sym, int FR>() {
        const PairConstants cl = c;  // (locals stay in registers across the stores)
        __m512i tl[kMaxPairTaps / 2];
        for (int i = 0; i < (K > 0 ? (K + 1) / 2 : (k + 1) / 2); ++i) tl[i] = tp[i];
        auto edge = [&](const Src* base, Dst* o, __mmask32 m) {
            pairBlock<K, Sym, FR>(
                cl, tl, k, [&](int j) { return base + j * Ch; }, o, m);
        };
        for (int y = 0; y < p.roi.height; ++y) {
            const Src* row = reinterpret_cast<const Src*>(reinterpret_cast<const char*>(p.src) + y * p.srcStep);
            Dst* out = dst[y];
            const int64_t head = lo < E ? lo : E;
            edgeSpanBlocks<Src, Dst, Tap, Ch>(p, row, out, 0, head, edge);
            int64_t e = lo;
            for (; e + 32 <= hi; e += 32) {
                const Src* base = row + e - back;
                pairBlock<K, Sym, FR>(
                    cl, tl, k, [&](int j) { return base + j * Ch; }, out + e, ~__mmask32{0});
            }
            if (e < hi) {
                const Src* base = row + e - back;
                pairBlock<K, Sym, FR>(
                    cl, tl, k, [&](int j) { return base + j * Ch; }, out + e, simd::firstLanes32(int(hi - e)));
            }
            edgeSpanBlocks<Src, Dst, Tap, Ch>(p, row, out, hi > head ? hi : head, E, edge);
        }
    });
}

template <Path P, int K, class Src, class Dst, class Tap, int Ch>
void rowPassInt(const RowPass<Src, Tap>& p, Dst* const* dst) {
    PairPlan pairs = P == Path::vector
                         ? planPairs<Src>(p.taps, p.k, p.divisor, std::is_same_v<Src, uint8_t> ? 255 : 32768)
                         : PairPlan{};
    planMagic<Dst>(pairs, lowest<Src>(), highest<Src>());
    if (pairs.ok) return rowPassPairs<K, Src, Dst, Tap, Ch>(p, dst, pairs);
    const IntPlan plan = P == Path::vector ? planInteger<Src>(p.taps, p.k, p.divisor) : IntPlan{};
    __m512i ti[K > 0 ? K : 1] = {};
    __m512d td[K > 0 ? K : 1] = {};
    if constexpr (K > 0) broadcastTaps<K>(p.taps, ti, td);
    const ShiftConstants sc = shiftConstants<Dst>(plan);
    const int64_t E = int64_t{p.roi.width} * Ch;
    int64_t lo = E, hi = E;
    if (plan.mode != IntMode::scalar) interior<Src, Tap, Ch>(p, lo, hi);
    for (int y = 0; y < p.roi.height; ++y) {
        const Src* row = reinterpret_cast<const Src*>(reinterpret_cast<const char*>(p.src) + y * p.srcStep);
        Dst* out = dst[y];
        const int64_t head = lo < E ? lo : E;
        if (P == Path::vector)
            edgeSpan<Src, Dst, Tap, Ch>(p, row, out, 0, head);
        else
            for (int64_t e = 0; e < head; ++e) out[e] = rowElement<Src, Dst, Tap, Ch>(p, row, e);
        auto interiorLoop = [&]<IntMode M>() {
            for (int64_t e = lo; e < hi; e += 16) {
                const Src* base = row + e - int64_t{p.anchor} * Ch;
                integerBlock<M, K, Src, Dst>(
                    sc, p.taps, p.k, ti, td, double(p.divisor), [&](int j) { return base + j * Ch; }, out + e,
                    hi - e < 16 ? int(hi - e) : 16);
            }
        };
        if (plan.mode == IntMode::shift32)
            interiorLoop.template operator()<IntMode::shift32>();
        else
            interiorLoop.template operator()<IntMode::exact64>();
        if (P == Path::vector)
            edgeSpan<Src, Dst, Tap, Ch>(p, row, out, hi > head ? hi : head, E);
        else
            for (int64_t e = hi > head ? hi : head; e < E; ++e) out[e] = rowElement<Src, Dst, Tap, Ch>(p, row, e);
    }
}

// Sixteen single-precision sums in tap order (no fused multiply-add):
// tap(0) * v0 + tap(1) * v1 + ..., the values of tap j at at(j) (lanes of m;
// full blocks pass a constant mask and load without one).
template <int K, class Tap, class At>
inline __m512 floatSum(Tap tap, int count, At at, __mmask16 m) {
    auto load = [&](int j) { return m == 0xFFFF ? simd::load(at(j)) : simd::load(at(j), m); };
    __m512 acc = _mm512_mul_ps(tap(0), load(0));
#pragma GCC unroll 16
    for (int j = 1; j < count; ++j) acc = _mm512_add_ps(acc, _mm512_mul_ps(tap(j), load(j)));
    return acc;
}
// Two such sums side by side (at(0, j) and at(1, j)), so that the two
// dependency chains of additions overlap.
template <int K, class Tap, class At>
inline void floatSum2(Tap tap, int count, At at, __m512& s0, __m512& s1) {
    __m512 a0 = _mm512_mul_ps(tap(0), simd::load(at(0, 0)));
    __m512 a1 = _mm512_mul_ps(tap(0), simd::load(at(1, 0)));
#pragma GCC unroll 16
    for (int j = 1; j < count; ++j) {
        a0 = _mm512_add_ps(a0, _mm512_mul_ps(tap(j), simd::load(at(0, j))));
        a1 = _mm512_add_ps(a1, _mm512_mul_ps(tap(j), simd::load(at(1, j))));
    }
    s0 = a0;
    s1 = a1;
}
template <int K, class Tap>
inline __m512 floatSum(Tap tap, int count, const float* base, int64_t stride, __mmask16 m) {
    return floatSum<K>(
        tap, count, [&](int j) { return base + j * stride; }, m);
}

// Elements [e0, e1) of a single-precision output row: sum(e, m) gives the
// sixteen sums from element e (lanes of m), sum2(e, s0, s1) thirty-two. A
// first block reaches the next cache line, the whole blocks after it are
// stored on lines (with streaming stores when `stream`), a masked one ends.
template <class Sum, class Sum2>
[[gnu::always_inline]] inline void floatRow(float* out, int64_t e0, int64_t e1, bool stream, Sum&& sum, Sum2&& sum2) {
    int64_t e = e0;
    if (const int64_t a = simd::toBoundary<64>(out + e); a > 0 && e < e1) {
        const __mmask16 m = simd::firstLanes16(int(e1 - e < a ? e1 - e : a));
        simd::store(out + e, sum(e, m), m);
        e = e1 - e < a ? e1 : e + a;
    }
    stream = stream && (reinterpret_cast<uintptr_t>(out + e) & 63) == 0;
    auto put = [stream](float* q, __m512 v) { stream ? simd::stream(q, v) : simd::store(q, v); };
    for (; e + 32 <= e1; e += 32) {
        __m512 s0, s1;
        sum2(e, s0, s1);
        put(out + e, s0);
        put(out + e + 16, s1);
    }
    for (; e + 16 <= e1; e += 16) put(out + e, sum(e, __mmask16{0xFFFF}));
    if (e < e1) {
        const __mmask16 m = simd::firstLanes16(int(e1 - e));
        simd::store(out + e, sum(e, m), m);
    }
}

template <Path P, int K, int Ch>
void rowPassFloat(const RowPass<float, float>& p, float* const* dst) {
    __m512 tv[K > 0 ? K : 1] = {};
    if constexpr (K > 0)
        for (int j = 0; j < K; ++j) tv[j] = _mm512_set1_ps(p.taps[j]);
    auto tap = [&](int j) { return K > 0 ? tv[j] : _mm512_set1_ps(p.taps[j]); };
    const int count = K > 0 ? K : p.k;
    const int64_t E = int64_t{p.roi.width} * Ch;
    int64_t lo = E, hi = E;
    if (P == Path::vector) interior<float, float, Ch>(p, lo, hi);
    const int64_t back = int64_t{p.anchor} * Ch;
    for (int y = 0; y < p.roi.height; ++y) {
        const float* row = reinterpret_cast<const float*>(reinterpret_cast<const char*>(p.src) + y * p.srcStep);
        float* out = dst[y];
        const int64_t head = lo < E ? lo : E;
        if (P == Path::vector)
            edgeSpan<float, float, float, Ch>(p, row, out, 0, head);
        else
            for (int64_t e = 0; e < head; ++e) out[e] = rowElement<float, float, float, Ch>(p, row, e);
        floatRow(
            out, lo, hi, p.store == Store::streaming,
            [&](int64_t e, __mmask16 m) { return floatSum<K>(tap, count, row + e - back, Ch, m); },
            [&](int64_t e, __m512& s0, __m512& s1) {
                const float* base = row + e - back;
                floatSum2<K>(
                    tap, count, [&](int b, int j) { return base + 16 * b + j * Ch; }, s0, s1);
            });
        if (P == Path::vector)
            edgeSpan<float, float, float, Ch>(p, row, out, hi > head ? hi : head, E);
        else
            for (int64_t e = hi > head ? hi : head; e < E; ++e)
                out[e] = rowElement<float, float, float, Ch>(p, row, e);
    }
}

// Runs the row pass with the kernel specialised for sizes 3, 5 and 7.
template <Path P, class Src, class Dst, class Tap, int Ch>
void rowPass(const RowPass<Src, Tap>& p, Dst* const* dst) {
    if constexpr (std::is_same_v<Src, float>) {
        if (p.k == 3) return rowPassFloat<P, 3, Ch>(p, dst);
        if (p.k == 5) return rowPassFloat<P, 5, Ch>(p, dst);
        if (p.k == 7) return rowPassFloat<P, 7, Ch>(p, dst);
        return rowPassFloat<P, 0, Ch>(p, dst);
    } else {
        if (p.k == 3) return rowPassInt<P, 3, Src, Dst, Tap, Ch>(p, dst);
        if (p.k == 5) return rowPassInt<P, 5, Src, Dst, Tap, Ch>(p, dst);
        if (p.k == 7) return rowPassInt<P, 7, Src, Dst, Tap, Ch>(p, dst);
        return rowPassInt<P, 0, Src, Dst, Tap, Ch>(p, dst);
    }
}

// ---- Row pass over a widened, extended row ----
//
// A caller with room for one more row (the Gaussian filter) can widen an 8u
// single-channel source row once into 16-bit values together with its border
// pixels, ext(i - anchor) at ext[i]: output x then reads ext[x] ..
// ext[x + k - 1], adjacent pairs of 16-bit values feed vpmaddwd directly (as
// for 16-bit rows), no output needs a border of its own, and each value is
// widened once rather than once per tap. (Three-channel rows gain nothing:
// their taps' values lie three elements apart, and the 64-byte loads of
// 16-bit values that replace 32-byte loads of bytes cross more cache lines.)

// The plan of the rows of a call (the same taps and divisor for every row):
// not ok where the paired products cannot hold the sums.
inline PairPlan widenedPlan(const int16_t* taps, int k, int divisor) {
    PairPlan plan = planPairs<uint8_t>(taps, k, divisor, 255);
    planMagic<int16_t>(plan, 0, 255);
    plan.symmetric = false;  // adjacent pairs take every tap in order
    return plan;
}

// The row pass of one 8u single-channel row (p.roi.height 1) through its
// widened, extended copy at ext ((width + k - 1) values) into out, with the
// plan of widenedPlan. Returns false, having written nothing, where that plan
// is not ok (the caller runs rowPass instead).
template <int K>
bool rowPassWidened(const RowPass<uint8_t, int16_t>& p, int16_t* ext, int16_t* out, const PairPlan& plan) {
    if (!plan.ok) return false;
    const int64_t W = p.roi.width, k = p.k, a = p.anchor;
    for (int64_t i = -a; i < 0; ++i) ext[i + a] = extended<uint8_t, 1>(p.src, i, 0, W, p.border, p.value);
    int64_t x = 0;
    for (; x + 32 <= W; x += 32)  // (whole blocks unmasked: masked stores are slow on some processors)
        _mm512_storeu_si512(ext + a + x,
                            _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p.src + x))));
    if (x < W) {
        const __mmask32 m = simd::firstLanes32(int(W - x));
        simd::store(ext + a + x, simd::loadAsInt16(p.src + x, m), m);
    }
    for (int64_t i = W; i < W + k - 1 - a; ++i) ext[i + a] = extended<uint8_t, 1>(p.src, i, 0, W, p.border, p.value);
    __m512i tp[kMaxPairTaps / 2];
    tapPairs(p.taps, p.k, plan, tp);
    const PairConstants c = pairConstants(plan);
    withRounding(plan, [&]<int FR>() { adjacentSpan<K, FR>(c, tp, p.k, ext, out, W); });
    return true;
}

// With the kernel specialised for sizes 3, 5 and 7.
inline bool rowPassWidened(const RowPass<uint8_t, int16_t>& p, int16_t* ext, int16_t* out, const PairPlan& plan) {
    if (p.k == 3) return rowPassWidened<3>(p, ext, out, plan);
    if (p.k == 5) return rowPassWidened<5>(p, ext, out, plan);
    if (p.k == 7) return rowPassWidened<7>(p, ext, out, plan);
    return rowPassWidened<0>(p, ext, out, plan);
}

// ---- Column pass ----

template <class Src, class Tap>
struct ColumnPass {
    const Src* const* rows;  // height + k - 1 rows
    int64_t dstStep;
    int64_t elements;  // width * channels
    int64_t height;
    const Tap* taps;
    int k;
    int divisor;
    int32_t valueBound = 32768;   // the largest magnitude of a source value (the caller may know better)
    bool nonNegative = false;     // and whether the values are known to be at least 0
    Store store = Store::cached;  // streaming: whole blocks on their boundaries bypass the cache
};

// The integer column pass in paired 16-bit products (the plan holds).
template <int K, class Src, class Dst, class Tap>
void columnPassPairs(const ColumnPass<Src, Tap>& p, Dst* dst, const PairPlan& plan) {
    __m512i tp[kMaxPairTaps / 2];
    tapPairs(p.taps, p.k, plan, tp);
    const PairConstants c = pairConstants(plan);
    const int k = p.k;
    const int64_t E = p.elements;
    const bool stream = p.store == Store::streaming;
    withPairForms(plan, [&]<bool Sym, int FR>() {
        const PairConstants cl = c;  // (locals stay in registers across the stores)
        __m512i tl[kMaxPairTaps / 2];
        for (int i = 0; i < (K > 0 ? (K + 1) / 2 : (k + 1) / 2); ++i) tl[i] = tp[i];
        for (int64_t y = 0; y < p.height; ++y) {
            const Src* rows[kMaxPairTaps];
            for (int j = 0; j < k; ++j) rows[j] = p.rows[y + j];
            Dst* out = reinterpret_cast<Dst*>(reinterpret_cast<char*>(dst) + y * p.dstStep);
            walkBlocks<32>(
                out, E, [&](int64_t e, __mmask32 m, bool whole) __attribute__((always_inline)) {
                    pairBlock<K, Sym, FR>(
                        cl, tl, k, [&](int j) { return rows[j] + e; }, out + e, m, whole && stream);
                });
        }
    });
}

// The single-precision column pass computes exactly when the divisor is a
// power of two and sum|tap| * max|value| < 2^24: then the reciprocal, each
// scaled tap (t * 2^-16-s) and each value (v * 2^16) are exact, every product
// t * v * 2^-s and every partial sum is a whole multiple of 2^-s below 2^24 of
// them in magnitude, so exactly representable, and the float sum is Σ / d
// itself. Clamping to the integer bounds of the destination before rounding
// then gives what saturating the rounded quotient gives, so the integer pairs
// reach the same results.
template <class Tap>
inline PairPlan planSingleAsPairs(const Tap* taps, int k, int divisor, int64_t valueBound) {
    double sumAbs = 0;
    for (int j = 0; j < k; ++j) sumAbs += std::fabs(double(taps[j]));
    if (sumAbs * double(valueBound) >= double(1 << 24)) return PairPlan{};
    return planPairs<int16_t>(taps, k, divisor, valueBound);
}

// Whether the 16s column pass runs in single precision (else exactly in integers).
template <class Tap>
inline bool singlePrecisionColumn(const Tap* taps, int k) {
    double sumAbs = 0;
    for (int j = 0; j < k; ++j) sumAbs += std::fabs(double(taps[j]));
    return sumAbs < 65535.0;
}

// A tap of the single-precision column pass: (tap * 2^-16) * (1 / divisor).
inline float columnTap(int32_t tap, float reciprocal) { return (float(tap) * 0x1p-16f) * reciprocal; }

// The definition of one element of the single-precision column pass. Its rows
// hold 16-bit values, as 16-bit integers or as the floats equal to them.
template <class Dst, class Row>
inline Dst columnElementFloat(const Row* const* rows, int64_t e, const int16_t* taps, int k, float reciprocal) {
    float sum = columnTap(taps[0], reciprocal) * float(int32_t(rows[0][e]) * 65536);
    for (int j = 1; j < k; ++j) sum = sum + columnTap(taps[j], reciprocal) * float(int32_t(rows[j][e]) * 65536);
    const float lo = float(lowest<Dst>()), hi = float(highest<Dst>());
    sum = sum < lo ? lo : sum > hi ? hi : sum;
    return saturate<Dst>(roundEven(sum));
}

// (GCC 12 reports the intrinsics' self-initialised "undefined" vectors, as
// core/simd.h says, here where the block walk inlines them into some callers.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
template <Path P, int K, class Dst, class Row>
void columnPassSingle(const ColumnPass<Row, int16_t>& p, Dst* dst) {
    if constexpr (P == Path::vector && std::is_same_v<Row, int16_t>) {
        PairPlan pairs = planSingleAsPairs(p.taps, p.k, p.divisor, p.valueBound);
        planMagic<Dst>(pairs, p.nonNegative ? 0 : -int64_t{p.valueBound}, p.valueBound);
        if (pairs.ok) return columnPassPairs<K>(p, dst, pairs);
    }
    const float reciprocal = 1.0f / float(p.divisor);
    // The vector lanes take each value as it is and the tap times 65536: the
    // tap is a normal float (|tap| / 2^16 / |divisor| >= 2^-47) or zero, so
    // scaling it by 2^16 is exact, the exact products tap * 2^16 * v and
    // tap * (v * 2^16) are the same number, and they round alike.
    auto scaledTap = [&](int j) { return _mm512_set1_ps(columnTap(p.taps[j], reciprocal) * 65536.0f); };
    __m512 tv[K > 0 ? K : 1] = {};
    if constexpr (K > 0)
        for (int j = 0; j < K; ++j) tv[j] = scaledTap(j);
    const int count = K > 0 ? K : p.k;
    const bool stream = p.store == Store::streaming;
    const __m512 lo = _mm512_set1_ps(float(lowest<Dst>())), hi = _mm512_set1_ps(float(highest<Dst>()));
    for (int64_t y = 0; y < p.height; ++y) {
        // (Locals, so that the row pointers and taps stay in registers across the stores.)
        const Row* rows[K > 0 ? K : kMaxPairTaps];
        const Row* const* const all = p.rows + y;
        __m512 tl[K > 0 ? K : 1];
        if constexpr (K > 0)
            for (int j = 0; j < K; ++j) rows[j] = all[j], tl[j] = tv[j];
        auto tap = [&](int j) { return K > 0 ? tl[j] : scaledTap(j); };
        auto row = [&](int j) { return K > 0 ? rows[j] : all[j]; };
        Dst* out = reinterpret_cast<Dst*>(reinterpret_cast<char*>(dst) + y * p.dstStep);
        if constexpr (P == Path::vector) {
            walkBlocks<16>(
                out, p.elements, [&](int64_t e, __mmask16 m, bool whole) __attribute__((always_inline)) {
                    auto value = [&](int j) { return simd::loadAsFloat(row(j) + e, m); };
                    __m512 acc = _mm512_mul_ps(tap(0), value(0));
#pragma GCC unroll 16
                    for (int j = 1; j < count; ++j) acc = _mm512_add_ps(acc, _mm512_mul_ps(tap(j), value(j)));
                    acc = _mm512_min_ps(_mm512_max_ps(acc, lo), hi);
                    const __m512i q = _mm512_cvt_roundps_epi32(acc, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
                    if (whole && stream)
                        simd::stream(out + e, simd::narrow<Dst>(q));
                    else
                        simd::storeNarrow(out + e, q, m);
                });
        } else {
            for (int64_t e = 0; e < p.elements; ++e)
                out[e] = columnElementFloat<Dst>(all, e, p.taps, p.k, reciprocal);
        }
    }
}

#pragma GCC diagnostic pop

// The exact integer column pass (16u, and 16s kernels with sum|tap| >= 65535).
template <Path P, int K, class Src, class Dst, class Tap>
void columnPassInt(const ColumnPass<Src, Tap>& p, Dst* dst) {
    if constexpr (P == Path::vector) {
        const PairPlan pairs = planPairs<Src>(p.taps, p.k, p.divisor, 32768);
        if (pairs.ok) return columnPassPairs<K>(p, dst, pairs);
    }
    const IntPlan plan = P == Path::vector ? planInteger<Src>(p.taps, p.k, p.divisor) : IntPlan{};
    __m512i ti[K > 0 ? K : 1] = {};
    __m512d td[K > 0 ? K : 1] = {};
    if constexpr (K > 0) broadcastTaps<K>(p.taps, ti, td);
    const ShiftConstants sc = shiftConstants<Dst>(plan);
    for (int64_t y = 0; y < p.height; ++y) {
        const Src* const* rows = p.rows + y;
        Dst* out = reinterpret_cast<Dst*>(reinterpret_cast<char*>(dst) + y * p.dstStep);
        int64_t e = 0;
        auto loop = [&]<IntMode M>() {
            for (; e < p.elements; e += 16)
                integerBlock<M, K, Src, Dst>(
                    sc, p.taps, p.k, ti, td, double(p.divisor), [&](int j) { return rows[j] + e; }, out + e,
                    p.elements - e < 16 ? int(p.elements - e) : 16);
        };
        if (plan.mode == IntMode::shift32)
            loop.template operator()<IntMode::shift32>();
        else if (plan.mode == IntMode::exact64)
            loop.template operator()<IntMode::exact64>();
        for (; e < p.elements; ++e) {
            int64_t sum = 0;
            for (int j = 0; j < p.k; ++j) sum += int64_t(p.taps[j]) * rows[j][e];
            out[e] = saturate<Dst>(roundDivEven(sum, p.divisor));
        }
    }
}

template <Path P, int K>
void columnPassFloat(const ColumnPass<float, float>& p, float* dst) {
    __m512 tv[K > 0 ? K : 1] = {};
    if constexpr (K > 0)
        for (int j = 0; j < K; ++j) tv[j] = _mm512_set1_ps(p.taps[j]);
    const int count = K > 0 ? K : p.k;
    const int64_t E = p.elements;
    // Elements [e0, e1) of output row y.
    // (The row pointers and, with the span not inlined, the taps would be
    // reloaded after every store: copied to locals they stay in registers.)
    auto span = [&](int64_t y, int64_t e0, int64_t e1) {
        const float* rowsLocal[K > 0 ? K : 1];
        const float* const* rows = p.rows + y;
        if constexpr (K > 0) {
            for (int j = 0; j < K; ++j) rowsLocal[j] = rows[j];
            rows = rowsLocal;
        }
        __m512 tl[K > 0 ? K : 1];
        for (int j = 0; j < (K > 0 ? K : 1); ++j) tl[j] = tv[j];
        auto tap = [&](int j) { return K > 0 ? tl[j] : _mm512_set1_ps(p.taps[j]); };
        float* out = reinterpret_cast<float*>(reinterpret_cast<char*>(dst) + y * p.dstStep);
        floatRow(
            out, e0, e1, p.store == Store::streaming,
            [&](int64_t e, __mmask16 m) {
                return floatSum<K>(
                    tap, count, [&](int j) { return rows[j] + e; }, m);
            },
            [&](int64_t e, __m512& s0, __m512& s1) {
                floatSum2<K>(
                    tap, count, [&](int b, int j) { return rows[j] + e + 16 * b; }, s0, s1);
            });
    };
    if constexpr (P == Path::vector) {
        // Groups of up to kGroup output rows, each in column strips of kStrip
        // elements: the strip of a source row is loaded into L1 once and
        // reused there by the outputs of the group that read it.
        constexpr int64_t kStrip = 512, kGroup = 8;
        forEachBand(p.height, kGroup, [&](int64_t y0, int64_t rows) {
            for (int64_t e0 = 0; e0 < E; e0 += kStrip)
                for (int64_t y = y0; y < y0 + rows; ++y) span(y, e0, E - e0 < kStrip ? E : e0 + kStrip);
        });
    } else {
        for (int64_t y = 0; y < p.height; ++y) {
            const float* const* rows = p.rows + y;
            float* out = reinterpret_cast<float*>(reinterpret_cast<char*>(dst) + y * p.dstStep);
            for (int64_t e = 0; e < E; ++e) {
                float sum = p.taps[0] * rows[0][e];
                for (int j = 1; j < p.k; ++j) sum = sum + p.taps[j] * rows[j][e];
                out[e] = sum;
            }
        }
    }
}

// Runs the column pass with the kernel specialised for sizes 3, 5 and 7.
template <Path P, class Src, class Dst, class Tap>
void columnPass(const ColumnPass<Src, Tap>& p, Dst* dst) {
    auto run = [&]<int K>() {
        if constexpr (std::is_same_v<Tap, float>) {
            columnPassFloat<P, K>(p, dst);
        } else if constexpr (std::is_same_v<Src, float>) {  // 16-bit values held as floats
            columnPassSingle<P, K, Dst>(p, dst);
        } else if constexpr (std::is_same_v<Src, int16_t>) {
            if (singlePrecisionColumn(p.taps, p.k))
                columnPassSingle<P, K, Dst>(p, dst);
            else
                columnPassInt<P, K, Src, Dst, Tap>(p, dst);
        } else {
            columnPassInt<P, K, Src, Dst, Tap>(p, dst);
        }
    };
    if (p.k == 3) return run.template operator()<3>();
    if (p.k == 5) return run.template operator()<5>();
    if (p.k == 7) return run.template operator()<7>();
    run.template operator()<0>();
}

// The passes that both the pipeline exports and the Gaussian filter run are
// compiled once, in pipeline.cpp (programs outside the library that include
// this header compile their own).
#define ZEP_SHARED_PASSES(X)                                                                                    \
    X template void rowPass<Path::vector, uint8_t, int16_t, int16_t, 1>(const RowPass<uint8_t, int16_t>&,       \
                                                                        int16_t* const*);                       \
    X template void rowPass<Path::vector, uint8_t, int16_t, int16_t, 3>(const RowPass<uint8_t, int16_t>&,       \
                                                                        int16_t* const*);                       \
    X template void rowPass<Path::vector, int16_t, int16_t, int16_t, 1>(const RowPass<int16_t, int16_t>&,       \
                                                                        int16_t* const*);                       \
    X template void rowPass<Path::vector, int16_t, int16_t, int16_t, 3>(const RowPass<int16_t, int16_t>&,       \
                                                                        int16_t* const*);                       \
    X template void rowPass<Path::vector, float, float, float, 1>(const RowPass<float, float>&, float* const*); \
    X template void rowPass<Path::vector, float, float, float, 3>(const RowPass<float, float>&, float* const*); \
    X template void columnPass<Path::vector, int16_t, uint8_t, int16_t>(const ColumnPass<int16_t, int16_t>&,    \
                                                                        uint8_t*);                              \
    X template void columnPass<Path::vector, int16_t, int16_t, int16_t>(const ColumnPass<int16_t, int16_t>&,    \
                                                                        int16_t*);                              \
    X template void columnPass<Path::vector, float, float, float>(const ColumnPass<float, float>&, float*);
#if ZEPCV_BUILDING_LIBRARY
ZEP_SHARED_PASSES(extern)
#endif

}  // namespace zep::filter
