// The one place that asks the processor, and the operating system, what can be used.
#pragma once

#include <cstdint>

namespace zrc {

// A feature stands for everything that a kernel which needs it was compiled with, saved vector state included.
enum class cpu_feature : std::uint32_t {
    none = 0,
    sha_ni = 1U << 0,      // SHA extensions, SSSE3, SSE4.1
    avx2 = 1U << 1,        // AVX2, BMI1, BMI2
    avx512vl = 1U << 2,    // AVX-512 F and VL, and avx2
    avx512 = 1U << 3,      // AVX-512 BW and DQ, and avx512vl
    aes_ni = 1U << 4,      // AES-NI, SSSE3, SSE4.1
    vaes_avx512 = 1U << 5, // VAES, avx512 and aes_ni
    gfni_avx512 = 1U << 6, // GFNI, AVX-512 VBMI, and avx512
    adx = 1U << 7,         // ADX and BMI2: two carry chains beside MULX
    ifma_avx512 = 1U << 8, // AVX-512 IFMA, and avx512
};

// True when this machine can run code that needs `feature`. Asks once for each process; any thread may call it.
bool cpu_has(cpu_feature feature) noexcept;

} // namespace zrc
