// Means and standard deviations: the vector path against the scalar
// definition, the rules of the arithmetic, the check order, and OpenCV's
// mean and meanStdDev.
#include "stats/mean.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/core.hpp>
#include <random>
#include <string>

#include "stats/stats_support.h"
#include "support/check_order.h"

namespace {

using zep::Path;
using zt::CallArgs;
using zt::Image;

// The full argument set; each form reads what it has.
struct MeanArgs {
    const void* src;
    int srcStep;
    const uint8_t* mask;
    int maskStep;
    ImageSize roi;
    int coi;
    double* mean;
    double* stdDev;
};

struct MeanCase {
    std::string name;
    int elemBytes, channels;
    bool masked, meanOnly;
    ZepStatus (*exported)(const MeanArgs&);
    ZepStatus (*scalar)(const MeanArgs&);
};

template <class T, int C, bool Masked, bool MeanOnly, auto F>
ZepStatus callExport(const MeanArgs& a) {
    const T* s = static_cast<const T*>(a.src);
    if constexpr (MeanOnly && C == 1)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.mean);
    else if constexpr (MeanOnly)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, a.mean);
    else if constexpr (Masked && C == 1)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.mean, a.stdDev);
    else if constexpr (Masked)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, a.mean, a.stdDev);
    else if constexpr (C == 1)
        return F(s, a.srcStep, a.roi, a.mean, a.stdDev);
    else
        return F(s, a.srcStep, a.roi, a.coi, a.mean, a.stdDev);
}

template <class T, int C, bool Masked, bool MeanOnly>
ZepStatus callScalar(const MeanArgs& a) {
    const T* s = static_cast<const T*>(a.src);
    if constexpr (MeanOnly)
        return zep::stats::meanImage<Path::scalar, T, C>(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, a.mean);
    else
        return zep::stats::meanStdDevImage<Path::scalar, T, C, Masked>(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi,
                                                                       a.mean, a.stdDev);
}

template <class T, int C, bool Masked, bool MeanOnly, auto F>
MeanCase meanCase(const char* name) {
    return {name,
            sizeof(T),
            C,
            Masked,
            MeanOnly,
            &callExport<T, C, Masked, MeanOnly, F>,
            &callScalar<T, C, Masked, MeanOnly>};
}

const std::vector<MeanCase>& meanCases() {
    static const std::vector<MeanCase> cases = {
        meanCase<uint8_t, 1, true, true, zepiMean_8u_C1MR>("Mean_8u_C1MR"),
        meanCase<uint16_t, 1, true, true, zepiMean_16u_C1MR>("Mean_16u_C1MR"),
        meanCase<float, 1, true, true, zepiMean_32f_C1MR>("Mean_32f_C1MR"),
        meanCase<uint8_t, 3, true, true, zepiMean_8u_C3CMR>("Mean_8u_C3CMR"),
        meanCase<uint16_t, 3, true, true, zepiMean_16u_C3CMR>("Mean_16u_C3CMR"),
        meanCase<float, 3, true, true, zepiMean_32f_C3CMR>("Mean_32f_C3CMR"),
        meanCase<uint8_t, 1, false, false, zepiMean_StdDev_8u_C1R>("Mean_StdDev_8u_C1R"),
        meanCase<uint16_t, 1, false, false, zepiMean_StdDev_16u_C1R>("Mean_StdDev_16u_C1R"),
        meanCase<float, 1, false, false, zepiMean_StdDev_32f_C1R>("Mean_StdDev_32f_C1R"),
        meanCase<uint8_t, 3, false, false, zepiMean_StdDev_8u_C3CR>("Mean_StdDev_8u_C3CR"),
        meanCase<uint16_t, 3, false, false, zepiMean_StdDev_16u_C3CR>("Mean_StdDev_16u_C3CR"),
        meanCase<float, 3, false, false, zepiMean_StdDev_32f_C3CR>("Mean_StdDev_32f_C3CR"),
        meanCase<uint8_t, 1, true, false, zepiMean_StdDev_8u_C1MR>("Mean_StdDev_8u_C1MR"),
        meanCase<uint16_t, 1, true, false, zepiMean_StdDev_16u_C1MR>("Mean_StdDev_16u_C1MR"),
        meanCase<float, 1, true, false, zepiMean_StdDev_32f_C1MR>("Mean_StdDev_32f_C1MR"),
        meanCase<uint8_t, 3, true, false, zepiMean_StdDev_8u_C3CMR>("Mean_StdDev_8u_C3CMR"),
        meanCase<uint16_t, 3, true, false, zepiMean_StdDev_16u_C3CMR>("Mean_StdDev_16u_C3CMR"),
        meanCase<float, 3, true, false, zepiMean_StdDev_32f_C3CMR>("Mean_StdDev_32f_C3CMR"),
    };
    return cases;
}

