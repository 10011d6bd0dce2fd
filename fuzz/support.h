// What every fuzz target shares: the fuzzer's bytes read as choices, memory of
// exactly the bytes a call may touch between two inaccessible pages, and the
// checks that a call writes nothing when it returns an error and returns the
// status its one broken argument calls for.
//
// Each call is made either with valid arguments (it must succeed) or with one
// argument broken in a way every export checks the same (a null pointer, a
// width or height of 0 or less, a step one byte short of its row): the status
// must be that argument's, and no output may change. Reads and writes outside
// the memory given fault on a guard page or are reported by the address
// sanitizer.
#pragma once

#include <sys/mman.h>
#include <unistd.h>
#include <zepcv.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace zf {

[[noreturn]] inline void finding(const char* what, int status) {
    std::fprintf(stderr, "finding: %s (status %d)\n", what, status);
    std::abort();
}

class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    uint64_t bits(int n) {
        uint64_t v = 0;
        for (int i = 0; i < (n + 7) / 8; ++i) v = v << 8 | (at_ < size_ ? data_[at_++] : 0);
        return n >= 64 ? v : v & ((uint64_t{1} << n) - 1);
    }
    // An integer in [lo, hi].
    int64_t range(int64_t lo, int64_t hi) { return lo + static_cast<int64_t>(bits(32) % uint64_t(hi - lo + 1)); }
    bool coin() { return bits(1) != 0; }
    template <class T, size_t N>
    T pick(const T (&options)[N]) {
        return options[range(0, N - 1)];
    }
    // A side of an image: mostly small, now and then at a vector boundary.
    int side(int most) {
        const int edges[] = {1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 128, 129};
        return coin() ? pick(edges) : int(range(1, most));
    }
    // Random values for an image's bytes.
    void fill(uint8_t* p, size_t n) {
        const uint64_t seed = bits(32) | 1;
        uint64_t s = seed;
        for (size_t i = 0; i < n; ++i) {
            s ^= s << 13, s ^= s >> 7, s ^= s << 17;
            p[i] = static_cast<uint8_t>(s);
        }
    }

private:
    const uint8_t* data_;
    size_t size_, at_ = 0;
};

// bytes of memory between two inaccessible pages, flush with the one before
// or the one after.
class Guarded {
public:
    Guarded(size_t bytes, bool atStart) : bytes_(bytes) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t pages = (bytes + page - 1) / page;
        map_ = static_cast<uint8_t*>(
            mmap(nullptr, (pages + 2) * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (map_ == MAP_FAILED) std::abort();
        mapBytes_ = (pages + 2) * page;
        mprotect(map_, page, PROT_NONE);
        mprotect(map_ + (pages + 1) * page, page, PROT_NONE);
        data_ = atStart ? map_ + page : map_ + (pages + 1) * page - bytes;
    }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;
    ~Guarded() { munmap(map_, mapBytes_); }
    uint8_t* data() const { return data_; }
    size_t size() const { return bytes_; }

private:
    uint8_t* map_;
    size_t mapBytes_ = 0, bytes_;
    uint8_t* data_;
};

// How a call is broken: not at all, or in one argument.
enum class Break { none, null, size, step };

inline Break chooseBreak(Input& in) {
    const Break options[] = {Break::none, Break::none, Break::none, Break::null, Break::size, Break::step};
    return in.pick(options);
}

// The status one broken argument calls for.
inline ZepStatus statusOf(Break b) {
    switch (b) {
        case Break::null:
            return zepStsNullPointer;
        case Break::size:
            return zepStsBadSize;
        case Break::step:
            return zepStsBadStep;
        default:
            return zepStsOk;
    }
}

// An image of width x height pixels of `channels` elements of T in guarded
// memory of exactly step * (height - 1) + row bytes; the step has 0 to 64
// spare bytes (a whole number of elements unless `oddSteps`).
template <class T>
struct Image {
    int width, height, channels, step;
    Guarded memory;
    Image(Input& in, int w, int h, int ch)
        : width(w),
          height(h),
          channels(ch),
          step(int(w * ch * sizeof(T) + sizeof(T) * in.range(0, 64 / sizeof(T)))),
          memory(size_t(step) * (h - 1) + size_t(w) * ch * sizeof(T), in.coin()) {
        in.fill(memory.data(), memory.size());
    }
    T* data() const { return reinterpret_cast<T*>(memory.data()); }
    std::vector<uint8_t> bytes() const { return {memory.data(), memory.data() + memory.size()}; }
};

// Checks one call's status against what its break calls for, and that an
// error left every output as it was.
class Outputs {
public:
    template <class... Images>
    explicit Outputs(const Images&... images) {
        (add(images.memory.data(), images.memory.size()), ...);
    }
    void add(const void* p, size_t n) {
        const auto* b = static_cast<const uint8_t*>(p);
        regions_.push_back({b, std::vector<uint8_t>(b, b + n)});
    }
    void expect(ZepStatus got, Break b, const char* name) const {
        const ZepStatus want = statusOf(b);
        if (got != want && !(b == Break::none && got > 0)) {
            std::fprintf(stderr, "%s: status %d, expected %d\n", name, got, want);
            finding("status", got);
        }
        if (got < 0)
            for (const Region& r : regions_)
                if (std::memcmp(r.at, r.before.data(), r.before.size()) != 0) finding(name, got);
    }

private:
    struct Region {
        const uint8_t* at;
        std::vector<uint8_t> before;
    };
    std::vector<Region> regions_;
};

// The arguments of one call after its break: images may lose their pointer,
// the ROI its width or height, the first image its step (one byte short).
struct Broken {
    Break b;
    ImageSize roi;
    template <class T>
    T* ptr(T* p, bool breakable = true) {
        if (b == Break::null && breakable && !nulled_) {
            nulled_ = true;
            return nullptr;
        }
        return p;
    }
    int step(int s, int rowBytes, bool breakable = true) {
        if (b == Break::step && breakable && !stepped_) {
            stepped_ = true;
            return rowBytes - 1;
        }
        return s;
    }
    Broken(Input& in, Break how, ImageSize r) : b(how), roi(r) {
        if (how == Break::size) (in.coin() ? roi.width : roi.height) = -int(in.range(0, 3));
    }

private:
    bool nulled_ = false, stepped_ = false;
};

}  // namespace zf
