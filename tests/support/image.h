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

// Values for random images: integers over their full range; floats mostly
// moderate, with NaN, infinities, -0, zeros and tiny values mixed in when
// `specials` is set.
template <class T>
T randomValue(std::mt19937& rng, bool specials) {
    if constexpr (std::is_floating_point_v<T>) {
        const uint32_t pick = rng() % 64;
        if (specials) {
            switch (pick) {
                case 0:
                    return std::numeric_limits<T>::quiet_NaN();
                case 1:
                    return std::numeric_limits<T>::infinity();
                case 2:
                    return -std::numeric_limits<T>::infinity();
                case 3:
                    return T(-0.0);
                case 4:
                    return T(0.0);
                case 5:
                    return std::numeric_limits<T>::denorm_min() * T(rng() % 1000);
                case 6:
                    return T(3.0e38) * (rng() % 2 ? T(1) : T(-1));
                default:
                    break;
            }
        }
        return std::uniform_real_distribution<T>(T(-1000), T(1000))(rng);
    } else {
        return static_cast<T>(rng());
    }
}

// A typed image of width x height pixels of `channels` elements in a Canvas
// with a random misalignment (up to 63 bytes) and random spare bytes per row.
template <class T>
struct Image {
    int width, height, channels;
    Canvas canvas;

    // unit: the element size that steps and the misalignment keep to (a byte
    // image may stand in for wider elements).
    Image(std::mt19937& rng, int w, int h, int ch = 1, bool specials = true, int unit = sizeof(T))
        : width(w), height(h), channels(ch), canvas(makeCanvas(rng, w, h, ch, unit)) {
        for (int y = 0; y < h; ++y)
            for (int64_t x = 0; x < int64_t{w} * ch; ++x) at(y)[x] = randomValue<T>(rng, specials);
    }

    T* at(int y) const { return reinterpret_cast<T*>(canvas.row(y)); }
    T* data() const { return at(0); }
    int step() const { return static_cast<int>(canvas.step()); }
    void fill(T v) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width * channels; ++x) at(y)[x] = v;
    }

private:
    static Canvas makeCanvas(std::mt19937& rng, int w, int h, int ch, int unit) {
        const int64_t rowBytes = int64_t{w} * ch * static_cast<int64_t>(sizeof(T));
        const int64_t spare = (rng() % 3 == 0) ? 0 : int64_t{unit} * (1 + rng() % 40);
        const int64_t lead = int64_t{unit} * (rng() % (64 / unit));
        Canvas c(rowBytes, h, rowBytes + spare, lead);
        uint8_t* p = c.first() - lead;
        const int64_t used = lead + c.step() * (h - 1) + rowBytes;
        for (int64_t i = 0; i < used; ++i) p[i] = static_cast<uint8_t>(rng());
        return c;
    }
};

// Mask densities: no pixel, exactly one pixel, about a tenth, about nine
// tenths, every pixel.
enum class Density { none, one, sparse, dense, all };
inline constexpr Density kDensities[] = {Density::none, Density::one, Density::sparse, Density::dense, Density::all};

inline void fillMask(std::mt19937& rng, const Image<uint8_t>& m, Density d) {
    const int w = m.width, h = m.height;
    const int64_t pick = static_cast<int64_t>(rng() % (static_cast<uint32_t>(w) * static_cast<uint32_t>(h)));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool on = d == Density::all || (d == Density::one && int64_t{y} * w + x == pick) ||
                            (d == Density::sparse && rng() % 10 == 0) || (d == Density::dense && rng() % 10 != 0);
            m.at(y)[x] = on ? static_cast<uint8_t>(1 + rng() % 255) : 0;
        }
}

inline Image<uint8_t> makeMask(std::mt19937& rng, int w, int h, Density d) {
    Image<uint8_t> m(rng, w, h);
    fillMask(rng, m, d);
    return m;
}

