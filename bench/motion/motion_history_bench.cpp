// Motion-history updates beside cv::motempl::updateMotionHistory (8u
// silhouettes; OpenCV takes no 16u or 32f silhouette).
#include <opencv2/core.hpp>
#ifdef ZEPCV_HAVE_OPTFLOW
#include <opencv2/optflow/motempl.hpp>
#endif

#include <zepcv.h>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat silhouette, history;
};

template <class S, auto F>
void update(Images& i) {
    F(i.silhouette.ptr<S>(), static_cast<int>(i.silhouette.step), i.history.ptr<float>(),
      static_cast<int>(i.history.step), ImageSize{i.history.cols, i.history.rows}, 10.0f, 4.0f);
}

void reg(const char* name, int silType, void (*ours)(Images&)) {
    zb::registerExport(name, [=](int w, int h) {
        auto img = std::make_shared<Images>();
        img->silhouette = zb::randomMat(h, w, CV_8UC1, 0, 2);  // about half the pixels moving
        img->silhouette.convertTo(img->silhouette, silType);
        img->history = zb::randomMat(h, w, CV_32FC1, 0, 12);
        zb::Job job;
        job.ours = [img, ours] { ours(*img); };
#ifdef ZEPCV_HAVE_OPTFLOW
        if (silType == CV_8UC1)
            job.peer = [img] { cv::motempl::updateMotionHistory(img->silhouette, img->history, 10.0, 4.0); };
#endif
        // The silhouette read, the history read and written.
        job.bytesMoved = static_cast<int64_t>(img->history.total()) * (int64_t(img->silhouette.elemSize()) + 8);
        job.keep = img;
        return job;
    });
}

void registerAll() {
    reg("UpdateMotionHistory_8u32f_C1IR", CV_8UC1, update<uint8_t, zepiUpdateMotionHistory_8u32f_C1IR>);
    reg("UpdateMotionHistory_16u32f_C1IR", CV_16UC1, update<uint16_t, zepiUpdateMotionHistory_16u32f_C1IR>);
    reg("UpdateMotionHistory_32f_C1IR", CV_32FC1, update<float, zepiUpdateMotionHistory_32f_C1IR>);
}

const zb::Registrar registrar(registerAll);

}  // namespace
