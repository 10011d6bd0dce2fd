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
#include "support/check_order.h"

namespace {

using zep::Path;
using zt::CallArgs;
using zt::Image;

struct Found {
    float minVal = -7.0f, maxVal = -7.0f;
    ImagePoint minAt{-7, -7}, maxAt{-7, -7};
};

struct MinMaxArgs {
    const void* src;
    int srcStep;
    const uint8_t* mask;
    int maskStep;
    ImageSize roi;
    int coi;
    float* minVal = nullptr;
    float* maxVal = nullptr;
    ImagePoint* minAt = nullptr;
    ImagePoint* maxAt = nullptr;

    void into(Found& f) { minVal = &f.minVal, maxVal = &f.maxVal, minAt = &f.minAt, maxAt = &f.maxAt; }
};

struct MinMaxCase {
    std::string name;
    int elemBytes, channels;
    bool masked;
    ZepStatus (*exported)(const MinMaxArgs&);
    ZepStatus (*scalar)(const MinMaxArgs&);
};

template <class T, int C, bool Masked, auto F>
ZepStatus callExport(const MinMaxArgs& a) {
    const T* s = static_cast<const T*>(a.src);
    if constexpr (Masked && C == 1)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.minVal, a.maxVal, a.minAt, a.maxAt);
    else if constexpr (Masked)
        return F(s, a.srcStep, a.mask, a.maskStep, a.roi, a.coi, a.minVal, a.maxVal, a.minAt, a.maxAt);
    else if constexpr (C == 1)
        return F(s, a.srcStep, a.roi, a.minVal, a.maxVal, a.minAt, a.maxAt);
    else
        return F(s, a.srcStep, a.roi, a.coi, a.minVal, a.maxVal, a.minAt, a.maxAt);
}

template <class T, int C, bool Masked>
ZepStatus callScalar(const MinMaxArgs& a) {
    return zep::stats::minMaxImage<Path::scalar, T, C, Masked>(static_cast<const T*>(a.src), a.srcStep, a.mask,
                                                               a.maskStep, a.roi, a.coi, a.minVal, a.maxVal, a.minAt,
                                                               a.maxAt);
}

template <class T, int C, bool Masked, auto F>
MinMaxCase minMaxCase(const char* name) {
    return {name, sizeof(T), C, Masked, &callExport<T, C, Masked, F>, &callScalar<T, C, Masked>};
}

const std::vector<MinMaxCase>& minMaxCases() {
    static const std::vector<MinMaxCase> cases = {
        minMaxCase<uint8_t, 1, false, zepiMinMaxIndx_8u_C1R>("MinMaxIndx_8u_C1R"),
        minMaxCase<uint16_t, 1, false, zepiMinMaxIndx_16u_C1R>("MinMaxIndx_16u_C1R"),
        minMaxCase<float, 1, false, zepiMinMaxIndx_32f_C1R>("MinMaxIndx_32f_C1R"),
        minMaxCase<uint8_t, 3, false, zepiMinMaxIndx_8u_C3CR>("MinMaxIndx_8u_C3CR"),
        minMaxCase<uint16_t, 3, false, zepiMinMaxIndx_16u_C3CR>("MinMaxIndx_16u_C3CR"),
        minMaxCase<float, 3, false, zepiMinMaxIndx_32f_C3CR>("MinMaxIndx_32f_C3CR"),
        minMaxCase<uint8_t, 1, true, zepiMinMaxIndx_8u_C1MR>("MinMaxIndx_8u_C1MR"),
        minMaxCase<uint16_t, 1, true, zepiMinMaxIndx_16u_C1MR>("MinMaxIndx_16u_C1MR"),
        minMaxCase<float, 1, true, zepiMinMaxIndx_32f_C1MR>("MinMaxIndx_32f_C1MR"),
        minMaxCase<uint8_t, 3, true, zepiMinMaxIndx_8u_C3CMR>("MinMaxIndx_8u_C3CMR"),
        minMaxCase<uint16_t, 3, true, zepiMinMaxIndx_16u_C3CMR>("MinMaxIndx_16u_C3CMR"),
        minMaxCase<float, 3, true, zepiMinMaxIndx_32f_C3CMR>("MinMaxIndx_32f_C3CMR"),
    };
    return cases;
}

