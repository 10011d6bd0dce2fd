// Motion history, pyramid sizes and record, layer resampling: entries with their rules, worked rules, OpenCV peers.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <opencv2/imgproc.hpp>

#include "support/registry.h"
#ifdef ZEPCV_HAVE_OPTFLOW
#include <opencv2/optflow/motempl.hpp>
#endif

namespace {

using namespace zt;  // NOLINT: the registry's vocabulary

template <class T>
T* at(const CallArgs& a, int i) {
    return static_cast<T*>(a.ptr[size_t(i)]);
}

// A nonzero silhouette (NaN included, -0 not) sets the history to the time stamp; elsewhere a value strictly below
// time stamp - duration, rounded once to single precision, becomes 0, and any other value stays.
template <class S>
ZepStatus historyRule(const CallArgs& a) {
    for (int y = 0; y < a.roi.height; ++y)
        for (int x = 0; x < a.roi.width; ++x) {
            float& h = rowOf<float>(a, 1, y)[x];
            h = rowOf<S>(a, 0, y)[x] != S(0) ? float(a.param[0]) : h < float(a.param[0]) - float(a.param[1]) ? 0 : h;
        }
    return zepStsOk;
}

// The up range of a length: single-precision products, truncated, held at 2^31 - 1.
std::pair<int, int> upRange(int n, float rate) {
    auto held = [n](int64_t v) { return int(std::min<int64_t>(std::max(v, n + int64_t{1}), INT32_MAX)); };
    return {n == 1 ? 1 : held(int64_t(float(n - 1) * rate) + 1), held(int64_t(float(n) * rate))};
}
// The down size: trunc(n / rate + 0.5), at least 1, moved by one until n lies in its up range.
ImageSize downSize(ImageSize s, float rate) {
    auto down = [rate](int n) {
        int d = int(std::max<int64_t>(1, int64_t(float(n) / rate + 0.5f)));
        for (auto r = upRange(d, rate); n < r.first || n > r.second; r = upRange(d, rate)) d += n < r.first ? -1 : 1;
        return d;
    };
    return {down(s.width), down(s.height)};
}
// The level sizes from the ROI on, at most `level` after it, none after 1 x 1.
std::vector<ImageSize> levelsOf(ImageSize roi, float rate, double level) {
    std::vector<ImageSize> sizes{roi};
    while (sizes.size() <= level && (sizes.back().width > 1 || sizes.back().height > 1))
        sizes.push_back(downSize(sizes.back(), rate));
    return sizes;
}

// The pyramid's work bytes, 8 x max(w, h); past INT32_MAX they are refused.
int64_t workBytes(ImageSize roi) { return 8 * std::max<int64_t>(roi.width, roi.height); }

// Down size, up range, or record bytes 52 x level + 152 (level clamped) and work bytes.
template <int Query>
ZepStatus sizeRule(const CallArgs& a) {
    if (Query == 2 && workBytes(a.roi) > INT32_MAX) return zepStsSizeOverflow;
    const float rate = float(a.param[Query / 2]);
    const auto w = upRange(a.roi.width, rate), h = upRange(a.roi.height, rate);
    if (Query == 0) *at<ImageSize>(a, 0) = downSize(a.roi, rate);
    if (Query == 1) *at<ImageSize>(a, 0) = {w.first, h.first}, *at<ImageSize>(a, 1) = {w.second, h.second};
    if (Query == 2) *at<int>(a, 0) = 52 * int(levelsOf(a.roi, rate, a.param[0]).size() - 1) + 152;
    if (Query == 2) *at<int>(a, 1) = int(workBytes(a.roi));
    return zepStsOk;
}

// The record at the first 8-byte boundary of its memory, then sizes, images, rates (rate^i by repeated products in
// double) and steps, each 16 bytes after the one before. The adapter makes addresses offsets from the memory.
ZepStatus recordRule(const CallArgs& a) {
    if (workBytes(a.roi) > INT32_MAX) return zepStsSizeOverflow;
    const std::vector<ImageSize> sizes = levelsOf(a.roi, float(a.param[1]), a.param[0]);
    const size_t n = sizes.size(), rec = -reinterpret_cast<uintptr_t>(a.ptr[1]) % 8, roi = rec + sizeof(Pyramid) + 16;
    const size_t image = roi + 8 * n + 16, rate = image + 8 * n + 16, step = rate + 8 * n + 16;
    const size_t fields[] = {image, roi, rate, step, 0, n - 1};  // the level's 4 bytes
    uint8_t* m = at<uint8_t>(a, 1);
    std::memcpy(m + rec, fields, 44), *at<size_t>(a, 0) = rec;
    double r = 1;
    for (size_t i = 0; i < n; ++i, r *= float(a.param[1]))
        std::memcpy(m + roi + 8 * i, &sizes[i], 8), std::memset(m + image + 8 * i, 0, 8),
            std::memcpy(m + rate + 8 * i, &r, 8), std::memset(m + step + 4 * i, 0, 4);
    return zepStsOk;
}

// Caller kernels: zero taps, asymmetric, 67 taps, binomial weights of 64ths (whose sums at rate 2 pass 16 bits for
// 8u); for floats also negative, summing to 0, far apart.
template <class T>
std::vector<T> kernelOf(double i) {
    const std::vector<double> k[] = {{1, 4, 6, 4, 1},
                                     {1, 2, 1},
                                     {0, 1, 0},
                                     {5, 1, 9},
                                     {1, 0, 3, 8, 3, 0, 1},
                                     std::vector<double>(67, 1),
                                     {1, 6, 15, 20, 15, 6, 1},
                                     {-1, .5, 1, .5, -1},
                                     {-.1, .3, .6, .3, -.1},
                                     {1e-30, 1, 1e30}};
    return {k[int(i)].begin(), k[int(i)].end()};
}

// The taps of output o along an axis: (source index, weight). Down, source i weighs K(i - o x rate); up, K((i x
// rate - o) x s), s = (r + 1) / rate above rate r + 1, else 1. K interpolates the taps linearly, K(k - r) = K[k], 0
// from r + 1 on. Weights are divided by their sum unless it is 0, in double, rounded to single precision, and left
// out if 0.
template <class T>
std::vector<std::pair<int, float>> tapsOf(bool down, int o, double rate, const std::vector<T>& k) {
    const int r = int(k.size()) / 2;
    auto K = [&](int j) { return j >= 0 && j <= 2 * r ? double(k[size_t(j)]) : 0.0; };
    std::vector<std::pair<int, double>> w;
    double sum = 0;
    for (int i = int(down ? o * rate : o / rate) - r - 2, last = i + 2 * r + 4; i <= last; ++i) {
        const double t = (down ? i - o * rate : (i * rate - o) * (rate > r + 1 ? (r + 1) / rate : 1.0)) + r;
        const int j = int(std::floor(t));
        if (t > -1 && t < 2 * r + 1) w.push_back({i, t == j ? K(j) : (1 - (t - j)) * K(j) + (t - j) * K(j + 1)});
        if (t > -1 && t < 2 * r + 1) sum += w.back().second;
    }
    std::vector<std::pair<int, float>> taps;
    for (const auto& [i, v] : w)
        if (const float f = float(sum == 0 ? v : v / sum); f != 0) taps.push_back({i, f});
    return taps;
}

// Faults a layer call carries in its last parameter. The registry's ROI is the larger image: down from it, up to
// it, from its down size; or a destination the source cannot take.
enum Fault { none, noState, zeroed, otherDirection, otherChannels, narrowState, badDestination };
template <bool Down>
std::pair<ImageSize, ImageSize> layerSizes(const CallArgs& a) {
    if (a.roi.width < 1 || a.roi.height < 1) return {a.roi, a.roi};
    const float rate = float(a.param[0]);
    ImageSize s = Down ? a.roi : downSize(a.roi, rate), d = Down ? downSize(a.roi, rate) : a.roi;
    if (zt::parameterAs<int>(a.param[4]) == badDestination)
        d.width = Down ? d.width + 1 : upRange(s.width, rate).first - 1;
    return {s, d};
}

// Source rows first, per source column, into single precision, then columns; each sum in tap order from -0, no
// fused multiply-adds. Borders mirror: down about the edge pixels (-1 reads 1, w reads w - 2), up about the first
// pixel and half a pixel past the last (w reads w - 1). 8u and 16u round to nearest, ties up, and saturate.
template <class T, int C, bool Down>
ZepStatus layerRule(const CallArgs& a) {
    const auto [s, d] = layerSizes<Down>(a);
    const std::vector<T> k = kernelOf<T>(a.param[1]);
    auto mirror = [](int i, int n) {
        const int period = Down ? 2 * n - 2 : 2 * n - 1;
        i = period ? (i % period + period) % period : 0;
        return i < n ? i : period - i;
    };
    std::vector<float> rows(size_t(s.width) * C);
    for (int y = 0; y < d.height; ++y) {
        std::fill(rows.begin(), rows.end(), -0.0f);
        for (const auto& [j, w] : tapsOf(Down, y, float(a.param[0]), k))
            for (int x = 0; x < s.width * C; ++x)
                rows[size_t(x)] += w * float(rowOf<T>(a, 0, mirror(j, s.height))[x]);
        for (int x = 0; x < d.width * C; ++x) {
            float v = -0.0f;
            for (const auto& [i, w] : tapsOf(Down, x / C, float(a.param[0]), k))
                v += w * rows[mirror(i, s.width) * C + x % C];
            rowOf<T>(a, 1, y)[x] =
                sizeof(T) == 4 ? T(v) : T(std::clamp(std::floor(double(v) + 0.5), 0.0, double(T(-1))));
        }
    }
    return zepStsOk;
}

// The layer exports of a type, channel count and direction, by name.
template <class T, int C, bool Down>
struct Layer {
    using State = std::conditional_t<Down, PyramidDownState, PyramidUpState>;
    static std::string name(const std::string& part) {
        const char* type[] = {"", "_8u", "_16u", "", "_32f"};
        return std::string("zepiPyramidLayer") + (Down ? "Down" : "Up") + part + type[sizeof(T)] + "_C" +
               char('0' + C) + "R";
    }
    template <class F>
    static F get(const char* part) {
        return reinterpret_cast<F>(dlsym(RTLD_DEFAULT, name(part).c_str()));
    }
    static inline const auto size = get<ZepStatus (*)(ImageSize, float, int, int*)>("GetSize");
    static inline const auto init =
        get<ZepStatus (*)(State**, ImageSize, float, const T*, int, int, uint8_t*)>("Init");
    static inline const auto op = get<ZepStatus (*)(const T*, int, ImageSize, T*, int, ImageSize, State*)>("");
    // A state in guarded memory of exactly the queried size at an odd address; null if the query or Init fails.
    static State* make(std::deque<Canvas>& keep, ImageSize src, float rate, const std::vector<T>& k, int mode = 0) {
        int n = 0;
        State* state = nullptr;
        if (size(src, rate, int(k.size()), &n) != zepStsOk) return nullptr;
        uint8_t* memory = keep.emplace_back(n, 1, n, 13).first();
        return init(&state, src, rate, k.data(), int(k.size()), mode, memory) == zepStsOk ? state : nullptr;
    }
};

// Parameters: rate, kernel, Init mode, how much larger a source the state is made for, fault. The call must leave
// its state as it was.
template <class T, int C, bool Down>
ZepStatus layerCall(const CallArgs& a) {
    using L = Layer<T, C, Down>;
    const float rate = float(a.param[0]);
    const std::vector<T> k = kernelOf<T>(a.param[1]);
    const int fault = zt::parameterAs<int>(a.param[4]), more = zt::parameterAs<int>(a.param[3]);
    const auto [s, d] = layerSizes<Down>(a);
    const ImageSize made{std::max(1, s.width - (fault == narrowState)) + more, std::max(1, s.height) + more};
    std::deque<Canvas> keep;
    void* state = fault == noState          ? nullptr
                  : fault == zeroed         ? keep.emplace_back(4096, 1, 4096, 0).first()
                  : fault == otherDirection ? (void*)Layer<T, C, !Down>::make(keep, made, rate, k)
                  : fault == otherChannels  ? (void*)Layer<T, 4 - C, Down>::make(keep, made, rate, k)
                                            : (void*)L::make(keep, made, rate, k, zt::parameterAs<int>(a.param[2]));
    const std::vector<uint8_t> before = keep.empty() ? std::vector<uint8_t>{} : keep.back().bytes();
    const ZepStatus status =
        L::op(at<const T>(a, 0), a.step[0], s, at<T>(a, 1), a.step[1], d, (typename L::State*)state);
    return keep.empty() || keep.back().bytes() == before ? status : ZepStatus(-1000);
}

template <class T, int C, bool Down>
Entry layer() {
    std::vector<ImageSize> sizes;  // heights to 7 (long kernels mirror several times), and rows of several chunks
    for (int w : sweepWidths())
        for (int h : {1, 2, 3, 4, 7}) sizes.push_back({w, h});
    for (int w : {433, 434, 865, 866, 1281, 1282, 1345, 1346, 2017, 3969, 3970, 4001, 4057, 4058, 4097, 8001, 8002})
        for (int h : {3, 4}) sizes.push_back({w, h});  // rate 2 at height 3, 1.5 at 4
    auto params = [](std::mt19937& rng, ImageSize roi) {
        const double rates[] = {2, 2, 2, 1.5, 3, 1.27, 2.5, 1.1, 7, 10};  // 7 and 10 past the check-order ROI
        if (roi.width > 300) return std::vector<double>{roi.height == 3 ? 2.0 : 1.5, double(rng() % 2), 0, 0, none};
        return std::vector<double>{rates[rng() % (roi.width > 6 ? 10 : 8)], double(rng() % (sizeof(T) == 4 ? 10 : 7)),
                                   double(int(rng() % 5) - 2), double(rng() % 3 ? 0 : 3), none};
    };
    auto checks = [](std::vector<Breaker>& b) {
        for (Breaker& z : b)  // short rows of the source and destination sizes
            if (z.what.starts_with("short step "))
                z.apply = [i = z.field - 100](CallArgs& a) {
                    const auto [s, d] = layerSizes<Down>(a);
                    a.step[size_t(i)] = ((i ? d : s).width * C - 1) * int(sizeof(T));
                };
        auto fault = [](Fault f, ZepStatus st) {
            return Breaker{"fault", 200, [f](CallArgs& a) { a.param[4] = f; }, st};
        };
        b.insert(b.begin() + 2, fault(noState, zepStsNullPointer));
        for (Fault f : {zeroed, otherDirection, otherChannels}) b.push_back(fault(f, zepStsBadContext));
        for (Fault f : {narrowState, badDestination}) b.push_back(fault(f, zepStsBadSize));
    };
    using L = Layer<T, C, Down>;
    return Entry{L::name(""),
                 {input(sizeof(T), C), output(sizeof(T), C, 0)},
                 layerCall<T, C, Down>,
                 layerRule<T, C, Down>,
                 params,
                 checks,
                 {L::name("GetSize"), L::name("Init")},
                 sizeof(T) == 4 ? NaNs::byClass : NaNs::exact,
                 sizes};
}

template <class S, auto F>
Entry history(const char* name) {
    auto params = [](std::mt19937& rng, ImageSize) {  // thresholds on the values of few-valued images
        const double stamps[] = {10, -3.5, 0, 1, 5, 1e8, INFINITY, NAN}, durations[] = {2, 0, 1, 5, 2.5, INFINITY};
        return std::vector<double>{stamps[rng() % 8], durations[rng() % 6]};
    };
    auto checks = [](std::vector<Breaker>& b) {
        b.push_back({"negative duration", 50, [](CallArgs& a) { a.param[1] = -1e-30; }, zepStsOutOfRange});
    };
    return Entry{name,        {sizeof(S) == 1 ? maskOf(0) : input(sizeof(S)), output(4, 1, 0)},
                 callWith<F>, historyRule<S>,
                 params,      checks};
}

// Sizes to 3000 x 700, past 2^24 (where the first estimate may be too large) and at the ends of an int; rates
// anywhere in (1, 10]; the level before the rate.
std::vector<ImageSize> sizeSweep() {
    std::mt19937 rng(5);
    std::vector<ImageSize> sizes = {{1, 1}, {INT32_MAX, 1}, {1, INT32_MAX}, {INT32_MAX, INT32_MAX}, {1 << 30, 3}};
    auto len = [&rng](uint32_t most) { return 1 + int(rng() % (rng() % 3 ? most : INT32_MAX)); };
    for (int i = 0; i < 300; ++i) sizes.push_back({len(3000), len(700)});
    return sizes;
}
std::vector<double> anyRate(std::mt19937& rng, ImageSize) {
    return {rng() % 4 ? std::uniform_real_distribution<float>(1.0001f, 10.0f)(rng) : rng() % 2 ? 2.0f : 10.0f};
}
std::vector<double> levelAndRate(std::mt19937& rng, ImageSize roi) {
    return {double(1 << rng() % 8), anyRate(rng, roi)[0], 0};
}
auto rateChecks(size_t i, std::vector<Breaker> more = {}) {
    return [i, more](std::vector<Breaker>& b) {
        for (double r : {1.0, 10.000001, double(NAN)})
            b.push_back({"rate", 20, [i, r](CallArgs& a) { a.param[i] = r; }, zepStsBadArg});
        if (i == 1) b.push_back({"level 0", 21, [](CallArgs& a) { a.param[0] = 0; }, zepStsBadArg});
        b.insert(i == 1 && more.size() == 1 ? b.begin() + 2 : b.end(), more.begin(), more.end());
    };
}

// Init with the adapter's work buffer of exactly 8 x max(w, h) bytes (none for parameter 2).
ZepStatus pyramidInit(const CallArgs& a) {
    Canvas buffer = bufferOf(8 * std::max<int64_t>({1, a.roi.width, a.roi.height}));
    uint8_t* m = at<uint8_t>(a, 1);
    const ZepStatus s = zepiPyramidInit(static_cast<Pyramid**>(a.ptr[0]), zt::parameterAs<int>(a.param[0]), a.roi,
                                        float(a.param[1]), m, a.param[2] ? nullptr : buffer.first());
    if (s != zepStsOk) return s;
    Pyramid*& p = *at<Pyramid*>(a, 0);
    for (void** q : {(void**)&p->pImage, (void**)&p->pRoi, (void**)&p->pRate, (void**)&p->pStep, (void**)&p})
        *q = reinterpret_cast<void*>(static_cast<uint8_t*>(*q) - m);
    return s;
}

Breaker huge(int w, int h) {
    return {"huge", 30, [w, h](CallArgs& a) { a.roi = {w, h}; }, zepStsSizeOverflow};
}
const Breaker noBuffer{"no buffer", 2, [](CallArgs& a) { a.param[2] = 1; }, zepStsNullPointer};

const bool enrolled = enrol(
    {
        history<uint8_t, zepiUpdateMotionHistory_8u32f_C1IR>("zepiUpdateMotionHistory_8u32f_C1IR"),
        history<uint16_t, zepiUpdateMotionHistory_16u32f_C1IR>("zepiUpdateMotionHistory_16u32f_C1IR"),
        history<float, zepiUpdateMotionHistory_32f_C1IR>("zepiUpdateMotionHistory_32f_C1IR"),
        Entry{"zepiGetPyramidDownROI",
              {result(8)},
              callWith<zepiGetPyramidDownROI>,
              sizeRule<0>,
              anyRate,
              rateChecks(0),
              {},
              NaNs::exact,
              sizeSweep()},
        Entry{"zepiGetPyramidUpROI",
              {result(8), result(8)},
              callWith<zepiGetPyramidUpROI>,
              sizeRule<1>,
              anyRate,
              rateChecks(0),
              {},
              NaNs::exact,
              sizeSweep()},
        Entry{"zepiPyramidGetSize",
              {result(4), result(4)},
              callWith<zepiPyramidGetSize>,
              sizeRule<2>,
              levelAndRate,
              rateChecks(1, {huge(1, 268435456), huge(INT32_MAX, INT32_MAX)}),
              {},
              NaNs::exact,
              {{1, 1}, {640, 480}, {268435455, 1}, {1, 268435455}, {3, 700}, {257, 3}}},
        Entry{"zepiPyramidInit",
              {result(8), result(4001)},
              pyramidInit,
              recordRule,
              levelAndRate,
              rateChecks(1, {noBuffer}),
              {},
              NaNs::exact,
              {{1, 1}, {640, 480}, {257, 3}, {3, 700}, {100, 37}, {2, 1}}},
        layer<uint8_t, 1, true>(),
        layer<uint8_t, 1, false>(),
        layer<uint8_t, 3, true>(),
        layer<uint8_t, 3, false>(),
        layer<uint16_t, 1, true>(),
        layer<uint16_t, 1, false>(),
        layer<uint16_t, 3, true>(),
        layer<uint16_t, 3, false>(),
        layer<float, 1, true>(),
        layer<float, 1, false>(),
        layer<float, 3, true>(),
        layer<float, 3, false>(),
    },
    false);  // the adapters derive the layers' sizes from the ROI and the rate;

// Worked rules. t = 10 - 4 = 6 is kept, the float below it cleared, NaN kept; the silhouette's 10 replaces 50. 1e8 -
// 5 rounds to 99999992, which is kept (the exact 99999995 would clear it). The levels of 640 x 480 at rate 2.
// Rate 1.5, kernel 1 2 1: outputs 1 and 3 are centred on 1.5 and 4.5 and take four pixels 1 3 3 1 / 8.
TEST(MotionRules, HistoryThresholdLevelsAndFractionalCentres) {
    const uint8_t sil[5] = {0, 0, 0, 1, 0};
    float mhi[5] = {6, std::nextafter(6.0f, 0.0f), 9, 50, NAN}, want[5] = {6, 0, 9, 10, NAN}, h[1] = {99999992};
    ASSERT_EQ(zepiUpdateMotionHistory_8u32f_C1IR(sil, 5, mhi, 20, {5, 1}, 10.0f, 4.0f), zepStsOk);
    ASSERT_EQ(zepiUpdateMotionHistory_8u32f_C1IR(sil, 1, h, 4, {1, 1}, 1e8f, 5.0f), zepStsOk);
    EXPECT_TRUE(std::memcmp(mhi, want, 20) == 0 && h[0] == 99999992.0f);
    ImageSize s{640, 480};
    std::string levels;
    for (int i = 0; i < 10; ++i)
        zepiGetPyramidDownROI(s, &s, 2.0f), levels += std::to_string(s.width) + "x" + std::to_string(s.height) + " ";
    EXPECT_EQ(levels, "320x240 160x120 80x60 40x30 20x15 10x8 5x4 3x2 2x1 1x1 ");
    const float ramp[7] = {0, 8, 16, 24, 32, 40, 48}, centred[5] = {4, 12, 24, 36, 44};
    ASSERT_EQ((layerCall<float, 1, true>({{(void*)ramp, mhi}, {28, 20}, {7, 1}, {1.5, 1, 0, 0, none}})), zepStsOk);
    EXPECT_EQ(std::memcmp(mhi, centred, 20), 0);
}

// The layer state queries and inits check their pointers, the size, the rate, then the kernel size. A state past
// 2^31 - 1 bytes is refused with nothing written, by Init too; below that the size grows with the source and kernel.
template <class T, int C, bool Down = true>
void expectStateQueries() {
    if constexpr (Down) expectStateQueries<T, C, false>();
    using L = Layer<T, C, Down>;
    Canvas out(1 << 20, 1, 1 << 20, 0);  // aligned for the int and pointer written
    const std::vector<T> k(5, T(1));
    const Caller call = [](const CallArgs& a) {  // the query with one pointer, Init with three
        return a.ptr.size() == 1 ? L::size(a.roi, float(a.param[0]), zt::parameterAs<int>(a.param[1]), at<int>(a, 0))
                                 : L::init(at<typename L::State*>(a, 0), a.roi, float(a.param[0]), at<const T>(a, 1),
                                           zt::parameterAs<int>(a.param[1]), 7, at<uint8_t>(a, 2));
    };
    std::vector<Breaker> b = {nullBreaker(0), standardBreakers({}, {})[0], standardBreakers({}, {})[1]};
    for (const std::pair<int, double>& p : {std::pair{0, 1.0}, {0, NAN}, {0, 10.000001}, {1, 4.0}, {1, 1.0}})
        b.push_back(
            {"parameter", 10 + p.first, [p](CallArgs& a) { a.param[size_t(p.first)] = p.second; }, zepStsBadArg});
    expectOrder(L::name("GetSize"), CallArgs{{out.first()}, {}, {40, 30}, {2.0, 5}}, call, b, {&out});
    b.insert(b.begin() + 1, {nullBreaker(1), nullBreaker(2)});
    const CallArgs init{{out.first(), (void*)k.data(), out.first() + 64}, {}, {40, 30}, {2.0, 5}};
    expectOrder(L::name("Init"), init, call, b, {&out});
    for (int by = 0; by < 3; ++by) {  // the width, the height, the kernel
        int last = 1, n = -1;
        ZepStatus s = zepStsOk;
        for (int v : {3, 5, (1 << 12) + 1, (1 << 20) + 1, (1 << 26) + 1, (1 << 29) + 1, INT32_MAX}) {
            const bool refused = s != zepStsOk;
            const ImageSize roi = by == 0 ? ImageSize{v, 7} : ImageSize{by == 1 ? 7 : 64, by == 1 ? v : 64};
            s = L::size(roi, 1.5f, by == 2 ? v : 5, &n);
            EXPECT_TRUE(s ? s == zepStsSizeOverflow && n == last : !refused && n >= last)
                << L::name("GetSize") << " " << by << " " << v << ": status " << s;
            EXPECT_TRUE(!s || by == 2 || call({init.ptr, {}, roi, {1.5, 5}}) == zepStsSizeOverflow)
                << L::name("Init");
            last = n;
        }
        EXPECT_NE(s, zepStsOk) << L::name("GetSize");
    }
}

TEST(MotionRules, LayerStateQueriesAndInits) {
    expectStateQueries<uint8_t, 1>(), expectStateQueries<uint8_t, 3>(), expectStateQueries<uint16_t, 1>();
    expectStateQueries<uint16_t, 3>(), expectStateQueries<float, 1>(), expectStateQueries<float, 3>();
}

// Peers. OpenCV's updateMotionHistory rounds time stamp - duration, given as doubles, once to single precision, as
// here. cv::pyrDown and cv::pyrUp are the rate-2 step with the kernel 1 4 6 4 1, mirrored borders down, and up the
// mirror of the zero-filled image. 8u and 16u agree exactly: every partial sum is exact in single precision and both
// round ties up. 32f differs by rounding: OpenCV sums integer-weighted taps and scales by 1/256 (1/64 up) at the end,
// where the weights here are already scaled.
TEST(MotionPeers, OpenCVUpdateMotionHistoryPyrDownAndPyrUp) {
#ifdef ZEPCV_HAVE_OPTFLOW
    cv::Mat sil(17, 131, CV_8UC1), mhi(17, 131, CV_32FC1), peer;
    cv::randu(mhi, 0.0f, 10.0f), peer = mhi.clone();
    for (int frame = 0; frame < 8; ++frame) {
        cv::randu(sil, 0, 2), cv::motempl::updateMotionHistory(sil, peer, 4.0 + frame, 2.5);
        const CallArgs a{{sil.data, mhi.data}, {int(sil.step), int(mhi.step)}, {131, 17}, {4.0 + frame, 2.5}};
        ASSERT_EQ(callWith<zepiUpdateMotionHistory_8u32f_C1IR>(a), zepStsOk);
        ASSERT_EQ(cv::norm(mhi, peer, cv::NORM_INF), 0.0) << "frame " << frame;
    }
#endif
    for (const Entry& e : registry()) {
        if (e.name.find("PyramidLayer") == e.name.npos) continue;
        const bool down = e.name.find("Down") != e.name.npos;
        const int depth = e.args[0].elemBytes == 1 ? CV_8U : e.args[0].elemBytes == 2 ? CV_16U : CV_32F;
        for (cv::Size s : {cv::Size(37, 23), {40, 30}, {64, 48}, {3, 5}, {2, 2}, {131, 9}}) {
            cv::Mat src(s, CV_MAKETYPE(depth, e.args[0].channels)), theirs;
            cv::randu(src, 0, depth == CV_16U ? 65536 : 256);
            down ? cv::pyrDown(src, theirs) : cv::pyrUp(src, theirs);
            cv::Mat ours(theirs.size(), theirs.type());
            const ImageSize roi = down ? ImageSize{s.width, s.height} : ImageSize{theirs.cols, theirs.rows};
            ASSERT_EQ(e.call({{src.data, ours.data}, {int(src.step), int(ours.step)}, roi, {2, 0, 0, 0, none}}),
                      zepStsOk);
            EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), depth == CV_32F ? 1e-4 : 0.0) << e.name << " " << s;
        }
    }
}

}  // namespace
