// Compiles a function once for each instruction set that helps it; the program chooses when it starts.
#pragma once

// The sums of such a function keep their order in every form, and no form fuses multiplications with additions, so all
// forms give the same bits. The choice needs a loader that asks the program, which sanitizers come too late for.
#if defined(__x86_64__) && defined(__ELF__) && !defined(DIPX_SANITIZED)
#define MEASURE_FOR_EACH_PROCESSOR __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define MEASURE_FOR_EACH_PROCESSOR
#endif
