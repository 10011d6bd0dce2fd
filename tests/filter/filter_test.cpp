// Filters (Gaussian, Sobel kernels, pipeline passes): registry entries with their rules, worked rules, sizes, OpenCV.
#include <gtest/gtest.h>
#include <unistd.h>
#include <zepcore.h>

#include <climits>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "support/registry.h"

namespace {

using zt::CallArgs;
using zt::Entry;
using zt::rowOf;
using Bs = std::vector<zt::Breaker>;
constexpr int kMargin = 32;  // pixels around every source, for in-memory borders of up to 33 taps

// Parameters: kernel size, anchor (Gaussian: sigma), border, divisor, 3 border values, flags (see below), taps.
enum { K, Anchor, Sigma = Anchor, Border, Divisor, Value, Flags = 7, Taps };
// Position i of a line of n, beyond it and not read from memory (border b's flags before, after): the constant
// (true), or i moved by replicate (1) or mirror about the edge pixel, not repeating it (3), as often as it takes.
bool outside(int64_t& i, int64_t n, int b, int before, int after) {
    if ((i >= 0 || b & before) && (i < n || b & after)) return false;
    if ((b & 15) == zepBorderConst) return true;
    for (i = n == 1 ? 0 : i; i < 0 || i >= n;) i = (b & 15) == 1 ? (i < 0 ? 0 : n - 1) : i < 0 ? -i : 2 * (n - 1) - i;
    return false;
}
// Σ taps[j] v(j): 32f in single precision in tap order; integers exactly, divided, rounded to nearest even,
// saturated.
template <class D, class Tap, class V>
D rowValue(const Tap* taps, int k, int64_t d, V v) {
    if constexpr (std::is_floating_point_v<D>) {
        float s = taps[0] * v(0);
        for (int j = 1; j < k; ++j) s = s + taps[j] * v(j);
        return s;
    } else {
        int64_t n = 0;
        for (int j = 0; j < k; ++j) n += int64_t{taps[j]} * v(j);
        int64_t q = n / d;
        const int64_t twice = 2 * std::abs(n % d);
        if (twice > std::abs(d) || (twice == std::abs(d) && q % 2 != 0)) q += (n < 0) == (d < 0) ? 1 : -1;
        return D(std::clamp<int64_t>(q, std::numeric_limits<D>::lowest(), std::numeric_limits<D>::max()));
    }
}
// A column-pass output: from 16s rows, while the taps' magnitudes sum below 65535, in single precision (tap 2^-16 (1
// / divisor) times value 65536, summed in tap order, clamped, rounded to even); otherwise as rowValue.
template <class D, class S, class Tap, class V>
D columnValue(const Tap* taps, int k, int d, V v) {
    double mass = 0;
    for (int j = 0; j < k; ++j) mass += std::fabs(double(taps[j]));
    if constexpr (std::is_same_v<S, int16_t>) {
        float s = 0;
        for (int j = 0; j < k; ++j) s = s + float(taps[j]) * 0x1p-16f * (1.0f / float(d)) * float(v(j) * 65536);
        constexpr float lo = float(std::numeric_limits<D>::lowest()), hi = float(std::numeric_limits<D>::max());
        if (mass < 65535) return D(std::nearbyint(std::clamp(s, lo, hi)));
    }
    return rowValue<D>(taps, k, d, v);
}
// The first pixel of a region (px bytes a pixel) in image i with t, b rows and l, r pixels around it that the call
// may read, flush with the image's first byte, or its last where it ends at its guard page: a read beyond faults.
uint8_t* placed(const CallArgs& a, int i, int px, int t, int b, int l, int r) {
    auto* p = static_cast<uint8_t*>(a.ptr[size_t(i)]);
    const int64_t s = a.step[size_t(i)], m = kMargin, end = (a.roi.height + m - 1) * s + (a.roi.width + m) * px;
    if (!p) return nullptr;
    const bool atEnd = (reinterpret_cast<uintptr_t>(p) + uintptr_t(end)) % uintptr_t(sysconf(_SC_PAGESIZE)) == 0;
    return atEnd ? p + (m - b) * s + (m - r) * px : p + t * s + l * px;
}
// The border values, then the flags (none set).
template <class T>
std::vector<double> withValues(std::vector<double> p, std::mt19937& rng) {
    for (int c = 0; c < 3; ++c) p.push_back(double(zt::randomValue<T>(rng, false)));
    p.push_back(0);
    return p;
}
// Breakers. Steps of images {index, pixel bytes, element bytes}: each short or negative, then each not a multiple.
Bs steps(std::vector<std::array<int, 3>> images) {
    Bs b, odd;
    for (const std::array<int, 3>& image : images) {
        const int i = image[0], px = image[1], e = image[2];
        b.push_back({"short step", 100 + i, [=](CallArgs& a) { a.step[i] = a.roi.width * px - e; }, zepStsBadStep});
        b.push_back({"negative step", 100 + i, [=](CallArgs& a) { a.step[i] = -px; }, zepStsBadStep});
        if (e > 1)
            odd.push_back(
                {"odd", 100 + i, [=](auto& a) { a.step[i] = a.roi.width * px + 1; }, zepStsStepNotMultiple});
    }
    b.insert(b.end(), odd.begin(), odd.end());
    return b;
}
zt::Breaker set(const char* what, int at, double v, ZepStatus s) {
    return {what, 300 + at, [=](CallArgs& a) { a.param[size_t(at)] = v; }, s};
}
zt::Breaker flag(const char* what, int bit, ZepStatus s = zepStsNullPointer) {
    return {what, 300 + Flags + bit,
            [=](CallArgs& a) { a.param[Flags] = double(zt::parameterAs<int>(a.param[Flags]) | bit); }, s};
}
const Bs kSize = {{"zero width", 50, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize},
                  {"negative height", 51, [](CallArgs& a) { a.roi.height = -1; }, zepStsBadSize}};
void add(Bs& b, const Bs& more) { b.insert(b.end(), more.begin(), more.end()); }

// A source with a margin; outputs compared exactly unless floats; the sizes z, then the sweep at heights 1 and h.
Entry entryOf(std::string n, int s, int d, int c, zt::Caller f, zt::Caller rule, std::vector<ImageSize> z, int h) {
    Entry e{n, {{s, c, 0, kMargin}, zt::output(d, c)}, f, rule};
    e.nans = d == 4 ? zt::NaNs::byClass : zt::NaNs::exact, e.sizes = z;
    for (int w : zt::sweepWidths()) e.sizes.insert(e.sizes.end(), {{w, 1}, {w, h}});
    return e;
}

// ---- Gaussian. Flags: 1 null buffer, 2 null spec, 4 null border value, 8 border 2 written into the spec's fourth
// field, 16 a spec initialised for the other channel count.
template <class T>
constexpr int kType = std::array{zep8u, zep16u, zep16s, zep32f}[sizeof(T) / 2 + std::is_signed_v<T>];
// The source with the rows and columns beyond it that the flags let the filter read.
template <class T, int C>
const T* gaussSource(const CallArgs& a) {
    const int r = zt::parameterAs<int>(a.param[K]) / 2, b = zt::parameterAs<int>(a.param[Border]);
    return reinterpret_cast<const T*>(
        placed(a, 0, C * sizeof(T), b & 16 ? r : 0, b & 32 ? r : 0, b & 64 ? r : 0, b & 128 ? r : 0));
}
// Taps: g_i = exp(-(i^2) (1 / (sigma (sigma + sigma)))) for i = -r .. r, S their sum in order, all in single
// precision; g / S (32f) or trunc((double)(g / S 2^shift) + 0.5). The row pass (anchor r, divisor 2^shift) over rows
// -r .. H + r - 1, then the column pass over them.
template <class T, int C>
ZepStatus gaussRule(const CallArgs& a) {
    using Inter = std::conditional_t<sizeof(T) == 1, int16_t, T>;
    using Tap = std::conditional_t<sizeof(T) == 4, float, std::conditional_t<kType<T> == zep16u, uint16_t, int16_t>>;
    const int k = zt::parameterAs<int>(a.param[K]), r = k / 2, W = a.roi.width, H = a.roi.height,
              b = zt::parameterAs<int>(a.param[Border]);
    const int shift = sizeof(T) == 4 ? 0 : kType<T> == zep16u ? 15 : 12;
    std::vector<float> g;
    std::vector<Tap> taps;
    float sum = 0, sigma = float(a.param[Sigma]);
    for (int i = -r; i <= r; ++i)
        g.push_back(std::exp(-float(i * i) * (1.0f / (sigma * (sigma + sigma))))), sum += g.back();
    for (float v : g) taps.push_back(Tap(shift ? int32_t(double(v / sum * float(1 << shift)) + 0.5) : v / sum));
    const T* src = gaussSource<T, C>(a);
    auto px = [&](int64_t y, int64_t x, int c) {
        if (outside(y, H, b, 16, 32) || outside(x, W, b, 64, 128)) return T(a.param[size_t(Value + c)]);
        return reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) + y * a.step[0])[x * C + c];
    };
    const int64_t E = int64_t{W} * C;
    std::vector<Inter> inter(size_t((H + k - 1) * E));
    for (int i = 0; i < H + k - 1; ++i)
        for (int64_t e = 0; e < E; ++e)
            inter[size_t(i * E + e)] = rowValue<Inter>(taps.data(), k, 1 << shift,
                                                       [&](int j) { return px(i - r, e / C + j - r, int(e % C)); });
    for (int y = 0; y < H; ++y)
        for (int64_t e = 0; e < E; ++e)
            rowOf<T>(a, 1, y)[e] = columnValue<T, Inter>(taps.data(), k, 1 << shift,
                                                         [&](int j) { return inter[size_t((y + j) * E + e)]; });
    return zepStsOk;
}
// Spec and buffer queried for the region (at least 1 x 1), allocated at exactly those sizes; Init, then the filter.
template <class T, int C, auto F, bool L>
ZepStatus gaussCall(const CallArgs& a) {
    const uint32_t k = zt::parameterAs<uint32_t>(a.param[K]), border = zt::parameterAs<uint32_t>(a.param[Border]),
                   two = 2;
    const int flags = zt::parameterAs<int>(a.param[Flags]), type = kType<T>, channels = flags & 16 ? 4 - C : C;
    const ImageSize q{std::max(a.roi.width, 1), std::max(a.roi.height, 1)};
    int spec32 = 0, buffer32 = 0;
    int64_t specL = 0, bufferL = 0;
    EXPECT_EQ(L ? zepiFilterGaussianGetSpecSize_L(k, type, C, &specL) |
                      zepiFilterGaussianGetBufferSize_L({q.width, q.height}, k, type, C, &bufferL)
                : zepiFilterGaussianGetBufferSize(q, k, type, C, &spec32, &buffer32),
              zepStsOk);
    const zt::Canvas spec = zt::bufferOf(L ? specL : spec32), buffer = zt::bufferOf(L ? bufferL : buffer32);
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.first());
    const float sigma = float(a.param[Sigma]);
    const ZepStatus init = L ? zepiFilterGaussianInit_L({q.width, q.height}, k, sigma, border, type, channels, s)
                             : zepiFilterGaussianInit(q, k, sigma, border, type, channels, s, buffer.first());
    if (flags & 8) std::memcpy(spec.first() + 12, &two, 4);
    if (init != zepStsOk) return init;
    const T values[3] = {T(a.param[Value]), T(a.param[Value + 1]), T(a.param[Value + 2])};
    return F(gaussSource<T, C>(a), a.step[0], static_cast<T*>(a.ptr[1]), a.step[1], {a.roi.width, a.roi.height},
             std::get<(C == 1 ? 0 : 1)>(std::tuple{values[0], flags & 4 ? nullptr : values}), flags & 2 ? nullptr : s,
             flags & 1 ? nullptr : buffer.first());
}
template <class T, int C, auto F, bool L>
Entry gaussEntry(const char* name, bool large = false) {
    const int px = C * int(sizeof(T)), e = int(sizeof(T));
    Entry entry = entryOf(name, e, e, C, gaussCall<T, C, F, L>, gaussRule<T, C>,
                          {{5, 40}, {70, 21}, {129, 9}, {300, 70}, {2, 7}}, 4);
    entry.params = [](std::mt19937& rng, ImageSize roi) {
        static const uint32_t borders[] = {1, 3, 6, 0xF0, 0x16, 0x23, 0xC1, 0x46, 0xB3, 0x91, 0x63, 0xA6};
        return withValues<T>({roi.width > 100000 ? 3.0 : std::vector{3, 5, 7, 9, 15, 33}[rng() % 6],
                              0.3 + double(rng() % 100) / 25.0, double(borders[rng() % 12]), 0},
                             rng);
    };
    entry.checks = [px, e](Bs& b) {
        Bs stepsFirst = steps({{0, px, e}, {1, px, e}}), sizeFirst = kSize;
        if (!L) std::swap(stepsFirst, sizeFirst);  // the 32-bit filters check their steps before the size
        b = {zt::nullBreaker(0), zt::nullBreaker(1), flag("null buffer", 1), flag("null spec", 2)};
        if (C == 3) b.push_back(flag("null border value", 4));
        add(b, sizeFirst), add(b, stepsFirst);
        add(b, {flag("the spec's border 2", 8, zepStsBadBorder), flag("other channels", 16, zepStsBadContext)});
    };
    entry.covers = {"zepiFilterGaussianGetBufferSize", "zepiFilterGaussianInit", "zepiFilterGaussianGetSpecSize_L",
                    "zepiFilterGaussianGetBufferSize_L", "zepiFilterGaussianInit_L"};
    if (large) entry.sizes.push_back({300007, 112});  // streaming stores, in bands cut to half the cache
    return entry;
}
// Sobel: all 0 but the last 1; n - d - 1 passes k[j] += k[j + 1], then d passes k[j] -= k[j + 1], in the element type
// (16s wraps); negated for a negative sign. Every odd size up to 41 with every order: the call's width picks the
// pair.
template <class T, auto F>
Entry sobelEntry(const char* name) {
    Entry e{name, {zt::result(41 * sizeof(T))}, zt::callWith<F>, [](const CallArgs& a) {
                const int n = zt::parameterAs<int>(a.param[0]), d = zt::parameterAs<int>(a.param[1]);
                T* k = static_cast<T*>(a.ptr[0]);
                std::fill(k, k + n - 1, T(0)), k[n - 1] = 1;
                for (int p = 0; p < n - 1; ++p)
                    for (int j = 0; j < n - 1; ++j) k[j] = T(p < n - d - 1 ? k[j] + k[j + 1] : k[j] - k[j + 1]);
                for (int j = 0; a.param[2] < 0 && j < n; ++j) k[j] = T(-k[j]);
                return zepStsOk;
            }};
    e.params = [](std::mt19937& rng, ImageSize roi) {
        int n = 1, d = roi.width - 1;
        for (; d >= n; n += 2) d -= n;
        return std::vector<double>{double(n), double(d), std::vector{-2.0, -1.0, 0.0, 1.0}[rng() % 4]};
    };
    e.checks = [](Bs& b) {
        b = {zt::nullBreaker(0), set("size 4", 0, 4, zepStsBadArg), set("size 0", 0, 0, zepStsBadArg)};
        add(b, {set("order -1", 1, -1, zepStsBadArg),
                {"order = size", 301, [](CallArgs& a) { a.param[1] = a.param[0]; }, zepStsBadArg}});
    };
    for (int i = 1; i <= 441; ++i) e.sizes.push_back({i, 1});
    e.nans = zt::NaNs::exact;
    e.wild = false;  // the kernel's size decides how much of its output block is written
    return e;
}