// Source contents: full-range random values, or few distinct values so that
// the extremes occur many times (ties), or one value everywhere; 32f with
// NaN, infinities, -0 and +0 mixed in.
enum class Values { random, ties, constant };

struct Source {
    Image<uint8_t> img;
    Source(std::mt19937& rng, const MinMaxCase& c, int w, int h, Values kind)
        : img(rng, w * c.elemBytes * c.channels, h, 1, false, c.elemBytes) {
        static const float floatTies[] = {-0.0f, 0.0f, 1.0f, -1.0f, NAN, INFINITY, -INFINITY, 0.0f};
        const uint32_t pick = rng();
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w * c.channels; ++x) {
                const uint32_t r = kind == Values::constant ? pick : rng();
                if (c.elemBytes == 4)
                    reinterpret_cast<float*>(img.at(y))[x] =
                        kind == Values::random ? zt::randomValue<float>(rng, true) : floatTies[r % 8];
                else if (c.elemBytes == 2)
                    reinterpret_cast<uint16_t*>(img.at(y))[x] = uint16_t(kind == Values::random ? r : r % 4 * 21845);
                else
                    img.at(y)[x] = uint8_t(kind == Values::random ? r : r % 4 * 85);
            }
    }
};

bool samePoint(ImagePoint a, ImagePoint b) { return a.x == b.x && a.y == b.y; }

std::string show(const Found& f) {
    return "min " + std::to_string(f.minVal) + " at (" + std::to_string(f.minAt.x) + "," + std::to_string(f.minAt.y) +
           ") max " + std::to_string(f.maxVal) + " at (" + std::to_string(f.maxAt.x) + "," +
           std::to_string(f.maxAt.y) + ")";
}

TEST(MinMax, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(64);
    for (const MinMaxCase& c : minMaxCases()) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 3}) {
                for (zt::Density d : zt::kDensities) {
                    if (!c.masked && d != zt::Density::all) continue;
                    for (Values kind : {Values::random, Values::ties, Values::constant}) {
                        Source src(rng, c, w, h, kind);
                        Image<uint8_t> mask = zt::makeMask(rng, w, h, d);
                        const std::vector<uint8_t> before = src.img.canvas.bytes();
                        Found ours, def;
                        MinMaxArgs a{src.img.data(),     src.img.step(), mask.data(), mask.step(), {w, h},
                                     1 + int(rng() % 3), nullptr,        nullptr,     nullptr,     nullptr};
                        a.into(ours);
                        const ZepStatus s = c.exported(a);
                        a.into(def);
                        ASSERT_EQ(s, c.scalar(a)) << c.name;
                        const std::string what = c.name + " width " + std::to_string(w) + " height " +
                                                 std::to_string(h) + " kind " + std::to_string(int(kind)) +
                                                 " density " + std::to_string(int(d));
                        ASSERT_TRUE(zt::sameValue(ours.minVal, def.minVal) &&
                                    zt::sameValue(ours.maxVal, def.maxVal) && samePoint(ours.minAt, def.minAt) &&
                                    samePoint(ours.maxAt, def.maxAt))
                            << what << ": " << show(ours) << " vs " << show(def);
                        ASSERT_EQ(src.img.canvas.bytes(), before) << what;
                    }
                }
            }
        }
    }
}