// Source values: full-range integers, floats with NaN, infinities, -0 and
// denormals (random); floats in -1000..1000 (moderate) or spread over
// 2^-60..2^44 with both signs (wide), whose sums round so that the order of
// the additions shows in the last bits; few distinct values, so that the
// extremes recur (ties); one value everywhere (constant).
enum class Values { random, moderate, wide, ties, constant };

// Fills a byte image standing for elements of `elemBytes` bytes.
inline void fillSource(std::mt19937& rng, const Image<uint8_t>& img, int elemBytes, Values kind) {
    static const float floatTies[] = {-0.0f, 0.0f, 1.0f, -1.0f, NAN, INFINITY, -INFINITY, 0.0f};
    const uint32_t pick = rng();
    const bool few = kind == Values::ties || kind == Values::constant;
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width / elemBytes; ++x) {
            const uint32_t r = kind == Values::constant ? pick : rng();
            if (elemBytes == 4)
                reinterpret_cast<float*>(img.at(y))[x] =
                    few                    ? floatTies[r % 8]
                    : kind == Values::wide ? std::ldexp(float(r % (1u << 24)) * (rng() % 2 ? 1.0f : -1.0f),
                                                        static_cast<int>(rng() % 80) - 84)
                                           : randomValue<float>(rng, kind == Values::random);
            else if (elemBytes == 2)
                reinterpret_cast<uint16_t*>(img.at(y))[x] = uint16_t(few ? r % 4 * 21845 : r);
            else
                img.at(y)[x] = uint8_t(few ? r % 4 * 85 : r);
        }
}

inline Image<uint8_t> makeSource(std::mt19937& rng, int elemBytes, int channels, int w, int h, Values kind) {
    Image<uint8_t> img(rng, w * elemBytes * channels, h, 1, false, elemBytes);
    fillSource(rng, img, elemBytes, kind);
    return img;
}

// Byte-wise comparison of two canvases of the same layout (NaNs by their
// bits as well). Returns the first differing offset or -1.
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

// Runs `ours` on the regions of `outs` and `definition` on copies of them made
// before, each given the first bytes of the regions. Both must return the same
// status, success or a warning; ours must leave every byte outside the regions
// as it was, and the two must agree byte for byte (NaNs of 32f regions only by
// class when `floatNaNs` is set).
template <class Ours, class Definition>
::testing::AssertionResult agreeOn(const std::vector<const Canvas*>& outs, Ours&& ours, Definition&& definition,
                                   bool floatNaNs = false) {
    std::deque<Canvas> copies;
    std::vector<std::vector<uint8_t>> before;
    std::vector<uint8_t*> mine, theirs;
    for (const Canvas* c : outs) {
        before.push_back(c->bytes());
        mine.push_back(c->first());
        theirs.push_back(copies.emplace_back(*c).first());
    }
    if (const ZepStatus s = ours(mine.data()), d = definition(theirs.data()); s < zepStsOk || s != d)
        return ::testing::AssertionFailure() << "status " << s << ", definition status " << d;
    for (size_t i = 0; i < outs.size(); ++i) {
        if (const int64_t at = firstGuardChange(*outs[i], before[i]); at >= 0)
            return ::testing::AssertionFailure() << "output " << i << " changed outside its region at byte " << at;
        if (floatNaNs) canonicalizeNaNs(*outs[i]), canonicalizeNaNs(copies[i]);
        if (const int64_t at = firstDifference(*outs[i], copies[i]); at >= 0)
            return ::testing::AssertionFailure() << "output " << i << " differs from the definition at byte " << at;
    }
    return ::testing::AssertionSuccess();
}

// The same for one output image; the calls get its first pixel.
template <class T, class Ours, class Definition>
::testing::AssertionResult agree(const Image<T>& out, Ours&& ours, Definition&& definition, bool floatNaNs = false) {
    return agreeOn(
        {&out.canvas}, [&](uint8_t* const* o) { return ours(reinterpret_cast<T*>(o[0])); },
        [&](uint8_t* const* o) { return definition(reinterpret_cast<T*>(o[0])); }, floatNaNs);
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
