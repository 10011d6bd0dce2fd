// Accumulation: the vector path against the scalar definition, the rules of
// the arithmetic, the check order, and OpenCV's accumulate family.
#include "arith/accumulate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>

#include "support/check_order.h"

namespace {

using zep::Path;
using zep::arith::Acc;
using zt::CallArgs;
using zt::Image;

struct AccCase {
    std::string name;
    Acc op;
    bool masked;
    int srcBytes;
    zt::Caller exported, scalar;
};

// The calls take their images in argument order (sources, mask, accumulator)
// and alpha as the parameter; unmasked forms read no mask, and forms of one
// source no second one.
template <Acc Op, bool Masked, class Src>
ZepStatus callScalar(const CallArgs& a) {
    const int m = Op == Acc::product ? 2 : 1;
    return zep::arith::accumulateImage<Path::scalar, Op, Masked, Src>(
        static_cast<const Src*>(a.ptr[0]), a.step[0], static_cast<const Src*>(a.ptr[1]), a.step[1],
        static_cast<const uint8_t*>(a.ptr[m]), a.step[m], static_cast<float*>(a.ptr.back()), a.step.back(), a.roi,
        float(a.param[0]));
}

template <Acc Op, bool Masked, class Src, auto F>
AccCase accCase(const char* name) {
    return {name, Op, Masked, sizeof(Src), &zt::callWith<F>, &callScalar<Op, Masked, Src>};
}

// The 8u and 16u forms, and the 32f form, of an operation in one layout; all four forms of an operation.
#define ZT_INT(Op, Name, M, L)                                                \
    accCase<Acc::Op, M, uint8_t, zepi##Name##_8u32f_##L>(#Name "_8u32f_" #L), \
        accCase<Acc::Op, M, uint16_t, zepi##Name##_16u32f_##L>(#Name "_16u32f_" #L)
#define ZT_F(Op, Name, M, L) accCase<Acc::Op, M, float, zepi##Name##_32f_##L>(#Name "_32f_" #L)
#define ZT_ALL(Op, Name)                                                                       \
    ZT_INT(Op, Name, false, C1IR), ZT_F(Op, Name, false, C1IR), ZT_INT(Op, Name, true, C1IMR), \
        ZT_F(Op, Name, true, C1IMR)

const std::vector<AccCase>& accCases() {
    static const std::vector<AccCase> cases = {ZT_INT(add, Add, false, C1IR), ZT_INT(add, Add, true, C1IMR),
                                               ZT_F(add, Add, true, C1IMR),   ZT_ALL(square, AddSquare),
                                               ZT_ALL(product, AddProduct),   ZT_ALL(weighted, AddWeighted)};
    return cases;
}

// The images of a form in argument order, with their element sizes and step
// groups: sources, then mask and accumulator.
CallArgs formArgs(const AccCase& c, const void* src1, int s1, const void* src2, int s2, const void* mask, int ms,
                  float* acc, int as, ImageSize roi, float alpha) {
    CallArgs a{{const_cast<void*>(src1)}, {s1}, roi, {alpha}};
    if (c.op == Acc::product) a.ptr.push_back(const_cast<void*>(src2)), a.step.push_back(s2);
    if (c.masked) a.ptr.push_back(const_cast<void*>(mask)), a.step.push_back(ms);
    a.ptr.push_back(acc), a.step.push_back(as);
    return a;
}

std::vector<zt::ImageRole> formRoles(const AccCase& c) {
    std::vector<zt::ImageRole> roles = {{c.srcBytes, 1, 0}};
    if (c.op == Acc::product) roles.push_back({c.srcBytes, 1, 0});
    if (c.masked) roles.push_back({1, 1, 1});
    roles.push_back({4, 1, 1});
    return roles;
}

TEST(Accumulate, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(20171);
    const float alphas[] = {0.0f, 1.0f, 0.5f, 0.3f, -2.5f, NAN};
    for (const AccCase& c : accCases()) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 3}) {
                const Image<uint8_t> src1 = zt::makeSource(rng, c.srcBytes, 1, w, h, zt::Values::random),
                                     src2 = zt::makeSource(rng, c.srcBytes, 1, w, h, zt::Values::random),
                                     mask = zt::makeMask(rng, w, h, zt::kDensities[rng() % 5]);
                const Image<float> acc(rng, w, h);
                const float alpha = alphas[rng() % 6];
                auto on = [&](const zt::Caller& f) {
                    return [&](float* out) {
                        return f(formArgs(c, src1.data(), src1.step(), src2.data(), src2.step(), mask.data(),
                                          mask.step(), out, acc.step(), {w, h}, alpha));
                    };
                };
                ASSERT_TRUE(zt::agree(acc, on(c.exported), on(c.scalar), true))
                    << c.name << " width " << w << " height " << h << " alpha " << alpha;
            }
        }
    }
}

