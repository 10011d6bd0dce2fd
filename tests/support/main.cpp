// Test entry: refuses to run on a processor that lacks what this build of the
// library needs, instead of dying on an illegal instruction. Built for
// x86-64 so that the check itself runs anywhere.
#include <gtest/gtest.h>

#include <cstdio>

#include "processor_check.h"

int main(int argc, char** argv) {
#if ZEPCV_EMULATE_AVX512
    if (!zepcvProcessorHasX8664v3()) {
        std::fprintf(stderr,
                     "the emulated zepCV build needs an x86-64-v3 processor (AVX2, FMA, BMI2); "
                     "this one lacks them. Not running.\n");
        return 1;
    }
#else
    if (!zepcvProcessorHasAvx512()) {
        std::fprintf(stderr,
                     "zepCV tests need a processor with AVX-512 F, CD, BW, DQ and VL; this one lacks "
                     "them (build with ZEPCV_EMULATE_AVX512=ON to test elsewhere). Not running.\n");
        return 1;
    }
#endif
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
