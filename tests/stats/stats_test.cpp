// Image statistics: norms, means and deviations, extrema with positions: the
// registry's entries with their rules, worked rules, and OpenCV as a peer.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <opencv2/core.hpp>

#include "support/registry.h"

namespace {

using zt::CallArgs;
using zt::Entry;

// ---- Rules. Arguments: the sources, the mask of the masked forms, then the
// results; the channel of interest of the C3 forms is the first parameter.
template <class T, int C>
T pixel(const CallArgs& a, int i, int y, int x) {
    return zt::rowOf<T>(a, i, y)[x * C + (C > 1 ? int(a.param[0]) - 1 : 0)];
}

bool selected(const CallArgs& a, int mask, int y, int x) { return mask < 0 || zt::rowOf<uint8_t>(a, mask, y)[x]; }

template <class V>
void put(const CallArgs& a, size_t i, V v) {  // result i, unless passed as null
    if (i < a.ptr.size() && a.ptr[i]) std::memcpy(a.ptr[i], &v, sizeof v);
}

// Lanes folded in halves: lane l + lane l + n/2, then + n/4, down to one.
double fold(double* lane, int n) {
    for (int half = n / 2; half > 0; half /= 2)
        for (int l = 0; l < half; ++l) lane[l] += lane[l + half];
    return lane[0];
}

// The lane of pixel x in a 32f row of width w: blocks of 32 pixels into lanes
// 0..31 (vectors A = 0..15 and B = 16..31), then one block of 16 into A, one
// of 8 into A[0..7], and the last 0..7 pixels into lane 32, the scalar tail.
int laneOf(int x, int w) {
    const int body = w / 32 * 32, b16 = (w - body) / 16 * 16, b8 = (w - body - b16) / 8 * 8;
    return x < body ? x % 32 : x < body + b16 ? x - body : x < body + b16 + b8 ? x - body - b16 : 32;
}

enum class Kind { inf, l1, l2 };
enum class Of { src, diff, rel };

// Norms of |v|, v = a (or a - b), over the selected pixels, and of b for the
// denominator of NormRel. Inf: the largest |v|, NaN if a selected v is. L1, L2:
// |v| (v x v, fused) into lanes (laneOf) in row order, single precision for
// 32f (integers are exact at these sizes); at a row's end d[l] = (A[l] +
// A[l+8]) + (B[l] + B[l+8]) in double, folded, plus the tail, adds to the
// total; L2 takes the root. NormRel: num / den (L2: its root), or with den = 0
// +inf, NaN 0xFFF8000000000000 or -inf as num is above 0, 0 or else, warning.
template <Kind K, Of O, class T, int C>
ZepStatus normRule(const CallArgs& a) {
    using Lane = std::conditional_t<std::is_same_v<T, float>, float, double>;
    const int m = O == Of::src ? 1 : 2;
    double total[2] = {};
    for (int y = 0; y < a.roi.height; ++y) {
        Lane lane[2][33] = {};
        for (int x = 0; x < a.roi.width; ++x)
            for (int k = 0; k < 1 + (O == Of::rel) && selected(a, m, y, x); ++k) {
                const Lane p = pixel<T, C>(a, 0, y, x), q = O == Of::src ? 0 : pixel<T, C>(a, 1, y, x);
                const Lane v = std::fabs(k ? q : p - q);
                Lane& acc = lane[k][laneOf(x, a.roi.width)];
                if (K == Kind::inf) total[k] = std::isnan(v) ? v : std::max(total[k], double(v));  // NaN stays
                acc = K == Kind::l1 ? acc + v : std::fma(v, v, acc);
            }
        for (int k = 0; k < 2 && K != Kind::inf; ++k) {
            double d[8];
            for (int l = 0; l < 8; ++l)
                d[l] = (double(lane[k][l]) + lane[k][l + 8]) + (double(lane[k][l + 16]) + lane[k][l + 24]);
            total[k] += fold(d, 8) + double(lane[k][32]);
        }
    }
    const double num = total[0], den = O == Of::rel ? total[1] : 1.0, q = num / den;
    if (den != 0) return put(a, size_t(m + 1), K == Kind::l2 ? std::sqrt(q) : q), zepStsOk;
    put(a, size_t(m + 1), num > 0 ? INFINITY : num == 0 ? std::bit_cast<double>(0xFFF8000000000000u) : -INFINITY);
    return zepStsZeroDenominator;
}

// Mean and deviation over the selected pixels (all, unmasked): n, the sum and
// the sum of squares in double, element i = x * C + channel into lane i % 16
// in row order, the lanes folded at each row's end and added in row order.
// n = 0 gives 0s; else mean = sum / n, deviation sqrt(|sumSq / n - mean^2|), fused.
template <class T, int C, bool Masked>
ZepStatus meanRule(const CallArgs& a) {
    double sum = 0, sumSq = 0, n = 0;
    for (int y = 0; y < a.roi.height; ++y) {
        double lane[2][16] = {};
        for (int x = 0; x < a.roi.width; ++x) {
            if (!selected(a, Masked ? 1 : -1, y, x)) continue;
            const double v = pixel<T, C>(a, 0, y, x);
            const int i = (x * C + (C == 3 ? int(a.param[0]) - 1 : 0)) % 16;
            lane[0][i] += v, lane[1][i] += v * v, ++n;
        }
        sum += fold(lane[0], 16), sumSq += fold(lane[1], 16);
    }
    const double mean = n ? sum / n : 0.0;
    put(a, 1 + Masked, mean);
    put(a, 2 + Masked, n ? std::sqrt(std::fabs(std::fma(-mean, mean, sumSq / n))) : 0.0);
    return zepStsOk;
}

// Extrema over the selected pixels in row-major order: a pixel below the
// minimum so far (NaN never is), or equal to its start value (the type's
// largest, for 32f the largest finite) while none was taken, becomes the
// minimum at its position; the maximum likewise. So each is the first
// occurrence, with its zero sign; an extreme no pixel reaches keeps its start
// value at (0, 0). An empty mask gives zeros and a warning.
template <class T, int C, bool Masked>
ZepStatus minMaxRule(const CallArgs& a) {
    T ext[2] = {std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest()};
    bool taken[2] = {}, any = false;
    ImagePoint at[2] = {};
    for (int y = 0; y < a.roi.height; ++y)
        for (int x = 0; x < a.roi.width; ++x)
            for (int k = 0; k < 2 && selected(a, Masked ? 1 : -1, y, x); ++k) {
                const T v = pixel<T, C>(a, 0, y, x);
                any = true;
                if ((k ? v > ext[1] : v < ext[0]) || (v == ext[k] && !taken[k]))
                    ext[k] = v, at[k] = {x, y}, taken[k] = true;
            }
    for (size_t k = 0; k < 2; ++k)
        put(a, 1 + Masked + k, any ? float(ext[k]) : 0.0f), put(a, 3 + Masked + k, any ? at[k] : ImagePoint{0, 0});
    return any ? zepStsOk : zepStsEmptyMask;
}

// ---- Entries: sources of T with C channels, the mask in step group
// `maskGroup` (none if negative), result blocks of `results` bytes. Parameters:
// the channel of interest (C3 forms), then which optional results are passed
// as null (bit i: result i, in half the calls).
template <class T, int C, auto F>
Entry entry(const char* name, int sources, int maskGroup, zt::Caller model, bool optional, std::vector<int> results) {
    std::vector<zt::ImageRole> args(size_t(sources), zt::input(sizeof(T), C));
    if (maskGroup >= 0) args.push_back(zt::maskOf(maskGroup));
    const int first = int(args.size()), n = first + int(results.size());
    for (int bytes : results) args.push_back(zt::result(bytes));
    auto skipping = [first](zt::Caller f) -> zt::Caller {
        return [=](CallArgs a) {
            for (int i = first; i < int(a.ptr.size()); ++i)
                if (zt::parameterAs<unsigned>(a.param.back()) >> (i - first) & 1) a.ptr[size_t(i)] = nullptr;
            return f(a);
        };
    };
    Entry e{name, args, skipping(zt::callWith<F>), skipping(model)};
    e.params = [=](std::mt19937& rng, ImageSize) {
        const double nulls = optional && rng() % 2 ? rng() % (1u << (n - first)) : 0, coi = 1 + rng() % 3;
        return C == 3 ? std::vector<double>{coi, nulls} : std::vector<double>{nulls};
    };
    e.checks = [=](std::vector<zt::Breaker>& b) {
        if (optional) std::erase_if(b, [&](const zt::Breaker& k) { return k.field >= first && k.field < n; });
        for (int coi : C == 3 ? std::vector{0, 4} : std::vector<int>{})
            b.push_back({"channel " + std::to_string(coi), 300, [coi](CallArgs& a) { a.param[0] = coi; },
                         zepStsBadChannelOfInterest});
    };
    return e;
}

// Norm checks its source step fully before the mask step (mask in group 1).
#define ZT_NORM(TN, T, Op, K, O)                                                                            \
    entry<T, 1, zepi##Op##_##TN##_C1MR>("zepi" #Op "_" #TN "_C1MR", 1 + (O != Of::src), O == Of::src,       \
                                        normRule<K, O, T, 1>, false, {8}),                                  \
        entry<T, 3, zepi##Op##_##TN##_C3CMR>("zepi" #Op "_" #TN "_C3CMR", 1 + (O != Of::src), O == Of::src, \
                                             normRule<K, O, T, 3>, false, {8})
