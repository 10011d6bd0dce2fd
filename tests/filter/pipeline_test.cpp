// Pipeline filters: vector kernels against the scalar definition over widths,
// kernel sizes, anchors, borders (with real pixels beyond the region where an
// in-memory flag says so) and divisors; worked rounding, saturation and border
// examples; buffer-size formulas; check orders; OpenCV's sepFilter2D.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "filter/filter_support.h"
#include "filter/pipeline_checks.h"

namespace {

using zep::Path;
using zep::filter::DivisorCheck;
using zt::Image;

constexpr uint32_t kBorders[] = {1, 3, 6, 0x41, 0x83, 0xC6, 0xF0, 0xF1, 0xB3, 0x76};

template <class Src, class Dst, class Tap>
using RowFn = std::function<ZepStatus(const Src*, int, Dst**, ImageSize, const Tap*, int, int, uint32_t,
                                      const Src*, int, uint8_t*)>;

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

template <class Src, class Dst, class Tap, int Ch, DivisorCheck DC>
void expectRowAgrees(const char* name, RowFn<Src, Dst, Tap> exported) {
    std::mt19937 rng(7);
    const std::vector<int> divisors = DC == DivisorCheck::earlyPositive
                                          ? std::vector<int>{1, 2, 4096, 3, 1000, 32768}
                                          : std::vector<int>{1, 2, 4096, -16, 3, -7, 1000};
    for (int w : {1, 2, 3, 5, 15, 16, 17, 33, 63, 64, 65, 200}) {
        for (int k : {1, 2, 3, 4, 5, 7, 31}) {
            for (uint32_t border : kBorders) {
                const int anchor = std::vector<int>{0, k / 2, k - 1}[rng() % 3];
                const int h = 2;
                const bool memLeft = border & 0x40, memRight = border & 0x80;
                const int margin = k;
                Image<Src> src(rng, w + (memLeft ? margin : 0) + (memRight ? margin : 0), h, Ch, false);
                const Src* first = src.data() + (memLeft ? margin * Ch : 0);
                Image<Dst> ours(rng, w, h, Ch, false);
                zt::Canvas theirs = ours.canvas;
                const auto before = ours.canvas.bytes();
                std::vector<Dst*> rowsOurs(h), rowsTheirs(h);
                for (int y = 0; y < h; ++y) {
                    rowsOurs[y] = ours.at(y);
                    rowsTheirs[y] = reinterpret_cast<Dst*>(theirs.row(y));
                }
                const int scale = std::vector<int>{200, 4000, 32767}[rng() % 3];
                const auto taps = randomTaps<Tap>(rng, k, scale);
                const int divisor = divisors[rng() % divisors.size()];
                Src value[3];
                for (auto& v : value) v = zt::randomValue<Src>(rng, false);
                uint8_t buffer[16];
                ASSERT_EQ(exported(first, src.step(), rowsOurs.data(), {w, h}, taps.data(), k, anchor, border, value,
                                   divisor, buffer),
                          zepStsOk);
                ASSERT_EQ((zep::filter::rowPipeline<Path::scalar, Src, Dst, Tap, Ch, DC>(
                              first, src.step(), rowsTheirs.data(), {w, h}, taps.data(), k, anchor, border, value,
                              divisor, buffer)),
                          zepStsOk);
                if constexpr (std::is_floating_point_v<Dst>) zt::canonicalizeNaNs(ours.canvas), zt::canonicalizeNaNs(theirs);
                ASSERT_EQ(zt::firstDifference(ours.canvas, theirs), -1)
                    << name << " w " << w << " k " << k << " anchor " << anchor << " border " << border
                    << " divisor " << divisor << " scale " << scale;
                ASSERT_EQ(zt::firstGuardChange(ours.canvas, before), -1) << name << " w " << w;
            }
        }
    }
}

// The exports in the one calling form of the tests (border value by pointer, divisor always).
template <class Src, class Dst, class V, auto F>
ZepStatus rowCall(const Src* s, int st, Dst** d, ImageSize r, const int16_t* t, int k, int a, uint32_t b,
                  const Src* v, int div, uint8_t* buf) {
    if constexpr (std::is_pointer_v<V>)
        return F(s, st, d, r, t, k, a, b, v, div, buf);
    else
        return F(s, st, d, r, t, k, a, b, v[0], div, buf);
}
template <class V, auto F>
ZepStatus rowCall32f(const float* s, int st, float** d, ImageSize r, const float* t, int k, int a, uint32_t b,
                     const float* v, int, uint8_t* buf) {
    if constexpr (std::is_pointer_v<V>)
        return F(s, st, d, r, t, k, a, b, v, buf);
    else
        return F(s, st, d, r, t, k, a, b, v[0], buf);
}

TEST(RowPipeline, VectorAgreesWithScalarDefinition) {
    using P = const uint8_t*;
    using Q = const int16_t*;
    using U = const uint16_t*;
    expectRowAgrees<uint8_t, int16_t, int16_t, 1, DivisorCheck::late>(
        "8u16s_C1R", rowCall<uint8_t, int16_t, uint8_t, zepiFilterRowBorderPipeline_8u16s_C1R>);
    expectRowAgrees<uint8_t, int16_t, int16_t, 3, DivisorCheck::early>(
        "8u16s_C3R", rowCall<uint8_t, int16_t, P, zepiFilterRowBorderPipeline_8u16s_C3R>);
    expectRowAgrees<int16_t, int16_t, int16_t, 1, DivisorCheck::early>(
        "16s_C1R", rowCall<int16_t, int16_t, int16_t, zepiFilterRowBorderPipeline_16s_C1R>);
    expectRowAgrees<int16_t, int16_t, int16_t, 3, DivisorCheck::late>(
        "16s_C3R", rowCall<int16_t, int16_t, Q, zepiFilterRowBorderPipeline_16s_C3R>);
    expectRowAgrees<int16_t, int16_t, int16_t, 1, DivisorCheck::early>(
        "Low_16s_C1R", rowCall<int16_t, int16_t, int16_t, zepiFilterRowBorderPipeline_Low_16s_C1R>);
    expectRowAgrees<int16_t, int16_t, int16_t, 3, DivisorCheck::early>(
        "Low_16s_C3R", rowCall<int16_t, int16_t, Q, zepiFilterRowBorderPipeline_Low_16s_C3R>);
    expectRowAgrees<uint16_t, uint16_t, int16_t, 1, DivisorCheck::earlyPositive>(
        "16u_C1R", rowCall<uint16_t, uint16_t, uint16_t, zepiFilterRowBorderPipeline_16u_C1R>);
    expectRowAgrees<uint16_t, uint16_t, int16_t, 3, DivisorCheck::earlyPositive>(
        "16u_C3R", rowCall<uint16_t, uint16_t, U, zepiFilterRowBorderPipeline_16u_C3R>);
    expectRowAgrees<float, float, float, 1, DivisorCheck::none>(
        "32f_C1R", rowCall32f<float, zepiFilterRowBorderPipeline_32f_C1R>);
    expectRowAgrees<float, float, float, 3, DivisorCheck::none>(
        "32f_C3R", rowCall32f<const float*, zepiFilterRowBorderPipeline_32f_C3R>);
}

template <class Src, class Dst, class Tap>
using ColumnFn = std::function<ZepStatus(const Src* const*, Dst*, int, ImageSize, const Tap*, int, int, uint8_t*)>;

template <auto F>
ZepStatus columnCall32f(const float* const* s, float* d, int st, ImageSize r, const float* t, int k, int,
                        uint8_t* buf) {
    return F(s, d, st, r, t, k, buf);
}

template <class Src, class Dst, class Tap, int Ch, bool HasDivisor>
void expectColumnAgrees(const char* name, ColumnFn<Src, Dst, Tap> exported) {
    std::mt19937 rng(11);
    for (int w : zt::sweepWidths()) {
        for (int k : {1, 2, 3, 4, 5, 7, 31}) {
            const int h = 1 + int(rng() % 4);
            Image<Src> src(rng, w, h + k - 1, Ch, !std::is_integral_v<Src>);
            std::vector<const Src*> rows(h + k - 1);
            for (int i = 0; i < h + k - 1; ++i) rows[i] = src.at(i);
            std::shuffle(rows.begin(), rows.end(), rng);  // any row may stand anywhere
            Image<Dst> ours(rng, w, h, Ch, false);
            zt::Canvas theirs = ours.canvas;
            const auto before = ours.canvas.bytes();
            // Small taps (single precision for 16s), and large ones (the exact path).
            const int scale = std::vector<int>{300, 9000, 32767}[rng() % 3];
            const auto taps = randomTaps<Tap>(rng, k, scale);
            const int divisor = std::vector<int>{1, 3, 4096, -5, 65536, 1 << 20, -100000}[rng() % 7];
            uint8_t buffer[16];
            ASSERT_EQ(exported(rows.data(), ours.data(), ours.step(), {w, h}, taps.data(), k, divisor, buffer),
                      zepStsOk);
            ASSERT_EQ((zep::filter::columnPipeline<Path::scalar, Src, Dst, Tap, Ch, HasDivisor>(
                          rows.data(), reinterpret_cast<Dst*>(theirs.first()), ours.step(), {w, h}, taps.data(), k,
                          divisor, buffer)),
                      zepStsOk);
            if constexpr (std::is_floating_point_v<Dst>) zt::canonicalizeNaNs(ours.canvas), zt::canonicalizeNaNs(theirs);
            ASSERT_EQ(zt::firstDifference(ours.canvas, theirs), -1)
                << name << " w " << w << " k " << k << " divisor " << divisor << " scale " << scale;
            ASSERT_EQ(zt::firstGuardChange(ours.canvas, before), -1) << name << " w " << w;
        }
    }
}

TEST(ColumnPipeline, VectorAgreesWithScalarDefinition) {
    expectColumnAgrees<int16_t, int16_t, int16_t, 1, true>("16s_C1R", zepiFilterColumnPipeline_16s_C1R);
    expectColumnAgrees<int16_t, int16_t, int16_t, 3, true>("16s_C3R", zepiFilterColumnPipeline_16s_C3R);
    expectColumnAgrees<int16_t, uint8_t, int16_t, 1, true>("16s8u_C1R", zepiFilterColumnPipeline_16s8u_C1R);
    expectColumnAgrees<int16_t, uint8_t, int16_t, 3, true>("16s8u_C3R", zepiFilterColumnPipeline_16s8u_C3R);
    expectColumnAgrees<int16_t, int8_t, int16_t, 1, true>("16s8s_C1R", zepiFilterColumnPipeline_16s8s_C1R);
    expectColumnAgrees<int16_t, int8_t, int16_t, 3, true>("16s8s_C3R", zepiFilterColumnPipeline_16s8s_C3R);
    expectColumnAgrees<int16_t, int16_t, int16_t, 1, true>("Low_16s_C1R", zepiFilterColumnPipeline_Low_16s_C1R);
    expectColumnAgrees<int16_t, int16_t, int16_t, 3, true>("Low_16s_C3R", zepiFilterColumnPipeline_Low_16s_C3R);
    expectColumnAgrees<uint16_t, uint16_t, int16_t, 1, true>("16u_C1R", zepiFilterColumnPipeline_16u_C1R);
    expectColumnAgrees<uint16_t, uint16_t, int16_t, 3, true>("16u_C3R", zepiFilterColumnPipeline_16u_C3R);
    expectColumnAgrees<float, float, float, 1, false>("32f_C1R", columnCall32f<zepiFilterColumnPipeline_32f_C1R>);
    expectColumnAgrees<float, float, float, 3, false>("32f_C3R", columnCall32f<zepiFilterColumnPipeline_32f_C3R>);
}

}  // namespace
