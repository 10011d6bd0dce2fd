// Gaussian filters (both families) and the row and column pipeline passes:
// random sizes (huge ones for the size queries), kernel sizes, borders and
// divisors; specs and work buffers of exactly the queried sizes.
#include <cmath>
#include <memory>

#include "support.h"

namespace {

using namespace zf;

template <class T>
constexpr int typeCode = std::is_same_v<T, uint8_t>    ? zep8u
                         : std::is_same_v<T, uint16_t> ? zep16u
                         : std::is_same_v<T, int16_t>  ? zep16s
                                                       : zep32f;

// Queries at any size, then (when sizes are moderate) Init and one filter call.
template <class T>
void gaussian(Input& in) {
    const bool huge = in.range(0, 7) == 0;
    const ImageSize roi = huge ? ImageSize{int(in.bits(31)), int(in.bits(31))} : ImageSize{in.side(200), in.side(40)};
    const uint32_t k = huge ? uint32_t(in.bits(32)) | 1u : uint32_t(2 * in.range(1, 15) + 1);
    const int ch = in.coin() ? 1 : 3;
    int specSize = -1, bufferSize = -1;
    const ZepStatus q = zepiFilterGaussianGetBufferSize(roi, k, typeCode<T>, ch, &specSize, &bufferSize);
    if (q != zepStsOk && q != zepStsSizeOverflow && !(huge && (q == zepStsBadSize || q == zepStsBadArg)))
        finding("GaussianGetBufferSize", q);
    if (q != zepStsOk && (specSize != -1 || bufferSize != -1)) finding("GaussianGetBufferSize wrote", q);
    if (q != zepStsOk || huge) return;
    int64_t bufferSizeL = -1;
    if (zepiFilterGaussianGetBufferSize_L({roi.width, roi.height}, k, typeCode<T>, ch, &bufferSizeL) != zepStsOk)
        finding("GaussianGetBufferSize_L", 0);
    const bool familyL = in.coin();
    const uint32_t borders[] = {zepBorderRepl, zepBorderMirror, zepBorderConst};
    Guarded spec(size_t(specSize), in.coin()), buffer(size_t(familyL ? bufferSizeL : bufferSize), in.coin());
    auto* p = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    const float sigma = 0.1f + float(in.bits(10)) / 64.0f;
    if (zepiFilterGaussianInit(roi, k, sigma, in.pick(borders), typeCode<T>, ch, p, buffer.data()) != zepStsOk)
        finding("GaussianInit", 0);
    const ImageSize used{int(in.range(1, roi.width)), int(in.range(1, roi.height))};
    Image<T> s(in, used.width, used.height, ch), d(in, used.width, used.height, ch);
    const Break how = chooseBreak(in);
    Broken x(in, how, used);
    const Outputs out(d);
    const int row = int(used.width * ch * sizeof(T));
    const T value[3] = {T(1), T(2), T(3)};
    ZepStatus st;
    if (familyL) {
        const ImageSizeL r{x.roi.width, x.roi.height};
        if constexpr (std::is_same_v<T, uint8_t>)
            st = ch == 1 ? zepiFilterGaussian_8u_C1R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                       r, value[0], p, buffer.data())
                         : zepiFilterGaussian_8u_C3R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                       r, value, p, buffer.data());
        else if constexpr (std::is_same_v<T, uint16_t>)
            st = ch == 1 ? zepiFilterGaussian_16u_C1R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                        r, value[0], p, buffer.data())
                         : zepiFilterGaussian_16u_C3R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                        r, value, p, buffer.data());
        else if constexpr (std::is_same_v<T, int16_t>)
            st = ch == 1 ? zepiFilterGaussian_16s_C1R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                        r, value[0], p, buffer.data())
                         : zepiFilterGaussian_16s_C3R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                        r, value, p, buffer.data());
        else
            st = ch == 1 ? zepiFilterGaussian_32f_C1R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                        r, value[0], p, buffer.data())
                         : zepiFilterGaussian_32f_C3R_L(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()), d.step,
                                                        r, value, p, buffer.data());
    } else {
        if constexpr (std::is_same_v<T, uint8_t>)
            st = ch == 1 ? zepiFilterGaussianBorder_8u_C1R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                           d.step, x.roi, value[0], p, buffer.data())
                         : zepiFilterGaussianBorder_8u_C3R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                           d.step, x.roi, value, p, buffer.data());
        else if constexpr (std::is_same_v<T, uint16_t>)
            st = ch == 1 ? zepiFilterGaussianBorder_16u_C1R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                            d.step, x.roi, value[0], p, buffer.data())
                         : zepiFilterGaussianBorder_16u_C3R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                            d.step, x.roi, value, p, buffer.data());
        else if constexpr (std::is_same_v<T, int16_t>)
            st = ch == 1 ? zepiFilterGaussianBorder_16s_C1R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                            d.step, x.roi, value[0], p, buffer.data())
                         : zepiFilterGaussianBorder_16s_C3R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                            d.step, x.roi, value, p, buffer.data());
        else
            st = ch == 1 ? zepiFilterGaussianBorder_32f_C1R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                            d.step, x.roi, value[0], p, buffer.data())
                         : zepiFilterGaussianBorder_32f_C3R(x.ptr(s.data()), x.step(s.step, row), x.ptr(d.data()),
                                                            d.step, x.roi, value, p, buffer.data());
    }
    out.expect(st, how, "FilterGaussian");
}