TEST(Accumulate, CheckOrder) {
    for (const AccCase& c : accCases()) zt::expectRoleOrder(c.name, formRoles(c), {5, 3}, c.exported, {}, {0.5});
}

TEST(Accumulate, AddWeightedNotInPlaceAgreesAndChecksItsThreeStepsTogether) {
    std::mt19937 rng(11);
    std::vector<ImageSize> sizes;
    for (int w : zt::sweepWidths()) sizes.push_back({w, 2});
    sizes.push_back({1283, 210});  // over a megabyte: streaming stores
    for (const ImageSize r : sizes) {
        Image<float> a(rng, r.width, r.height), b(rng, r.width, r.height), dst(rng, r.width, r.height);
        const float alpha = r.width % 2 ? 0.25f : 1.0f;
        auto on = [&](auto f) {
            return [&, f](float* d) { return f(a.data(), a.step(), b.data(), b.step(), d, dst.step(), r, alpha); };
        };
        ASSERT_TRUE(zt::agree(dst, on(zepiAddWeighted_32f_C1R), on(zep::arith::addWeightedImage<Path::scalar>)))
            << r.width;
    }
    zt::expectRoleOrder("AddWeighted_32f_C1R", {{4, 1, 0}, {4, 1, 0}, {4, 1, 0}}, {4, 2},
                        zt::callWith<zepiAddWeighted_32f_C1R>, {}, {0.5});
}

// Worked examples of the arithmetic.
TEST(Accumulate, MaskedOffPixelsKeepFiniteAccumulatorsButInfinityMakesNaN) {
    float acc[4] = {1.5f, -2.0f, 3.0e38f, 7.0f};
    const float keep[4] = {1.5f, -2.0f, 3.0e38f, 7.0f};
    const uint8_t zeros[4] = {0, 0, 0, 0};
    const uint8_t src8[4] = {255, 1, 2, 3};
    const uint16_t src16[4] = {65535, 1, 2, 3};
    const ImageSize roi{4, 1};
    for (const AccCase& c : accCases()) {
        if (!c.masked) continue;
        const void* src = c.srcBytes == 1 ? static_cast<const void*>(src8) : static_cast<const void*>(src16);
        const float finite[4] = {100.0f, -3.0f, 0.5f, 1.0e15f};
        if (c.srcBytes == 4) src = finite;
        std::copy(keep, keep + 4, acc);
        ASSERT_EQ(c.exported(formArgs(c, src, 16, src, 16, zeros, 4, acc, 16, roi, 0.75f)), zepStsOk);
        EXPECT_EQ(std::memcmp(acc, keep, sizeof acc), 0) << c.name;
    }
    // The mask is applied arithmetically: inf * 0 is NaN.
    const float inf[1] = {INFINITY};
    float one[1] = {2.0f};
    ASSERT_EQ(zepiAdd_32f_C1IMR(inf, 4, zeros, 1, one, 4, {1, 1}), zepStsOk);
    EXPECT_TRUE(std::isnan(one[0]));
    // acc + src * 0 with acc = -0 is +0, as the arithmetic says.
    float negZero[1] = {-0.0f};
    ASSERT_EQ(zepiAdd_8u32f_C1IMR(src8, 1, zeros, 1, negZero, 4, {1, 1}), zepStsOk);
    EXPECT_FALSE(std::signbit(negZero[0]));
}

TEST(Accumulate, RunningAverageIsDifferenceTimesAlphaPlusAccumulator) {
    // alpha 1 copies the source and alpha 0 keeps the accumulator, whenever
    // src - acc is exact (integer sources and integral accumulators here).
    std::mt19937 rng(3);
    uint8_t src[64];
    float sum[64], kept[64];
    for (int i = 0; i < 64; ++i) src[i] = uint8_t(rng()), sum[i] = kept[i] = float(int(rng() % 100000) - 50000);
    ASSERT_EQ(zepiAddWeighted_8u32f_C1IR(src, 64, sum, 256, {64, 1}, 0.0f), zepStsOk);
    EXPECT_EQ(std::memcmp(sum, kept, sizeof sum), 0);
    ASSERT_EQ(zepiAddWeighted_8u32f_C1IR(src, 64, sum, 256, {64, 1}, 1.0f), zepStsOk);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(sum[i], float(src[i]));
    // One rounding after the rounded difference: (1 - 3) * 0.1 + 3, not 0.9 * 3 + 0.1 * 1.
    float a[1] = {3.0f};
    const float s[1] = {1.0f};
    ASSERT_EQ(zepiAddWeighted_32f_C1IR(s, 4, a, 4, {1, 1}, 0.1f), zepStsOk);
    EXPECT_EQ(a[0], std::fma(-2.0f, 0.1f, 3.0f));
}

