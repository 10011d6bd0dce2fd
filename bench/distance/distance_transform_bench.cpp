// Distance transforms beside cv::distanceTransform, on an image whose zero
// pixels are about 1 in 200.
#include <zepcv.h>

#include <opencv2/imgproc.hpp>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat src, dst, ref, labels;
    std::vector<uint8_t> buffer;
};

cv::Mat sparseZeros(int h, int w) {
    cv::Mat m = zb::randomMat(h, w, CV_8U, 0, 200);
    m.setTo(255, m != 0);
    return m;
}

void reg(const char* name, int dstType, int cvDist, int cvMask, std::function<void(Images&)> ours) {
    zb::registerExport(name, [=](int w, int h) {
        auto i = std::make_shared<Images>();
        i->src = sparseZeros(h, w);
        i->dst = cv::Mat(h, w, dstType);
        if (std::string(name).starts_with("TrueDistance")) {
            int n = 0;
            zepiTrueDistanceTransformGetBufferSize_8u32f_C1R({w, h}, &n);
            i->buffer.resize(static_cast<size_t>(n));
        }
        zb::Job job;
        job.ours = [i, ours] { ours(*i); };
        if (cvDist >= 0)
            job.peer = [i, cvDist, cvMask] { cv::distanceTransform(i->src, i->ref, cvDist, cvMask, CV_32F); };
        job.bytesMoved = int64_t(i->src.total()) + int64_t(i->dst.total() * i->dst.elemSize());
        job.keep = i;
        return job;
    });
}

int st(const cv::Mat& m) { return static_cast<int>(m.step); }

void registerAll() {
    const int32_t k3[2] = {2, 3}, k5[3] = {5, 7, 11};
    static const float f3[2] = {0.955f, 1.3693f}, f5[3] = {1.0f, 1.4f, 2.1969f};
    reg("DistanceTransform_3x3_8u32f_C1R", CV_32F, cv::DIST_L2, 3, [](Images& i) {
        zepiDistanceTransform_3x3_8u32f_C1R(i.src.data, st(i.src), i.dst.ptr<float>(), st(i.dst),
                                            {i.src.cols, i.src.rows}, f3);
    });
    reg("DistanceTransform_5x5_8u32f_C1R", CV_32F, cv::DIST_L2, 5, [](Images& i) {
        zepiDistanceTransform_5x5_8u32f_C1R(i.src.data, st(i.src), i.dst.ptr<float>(), st(i.dst),
                                            {i.src.cols, i.src.rows}, f5);
    });
    reg("DistanceTransform_3x3_8u16u_C1R", CV_16U, cv::DIST_L2, 3, [k3](Images& i) {
        zepiDistanceTransform_3x3_8u16u_C1R(i.src.data, st(i.src), i.dst.ptr<uint16_t>(), st(i.dst),
                                            {i.src.cols, i.src.rows}, k3);
    });
    reg("DistanceTransform_3x3_8u_C1R", CV_8U, cv::DIST_L2, 3, [k3](Images& i) {
        zepiDistanceTransform_3x3_8u_C1R(i.src.data, st(i.src), i.dst.data, st(i.dst), {i.src.cols, i.src.rows}, k3);
    });
    reg("DistanceTransform_5x5_8u16u_C1R", CV_16U, cv::DIST_L2, 5, [k5](Images& i) {
        zepiDistanceTransform_5x5_8u16u_C1R(i.src.data, st(i.src), i.dst.ptr<uint16_t>(), st(i.dst),
                                            {i.src.cols, i.src.rows}, k5);
    });
    reg("TrueDistanceTransform_8u32f_C1R", CV_32F, cv::DIST_L2, cv::DIST_MASK_PRECISE, [](Images& i) {
        zepiTrueDistanceTransform_8u32f_C1R(i.src.data, st(i.src), i.dst.ptr<float>(), st(i.dst),
                                            {i.src.cols, i.src.rows}, i.buffer.data());
    });
}

const zb::Registrar registrar(registerAll);

}  // namespace
