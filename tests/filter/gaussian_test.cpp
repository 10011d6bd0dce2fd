// Gaussian filter and Sobel kernels: the registry's entries with their rules
// (taps computed here; rows and columns beyond the image read from memory only
// where the flags say), worked rules, sizes at the edges of an int, and OpenCV.
#include <gtest/gtest.h>
#include <zepcore.h>

#include <climits>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "filter/filter_rules.h"

namespace {

using zt::CallArgs;
using zt::Entry;

// Parameters: kernel size, sigma, border, three border values, flags (1 null
// buffer, 2 null spec, 4 null border value, 8 border 2 written into the spec's
// fourth field, 16 a spec initialised for the other channel count).
enum { K, Sigma, Border, Value, Flags = 6 };

template <class T>
constexpr int kType = sizeof(T) == 1        ? zep8u
                      : sizeof(T) == 4      ? zep32f
                      : std::is_signed_v<T> ? zep16s
                                            : zep16u;

// g_i = exp(-(i^2) (1 / (sigma (sigma + sigma)))) for i = -r .. r, S their sum
// in order, all in single precision; taps g / S (32f) or trunc((double)(g / S
// 2^shift) + 0.5).
template <class Tap>
std::vector<Tap> gaussTaps(int k, float sigma, int shift) {
    std::vector<float> g;
    float sum = 0;
    for (int i = -(k / 2); i <= k / 2; ++i)
        g.push_back(std::exp(-float(i * i) * (1.0f / (sigma * (sigma + sigma))))), sum = sum + g.back();
    std::vector<Tap> taps;
    for (float v : g) taps.push_back(Tap(shift ? int32_t(double(v / sum * float(1 << shift)) + 0.5) : v / sum));
    return taps;
}

// The source with the rows and columns beyond it that the flags let the filter read.
template <class T, int C>
const T* gaussSource(const CallArgs& a) {
    const int r = int(a.param[K]) / 2, b = int(a.param[Border]);
    return reinterpret_cast<const T*>(
        zf::placed(a, 0, C * sizeof(T), b & 16 ? r : 0, b & 32 ? r : 0, b & 64 ? r : 0, b & 128 ? r : 0));
}

// The row pass (anchor r, divisor 2^shift) over rows -r .. H + r - 1, a row or
// column outside read from memory where its flag says, else constant or the
// one the border folds it to; then the column pass over them.
template <class T, int C>
ZepStatus gaussRule(const CallArgs& a) {
    using Inter = std::conditional_t<sizeof(T) == 1, int16_t, T>;
    using Tap = std::conditional_t<sizeof(T) == 4, float, std::conditional_t<kType<T> == zep16u, uint16_t, int16_t>>;
    const int k = int(a.param[K]), r = k / 2, W = a.roi.width, H = a.roi.height, b = int(a.param[Border]);
    const int shift = sizeof(T) == 4 ? 0 : kType<T> == zep16u ? 15 : 12;
    const std::vector<Tap> taps = gaussTaps<Tap>(k, float(a.param[Sigma]), shift);
    const T* src = gaussSource<T, C>(a);
    auto outside = [&](int64_t& i, int64_t n, int before, int after) {
        if ((i < 0 && !(b & before)) || (i >= n && !(b & after)))
            return (b & 15) == 6 || (i = zf::fold(i, n, b & 15), false);
        return false;
    };
    auto px = [&](int64_t y, int64_t x, int c) {
        if (outside(y, H, 16, 32) || outside(x, W, 64, 128)) return T(a.param[size_t(Value + c)]);
        return reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) + y * a.step[0])[x * C + c];
    };
    const int64_t E = int64_t{W} * C;
    std::vector<Inter> inter(size_t((H + k - 1) * E));
    for (int i = 0; i < H + k - 1; ++i)
        for (int64_t e = 0; e < E; ++e)
            inter[size_t(i * E + e)] = zf::rowValue<Inter>(
                taps.data(), k, 1 << shift, [&](int j) { return px(i - r, e / C + j - r, int(e % C)); });
    for (int y = 0; y < H; ++y)
        for (int64_t e = 0; e < E; ++e)
            zt::rowOf<T>(a, 1, y)[e] = zf::columnValue<T, Inter>(
                taps.data(), k, 1 << shift, [&](int j) { return inter[size_t((y + j) * E + e)]; });
    return zepStsOk;
}

