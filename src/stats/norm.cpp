// Exported norms: each binds its arguments to the one checked norm kernel.
#include "stats/norm.h"

using zep::Path;
using zep::stats::normImage;
using zep::stats::NormKind;
using zep::stats::NormOf;

// Norm_<kind>_<type>_C1MR and _C3CMR.
#define ZEP_NORM_EXPORTS(Kind, K, TypeName, T)                                                                       \
    ZEP_EXPORT(zepiNorm_##Kind##_##TypeName##_C1MR)                                                                  \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, double* pNorm) {             \
        return normImage<Path::vector, K, NormOf::src, T, 1>(pSrc, srcStep, nullptr, 0, pMask, maskStep, roiSize, 1, \
                                                             pNorm);                                                 \
    }                                                                                                                \
    ZEP_EXPORT(zepiNorm_##Kind##_##TypeName##_C3CMR)                                                                 \
    (const T* pSrc, int srcStep, const uint8_t* pMask, int maskStep, ImageSize roiSize, int coi, double* pNorm) {    \
        return normImage<Path::vector, K, NormOf::src, T, 3>(pSrc, srcStep, nullptr, 0, pMask, maskStep, roiSize,    \
                                                             coi, pNorm);                                            \
    }

// NormDiff_ and NormRel_<kind>_<type>_C1MR and _C3CMR.
#define ZEP_NORM2_EXPORTS(Op, Of, Kind, K, TypeName, T)                                                              \
    ZEP_EXPORT(zepi##Op##_##Kind##_##TypeName##_C1MR)                                                                \
    (const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,                 \
     ImageSize roiSize, double* pNorm) {                                                                             \
        return normImage<Path::vector, K, Of, T, 1>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roiSize, 1,   \
                                                    pNorm);                                                          \
    }                                                                                                                \
    ZEP_EXPORT(zepi##Op##_##Kind##_##TypeName##_C3CMR)                                                               \
    (const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, const uint8_t* pMask, int maskStep,                 \
     ImageSize roiSize, int coi, double* pNorm) {                                                                    \
        return normImage<Path::vector, K, Of, T, 3>(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, roiSize, coi, \
                                                    pNorm);                                                          \
    }

#define ZEP_NORM_FAMILY(Kind, K, TypeName, T)                       \
    ZEP_NORM_EXPORTS(Kind, K, TypeName, T)                          \
    ZEP_NORM2_EXPORTS(NormDiff, NormOf::diff, Kind, K, TypeName, T) \
    ZEP_NORM2_EXPORTS(NormRel, NormOf::rel, Kind, K, TypeName, T)

ZEP_NORM_FAMILY(Inf, NormKind::inf, 8u, uint8_t)
ZEP_NORM_FAMILY(L1, NormKind::l1, 8u, uint8_t)
ZEP_NORM_FAMILY(L2, NormKind::l2, 8u, uint8_t)
ZEP_NORM_FAMILY(Inf, NormKind::inf, 16u, uint16_t)
ZEP_NORM_FAMILY(L1, NormKind::l1, 16u, uint16_t)
ZEP_NORM_FAMILY(L2, NormKind::l2, 16u, uint16_t)
ZEP_NORM_FAMILY(Inf, NormKind::inf, 32f, float)
ZEP_NORM_FAMILY(L1, NormKind::l1, 32f, float)
ZEP_NORM_FAMILY(L2, NormKind::l2, 32f, float)