// The 8u to 16s row pass into rows of a destination image, and the 16s column
// pass over rows of a source image, each with a buffer of the queried size.
void pipelines(Input& in) {
    const ImageSize roi{in.side(200), in.side(20)};
    const int k = int(in.range(1, 33)), ch = in.coin() ? 1 : 3;
    const bool row = in.coin();
    int bytes = -1;
    const ZepStatus q = row ? (ch == 1 ? zepiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(roi, k, &bytes)
                                       : zepiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(roi, k, &bytes))
                            : (ch == 1 ? zepiFilterColumnPipelineGetBufferSize_16s_C1R(roi, k, &bytes)
                                       : zepiFilterColumnPipelineGetBufferSize_16s_C3R(roi, k, &bytes));
    if (q != zepStsOk) finding("pipeline size", q);
    Guarded buffer(size_t(bytes), in.coin());
    std::vector<int16_t> taps(static_cast<size_t>(k));
    for (int16_t& t : taps) t = int16_t(in.bits(16));
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const int divisor = in.coin() ? 1 : int(in.range(1, 1 << 15)) * (in.coin() ? 1 : -1);
    if (row) {
        Image<uint8_t> s(in, roi.width, roi.height, ch);
        Image<int16_t> d(in, roi.width, roi.height, ch);
        std::vector<int16_t*> rows(size_t(roi.height));
        for (int y = 0; y < roi.height; ++y)
            rows[size_t(y)] = reinterpret_cast<int16_t*>(reinterpret_cast<uint8_t*>(d.data()) + int64_t{y} * d.step);
        const uint32_t borders[] = {zepBorderRepl, zepBorderMirror, zepBorderConst};
        const int anchor = int(in.range(0, k - 1));
        const uint8_t value[3] = {7, 8, 9};
        const Outputs out(d);
        const int step = x.step(s.step, roi.width * ch);
        const ZepStatus st =
            ch == 1
                ? zepiFilterRowBorderPipeline_8u16s_C1R(x.ptr(s.data()), step, x.ptr(rows.data()), x.roi, taps.data(),
                                                        k, anchor, in.pick(borders), value[0], divisor, buffer.data())
                : zepiFilterRowBorderPipeline_8u16s_C3R(x.ptr(s.data()), step, x.ptr(rows.data()), x.roi, taps.data(),
                                                        k, anchor, in.pick(borders), value, divisor, buffer.data());
        out.expect(st, how, "RowBorderPipeline");
    } else {
        Image<int16_t> s(in, roi.width, roi.height + k - 1, ch), d(in, roi.width, roi.height, ch);
        std::vector<const int16_t*> rows(size_t(roi.height + k - 1));
        for (size_t y = 0; y < rows.size(); ++y)
            rows[y] = reinterpret_cast<const int16_t*>(reinterpret_cast<uint8_t*>(s.data()) + int64_t(y) * s.step);
        const Outputs out(d);
        const int step = x.step(d.step, int(roi.width * ch * 2));
        const ZepStatus st = ch == 1
                                 ? zepiFilterColumnPipeline_16s_C1R(x.ptr(rows.data()), x.ptr(d.data()), step, x.roi,
                                                                    taps.data(), k, divisor, buffer.data())
                                 : zepiFilterColumnPipeline_16s_C3R(x.ptr(rows.data()), x.ptr(d.data()), step, x.roi,
                                                                    taps.data(), k, divisor, buffer.data());
        out.expect(st, how, "ColumnPipeline");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    switch (in.range(0, 4)) {
        case 0:
            gaussian<uint8_t>(in);
            break;
        case 1:
            gaussian<uint16_t>(in);
            break;
        case 2:
            gaussian<int16_t>(in);
            break;
        case 3:
            gaussian<float>(in);
            break;
        default:
            pipelines(in);
            break;
    }
    return 0;
}
