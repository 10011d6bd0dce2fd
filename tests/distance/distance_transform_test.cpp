// Distance transforms: entries with their rules (the chamfer scans plainly, the
// exact transform by search), deep envelopes, and OpenCV as a peer.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "support/registry.h"

namespace {

using zt::CallArgs;
using zt::Entry;

template <class T>
T& at(const CallArgs& a, int i, int r, int c) {
    return zt::rowOf<T>(a, i, r)[c];
}

// The call with its last pointer, a marker (null when broken), replaced by p.
template <auto F>
ZepStatus withLast(CallArgs a, void* p) {
    a.ptr.back() = a.ptr.back() ? p : nullptr;
    return zt::callWith<F>(a);
}

// Zero pixels start at 0, the others at the largest value. A forward scan
// (rows down, left to right), then a backward scan (mirrored) lower every
// pixel to a visited neighbour plus its step cost: orthogonal a, diagonal b,
// knight c (5x5); integer sums saturate. a > b acts as b from 2 x 2 on.
template <class D, int M, bool InPlace>
ZepStatus chamferRule(const CallArgs& a) {
    using C = std::conditional_t<std::is_same_v<D, float>, float, int32_t>;
    static const int steps[8][3] = {{-1, 0, 0},  {-1, -1, 1}, {0, -1, 0}, {1, -1, 1},
                                    {-2, -1, 2}, {-1, -2, 2}, {1, -2, 2}, {2, -1, 2}};
    const int w = a.roi.width, h = a.roi.height, o = InPlace ? 0 : 1;
    const D top = std::is_same_v<D, float> ? D(FLT_MAX) : std::numeric_limits<D>::max();
    C k[3] = {C(a.param[0]), C(a.param[1]), C(a.param[2])};
    if (k[0] > k[1] && w >= 2 && h >= 2) k[0] = k[1];
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) at<D>(a, o, y, x) = at<uint8_t>(a, 0, y, x) ? top : D(0);
    for (int s : {1, -1})
        for (int i = 0; i < w * h; ++i) {
            const int y = s > 0 ? i / w : h - 1 - i / w, x = s > 0 ? i % w : w - 1 - i % w;
            for (int n = 0; n < (M == 3 ? 4 : 8); ++n) {
                const int u = x + s * steps[n][0], v = y + s * steps[n][1];
                if (u < 0 || u >= w || v < 0 || v >= h) continue;
                const D d = std::is_same_v<D, float>
                                ? D(at<D>(a, o, v, u) + k[steps[n][2]])
                                : D(std::min<int64_t>(int64_t(at<D>(a, o, v, u)) + k[steps[n][2]], top));
                at<D>(a, o, y, x) = std::min(at<D>(a, o, y, x), d);
            }
        }
    return zepStsOk;
}

// The square root (in float) of the least squared distance to a zero pixel,
// +inf without one, over the columns that have zeros: g is each pixel's
// squared distance to the nearest zero of its column, above or below.
ZepStatus exactRule(const CallArgs& a) {
    const int w = a.roi.width, h = a.roi.height;
    std::vector<int64_t> g(size_t(w) * h, INT64_MAX);
    for (int u = 0; u < w; ++u)
        for (int s : {1, -1})
            for (int i = 0, z = -1; i < h; ++i) {
                const int y = s > 0 ? i : h - 1 - i;
                z = at<uint8_t>(a, 0, y, u) == 0 ? y : z;
                if (z >= 0) g[size_t(y) * w + u] = std::min<int64_t>(g[size_t(y) * w + u], int64_t(y - z) * (y - z));
            }
    for (int y = 0; y < h; ++y) {
        std::vector<int> zeros;
        for (int u = 0; u < w; ++u)
            if (g[size_t(y) * w + u] < INT64_MAX) zeros.push_back(u);
        for (int x = 0; x < w; ++x) {
            int64_t best = INT64_MAX;
            for (int u : zeros) best = std::min(best, int64_t(x - u) * (x - u) + g[size_t(y) * w + u]);
            at<float>(a, 1, y, x) = best == INT64_MAX ? INFINITY : std::sqrt(float(best));
        }
    }
    return zepStsOk;
}