TEST(Accumulate, UnmaskedSquaresFuseMaskedSquaresRoundFirst) {
    // a * a = 1 + 2^-11 + 2^-24 rounds to 1 + 2^-11 (a tie, to even).
    const float a[1] = {1.0f + 0x1p-12f};
    const uint8_t on[1] = {1};
    float fused[1] = {-1.0f}, rounded[1] = {-1.0f};
    ASSERT_EQ(zepiAddSquare_32f_C1IR(a, 4, fused, 4, {1, 1}), zepStsOk);
    ASSERT_EQ(zepiAddSquare_32f_C1IMR(a, 4, on, 1, rounded, 4, {1, 1}), zepStsOk);
    EXPECT_EQ(fused[0], 0x1p-11f + 0x1p-24f);
    EXPECT_EQ(rounded[0], 0x1p-11f);
    float pf[1] = {-1.0f}, pr[1] = {-1.0f};
    ASSERT_EQ(zepiAddProduct_32f_C1IR(a, 4, a, 4, pf, 4, {1, 1}), zepStsOk);
    ASSERT_EQ(zepiAddProduct_32f_C1IMR(a, 4, a, 4, on, 1, pr, 4, {1, 1}), zepStsOk);
    EXPECT_EQ(pf[0], fused[0]);
    EXPECT_EQ(pr[0], rounded[0]);
}

TEST(Accumulate, StepRulesBesidesTheCheckOrder) {
    const uint16_t src[8] = {};
    const uint8_t mask[8] = {};
    float acc[8] = {};
    // A mask step one byte past the row is fine (no multiple rule); a negative step is too small.
    EXPECT_EQ(zepiAdd_16u32f_C1IMR(src, 2 * 3, mask, 3 + 1, acc, 12, {3, 1}), zepStsOk);
    EXPECT_EQ(zepiAdd_16u32f_C1IMR(src, -6, mask, 3, acc, 12, {3, 1}), zepStsBadStep);
}

// OpenCV's accumulate family on the same data, every form. Sums, and 8u
// squares and products, agree exactly; 16u and 32f squares and products may
// differ by one rounding of the largest product, where OpenCV rounds the
// product before adding; the running average is (1 - alpha) * acc + alpha *
// src there, so it agrees within one unit in the last place of the largest
// value.
TEST(AccumulatePeers, OpenCVAccumulateFamily) {
    const int w = 97, h = 13;
    cv::Mat src8(h, w, CV_8U), src16(h, w, CV_16U), src32(h, w, CV_32F), mask(h, w, CV_8U), base(h, w, CV_32F);
    cv::randu(src8, 0, 256);
    cv::randu(src16, 0, 65536);
    cv::randu(src32, -1000.0, 1000.0);
    cv::randu(mask, 0, 2);
    cv::randu(base, -1.0e4, 1.0e4);
    for (const AccCase& c : accCases()) {
        const cv::Mat& src = c.srcBytes == 1 ? src8 : c.srcBytes == 2 ? src16 : src32;
        const cv::Mat m = c.masked ? mask : cv::Mat();
        cv::Mat ours = base.clone(), theirs = base.clone();
        ASSERT_EQ(c.exported(formArgs(c, src.data, int(src.step), src.data, int(src.step), mask.data, int(mask.step),
                                      ours.ptr<float>(), int(ours.step), {w, h}, 0.2f)),
                  zepStsOk)
            << c.name;
        if (c.op == Acc::add) cv::accumulate(src, theirs, m);
        if (c.op == Acc::square) cv::accumulateSquare(src, theirs, m);
        if (c.op == Acc::product) cv::accumulateProduct(src, src, theirs, m);
        if (c.op == Acc::weighted) cv::accumulateWeighted(src, theirs, 0.2, m);
        const float top = c.srcBytes == 1 ? 255.0f : c.srcBytes == 2 ? 65535.0f : 1000.0f;
        const float largest = std::max(1.0e4f, top);
        const double tolerance = c.op == Acc::add || (c.op != Acc::weighted && c.srcBytes == 1) ? 0.0
                                 : c.op == Acc::weighted ? std::nextafter(largest, INFINITY) - largest
                                                         : double(top) * top * 0x1p-23;
        if (tolerance == 0.0)  // the same bits
            EXPECT_EQ(cv::norm(cv::Mat(h, w, CV_32S, ours.data, ours.step),
                               cv::Mat(h, w, CV_32S, theirs.data, theirs.step), cv::NORM_INF),
                      0.0)
                << c.name;
        else
            EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), tolerance) << c.name;
    }
}

}  // namespace
