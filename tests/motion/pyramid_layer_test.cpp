// Layer resampling: vector path against the scalar definition at several
// rates and kernels, worked examples of fractional centres and skipped zero
// taps, cv::pyrDown/cv::pyrUp at rate 2 (weights, borders, ties), and the
// check orders.
#include "motion/pyramid_layer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <opencv2/imgproc.hpp>
#include <random>
#include <thread>
#include <vector>

#include "support/check_order.h"

namespace {

using zep::Path;
using zep::pyramid::Dir;
using zt::Breaker;
using zt::CallArgs;
using zt::Image;

template <class T, int Ch>
struct Api;
#define ZT_LAYER_API(T, SUFFIX, CH)                                            \
    template <>                                                                \
    struct Api<T, CH> {                                                        \
        static constexpr auto downSize = zepiPyramidLayerDownGetSize_##SUFFIX; \
        static constexpr auto downInit = zepiPyramidLayerDownInit_##SUFFIX;    \
        static constexpr auto down = zepiPyramidLayerDown_##SUFFIX;            \
        static constexpr auto upSize = zepiPyramidLayerUpGetSize_##SUFFIX;     \
        static constexpr auto upInit = zepiPyramidLayerUpInit_##SUFFIX;        \
        static constexpr auto up = zepiPyramidLayerUp_##SUFFIX;                \
    };
ZT_LAYER_API(uint8_t, 8u_C1R, 1)
ZT_LAYER_API(uint8_t, 8u_C3R, 3)
ZT_LAYER_API(uint16_t, 16u_C1R, 1)
ZT_LAYER_API(uint16_t, 16u_C3R, 3)
ZT_LAYER_API(float, 32f_C1R, 1)
ZT_LAYER_API(float, 32f_C3R, 3)
#undef ZT_LAYER_API

// A layer state in caller memory placed at an odd address.
template <class T, int Ch>
struct State {
    std::vector<uint8_t> memory;
    void* state = nullptr;
    State(Dir d, ImageSize src, float rate, const std::vector<T>& kernel) {
        using A = Api<T, Ch>;
        const int n = int(kernel.size());
        memory.assign(size_t(zt::queried(d == Dir::down ? A::downSize : A::upSize, src, rate, n)) + 1, 0);
        const CallArgs init({&state, (void*)kernel.data(), memory.data() + 1}, {}, src, {rate, double(n), 0});
        EXPECT_EQ(d == Dir::down ? zt::callWith<A::downInit>(init) : zt::callWith<A::upInit>(init), zepStsOk);
    }
    template <class S>
    S* as() const {
        return static_cast<S*>(state);
    }
};

template <class T, int Ch>
ZepStatus resample(Dir d, const T* src, int srcStep, ImageSize srcRoi, T* dst, int dstStep, ImageSize dstRoi,
                   void* state) {
    using A = Api<T, Ch>;
    return d == Dir::down ? A::down(src, srcStep, srcRoi, dst, dstStep, dstRoi, static_cast<PyramidDownState*>(state))
                          : A::up(src, srcStep, srcRoi, dst, dstStep, dstRoi, static_cast<PyramidUpState*>(state));
}

// The destination sizes a source may take: its down size, or both ends of its up range.
std::vector<ImageSize> destinationsOf(Dir d, ImageSize src, float rate) {
    ImageSize a{}, b{};
    if (d == Dir::down) return zepiGetPyramidDownROI(src, &a, rate), std::vector{a};
    zepiGetPyramidUpROI(src, &a, &b, rate);
    return {a, b};
}

// Layer calls through the export against the scalar definition on random
// images: every rate, kernel, width and height given, with a state made for
// a source `larger` by so much, at one destination size the source may take
// (every one when `allDestinations`); equal bit for bit (NaNs by class),
// guard bytes untouched.
template <class T, int Ch>
void expectLayersAgree(Dir d, uint32_t seed, const std::vector<float>& rates,
                       const std::vector<std::vector<T>>& kernels, const std::vector<int>& widths,
                       const std::vector<int>& heights, ImageSize larger, bool allDestinations) {
    std::mt19937 rng(seed);
    for (float rate : rates)
        for (const auto& kernel : kernels)
            for (int w : widths)
                for (int h : heights) {
                    const ImageSize src{w, h};
                    State<T, Ch> state(d, {w + larger.width, h + larger.height}, rate, kernel);
                    std::vector<ImageSize> dsts = destinationsOf(d, src, rate);
                    if (!allDestinations) dsts = {dsts[rng() % dsts.size()]};
                    for (const ImageSize dst : dsts) {
                        Image<T> in(rng, src.width, src.height, Ch), out(rng, dst.width, dst.height, Ch);
                        auto on = [&](auto layer) {
                            return [&, layer](T* o) {
                                return layer(in.data(), in.step(), src, o, out.step(), dst, state.state);
                            };
                        };
                        auto scalar = [&](auto... a) {
                            return d == Dir::down ? zep::pyramid::layerImage<Path::scalar, Dir::down, T, Ch>(a...)
                                                  : zep::pyramid::layerImage<Path::scalar, Dir::up, T, Ch>(a...);
                        };
                        auto exported = [&](auto... a) { return resample<T, Ch>(d, a...); };
                        ASSERT_TRUE(zt::agree(out, on(exported), on(scalar), std::is_same_v<T, float>))
                            << (d == Dir::down ? "down" : "up") << " rate " << rate << " taps " << kernel.size()
                            << " src " << w << "x" << h << " dst " << dst.width << "x" << dst.height << " channels "
                            << Ch;
                    }
                }
}

// Runs `check.operator()<T, Ch>(d)` for every type, channel count and direction.
template <class Check>
void forEachLayer(Check check, bool with16u = true) {
    for (Dir d : {Dir::down, Dir::up}) {
        check.template operator()<uint8_t, 1>(d);
        check.template operator()<uint8_t, 3>(d);
        if (with16u) check.template operator()<uint16_t, 1>(d), check.template operator()<uint16_t, 3>(d);
        check.template operator()<float, 1>(d);
        check.template operator()<float, 3>(d);
    }
}

// Rates other than 2 (which runs its own path, below) with odd kernels,
// zero taps and, for floats, negative taps.
TEST(PyramidLayer, VectorPathAgreesWithScalarDefinition) {
    forEachLayer([]<class T, int Ch>(Dir d) {
        std::vector<std::vector<T>> kernels = {{1, 4, 6, 4, 1}, {1, 2, 1}, {3, 0, 7, 9, 7, 0, 3}};
        if constexpr (std::is_same_v<T, float>)
            kernels = {{1, 4, 6, 4, 1}, {0.25f, 0.5f, 0.25f}, {-0.1f, 0.3f, 0.6f, 0.3f, -0.1f}, {-1, 0, 1}};
        expectLayersAgree<T, Ch>(d, 17 + Ch, {1.5f, 3.0f, 1.27f}, kernels, zt::sweepWidths(), {1, 3, 6}, {3, 1},
                                 false);
    });
}

// Rate 2 runs its own path (fixed weights per phase, mirrored margins): every
// odd kernel length up to past 64 taps (the rows pass switches there), zero
// taps, an asymmetric kernel and, for floats, one whose weights sum to 0;
// heights down to 1 so that long kernels mirror several times; both up sizes.
TEST(PyramidLayer, RateTwoPathAgreesWithScalarDefinition) {
    forEachLayer([]<class T, int Ch>(Dir d) {
        std::vector<std::vector<T>> k = {{1, 2, 1}, {1, 4, 6, 4, 1}, {0, 1, 0}, {5, 1, 9}, {1, 0, 3, 8, 3, 0, 1}};
        k.push_back({1, 2, 3, 4, 5, 4, 3, 2, 1}), k.push_back({2, 7, 1, 8, 2, 8, 1, 8, 2, 8, 4});
        k.push_back(std::vector<T>(67, T(1)));
        if constexpr (std::is_same_v<T, float>) k.push_back({-1, 0.5f, 1, 0.5f, -1}), k.push_back({1e-30f, 1, 1e30f});
        expectLayersAgree<T, Ch>(d, 29 + Ch, {2.0f}, k, zt::sweepWidths(), {1, 2, 4, 7}, {1, 2}, true);
    });
}

// Rows wider than one chunk of columns: at each rate, channel count and
// direction some width here leaves a last chunk of one output (rate 2, 1 4 6 4 1:
// down 3969 and 1281 sources, up 4001 and 433; rate 1.5: down 4057 and 1345,
// up 1345); interior chunks read real neighbouring columns, not mirrored ones.
TEST(PyramidLayer, RowsWiderThanAChunkAgreeWithScalarDefinition) {
    forEachLayer(
        []<class T, int Ch>(Dir d) {
            expectLayersAgree<T, Ch>(d, 41 + Ch, {2.0f, 1.5f}, {{1, 4, 6, 4, 1}, {1, 2, 1}},
                                     {433, 434, 1281, 1282, 1345, 1346, 3969, 3970, 4001, 4057, 4058, 4097, 4100},
                                     {3}, {0, 0}, true);
        },
        false);
}

// The operations only read the state: its bytes are the same after a call,
// and two threads sharing one state (each with its own images) get what the
// same calls give one after the other.
template <class T, int Ch>
void expectSharedStateCalls(Dir d, float rate) {
    std::mt19937 rng(53 + Ch);
    const ImageSize src{611, 37}, dst = destinationsOf(d, src, rate).back();
    State<T, Ch> state(d, src, rate, std::vector<T>{1, 4, 6, 4, 1});
    const std::vector<uint8_t> snapshot = state.memory;
    std::deque<Image<T>> in, out;
    std::deque<zt::Canvas> seq;
    auto call = [&](int i, T* o) {
        return resample<T, Ch>(d, in[i].data(), in[i].step(), src, o, out[i].step(), dst, state.state);
    };
    for (int i = 0; i < 2; ++i) {
        in.emplace_back(rng, src.width, src.height, Ch), out.emplace_back(rng, dst.width, dst.height, Ch);
        ASSERT_EQ(call(i, reinterpret_cast<T*>(seq.emplace_back(out[i].canvas).first())), zepStsOk);
        ASSERT_EQ(state.memory, snapshot) << "a call changed the state";
    }
    ZepStatus status[2] = {zepStsOk, zepStsOk};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&, i] {
            for (int n = 0; n < 20 && status[i] == zepStsOk; ++n) status[i] = call(i, out[i].data());
        });
    for (std::thread& t : threads) t.join();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(status[i], zepStsOk);
        if constexpr (std::is_same_v<T, float>) zt::canonicalizeNaNs(out[i].canvas), zt::canonicalizeNaNs(seq[i]);
        EXPECT_EQ(zt::firstDifference(out[i].canvas, seq[i]), -1) << int(d) << " rate " << rate;
    }
    EXPECT_EQ(state.memory, snapshot) << "concurrent calls changed the state";
}

