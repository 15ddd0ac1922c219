// Products of arrays of limbs, least significant limb first, and the row operations that other inner code builds on.
// The time of each depends on the sizes alone, never on the values, so private-key code can use them.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/product_rows.hpp"
#include "core/kernel.hpp"
#if KESTRIM_X86_64_KERNELS
#include "bigint/product_rows_x86_64.hpp"
#endif

#include <cstddef>

namespace zrc {

// A limb in memory, which may lie over an array of 32-bit words.
using stored_limb = limb_kind<limb>::stored;

// r = a + b and r = a - b over n limbs; r may be a or b. Return the carry or borrow, 0 or 1.
inline limb add_n(stored_limb* r, const stored_limb* a, const stored_limb* b, std::size_t n) noexcept
{
#if KESTRIM_X86_64_KERNELS
    return carry_row<false>(r, a, b, n);
#else
    return rows<limb>::add(r, a, b, n);
#endif
}

inline limb sub_n(stored_limb* r, const stored_limb* a, const stored_limb* b, std::size_t n) noexcept
{
#if KESTRIM_X86_64_KERNELS
    return carry_row<true>(r, a, b, n);
#else
    return rows<limb>::sub(r, a, b, n);
#endif
}

// r = a w, r += a w, r -= a w over n limbs; r may be a. Return what belongs to (or is missing from) the limb above.
inline limb mul_1(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept
{
    return rows<limb>::mul_1(r, a, n, w);
}

inline limb addmul_1(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept
{
#if KESTRIM_X86_64_KERNELS
    return product_row<false>(r, a, n, w);
#else
    return rows<limb>::addmul_1(r, a, n, w);
#endif
}

inline limb submul_1(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept
{
#if KESTRIM_X86_64_KERNELS
    return product_row<true>(r, a, n, w);
#else
    return rows<limb>::submul_1(r, a, n, w);
#endif
}

// What a kernel offers. Sizes are 1 or more; r has na + nb (2 n) limbs and overlaps no operand. Nothing is allocated,
// and what a kernel keeps of the operands outside of registers is wiped.
struct product_kernel {
    void (*multiply)(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b,
                     std::size_t nb) noexcept;
    void (*square)(stored_limb* r, const stored_limb* a, std::size_t n) noexcept;
    // addmul_1(); n may be 0.
    limb (*add_multiple)(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept;
    // From these sizes on, three products (squares) of half the size take less time than one.
    std::size_t multiply_halving_limbs, square_halving_limbs;
};

extern const product_kernel kPortableProduct;
#if KESTRIM_X86_64_KERNELS
extern const product_kernel kAdxProduct;
extern const product_kernel kIfmaProduct;
limb add_multiple_adx(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept; // of both
#endif

// The list, best first, and the choice made from it.
extern kernel_choice<const product_kernel*> product_kernels;

// r = a b, na + nb limbs, and r = a^2, 2 n limbs; na, nb, n >= 1; r overlaps no operand.
inline void multiply(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b,
                     std::size_t nb) noexcept
{
    product_kernels.get()->multiply(r, a, na, b, nb);
}

inline void square(stored_limb* r, const stored_limb* a, std::size_t n) noexcept
{
    product_kernels.get()->square(r, a, n);
}

} // namespace zrc