// A source of any element type as raw bytes. 32f values include NaN,
// infinities, -0 and denormals when `specials` is set; otherwise they spread
// over 2^-60..2^44 with both signs, so that double sums round and the order
// of the additions shows in the last bits.
struct Source {
    Image<uint8_t> img;
    Source(std::mt19937& rng, const MeanCase& c, int w, int h, bool specials)
        : img(rng, w * c.elemBytes * c.channels, h, 1, false, c.elemBytes) {
        auto wide = [&rng] {
            const float m = static_cast<float>(rng() % (1u << 24)) * (rng() % 2 ? 1.0f : -1.0f);
            return std::ldexp(m, static_cast<int>(rng() % 80) - 84);
        };
        if (c.elemBytes == 4)
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w * c.channels; ++x)
                    reinterpret_cast<float*>(img.at(y))[x] = specials ? zt::randomValue<float>(rng, true) : wide();
    }
};

// Runs the export and the definition on the same arguments and compares.
void expectAgreement(const MeanCase& c, MeanArgs a, const std::string& what) {
    double mean[2] = {-7.0, -7.0}, sd[2] = {-7.0, -7.0};
    a.mean = &mean[0], a.stdDev = &sd[0];
    ASSERT_EQ(c.exported(a), zepStsOk) << what;
    a.mean = &mean[1], a.stdDev = &sd[1];
    ASSERT_EQ(c.scalar(a), zepStsOk) << what;
    EXPECT_TRUE(zt::sameValue(mean[0], mean[1])) << what << ": " << mean[0] << " vs " << mean[1];
    if (!c.meanOnly) {
        EXPECT_TRUE(zt::sameValue(sd[0], sd[1])) << what << ": " << sd[0] << " vs " << sd[1];
    }
}

TEST(Mean, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(32);
    for (const MeanCase& c : meanCases()) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 3}) {
                for (zt::Density d : zt::kDensities) {
                    if (!c.masked && d != zt::Density::all) continue;
                    const bool specials = rng() % 3 == 0;
                    Source src(rng, c, w, h, specials);
                    Image<uint8_t> mask = zt::makeMask(rng, w, h, d);
                    const std::vector<uint8_t> before = src.img.canvas.bytes();
                    const int coi = 1 + static_cast<int>(rng() % 3);
                    const MeanArgs a{src.img.data(), src.img.step(), mask.data(), mask.step(), {w, h}, coi,
                                     nullptr,        nullptr};
                    expectAgreement(c, a,
                                    c.name + " width " + std::to_string(w) + " height " + std::to_string(h) +
                                        " density " + std::to_string(int(d)));
                    ASSERT_EQ(src.img.canvas.bytes(), before) << c.name << " wrote its source";
                }
            }
        }
    }
}

// Rows longer than the spans after which the integer kernels move 32-bit
// lane sums to 64-bit lanes, at the largest values.
TEST(Mean, LongRowsOfLargestValuesAgree) {
    std::mt19937 rng(1);
    for (const MeanCase& c : meanCases()) {
        if (c.elemBytes == 4 || c.meanOnly || c.masked) continue;
        const int w = (c.elemBytes == 1 ? 16384 * 64 : 32768 * 32) / c.channels + 77;
        Source src(rng, c, w, 2, false);
        for (int y = 0; y < 2; ++y) std::memset(src.img.at(y), 0xFF, size_t(w) * c.elemBytes * c.channels);
        src.img.at(1)[5] = 3;
        expectAgreement(c, {src.img.data(), src.img.step(), nullptr, 0, {w, 2}, 2, nullptr, nullptr}, c.name);
    }
}

TEST(Mean, NullOutputsAreSkippedAndTheOtherIsTheSame) {
    std::mt19937 rng(3);
    for (const MeanCase& c : meanCases()) {
        if (c.meanOnly) continue;
        Source src(rng, c, 70, 4, false);
        Image<uint8_t> mask = zt::makeMask(rng, 70, 4, zt::Density::dense);
        double both[2], meanOnly = -1.0, sdOnly = -1.0;
        MeanArgs a{src.img.data(), src.img.step(), mask.data(), mask.step(), {70, 4}, 2, &both[0], &both[1]};
        ASSERT_EQ(c.exported(a), zepStsOk);
        a.mean = &meanOnly, a.stdDev = nullptr;
        ASSERT_EQ(c.exported(a), zepStsOk);
        a.mean = nullptr, a.stdDev = &sdOnly;
        ASSERT_EQ(c.exported(a), zepStsOk);
        a.mean = nullptr, a.stdDev = nullptr;
        ASSERT_EQ(c.exported(a), zepStsOk);
        EXPECT_EQ(meanOnly, both[0]) << c.name;
        EXPECT_EQ(sdOnly, both[1]) << c.name;
    }
}

