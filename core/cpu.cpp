#include "core/cpu.hpp"

#include <atomic>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace zrc {
namespace {

constexpr std::uint32_t kAsked = 1U << 31; // marks the cache as filled; no feature uses this bit

#if defined(__x86_64__)

struct cpuid_words {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

cpuid_words cpuid(unsigned leaf) noexcept
{
    cpuid_words words;
    if (__get_cpuid_count(leaf, 0, &words.eax, &words.ebx, &words.ecx, &words.edx) == 0) return {};
    return words;
}

// XCR0: the register states that the operating system saves. Only to be read when CPUID says OSXSAVE.
std::uint64_t saved_states() noexcept
{
    std::uint32_t low, high;
    __asm__ __volatile__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return std::uint64_t{high} << 32 | low;
}

std::uint32_t ask() noexcept
{
    constexpr unsigned kSsse3 = 1U << 9, kSse41 = 1U << 19, kOsxsave = 1U << 27;           // leaf 1, ecx
    constexpr unsigned kBmi1 = 1U << 3, kAvx2 = 1U << 5, kBmi2 = 1U << 8, kSha = 1U << 29; // leaf 7, ebx
    constexpr unsigned kAvx512f = 1U << 16, kAvx512vl = 1U << 31;                          // leaf 7, ebx
    constexpr std::uint64_t kXmmAndYmm = 0x6, kMasksAndZmm = 0xE0;                         // XCR0

    const cpuid_words leaf1 = cpuid(1);
    const cpuid_words leaf7 = cpuid(7);
    const std::uint64_t saved = (leaf1.ecx & kOsxsave) != 0 ? saved_states() : 0;
    const bool ymm = (saved & kXmmAndYmm) == kXmmAndYmm;
    const bool zmm = ymm && (saved & kMasksAndZmm) == kMasksAndZmm;
    const bool bmi = (leaf7.ebx & kBmi1) != 0 && (leaf7.ebx & kBmi2) != 0;

    std::uint32_t found = 0;
    const auto add = [&found](cpu_feature feature, bool present) { found |= present ? std::uint32_t(feature) : 0; };
    add(cpu_feature::sha_ni, (leaf7.ebx & kSha) != 0 && (leaf1.ecx & kSsse3) != 0 && (leaf1.ecx & kSse41) != 0);
    const bool avx2 = ymm && bmi && (leaf7.ebx & kAvx2) != 0;
    add(cpu_feature::avx2_bmi2, avx2);
    add(cpu_feature::avx512vl_bmi2, avx2 && zmm && (leaf7.ebx & kAvx512f) != 0 && (leaf7.ebx & kAvx512vl) != 0);
    return found;
}

#else

std::uint32_t ask() noexcept
{
    return 0;
}

#endif

constinit std::atomic<std::uint32_t> cache{0};

} // namespace

bool cpu_has(cpu_feature feature) noexcept
{
    std::uint32_t features = cache.load(std::memory_order_relaxed);
    if (features == 0) {
        features = ask() | kAsked;
        cache.store(features, std::memory_order_relaxed);
    }
    return (features & std::uint32_t(feature)) == std::uint32_t(feature);
}

} // namespace zrc
