// Means and standard deviations: the vector path against the scalar
// definition, the rules of the arithmetic, the check order, and OpenCV's
// mean and meanStdDev.
#include "stats/mean.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <opencv2/core.hpp>
#include <random>
#include <string>

#include "stats/stats_support.h"

namespace {

using zep::Path;
using zt::Image;
using zt::StatArgs;
using zt::StatCase;

template <class T, int C, bool Masked, bool MeanOnly, auto F>
ZepStatus callExport(const StatArgs& a) {
    const T* s = static_cast<const T*>(a.src);
    double *mean = a.result(0, a.out->value[0]), *sd = a.result(1, a.out->value[1]);
    if constexpr (MeanOnly && C == 1)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, mean);
    else if constexpr (MeanOnly)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, mean);
    else if constexpr (Masked && C == 1)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, mean, sd);
    else if constexpr (Masked)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, mean, sd);
    else if constexpr (C == 1)
        return F(s, a.srcStep, a.roi, mean, sd);
    else
        return F(s, a.srcStep, a.roi, a.coi, mean, sd);
}

template <class T, int C, bool Masked, bool MeanOnly>
ZepStatus callScalar(const StatArgs& a) {
    const T* s = static_cast<const T*>(a.src);
    double *mean = a.result(0, a.out->value[0]), *sd = a.result(1, a.out->value[1]);
    if constexpr (MeanOnly)
        return zep::stats::meanImage<Path::scalar, T, C>(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, mean);
    else
        return zep::stats::meanStdDevImage<Path::scalar, T, C, Masked>(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi,
                                                                       mean, sd);
}

template <class T, int C, bool Masked, bool MeanOnly, auto F>
StatCase meanCase(const char* name) {
    return {name,
            sizeof(T),
            C,
            Masked,
            false,
            MeanOnly,
            &callExport<T, C, Masked, MeanOnly, F>,
            &callScalar<T, C, Masked, MeanOnly>};
}

const std::vector<StatCase>& meanCases() {
    static const std::vector<StatCase> cases = {
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

// 32f sources with specials, and spread widely so that the order of the
// additions shows in the last bits of the double sums.
TEST(Mean, VectorPathAgreesWithScalarDefinition) {
    zt::expectCasesAgree(meanCases(), 32, {zt::Values::random, zt::Values::wide});
}

// Rows longer than the spans after which the integer kernels move 32-bit
// lane sums to 64-bit lanes, at the largest values.
TEST(Mean, LongRowsOfLargestValuesAgree) {
    std::mt19937 rng(1);
    for (const StatCase& c : meanCases()) {
        if (c.elemBytes == 4 || c.resultRequired || c.masked) continue;
        const int w = (c.elemBytes == 1 ? 16384 * 64 : 32768 * 32) / c.channels + 77;
        Image<uint8_t> src(rng, w * c.elemBytes * c.channels, 2, 1, false, c.elemBytes);
        for (int y = 0; y < 2; ++y) std::memset(src.at(y), 0xFF, size_t(w) * c.elemBytes * c.channels);
        src.at(1)[5] = 3;
        zt::Results ours, def;
        StatArgs a{src.data(), src.step(), nullptr, 0, nullptr, 0, {w, 2}, 2, &ours};
        ASSERT_EQ(c.exported(a), zepStsOk);
        a.out = &def;
        ASSERT_EQ(c.scalar(a), zepStsOk);
        EXPECT_TRUE(zt::sameResults(ours, def)) << c.name << ": " << zt::show(ours) << "vs " << zt::show(def);
    }
}

TEST(Mean, NullOutputsAreSkippedAndTheOtherIsTheSame) {
    std::mt19937 rng(3);
    for (const StatCase& c : meanCases()) {
        if (c.resultRequired) continue;
        const Image<uint8_t> src = zt::makeSource(rng, c.elemBytes, c.channels, 70, 4, zt::Values::wide);
        const Image<uint8_t> mask = zt::makeMask(rng, 70, 4, zt::Density::dense);
        zt::Results r[4];
        for (unsigned nulls = 0; nulls < 4; ++nulls)
            ASSERT_EQ(
                c.exported(
                    {src.data(), src.step(), nullptr, 0, mask.data(), mask.step(), {70, 4}, 2, &r[nulls], nulls}),
                zepStsOk);
        EXPECT_EQ(r[1].value[1], r[0].value[1]) << c.name;  // the deviation alone
        EXPECT_EQ(r[2].value[0], r[0].value[0]) << c.name;  // the mean alone
        EXPECT_TRUE(r[1].value[0] == -7.0 && r[2].value[1] == -7.0 && r[3].value[0] == -7.0 && r[3].value[1] == -7.0)
            << c.name;
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
// too small; source step not a multiple; channel of interest.
TEST(Mean, CheckOrder) {
    for (const StatCase& c : meanCases()) zt::expectStatOrder(c);
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
// With every pixel selected, a masked form gives exactly what the unmasked
// form gives.
TEST(MeanPeers, OpenCV) {
    const int w = 203, h = 37;
    std::map<std::string, zt::Results> full;  // by unmasked form and channel
    for (const StatCase& c : meanCases()) {
        for (zt::Density d : {zt::Density::all, zt::Density::sparse, zt::Density::one}) {
            if (!c.masked && d != zt::Density::all) continue;
            const int depth = c.elemBytes == 1 ? CV_8U : c.elemBytes == 2 ? CV_16U : CV_32F;
            cv::Mat src(h, w, CV_MAKETYPE(depth, c.channels)), mask(h, w, CV_8U);
            cv::RNG(depth * 4 + c.channels)
                .fill(src, cv::RNG::UNIFORM, 0, depth == CV_32F ? 1000 : 1 << (8 * c.elemBytes));
            std::mt19937 rng(77 + int(d));
            const Image<uint8_t> m = zt::makeMask(rng, w, h, d);
            for (int y = 0; y < h; ++y) std::memcpy(mask.ptr(y), m.at(y), w);
            cv::Scalar cvMean, cvSd;
            cv::meanStdDev(src, cvMean, cvSd, mask);
            if (c.resultRequired) cvMean = cv::mean(src, mask);
            const double tol = depth == CV_32F ? 1e-9 : 1e-12;
            for (int coi = 1; coi <= c.channels; ++coi) {
                zt::Results r;
                ASSERT_EQ(
                    c.exported({src.data, int(src.step), nullptr, 0, mask.data, int(mask.step), {w, h}, coi, &r}),
                    zepStsOk);
                const double mean = r.value[0], sd = r.value[1], theirs = cvMean[coi - 1];
                const std::string what =
                    c.name + " coi " + std::to_string(coi) + " density " + std::to_string(int(d));
                const double ulp = std::nextafter(std::fabs(mean), INFINITY) - std::fabs(mean);
                EXPECT_LE(std::fabs(mean - theirs), depth == CV_32F ? tol * std::fabs(theirs) : ulp) << what;
                if (c.resultRequired) continue;
                EXPECT_NEAR(sd, cvSd[coi - 1], tol * std::max(1.0, mean)) << what;
                if (d != zt::Density::all) continue;
                std::string unmasked = c.name + std::to_string(coi);
                if (c.masked) unmasked.erase(c.name.size() - 2, 1);
                const auto [other, first] = full.emplace(unmasked, r);
                EXPECT_TRUE(first || zt::sameResults(other->second, r)) << what;
            }
        }
    }
}

}  // namespace
