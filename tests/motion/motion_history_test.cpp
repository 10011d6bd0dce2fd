// Motion history: vector path against the scalar definition, the kept-equal
// threshold rule, the duration check, and cv::motempl::updateMotionHistory.
#include "motion/motion_history.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "support/check_order.h"

#ifdef ZEPCV_HAVE_OPTFLOW
#include <opencv2/optflow/motempl.hpp>
#endif

namespace {

using zep::Path;
using zt::CallArgs;
using zt::Image;

// Silhouettes mostly zero (-0 among the floats), history values around the threshold.
template <class S>
void expectHistoryAgrees(ZepStatus (*exported)(const S*, int, float*, int, ImageSize, float, float)) {
    std::mt19937 rng(41);
    for (float ts : {10.0f, -3.5f, NAN, INFINITY}) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 3}) {
                Image<S> sil(rng, w, h);
                Image<float> mhi(rng, w, h);
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x) {
                        if (rng() % 3) sil.at(y)[x] = rng() % 5 ? S(0) : S(-0.0);
                        if (rng() % 4 == 0) mhi.at(y)[x] = ts - 2.0f;  // on the threshold
                        if (rng() % 4 == 0) mhi.at(y)[x] = std::nextafter(ts - 2.0f, -INFINITY);
                    }
                auto on = [&](auto f) {
                    return [&, f](float* m) { return f(sil.data(), sil.step(), m, mhi.step(), {w, h}, ts, 2.0f); };
                };
                ASSERT_TRUE(zt::agree(mhi, on(exported), on(zep::motion::updateHistoryImage<Path::scalar, S>)))
                    << "width " << w << " ts " << ts;
            }
        }
    }
}

TEST(MotionHistory, VectorPathAgreesWithScalarDefinition) {
    expectHistoryAgrees<uint8_t>(zepiUpdateMotionHistory_8u32f_C1IR);
    expectHistoryAgrees<uint16_t>(zepiUpdateMotionHistory_16u32f_C1IR);
    expectHistoryAgrees<float>(zepiUpdateMotionHistory_32f_C1IR);
}

TEST(MotionHistory, ThresholdRule) {
    // t = 10 - 4 = 6: 6 is kept, the float below 6 is cleared, silhouettes take 10.
    const uint8_t sil[5] = {0, 0, 0, 1, 0};
    const float below6 = std::nextafter(6.0f, 0.0f);
    float mhi[5] = {6.0f, below6, 9.0f, 50.0f, NAN};
    ASSERT_EQ(zepiUpdateMotionHistory_8u32f_C1IR(sil, 5, mhi, 20, {5, 1}, 10.0f, 4.0f), zepStsOk);
    EXPECT_EQ(mhi[0], 6.0f);
    EXPECT_EQ(mhi[1], 0.0f);
    EXPECT_EQ(mhi[2], 9.0f);
    EXPECT_EQ(mhi[3], 10.0f);         // even though the stored value was larger
    EXPECT_TRUE(std::isnan(mhi[4]));  // NaN compares false: kept
    // Duration 0 clears everything below the time stamp and keeps the time stamp itself.
    const float fsil[4] = {-0.0f, 0.0f, NAN, 0.0f};
    float h2[4] = {3.0f, 2.999f, 1.0f, -1.0f};
    ASSERT_EQ(zepiUpdateMotionHistory_32f_C1IR(fsil, 16, h2, 16, {4, 1}, 3.0f, 0.0f), zepStsOk);
    EXPECT_EQ(h2[0], 3.0f);  // -0 is not in the silhouette
    EXPECT_EQ(h2[1], 0.0f);
    EXPECT_EQ(h2[2], 3.0f);  // NaN is
    EXPECT_EQ(h2[3], 0.0f);
    // The threshold is rounded once to single precision: 1e8 - 5 becomes
    // 99999992, which is kept (compared with the exact 99999995 it would go).
    float h3[1] = {99999992.0f};
    const uint16_t s16[1] = {0};
    ASSERT_EQ(zepiUpdateMotionHistory_16u32f_C1IR(s16, 2, h3, 4, {1, 1}, 1e8f, 5.0f), zepStsOk);
    EXPECT_EQ(h3[0], 99999992.0f);
}

template <class S, auto F>
void checkOrder(const char* name) {
    zt::expectRoleOrder(
        name, {{int(sizeof(S)), 1, 0}, {4, 1, 0}}, {6, 2}, zt::callWith<F>,
        [](std::vector<zt::Breaker>& b) {
            b.push_back({"negative duration", 50, [](CallArgs& a) { a.param[1] = -1e-30; }, zepStsOutOfRange});
        },
        {5.0, 1.0});
}

TEST(MotionHistory, CheckOrder) {
    checkOrder<uint8_t, zepiUpdateMotionHistory_8u32f_C1IR>("UpdateMotionHistory_8u32f_C1IR");
    checkOrder<uint16_t, zepiUpdateMotionHistory_16u32f_C1IR>("UpdateMotionHistory_16u32f_C1IR");
    checkOrder<float, zepiUpdateMotionHistory_32f_C1IR>("UpdateMotionHistory_32f_C1IR");
}

#ifdef ZEPCV_HAVE_OPTFLOW
// OpenCV takes the time stamp and duration as doubles and rounds
// timestamp - duration once to single precision; ours subtracts in single
// precision. Both are exact here (quarter-unit values), so results agree.
TEST(MotionHistoryPeers, OpenCVUpdateMotionHistory) {
    std::mt19937 rng(6);
    const int w = 131, h = 17;
    cv::Mat sil(h, w, CV_8UC1), ours(h, w, CV_32FC1), theirs;
    for (int frame = 0; frame < 8; ++frame) {
        cv::randu(sil, 0, 2);
        if (frame == 0) {
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) ours.at<float>(y, x) = float(rng() % 40) * 0.25f;
            theirs = ours.clone();
        }
        const float ts = 4.0f + float(frame), duration = 2.5f;
        ASSERT_EQ(zepiUpdateMotionHistory_8u32f_C1IR(sil.data, int(sil.step), ours.ptr<float>(), int(ours.step),
                                                     {w, h}, ts, duration),
                  zepStsOk);
        cv::motempl::updateMotionHistory(sil, theirs, ts, duration);
        ASSERT_EQ(cv::norm(ours, theirs, cv::NORM_INF), 0.0) << "frame " << frame;
    }
}
#endif

}  // namespace