// Standard costs for kernel 3 or 5 and norm 0, 1 or 2 (or their code 10 x
// kernel + norm).
template <class C>
ZepStatus costsRule(const CallArgs& a) {
    const int k = a.param.size() == 1 ? zt::parameterAs<int>(a.param[0]) / 10 : zt::parameterAs<int>(a.param[0]),
              n = int(a.param.back()) % 10;
    const float f[2][3][3] = {{{1, 1}, {1, 2}, {0.955f, 1.3693f}}, {{1, 1, 2}, {1, 2, 3}, {1, 1.4f, 2.1969f}}};
    const int32_t i[2][3][3] = {{{1, 1}, {1, 2}, {2, 3}}, {{1, 1, 2}, {1, 2, 3}, {5, 7, 11}}};
    for (int j = 0; j <= k / 2; ++j)
        at<C>(a, 0, 0, j) = std::is_same_v<C, float> ? C(f[k / 5][n][j]) : C(i[k / 5][n][j]);
    return zepStsOk;
}

// Costs drawn per call (now and then large enough to saturate), passed
// through the marker; a cost below 1 (not above 0 for 32f) in any position
// is checked after the steps.
template <auto F, class D, int M, bool InPlace = false>
Entry chamfer(const char* name) {
    using C = std::conditional_t<std::is_same_v<D, float>, float, int32_t>;
    std::vector<zt::ImageRole> args = {zt::input(1), zt::output(sizeof(D), 1, 0), {1, 1, -1, 0, false, 1}};
    if (InPlace) args.erase(args.begin());
    Entry e{name, args,
            [](const CallArgs& a) {
                const C k[3] = {zt::parameterAs<C>(a.param[0]), zt::parameterAs<C>(a.param[1]),
                                zt::parameterAs<C>(a.param[2])};
                return withLast<F>(a, (void*)k);
            },
            chamferRule<D, M, InPlace>};
    e.nans = zt::NaNs::exact;  // none made; 8u and 16u outputs are no floats
    e.params = [](std::mt19937& rng, ImageSize) {
        std::vector<double> k(3);
        for (double& c : k)
            c = std::is_same_v<C, float> ? (1 + rng() % 1000) / 64.0 : 1 + rng() % (rng() % 4 ? 9 : 99999);
        return k;
    };
    e.checks = [](std::vector<zt::Breaker>& b) {
        const double bad[3] = {0, std::is_same_v<C, float> ? NAN : -1, 0};
        for (int i = 0; i < M / 2 + 1; ++i)
            b.push_back({"bad cost", 50, [i, bad](CallArgs& a) { a.param[i] = bad[i]; }, zepStsBadMetric});
    };
    for (int w : zt::sweepWidths())
        for (int h : {1, 2, 5, 40}) e.sizes.push_back({w, h});
    return e;
}

// Kernel and norm (or their code) from the width of sizes 1 to 6.
template <auto F, class C, bool Code>
Entry costTable(const char* name) {
    Entry e{name, {zt::result(12)}, zt::callWith<F>, costsRule<C>};
    e.params = [](std::mt19937&, ImageSize roi) {
        const double k = roi.width > 3 ? 5 : 3, n = (roi.width - 1) % 3;
        return Code ? std::vector<double>{10 * k + n} : std::vector<double>{k, n};
    };
    e.sizes = {{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}};
    // The pointer, then the kernel, then the norm; the code's remainder first.
    e.checks = [](std::vector<zt::Breaker>& b) {
        b.resize(1);
        if (Code) b.insert(b.begin(), {"remainder 3", 9, [](CallArgs& a) { a.param[0] = 33; }, zepStsBadArg});
        b.push_back({"kernel 4", 9, [](CallArgs& a) { a.param[0] = Code ? 42 : 4; }, zepStsBadSize});
        if (!Code) b.push_back({"norm 3", 10, [](CallArgs& a) { a.param[1] = 3; }, zepStsBadArg});
    };
    return e;
}

