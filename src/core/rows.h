// The row walker shared by the element-wise kernels: whole vector blocks of
// `Lanes` elements, two per round, then the kernel's scalar definition for the
// rest of the row. The scalar path runs the definition over the whole row.
#pragma once

#include "core/export.h"

namespace zep {

template <Path P, int Lanes, class Block, class Pixel>
inline void walkRow(int width, Block&& block, Pixel&& pixel) {
    int x = 0;
    if constexpr (P == Path::vector) {
        for (; x + 2 * Lanes <= width; x += 2 * Lanes) {
            block(x);
            block(x + Lanes);
        }
        if (x + Lanes <= width) {
            block(x);
            x += Lanes;
        }
    }
    for (; x < width; ++x) pixel(x);
}

}  // namespace zep
