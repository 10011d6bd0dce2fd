// Norms: the vector reductions against the scalar definitions, the rules of
// the results (lanes of the 32f sums, relative-norm warnings, specials), the
// check orders, and cv::norm on the same data.
#include "stats/norm.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <opencv2/core.hpp>
#include <random>
#include <string>
#include <vector>

#include "support/check_order.h"

namespace {

using zep::Path;
using zep::stats::NormKind;
using zep::stats::NormOf;
using zt::CallArgs;
using zt::Image;

// The full argument set of a norm; Norm forms do not read b, C1 forms not coi.
struct NArgs {
    const void* a;
    int aStep;
    const void* b;
    int bStep;
    const uint8_t* mask;
    int maskStep;
    ImageSize roi;
    int coi;
    double* out;
};

struct NormCase {
    std::string name;
    NormKind kind;
    NormOf of;
    int elemBytes;
    int channels;
    ZepStatus (*exported)(const NArgs&);
    ZepStatus (*scalar)(const NArgs&);
};

template <NormOf O, class T, int Ch, auto F>
ZepStatus callExport(const NArgs& n) {
    const auto* a = static_cast<const T*>(n.a);
    const auto* b = static_cast<const T*>(n.b);
    if constexpr (O == NormOf::src && Ch == 1)
        return F(a, n.aStep, n.mask, n.maskStep, n.roi, n.out);
    else if constexpr (O == NormOf::src)
        return F(a, n.aStep, n.mask, n.maskStep, n.roi, n.coi, n.out);
    else if constexpr (Ch == 1)
        return F(a, n.aStep, b, n.bStep, n.mask, n.maskStep, n.roi, n.out);
    else
        return F(a, n.aStep, b, n.bStep, n.mask, n.maskStep, n.roi, n.coi, n.out);
}

template <NormKind K, NormOf O, class T, int Ch>
ZepStatus callScalar(const NArgs& n) {
    return zep::stats::normImage<Path::scalar, K, O, T, Ch>(static_cast<const T*>(n.a), n.aStep,
                                                            static_cast<const T*>(n.b), n.bStep, n.mask, n.maskStep,
                                                            n.roi, n.coi, n.out);
}

template <NormKind K, NormOf O, class T, int Ch, auto F>
NormCase normCase(const char* name) {
    return {name, K, O, sizeof(T), Ch, &callExport<O, T, Ch, F>, &callScalar<K, O, T, Ch>};
}

#define ZT_CASES(Op, Of, Kind, K, TN, T)                                                   \
    normCase<K, Of, T, 1, zepi##Op##_##Kind##_##TN##_C1MR>(#Op "_" #Kind "_" #TN "_C1MR"), \
        normCase<K, Of, T, 3, zepi##Op##_##Kind##_##TN##_C3CMR>(#Op "_" #Kind "_" #TN "_C3CMR")
#define ZT_KIND(Kind, K, TN, T)                                                                    \
    ZT_CASES(Norm, NormOf::src, Kind, K, TN, T), ZT_CASES(NormDiff, NormOf::diff, Kind, K, TN, T), \
        ZT_CASES(NormRel, NormOf::rel, Kind, K, TN, T)
#define ZT_TYPE(TN, T) \
    ZT_KIND(Inf, NormKind::inf, TN, T), ZT_KIND(L1, NormKind::l1, TN, T), ZT_KIND(L2, NormKind::l2, TN, T)

const std::vector<NormCase>& normCases() {
    static const std::vector<NormCase> cases = {ZT_TYPE(8u, uint8_t), ZT_TYPE(16u, uint16_t), ZT_TYPE(32f, float)};
    return cases;
}

enum class MaskFill { empty, full, random, onePixel };

// Sources (byte canvases wide enough for any element type), mask and result.
struct NormImages {
    Image<uint8_t> a, b, mask;
    Image<double> out;

