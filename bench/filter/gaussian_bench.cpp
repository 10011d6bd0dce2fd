// Gaussian filter beside cv::GaussianBlur (same kernel size and sigma,
// BORDER_REPLICATE), kernel sizes 3, 5 and 7; the 64-bit-size family at 5.
#include <zepcv.h>

#include <opencv2/imgproc.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "support/bench.h"

namespace {

struct State {
    cv::Mat src, dst;
    std::vector<uint8_t> spec, buffer;
};

// One export of either family: L selects the 64-bit-size one.
template <class T, int Ch, auto F, bool L = false>
void reg(const char* type, int cvType, int dataType, int k) {
    const std::string name = std::string(L ? "FilterGaussian_" : "FilterGaussianBorder_") + type +
                             (Ch == 1 ? "_C1R" : "_C3R") + (L ? "_L" : "") + "/k" + std::to_string(k);
    zb::registerExport(name, [=](int w, int h) {
        auto s = std::make_shared<State>();
        s->src = zb::randomMat(h, w, cvType, 0, 255);
        s->dst = cv::Mat(h, w, cvType);
        const float sigma = 0.3f * ((k - 1) * 0.5f - 1) + 0.8f;
        FilterGaussianSpec* spec = nullptr;
        if constexpr (L) {
            int64_t specSize = 0, bufSize = 0;
            zepiFilterGaussianGetSpecSize_L(k, dataType, Ch, &specSize);
            zepiFilterGaussianGetBufferSize_L({w, h}, k, dataType, Ch, &bufSize);
            s->spec.resize(size_t(specSize));
            s->buffer.resize(size_t(bufSize));
            spec = reinterpret_cast<FilterGaussianSpec*>(s->spec.data());
            zepiFilterGaussianInit_L({w, h}, k, sigma, zepBorderRepl, dataType, Ch, spec);
        } else {
            int specSize = 0, bufSize = 0;
            zepiFilterGaussianGetBufferSize({w, h}, k, dataType, Ch, &specSize, &bufSize);
            s->spec.resize(size_t(specSize));
            s->buffer.resize(size_t(bufSize));
            spec = reinterpret_cast<FilterGaussianSpec*>(s->spec.data());
            zepiFilterGaussianInit({w, h}, k, sigma, zepBorderRepl, dataType, Ch, spec, s->buffer.data());
        }
        zb::Job job;
        job.ours = [s, spec, w, h] {
            using Step = std::conditional_t<L, int64_t, int>;
            using Size = std::conditional_t<L, ImageSizeL, ImageSize>;
            const T v[3] = {0, 0, 0};
            if constexpr (Ch == 1)
                F(s->src.ptr<T>(), Step(s->src.step), s->dst.ptr<T>(), Step(s->dst.step), Size{w, h}, v[0], spec,
                  s->buffer.data());
            else
                F(s->src.ptr<T>(), Step(s->src.step), s->dst.ptr<T>(), Step(s->dst.step), Size{w, h}, v, spec,
                  s->buffer.data());
        };
        job.peer = [s, k, sigma] {
            cv::GaussianBlur(s->src, s->dst, cv::Size(k, k), sigma, sigma, cv::BORDER_REPLICATE);
        };
        job.bytesMoved = int64_t(s->src.total() * s->src.elemSize()) * 2;
        job.keep = s;
        return job;
    });
}

void registerAll() {
    for (int k : {3, 5, 7}) {
        reg<uint8_t, 1, zepiFilterGaussianBorder_8u_C1R>("8u", CV_8UC1, zep8u, k);
        reg<uint8_t, 3, zepiFilterGaussianBorder_8u_C3R>("8u", CV_8UC3, zep8u, k);
        reg<uint16_t, 1, zepiFilterGaussianBorder_16u_C1R>("16u", CV_16UC1, zep16u, k);
        reg<uint16_t, 3, zepiFilterGaussianBorder_16u_C3R>("16u", CV_16UC3, zep16u, k);
        reg<int16_t, 1, zepiFilterGaussianBorder_16s_C1R>("16s", CV_16SC1, zep16s, k);
        reg<int16_t, 3, zepiFilterGaussianBorder_16s_C3R>("16s", CV_16SC3, zep16s, k);
        reg<float, 1, zepiFilterGaussianBorder_32f_C1R>("32f", CV_32FC1, zep32f, k);
        reg<float, 3, zepiFilterGaussianBorder_32f_C3R>("32f", CV_32FC3, zep32f, k);
    }
    reg<uint8_t, 1, zepiFilterGaussian_8u_C1R_L, true>("8u", CV_8UC1, zep8u, 5);
    reg<uint8_t, 3, zepiFilterGaussian_8u_C3R_L, true>("8u", CV_8UC3, zep8u, 5);
    reg<uint16_t, 1, zepiFilterGaussian_16u_C1R_L, true>("16u", CV_16UC1, zep16u, 5);
    reg<uint16_t, 3, zepiFilterGaussian_16u_C3R_L, true>("16u", CV_16UC3, zep16u, 5);
    reg<int16_t, 1, zepiFilterGaussian_16s_C1R_L, true>("16s", CV_16SC1, zep16s, 5);
    reg<int16_t, 3, zepiFilterGaussian_16s_C3R_L, true>("16s", CV_16SC3, zep16s, 5);
    reg<float, 1, zepiFilterGaussian_32f_C1R_L, true>("32f", CV_32FC1, zep32f, 5);
    reg<float, 3, zepiFilterGaussian_32f_C3R_L, true>("32f", CV_32FC3, zep32f, 5);
}

const zb::Registrar registrar(registerAll);

}  // namespace