// Worked examples of the rules.
TEST(Mean, PopulationDeviationOfSmallImages) {
    const uint8_t px[4] = {1, 2, 3, 4};
    double mean = 0, sd = 0;
    ASSERT_EQ(zepiMean_StdDev_8u_C1R(px, 4, {4, 1}, &mean, &sd), zepStsOk);
    EXPECT_EQ(mean, 2.5);
    EXPECT_EQ(sd, std::sqrt(1.25));  // divided by n, not n - 1
    // Channel 2 of three-channel pixels, in a 2x2 ROI with a wider step.
    const uint16_t rgb[2][8] = {{9, 10, 9, 9, 30, 9, 0, 0}, {9, 50, 9, 9, 70, 9, 0, 0}};
    ASSERT_EQ(zepiMean_StdDev_16u_C3CR(&rgb[0][0], 16, {2, 2}, 2, &mean, &sd), zepStsOk);
    EXPECT_EQ(mean, 40.0);
    EXPECT_EQ(sd, std::sqrt(500.0));
    const uint8_t sel[2][2] = {{0, 1}, {1, 0}};
    ASSERT_EQ(zepiMean_16u_C3CMR(&rgb[0][0], 16, &sel[0][0], 2, {2, 2}, 2, &mean), zepStsOk);
    EXPECT_EQ(mean, 40.0);
}

TEST(Mean, ConstantImagesWithExactSumsHaveDeviationZero) {
    std::vector<uint16_t> u16(300 * 7, 65535);
    std::vector<float> f(300 * 7, 1.5f);
    double mean = 0, sd = -1;
    ASSERT_EQ(zepiMean_StdDev_16u_C1R(u16.data(), 600, {300, 7}, &mean, &sd), zepStsOk);
    EXPECT_EQ(mean, 65535.0);
    EXPECT_EQ(sd, 0.0);
    ASSERT_EQ(zepiMean_StdDev_32f_C1R(f.data(), 1200, {300, 7}, &mean, &sd), zepStsOk);
    EXPECT_EQ(mean, 1.5);
    EXPECT_EQ(sd, 0.0);
}

TEST(Mean, DeviationIsTheRootOfTheAbsoluteVarianceNotAClamp) {
    // 1000 pixels of this value: the rounded sums give mean * mean just above
    // sumSq / n, so the fused difference is -2^-46. The deviation is the root
    // of its absolute value; a clamp at 0 would give 0.
    std::vector<float> f(1000, 0x1.07f7a2p+3f);
    double mean = 0, sd = -1;
    ASSERT_EQ(zepiMean_StdDev_32f_C1R(f.data(), 4000, {1000, 1}, &mean, &sd), zepStsOk);
    EXPECT_EQ(sd, std::sqrt(0x1p-46));
}

TEST(Mean, EmptyMaskGivesZeroAndSuccess) {
    const float px[3] = {5.0f, 6.0f, 7.0f};
    const uint8_t none[3] = {0, 0, 0};
    double mean = -1, sd = -1;
    EXPECT_EQ(zepiMean_32f_C1MR(px, 12, none, 3, {3, 1}, &mean), zepStsOk);
    EXPECT_EQ(mean, 0.0);
    mean = -1;
    EXPECT_EQ(zepiMean_StdDev_32f_C1MR(px, 12, none, 3, {3, 1}, &mean, &sd), zepStsOk);
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(sd, 0.0);
}

TEST(Mean, FloatSpecialsPropagate) {
    const float px[4] = {1.0f, INFINITY, 2.0f, -0.0f};
    const uint8_t sel[4] = {1, 1, 1, 0};
    double mean = 0, sd = 0;
    ASSERT_EQ(zepiMean_StdDev_32f_C1MR(px, 16, sel, 4, {4, 1}, &mean, &sd), zepStsOk);
    EXPECT_EQ(mean, INFINITY);
    EXPECT_TRUE(std::isnan(sd));  // inf - inf
    const float nan[2] = {NAN, 1.0f};
    ASSERT_EQ(zepiMean_StdDev_32f_C1R(nan, 8, {2, 1}, &mean, &sd), zepStsOk);
    EXPECT_TRUE(std::isnan(mean));
    // An unselected NaN does not take part.
    const uint8_t second[2] = {0, 1};
    ASSERT_EQ(zepiMean_32f_C1MR(nan, 8, second, 2, {2, 1}, &mean), zepStsOk);
    EXPECT_EQ(mean, 1.0);
}