// The buffer of the queried size, misaligned and guarded: the call must
// write nothing around it.
ZepStatus exactCall(const CallArgs& a) {
    int n = 64;
    zepiTrueDistanceTransformGetBufferSize_8u32f_C1R(a.roi, &n);
    const zt::Canvas buffer = zt::bufferOf(n, 1 + a.roi.width % 63);
    const std::vector<uint8_t> before = buffer.bytes();
    const ZepStatus s = withLast<zepiTrueDistanceTransform_8u32f_C1R>(a, buffer.first());
    return zt::firstGuardChange(buffer, before) < 0 ? s : ZepStatus(-1);  // not a library status
}

const bool enrolled = zt::enrol({
    chamfer<zepiDistanceTransform_3x3_8u_C1R, uint8_t, 3>("zepiDistanceTransform_3x3_8u_C1R"),
    chamfer<zepiDistanceTransform_3x3_8u_C1IR, uint8_t, 3, true>("zepiDistanceTransform_3x3_8u_C1IR"),
    chamfer<zepiDistanceTransform_3x3_8u16u_C1R, uint16_t, 3>("zepiDistanceTransform_3x3_8u16u_C1R"),
    chamfer<zepiDistanceTransform_3x3_8u32f_C1R, float, 3>("zepiDistanceTransform_3x3_8u32f_C1R"),
    chamfer<zepiDistanceTransform_5x5_8u_C1R, uint8_t, 5>("zepiDistanceTransform_5x5_8u_C1R"),
    chamfer<zepiDistanceTransform_5x5_8u_C1IR, uint8_t, 5, true>("zepiDistanceTransform_5x5_8u_C1IR"),
    chamfer<zepiDistanceTransform_5x5_8u16u_C1R, uint16_t, 5>("zepiDistanceTransform_5x5_8u16u_C1R"),
    chamfer<zepiDistanceTransform_5x5_8u32f_C1R, float, 5>("zepiDistanceTransform_5x5_8u32f_C1R"),
    costTable<zepiGetDistanceTransformMask_32f, float, false>("zepiGetDistanceTransformMask_32f"),
    costTable<zepiGetDistanceTransformMask_32s, int32_t, false>("zepiGetDistanceTransformMask_32s"),
    costTable<zepiGetDistanceTransformMask, float, true>("zepiGetDistanceTransformMask"),
    // Sides rounded up to 4, the larger times 24, plus 56; refused past 2^31 - 1 (at INT32_MAX too, where 32 bits
    // would wrap), with nothing written.
    Entry{"zepiTrueDistanceTransformGetBufferSize_8u32f_C1R",
          {zt::result(4)},
          zt::callWith<zepiTrueDistanceTransformGetBufferSize_8u32f_C1R>,
          [](const CallArgs& a) {
              const int64_t n = (std::max<int64_t>(a.roi.width, a.roi.height) + 3) / 4 * 96 + 56;
              return n > INT32_MAX ? zepStsSizeOverflow : (at<int>(a, 0, 0, 0) = int(n), zepStsOk);
          },
          {},
          {},
          {},
          zt::NaNs::exact,
          {{5, 3}, {1, 1}, {7, 1001}, {89478480, 1}, {89478481, 1}, {1, 178956971}, {INT32_MAX, INT32_MAX}}},
    [] {
        Entry e{"zepiTrueDistanceTransform_8u32f_C1R",
                {zt::input(1), zt::output(4, 1, 0), {1, 1, -1, 0, false, 1}},
                exactCall,
                exactRule};
        for (int w : zt::sweepWidths())
            for (int h : {1, 3, 7, 33}) e.sizes.push_back({w, h});
        return e;
    }(),
});

