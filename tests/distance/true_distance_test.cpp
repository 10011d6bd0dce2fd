// Exact Euclidean transform: vector against scalar path, exhaustive search on
// small images, the buffer size and its use, the check order, and
// cv::distanceTransform with DIST_MASK_PRECISE.
#include "distance/true_distance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <random>

#include "support/check_order.h"

namespace {

using zt::Image;

void sprinkle(std::mt19937& rng, Image<uint8_t>& img, unsigned perMille) {
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x) img.at(y)[x] = rng() % 1000 < perMille ? 0 : uint8_t(1 + rng() % 255);
}

// The vector path against the scalar path on one image, each with a work
// buffer of exactly the reported size, misaligned, guarded on both sides.
void expectPathsAgree(std::mt19937& rng, const Image<uint8_t>& src, const Image<float>& dst) {
    const int w = src.width, h = src.height;
    const int n = zt::queried(zepiTrueDistanceTransformGetBufferSize_8u32f_C1R, ImageSize{w, h});
    const zt::Canvas buffer = zt::bufferOf(n, rng() % 64), refBuffer = zt::bufferOf(n, rng() % 64);
    const auto before = buffer.bytes();
    ASSERT_TRUE(zt::agree(
        dst,
        [&](float* d) {
            return zepiTrueDistanceTransform_8u32f_C1R(src.data(), src.step(), d, dst.step(), {w, h}, buffer.first());
        },
        [&](float* d) {
            return zep::distance::trueDistanceImage<zep::Path::scalar>(src.data(), src.step(), d, dst.step(), {w, h},
                                                                       refBuffer.first());
        }))
        << w << "x" << h;
    ASSERT_EQ(zt::firstGuardChange(buffer, before), -1) << w << "x" << h;
}

TEST(TrueDistanceTransform, VectorPathAgreesWithScalarPathAndSearch) {
    std::mt19937 rng(33);
    for (int w : zt::sweepWidths()) {
        for (int h : {1, 2, 7, 33}) {
            Image<uint8_t> src(rng, w, h);
            sprinkle(rng, src, std::vector<unsigned>{0, 2, 30, 400}[rng() % 4]);
            const Image<float> dst(rng, w, h);
            expectPathsAgree(rng, src, dst);
            if (w > 70 && h > 7) continue;
            // Exhaustive search: the square root of the least squared distance, or +inf without zeros.
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    int64_t best = -1;
                    for (int v = 0; v < h; ++v)
                        for (int u = 0; u < w; ++u)
                            if (src.at(v)[u] == 0) {
                                const int64_t d = int64_t(x - u) * (x - u) + int64_t(y - v) * (y - v);
                                if (best < 0 || d < best) best = d;
                            }
                    const float want = best < 0 ? INFINITY : std::sqrt(float(best));
                    ASSERT_EQ(dst.at(y)[x], want) << w << "x" << h << " at " << x << "," << y;
                }
        }
    }
}

// Sixteen-column strips keep their stacks in the buffer; where a column's
// envelope keeps every row (a zero column at the left makes g constant down
// each column) the stacks outgrow it and the strip is redone eight columns at
// a time. Both, side by side in one image, must give the scalar result.
TEST(TrueDistanceTransform, WideStripsAndDeepEnvelopesAgreeWithScalarPath) {
    std::mt19937 rng(91);
    const std::vector<std::pair<int, int>> sizes = {{640, 360}, {37, 301}, {301, 300}, {33, 517},
                                                    {517, 33},  {1000, 1}, {1, 1000},  {129, 65}};
    for (auto [w, h] : sizes) {
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image<uint8_t> src(rng, w, h);
            sprinkle(rng, src, pattern == 3 ? 0 : 5);
            // 1: zeros down the left column only for the left half; 2: everywhere in column 0.
            for (int y = 0; y < h && pattern >= 1 && pattern <= 2; ++y) {
                for (int x = 0; x < (pattern == 1 ? w / 2 : w); ++x) src.at(y)[x] = 7;
                src.at(y)[0] = 0;
            }
            expectPathsAgree(rng, src, Image<float>(rng, w, h));
        }
    }
}

TEST(TrueDistanceTransform, BufferSizeAndCheckOrder) {
    const auto size = zepiTrueDistanceTransformGetBufferSize_8u32f_C1R;
    EXPECT_EQ(zt::queried(size, ImageSize{5, 3}), 8 * 24 + 56);
    EXPECT_EQ(zt::queried(size, ImageSize{1, 1}), 4 * 24 + 56);
    EXPECT_EQ(zt::queried(size, ImageSize{7, 1001}), 1004 * 24 + 56);
    int n = -1;
    EXPECT_EQ(size({0, 3}, nullptr), zepStsNullPointer);
    EXPECT_EQ(size({0, 3}, &n), zepStsBadSize);
    EXPECT_EQ(size({3, -1}, &n), zepStsBadSize);
    EXPECT_EQ(n, -1);
    // The largest side whose size fits an int, and past it: refused, nothing
    // written, and the transform refuses the same image before touching it.
    EXPECT_EQ(zt::queried(size, ImageSize{89478480, 1}), 89478480 * 24 + 56);
    for (const ImageSize big : {ImageSize{89478481, 1}, ImageSize{1, 178956971}, ImageSize{INT32_MAX, INT32_MAX}}) {
        EXPECT_EQ(size(big, &n), zepStsSizeOverflow);
        EXPECT_EQ(n, -1);
    }
    uint8_t pixel = 1;
    float out = 0.0f, scratch[16];
    EXPECT_EQ(zepiTrueDistanceTransform_8u32f_C1R(&pixel, 178956971, &out, 715827884, {178956971, 1},
                                                  reinterpret_cast<uint8_t*>(scratch)),
              zepStsSizeOverflow);
    // Source and destination null, buffer null, then the standard order.
    const zt::RoleImages img({{1, 1, 0}, {4, 1, 0}}, {5, 3});
    const zt::Canvas buffer = zt::bufferOf(8 * 24 + 56);
    zt::CallArgs valid = img.valid;
    valid.ptr.push_back(buffer.first());
    auto b = zt::standardBreakers({{1, 1, 0}, {4, 1, 0}}, {5, 3});
    b.insert(b.begin() + 2, {"null buffer", 2, [](zt::CallArgs& a) { a.ptr[2] = nullptr; }, zepStsNullPointer});
    zt::expectOrder("TrueDistanceTransform", valid, zt::callWith<zepiTrueDistanceTransform_8u32f_C1R>, b,
                    {img.canvases[0], img.canvases[1], &buffer});
}

// Peer: cv::distanceTransform with DIST_L2 and DIST_MASK_PRECISE is an exact
// transform too; it evaluates the envelope in floating point and its square
// root in another precision, so results may differ in the last bits.
TEST(TrueDistanceTransform, AgreesWithOpenCVPrecise) {
    cv::Mat src(97, 130, CV_8U);
    cv::randu(src, 0, 256);
    src.setTo(9, src > 1);
    cv::Mat d(src.size(), CV_32F), ref;
    std::vector<uint8_t> buf(
        size_t(zt::queried(zepiTrueDistanceTransformGetBufferSize_8u32f_C1R, ImageSize{130, 97})));
    ASSERT_EQ(zepiTrueDistanceTransform_8u32f_C1R(src.data, 130, d.ptr<float>(), int(d.step), {130, 97}, buf.data()),
              zepStsOk);
    cv::distanceTransform(src, ref, cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F);
    EXPECT_LT(cv::norm(d, ref, cv::NORM_INF), 1e-4);
}

}  // namespace
