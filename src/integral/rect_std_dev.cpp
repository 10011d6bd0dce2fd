// Exported rectangle deviations, upright and tilted: src/core/exports.txt
// binds each to the kernel.
#include "integral/rect_std_dev.h"

namespace {

using zep::Path;
using zep::integral::rectStdDev;

}  // namespace

#include "bind/integral/rect_std_dev.inc"
