// Means and standard deviations of one channel, plain and masked: one pass
// gives the sum, the sum of squares and the pixel count, then the mean and the
// population deviation follow in double precision.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/channel_lanes.h"
#include "core/check.h"
#include "core/image.h"

namespace zep::stats {

// The sums of one pass. count is the number of pixels summed.
struct Moments {
    double sum = 0.0;
    double sumSq = 0.0;
    int64_t count = 0;
};

// The sixteen double lanes of a 32f row combined pairwise: lane i with i + 8,
// then i with i + 4, with i + 2, and the last two (as simd::reduceAdd adds).
inline double combineLanes(const double (&lane)[16]) {
    double a[8];
    for (int i = 0; i < 8; ++i) a[i] = lane[i] + lane[i + 8];
    return simd::pairwiseSum(a);
}

// The definition of the sums, pixel by pixel (channel 0-based; mask rows
// unread when Masked is false).
//
// Order and precision: integer pixels are summed exactly in 64-bit integers
// within a row (no order to speak of); the row's sums are converted to double
// once and added to the totals in row order. 32f pixels are converted exactly
// to double and summed into sixteen double lanes per row, the pixel at element
// index i = x * C + channel going to lane i mod 16, each lane in increasing x;
// squares are exact in double (24-bit significands), so there is no fused
// multiply-add to choose. At the end of a row the lanes are combined pairwise
// (combineLanes) and added to the totals in row order. This is what the
// 16-lane vector pass computes, so the two agree bit for bit at every width.
template <class T, int C, bool Masked, bool Squares>
Moments momentsScalar(Rows<const T> src, Rows<const uint8_t> mask, ImageSize roi, int channel) {
    Moments m;
    for (int y = 0; y < roi.height; ++y) {
        const T* row = src[y];
        const uint8_t* sel = Masked ? mask[y] : nullptr;
        if constexpr (std::is_floating_point_v<T>) {
            double lane[16] = {}, laneSq[16] = {};
            for (int x = 0; x < roi.width; ++x) {
                if (Masked && sel[x] == 0) continue;
                const int i = x * C + channel;
                const double v = row[i];
                lane[i & 15] += v;
                if (Squares) laneSq[i & 15] += v * v;
                ++m.count;
            }
            m.sum += combineLanes(lane);
            if (Squares) m.sumSq += combineLanes(laneSq);
        } else {
            uint64_t s = 0, q = 0;
            for (int x = 0; x < roi.width; ++x) {
                if (Masked && sel[x] == 0) continue;
                const uint64_t v = row[x * C + channel];
                s += v;
                q += v * v;
                ++m.count;
            }
            m.sum += static_cast<double>(s);
            if (Squares) m.sumSq += static_cast<double>(q);
        }
    }
    return m;
}

// Vector sums of one row, per element type; row() adds the row to the totals.
template <class T, bool Squares>
struct RowSums;

// Exact integer totals of a row in eight 64-bit lanes, converted to double
// and added to the image's totals once a row.
template <bool Squares>
struct IntegerTotals {
    __m512i sum = _mm512_setzero_si512(), sq = _mm512_setzero_si512();

    void row(Moments& m) {
        m.sum += static_cast<double>(simd::reduceAdd64(sum));
        sum = _mm512_setzero_si512();
        if constexpr (Squares) {
            m.sumSq += static_cast<double>(simd::reduceAdd64(sq));
            sq = _mm512_setzero_si512();
        }
    }
};

// 8u: sums by SAD against zero into eight 64-bit lanes; squares of the even
// and odd bytes of each 16-bit lane apart, multiply-added in pairs into
// sixteen 32-bit lanes (at most 4 * 255^2 = 260100 a lane a block), moved to
// 64-bit lanes at the end of each span of 2^14 blocks (kSpan pixels).
template <bool Squares>
struct RowSums<uint8_t, Squares> : IntegerTotals<Squares> {
    __m512i sqEven = _mm512_setzero_si512(), sqOdd = _mm512_setzero_si512();

