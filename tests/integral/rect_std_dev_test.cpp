// Rectangle deviation: vector against scalar rule, the clamp and scaling
// rules, the check order, and cv::meanStdDev over the same windows.
#include "integral/rect_std_dev.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <random>
#include <string>

#include "support/check_order.h"

namespace {

using zep::Path;
using zt::Image;

// The calls take the tables, the output and the rectangle as pointers, and
// the scale factor as the parameter.
struct Case {
    std::string name;
    bool tilted;
    int sumBytes, sqBytes;
    bool floatSum;
    int scaleFactor;
    zt::Caller exported, scalar;
};

template <class S, class Q, class D, auto F, bool T>
Case make(const char* name, int sf = 0) {
    return Case(name, T, sizeof(S), sizeof(Q), std::is_same_v<S, float>, sf, zt::callWith<F>,
                zt::callWith<zep::integral::rectStdDev<Path::scalar, T, S, Q, D>>);
}

const std::vector<Case>& cases() {
    static const std::vector<Case> c = {
        make<float, double, float, zepiRectStdDev_32f_C1R, false>("RectStdDev_32f"),
        make<int32_t, double, float, zepiRectStdDev_32s32f_C1R, false>("RectStdDev_32s32f"),
        make<int32_t, int32_t, int32_t, zepiRectStdDev_32s_C1RSfs, false>("RectStdDev_32s_Sfs", -3),
        make<float, double, float, zepiTiltedRectStdDev_32f_C1R, true>("TiltedRectStdDev_32f"),
        make<int32_t, double, float, zepiTiltedRectStdDev_32s32f_C1R, true>("TiltedRectStdDev_32s32f"),
        make<int32_t, int32_t, int32_t, zepiTiltedRectStdDev_32s_C1RSfs, true>("TiltedRectStdDev_32s_Sfs", 2),
    };
    return c;
}

// Tables just large enough for the rectangle at every output, and the output.
struct Tables {
    ImageRect r;
    int cols, rows, offset;
    Image<uint8_t> sum, sq, dst;
    Tables(std::mt19937& rng, const Case& c, int w, int h, ImageRect rect)
        : r(rect),
          cols(c.tilted ? rect.x + rect.y + rect.width + rect.height + w - 1 : rect.x + w + rect.width),
          rows(c.tilted ? h + rect.x + rect.y + rect.width + rect.height : h + rect.y + rect.height),
          offset(c.tilted ? std::max(0, rect.y + rect.height - rect.x) : 0),
          sum(rng, cols * c.sumBytes, rows, 1, false, c.sumBytes),
          sq(rng, cols * c.sqBytes, rows, 1, false, c.sqBytes),
          dst(rng, w * 4, h, 1, false, 4) {
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x) {
                if (c.floatSum) reinterpret_cast<float*>(sum.at(y))[x] = zt::randomValue<float>(rng, true);
                if (c.sqBytes == 8)
                    reinterpret_cast<double*>(sq.at(y))[x] = zt::randomValue<double>(rng, false) * 1e3;
            }
    }
    // The call on these tables writing to `out`.
    zt::CallArgs args(const Case& c, uint8_t* out, const ImageRect* rect) const {
        return zt::CallArgs(
            {sum.data() + offset * c.sumBytes, sq.data() + offset * c.sqBytes, out, const_cast<ImageRect*>(rect)},
            {sum.step(), sq.step(), dst.step()}, {int(dst.canvas.rowBytes() / 4), dst.height},
            {double(c.scaleFactor)});
    }
};

TEST(RectStdDev, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(17);
    for (const Case& c : cases()) {
        for (int w : zt::sweepWidths()) {
            const ImageRect rect{int(1 + rng() % 3), int(rng() % 3), int(1 + rng() % 4), int(1 + rng() % 4)};
            Tables s(rng, c, w, 2, rect);
            auto on = [&](const zt::Caller& f) { return [&](uint8_t* d) { return f(s.args(c, d, &rect)); }; };
            ASSERT_TRUE(zt::agree(s.dst, on(c.exported), on(c.scalar), c.sqBytes == 8)) << c.name << " width " << w;
        }
    }
}