TEST(PyramidLayer, OneStateServesConcurrentCalls) {
    for (Dir d : {Dir::down, Dir::up})
        for (float rate : {2.0f, 1.5f}) {
            expectSharedStateCalls<uint8_t, 3>(d, rate);
            expectSharedStateCalls<uint16_t, 1>(d, rate);
            expectSharedStateCalls<float, 1>(d, rate);
        }
}

// One row through a layer operation (height 1 keeps the rows pass exact).
template <class T>
std::vector<T> row(Dir d, std::vector<T> src, int dstWidth, float rate, std::vector<T> kernel, int dstHeight = 1) {
    State<T, 1> s(d, {int(src.size()), 1}, rate, kernel);
    std::vector<T> out(size_t(dstWidth) * dstHeight);
    const int step = int(sizeof(T)) * dstWidth;
    const ZepStatus status = resample<T, 1>(d, src.data(), int(sizeof(T) * src.size()), {int(src.size()), 1},
                                            out.data(), step, {dstWidth, dstHeight}, s.state);
    EXPECT_EQ(status, zepStsOk);
    out.resize(size_t(dstWidth));
    return out;
}

TEST(PyramidLayer, FractionalCentresInterpolateTheKernel) {
    // Rate 1.5, kernel 1 2 1: output 1 is centred on 1.5 and takes pixels 0..3
    // with weights 1 3 3 1 (/ 8); output 3 on 4.5 likewise; outputs 0, 2, 4 sit
    // on pixels. A ramp stays a ramp inside; the ends mirror.
    EXPECT_EQ(row<float>(Dir::down, {0, 8, 16, 24, 32, 40, 48}, 5, 1.5f, {1, 2, 1}),
              (std::vector<float>{4, 12, 24, 36, 44}));
    EXPECT_EQ(row<uint8_t>(Dir::down, {0, 8, 16, 24, 32, 40, 48}, 5, 1.5f, {1, 2, 1}),
              (std::vector<uint8_t>{4, 12, 24, 36, 44}));
    // A constant survives every rate and kernel: the weights of each output sum to 1.
    for (float rate : {1.1f, 1.5f, 2.5f, 7.0f}) {
        ImageSize dst{}, lo{}, hi{};
        zepiGetPyramidDownROI({50, 1}, &dst, rate);
        for (uint8_t v : row<uint8_t>(Dir::down, std::vector<uint8_t>(50, 201), dst.width, rate, {1, 3, 5, 3, 1}))
            EXPECT_EQ(v, 201) << rate;
        zepiGetPyramidUpROI({50, 1}, &lo, &hi, rate);
        for (uint8_t v : row<uint8_t>(Dir::up, std::vector<uint8_t>(50, 201), hi.width, rate, {1, 3, 5, 3, 1}))
            EXPECT_EQ(v, 201) << rate;
    }
}