    template <class Dense>
    void block(__m512i v, uint64_t, Dense) {
        this->sum = _mm512_add_epi64(this->sum, _mm512_sad_epu8(v, _mm512_setzero_si512()));
        if constexpr (Squares) {
            const __m512i even = _mm512_and_si512(v, _mm512_set1_epi16(0x00FF));
            // The odd bytes moved down by a byte shuffle, which runs beside the multiplies.
            const __m512i odd = _mm512_shuffle_epi8(
                v, _mm512_set4_epi32(int(0x800F800D), int(0x800B8009), int(0x80078005), int(0x80038001)));
            sqEven = _mm512_add_epi32(sqEven, _mm512_madd_epi16(even, even));
            sqOdd = _mm512_add_epi32(sqOdd, _mm512_madd_epi16(odd, odd));
        }
    }
    void span() {
        if constexpr (Squares) {
            const __m512i sq32 = _mm512_add_epi32(sqEven, sqOdd);
            this->sq = simd::addWidened<uint32_t>(this->sq, sq32);
            sqEven = sqOdd = _mm512_setzero_si512();
        }
    }
};

// 8u by byte dot products where the processor has them (AVX512-VNNI; the
// library picks this once it is loaded): x^2 = x (x - 128) + 128 x, with x as
// an unsigned byte and x - 128 (x with its top bit flipped) as a signed one.
// Four products a 32-bit lane a block lie in [-16384, 129540], so a span of
// 2^14 blocks keeps each lane below 2^31; sums by SAD as above. The same exact
// integer totals as the multiply-adds.
template <bool Squares>
struct DotRowSums;
#if !ZEPCV_EMULATE_AVX512
template <bool Squares>
struct DotRowSums : IntegerTotals<Squares> {
    __m512i dot = _mm512_setzero_si512(), next = _mm512_setzero_si512();

    template <class Dense>
    void block(__m512i v, uint64_t, Dense) {
        simd::opaque(v);
        this->sum = _mm512_add_epi64(this->sum, _mm512_sad_epu8(v, _mm512_setzero_si512()));
        if constexpr (Squares) {
            dot = simd::addDotBytes(dot, v, _mm512_xor_si512(v, _mm512_set1_epi8(-128)));
            std::swap(dot, next);  // alternate blocks to alternate lanes: two chains of dot products
        }
    }
    void span() {
        if constexpr (Squares) {
            this->sq = simd::addWidened<int32_t>(this->sq, _mm512_add_epi32(dot, next));
            dot = next = _mm512_setzero_si512();
        }
    }
    void row(Moments& m) {
        const uint64_t s = simd::reduceAdd64(this->sum);
        m.sum += static_cast<double>(s);
        if constexpr (Squares) m.sumSq += static_cast<double>(simd::reduceAdd64(this->sq) + (s << 7));
        this->sum = this->sq = _mm512_setzero_si512();
    }
};
#endif

// 16u: each pixel x enters as y = x - 32768 (the top bit flipped), a signed
// 16-bit lane, so that one multiply-add gives y_a^2 + y_b^2 per pair of lanes
// and another y_a + y_b. The pair of squares is at most 2^31: exact as an
// unsigned 32-bit lane. The sixteen lanes are added as eight 64-bit lanes as
// they stand (low dword + 2^32 * high dword, modulo 2^64) while the high
// dwords are totalled apart: at the end of the row, the total less 2^32 times
// the high total is the total of the low dwords, to which the high total adds.
// The pair sums stay in sixteen 32-bit lanes for a span of at most 2^15 blocks
// (|total| <= 2^31). Unused lanes hold y = 0. From the row's count n:
// sum x = sum y + 32768 n and sum x^2 = sum y^2 + 65536 sum y + 2^30 n.
template <bool Squares>
struct RowSums<uint16_t, Squares> {
    __m512i sum64 = _mm512_setzero_si512(), sum32 = _mm512_setzero_si512();
    __m512i sq = _mm512_setzero_si512(), sqHigh = _mm512_setzero_si512();
    int64_t count = 0;

