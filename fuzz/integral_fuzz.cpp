// Integral tables, upright, squared and tilted, on random sizes and steps.
#include "support.h"

namespace {

using namespace zf;

void tables(Input& in) {
    const ImageSize roi{in.side(300), in.side(40)};
    const int kind = int(in.range(0, 2));
    const int tw = roi.width + (kind == 2 ? 2 : 1), th = roi.height + (kind == 2 ? 2 : 1);
    Image<uint8_t> s(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const int step = x.step(s.step, roi.width);
    ZepStatus st;
    if (kind == 0) {
        Image<int32_t> t(in, tw, th, 1);
        const Outputs out(t);
        st = zepiIntegral_8u32s_C1R(x.ptr(s.data()), step, x.ptr(t.data()), t.step, x.roi, int32_t(in.bits(31)));
        out.expect(st, how, "Integral_8u32s");
    } else if (kind == 1) {
        Image<int32_t> t(in, tw, th, 1);
        Image<double> q(in, tw, th, 1);
        const Outputs out(t, q);
        st = zepiSqrIntegral_8u32s64f_C1R(x.ptr(s.data()), step, x.ptr(t.data()), t.step, x.ptr(q.data()), q.step,
                                          x.roi, 3, 0.5);
        out.expect(st, how, "SqrIntegral_8u32s64f");
    } else {
        Image<float> t(in, tw, th, 1);
        const Outputs out(t);
        st = zepiTiltedIntegral_8u32f_C1R(x.ptr(s.data()), step, x.ptr(t.data()), t.step, x.roi, 1.5f);
        out.expect(st, how, "TiltedIntegral_8u32f");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    tables(in);
    return 0;
}