TEST(PyramidLayer, ZeroTapsAreSkipped) {
    // The kernel's zero taps fall on the infinity: it reaches no output.
    EXPECT_EQ(row<float>(Dir::down, {0, INFINITY, 0, 0}, 2, 2.0f, {0, 1, 0}), (std::vector<float>{0, 0}));
}

// cv::pyrDown and cv::pyrUp are the rate-2 step with the kernel 1 4 6 4 1,
// mirrored borders down, and up the mirror of the zero-filled image (so the
// right and bottom edges repeat the last pixel). 8u and 16u agree exactly:
// every partial sum is exact in single precision and both round ties up
// (frequent: up, an odd output is (4 4) / 8 of two pixels).
// 32f differs by rounding only: OpenCV sums integer-weighted taps and scales
// by 1/256 (1/64 up) at the end, we sum taps already scaled.
TEST(PyramidLayerPeers, OpenCVPyrDownAndPyrUp) {
    forEachLayer([]<class T, int Ch>(Dir d) {
        const int type = CV_MAKETYPE(cv::DataType<T>::depth, Ch);
        for (ImageSize s : {ImageSize{37, 23}, {40, 30}, {64, 48}, {3, 5}, {2, 2}, {131, 9}}) {
            cv::Mat src(s.height, s.width, type), theirs;
            cv::randu(src, 0, std::is_same_v<T, uint16_t> ? 65536 : 256);
            d == Dir::down ? cv::pyrDown(src, theirs) : cv::pyrUp(src, theirs);
            const ImageSize dst = destinationsOf(d, s, 2.0f).back();
            ASSERT_EQ(theirs.size(), cv::Size(dst.width, dst.height));
            cv::Mat ours(theirs.size(), type);
            State<T, Ch> state(d, s, 2.0f, {1, 4, 6, 4, 1});
            ASSERT_EQ(
                (resample<T, Ch>(d, src.ptr<T>(), int(src.step), s, ours.ptr<T>(), int(ours.step), dst, state.state)),
                zepStsOk);
            EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), (std::is_same_v<T, float> ? 1e-4 : 0.0))
                << type << (d == Dir::down ? " down " : " up ") << s.width;
        }
    });
}