    template <class Dense>
    void block(__m512i v, uint64_t lanes, Dense) {
        const __m512i flip = _mm512_set1_epi16(int16_t(0x8000));
        __m512i y;
        if constexpr (Dense::value) {
            y = _mm512_xor_si512(v, flip);
            count += 32;
        } else {
            y = _mm512_maskz_sub_epi16(static_cast<__mmask32>(lanes), v, flip);  // x - 2^15 mod 2^16
            count += __builtin_popcountll(lanes);
        }
        sum32 = _mm512_add_epi32(sum32, _mm512_madd_epi16(y, _mm512_set1_epi16(1)));
        if constexpr (Squares) {
            const __m512i pairs = _mm512_madd_epi16(y, y);
            sq = _mm512_add_epi64(sq, pairs);
            sqHigh = _mm512_add_epi64(sqHigh, _mm512_srli_epi64(pairs, 32));
        }
    }
    void span() {
        sum64 = simd::addWidened<int32_t>(sum64, sum32);
        sum32 = _mm512_setzero_si512();
    }
    void row(Moments& m) {
        const auto n = static_cast<uint64_t>(count);
        const uint64_t sumY = simd::reduceAdd64(sum64);  // modulo 2^64
        m.sum += static_cast<double>(sumY + (n << 15));
        if constexpr (Squares) {
            const uint64_t low = simd::reduceAdd64(sq);
            const uint64_t high = simd::reduceAdd64(sqHigh);
            const uint64_t sumY2 = low - (high << 32) + high;  // the low dwords, then the high ones
            m.sumSq += static_cast<double>(sumY2 + (sumY << 16) + (n << 30));
        }
        sum64 = sq = sqHigh = _mm512_setzero_si512();
        count = 0;
    }
};

// 32f: lanes 0..7 and 8..15 widened exactly to double and added, under the
// lane mask, into two vectors of double lanes: vector lane L is element index
// mod 16 (see ChannelLanes), as in the definition.
template <bool Squares>
struct RowSums<float, Squares> {
    __m512d s0 = _mm512_setzero_pd(), s1 = _mm512_setzero_pd(), q0 = _mm512_setzero_pd(), q1 = _mm512_setzero_pd();

