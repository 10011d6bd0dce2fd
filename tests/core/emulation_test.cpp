// What the emulated configuration must reproduce beyond results, which every
// family's registry tests check in that build against the same models: a
// streaming store faults unless its address is on a 64-byte boundary, as the
// instruction does, so that a kernel that would fault on the processor
// faults in the emulated build too.
#include <gtest/gtest.h>

#include "core/simd.h"

namespace {

void streamTo(uint8_t* p) { _mm512_stream_si512(reinterpret_cast<__m512i*>(p), _mm512_set1_epi32(7)); }

TEST(EmulationDeathTest, StreamingStoreFaultsOffA64ByteBoundary) {
    alignas(64) static uint8_t target[192];
    streamTo(target + 64);
    EXPECT_EQ(target[64], 7);
    EXPECT_DEATH(streamTo(target + 32), "");
}

}  // namespace