#define ZT_NORMS(TN, T, Op, O) \
    ZT_NORM(TN, T, Op##_Inf, Kind::inf, O), ZT_NORM(TN, T, Op##_L1, Kind::l1, O), ZT_NORM(TN, T, Op##_L2, Kind::l2, O)
#define ZT_STAT(TN, T, Op, M, L1, L3, Rule, ...)                                                           \
    entry<T, 1, zepi##Op##_##TN##_##L1>("zepi" #Op "_" #TN "_" #L1, 1, M - 1, Rule<T, 1, M>, __VA_ARGS__), \
        entry<T, 3, zepi##Op##_##TN##_##L3>("zepi" #Op "_" #TN "_" #L3, 1, M - 1, Rule<T, 3, M>, __VA_ARGS__)
#define ZT_FAMILY(TN, T)                                                                                    \
    ZT_NORMS(TN, T, Norm, Of::src), ZT_NORMS(TN, T, NormDiff, Of::diff), ZT_NORMS(TN, T, NormRel, Of::rel), \
        ZT_STAT(TN, T, Mean, true, C1MR, C3CMR, meanRule, false, {8}),                                      \
        ZT_STAT(TN, T, Mean_StdDev, false, C1R, C3CR, meanRule, true, {8, 8}),                              \
        ZT_STAT(TN, T, Mean_StdDev, true, C1MR, C3CMR, meanRule, true, {8, 8}),                             \
        ZT_STAT(TN, T, MinMaxIndx, false, C1R, C3CR, minMaxRule, true, {4, 4, 8, 8}),                       \
        ZT_STAT(TN, T, MinMaxIndx, true, C1MR, C3CMR, minMaxRule, true, {4, 4, 8, 8})

const bool enrolled = zt::enrol({ZT_FAMILY(8u, uint8_t), ZT_FAMILY(16u, uint16_t), ZT_FAMILY(32f, float)});

// Calls `e` (or its model) at `roi` on the sources a (and b) and the mask,
// with their row steps, channel of interest coi, its results into `out`.
ZepStatus callOn(const Entry& e, const void* a, const void* b, const void* mask, int step, int maskStep,
                 ImageSize roi, void* out, int coi = 1, bool model = false) {
    CallArgs c{{}, {}, roi, {0}};
    if (e.args[0].channels == 3) c.param.insert(c.param.begin(), coi);
    for (const zt::ImageRole& r : e.args) {
        c.ptr.push_back(const_cast<void*>(r.output ? out : r.mask ? mask : c.ptr.empty() ? a : b));
        c.step.push_back(r.output ? zt::kNoStep : r.mask ? maskStep : step);
        out = static_cast<uint8_t*>(out) + r.bytes;
    }
    return (model ? e.model : e.call)(c);
}

// Beyond the registry's sweep. 32f: sums that round, so that the order of the
// additions shows: 24-bit values times 2^-84..2^-5 (double lanes) or 2^-14
// (single lanes). Integers: a row longer than the spans after which 32-bit
// lanes move to 64-bit ones, at the largest values (of a - b, b in NormRel).
TEST(StatsRules, SumsKeepTheirLanesAndLongRowsStayExact) {
    std::mt19937 rng(11);
    for (const Entry& e : zt::registry()) {
        const int size = e.args[0].elemBytes, two = !e.args[1].mask && !e.args[1].output, h = size == 4 ? 2 : 1;
        for (int w : size == 4 ? zt::sweepWidths() : std::vector<int>{1100000 / e.args[0].channels}) {
            const int step = w * e.args[0].channels * size;
            std::vector<uint8_t> a(size_t(h * step), 0xFF), b(a.size(), 0), mask(a.size(), 1);
            float* f[2] = {reinterpret_cast<float*>(a.data()), reinterpret_cast<float*>(b.data())};
            a[5] = 3;
            for (size_t i = 0; i < a.size() && size == 4; ++i) {
                mask[i] = rng() % 4 != 0;
                if (i % 4 < 2)
                    f[i % 4][i / 4] =
                        std::ldexp(float(int(rng() % (1 << 25)) - (1 << 24)), w % 2 ? int(rng() % 80) - 84 : -14);
            }
            double out[2][3] = {};
            ZepStatus s[2];
            for (int m : {0, 1})
                s[m] = callOn(e, two ? b.data() : a.data(), a.data(), mask.data(), step, step, {w, h}, out[m], 2, m);
            ASSERT_TRUE(s[0] == s[1] && !std::memcmp(out[0], out[1], sizeof out[0])) << e.name << " at width " << w;
        }
    }
}

// The results in `out`: the norm, mean and deviation, or extrema and their x, y.
std::vector<double> results(const std::string& name, const double* out) {
    float v[2];
    int32_t p[4];
    std::memcpy(v, out, sizeof v), std::memcpy(p, out + 1, sizeof p);
    if (name.find("MinMax") == name.npos) return {out[0], out[1]};
    return {v[0], v[1], double(p[0]), double(p[1]), double(p[2]), double(p[3])};
}

// ---- Worked rules, on 32f one-channel forms: pixels `width` to a row (one row
// if 0), all selected unless a mask is given, the second source px unless given.
TEST(StatsRules, WorkedExamples) {
    const float v = 0x1.07f7a2p+3f;
    const double anyNaN = std::bit_cast<double>(0x7FFFull << 48), relNaN = std::bit_cast<double>(0xFFF8ull << 48);
    auto spike = [](int n, int x0, float v0, int x1, float v1, float others = 1.0f) {
        std::vector<float> px(size_t(n), others);
        px[size_t(x0)] = v0, px[size_t(x1)] = v1;
        return px;
    };
    const struct {
        const char* form;
        std::vector<float> px;
        std::vector<uint8_t> mask;
        int width;
        ZepStatus status;
        std::vector<double> want;  // anyNaN: NaN of any sign and payload
        std::vector<float> second = {};
    } examples[] = {
        // Squares round in single precision, fused: (1 + 2^-12)^2 = 1 + 2^-11 (+ 2^-24, lost to the tie).
        {"Norm_L2_32f_C1MR", {1.0f + 0x1p-12f}, {}, 0, zepStsOk, {std::sqrt(1.0 + 0x1p-11)}},
        {"Norm_L1_32f_C1MR", {0x1p24f, 1.0f}, {}, 1, zepStsOk, {0x1p24 + 1.0}},  // rows add in double
        {"Norm_L2_32f_C1MR", {3.0e38f}, {}, 0, zepStsOk, {INFINITY}},            // the lane overflows
        // 2^24 + 1 rounds to 2^24 when the pixel at 32 or 16 shares pixel 0's
        // lane, not when it has its own lane or is in the scalar tail.
        {"Norm_L1_32f_C1MR", spike(40, 0, 0x1p24f, 32, 1, 0), {}, 0, zepStsOk, {0x1p24}},
        {"Norm_L1_32f_C1MR", spike(39, 0, 0x1p24f, 32, 1, 0), {}, 0, zepStsOk, {0x1p24 + 1}},
        {"Norm_L2_32f_C1MR", spike(24, 0, 4096, 16, 1, 0), {}, 0, zepStsOk, {0x1p12}},
        {"Norm_L2_32f_C1MR", spike(64, 0, 4096, 16, 1, 0), {}, 0, zepStsOk, {std::sqrt(0x1p24 + 1)}},
        // An empty mask: +0, and NaN 0xFFF8000000000000 with a warning in NormRel.
        {"NormDiff_L1_32f_C1MR", {5, 6}, {0, 0}, 0, zepStsOk, {0.0}},
        {"NormRel_L2_32f_C1MR", {5, 6}, {0, 0}, 0, zepStsZeroDenominator, {relNaN}},
        // Identical sources: 0; a zero second source: +inf, under a NaN numerator -inf, with a warning.
        {"NormRel_Inf_32f_C1MR", {2, -1}, {}, 0, zepStsOk, {0.0}},
        {"NormRel_L1_32f_C1MR", {2, -1}, {}, 0, zepStsZeroDenominator, {INFINITY}, {0.0f, -0.0f}},
        {"NormRel_L2_32f_C1MR", {NAN, 1}, {}, 0, zepStsZeroDenominator, {-INFINITY}, {0.0f, -0.0f}},
        // -0 counts as +0, -inf as +inf; inf - inf is NaN; an unselected NaN is not read.
        {"Norm_Inf_32f_C1MR", {-0.0f, -0.0f}, {}, 0, zepStsOk, {0.0}},
        {"Norm_Inf_32f_C1MR", {1, -INFINITY, 2}, {}, 0, zepStsOk, {INFINITY}},
        {"Norm_L1_32f_C1MR", {1, -INFINITY, 2, NAN}, {1, 0, 1, 0}, 0, zepStsOk, {3.0}},
        {"NormDiff_L2_32f_C1MR", {1, -INFINITY}, {}, 0, zepStsOk, {anyNaN}},
        // A selected NaN of any sign and payload makes the infinity norm the quiet NaN 0x7FF8000000000000.
        {"Norm_Inf_32f_C1MR", {1, std::bit_cast<float>(0xFF800001u), INFINITY}, {}, 0, zepStsOk, {NAN}},
        // Means: a constant gives deviation 0; 1000 pixels v round their sums so
        // that mean x mean exceeds sumSq / n by 2^-46: the absolute value is taken.
        {"Mean_StdDev_32f_C1R", std::vector<float>(2100, 1.5f), {}, 300, zepStsOk, {1.5, 0.0}},
        {"Mean_StdDev_32f_C1R", std::vector<float>(1000, v), {}, 0, zepStsOk, {double(v), std::sqrt(0x1p-46)}},
        // An empty mask: zeros and success. Specials propagate; an unselected NaN takes no part.
        {"Mean_32f_C1MR", {5, 6, 7}, {0, 0, 0}, 0, zepStsOk, {0.0}},
        {"Mean_StdDev_32f_C1MR", {5, 6, 7}, {0, 0, 0}, 0, zepStsOk, {0.0, 0.0}},
        {"Mean_StdDev_32f_C1MR", {1, INFINITY, 2, -0.0f}, {1, 1, 1, 0}, 0, zepStsOk, {INFINITY, anyNaN}},
        {"Mean_32f_C1MR", {NAN, 1}, {0, 1}, 0, zepStsOk, {1.0}},
        // Extrema: NaN never compares; pixels beyond +-FLT_MAX leave the start values at (0, 0).
        {"MinMaxIndx_32f_C1R", {NAN, NAN, NAN, NAN}, {}, 2, zepStsOk, {FLT_MAX, -FLT_MAX, 0, 0, 0, 0}},
        {"MinMaxIndx_32f_C1R", {NAN, INFINITY, FLT_MAX}, {}, 0, zepStsOk, {FLT_MAX, INFINITY, 2, 0, 1, 0}},
        // -0 and +0 are equal: the first one is reported, with its sign.
        {"MinMaxIndx_32f_C1R", spike(20, 3, -0.0f, 18, 0.0f), {}, 0, zepStsOk, {-0.0, 1, 3, 0, 0, 0}},
        {"MinMaxIndx_32f_C1MR", {5, 6}, {0, 0}, 0, zepStsEmptyMask, {0.0, 0.0, 0, 0, 0, 0}},  // empty: zeros
    };
    for (const auto& e : examples) {
        double out[3] = {-7, -7, -7};
        const int n = int(e.px.size()), w = e.width ? e.width : n;
        const std::vector<uint8_t> mask = e.mask.empty() ? std::vector<uint8_t>(e.px.size(), 1) : e.mask;
        const void* second = e.second.empty() ? e.px.data() : e.second.data();
        const Entry& entry = *std::find_if(zt::registry().begin(), zt::registry().end(),
                                           [&](auto& x) { return x.name == std::string("zepi") + e.form; });
        EXPECT_EQ(callOn(entry, e.px.data(), second, mask.data(), 4 * w, w, {w, n / w}, out), e.status) << e.form;
        const std::vector<double> r = results(e.form, out);
        for (size_t k = 0; k < e.want.size(); ++k)
            EXPECT_TRUE(std::bit_cast<uint64_t>(r[k]) == std::bit_cast<uint64_t>(e.want[k]) ||
                        (std::isnan(r[k]) && std::bit_cast<uint64_t>(e.want[k]) == std::bit_cast<uint64_t>(anyNaN)))
                << e.form << " " << e.px.size() << " result " << k << ": " << r[k];
    }
}

// ---- Peers: OpenCV on the same data, the channel of interest extracted.
// - Norms agree exactly, but OpenCV sums 32f L1 and L2 in double, these in
//   single-precision lanes per row (2e-6 relative); OpenCV divides relative
//   norms by norm(b) + DBL_EPSILON (L2: the two roots), these exactly (1e-14
//   relative) and, on a zero denominator, give NaN or +inf with a warning.
// - Means: OpenCV multiplies exact integer sums by the rounded reciprocal of
//   the count (one ulp apart), sums 32f in its own order (1e-9 relative), and
//   takes sqrt(max(meanSq - mean^2, 0)) unfused for the deviation, these the
//   root of the absolute fused difference (1e-12 relative to the mean).
// - Extrema and positions agree exactly (no NaN: OpenCV's differs by code
//   path); on an empty mask OpenCV gives (-1, -1), these zeros and a warning.
TEST(StatsPeers, OpenCV) {
    const int w = 203, h = 29;
    for (const Entry& e : zt::registry()) {
        const std::string& name = e.name;
        const int size = e.args[0].elemBytes, depth = size == 1 ? CV_8U : size == 2 ? CV_16U : CV_32F, coi = 2;
        const double f = size == 4, top = f ? 1000.0 : 1 << (8 * size);
        cv::Mat a(h, w, CV_MAKETYPE(depth, e.args[0].channels)), b(a.size(), a.type()), mask(h, w, CV_8U), ca, cb;
        cv::randu(a, -f * top, top), cv::randu(b, -f * top, top), cv::randu(mask, 0, 3);
        double out[3] = {-7.0, -7.0, -7.0}, lo, hi;
        ASSERT_GE(callOn(e, a.data, b.data, mask.data, int(a.step), int(mask.step), {w, h}, out, coi), 0);
        const std::vector<double> ours = results(name, out);
        const cv::Mat m = name.ends_with("MR") ? mask : cv::Mat();
        cv::extractChannel(a, ca, a.channels() == 3 ? coi - 1 : 0),
            cv::extractChannel(b, cb, b.channels() == 3 ? coi - 1 : 0);
        std::vector<double> theirs, tol(6, 0.0);
        if (name.starts_with("zepiNorm")) {  // NORM_INF 1, NORM_L1 2, NORM_L2 4
            const int rel = name.starts_with("zepiNormRel"),
                      type = 1 << (name.find("_Inf_") == name.npos) << (name.find("_L2_") != name.npos);
            theirs = {name.starts_with("zepiNorm_") ? cv::norm(ca, type, m)
                                                    : cv::norm(ca, cb, type | rel * cv::NORM_RELATIVE, m)};
            tol[0] = (f && (rel || type != cv::NORM_INF) ? 2e-6 : rel ? 1e-14 : 0.0) * std::abs(theirs[0]);
        } else if (name.starts_with("zepiMean")) {
            cv::Scalar mean, sd;
            cv::meanStdDev(ca, mean, sd, m);
            theirs = {mean[0], sd[0]};
            tol = {(f ? 1e-9 : 0x1p-52) * std::fabs(mean[0]),  // 0x1p-52: one ulp or more
                   (name.find("StdDev") != name.npos ? f ? 1e-9 : 1e-12 : INFINITY) * std::max(1.0, mean[0])};
        } else {
            cv::Point loAt, hiAt;
            cv::minMaxLoc(ca, &lo, &hi, &loAt, &hiAt, m);
            theirs = {float(lo), float(hi), double(loAt.x), double(loAt.y), double(hiAt.x), double(hiAt.y)};
        }
        for (size_t k = 0; k < theirs.size(); ++k)
            EXPECT_LE(std::fabs(ours[k] - theirs[k]), tol[k])
                << name << " result " << k << ": " << ours[k] << " vs " << theirs[k];
    }
}

}  // namespace
