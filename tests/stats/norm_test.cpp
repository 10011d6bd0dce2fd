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
#include <vector>

#include "stats/stats_support.h"

namespace {

using zep::Path;
using zep::stats::NormKind;
using zep::stats::NormOf;
using zt::Image;
using zt::StatArgs;

struct NormCase : zt::StatCase {
    NormKind kind;
    NormOf of;
};

template <NormOf O, class T, int Ch, auto F>
ZepStatus callExport(const StatArgs& n) {
    return zt::callForm<F, T, Ch, true, O != NormOf::src>(n, n.result(0, n.out->value[0]));
}

template <NormKind K, NormOf O, class T, int Ch>
ZepStatus callScalar(const StatArgs& n) {
    return zep::stats::normImage<Path::scalar, K, O, T, Ch>(static_cast<const T*>(n.src), n.srcStep,
                                                            static_cast<const T*>(n.src2), n.src2Step, n.mask,
                                                            n.maskStep, n.roi, n.coi, &n.out->value[0]);
}

template <NormKind K, NormOf O, class T, int Ch, auto F>
NormCase normCase(const char* name) {
    return {{name, sizeof(T), Ch, true, O != NormOf::src, true, &callExport<O, T, Ch, F>, &callScalar<K, O, T, Ch>},
            K,
            O};
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

// (1) Agreement: 32f with specials, and moderate values whose sums round
// differently in every other lane order.
TEST(Norm, VectorPathAgreesWithScalarDefinition) {
    zt::expectCasesAgree(normCases(), 31, {zt::Values::random, zt::Values::moderate});
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
// A norm of 32f pixels in one row (or `w` to a row), every pixel selected unless a mask is given.
double rowNorm(ZepStatus (*f)(const float*, int, const uint8_t*, int, ImageSize, double*), std::vector<float> px,
               std::vector<uint8_t> mask = {}, int w = 0) {
    const int n = int(px.size());
    w = w ? w : n;
    if (mask.empty()) mask.assign(px.size(), 1);
    double r = -1.0;
    EXPECT_EQ(f(px.data(), 4 * w, mask.data(), w, {w, n / w}, &r), zepStsOk);
    return r;
}

TEST(Norm, Float32SquaresRoundInSinglePrecisionPerLane) {
    // (1 + 2^-12)^2 = 1 + 2^-11 + 2^-24 rounds to even in single precision.
    EXPECT_EQ(rowNorm(zepiNorm_L2_32f_C1MR, {1.0f + 0x1p-12f}), std::sqrt(1.0 + 0x1p-11));
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
        EXPECT_EQ(rowNorm(zepiNorm_L2_32f_C1MR, row), std::sqrt(l2)) << l.width << " " << l.pixel;
        row[0] = 0x1p24f;
        EXPECT_EQ(rowNorm(zepiNorm_L1_32f_C1MR, row), l2) << l.width << " " << l.pixel;
    }
    EXPECT_EQ(rowNorm(zepiNorm_L1_32f_C1MR, {0x1p24f, 1.0f}, {}, 1), 0x1p24 + 1.0);  // rows are added in double
    // Squares of large values overflow the single-precision lane.
    EXPECT_EQ(rowNorm(zepiNorm_L2_32f_C1MR, {3.0e38f}), INFINITY);
}

TEST(Norm, EmptyMaskGivesZeroAndRelativeNormsWarnWithNaN) {
    std::mt19937 rng(5);
    for (const NormCase& c : normCases()) {
        const Image<uint8_t> a = zt::makeSource(rng, c.elemBytes, c.channels, 37, 2, zt::Values::random),
                             none = zt::makeMask(rng, 37, 2, zt::Density::none);
        zt::Results r;
        const ZepStatus s =
            c.exported({a.data(), a.step(), a.data(), a.step(), none.data(), none.step(), {37, 2}, 2, &r});
        EXPECT_EQ(s, c.of == NormOf::rel ? zepStsZeroDenominator : zepStsOk) << c.name;
        EXPECT_EQ(std::bit_cast<uint64_t>(r.value[0]), c.of == NormOf::rel ? 0xFFF8000000000000u : 0u) << c.name;
    }
}

TEST(Norm, RelativeNormsOfIdenticalAndZeroSources) {
    std::mt19937 rng(6);
    for (const NormCase& c : normCases()) {
        if (c.of != NormOf::rel) continue;
        Image<uint8_t> a = zt::makeSource(rng, c.elemBytes, c.channels, 21, 3, zt::Values::moderate),
                       b = zt::makeSource(rng, c.elemBytes, c.channels, 21, 3, zt::Values::moderate),
                       all = zt::makeMask(rng, 21, 3, zt::Density::all);
        zt::Results r;
        auto over = [&](const Image<uint8_t>& second, int coi) {
            return c.exported(
                StatArgs(a.data(), a.step(), second.data(), second.step(), all.data(), all.step(), {21, 3}, coi, &r));
        };
        // The same image twice, and a nonzero second source: 0.
        std::memset(a.data(), 0x11, 4);  // a selected nonzero pixel in every channel
        EXPECT_EQ(over(a, 3), zepStsOk) << c.name;
        EXPECT_EQ(r.value[0], 0.0) << c.name;
        // A second source of zeros: +inf.
        for (int y = 0; y < 3; ++y) std::memset(b.at(y), 0, size_t(21) * c.channels * c.elemBytes);
        EXPECT_EQ(over(b, 1), zepStsZeroDenominator) << c.name;
        EXPECT_EQ(r.value[0], INFINITY) << c.name;
    }
    // A NaN numerator over a zero denominator: -inf.
    const float a[2] = {NAN, 1.0f}, b[2] = {0.0f, -0.0f};
    const uint8_t on[2] = {1, 1};
    double r = 0;
    for (auto f : {zepiNormRel_Inf_32f_C1MR, zepiNormRel_L1_32f_C1MR, zepiNormRel_L2_32f_C1MR}) {
        EXPECT_EQ(f(a, 8, b, 8, on, 2, {2, 1}, &r), zepStsZeroDenominator);
        EXPECT_EQ(r, -INFINITY);
    }
}

TEST(Norm, Float32Specials) {
    // -0 counts as +0; -inf as +inf.
    EXPECT_EQ(std::bit_cast<uint64_t>(rowNorm(zepiNorm_Inf_32f_C1MR, {-0.0f, -0.0f})), 0u);
    EXPECT_EQ(std::bit_cast<uint64_t>(rowNorm(zepiNorm_L1_32f_C1MR, {-0.0f, -0.0f})), 0u);
    const std::vector<float> inf = {1.0f, -INFINITY, 2.0f, 5.0f};
    for (auto f : {zepiNorm_Inf_32f_C1MR, zepiNorm_L1_32f_C1MR, zepiNorm_L2_32f_C1MR})
        EXPECT_EQ(rowNorm(f, inf), INFINITY);
    EXPECT_EQ(rowNorm(zepiNorm_L1_32f_C1MR, inf, {1, 0, 1, 0}), 3.0);
    // inf - inf is NaN; a selected NaN makes the infinity norm the quiet NaN.
    const uint8_t on[4] = {1, 1, 1, 1};
    double r = 0;
    EXPECT_EQ(zepiNormDiff_L1_32f_C1MR(inf.data(), 16, inf.data(), 16, on, 4, {4, 1}, &r), zepStsOk);
    EXPECT_TRUE(std::isnan(r));
    for (int w : {4, 40}) {
        std::vector<float> row(w, 3.0f);
        const float nan[4] = {1.0f, NAN, 7.0f, -8.0f};
        std::copy(nan, nan + 4, row.begin() + (w - 4));
        EXPECT_EQ(std::bit_cast<uint64_t>(rowNorm(zepiNorm_Inf_32f_C1MR, row)), 0x7FF8000000000000u) << w;
        // The same NaN masked off is not read into the result.
        std::vector<uint8_t> m(w, 1);
        m[w - 3] = 0;
        EXPECT_EQ(rowNorm(zepiNorm_Inf_32f_C1MR, row, m), 8.0) << w;
        EXPECT_EQ(rowNorm(zepiNorm_L2_32f_C1MR, row, m), std::sqrt(9.0 * (w - 4) + 1 + 49 + 64)) << w;
    }
    // NaNs of every sign and payload, the least of them next to +inf.
    for (const uint32_t bits : {0x7F800001u, 0xFF800001u, 0xFFFFFFFFu, 0x7FC00000u}) {
        std::vector<float> row(37, INFINITY);
        row[bits % 37] = std::bit_cast<float>(bits);
        EXPECT_EQ(std::bit_cast<uint64_t>(rowNorm(zepiNorm_Inf_32f_C1MR, row)), 0x7FF8000000000000u)
            << std::hex << bits;
    }
}

// Check order: Norm checks its source step fully before the mask step;
// NormDiff and NormRel check all three steps for size before the sources
// for multiples; the channel of interest comes after the steps.
TEST(Norm, CheckOrder) {
    for (const NormCase& c : normCases()) zt::expectStatOrder(c, c.of == NormOf::src ? 1 : 0);
}

TEST(Norm, MaskStepsHaveNoMultipleRule) {
    const uint16_t s[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const uint8_t m[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    double r = -1.0;
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
        zt::Results r;
        ASSERT_EQ(c.exported({a.data, int(a.step), b.data, int(b.step), mask.data, int(mask.step), {w, h}, coi, &r}),
                  zepStsOk)
            << c.name;
        cv::Mat ca = a, cb = b;
        if (c.channels == 3) cv::extractChannel(a, ca, coi - 1), cv::extractChannel(b, cb, coi - 1);
        const int type = c.kind == NormKind::inf ? cv::NORM_INF : c.kind == NormKind::l1 ? cv::NORM_L1 : cv::NORM_L2;
        const double ours = r.value[0];
        const double theirs = c.of == NormOf::src    ? cv::norm(ca, type, mask)
                              : c.of == NormOf::diff ? cv::norm(ca, cb, type, mask)
                                                     : cv::norm(ca, cb, type | cv::NORM_RELATIVE, mask);
        const bool exact = c.of != NormOf::rel && (depth != CV_32F || c.kind == NormKind::inf);
        const double tol = exact ? 0.0 : depth == CV_32F ? 2e-6 : 1e-14;
        EXPECT_LE(std::abs(ours - theirs), tol * std::abs(theirs)) << c.name << ": " << ours << " vs " << theirs;
    }
}

}  // namespace
