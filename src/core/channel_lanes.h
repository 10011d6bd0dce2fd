// One channel of interleaved pixels as 64-byte vectors, two ways.
//
// ChannelLanes<T, C> (C = 1 or 3, any element type): the reductions over
// one channel see a row as blocks of E = 64 / sizeof(T) pixels, each
// gathered into one vector with the lane mask of the pixels that take part
// (inside the row and, in masked forms, with a nonzero mask byte). Lanes
// outside the mask hold 0. A three-channel block is three vectors of the row;
// lane L of the gathered vector is element L, E + L or 2E + L of the block,
// whichever belongs to the channel: E is 1 or 2 modulo 3, so exactly one of
// the three does. So lane L of every block holds the pixel x with
// (3x + channel) mod E = L, and every lane sees one pixel per block.
//
// Deinterleave<T, C> and Interleave<T, C> (C = 1, 3 or 4; 16- and 32-bit
// elements): pixel order, lane i is pixel i. Deinterleave gathers one channel
// of E pixels from the C vectors that hold them; Interleave stores C channel
// vectors as E interleaved pixels. Both route lanes by two-source permutes
// (no byte permutes in this instruction set, so not for 8-bit elements).
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/simd.h"

namespace zep::simd {

// The gatherer of one channel in lane order (lane L: the pixel x of the block
// with (C x + channel) mod E = L): C is 1 or 3, channel 0-based.
template <class T, int C>
class ChannelLanes {
    using B = Uint<T>;

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
            static_assert(C == 1, "ChannelLanes gathers one channel of one or three");
            (void)channel;
        }
    }

    // The block of E pixels at px (pointer to its first pixel's first element)
    // whose pixel bits are `pixels`; sets `lanes` to the vector lanes in use.
    [[gnu::always_inline]] Vec<T> gather(const T* px, uint64_t pixels, uint64_t& lanes) const {
        const B* p = reinterpret_cast<const B*>(px);
        if constexpr (C == 1) {
            lanes = pixels;
            return asVec(load(p, static_cast<Mask<T>>(pixels)));
        } else {
            const uint64_t e0 = _pdep_u64(pixels, bits_[0]), e1 = part(1, pixels), e2 = part(2, pixels);
            lanes = e0 | e1 | e2;
            __m512i v = load(p, static_cast<Mask<T>>(e0));
            v = loadMerged(v, p + E, static_cast<Mask<T>>(e1));
            return asVec(loadMerged(v, p + 2 * E, static_cast<Mask<T>>(e2)));
        }
    }

    // A whole block with every pixel taking part: every lane is in use.
    [[gnu::always_inline]] Vec<T> gatherAll(const T* px) const {
        if constexpr (C == 1) {
            return load(px);
        } else {
            const B* p = reinterpret_cast<const B*>(px);
            __m512i v = load(p, static_cast<Mask<T>>(bits_[0]));  // the three loads fill every lane
            v = loadMerged(v, p + E, static_cast<Mask<T>>(bits_[1]));
            return asVec(loadMerged(v, p + 2 * E, static_cast<Mask<T>>(bits_[2])));
        }
    }

    // The element mask of vector j (0..2) of a three-channel block for the
    // selected pixels: pdep(pixels >> first(j), pattern(j)). Loops that keep
    // the parts in registers read pattern and first once.
    [[gnu::always_inline]] uint64_t part(int j, uint64_t pixels) const {
        return _pdep_u64(pixels >> first_[j], bits_[j]);
    }
    uint64_t pattern(int j) const { return bits_[j]; }
    int first(int j) const { return first_[j]; }

private:
    [[gnu::always_inline]] static Vec<T> asVec(__m512i v) {
        if constexpr (isFloat<T>)
            return _mm512_castsi512_ps(v);
        else
            return v;
    }

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
    constexpr uint64_t all = E == 64 ? ~uint64_t{0} : (uint64_t{1} << E) - 1;
    int x = 0;
    if (mask == nullptr) {
        for (; x + 2 * E <= width; x += 2 * E) {
            block(ch.gatherAll(row + x * C), all, std::true_type{});
            block(ch.gatherAll(row + (x + E) * C), all, std::true_type{});
        }
        for (; x + E <= width; x += E) block(ch.gatherAll(row + x * C), all, std::true_type{});
    } else {
        for (; x + E <= width; x += E) {
            const uint64_t pixels = nonzeroLanes<E>(mask + x);
            if (pixels == 0) continue;
            uint64_t lanes;
            const Vec<T> v = ch.gather(row + x * C, pixels, lanes);
            block(v, lanes, std::false_type{});
        }
    }
    if (x < width) {
        const int n = width - x;
        const uint64_t pixels = mask == nullptr ? uint64_t{firstLanes<E>(n)} : uint64_t{nonzeroLanes<E>(mask + x, n)};
        if (pixels == 0) return;
        uint64_t lanes;
        const Vec<T> v = ch.gather(row + x * C, pixels, lanes);
        block(v, lanes, std::false_type{});
    }
}

