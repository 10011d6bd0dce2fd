// Lane masks for one channel of a pixel-interleaved three-channel image.
//
// E pixels of three channels fill three vectors of E elements (E = 64 bytes,
// 32 16-bit values or 16 single-precision values). Given the bits of the
// selected pixels of such a group (bit i: pixel i), channelLanes() gives the
// element mask of each of the three vectors: element e of vector j is set when
// (j * E + e) % 3 is the channel and pixel (j * E + e) / 3 is selected. The
// bits are spread with one bit deposit (pdep) per vector, so an integer
// reduction can load the interleaved rows with zero-masked loads and sum or
// compare every lane: the other channels and the unselected pixels read as 0.
#pragma once

#include <cstdint>

#include "core/simd.h"

namespace zep::simd {

template <int E>
class ChannelLanes {
public:
    // channel: 0, 1 or 2.
    explicit ChannelLanes(int channel) {
        for (int j = 0; j < 3; ++j) {
            // The first pixel of the channel inside vector j, and its pattern.
            const int firstElement = j * E;
            int pixel = (firstElement - channel + 2) / 3;
            first_[j] = pixel;
            uint64_t pattern = 0;
            for (int e = 3 * pixel + channel - firstElement; e < E; e += 3) pattern |= uint64_t{1} << e;
            pattern_[j] = pattern;
        }
    }

    // The element mask of vector j (0..2) for the selected pixels of a group.
    uint64_t operator()(uint64_t pixels, int j) const { return _pdep_u64(pixels >> first_[j], pattern_[j]); }
    // Its parts, for loops that keep them in registers: mask = pdep(pixels >> first, pattern).
    uint64_t pattern(int j) const { return pattern_[j]; }
    int first(int j) const { return first_[j]; }

private:
    uint64_t pattern_[3];
    int first_[3];
};

}  // namespace zep::simd
