// Integral tables and rectangle deviation beside cv::integral.
#include <zepcv.h>

#include <opencv2/imgproc.hpp>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat src, sum, sq, tilt, dev, cvSum, cvSq, cvTilt;
};

int st(const cv::Mat& m) { return static_cast<int>(m.step); }

// kind: 0 sum only, 1 sum and square, 2 tilted sum, 3 tilted sum and square.
void reg(const char* name, int sumType, int sqType, int kind, std::function<void(Images&)> ours) {
    zb::registerExport(name, [=](int w, int h) {
        auto i = std::make_shared<Images>();
        const bool tilted = kind >= 2;
        i->src = zb::randomMat(h, w, sumType == CV_32F && sqType < 0 && kind == 4 ? CV_32F : CV_8U);
        const int e = tilted ? 2 : 1;
        i->sum = cv::Mat(h + e, w + e, sumType);
        if (sqType >= 0) i->sq = cv::Mat(h + e, w + e, sqType);
        zb::Job job;
        job.ours = [i, ours] { ours(*i); };
        const int cvSq = sqType == CV_32S ? CV_32S : CV_64F;
        if (tilted)
            job.peer = [i, sumType, cvSq] { cv::integral(i->src, i->cvSum, i->cvSq, i->cvTilt, sumType, cvSq); };
        else if (sqType >= 0)
            job.peer = [i, sumType, cvSq] { cv::integral(i->src, i->cvSum, i->cvSq, sumType, cvSq); };
        else
            job.peer = [i, sumType] { cv::integral(i->src, i->cvSum, sumType); };
        job.bytesMoved = int64_t(i->src.total() * i->src.elemSize()) + int64_t(i->sum.total() * i->sum.elemSize()) +
                         (sqType >= 0 ? int64_t(i->sq.total() * i->sq.elemSize()) : 0);
        job.keep = i;
        return job;
    });
}

void registerAll() {
    reg("Integral_8u32s_C1R", CV_32S, -1, 0, [](Images& i) {
        zepiIntegral_8u32s_C1R(i.src.data, st(i.src), i.sum.ptr<int32_t>(), st(i.sum), {i.src.cols, i.src.rows}, 0);
    });
    reg("Integral_8u32f_C1R", CV_32F, -1, 0, [](Images& i) {
        zepiIntegral_8u32f_C1R(i.src.data, st(i.src), i.sum.ptr<float>(), st(i.sum), {i.src.cols, i.src.rows}, 0);
    });
    reg("Integral_32f_C1R", CV_32F, -1, 4, [](Images& i) {
        zepiIntegral_32f_C1R(i.src.ptr<float>(), st(i.src), i.sum.ptr<float>(), st(i.sum), {i.src.cols, i.src.rows});
    });
    reg("SqrIntegral_8u32s64f_C1R", CV_32S, CV_64F, 1, [](Images& i) {
        zepiSqrIntegral_8u32s64f_C1R(i.src.data, st(i.src), i.sum.ptr<int32_t>(), st(i.sum), i.sq.ptr<double>(),
                                     st(i.sq), {i.src.cols, i.src.rows}, 0, 0);
    });
    reg("SqrIntegral_8u32f64f_C1R", CV_32F, CV_64F, 1, [](Images& i) {
        zepiSqrIntegral_8u32f64f_C1R(i.src.data, st(i.src), i.sum.ptr<float>(), st(i.sum), i.sq.ptr<double>(),
                                     st(i.sq), {i.src.cols, i.src.rows}, 0, 0);
    });
    reg("SqrIntegral_8u32s_C1R", CV_32S, CV_32S, 1, [](Images& i) {
        zepiSqrIntegral_8u32s_C1R(i.src.data, st(i.src), i.sum.ptr<int32_t>(), st(i.sum), i.sq.ptr<int32_t>(),
                                  st(i.sq), {i.src.cols, i.src.rows}, 0, 0);
    });
    // OpenCV builds its tilted table only beside the upright ones.
    reg("TiltedIntegral_8u32s_C1R", CV_32S, -1, 2, [](Images& i) {
        zepiTiltedIntegral_8u32s_C1R(i.src.data, st(i.src), i.sum.ptr<int32_t>(), st(i.sum), {i.src.cols, i.src.rows},
                                     0);
    });
    reg("TiltedIntegral_8u32f_C1R", CV_32F, -1, 2, [](Images& i) {
        zepiTiltedIntegral_8u32f_C1R(i.src.data, st(i.src), i.sum.ptr<float>(), st(i.sum), {i.src.cols, i.src.rows},
                                     0);
    });
    reg("TiltedSqrIntegral_8u32s64f_C1R", CV_32S, CV_64F, 3, [](Images& i) {
        zepiTiltedSqrIntegral_8u32s64f_C1R(i.src.data, st(i.src), i.sum.ptr<int32_t>(), st(i.sum), i.sq.ptr<double>(),
                                           st(i.sq), {i.src.cols, i.src.rows}, 0, 0);
    });
    // Rectangle deviation of a 24 x 24 window; OpenCV has no equivalent.
    zb::registerExport("RectStdDev_32s32f_C1R", [](int w, int h) {
        auto i = std::make_shared<Images>();
        i->src = zb::randomMat(h, w, CV_8U);
        cv::integral(i->src, i->sum, i->sq, CV_32S, CV_64F);
        i->dev = cv::Mat(h - 24, w - 24, CV_32F);
        zb::Job job;
        job.ours = [i] {
            const ImageRect r{0, 0, 24, 24};
            zepiRectStdDev_32s32f_C1R(i->sum.ptr<int32_t>(), st(i->sum), i->sq.ptr<double>(), st(i->sq),
                                      i->dev.ptr<float>(), st(i->dev), {i->dev.cols, i->dev.rows}, &r);
        };
        job.bytesMoved = int64_t(i->sum.total()) * 12 + int64_t(i->dev.total()) * 4;
        job.keep = i;
        return job;
    });
}

const zb::Registrar registrar(registerAll);

}  // namespace
