// Exported absolute differences: src/core/exports.txt binds each to its kernel.
#include "arith/abs_diff.h"

namespace {

using zep::Path;
using zep::arith::absDiffConstImage;
using zep::arith::absDiffImage;

}  // namespace

#include "bind/arith/abs_diff.inc"
