// Rate-2 pyramid layers with the kernel 1 4 6 4 1 beside cv::pyrDown and
// cv::pyrUp (the same job: see the layer tests).
#include <zepcv.h>

#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/bench.h"

namespace {

struct Layer {
    cv::Mat src, dst;
    std::vector<uint8_t> state;
    void* spec = nullptr;
};

template <class T>
using GetSize = ZepStatus (*)(ImageSize, float, int, int*);
template <class T, class S>
using Init = ZepStatus (*)(S**, ImageSize, float, const T*, int, int, uint8_t*);
template <class T, class S>
using Run = ZepStatus (*)(const T*, int, ImageSize, T*, int, ImageSize, S*);

template <class T, class S>
void reg(const char* name, int type, bool down, GetSize<T> getSize, Init<T, S> init, Run<T, S> run) {
    zb::registerExport(name, [=](int w, int h) {
        auto l = std::make_shared<Layer>();
        // Up: the source whose up range at rate 2 holds w x h, so odd sizes too.
        const ImageSize src = down ? ImageSize{w, h} : ImageSize{(w + 1) / 2, (h + 1) / 2};
        const ImageSize dst = down ? ImageSize{(w + 1) / 2, (h + 1) / 2} : ImageSize{w, h};
        l->src = zb::randomMat(src.height, src.width, type);
        l->dst = cv::Mat(dst.height, dst.width, type);
        const T kernel[5] = {1, 4, 6, 4, 1};
        int size = 0;
        getSize(src, 2.0f, 5, &size);
        l->state.resize(size_t(size));
        S* spec = nullptr;
        init(&spec, src, 2.0f, kernel, 5, 0, l->state.data());
        l->spec = spec;
        zb::Job job;
        job.ours = [l, run, src, dst] {
            run(l->src.ptr<T>(), int(l->src.step), src, l->dst.ptr<T>(), int(l->dst.step), dst,
                static_cast<S*>(l->spec));
        };
        if (down)
            job.peer = [l] { cv::pyrDown(l->src, l->dst, l->dst.size()); };
        else
            job.peer = [l] { cv::pyrUp(l->src, l->dst, l->dst.size()); };
        job.bytesMoved = int64_t(l->src.total() * l->src.elemSize() + l->dst.total() * l->dst.elemSize());
        job.keep = l;
        return job;
    });
}

#define ZB_LAYER(T, SUFFIX, TYPE)                                                                           \
    reg<T, PyramidDownState>("PyramidLayerDown_" #SUFFIX, TYPE, true, zepiPyramidLayerDownGetSize_##SUFFIX, \
                             zepiPyramidLayerDownInit_##SUFFIX, zepiPyramidLayerDown_##SUFFIX);             \
    reg<T, PyramidUpState>("PyramidLayerUp_" #SUFFIX, TYPE, false, zepiPyramidLayerUpGetSize_##SUFFIX,      \
                           zepiPyramidLayerUpInit_##SUFFIX, zepiPyramidLayerUp_##SUFFIX);

void registerAll() {
    ZB_LAYER(uint8_t, 8u_C1R, CV_8UC1)
    ZB_LAYER(uint8_t, 8u_C3R, CV_8UC3)
    ZB_LAYER(uint16_t, 16u_C1R, CV_16UC1)
    ZB_LAYER(uint16_t, 16u_C3R, CV_16UC3)
    ZB_LAYER(float, 32f_C1R, CV_32FC1)
    ZB_LAYER(float, 32f_C3R, CV_32FC3)
}

const zb::Registrar registrar(registerAll);

}  // namespace
