// Exported exact Euclidean distance transform and its buffer size.
#include "distance/true_distance.h"

namespace {

using zep::Path;
using zep::distance::trueDistanceImage;

ZepStatus trueDistanceBufferSize(ImageSize roiSize, int* pBufferSize) {
    const zep::Bytes size = zep::distance::trueDistanceBufferBytes(roiSize);
    return zep::Checks{}.notNull(pBufferSize).roi(roiSize).sizeFits(size).run([&] {
        *pBufferSize = static_cast<int>(size.value());
    });
}

}  // namespace

#include "bind/distance/true_distance.inc"
