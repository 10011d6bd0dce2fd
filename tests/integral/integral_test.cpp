// Integral tables: the vector path against the scalar definition, worked
// examples of the rules (offsets, wrapping, the tilted recurrence), the check
// order, and cv::integral.
#include "integral/integral.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <random>
#include <string>

#include "support/check_order.h"

namespace {

using zep::Path;
using zep::integral::None;
using zt::Image;

// Every integral export beside its scalar definition, called with the source,
// the table and the square table (the square forms) in argument order;
// offsets -7 (0 for the 32f source) and 3.
struct Case {
    std::string name;
    bool tilted, floatSrc;
    int sumBytes, sqBytes;  // sqBytes 0: no square table
    zt::Caller exported, scalar;
};

template <bool T, class Src, class S, class Q>
ZepStatus callScalar(const zt::CallArgs& a) {
    constexpr bool sq = !std::is_same_v<Q, None>;
    Q valQ{};
    if constexpr (sq) valQ = Q(a.param[1]);
    return zep::integral::integralImage<Path::scalar, T, Src, S, Q>(
        static_cast<const Src*>(a.ptr[0]), a.step[0], static_cast<S*>(a.ptr[1]), a.step[1],
        sq ? static_cast<Q*>(a.ptr[2]) : nullptr, sq ? a.step[2] : 0, a.roi,
        std::is_same_v<Src, float> ? S(0) : S(a.param[0]), valQ);
}

template <bool T, class Src, class S, class Q, auto F>
Case make(const char* name) {
    constexpr int sq = std::is_same_v<Q, None> ? 0 : int(sizeof(Q));
    return Case(name, T, std::is_same_v<Src, float>, sizeof(S), sq, zt::callWith<F>, callScalar<T, Src, S, Q>);
}

const std::vector<Case>& cases() {
    static const std::vector<Case> c = {
        make<false, float, float, None, zepiIntegral_32f_C1R>("Integral_32f"),
        make<false, uint8_t, float, None, zepiIntegral_8u32f_C1R>("Integral_8u32f"),
        make<false, uint8_t, int32_t, None, zepiIntegral_8u32s_C1R>("Integral_8u32s"),
        make<false, uint8_t, int32_t, int32_t, zepiSqrIntegral_8u32s_C1R>("SqrIntegral_8u32s"),
        make<false, uint8_t, int32_t, double, zepiSqrIntegral_8u32s64f_C1R>("SqrIntegral_8u32s64f"),
        make<false, uint8_t, float, double, zepiSqrIntegral_8u32f64f_C1R>("SqrIntegral_8u32f64f"),
        make<true, uint8_t, int32_t, None, zepiTiltedIntegral_8u32s_C1R>("TiltedIntegral_8u32s"),
        make<true, uint8_t, float, None, zepiTiltedIntegral_8u32f_C1R>("TiltedIntegral_8u32f"),
        make<true, uint8_t, int32_t, int32_t, zepiTiltedSqrIntegral_8u32s_C1R>("TiltedSqrIntegral_8u32s"),
        make<true, uint8_t, int32_t, double, zepiTiltedSqrIntegral_8u32s64f_C1R>("TiltedSqrIntegral_8u32s64f"),
        make<true, uint8_t, float, double, zepiTiltedSqrIntegral_8u32f64f_C1R>("TiltedSqrIntegral_8u32f64f"),
    };
    return c;
}

// Source (bytes standing in for 8u or 32f), table and square table of a case.
struct Tables {
    Image<uint8_t> src, sum, sq;
    Tables(std::mt19937& rng, const Case& c, int w, int h)
        : src(zt::makeSource(rng, c.floatSrc ? 4 : 1, 1, w, h, zt::Values::random)),
          sum(rng, (w + (c.tilted ? 2 : 1)) * c.sumBytes, h + (c.tilted ? 2 : 1), 1, false, c.sumBytes),
          sq(rng, (w + (c.tilted ? 2 : 1)) * std::max(c.sqBytes, 1), h + (c.tilted ? 2 : 1), 1, false,
             std::max(c.sqBytes, 1)) {}
    // The call of `f` writing the tables at o[0] (and o[1]).
    auto on(const Case& c, const zt::Caller& f, ImageSize roi) {
        return [this, &c, &f, roi](uint8_t* const* o) {
            zt::CallArgs a({src.data(), o[0]}, {src.step(), sum.step()}, roi, {-7, 3});
            if (c.sqBytes) a.ptr.push_back(o[1]), a.step.push_back(sq.step());
            return f(a);
        };
    }
};

TEST(Integral, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(81);
    for (const Case& c : cases()) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 3}) {
                Tables t(rng, c, w, h);
                std::vector<const zt::Canvas*> tables = {&t.sum.canvas};
                if (c.sqBytes) tables.push_back(&t.sq.canvas);
                ASSERT_TRUE(zt::agreeOn(tables, t.on(c, c.exported, {w, h}), t.on(c, c.scalar, {w, h}), c.floatSrc))
                    << c.name << " width " << w << " height " << h;
            }
        }
    }
}