// ---- Pipeline passes. Flags: 1 null kernel, 2 null buffer, 4 a null row, 8 null border value. Every kernel size
// with a path of its own; taps of every scale up to the 16-bit limit (or floats), symmetric half the time; divisors
// of both kinds (the column pass's reciprocal not a power of two).
template <class S, class Tap>
std::vector<double> passParams(std::mt19937& rng, bool positive, bool row) {
    static const uint32_t borders[] = {1, 3, 6, 0x41, 0x83, 0xC6, 0xF0, 0xF1, 0xB3, 0x76};
    const int k = std::vector{1, 2, 3, 4, 5, 7, 8, 9, 31, 32, 33}[rng() % 11];
    const int scale = std::vector{3, 100, 4096 / k + 1, 32767 / k, 32767}[rng() % 5];
    const int divisor = std::vector{
        1, 2, 4096, 1 << 15, 3, 1000, row ? 1 << 16 : -100000, -1, -4096, -7}[rng() % (positive ? 7 : 10)];
    std::vector<double> p =
        withValues<S>({double(k), double(rng() % uint32_t(k)), double(borders[rng() % 10]), double(divisor)}, rng);
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
    const int k = zt::parameterAs<int>(a.param[K]), x = zt::parameterAs<int>(a.param[Anchor]),
              b = zt::parameterAs<int>(a.param[Border]);
    return reinterpret_cast<const S*>(placed(a, 0, C * sizeof(S), 0, 0, b & 0x40 ? x : 0, b & 0x80 ? k - 1 - x : 0));
}
// The column pass's rows, in the region's columns of its source image: the image's last row first, then its rows from
// the first on.
template <class S, int C>
std::vector<const S*> columnRows(const CallArgs& a) {
    std::vector<const S*> rows(static_cast<size_t>(
        std::clamp<int64_t>(int64_t{a.roi.height} + zt::parameterAs<int>(a.param[K]) - 1, 1, 1 << 20)));
    const uint8_t* first = placed(a, 0, C * sizeof(S), 0, kMargin, 0, 0);
    for (size_t j = 0; first && j < rows.size(); ++j)
        rows[j] = reinterpret_cast<const S*>(first + int64_t(j ? j - 1 : a.roi.height + kMargin - 1) * a.step[0]);
    return rows;
}
// Row: ext(x + j - anchor) of each channel by the border; column: row y + j.
template <bool Row, class S, class D, class Tap, int C>
ZepStatus passRule(const CallArgs& a) {
    const int k = zt::parameterAs<int>(a.param[K]), x0 = zt::parameterAs<int>(a.param[Anchor]),
              b = zt::parameterAs<int>(a.param[Border]), W = a.roi.width, d = zt::parameterAs<int>(a.param[Divisor]);
    const std::vector<Tap> taps(a.param.begin() + Taps, a.param.end());
    const S* src = rowSource<S, C>(a);
    const std::vector<const S*> rows = columnRows<S, C>(a);
    for (int y = 0; y < a.roi.height; ++y)
        for (int e = 0; e < W * C; ++e) {
            const S* row = reinterpret_cast<const S*>(reinterpret_cast<const uint8_t*>(src) + int64_t{y} * a.step[0]);
            auto ext = [&](int j) {
                int64_t i = e / C + j - x0;
                return outside(i, W, b, 0x40, 0x80) ? S(a.param[size_t(Value + e % C)]) : row[i * C + e % C];
            };
            auto column = [&](int j) { return rows[size_t(y + j)][e]; };
            rowOf<D>(a, 1, y)[e] =
                Row ? rowValue<D>(taps.data(), k, d, ext) : columnValue<D, S>(taps.data(), k, d, column);
        }
    return zepStsOk;
}
template <bool Row, class S, class D, class Tap, int C, auto F, auto Q>
ZepStatus passCall(const CallArgs& a) {
    const int k = zt::parameterAs<int>(a.param[K]), flags = zt::parameterAs<int>(a.param[Flags]);
    const std::vector<Tap> taps(a.param.begin() + Taps, a.param.end());
    int bytes = 64;
    const zt::Canvas buffer = zt::bufferOf((Q(a.roi, k, &bytes), bytes));
    const Tap* kernel = flags & 1 ? nullptr : taps.data();
    std::vector<const S*> in = columnRows<S, C>(a);
    std::vector<D*> out(size_t(std::max(a.roi.height, 1)));
    for (int y = 0; a.ptr[1] && y < a.roi.height; ++y) out[size_t(y)] = rowOf<D>(a, 1, y);
    if (flags & 4) in.back() = nullptr, out.back() = nullptr;
    const S values[3] = {S(a.param[Value]), S(a.param[Value + 1]), S(a.param[Value + 2])};
    const auto value = std::get<(C == 1 ? 0 : 1)>(std::tuple{values[0], flags & 8 ? nullptr : values});
    auto call = [&](auto... divisor) {
        if constexpr (Row)
            return F(rowSource<S, C>(a), a.step[0], a.ptr[1] ? out.data() : nullptr, a.roi, kernel, k,
                     zt::parameterAs<int>(a.param[Anchor]), zt::parameterAs<uint32_t>(a.param[Border]), value,
                     divisor..., flags & 2 ? nullptr : buffer.first());
        else
            return F(a.ptr[0] ? in.data() : nullptr, static_cast<D*>(a.ptr[1]), a.step[1], a.roi, kernel, k,
                     divisor..., flags & 2 ? nullptr : buffer.first());
    };
    if constexpr (std::is_floating_point_v<S>)
        return call();
    else
        return call(zt::parameterAs<int>(a.param[Divisor]));
}
enum class Check { none, early, late, earlyPositive };  // of the divisor

