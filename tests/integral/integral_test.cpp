// Integral tables and rectangle deviation: the registry's entries with their
// rules, worked rules (tilted pairs, the scaled result), OpenCV as a peer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "support/registry.h"

namespace {

using zt::CallArgs;

template <class T>
T& at(const CallArgs& a, int i, int r, int c) {
    return zt::rowOf<T>(a, i, r)[c];
}
template <class T>  // the tables' arithmetic: 32s wraps
using Wrap = std::conditional_t<std::is_same_v<T, int32_t>, uint32_t, T>;

// Upright table i of image 0: row 0 and column 0 hold val, (y+1, x+1) = (y, x+1)
// + the running sum of row y up to x, made by blocks of 16: the block's prefix
// (exact for 8u, four doubling steps for 32f) added to the sum carried in.
template <class Src, class T>
void upright(const CallArgs& a, int i, T val, bool sq) {
    using P = std::conditional_t<std::is_same_v<Src, float>, float, int64_t>;
    for (int c = 0; c <= a.roi.width; ++c) at<T>(a, i, 0, c) = val;
    for (int y = 0; y < a.roi.height; ++y) {
        T s = at<T>(a, i, y + 1, 0) = val, carried;
        for (int x0 = 0, n; x0 < a.roi.width; x0 += 16) {
            P v[16] = {};
            n = std::min(16, a.roi.width - x0), carried = x0 ? s : T(0);
            for (int k = 0; k < n; ++k) v[k] = P(at<Src>(a, 0, y, x0 + k)) * (sq ? P(at<Src>(a, 0, y, x0 + k)) : 1);
            for (int d = 1; d < 16; d *= 2)
                for (int k = 15; k >= d; --k) v[k] += v[k - d];
            for (int k = 0; k < n; ++k)
                s = T(Wrap<T>(carried) + Wrap<T>(T(v[k]))),
                at<T>(a, i, y + 1, x0 + k + 1) = T(Wrap<T>(at<T>(a, i, y, x0 + k + 1)) + Wrap<T>(s));
        }
    }
}

// Tilted table i: rows 0 and 1 hold val, row y + 2 as the header gives it,
// 32f elements evaluated in double and rounded once.
template <class T>
void tilted(const CallArgs& a, int i, T val, bool sq) {
    using W = std::conditional_t<std::is_same_v<T, float>, double, Wrap<T>>;
    const int w = a.roi.width;
    auto t = [&](int r, int c) -> T& { return at<T>(a, i, r, c); };
    for (int c = 0; c <= w + 1; ++c) t(0, c) = t(1, c) = val;
    for (int y = 0; y < a.roi.height; ++y) {
        auto px = [&](int c) { return c == w ? 0 : W(at<uint8_t>(a, 0, y, c)) * (sq ? at<uint8_t>(a, 0, y, c) : 1); };
        t(y + 2, 0) = t(y + 1, 1), t(y + 2, w + 1) = t(y + 1, w);
        for (int c = 1; c <= w; ++c)
            t(y + 2, c) = T(W(t(y + 1, c - 1)) + W(t(y + 1, c + 1)) - W(t(y, c)) + (px(c - 1) + px(c)));
    }
}

// Deviation arguments: sum table, square table, destination, the rectangle
// (param[1..4]) through a marker; scale factor param[0]. Tilted
// tables are passed from column max(0, y + h - x), so every corner is inside.
template <bool Tilted, class S, class Q>
CallArgs placed(CallArgs a) {
    const int off = Tilted ? std::clamp(zt::parameterAs<int>(a.param[2] + a.param[4] - a.param[1]), 0, 1 << 20) : 0;
    if (a.ptr[0]) a.ptr[0] = static_cast<S*>(a.ptr[0]) + off;
    if (a.ptr[1]) a.ptr[1] = static_cast<Q*>(a.ptr[1]) + off;
    return a;
}

// sum = (P0 - P1) - (P2 - P3) over the corners in the table's arithmetic;
// var = sqsum / n - mean * mean fused (in float for 32s outputs), clamped at
// 0; the float root, for 32s outputs times 2^-sf, plus 0.5, truncated.
template <bool Tilted, class S, class Q, class D>
ZepStatus deviationRule(const CallArgs& in) {
    using F = std::conditional_t<std::is_same_v<D, float>, double, float>;
    const CallArgs a = placed<Tilted, S, Q>(in);
    const int x = zt::parameterAs<int>(a.param[1]), y = zt::parameterAs<int>(a.param[2]),
              w = zt::parameterAs<int>(a.param[3]), h = zt::parameterAs<int>(a.param[4]);
    const int dr[4] = {0, Tilted ? h : 0, Tilted ? w : h, Tilted ? w + h : h}, r0 = Tilted ? x + y : y;
    const int dc[4] = {0, Tilted ? -h : w, Tilted ? w : 0, Tilted ? w - h : w}, c0 = Tilted ? x - y : x;
    auto diff = [&]<class V>(int t, int i, int j, V) {
        Wrap<V> v[4];
        for (int k = 0; k < 4; ++k) v[k] = Wrap<V>(at<V>(a, t, i + r0 + dr[k], j + c0 + dc[k]));
        return F(V((v[0] - v[1]) - (v[2] - v[3])));
    };
    for (int i = 0; i < a.roi.height; ++i)
        for (int j = 0; j < a.roi.width; ++j) {
            const F inv = F(1) / F((Tilted ? 2 : 1) * w * h), mean = diff(0, i, j, S()) * inv;
            const float var = float(std::fma(-mean, mean, diff(1, i, j, Q()) * inv)),
                        r = var < 0 ? 0 : std::sqrt(var);
            const float scaled = r * std::exp2(-float(a.param[0])) + 0.5f;
            at<D>(a, 2, i, j) = std::is_same_v<D, float> ? D(r) : scaled >= 0x1p31f ? INT32_MAX : D(scaled);
        }
    return zepStsOk;
}

// Tables of (width + m) x (height + m) elements, every step checked together.
template <auto F, bool Tilted, class Src, class S, class Q = void>
zt::Entry table(const char* name) {
    const int m = Tilted ? 2 : 1;
    std::vector<zt::ImageRole> args = {zt::input(sizeof(Src)), {int(sizeof(S)), 1, 0, m, true}};
    if constexpr (!std::is_void_v<Q>) args.push_back({int(sizeof(Q)), 1, 0, m, true});
    zt::Entry e{name, args, zt::callWith<F>, [](const CallArgs& a) {
                    const S val = a.param.empty() ? S(0) : S(a.param[0]);
                    Tilted ? tilted<S>(a, 1, val, false) : upright<Src, S>(a, 1, val, false);
                    if constexpr (!std::is_void_v<Q>)
                        Tilted ? tilted<Q>(a, 2, Q(a.param[1]), true) : upright<Src, Q>(a, 2, Q(a.param[1]), true);
                    return zepStsOk;
                }};
    if (!std::is_same_v<Src, float>)
        e.params = [](std::mt19937& rng, ImageSize) {
            const double v[] = {0, -7, 0.25, 1000.5, 2147483000, -2147483000};
            return std::vector<double>{v[rng() % 6], v[rng() % 6]};
        };
    return e;
}

// The tables have 10 spare rows and columns for any rectangle drawn. Short
// table steps hold one element; then x < 0, y < 0, w = 0, h = 0.
template <auto F, bool Tilted, class S, class Q, class D>
zt::Entry deviation(const char* name) {
    zt::Entry e{name,
                {{4, 1, 0, 10}, {int(sizeof(Q)), 1, 0, 10}, zt::output(4, 1, 0), {1, 1, -1, 0, false, 1}},
                [](const CallArgs& in) {
                    CallArgs a = placed<Tilted, S, Q>(in);
                    const ImageRect r{zt::parameterAs<int>(a.param[1]), zt::parameterAs<int>(a.param[2]),
                                      zt::parameterAs<int>(a.param[3]), zt::parameterAs<int>(a.param[4])};
                    a.ptr[3] = a.ptr[3] ? (void*)&r : nullptr;
                    return zt::callWith<F>(a);
                },
                deviationRule<Tilted, S, Q, D>};
    e.params = [](std::mt19937& rng, ImageSize) {
        return std::vector<double>{double(int(rng() % 9) - 3), double(rng() % 3), double(rng() % 3),
                                   double(1 + rng() % 3), double(1 + rng() % 3)};
    };
    e.checks = [](std::vector<zt::Breaker>& b) {
        b[6].apply = [](CallArgs& a) { a.step[0] = 4; };
        b[8].apply = [](CallArgs& a) { a.step[1] = int(sizeof(Q)); };
        for (int k = 1; k <= 4; ++k)
            b.push_back({"rect", 20, [k](CallArgs& a) { a.param[k] = k > 2 ? 0 : -1; }, zepStsBadSize});
    };
    return e;
}

const bool enrolled = zt::enrol(
    {
        table<zepiIntegral_32f_C1R, false, float, float>("zepiIntegral_32f_C1R"),
        table<zepiIntegral_8u32f_C1R, false, uint8_t, float>("zepiIntegral_8u32f_C1R"),
        table<zepiIntegral_8u32s_C1R, false, uint8_t, int32_t>("zepiIntegral_8u32s_C1R"),
        // Rows whose running sums pass 2^24, where the 32f blocks' roundings show.
        [] {
            auto e = table<zepiIntegral_8u32f_C1R, false, uint8_t, float>("zepiIntegral_8u32f_C1R");
            e.sizes = {{200003, 2}};
            return e;
        }(),
        table<zepiSqrIntegral_8u32s_C1R, false, uint8_t, int32_t, int32_t>("zepiSqrIntegral_8u32s_C1R"),
        table<zepiSqrIntegral_8u32s64f_C1R, false, uint8_t, int32_t, double>("zepiSqrIntegral_8u32s64f_C1R"),
        table<zepiSqrIntegral_8u32f64f_C1R, false, uint8_t, float, double>("zepiSqrIntegral_8u32f64f_C1R"),
        table<zepiTiltedIntegral_8u32s_C1R, true, uint8_t, int32_t>("zepiTiltedIntegral_8u32s_C1R"),
        table<zepiTiltedIntegral_8u32f_C1R, true, uint8_t, float>("zepiTiltedIntegral_8u32f_C1R"),
        table<zepiTiltedSqrIntegral_8u32s_C1R, true, uint8_t, int32_t, int32_t>("zepiTiltedSqrIntegral_8u32s_C1R"),
        table<zepiTiltedSqrIntegral_8u32s64f_C1R, true, uint8_t, int32_t, double>(
            "zepiTiltedSqrIntegral_8u32s64f_C1R"),
        table<zepiTiltedSqrIntegral_8u32f64f_C1R, true, uint8_t, float, double>("zepiTiltedSqrIntegral_8u32f64f_C1R"),
        deviation<zepiRectStdDev_32f_C1R, false, float, double, float>("zepiRectStdDev_32f_C1R"),
        deviation<zepiRectStdDev_32s32f_C1R, false, int32_t, double, float>("zepiRectStdDev_32s32f_C1R"),
        deviation<zepiRectStdDev_32s_C1RSfs, false, int32_t, int32_t, int32_t>("zepiRectStdDev_32s_C1RSfs"),
        deviation<zepiTiltedRectStdDev_32f_C1R, true, float, double, float>("zepiTiltedRectStdDev_32f_C1R"),
        deviation<zepiTiltedRectStdDev_32s32f_C1R, true, int32_t, double, float>("zepiTiltedRectStdDev_32s32f_C1R"),
        deviation<zepiTiltedRectStdDev_32s_C1RSfs, true, int32_t, int32_t, int32_t>(
            "zepiTiltedRectStdDev_32s_C1RSfs"),
    },
    false);  // the rectangle decides which table elements are read;

TEST(IntegralRules, TiltedPairsAndScaledDeviation) {
    // The horizontal pair src[y][c-1] + src[y][c]; only src[y][width-1] in column width.
    const uint8_t px[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    int32_t t[5][5], want[3][5] = {{0, 3, 5, 3, 0}, {3, 14, 17, 11, 3}, {14, 32, 37, 26, 11}};
    ASSERT_EQ(zepiTiltedIntegral_8u32s_C1R(&px[0][0], 3, &t[0][0], 20, {3, 3}, 0), zepStsOk);
    EXPECT_EQ(std::memcmp(t[2], want, sizeof want), 0);
    // Pixels alternately 0 and 5, 2 x 1 rectangles: deviation 2.5, times 2^-sf, plus 0.5, truncated, saturated;
    // 17 outputs, a vector block and a tail.
    int32_t sum[2][19] = {}, sq[2][19] = {}, out[17];
    for (int c = 0; c < 19; ++c) sum[1][c] = 5 * (c / 2), sq[1][c] = 25 * (c / 2);
    const ImageRect r{0, 0, 2, 1};
    for (auto [sf, v] :
         {std::pair{0, 3}, std::pair{1, 1}, std::pair{-2, 10}, std::pair{40, 0}, std::pair{-40, INT32_MAX}}) {
        ASSERT_EQ(zepiRectStdDev_32s_C1RSfs(sum[0], 76, sq[0], 76, out, 68, {17, 1}, &r, sf), zepStsOk);
        EXPECT_EQ(std::count(out, out + 17, v), 17) << sf;
    }
}

// Peers. cv::integral makes the same upright tables (32f exact below 2^24);
// its tilted table is another: one pixel per row step where this library adds
// a horizontal pair. cv::meanStdDev is the same population deviation by
// two-pass sums: a small relative difference.
TEST(IntegralPeers, OpenCVIntegralAndMeanStdDev) {
    cv::Mat src(23, 97, CV_8U), sum(24, 98, CV_32S), sumF(24, 98, CV_32F), sq(24, 98, CV_64F), d(16, 93, CV_32F);
    cv::Mat cvSum, cvSq, cvSumF;
    cv::randu(src, 0, 256);
    cv::integral(src, cvSum, cvSq, CV_32S, CV_64F);
    ASSERT_EQ(
        zepiSqrIntegral_8u32f64f_C1R(src.data, 97, sumF.ptr<float>(), 392, sq.ptr<double>(), 784, {97, 23}, 0, 0),
        zepStsOk);
    sumF.convertTo(cvSumF, CV_32S);
    EXPECT_EQ(cv::norm(cvSumF, cvSum, cv::NORM_INF) + cv::norm(sq, cvSq, cv::NORM_INF), 0.0);
    ASSERT_EQ(
        zepiSqrIntegral_8u32s64f_C1R(src.data, 97, sum.ptr<int32_t>(), 392, sq.ptr<double>(), 784, {97, 23}, 0, 0),
        zepStsOk);
    EXPECT_EQ(cv::norm(sum, cvSum, cv::NORM_INF) + cv::norm(sq, cvSq, cv::NORM_INF), 0.0);
    const ImageRect r{3, 1, 5, 7};
    ASSERT_EQ(
        zepiRectStdDev_32s32f_C1R(sum.ptr<int32_t>(), 392, sq.ptr<double>(), 784, d.ptr<float>(), 372, {89, 16}, &r),
        zepStsOk);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 89; ++x) {
            cv::Scalar mean, dev;
            cv::meanStdDev(src(cv::Rect(x + r.x, y + r.y, r.width, r.height)), mean, dev);
            EXPECT_NEAR(d.at<float>(y, x), dev[0], 1e-4 * dev[0]) << x << "," << y;
        }
}

}  // namespace
