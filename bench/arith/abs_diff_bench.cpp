// Absolute differences beside cv::absdiff.
#include <zepcv.h>

#include <opencv2/core.hpp>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat a, b, dst;
};

template <class T, auto F>
void twoImages(Images& i) {
    F(i.a.ptr<T>(), static_cast<int>(i.a.step), i.b.ptr<T>(), static_cast<int>(i.b.step), i.dst.ptr<T>(),
      static_cast<int>(i.dst.step), ImageSize{i.a.cols, i.a.rows});
}

template <class T, class V, auto F>
void constant(Images& i) {
    F(i.a.ptr<T>(), static_cast<int>(i.a.step), i.dst.ptr<T>(), static_cast<int>(i.dst.step),
      ImageSize{i.a.cols, i.a.rows}, V(100));
}

void reg(const char* name, int cvType, bool withConstant, void (*ours)(Images&)) {
    zb::registerExport(name, [=](int w, int h) {
        auto img = std::make_shared<Images>();
        img->a = zb::randomMat(h, w, cvType);
        img->b = zb::randomMat(h, w, cvType);
        img->dst = cv::Mat(h, w, cvType);
        zb::Job job;
        job.ours = [img, ours] { ours(*img); };
        if (withConstant)
            job.peer = [img] { cv::absdiff(img->a, cv::Scalar::all(100), img->dst); };
        else
            job.peer = [img] { cv::absdiff(img->a, img->b, img->dst); };
        job.bytesMoved = static_cast<int64_t>(img->a.total() * img->a.elemSize()) * (withConstant ? 2 : 3);
        job.keep = img;
        return job;
    });
}

void registerAll() {
    reg("AbsDiff_8u_C1R", CV_8UC1, false, twoImages<uint8_t, zepiAbsDiff_8u_C1R>);
    reg("AbsDiff_8u_C3R", CV_8UC3, false, twoImages<uint8_t, zepiAbsDiff_8u_C3R>);
    reg("AbsDiff_16u_C1R", CV_16UC1, false, twoImages<uint16_t, zepiAbsDiff_16u_C1R>);
    reg("AbsDiff_32f_C1R", CV_32FC1, false, twoImages<float, zepiAbsDiff_32f_C1R>);
    reg("AbsDiffC_8u_C1R", CV_8UC1, true, constant<uint8_t, int, zepiAbsDiffC_8u_C1R>);
    reg("AbsDiffC_16u_C1R", CV_16UC1, true, constant<uint16_t, int, zepiAbsDiffC_16u_C1R>);
    reg("AbsDiffC_32f_C1R", CV_32FC1, true, constant<float, float, zepiAbsDiffC_32f_C1R>);
}

const zb::Registrar registrar(registerAll);

}  // namespace
