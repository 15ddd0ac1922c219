// Multiplication modulo the prime of P-256 with MULX, ADCX and ADOX; only for processors that have them.
#pragma once

#include "pubkey/field_adx.hpp"

namespace zrc {

// The prime p is 2^256 - 2^224 + 2^192 + 2^96 - 1, whose negative inverse is 1: a limb q, the lowest of a number, is
// cleared by q (p + 1) - q, where p + 1 is 2^96 + (2^64 - 2^32 + 1) 2^192. With q 2^32 = h 2^64 + l, that adds l and h
// to the next two limbs, and q - l and q - h with a borrow to the two after those, the upper of which takes the place
// of q. No limb overflows there: (t + q p) / 2^64 is below 2^256 for t below 2^256.
#define KESTRIM_CLEAR_LIMB(q, next, third, fourth)                                                                     \
    "movq %[" #q "], %[l]\n\t"                                                                                         \
    "movq %[" #q "], %[h]\n\t"                                                                                         \
    "movq %[" #q "], %%rdx\n\t"                                                                                        \
    "shlq $32, %[l]\n\t"                                                                                               \
    "shrq $32, %[h]\n\t"                                                                                               \
    "subq %[l], %%rdx\n\t"                                                                                             \
    "sbbq %[h], %[" #q "]\n\t"                                                                                         \
    "addq %[l], %[" #next "]\n\t"                                                                                      \
    "adcq %[h], %[" #third "]\n\t"                                                                                     \
    "adcq %%rdx, %[" #fourth "]\n\t"                                                                                   \
    "adcq $0, %[" #q "]\n\t"

// t4 to t7 = t / 2^256 modulo p, for t below 2^256 p.
#define KESTRIM_REDUCE                                                                                                 \
    KESTRIM_CLEAR_LIMB(t0, t1, t2, t3)                                                                                 \
    KESTRIM_CLEAR_LIMB(t1, t2, t3, t0)                                                                                 \
    KESTRIM_CLEAR_LIMB(t2, t3, t0, t1)                                                                                 \
    KESTRIM_CLEAR_LIMB(t3, t0, t1, t2)                                                                                 \
    "addq %[t0], %[t4]\n\t"                                                                                            \
    "adcq %[t1], %[t5]\n\t"                                                                                            \
    "adcq %[t2], %[t6]\n\t"                                                                                            \
    "adcq %[t3], %[t7]\n\t"                                                                                            \
    "sbbq %[h], %[h]\n\t"                                                                                              \
    "movl $0xFFFFFFFF, %k[l]\n\t"                                                                                      \
    "movabsq $0xFFFFFFFF00000001, %%rdx\n\t"                                                                           \
    "movq %[t4], %[t0]\n\t"                                                                                            \
    "movq %[t5], %[t1]\n\t"                                                                                            \
    "movq %[t6], %[t2]\n\t"                                                                                            \
    "movq %[t7], %[t3]\n\t"                                                                                            \
    "subq $-1, %[t4]\n\t"                                                                                              \
    "sbbq %[l], %[t5]\n\t"                                                                                             \
    "sbbq $0, %[t6]\n\t"                                                                                               \
    "sbbq %%rdx, %[t7]\n\t"                                                                                            \
    "sbbq $0, %[h]\n\t" /* leaves a borrow when the sum was below p */                                                 \
    "cmovcq %[t0], %[t4]\n\t"                                                                                          \
    "cmovcq %[t1], %[t5]\n\t"                                                                                          \
    "cmovcq %[t2], %[t6]\n\t"                                                                                          \
    "cmovcq %[t3], %[t7]\n\t"

// clang-format off
// rdx times a limb, added to two limbs with a carry chain for each.
#define KESTRIM_PRODUCT(i, low, high)             \
    "mulxq " KESTRIM_LIMB(a, i) ", %[l], %[h]\n\t" \
    "adcxq %[l], %[" #low "]\n\t"                 \
    "adoxq %[h], %[" #high "]\n\t"

// t0 to top += a times a limb of b, with `top` new.
#define KESTRIM_PRODUCT_ROW(i, t0, t1, t2, t3, top)                   \
    "movq " KESTRIM_LIMB(b, i) ", %%rdx\n\t"                          \
    "xorl %k[" #top "], %k[" #top "]\n\t" /* clears both carries */   \
    KESTRIM_PRODUCT(0, t0, t1) KESTRIM_PRODUCT(1, t1, t2)             \
    KESTRIM_PRODUCT(2, t2, t3) KESTRIM_PRODUCT(3, t3, top)            \
    "movl $0, %k[l]\n\t"                                              \
    "adcxq %[l], %[" #top "]\n\t"

// Two limbs doubled, and the square of rdx added to them, with a carry chain for each.
#define KESTRIM_DOUBLED_AND_SQUARE(i, low, high)  \
    "movq " KESTRIM_LIMB(a, i) ", %%rdx\n\t"      \
    "mulxq %%rdx, %[l], %[h]\n\t"                 \
    "adcxq %[" #low "], %[" #low "]\n\t"          \
    "adoxq %[l], %[" #low "]\n\t"                 \
    "adcxq %[" #high "], %[" #high "]\n\t"        \
    "adoxq %[h], %[" #high "]\n\t"

#define KESTRIM_SUM                                                                                                    \
    [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5), [t6] "=&r"(t6),    \
        [t7] "=&r"(t7), [l] "=&r"(l), [h] "=&r"(h)

struct p256_adx : adx_4 {
    static constexpr bool kInlined = true;

