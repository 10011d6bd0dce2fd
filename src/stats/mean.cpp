// Exported means and standard deviations: src/core/exports.txt binds each to
// one of these entries of the one kernel.
#include "stats/mean.h"

namespace {

using zep::Path;
using zep::stats::meanImage;
using zep::stats::meanStdDevImage;

template <class T>
ZepStatus meanC1M(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, double* pMean) {
    return meanImage<Path::vector, T, 1>(pSrc, srcStep, pMask, maskStep, roi, 0, pMean);
}
template <class T>
ZepStatus meanC3CM(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, int coi,
                   double* pMean) {
    return meanImage<Path::vector, T, 3>(pSrc, srcStep, pMask, maskStep, roi, coi, pMean);
}
template <class T, bool Dot = false>
ZepStatus meanStdDevC1(const T* pSrc, int srcStep, ImageSize roi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 1, false, Dot>(pSrc, srcStep, nullptr, 0, roi, 0, pMean, pStdDev);
}
template <class T, bool Dot = false>
ZepStatus meanStdDevC3C(const T* pSrc, int srcStep, ImageSize roi, int coi, double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 3, false, Dot>(pSrc, srcStep, nullptr, 0, roi, coi, pMean, pStdDev);
}
template <class T>
ZepStatus meanStdDevC1M(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, double* pMean,
                        double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 1, true>(pSrc, srcStep, pMask, maskStep, roi, 0, pMean, pStdDev);
}
template <class T>
ZepStatus meanStdDevC3CM(const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roi, int coi,
                         double* pMean, double* pStdDev) {
    return meanStdDevImage<Path::vector, T, 3, true>(pSrc, srcStep, pMask, maskStep, roi, coi, pMean, pStdDev);
}

}  // namespace

// The unmasked 8u deviations by byte dot products where the processor has
// them (native builds): GNU indirect functions, bound once when the library is
// loaded, so no state is kept. The resolvers run among the relocations, before
// any constructor, so they initialise the processor facts themselves and stay
// out of the sanitizers, whose runtimes are not up yet. The masked forms spend
// their time on the mask and keep the multiply-adds.
#if ZEPCV_EMULATE_AVX512
static constexpr auto meanStdDev8uC1 = meanStdDevC1<uint8_t>;
static constexpr auto meanStdDev8uC3C = meanStdDevC3C<uint8_t>;
#else
using MeanStdDev8uC1 = decltype(meanStdDevC1<uint8_t>);
using MeanStdDev8uC3C = decltype(meanStdDevC3C<uint8_t>);
extern "C" {
__attribute__((no_sanitize("address", "thread", "undefined"))) MeanStdDev8uC1* zepPickMeanStdDev8uC1() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512vnni") ? meanStdDevC1<uint8_t, true> : meanStdDevC1<uint8_t>;
}
__attribute__((no_sanitize("address", "thread", "undefined"))) MeanStdDev8uC3C* zepPickMeanStdDev8uC3C() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512vnni") ? meanStdDevC3C<uint8_t, true> : meanStdDevC3C<uint8_t>;
}
}
[[gnu::ifunc("zepPickMeanStdDev8uC1")]] static MeanStdDev8uC1 meanStdDev8uC1;
[[gnu::ifunc("zepPickMeanStdDev8uC3C")]] static MeanStdDev8uC3C meanStdDev8uC3C;
#endif

#include "bind/stats/mean.inc"
