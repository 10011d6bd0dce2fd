// The intrinsic cases of intrinsic_cases.inc, as the tables that the native
// and the emulated compilation of that file each export.
#pragma once

#include <cstddef>
#include <cstdint>

struct IntrinsicCase {
    const char* name;
    void (*run)(const uint8_t* in, uint8_t* out);
};
struct MaskedAccessCase {
    const char* name;
    int lanes, laneSize;
    void (*run)(uint8_t* mem, uint64_t k, uint8_t* result);
};
struct IntrinsicTables {
    const IntrinsicCase* cases;
    size_t caseCount;
    const MaskedAccessCase* masked;
    size_t maskedCount;
    void (*streamTo)(void* p);
};

IntrinsicTables nativeIntrinsics();    // the processor's AVX-512 instructions (x86-64-v4 only)
IntrinsicTables emulatedIntrinsics();  // the emulation on x86-64-v3