    [[gnu::always_inline]] static void mul(number& r, const number& a, const number& b, const number&, limb) noexcept
    {
        limb t0, t1, t2, t3, t4, t5, t6, t7, l, h;
        __asm__("movq " KESTRIM_LIMB(b, 0) ", %%rdx\n\t"
                "mulxq " KESTRIM_LIMB(a, 0) ", %[t0], %[t1]\n\t"
                "mulxq " KESTRIM_LIMB(a, 1) ", %[l], %[t2]\n\t"
                "addq %[l], %[t1]\n\t"
                "mulxq " KESTRIM_LIMB(a, 2) ", %[l], %[t3]\n\t"
                "adcq %[l], %[t2]\n\t"
                "mulxq " KESTRIM_LIMB(a, 3) ", %[l], %[t4]\n\t"
                "adcq %[l], %[t3]\n\t"
                "adcq $0, %[t4]\n\t"
                KESTRIM_PRODUCT_ROW(1, t1, t2, t3, t4, t5)
                KESTRIM_PRODUCT_ROW(2, t2, t3, t4, t5, t6)
                KESTRIM_PRODUCT_ROW(3, t3, t4, t5, t6, t7)
                KESTRIM_REDUCE
                : KESTRIM_SUM
                : KESTRIM_NUMBER(a), KESTRIM_NUMBER(b)
                : "rdx", KESTRIM_CLOBBERED);
        r[0] = t4, r[1] = t5, r[2] = t6, r[3] = t7;
    }

    [[gnu::always_inline]] static void sqr(number& r, const number& a, const number&, limb) noexcept
    {
        limb t0, t1, t2, t3, t4, t5, t6, t7, l, h;
        __asm__("movq " KESTRIM_LIMB(a, 0) ", %%rdx\n\t"
                "mulxq " KESTRIM_LIMB(a, 1) ", %[t1], %[t2]\n\t"
                "mulxq " KESTRIM_LIMB(a, 2) ", %[l], %[t3]\n\t"
                "addq %[l], %[t2]\n\t"
                "mulxq " KESTRIM_LIMB(a, 3) ", %[l], %[t4]\n\t"
                "adcq %[l], %[t3]\n\t"
                "adcq $0, %[t4]\n\t"
                "movq " KESTRIM_LIMB(a, 1) ", %%rdx\n\t"
                "xorl %k[t5], %k[t5]\n\t" // clears both carries
                KESTRIM_PRODUCT(2, t3, t4)
                KESTRIM_PRODUCT(3, t4, t5)
                "movq " KESTRIM_LIMB(a, 3) ", %%rdx\n\t"
                "mulxq " KESTRIM_LIMB(a, 2) ", %[l], %[t6]\n\t"
                "adcxq %[l], %[t5]\n\t"
                "movl $0, %k[l]\n\t"
                "adcxq %[l], %[t6]\n\t"
                "xorl %k[t7], %k[t7]\n\t" // clears both carries
                "movq " KESTRIM_LIMB(a, 0) ", %%rdx\n\t"
                "mulxq %%rdx, %[t0], %[h]\n\t"
                "adcxq %[t1], %[t1]\n\t"
                "adoxq %[h], %[t1]\n\t"
                KESTRIM_DOUBLED_AND_SQUARE(1, t2, t3)
                KESTRIM_DOUBLED_AND_SQUARE(2, t4, t5)
                KESTRIM_DOUBLED_AND_SQUARE(3, t6, t7)
                KESTRIM_REDUCE
                : KESTRIM_SUM
                : KESTRIM_NUMBER(a)
                : "rdx", KESTRIM_CLOBBERED);
        r[0] = t4, r[1] = t5, r[2] = t6, r[3] = t7;
    }
};

// clang-format on

#undef KESTRIM_CLOBBERED
#undef KESTRIM_NUMBER
#undef KESTRIM_LIMB
#undef KESTRIM_ADDRESSES_CHECKED
#undef KESTRIM_SUM
#undef KESTRIM_DOUBLED_AND_SQUARE
#undef KESTRIM_PRODUCT_ROW
#undef KESTRIM_PRODUCT
#undef KESTRIM_REDUCE
#undef KESTRIM_CLEAR_LIMB

} // namespace zrc