TEST(Integral, CheckOrder) {
    for (const Case& c : cases()) {
        // The tables have (width + 1) or (width + 2) elements a row.
        const int margin = c.tilted ? 2 : 1;
        std::vector<zt::ImageRole> roles = {{c.floatSrc ? 4 : 1, 1, 0}, {c.sumBytes, 1, 0, margin}};
        if (c.sqBytes) roles.push_back({c.sqBytes, 1, 0, margin});
        zt::expectRoleOrder(c.name, roles, {5, 3}, c.exported, {}, {-7, 3});
    }
}

TEST(Integral, OnePixelGivesValAndValPlusPixel) {
    const uint8_t p = 200;
    int32_t t[4];
    ASSERT_EQ(zepiIntegral_8u32s_C1R(&p, 1, t, 8, {1, 1}, 10), zepStsOk);
    EXPECT_EQ(t[0], 10);
    EXPECT_EQ(t[1], 10);
    EXPECT_EQ(t[2], 10);
    EXPECT_EQ(t[3], 210);
    // The 32f source form always starts from 0 and sums negative values as they are.
    const float f[2] = {-1.5f, -0.25f};
    float u[6];
    ASSERT_EQ(zepiIntegral_32f_C1R(f, 8, u, 12, {2, 1}), zepStsOk);
    const float expect[6] = {0, 0, 0, 0, -1.5f, -1.75f};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(u[i], expect[i]) << i;
}

TEST(Integral, ThirtyTwoBitTablesWrapAndDeviationStillWorks) {
    const int w = 300, h = 200;
    cv::Mat src(h, w, CV_8U), sum[2], d[2];
    cv::randu(src, 200, 256);
    // An offset near the top of the range makes the table wrap below zero; the deviations stay the same.
    const int32_t offset[2] = {0, INT32_MAX - 1000};
    const ImageRect r{0, 0, 7, 5};
    for (int i = 0; i < 2; ++i) {
        cv::Mat sq(h + 1, w + 1, CV_64F);
        sum[i].create(h + 1, w + 1, CV_32S), d[i].create(h - 5, w - 7, CV_32F);
        ASSERT_EQ(zepiSqrIntegral_8u32s64f_C1R(src.data, int(src.step), sum[i].ptr<int32_t>(), int(sum[i].step),
                                               sq.ptr<double>(), int(sq.step), {w, h}, offset[i], 0.0),
                  zepStsOk);
        ASSERT_EQ(zepiRectStdDev_32s32f_C1R(sum[i].ptr<int32_t>(), int(sum[i].step), sq.ptr<double>(), int(sq.step),
                                            d[i].ptr<float>(), int(d[i].step), {w - 7, h - 5}, &r),
                  zepStsOk);
    }
    EXPECT_LT(sum[1].at<int32_t>(h, w), 0);
    EXPECT_EQ(uint32_t(sum[1].at<int32_t>(h, w)), uint32_t(offset[1]) + uint32_t(sum[0].at<int32_t>(h, w)));
    EXPECT_EQ(cv::norm(d[0], d[1], cv::NORM_INF), 0.0);
}

