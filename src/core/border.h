// Border types: a base type in the low four bits, in-memory flags above it.
#pragma once

#include <zepcv.h>

#include <cstdint>
#include <initializer_list>
#include <type_traits>

namespace zep {

struct Border {
    int base;  // zepBorderRepl, zepBorderMirror, zepBorderConst, or 0 when every side is in memory
    bool inMemTop, inMemBottom, inMemLeft, inMemRight;
};

// The base types a family accepts, as a set of bits (1 << base).
constexpr unsigned bases(std::initializer_list<int> accepted) {
    unsigned set = 0;
    for (int b : accepted) set |= 1u << b;
    return set;
}

// Decodes `type` for a family that accepts `acceptedBases` and values up to
// `maxValue` (255 for filters, 4095 for morphology). Default becomes constant
// (the caller supplies the neutral value); flags are kept. Base 0 stands only
// with all four flags (0xF0). Returns false for a type the family rejects.
constexpr bool decodeBorder(uint32_t type, uint32_t maxValue, unsigned acceptedBases, Border& out) {
    if (type > maxValue) return false;
    const int base = static_cast<int>(type & 0xF);
    const uint32_t flags = type & zepBorderInMem;
    if (base == 0) {
        if (flags != zepBorderInMem) return false;
    } else if (!(acceptedBases & (1u << base))) {
        return false;
    }
    out.base = base == zepBorderDefault ? zepBorderConst : base;
    out.inMemTop = flags & zepBorderInMemTop;
    out.inMemBottom = flags & zepBorderInMemBottom;
    out.inMemLeft = flags & zepBorderInMemLeft;
    out.inMemRight = flags & zepBorderInMemRight;
    return true;
}

// The index read for position i of a line of n elements under a synthesised
// border (replicate or mirror); i may lie any distance outside 0..n-1.
// Mirror reflects about the edge element without repeating it (x = -1 reads 1).
constexpr int64_t borderIndex(int64_t i, int64_t n, int base) {
    if (i >= 0 && i < n) return i;
    if (base == zepBorderMirror) {
        if (n == 1) return 0;
        const int64_t period = 2 * (n - 1);
        int64_t r = i % period;
        if (r < 0) r += period;
        return r < n ? r : period - r;
    }
    return i < 0 ? 0 : n - 1;
}

// A constant border's value as exports take it: one element for one channel,
// three for three (decayed to a pointer); valueOf gives the kernels' pointer.
template <class T, int Ch>
using BorderValue = std::conditional_t<Ch == 1, T, const T*>;
template <class T, int Ch>
const T* valueOf(const BorderValue<T, Ch>& v) {
    if constexpr (Ch == 1)
        return &v;
    else
        return v;
}

}  // namespace zep
