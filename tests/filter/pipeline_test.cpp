// Pipeline filters: vector kernels against the scalar definition over widths,
// kernel sizes, anchors, borders (with real pixels beyond the region where an
// in-memory flag says so) and divisors; worked rounding, saturation and border
// examples; buffer-size formulas; check orders; OpenCV's sepFilter2D.
#include <gtest/gtest.h>

// The scalar definitions are instantiated here from the library's kernel
// headers; GCC's AVX-512 intrinsics build "undefined" vectors that debug
// builds report once inlined into this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "filter/pipeline_checks.h"
#include "support/check_order.h"

namespace {

using zep::Path;
using zep::filter::DivisorCheck;
using zt::Image;

constexpr uint32_t kBorders[] = {1, 3, 6, 0x41, 0x83, 0xC6, 0xF0, 0xF1, 0xB3, 0x76};

template <class Src, class Dst, class Tap>
using RowFn = std::function<ZepStatus(const Src*, int, Dst**, ImageSize, const Tap*, int, int, uint32_t, const Src*,
                                      int, uint8_t*)>;
template <class Src, class Dst, class Tap>
using ColumnFn = std::function<ZepStatus(const Src* const*, Dst*, int, ImageSize, const Tap*, int, int, uint8_t*)>;

// Taps for a pass: small, moderate, or large enough to leave the 32-bit path.
template <class Tap>
std::vector<Tap> randomTaps(std::mt19937& rng, int k, int scale) {
    std::vector<Tap> t(k);
    for (auto& v : t) {
        if constexpr (std::is_floating_point_v<Tap>)
            v = std::uniform_real_distribution<float>(-1.0f, 1.0f)(rng);
        else
            v = static_cast<Tap>(static_cast<int>(rng() % (2 * scale + 1)) - scale);
    }
    return t;
}

// Taps that take the paired 16-bit paths: symmetric half the time (the
// shared-value form), Gaussian-like positive or mixed in sign.
template <class Tap>
std::vector<Tap> pairTaps(std::mt19937& rng, int k, int scale) {
    std::vector<Tap> t(k);
    const bool positive = rng() % 2, symmetric = rng() % 2;
    for (auto& v : t) {
        const int r = static_cast<int>(rng() % (uint32_t(scale) + 1));
        v = static_cast<Tap>(positive || rng() % 2 ? r : -r);
    }
    if (symmetric)
        for (int j = 0; j < k / 2; ++j) t[k - 1 - j] = t[j];
    return t;
}

// The row pass of an export against the scalar definition over widths,
// kernel sizes, anchors, every border (with real pixels beyond the region
// where an in-memory flag says so) and divisors, with random taps of three
// scales; or (`paired`) with taps sized near the bounds of the paired 16-bit
// products, symmetric or not, and power-of-two divisors.
template <class Src, class Dst, class Tap, int Ch, DivisorCheck DC>
void expectRowAgrees(const char* name, RowFn<Src, Dst, Tap> exported, bool paired) {
    using V = std::vector<int>;
    std::mt19937 rng(paired ? 31 : 7);
    const bool positive = DC == DivisorCheck::earlyPositive;
    const V widths = paired ? V{1, 15, 16, 17, 31, 32, 33, 34, 37, 63, 64, 65, 66, 69, 97, 200, 261}
                            : V{1, 2, 3, 5, 15, 16, 17, 33, 63, 64, 65, 200};
    const V sizes = paired ? V{1, 2, 3, 4, 5, 7, 8, 31, 32, 33} : V{1, 2, 3, 4, 5, 7, 31};
    const V divisors = paired ? (positive ? V{1, 2, 4096, 1 << 15, 1 << 16} : V{1, -1, 2, 4096, -4096, 1 << 15})
                              : (positive ? V{1, 2, 4096, 3, 1000, 32768} : V{1, 2, 4096, -16, 3, -7, 1000});
    for (int w : widths) {
        for (int k : sizes) {
            for (uint32_t border : kBorders) {
                const int anchor = V{0, k / 2, k - 1}[rng() % 3];
                const bool memLeft = border & 0x40, memRight = border & 0x80;
                Image<Src> src(rng, w + (memLeft ? k : 0) + (memRight ? k : 0), 2, Ch, false);
                const Src* first = src.data() + (memLeft ? k * Ch : 0);
                Image<Dst> out(rng, w, 2, Ch, false);
                const int scale =
                    paired ? V{100, 4096 / k + 1, 32767 / k, 32767}[rng() % 4] : V{200, 4000, 32767}[rng() % 3];
                const auto taps = paired ? pairTaps<Tap>(rng, k, scale) : randomTaps<Tap>(rng, k, scale);
                const int divisor = divisors[rng() % divisors.size()];
                Src value[3];
                for (auto& v : value) v = zt::randomValue<Src>(rng, false);
                uint8_t buffer[16];
                auto on = [&](auto f) {
                    return [&, f](Dst* d) {
                        Dst* rows[2] = {d, reinterpret_cast<Dst*>(reinterpret_cast<uint8_t*>(d) + out.step())};
                        return f(first, src.step(), rows, {w, 2}, taps.data(), k, anchor, border, value, divisor,
                                 buffer);
                    };
                };
                ASSERT_TRUE(zt::agree(
                    out, on(exported),
                    on(RowFn<Src, Dst, Tap>([](const Src* s, int ss, Dst** d, ImageSize r, const Tap* t, int ks,
                                               int a, uint32_t b, const Src* v, int dv, uint8_t* buf) {
                        return zep::filter::rowPipeline<Path::scalar, Src, Dst, Tap, Ch, DC>(s, ss, d, r, t, ks, a, b,
                                                                                             v, dv, buf);
                    })),
                    std::is_floating_point_v<Dst>))
                    << name << " w " << w << " k " << k << " anchor " << anchor << " border " << border << " divisor "
                    << divisor << " scale " << scale;
            }
        }
    }
}

// The exports in the one calling form of the tests (border value by pointer, divisor always).
template <class Src, class Dst, class Tap, class V, auto F>
ZepStatus rowCall(const Src* s, int st, Dst** d, ImageSize r, const Tap* t, int k, int a, uint32_t b, const Src* v,
                  int div, uint8_t* buf) {
    const V value = [v] {
        if constexpr (std::is_pointer_v<V>)
            return v;
        else
            return v[0];
    }();
    if constexpr (std::is_floating_point_v<Src>)
        return F(s, st, d, r, t, k, a, b, value, buf);
    else
        return F(s, st, d, r, t, k, a, b, value, div, buf);
}
template <auto F>
ZepStatus columnCall32f(const float* const* s, float* d, int st, ImageSize r, const float* t, int k, int,
                        uint8_t* buf) {
    return F(s, d, st, r, t, k, buf);
}

// The general row sweep of an export, and the paired one where `pairs` is 1; Src, Dst, taps, channels, divisor
// check, border value type.
#define ZT_ROW(S, D, T, C, DC, V, F, pairs)         \
    for (int paired = 0; paired <= pairs; ++paired) \
    expectRowAgrees<S, D, T, C, DivisorCheck::DC>(#F, rowCall<S, D, T, V, zepiFilterRowBorderPipeline_##F>, paired)

TEST(RowPipeline, VectorAgreesWithScalarDefinition) {
    ZT_ROW(uint8_t, int16_t, int16_t, 1, late, uint8_t, 8u16s_C1R, 1);
    ZT_ROW(uint8_t, int16_t, int16_t, 3, early, const uint8_t*, 8u16s_C3R, 1);
    ZT_ROW(int16_t, int16_t, int16_t, 1, early, int16_t, 16s_C1R, 1);
    ZT_ROW(int16_t, int16_t, int16_t, 3, late, const int16_t*, 16s_C3R, 1);
    ZT_ROW(uint16_t, uint16_t, int16_t, 1, earlyPositive, uint16_t, 16u_C1R, 1);
    ZT_ROW(uint16_t, uint16_t, int16_t, 3, earlyPositive, const uint16_t*, 16u_C3R, 1);
    ZT_ROW(int16_t, int16_t, int16_t, 1, early, int16_t, Low_16s_C1R, 0);
    ZT_ROW(int16_t, int16_t, int16_t, 3, early, const int16_t*, Low_16s_C3R, 0);
    ZT_ROW(float, float, float, 1, none, float, 32f_C1R, 0);
    ZT_ROW(float, float, float, 3, none, const float*, 32f_C3R, 0);
}

// The column pass against the scalar definition over the width sweep and
// kernel sizes, its rows in any order. Through the export, with taps and
// divisors of three scales (small taps keep 16s in single precision, large
// ones take the exact path); or (`bound` > 0) the paired 16-bit passes
// themselves, with values no larger than `bound` in magnitude, told the
// bound as the Gaussian filter tells it (the 16s single-precision pass then
// runs in integers); bound 32768 is the exported passes' own case.
template <class Src, class Dst, class Tap, int Ch, bool HasDivisor>
void expectColumnAgrees(const char* name, ColumnFn<Src, Dst, Tap> exported, int bound = 0) {
    using V = std::vector<int>;
    std::mt19937 rng(bound ? 37 : 11);
    V widths = zt::sweepWidths();
    widths.push_back(1100);  // past the column strips of the vector path, with a partial last strip
    for (int w : widths) {
        for (int k : bound ? V{1, 2, 3, 4, 5, 7, 8, 31, 32, 33} : V{1, 2, 3, 4, 5, 7, 31}) {
            const int h = 1 + int(rng() % (bound ? 3 : 11));  // past the groups of output rows
            Image<Src> src(rng, w, h + k - 1, Ch, !bound && !std::is_integral_v<Src>);
            if (bound && bound < 32768)
                for (int y = 0; y < h + k - 1; ++y)
                    for (int e = 0; e < w * Ch; ++e)
                        src.at(y)[e] = Src(int(rng() % (2 * uint32_t(bound) + 1)) - bound);
            std::vector<const Src*> rows(h + k - 1);
            for (int i = 0; i < h + k - 1; ++i) rows[i] = src.at(i);
            std::shuffle(rows.begin(), rows.end(), rng);  // any row may stand anywhere
            Image<Dst> out(rng, w, h, Ch, false);
            const int scale =
                bound ? V{3, 40, 4096 / k + 1, 32767 / k, 32767}[rng() % 5] : V{300, 9000, 32767}[rng() % 3];
            const auto taps = bound ? pairTaps<Tap>(rng, k, scale) : randomTaps<Tap>(rng, k, scale);
            const int divisor = bound ? V{1, -1, 2, 4096, -4096, 1 << 15, 1 << 20}[rng() % 7]
                                      : V{1, 3, 4096, -5, 65536, 1 << 20, -100000}[rng() % 7];
            uint8_t buffer[16];
            const zep::filter::ColumnPass<Src, Tap> pass{rows.data(), out.step(), int64_t{w} * Ch, h,
                                                         taps.data(), k,          divisor,         bound};
            auto byPass = [&](auto path) {
                return [&, path](Dst* d) {
                    zep::filter::columnPass<decltype(path)::value, Src, Dst, Tap>(pass, d);
                    return zepStsOk;
                };
            };
            auto scalar = [&](Dst* d) {
                return zep::filter::columnPipeline<Path::scalar, Src, Dst, Tap, Ch, HasDivisor>(
                    rows.data(), d, out.step(), {w, h}, taps.data(), k, divisor, buffer);
            };
            auto ours = [&](Dst* d) {
                return exported(rows.data(), d, out.step(), {w, h}, taps.data(), k, divisor, buffer);
            };
            const auto agreement = bound ? zt::agree(out, byPass(std::integral_constant<Path, Path::vector>{}),
                                                     byPass(std::integral_constant<Path, Path::scalar>{}))
                                         : zt::agree(out, ours, scalar, std::is_floating_point_v<Dst>);
            ASSERT_TRUE(agreement) << name << " w " << w << " k " << k << " divisor " << divisor << " scale " << scale
                                   << " bound " << bound;
        }
    }
}

// The export's sweep, then the paired passes of its types at each bound given.
#define ZT_COLUMN(S, D, C, F, ...)                                                \
    expectColumnAgrees<S, D, int16_t, C, true>(#F, zepiFilterColumnPipeline_##F); \
    for (int bound : std::vector<int>{__VA_ARGS__}) expectColumnAgrees<S, D, int16_t, C, true>(#F " pairs", {}, bound)

TEST(ColumnPipeline, VectorAgreesWithScalarDefinition) {
    ZT_COLUMN(int16_t, int16_t, 1, 16s_C1R, 256, 4000, 32768);
    ZT_COLUMN(int16_t, int16_t, 3, 16s_C3R, 256, 4000, 32768);
    ZT_COLUMN(int16_t, uint8_t, 1, 16s8u_C1R, 256, 4000, 32768);
    ZT_COLUMN(int16_t, uint8_t, 3, 16s8u_C3R, 256, 4000, 32768);
    ZT_COLUMN(int16_t, int8_t, 1, 16s8s_C1R, 256, 4000, 32768);
    ZT_COLUMN(int16_t, int8_t, 3, 16s8s_C3R, 256, 4000, 32768);
    ZT_COLUMN(int16_t, int16_t, 1, Low_16s_C1R);
    ZT_COLUMN(int16_t, int16_t, 3, Low_16s_C3R);
    ZT_COLUMN(uint16_t, uint16_t, 1, 16u_C1R, 32768);
    ZT_COLUMN(uint16_t, uint16_t, 3, 16u_C3R, 32768);
    expectColumnAgrees<float, float, float, 1, false>("32f_C1R", columnCall32f<zepiFilterColumnPipeline_32f_C1R>);
    expectColumnAgrees<float, float, float, 3, false>("32f_C3R", columnCall32f<zepiFilterColumnPipeline_32f_C3R>);
}

// ---- Rules: worked examples ----

// One integer row pass with kernel size 1 and a replicated border, its output as ints.
template <class Src>
std::vector<int> row(ZepStatus (*f)(const Src*, int, int16_t**, ImageSize, const int16_t*, int, int, uint32_t, Src,
                                    int, uint8_t*),
                     std::vector<Src> src, int16_t tap, int divisor) {
    std::vector<int16_t> out(src.size());
    int16_t* rows[1] = {out.data()};
    uint8_t buf[8];
    const int w = int(src.size());
    EXPECT_EQ(f(src.data(), int(sizeof(Src)) * w, rows, {w, 1}, &tap, 1, 0, 1, Src(0), divisor, buf), zepStsOk);
    return {out.begin(), out.end()};
}

TEST(PipelineRules, IntegerRowRoundsTiesToEvenAndSaturates) {
    using V = std::vector<int>;
    // round(t * x / d): 0.5, 1.5, 2.5, 3.5 -> 0, 2, 2, 4; with a negative divisor -> 0, -2, -2, -4.
    EXPECT_EQ(row<uint8_t>(zepiFilterRowBorderPipeline_8u16s_C1R, {1, 3, 5, 7}, 1, 2), (V{0, 2, 2, 4}));
    EXPECT_EQ(row<int16_t>(zepiFilterRowBorderPipeline_16s_C1R, {1, 3, 5, 7}, 1, -2), (V{0, -2, -2, -4}));
    // 32767 * 255 saturates to 32767; -32768 * 255 to -32768.
    EXPECT_EQ(row<uint8_t>(zepiFilterRowBorderPipeline_8u16s_C1R, {255}, 32767, 1), V{32767});
    EXPECT_EQ(row<uint8_t>(zepiFilterRowBorderPipeline_8u16s_C1R, {255}, -32768, 1), V{-32768});
}

TEST(PipelineRules, RowBordersAtBothEnds) {
    // Row 1 2 3 4, taps 1 10 100 at anchor 1: out[0] = ext(-1) + 10 + 200, out[3] = 3 + 40 + 100 ext(4).
    const float row[6] = {5, 1, 2, 3, 4, 9};  // the pixels beside the region for the in-memory flags
    const float taps[3] = {1, 10, 100};
    auto ends = [&](uint32_t border, float value) {
        float out[4];
        float* rows[1] = {out};
        uint8_t buf[8];
        EXPECT_EQ(zepiFilterRowBorderPipeline_32f_C1R(row + 1, 16, rows, {4, 1}, taps, 3, 1, border, value, buf),
                  zepStsOk);
        return std::pair{out[0], out[3]};
    };
    EXPECT_EQ(ends(zepBorderConst, 7), std::pair(217.0f, 743.0f));
    // In memory on the left: the real pixel before the region is read; the right side stays constant.
    EXPECT_EQ(ends(0x46, 7), std::pair(215.0f, 743.0f));
    EXPECT_EQ(ends(0xF0, 7), std::pair(215.0f, 943.0f));
}

// One column pass of `width` pixels over `rows`, its output as ints.
template <class Dst, class Src>
std::vector<int> column(ZepStatus (*f)(const Src* const*, Dst*, int, ImageSize, const int16_t*, int, int, uint8_t*),
                        std::vector<const Src*> rows, int width, std::vector<int16_t> taps, int divisor) {
    std::vector<Dst> out(width);
    uint8_t buf[8];
    EXPECT_EQ(
        f(rows.data(), out.data(), int(sizeof(Dst)) * width, {width, 1}, taps.data(), int(taps.size()), divisor, buf),
        zepStsOk);
    return {out.begin(), out.end()};
}

TEST(PipelineRules, SinglePrecisionColumnRounding) {
    const int16_t v[4] = {255, -257, 5, 7};
    const uint16_t u[1] = {65535};
    using V = std::vector<int>;
    // tap 1, divisor 2: 255 -> 127.5 -> 127 (8s) or 128 (8u, even); -257 -> -128.5 -> -128; 5 -> 2.5 -> 2; 7 -> 4.
    EXPECT_EQ(column(zepiFilterColumnPipeline_16s8s_C1R, {v}, 4, {1}, 2), (V{127, -128, 2, 4}));
    EXPECT_EQ(column(zepiFilterColumnPipeline_16s8u_C1R, {v}, 4, {1}, 2), (V{128, 0, 2, 4}));
    // The arithmetic is single precision: tap 3, divisor 3 is 3 * (2^-16 / 3 rounded) * 65536 x,
    // which lands on x exactly for these values.
    EXPECT_EQ(column(zepiFilterColumnPipeline_16s_C1R, {v}, 4, {3}, 3), (V{255, -257, 5, 7}));
    // Taps whose magnitudes sum to 65535 or more take the exact path: 3 * 32767 * 7 / 98301 = 7.
    EXPECT_EQ(column(zepiFilterColumnPipeline_16s_C1R, {v + 3, v + 3, v + 3}, 1, {32767, 32767, 32767}, 98301), V{7});
    // 16u: exact integers; 65535 * 2 / 1 saturates, 32767.5 rounds to even.
    EXPECT_EQ(column(zepiFilterColumnPipeline_16u_C1R, {u, u}, 1, {1, 1}, 1), V{65535});
    EXPECT_EQ(column(zepiFilterColumnPipeline_16u_C1R, {u, u}, 1, {1, 1}, 4), V{32768});
}

TEST(PipelineRules, BufferSizeFormulas) {
    auto q = [](auto f, int w, int k) { return zt::queried(f, ImageSize{w, 3}, k); };
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_8u16s_C1R, 9, 7), 34 * 7 + 32 + 66);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_8u16s_C1R, 9, 8), 34 * 8 + 64 + 66);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_8u16s_C3R, 9, 5), 444);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_16s_C1R, 9, 5), 352);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_16s_C3R, 9, 5), 296);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R, 9, 5), 216);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R, 9, 5), 1136);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_16u_C1R, 9, 5), 416);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_16u_C3R, 9, 5), 736);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_32f_C1R, 9, 5), 576);
    EXPECT_EQ(q(zepiFilterRowBorderPipelineGetBufferSize_32f_C3R, 9, 5), 1536);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16s_C1R, 9, 5), 12 * 12 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16s_C3R, 9, 5), 36 * 12 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16s8u_C1R, 9, 5), 12 * 12 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16s8u_C3R, 9, 5), 36 * 12 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16s8s_C1R, 8, 5), 12 * 8 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16s8s_C3R, 8, 5), 36 * 8 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_Low_16s_C1R, 9, 5), 12 * 16 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_Low_16s_C3R, 9, 5), 36 * 16 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16u_C1R, 9, 5), 8 * 12 + 160 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_16u_C3R, 9, 5), 8 * 28 + 160 + 64);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_32f_C1R, 9, 5), 192);
    EXPECT_EQ(q(zepiFilterColumnPipelineGetBufferSize_32f_C3R, 1000, 5), 192);
    int s = 0;
    EXPECT_EQ(zepiFilterColumnPipelineGetBufferSize_32f_C3R({1, 1}, 1, nullptr), zepStsNullPointer);
    EXPECT_EQ(zepiFilterColumnPipelineGetBufferSize_32f_C3R({1, 0}, 1, &s), zepStsBadSize);
    EXPECT_EQ(zepiFilterRowBorderPipelineGetBufferSize_16s_C1R({1, 1}, 0, &s), zepStsBadSize);
}