    NormImages(std::mt19937& rng, const NormCase& c, int w, int h, MaskFill fill, bool specials)
        : a(rng, w * c.channels * c.elemBytes, h, 1, false, c.elemBytes),
          b(rng, w * c.channels * c.elemBytes, h, 1, false, c.elemBytes),
          mask(rng, w, h),
          out(rng, 1, 1) {
        if (c.elemBytes == 4)
            for (auto* s : {&a, &b})
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w * c.channels; ++x)
                        reinterpret_cast<float*>(s->at(y))[x] = zt::randomValue<float>(rng, specials);
        const uint32_t density = rng() % 101;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const bool on = fill == MaskFill::full || (fill == MaskFill::random && rng() % 100 < density);
                mask.at(y)[x] = on ? uint8_t(1 + rng() % 255) : 0;
            }
        if (fill == MaskFill::onePixel) mask.at(static_cast<int>(rng() % h))[rng() % w] = uint8_t(1 + rng() % 255);
    }

    NArgs args(ImageSize roi, int coi, double* result) {
        return {a.data(), a.step(), b.data(), b.step(), mask.data(), mask.step(), roi, coi, result};
    }
};

bool sameResult(double x, double y) {
    return (std::isnan(x) && std::isnan(y)) || std::bit_cast<uint64_t>(x) == std::bit_cast<uint64_t>(y);
}

// (1) Agreement.

TEST(Norm, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(31);
    for (const NormCase& c : normCases()) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 3}) {
                const auto fill = static_cast<MaskFill>(rng() % 4);
                const bool specials = rng() % 3 == 0;
                NormImages img(rng, c, w, h, fill, specials);
                const int coi = 1 + static_cast<int>(rng() % 3);
                double vec = -1.0, ref = -2.0;
                const ZepStatus sv = c.exported(img.args({w, h}, coi, &vec));
                const ZepStatus sr = c.scalar(img.args({w, h}, coi, &ref));
                ASSERT_EQ(sv, sr) << c.name << " width " << w;
                ASSERT_TRUE(sameResult(vec, ref)) << c.name << " width " << w << " height " << h << " mask "
                                                  << int(fill) << ": " << vec << " vs " << ref;
            }
        }
    }
}

// Every mask fill at every width and all three channels, on 32f data whose
// sums round differently in every other lane order.
TEST(Norm, Float32LanesAgreeForEveryMaskAndChannel) {
    std::mt19937 rng(41);
    for (const NormCase& c : normCases()) {
        if (c.elemBytes != 4 || c.kind == NormKind::inf) continue;
        for (int w : zt::sweepWidths())
            for (int fill = 0; fill < 4; ++fill)
                for (int coi = 1; coi <= c.channels; ++coi) {
                    NormImages img(rng, c, w, 2, static_cast<MaskFill>(fill), false);
                    double vec = -1.0, ref = -2.0;
                    ASSERT_EQ(c.exported(img.args({w, 2}, coi, &vec)), c.scalar(img.args({w, 2}, coi, &ref)));
                    ASSERT_TRUE(sameResult(vec, ref)) << c.name << " width " << w << " coi " << coi;
                }
    }
}

// Rows long enough that 32-bit partial sums of squares would overflow
// without being moved into 64-bit lanes.
TEST(Norm, LongRowsStayExact) {
    const int w = 1100000;
    std::vector<uint8_t> mask(w, 1), a8(w, 255), b8(w, 0);
    std::vector<uint16_t> a16(w, 65535), b16(w, 0);
    const ImageSize roi{w, 1};
    double r = 0;
    ASSERT_EQ(zepiNorm_L2_8u_C1MR(a8.data(), w, mask.data(), w, roi, &r), zepStsOk);
    EXPECT_EQ(r, std::sqrt(double(w) * 65025.0));
    ASSERT_EQ(zepiNormDiff_L2_8u_C1MR(a8.data(), w, b8.data(), w, mask.data(), w, roi, &r), zepStsOk);
    EXPECT_EQ(r, std::sqrt(double(w) * 65025.0));
    ASSERT_EQ(zepiNorm_L2_16u_C1MR(a16.data(), 2 * w, mask.data(), w, roi, &r), zepStsOk);
    EXPECT_EQ(r, std::sqrt(double(w) * 4294836225.0));
    ASSERT_EQ(zepiNorm_L1_16u_C1MR(a16.data(), 2 * w, mask.data(), w, roi, &r), zepStsOk);
    EXPECT_EQ(r, double(w) * 65535.0);
    ASSERT_EQ(zepiNormRel_L2_16u_C1MR(b16.data(), 2 * w, a16.data(), 2 * w, mask.data(), w, roi, &r), zepStsOk);
    EXPECT_EQ(r, 1.0);
    // Three channels: the lanes of one channel only.
    std::vector<uint16_t> c3(3 * w / 2);
    for (int x = 0; x < w / 2; ++x) c3[3 * x] = 1, c3[3 * x + 1] = 65535, c3[3 * x + 2] = 2;
    ASSERT_EQ(zepiNorm_L2_16u_C3CMR(c3.data(), 3 * w, mask.data(), w / 2, {w / 2, 1}, 2, &r), zepStsOk);
    EXPECT_EQ(r, std::sqrt(double(w / 2) * 4294836225.0));
}