TEST(RectStdDev, CheckOrder) {
    using zt::CallArgs;
    std::mt19937 rng(2);
    const ImageSize roi{5, 3};
    for (const Case& c : cases()) {
        static const ImageRect rect{1, 1, 2, 2}, bad[4] = {{-1, 1, 2, 2}, {1, -1, 2, 2}, {1, 1, 0, 2}, {1, 1, 2, 0}};
        Tables s(rng, c, roi.width, roi.height, rect);
        const int sumRow = s.cols * c.sumBytes, sqRow = s.cols * c.sqBytes, e = c.sumBytes, q = c.sqBytes;
        // Short steps hold one element: short for any rectangle the rect breakers make.
        std::vector<zt::Breaker> b = {zt::nullBreaker(0), zt::nullBreaker(1), zt::nullBreaker(2), zt::nullBreaker(3)};
        b.push_back({"zero width", 4, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize});
        b.push_back({"zero height", 5, [](CallArgs& a) { a.roi.height = 0; }, zepStsBadSize});
        b.push_back({"short sum step", 10, [=](CallArgs& a) { a.step[0] = e; }, zepStsBadStep});
        b.push_back({"short dst step", 12, [=](CallArgs& a) { a.step[2] = roi.width * 4 - 4; }, zepStsBadStep});
        b.push_back({"short sq step", 11, [=](CallArgs& a) { a.step[1] = q; }, zepStsBadStep});
        b.push_back({"odd sum step", 10, [=](CallArgs& a) { a.step[0] = sumRow + 2; }, zepStsStepNotMultiple});
        b.push_back({"odd dst step", 12, [=](CallArgs& a) { a.step[2] = roi.width * 4 + 2; }, zepStsStepNotMultiple});
        b.push_back({"odd sq step", 11, [=](CallArgs& a) { a.step[1] = sqRow + q / 2; }, zepStsStepNotMultiple});
        for (int i = 0; i < 4; ++i)  // x < 0, y < 0, width 0, height 0
            b.push_back({"rect " + std::to_string(i), 20 + i, [i](CallArgs& a) { a.ptr[3] = (void*)&bad[i]; },
                         zepStsBadSize});
        zt::expectOrder(c.name, s.args(c, s.dst.data(), &rect), c.exported, b, {&s.dst.canvas});
    }
}

TEST(RectStdDev, ConstantRegionGivesExactlyZero) {
    const int w = 40, h = 30;
    cv::Mat src(h, w, CV_8U, cv::Scalar(77));
    cv::Mat s32(h + 2, w + 2, CV_32S), sF(h + 2, w + 2, CV_32F), q64(h + 2, w + 2, CV_64F), q32(h + 2, w + 2, CV_32S);
    const ImageRect r{2, 1, 5, 3};
    const ImageSize out{8, 6};  // outputs whose rectangle stays inside the image
    for (bool tilted : {false, true}) {
        auto tablesF = tilted ? zepiTiltedSqrIntegral_8u32f64f_C1R : zepiSqrIntegral_8u32f64f_C1R;
        auto tablesI = tilted ? zepiTiltedSqrIntegral_8u32s_C1R : zepiSqrIntegral_8u32s_C1R;
        ASSERT_EQ(
            tablesF(src.data, w, sF.ptr<float>(), int(sF.step), q64.ptr<double>(), int(q64.step), {w, h}, 0.5f, 0.25),
            zepStsOk);
        ASSERT_EQ(
            tablesI(src.data, w, s32.ptr<int32_t>(), int(s32.step), q32.ptr<int32_t>(), int(q32.step), {w, h}, 9, 9),
            zepStsOk);
        // Tilted table pointers start at the column y + h - x.
        const int off = tilted ? r.y + r.height - r.x : 0;
        cv::Mat d(out.height, out.width, CV_32F, cv::Scalar(1)), di(out.height, out.width, CV_32S, cv::Scalar(1));
        auto devF = tilted ? zepiTiltedRectStdDev_32f_C1R : zepiRectStdDev_32f_C1R;
        auto devI = tilted ? zepiTiltedRectStdDev_32s_C1RSfs : zepiRectStdDev_32s_C1RSfs;
        ASSERT_EQ(devF(sF.ptr<float>() + off, int(sF.step), q64.ptr<double>() + off, int(q64.step), d.ptr<float>(),
                       int(d.step), out, &r),
                  zepStsOk);
        ASSERT_EQ(devI(s32.ptr<int32_t>() + off, int(s32.step), q32.ptr<int32_t>() + off, int(q32.step),
                       di.ptr<int32_t>(), int(di.step), out, &r, 0),
                  zepStsOk);
        EXPECT_EQ(cv::countNonZero(d), 0) << tilted;
        EXPECT_EQ(cv::countNonZero(di), 0) << tilted;
    }
}