// ---- Check orders ----

// The row pass's breakers in check order on the call arguments of a row form:
// pointers source, rows, taps, (border value,) buffer; the source step;
// parameters kernel size, anchor, border type, (border value,) divisor.
// `divisorEarly` places the divisor check; `holed` is a row list with a null.
std::vector<zt::Breaker> rowBreakers(bool c3, bool divisorEarly, bool positive, int elemBytes, void* holed) {
    using zt::CallArgs;
    const int div = c3 ? 3 : 4;
    const auto nul = zt::nullBreaker;
    std::vector<zt::Breaker> b = {nul(0), nul(1), nul(2), nul(c3 ? 4 : 3)};
    b.push_back({"zero width", 20, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize});
    b.push_back({"zero height", 21, [](CallArgs& a) { a.roi.height = 0; }, zepStsBadSize});
    b.push_back({"null row", 1, [holed](CallArgs& a) { a.ptr[1] = holed; }, zepStsNullPointer});
    if (c3) b.push_back(nul(3));  // the border value
    b.push_back({"zero kernel size", 22, [](CallArgs& a) { a.param[0] = a.param[1] = 0; }, zepStsBadSize});
    b.push_back({"anchor = kernel size", 23, [](CallArgs& a) { a.param[1] = a.param[0]; }, zepStsBadAnchor});
    b.push_back({"short step", 24, [=](CallArgs& a) { a.step[0] = a.roi.width * (c3 ? 3 : 1) * elemBytes - 1; },
                 zepStsBadStep});
    if (elemBytes > 1) b.push_back({"odd step", 24, [](CallArgs& a) { a.step[0] += 1; }, zepStsStepNotMultiple});
    const zt::Breaker divisor{"zero divisor", 25, [div](CallArgs& a) { a.param[div] = 0; }, zepStsBadArg};
    if (divisorEarly) b.push_back(divisor);
    if (positive) b.push_back({"divisor -1", 25, [div](CallArgs& a) { a.param[div] = -1; }, zepStsBadArg});
    b.push_back({"border 256", 26, [](CallArgs& a) { a.param[2] = 256; }, zepStsBadBorder});
    b.push_back({"border 2", 26, [](CallArgs& a) { a.param[2] = 2; }, zepStsBadBorder});
    b.push_back({"border 0xF2", 26, [](CallArgs& a) { a.param[2] = 0xF2; }, zepStsBadBorder});
    if (!divisorEarly && !positive) b.push_back(divisor);
    return b;
}

