// Extrema with positions beside cv::minMaxLoc with the same mask. OpenCV's
// minMaxLoc takes one channel only: for the C3C forms it runs on the channel
// extracted first (cv::extractChannel), as a caller of OpenCV would do.
// Bytes moved are the bytes read: source and mask.
#include <zepcv.h>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat src, mask, plane;
    float lo = 0, hi = 0;
    ImagePoint loAt{}, hiAt{};
};

int step(const cv::Mat& m) { return static_cast<int>(m.step); }
ImageSize roi(const cv::Mat& m) { return {m.cols, m.rows}; }

template <class T, int C, bool Masked, auto F>
void ours(Images& i) {
    const T* p = i.src.ptr<T>();
    if constexpr (C == 1 && !Masked)
        F(p, step(i.src), roi(i.src), &i.lo, &i.hi, &i.loAt, &i.hiAt);
    else if constexpr (!Masked)
        F(p, step(i.src), roi(i.src), 2, &i.lo, &i.hi, &i.loAt, &i.hiAt);
    else if constexpr (C == 1)
        F(p, step(i.src), i.mask.data, step(i.mask), roi(i.src), &i.lo, &i.hi, &i.loAt, &i.hiAt);
    else
        F(p, step(i.src), i.mask.data, step(i.mask), roi(i.src), 2, &i.lo, &i.hi, &i.loAt, &i.hiAt);
}

template <int C, bool Masked>
void peer(Images& i) {
    double lo, hi;
    cv::Point loAt, hiAt;
    const cv::Mat* plane = &i.src;
    if (C == 3) {
        cv::extractChannel(i.src, i.plane, 1);
        plane = &i.plane;
    }
    if (Masked)
        cv::minMaxLoc(*plane, &lo, &hi, &loAt, &hiAt, i.mask);
    else
        cv::minMaxLoc(*plane, &lo, &hi, &loAt, &hiAt);
    benchmark::DoNotOptimize(lo);
}

template <class T, int C, bool Masked, auto F>
void reg(const char* name, int cvType) {
    zb::registerExport(name, [=](int w, int h) {
        auto img = std::make_shared<Images>();
        img->src = zb::randomMat(h, w, cvType, 0, sizeof(T) == 1 ? 256 : 65536);
        img->mask = zb::randomMat(h, w, CV_8U, 0, 2);
        zb::Job job;
        job.ours = [img] { ours<T, C, Masked, F>(*img); };
        job.peer = [img] { peer<C, Masked>(*img); };
        job.bytesMoved = int64_t{w} * h * (static_cast<int64_t>(img->src.elemSize()) + (Masked ? 1 : 0));
        job.keep = img;
        return job;
    });
}

void registerAll() {
    reg<uint8_t, 1, false, zepiMinMaxIndx_8u_C1R>("MinMaxIndx_8u_C1R", CV_8UC1);
    reg<uint16_t, 1, false, zepiMinMaxIndx_16u_C1R>("MinMaxIndx_16u_C1R", CV_16UC1);
    reg<float, 1, false, zepiMinMaxIndx_32f_C1R>("MinMaxIndx_32f_C1R", CV_32FC1);
    reg<uint8_t, 3, false, zepiMinMaxIndx_8u_C3CR>("MinMaxIndx_8u_C3CR", CV_8UC3);
    reg<uint16_t, 3, false, zepiMinMaxIndx_16u_C3CR>("MinMaxIndx_16u_C3CR", CV_16UC3);
    reg<float, 3, false, zepiMinMaxIndx_32f_C3CR>("MinMaxIndx_32f_C3CR", CV_32FC3);
    reg<uint8_t, 1, true, zepiMinMaxIndx_8u_C1MR>("MinMaxIndx_8u_C1MR", CV_8UC1);
    reg<uint16_t, 1, true, zepiMinMaxIndx_16u_C1MR>("MinMaxIndx_16u_C1MR", CV_16UC1);
    reg<float, 1, true, zepiMinMaxIndx_32f_C1MR>("MinMaxIndx_32f_C1MR", CV_32FC1);
    reg<uint8_t, 3, true, zepiMinMaxIndx_8u_C3CMR>("MinMaxIndx_8u_C3CMR", CV_8UC3);
    reg<uint16_t, 3, true, zepiMinMaxIndx_16u_C3CMR>("MinMaxIndx_16u_C3CMR", CV_16UC3);
    reg<float, 3, true, zepiMinMaxIndx_32f_C3CMR>("MinMaxIndx_32f_C3CMR", CV_32FC3);
}

const zb::Registrar registrar(registerAll);

}  // namespace