// (2) Rules.

TEST(Norm, Float32SquaresRoundInSinglePrecisionPerLane) {
    // (1 + 2^-12)^2 = 1 + 2^-11 + 2^-24 rounds to even in single precision.
    const float one[1] = {1.0f + 0x1p-12f};
    const std::vector<uint8_t> mask(64, 1);
    const uint8_t* on = mask.data();
    double r = 0;
    ASSERT_EQ(zepiNorm_L2_32f_C1MR(one, 4, on, 1, {1, 1}, &r), zepStsOk);
    EXPECT_EQ(r, std::sqrt(1.0 + 0x1p-11));
    // Pixel x shares a single-precision lane with pixel 0 when the row's
    // blocks put it there: 2^24 + 1 rounds to 2^24 in that lane, while a
    // pixel in its own lane or in the scalar tail is added in double.
    struct Lane {
        int width, pixel;
        bool shared;
    };
    for (const Lane l : {Lane{40, 32, true}, Lane{39, 32, false}, Lane{48, 32, true}, Lane{17, 16, false},
                         Lane{24, 16, true}, Lane{64, 32, true}, Lane{64, 16, false}, Lane{33, 32, false}}) {
        std::vector<float> row(l.width, 0.0f);
        row[0] = 4096.0f;
        row[l.pixel] = 1.0f;
        const double l2 = l.shared ? 0x1p24 : 0x1p24 + 1.0;
        ASSERT_EQ(zepiNorm_L2_32f_C1MR(row.data(), 4 * l.width, on, 64, {l.width, 1}, &r), zepStsOk);
        EXPECT_EQ(r, std::sqrt(l2)) << l.width << " " << l.pixel;
        row[0] = 0x1p24f;
        ASSERT_EQ(zepiNorm_L1_32f_C1MR(row.data(), 4 * l.width, on, 64, {l.width, 1}, &r), zepStsOk);
        EXPECT_EQ(r, l2) << l.width << " " << l.pixel;
    }
    // Rows are added in double.
    const float rows[2] = {0x1p24f, 1.0f};
    ASSERT_EQ(zepiNorm_L1_32f_C1MR(rows, 4, on, 1, {1, 2}, &r), zepStsOk);
    EXPECT_EQ(r, 0x1p24 + 1.0);
    // Squares of large values overflow the single-precision lane.
    const float big[1] = {3.0e38f};
    ASSERT_EQ(zepiNorm_L2_32f_C1MR(big, 4, on, 1, {1, 1}, &r), zepStsOk);
    EXPECT_EQ(r, INFINITY);
}

TEST(Norm, EmptyMaskGivesZeroAndRelativeNormsWarnWithNaN) {
    std::mt19937 rng(5);
    for (const NormCase& c : normCases()) {
        NormImages img(rng, c, 37, 2, MaskFill::empty, true);
        double r = -1.0;
        const ZepStatus s = c.exported(img.args({37, 2}, 2, &r));
        if (c.of == NormOf::rel) {
            EXPECT_EQ(s, zepStsZeroDenominator) << c.name;
            EXPECT_EQ(std::bit_cast<uint64_t>(r), 0xFFF8000000000000u) << c.name;
        } else {
            EXPECT_EQ(s, zepStsOk) << c.name;
            EXPECT_EQ(std::bit_cast<uint64_t>(r), 0u) << c.name;
        }
    }
}

