// Pipeline passes: the registry's entries with their rules (borders read from
// memory only where the flags say, the column pass's rows in any order), the
// worked rounding rules, and the buffer sizes at the edges of an int.
#include <gtest/gtest.h>

#include <climits>

#include "filter/filter_rules.h"

namespace {

using zt::CallArgs;
using zt::rowOf;

// Parameters: kernel size, anchor, border, divisor, three border values, flags
// (1 null kernel, 2 null buffer, 4 a null row, 8 null border value), taps.
enum { K, Anchor, Border, Divisor, Value, Flags = 7, Taps = 8 };

// Every kernel size with a path of its own; taps of every scale up to the
// 16-bit limit (or floats), symmetric half the time; divisors of both kinds.
template <class S, class Tap>
std::vector<double> passParams(std::mt19937& rng, bool positive) {
    static const uint32_t borders[] = {1, 3, 6, 0x41, 0x83, 0xC6, 0xF0, 0xF1, 0xB3, 0x76};
    const int k = std::vector{1, 2, 3, 4, 5, 7, 8, 9, 31, 32, 33}[rng() % 11];
    const int scale = std::vector{3, 100, 4096 / k + 1, 32767 / k, 32767}[rng() % 5];
    std::vector<double> p = {
        double(k), double(rng() % uint32_t(k)), double(borders[rng() % 10]),
        double(std::vector{1, 2, 4096, 1 << 15, 3, 1000, 1 << 16, -1, -4096, -7}[rng() % (positive ? 7 : 10)])};
    for (int c = 0; c < 3; ++c) p.push_back(double(zt::randomValue<S>(rng, false)));
    p.push_back(0);
    const bool mixed = rng() % 2, symmetric = rng() % 2;
    for (int j = 0; j < k; ++j)
        p.push_back(std::is_floating_point_v<Tap>
                        ? std::uniform_real_distribution<double>(-1, 1)(rng)
                        : double(rng() % uint32_t(scale + 1)) * (mixed && rng() % 2 ? -1 : 1));
    for (int j = 0; symmetric && j < k / 2; ++j) p[size_t(Taps + k - 1 - j)] = p[size_t(Taps + j)];
    return p;
}

// The row pass's source, with the pixels beyond it that its flags let it read.
template <class S, int C>
const S* rowSource(const CallArgs& a) {
    const int k = int(a.param[K]), x = int(a.param[Anchor]), b = int(a.param[Border]);
    return reinterpret_cast<const S*>(
        zf::placed(a, 0, C * sizeof(S), 0, 0, b & 0x40 ? x : 0, b & 0x80 ? k - 1 - x : 0));
}

// The column pass's rows, in the region's columns of its source image: the
// image's last row first, then its rows from the first on.
template <class S, int C>
std::vector<const S*> columnRows(const CallArgs& a) {
    std::vector<const S*> rows(static_cast<size_t>(std::max(a.roi.height + int(a.param[K]) - 1, 1)));
    const uint8_t* first = zf::placed(a, 0, C * sizeof(S), 0, zf::kMargin, 0, 0);
    for (size_t j = 0; first && j < rows.size(); ++j)
        rows[j] = reinterpret_cast<const S*>(first + int64_t(j ? j - 1 : a.roi.height + zf::kMargin - 1) * a.step[0]);
    return rows;
}

// Row: ext(x + j - anchor) of each channel by the border; column: row y + j.
template <bool Row, class S, class D, class Tap, int C>
ZepStatus passRule(const CallArgs& a) {
    const int k = int(a.param[K]), x0 = int(a.param[Anchor]), b = int(a.param[Border]), W = a.roi.width;
    const std::vector<Tap> taps(a.param.begin() + Taps, a.param.end());
    const S* src = rowSource<S, C>(a);
    const std::vector<const S*> rows = columnRows<S, C>(a);
    for (int y = 0; y < a.roi.height; ++y)
        for (int e = 0; e < W * C; ++e) {
            const S* row = reinterpret_cast<const S*>(reinterpret_cast<const uint8_t*>(src) + int64_t{y} * a.step[0]);
            auto ext = [&](int j) {
                int64_t i = e / C + j - x0;
                if ((i < 0 && !(b & 0x40)) || (i >= W && !(b & 0x80))) {
                    if ((b & 15) == zepBorderConst) return S(a.param[size_t(Value + e % C)]);
                    i = zf::fold(i, W, b & 15);
                }
                return row[i * C + e % C];
            };
            auto column = [&](int j) { return rows[size_t(y + j)][e]; };
            if constexpr (Row)
                rowOf<D>(a, 1, y)[e] = zf::rowValue<D>(taps.data(), k, int(a.param[Divisor]), ext);
            else
                rowOf<D>(a, 1, y)[e] = zf::columnValue<D, S>(taps.data(), k, int(a.param[Divisor]), column);
        }
    return zepStsOk;
}

// The buffer queried and allocated at exactly its size; flags null arguments.
template <bool Row, class S, class D, class Tap, int C, auto F, auto Q>
ZepStatus passCall(const CallArgs& a) {
    const int k = int(a.param[K]), flags = int(a.param[Flags]);
    const std::vector<Tap> taps(a.param.begin() + Taps, a.param.end());
    int bytes = 64;
    Q(a.roi, k, &bytes);
    const zt::Canvas buffer = zt::bufferOf(bytes);
    const Tap* kernel = flags & 1 ? nullptr : taps.data();
    uint8_t* work = flags & 2 ? nullptr : buffer.first();
    std::vector<const S*> in = columnRows<S, C>(a);
    std::vector<D*> out(size_t(std::max(a.roi.height, 1)));
    for (int y = 0; a.ptr[1] && y < a.roi.height; ++y) out[size_t(y)] = rowOf<D>(a, 1, y);
    if (flags & 4) in.back() = nullptr, out.back() = nullptr;
    const S values[3] = {S(a.param[Value]), S(a.param[Value + 1]), S(a.param[Value + 2])};
    const S* value = flags & 8 ? nullptr : values;
    auto call = [&](auto... divisor) {
        if constexpr (!Row)
            return F(a.ptr[0] ? in.data() : nullptr, static_cast<D*>(a.ptr[1]), a.step[1], a.roi, kernel, k,
                     divisor..., work);
        else if constexpr (C == 1)
            return F(rowSource<S, C>(a), a.step[0], a.ptr[1] ? out.data() : nullptr, a.roi, kernel, k,
                     int(a.param[Anchor]), uint32_t(a.param[Border]), values[0], divisor..., work);
        else
            return F(rowSource<S, C>(a), a.step[0], a.ptr[1] ? out.data() : nullptr, a.roi, kernel, k,
                     int(a.param[Anchor]), uint32_t(a.param[Border]), value, divisor..., work);
    };
    if constexpr (std::is_floating_point_v<S>)
        return call();
    else
        return call(int(a.param[Divisor]));
}

enum class Check { none, early, late, earlyPositive };  // of the divisor

// StepC: the channels the column pass checks its destination step against.
template <bool Row, class S, class D, class Tap, int C, auto F, auto Q, Check dc = Check::none, int StepC = C>
zt::Entry passEntry(const std::string& type) {
    const std::string pass = Row ? "RowBorder" : "Column";
    zt::Entry e{"zepiFilter" + pass + "Pipeline_" + type,
                {{int(sizeof(S)), C, 0, zf::kMargin}, zt::output(sizeof(D), C)},
                passCall<Row, S, D, Tap, C, F, Q>,
                passRule<Row, S, D, Tap, C>};
    e.params = [](std::mt19937& rng, ImageSize) {
        std::vector<double> p = passParams<S, Tap>(rng, dc == Check::earlyPositive);
        if (!Row && p[Divisor] == 1 << 16) p[Divisor] = -100000;  // a reciprocal that is not a power of two
        return p;
    };
    e.checks = [](std::vector<zt::Breaker>& b) {
        using zf::set;
        const ZepStatus null = zepStsNullPointer;
        b = {zt::nullBreaker(0), zt::nullBreaker(1), set("null kernel", Flags, 1, null, true)};
        if (Row) b.push_back(set("null buffer", Flags, 2, null, true));
        b.insert(b.end(), zf::kSize.begin(), zf::kSize.end());
        if (Row) {
            b.push_back(set("null row", Flags, 4, null, true));
            if (C == 3) b.push_back(set("null border value", Flags, 8, null, true));
            b.push_back(set("kernel size 0", K, 0, zepStsBadSize));
            b.push_back(
                {"anchor = kernel size", 301, [](CallArgs& a) { a.param[Anchor] = a.param[K]; }, zepStsBadAnchor});
            b.push_back(set("anchor -1", Anchor, -1, zepStsBadAnchor));
            for (const auto& s : zf::steps({{0, C * int(sizeof(S)), int(sizeof(S))}})) b.push_back(s);
            if (dc == Check::early || dc == Check::earlyPositive)
                b.push_back(set("divisor 0", Divisor, 0, zepStsBadArg));
            if (dc == Check::earlyPositive) b.push_back(set("divisor -1", Divisor, -1, zepStsBadArg));
            for (double v : {256, 2, 0xF2}) b.push_back(set("bad border", Border, v, zepStsBadBorder));
            if (dc == Check::late) b.push_back(set("divisor 0", Divisor, 0, zepStsBadArg));
            return;
        }
        // The scan covers height + kernel size - 1 rows: not combined with a broken kernel size.
        b.push_back(
            {"last row null", 300, [](CallArgs& a) { a.param[Flags] = double(int(a.param[Flags]) | 4); }, null});
        b.push_back(set("kernel size 0", K, 0, zepStsBadSize));
        for (const auto& s : zf::steps({{1, StepC * int(sizeof(D)), int(sizeof(D))}})) b.push_back(s);
        b.push_back(set("null buffer", Flags, 2, null, true));
        if (!std::is_floating_point_v<S>) b.push_back(set("divisor 0", Divisor, 0, zepStsBadArg));
    };
    e.covers = {"zepiFilter" + pass + "PipelineGetBufferSize_" + type};
    if (!std::is_floating_point_v<D>) e.nans = zt::NaNs::exact;  // no floats to compare by class
    e.sizes = {{1100, 9}, {600, 11}};  // column strips of several hundred elements, in groups of rows
    for (int w : zt::sweepWidths()) e.sizes.insert(e.sizes.end(), {{w, 1}, {w, 3}});
    return e;
}

#define ROW(S, D, T, C, F, DC)                                                                                 \
    passEntry<true, S, D, T, C, zepiFilterRowBorderPipeline_##F, zepiFilterRowBorderPipelineGetBufferSize_##F, \
              Check::DC>(#F)
#define COLUMN(S, D, T, C, F, ...)                                                                        \
    passEntry<false, S, D, T, C, zepiFilterColumnPipeline_##F, zepiFilterColumnPipelineGetBufferSize_##F, \
              Check::none, ##__VA_ARGS__>(#F)

// clang-format off
const bool enrolled = zt::enrol({
    ROW(uint8_t, int16_t, int16_t, 1, 8u16s_C1R, late),          ROW(uint8_t, int16_t, int16_t, 3, 8u16s_C3R, early),
    ROW(int16_t, int16_t, int16_t, 1, 16s_C1R, early),           ROW(int16_t, int16_t, int16_t, 3, 16s_C3R, late),
    ROW(int16_t, int16_t, int16_t, 1, Low_16s_C1R, early),       ROW(int16_t, int16_t, int16_t, 3, Low_16s_C3R, early),
    ROW(uint16_t, uint16_t, int16_t, 1, 16u_C1R, earlyPositive), ROW(uint16_t, uint16_t, int16_t, 3, 16u_C3R, earlyPositive),
    ROW(float, float, float, 1, 32f_C1R, none),                  ROW(float, float, float, 3, 32f_C3R, none),
    COLUMN(int16_t, int16_t, int16_t, 1, 16s_C1R),               COLUMN(int16_t, int16_t, int16_t, 3, 16s_C3R),
    COLUMN(int16_t, uint8_t, int16_t, 1, 16s8u_C1R),             COLUMN(int16_t, uint8_t, int16_t, 3, 16s8u_C3R),
    COLUMN(int16_t, int8_t, int16_t, 1, 16s8s_C1R),              COLUMN(int16_t, int8_t, int16_t, 3, 16s8s_C3R),
    COLUMN(int16_t, int16_t, int16_t, 1, Low_16s_C1R),
    COLUMN(int16_t, int16_t, int16_t, 3, Low_16s_C3R, 1),  // its step is checked against one channel, by design
    COLUMN(uint16_t, uint16_t, int16_t, 1, 16u_C1R),             COLUMN(uint16_t, uint16_t, int16_t, 3, 16u_C3R),
    COLUMN(float, float, float, 1, 32f_C1R),                     COLUMN(float, float, float, 3, 32f_C3R)});
// clang-format on

// ---- Worked rules: kernel size 1 gives round(t x / d), ties to even, saturated.
TEST(PipelineRules, RoundingTiesToEvenAndSaturation) {
    const uint8_t u8[4] = {1, 3, 5, 7};
    const int16_t s16[4] = {255, -257, 5, 7}, *rows[1] = {s16}, one = 1, three = 3, low = -32768;
    int16_t o16[4], *outs[1] = {o16};
    int8_t o8[4];
    uint8_t o8u[4], buffer[256];
    using V = std::vector<int>;
    ASSERT_EQ(zepiFilterRowBorderPipeline_8u16s_C1R(u8, 4, outs, {4, 1}, &one, 1, 0, 1, 0, 2, buffer), zepStsOk);
    EXPECT_EQ(V(o16, o16 + 4), (V{0, 2, 2, 4}));  // 0.5, 1.5, 2.5, 3.5
    ASSERT_EQ(zepiFilterRowBorderPipeline_8u16s_C1R(u8, 4, outs, {4, 1}, &low, 1, 0, 1, 0, -2, buffer), zepStsOk);
    EXPECT_EQ(V(o16, o16 + 4), (V{16384, 32767, 32767, 32767}));  // a negative divisor, saturated
    // Column, single precision: 127.5 -> 128 saturates to 127 (8s), -128.5 -> -128, 2.5 -> 2.
    ASSERT_EQ(zepiFilterColumnPipeline_16s8s_C1R(rows, o8, 4, {4, 1}, &one, 1, 2, buffer), zepStsOk);
    EXPECT_EQ(V(o8, o8 + 4), (V{127, -128, 2, 4}));
    ASSERT_EQ(zepiFilterColumnPipeline_16s8u_C1R(rows, o8u, 4, {4, 1}, &one, 1, 2, buffer), zepStsOk);
    EXPECT_EQ(V(o8u, o8u + 4), (V{128, 0, 2, 4}));
    ASSERT_EQ(zepiFilterColumnPipeline_16s_C1R(rows, o16, 8, {4, 1}, &three, 1, 3, buffer), zepStsOk);
    EXPECT_EQ(V(o16, o16 + 4), (V{255, -257, 5, 7}));  // tap 3 and divisor 3 land on the value exactly
}

// ---- Buffer sizes: the formula in 128 bits where it fits an int, otherwise
// zepStsSizeOverflow with nothing written; the passes refuse the same last.
using i128 = __int128;
i128 up(i128 v, int a) { return (v + a - 1) / a * a; }
// clang-format off
#define RQ(F, a) {zepiFilterRowBorderPipelineGetBufferSize_##F, [](i128, i128 k) -> i128 { return a; }}
#define CQ(F, a) {zepiFilterColumnPipelineGetBufferSize_##F, [](i128 w, i128 k) -> i128 { return (void)w, (void)k, a; }}
const struct { ZepStatus (*f)(ImageSize, int, int*); i128 (*bytes)(i128 w, i128 k); } kQueries[] = {
    RQ(8u16s_C1R, 34 * k + 32 * (k / 4) + 66), RQ(8u16s_C3R, 60 * k + 144), RQ(16s_C1R, 48 * k + 112),
    RQ(16s_C3R, 40 * k + 96), RQ(Low_16s_C1R, 24 * k + 96), RQ(Low_16s_C3R, 208 * k + 96), RQ(16u_C1R, 64 * k + 96),
    RQ(16u_C3R, 128 * k + 96), RQ(32f_C1R, 96 * k + 96), RQ(32f_C3R, 288 * k + 96),
    CQ(16s_C1R, 12 * up(w, 4) + 64), CQ(16s8u_C1R, 12 * up(w, 4) + 64), CQ(16s8s_C1R, 12 * up(w, 4) + 64),
    CQ(16s_C3R, 36 * up(w, 4) + 64), CQ(16s8u_C3R, 36 * up(w, 4) + 64), CQ(16s8s_C3R, 36 * up(w, 4) + 64),
    CQ(Low_16s_C1R, 12 * up(w, 8) + 64), CQ(Low_16s_C3R, 36 * up(w, 8) + 64), CQ(16u_C1R, 8 * up(w, 4) + 32 * k + 64),
    CQ(16u_C3R, 8 * up(3 * w, 4) + 32 * k + 64), CQ(32f_C1R, 32 * k + 32), CQ(32f_C3R, 32 * k + 32)};
// clang-format on

TEST(PipelineSizes, FormulaOrRefusalAtTheEdgesOfAnInt) {
    for (const auto& q : kQueries)
        for (bool ofWidth : {true, false}) {
            auto want = [&](int64_t v) { return ofWidth ? q.bytes(v, 5) : q.bytes(9, v); };
            std::vector<int64_t> probes = {1,       2,        3,        13,        255,      65535,
                                           1 << 20, 22369621, 89478485, 357913941, INT32_MAX};
            if (int64_t lo = 1, hi = INT32_MAX; want(hi) > INT_MAX) {  // the last value that fits, the first not
                while (hi - lo > 1) (want((lo + hi) / 2) <= INT_MAX ? lo : hi) = (lo + hi) / 2;
                probes.insert(probes.end(), {lo - 1, lo, hi, hi + (hi < INT32_MAX)});
            }
            for (int64_t v : probes) {
                int size = -7;
                const bool fits = want(v) <= INT_MAX;
                EXPECT_EQ(q.f({ofWidth ? int(v) : 9, 3}, ofWidth ? 5 : int(v), &size),
                          fits ? zepStsOk : zepStsSizeOverflow);
                EXPECT_EQ(size, fits ? int(want(v)) : -7) << int(&q - kQueries) << " " << v;
            }
            int s = 0;  // null, then sizes, then the overflow
            EXPECT_EQ(q.f({0, 1}, INT32_MAX, nullptr), zepStsNullPointer);
            EXPECT_EQ(q.f({0, 1}, INT32_MAX, &s), zepStsBadSize);
            EXPECT_EQ(q.f({1, ofWidth ? 0 : 1}, ofWidth ? 1 : 0, &s), zepStsBadSize);
        }
    float f[4] = {}, *rows[1] = {f};
    int16_t h[8] = {}, *rows16[1] = {h};
    const int16_t* in16[1] = {h};
    uint8_t buffer[64];
    EXPECT_EQ(zepiFilterRowBorderPipeline_32f_C1R(f, 16, rows, {1, 1}, f, 22369621, 0, 1, 0, buffer),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterRowBorderPipeline_32f_C1R(f, 16, rows, {1, 1}, f, 22369621, 0, 1, 0, nullptr),
              zepStsNullPointer);
    EXPECT_EQ(zepiFilterRowBorderPipeline_Low_16s_C3R(h, 16, rows16, {1, 1}, h, 10324958, 0, 1, h, 1, buffer),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterColumnPipeline_16s_C3R(in16, h, INT32_MAX - 1, {59652322, 1}, h, 1, 1, buffer),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterColumnPipeline_16s_C3R(in16, h, INT32_MAX - 1, {59652322, 1}, h, 1, 0, buffer), zepStsBadArg);
}

// The Gaussian sizes are composed of the passes' (row R, column C of a band of
// h = min(H, k) rows) with rings of L = ((W + k) n + 7) & ~7 elements.
i128 gaussianBuffer(i128 W, i128 H, i128 k, int type, int n) {
    const i128 h = std::min(H, k), L = ((W + k) * n + 7) / 8 * 8;
    const int row = (type == zep8u ? 0 : type == zep16s ? 2 : type == zep16u ? 6 : 8) + (n == 3);
    const int column = type == zep16u ? 18 + (n == 3) : type == zep32f ? 20 : n == 3 ? 13 : 10;
    const i128 R = kQueries[row].bytes(W, k), C = kQueries[column].bytes(W, k);
    if (type == zep32f) return 4 * k * L + 32 + 4 * L * (h + k) + 64 + R + 32 + C + 32 + 8 * (h + k) + 32;
    return 2 * L * (h + k) + 64 + 2 * (2 * L * (k / 2) + 16) + R + 32 + C + 32 + 8 * (H + k) + 32;
}

TEST(GaussianSizes, FormulaOrRefusalAndInitAndFiltersAgree) {
    std::vector<std::tuple<int, int, uint32_t>> cases = {{1, 1, 3},         {100, 50, 5},        {1431655766, 2, 13},
                                                         {1, 1, 65535},     {1, 1, 4294967295u}, {1, 1, 134217727},
                                                         {INT32_MAX, 1, 3}, {1, INT32_MAX, 3},   {46341, 46341, 5},
                                                         {16383, 2, 16383}, {3, 5, 2147483647u}};
    for (int w : {1, 1 << 12, 1 << 20, 1 << 25})
        for (uint32_t k : {3u, 255u, 4095u, 32767u, 1048575u}) cases.emplace_back(w, 7, k);
    std::vector<uint8_t> spec(16 * 8193 + 64, 0xab);
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    for (auto [W, H, k] : cases)
        for (int type : {zep8u, zep16u, zep16s, zep32f})
            for (int n : {1, 3}) {
                int specSize = -7, bufferSize = -7;
                int64_t specL = -7;
                const i128 wantSpec = type == zep32f ? 32 * i128{k} + 32 : 16 * i128{k} + 36;
                const i128 wantBuffer = gaussianBuffer(W, H, k, type, n);
                const bool fits = wantSpec <= INT_MAX && wantBuffer <= INT_MAX;
                SCOPED_TRACE(::testing::Message() << W << "x" << H << " k " << k << " type " << type << " C" << n);
                EXPECT_EQ(zepiFilterGaussianGetBufferSize({W, H}, k, type, n, &specSize, &bufferSize),
                          fits ? zepStsOk : zepStsSizeOverflow);
                EXPECT_EQ(specSize, fits ? int(wantSpec) : -7);
                EXPECT_EQ(bufferSize, fits ? int(wantBuffer) : -7);
                EXPECT_EQ(zepiFilterGaussianGetSpecSize_L(k, type, n, &specL), zepStsOk);
                EXPECT_EQ(specL, int64_t(wantSpec));
                if (!fits) {  // Init refuses the same, writing nothing
                    EXPECT_EQ(zepiFilterGaussianInit({W, H}, k, 1, 1, type, n, s, spec.data()), zepStsSizeOverflow);
                }
            }
    EXPECT_EQ(spec[0], 0xab);
    // The filters refuse, after every other check, a buffer the query refuses; _L sizes and steps past 32 bits.
    std::vector<uint8_t> buffer(1 << 20);
    int16_t px = 0;
    uint8_t p8 = 0;
    ASSERT_EQ(zepiFilterGaussianInit({1, 1}, 8193, 2.0f, zepBorderRepl, zep16s, 1, s, buffer.data()), zepStsOk);
    EXPECT_EQ(zepiFilterGaussianBorder_16s_C1R(&px, 400000, &px, 400000, {200000, 200}, 0, s, buffer.data()),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussianBorder_16s_C1R(&px, 400000, &px, 399998, {200000, 200}, 0, s, buffer.data()),
              zepStsBadStep);
    ASSERT_EQ(zepiFilterGaussianInit_L({4, 4}, 3, 1.0f, zepBorderRepl, zep8u, 1, s), zepStsOk);
    EXPECT_EQ(zepiFilterGaussian_8u_C1R_L(&p8, 0x7fffffff, &p8, 1, {1, 1}, 0, s, buffer.data()), zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussian_8u_C1R_L(&p8, 0x7fffffff, &p8, 0x7fffffff, {0x7fffffff, 1}, 0, s, buffer.data()),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussianInit_L({0x7fffffff, 2}, 3, 1.0f, 2, zep8u, 1, s), zepStsBadBorder);
    EXPECT_EQ(zepiFilterGaussianInit_L({0x7fffffff, 2}, 3, 1.0f, 1, zep8u, 1, s), zepStsSizeOverflow);
    int64_t n = -1;
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({2000000000, 3}, 4294967295u, zep32f, 3, &n), zepStsSizeOverflow);
    EXPECT_EQ(n, -1);
}

}  // namespace
