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
    constexpr unsigned kSsse3 = 1U << 9, kSse41 = 1U << 19, kAes = 1U << 25, kOsxsave = 1U << 27; // leaf 1, ecx
    constexpr unsigned kBmi1 = 1U << 3, kAvx2 = 1U << 5, kBmi2 = 1U << 8, kSha = 1U << 29;        // leaf 7, ebx
    constexpr unsigned kAdx = 1U << 19, kAvx512ifma = 1U << 21;                                   // leaf 7, ebx
    constexpr unsigned kAvx512f = 1U << 16, kAvx512dq = 1U << 17;                                 // leaf 7, ebx
    constexpr unsigned kAvx512bw = 1U << 30, kAvx512vl = 1U << 31;                                // leaf 7, ebx
    constexpr unsigned kAvx512vbmi = 1U << 1, kGfni = 1U << 8, kVaes = 1U << 9;                   // leaf 7, ecx
    constexpr std::uint64_t kXmmAndYmm = 0x6, kMasksAndZmm = 0xE0;                                // XCR0

    const cpuid_words leaf1 = cpuid(1);
    const cpuid_words leaf7 = cpuid(7);
    const auto has = [](unsigned word, unsigned bits) { return (word & bits) == bits; };
    const std::uint64_t saved = has(leaf1.ecx, kOsxsave) ? saved_states() : 0;
    const bool ymm = (saved & kXmmAndYmm) == kXmmAndYmm;
    const bool zmm = ymm && (saved & kMasksAndZmm) == kMasksAndZmm;
    const bool sse41 = has(leaf1.ecx, kSsse3 | kSse41);
    const bool avx2 = ymm && has(leaf7.ebx, kAvx2 | kBmi1 | kBmi2);
    const bool avx512vl = avx2 && zmm && has(leaf7.ebx, kAvx512f | kAvx512vl);
    const bool avx512 = avx512vl && has(leaf7.ebx, kAvx512bw | kAvx512dq);
    const bool aes_ni = sse41 && has(leaf1.ecx, kAes);

    std::uint32_t found = 0;
    const auto add = [&found](cpu_feature feature, bool present) { found |= present ? std::uint32_t(feature) : 0; };
    add(cpu_feature::sha_ni, sse41 && has(leaf7.ebx, kSha));
    add(cpu_feature::avx2, avx2);
    add(cpu_feature::avx512vl, avx512vl);
    add(cpu_feature::avx512, avx512);
    add(cpu_feature::aes_ni, aes_ni);
    add(cpu_feature::vaes_avx512, avx512 && aes_ni && has(leaf7.ecx, kVaes));
    add(cpu_feature::gfni_avx512, avx512 && has(leaf7.ecx, kGfni | kAvx512vbmi));
    add(cpu_feature::adx, has(leaf7.ebx, kBmi2 | kAdx));
    add(cpu_feature::ifma_avx512, avx512 && has(leaf7.ebx, kAvx512ifma));
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