TEST(Norm, RelativeNormsOfIdenticalAndZeroSources) {
    std::mt19937 rng(6);
    for (const NormCase& c : normCases()) {
        if (c.of != NormOf::rel) continue;
        NormImages img(rng, c, 21, 3, MaskFill::full, false);
        double r = -1.0;
        // The same image twice, and a nonzero second source: 0.
        NArgs same = img.args({21, 3}, 3, &r);
        same.b = same.a, same.bStep = same.aStep;
        std::memset(img.a.data(), 0x11, 4);  // a selected nonzero pixel in every channel
        EXPECT_EQ(c.exported(same), zepStsOk) << c.name;
        EXPECT_EQ(r, 0.0) << c.name;
        // A second source of zeros: +inf.
        for (int y = 0; y < 3; ++y) std::memset(img.b.at(y), 0, size_t(21) * c.channels * c.elemBytes);
        EXPECT_EQ(c.exported(img.args({21, 3}, 1, &r)), zepStsZeroDenominator) << c.name;
        EXPECT_EQ(r, INFINITY) << c.name;
    }
    // A NaN numerator over a zero denominator: -inf.
    const float a[2] = {NAN, 1.0f}, b[2] = {0.0f, -0.0f};
    const uint8_t on[2] = {1, 1};
    double r = 0;
    for (auto f : {zepiNormRel_Inf_32f_C1MR, zepiNormRel_L1_32f_C1MR, zepiNormRel_L2_32f_C1MR}) {
        EXPECT_EQ(f(a, 8, b, 8, on, 2, {2, 1}, &r), zepStsZeroDenominator);
        EXPECT_EQ(r, -INFINITY);
    }
    // Worked quotients: L2 is the square root of the quotient of squared sums.
    const uint8_t a8[3] = {3, 0, 9}, b8[3] = {1, 4, 5};
    EXPECT_EQ(zepiNormRel_L2_8u_C1MR(a8, 3, b8, 3, on, 2, {2, 1}, &r), zepStsOk);
    EXPECT_EQ(r, std::sqrt(20.0 / 17.0));
    EXPECT_EQ(zepiNormRel_L1_8u_C1MR(a8, 3, b8, 3, on, 2, {2, 1}, &r), zepStsOk);
    EXPECT_EQ(r, 6.0 / 5.0);
    EXPECT_EQ(zepiNormRel_Inf_8u_C1MR(a8, 3, b8, 3, on, 2, {2, 1}, &r), zepStsOk);
    EXPECT_EQ(r, 4.0 / 4.0);
}

TEST(Norm, Float32Specials) {
    const uint8_t on[4] = {1, 1, 1, 1}, some[4] = {1, 0, 1, 0};
    double r = 0;
    // -0 counts as +0; -inf as +inf.
    const float negZero[2] = {-0.0f, -0.0f};
    EXPECT_EQ(zepiNorm_Inf_32f_C1MR(negZero, 8, on, 2, {2, 1}, &r), zepStsOk);
    EXPECT_EQ(std::bit_cast<uint64_t>(r), 0u);
    EXPECT_EQ(zepiNorm_L1_32f_C1MR(negZero, 8, on, 2, {2, 1}, &r), zepStsOk);
    EXPECT_EQ(std::bit_cast<uint64_t>(r), 0u);
    const float inf[4] = {1.0f, -INFINITY, 2.0f, 5.0f};
    for (auto f : {zepiNorm_Inf_32f_C1MR, zepiNorm_L1_32f_C1MR, zepiNorm_L2_32f_C1MR}) {
        EXPECT_EQ(f(inf, 16, on, 4, {4, 1}, &r), zepStsOk);
        EXPECT_EQ(r, INFINITY);
    }
    // inf - inf is NaN; a selected NaN makes the infinity norm the quiet NaN.
    EXPECT_EQ(zepiNormDiff_L1_32f_C1MR(inf, 16, inf, 16, on, 4, {4, 1}, &r), zepStsOk);
    EXPECT_TRUE(std::isnan(r));
    const float nan[4] = {1.0f, NAN, 7.0f, -8.0f};
    for (int w : {4, 40}) {
        std::vector<float> row(w, 3.0f);
        std::copy(nan, nan + 4, row.begin() + (w - 4));
        std::vector<uint8_t> m(w, 1);
        EXPECT_EQ(zepiNorm_Inf_32f_C1MR(row.data(), 4 * w, m.data(), w, {w, 1}, &r), zepStsOk);
        EXPECT_EQ(std::bit_cast<uint64_t>(r), 0x7FF8000000000000u) << w;
        // The same NaN masked off is not read into the result.
        m[w - 3] = 0;
        EXPECT_EQ(zepiNorm_Inf_32f_C1MR(row.data(), 4 * w, m.data(), w, {w, 1}, &r), zepStsOk);
        EXPECT_EQ(r, 8.0) << w;
        EXPECT_EQ(zepiNorm_L2_32f_C1MR(row.data(), 4 * w, m.data(), w, {w, 1}, &r), zepStsOk);
        EXPECT_EQ(r, std::sqrt(9.0 * (w - 4) + 1 + 49 + 64)) << w;
    }
    // NaNs of every sign and payload, the least of them next to +inf.
    for (const uint32_t bits : {0x7F800001u, 0xFF800001u, 0xFFFFFFFFu, 0x7FC00000u}) {
        std::vector<float> row(37, INFINITY);
        row[bits % 37] = std::bit_cast<float>(bits);
        std::vector<uint8_t> m(37, 1);
        EXPECT_EQ(zepiNorm_Inf_32f_C1MR(row.data(), 4 * 37, m.data(), 37, {37, 1}, &r), zepStsOk);
        EXPECT_EQ(std::bit_cast<uint64_t>(r), 0x7FF8000000000000u) << std::hex << bits;
    }
    EXPECT_EQ(zepiNorm_L1_32f_C1MR(inf, 16, some, 4, {4, 1}, &r), zepStsOk);
    EXPECT_EQ(r, 3.0);
}

