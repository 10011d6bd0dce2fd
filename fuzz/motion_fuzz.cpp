// Motion history and pyramid layers: random sizes, steps, rates and kernels;
// layer states of exactly the queried size.
#include "support.h"

namespace {

using namespace zf;

void history(Input& in) {
    const ImageSize roi{in.side(300), in.side(40)};
    Image<uint8_t> s(in, roi.width, roi.height, 1);
    Image<float> mhi(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const Outputs out(mhi);
    out.expect(zepiUpdateMotionHistory_8u32f_C1IR(x.ptr(s.data()), x.step(s.step, roi.width), x.ptr(mhi.data()),
                                                  mhi.step, x.roi, 10.0f, float(in.range(1, 20))),
               how, "UpdateMotionHistory_8u32f");
}

// Down 8u C1 or up 32f C3 with a state made for the source size.
void layer(Input& in) {
    const ImageSize src{in.side(150), in.side(40)};
    const float rates[] = {2.0f, 1.5f, 1.25f, 3.0f, 1.01f};
    const float rate = in.pick(rates);
    const int taps = int(2 * in.range(1, 4) + 1);
    const bool down = in.coin();
    int bytes = -1;
    const ZepStatus q = down ? zepiPyramidLayerDownGetSize_8u_C1R(src, rate, taps, &bytes)
                             : zepiPyramidLayerUpGetSize_32f_C3R(src, rate, taps, &bytes);
    if (q != zepStsOk) finding("layer size", q);
    Guarded memory(size_t(bytes), in.coin());
    ImageSize dst{}, upMax{};
    if (down) {
        zepiGetPyramidDownROI(src, &dst, rate);
        std::vector<uint8_t> kernel(static_cast<size_t>(taps));
        for (uint8_t& k : kernel) k = uint8_t(in.range(1, 9));
        PyramidDownState* state = nullptr;
        if (zepiPyramidLayerDownInit_8u_C1R(&state, src, rate, kernel.data(), taps, 0, memory.data()) != zepStsOk)
            finding("layer init", 0);
        Image<uint8_t> s(in, src.width, src.height, 1), d(in, dst.width, dst.height, 1);
        const Break how = in.coin() ? Break::none : Break::null;
        Broken x(in, how, src);
        const Outputs out(d);
        out.expect(zepiPyramidLayerDown_8u_C1R(x.ptr(s.data()), s.step, src, x.ptr(d.data()), d.step, dst, state),
                   how, "PyramidLayerDown_8u_C1R");
    } else {
        zepiGetPyramidUpROI(src, &dst, &upMax, rate);
        const ImageSize pick{int(in.range(dst.width, upMax.width)), int(in.range(dst.height, upMax.height))};
        std::vector<float> kernel(static_cast<size_t>(taps));
        for (float& k : kernel) k = float(in.range(1, 9));
        PyramidUpState* state = nullptr;
        if (zepiPyramidLayerUpInit_32f_C3R(&state, src, rate, kernel.data(), taps, 0, memory.data()) != zepStsOk)
            finding("layer init", 0);
        Image<float> s(in, src.width, src.height, 3), d(in, pick.width, pick.height, 3);
        const Break how = in.coin() ? Break::none : Break::null;
        Broken x(in, how, src);
        const Outputs out(d);
        out.expect(zepiPyramidLayerUp_32f_C3R(x.ptr(s.data()), s.step, src, x.ptr(d.data()), d.step, pick, state),
                   how, "PyramidLayerUp_32f_C3R");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    in.coin() ? history(in) : layer(in);
    return 0;
}
