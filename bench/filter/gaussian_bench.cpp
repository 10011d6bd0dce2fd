// Gaussian filter beside cv::GaussianBlur (same kernel size and sigma,
// BORDER_REPLICATE), kernel sizes 3, 5 and 7.
#include <zepcv.h>

#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "support/bench.h"

namespace {

struct State {
    cv::Mat src, dst;
    std::vector<uint8_t> spec, buffer;
};

template <class T, int Ch, auto F>
void reg(const char* type, int cvType, int dataType, int k) {
    const std::string name =
        std::string("FilterGaussianBorder_") + type + (Ch == 1 ? "_C1R" : "_C3R") + "/k" + std::to_string(k);
    zb::registerExport(name, [=](int w, int h) {
        auto s = std::make_shared<State>();
        s->src = zb::randomMat(h, w, cvType, 0, 255);
        s->dst = cv::Mat(h, w, cvType);
        int specSize = 0, bufSize = 0;
        zepiFilterGaussianGetBufferSize({w, h}, k, dataType, Ch, &specSize, &bufSize);
        s->spec.resize(specSize);
        s->buffer.resize(bufSize);
        const float sigma = 0.3f * ((k - 1) * 0.5f - 1) + 0.8f;
        auto* spec = reinterpret_cast<FilterGaussianSpec*>(s->spec.data());
        zepiFilterGaussianInit({w, h}, k, sigma, zepBorderRepl, dataType, Ch, spec, s->buffer.data());
        zb::Job job;
        job.ours = [s, spec, w, h] {
            const T v[3] = {0, 0, 0};
            if constexpr (Ch == 1)
                F(s->src.ptr<T>(), int(s->src.step), s->dst.ptr<T>(), int(s->dst.step), ImageSize{w, h}, v[0], spec,
                  s->buffer.data());
            else
                F(s->src.ptr<T>(), int(s->src.step), s->dst.ptr<T>(), int(s->dst.step), ImageSize{w, h}, v, spec,
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
}

const zb::Registrar registrar(registerAll);

}  // namespace
