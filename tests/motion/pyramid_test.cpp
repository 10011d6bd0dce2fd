// Pyramid level sizes and the pyramid record: the rate-2 level list, the
// up-range condition every down size meets, clamping, the record layout,
// and the check orders.
#include "motion/pyramid.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/check_order.h"

namespace {

using zt::Breaker;
using zt::CallArgs;

// The size queries' results in words: "status s", or the sizes ("WxH"), the up range as "lo..hi", and
// for the pyramid the record and buffer sizes.
std::string str(ImageSize s) { return std::to_string(s.width) + "x" + std::to_string(s.height); }
std::string down(ImageSize s, float rate) {
    ImageSize d{};
    const ZepStatus st = zepiGetPyramidDownROI(s, &d, rate);
    return st ? "status " + std::to_string(st) : str(d);
}
std::string up(ImageSize s, float rate) {
    ImageSize lo{}, hi{};
    const ZepStatus st = zepiGetPyramidUpROI(s, &lo, &hi, rate);
    return st ? "status " + std::to_string(st) : str(lo) + ".." + str(hi);
}
std::string pyramidSizes(int level, ImageSize s, float rate) {
    int pyr = 0, buf = 0;
    const ZepStatus st = zepiPyramidGetSize(&pyr, &buf, level, s, rate);
    return st ? "status " + std::to_string(st) : std::to_string(pyr) + " " + std::to_string(buf);
}

TEST(PyramidSizes, RateTwoLevelsOf640x480) {
    ImageSize s{640, 480};
    std::string levels;
    for (int i = 0; i < 10; ++i) zepiGetPyramidDownROI(s, &s, 2.0f), levels += str(s) + " ";
    EXPECT_EQ(levels, "320x240 160x120 80x60 40x30 20x15 10x8 5x4 3x2 2x1 1x1 ");
    EXPECT_EQ(pyramidSizes(100, {640, 480}, 2.0f), std::to_string(52 * 10 + 152) + " " + std::to_string(8 * 640))
        << "clamped to the natural count, not refused";
    EXPECT_EQ(pyramidSizes(3, {640, 480}, 2.0f), std::to_string(52 * 3 + 152) + " " + std::to_string(8 * 640));
    // The work buffer at the edge of an int, and past it: refused, nothing written.
    EXPECT_EQ(pyramidSizes(1, {268435455, 1}, 2.0f), std::to_string(52 * 1 + 152) + " 2147483640");
    int pyr = -1, buf = -1;
    EXPECT_EQ(zepiPyramidGetSize(&pyr, &buf, 1, {1, 268435456}, 2.0f), zepStsSizeOverflow);
    EXPECT_EQ(zepiPyramidGetSize(&pyr, &buf, 1, {INT32_MAX, INT32_MAX}, 2.0f), zepStsSizeOverflow);
    EXPECT_EQ(pyr, -1);
    EXPECT_EQ(buf, -1);
    // Init refuses what the query refuses.
    alignas(8) uint8_t record[512] = {}, work[64] = {};
    Pyramid* p = nullptr;
    EXPECT_EQ(zepiPyramidInit(&p, 1, {1, 268435456}, 2.0f, record, work), zepStsSizeOverflow);
    EXPECT_EQ(p, nullptr);
}

// A layer state past INT32_MAX bytes is a size that does not fit the query's
// int: zepStsSizeOverflow with nothing written, from the query and from Init,
// also where its byte count would pass INT64_MAX.
TEST(PyramidSizes, LayerStatePastAnIntIsASizeOverflow) {
    const uint8_t kernel[3] = {1, 2, 1};
    alignas(64) uint8_t memory[64] = {};
    struct Case {
        ImageSize roi;
        float rate;
        int taps;
    };
    // 4 x (2^20 + 2) taps x 50000 columns of tap weights; then 2^31 taps over
    // about 2^31 columns, and an up state of about 2^31 / 10 taps over 2^31 x 3 columns.
    for (const Case c : {Case{{100000, 1}, 2.0f, (1 << 20) + 1}, Case{{INT32_MAX, INT32_MAX}, 1.01f, INT32_MAX},
                         Case{{INT32_MAX, 1}, 10.0f, INT32_MAX}}) {
        int size = -1;
        PyramidDownState* down = nullptr;
        PyramidUpState* up = nullptr;
        EXPECT_EQ(zepiPyramidLayerDownGetSize_8u_C1R(c.roi, c.rate, c.taps, &size), zepStsSizeOverflow);
        EXPECT_EQ(zepiPyramidLayerUpGetSize_32f_C3R(c.roi, c.rate, c.taps, &size), zepStsSizeOverflow);
        EXPECT_EQ(size, -1);
        EXPECT_EQ(zepiPyramidLayerDownInit_8u_C1R(&down, c.roi, c.rate, kernel, c.taps, 0, memory),
                  zepStsSizeOverflow);
        EXPECT_EQ(zepiPyramidLayerUpInit_8u_C1R(&up, c.roi, c.rate, kernel, c.taps, 0, memory), zepStsSizeOverflow);
        EXPECT_EQ(down, nullptr);
        EXPECT_EQ(up, nullptr);
    }
    for (uint8_t b : memory) ASSERT_EQ(b, 0);
}

// The source always lies in the up range of its down size, and since the up
// ranges of consecutive sizes tile the integers, the down size is the only one.
TEST(PyramidSizes, DownSizeIsTheSizeWhoseUpRangeHoldsTheSource) {
    std::mt19937 rng(5);
    for (int k = 0; k < 4000; ++k) {
        const float rate = k % 4 == 0 ? 2.0f : 1.0f + std::uniform_real_distribution<float>(0.0001f, 9.0f)(rng);
        const ImageSize src{1 + int(rng() % 3000), 1 + int(rng() % 700)};
        ImageSize dst{}, lo{}, hi{};
        ASSERT_EQ(zepiGetPyramidDownROI(src, &dst, rate), zepStsOk);
        ASSERT_EQ(zepiGetPyramidUpROI(dst, &lo, &hi, rate), zepStsOk);
        ASSERT_TRUE(lo.width <= src.width && src.width <= hi.width && lo.height <= src.height &&
                    src.height <= hi.height)
            << src.width << "x" << src.height << " rate " << rate;
        ImageSize below{}, above{};
        if (dst.width > 1) {
            ASSERT_EQ(zepiGetPyramidUpROI({dst.width - 1, 1}, &below, &above, rate), zepStsOk);
            EXPECT_LT(above.width, src.width);
        }
        ASSERT_EQ(zepiGetPyramidUpROI({dst.width + 1, 1}, &below, &above, rate), zepStsOk);
        EXPECT_GT(below.width, src.width);
    }
}

TEST(PyramidSizes, UpRangeAndEdges) {
    EXPECT_EQ(up({1, 3}, 2.0f), "1x5..2x6");  // a single pixel may stay single
    // Near 1 the rate still grows a size by at least one.
    EXPECT_EQ(up({100, 100}, 1.001f), "101x101..101x101");
    // Products are single precision: 3 * 1.1f is 3.3000002, 7 * 1.1f is 7.7000003.
    EXPECT_EQ(up({7, 3}, 1.1f), "8x4..8x4");
    EXPECT_EQ(down({1, 1}, 2.0f), "1x1");
    EXPECT_EQ(down({9, 9}, 10.0f), "1x1");  // 10 is accepted, 1 is not
    EXPECT_EQ(down({9, 9}, 1.0f), "status " + std::to_string(zepStsBadArg));
    EXPECT_EQ(down({9, 9}, 10.000001f), "status " + std::to_string(zepStsBadArg));
    EXPECT_EQ(pyramidSizes(5, {1, 1}, 2.0f), "152 8");  // natural count 0
}

TEST(PyramidRecord, LayoutAndContents) {
    for (size_t misalign = 0; misalign < 8; ++misalign) {
        int pyrSize = 0, bufSize = 0;
        ASSERT_EQ(zepiPyramidGetSize(&pyrSize, &bufSize, 6, {100, 37}, 1.5f), zepStsOk);
        std::vector<uint8_t> mem(size_t(pyrSize) + misalign + 64, 0xA5), buf(size_t(bufSize) + 64, 0x5A);
        Pyramid* pyr = nullptr;
        uint8_t* at = mem.data() + misalign;
        ASSERT_EQ(zepiPyramidInit(&pyr, 6, {100, 37}, 1.5f, at, buf.data() + 3), zepStsOk);
        ASSERT_EQ(pyr->level, 6);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pyr) % 8, 0u);
        auto addr = [](const void* p) { return reinterpret_cast<uintptr_t>(p); };
        // sizes, images, rates, steps: in this order, 8-aligned, 16 bytes apart at least.
        EXPECT_GE(addr(pyr->pRoi), addr(pyr) + sizeof(Pyramid) + 16);
        EXPECT_GE(addr(pyr->pImage), addr(pyr->pRoi + 7) + 16);
        EXPECT_GE(addr(pyr->pRate), addr(pyr->pImage + 7) + 16);
        EXPECT_GE(addr(pyr->pStep), addr(pyr->pRate + 7) + 16);
        for (const void* p :
             {(const void*)pyr->pRoi, (const void*)pyr->pImage, (const void*)pyr->pRate, (const void*)pyr->pStep})
            EXPECT_EQ(addr(p) % 8, 0u);
        EXPECT_LE(addr(pyr->pStep + 7), addr(at + pyrSize));
        for (size_t i = size_t(pyrSize) + misalign; i < mem.size(); ++i) ASSERT_EQ(mem[i], 0xA5) << i;
        ImageSize s{100, 37};
        double rate = 1.0;
        for (int i = 0; i <= 6; ++i) {
            EXPECT_EQ(pyr->pRoi[i].width, s.width) << i;
            EXPECT_EQ(pyr->pRoi[i].height, s.height) << i;
            EXPECT_EQ(pyr->pRate[i], rate);
            EXPECT_EQ(pyr->pImage[i], nullptr);
            EXPECT_EQ(pyr->pStep[i], 0);
            zepiGetPyramidDownROI(s, &s, 1.5f);
            rate *= double(1.5f);
        }
        EXPECT_EQ(pyr->pState, nullptr);
        for (size_t i = size_t(bufSize) + 3; i < buf.size(); ++i) ASSERT_EQ(buf[i], 0x5A);
    }
}

