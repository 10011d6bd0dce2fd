// Exported motion-history updates.
#include "motion/motion_history.h"

using zep::Path;
using zep::motion::updateHistoryImage;

ZEP_EXPORT(zepiUpdateMotionHistory_8u32f_C1IR)
(const uint8_t* pSilhouette, int silhStep, float* pMHI, int mhiStep, ImageSize roiSize, float timestamp,
 float duration) {
    return updateHistoryImage<Path::vector>(pSilhouette, silhStep, pMHI, mhiStep, roiSize, timestamp, duration);
}

ZEP_EXPORT(zepiUpdateMotionHistory_16u32f_C1IR)
(const uint16_t* pSilhouette, int silhStep, float* pMHI, int mhiStep, ImageSize roiSize, float timestamp,
 float duration) {
    return updateHistoryImage<Path::vector>(pSilhouette, silhStep, pMHI, mhiStep, roiSize, timestamp, duration);
}

ZEP_EXPORT(zepiUpdateMotionHistory_32f_C1IR)
(const float* pSilhouette, int silhStep, float* pMHI, int mhiStep, ImageSize roiSize, float timestamp,
 float duration) {
    return updateHistoryImage<Path::vector>(pSilhouette, silhStep, pMHI, mhiStep, roiSize, timestamp, duration);
}
