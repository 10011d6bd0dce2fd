// Absolute differences: vector path against the scalar definition, the
// out-of-range constant rule, float specials, check orders, and OpenCV.
#include "arith/abs_diff.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/core.hpp>
#include <random>

#include "support/check_order.h"

namespace {

using zep::Path;
using zt::Image;

template <class T>
using TwoSources = ZepStatus (*)(const T*, int, const T*, int, T*, int, ImageSize);

// Sizes: the width sweep at heights 1 and 4, and one destination of over a
// megabyte with an odd width, which is written with streaming stores.
std::vector<ImageSize> sizesFor(int elemBytes) {
    std::vector<ImageSize> sizes;
    for (int w : zt::sweepWidths())
        for (int h : {1, 4}) sizes.push_back({w, h});
    sizes.push_back({1283, (1 << 20) / (1283 * elemBytes) + 1});
    return sizes;
}

// Ours against the scalar definition at every size, on two sources or (with a
// value) one source.
template <class T, int Ch = 1, class F, class D, class... V>
void expectAgrees(const char* name, F exported, D definition, V... value) {
    std::mt19937 rng(99);
    for (const ImageSize r : sizesFor(sizeof(T) * Ch)) {
        Image<T> a(rng, r.width, r.height, Ch), b(rng, r.width, r.height, Ch), dst(rng, r.width, r.height, Ch);
        if (rng() % 4 == 0) b.fill(T(0));
        auto on = [&](auto f) {
            return [&, f](T* d) {
                if constexpr (sizeof...(V) == 0)
                    return f(a.data(), a.step(), b.data(), b.step(), d, dst.step(), r);
                else
                    return f(a.data(), a.step(), d, dst.step(), r, value...);
            };
        };
        ASSERT_TRUE(zt::agree(dst, on(exported), on(definition)))
            << name << " " << r.width << "x" << r.height << " value " << (0.0 + ... + double(value));
    }
}

TEST(AbsDiff, VectorPathAgreesWithScalarDefinition) {
    using zep::arith::absDiffConstImage;
    using zep::arith::absDiffImage;
    expectAgrees<uint8_t, 1>("AbsDiff_8u_C1R", zepiAbsDiff_8u_C1R, absDiffImage<Path::scalar, uint8_t, 1>);
    expectAgrees<uint8_t, 3>("AbsDiff_8u_C3R", zepiAbsDiff_8u_C3R, absDiffImage<Path::scalar, uint8_t, 3>);
    expectAgrees<uint16_t, 1>("AbsDiff_16u_C1R", zepiAbsDiff_16u_C1R, absDiffImage<Path::scalar, uint16_t, 1>);
    expectAgrees<float, 1>("AbsDiff_32f_C1R", zepiAbsDiff_32f_C1R, absDiffImage<Path::scalar, float, 1>);
    for (int v : {0, 77, 255, 300, -5, 70000, INT32_MIN})
        expectAgrees<uint8_t>("AbsDiffC_8u_C1R", zepiAbsDiffC_8u_C1R, absDiffConstImage<Path::scalar, uint8_t, int>,
                              v);
    for (int v : {0, 1234, 65535, 70000, -1, INT32_MAX})
        expectAgrees<uint16_t>("AbsDiffC_16u_C1R", zepiAbsDiffC_16u_C1R,
                               absDiffConstImage<Path::scalar, uint16_t, int>, v);
    for (float v : {0.0f, -0.0f, 12.5f, INFINITY, NAN})
        expectAgrees<float>("AbsDiffC_32f_C1R", zepiAbsDiffC_32f_C1R, absDiffConstImage<Path::scalar, float, float>,
                            v);
}

TEST(AbsDiff, OutOfRangeConstantUsesLowBitsExceptTheRowTail) {
    // Width 3, value 70000: the first two pixels against 4464, the last with
    // |src - 70000| in 32-bit arithmetic, truncated to 16 bits.
    const uint16_t src[3] = {5000, 5000, 5000};
    uint16_t dst[3];
    ASSERT_EQ(zepiAbsDiffC_16u_C1R(src, 6, dst, 6, {3, 1}, 70000), zepStsOk);
    EXPECT_EQ(dst[0], 536);
    EXPECT_EQ(dst[1], 536);
    EXPECT_EQ(dst[2], uint16_t(65000));
    // 8u, width 6, value 300: four pixels against 44, the last two (6 mod 4) with |src - 300| & 0xFF.
    const uint8_t s8[6] = {50, 50, 50, 50, 50, 50};
    uint8_t d8[6];
    ASSERT_EQ(zepiAbsDiffC_8u_C1R(s8, 6, d8, 6, {6, 1}, 300), zepStsOk);
    const uint8_t want8[6] = {6, 6, 6, 6, 250, 250};
    EXPECT_EQ(std::memcmp(d8, want8, 6), 0);
    // In range the rule is the plain absolute difference everywhere.
    ASSERT_EQ(zepiAbsDiffC_8u_C1R(s8, 6, d8, 6, {6, 1}, 53), zepStsOk);
    for (uint8_t v : d8) EXPECT_EQ(v, 3);
}

TEST(AbsDiff, FloatSignAndNaN) {
    const float a[4] = {-0.0f, 1.0f, NAN, -INFINITY};
    const float b[4] = {0.0f, 3.0f, 1.0f, 5.0f};
    float d[4];
    ASSERT_EQ(zepiAbsDiff_32f_C1R(a, 16, b, 16, d, 16, {4, 1}), zepStsOk);
    EXPECT_FALSE(std::signbit(d[0]));
    EXPECT_EQ(d[1], 2.0f);
    EXPECT_TRUE(std::isnan(d[2]));
    EXPECT_EQ(d[3], INFINITY);
}

TEST(AbsDiff, CheckOrder) {
    // Sources first, then the destination; 16u checks its three steps together. The other forms share the
    // checks of these in one template each (AbsDiff_8u_C1R those of 8u_C3R and 32f_C1R).
    auto order = [](const char* name, std::vector<zt::ImageRole> roles, zt::Caller call) {
        zt::expectRoleOrder(name, roles, {6, 2}, call, {}, {1.0});
    };
    order("AbsDiff_8u_C3R", {{1, 3, 0}, {1, 3, 0}, {1, 3, 1}}, zt::callWith<zepiAbsDiff_8u_C3R>);
    order("AbsDiff_16u_C1R", {{2, 1, 0}, {2, 1, 0}, {2, 1, 0}}, zt::callWith<zepiAbsDiff_16u_C1R>);
    order("AbsDiff_32f_C1R", {{4, 1, 0}, {4, 1, 0}, {4, 1, 1}}, zt::callWith<zepiAbsDiff_32f_C1R>);
    order("AbsDiffC_8u_C1R", {{1, 1, 0}, {1, 1, 1}}, zt::callWith<zepiAbsDiffC_8u_C1R>);
    order("AbsDiffC_32f_C1R", {{4, 1, 0}, {4, 1, 1}}, zt::callWith<zepiAbsDiffC_32f_C1R>);
}

// cv::absdiff computes the same exact differences for 8u, 16u and 32f.
TEST(AbsDiffPeers, OpenCVAbsdiff) {
    const int w = 131, h = 7;
    const ImageSize roi{w, h};
    auto compare = [&]<class T>(int type, TwoSources<T> exported) {
        cv::Mat a(h, w, type), b(h, w, type), ours(h, w, type), theirs;
        cv::randu(a, -1.0e6, 1.0e6);
        cv::randu(b, -1.0e6, 1.0e6);
        ASSERT_EQ(exported(a.ptr<T>(), int(a.step), b.ptr<T>(), int(b.step), ours.ptr<T>(), int(ours.step), roi),
                  zepStsOk);
        cv::absdiff(a, b, theirs);
        EXPECT_EQ(cv::norm(ours, theirs, cv::NORM_INF), 0.0) << type;
    };
    compare(CV_8UC1, zepiAbsDiff_8u_C1R);
    compare(CV_8UC3, zepiAbsDiff_8u_C3R);
    compare(CV_16UC1, zepiAbsDiff_16u_C1R);
    compare(CV_32FC1, zepiAbsDiff_32f_C1R);
    cv::Mat src(h, w, CV_8UC1), ours(h, w, CV_8UC1), theirs;
    cv::randu(src, 0, 256);
    ASSERT_EQ(zepiAbsDiffC_8u_C1R(src.data, int(src.step), ours.data, int(ours.step), roi, 100), zepStsOk);
    cv::absdiff(src, cv::Scalar(100), theirs);
    EXPECT_EQ(cv::norm(ours, theirs, cv::NORM_INF), 0.0);
}

}  // namespace
