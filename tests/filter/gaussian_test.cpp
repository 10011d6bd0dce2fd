// Gaussian filter: taps and sizes, the ring driver against a straightforward
// whole-image run of the scalar pipeline definitions (every type, channel
// count, border and in-memory flag; exact-size guarded buffers), the 64-bit
// family against the 32-bit one, the no-op spec, check orders, and OpenCV.
#include <gtest/gtest.h>

// The scalar definitions are instantiated here from the library's kernel
// headers; GCC's AVX-512 intrinsics build "undefined" vectors that debug
// builds report once inlined into this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <cmath>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <tuple>

#include "filter/gaussian.h"
#include "filter/pipeline_checks.h"
#include "support/check_order.h"

namespace {

using zep::Path;
using zt::Image;

using zep::filter::InterOf;
using zep::filter::TapOf;
using zep::filter::typeCode;

// The definition of the filter over a whole image: every extended row through
// the scalar row pass, then the scalar column pass over all of them at once.
template <class T, int Ch>
void referenceGaussian(const T* src, int srcStep, T* dst, int dstStep, int W, int H, const T* value,
                       const void* spec) {
    zep::filter::GaussianHeader h{};
    std::memcpy(&h, spec, sizeof h);
    zep::Border b{};
    ASSERT_TRUE(zep::filter::gaussianBorder(h.borderType, b));
    const int k = h.kernelSize, r = k / 2, divisor = 1 << h.shift;
    const auto* taps = reinterpret_cast<const TapOf<T>*>(zep::filter::specTaps(spec));
    std::vector<std::vector<InterOf<T>>> rows(H + k - 1, std::vector<InterOf<T>>(size_t(W) * Ch));
    std::vector<T> constant(size_t(W) * Ch);
    for (int e = 0; e < W * Ch; ++e) constant[e] = value[e % Ch];
    for (int i = -r; i < H + r; ++i) {
        const T* row = nullptr;
        zep::Border rb = b;
        const bool mem = (i < 0 && b.inMemTop) || (i >= H && b.inMemBottom);
        if ((i >= 0 && i < H) || mem) {
            row = reinterpret_cast<const T*>(reinterpret_cast<const char*>(src) + int64_t{i} * srcStep);
        } else if (b.base == zepBorderConst) {
            row = constant.data();
            rb.inMemLeft = rb.inMemRight = false;
        } else {
            row = reinterpret_cast<const T*>(reinterpret_cast<const char*>(src) +
                                             zep::borderIndex(i, H, b.base) * srcStep);
        }
        InterOf<T>* out = rows[i + r].data();
        zep::filter::rowPass<Path::scalar, T, InterOf<T>, TapOf<T>, Ch>(
            {row, 0, {W, 1}, taps, k, r, rb, value, divisor}, &out);
    }
    std::vector<const InterOf<T>*> ptrs;
    for (auto& r2 : rows) ptrs.push_back(r2.data());
    zep::filter::columnPass<Path::scalar, InterOf<T>, T, TapOf<T>>(
        {ptrs.data(), dstStep, int64_t{W} * Ch, H, taps, k, divisor}, dst);
}

template <class T, int Ch, class F, class FL>
void expectGaussianAgrees(const char* name, F filter, FL filterL) {
    std::mt19937 rng(21);
    const uint32_t borders[] = {1, 3, 6, 0xF0, 0x16, 0x23, 0xC1, 0x56, 0xB3};
    const int sizes[][2] = {{1, 1}, {2, 7}, {5, 3}, {17, 2}, {33, 9}, {64, 5}, {70, 20}, {129, 4}};
    for (int k : {3, 5, 7, 9}) {
        for (const auto& s : sizes) {
            const uint32_t border = borders[rng() % std::size(borders)];
            const int W = s[0], H = s[1];
            const float sigma = 0.4f + float(rng() % 100) / 30.0f;
            int specSize = 0, bufSize = 0;
            ASSERT_EQ(zepiFilterGaussianGetBufferSize({W, H}, k, typeCode<T>(), Ch, &specSize, &bufSize), zepStsOk);
            std::vector<uint8_t> spec(specSize + 3);
            auto* pSpec = reinterpret_cast<FilterGaussianSpec*>(spec.data() + 3);
            // Buffers of exactly the reported sizes, guarded behind.
            const auto bufL = zt::queried<int64_t>(zepiFilterGaussianGetBufferSize_L, ImageSizeL{W, H}, uint32_t(k),
                                                   typeCode<T>(), Ch);
            const zt::Canvas buffer = zt::bufferOf(bufSize), bufferL = zt::bufferOf(bufL);
            ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, sigma, border, typeCode<T>(), Ch, pSpec, buffer.first()),
                      zepStsOk);
            // Real pixels around the region: k rows and columns each side.
            Image<T> big(rng, W + 2 * k, H + 2 * k, Ch, false);
            const T* src = big.at(k) + k * Ch;
            Image<T> out(rng, W, H, Ch, false);
            T value[3];
            for (auto& v : value) v = zt::randomValue<T>(rng, false);
            const auto v = std::get < Ch == 1 ? 0 : 1 > (std::tuple<T, const T*>(value[0], value));
            auto definition = [&](T* d) {
                referenceGaussian<T, Ch>(src, big.step(), d, out.step(), W, H, value, pSpec);
                return zepStsOk;
            };
            auto run = [&](auto f, const zt::Canvas& b) {
                return [&, f](T* d) { return f(src, big.step(), d, out.step(), {W, H}, v, pSpec, b.first()); };
            };
            ASSERT_TRUE(zt::agree(out, run(filter, buffer), definition))
                << name << " W " << W << " H " << H << " k " << k << " border " << border << " sigma " << sigma;
            ASSERT_TRUE(zt::agree(out, run(filterL, bufferL), definition)) << name << " _L W " << W << " H " << H;
        }
    }
}