// StepC: the channels the column pass checks its destination step against.
template <bool Row, class S, class D, int C, auto F, auto Q, Check dc = Check::none, int StepC = C>
Entry passEntry(const std::string& type) {
    using Tap = std::conditional_t<std::is_floating_point_v<S>, float, int16_t>;
    const std::string pass = Row ? "RowBorder" : "Column";
    // Column strips of several hundred elements, in groups of rows.
    Entry e = entryOf("zepiFilter" + pass + "Pipeline_" + type, sizeof(S), sizeof(D), C,
                      passCall<Row, S, D, Tap, C, F, Q>, passRule<Row, S, D, Tap, C>, {{1100, 9}, {600, 11}}, 3);
    e.params = [](std::mt19937& rng, ImageSize) { return passParams<S, Tap>(rng, dc == Check::earlyPositive, Row); };
    e.checks = [](Bs& b) {
        const zt::Breaker divisor0 = set("divisor 0", Divisor, 0, zepStsBadArg);
        b = {zt::nullBreaker(0), zt::nullBreaker(1), flag("null kernel", 1)};
        if (Row) {
            add(b, {flag("null buffer", 2), kSize[0], kSize[1], flag("null row", 4)});
            if (C == 3) b.push_back(flag("null border value", 8));
            add(b, {set("kernel size 0", K, 0, zepStsBadSize),
                    set("anchor -1", Anchor, -1, zepStsBadAnchor),
                    {"anchor = size", 301, [](CallArgs& a) { a.param[Anchor] = a.param[K]; }, zepStsBadAnchor}});
            add(b, steps({{0, C * int(sizeof(S)), int(sizeof(S))}}));
            if (dc == Check::early || dc == Check::earlyPositive) b.push_back(divisor0);
            if (dc == Check::earlyPositive) b.push_back(set("divisor -1", Divisor, -1, zepStsBadArg));
            for (double v : {256, 2, 0xF2}) b.push_back(set("bad border", Border, v, zepStsBadBorder));
            if (dc == Check::late) b.push_back(divisor0);
            return;
        }
        zt::Breaker lastRow = flag("last row null", 4);
        lastRow.field = 300 + K;  // the scan covers height + kernel size - 1 rows: not with a broken kernel size
        add(b, {kSize[0], kSize[1], lastRow, set("kernel size 0", K, 0, zepStsBadSize)});
        add(b, steps({{1, StepC * int(sizeof(D)), int(sizeof(D))}}));
        b.push_back(flag("null buffer", 2));
        if (!std::is_floating_point_v<S>) b.push_back(divisor0);
    };
    e.covers = {"zepiFilter" + pass + "PipelineGetBufferSize_" + type};
    return e;
}

