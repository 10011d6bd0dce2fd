// The intrinsic cases compiled for x86-64-v3 through the emulation.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#include <cstring>

#include "core/avx512_shim.h"
#include "core/intrinsic_case.h"

namespace {
#include "core/intrinsic_cases.inc"
}  // namespace

IntrinsicTables emulatedIntrinsics() {
    return {kIntrinsicCases, sizeof kIntrinsicCases / sizeof *kIntrinsicCases, kMaskedAccessCases,
            sizeof kMaskedAccessCases / sizeof *kMaskedAccessCases, streamTo};
}
