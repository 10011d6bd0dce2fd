// Row and column pipeline passes at kernel size 5 beside cv::filter2D with the
// matching one-dimensional kernel (a row or a column of taps).
#include <zepcv.h>

#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/bench.h"

namespace {

struct State {
    cv::Mat src, dst;
    std::vector<void*> rows;
    std::vector<uint8_t> buffer;
};

template <class T>
void regRow(const char* name, int cvType, void (*call)(State&, int16_t*, float*)) {
    zb::registerExport(name, [=](int w, int h) {
        auto s = std::make_shared<State>();
        s->src = zb::randomMat(h, w, cvType, 0, 255);
        s->dst = cv::Mat(h, w, cvType);
        for (int y = 0; y < h; ++y) s->rows.push_back(s->dst.ptr(y));
        s->buffer.resize(4096);
        zb::Job job;
        job.ours = [s, call] {
            int16_t t16[5] = {1, 4, 6, 4, 1};
            float t32[5] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
            call(*s, t16, t32);
        };
        job.peer = [s] {
            const float t[5] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
            cv::filter2D(s->src, s->dst, -1, cv::Mat(1, 5, CV_32F, const_cast<float*>(t)), cv::Point(-1, -1), 0,
                         cv::BORDER_REPLICATE);
        };
        job.bytesMoved = int64_t(s->src.total() * s->src.elemSize()) * 2;
        job.keep = s;
        return job;
    });
}

template <class T>
void regColumn(const char* name, int cvType, void (*call)(State&, int16_t*, float*)) {
    zb::registerExport(name, [=](int w, int h) {
        auto s = std::make_shared<State>();
        s->src = zb::randomMat(h + 4, w, cvType, 0, 255);
        s->dst = cv::Mat(h, w, cvType);
        for (int y = 0; y < h + 4; ++y) s->rows.push_back(s->src.ptr(y));
        s->buffer.resize(size_t(w) * 64 + 4096);
        zb::Job job;
        job.ours = [s, call] {
            int16_t t16[5] = {1, 4, 6, 4, 1};
            float t32[5] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
            call(*s, t16, t32);
        };
        job.peer = [s] {
            const float t[5] = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
            cv::filter2D(s->src.rowRange(0, s->dst.rows), s->dst, -1, cv::Mat(5, 1, CV_32F, const_cast<float*>(t)),
                         cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
        };
        job.bytesMoved = int64_t(s->dst.total() * s->dst.elemSize()) * 2;
        job.keep = s;
        return job;
    });
}

ImageSize roiOf(const cv::Mat& m) { return {m.cols, m.rows}; }

void registerAll() {
    regRow<int16_t>("FilterRowBorderPipeline_16s_C1R/k5", CV_16SC1, [](State& s, int16_t* t, float*) {
        zepiFilterRowBorderPipeline_16s_C1R(s.src.ptr<int16_t>(), int(s.src.step),
                                            reinterpret_cast<int16_t**>(s.rows.data()), roiOf(s.src), t, 5, 2,
                                            zepBorderRepl, 0, 16, s.buffer.data());
    });
    regRow<float>("FilterRowBorderPipeline_32f_C1R/k5", CV_32FC1, [](State& s, int16_t*, float* t) {
        zepiFilterRowBorderPipeline_32f_C1R(s.src.ptr<float>(), int(s.src.step),
                                            reinterpret_cast<float**>(s.rows.data()), roiOf(s.src), t, 5, 2,
                                            zepBorderRepl, 0, s.buffer.data());
    });
    regColumn<int16_t>("FilterColumnPipeline_16s_C1R/k5", CV_16SC1, [](State& s, int16_t* t, float*) {
        zepiFilterColumnPipeline_16s_C1R(reinterpret_cast<const int16_t* const*>(s.rows.data()), s.dst.ptr<int16_t>(),
                                         int(s.dst.step), roiOf(s.dst), t, 5, 16, s.buffer.data());
    });
    regColumn<float>("FilterColumnPipeline_32f_C1R/k5", CV_32FC1, [](State& s, int16_t*, float* t) {
        zepiFilterColumnPipeline_32f_C1R(reinterpret_cast<const float* const*>(s.rows.data()), s.dst.ptr<float>(),
                                         int(s.dst.step), roiOf(s.dst), t, 5, s.buffer.data());
    });
}

const zb::Registrar registrar(registerAll);

}  // namespace