#define GAUSS(T, C, N, ...)                                                                       \
    gaussEntry<T, C, zepiFilterGaussianBorder_##N##R, false>("zepiFilterGaussianBorder_" #N "R"), \
        gaussEntry<T, C, zepiFilterGaussian_##N##R_L, true>("zepiFilterGaussian_" #N "R_L", ##__VA_ARGS__)
#define PASS(P, Row, S, D, C, F, ...) \
    passEntry<Row, S, D, C, zepiFilter##P##Pipeline_##F, zepiFilter##P##PipelineGetBufferSize_##F, __VA_ARGS__>(#F)
#define ROW(S, D, C, F, DC) PASS(RowBorder, true, S, D, C, F, Check::DC)
#define COL(S, D, C, F, ...) PASS(Column, false, S, D, C, F, Check::none, ##__VA_ARGS__)

// clang-format off
const bool enrolled = zt::enrol({
    GAUSS(uint8_t, 1, 8u_C1, true), GAUSS(uint8_t, 3, 8u_C3), GAUSS(uint16_t, 1, 16u_C1), GAUSS(uint16_t, 3, 16u_C3),
    GAUSS(int16_t, 1, 16s_C1), GAUSS(int16_t, 3, 16s_C3), GAUSS(float, 1, 32f_C1), GAUSS(float, 3, 32f_C3),
    sobelEntry<int16_t, zepiGenSobelKernel_16s>("zepiGenSobelKernel_16s"),
    sobelEntry<float, zepiGenSobelKernel_32f>("zepiGenSobelKernel_32f"),
    ROW(uint8_t, int16_t, 1, 8u16s_C1R, late), ROW(uint8_t, int16_t, 3, 8u16s_C3R, early),
    ROW(int16_t, int16_t, 1, 16s_C1R, early), ROW(int16_t, int16_t, 3, 16s_C3R, late),
    ROW(int16_t, int16_t, 1, Low_16s_C1R, early), ROW(int16_t, int16_t, 3, Low_16s_C3R, early),
    ROW(uint16_t, uint16_t, 1, 16u_C1R, earlyPositive), ROW(uint16_t, uint16_t, 3, 16u_C3R, earlyPositive),
    ROW(float, float, 1, 32f_C1R, none), ROW(float, float, 3, 32f_C3R, none),
    COL(int16_t, int16_t, 1, 16s_C1R), COL(int16_t, int16_t, 3, 16s_C3R), COL(int16_t, uint8_t, 1, 16s8u_C1R),
    COL(int16_t, uint8_t, 3, 16s8u_C3R), COL(int16_t, int8_t, 1, 16s8s_C1R), COL(int16_t, int8_t, 3, 16s8s_C3R),
    COL(uint16_t, uint16_t, 1, 16u_C1R), COL(uint16_t, uint16_t, 3, 16u_C3R), COL(float, float, 1, 32f_C1R),
    COL(float, float, 3, 32f_C3R), COL(int16_t, int16_t, 1, Low_16s_C1R),
    COL(int16_t, int16_t, 3, Low_16s_C3R, 1)});  // its step is checked against one channel, by design