// Check order: Norm checks its source step fully before the mask step;
// NormDiff and NormRel check all three steps for size before the sources
// for multiples; the channel of interest comes after the steps.
TEST(Norm, CheckOrder) {
    std::mt19937 rng(9);
    const ImageSize roi{5, 3};
    for (const NormCase& c : normCases()) {
        NormImages img(rng, c, roi.width, roi.height, MaskFill::random, false);
        std::vector<zt::ImageRole> roles = {{c.elemBytes, c.channels, 0}};
        CallArgs valid{{img.a.data()}, {img.a.step()}, roi, {2.0}};
        if (c.of != NormOf::src) {
            roles.push_back({c.elemBytes, c.channels, 0});
            valid.ptr.push_back(img.b.data());
            valid.step.push_back(img.b.step());
        }
        roles.push_back({1, 1, c.of == NormOf::src ? 1 : 0});
        valid.ptr.push_back(img.mask.data());
        valid.step.push_back(img.mask.step());
        valid.ptr.push_back(img.out.data());
        valid.step.push_back(0);
        const size_t n = roles.size();
        auto call = [&c, n](const CallArgs& v) {
            NArgs a{};
            a.a = v.ptr[0], a.aStep = v.step[0];
            if (n == 3) a.b = v.ptr[1], a.bStep = v.step[1];
            a.mask = static_cast<const uint8_t*>(v.ptr[n - 1]), a.maskStep = v.step[n - 1];
            a.out = static_cast<double*>(v.ptr[n]);
            a.roi = v.roi, a.coi = static_cast<int>(v.param[0]);
            return c.exported(a);
        };
        std::vector<zt::Breaker> breakers = zt::standardBreakers(roles, roi);
        breakers.insert(breakers.begin() + static_cast<ptrdiff_t>(n),
                        {"null result", 50, [n](CallArgs& a) { a.ptr[n] = nullptr; }, zepStsNullPointer});
        if (c.channels == 3) {
            breakers.push_back({"coi 0", 300, [](CallArgs& a) { a.param[0] = 0; }, zepStsBadChannelOfInterest});
            breakers.push_back({"coi 4", 300, [](CallArgs& a) { a.param[0] = 4; }, zepStsBadChannelOfInterest});
        }
        zt::expectCheckOrder(c.name, valid, call, breakers,
                             {&img.out.canvas, &img.a.canvas, &img.b.canvas, &img.mask.canvas});
    }
}

