// Specs and states shared across threads: several threads run one filter with
// one shared Gaussian spec or pyramid-layer state, each on its own images and
// work buffer, and every result equals that of a run on one thread. The
// ThreadSanitizer build runs these (scripts/test, .ci/run): a write to a
// shared spec or state, or to any memory two calls share, is reported there.
#include <gtest/gtest.h>
#include <zepcv.h>

#include <cstdint>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;

// Runs job(i, out) for i = 0 .. kThreads - 1, first one after another, then
// all at once (each thread twice), and compares the outputs.
void expectSameOnThreads(size_t outBytes, const std::function<void(int, uint8_t*)>& job) {
    std::vector<std::vector<uint8_t>> alone(kThreads, std::vector<uint8_t>(outBytes));
    std::vector<std::vector<uint8_t>> shared(kThreads, std::vector<uint8_t>(outBytes));
    for (int i = 0; i < kThreads; ++i) job(i, alone[i].data());
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            job(i, shared[i].data());
            job(i, shared[i].data());
        });
    for (std::thread& t : threads) t.join();
    for (int i = 0; i < kThreads; ++i) EXPECT_EQ(alone[i], shared[i]) << "thread " << i;
}

template <class T>
std::vector<T> randomPixels(int seed, size_t n) {
    std::mt19937 rng(seed);
    std::vector<T> v(n);
    for (T& x : v) x = static_cast<T>(rng() % 256);
    return v;
}

TEST(Concurrency, GaussianSpecsShared) {
    const int W = 301, H = 67, k = 7;
    for (const int type : {zep8u, zep32f}) {
        for (const int ch : {1, 3}) {
            int specSize = 0, bufferSize = 0;
            ASSERT_EQ(zepiFilterGaussianGetBufferSize({W, H}, k, type, ch, &specSize, &bufferSize), zepStsOk);
            int64_t bufferSizeL = 0;
            ASSERT_EQ(zepiFilterGaussianGetBufferSize_L({W, H}, k, type, ch, &bufferSizeL), zepStsOk);
            std::vector<uint8_t> specMemory(static_cast<size_t>(specSize)), init(static_cast<size_t>(bufferSize));
            auto* spec = reinterpret_cast<FilterGaussianSpec*>(specMemory.data());
            ASSERT_EQ(zepiFilterGaussianInit({W, H}, k, 1.7f, zepBorderMirror, type, ch, spec, init.data()),
                      zepStsOk);
            const size_t n = size_t(W) * H * ch;
            const size_t elem = type == zep8u ? 1 : 4;
            auto job = [&](int i, uint8_t* out) {
                std::vector<uint8_t> buffer(static_cast<size_t>(std::max<int64_t>(bufferSize, bufferSizeL)));
                const int step = int(W * ch * elem);
                if (type == zep8u) {
                    const auto src = randomPixels<uint8_t>(i, n);
                    const uint8_t value[3] = {1, 2, 3};
                    if (ch == 1)
                        ASSERT_EQ(zepiFilterGaussianBorder_8u_C1R(src.data(), step, out, step, {W, H}, 9, spec,
                                                                  buffer.data()),
                                  zepStsOk);
                    else
                        ASSERT_EQ(zepiFilterGaussian_8u_C3R_L(src.data(), step, out, step, {W, H}, value, spec,
                                                              buffer.data()),
                                  zepStsOk);
                } else {
                    const auto src = randomPixels<float>(i, n);
                    const float value[3] = {1, 2, 3};
                    auto* o = reinterpret_cast<float*>(out);
                    if (ch == 1)
                        ASSERT_EQ(zepiFilterGaussian_32f_C1R_L(src.data(), step, o, step, {W, H}, 9.0f, spec,
                                                               buffer.data()),
                                  zepStsOk);
                    else
                        ASSERT_EQ(zepiFilterGaussianBorder_32f_C3R(src.data(), step, o, step, {W, H}, value, spec,
                                                                   buffer.data()),
                                  zepStsOk);
                }
            };
            expectSameOnThreads(n * elem, job);
        }
    }
}

TEST(Concurrency, PyramidLayerStatesShared) {
    const ImageSize src{203, 97};
    const float rate = 1.7f;
    const float kernel32f[5] = {1, 4, 6, 4, 1};
    const uint8_t kernel8u[5] = {1, 4, 6, 4, 1};
    ImageSize down{}, upMin{}, upMax{};
    ASSERT_EQ(zepiGetPyramidDownROI(src, &down, rate), zepStsOk);
    ASSERT_EQ(zepiGetPyramidUpROI(src, &upMin, &upMax, rate), zepStsOk);
    // Down, 8u, one channel.
    int size = 0;
    ASSERT_EQ(zepiPyramidLayerDownGetSize_8u_C1R(src, rate, 5, &size), zepStsOk);
    std::vector<uint8_t> downMemory(static_cast<size_t>(size));
    PyramidDownState* downState = nullptr;
    ASSERT_EQ(zepiPyramidLayerDownInit_8u_C1R(&downState, src, rate, kernel8u, 5, 0, downMemory.data()), zepStsOk);
    expectSameOnThreads(size_t(down.width) * down.height, [&](int i, uint8_t* out) {
        const auto pixels = randomPixels<uint8_t>(i, size_t(src.width) * src.height);
        ASSERT_EQ(zepiPyramidLayerDown_8u_C1R(pixels.data(), src.width, src, out, down.width, down, downState),
                  zepStsOk);
    });
    // Up, 32f, three channels.
    ASSERT_EQ(zepiPyramidLayerUpGetSize_32f_C3R(src, rate, 5, &size), zepStsOk);
    std::vector<uint8_t> upMemory(static_cast<size_t>(size));
    PyramidUpState* upState = nullptr;
    ASSERT_EQ(zepiPyramidLayerUpInit_32f_C3R(&upState, src, rate, kernel32f, 5, 0, upMemory.data()), zepStsOk);
    const int dstStep = upMax.width * 3 * 4;
    expectSameOnThreads(size_t(dstStep) * upMax.height, [&](int i, uint8_t* out) {
        const auto pixels = randomPixels<float>(i, size_t(src.width) * src.height * 3);
        ASSERT_EQ(zepiPyramidLayerUp_32f_C3R(pixels.data(), src.width * 12, src, reinterpret_cast<float*>(out),
                                             dstStep, upMax, upState),
                  zepStsOk);
    });
}

}  // namespace
