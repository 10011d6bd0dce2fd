// Work buffers and specs in caller memory: sizes in 64 bits that cannot wrap,
// and one description of a buffer's parts that gives both the size a query
// reports and the pointers the operation uses.
//
//   template <class C> void parts(C& carve, int64_t w, int64_t k) {
//       rows = carve.template take<float>(Bytes{k} * w);   // 64-byte aligned
//       queue = carve.template take<int32_t>(Bytes{w});
//   }
//   Carve measure;  parts(measure, w, k);  measure.size()   -> the query's answer
//   Carve at(p);    parts(at, w, k);       pointers into p  -> the operation
//
// A size that does not fit the query's output (INT32_MAX for int outputs,
// INT64_MAX for 64-bit ones) is refused with zepStsSizeOverflow; an
// operation refuses the same arguments the same way before it touches memory.
#pragma once

#include <cstdint>
#include <limits>

namespace zep {

// A byte count that saturates at INT64_MAX instead of wrapping: a sum or
// product of non-negative counts that passes it stays there, and so is refused.
class Bytes {
public:
    static constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

    constexpr Bytes(int64_t v = 0) : v_(v < 0 ? kMax : v) {}  // NOLINT: counts convert implicitly
    constexpr int64_t value() const { return v_; }
    constexpr bool fitsInt32() const { return v_ <= std::numeric_limits<int32_t>::max(); }
    constexpr bool fitsInt64() const { return v_ < kMax; }

    friend constexpr Bytes operator+(Bytes a, Bytes b) {
        int64_t r = 0;
        return __builtin_add_overflow(a.v_, b.v_, &r) ? Bytes{kMax} : Bytes{r};
    }
    friend constexpr Bytes operator*(Bytes a, Bytes b) {
        int64_t r = 0;
        return __builtin_mul_overflow(a.v_, b.v_, &r) ? Bytes{kMax} : Bytes{r};
    }
    // Rounded up to a multiple of a power of two.
    constexpr Bytes alignedTo(int64_t a) const { return v_ > kMax - a ? Bytes{kMax} : Bytes{(v_ + a - 1) & -a}; }

private:
    int64_t v_;
};

// The parts of a buffer, in order, each starting on a 64-byte boundary. Over
// no memory it measures: size() is what the query reports, with room for a
// start at any alignment. Over the caller's buffer it hands out the parts.
class Carve {
public:
    Carve() : base_(nullptr), lead_(63) {}
    explicit Carve(void* base)
        : base_(static_cast<uint8_t*>(base)),
          lead_(static_cast<int64_t>((64 - (reinterpret_cast<uintptr_t>(base) & 63)) & 63)) {}

    // count elements of T on the next 64-byte boundary (null when measuring).
    template <class T>
    T* take(Bytes count) {
        at_ = at_.alignedTo(64);
        T* p = base_ ? reinterpret_cast<T*>(base_ + lead_ + at_.value()) : nullptr;
        at_ = at_ + count * Bytes{static_cast<int64_t>(sizeof(T))};
        return p;
    }

    // Bytes from the buffer's start to the end of the last part.
    Bytes size() const { return Bytes{lead_} + at_; }

private:
    uint8_t* base_;
    int64_t lead_;  // from the start to the first 64-byte boundary (63 when measuring)
    Bytes at_ = 0;  // from that boundary
};

}  // namespace zep
