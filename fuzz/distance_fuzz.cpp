// Chamfer and exact Euclidean distance transforms: random sizes, steps, costs
// and work buffers of exactly the queried size (huge sizes for the query).
#include "support.h"

namespace {

using namespace zf;

void chamfer(Input& in) {
    const ImageSize roi{in.side(200), in.side(40)};
    Image<uint8_t> s(in, roi.width, roi.height, 1);
    for (size_t i = 0; i < s.memory.size(); ++i) s.memory.data()[i] = in.bits(2) == 0 ? 0 : s.memory.data()[i];
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const int step = x.step(s.step, roi.width);
    const int32_t costs[3] = {int32_t(in.range(1, 9)), int32_t(in.range(1, 9)), int32_t(in.range(1, 9))};
    if (in.coin()) {
        Image<uint8_t> d(in, roi.width, roi.height, 1);
        const Outputs out(d);
        out.expect(zepiDistanceTransform_3x3_8u_C1R(x.ptr(s.data()), step, x.ptr(d.data()), d.step, x.roi, costs),
                   how, "DistanceTransform_3x3_8u");
    } else {
        Image<float> d(in, roi.width, roi.height, 1);
        const float f[3] = {1.0f, 1.4f, 2.1969f};
        const Outputs out(d);
        out.expect(zepiDistanceTransform_5x5_8u32f_C1R(x.ptr(s.data()), step, x.ptr(d.data()), d.step, x.roi, f), how,
                   "DistanceTransform_5x5_8u32f");
    }
}

void exact(Input& in) {
    if (in.range(0, 7) == 0) {
        int bytes = -1;
        const ImageSize huge{int(in.bits(31)), int(in.bits(31))};
        const ZepStatus q = zepiTrueDistanceTransformGetBufferSize_8u32f_C1R(huge, &bytes);
        if (!(q == zepStsOk || q == zepStsSizeOverflow || q == zepStsBadSize) || (q != zepStsOk && bytes != -1))
            finding("TrueDistanceTransformGetBufferSize", q);
        return;
    }
    const ImageSize roi{in.side(200), in.side(60)};
    int bytes = 0;
    if (zepiTrueDistanceTransformGetBufferSize_8u32f_C1R(roi, &bytes) != zepStsOk) finding("buffer size", 0);
    Guarded buffer(size_t(bytes), in.coin());
    Image<uint8_t> s(in, roi.width, roi.height, 1);
    for (size_t i = 0; i < s.memory.size(); ++i) s.memory.data()[i] = in.bits(3) == 0 ? 0 : 1;
    Image<float> d(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const Outputs out(d);
    out.expect(zepiTrueDistanceTransform_8u32f_C1R(x.ptr(s.data()), x.step(s.step, roi.width), x.ptr(d.data()),
                                                   d.step, x.roi, x.ptr(buffer.data())),
               how, "TrueDistanceTransform");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    in.coin() ? chamfer(in) : exact(in);
    return 0;
}