// clang-format on

// ---- Worked rules.
TEST(FilterRules, TapsTheNoOpSpecAndPassRounding) {
    alignas(16) uint8_t spec[256] = {}, src[16] = {}, dst[16] = {7}, work[4096];
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec);
    auto taps = [&](uint32_t k, float sigma, int type) {  // 16-bit, from the first 16-byte boundary after 20 bytes
        EXPECT_EQ(zepiFilterGaussianInit({8, 8}, k, sigma, 1, type, 1, s, work), zepStsOk);
        return std::vector<int>(reinterpret_cast<uint16_t*>(spec + 32), reinterpret_cast<uint16_t*>(spec + 32) + k);
    };
    EXPECT_EQ(taps(3, 1.0f, zep8u), (std::vector<int>{1123, 1851, 1123}));  // 4097: not adjusted to 4096
    EXPECT_EQ(taps(5, 1.5f, zep16s), (std::vector<int>{492, 958, 1196, 958, 492}));
    EXPECT_EQ(taps(3, 0.05f, zep16u), (std::vector<int>{0, 32768, 0}));
    std::memset(spec, 0, sizeof spec);  // never initialised (kernel size 0, or even): a no-op that succeeds
    EXPECT_EQ(zepiFilterGaussianBorder_8u_C1R(src, 4, dst, 4, {4, 4}, 0, s, work), zepStsOk);
    EXPECT_EQ(zepiFilterGaussian_8u_C1R_L(src, 4, dst, 4, {4, 4}, 0, s, work), zepStsOk);
    spec[0] = 4, spec[12] = 1;
    EXPECT_EQ(zepiFilterGaussianBorder_8u_C1R(src, 4, dst, 4, {4, 4}, 0, s, work), zepStsOk);
    EXPECT_EQ(dst[0], 7);
    // Passes of kernel size 1 give round(t x / d), ties to even, saturated.
    const uint8_t in8[4] = {1, 3, 5, 7};
    const int16_t in16[4] = {255, -257, 5, 7}, *rows[1] = {in16}, one = 1, three = 3, low = -32768;
    int16_t o16[4], *outs[1] = {o16};
    int8_t o8[4];
    using V = std::vector<int>;
    ASSERT_EQ(zepiFilterRowBorderPipeline_8u16s_C1R(in8, 4, outs, {4, 1}, &one, 1, 0, 1, 0, 2, work), zepStsOk);
    EXPECT_EQ(V(o16, o16 + 4), (V{0, 2, 2, 4}));  // 0.5, 1.5, 2.5, 3.5
    ASSERT_EQ(zepiFilterRowBorderPipeline_8u16s_C1R(in8, 4, outs, {4, 1}, &low, 1, 0, 1, 0, -2, work), zepStsOk);
    EXPECT_EQ(V(o16, o16 + 4), (V{16384, 32767, 32767, 32767}));  // a negative divisor, saturated
    // Column, single precision: 127.5 -> 128 saturates to 127 (8s), -128.5 -> -128, 2.5 -> 2.
    ASSERT_EQ(zepiFilterColumnPipeline_16s8s_C1R(rows, o8, 4, {4, 1}, &one, 1, 2, work), zepStsOk);
    EXPECT_EQ(V(o8, o8 + 4), (V{127, -128, 2, 4}));
    ASSERT_EQ(zepiFilterColumnPipeline_16s_C1R(rows, o16, 8, {4, 1}, &three, 1, 3, work), zepStsOk);
    EXPECT_EQ(V(o16, o16 + 4), (V{255, -257, 5, 7}));  // tap 3 and divisor 3 land on the value exactly
}