// Worked examples of the rules.
TEST(MinMax, FirstOccurrenceIsLowestRowThenLowestColumn) {
    // The minimum 1 occurs at (4,1), (2,2) and (0,3); the maximum 9 at (3,1) and (1,1)... first (1,1).
    const uint8_t px[4][5] = {{5, 5, 5, 5, 5}, {5, 9, 5, 9, 1}, {5, 5, 1, 5, 5}, {1, 5, 5, 5, 9}};
    Found f;
    ASSERT_EQ(zepiMinMaxIndx_8u_C1R(&px[0][0], 5, {5, 4}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt), zepStsOk);
    EXPECT_EQ(f.minVal, 1.0f);
    EXPECT_EQ(f.maxVal, 9.0f);
    EXPECT_TRUE(samePoint(f.minAt, {4, 1})) << show(f);
    EXPECT_TRUE(samePoint(f.maxAt, {1, 1})) << show(f);
    // Masked: an unselected pixel equal to the extreme does not count.
    const uint8_t sel[4][5] = {{1, 1, 1, 1, 1}, {1, 0, 1, 1, 0}, {1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}};
    ASSERT_EQ(zepiMinMaxIndx_8u_C1MR(&px[0][0], 5, &sel[0][0], 5, {5, 4}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt),
              zepStsOk);
    EXPECT_TRUE(samePoint(f.minAt, {2, 2})) << show(f);
    EXPECT_TRUE(samePoint(f.maxAt, {3, 1})) << show(f);
}

