// Floors: the least work that moves an export's bytes, timed beside the
// OpenCV function those exports are compared with. A floor keeps no
// arithmetic beyond what stops the compiler from dropping the loop, so no
// implementation of the job, ours or OpenCV's, can take less time than it on
// this machine; where the floor itself is close to a target ratio, the target
// is out of reach for any implementation.
#include <opencv2/imgproc.hpp>

#include "core/simd.h"
#include "support/bench.h"

// GCC 12's widening intrinsics trip -Wmaybe-uninitialized where they are inlined.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

namespace {

struct Images {
    cv::Mat src, acc, table;
    cv::Scalar mean, dev;
};

// Reads every byte of an 8u image once: vpsadbw into 64-bit lanes.
void readAll8u(const cv::Mat& m) {
    __m512i total = _mm512_setzero_si512();
    for (int y = 0; y < m.rows; ++y) {
        const uint8_t* row = m.ptr<uint8_t>(y);
        int x = 0;
        for (; x + 64 <= m.cols; x += 64)
            total = _mm512_add_epi64(total, _mm512_sad_epu8(_mm512_loadu_si512(row + x), _mm512_setzero_si512()));
        for (; x < m.cols; ++x) total = _mm512_add_epi64(total, _mm512_set1_epi64(row[x]));
    }
    benchmark::DoNotOptimize(total);
}

// acc += src for a 32f accumulator: reads both, writes acc once.
template <class S>
void addInPlace(const cv::Mat& src, cv::Mat& acc) {
    for (int y = 0; y < acc.rows; ++y) {
        const S* s = src.ptr<S>(y);
        float* a = acc.ptr<float>(y);
        int x = 0;
        for (; x + 16 <= acc.cols; x += 16) {
            _mm512_storeu_ps(a + x, _mm512_add_ps(_mm512_loadu_ps(a + x), zep::simd::loadAsFloat(s + x)));
        }
        for (; x < acc.cols; ++x) a[x] += static_cast<float>(s[x]);
    }
    benchmark::ClobberMemory();
}

// Each 8u pixel widened to 32 bits and stored at (y + 1, x + 1) of a table
// laid out as an integral table: reads 1 byte and writes 4 bytes a pixel, as
// an upright sum table must, with no prefix and no row above.
void widenIntoTable(const cv::Mat& src, cv::Mat& table) {
    for (int y = 0; y < src.rows; ++y) {
        const uint8_t* s = src.ptr<uint8_t>(y);
        int32_t* t = table.ptr<int32_t>(y + 1) + 1;
        int x = 0;
        for (; x + 16 <= src.cols; x += 16) _mm512_storeu_si512(t + x, zep::simd::loadAsInt32(s + x));
        for (; x < src.cols; ++x) t[x] = s[x];
    }
    benchmark::ClobberMemory();
}

void registerAll() {
    // The floor of the 8u reductions (means, deviations, norms) against cv::meanStdDev.
    zb::registerExport("Floor_ReadOnly_8u", [](int w, int h) {
        auto img = std::make_shared<Images>();
        img->src = zb::randomMat(h, w, CV_8U);
        zb::Job job;
        job.ours = [img] { readAll8u(img->src); };
        job.peer = [img] { cv::meanStdDev(img->src, img->mean, img->dev); };
        job.bytesMoved = int64_t{w} * h;
        job.keep = img;
        return job;
    });
    // The floor of the in-place accumulations against cv::accumulate.
    auto inPlace = [](const char* name, int type, void (*floor)(const cv::Mat&, cv::Mat&), int64_t srcBytes) {
        zb::registerExport(name, [=](int w, int h) {
            auto img = std::make_shared<Images>();
            img->src = zb::randomMat(h, w, type);
            img->acc = zb::randomMat(h, w, CV_32F);
            zb::Job job;
            job.ours = [img, floor] { floor(img->src, img->acc); };
            job.peer = [img] { cv::accumulate(img->src, img->acc); };
            job.bytesMoved = int64_t{w} * h * (srcBytes + 8);
            job.keep = img;
            return job;
        });
    };
    inPlace("Floor_InPlaceAdd_8u32f", CV_8U, addInPlace<uint8_t>, 1);
    inPlace("Floor_InPlaceAdd_32f", CV_32F, addInPlace<float>, 4);
    // The floor of the upright 8u sum tables against cv::integral.
    zb::registerExport("Floor_WidenIntoTable_8u32s", [](int w, int h) {
        auto img = std::make_shared<Images>();
        img->src = zb::randomMat(h, w, CV_8U);
        img->table = cv::Mat(h + 1, w + 1, CV_32S);
        zb::Job job;
        job.ours = [img] { widenIntoTable(img->src, img->table); };
        job.peer = [img] { cv::integral(img->src, img->acc, CV_32S); };
        job.bytesMoved = int64_t{w} * h * 5;
        job.keep = img;
        return job;
    });
}

const zb::Registrar registrar(registerAll);

}  // namespace