// The 32-bit and the 64-bit filter of one form.
#define ZT_FORM(T, C, N) expectGaussianAgrees<T, C>(#N, zepiFilterGaussianBorder_##N##R, zepiFilterGaussian_##N##R_L)

TEST(Gaussian, RingDriverAgreesWithWholeImageDefinition) {
    ZT_FORM(uint8_t, 1, 8u_C1);
    ZT_FORM(uint8_t, 3, 8u_C3);
    ZT_FORM(uint16_t, 1, 16u_C1);
    ZT_FORM(uint16_t, 3, 16u_C3);
    ZT_FORM(int16_t, 1, 16s_C1);
    ZT_FORM(int16_t, 3, 16s_C3);
    ZT_FORM(float, 1, 32f_C1);
    ZT_FORM(float, 3, 32f_C3);
}

// Destinations as large as the processor's largest cache are written with
// streaming stores, in bands of any height: run that way here on small
// images, 16s with its ring of 16-bit rows and of floats.
template <class T, int Ch, class Ring = InterOf<T>>
void expectStreamedBandsAgree(uint32_t border) {
    std::mt19937 rng(8);
    const int W = 77, H = 23, k = 5;
    int specSize = 0, bufSize = 0;
    ASSERT_EQ(zepiFilterGaussianGetBufferSize({W, H}, k, typeCode<T>(), Ch, &specSize, &bufSize), zepStsOk);
    std::vector<uint8_t> spec(specSize), scratch(bufSize);
    ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, 1.3f, border, typeCode<T>(), Ch,
                                     reinterpret_cast<FilterGaussianSpec*>(spec.data()), scratch.data()),
              zepStsOk);
    zep::filter::GaussianHeader h{};
    std::memcpy(&h, spec.data(), sizeof h);
    zep::Border b{};
    ASSERT_TRUE(zep::filter::gaussianBorder(h.borderType, b));
    zep::filter::GaussianLayout lay{};
    for (int strip : {1, 4, 9}) {
        zep::Carve measure;
        const int64_t bytes =
            zep::filter::gaussianLayout(measure, W, k, Ch, strip, sizeof(Ring), sizeof(T), true, lay).value();
        const zt::Canvas buffer = zt::bufferOf(bytes);
        zep::Carve carve(buffer.first());
        zep::filter::gaussianLayout(carve, W, k, Ch, strip, sizeof(Ring), sizeof(T), true, lay);
        lay.store = zep::Store::streaming;
        Image<T> src(rng, W, H, Ch, false), out(rng, W, H, Ch, false);
        T value[3];
        for (auto& v : value) v = zt::randomValue<T>(rng, false);
        const auto* taps = reinterpret_cast<const TapOf<T>*>(zep::filter::specTaps(spec.data()));
        auto streamed = [&](T* d) {
            zep::filter::gaussianRun<Path::vector, T, InterOf<T>, Ring, TapOf<T>, Ch>(
                src.data(), src.step(), d, out.step(), W, H, value, b, taps, k, 1 << h.shift, lay);
            return zepStsOk;
        };
        auto definition = [&](T* d) {
            referenceGaussian<T, Ch>(src.data(), src.step(), d, out.step(), W, H, value, spec.data());
            return zepStsOk;
        };
        ASSERT_TRUE(zt::agree(out, streamed, definition)) << "strip " << strip << " border " << border;
    }
}

