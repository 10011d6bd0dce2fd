// Accumulations beside cv::accumulate, accumulateSquare, accumulateProduct,
// accumulateWeighted and cv::addWeighted.
#include <zepcv.h>

#include <opencv2/imgproc.hpp>

#include "support/bench.h"

namespace {

struct Images {
    cv::Mat src1, src2, mask, acc;
};

template <class T>
const T* ptr(const cv::Mat& m) {
    return m.ptr<T>();
}
int step(const cv::Mat& m) { return static_cast<int>(m.step); }
ImageSize roi(const cv::Mat& m) { return {m.cols, m.rows}; }
constexpr float kAlpha = 0.1f;

// Our call in the argument layout of each form.
template <class S, auto F>
void plain(Images& i) {
    F(ptr<S>(i.src1), step(i.src1), i.acc.ptr<float>(), step(i.acc), roi(i.acc));
}
template <class S, auto F>
void masked(Images& i) {
    F(ptr<S>(i.src1), step(i.src1), i.mask.data, step(i.mask), i.acc.ptr<float>(), step(i.acc), roi(i.acc));
}
template <class S, auto F>
void product(Images& i) {
    F(ptr<S>(i.src1), step(i.src1), ptr<S>(i.src2), step(i.src2), i.acc.ptr<float>(), step(i.acc), roi(i.acc));
}
template <class S, auto F>
void productMasked(Images& i) {
    F(ptr<S>(i.src1), step(i.src1), ptr<S>(i.src2), step(i.src2), i.mask.data, step(i.mask), i.acc.ptr<float>(),
      step(i.acc), roi(i.acc));
}
template <class S, auto F>
void weighted(Images& i) {
    F(ptr<S>(i.src1), step(i.src1), i.acc.ptr<float>(), step(i.acc), roi(i.acc), kAlpha);
}
template <class S, auto F>
void weightedMasked(Images& i) {
    F(ptr<S>(i.src1), step(i.src1), i.mask.data, step(i.mask), i.acc.ptr<float>(), step(i.acc), roi(i.acc), kAlpha);
}

// Registers one export: its source type, how many sources, whether masked.
void reg(const char* name, int cvType, int sources, bool isMasked, void (*ours)(Images&), void (*peer)(Images&)) {
    zb::registerExport(name, [=](int w, int h) {
        auto img = std::make_shared<Images>();
        img->src1 = zb::randomMat(h, w, cvType);
        img->src2 = zb::randomMat(h, w, cvType);
        img->mask = zb::randomMat(h, w, CV_8U, 0, 2);
        img->acc = zb::randomMat(h, w, CV_32F);
        const int64_t pixels = int64_t{w} * h;
        zb::Job job;
        job.ours = [img, ours] { ours(*img); };
        job.peer = [img, peer] { peer(*img); };
        // Sources and mask read; the accumulator read and written.
        job.bytesMoved = pixels * (sources * static_cast<int64_t>(img->src1.elemSize()) + (isMasked ? 1 : 0) + 8);
        job.keep = img;
        return job;
    });
}

void registerAll() {
    reg("Add_8u32f_C1IR", CV_8U, 1, false, plain<uint8_t, zepiAdd_8u32f_C1IR>,
        [](Images& i) { cv::accumulate(i.src1, i.acc); });
    reg("Add_16u32f_C1IR", CV_16U, 1, false, plain<uint16_t, zepiAdd_16u32f_C1IR>,
        [](Images& i) { cv::accumulate(i.src1, i.acc); });
    reg("Add_8u32f_C1IMR", CV_8U, 1, true, masked<uint8_t, zepiAdd_8u32f_C1IMR>,
        [](Images& i) { cv::accumulate(i.src1, i.acc, i.mask); });
    reg("Add_16u32f_C1IMR", CV_16U, 1, true, masked<uint16_t, zepiAdd_16u32f_C1IMR>,
        [](Images& i) { cv::accumulate(i.src1, i.acc, i.mask); });
    reg("Add_32f_C1IMR", CV_32F, 1, true, masked<float, zepiAdd_32f_C1IMR>,
        [](Images& i) { cv::accumulate(i.src1, i.acc, i.mask); });

    reg("AddSquare_8u32f_C1IR", CV_8U, 1, false, plain<uint8_t, zepiAddSquare_8u32f_C1IR>,
        [](Images& i) { cv::accumulateSquare(i.src1, i.acc); });
    reg("AddSquare_16u32f_C1IR", CV_16U, 1, false, plain<uint16_t, zepiAddSquare_16u32f_C1IR>,
        [](Images& i) { cv::accumulateSquare(i.src1, i.acc); });
    reg("AddSquare_32f_C1IR", CV_32F, 1, false, plain<float, zepiAddSquare_32f_C1IR>,
        [](Images& i) { cv::accumulateSquare(i.src1, i.acc); });
    reg("AddSquare_8u32f_C1IMR", CV_8U, 1, true, masked<uint8_t, zepiAddSquare_8u32f_C1IMR>,
        [](Images& i) { cv::accumulateSquare(i.src1, i.acc, i.mask); });
    reg("AddSquare_16u32f_C1IMR", CV_16U, 1, true, masked<uint16_t, zepiAddSquare_16u32f_C1IMR>,
        [](Images& i) { cv::accumulateSquare(i.src1, i.acc, i.mask); });
    reg("AddSquare_32f_C1IMR", CV_32F, 1, true, masked<float, zepiAddSquare_32f_C1IMR>,
        [](Images& i) { cv::accumulateSquare(i.src1, i.acc, i.mask); });

    reg("AddProduct_8u32f_C1IR", CV_8U, 2, false, product<uint8_t, zepiAddProduct_8u32f_C1IR>,
        [](Images& i) { cv::accumulateProduct(i.src1, i.src2, i.acc); });
    reg("AddProduct_16u32f_C1IR", CV_16U, 2, false, product<uint16_t, zepiAddProduct_16u32f_C1IR>,
        [](Images& i) { cv::accumulateProduct(i.src1, i.src2, i.acc); });
    reg("AddProduct_32f_C1IR", CV_32F, 2, false, product<float, zepiAddProduct_32f_C1IR>,
        [](Images& i) { cv::accumulateProduct(i.src1, i.src2, i.acc); });
    reg("AddProduct_8u32f_C1IMR", CV_8U, 2, true, productMasked<uint8_t, zepiAddProduct_8u32f_C1IMR>,
        [](Images& i) { cv::accumulateProduct(i.src1, i.src2, i.acc, i.mask); });
    reg("AddProduct_16u32f_C1IMR", CV_16U, 2, true, productMasked<uint16_t, zepiAddProduct_16u32f_C1IMR>,
        [](Images& i) { cv::accumulateProduct(i.src1, i.src2, i.acc, i.mask); });
    reg("AddProduct_32f_C1IMR", CV_32F, 2, true, productMasked<float, zepiAddProduct_32f_C1IMR>,
        [](Images& i) { cv::accumulateProduct(i.src1, i.src2, i.acc, i.mask); });

    reg("AddWeighted_8u32f_C1IR", CV_8U, 1, false, weighted<uint8_t, zepiAddWeighted_8u32f_C1IR>,
        [](Images& i) { cv::accumulateWeighted(i.src1, i.acc, kAlpha); });
    reg("AddWeighted_16u32f_C1IR", CV_16U, 1, false, weighted<uint16_t, zepiAddWeighted_16u32f_C1IR>,
        [](Images& i) { cv::accumulateWeighted(i.src1, i.acc, kAlpha); });
    reg("AddWeighted_32f_C1IR", CV_32F, 1, false, weighted<float, zepiAddWeighted_32f_C1IR>,
        [](Images& i) { cv::accumulateWeighted(i.src1, i.acc, kAlpha); });
    reg("AddWeighted_8u32f_C1IMR", CV_8U, 1, true, weightedMasked<uint8_t, zepiAddWeighted_8u32f_C1IMR>,
        [](Images& i) { cv::accumulateWeighted(i.src1, i.acc, kAlpha, i.mask); });
    reg("AddWeighted_16u32f_C1IMR", CV_16U, 1, true, weightedMasked<uint16_t, zepiAddWeighted_16u32f_C1IMR>,
        [](Images& i) { cv::accumulateWeighted(i.src1, i.acc, kAlpha, i.mask); });
    reg("AddWeighted_32f_C1IMR", CV_32F, 1, true, weightedMasked<float, zepiAddWeighted_32f_C1IMR>,
        [](Images& i) { cv::accumulateWeighted(i.src1, i.acc, kAlpha, i.mask); });

    // Not in place: two sources read, the destination written.
    zb::registerExport("AddWeighted_32f_C1R", [](int w, int h) {
        auto img = std::make_shared<Images>();
        img->src1 = zb::randomMat(h, w, CV_32F);
        img->src2 = zb::randomMat(h, w, CV_32F);
        img->acc = cv::Mat(h, w, CV_32F);
        zb::Job job;
        job.ours = [img] {
            zepiAddWeighted_32f_C1R(img->src1.ptr<float>(), step(img->src1), img->src2.ptr<float>(), step(img->src2),
                                    img->acc.ptr<float>(), step(img->acc), roi(img->acc), kAlpha);
        };
        job.peer = [img] { cv::addWeighted(img->src1, kAlpha, img->src2, 1.0 - kAlpha, 0.0, img->acc); };
        job.bytesMoved = int64_t{w} * h * 12;
        job.keep = img;
        return job;
    });
}

const zb::Registrar registrar(registerAll);

}  // namespace