namespace detail {

// A routing of E lanes from up to four source vectors s0..s3: lane i of the
// result is lane lane(i) of source source(i). Up to three sources, two
// chained permutes (the second keeps the first's lanes or takes s2's); four,
// one permute of s0 and s1, one of s2 and s3, and a blend.
template <class T, int C>
class Route {
    static_assert(sizeof(T) == 2 || sizeof(T) == 4, "routes permute 16- or 32-bit lanes");
    static constexpr int E = kLanes<T>;
    using Index = std::conditional_t<sizeof(T) == 2, int16_t, int32_t>;

public:
    Route() = default;
    template <class Source>
    explicit Route(Source&& source) {
        if constexpr (C == 1) return;  // one channel needs no routing
        alignas(64) Index first[E], second[E];
        uint64_t fromSecond = 0;
        for (int i = 0; i < E; ++i) {
            const auto [q, lane] = source(i);
            if constexpr (C <= 3) {
                first[i] = static_cast<Index>(q == 1 ? E + lane : q == 0 ? lane : 0);
                second[i] = static_cast<Index>(q == 2 ? E + lane : i);
            } else {
                first[i] = static_cast<Index>(q == 1 ? E + lane : lane);
                second[i] = static_cast<Index>(q == 3 ? E + lane : lane);
                if (q >= 2) fromSecond |= uint64_t{1} << i;
            }
        }
        first_ = _mm512_load_si512(first);
        second_ = _mm512_load_si512(second);
        fromSecond_ = static_cast<Mask<T>>(fromSecond);
    }

    [[gnu::always_inline]] Vec<T> operator()(Vec<T> s0, Vec<T> s1, Vec<T> s2, Vec<T> s3) const {
        if constexpr (C <= 2)
            return permute(s0, first_, s1);
        else if constexpr (C == 3)
            return permute(permute(s0, first_, s1), second_, s2);
        else
            return blend(fromSecond_, permute(s0, first_, s1), permute(s2, second_, s3));
    }

private:
    [[gnu::always_inline]] static Vec<T> permute(Vec<T> a, __m512i index, Vec<T> b) {
        if constexpr (sizeof(T) == 2)
            return _mm512_permutex2var_epi16(a, index, b);
        else if constexpr (isFloat<T>)
            return _mm512_permutex2var_ps(a, index, b);
        else
            return _mm512_castps_si512(_mm512_permutex2var_ps(_mm512_castsi512_ps(a), index, _mm512_castsi512_ps(b)));
    }
    [[gnu::always_inline]] static Vec<T> blend(Mask<T> k, Vec<T> a, Vec<T> b) {
        if constexpr (sizeof(T) == 2)
            return _mm512_mask_mov_epi16(a, k, b);
        else if constexpr (isFloat<T>)
            return _mm512_mask_mov_ps(a, k, b);
        else
            return _mm512_mask_mov_epi32(a, k, b);
    }

    __m512i first_ = _mm512_setzero_si512(), second_ = _mm512_setzero_si512();
    Mask<T> fromSecond_ = 0;
};

// Vector j of the C vectors of E interleaved pixels at p; with n pixels
// (n <= E), only the elements of the first n are read, the others are 0.
template <class T, int C>
[[gnu::always_inline]] inline Vec<T> part(const T* p, int j, int n) {
    constexpr int E = kLanes<T>;
    if (j >= C) return Vec<T>{};
    return n >= E ? load(p + j * E) : load(p + j * E, firstLanes<E>(C * n - j * E));
}

}  // namespace detail

// Channel `channel` of E pixels in pixel order: lane i is element C i + channel.
template <class T, int C>
class Deinterleave {
public:
    static constexpr int E = kLanes<T>;

    explicit Deinterleave(int channel)
        : route_([channel](int i) {
              const int e = C * i + channel;
              return std::pair<int, int>{e / E, e % E};
          }) {}

    // The channel of the E pixels at p (all C E elements are read); of the
    // first n pixels (n <= E, only their elements read), lanes n and up 0.
    [[gnu::always_inline]] Vec<T> operator()(const T* p, int n = E) const {
        if constexpr (C == 1)
            return n >= E ? load(p) : load(p, firstLanes<E>(n));
        else
            return route_(detail::part<T, C>(p, 0, n), detail::part<T, C>(p, 1, n), detail::part<T, C>(p, 2, n),
                          detail::part<T, C>(p, 3, n));
    }

private:
    detail::Route<T, C> route_;
};

// C channel vectors (lane i: pixel i) stored as E interleaved pixels.
template <class T, int C>
class Interleave {
public:
    static constexpr int E = kLanes<T>;

    Interleave() {
        for (int j = 0; j < C; ++j)
            routes_[j] = detail::Route<T, C>([j](int i) {
                const int e = j * E + i;
                return std::pair<int, int>{e % C, e / C};
            });
    }

    // The first n pixels (n <= E) to p: C n elements are written, no others.
    [[gnu::always_inline]] void operator()(T* p, const Vec<T> (&channel)[C], int n = E) const {
        Vec<T> s[4] = {};
        for (int c = 0; c < C; ++c) s[c] = channel[c];
        for (int j = 0; j < C; ++j) {
            const Vec<T> v = C == 1 ? s[0] : routes_[j](s[0], s[1], s[2], s[3]);
            if (n >= E)
                store(p + j * E, v);
            else if (C * n > j * E)
                store(p + j * E, v, firstLanes<E>(C * n - j * E));
        }
    }

private:
    detail::Route<T, C> routes_[C];
};

}  // namespace zep::simd