TEST(PyramidSizes, CheckOrder) {
    zt::Canvas out(4096, 1, 4096, 0);
    uint8_t* o = out.first();
    const ImageSize roi{40, 30};
    const auto nul = zt::nullBreaker;
    const Breaker zeroW{"zero width", 10, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize};
    const Breaker zeroH{"zero height", 11, [](CallArgs& a) { a.roi.height = 0; }, zepStsBadSize};
    auto rateOne = [](int i) { return Breaker{"rate 1", 20, [i](CallArgs& a) { a.param[i] = 1.0; }, zepStsBadArg}; };
    const Breaker rateNaN{"rate NaN", 20, [](CallArgs& a) { a.param[0] = NAN; }, zepStsBadArg};
    const Breaker level0{"level 0", 21, [](CallArgs& a) { a.param[0] = 0; }, zepStsBadArg};

    // Every call writes only through pointers into `out`.
    auto checkOrder = [&](const char* name, const CallArgs& valid, const zt::Caller& call, std::vector<Breaker> b) {
        zt::expectOrder(name, valid, call, b, {&out});
    };
    checkOrder("GetPyramidDownROI", {{o}, {}, roi, {2.0}}, zt::callWith<zepiGetPyramidDownROI>,
               {nul(0), zeroW, zeroH, rateOne(0), rateNaN});
    checkOrder("GetPyramidUpROI", {{o, o + 8}, {}, roi, {2.0}}, zt::callWith<zepiGetPyramidUpROI>,
               {nul(0), nul(1), zeroW, zeroH, rateOne(0)});
    // The level, then the rate.
    checkOrder("PyramidGetSize", {{o, o + 4}, {}, roi, {3, 2.0}}, zt::callWith<zepiPyramidGetSize>,
               {nul(0), nul(1), zeroH, zeroW, level0, rateOne(1)});
    checkOrder("PyramidInit", {{o, o + 64, o + 2048}, {}, roi, {3, 2.0}}, zt::callWith<zepiPyramidInit>,
               {nul(0), nul(1), nul(2), zeroH, zeroW, rateOne(1), level0});
}

}  // namespace
