// Rows of 1-bit pixels (1u images), 64 pixels to a word.
//
// In memory, pixel x of a row lies at bit position b = offset + x counted
// from the row's first byte: bit 7 - b % 8 of byte b / 8, most significant
// bit first. In a word the first pixel is bit 63, so that words mask, shift
// and compare in pixel order: the pixels after a word's last are the top
// bits of the next word.
#pragma once

#include <cstdint>
#include <cstring>

namespace zep::bits {

// The first n pixels of a word (its top n bits): none for n <= 0, all for n >= 64.
[[gnu::always_inline]] constexpr uint64_t firstPixels(int n) {
    return n <= 0 ? 0 : n >= 64 ? ~uint64_t{0} : ~(~uint64_t{0} >> n);
}

// Pixels b .. b + n - 1 of a row (b a bit position from the row's first
// byte, 1 <= n <= 64) as the first n pixels of a word, the others 0. Reads
// only the bytes that hold those pixels.
[[gnu::always_inline]] inline uint64_t load(const uint8_t* row, int64_t b, int n = 64) {
    if (n <= 0) return 0;
    const uint8_t* p = row + (b >> 3);
    const int s = static_cast<int>(b & 7);
    const int bytes = (s + n + 7) >> 3;  // 1 to 9
    uint64_t w = 0;
    if (bytes >= 8) {
        std::memcpy(&w, p, 8);
        w = __builtin_bswap64(w) << s;
        if (bytes == 9) w |= uint64_t{p[8]} >> (8 - s);
    } else {
        for (int i = 0; i < bytes; ++i) w |= uint64_t{p[i]} << (56 - 8 * i);
        w <<= s;
    }
    return w & firstPixels(n);
}

// The first n pixels of `word` (1 <= n <= 64) to positions b .. b + n - 1 of
// a row. Every other bit of the row keeps its value, and no byte is read or
// written but those that hold one of the n pixels.
[[gnu::always_inline]] inline void store(uint8_t* row, int64_t b, uint64_t word, int n = 64) {
    if (n <= 0) return;
    uint8_t* p = row + (b >> 3);
    const int s = static_cast<int>(b & 7);
    const int bytes = (s + n + 7) >> 3;
    const uint64_t region = firstPixels(n), v = word & region;
    // The part in the first eight bytes, most significant byte first.
    const uint64_t region8 = region >> s, v8 = v >> s;
    if (bytes >= 8) {
        uint64_t d;
        std::memcpy(&d, p, 8);
        d = __builtin_bswap64((__builtin_bswap64(d) & ~region8) | v8);
        std::memcpy(p, &d, 8);
        if (bytes == 9) {  // s > 0: the last 8 - s bits of region spill into a ninth byte
            const auto m = static_cast<uint8_t>((region << (64 - s)) >> 56);
            const auto x = static_cast<uint8_t>((v << (64 - s)) >> 56);
            p[8] = static_cast<uint8_t>((p[8] & ~m) | x);
        }
    } else {
        for (int i = 0; i < bytes; ++i) {
            const auto m = static_cast<uint8_t>(region8 >> (56 - 8 * i));
            const auto x = static_cast<uint8_t>(v8 >> (56 - 8 * i));
            p[i] = static_cast<uint8_t>((p[i] & ~m) | x);
        }
    }
}

// A row shifted with carry across words. For consecutive words `before` and
// `word` of a row: the 64 pixels that begin k pixels before `word`'s first
// (0 <= k <= 64), so that pixel x of the result is pixel x - k of the row.
[[gnu::always_inline]] inline uint64_t shiftedFromBefore(uint64_t before, uint64_t word, int k) {
    if (k == 0) return word;
    if (k == 64) return before;
    return (word >> k) | (before << (64 - k));
}

// For consecutive words `word` and `after`: the 64 pixels that begin k
// pixels after `word`'s first, so that pixel x of the result is pixel x + k.
[[gnu::always_inline]] inline uint64_t shiftedFromAfter(uint64_t word, uint64_t after, int k) {
    if (k == 0) return word;
    if (k == 64) return after;
    return (word << k) | (after >> (64 - k));
}

}  // namespace zep::bits