// The sizes queried for the region (at least 1 x 1), the spec and buffer
// allocated at exactly those sizes, the spec initialised, then the filter.
template <class T, int C, auto F, bool L>
ZepStatus gaussCall(const CallArgs& a) {
    const uint32_t k = uint32_t(a.param[K]), border = uint32_t(a.param[Border]);
    const int flags = int(a.param[Flags]), type = kType<T>, channels = flags & 16 ? 4 - C : C;
    const ImageSize q{std::max(a.roi.width, 1), std::max(a.roi.height, 1)};
    int spec32 = 0, buffer32 = 0;
    int64_t specBytes = spec32, bufferBytes = buffer32;
    if (L) {
        EXPECT_EQ(zepiFilterGaussianGetSpecSize_L(k, type, C, &specBytes), zepStsOk);
        EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({q.width, q.height}, k, type, C, &bufferBytes), zepStsOk);
    } else {
        EXPECT_EQ(zepiFilterGaussianGetBufferSize(q, k, type, C, &spec32, &buffer32), zepStsOk);
    }
    const zt::Canvas spec = zt::bufferOf(L ? specBytes : spec32), buffer = zt::bufferOf(L ? bufferBytes : buffer32);
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.first());
    const float sigma = float(a.param[Sigma]);
    const ZepStatus init = L ? zepiFilterGaussianInit_L({q.width, q.height}, k, sigma, border, type, channels, s)
                             : zepiFilterGaussianInit(q, k, sigma, border, type, channels, s, buffer.first());
    const uint32_t two = 2;
    if (flags & 8) std::memcpy(spec.first() + 12, &two, 4);
    const T values[3] = {T(a.param[Value]), T(a.param[Value + 1]), T(a.param[Value + 2])};
    const auto value = [&] {
        if constexpr (C == 1)
            return values[0];
        else
            return flags & 4 ? nullptr : values;
    }();
    if (init != zepStsOk) return init;
    return F(gaussSource<T, C>(a), a.step[0], static_cast<T*>(a.ptr[1]), a.step[1], {a.roi.width, a.roi.height},
             value, flags & 2 ? nullptr : s, flags & 1 ? nullptr : buffer.first());
}

template <class T, int C, auto F, bool L>
Entry gaussEntry(const char* name, bool large = false) {
    const int px = C * int(sizeof(T)), e = int(sizeof(T));
    Entry entry{name, {{e, C, 0, zf::kMargin}, zt::output(e, C, 0)}, gaussCall<T, C, F, L>, gaussRule<T, C>};
    entry.params = [](std::mt19937& rng, ImageSize roi) {
        static const uint32_t borders[] = {1, 3, 6, 0xF0, 0x16, 0x23, 0xC1, 0x46, 0xB3, 0x91, 0x63, 0xA6};
        std::vector<double> p = {roi.width > 100000 ? 3.0 : std::vector{3, 5, 7, 9, 15, 33}[rng() % 6],
                                 0.3 + double(rng() % 100) / 25.0, double(borders[rng() % 12])};
        for (int c = 0; c < 3; ++c) p.push_back(double(zt::randomValue<T>(rng, false)));
        p.push_back(0);
        return p;
    };
    entry.checks = [px, e](std::vector<zt::Breaker>& b) {
        using zf::set;
        std::vector<zt::Breaker> steps = zf::steps({{0, px, e}, {1, px, e}}), size = zf::kSize;
        b = {zt::nullBreaker(0), zt::nullBreaker(1), set("null buffer", Flags, 1, zepStsNullPointer, true),
             set("null spec", Flags, 2, zepStsNullPointer, true)};
        if (C == 3) b.push_back(set("null border value", Flags, 4, zepStsNullPointer, true));
        if (!L) std::swap(steps, size);  // the 32-bit filters check their steps before the size
        b.insert(b.end(), size.begin(), size.end());
        b.insert(b.end(), steps.begin(), steps.end());
        b.push_back(set("the spec's border 2", Flags, 8, zepStsBadBorder, true));
        b.push_back(set("a spec of another channel count", Flags, 16, zepStsBadContext, true));
    };
    entry.covers = {"zepiFilterGaussianGetBufferSize", "zepiFilterGaussianInit", "zepiFilterGaussianGetSpecSize_L",
                    "zepiFilterGaussianGetBufferSize_L", "zepiFilterGaussianInit_L"};
    if (!std::is_floating_point_v<T>) entry.nans = zt::NaNs::exact;  // no floats to compare by class
    entry.sizes = {{5, 40}, {70, 21}, {129, 9}, {300, 70}, {2, 7}};
    for (int w : zt::sweepWidths()) entry.sizes.insert(entry.sizes.end(), {{w, 1}, {w, 4}});
    if (large) entry.sizes.push_back({300007, 112});  // streaming stores, in bands cut to half the cache
    return entry;
}