TEST(RectStdDev, ScaledResultAddsHalfAndTruncates) {
    // Pixels 0 and 5 in a 2 x 1 rectangle: mean 2.5, deviation exactly 2.5.
    const int32_t sum[2][3] = {{0, 0, 0}, {0, 0, 5}};
    const int32_t sq[2][3] = {{0, 0, 0}, {0, 0, 25}};
    const ImageRect r{0, 0, 2, 1};
    const std::pair<int, int32_t> expect[] = {{0, 3}, {1, 1}, {-2, 10}, {40, 0}, {-40, INT32_MAX}};
    for (auto [sf, want] : expect) {
        int32_t out = -1;
        ASSERT_EQ(zepiRectStdDev_32s_C1RSfs(&sum[0][0], 12, &sq[0][0], 12, &out, 4, {1, 1}, &r, sf), zepStsOk);
        EXPECT_EQ(out, want) << sf;
    }
    const float sumF[2][3] = {{0, 0, 0}, {0, 0, 5}};
    const double sqD[2][3] = {{0, 0, 0}, {0, 0, 25}};
    float f = -1;
    ASSERT_EQ(zepiRectStdDev_32f_C1R(&sumF[0][0], 12, &sqD[0][0], 24, &f, 4, {1, 1}, &r), zepStsOk);
    EXPECT_EQ(f, 2.5f);
}

// Peer: cv::meanStdDev over each window (population deviation, like this
// library). Its arithmetic differs (two-pass sums), so the comparison allows
// a small relative difference.
TEST(RectStdDev, AgreesWithOpenCVMeanStdDev) {
    const int w = 64, h = 48;
    cv::Mat src(h, w, CV_8U);
    cv::randu(src, 0, 256);
    cv::Mat sum(h + 1, w + 1, CV_32S), sq(h + 1, w + 1, CV_64F);
    ASSERT_EQ(zepiSqrIntegral_8u32s64f_C1R(src.data, w, sum.ptr<int32_t>(), int(sum.step), sq.ptr<double>(),
                                           int(sq.step), {w, h}, 0, 0),
              zepStsOk);
    const ImageRect r{3, 2, 9, 7};
    const ImageSize out{w - 12, h - 9};
    cv::Mat d(out.height, out.width, CV_32F);
    ASSERT_EQ(zepiRectStdDev_32s32f_C1R(sum.ptr<int32_t>(), int(sum.step), sq.ptr<double>(), int(sq.step),
                                        d.ptr<float>(), int(d.step), out, &r),
              zepStsOk);
    for (int y = 0; y < out.height; y += 5)
        for (int x = 0; x < out.width; x += 3) {
            cv::Scalar mean, dev;
            cv::meanStdDev(src(cv::Rect(x + r.x, y + r.y, r.width, r.height)), mean, dev);
            EXPECT_NEAR(d.at<float>(y, x), dev[0], 1e-4 * dev[0] + 1e-4) << x << "," << y;
        }
}

}  // namespace
