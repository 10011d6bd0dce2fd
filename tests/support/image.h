// Guarded test images: a region of interest placed at a chosen byte offset
// inside mapped memory, with spare bytes in every row step, between two
// inaccessible pages: the last row ends right before the one after, or the
// first byte starts right after the one before, so that reading past either
// end faults and writing outside the region shows in the guard bytes.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <zepcv.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <random>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace zt {

class Canvas {
public:
    // Which end of the used bytes abuts its inaccessible page (both ends have one).
    enum class Edge { start, end, alternate };

    // lead: bytes before the first pixel; step: bytes between rows (>= rowBytes).
    // Canvases alternate between ending at the page after them and starting at
    // the page before them, so that reads and writes past either end fault.
    Canvas(int64_t rowBytes, int64_t height, int64_t step, int64_t lead, Edge edge = Edge::alternate)
        : rowBytes_(rowBytes), height_(height), step_(step) {
        if (edge == Edge::alternate) edge = (nextEdge() ^= 1) ? Edge::start : Edge::end;
        const int64_t page = sysconf(_SC_PAGESIZE);
        const int64_t used = lead + step * (height - 1) + rowBytes;
        const int64_t dataPages = (used + page - 1) / page;
        mapBytes_ = static_cast<size_t>((dataPages + 2) * page);
        void* m = mmap(nullptr, mapBytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::runtime_error("mmap failed");
        map_ = static_cast<uint8_t*>(m);
        mprotect(map_, static_cast<size_t>(page), PROT_NONE);
        mprotect(map_ + (dataPages + 1) * page, static_cast<size_t>(page), PROT_NONE);
        edge_ = edge;
        begin_ = edge == Edge::start ? map_ + page : map_ + (dataPages + 1) * page - used;
        first_ = begin_ + lead;
        used_ = static_cast<size_t>(used);
    }
    Canvas(const Canvas& other)
        : Canvas(other.rowBytes_, other.height_, other.step_, other.first_ - other.begin_, other.edge_) {
        std::memcpy(begin_, other.begin_, used_);
    }
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas() { munmap(map_, mapBytes_); }

    uint8_t* first() const { return first_; }
    int64_t step() const { return step_; }
    int64_t rowBytes() const { return rowBytes_; }
    int64_t height() const { return height_; }
    uint8_t* row(int64_t y) const { return first_ + y * step_; }
    // Every byte of the mapping in use, guards included.
    std::vector<uint8_t> bytes() const { return {begin_, begin_ + used_}; }
    // Whether a byte offset into bytes() lies inside the region.
    bool inRegion(size_t offset) const {
        const int64_t rel = static_cast<int64_t>(offset) - (first_ - begin_);
        if (rel < 0) return false;
        const int64_t y = rel / step_;
        return y < height_ && rel % step_ < rowBytes_;
    }

private:
    static int& nextEdge() {
        thread_local int edge = 0;
        return edge;
    }

    int64_t rowBytes_, height_, step_;
    Edge edge_ = Edge::end;
    size_t mapBytes_ = 0, used_ = 0;
    uint8_t* map_ = nullptr;
    uint8_t* begin_ = nullptr;
    uint8_t* first_ = nullptr;
};

// A work buffer of `bytes` bytes at a misaligned address, ending at an
// inaccessible page.
inline Canvas bufferOf(int64_t bytes, int64_t misalign = 13) { return Canvas(bytes, 1, bytes, misalign); }

// A random value of T: integers over their full range; floats mostly in
// -1000..1000, with NaN, infinities, -0, zeros, denormals and huge values
// mixed in when `specials` is set.
template <class T>
T randomValue(std::mt19937& rng, bool specials) {
    if constexpr (std::is_floating_point_v<T>) {
        constexpr T inf = std::numeric_limits<T>::infinity();
        const T special[] = {std::numeric_limits<T>::quiet_NaN(),
                             inf,
                             -inf,
                             T(-0.0),
                             T(0.0),
                             std::numeric_limits<T>::denorm_min() * T(rng() % 1000),
                             T(3.0e38) * (rng() % 2 ? 1 : -1)};
        const uint32_t pick = rng() % 64;
        return specials && pick < 7 ? special[pick] : std::uniform_real_distribution<T>(T(-1000), T(1000))(rng);
    } else {
        return static_cast<T>(rng());
    }
}

// A canvas of height rows of rowBytes at a random misalignment (a multiple of
// `unit` up to 63 bytes) with 0 to 40 spare units per row, every byte random.
inline Canvas randomCanvas(std::mt19937& rng, int64_t rowBytes, int64_t height, int unit) {
    const int64_t spare = rng() % 3 == 0 ? 0 : unit * int64_t(1 + rng() % 40);
    const int64_t lead = unit * int64_t(rng() % uint32_t(64 / unit));
    Canvas c(rowBytes, height, rowBytes + spare, lead);
    for (int64_t i = 0; i < lead + c.step() * (height - 1) + rowBytes; ++i) (c.first() - lead)[i] = uint8_t(rng());
    return c;
}

// Fills the region with elements of `elemBytes` bytes: random values (floats
// with specials), or with `few` set only a handful of distinct values, so
// that extremes recur and specials meet (-0, 0, +-1, NaN, +-inf for floats).
inline void fillValues(std::mt19937& rng, const Canvas& c, int elemBytes, bool few) {
    static const float floats[] = {-0.0f, 0.0f, 1.0f, -1.0f, NAN, INFINITY, -INFINITY, 0.0f};
    for (int64_t y = 0; y < c.height(); ++y)
        for (int64_t x = 0; x + elemBytes <= c.rowBytes(); x += elemBytes) {
            const uint32_t r = rng();
            uint8_t* at = c.row(y) + x;
            if (elemBytes == 4) {
                const float v = few ? floats[r % 8] : randomValue<float>(rng, true);
                std::memcpy(at, &v, 4);
            } else if (elemBytes == 2) {
                const uint16_t v = uint16_t(few ? r % 4 * 21845 : r);
                std::memcpy(at, &v, 2);
            } else {
                for (int i = 0; i < elemBytes; ++i) at[i] = uint8_t(few ? r % 4 * 85 : rng());
            }
        }
}

// Mask bytes in one of five densities: none, exactly one, about a tenth,
// about nine tenths, all (nonzero bytes random).
inline void fillMask(std::mt19937& rng, const Canvas& c) {
    const uint32_t density = rng() % 5, pixels = uint32_t(c.rowBytes() * c.height());
    const uint32_t one = rng() % pixels;
    for (int64_t y = 0; y < c.height(); ++y)
        for (int64_t x = 0; x < c.rowBytes(); ++x) {
            const uint32_t r = rng() % 10;
            const bool on = density == 4 || (density == 1 && uint32_t(y * c.rowBytes() + x) == one) ||
                            (density == 2 && r == 0) || (density == 3 && r != 0);
            c.row(y)[x] = on ? uint8_t(1 + rng() % 255) : 0;
        }
}

// The first byte at which two canvases of the same layout differ, or -1.
inline int64_t firstDifference(const Canvas& a, const Canvas& b) {
    const std::vector<uint8_t> x = a.bytes(), y = b.bytes();
    for (size_t i = 0; i < x.size(); ++i)
        if (x[i] != y[i]) return static_cast<int64_t>(i);
    return -1;
}

// Rewrites every NaN in the region of a 32f or 64f canvas as the default
// quiet NaN: which NaN payload and sign an operation with several NaN
// operands returns follows the processor's operand order, not the rules.
template <class F = float>
void canonicalizeNaNs(const Canvas& c) {
    for (int64_t y = 0; y < c.height(); ++y)
        for (int64_t x = 0; x + int64_t{sizeof(F)} <= c.rowBytes(); x += sizeof(F)) {
            F v;
            std::memcpy(&v, c.row(y) + x, sizeof v);
            if (std::isnan(v)) v = std::numeric_limits<F>::quiet_NaN(), std::memcpy(c.row(y) + x, &v, sizeof v);
        }
}

// The first byte outside the region that differs from `before`, or -1.
inline int64_t firstGuardChange(const Canvas& c, const std::vector<uint8_t>& before) {
    const std::vector<uint8_t> now = c.bytes();
    for (size_t i = 0; i < now.size(); ++i)
        if (now[i] != before[i] && !c.inRegion(i)) return static_cast<int64_t>(i);
    return -1;
}

// What a size query writes after `args`; the query must succeed.
template <class Size = int, class Query, class... Args>
Size queried(Query query, Args... args) {
    Size n = -1;
    EXPECT_EQ(query(args..., &n), zepStsOk);
    return n;
}

// Widths around every block size of 16, 32 and 64 lanes, and a few wide rows.
inline const std::vector<int>& sweepWidths() {
    static const std::vector<int> w = {1,  2,  3,  4,  5,  7,  8,  13, 15, 16,  17,  31,  32,  33,
                                       47, 48, 49, 63, 64, 65, 95, 96, 97, 127, 128, 129, 200, 257};
    return w;
}

}  // namespace zt
