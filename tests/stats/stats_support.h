// Shared pieces of the statistics tests: mask planes of chosen density and
// exact comparison of double and float results (NaN equal to NaN).
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

#include "support/image.h"

namespace zt {

// Mask densities: no pixel, exactly one pixel, about a tenth, about nine
// tenths, every pixel.
enum class Density { none, one, sparse, dense, all };
inline constexpr Density kDensities[] = {Density::none, Density::one, Density::sparse, Density::dense, Density::all};

inline Image<uint8_t> makeMask(std::mt19937& rng, int w, int h, Density d) {
    Image<uint8_t> m(rng, w, h);
    const int64_t pick = static_cast<int64_t>(rng() % (static_cast<uint32_t>(w) * static_cast<uint32_t>(h)));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const uint8_t on = static_cast<uint8_t>(1 + rng() % 255);
            switch (d) {
                case Density::none:
                    m.at(y)[x] = 0;
                    break;
                case Density::one:
                    m.at(y)[x] = int64_t{y} * w + x == pick ? on : 0;
                    break;
                case Density::sparse:
                    m.at(y)[x] = rng() % 10 == 0 ? on : 0;
                    break;
                case Density::dense:
                    m.at(y)[x] = rng() % 10 != 0 ? on : 0;
                    break;
                case Density::all:
                    m.at(y)[x] = on;
                    break;
            }
        }
    return m;
}

// Bit-identical, or both NaN.
template <class F>
bool sameValue(F a, F b) {
    if (std::isnan(a) && std::isnan(b)) return true;
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace zt
