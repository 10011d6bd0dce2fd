// Extrema with positions: the vector path against the scalar definition, the
// rules (first occurrence, start values, empty mask, optional outputs), the
// check order, and OpenCV's minMaxLoc.
#include "stats/min_max.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <opencv2/core.hpp>
#include <random>
#include <string>

#include "stats/stats_support.h"

namespace {

using zep::Path;
using zt::Image;
using zt::Results;
using zt::StatArgs;
using zt::StatCase;

template <class T, int C, bool Masked, auto F>
ZepStatus callExport(const StatArgs& a) {
    Results& r = *a.out;
    return zt::callForm<F, T, C, Masked>(a, a.result(0, r.extreme[0]), a.result(1, r.extreme[1]),
                                         a.result(2, r.at[0]), a.result(3, r.at[1]));
}

template <class T, int C, bool Masked>
ZepStatus callScalar(const StatArgs& a) {
    Results& r = *a.out;
    return zep::stats::minMaxImage<Path::scalar, T, C, Masked>(static_cast<const T*>(a.src), a.srcStep, a.mask,
                                                               a.maskStep, a.roi, a.coi, &r.extreme[0], &r.extreme[1],
                                                               &r.at[0], &r.at[1]);
}

template <class T, int C, bool Masked, auto F>
StatCase minMaxCase(const char* name) {
    return StatCase(name, sizeof(T), C, Masked, false, false, &callExport<T, C, Masked, F>,
                    &callScalar<T, C, Masked>);
}

// The 8u, 16u and 32f forms of one layout.
#define ZT_FORMS(C, M, Layout)                                                              \
    minMaxCase<uint8_t, C, M, zepiMinMaxIndx_8u_##Layout>("MinMaxIndx_8u_" #Layout),        \
        minMaxCase<uint16_t, C, M, zepiMinMaxIndx_16u_##Layout>("MinMaxIndx_16u_" #Layout), \
        minMaxCase<float, C, M, zepiMinMaxIndx_32f_##Layout>("MinMaxIndx_32f_" #Layout)

const std::vector<StatCase>& minMaxCases() {
    static const std::vector<StatCase> cases = {ZT_FORMS(1, false, C1R), ZT_FORMS(3, false, C3CR),
                                                ZT_FORMS(1, true, C1MR), ZT_FORMS(3, true, C3CMR)};
    return cases;
}

// Sources with ties (the extremes occur many times) and constant ones too.
TEST(MinMax, VectorPathAgreesWithScalarDefinition) {
    zt::expectCasesAgree(minMaxCases(), 64, {zt::Values::random, zt::Values::ties, zt::Values::constant});
}

// Worked examples of the float rules on MinMaxIndx_32f_C1R.
TEST(MinMax, FloatStartValuesNaNAndSignedZeros) {
    auto ones = [](int n, std::initializer_list<std::pair<int, float>> set) {
        std::vector<float> px(n, 1.0f);
        for (auto [x, v] : set) px[x] = v;
        return px;
    };
    const struct {
        std::vector<float> px;
        int width;
        Results want;
    } examples[] = {
        // NaN never compares; pixels beyond +-FLT_MAX leave the start values at (0, 0).
        {{NAN, NAN, NAN, NAN}, 2, {{-7, -7}, {FLT_MAX, -FLT_MAX}, {{0, 0}, {0, 0}}}},
        {{INFINITY, INFINITY}, 0, {{-7, -7}, {FLT_MAX, INFINITY}, {{0, 0}, {0, 0}}}},
        // The pixel equal to the start value is found at x = 2.
        {{NAN, INFINITY, FLT_MAX}, 0, {{-7, -7}, {FLT_MAX, INFINITY}, {{2, 0}, {1, 0}}}},
        // -0 and +0 are equal: the first one is reported, with its sign.
        {ones(40, {{36, 0.0f}, {38, -0.0f}}), 20, {{-7, -7}, {0.0f, 1.0f}, {{16, 1}, {0, 0}}}},
        {ones(20, {{3, -0.0f}, {18, 0.0f}}), 0, {{-7, -7}, {-0.0f, 1.0f}, {{3, 0}, {0, 0}}}},
    };
    for (const auto& e : examples)
        EXPECT_EQ(zt::show(zt::once(zt::named(minMaxCases(), "MinMaxIndx_32f_C1R"), e.px, {}, e.width)),
                  zt::show(e.want));
}

TEST(MinMax, EmptyMaskWritesZerosAndWarns) {
    std::mt19937 rng(5);
    for (const StatCase& c : minMaxCases()) {
        if (!c.masked) continue;
        const Image<uint8_t> src = zt::makeSource(rng, c.elemBytes, c.channels, 40, 3, zt::Values::random);
        const Image<uint8_t> none = zt::makeMask(rng, 40, 3, zt::Density::none);
        Results r;
        StatArgs a{src.data(), src.step(), nullptr, 0, none.data(), none.step(), {40, 3}, 3, &r};
        EXPECT_EQ(c.exported(a), zepStsEmptyMask) << c.name;
        EXPECT_EQ(zt::show(r), zt::show({{-7.0, -7.0}, {0.0f, 0.0f}, {{0, 0}, {0, 0}}})) << c.name;
        a.nulls = 15;
        EXPECT_EQ(c.exported(a), zepStsEmptyMask) << c.name;
    }
}

TEST(MinMax, NullOutputsAreSkipped) {
    const uint16_t px[3] = {7, 2, 9};
    const Results all{{-7.0, -7.0}, {2.0f, 9.0f}, {{1, 0}, {2, 0}}};
    for (unsigned skip = 0; skip < 4; ++skip) {
        Results r, want = all;
        ASSERT_EQ(minMaxCases()[1].exported({px, 6, nullptr, 0, nullptr, 0, {3, 1}, 1, &r, 1u << skip}), zepStsOk);
        if (skip < 2) want.extreme[skip] = -7.0f;
        if (skip >= 2) want.at[skip - 2] = {-7, -7};
        EXPECT_EQ(zt::show(r), zt::show(want)) << skip;
    }
}

TEST(MinMax, CheckOrder) {
    for (const StatCase& c : minMaxCases()) zt::expectStatOrder(c);
}

// OpenCV's minMaxLoc on the same data and masks (no NaN: OpenCV's handling of
// NaN differs by code path). Values and positions agree exactly: both report
// the first occurrence in row-major order, with or without a mask. Known differences, not compared:
// an empty mask gives OpenCV values 0 and positions (-1, -1), us zeros and
// status 1; OpenCV has no channel of interest, so the channel is extracted
// for it first.
TEST(MinMaxPeers, OpenCV) {
    std::mt19937 rng(99);
    const int w = 211, h = 29;
    for (const StatCase& c : minMaxCases()) {
        const int depth = c.elemBytes == 1 ? CV_8U : c.elemBytes == 2 ? CV_16U : CV_32F;
        for (zt::Density d : {zt::Density::all, zt::Density::sparse, zt::Density::one}) {
            for (bool ties : {false, true}) {
                if (!c.masked && d != zt::Density::all) continue;
                cv::Mat src(h, w, CV_MAKETYPE(depth, c.channels)), mask(h, w, CV_8U);
                cv::randu(src, 0, ties ? 3 : depth == CV_32F ? 1000.0 : 1 << (8 * c.elemBytes));
                const Image<uint8_t> m = zt::makeMask(rng, w, h, d);
                for (int y = 0; y < h; ++y) std::memcpy(mask.ptr(y), m.at(y), w);
                for (int coi = 1; coi <= c.channels; ++coi) {
                    cv::Mat plane;
                    cv::extractChannel(src, plane, coi - 1);
                    double lo, hi;
                    cv::Point loAt, hiAt;
                    cv::minMaxLoc(plane, &lo, &hi, &loAt, &hiAt, mask);
                    Results r;
                    const std::string what = c.name + " coi " + std::to_string(coi) + " density " +
                                             std::to_string(int(d)) + " ties " + std::to_string(ties);
                    ASSERT_EQ(
                        c.exported({src.data, int(src.step), nullptr, 0, mask.data, int(mask.step), {w, h}, coi, &r}),
                        zepStsOk)
                        << what;
                    EXPECT_EQ(zt::show(r),
                              zt::show({{-7.0, -7.0}, {float(lo), float(hi)}, {{loAt.x, loAt.y}, {hiAt.x, hiAt.y}}}))
                        << what;
                }
            }
        }
    }
}

}  // namespace
