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
    double *mean = a.result(0, a.out->value[0]), *sd = a.result(1, a.out->value[1]);
    if constexpr (MeanOnly)
        return zt::callForm<F, T, C, true>(a, mean);
    else
        return zt::callForm<F, T, C, Masked>(a, mean, sd);
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
    return StatCase(name, sizeof(T), C, Masked, false, MeanOnly, &callExport<T, C, Masked, MeanOnly, F>,
                    &callScalar<T, C, Masked, MeanOnly>);
}

// The 8u, 16u and 32f forms of an operation, one channel (layout C1) and a channel of three (C3).
#define ZT_FORMS(M, MO, Op, C1, C3)                                         \
    meanCase<uint8_t, 1, M, MO, zepi##Op##_8u_##C1>(#Op "_8u_" #C1),        \
        meanCase<uint16_t, 1, M, MO, zepi##Op##_16u_##C1>(#Op "_16u_" #C1), \
        meanCase<float, 1, M, MO, zepi##Op##_32f_##C1>(#Op "_32f_" #C1),    \
        meanCase<uint8_t, 3, M, MO, zepi##Op##_8u_##C3>(#Op "_8u_" #C3),    \
        meanCase<uint16_t, 3, M, MO, zepi##Op##_16u_##C3>(#Op "_16u_" #C3), \
        meanCase<float, 3, M, MO, zepi##Op##_32f_##C3>(#Op "_32f_" #C3)

const std::vector<StatCase>& meanCases() {
    static const std::vector<StatCase> cases = {ZT_FORMS(true, true, Mean, C1MR, C3CMR),
                                                ZT_FORMS(false, false, Mean_StdDev, C1R, C3CR),
                                                ZT_FORMS(true, false, Mean_StdDev, C1MR, C3CMR)};
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

// Worked examples of the rules, each one call; -7 marks a result not written.
TEST(Mean, WorkedExamples) {
    struct Example {
        const char* form;
        std::vector<float> px;
        std::vector<uint8_t> mask;
        double mean, sd;
        int width;
    };
    const float v = 0x1.07f7a2p+3f;
    const Example examples[] = {
        // Constant images with exact sums: deviation 0.
        {"Mean_StdDev_16u_C1R", std::vector<float>(2100, 65535), {}, 65535, 0, 300},
        {"Mean_StdDev_32f_C1R", std::vector<float>(2100, 1.5f), {}, 1.5, 0, 300},
        // The rounded sums of 1000 pixels v give mean * mean just above sumSq / n: the fused difference is
        // -2^-46, and the deviation the root of its absolute value (a clamp at 0 would give 0).
        {"Mean_StdDev_32f_C1R", std::vector<float>(1000, v), {}, double(v), std::sqrt(0x1p-46), 0},
        // An empty mask: zeros and success.
        {"Mean_32f_C1MR", {5, 6, 7}, {0, 0, 0}, 0, -7, 0},
        {"Mean_StdDev_32f_C1MR", {5, 6, 7}, {0, 0, 0}, 0, 0, 0},
        // Specials propagate (inf - inf is NaN); an unselected NaN takes no part.
        {"Mean_StdDev_32f_C1MR", {1, INFINITY, 2, -0.0f}, {1, 1, 1, 0}, INFINITY, NAN, 0},
        {"Mean_StdDev_32f_C1R", {NAN, 1}, {}, NAN, NAN, 0},
        {"Mean_32f_C1MR", {NAN, 1}, {0, 1}, 1, -7, 0},
    };
    for (const Example& e : examples) {
        const zt::Results r = zt::once(zt::named(meanCases(), e.form), e.px, e.mask, e.width);
        EXPECT_TRUE(zt::sameValue(r.value[0], e.mean) && zt::sameValue(r.value[1], e.sd))
            << e.form << " " << e.px.size() << ": " << zt::show(r);
    }
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
