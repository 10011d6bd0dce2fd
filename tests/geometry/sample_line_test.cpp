// Line sampling: the two-sample branch-free loop against the rule, the sample
// count, the check order, and cv::LineIterator, which pins the axis choice and
// the tie rule.
#include "geometry/sample_line.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

#include "support/check_order.h"

namespace {

using zep::Path;
using zt::CallArgs;
using zt::Image;

template <class T, int Ch>
void expectLinesAgree(ZepStatus (*exported)(const T*, int, ImageSize, T*, ImagePoint, ImagePoint)) {
    std::mt19937 rng(23);
    for (int k = 0; k < 300; ++k) {
        const int w = 1 + int(rng() % 90), h = 1 + int(rng() % 70);
        Image<T> img(rng, w, h, Ch);
        const ImagePoint a{int(rng() % unsigned(w)), int(rng() % unsigned(h))};
        const ImagePoint b = k % 10 == 0 ? a : ImagePoint{int(rng() % unsigned(w)), int(rng() % unsigned(h))};
        const size_t n = size_t(std::max(std::abs(b.x - a.x), std::abs(b.y - a.y)) + 1) * Ch;
        // The destination ends at an inaccessible page; a guard byte would show an overrun too.
        zt::Canvas got(int64_t(n * sizeof(T)), 1, int64_t(n * sizeof(T)), 0);
        std::vector<T> want(n);
        ASSERT_EQ(exported(img.data(), img.step(), {w, h}, reinterpret_cast<T*>(got.first()), a, b), zepStsOk);
        ASSERT_EQ(
            (zep::geometry::sampleLineImage<Path::scalar, T, Ch>(img.data(), img.step(), {w, h}, want.data(), a, b)),
            zepStsOk);
        ASSERT_EQ(std::memcmp(got.first(), want.data(), n * sizeof(T)), 0)
            << "(" << a.x << "," << a.y << ") to (" << b.x << "," << b.y << ")";
    }
}

TEST(SampleLine, BranchFreeLoopAgreesWithTheRule) {
    expectLinesAgree<uint8_t, 1>(zepiSampleLine_8u_C1R);
    expectLinesAgree<uint8_t, 3>(zepiSampleLine_8u_C3R);
    expectLinesAgree<uint16_t, 1>(zepiSampleLine_16u_C1R);
    expectLinesAgree<uint16_t, 3>(zepiSampleLine_16u_C3R);
    expectLinesAgree<float, 1>(zepiSampleLine_32f_C1R);
    expectLinesAgree<float, 3>(zepiSampleLine_32f_C3R);
}

TEST(SampleLine, SampleCountOverflow) {
    // Not reachable with end points inside a ROI (M < width <= 2^31 - 1); the
    // count rule itself: 2^31 - 1 + 1 is negative in 32 bits.
    EXPECT_LT(zep::geometry::lineSampleCount({0, 0}, {INT32_MAX, 0}), 0);
    EXPECT_EQ(zep::geometry::lineSampleCount({0, 0}, {INT32_MAX - 1, 5}), INT32_MAX);
}

template <class T, int Ch, auto F>
void checkOrder(const char* name) {
    std::mt19937 rng(4);
    const ImageSize roi{6, 4};
    Image<uint8_t> src(rng, roi.width * int(sizeof(T)) * Ch, roi.height, 1, false, sizeof(T));
    Image<uint8_t> dst(rng, 8 * int(sizeof(T)) * Ch, 1, 1, false, sizeof(T));
    // The source's null, then the destination's, then the source's ROI and step, then the end points.
    std::vector<zt::Breaker> b = zt::standardBreakers({{int(sizeof(T)), Ch, 0}}, roi);
    b.insert(b.begin() + 1, zt::nullBreaker(1));
    b.push_back({"x = width", 60, [](CallArgs& a) { a.param[2] = a.roi.width; }, zepStsOutOfRange});
    b.push_back({"negative y", 61, [](CallArgs& a) { a.param[1] = -1; }, zepStsOutOfRange});
    b.push_back({"y = height", 62, [](CallArgs& a) { a.param[3] = a.roi.height; }, zepStsOutOfRange});
    zt::expectOrder(name, {{src.data(), dst.data()}, {src.step()}, roi, {0, 0, 5, 3}}, zt::callWith<F>, b,
                    {&src.canvas, &dst.canvas});
}

// Every form checks in sampleLineImage's order: one form of 1-byte elements, one
// of wider elements (step multiples) with channels in its step size.
TEST(SampleLine, CheckOrder) {
    checkOrder<uint8_t, 1, zepiSampleLine_8u_C1R>("SampleLine_8u_C1R");
    checkOrder<float, 3, zepiSampleLine_32f_C3R>("SampleLine_32f_C3R");
}

// cv::LineIterator (8-connected) steps with the same error term and the same
// tie rule (no minor step at an error of exactly 0, so a line and its reverse
// may differ), so every line inside the image visits the same pixels in the
// same order, points and short lines in every direction included. It takes x as the major axis for exact diagonals
// where we take y; a diagonal moves along both axes every step, so the pixels are the same.
TEST(SampleLinePeers, OpenCVLineIterator) {
    std::mt19937 rng(12);
    cv::Mat img(97, 131, CV_8UC1);
    cv::randu(img, 0, 256);
    for (int k = 0; k < 3000; ++k) {
        const cv::Point a(int(rng() % 131), int(rng() % 97));
        const cv::Point b = k % 50 == 0  ? a
                            : k % 7 == 0 ? a + cv::Point(int(rng() % 13) - 6, int(rng() % 13) - 6)
                                         : cv::Point(int(rng() % 131), int(rng() % 97));
        if (b.x < 0 || b.y < 0 || b.x >= 131 || b.y >= 97) continue;
        cv::LineIterator it(img, a, b, 8);
        std::vector<uint8_t> theirs, ours(size_t(it.count));
        for (int i = 0; i < it.count; ++i, ++it) theirs.push_back(**it);
        ASSERT_EQ(zepiSampleLine_8u_C1R(img.data, int(img.step), {131, 97}, ours.data(), {a.x, a.y}, {b.x, b.y}),
                  zepStsOk);
        ASSERT_EQ(ours, theirs) << a << " to " << b;
    }
}

}  // namespace
