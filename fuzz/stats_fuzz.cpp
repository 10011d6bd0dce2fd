// Means, deviations, norms and extrema with positions on random sizes, steps,
// masks and channels of interest.
#include "support.h"

namespace {

using namespace zf;

template <class T>
void mean(Input& in) {
    const ImageSize roi{in.side(300), in.side(40)};
    const int ch = in.coin() ? 1 : 3, coi = int(in.range(1, 3));
    Image<T> s(in, roi.width, roi.height, ch);
    Image<uint8_t> m(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    double value[2] = {-1, -1};
    Outputs out;
    out.add(value, sizeof value);
    const int row = int(roi.width * ch * sizeof(T));
    ZepStatus st;
    if constexpr (std::is_same_v<T, uint8_t>)
        st = ch == 1 ? zepiMean_8u_C1MR(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.roi,
                                        x.ptr(value))
                     : zepiMean_StdDev_8u_C3CR(x.ptr(s.data()), x.step(s.step, row), x.roi, coi, value, value + 1);
    else if constexpr (std::is_same_v<T, uint16_t>)
        st = ch == 1 ? zepiMean_StdDev_16u_C1MR(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.roi,
                                                value, value + 1)
                     : zepiMean_16u_C3CMR(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.roi, coi,
                                          x.ptr(value));
    else
        st = ch == 1 ? zepiMean_StdDev_32f_C1R(x.ptr(s.data()), x.step(s.step, row), x.roi, value, value + 1)
                     : zepiMean_StdDev_32f_C3CMR(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.roi,
                                                 coi, value, value + 1);
    out.expect(st, how, "Mean");
}

template <class T>
void norm(Input& in) {
    const ImageSize roi{in.side(300), in.side(40)};
    const int ch = in.coin() ? 1 : 3, coi = int(in.range(1, 3));
    Image<T> a(in, roi.width, roi.height, ch), b(in, roi.width, roi.height, ch);
    Image<uint8_t> m(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    double value = -1;
    Outputs out;
    out.add(&value, sizeof value);
    const int row = int(roi.width * ch * sizeof(T));
    ZepStatus st;
    if constexpr (std::is_same_v<T, uint8_t>)
        st = ch == 1 ? zepiNorm_L1_8u_C1MR(x.ptr(a.data()), x.step(a.step, row), x.ptr(m.data()), m.step, x.roi,
                                           x.ptr(&value))
                     : zepiNormDiff_L2_8u_C3CMR(x.ptr(a.data()), x.step(a.step, row), x.ptr(b.data()), b.step,
                                                x.ptr(m.data()), m.step, x.roi, coi, x.ptr(&value));
    else if constexpr (std::is_same_v<T, uint16_t>)
        st = ch == 1 ? zepiNormRel_Inf_16u_C1MR(x.ptr(a.data()), x.step(a.step, row), x.ptr(b.data()), b.step,
                                                x.ptr(m.data()), m.step, x.roi, x.ptr(&value))
                     : zepiNorm_L2_16u_C3CMR(x.ptr(a.data()), x.step(a.step, row), x.ptr(m.data()), m.step, x.roi,
                                             coi, x.ptr(&value));
    else
        st = ch == 1 ? zepiNormDiff_L2_32f_C1MR(x.ptr(a.data()), x.step(a.step, row), x.ptr(b.data()), b.step,
                                                x.ptr(m.data()), m.step, x.roi, x.ptr(&value))
                     : zepiNormRel_L1_32f_C3CMR(x.ptr(a.data()), x.step(a.step, row), x.ptr(b.data()), b.step,
                                                x.ptr(m.data()), m.step, x.roi, coi, x.ptr(&value));
    out.expect(st, how, "Norm");
}

template <class T>
void minMax(Input& in) {
    const ImageSize roi{in.side(300), in.side(40)};
    const bool masked = in.coin();
    Image<T> s(in, roi.width, roi.height, 1);
    Image<uint8_t> m(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    float lo = 0, hi = 0;
    ImagePoint at[2] = {};
    Outputs out;
    out.add(&lo, sizeof lo), out.add(&hi, sizeof hi), out.add(at, sizeof at);
    const int row = int(roi.width * sizeof(T));
    ZepStatus st;
    if constexpr (std::is_same_v<T, uint8_t>)
        st = masked ? zepiMinMaxIndx_8u_C1MR(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.roi,
                                             &lo, &hi, at, at + 1)
                    : zepiMinMaxIndx_8u_C1R(x.ptr(s.data()), x.step(s.step, row), x.roi, &lo, &hi, at, at + 1);
    else
        st = masked ? zepiMinMaxIndx_32f_C1MR(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.roi,
                                              &lo, &hi, at, at + 1)
                    : zepiMinMaxIndx_32f_C1R(x.ptr(s.data()), x.step(s.step, row), x.roi, &lo, &hi, at, at + 1);
    out.expect(st, how, "MinMaxIndx");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    switch (in.range(0, 7)) {
        case 0:
            mean<uint8_t>(in);
            break;
        case 1:
            mean<uint16_t>(in);
            break;
        case 2:
            mean<float>(in);
            break;
        case 3:
            norm<uint8_t>(in);
            break;
        case 4:
            norm<uint16_t>(in);
            break;
        case 5:
            norm<float>(in);
            break;
        case 6:
            minMax<uint8_t>(in);
            break;
        default:
            minMax<float>(in);
            break;
    }
    return 0;
}