// Stacks outgrow the buffer where a zero column at the left keeps every row
// on each column's envelope, and the strip is redone narrower; both meet in
// one image, wide or tall, on the paths for sides above 16383 and 32767 too.
// An image whose buffer size is refused is refused.
TEST(DistanceRules, DeepEnvelopesAndLargeImages) {
    uint8_t pixel = 1, scratch[64];
    float out = 0.0f;
    EXPECT_EQ(zepiTrueDistanceTransform_8u32f_C1R(&pixel, 178956971, &out, 715827884, {178956971, 1}, scratch),
              zepStsSizeOverflow);
    std::mt19937 rng(91);
    for (const ImageSize roi :
         {ImageSize{640, 360}, ImageSize{37, 301}, ImageSize{301, 300}, ImageSize{33, 517}, ImageSize{517, 33},
          ImageSize{16400, 3}, ImageSize{3, 16400}, ImageSize{32800, 2}, ImageSize{1, 32800}})
        for (int pattern = 0; pattern < 4; ++pattern) {  // zeros: sprinkled; left column and right half; left; none
            std::vector<uint8_t> src(size_t(roi.width) * roi.height, 7);
            std::vector<float> ours(src.size()), want(src.size());
            for (size_t i = 0; i < src.size(); ++i)
                if ((i % roi.width == 0 && pattern % 3) ||
                    (pattern < 2 && int(i % roi.width) >= roi.width / 2 * pattern && rng() % 200 == 0))
                    src[i] = 0;
            CallArgs a{{src.data(), ours.data(), src.data()}, {roi.width, 4 * roi.width, zt::kNoStep}, roi, {}};
            ASSERT_EQ(exactCall(a), zepStsOk);
            a.ptr[1] = want.data();
            exactRule(a);
            ASSERT_EQ(ours, want) << roi.width << "x" << roi.height << " pattern " << pattern;
        }
}

// Peers: cv::distanceTransform. DIST_C and DIST_L1 are the exact chessboard
// and city-block transforms, the costs (1, 1, 2) and (1, 2, 3). DIST_L2 with
// mask 3 takes (0.955, 1.3693) in fixed point with 16 fraction bits, and
// DIST_MASK_PRECISE finds its envelope and root in other precisions: both
// differ in the last bits. An image without zeros is its special case.
TEST(DistancePeers, OpenCVDistanceTransform) {
    cv::Mat sparse(23, 37, CV_8U, cv::Scalar(9)), random(60, 81, CV_8U), ours, theirs;
    sparse.at<uint8_t>(4, 5) = sparse.at<uint8_t>(20, 30) = sparse.at<uint8_t>(11, 36) = 0;
    cv::randu(random, 0, 256);
    random.setTo(7, random > 3);
    const float k[3][3] = {{1, 1, 2}, {1, 2, 3}, {0.955f, 1.3693f, 1}};
    for (cv::Mat src : {sparse, random}) {
        ours.create(src.size(), CV_32F);
        const int st = int(src.step), dt = int(ours.step),
                  type[4] = {cv::DIST_C, cv::DIST_L1, cv::DIST_L2, cv::DIST_L2};
        for (int m = 0; m < 6; ++m) {  // 3x3 C, L1, L2; exact; 5x5 C, L1
            cv::distanceTransform(src, theirs, type[m % 4], m == 3 ? cv::DIST_MASK_PRECISE : 3, CV_32F);
            std::vector<uint8_t> buffer(size_t(src.cols + src.rows) * 24 + 56);
            ASSERT_EQ(m == 3   ? zepiTrueDistanceTransform_8u32f_C1R(src.data, st, ours.ptr<float>(), dt,
                                                                     {src.cols, src.rows}, buffer.data())
                      : m >= 4 ? zepiDistanceTransform_5x5_8u32f_C1R(src.data, st, ours.ptr<float>(), dt,
                                                                     {src.cols, src.rows}, k[m - 4])
                               : zepiDistanceTransform_3x3_8u32f_C1R(src.data, st, ours.ptr<float>(), dt,
                                                                     {src.cols, src.rows}, k[m]),
                      zepStsOk);
            EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), m == 2 ? 1e-3 : m == 3 ? 1e-4 : 0) << m;
        }
    }
}

}  // namespace
