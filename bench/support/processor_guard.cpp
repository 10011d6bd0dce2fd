// Timings mean something only for the native build on a processor with
// AVX-512: the benchmark program refuses to run anywhere else, before any
// other code of the program (which may use AVX-512 instructions) runs.
#include <cstdio>
#include <cstdlib>

#include "processor_check.h"

namespace {

__attribute__((constructor(101))) void refuseWithoutAvx512() {
#if ZEPCV_EMULATE_AVX512
    std::fputs(
        "zepcv_bench: this is the emulated build (AVX-512 on x86-64-v3); its timings say nothing about "
        "the library. Benchmark the native build on a processor with AVX-512.\n",
        stderr);
    std::exit(2);
#else
    if (!zepcvProcessorHasAvx512()) {
        std::fputs(
            "zepcv_bench: this processor lacks AVX-512 F, CD, BW, DQ or VL; the library cannot run "
            "here, and the emulated build's timings would say nothing about it. Not benchmarking.\n",
            stderr);
        std::exit(2);
    }
#endif
}

}  // namespace
