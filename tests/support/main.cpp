// Test entry: refuses to run on a processor without the AVX-512 subsets the
// library is built for, instead of dying on an illegal instruction.
#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv) {
    __builtin_cpu_init();
    if (!(__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
          __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
          __builtin_cpu_supports("avx512vl"))) {
        std::fprintf(stderr,
                     "zepCV tests need a processor with AVX-512 F, CD, BW, DQ and VL; this one lacks them. "
                     "Not running.\n");
        return 1;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