TEST(Gaussian, StreamedBandsAgreeWithWholeImageDefinition) {
    expectStreamedBandsAgree<uint8_t, 1>(zepBorderRepl);
    expectStreamedBandsAgree<uint16_t, 3>(zepBorderMirror);
    expectStreamedBandsAgree<int16_t, 1>(zepBorderConst);
    expectStreamedBandsAgree<int16_t, 3, float>(zepBorderMirror);
    expectStreamedBandsAgree<float, 1>(zepBorderConst);
}

std::vector<int> integerTaps(uint32_t k, float sigma, int type) {
    std::vector<uint8_t> spec(16 * k + 36);
    uint8_t buf[8];
    EXPECT_EQ(
        zepiFilterGaussianInit({8, 8}, k, sigma, 1, type, 1, reinterpret_cast<FilterGaussianSpec*>(spec.data()), buf),
        zepStsOk);
    const auto* t = reinterpret_cast<const uint16_t*>(zep::filter::specTaps(spec.data()));
    return std::vector<int>(t, t + k);
}

TEST(Gaussian, TapsFollowTheRoundingRule) {
    EXPECT_EQ(integerTaps(3, 1.0f, zep8u), (std::vector<int>{1123, 1851, 1123}));
    EXPECT_EQ(integerTaps(3, 1.0f, zep16s), (std::vector<int>{1123, 1851, 1123}));
    EXPECT_EQ(integerTaps(5, 1.5f, zep8u), (std::vector<int>{492, 958, 1196, 958, 492}));
    // 16u: 15 fractional bits; a tiny sigma puts all the weight, 32768, on the centre.
    EXPECT_EQ(integerTaps(3, 0.05f, zep16u), (std::vector<int>{0, 32768, 0}));
}

TEST(Gaussian, SizeFormulas) {
    int spec = 0, buf = 0;
    ASSERT_EQ(zepiFilterGaussianGetBufferSize({100, 50}, 5, zep8u, 1, &spec, &buf), zepStsOk);
    EXPECT_EQ(spec, 116);
    EXPECT_EQ(buf, 5300);  // L = 112, h = 5, R = 268, C = 1264, 8 * (50 + 5)
    ASSERT_EQ(zepiFilterGaussianGetBufferSize({10, 2}, 3, zep32f, 3, &spec, &buf), zepStsOk);
    EXPECT_EQ(spec, 128);
    EXPECT_EQ(buf, 2600);  // L = 40, h = 2, R = 960, C = 128, 8 * (2 + 3)
    ASSERT_EQ(zepiFilterGaussianGetBufferSize({7, 1}, 3, zep16u, 3, &spec, &buf), zepStsOk);
    // L = 32, h = 1: 256 + 64 + 160 + 480 + 32 + (8 * 24 + 96 + 64) + 32 + 32 + 32
    EXPECT_EQ(buf, 256 + 64 + 160 + 480 + 32 + 352 + 32 + 32 + 32);
    // The 64-bit spec size query gives the same spec sizes.
    EXPECT_EQ(zt::queried<int64_t>(zepiFilterGaussianGetSpecSize_L, 5u, zep8u, 1), 116);
    EXPECT_EQ(zt::queried<int64_t>(zepiFilterGaussianGetSpecSize_L, 3u, zep32f, 3), 128);
}

TEST(Gaussian, UninitialisedSpecIsANoOp) {
    std::mt19937 rng(3);
    Image<uint8_t> src(rng, 20, 6), dst(rng, 20, 6);
    const auto before = dst.canvas.bytes();
    std::vector<uint8_t> spec(200, 0);
    std::vector<uint8_t> buffer(100000);
    const auto* s = reinterpret_cast<const FilterGaussianSpec*>(spec.data());
    auto filter = [&](auto f) {
        return f(src.data(), src.step(), dst.data(), dst.step(), {20, 6}, 0, s, buffer.data());
    };
    EXPECT_EQ(filter(zepiFilterGaussianBorder_8u_C1R), zepStsOk);
    EXPECT_EQ(filter(zepiFilterGaussian_8u_C1R_L), zepStsOk);
    spec[0] = 4;   // an even kernel size
    spec[12] = 1;  // replicate
    EXPECT_EQ(filter(zepiFilterGaussianBorder_8u_C1R), zepStsOk);
    EXPECT_EQ(dst.canvas.bytes(), before);
}

