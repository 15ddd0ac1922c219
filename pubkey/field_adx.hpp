// Operations on 4 and 6 limbs with MULX and the two carry chains of ADCX and ADOX; only for processors that have them.
#pragma once

#include "pubkey/field.hpp"

#include <algorithm>
#include <cstddef>
#include <immintrin.h>

#if defined(__SANITIZE_ADDRESS__)
#define KESTRIM_ADDRESSES_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTRIM_ADDRESSES_CHECKED 1
#endif
#endif

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
    static constexpr std::size_t kLimbs = N;

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

// Numbers as operands. Each limb is one, so that numbers on the stack are found there without a register for their
// address; but compilers that do not optimise, or check addresses, would use a register for each limb.
#if defined(__OPTIMIZE__) && !defined(KESTRIM_ADDRESSES_CHECKED)
#define KESTRIM_LIMB(name, i) "%[" #name #i "]"
#define KESTRIM_NUMBER(name)                                                                                           \
    [name##0] "m"((name)[0]), [name##1] "m"((name)[1]), [name##2] "m"((name)[2]), [name##3] "m"((name)[3])
#define KESTRIM_CLOBBERED "cc"
#else
#define KESTRIM_LIMB(name, i) #i "*8(%[" #name "])"
#define KESTRIM_NUMBER(name) [name] "r"(name)
#define KESTRIM_CLOBBERED "cc", "memory"
#endif

// Sums and differences of 4 limbs in registers.
struct adx_4 : modular<adx_limbs<4>> {
    [[gnu::always_inline]] static void add(number& r, const number& a, const number& b, const number& m) noexcept
    {
        limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], u0, u1, u2, u3, carry;
        // clang-format off
        __asm__("addq " KESTRIM_LIMB(b, 0) ", %[t0]\n\t"
                "adcq " KESTRIM_LIMB(b, 1) ", %[t1]\n\t"
                "adcq " KESTRIM_LIMB(b, 2) ", %[t2]\n\t"
                "adcq " KESTRIM_LIMB(b, 3) ", %[t3]\n\t"
                "sbbq %[carry], %[carry]\n\t"
                "movq %[t0], %[u0]\n\t"
                "movq %[t1], %[u1]\n\t"
                "movq %[t2], %[u2]\n\t"
                "movq %[t3], %[u3]\n\t"
                "subq " KESTRIM_LIMB(m, 0) ", %[t0]\n\t"
                "sbbq " KESTRIM_LIMB(m, 1) ", %[t1]\n\t"
                "sbbq " KESTRIM_LIMB(m, 2) ", %[t2]\n\t"
                "sbbq " KESTRIM_LIMB(m, 3) ", %[t3]\n\t"
                "sbbq $0, %[carry]\n\t" // leaves a borrow when the sum was below m
                "cmovcq %[u0], %[t0]\n\t"
                "cmovcq %[u1], %[t1]\n\t"
                "cmovcq %[u2], %[t2]\n\t"
                "cmovcq %[u3], %[t3]\n\t"
                : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3),
                  [u0] "=&r"(u0), [u1] "=&r"(u1), [u2] "=&r"(u2), [u3] "=&r"(u3), [carry] "=&r"(carry)
                : KESTRIM_NUMBER(b), KESTRIM_NUMBER(m)
                : KESTRIM_CLOBBERED);
        // clang-format on
        r[0] = t0, r[1] = t1, r[2] = t2, r[3] = t3;
    }

    [[gnu::always_inline]] static void sub(number& r, const number& a, const number& b, const number& m) noexcept
    {
        limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], u0, u1, u2, u3;
        // clang-format off
        __asm__("subq " KESTRIM_LIMB(b, 0) ", %[t0]\n\t"
                "sbbq " KESTRIM_LIMB(b, 1) ", %[t1]\n\t"
                "sbbq " KESTRIM_LIMB(b, 2) ", %[t2]\n\t"
                "sbbq " KESTRIM_LIMB(b, 3) ", %[t3]\n\t"
                "sbbq %[u0], %[u0]\n\t" // the borrow as a mask of the modulus
                "movq %[u0], %[u1]\n\t"
                "movq %[u0], %[u2]\n\t"
                "movq %[u0], %[u3]\n\t"
                "andq " KESTRIM_LIMB(m, 0) ", %[u0]\n\t"
                "andq " KESTRIM_LIMB(m, 1) ", %[u1]\n\t"
                "andq " KESTRIM_LIMB(m, 2) ", %[u2]\n\t"
                "andq " KESTRIM_LIMB(m, 3) ", %[u3]\n\t"
                "addq %[u0], %[t0]\n\t"
                "adcq %[u1], %[t1]\n\t"
                "adcq %[u2], %[t2]\n\t"
                "adcq %[u3], %[t3]\n\t"
                : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3),
                  [u0] "=&r"(u0), [u1] "=&r"(u1), [u2] "=&r"(u2), [u3] "=&r"(u3)
                : KESTRIM_NUMBER(b), KESTRIM_NUMBER(m)
                : KESTRIM_CLOBBERED);
        // clang-format on
        r[0] = t0, r[1] = t1, r[2] = t2, r[3] = t3;
    }
};

} // namespace zrc
