// Row operations for every x86-64: what compilers make of the portable ones keeps no carry in the flag. Four limbs to
// a turn; the portable functions do the rest, first.
#pragma once

#include "bigint/product_rows.hpp"

#include <cstddef>
#include <cstdint>

namespace zrc {

using row_limb = limb_kind<std::uint64_t>::stored;

// The four limbs at an offset of a meet those of b (AT&T order: op b, a).
#define KESTRIM_CARRY_ROW(op)                                                                                          \
    __asm__ __volatile__(                                                                                              \
        "negq %[carry]\n\t" /* sets the carry flag from the carry */                                                   \
        "1:\n\t"                                                                                                       \
        "movq (%[a]), %[t0]\n\t"                                                                                       \
        "movq 8(%[a]), %[t1]\n\t" op " (%[b]), %[t0]\n\t" op " 8(%[b]), %[t1]\n\t"                                     \
        "movq %[t0], (%[r])\n\t"                                                                                       \
        "movq %[t1], 8(%[r])\n\t"                                                                                      \
        "movq 16(%[a]), %[t0]\n\t"                                                                                     \
        "movq 24(%[a]), %[t1]\n\t" op " 16(%[b]), %[t0]\n\t" op " 24(%[b]), %[t1]\n\t"                                 \
        "movq %[t0], 16(%[r])\n\t"                                                                                     \
        "movq %[t1], 24(%[r])\n\t"                                                                                     \
        "leaq 32(%[a]), %[a]\n\t"                                                                                      \
        "leaq 32(%[b]), %[b]\n\t"                                                                                      \
        "leaq 32(%[r]), %[r]\n\t"                                                                                      \
        "decq %[n]\n\t"                                                                                                \
        "jnz 1b\n\t"                                                                                                   \
        "sbbq %[carry], %[carry]\n\t"                                                                                  \
        "negq %[carry]\n\t"                                                                                            \
        : [r] "+r"(r), [a] "+r"(a), [b] "+r"(b), [n] "+r"(n), [carry] "+r"(carry), [t0] "=&r"(t0), [t1] "=&r"(t1)      \
        :                                                                                                              \
        : "cc", "memory")

// r = a + b, or a - b; returns the carry or the borrow.
template <bool kSubtract>
inline std::uint64_t carry_row(row_limb* r, const row_limb* a, const row_limb* b, std::size_t n) noexcept
{
    using portable = rows<std::uint64_t>;
    const std::size_t odd = n % 4;
    std::uint64_t carry = kSubtract ? portable::sub(r, a, b, odd) : portable::add(r, a, b, odd), t0, t1;
    if (n < 4) return carry;
    r += odd;
    a += odd;
    b += odd;
    n /= 4;
    if constexpr (kSubtract)
        KESTRIM_CARRY_ROW("sbbq");
    else
        KESTRIM_CARRY_ROW("adcq");
    return carry;
}
#undef KESTRIM_CARRY_ROW

// Four products are put together in one chain with the carry, and meet r in a second one.
#define KESTRIM_PRODUCT_ROW(op, op_with_carry)                                                                         \
    __asm__ __volatile__(                                                                                              \
        "1:\n\t"                                                                                                       \
        "movq (%[a]), %%rax\n\t"                                                                                       \
        "mulq %[w]\n\t"                                                                                                \
        "addq %%rax, %[carry]\n\t"                                                                                     \
        "movq 8(%[a]), %%rax\n\t"                                                                                      \
        "movq %%rdx, %[l1]\n\t"                                                                                        \
        "adcq $0, %[l1]\n\t"                                                                                           \
        "mulq %[w]\n\t"                                                                                                \
        "addq %%rax, %[l1]\n\t"                                                                                        \
        "movq 16(%[a]), %%rax\n\t"                                                                                     \
        "movq %%rdx, %[l2]\n\t"                                                                                        \
        "adcq $0, %[l2]\n\t"                                                                                           \
        "mulq %[w]\n\t"                                                                                                \
        "addq %%rax, %[l2]\n\t"                                                                                        \
        "movq 24(%[a]), %%rax\n\t"                                                                                     \
        "movq %%rdx, %[l3]\n\t"                                                                                        \
        "adcq $0, %[l3]\n\t"                                                                                           \
        "mulq %[w]\n\t"                                                                                                \
        "addq %%rax, %[l3]\n\t"                                                                                        \
        "adcq $0, %%rdx\n\t" op " %[carry], (%[r])\n\t" op_with_carry " %[l1], 8(%[r])\n\t" op_with_carry              \
        " %[l2], 16(%[r])\n\t" op_with_carry " %[l3], 24(%[r])\n\t"                                                    \
        "adcq $0, %%rdx\n\t"                                                                                           \
        "movq %%rdx, %[carry]\n\t"                                                                                     \
        "leaq 32(%[a]), %[a]\n\t"                                                                                      \
        "leaq 32(%[r]), %[r]\n\t"                                                                                      \
        "decq %[n]\n\t"                                                                                                \
        "jnz 1b\n\t"                                                                                                   \
        : [r] "+r"(r), [a] "+r"(a), [n] "+r"(n), [carry] "+r"(carry), [l1] "=&r"(l1), [l2] "=&r"(l2), [l3] "=&r"(l3)   \
        : [w] "r"(w)                                                                                                   \
        : "rax", "rdx", "cc", "memory")

// r = r + a w, or r - a w; returns what belongs to, or is missing from, the limb above.
template <bool kSubtract>
inline std::uint64_t product_row(row_limb* r, const row_limb* a, std::size_t n, std::uint64_t w) noexcept
{
    using portable = rows<std::uint64_t>;
    const std::size_t odd = n % 4;
    std::uint64_t carry = kSubtract ? portable::submul_1(r, a, odd, w) : portable::addmul_1(r, a, odd, w), l1, l2, l3;
    if (n < 4) return carry;
    r += odd;
    a += odd;
    n /= 4;
    if constexpr (kSubtract)
        KESTRIM_PRODUCT_ROW("subq", "sbbq");
    else
        KESTRIM_PRODUCT_ROW("addq", "adcq");
    return carry;
}
#undef KESTRIM_PRODUCT_ROW

// r = r - (b & mask); returns the borrow.
inline std::uint64_t masked_row(row_limb* r, const row_limb* b, std::uint64_t mask, std::size_t n) noexcept
{
    using wide = rows<std::uint64_t>::wide;
    std::uint64_t borrow = 0; // all ones for true in the loop, where adding it to itself gives the carry flag
    for (; n % 4 != 0; --n, ++r, ++b) {
        const wide difference = wide{*r} - (*b & mask) - borrow;
        *r = std::uint64_t(difference);
        borrow = std::uint64_t(difference >> 64) & 1;
    }
    if (n == 0) return borrow;
    n /= 4;
    borrow = 0 - borrow;
    std::uint64_t t0, t1, t2, t3;
    __asm__ __volatile__(".p2align 4\n"
                         "1:\n\t"
                         "movq %[mask], %[t0]\n\t"
                         "movq %[mask], %[t1]\n\t"
                         "movq %[mask], %[t2]\n\t"
                         "movq %[mask], %[t3]\n\t"
                         "andq (%[b]), %[t0]\n\t"
                         "andq 8(%[b]), %[t1]\n\t"
                         "andq 16(%[b]), %[t2]\n\t"
                         "andq 24(%[b]), %[t3]\n\t"
                         "addq %[borrow], %[borrow]\n\t"
                         "sbbq %[t0], (%[r])\n\t"
                         "sbbq %[t1], 8(%[r])\n\t"
                         "sbbq %[t2], 16(%[r])\n\t"
                         "sbbq %[t3], 24(%[r])\n\t"
                         "sbbq %[borrow], %[borrow]\n\t"
                         "leaq 32(%[b]), %[b]\n\t"
                         "leaq 32(%[r]), %[r]\n\t"
                         "decq %[n]\n\t"
                         "jnz 1b\n\t"
                         : [r] "+r"(r), [b] "+r"(b), [n] "+r"(n), [borrow] "+r"(borrow), [t0] "=&r"(t0), [t1] "=&r"(t1),
                           [t2] "=&r"(t2), [t3] "=&r"(t3)
                         : [mask] "r"(mask)
                         : "cc", "memory");
    return 0 - borrow;
}

} // namespace zrc
