// Masked norms beside cv::norm with the same mask. The C3CMR forms read one
// channel of an interleaved image, so they read the same bytes as cv::norm of
// the whole three-channel image with that mask, which is their peer (OpenCV
// has no channel-of-interest norm). Bytes moved: the sources and the mask,
// all read.
#include <zepcv.h>

#include <opencv2/core.hpp>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat a, b, mask;
    double result = 0;
};

// Norm, NormDiff or NormRel.
enum class Of { src, diff, rel };

template <Of O, class T, int Ch, auto F>
void ours(Images& i) {
    const auto* a = i.a.ptr<T>();
    const auto* b = i.b.ptr<T>();
    const int as = static_cast<int>(i.a.step), bs = static_cast<int>(i.b.step), ms = static_cast<int>(i.mask.step);
    const ImageSize roi{i.a.cols, i.a.rows};
    if constexpr (O == Of::src && Ch == 1)
        F(a, as, i.mask.data, ms, roi, &i.result);
    else if constexpr (O == Of::src)
        F(a, as, i.mask.data, ms, roi, 2, &i.result);
    else if constexpr (Ch == 1)
        F(a, as, b, bs, i.mask.data, ms, roi, &i.result);
    else
        F(a, as, b, bs, i.mask.data, ms, roi, 2, &i.result);
}

void reg(const std::string& name, Of of, int normType, int cvType, void (*call)(Images&)) {
    zb::registerExport(name, [=](int w, int h) {
        auto img = std::make_shared<Images>();
        const bool isFloat = CV_MAT_DEPTH(cvType) == CV_32F;
        const double high = CV_MAT_DEPTH(cvType) == CV_16U ? 65536 : 256;
        img->a = zb::randomMat(h, w, cvType, isFloat ? -high : 0, high);
        img->b = of == Of::src ? cv::Mat() : zb::randomMat(h, w, cvType, isFloat ? -high : 0, high);
        img->mask = zb::randomMat(h, w, CV_8UC1, 0, 2);
        zb::Job job;
        job.ours = [img, call] { call(*img); };
        job.peer = [img, of, normType] {
            if (of == Of::src)
                img->result = cv::norm(img->a, normType, img->mask);
            else if (of == Of::diff)
                img->result = cv::norm(img->a, img->b, normType, img->mask);
            else
                img->result = cv::norm(img->a, img->b, normType | cv::NORM_RELATIVE, img->mask);
        };
        const int64_t srcBytes = static_cast<int64_t>(img->a.total() * img->a.elemSize());
        job.bytesMoved = srcBytes * (of == Of::src ? 1 : 2) + static_cast<int64_t>(w) * h;
        job.keep = img;
        return job;
    });
}

#define ZB_NORM(Op, O, Kind, NT, TN, T, Depth)                       \
    reg(#Op "_" #Kind "_" #TN "_C1MR", O, NT, CV_MAKETYPE(Depth, 1), \
        ours<O, T, 1, zepi##Op##_##Kind##_##TN##_C1MR>);             \
    reg(#Op "_" #Kind "_" #TN "_C3CMR", O, NT, CV_MAKETYPE(Depth, 3), ours<O, T, 3, zepi##Op##_##Kind##_##TN##_C3CMR>)
#define ZB_KIND(Kind, NT, TN, T, Depth)                  \
    ZB_NORM(Norm, Of::src, Kind, NT, TN, T, Depth);      \
    ZB_NORM(NormDiff, Of::diff, Kind, NT, TN, T, Depth); \
    ZB_NORM(NormRel, Of::rel, Kind, NT, TN, T, Depth)
#define ZB_TYPE(TN, T, Depth)                 \
    ZB_KIND(Inf, cv::NORM_INF, TN, T, Depth); \
    ZB_KIND(L1, cv::NORM_L1, TN, T, Depth);   \
    ZB_KIND(L2, cv::NORM_L2, TN, T, Depth)

void registerAll() {
    ZB_TYPE(8u, uint8_t, CV_8U);
    ZB_TYPE(16u, uint16_t, CV_16U);
    ZB_TYPE(32f, float, CV_32F);
}

const zb::Registrar registrar(registerAll);

}  // namespace
