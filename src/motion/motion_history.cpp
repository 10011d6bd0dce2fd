// Exported motion-history updates: src/core/exports.txt binds each to the kernel.
#include "motion/motion_history.h"

namespace {

using zep::Path;
using zep::motion::updateHistoryImage;

}  // namespace

#include "bind/motion/motion_history.inc"
