// The instructions of x86-64 for vectors of 512 bits, and the features that kernels made of them are compiled for.
#pragma once

// GCC 12 warns about the undefined vectors that its own intrinsics start from.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#define KESTRIM_TARGET_AVX512 "avx512f,avx512bw,avx512vl,avx512dq,avx2,bmi,bmi2"
