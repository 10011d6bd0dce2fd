// Absolute differences and accumulations on random sizes, steps and values.
#include "support.h"

namespace {

using namespace zf;

template <class T, int Ch, class F>
void absDiff(Input& in, F f, const char* name) {
    const ImageSize roi{in.side(300), in.side(40)};
    Image<T> a(in, roi.width, roi.height, Ch), b(in, roi.width, roi.height, Ch), d(in, roi.width, roi.height, Ch);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const int row = int(roi.width * Ch * sizeof(T));
    const Outputs out(d);
    out.expect(f(x.ptr(a.data()), x.step(a.step, row), x.ptr(b.data()), b.step, x.ptr(d.data()), d.step, x.roi), how,
               name);
}

template <class T, class V, class F>
void absDiffC(Input& in, F f, const char* name) {
    const ImageSize roi{in.side(300), in.side(40)};
    Image<T> a(in, roi.width, roi.height, 1), d(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const Outputs out(d);
    const V value = static_cast<V>(int(in.bits(17)) - 65536);
    out.expect(f(x.ptr(a.data()), x.step(a.step, int(roi.width * sizeof(T))), x.ptr(d.data()), d.step, x.roi, value),
               how, name);
}

// In place (Add, AddSquare, AddWeighted), masked or not.
template <class T, bool Masked, class F, class... Alpha>
void accumulate(Input& in, F f, const char* name, Alpha... alpha) {
    const ImageSize roi{in.side(300), in.side(40)};
    Image<T> s(in, roi.width, roi.height, 1);
    Image<uint8_t> m(in, roi.width, roi.height, 1);
    Image<float> acc(in, roi.width, roi.height, 1);
    const Break how = chooseBreak(in);
    Broken x(in, how, roi);
    const Outputs out(acc);
    const int row = int(roi.width * sizeof(T));
    ZepStatus st;
    if constexpr (Masked)
        st = f(x.ptr(s.data()), x.step(s.step, row), x.ptr(m.data()), m.step, x.ptr(acc.data()), acc.step, x.roi,
               alpha...);
    else
        st = f(x.ptr(s.data()), x.step(s.step, row), x.ptr(acc.data()), acc.step, x.roi, alpha...);
    out.expect(st, how, name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const float alpha = in.coin() ? 0.25f : float(in.bits(8)) / 255.0f;
    switch (in.range(0, 13)) {
        case 0:
            absDiff<uint8_t, 1>(in, zepiAbsDiff_8u_C1R, "AbsDiff_8u_C1R");
            break;
        case 1:
            absDiff<uint8_t, 3>(in, zepiAbsDiff_8u_C3R, "AbsDiff_8u_C3R");
            break;
        case 2:
            absDiff<uint16_t, 1>(in, zepiAbsDiff_16u_C1R, "AbsDiff_16u_C1R");
            break;
        case 3:
            absDiff<float, 1>(in, zepiAbsDiff_32f_C1R, "AbsDiff_32f_C1R");
            break;
        case 4:
            absDiffC<uint8_t, int>(in, zepiAbsDiffC_8u_C1R, "AbsDiffC_8u_C1R");
            break;
        case 5:
            absDiffC<uint16_t, int>(in, zepiAbsDiffC_16u_C1R, "AbsDiffC_16u_C1R");
            break;
        case 6:
            absDiffC<float, float>(in, zepiAbsDiffC_32f_C1R, "AbsDiffC_32f_C1R");
            break;
        case 7:
            accumulate<uint8_t, false>(in, zepiAdd_8u32f_C1IR, "Add_8u32f_C1IR");
            break;
        case 8:
            accumulate<uint16_t, true>(in, zepiAdd_16u32f_C1IMR, "Add_16u32f_C1IMR");
            break;
        case 9:
            accumulate<float, false>(in, zepiAddSquare_32f_C1IR, "AddSquare_32f_C1IR");
            break;
        case 10:
            accumulate<uint8_t, true>(in, zepiAddSquare_8u32f_C1IMR, "AddSquare_8u32f_C1IMR");
            break;
        case 11:
            accumulate<uint8_t, false>(in, zepiAddWeighted_8u32f_C1IR, "AddWeighted_8u32f_C1IR", alpha);
            break;
        case 12:
            accumulate<uint16_t, true>(in, zepiAddWeighted_16u32f_C1IMR, "AddWeighted_16u32f_C1IMR", alpha);
            break;
        default:
            accumulate<float, true>(in, zepiAddWeighted_32f_C1IMR, "AddWeighted_32f_C1IMR", alpha);
            break;
    }
    return 0;
}