// Sobel: all 0 but the last 1; n - d - 1 passes k[j] += k[j + 1], then d
// passes k[j] -= k[j + 1], in the element type (16s wraps); negated for a
// negative sign.
template <class T>
ZepStatus sobelRule(const CallArgs& a) {
    const int n = int(a.param[0]), d = int(a.param[1]);
    T* k = static_cast<T*>(a.ptr[0]);
    std::fill(k, k + n, T(0));
    k[n - 1] = 1;
    for (int p = 0; p < n - 1; ++p)
        for (int j = 0; j < n - 1; ++j) k[j] = T(p < n - d - 1 ? k[j] + k[j + 1] : k[j] - k[j + 1]);
    for (int j = 0; a.param[2] < 0 && j < n; ++j) k[j] = T(-k[j]);
    return zepStsOk;
}

// Every odd size up to 41 with every order: the call's width picks the pair.
template <class T, auto F>
Entry sobelEntry(const char* name) {
    Entry e{name,
            {zt::result(41 * sizeof(T))},
            [](const CallArgs& a) {
                return F(static_cast<T*>(a.ptr[0]), int(a.param[0]), int(a.param[1]), int(a.param[2]));
            },
            sobelRule<T>};
    e.params = [](std::mt19937& rng, ImageSize roi) {
        int n = 1, d = roi.width - 1;
        for (; d >= n; n += 2) d -= n;
        return std::vector<double>{double(n), double(d), std::vector{-2.0, -1.0, 0.0, 1.0}[rng() % 4]};
    };
    e.checks = [](std::vector<zt::Breaker>& b) {
        b = {zt::nullBreaker(0),
             zf::set("size 4", 0, 4, zepStsBadArg),
             zf::set("size 0", 0, 0, zepStsBadArg),
             zf::set("order -1", 1, -1, zepStsBadArg),
             {"order = size", 301, [](CallArgs& a) { a.param[1] = a.param[0]; }, zepStsBadArg}};
    };
    for (int i = 1; i <= 441; ++i) e.sizes.push_back({i, 1});
    e.nans = zt::NaNs::exact;
    return e;
}

#define GAUSS(T, C, N, ...)                                                                       \
    gaussEntry<T, C, zepiFilterGaussianBorder_##N##R, false>("zepiFilterGaussianBorder_" #N "R"), \
        gaussEntry<T, C, zepiFilterGaussian_##N##R_L, true>("zepiFilterGaussian_" #N "R_L", ##__VA_ARGS__)

// clang-format off
const bool enrolled = zt::enrol({
    GAUSS(uint8_t, 1, 8u_C1, true), GAUSS(uint8_t, 3, 8u_C3), GAUSS(uint16_t, 1, 16u_C1), GAUSS(uint16_t, 3, 16u_C3),
    GAUSS(int16_t, 1, 16s_C1), GAUSS(int16_t, 3, 16s_C3), GAUSS(float, 1, 32f_C1), GAUSS(float, 3, 32f_C3),
    sobelEntry<int16_t, zepiGenSobelKernel_16s>("zepiGenSobelKernel_16s"),
    sobelEntry<float, zepiGenSobelKernel_32f>("zepiGenSobelKernel_32f")});
// clang-format on

