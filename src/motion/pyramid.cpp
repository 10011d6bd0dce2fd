// Exported pyramid level sizes and the pyramid record; src/core/exports.txt
// binds each export to its entry here.
#include "motion/pyramid.h"

#include <algorithm>

namespace {

using zep::Checks;
using namespace zep::pyramid;

ZepStatus pyramidDownRoi(ImageSize srcRoi, ImageSize* pDstRoi, float rate) {
    return Checks{}.notNull(pDstRoi).roi(srcRoi).fail(badRate(rate), zepStsBadArg).run([&] {
        *pDstRoi = downSize(srcRoi, rate);
    });
}

ZepStatus pyramidUpRoi(ImageSize srcRoi, ImageSize* pDstRoiMin, ImageSize* pDstRoiMax, float rate) {
    return Checks{}.notNull(pDstRoiMin, pDstRoiMax).roi(srcRoi).fail(badRate(rate), zepStsBadArg).run([&] {
        const Range w = upRange(srcRoi.width, rate), h = upRange(srcRoi.height, rate);
        *pDstRoiMin = {w.lo, h.lo};
        *pDstRoiMax = {w.hi, h.hi};
    });
}

// The work buffer holds one ImageSize per level of the natural count, which
// never passes max(width, height).
zep::Bytes workBufferBytes(ImageSize roi) { return zep::Bytes{8} * std::max(roi.width, roi.height); }

// A work buffer past INT32_MAX is refused, last.
ZepStatus pyramidGetSize(int* pPyrSize, int* pBufSize, int level, ImageSize roi, float rate) {
    const zep::Bytes buffer = workBufferBytes(roi);
    return Checks{}
        .notNull(pPyrSize, pBufSize)
        .roi(roi)
        .fail(level < 1, zepStsBadArg)
        .fail(badRate(rate), zepStsBadArg)
        .sizeFits(buffer)
        .run([&] {
            const int32_t levels = countLevels(roi, rate, level, [](int32_t, ImageSize) {});
            *pPyrSize = held32(52 * int64_t{levels} + 152);
            *pBufSize = static_cast<int32_t>(buffer.value());
        });
}

// A work buffer the query refuses is refused here too, last.
ZepStatus pyramidInit(Pyramid** ppPyr, int level, ImageSize roi, float rate, uint8_t* pPyrMem, uint8_t* pBuffer) {
    return Checks{}
        .notNull(ppPyr, pPyrMem, pBuffer)
        .roi(roi)
        .fail(badRate(rate) || level < 1, zepStsBadArg)
        .sizeFits(workBufferBytes(roi))
        .run([&] {
            // Level sizes go to the work buffer while counting (it may be unaligned).
            std::memcpy(pBuffer, &roi, sizeof roi);
            const int32_t levels = countLevels(roi, rate, level, [&](int32_t i, ImageSize s) {
                std::memcpy(pBuffer + sizeof(ImageSize) * static_cast<size_t>(i), &s, sizeof s);
            });
            const RecordLayout at = recordLayout(reinterpret_cast<uintptr_t>(pPyrMem), levels);
            auto* pyr = reinterpret_cast<Pyramid*>(pPyrMem + at.record);
            pyr->pRoi = reinterpret_cast<ImageSize*>(pPyrMem + at.sizes);
            pyr->pImage = reinterpret_cast<void**>(pPyrMem + at.images);
            pyr->pRate = reinterpret_cast<double*>(pPyrMem + at.rates);
            pyr->pStep = reinterpret_cast<int32_t*>(pPyrMem + at.steps);
            pyr->pState = nullptr;
            pyr->level = levels;
            double r = 1.0;
            for (int32_t i = 0; i <= levels; ++i) {
                std::memcpy(&pyr->pRoi[i], pBuffer + sizeof(ImageSize) * static_cast<size_t>(i), sizeof(ImageSize));
                pyr->pImage[i] = nullptr;
                pyr->pRate[i] = r;
                pyr->pStep[i] = 0;
                r *= static_cast<double>(rate);
            }
            *ppPyr = pyr;
        });
}

}  // namespace

#include "bind/motion/pyramid.inc"