    template <class Dense>
    void block(__m512 v, uint64_t lanes, Dense) {
        const __m512d d0 = simd::halfToDouble<0>(v), d1 = simd::halfToDouble<1>(v);
        if constexpr (Dense::value) {
            s0 = _mm512_add_pd(s0, d0);
            s1 = _mm512_add_pd(s1, d1);
            if constexpr (Squares) {
                q0 = _mm512_add_pd(q0, _mm512_mul_pd(d0, d0));
                q1 = _mm512_add_pd(q1, _mm512_mul_pd(d1, d1));
            }
        } else {
            const auto k0 = static_cast<__mmask8>(lanes), k1 = static_cast<__mmask8>(lanes >> 8);
            s0 = _mm512_mask_add_pd(s0, k0, s0, d0);
            s1 = _mm512_mask_add_pd(s1, k1, s1, d1);
            if constexpr (Squares) {
                q0 = _mm512_mask_add_pd(q0, k0, q0, _mm512_mul_pd(d0, d0));
                q1 = _mm512_mask_add_pd(q1, k1, q1, _mm512_mul_pd(d1, d1));
            }
        }
    }
    void span() {}
    void row(Moments& m) {
        m.sum += simd::reduceAdd(_mm512_add_pd(s0, s1));
        s0 = s1 = _mm512_setzero_pd();
        if constexpr (Squares) {
            m.sumSq += simd::reduceAdd(_mm512_add_pd(q0, q1));
            q0 = q1 = _mm512_setzero_pd();
        }
    }
};

// Pixels of a row summed before the integer kernels move their 32-bit lane
// sums to 64-bit lanes.
inline constexpr int kSpan = 1 << 20;

// The vector pass: blocks of 64 bytes of the channel (ChannelLanes), masked
// lanes and row tails under lane masks, counts from the lane masks; rows in
// spans of kSpan pixels.
template <class T, int C, bool Masked, bool Squares, bool Dot = false>
Moments momentsVector(Rows<const T> src, Rows<const uint8_t> mask, ImageSize roi, int channel) {
    const simd::ChannelLanes<T, C> lanes(channel);
    std::conditional_t<Dot, DotRowSums<Squares>, RowSums<T, Squares>> acc;
    Moments m;
    int64_t count = 0;
    for (int y = 0; y < roi.height; ++y) {
        for (int x = 0; x < roi.width; x += kSpan) {
            simd::forEachBlock(lanes, src[y] + int64_t{x} * C, Masked ? mask[y] + x : nullptr,
                               std::min(kSpan, roi.width - x), [&](auto v, uint64_t used, auto dense) {
                                   acc.block(v, used, dense);
                                   if constexpr (Masked) count += __builtin_popcountll(used);
                               });
            acc.span();
        }
        acc.row(m);
    }
    m.count = Masked ? count : int64_t{roi.width} * roi.height;
    return m;
}

// Dot: the 8u sums by byte dot products (DotRowSums), native builds only.
template <Path P, class T, int C, bool Masked, bool Squares, bool Dot = false>
Moments moments(const T* src, int srcStep, const uint8_t* mask, int maskStep, ImageSize roi, int channel) {
    static_assert(!Dot || (std::is_same_v<T, uint8_t> && P == Path::vector));
    if constexpr (P == Path::scalar)
        return momentsScalar<T, C, Masked, Squares>(rows(src, srcStep), rows(mask, maskStep), roi, channel);
    else
        return momentsVector<T, C, Masked, Squares, Dot>(rows(src, srcStep), rows(mask, maskStep), roi, channel);
}

// The checks shared by the statistics: source (and mask) null, extra pointers
// required by the form, the ROI, the source step then the mask step against
// their rows, the source step's multiple, the channel of interest (C3C forms).
template <class T, int C, bool Masked>
Checks statsChecks(const T* src, int srcStep, const uint8_t* mask, int maskStep, ImageSize roi, int coi,
                   bool outputMissing = false) {
    Checks c;
    c.notNull(src);
    if constexpr (Masked) c.notNull(mask);
    c.fail(outputMissing, zepStsNullPointer);
    c.roi(roi);
    if constexpr (Masked)
        c.steps({rowOf<T>(srcStep, roi.width, C), rowOf<uint8_t>(maskStep, roi.width)});
    else
        c.steps({rowOf<T>(srcStep, roi.width, C)});
    if constexpr (C == 3) c.fail(coi < 1 || coi > 3, zepStsBadChannelOfInterest);
    return c;
}

// The masked mean: sum / count, 0 when the mask selects no pixel.
template <Path P, class T, int C>
ZepStatus meanImage(const T* src, int srcStep, const uint8_t* mask, int maskStep, ImageSize roi, int coi,
                    double* mean) {
    return statsChecks<T, C, true>(src, srcStep, mask, maskStep, roi, coi, mean == nullptr).run([&] {
        const Moments m = moments<P, T, C, true, false>(src, srcStep, mask, maskStep, roi, C == 3 ? coi - 1 : 0);
        *mean = m.count == 0 ? 0.0 : m.sum / static_cast<double>(m.count);
    });
}

// Mean and population deviation: mean = sum / n, meanSq = sumSq / n,
// deviation = sqrt(|meanSq - mean * mean|) with the difference fused; the
// absolute value (not a clamp at 0) covers a variance that rounding made
// slightly negative. Both 0 when n is 0. Null outputs are not written, and
// squares are not summed when the deviation is not asked for.
template <Path P, class T, int C, bool Masked, bool Dot = false>
ZepStatus meanStdDevImage(const T* src, int srcStep, const uint8_t* mask, int maskStep, ImageSize roi, int coi,
                          double* mean, double* stdDev) {
    return statsChecks<T, C, Masked>(src, srcStep, mask, maskStep, roi, coi).run([&] {
        if (mean == nullptr && stdDev == nullptr) return;
        const int channel = C == 3 ? coi - 1 : 0;
        const Moments m = stdDev != nullptr
                              ? moments<P, T, C, Masked, true, Dot>(src, srcStep, mask, maskStep, roi, channel)
                              : moments<P, T, C, Masked, false, Dot>(src, srcStep, mask, maskStep, roi, channel);
        double mu = 0.0, sigma = 0.0;
        if (m.count != 0) {
            const double n = static_cast<double>(m.count);
            mu = m.sum / n;
            const double meanSq = m.sumSq / n;
            sigma = std::sqrt(std::fabs(std::fma(-mu, mu, meanSq)));
        }
        if (mean != nullptr) *mean = mu;
        if (stdDev != nullptr) *stdDev = sigma;
    });
}

}  // namespace zep::stats