TEST(Gaussian, CheckOrders) {
    using zt::CallArgs;
    std::vector<uint8_t> bufMem(64);
    zt::Canvas specCanvas(400, 1, 400, 0);
    auto* spec = reinterpret_cast<FilterGaussianSpec*>(specCanvas.first());
    // Init: spec and buffer; kernel size, sigma, border, data type, channels.
    const CallArgs valid({spec, bufMem.data()}, {}, {16, 8}, {5, 1.2, 1, zep8u, 1});
    const std::vector<zt::Breaker> initBreakers = {
        zt::nullBreaker(0),
        zt::nullBreaker(1),
        {"zero height", 2, [](CallArgs& a) { a.roi.height = 0; }, zepStsBadSize},
        {"zero width", 3, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize},
        {"kernel 4", 4, [](CallArgs& a) { a.param[0] = 4; }, zepStsBadArg},
        {"kernel 1", 4, [](CallArgs& a) { a.param[0] = 1; }, zepStsBadArg},
        {"data type 2", 5, [](CallArgs& a) { a.param[3] = 2; }, zepStsBadDataType},
        {"channels 4", 6, [](CallArgs& a) { a.param[4] = 4; }, zepStsBadChannel},
        {"sigma 0", 7, [](CallArgs& a) { a.param[1] = 0.0; }, zepStsBadArg},
        {"sigma NaN", 7, [](CallArgs& a) { a.param[1] = NAN; }, zepStsBadArg},
        {"border 256", 8, [](CallArgs& a) { a.param[2] = 256; }, zepStsBadBorder},
        {"border 0xF2", 8, [](CallArgs& a) { a.param[2] = 0xF2; }, zepStsBadBorder},
    };
    // The spec is Init's output: a failing Init must leave it as it was. Init_L has no buffer.
    zt::expectOrder("Init", valid, zt::callWith<zepiFilterGaussianInit>, initBreakers, {&specCanvas});
    auto initL = [](const CallArgs& a) {
        return a.ptr[1] ? zt::callWith<zepiFilterGaussianInit_L>(a) : zepStsNullPointer;
    };
    zt::expectOrder("Init_L", valid, initL, initBreakers, {&specCanvas});
    EXPECT_EQ(zepiFilterGaussianInit_L({0x7fffffff, 2}, 3, 1.0f, 1, zep8u, 1, spec), zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussianInit_L({0x7fffffff, 2}, 3, 1.0f, 2, zep8u, 1, spec), zepStsBadBorder);

    int s = 0, b = 0;
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({0, 1}, 3, 99, 9, nullptr, &b), zepStsNullPointer);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({0, 1}, 2, 99, 9, &s, &b), zepStsBadSize);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, 2, 99, 9, &s, &b), zepStsBadArg);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, 3, 99, 9, &s, &b), zepStsBadDataType);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, 3, zep16s, 9, &s, &b), zepStsBadChannel);
    int64_t bl = 0;
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({0x7fffffff, 1}, 3, zep8u, 1, &bl), zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({0x7fffffff, 1}, 3, zep8u, 2, &bl), zepStsBadChannel);

    // The 8u C1 filter: pointers (images, buffer, then spec), steps (before the size), size, the spec's border.
    std::mt19937 rng(5);
    Image<uint8_t> src(rng, 16, 8), dst(rng, 16, 8);
    ASSERT_EQ(zepiFilterGaussianGetBufferSize({16, 8}, 5, zep8u, 1, &s, &b), zepStsOk);
    std::vector<uint8_t> buffer(b);
    ASSERT_EQ(zt::callWith<zepiFilterGaussianInit>(valid), zepStsOk);
    std::vector<uint8_t> badSpec(specCanvas.first(), specCanvas.first() + 400);
    badSpec[12] = 2;  // border type 2
    const auto nul = zt::nullBreaker;
    std::vector<zt::Breaker> fb = {nul(0), nul(1), nul(3), nul(2)};
    fb.insert(fb.end(),
              {{"short src step", 4, [](zt::CallArgs& a) { a.step[0] = 15; }, zepStsBadStep},
               {"short dst step", 5, [](zt::CallArgs& a) { a.step[1] = 15; }, zepStsBadStep},
               {"zero height", 6, [](zt::CallArgs& a) { a.roi.height = 0; }, zepStsBadSize},
               {"bad spec border", 2, [&](zt::CallArgs& a) { a.ptr[2] = badSpec.data(); }, zepStsBadBorder}});
    const zt::CallArgs fv({src.data(), dst.data(), spec, buffer.data()}, {src.step(), dst.step()}, {16, 8}, {0});
    zt::expectOrder("GaussianBorder_8u_C1R", fv, zt::callWith<zepiFilterGaussianBorder_8u_C1R>, fb, {&dst.canvas});
    // A spec of another type is not this filter's.
    EXPECT_EQ(
        zepiFilterGaussianBorder_16s_C1R(reinterpret_cast<const int16_t*>(src.data()), 16,
                                         reinterpret_cast<int16_t*>(dst.data()), 16, {8, 8}, 0, spec, buffer.data()),
        zepStsBadContext);
}