TEST(Integral, TiltedTableFollowsItsRecurrence) {
    // One pixel wide: columns 0..2, T(y+2, 1) = T(y+1, 0) + T(y+1, 2) - T(y, 1) + src[y][0].
    const uint8_t col[3] = {5, 7, 11};
    int32_t t[5][3];
    ASSERT_EQ(zepiTiltedIntegral_8u32s_C1R(col, 1, &t[0][0], 12, {1, 3}, 1), zepStsOk);
    const int32_t expect[5][3] = {{1, 1, 1}, {1, 1, 1}, {1, 6, 1}, {6, 8, 6}, {8, 17, 8}};
    EXPECT_EQ(std::memcmp(t, expect, sizeof t), 0);
    // Three by three: T(y+2, c) = T(y+1, c-1) + T(y+1, c+1) - T(y, c) + src[y][c-1] + src[y][c] inside,
    // without the pixel beyond the last column at c = width; the square table adds the squares.
    const uint8_t px[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    float s[5][5];
    double q[5][5];
    ASSERT_EQ(zepiTiltedSqrIntegral_8u32f64f_C1R(&px[0][0], 3, &s[0][0], 20, &q[0][0], 40, {3, 3}, 0.5f, 0.25),
              zepStsOk);
    const float sWant[5][5] = {{.5f, .5f, .5f, .5f, .5f},
                               {.5f, .5f, .5f, .5f, .5f},
                               {.5f, 3.5f, 5.5f, 3.5f, .5f},
                               {3.5f, 14.5f, 17.5f, 11.5f, 3.5f},
                               {14.5f, 32.5f, 37.5f, 26.5f, 11.5f}};
    const double qWant[5][5] = {{.25, .25, .25, .25, .25},
                                {.25, .25, .25, .25, .25},
                                {.25, 5.25, 13.25, 9.25, .25},
                                {5.25, 54.25, 75.25, 49.25, 9.25},
                                {54.25, 188.25, 235.25, 156.25, 49.25}};
    EXPECT_EQ(std::memcmp(s, sWant, sizeof s), 0);
    EXPECT_EQ(std::memcmp(q, qWant, sizeof q), 0);
}

// Peer: cv::integral computes the same upright 32s and 64f tables exactly.
// Its tilted table is another table: it adds one pixel per row step where
// this library adds the horizontal pair src[y][c-1] + src[y][c], and it has
// (width + 1) x (height + 1) elements. The two agree only in the column
// `width`, one row apart, while the row index is at most the width (there the
// triangle above the element holds one pixel per row in both tables):
// T(y + 1, width) == tilted(y, width) for y <= width.
TEST(Integral, AgreesWithOpenCV) {
    std::mt19937 rng(9);
    for (int w : {1, 16, 33, 97}) {
        const int h = 23;
        cv::Mat src(h, w, CV_8U);
        cv::randu(src, 0, 256);
        cv::Mat cvSum, cvSq, cvTilt, cvSumF;
        cv::integral(src, cvSum, cvSq, cvTilt, CV_32S, CV_64F);
        cv::integral(src, cvSumF, CV_64F);
        cv::Mat sum(h + 1, w + 1, CV_32S), sq(h + 1, w + 1, CV_64F), sumF(h + 1, w + 1, CV_32F);
        ASSERT_EQ(zepiSqrIntegral_8u32s64f_C1R(src.data, int(src.step), sum.ptr<int32_t>(), int(sum.step),
                                               sq.ptr<double>(), int(sq.step), {w, h}, 0, 0.0),
                  zepStsOk);
        ASSERT_EQ(zepiIntegral_8u32f_C1R(src.data, int(src.step), sumF.ptr<float>(), int(sumF.step), {w, h}, 0.0f),
                  zepStsOk);
        EXPECT_EQ(cv::norm(sum, cvSum, cv::NORM_INF), 0.0) << w;
        EXPECT_EQ(cv::norm(sq, cvSq, cv::NORM_INF), 0.0) << w;
        cv::Mat sumF64;
        sumF.convertTo(sumF64, CV_64F);
        EXPECT_EQ(cv::norm(sumF64, cvSumF, cv::NORM_INF), 0.0) << w;  // exact below 2^24
        cv::Mat tilt(h + 2, w + 2, CV_32S);
        ASSERT_EQ(
            zepiTiltedIntegral_8u32s_C1R(src.data, int(src.step), tilt.ptr<int32_t>(), int(tilt.step), {w, h}, 0),
            zepStsOk);
        for (int y = 0; y <= std::min(h, w); ++y)
            EXPECT_EQ(tilt.at<int32_t>(y + 1, w), cvTilt.at<int32_t>(y, w)) << w << " " << y;
    }
}

}  // namespace