TEST(MinMax, FloatStartValuesNaNAndSignedZeros) {
    // NaN never compares; pixels beyond +-FLT_MAX leave the start values at (0, 0).
    const float nan[2][2] = {{NAN, NAN}, {NAN, NAN}};
    Found f;
    ASSERT_EQ(zepiMinMaxIndx_32f_C1R(&nan[0][0], 8, {2, 2}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt), zepStsOk);
    EXPECT_EQ(f.minVal, 3.4028235e38f);
    EXPECT_EQ(f.maxVal, -3.4028235e38f);
    EXPECT_TRUE(samePoint(f.minAt, {0, 0}) && samePoint(f.maxAt, {0, 0})) << show(f);
    const float inf[3] = {NAN, INFINITY, FLT_MAX};
    ASSERT_EQ(zepiMinMaxIndx_32f_C1R(inf, 12, {3, 1}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt), zepStsOk);
    EXPECT_EQ(f.minVal, FLT_MAX);  // the pixel equal to the start value is found at x = 2
    EXPECT_TRUE(samePoint(f.minAt, {2, 0})) << show(f);
    EXPECT_EQ(f.maxVal, INFINITY);
    EXPECT_TRUE(samePoint(f.maxAt, {1, 0})) << show(f);
    const float plusInf[2] = {INFINITY, INFINITY};
    ASSERT_EQ(zepiMinMaxIndx_32f_C1R(plusInf, 8, {2, 1}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt), zepStsOk);
    EXPECT_EQ(f.minVal, 3.4028235e38f);
    EXPECT_TRUE(samePoint(f.minAt, {0, 0})) << show(f);
    // -0 and +0 are equal: the first one is reported, with its sign.
    const float zeros[2][20] = {{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
                                {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0.0f, 1, -0.0f, 1}};
    const float negFirst[20] = {1, 1, 1, -0.0f, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0.0f, 1};
    ASSERT_EQ(zepiMinMaxIndx_32f_C1R(&zeros[0][0], 80, {20, 2}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt), zepStsOk);
    EXPECT_FALSE(std::signbit(f.minVal));
    EXPECT_TRUE(samePoint(f.minAt, {16, 1})) << show(f);
    ASSERT_EQ(zepiMinMaxIndx_32f_C1R(negFirst, 80, {20, 1}, &f.minVal, &f.maxVal, &f.minAt, &f.maxAt), zepStsOk);
    EXPECT_TRUE(std::signbit(f.minVal));
    EXPECT_TRUE(samePoint(f.minAt, {3, 0})) << show(f);
}

TEST(MinMax, EmptyMaskWritesZerosAndWarns) {
    std::mt19937 rng(5);
    for (const MinMaxCase& c : minMaxCases()) {
        if (!c.masked) continue;
        Source src(rng, c, 40, 3, Values::random);
        Image<uint8_t> none = zt::makeMask(rng, 40, 3, zt::Density::none);
        Found f;
        MinMaxArgs a{src.img.data(), src.img.step(), none.data(), none.step(), {40, 3}, 3,
                     nullptr,        nullptr,        nullptr,     nullptr};
        a.into(f);
        EXPECT_EQ(c.exported(a), zepStsEmptyMask) << c.name;
        EXPECT_TRUE(f.minVal == 0.0f && f.maxVal == 0.0f && samePoint(f.minAt, {0, 0}) && samePoint(f.maxAt, {0, 0}))
            << c.name << ": " << show(f);
        a.minVal = nullptr, a.maxVal = nullptr, a.minAt = nullptr, a.maxAt = nullptr;
        EXPECT_EQ(c.exported(a), zepStsEmptyMask) << c.name;
    }
}

TEST(MinMax, NullOutputsAreSkipped) {
    const uint16_t px[3] = {7, 2, 9};
    for (int skip = 0; skip < 4; ++skip) {
        Found f;
        float* minVal = skip == 0 ? nullptr : &f.minVal;
        float* maxVal = skip == 1 ? nullptr : &f.maxVal;
        ImagePoint* minAt = skip == 2 ? nullptr : &f.minAt;
        ImagePoint* maxAt = skip == 3 ? nullptr : &f.maxAt;
        ASSERT_EQ(zepiMinMaxIndx_16u_C1R(px, 6, {3, 1}, minVal, maxVal, minAt, maxAt), zepStsOk);
        EXPECT_EQ(f.minVal, skip == 0 ? -7.0f : 2.0f);
        EXPECT_EQ(f.maxVal, skip == 1 ? -7.0f : 9.0f);
        EXPECT_TRUE(samePoint(f.minAt, skip == 2 ? ImagePoint{-7, -7} : ImagePoint{1, 0}));
        EXPECT_TRUE(samePoint(f.maxAt, skip == 3 ? ImagePoint{-7, -7} : ImagePoint{2, 0}));
    }
}

TEST(MinMax, CheckOrder) {
    std::mt19937 rng(13);
    const ImageSize roi{5, 3};
    for (const MinMaxCase& c : minMaxCases()) {
        Source src(rng, c, roi.width, roi.height, Values::random);
        Image<uint8_t> mask = zt::makeMask(rng, roi.width, roi.height, zt::Density::dense);
        zt::Canvas out(24, 1, 24, 0);
        std::memset(out.first(), 0x5A, 24);
        std::vector<zt::ImageRole> roles = {{c.elemBytes, c.channels, 0}};
        CallArgs valid{{src.img.data()}, {src.img.step()}, roi, {2.0}};
        if (c.masked) {
            roles.push_back({1, 1, 0});
            valid.ptr.push_back(mask.data());
            valid.step.push_back(mask.step());
        }
        std::vector<zt::Breaker> breakers = zt::standardBreakers(roles, roi);
        if (c.channels == 3) {
            breakers.push_back({"channel 0", 60, [](CallArgs& a) { a.param[0] = 0.0; }, zepStsBadChannelOfInterest});
            breakers.push_back({"channel 4", 60, [](CallArgs& a) { a.param[0] = 4.0; }, zepStsBadChannelOfInterest});
        }
        auto call = [&c, &out](const CallArgs& v) {
            MinMaxArgs a{v.ptr[0], v.step[0], nullptr, 0, v.roi, int(v.param[0]), nullptr, nullptr, nullptr, nullptr};
            if (c.masked) a.mask = static_cast<const uint8_t*>(v.ptr[1]), a.maskStep = v.step[1];
            a.minVal = reinterpret_cast<float*>(out.first());
            a.maxVal = reinterpret_cast<float*>(out.first() + 4);
            a.minAt = reinterpret_cast<ImagePoint*>(out.first() + 8);
            a.maxAt = reinterpret_cast<ImagePoint*>(out.first() + 16);
            return c.exported(a);
        };
        zt::expectCheckOrder(c.name, valid, call, breakers, {&out, &src.img.canvas, &mask.canvas});
    }
}

// OpenCV's minMaxLoc on the same data and masks (no NaN: OpenCV's handling of
// NaN differs by code path). Values and positions agree exactly: both report
// the first occurrence in row-major order. Known differences, not compared:
// an empty mask gives OpenCV values 0 and positions (-1, -1), us zeros and
// status 1; OpenCV has no channel of interest, so the channel is extracted
// for it first.
template <class T>
void comparePeers(int cvDepth) {
    std::mt19937 rng(99);
    for (int ch : {1, 3}) {
        for (zt::Density d : {zt::Density::all, zt::Density::sparse, zt::Density::one}) {
            for (bool ties : {false, true}) {
                const int w = 211, h = 29;
                cv::Mat src(h, w, CV_MAKETYPE(cvDepth, ch)), mask(h, w, CV_8U);
                const double top = cvDepth == CV_32F ? 1000.0 : (sizeof(T) == 1 ? 256 : 65536);
                cv::randu(src, 0, ties ? 3 : top);
                Image<uint8_t> m = zt::makeMask(rng, w, h, d);
                for (int y = 0; y < h; ++y) std::memcpy(mask.ptr(y), m.at(y), w);
                for (int coi = 1; coi <= ch; ++coi) {
                    cv::Mat plane;
                    cv::extractChannel(src, plane, coi - 1);
                    double cvMin, cvMax;
                    cv::Point cvMinAt, cvMaxAt;
                    cv::minMaxLoc(plane, &cvMin, &cvMax, &cvMinAt, &cvMaxAt, mask);
                    Found f;
                    const T* p = src.ptr<T>();
                    const int s = int(src.step), ms = int(mask.step);
                    ZepStatus st;
                    if constexpr (std::is_same_v<T, uint8_t>)
                        st = ch == 1 ? zepiMinMaxIndx_8u_C1MR(p, s, mask.data, ms, {w, h}, &f.minVal, &f.maxVal,
                                                              &f.minAt, &f.maxAt)
                                     : zepiMinMaxIndx_8u_C3CMR(p, s, mask.data, ms, {w, h}, coi, &f.minVal, &f.maxVal,
                                                               &f.minAt, &f.maxAt);
                    else if constexpr (std::is_same_v<T, uint16_t>)
                        st = ch == 1 ? zepiMinMaxIndx_16u_C1MR(p, s, mask.data, ms, {w, h}, &f.minVal, &f.maxVal,
                                                               &f.minAt, &f.maxAt)
                                     : zepiMinMaxIndx_16u_C3CMR(p, s, mask.data, ms, {w, h}, coi, &f.minVal,
                                                                &f.maxVal, &f.minAt, &f.maxAt);
                    else
                        st = ch == 1 ? zepiMinMaxIndx_32f_C1MR(p, s, mask.data, ms, {w, h}, &f.minVal, &f.maxVal,
                                                               &f.minAt, &f.maxAt)
                                     : zepiMinMaxIndx_32f_C3CMR(p, s, mask.data, ms, {w, h}, coi, &f.minVal,
                                                                &f.maxVal, &f.minAt, &f.maxAt);
                    const std::string what = "channels " + std::to_string(ch) + " coi " + std::to_string(coi) +
                                             " density " + std::to_string(int(d)) + " ties " + std::to_string(ties);
                    ASSERT_EQ(st, zepStsOk) << what;
                    EXPECT_EQ(double(f.minVal), cvMin) << what;
                    EXPECT_EQ(double(f.maxVal), cvMax) << what;
                    EXPECT_TRUE(samePoint(f.minAt, {cvMinAt.x, cvMinAt.y})) << what << ": " << show(f);
                    EXPECT_TRUE(samePoint(f.maxAt, {cvMaxAt.x, cvMaxAt.y})) << what << ": " << show(f);
                }
            }
        }
    }
}

TEST(MinMaxPeers, OpenCV8u) { comparePeers<uint8_t>(CV_8U); }
TEST(MinMaxPeers, OpenCV16u) { comparePeers<uint16_t>(CV_16U); }
TEST(MinMaxPeers, OpenCV32f) { comparePeers<float>(CV_32F); }

}  // namespace
