// The portable product kernel, and the list of all of them.
#include "bigint/product.hpp"

namespace zrc {
namespace {

void multiply_portable(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b,
                       std::size_t nb) noexcept
{
    if (na < nb)
        rows<limb>::multiply(r, b, nb, a, na);
    else
        rows<limb>::multiply(r, a, na, b, nb);
}

void square_portable(stored_limb* r, const stored_limb* a, std::size_t n) noexcept
{
    rows<limb>::square(r, a, n);
}

} // namespace

constinit const product_kernel kPortableProduct{multiply_portable, square_portable, addmul_1,
                                                kWordsPerLimb == 1 ? 16 : 32, kWordsPerLimb == 1 ? 16 : 64};

namespace {

// The IFMA kernel leaves short operands to the ADX kernel.
[[maybe_unused]] constexpr cpu_feature kIfmaAndAdx{std::uint32_t(cpu_feature::ifma_avx512) |
                                                   std::uint32_t(cpu_feature::adx)};

constexpr kernel<const product_kernel*> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"ifma", kIfmaAndAdx, &kIfmaProduct},
    {"adx", cpu_feature::adx, &kAdxProduct},
#endif
    {"portable", cpu_feature::none, &kPortableProduct},
};

} // namespace

constinit kernel_choice<const product_kernel*> product_kernels{kKernels};

} // namespace zrc