// ---- Peers. cv::GaussianBlur (mirror is BORDER_REFLECT_101) agrees within float rounding (its own sum order); its
// integer paths differ (8-bit taps summing to exactly 256, rounded once, where these are 12-bit, not renormalised,
// rounded after each pass): not compared.
TEST(FilterPeers, OpenCV) {
    const int W = 97, H = 41;
    cv::Mat src(H, W, CV_32FC3), ours(H, W, CV_32FC3), theirs;
    cv::randu(src, -100, 100);
    std::vector<uint8_t> spec(4096), b(1 << 20);
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    const float zero[3] = {};
    for (int k : {3, 5, 7}) {
        const float sigma = 0.3f * ((k - 1) * 0.5f - 1) + 0.8f;
        EXPECT_EQ(zepiFilterGaussianInit({W, H}, k, sigma, zepBorderMirror, zep32f, 3, s, b.data()) |
                      zepiFilterGaussianBorder_32f_C3R(src.ptr<float>(), int(src.step), ours.ptr<float>(),
                                                       int(ours.step), {W, H}, zero, s, b.data()),
                  zepStsOk);
        cv::GaussianBlur(src, theirs, cv::Size(k, k), sigma, sigma, cv::BORDER_REFLECT_101);
        EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), 1e-3) << k;
    }
}

// ---- Sizes: the formula in 128 bits where it fits an int, otherwise zepStsSizeOverflow with nothing written; the
// calls refuse the same last.
using i128 = __int128;
i128 up(i128 v, int a) { return (v + a - 1) / a * a; }
i128 gaussianBuffer(i128 W, i128 H, i128 k, int type, int n);
// The Gaussian's for kernel size 2k + 1 (up to 2^32 - 1), with the spec's, given by both queries; Init refuses what
// the query refuses.
template <int T, int N>
ZepStatus gaussQuery(ImageSize roi, int k, int* bytes) {
    static std::vector<uint8_t> spec(4096, 0xab);
    const uint32_t odd = uint32_t(2 * int64_t{k} + 1);
    const int64_t want = T == zep32f ? 32 * int64_t{odd} + 32 : 16 * int64_t{odd} + 36;
    int spec32 = -7;
    int64_t specL = -7;
    const ZepStatus s = zepiFilterGaussianGetBufferSize(roi, odd, T, N, &spec32, bytes);
    if (k == 0 || !bytes) return s;
    EXPECT_EQ(spec32, s == zepStsOk ? want : -7);
    EXPECT_EQ(zepiFilterGaussianGetSpecSize_L(odd, T, N, &specL), zepStsOk);
    EXPECT_EQ(specL, want);
    auto* p = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    EXPECT_EQ(s != zepStsSizeOverflow ? s : zepiFilterGaussianInit(roi, odd, 1, 1, T, N, p, spec.data()), s);
    EXPECT_EQ(spec[0], 0xab);
    return s;
}