TEST(PyramidLayer, SizeAndInitCheckOrder) {
    const ImageSize roi{40, 30};
    const uint8_t kernel[5] = {1, 4, 6, 4, 1};
    zt::Canvas out(1 << 16, 1, 1 << 16, 0);
    uint8_t* o = out.first();
    const auto nul = zt::nullBreaker;
    // Parameters: direction, rate, kernel size, channels, data type.
    const std::vector<Breaker> params = {
        {"zero height", 10, [](CallArgs& a) { a.roi.height = 0; }, zepStsBadSize},
        {"rate 1", 20, [](CallArgs& a) { a.param[1] = 1.0; }, zepStsBadArg},
        {"kernel 4", 21, [](CallArgs& a) { a.param[2] = 4; }, zepStsBadArg},
        {"kernel 1", 21, [](CallArgs& a) { a.param[2] = 1; }, zepStsBadArg},
        {"4 channels", 22, [](CallArgs& a) { a.param[3] = 4; }, zepStsBadChannelCount},
        {"16s data", 23, [](CallArgs& a) { a.param[4] = zep16s; }, zepStsBadDataType},
        {"state past 2^31 bytes", 24, [](CallArgs& a) { a.param[2] = (1 << 20) + 1, a.roi.width = 100000; },
         zepStsSizeOverflow}};
    for (Dir d : {Dir::down, Dir::up}) {
        std::vector<Breaker> sizeBreakers = {nul(0)}, initBreakers = {nul(0), nul(1), nul(2)};
        sizeBreakers.insert(sizeBreakers.end(), params.begin(), params.end());
        initBreakers.insert(initBreakers.end(), params.begin(), params.end());
        const std::vector<double> p = {double(d), 2.0, 5, 1, zep8u};
        zt::expectOrder("layer GetSize", {{o}, {}, roi, p}, zt::callWith<zep::pyramid::layerGetSize>, sizeBreakers,
                        {&out});
        zt::expectOrder("layer Init", {{o, (void*)kernel, o + 64}, {}, roi, p}, zt::callWith<zep::pyramid::layerInit>,
                        initBreakers, {&out});
    }
    // The exports fix channels and data type; their first checks are the same.
    int size = 0;
    EXPECT_EQ(zepiPyramidLayerUpGetSize_16u_C3R(roi, 2.0f, 5, nullptr), zepStsNullPointer);
    EXPECT_EQ(zepiPyramidLayerDownGetSize_32f_C1R({0, 3}, 0.5f, 5, &size), zepStsBadSize);
    EXPECT_EQ(zepiPyramidLayerDownGetSize_32f_C1R(roi, 10.0f, 3, &size), zepStsOk);
    EXPECT_EQ(zepiPyramidLayerDownInit_8u_C3R(nullptr, roi, 2.0f, kernel, 5, 0, o), zepStsNullPointer);
}