// Check order: source, mask (and result) null; ROI; source then mask step
// too small; source step not a multiple; channel of interest. Failing calls
// write no output.
TEST(Mean, CheckOrder) {
    std::mt19937 rng(9);
    const ImageSize roi{5, 3};
    for (const MeanCase& c : meanCases()) {
        Source src(rng, c, roi.width, roi.height, false);
        Image<uint8_t> mask = zt::makeMask(rng, roi.width, roi.height, zt::Density::dense);
        zt::Canvas out(16, 1, 16, 0);
        std::memset(out.first(), 0x5A, 16);
        std::vector<zt::ImageRole> roles = {{c.elemBytes, c.channels, 0}};
        CallArgs valid{{src.img.data()}, {src.img.step()}, roi, {2.0, 1.0}};
        if (c.masked) {
            roles.push_back({1, 1, 0});
            valid.ptr.push_back(mask.data());
            valid.step.push_back(mask.step());
        }
        std::vector<zt::Breaker> breakers = zt::standardBreakers(roles, roi);
        if (c.meanOnly)
            breakers.insert(breakers.begin() + int(roles.size()),
                            {"null result", 50, [](CallArgs& a) { a.param[1] = 0.0; }, zepStsNullPointer});
        if (c.channels == 3) {
            breakers.push_back({"channel 0", 60, [](CallArgs& a) { a.param[0] = 0.0; }, zepStsBadChannelOfInterest});
            breakers.push_back({"channel 4", 60, [](CallArgs& a) { a.param[0] = 4.0; }, zepStsBadChannelOfInterest});
        }
        auto call = [&c, &out](const CallArgs& v) {
            MeanArgs a{v.ptr[0], v.step[0], nullptr, 0, v.roi, int(v.param[0]), nullptr, nullptr};
            if (c.masked) a.mask = static_cast<const uint8_t*>(v.ptr[1]), a.maskStep = v.step[1];
            a.mean = v.param[1] != 0.0 ? reinterpret_cast<double*>(out.first()) : nullptr;
            a.stdDev = reinterpret_cast<double*>(out.first() + 8);
            return c.exported(a);
        };
        zt::expectCheckOrder(c.name, valid, call, breakers, {&out, &src.img.canvas, &mask.canvas});
        // Null outputs of Mean_StdDev are not an error.
        if (!c.meanOnly) {
            EXPECT_EQ(
                c.exported({src.img.data(), src.img.step(), mask.data(), mask.step(), roi, 1, nullptr, nullptr}),
                zepStsOk);
        }
    }
}

// OpenCV's mean and meanStdDev on the same data and masks.
// - Means of integer images: both sum exactly; we divide the sum by the count
//   (one rounding), OpenCV multiplies by the rounded reciprocal of the count
//   (two roundings), so they agree within one unit in the last place.
// - Deviations of integer images: OpenCV takes sqrt(max(sumSq/n - mean^2, 0))
//   with an unfused difference and a clamp, we the root of the absolute fused
//   difference; they agree within a few units in the last place of the
//   variance (relative 1e-12 here), and where the variance is 0 both are 0.
// - 32f: OpenCV sums single-precision blocks into double in its own order;
//   means and deviations agree within the rounding of the sums (relative 1e-9).
// - C3C forms: OpenCV has no channel of interest; its per-channel results are
//   compared with ours for each channel.
double ulp(double v) { return std::nextafter(std::fabs(v), INFINITY) - std::fabs(v); }