// The check order of a row form (V: its border value type).
template <class Src, class Dst, class V, auto F>
void rowOrder(const char* name, bool early, bool positive) {
    std::mt19937 rng(2);
    constexpr bool c3 = std::is_pointer_v<V>;
    Image<Src> src(rng, 6, 4, c3 ? 3 : 1);
    Image<Dst> dst(rng, 6, 4, c3 ? 3 : 1);
    std::vector<Dst*> rows = {dst.at(0), dst.at(1), dst.at(2), dst.at(3)}, holed = rows;
    holed[1] = nullptr;
    const int16_t taps[3] = {1, 2, 1};
    const Src value[3] = {};
    uint8_t buffer[512];
    zt::CallArgs valid({src.data(), rows.data(), (void*)taps}, {src.step()}, {6, 4}, {3, 1, 1});
    if (c3) valid.ptr.push_back((void*)value);
    if (!c3) valid.param.push_back(0);
    valid.ptr.push_back(buffer), valid.param.push_back(4);
    zt::expectOrder(name, valid, zt::callWith<F>, rowBreakers(c3, early, positive, sizeof(Src), holed.data()),
                    {&dst.canvas});
}

#define ZT_ROW_ORDER(S, D, V, F, early, positive) \
    rowOrder<S, D, V, zepiFilterRowBorderPipeline_##F>(#F, early, positive)