template <class T, int Ch>
void layerCheckOrder(Dir d) {
    std::mt19937 rng(3);
    const ImageSize src{12, 9};
    const ImageSize dst = destinationsOf(d, src, 2.0f).back();
    const int e = sizeof(T);
    // Spare bytes per row so that a size breaker alone does not trip the step checks.
    zt::Canvas in(int64_t{src.width} * Ch * e, src.height + 1, int64_t{src.width + 4} * Ch * e, 0);
    zt::Canvas out(int64_t{dst.width} * Ch * e, dst.height + 1, int64_t{dst.width + 4} * Ch * e, 0);
    State<T, Ch> state(d, src, 2.0f, std::vector<T>{1, 4, 6, 4, 1});
    std::vector<uint8_t> foreign(4096, 0);
    const CallArgs valid({in.first(), out.first(), state.state}, {int(in.step()), int(out.step())}, src,
                         {double(dst.width), double(dst.height)});
    const auto nul = zt::nullBreaker;
    const int srcRow = src.width * Ch * e, dstRow = dst.width * Ch * e;
    std::vector<Breaker> b = {nul(0), nul(1), nul(2)};
    b.push_back({"zero source width", 10, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize});
    b.push_back({"zero destination height", 11, [](CallArgs& a) { a.param[1] = 0; }, zepStsBadSize});
    b.push_back({"short source step", 20, [=](CallArgs& a) { a.step[0] = srcRow - e; }, zepStsBadStep});
    b.push_back({"short destination step", 21, [=](CallArgs& a) { a.step[1] = dstRow - e; }, zepStsBadStep});
    if (e > 1) {
        b.push_back({"odd source step", 20, [=](CallArgs& a) { a.step[0] = srcRow + 1; }, zepStsStepNotMultiple});
        b.push_back(
            {"odd destination step", 21, [=](CallArgs& a) { a.step[1] = dstRow + 1; }, zepStsStepNotMultiple});
    }
    b.push_back({"foreign state", 2, [&](CallArgs& a) { a.ptr[2] = foreign.data(); }, zepStsBadContext});
    b.push_back({"source taller than the state's", 12, [](CallArgs& a) { a.roi.height += 1; }, zepStsBadSize});
    b.push_back({"destination too tall", 13, [](CallArgs& a) { a.param[1] += 1; }, zepStsBadSize});
    const zt::Caller down = zt::callWith<Api<T, Ch>::down>, up = zt::callWith<Api<T, Ch>::up>;
    zt::expectOrder(d == Dir::down ? "LayerDown" : "LayerUp", valid, d == Dir::down ? down : up, b, {&in, &out});
}

TEST(PyramidLayer, OperationCheckOrder) {
    for (Dir d : {Dir::down, Dir::up}) {
        layerCheckOrder<uint8_t, 1>(d);
        layerCheckOrder<uint8_t, 3>(d);
        layerCheckOrder<uint16_t, 1>(d);
        layerCheckOrder<float, 3>(d);
    }
    // A down state is not an up state, nor one of another type.
    const std::vector<uint8_t> kernel = {1, 2, 1};
    State<uint8_t, 1> down(Dir::down, {8, 8}, 2.0f, kernel);
    std::vector<uint8_t> a(256), b(256);
    EXPECT_EQ(zepiPyramidLayerUp_8u_C1R(a.data(), 8, {8, 8}, b.data(), 16, {16, 16}, down.as<PyramidUpState>()),
              zepStsBadContext);
    EXPECT_EQ(zepiPyramidLayerDown_8u_C3R(a.data(), 24, {8, 8}, b.data(), 12, {4, 4}, down.as<PyramidDownState>()),
              zepStsBadContext);
}

}  // namespace
