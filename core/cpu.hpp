// The one place that asks the processor, and the operating system, what can be used.
#pragma once

#include <cstdint>

namespace zrc {

// A feature stands for everything that a kernel which needs it was compiled with, saved vector state included.
enum class cpu_feature : std::uint32_t {
    none = 0,
    sha_ni = 1U << 0,        // SHA extensions, SSSE3, SSE4.1
    avx2_bmi2 = 1U << 1,     // AVX2, BMI1, BMI2
    avx512vl_bmi2 = 1U << 2, // AVX-512 F and VL, AVX2, BMI1, BMI2
};

// True when this machine can run code that needs `feature`. Asks once for each process; any thread may call it.
bool cpu_has(cpu_feature feature) noexcept;

} // namespace zrc