TEST(PipelineChecks, RowPassOrder) {
    ZT_ROW_ORDER(uint8_t, int16_t, uint8_t, 8u16s_C1R, false, false);
    ZT_ROW_ORDER(uint8_t, int16_t, const uint8_t*, 8u16s_C3R, true, false);
    ZT_ROW_ORDER(int16_t, int16_t, int16_t, 16s_C1R, true, false);
    ZT_ROW_ORDER(int16_t, int16_t, const int16_t*, 16s_C3R, false, false);
    ZT_ROW_ORDER(int16_t, int16_t, const int16_t*, Low_16s_C3R, true, false);
    ZT_ROW_ORDER(uint16_t, uint16_t, uint16_t, 16u_C1R, true, true);
    ZT_ROW_ORDER(uint16_t, uint16_t, const uint16_t*, 16u_C3R, true, true);
}

// RowPassOrder holds the row forms' deliberate differences (where the divisor is
// checked, whether a negative one is accepted) and the sweeps use every border
// code and anchor accepted. Low_16s C3 column: the destination step is checked
// against 2 * width bytes only.
TEST(PipelineChecks, DeliberateDifferencesBetweenSiblings) {
    std::mt19937 rng(4);
    Image<int16_t> src(rng, 2, 1, 3), dst(rng, 2, 1, 3);
    const int16_t taps[3] = {1, 2, 1};
    const int16_t* rows[3] = {src.data(), src.data(), src.data()};
    uint8_t buf[512];
    EXPECT_EQ(zepiFilterColumnPipeline_Low_16s_C3R(rows, dst.data(), 4, {2, 1}, taps, 3, 1, buf), zepStsOk);
    EXPECT_EQ(zepiFilterColumnPipeline_16s_C3R(rows, dst.data(), 4, {2, 1}, taps, 3, 1, buf), zepStsBadStep);
    EXPECT_EQ(zepiFilterColumnPipeline_Low_16s_C3R(rows, dst.data(), 3, {2, 1}, taps, 3, 1, buf), zepStsBadStep);
}

