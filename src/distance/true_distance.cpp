// Exported exact Euclidean distance transform and its buffer size.
#include "distance/true_distance.h"

namespace {

using zep::Path;
using zep::distance::trueDistanceImage;

ZepStatus trueDistanceBufferSize(ImageSize roiSize, int* pBufferSize) {
    return zep::Checks{}.notNull(pBufferSize).roi(roiSize).run([&] {
        *pBufferSize = static_cast<int>(zep::distance::trueDistanceBufferBytes(roiSize));
    });
}

}  // namespace

#include "bind/distance/true_distance.inc"
