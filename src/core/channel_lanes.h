// One channel of a row as 64-byte vectors: the reductions over a one-channel
// image, or over one channel of a three-channel interleaved image, see a row
// as blocks of 64 / sizeof(T) pixels, each gathered into one vector with the
// lane mask of the pixels that take part (inside the row and, in masked forms,
// with a nonzero mask byte). Lanes outside the mask hold 0.
//
// A three-channel block is three vectors of the row; lane L of the gathered
// vector is element L, E + L or 2E + L of the block (E lanes a vector),
// whichever belongs to the channel: E is 1 or 2 modulo 3, so exactly one of
// the three does. So lane L of every block holds the pixel x with
// (3x + channel) mod E = L, and every lane sees one pixel per block.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/simd.h"

namespace zep::simd {

template <class T>
inline constexpr int kLanes = static_cast<int>(64 / sizeof(T));

// Bit i set for the first n of E lanes; all E for n >= E.
template <int E>
inline uint64_t firstBits(int n) {
    return n >= E ? (E == 64 ? ~uint64_t{0} : (uint64_t{1} << E) - 1) : (uint64_t{1} << n) - 1;
}

// Lanes of the first n mask bytes (n <= E) that are nonzero; n == E reads E bytes.
template <int E>
inline uint64_t selectedBits(const uint8_t* mask, int n) {
    if constexpr (E == 64) {
        const __m512i m = n >= 64 ? _mm512_loadu_si512(mask) : _mm512_maskz_loadu_epi8(firstBits<64>(n), mask);
        return _mm512_test_epi8_mask(m, m);
    } else if constexpr (E == 32) {
        const __m256i m = n >= 32 ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(mask))
                                  : _mm256_maskz_loadu_epi8(static_cast<__mmask32>(firstBits<32>(n)), mask);
        return _mm256_test_epi8_mask(m, m);
    } else {
        const __m128i m = n >= 16 ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask))
                                  : _mm_maskz_loadu_epi8(static_cast<__mmask16>(firstBits<16>(n)), mask);
        return _mm_test_epi8_mask(m, m);
    }
}

// The elements of T in `lanes` from p, zero elsewhere; with `merge`, the other lanes keep `into`.
template <class T>
inline __m512i loadLanes(const T* p, uint64_t lanes) {
    if constexpr (sizeof(T) == 1)
        return _mm512_maskz_loadu_epi8(lanes, p);
    else if constexpr (sizeof(T) == 2)
        return _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes), p);
    else
        return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), p);
}
template <class T>
inline __m512i mergeLanes(__m512i into, const T* p, uint64_t lanes) {
    if constexpr (sizeof(T) == 1)
        return _mm512_mask_loadu_epi8(into, lanes, p);
    else if constexpr (sizeof(T) == 2)
        return _mm512_mask_loadu_epi16(into, static_cast<__mmask32>(lanes), p);
    else
        return _mm512_mask_loadu_epi32(into, static_cast<__mmask16>(lanes), p);
}

// The gatherer of one channel: C is 1 or 3, channel 0-based.
template <class T, int C>
class ChannelLanes {
public:
    static constexpr int E = kLanes<T>;

    explicit ChannelLanes(int channel) {
        if constexpr (C == 3) {
            for (int j = 0; j < 3; ++j) {
                bits_[j] = 0;
                for (int i = 0; i < E; ++i)
                    if ((j * E + i) % 3 == channel) bits_[j] |= uint64_t{1} << i;
                first_[j] = (j * E - channel + 2) / 3;  // first pixel whose element lies in vector j
            }
        } else {
            (void)channel;
        }
    }

    // The block of E pixels at px (pointer to its first pixel's first element)
    // whose pixel bits are `pixels`; sets `lanes` to the vector lanes in use.
    __m512i gather(const T* px, uint64_t pixels, uint64_t& lanes) const {
        if constexpr (C == 1) {
            lanes = pixels;
            return loadLanes(px, pixels);
        } else {
            const uint64_t e0 = _pdep_u64(pixels, bits_[0]);
            const uint64_t e1 = _pdep_u64(pixels >> first_[1], bits_[1]);
            const uint64_t e2 = _pdep_u64(pixels >> first_[2], bits_[2]);
            lanes = e0 | e1 | e2;
            __m512i v = loadLanes(px, e0);
            v = mergeLanes(v, px + E, e1);
            return mergeLanes(v, px + 2 * E, e2);
        }
    }

    // The element mask of vector j (0..2) of a three-channel block for the
    // selected pixels: pdep(pixels >> first(j), pattern(j)). For loops that
    // keep the parts in registers.
    uint64_t pattern(int j) const { return bits_[j]; }
    int first(int j) const { return first_[j]; }

    // A whole block with every pixel taking part: every lane is in use.
    __m512i gatherAll(const T* px) const {
        if constexpr (C == 1) {
            return _mm512_loadu_si512(px);
        } else {
            __m512i v = loadLanes(px, bits_[0]);  // the three loads fill every lane
            v = mergeLanes(v, px + E, bits_[1]);
            return mergeLanes(v, px + 2 * E, bits_[2]);
        }
    }

private:
    uint64_t bits_[3] = {};
    int first_[3] = {};
};

// Walks one row of `width` pixels in blocks of E: block(v, lanes, dense) gets
// the gathered vector, its lane mask, and std::true_type when every lane takes
// part (whole blocks of unmasked forms). `mask` is null in unmasked forms.
// Masked blocks without a selected pixel are skipped.
template <class T, int C, class Block>
inline void forEachBlock(const ChannelLanes<T, C>& ch, const T* row, const uint8_t* mask, int width, Block&& block) {
    constexpr int E = kLanes<T>;
    int x = 0;
    if (mask == nullptr) {
        for (; x + 2 * E <= width; x += 2 * E) {
            block(ch.gatherAll(row + x * C), firstBits<E>(E), std::true_type{});
            block(ch.gatherAll(row + (x + E) * C), firstBits<E>(E), std::true_type{});
        }
        for (; x + E <= width; x += E) block(ch.gatherAll(row + x * C), firstBits<E>(E), std::true_type{});
    } else {
        for (; x + E <= width; x += E) {
            const uint64_t pixels = selectedBits<E>(mask + x, E);
            if (pixels == 0) continue;
            uint64_t lanes;
            const __m512i v = ch.gather(row + x * C, pixels, lanes);
            block(v, lanes, std::false_type{});
        }
    }
    if (x < width) {
        const int n = width - x;
        const uint64_t pixels = mask == nullptr ? firstBits<E>(n) : selectedBits<E>(mask + x, n);
        if (pixels == 0) return;
        uint64_t lanes;
        const __m512i v = ch.gather(row + x * C, pixels, lanes);
        block(v, lanes, std::false_type{});
    }
}

}  // namespace zep::simd