TEST(PipelineChecks, ColumnPassOrder) {
    using zt::CallArgs;
    std::mt19937 rng(6);
    Image<int16_t> src(rng, 6, 8), dst(rng, 6, 4);
    const int16_t taps[3] = {1, 2, 1};
    uint8_t buffer[512];
    std::vector<const int16_t*> rows(8), holed;  // rows 6 and 7 are never read
    for (int i = 0; i < 6; ++i) rows[i] = src.at(i);
    holed = rows, holed[5] = nullptr;
    const auto nul = zt::nullBreaker;
    std::vector<zt::Breaker> b = {nul(0), nul(1), nul(2)};
    b.insert(b.end(), {{"zero width", 10, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize},
                       {"zero height", 11, [](CallArgs& a) { a.roi.height = 0; }, zepStsBadSize},
                       // The scan covers height + k - 1 rows, so it is not combined with a broken kernel size.
                       {"last row null", 12, [&](CallArgs& a) { a.ptr[0] = holed.data(); }, zepStsNullPointer},
                       {"zero kernel size", 12, [](CallArgs& a) { a.param[0] = 0; }, zepStsBadSize},
                       {"short step", 13, [](CallArgs& a) { a.step[0] = 11; }, zepStsBadStep},
                       {"odd step", 13, [](CallArgs& a) { a.step[0] = 13; }, zepStsStepNotMultiple},
                       nul(3),
                       {"zero divisor", 14, [](CallArgs& a) { a.param[1] = 0; }, zepStsBadArg}});
    zt::expectOrder("Column_16s_C1R",
                    CallArgs({rows.data(), dst.data(), (void*)taps, buffer}, {dst.step()}, {6, 4}, {3, 4}),
                    zt::callWith<zepiFilterColumnPipeline_16s_C1R>, b, {&dst.canvas});
}