// ---- Worked rules.
TEST(GaussianRules, TapsOfTheSpecTheNoOpSpecAndSobelWrap) {
    alignas(16) uint8_t spec[256] = {}, src[16] = {}, dst[16] = {7}, work[4096];
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec);
    auto taps = [&](uint32_t k, float sigma, int type) {  // 16-bit, from the first 16-byte boundary after 20 bytes
        EXPECT_EQ(zepiFilterGaussianInit({8, 8}, k, sigma, 1, type, 1, s, work), zepStsOk);
        return std::vector<int>(reinterpret_cast<uint16_t*>(spec + 32), reinterpret_cast<uint16_t*>(spec + 32) + k);
    };
    EXPECT_EQ(taps(3, 1.0f, zep8u), (std::vector<int>{1123, 1851, 1123}));  // 4097: not adjusted to 4096
    EXPECT_EQ(taps(5, 1.5f, zep16s), (std::vector<int>{492, 958, 1196, 958, 492}));
    EXPECT_EQ(taps(3, 0.05f, zep16u), (std::vector<int>{0, 32768, 0}));
    std::memset(spec, 0, sizeof spec);  // never initialised (kernel size 0, or even): a no-op that succeeds
    EXPECT_EQ(zepiFilterGaussianBorder_8u_C1R(src, 4, dst, 4, {4, 4}, 0, s, work), zepStsOk);
    EXPECT_EQ(zepiFilterGaussian_8u_C1R_L(src, 4, dst, 4, {4, 4}, 0, s, work), zepStsOk);
    spec[0] = 4, spec[12] = 1;
    EXPECT_EQ(zepiFilterGaussianBorder_8u_C1R(src, 4, dst, 4, {4, 4}, 0, s, work), zepStsOk);
    EXPECT_EQ(dst[0], 7);
    int16_t k[19];  // Sobel, 16s: C(18, 9) = 48620 wraps
    ASSERT_EQ(zepiGenSobelKernel_16s(k, 19, 0, 1), zepStsOk);
    EXPECT_EQ(k[9], 48620 - 65536);
}

TEST(GaussianRules, InitAndQueryCheckOrders) {
    zt::Canvas spec(400, 1, 400, 0);
    uint8_t buffer[64];
    const CallArgs valid({spec.first(), buffer}, {}, {16, 8}, {5, 1.2, 1, zep8u, 1});
    using zf::set;
    const std::vector<zt::Breaker> b = {zt::nullBreaker(0),
                                        zt::nullBreaker(1),
                                        zf::kSize[1],
                                        zf::kSize[0],
                                        set("kernel 4", 0, 4, zepStsBadArg),
                                        set("kernel 1", 0, 1, zepStsBadArg),
                                        set("data type 2", 3, 2, zepStsBadDataType),
                                        set("channels 4", 4, 4, zepStsBadChannel),
                                        set("sigma 0", 1, 0, zepStsBadArg),
                                        set("sigma NaN", 1, NAN, zepStsBadArg),
                                        set("border 256", 2, 256, zepStsBadBorder),
                                        set("border 0xF2", 2, 0xF2, zepStsBadBorder)};
    zt::expectOrder("Init", valid, zt::callWith<zepiFilterGaussianInit>, b, {&spec});  // nothing written on error
    zt::expectOrder("Init_L", valid,
                    [](const CallArgs& a) {  // no buffer
                        return a.ptr[1] ? zepiFilterGaussianInit_L({a.roi.width, a.roi.height}, uint32_t(a.param[0]),
                                                                   float(a.param[1]), uint32_t(a.param[2]),
                                                                   int(a.param[3]), int(a.param[4]),
                                                                   static_cast<FilterGaussianSpec*>(a.ptr[0]))
                                        : zepStsNullPointer;
                    },
                    b, {&spec});
    int n = 0;
    int64_t nL = 0;
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({0, 1}, 2, 99, 9, nullptr, &n), zepStsNullPointer);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({0, 1}, 2, 99, 9, &n, &n), zepStsBadSize);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, 2, 99, 9, &n, &n), zepStsBadArg);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, 3, 99, 9, &n, &n), zepStsBadDataType);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, 3, zep16s, 9, &n, &n), zepStsBadChannel);
    EXPECT_EQ(zepiFilterGaussianGetSpecSize_L(3, zep16s, 2, nullptr), zepStsNullPointer);
    EXPECT_EQ(zepiFilterGaussianGetSpecSize_L(4, zep16s, 2, &nL), zepStsBadArg);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({0x7fffffff, 1}, 3, zep8u, 2, &nL), zepStsBadChannel);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({0x7fffffff, 1}, 3, zep8u, 1, &nL), zepStsSizeOverflow);
}

