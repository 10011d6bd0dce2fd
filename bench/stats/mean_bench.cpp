// Means and deviations beside cv::mean and cv::meanStdDev with the same mask.
// OpenCV has no channel of interest: for the C3C forms it computes all three
// channels of the same bytes. Bytes moved are the bytes read: source and mask.
#include <zepcv.h>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat src, mask;
    double mean = 0, sd = 0;
};

template <class T>
const T* ptr(const cv::Mat& m) {
    return m.ptr<T>();
}
int step(const cv::Mat& m) { return static_cast<int>(m.step); }
ImageSize roi(const cv::Mat& m) { return {m.cols, m.rows}; }

void reg(const char* name, int cvType, bool masked, void (*ours)(Images&), void (*peer)(Images&)) {
    zb::registerExport(name, [=](int w, int h) {
        auto img = std::make_shared<Images>();
        img->src = zb::randomMat(h, w, cvType);
        img->mask = zb::randomMat(h, w, CV_8U, 0, 2);
        zb::Job job;
        job.ours = [img, ours] { ours(*img); };
        job.peer = [img, peer] { peer(*img); };
        job.bytesMoved = int64_t{w} * h * (static_cast<int64_t>(img->src.elemSize()) + (masked ? 1 : 0));
        job.keep = img;
        return job;
    });
}

void cvMean(Images& i) { benchmark::DoNotOptimize(cv::mean(i.src, i.mask)); }
void cvMeanStdDev(Images& i) {
    cv::Scalar m, s;
    cv::meanStdDev(i.src, m, s);
    benchmark::DoNotOptimize(m);
}
void cvMeanStdDevMasked(Images& i) {
    cv::Scalar m, s;
    cv::meanStdDev(i.src, m, s, i.mask);
    benchmark::DoNotOptimize(m);
}

void registerAll() {
    reg(
        "Mean_8u_C1MR", CV_8UC1, true,
        [](Images& i) {
            zepiMean_8u_C1MR(ptr<uint8_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), &i.mean);
        },
        cvMean);
    reg(
        "Mean_16u_C1MR", CV_16UC1, true,
        [](Images& i) {
            zepiMean_16u_C1MR(ptr<uint16_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), &i.mean);
        },
        cvMean);
    reg(
        "Mean_32f_C1MR", CV_32FC1, true,
        [](Images& i) {
            zepiMean_32f_C1MR(ptr<float>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), &i.mean);
        },
        cvMean);
    reg(
        "Mean_8u_C3CMR", CV_8UC3, true,
        [](Images& i) {
            zepiMean_8u_C3CMR(ptr<uint8_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), 2, &i.mean);
        },
        cvMean);
    reg(
        "Mean_16u_C3CMR", CV_16UC3, true,
        [](Images& i) {
            zepiMean_16u_C3CMR(ptr<uint16_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), 2, &i.mean);
        },
        cvMean);
    reg(
        "Mean_32f_C3CMR", CV_32FC3, true,
        [](Images& i) {
            zepiMean_32f_C3CMR(ptr<float>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), 2, &i.mean);
        },
        cvMean);

    reg(
        "Mean_StdDev_8u_C1R", CV_8UC1, false,
        [](Images& i) { zepiMean_StdDev_8u_C1R(ptr<uint8_t>(i.src), step(i.src), roi(i.src), &i.mean, &i.sd); },
        cvMeanStdDev);
    reg(
        "Mean_StdDev_16u_C1R", CV_16UC1, false,
        [](Images& i) { zepiMean_StdDev_16u_C1R(ptr<uint16_t>(i.src), step(i.src), roi(i.src), &i.mean, &i.sd); },
        cvMeanStdDev);
    reg(
        "Mean_StdDev_32f_C1R", CV_32FC1, false,
        [](Images& i) { zepiMean_StdDev_32f_C1R(ptr<float>(i.src), step(i.src), roi(i.src), &i.mean, &i.sd); },
        cvMeanStdDev);
    reg(
        "Mean_StdDev_8u_C3CR", CV_8UC3, false,
        [](Images& i) { zepiMean_StdDev_8u_C3CR(ptr<uint8_t>(i.src), step(i.src), roi(i.src), 2, &i.mean, &i.sd); },
        cvMeanStdDev);
    reg(
        "Mean_StdDev_16u_C3CR", CV_16UC3, false,
        [](Images& i) { zepiMean_StdDev_16u_C3CR(ptr<uint16_t>(i.src), step(i.src), roi(i.src), 2, &i.mean, &i.sd); },
        cvMeanStdDev);
    reg(
        "Mean_StdDev_32f_C3CR", CV_32FC3, false,
        [](Images& i) { zepiMean_StdDev_32f_C3CR(ptr<float>(i.src), step(i.src), roi(i.src), 2, &i.mean, &i.sd); },
        cvMeanStdDev);

    reg(
        "Mean_StdDev_8u_C1MR", CV_8UC1, true,
        [](Images& i) {
            zepiMean_StdDev_8u_C1MR(ptr<uint8_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), &i.mean,
                                    &i.sd);
        },
        cvMeanStdDevMasked);
    reg(
        "Mean_StdDev_16u_C1MR", CV_16UC1, true,
        [](Images& i) {
            zepiMean_StdDev_16u_C1MR(ptr<uint16_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src),
                                     &i.mean, &i.sd);
        },
        cvMeanStdDevMasked);
    reg(
        "Mean_StdDev_32f_C1MR", CV_32FC1, true,
        [](Images& i) {
            zepiMean_StdDev_32f_C1MR(ptr<float>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), &i.mean,
                                     &i.sd);
        },
        cvMeanStdDevMasked);
    reg(
        "Mean_StdDev_8u_C3CMR", CV_8UC3, true,
        [](Images& i) {
            zepiMean_StdDev_8u_C3CMR(ptr<uint8_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), 2,
                                     &i.mean, &i.sd);
        },
        cvMeanStdDevMasked);
    reg(
        "Mean_StdDev_16u_C3CMR", CV_16UC3, true,
        [](Images& i) {
            zepiMean_StdDev_16u_C3CMR(ptr<uint16_t>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), 2,
                                      &i.mean, &i.sd);
        },
        cvMeanStdDevMasked);
    reg(
        "Mean_StdDev_32f_C3CMR", CV_32FC3, true,
        [](Images& i) {
            zepiMean_StdDev_32f_C3CMR(ptr<float>(i.src), step(i.src), i.mask.data, step(i.mask), roi(i.src), 2,
                                      &i.mean, &i.sd);
        },
        cvMeanStdDevMasked);
}

const zb::Registrar registrar(registerAll);

}  // namespace
