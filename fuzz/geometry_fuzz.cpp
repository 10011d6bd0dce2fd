// Line sampling between random points of random images.
#include <cstdlib>

#include "support.h"

namespace {

using namespace zf;

template <class T, int Ch, class F>
void sample(Input& in, F f, const char* name) {
    const ImageSize roi{in.side(200), in.side(60)};
    Image<T> s(in, roi.width, roi.height, Ch);
    const ImagePoint a{int(in.range(0, roi.width - 1)), int(in.range(0, roi.height - 1))};
    const ImagePoint b{int(in.range(0, roi.width - 1)), int(in.range(0, roi.height - 1))};
    const int count = std::max(std::abs(a.x - b.x), std::abs(a.y - b.y)) + 1;
    Image<T> d(in, count, 1, Ch);
    const Break how = in.coin() ? Break::none : in.coin() ? Break::null : Break::step;
    Broken x(in, how, roi);
    const Outputs out(d);
    out.expect(f(x.ptr(s.data()), x.step(s.step, int(roi.width * Ch * sizeof(T))), roi, x.ptr(d.data()), a, b), how,
               name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    switch (in.range(0, 2)) {
        case 0:
            sample<uint8_t, 1>(in, zepiSampleLine_8u_C1R, "SampleLine_8u_C1R");
            break;
        case 1:
            sample<uint16_t, 3>(in, zepiSampleLine_16u_C3R, "SampleLine_16u_C3R");
            break;
        default:
            sample<float, 3>(in, zepiSampleLine_32f_C3R, "SampleLine_32f_C3R");
            break;
    }
    return 0;
}
