// Line sampling: the registry's entries with the stepping rule written out,
// and cv::LineIterator as a peer.
#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "support/registry.h"

namespace {

using zt::CallArgs;

// From (x1, y1) to (x2, y2) = param[0..3]: along y when |dx| <= |dy|, else
// along x; the error starts at the major distance M, loses 2m (the minor
// distance) each step, and only below 0 takes a minor step and regains 2M.
template <class T, int C>
ZepStatus lineRule(const CallArgs& a) {
    int p[2] = {zt::parameterAs<int>(a.param[0]), zt::parameterAs<int>(a.param[1])};
    const int d[2] = {zt::parameterAs<int>(a.param[2]) - p[0], zt::parameterAs<int>(a.param[3]) - p[1]},
              major = std::abs(d[0]) <= std::abs(d[1]);
    const int big = std::abs(d[major]), small = std::abs(d[1 - major]);
    T* out = zt::rowOf<T>(a, 1, 0);
    for (int n = 0, e = big; n <= big; ++n) {
        for (int c = 0; c < C; ++c) *out++ = zt::rowOf<T>(a, 0, p[1])[p[0] * C + c];
        e -= 2 * small;
        p[major] += d[major] < 0 ? -1 : 1;
        if (e < 0) p[1 - major] += d[1 - major] < 0 ? -1 : 1, e += 2 * big;
    }
    return zepStsOk;
}

// End points anywhere in the ROI, now and then equal or close together; the
// output holds the longest line at any ROI the tests and the fuzzer use (up to 300 wide).
template <auto F, class T, int C>
zt::Entry line(const char* name) {
    zt::Entry e{name, {zt::input(sizeof(T), C, 0), zt::result(512 * C * sizeof(T))}, zt::callWith<F>, lineRule<T, C>};
    e.params = [](std::mt19937& rng, ImageSize roi) {
        const int x = int(rng() % roi.width), y = int(rng() % roi.height), near = rng() % 4 == 0;
        auto pick = [&](int v, int side) {
            return near ? std::clamp(v + int(rng() % 7) - 3, 0, side - 1) : int(rng() % side);
        };
        return std::vector<double>{double(x), double(y), double(pick(x, roi.width)), double(pick(y, roi.height))};
    };
    // After the source's checks, an end point outside the ROI.
    e.checks = [](std::vector<zt::Breaker>& b) {
        b.push_back({"x2 = width", 60, [](CallArgs& a) { a.param[2] = a.roi.width; }, zepStsOutOfRange});
        b.push_back({"y1 < 0", 61, [](CallArgs& a) { a.param[1] = -1; }, zepStsOutOfRange});
        b.push_back({"y2 = height", 62, [](CallArgs& a) { a.param[3] = a.roi.height; }, zepStsOutOfRange});
    };
    for (int k = 0; k < 150; ++k) e.sizes.push_back({1 + k * 37 % 200, 1 + k * 53 % 120});
    return e;
}

const bool enrolled = zt::enrol({
    line<zepiSampleLine_8u_C1R, uint8_t, 1>("zepiSampleLine_8u_C1R"),
    line<zepiSampleLine_8u_C3R, uint8_t, 3>("zepiSampleLine_8u_C3R"),
    line<zepiSampleLine_16u_C1R, uint16_t, 1>("zepiSampleLine_16u_C1R"),
    line<zepiSampleLine_16u_C3R, uint16_t, 3>("zepiSampleLine_16u_C3R"),
    line<zepiSampleLine_32f_C1R, float, 1>("zepiSampleLine_32f_C1R"),
    line<zepiSampleLine_32f_C3R, float, 3>("zepiSampleLine_32f_C3R"),
});

// Peer: cv::LineIterator (8-connected) steps with the same error term and
// tie rule: every line between two pixels of a 13 x 11 image visits the same
// pixels in the same order. It takes x as the major axis of exact diagonals,
// where this library takes y; both step both axes there: the same pixels.
TEST(SampleLinePeers, OpenCVLineIterator) {
    cv::Mat img(11, 13, CV_8UC1);
    for (int i = 0; i < 143; ++i) img.data[i] = uint8_t(i);
    for (int i = 0; i < 143 * 143; ++i) {
        const cv::Point a(i % 13, i / 13 % 11), b(i / 143 % 13, i / 143 / 13);
        cv::LineIterator it(img, a, b, 8);
        std::vector<uint8_t> theirs, ours(size_t(it.count));
        for (int k = 0; k < it.count; ++k, ++it) theirs.push_back(**it);
        ASSERT_EQ(zepiSampleLine_8u_C1R(img.data, 13, {13, 11}, ours.data(), {a.x, a.y}, {b.x, b.y}), zepStsOk);
        ASSERT_EQ(ours, theirs) << a << " to " << b;
    }
}

}  // namespace
