// Chamfer transforms: vector against scalar rule, worked examples
// (saturation, the a > b replacement), standard costs, the check order, and
// cv::distanceTransform (chessboard, city block, L2).
#include "distance/distance_transform.h"

#include <gtest/gtest.h>

#include <array>
#include <cfloat>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>

#include "support/check_order.h"

namespace {

using zep::Path;
using zt::Image;

// The calls take the source, the destination and the costs as pointers; the
// in-place forms read the destination only.
struct Case {
    std::string name;
    int mask, dstBytes;
    bool inPlace;
    zt::Caller exported, scalar;
};

template <class D, int M, auto F>
Case make(const char* name) {
    using C = std::conditional_t<std::is_same_v<D, float>, float, int32_t>;
    return Case(name, M, sizeof(D), false, zt::callWith<F>,
                zt::callWith<zep::distance::chamferImage<Path::scalar, D, M, C>>);
}

template <int M, auto F>
Case makeInPlace(const char* name) {
    Case c = make<uint8_t, M, zepiDistanceTransform_3x3_8u_C1R>(name);
    c.inPlace = true;
    c.exported = [](const zt::CallArgs& a) {
        return F(static_cast<uint8_t*>(a.ptr[1]), a.step[1], a.roi, static_cast<const int32_t*>(a.ptr[2]));
    };
    return c;
}

const std::vector<Case>& cases() {
    static const std::vector<Case> c = {
        make<uint8_t, 3, zepiDistanceTransform_3x3_8u_C1R>("3x3_8u"),
        make<uint16_t, 3, zepiDistanceTransform_3x3_8u16u_C1R>("3x3_8u16u"),
        make<float, 3, zepiDistanceTransform_3x3_8u32f_C1R>("3x3_8u32f"),
        make<uint8_t, 5, zepiDistanceTransform_5x5_8u_C1R>("5x5_8u"),
        make<uint16_t, 5, zepiDistanceTransform_5x5_8u16u_C1R>("5x5_8u16u"),
        make<float, 5, zepiDistanceTransform_5x5_8u32f_C1R>("5x5_8u32f"),
        makeInPlace<3, zepiDistanceTransform_3x3_8u_C1IR>("3x3_8u_C1IR"),
        makeInPlace<5, zepiDistanceTransform_5x5_8u_C1IR>("5x5_8u_C1IR"),
    };
    return c;
}

// Costs in the case's type.
std::vector<uint8_t> pack(const Case& c, std::array<double, 3> k) {
    std::vector<uint8_t> out(12);
    for (int i = 0; i < 3; ++i)
        if (c.dstBytes == 4)
            reinterpret_cast<float*>(out.data())[i] = float(k[i]);
        else
            reinterpret_cast<int32_t*>(out.data())[i] = int32_t(k[i]);
    return out;
}

// The Euclidean standard costs, or a > b.
std::vector<uint8_t> costs(const Case& c, int pick) {
    const std::array<double, 3> f[3] = {{0.955f, 1.3693f, 2.1969f}, {3.5, 2.25, 4.0}, {1.0, 1.4f, 2.1969f}};
    const std::array<double, 3> i[3] = {{2, 3, 4}, {7, 5, 11}, {1, 300, 100000}};
    return pack(c, c.dstBytes == 4 ? f[pick] : i[pick]);
}

// One case on a whole cv::Mat with costs k; the result as doubles.
cv::Mat run(const Case& c, const cv::Mat& src, std::array<double, 3> k) {
    cv::Mat dst(src.size(), c.dstBytes == 1 ? CV_8U : c.dstBytes == 2 ? CV_16U : CV_32F), out;
    if (c.inPlace) src.copyTo(dst);
    std::vector<uint8_t> costs = pack(c, k);
    EXPECT_EQ(
        c.exported({{src.data, dst.data, costs.data()}, {int(src.step), int(dst.step)}, {src.cols, src.rows}, {}}),
        zepStsOk)
        << c.name;
    dst.convertTo(out, CV_64F);
    return out;
}

// Random sources with a chosen share of zero pixels (none, sparse, dense).
void sprinkle(std::mt19937& rng, Image<uint8_t>& img, int density) {
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            img.at(y)[x] = density > 0 && rng() % 1000 < unsigned(density) ? 0 : uint8_t(1 + rng() % 255);
}

TEST(DistanceTransform, VectorPathAgreesWithScalarDefinition) {
    std::mt19937 rng(91);
    for (const Case& c : cases()) {
        for (int w : zt::sweepWidths()) {
            for (int h : {1, 2, 5, 40}) {
                Image<uint8_t> src(rng, w, h);
                sprinkle(rng, src, int(std::vector<int>{0, 3, 40, 300}[rng() % 4]));
                Image<uint8_t> dst(rng, w * c.dstBytes, h, 1, false, c.dstBytes);
                if (c.inPlace)
                    for (int y = 0; y < h; ++y) std::memcpy(dst.at(y), src.at(y), w);
                const auto k = costs(c, int(rng() % 3));
                auto on = [&](const zt::Caller& f) {
                    return [&](uint8_t* d) {
                        return f({{src.data(), d, (void*)k.data()}, {src.step(), dst.step()}, {w, h}, {}});
                    };
                };
                ASSERT_TRUE(zt::agree(dst, on(c.exported), on(c.scalar)))
                    << c.name << " width " << w << " height " << h;
            }
        }
    }
}

TEST(DistanceTransform, CheckOrder) {
    const ImageSize roi{5, 3};
    for (const Case& c : cases()) {
        const zt::RoleImages img({{1, 1, 0}, {c.dstBytes, 1, 0}}, roi);
        std::vector<uint8_t> k = costs(c, 0);
        zt::CallArgs valid = img.valid;
        valid.ptr.push_back(k.data());
        std::vector<zt::Breaker> b = zt::standardBreakers({{1, 1, 0}, {c.dstBytes, 1, 0}}, roi);
        if (c.inPlace)  // one image: its pointer and step stand for both
            std::erase_if(b, [](const zt::Breaker& x) { return x.what.back() == '0'; });
        const auto firstSize =
            std::find_if(b.begin(), b.end(), [](const zt::Breaker& x) { return x.what == "zero width"; });
        b.insert(firstSize, zt::nullBreaker(2));
        // A cost below 1 (integers) or not above 0 (floats), in each position.
        std::vector<std::vector<uint8_t>> bad(c.mask == 3 ? 2 : 3);
        for (size_t i = 0; i < bad.size(); ++i) {
            std::array<double, 3> spoilt = c.dstBytes == 4 ? std::array{1.0, 1.4, 2.2} : std::array{2.0, 3.0, 4.0};
            spoilt[i] = c.dstBytes == 4 && i == 1 ? NAN : 0.0;
            bad[i] = pack(c, spoilt);
            b.push_back({"bad cost " + std::to_string(i), 50,
                         [&bad, i](zt::CallArgs& a) { a.ptr[2] = bad[i].data(); }, zepStsBadMetric});
        }
        zt::expectOrder(c.name, valid, c.exported, b, {img.canvases[1]});
    }
}

TEST(DistanceTransform, SaturationNoZerosAndAllZeros) {
    // A 1 x 400 row with one zero at the left: costs (1, 1) count up and stop at 255 in 8u.
    cv::Mat row(1, 400, CV_8U, cv::Scalar(1));
    row.at<uint8_t>(0, 0) = 0;
    for (const Case& c : cases()) {
        const double largest = c.dstBytes == 1 ? 255 : c.dstBytes == 2 ? 65535 : FLT_MAX;
        if (c.mask == 3) {
            const cv::Mat d = run(c, row, {1, 1, 1});
            for (int x = 0; x < 400; ++x) EXPECT_EQ(d.at<double>(0, x), std::min<double>(x, largest)) << c.name;
        }
        // No zero at all: the largest value; all zeros: zeros.
        EXPECT_EQ(cv::norm(run(c, cv::Mat(5, 6, CV_8U, cv::Scalar(7)), {1, 1, 2}) - largest, cv::NORM_INF), 0.0);
        EXPECT_EQ(cv::norm(run(c, cv::Mat(5, 6, CV_8U, cv::Scalar(0)), {1, 1, 2}), cv::NORM_INF), 0.0);
    }
}

TEST(DistanceTransform, OrthogonalCostAboveDiagonalIsReplacedFromTwoByTwo) {
    // (3, 2) acts as (2, 2) on a 2-row image, but a 1-row image keeps a = 3.
    std::vector<uint8_t> src = {0, 1, 1, 1, 1, 1, 1, 1}, d(8), e(8);
    const int32_t k32[2] = {3, 2}, k22[2] = {2, 2};
    ASSERT_EQ(zepiDistanceTransform_3x3_8u_C1R(src.data(), 4, d.data(), 4, {4, 2}, k32), zepStsOk);
    ASSERT_EQ(zepiDistanceTransform_3x3_8u_C1R(src.data(), 4, e.data(), 4, {4, 2}, k22), zepStsOk);
    EXPECT_EQ(d, e);
    EXPECT_EQ(d[1], 2);
    ASSERT_EQ(zepiDistanceTransform_3x3_8u_C1R(src.data(), 8, d.data(), 8, {8, 1}, k32), zepStsOk);
    for (int x = 0; x < 4; ++x) EXPECT_EQ(d[x], 3 * x);
}

TEST(DistanceTransform, StandardCostTables) {
    float f[3];
    int32_t i[3];
    ASSERT_EQ(zepiGetDistanceTransformMask_32f(3, 2, f), zepStsOk);
    EXPECT_EQ(std::vector<float>(f, f + 2), (std::vector<float>{0.955f, 1.3693f}));
    ASSERT_EQ(zepiGetDistanceTransformMask_32s(5, 2, i), zepStsOk);
    EXPECT_EQ(std::vector<int32_t>(i, i + 3), (std::vector<int32_t>{5, 7, 11}));
    ASSERT_EQ(zepiGetDistanceTransformMask(52, f), zepStsOk);
    EXPECT_EQ(std::vector<float>(f, f + 3), (std::vector<float>{1.0f, 1.4f, 2.1969f}));
    ASSERT_EQ(zepiGetDistanceTransformMask(31, f), zepStsOk);
    EXPECT_EQ(f[1], 2.0f);
    EXPECT_EQ(zepiGetDistanceTransformMask(33, f), zepStsBadArg);
    EXPECT_EQ(zepiGetDistanceTransformMask(33, nullptr), zepStsBadArg);  // the remainder is checked first
    EXPECT_EQ(zepiGetDistanceTransformMask(42, f), zepStsBadSize);
    EXPECT_EQ(zepiGetDistanceTransformMask(30, nullptr), zepStsNullPointer);
    // Null, then kernel size, then norm; nothing written on an error.
    EXPECT_EQ(zepiGetDistanceTransformMask_32f(4, 7, nullptr), zepStsNullPointer);
    EXPECT_EQ(zepiGetDistanceTransformMask_32s(4, 7, nullptr), zepStsNullPointer);
    i[0] = -1;
    EXPECT_EQ(zepiGetDistanceTransformMask_32s(4, 7, i), zepStsBadSize);
    EXPECT_EQ(zepiGetDistanceTransformMask_32s(5, 3, i), zepStsBadArg);
    EXPECT_EQ(zepiGetDistanceTransformMask_32f(3, -1, f), zepStsBadArg);
    EXPECT_EQ(i[0], -1);
}

// Peer: cv::distanceTransform. DIST_C and DIST_L1 are the exact chessboard and
// city-block transforms, which every form gives with the costs (1, 1, 2) and
// (1, 2, 3), on an image of three zero pixels (long distances) and a random
// one. DIST_L2 with mask 3 uses the costs (0.955, 1.3693) in fixed point with
// 16 fraction bits, so its sums differ from single-precision sums in the last
// bits. OpenCV sees no zero pixel as a special image; those are not compared.
TEST(DistanceTransform, AgreesWithOpenCV) {
    cv::Mat sparse(23, 37, CV_8U, cv::Scalar(9)), random(60, 81, CV_8U);
    sparse.at<uint8_t>(4, 5) = sparse.at<uint8_t>(20, 30) = sparse.at<uint8_t>(11, 36) = 0;
    cv::randu(random, 0, 256);
    random.setTo(7, random > 3);
    random.setTo(0, random <= 3);
    for (const cv::Mat& src : {sparse, random}) {
        cv::Mat board, city, l2;
        cv::distanceTransform(src, board, cv::DIST_C, 3, CV_32F);
        cv::distanceTransform(src, city, cv::DIST_L1, 3, CV_32F);
        cv::distanceTransform(src, l2, cv::DIST_L2, 3, CV_32F);
        for (cv::Mat* m : {&board, &city, &l2}) m->convertTo(*m, CV_64F);
        for (const Case& c : cases()) {
            EXPECT_EQ(cv::norm(run(c, src, {1, 1, 2}), board, cv::NORM_INF), 0.0) << c.name;
            EXPECT_EQ(cv::norm(run(c, src, {1, 2, 3}), city, cv::NORM_INF), 0.0) << c.name;
        }
        EXPECT_LT(cv::norm(run(cases()[2], src, {0.955f, 1.3693f, 0}), l2, cv::NORM_INF), 1e-3);
    }
}

}  // namespace