// OpenCV's sepFilter2D with the spec's own 32f taps and a replicated border
// computes the same sums, in its own accumulation order: equal within float
// rounding. cv::GaussianBlur's 8u path uses its own 8-bit fixed-point taps
// (rounded to sum to exactly 256) and one rounding at the end, where this
// library rounds taps to 12 bits without renormalising and rounds after each
// pass: results differ by at most 1 on smooth-enough data, more on edges.
TEST(GaussianPeers, OpenCV) {
    const int W = 97, H = 41;
    for (int k : {3, 5, 7}) {
        const float sigma = 0.3f * ((k - 1) * 0.5f - 1) + 0.8f;
        cv::Mat src(H, W, CV_32FC3), ours(H, W, CV_32FC3), theirs;
        cv::randu(src, -100, 100);
        int specSize = 0, bufSize = 0;
        ASSERT_EQ(zepiFilterGaussianGetBufferSize({W, H}, k, zep32f, 3, &specSize, &bufSize), zepStsOk);
        std::vector<uint8_t> spec(specSize), buffer(bufSize);
        auto* s = reinterpret_cast<FilterGaussianSpec*>(spec.data());
        ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, sigma, zepBorderRepl, zep32f, 3, s, buffer.data()), zepStsOk);
        const float zero[3] = {0, 0, 0};
        ASSERT_EQ(zepiFilterGaussianBorder_32f_C3R(src.ptr<float>(), int(src.step), ours.ptr<float>(), int(ours.step),
                                                   {W, H}, zero, s, buffer.data()),
                  zepStsOk);
        const auto* taps = reinterpret_cast<const float*>(zep::filter::specTaps(spec.data()));
        cv::Mat kernel(1, k, CV_32F, const_cast<float*>(taps));
        cv::sepFilter2D(src, theirs, CV_32F, kernel, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
        EXPECT_LE(cv::norm(ours, theirs, cv::NORM_INF), 1e-3) << k;
        cv::Mat blurred;
        cv::GaussianBlur(src, blurred, cv::Size(k, k), sigma, sigma, cv::BORDER_REPLICATE);
        EXPECT_LE(cv::norm(ours, blurred, cv::NORM_INF), 1e-3) << k;

        cv::Mat src8(H, W, CV_8UC1), ours8(H, W, CV_8UC1), theirs8;
        cv::Mat smooth;
        cv::randu(src8, 0, 256);
        cv::GaussianBlur(src8, src8, cv::Size(9, 9), 3);  // moderate gradients
        ASSERT_EQ(zepiFilterGaussianGetBufferSize({W, H}, k, zep8u, 1, &specSize, &bufSize), zepStsOk);
        std::vector<uint8_t> spec8(specSize), buffer8(bufSize);
        auto* s8 = reinterpret_cast<FilterGaussianSpec*>(spec8.data());
        ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, sigma, zepBorderRepl, zep8u, 1, s8, buffer8.data()), zepStsOk);
        ASSERT_EQ(zepiFilterGaussianBorder_8u_C1R(src8.data, int(src8.step), ours8.data, int(ours8.step), {W, H}, 0,
                                                  s8, buffer8.data()),
                  zepStsOk);
        cv::GaussianBlur(src8, theirs8, cv::Size(k, k), sigma, sigma, cv::BORDER_REPLICATE);
        EXPECT_LE(cv::norm(ours8, theirs8, cv::NORM_INF), 1.0) << k;
    }
}

}  // namespace
