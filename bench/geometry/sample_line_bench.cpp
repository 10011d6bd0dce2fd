// Line sampling beside cv::LineIterator: 64 lines across the image per job,
// spread over every direction.
#include <zepcv.h>

#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/bench.h"

namespace {

struct Lines {
    cv::Mat img;
    std::vector<std::pair<ImagePoint, ImagePoint>> ends;
    std::vector<uint8_t> out;
};

template <class T, int Ch, auto F>
void reg(const char* name, int type) {
    zb::registerExport(name, [=](int w, int h) {
        auto l = std::make_shared<Lines>();
        l->img = zb::randomMat(h, w, type);
        int64_t samples = 0;
        for (int k = 0; k < 64; ++k) {
            const int t = k * 37 % 64;
            const ImagePoint a{(w - 1) * t / 63, k % 2 ? 0 : h - 1}, b{(w - 1) * (63 - t) / 63, k % 2 ? h - 1 : 0};
            const ImagePoint c = k % 4 < 2 ? a : ImagePoint{k % 2 ? 0 : w - 1, (h - 1) * t / 63};
            const ImagePoint d = k % 4 < 2 ? b : ImagePoint{k % 2 ? w - 1 : 0, (h - 1) * (63 - t) / 63};
            l->ends.push_back({c, d});
            samples += std::max(std::abs(d.x - c.x), std::abs(d.y - c.y)) + 1;
        }
        l->out.resize(size_t(std::max(w, h)) * Ch * sizeof(T));
        zb::Job job;
        job.ours = [l] {
            for (const auto& [a, b] : l->ends)
                F(l->img.ptr<T>(), int(l->img.step), ImageSize{l->img.cols, l->img.rows},
                  reinterpret_cast<T*>(l->out.data()), a, b);
        };
        job.peer = [l] {
            for (const auto& [a, b] : l->ends) {
                cv::LineIterator it(l->img, {a.x, a.y}, {b.x, b.y}, 8);
                T* o = reinterpret_cast<T*>(l->out.data());
                for (int i = 0; i < it.count; ++i, ++it, o += Ch) std::memcpy(o, *it, sizeof(T) * Ch);
            }
        };
        job.bytesMoved = samples * 2 * Ch * int64_t(sizeof(T));
        job.keep = l;
        return job;
    });
}

void registerAll() {
    reg<uint8_t, 1, zepiSampleLine_8u_C1R>("SampleLine_8u_C1R", CV_8UC1);
    reg<uint8_t, 3, zepiSampleLine_8u_C3R>("SampleLine_8u_C3R", CV_8UC3);
    reg<uint16_t, 1, zepiSampleLine_16u_C1R>("SampleLine_16u_C1R", CV_16UC1);
    reg<uint16_t, 3, zepiSampleLine_16u_C3R>("SampleLine_16u_C3R", CV_16UC3);
    reg<float, 1, zepiSampleLine_32f_C1R>("SampleLine_32f_C1R", CV_32FC1);
    reg<float, 3, zepiSampleLine_32f_C3R>("SampleLine_32f_C3R", CV_32FC3);
}

const zb::Registrar registrar(registerAll);

}  // namespace