TEST(Norm, StepRulesOfOneAndTwoSourceForms) {
    const uint16_t s[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const uint8_t m[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    double r = -1.0;
    // Norm 16u: an odd source step wins over a short mask step; NormDiff: the short mask step wins.
    EXPECT_EQ(zepiNorm_L1_16u_C1MR(s, 7, m, 2, {3, 1}, &r), zepStsStepNotMultiple);
    EXPECT_EQ(zepiNormDiff_L1_16u_C1MR(s, 7, s, 6, m, 2, {3, 1}, &r), zepStsBadStep);
    EXPECT_EQ(zepiNormRel_L1_16u_C1MR(s, 6, s, 7, m, 2, {3, 1}, &r), zepStsBadStep);
    // Norm 8u: a short mask step is the first step failure as well.
    const uint8_t* s8 = m;
    EXPECT_EQ(zepiNorm_L1_8u_C3CMR(s8, 1, m, 2, {1, 1}, 9, &r), zepStsBadStep);
    EXPECT_EQ(zepiNorm_L1_8u_C3CMR(s8, 3, m, 0, {1, 1}, 9, &r), zepStsBadStep);
    EXPECT_EQ(zepiNorm_L1_8u_C3CMR(s8, 3, m, 1, {1, 1}, 9, &r), zepStsBadChannelOfInterest);
    EXPECT_EQ(r, -1.0);
    // A mask step one past the row has no multiple rule.
    EXPECT_EQ(zepiNorm_L1_16u_C1MR(s, 6, m, 4, {3, 1}, &r), zepStsOk);
    EXPECT_EQ(r, 6.0);
}

// (3) Peers: cv::norm with a mask on the same data (C3CMR against the
// extracted channel). Known differences:
// - 32f L1 and L2: OpenCV sums in double; here each row sums in
//   single-precision lanes, so results agree to about 1e-6 relative.
// - Relative norms: OpenCV divides by norm(b) + DBL_EPSILON, and for L2
//   divides the two square roots; here the exact quotient (L2: the root of the
//   quotient). Agreement within a few ulps while the denominator is not 0; a
//   zero denominator gives 0 or a huge finite value there and NaN or +inf
//   with the warning here.
// - The empty mask: OpenCV's relative norms give 0, here NaN with the warning.
TEST(NormPeers, OpenCVNormWithMask) {
    std::mt19937 rng(77);
    const int w = 203, h = 11;
    for (const NormCase& c : normCases()) {
        const int depth = c.elemBytes == 1 ? CV_8U : c.elemBytes == 2 ? CV_16U : CV_32F;
        cv::Mat a(h, w, CV_MAKETYPE(depth, c.channels)), b(a.size(), a.type()), mask(h, w, CV_8U);
        const double high = depth == CV_32F ? 1000.0 : depth == CV_8U ? 256.0 : 65536.0;
        cv::randu(a, depth == CV_32F ? -high : 0.0, high);
        cv::randu(b, depth == CV_32F ? -high : 0.0, high);
        cv::randu(mask, 0, 3);
        const int coi = 1 + static_cast<int>(rng() % 3);
        double ours = -1.0;
        const ZepStatus s = c.exported({a.data,
                                        static_cast<int>(a.step),
                                        b.data,
                                        static_cast<int>(b.step),
                                        mask.data,
                                        static_cast<int>(mask.step),
                                        {w, h},
                                        coi,
                                        &ours});
        ASSERT_EQ(s, zepStsOk) << c.name;
        cv::Mat ca = a, cb = b;
        if (c.channels == 3) cv::extractChannel(a, ca, coi - 1), cv::extractChannel(b, cb, coi - 1);
        const int type = c.kind == NormKind::inf ? cv::NORM_INF : c.kind == NormKind::l1 ? cv::NORM_L1 : cv::NORM_L2;
        const double theirs = c.of == NormOf::src    ? cv::norm(ca, type, mask)
                              : c.of == NormOf::diff ? cv::norm(ca, cb, type, mask)
                                                     : cv::norm(ca, cb, type | cv::NORM_RELATIVE, mask);
        const bool exact = c.of != NormOf::rel && (depth != CV_32F || c.kind == NormKind::inf);
        const double tol = exact ? 0.0 : depth == CV_32F ? 2e-6 : 1e-14;
        EXPECT_LE(std::abs(ours - theirs), tol * std::abs(theirs)) << c.name << ": " << ours << " vs " << theirs;
    }
}

}  // namespace
