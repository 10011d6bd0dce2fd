// Sobel kernels: the sign rule, the exact coefficients with the 16-bit wrap in
// both forms, argument checks, and OpenCV's getDerivKernels.
#include <gtest/gtest.h>
#include <zepcore.h>
#include <zepcv.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace {

std::vector<int> sobel16(int n, int d, int sign = 1) {
    std::vector<int16_t> k(n, 77);
    EXPECT_EQ(zepiGenSobelKernel_16s(k.data(), n, d, sign), zepStsOk);
    return {k.begin(), k.end()};
}

// The sign rule; SobelPeers.GetDerivKernels pins the coefficients of sizes 3 and up, and the next test those of
// size 1 with sign 1.
TEST(Sobel, SignFlipsTheKernelAndZeroCountsAsPositive) {
    EXPECT_EQ(sobel16(1, 0, -1), (std::vector<int>{-1}));
    EXPECT_EQ(sobel16(3, 1, -1), (std::vector<int>{1, 0, -1}));
    EXPECT_EQ(sobel16(3, 1, 0), (std::vector<int>{-1, 0, 1}));
}

// Every size and order against the exact coefficients in 64 bits, the binomial
// row differenced d times (the vector passes run from 17 and 33 coefficients
// on): the 16s form wraps them in 16 bits, the 32f form holds them exactly
// while they stay below 2^24.
TEST(Sobel, WrapAndFloatAgreement) {
    for (int n = 1; n <= 41; n += 2) {
        for (int d = 0; d < n; ++d) {
            std::vector<float> f(n);
            ASSERT_EQ(zepiGenSobelKernel_32f(f.data(), n, d, 1), zepStsOk);
            const std::vector<int> s = sobel16(n, d);
            std::vector<int64_t> e(n, 0);
            e[n - 1] = 1;
            for (int p = 0; p < n - 1; ++p)
                for (int j = 0; j < n - 1; ++j) e[j] += p < n - d - 1 ? e[j + 1] : -e[j + 1];
            for (int j = 0; j < n; ++j) {
                ASSERT_EQ(s[j], int(int16_t(uint16_t(e[j])))) << n << " " << d << " " << j;
                if (n <= 25) {
                    ASSERT_EQ(f[j], float(e[j])) << n << " " << d;
                }
            }
        }
    }
    // Size 19: the centre binomial C(18, 9) = 48620 wraps to 48620 - 65536.
    EXPECT_EQ(sobel16(19, 0)[9], 48620 - 65536);
}

TEST(Sobel, ArgumentChecksWriteNothing) {
    std::vector<int16_t> k(5, 9);
    std::vector<float> f(5, 9.0f);
    EXPECT_EQ(zepiGenSobelKernel_16s(nullptr, 4, 9, 1), zepStsNullPointer);
    EXPECT_EQ(zepiGenSobelKernel_16s(k.data(), 4, 0, 1), zepStsBadArg);
    EXPECT_EQ(zepiGenSobelKernel_16s(k.data(), 5, 5, 1), zepStsBadArg);
    EXPECT_EQ(zepiGenSobelKernel_16s(k.data(), 5, -1, 1), zepStsBadArg);
    EXPECT_EQ(zepiGenSobelKernel_16s(k.data(), 0, 0, 1), zepStsBadArg);
    EXPECT_EQ(zepiGenSobelKernel_32f(f.data(), 3, 3, 1), zepStsBadArg);
    EXPECT_EQ(k, std::vector<int16_t>(5, 9));
    EXPECT_EQ(f, std::vector<float>(5, 9.0f));
}

// OpenCV's getDerivKernels(dx, 0, ksize) returns the same factor for odd
// ksize >= 3 (unnormalised); sizes 1 and 3 with order 0 match too.
TEST(SobelPeers, GetDerivKernels) {
    for (int n : {3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31}) {
        for (int d = 0; d < std::min(n, 4); ++d) {
            cv::Mat kx, ky;
            cv::getDerivKernels(kx, ky, d, d == 0 ? 1 : 0, n, false, CV_32F);
            std::vector<float> f(n);
            ASSERT_EQ(zepiGenSobelKernel_32f(f.data(), n, d, 1), zepStsOk);
            // Exact while the coefficients stay below 2^24; beyond, OpenCV rounds its
            // integer result once, while the passes here round in single precision.
            for (int j = 0; j < n; ++j) {
                if (n <= 25) {
                    ASSERT_EQ(f[j], kx.at<float>(j)) << n << " " << d;
                } else {
                    ASSERT_NEAR(f[j], kx.at<float>(j), 1e-6 * std::fabs(kx.at<float>(j)) + 1) << n << " " << d;
                }
            }
        }
    }
}

TEST(CoreLibrary, CacheSize) {
    int32_t size = -1;
    EXPECT_EQ(zepGetMaxCacheSizeB(nullptr), zepcoreStsNullPointer);
    EXPECT_EQ(zepGetMaxCacheSizeB(&size), zepcoreStsOk);
    EXPECT_GE(size, 16 * 1024);  // every x86-64 processor with AVX-512 has at least this much
    int32_t again = 0;
    zepGetMaxCacheSizeB(&again);
    EXPECT_EQ(size, again);
}

}  // namespace
