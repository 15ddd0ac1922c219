// Operations on 4 and 6 limbs with MULX and the two carry chains of ADCX and ADOX; only for processors that have them.
#pragma once

#include "pubkey/field.hpp"

#include <algorithm>
#include <cstddef>
#include <immintrin.h>

namespace zrc {

// Low and high limb of a product, each into its own carry chain.
#define KESTRIM_PRODUCT(offset, low, high)                                                                             \
    "mulxq " #offset "(%[a]), %[l], %[h]\n\t"                                                                          \
    "adcxq %[l], %[" #low "]\n\t"                                                                                      \
    "adoxq %[h], %[" #high "]\n\t"

// The carries that are left, after the top product.
#define KESTRIM_LAST_CARRIES(high, top)                                                                                \
    "movl $0, %k[l]\n\t"                                                                                               \
    "adcxq %[l], %[" #high "]\n\t"                                                                                     \
    "adoxq %[l], %[" #top "]\n\t"                                                                                      \
    "adcxq %[l], %[" #top "]\n\t"

// Limbs are variables of their own, as compilers keep arrays in memory: t0 and what follows is the sum, with a limb of
// 0 on top. A step adds a b[i] and the multiple of the modulus that clears t0, which is then the 0 on top of the next.

// t = t + a w.
[[gnu::always_inline]] inline void add_product_row(limb& t0, limb& t1, limb& t2, limb& t3, limb& t4, limb& t5,
                                                   const limb (&a)[4], limb w) noexcept
{
    limb l, h;
    __asm__("xorl %k[l], %k[l]\n\t" // clears both carry flags
            KESTRIM_PRODUCT(0, t0, t1) KESTRIM_PRODUCT(8, t1, t2) KESTRIM_PRODUCT(16, t2, t3)
                KESTRIM_PRODUCT(24, t3, t4) KESTRIM_LAST_CARRIES(t4, t5)
            : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5),
              [l] "=&r"(l), [h] "=&r"(h)
            : [a] "r"(a), "d"(w), "m"(a)
            : "cc");
}

[[gnu::always_inline]] inline void add_product_row(limb& t0, limb& t1, limb& t2, limb& t3, limb& t4, limb& t5, limb& t6,
                                                   limb& t7, const limb (&a)[6], limb w) noexcept
{
    limb l, h;
    __asm__("xorl %k[l], %k[l]\n\t" // clears both carry flags
            KESTRIM_PRODUCT(0, t0, t1) KESTRIM_PRODUCT(8, t1, t2) KESTRIM_PRODUCT(16, t2, t3)
                KESTRIM_PRODUCT(24, t3, t4) KESTRIM_PRODUCT(32, t4, t5) KESTRIM_PRODUCT(40, t5, t6)
                    KESTRIM_LAST_CARRIES(t6, t7)
            : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5),
              [t6] "+&r"(t6), [t7] "+&r"(t7), [l] "=&r"(l), [h] "=&r"(h)
            : [a] "r"(a), "d"(w), "m"(a)
            : "cc");
}
#undef KESTRIM_LAST_CARRIES
#undef KESTRIM_PRODUCT

template <std::size_t N>
struct adx_limbs {
    static limb add(limb (&r)[N], const limb (&a)[N], const limb (&b)[N]) noexcept
    {
        unsigned char carry = 0;
#pragma GCC unroll 6
        for (std::size_t i = 0; i < N; ++i) {
            unsigned long long sum;
            carry = _addcarry_u64(carry, a[i], b[i], &sum);
            r[i] = sum;
        }
        return carry;
    }

    static limb sub(limb (&r)[N], const limb (&a)[N], const limb (&b)[N]) noexcept
    {
        unsigned char borrow = 0;
#pragma GCC unroll 6
        for (std::size_t i = 0; i < N; ++i) {
            unsigned long long difference;
            borrow = _subborrow_u64(borrow, a[i], b[i], &difference);
            r[i] = difference;
        }
        return borrow;
    }

    static limb mul(limb (&r)[N], const limb (&a)[N], const limb (&b)[N], const limb (&m)[N], limb n0) noexcept
    {
        const auto step = [&](limb w, limb & t0, auto&... rest) __attribute__((always_inline))
        {
            add_product_row(t0, rest..., a, w);
            add_product_row(t0, rest..., m, t0 * n0);
        };
        limb t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0;
        if constexpr (N == 4) {
            step(b[0], t0, t1, t2, t3, t4, t5);
            step(b[1], t1, t2, t3, t4, t5, t0);
            step(b[2], t2, t3, t4, t5, t0, t1);
            step(b[3], t3, t4, t5, t0, t1, t2);
            return put(r, t4, t5, t0, t1, t2);
        } else {
            limb t6 = 0, t7 = 0;
            step(b[0], t0, t1, t2, t3, t4, t5, t6, t7);
            step(b[1], t1, t2, t3, t4, t5, t6, t7, t0);
            step(b[2], t2, t3, t4, t5, t6, t7, t0, t1);
            step(b[3], t3, t4, t5, t6, t7, t0, t1, t2);
            step(b[4], t4, t5, t6, t7, t0, t1, t2, t3);
            step(b[5], t5, t6, t7, t0, t1, t2, t3, t4);
            return put(r, t6, t7, t0, t1, t2, t3, t4);
        }
    }

protected:
    // Returns the last one.
    [[gnu::always_inline]] static limb put(limb* r, limb first, auto... rest) noexcept
    {
        if constexpr (sizeof...(rest) == 0) {
            return first;
        } else {
            *r = first;
            return put(r + 1, rest...);
        }
    }
};

// For the prime of P-256, 2^256 - 2^224 + 2^192 + 2^96 - 1, whose negative inverse is 1: a limb q is cleared by
// q 2^96 + q (2^64 - 2^32 + 1) 2^192.
struct p256_adx_limbs : adx_limbs<4> {
    static limb mul(limb (&r)[4], const limb (&a)[4], const limb (&b)[4], const limb (&)[4], limb) noexcept
    {
        limb t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0;
        step(t0, t1, t2, t3, t4, t5, a, b[0]);
        step(t1, t2, t3, t4, t5, t0, a, b[1]);
        step(t2, t3, t4, t5, t0, t1, a, b[2]);
        step(t3, t4, t5, t0, t1, t2, a, b[3]);
        return put(r, t4, t5, t0, t1, t2);
    }

private:
    [[gnu::always_inline]] static void step(limb& t0, limb& t1, limb& t2, limb& t3, limb& t4, limb& t5,
                                            const limb (&a)[4], limb w) noexcept
    {
        add_product_row(t0, t1, t2, t3, t4, t5, a, w);
        constexpr limb kTop = 0xFFFFFFFF00000001;
        limb l = t0 << 32, h = t0 >> 32;
        __asm__(
            "addq %[l], %[t1]\n\t"
            "adcq %[h], %[t2]\n\t"
            "mulxq %[top], %[l], %[h]\n\t"
            "adcq %[l], %[t3]\n\t"
            "adcq %[h], %[t4]\n\t"
            "adcq $0, %[t5]\n\t"
            : [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5), [l] "+&r"(l), [h] "+&r"(h)
            : [top] "r"(kTop), "d"(t0)
            : "cc");
        t0 = 0;
    }
};

} // namespace zrc
