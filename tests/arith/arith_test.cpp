// Pixel arithmetic: the registry's entries with their rules written out, the
// worked rules that pin the arithmetic's quirks, and OpenCV as a peer.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "support/registry.h"

namespace {

using zt::CallArgs;
using zt::Entry;
using zt::rowOf;

// ---- Rules.

enum class Acc { add, square, product, weighted };

// acc = acc + src, + src x src, + src1 x src2 (one rounding unmasked, the
// product rounded first when masked), or (src - acc) x alpha + acc; a mask
// multiplies the value added (alpha for the average) by 0 or 1 in one fused
// multiply-add. Arguments: sources, mask, accumulator; alpha.
template <Acc Op, bool Masked, class Src>
ZepStatus accumulateRule(const CallArgs& a) {
    const int sources = Op == Acc::product ? 2 : 1, acc = sources + Masked;
    for (int y = 0; y < a.roi.height; ++y)
        for (int x = 0; x < a.roi.width; ++x) {
            const float s = float(rowOf<Src>(a, 0, y)[x]), t = float(rowOf<Src>(a, sources - 1, y)[x]);
            const float on = !Masked || rowOf<uint8_t>(a, sources, y)[x] ? 1.0f : 0.0f;
            float& c = rowOf<float>(a, acc, y)[x];
            if (Op == Acc::add) c = Masked ? std::fma(s, on, c) : c + s;
            if (Op == Acc::square || Op == Acc::product) {
                const float p = s * t;
                c = Masked ? std::fma(p, on, c) : std::fma(s, t, c);
            }
            if (Op == Acc::weighted) c = std::fma(s - c, float(a.param[0]) * on, c);
        }
    return zepStsOk;
}

// dst = (src1 - src2) x alpha + src2, one rounding after the difference.
ZepStatus weightedRule(const CallArgs& a) {
    for (int y = 0; y < a.roi.height; ++y)
        for (int x = 0; x < a.roi.width; ++x) {
            const float p = rowOf<float>(a, 0, y)[x], q = rowOf<float>(a, 1, y)[x];
            rowOf<float>(a, 2, y)[x] = std::fma(p - q, float(a.param[0]), q);
        }
    return zepStsOk;
}

// dst = |src1 - src2|; floats lose the sign of the rounded difference.
template <class T, int C>
ZepStatus absDiffRule(const CallArgs& a) {
    for (int y = 0; y < a.roi.height; ++y)
        for (int x = 0; x < a.roi.width * C; ++x) {
            const T p = rowOf<T>(a, 0, y)[x], q = rowOf<T>(a, 1, y)[x];
            if constexpr (std::is_same_v<T, float>)
                rowOf<T>(a, 2, y)[x] = std::fabs(p - q);
            else
                rowOf<T>(a, 2, y)[x] = T(p > q ? p - q : q - p);
        }
    return zepStsOk;
}

// dst = |src - value|. An integer value outside the type's range counts by its
// low bits, except in the row's scalar tail (width mod 4 pixels of 8u, the
// last of an odd 16u row), which takes |src - value| in wrapping 32-bit
// arithmetic and keeps its low bits.
template <class T>
ZepStatus absDiffConstRule(const CallArgs& a) {
    const int w = a.roi.width, tail = sizeof(T) == 1 ? w % 4 : w % 2;
    for (int y = 0; y < a.roi.height; ++y)
        for (int x = 0; x < w; ++x) {
            const T s = rowOf<T>(a, 0, y)[x];
            T& d = rowOf<T>(a, 1, y)[x];
            if constexpr (std::is_same_v<T, float>) {
                d = std::fabs(s - float(a.param[0]));
            } else {
                const int32_t value = int32_t(int64_t(a.param[0]));
                const T low = T(value);
                const uint32_t diff = uint32_t(s) - uint32_t(value);
                const uint32_t wide = int32_t(diff) < 0 ? 0u - diff : diff;
                d = x >= w - tail ? T(wide) : T(s > low ? s - low : low - s);
            }
        }
    return zepStsOk;
}

// ---- Entries.

std::vector<ImageSize> withMegabyteRow(int pixelBytes) {
    std::vector<ImageSize> sizes;
    for (int w : zt::sweepWidths()) sizes.push_back({w, 3});
    sizes.push_back({1283, (1 << 20) / (1283 * pixelBytes) + 1});  // streaming stores
    return sizes;
}

auto alphas = [](std::mt19937& rng, ImageSize) {
    const double pick[] = {0.0, 1.0, 0.5, 0.3, -2.5, NAN, INFINITY};
    return std::vector<double>{pick[rng() % 7]};
};

template <Acc Op, bool Masked, class Src, auto F>
Entry accumulation(const char* name) {
    std::vector<zt::ImageRole> args(Op == Acc::product ? 2 : 1, zt::input(sizeof(Src)));
    if (Masked) args.push_back(zt::maskOf(1));
    args.push_back(zt::output(4));
    Entry e{name, args, zt::callWith<F>, accumulateRule<Op, Masked, Src>};
    if (Op == Acc::weighted) e.params = alphas;
    return e;
}

template <auto F, class T>
Entry constDiff(const char* name, std::vector<double> values) {
    Entry e{name, {zt::input(sizeof(T)), zt::output(sizeof(T))}, zt::callWith<F>, absDiffConstRule<T>};
    e.params = [values](std::mt19937& rng, ImageSize) { return std::vector<double>{values[rng() % values.size()]}; };
    e.sizes = withMegabyteRow(sizeof(T));
    return e;
}

template <auto F, class T, int C, int DstGroup>
Entry twoDiff(const char* name) {
    Entry e{name,
            {zt::input(sizeof(T), C), zt::input(sizeof(T), C), zt::output(sizeof(T), C, DstGroup)},
            zt::callWith<F>,
            absDiffRule<T, C>};
    e.sizes = withMegabyteRow(sizeof(T) * C);
    return e;
}

const bool enrolled = zt::enrol({
    accumulation<Acc::add, false, uint8_t, zepiAdd_8u32f_C1IR>("zepiAdd_8u32f_C1IR"),
    accumulation<Acc::add, false, uint16_t, zepiAdd_16u32f_C1IR>("zepiAdd_16u32f_C1IR"),
    accumulation<Acc::add, true, uint8_t, zepiAdd_8u32f_C1IMR>("zepiAdd_8u32f_C1IMR"),
    accumulation<Acc::add, true, uint16_t, zepiAdd_16u32f_C1IMR>("zepiAdd_16u32f_C1IMR"),
    accumulation<Acc::add, true, float, zepiAdd_32f_C1IMR>("zepiAdd_32f_C1IMR"),
    accumulation<Acc::square, false, uint8_t, zepiAddSquare_8u32f_C1IR>("zepiAddSquare_8u32f_C1IR"),
    accumulation<Acc::square, false, uint16_t, zepiAddSquare_16u32f_C1IR>("zepiAddSquare_16u32f_C1IR"),
    accumulation<Acc::square, false, float, zepiAddSquare_32f_C1IR>("zepiAddSquare_32f_C1IR"),
    accumulation<Acc::square, true, uint8_t, zepiAddSquare_8u32f_C1IMR>("zepiAddSquare_8u32f_C1IMR"),
    accumulation<Acc::square, true, uint16_t, zepiAddSquare_16u32f_C1IMR>("zepiAddSquare_16u32f_C1IMR"),
    accumulation<Acc::square, true, float, zepiAddSquare_32f_C1IMR>("zepiAddSquare_32f_C1IMR"),
    accumulation<Acc::product, false, uint8_t, zepiAddProduct_8u32f_C1IR>("zepiAddProduct_8u32f_C1IR"),
    accumulation<Acc::product, false, uint16_t, zepiAddProduct_16u32f_C1IR>("zepiAddProduct_16u32f_C1IR"),
    accumulation<Acc::product, false, float, zepiAddProduct_32f_C1IR>("zepiAddProduct_32f_C1IR"),
    accumulation<Acc::product, true, uint8_t, zepiAddProduct_8u32f_C1IMR>("zepiAddProduct_8u32f_C1IMR"),
    accumulation<Acc::product, true, uint16_t, zepiAddProduct_16u32f_C1IMR>("zepiAddProduct_16u32f_C1IMR"),
    accumulation<Acc::product, true, float, zepiAddProduct_32f_C1IMR>("zepiAddProduct_32f_C1IMR"),
    accumulation<Acc::weighted, false, uint8_t, zepiAddWeighted_8u32f_C1IR>("zepiAddWeighted_8u32f_C1IR"),
    accumulation<Acc::weighted, false, uint16_t, zepiAddWeighted_16u32f_C1IR>("zepiAddWeighted_16u32f_C1IR"),
    accumulation<Acc::weighted, false, float, zepiAddWeighted_32f_C1IR>("zepiAddWeighted_32f_C1IR"),
    accumulation<Acc::weighted, true, uint8_t, zepiAddWeighted_8u32f_C1IMR>("zepiAddWeighted_8u32f_C1IMR"),
    accumulation<Acc::weighted, true, uint16_t, zepiAddWeighted_16u32f_C1IMR>("zepiAddWeighted_16u32f_C1IMR"),
    accumulation<Acc::weighted, true, float, zepiAddWeighted_32f_C1IMR>("zepiAddWeighted_32f_C1IMR"),
    [] {  // not in place: its three steps are checked together
        Entry e{"zepiAddWeighted_32f_C1R",
                {zt::input(4), zt::input(4), zt::output(4, 1, 0)},
                zt::callWith<zepiAddWeighted_32f_C1R>,
                weightedRule};
        e.params = alphas;
        e.sizes = withMegabyteRow(4);
        return e;
    }(),
    twoDiff<zepiAbsDiff_8u_C1R, uint8_t, 1, 1>("zepiAbsDiff_8u_C1R"),
    twoDiff<zepiAbsDiff_8u_C3R, uint8_t, 3, 1>("zepiAbsDiff_8u_C3R"),
    twoDiff<zepiAbsDiff_16u_C1R, uint16_t, 1, 0>("zepiAbsDiff_16u_C1R"),  // three steps together
    twoDiff<zepiAbsDiff_32f_C1R, float, 1, 1>("zepiAbsDiff_32f_C1R"),
    constDiff<zepiAbsDiffC_8u_C1R, uint8_t>("zepiAbsDiffC_8u_C1R", {0, 77, 255, 300, -5, 70000, INT32_MIN}),
    constDiff<zepiAbsDiffC_16u_C1R, uint16_t>("zepiAbsDiffC_16u_C1R", {0, 1234, 65535, 70000, -1, INT32_MAX}),
    constDiff<zepiAbsDiffC_32f_C1R, float>("zepiAbsDiffC_32f_C1R", {0.0, -0.0, 12.5, INFINITY, NAN}),
});

// ---- Worked rules.

TEST(ArithRules, MaskIsAFactorAndProductsFuseOnlyUnmasked) {
    const uint8_t off[1] = {0}, on[1] = {1};
    // Infinity times a zero factor is NaN; -0 + 0 x src is +0.
    const float inf[1] = {INFINITY};
    float acc[1] = {2.0f};
    ASSERT_EQ(zepiAdd_32f_C1IMR(inf, 4, off, 1, acc, 4, {1, 1}), zepStsOk);
    EXPECT_TRUE(std::isnan(acc[0]));
    const uint8_t one8[1] = {1};
    acc[0] = -0.0f;
    ASSERT_EQ(zepiAdd_8u32f_C1IMR(one8, 1, off, 1, acc, 4, {1, 1}), zepStsOk);
    EXPECT_FALSE(std::signbit(acc[0]));
    // a x a = 1 + 2^-11 + 2^-24: fused unmasked, rounded to even first when masked.
    const float a[1] = {1.0f + 0x1p-12f};
    float fused[1] = {-1.0f}, rounded[1] = {-1.0f};
    ASSERT_EQ(zepiAddProduct_32f_C1IR(a, 4, a, 4, fused, 4, {1, 1}), zepStsOk);
    ASSERT_EQ(zepiAddSquare_32f_C1IMR(a, 4, on, 1, rounded, 4, {1, 1}), zepStsOk);
    EXPECT_EQ(fused[0], 0x1p-11f + 0x1p-24f);
    EXPECT_EQ(rounded[0], 0x1p-11f);
    // The running average is (src - acc) x alpha + acc: (1 - 3) x 0.1 + 3 in one rounding.
    const float s[1] = {1.0f};
    acc[0] = 3.0f;
    ASSERT_EQ(zepiAddWeighted_32f_C1IR(s, 4, acc, 4, {1, 1}, 0.1f), zepStsOk);
    EXPECT_EQ(acc[0], std::fma(-2.0f, 0.1f, 3.0f));
}

TEST(ArithRules, OutOfRangeConstantCountsByItsLowBitsExceptInTheRowTail) {
    // 16u, width 3, value 70000: two pixels against 4464, the last one against 70000, truncated.
    const uint16_t src[3] = {5000, 5000, 5000};
    uint16_t dst[3];
    ASSERT_EQ(zepiAbsDiffC_16u_C1R(src, 6, dst, 6, {3, 1}, 70000), zepStsOk);
    EXPECT_EQ(dst[0], 536);
    EXPECT_EQ(dst[2], uint16_t(65000));
    // 8u, width 6, value 300: four pixels against 44, the last two (6 mod 4) against 300.
    const uint8_t s8[6] = {50, 50, 50, 50, 50, 50};
    uint8_t d8[6];
    ASSERT_EQ(zepiAbsDiffC_8u_C1R(s8, 6, d8, 6, {6, 1}, 300), zepStsOk);
    const uint8_t want8[6] = {6, 6, 6, 6, 250, 250};
    EXPECT_EQ(std::memcmp(d8, want8, 6), 0);
    // A mask step of one byte past the row is fine: masks have no multiple rule.
    const uint16_t z16[3] = {};
    float acc[3] = {};
    EXPECT_EQ(zepiAdd_16u32f_C1IMR(z16, 6, s8, 4, acc, 12, {3, 1}), zepStsOk);
}

// ---- Peers. OpenCV's sums, 8u squares and products and absolute
// differences agree exactly; its 16u and 32f squares and products round the
// product before adding (one rounding of the largest product apart), and its
// running average is (1 - alpha) x acc + alpha x src (one unit in the last
// place of the largest value apart).
TEST(ArithPeers, OpenCVAccumulateAndAbsdiff) {
    const int w = 97, h = 13;
    cv::Mat s8(h, w, CV_8U), s16(h, w, CV_16U), s32(h, w, CV_32F), mask(h, w, CV_8U), base(h, w, CV_32F);
    cv::randu(s8, 0, 256), cv::randu(s16, 0, 65536), cv::randu(s32, -1000.0, 1000.0);
    cv::randu(mask, 0, 2), cv::randu(base, -1.0e4, 1.0e4);
    for (const Entry& e : zt::registry()) {
        const bool masked = e.name.find("IMR") != std::string::npos, product = e.name.find("Product") != e.name.npos;
        const cv::Mat& src = e.args[0].elemBytes == 1 ? s8 : e.args[0].elemBytes == 2 ? s16 : s32;
        cv::Mat ours = base.clone(), theirs = base.clone(), m = masked ? mask : cv::Mat();
        CallArgs a{{src.data}, {int(src.step)}, {w, h}, {0.2}};
        if (e.name.find("AbsDiff") != e.name.npos) {
            if (e.name.find("C3") != e.name.npos || e.name.find("DiffC") != e.name.npos) continue;
            ours = cv::Mat(h, w, src.type()), a.ptr = {src.data, base.data, ours.data};
            a.step = {int(src.step), int(src.step), int(ours.step)};
            ASSERT_EQ(e.call(a), zepStsOk);
            cv::absdiff(src, cv::Mat(h, w, src.type(), base.data, src.step), theirs);
            EXPECT_EQ(cv::norm(ours, theirs, cv::NORM_INF), 0.0) << e.name;
            continue;
        }
        if (e.name == "zepiAddWeighted_32f_C1R") continue;
        if (product) a.ptr.push_back(src.data), a.step.push_back(int(src.step));
        if (masked) a.ptr.push_back(mask.data), a.step.push_back(int(mask.step));
        a.ptr.push_back(ours.data), a.step.push_back(int(ours.step));
        ASSERT_EQ(e.call(a), zepStsOk) << e.name;
        const std::string op = e.name.substr(4, e.name.find('_') - 4);
        if (op == "Add") cv::accumulate(src, theirs, m);
        if (op == "AddSquare") cv::accumulateSquare(src, theirs, m);
        if (op == "AddProduct") cv::accumulateProduct(src, src, theirs, m);
        if (op == "AddWeighted") cv::accumulateWeighted(src, theirs, 0.2, m);
        const float top = src.depth() == CV_8U ? 255.0f : src.depth() == CV_16U ? 65535.0f : 1000.0f;
        const double tolerance = op == "Add" || (op != "AddWeighted" && src.depth() == CV_8U) ? 0.0
                                 : op == "AddWeighted"
                                     ? std::nextafter(std::max(1.0e4f, top), INFINITY) - std::max(1.0e4f, top)
                                     : double(top) * top * 0x1p-23;
        EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), tolerance) << e.name;
    }
}

}  // namespace