// clang-format off
#define RQ(F, a) {zepiFilterRowBorderPipelineGetBufferSize_##F, [](i128, i128, i128 k) -> i128 { return a; }}
#define CQ(F, a) \
    {zepiFilterColumnPipelineGetBufferSize_##F, [](i128 w, i128, i128 k) -> i128 { return (void)w, (void)k, a; }}
#define GQ(T, N) {gaussQuery<T, N>, [](i128 w, i128 h, i128 k) { return gaussianBuffer(w, h, 2 * k + 1, T, N); }}
const struct { ZepStatus (*f)(ImageSize, int, int*); i128 (*bytes)(i128 w, i128 h, i128 k); } kQueries[] = {
    RQ(8u16s_C1R, 34 * k + 32 * (k / 4) + 66), RQ(8u16s_C3R, 60 * k + 144), RQ(16s_C1R, 48 * k + 112),
    RQ(16s_C3R, 40 * k + 96), RQ(Low_16s_C1R, 24 * k + 96), RQ(Low_16s_C3R, 208 * k + 96), RQ(16u_C1R, 64 * k + 96),
    RQ(16u_C3R, 128 * k + 96), RQ(32f_C1R, 96 * k + 96), RQ(32f_C3R, 288 * k + 96),
    CQ(16s_C1R, 12 * up(w, 4) + 64), CQ(16s8u_C1R, 12 * up(w, 4) + 64), CQ(16s8s_C1R, 12 * up(w, 4) + 64),
    CQ(16s_C3R, 36 * up(w, 4) + 64), CQ(16s8u_C3R, 36 * up(w, 4) + 64), CQ(16s8s_C3R, 36 * up(w, 4) + 64),
    CQ(Low_16s_C1R, 12 * up(w, 8) + 64), CQ(Low_16s_C3R, 36 * up(w, 8) + 64), CQ(16u_C1R, 8 * up(w, 4) + 32 * k + 64),
    CQ(16u_C3R, 8 * up(3 * w, 4) + 32 * k + 64), CQ(32f_C1R, 32 * k + 32), CQ(32f_C3R, 32 * k + 32),
    GQ(zep8u, 1), GQ(zep8u, 3), GQ(zep16u, 1), GQ(zep16u, 3),
    GQ(zep16s, 1), GQ(zep16s, 3), GQ(zep32f, 1), GQ(zep32f, 3)};
// clang-format on

// The Gaussian's buffer: the passes' (row R, column C of a band of h = min(H, k) rows) with rings of L = ((W + k) n +
// 7) & ~7 elements.
i128 gaussianBuffer(i128 W, i128 H, i128 k, int type, int n) {
    const i128 h = std::min(H, k), L = ((W + k) * n + 7) / 8 * 8;
    const int row = (type == zep8u ? 0 : type == zep16s ? 2 : type == zep16u ? 6 : 8) + (n == 3);
    const int column = type == zep16u ? 18 + (n == 3) : type == zep32f ? 20 : n == 3 ? 13 : 10;
    const i128 R = kQueries[row].bytes(W, H, k), C = kQueries[column].bytes(W, H, k);
    if (type == zep32f) return 4 * k * L + 32 + 4 * L * (h + k) + 64 + R + 32 + C + 32 + 8 * (h + k) + 32;
    return 2 * L * (h + k) + 64 + 2 * (2 * L * (k / 2) + 16) + R + 32 + C + 32 + 8 * (H + k) + 32;
}

TEST(FilterSizes, FormulaOrRefusalAtTheEdgesOfAnInt) {
    for (const auto& q : kQueries) {
        const int at = int(&q - kQueries);
        for (int d : {0, 1, 2}) {  // the width, height or kernel size from 1 to INT32_MAX, around the last that fits
            auto arg = [&](int64_t v) { return std::array{d == 0 ? v : 9, d == 1 ? v : 9, d == 2 ? v : 5}; };
            auto want = [&](int64_t v) { return q.bytes(arg(v)[0], arg(v)[1], arg(v)[2]); };
            std::vector<int64_t> vs = {1, 2, 3, 13, 255, 65535, 1 << 20, 22369621, 89478485, 357913941, INT32_MAX};
            if (int64_t lo = 1, hi = INT32_MAX; want(hi) > INT_MAX) {
                while (hi - lo > 1) (want((lo + hi) / 2) <= INT_MAX ? lo : hi) = (lo + hi) / 2;
                vs.insert(vs.end(), {lo - 1, lo, hi, hi + (hi < INT32_MAX)});
            }
            for (int64_t v : vs) {
                int size = -7;
                const bool fits = want(v) <= INT_MAX;
                EXPECT_EQ(q.f({int(arg(v)[0]), int(arg(v)[1])}, int(arg(v)[2]), &size),
                          fits ? zepStsOk : zepStsSizeOverflow);
                EXPECT_EQ(size, fits ? int(want(v)) : -7) << at << " " << d << " " << v;
            }
        }
        int s = 0;  // null, then sizes, then the overflow
        EXPECT_EQ(q.f({0, 1}, INT32_MAX, nullptr), zepStsNullPointer) << at;
        EXPECT_EQ(q.f({0, 1}, INT32_MAX, &s), zepStsBadSize) << at;
        EXPECT_EQ(q.f({1, 0}, 1, &s), zepStsBadSize) << at;
        EXPECT_EQ(q.f({1, 1}, 0, &s), at < 22 ? zepStsBadSize : zepStsBadArg) << at;  // kernel size 0 (Gaussian: 1)
    }
    // Init and the Gaussian's queries check in this order too; nothing written on error.
    zt::Canvas initSpec(400, 1, 400, 0);
    CallArgs valid{{initSpec.first(), initSpec.first() + 200}, {}, {16, 8}, {5, 1.2, 1, zep8u, 1}};
    // clang-format off
    Bs init = {zt::nullBreaker(0), zt::nullBreaker(1), kSize[1], kSize[0], set("kernel 4", 0, 4, zepStsBadArg),
        set("kernel 1", 0, 1, zepStsBadArg), set("data type 2", 3, 2, zepStsBadDataType),
        set("channels 4", 4, 4, zepStsBadChannel), set("sigma 0", 1, 0, zepStsBadArg), set("sigma NaN", 1, NAN,
        zepStsBadArg), set("border 256", 2, 256, zepStsBadBorder), set("border 0xF2", 2, 0xF2, zepStsBadBorder)};
    // clang-format on
    zt::expectOrder("Init", valid, zt::callWith<zepiFilterGaussianInit>, init, {&initSpec});
    valid.ptr.pop_back(), init.erase(init.begin() + 1);  // _L: no buffer
    zt::expectOrder("Init_L", valid, zt::callWith<zepiFilterGaussianInit_L>, init, {&initSpec});
    // The calls refuse, after every other check, a buffer the query refuses; _L sizes and steps past 32 bits.
    std::vector<uint8_t> spec(16 * 8193 + 64), buffer(1 << 20);
    auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    float f[4] = {}, *rows[1] = {f};
    int16_t h[8] = {}, *rows16[1] = {h};
    const int16_t* in16[1] = {h};
    uint8_t* b = buffer.data();
    int64_t n = -1;
    int32_t cache = -1, n32 = 0;  // the core library's query that the _L filters use
    ASSERT_EQ(zepiFilterGaussianInit({1, 1}, 8193, 2.0f, zepBorderRepl, zep16s, 1, s, b), zepStsOk);
    const int over = zepStsSizeOverflow;  // each call and its status, in order
    const std::pair<int, int> calls[] = {
        {zepiFilterRowBorderPipeline_32f_C1R(f, 16, rows, {1, 1}, f, 22369621, 0, 1, 0, b), over},
        {zepiFilterRowBorderPipeline_32f_C1R(f, 16, rows, {1, 1}, f, 22369621, 0, 1, 0, nullptr), zepStsNullPointer},
        {zepiFilterRowBorderPipeline_Low_16s_C3R(h, 16, rows16, {1, 1}, h, 10324958, 0, 1, h, 1, b), over},
        {zepiFilterColumnPipeline_16s_C3R(in16, h, INT32_MAX - 1, {59652322, 1}, h, 1, 1, b), over},
        {zepiFilterColumnPipeline_16s_C3R(in16, h, INT32_MAX - 1, {59652322, 1}, h, 1, 0, b), zepStsBadArg},
        {zepiFilterGaussianBorder_16s_C1R(h, 400000, h, 400000, {200000, 200}, 0, s, b), over},
        {zepiFilterGaussianBorder_16s_C1R(h, 400000, h, 399998, {200000, 200}, 0, s, b), zepStsBadStep},
        {zepiFilterGaussianInit_L({4, 4}, 3, 1.0f, zepBorderRepl, zep8u, 1, s), zepStsOk},
        {zepiFilterGaussian_8u_C1R_L(b, 0x7fffffff, b, 1, {1, 1}, 0, s, b), over},
        {zepiFilterGaussian_8u_C1R_L(b, 0x7fffffff, b, 0x7fffffff, {0x7fffffff, 1}, 0, s, b), over},
        {zepiFilterGaussianInit_L({0x7fffffff, 2}, 3, 1.0f, 2, zep8u, 1, s), zepStsBadBorder},
        {zepiFilterGaussianInit_L({0x7fffffff, 2}, 3, 1.0f, 1, zep8u, 1, s), over},
        {zepiFilterGaussianGetBufferSize_L({2000000000, 3}, 4294967295u, zep32f, 3, &n), over},
        {zepiFilterGaussianGetBufferSize({1, 1}, 2, 99, 9, &n32, &n32), zepStsBadArg},
        {zepiFilterGaussianGetBufferSize({1, 1}, 3, 99, 9, &n32, &n32), zepStsBadDataType},
        {zepiFilterGaussianGetBufferSize({1, 1}, 3, zep16s, 9, &n32, &n32), zepStsBadChannel},
        {zepiFilterGaussianGetSpecSize_L(3, zep16s, 2, nullptr), zepStsNullPointer},
        {zepiFilterGaussianGetSpecSize_L(4, zep16s, 2, &n), zepStsBadArg},
        {zepiFilterGaussianGetBufferSize_L({0x7fffffff, 1}, 3, zep8u, 2, &n), zepStsBadChannel},
        {zepiFilterGaussianGetBufferSize_L({0x7fffffff, 1}, 3, zep8u, 1, &n), over},
        {zepGetMaxCacheSizeB(nullptr), zepcoreStsNullPointer},
        {zepGetMaxCacheSizeB(&cache), zepcoreStsOk}};
    for (const auto& c : calls) EXPECT_EQ(c.first, c.second) << int(&c - calls);
    EXPECT_EQ(n, -1);
    EXPECT_GE(cache, 16 * 1024);  // every processor with AVX-512 has at least this much
}

}  // namespace