// ---- Peers. cv::GaussianBlur and cv::sepFilter2D (mirror is BORDER_REFLECT_101)
// agree within float rounding (their own sum order); GaussianBlur's 8u path
// has 8-bit taps summing to exactly 256 and rounds once, where this filter
// rounds 12-bit taps (not renormalised) after each pass: within 1 on smooth
// data. getDerivKernels gives the Sobel factors exactly below 2^24.
TEST(FilterPeers, OpenCV) {
    const int W = 97, H = 41;
    cv::Mat src(H, W, CV_32FC3), ours(H, W, CV_32FC3), theirs, src8(H, W, CV_8UC1), ours8(H, W, CV_8UC1), theirs8;
    cv::randu(src, -100, 100), cv::randu(src8, 0, 256), cv::GaussianBlur(src8, src8, cv::Size(9, 9), 3);
    std::vector<uint8_t> spec(4096), buffer(1 << 20);
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    const float zero[3] = {}, taps[5] = {0.1f, -0.3f, 0.7f, 0.25f, 0.05f};
    for (int k : {3, 5, 7}) {
        const float sigma = 0.3f * ((k - 1) * 0.5f - 1) + 0.8f;
        ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, sigma, zepBorderMirror, zep32f, 3, s, buffer.data()), zepStsOk);
        ASSERT_EQ(zepiFilterGaussianBorder_32f_C3R(src.ptr<float>(), int(src.step), ours.ptr<float>(), int(ours.step),
                                                   {W, H}, zero, s, buffer.data()),
                  zepStsOk);
        cv::GaussianBlur(src, theirs, cv::Size(k, k), sigma, sigma, cv::BORDER_REFLECT_101);
        EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), 1e-3) << k;
        ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, sigma, zepBorderRepl, zep8u, 1, s, buffer.data()), zepStsOk);
        ASSERT_EQ(zepiFilterGaussianBorder_8u_C1R(src8.data, int(src8.step), ours8.data, int(ours8.step), {W, H}, 0,
                                                  s, buffer.data()),
                  zepStsOk);
        cv::GaussianBlur(src8, theirs8, cv::Size(k, k), sigma, sigma, cv::BORDER_REPLICATE);
        EXPECT_LE(cv::norm(ours8, theirs8, cv::NORM_INF), 1.0) << k;
    }
    cv::Mat plane(H, W, CV_32FC1, cv::Scalar(0)), rowOnly;
    cv::randu(plane, -10, 10);
    std::vector<float*> rows;
    for (int y = 0; y < H; ++y) rows.push_back(ours.ptr<float>(y));  // (W x 3 floats: room for W)
    ASSERT_EQ(zepiFilterRowBorderPipeline_32f_C1R(plane.ptr<float>(), int(plane.step), rows.data(), {W, H}, taps, 5,
                                                  2, zepBorderMirror, 0, buffer.data()),
              zepStsOk);
    cv::filter2D(plane, rowOnly, CV_32F, cv::Mat(1, 5, CV_32F, const_cast<float*>(taps)), {-1, -1}, 0,
                 cv::BORDER_REFLECT_101);
    for (int y = 0; y < H; ++y)
        EXPECT_LE(cv::norm(cv::Mat(1, W, CV_32F, rows[size_t(y)]), rowOnly.row(y), cv::NORM_INF), 1e-4);
    for (int n = 3; n <= 25; n += 2)
        for (int d = 0; d < std::min(n, 4); ++d) {
            cv::Mat kx, ky;
            cv::getDerivKernels(kx, ky, d, d == 0 ? 1 : 0, n, false, CV_32F);
            std::vector<float> f(static_cast<size_t>(n));
            ASSERT_EQ(zepiGenSobelKernel_32f(f.data(), n, d, 1), zepStsOk);
            EXPECT_EQ(cv::norm(cv::Mat(f).t(), kx.reshape(1, 1), cv::NORM_INF), 0.0) << n << " " << d;
        }
}

TEST(CoreLibrary, CacheSize) {  // the core library's query that the _L filters use
    int32_t size = -1;
    EXPECT_EQ(zepGetMaxCacheSizeB(nullptr), zepcoreStsNullPointer);
    EXPECT_EQ(zepGetMaxCacheSizeB(&size), zepcoreStsOk);
    EXPECT_GE(size, 16 * 1024);  // every processor with AVX-512 has at least this much
}

}  // namespace
