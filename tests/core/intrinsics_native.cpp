// The intrinsic cases compiled for x86-64-v4: the processor's own instructions.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#include <cstring>

#include "core/intrinsic_case.h"

namespace {
#include "core/intrinsic_cases.inc"
}  // namespace

IntrinsicTables nativeIntrinsics() {
    return {kIntrinsicCases, sizeof kIntrinsicCases / sizeof *kIntrinsicCases, kMaskedAccessCases,
            sizeof kMaskedAccessCases / sizeof *kMaskedAccessCases, streamTo};
}
