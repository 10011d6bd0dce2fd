// Exported line sampling: src/core/exports.txt binds each to the kernel.
#include "geometry/sample_line.h"

namespace {

using zep::Path;
using zep::geometry::sampleLineImage;

}  // namespace

#include "bind/geometry/sample_line.inc"
