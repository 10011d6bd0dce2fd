/* Whether this processor can run libzepcv.so: call before the first zepCV
 * function, since the library itself does not check and would stop on an
 * illegal instruction. The library needs AVX-512 F, CD, BW, DQ and VL (Intel
 * Skylake-SP, Ice Lake and later; AMD Zen 4 and later). A library built in the
 * emulated configuration (ZEPCV_EMULATE_AVX512) needs only x86-64-v3: AVX2,
 * FMA, BMI1/2, F16C, LZCNT and MOVBE. GCC and clang. */
#ifndef ZEPCV_PROCESSOR_CHECK_H
#define ZEPCV_PROCESSOR_CHECK_H

static inline int zepcvProcessorHasAvx512(void) {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}

static inline int zepcvProcessorHasX8664v3(void) {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("f16c") && __builtin_cpu_supports("movbe") &&
           __builtin_cpu_supports("abm");
}

#endif
