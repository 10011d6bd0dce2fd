// Row access into caller images and the 64-byte alignment rules of work buffers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace zep {

// An image seen as rows: the first pixel of the region and the row step in bytes.
template <class T>
struct Rows {
    T* first;
    ptrdiff_t step;

    T* operator[](ptrdiff_t y) const {
        using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
        return reinterpret_cast<T*>(reinterpret_cast<Byte*>(first) + y * step);
    }
};

template <class T>
Rows<T> rows(T* first, int64_t step) {
    return {first, static_cast<ptrdiff_t>(step)};
}

// The pointer plus the distance to the next multiple of 64 (0 when aligned).
template <class T = uint8_t>
T* alignUp64(void* p) {
    const uintptr_t a = (reinterpret_cast<uintptr_t>(p) + 63) & ~uintptr_t{63};
    return reinterpret_cast<T*>(a);
}

// The step of a row buffer inside a work buffer: the row's bytes rounded up to 64.
constexpr int64_t alignedRowStep(int64_t rowBytes) { return (rowBytes + 63) & ~int64_t{63}; }

}  // namespace zep