template <class T>
void comparePeers(int cvDepth, double tol) {
    std::mt19937 rng(77);
    for (int ch : {1, 3}) {
        for (zt::Density d : {zt::Density::all, zt::Density::sparse, zt::Density::one}) {
            const int w = 203, h = 37;
            cv::Mat src(h, w, CV_MAKETYPE(cvDepth, ch)), mask(h, w, CV_8U);
            cv::randu(src, 0, cvDepth == CV_32F ? 1000.0 : (sizeof(T) == 1 ? 256 : 65536));
            Image<uint8_t> m = zt::makeMask(rng, w, h, d);
            for (int y = 0; y < h; ++y) std::memcpy(mask.ptr(y), m.at(y), w);
            cv::Scalar cvMean, cvSd;
            cv::meanStdDev(src, cvMean, cvSd, mask);
            const cv::Scalar cvMeanOnly = cv::mean(src, mask);
            for (int coi = 1; coi <= ch; ++coi) {
                double mean = 0, sd = 0, meanM = 0;
                const T* p = src.ptr<T>();
                const int s = int(src.step), ms = int(mask.step);
                if constexpr (std::is_same_v<T, uint8_t>) {
                    if (ch == 1) {
                        zepiMean_StdDev_8u_C1MR(p, s, mask.data, ms, {w, h}, &mean, &sd);
                        zepiMean_8u_C1MR(p, s, mask.data, ms, {w, h}, &meanM);
                    } else {
                        zepiMean_StdDev_8u_C3CMR(p, s, mask.data, ms, {w, h}, coi, &mean, &sd);
                        zepiMean_8u_C3CMR(p, s, mask.data, ms, {w, h}, coi, &meanM);
                    }
                } else if constexpr (std::is_same_v<T, uint16_t>) {
                    if (ch == 1) {
                        zepiMean_StdDev_16u_C1MR(p, s, mask.data, ms, {w, h}, &mean, &sd);
                        zepiMean_16u_C1MR(p, s, mask.data, ms, {w, h}, &meanM);
                    } else {
                        zepiMean_StdDev_16u_C3CMR(p, s, mask.data, ms, {w, h}, coi, &mean, &sd);
                        zepiMean_16u_C3CMR(p, s, mask.data, ms, {w, h}, coi, &meanM);
                    }
                } else {
                    if (ch == 1) {
                        zepiMean_StdDev_32f_C1MR(p, s, mask.data, ms, {w, h}, &mean, &sd);
                        zepiMean_32f_C1MR(p, s, mask.data, ms, {w, h}, &meanM);
                    } else {
                        zepiMean_StdDev_32f_C3CMR(p, s, mask.data, ms, {w, h}, coi, &mean, &sd);
                        zepiMean_32f_C3CMR(p, s, mask.data, ms, {w, h}, coi, &meanM);
                    }
                }
                const std::string what = "channels " + std::to_string(ch) + " coi " + std::to_string(coi) +
                                         " density " + std::to_string(int(d));
                if (cvDepth == CV_32F) {
                    EXPECT_NEAR(mean, cvMean[coi - 1], tol * std::fabs(cvMean[coi - 1])) << what;
                    EXPECT_NEAR(meanM, cvMeanOnly[coi - 1], tol * std::fabs(cvMeanOnly[coi - 1])) << what;
                } else {
                    EXPECT_LE(std::fabs(mean - cvMean[coi - 1]), ulp(mean)) << what;
                    EXPECT_LE(std::fabs(meanM - cvMeanOnly[coi - 1]), ulp(meanM)) << what;
                }
                EXPECT_NEAR(sd, cvSd[coi - 1], tol * std::max(1.0, mean)) << what;
                if (d != zt::Density::all) continue;
                // Unmasked forms on the same data.
                double meanU = 0, sdU = 0;
                if constexpr (std::is_same_v<T, uint8_t>)
                    ch == 1 ? zepiMean_StdDev_8u_C1R(p, s, {w, h}, &meanU, &sdU)
                            : zepiMean_StdDev_8u_C3CR(p, s, {w, h}, coi, &meanU, &sdU);
                else if constexpr (std::is_same_v<T, uint16_t>)
                    ch == 1 ? zepiMean_StdDev_16u_C1R(p, s, {w, h}, &meanU, &sdU)
                            : zepiMean_StdDev_16u_C3CR(p, s, {w, h}, coi, &meanU, &sdU);
                else
                    ch == 1 ? zepiMean_StdDev_32f_C1R(p, s, {w, h}, &meanU, &sdU)
                            : zepiMean_StdDev_32f_C3CR(p, s, {w, h}, coi, &meanU, &sdU);
                EXPECT_EQ(meanU, mean) << what;
                EXPECT_EQ(sdU, sd) << what;
            }
        }
    }
}

TEST(MeanPeers, OpenCV8u) { comparePeers<uint8_t>(CV_8U, 1e-12); }
TEST(MeanPeers, OpenCV16u) { comparePeers<uint16_t>(CV_16U, 1e-12); }
TEST(MeanPeers, OpenCV32f) { comparePeers<float>(CV_32F, 1e-9); }

}  // namespace