// ---- Peers ----

// cv::sepFilter2D correlates with the same taps; with BORDER_REPLICATE and the
// anchor at the centre the 32f row-then-column result equals ours up to
// float accumulation order (OpenCV may vectorise its sums differently).
TEST(PipelinePeers, SepFilter2D32f) {
    const int W = 83, H = 29, k = 5, r = 2;
    cv::Mat src(H, W, CV_32FC1), theirs;
    cv::randu(src, -10, 10);
    const float kx[5] = {0.1f, -0.3f, 0.7f, 0.25f, 0.05f}, ky[5] = {0.2f, 0.2f, 0.3f, 0.1f, 0.2f};
    cv::Mat inter(H + k - 1, W, CV_32FC1), ours(H, W, CV_32FC1);
    std::vector<float*> dstRows;
    cv::Mat padded;
    cv::copyMakeBorder(src, padded, r, r, 0, 0, cv::BORDER_REPLICATE);
    for (int i = 0; i < H + k - 1; ++i) dstRows.push_back(inter.ptr<float>(i));
    uint8_t buf[1024];
    ASSERT_EQ(zepiFilterRowBorderPipeline_32f_C1R(padded.ptr<float>(), int(padded.step), dstRows.data(),
                                                  {W, H + k - 1}, kx, k, r, zepBorderRepl, 0, buf),
              zepStsOk);
    std::vector<const float*> colRows(dstRows.begin(), dstRows.end());
    ASSERT_EQ(zepiFilterColumnPipeline_32f_C1R(colRows.data(), ours.ptr<float>(), int(ours.step), {W, H}, ky, k, buf),
              zepStsOk);
    cv::sepFilter2D(src, theirs, CV_32F, cv::Mat(1, k, CV_32F, const_cast<float*>(kx)),
                    cv::Mat(1, k, CV_32F, const_cast<float*>(ky)), cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), 1e-4);
    // OpenCV's reflect-101 is this library's mirror (no repeated edge pixel).
    ASSERT_EQ(zepiFilterRowBorderPipeline_32f_C1R(src.ptr<float>(), int(src.step), dstRows.data(), {W, H}, kx, k, r,
                                                  zepBorderMirror, 0, buf),
              zepStsOk);
    cv::Mat rowOnly;
    cv::filter2D(src, rowOnly, CV_32F, cv::Mat(1, k, CV_32F, const_cast<float*>(kx)), cv::Point(-1, -1), 0,
                 cv::BORDER_REFLECT_101);
    EXPECT_LE(cv::norm(inter.rowRange(0, H), rowOnly, cv::NORM_INF), 1e-4);
}

}  // namespace
