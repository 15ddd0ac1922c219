// Numbers modulo an odd modulus of a fixed number of limbs, in Montgomery form: coordinates and scalars of curves.
//
// An element is a R mod m, with R = B^N and B = 2^kLimbBits, and always below m. No function here branches on what an
// element holds or addresses memory by it; the modulus is public.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/mont_limb_core.hpp"
#include "core/settled.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {

template <std::size_t N>
struct field_element {
    limb v[N];
};

// A condition as a mask: all ones or zero.
using limb_mask = limb;

[[gnu::always_inline]] inline limb_mask mask_if_zero(limb value) noexcept
{
    return settled(limb{0} - (~(value | (limb{0} - value)) >> (kLimbBits - 1)));
}

// Operations on N limbs in portable C++. Results may be operands.
template <std::size_t N>
struct plain_limbs {
    // r = a + b; returns the carry.
    static limb add(limb (&r)[N], const limb (&a)[N], const limb (&b)[N]) noexcept
    {
        limb carry = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) {
            const double_limb sum = double_limb{a[i]} + b[i] + carry;
            r[i] = limb(sum);
            carry = limb(sum >> kLimbBits);
        }
        return carry;
    }

    // r = a - b; returns the borrow.
    static limb sub(limb (&r)[N], const limb (&a)[N], const limb (&b)[N]) noexcept
    {
        limb borrow = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) {
            const double_limb difference = double_limb{a[i]} - b[i] - borrow;
            r[i] = limb(difference);
            borrow = limb(difference >> kLimbBits) & 1;
        }
        return borrow;
    }

    // r = a b R^-1 mod m plus perhaps m, for a below R and b below m; n0 = -m^-1 mod B. Returns the limb above r.
    static limb mul(limb (&r)[N], const limb (&a)[N], const limb (&b)[N], const limb (&m)[N], limb n0) noexcept
    {
        limb t[N] = {}, top = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) {
            double_limb product = double_limb{a[0]} * b[i] + t[0];
            const limb q = limb(product) * n0;
            double_limb cleared = double_limb{q} * m[0] + limb(product);
#pragma GCC unroll 9
            for (std::size_t j = 1; j < N; ++j) {
                product = double_limb{a[j]} * b[i] + t[j] + limb(product >> kLimbBits);
                cleared = double_limb{q} * m[j] + limb(product) + limb(cleared >> kLimbBits);
                t[j - 1] = limb(cleared);
            }
            const double_limb high = double_limb{limb(product >> kLimbBits)} + limb(cleared >> kLimbBits) + top;
            t[N - 1] = limb(high);
            top = limb(high >> kLimbBits);
        }
        std::copy_n(t, N, r);
        return top;
    }
};

// For the prime of P-521, 2^521 - 1, whose negative inverse is 1: a limb q is cleared by q 2^521.
struct p521_limbs : plain_limbs<521 / kLimbBits + 1> {
    static constexpr std::size_t kLimbs = 521 / kLimbBits + 1;

    static limb mul(limb (&r)[kLimbs], const limb (&a)[kLimbs], const limb (&b)[kLimbs], const limb (&)[kLimbs],
                    limb) noexcept
    {
        limb t[2 * kLimbs] = {};
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i) {
            limb carry = 0;
#pragma GCC unroll 9
            for (std::size_t j = 0; j < kLimbs; ++j) {
                const double_limb sum = double_limb{a[j]} * b[i] + t[i + j] + carry;
                t[i + j] = limb(sum);
                carry = limb(sum >> kLimbBits);
            }
            t[i + kLimbs] = carry;
        }
        // All multiples at once: q is the lower half of t with what they add to it.
        constexpr unsigned kShift = 521 % kLimbBits;
        limb carry = 0, above = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const limb q = t[i];
            const double_limb sum = double_limb{t[i + kLimbs - 1]} + (q << kShift | above) + carry;
            t[i + kLimbs - 1] = limb(sum);
            carry = limb(sum >> kLimbBits);
            above = q >> (kLimbBits - kShift);
        }
        const double_limb last = double_limb{t[2 * kLimbs - 1]} + above + carry;
        t[2 * kLimbs - 1] = limb(last);
        std::copy_n(t + kLimbs, kLimbs, r);
        return limb(last >> kLimbBits);
    }
};

template <std::size_t N, class Limbs = plain_limbs<N>>
class prime_field {
public:
    using element = field_element<N>;
    static constexpr std::size_t limbs = N;

    // m is odd and above 1.
    void set_modulus(const limb* m) noexcept
    {
        std::copy_n(m, N, m_.v);
        n0_ = negative_inverse(m[0]);
        one_ = {{1}};
        for (std::size_t i = 0; i < N * kLimbBits; ++i)
            add(one_, one_, one_);
        square_ = one_;
        for (std::size_t i = 0; i < N * kLimbBits; ++i)
            add(square_, square_, square_);
    }

    const limb* modulus() const noexcept { return m_.v; }
    const element& one() const noexcept { return one_; }

    // a is any number below R.
    void enter(element& r, const limb* a) const noexcept
    {
        element plain;
        std::copy_n(a, N, plain.v);
        mul(r, plain, square_);
    }

    void leave(limb* r, const element& a) const noexcept
    {
        element plain;
        mul(plain, a, {{1}});
        std::copy_n(plain.v, N, r);
    }

    // r = a b R^-1 for a below R and b below m. Here and below, r may be an operand.
    [[gnu::noinline]] void mul(element& r, const element& a, const element& b) const noexcept
    {
        limb t[N];
        const limb top = Limbs::mul(t, a.v, b.v, m_.v, n0_);
        subtract_once(r, t, top);
    }

    void sqr(element& r, const element& a) const noexcept { mul(r, a, a); }

    [[gnu::noinline]] void add(element& r, const element& a, const element& b) const noexcept
    {
        limb sum[N];
        const limb carry = Limbs::add(sum, a.v, b.v);
        subtract_once(r, sum, carry);
    }

    [[gnu::noinline]] void sub(element& r, const element& a, const element& b) const noexcept
    {
        limb difference[N];
        const limb borrow = Limbs::sub(difference, a.v, b.v);
        add_modulus(r, difference, limb{0} - borrow);
    }

    // r = a / 2.
    [[gnu::noinline]] void half(element& r, const element& a) const noexcept
    {
        element even;
        const limb carry = add_modulus(even, a.v, limb{0} - (a.v[0] & 1));
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i)
            r.v[i] = even.v[i] >> 1 | (i + 1 < N ? even.v[i + 1] : carry) << (kLimbBits - 1);
    }

    void twice(element& r, const element& a) const noexcept
    {
        add(r, a, a);
    }

    void negate(element& r, const element& a) const noexcept
    {
        sub(r, element{}, a);
    }

    // a^(m - 2), the inverse if m is prime; 0 of 0.
    void inverse(element& r, const element& a) const noexcept
    {
        constexpr unsigned kWidth = 4;
        element odd[1 << (kWidth - 1)], square, power; // a, a^3, a^5, ...
        sqr(square, a);
        odd[0] = a;
        for (std::size_t i = 1; i < std::size(odd); ++i)
            mul(odd[i], odd[i - 1], square);

        limb exponent[N], borrow = 2;
        for (std::size_t i = 0; i < N; ++i) {
            exponent[i] = m_.v[i] - borrow;
            borrow = m_.v[i] < borrow;
        }
        const auto bit = [&](std::size_t i) { return (exponent[i / kLimbBits] >> (i % kLimbBits) & 1) != 0; };
        power = one_;
        for (std::size_t left = N * kLimbBits; left != 0;) {
            if (!bit(left - 1)) {
                --left;
                sqr(power, power);
                continue;
            }
            std::size_t low = left > kWidth ? left - kWidth : 0; // lowest bit of the window, which is set
            while (!bit(low))
                ++low;
            std::size_t value = 0;
            for (; left != low; --left) {
                value = 2 * value + bit(left - 1);
                sqr(power, power);
            }
            mul(power, power, odd[value / 2]);
        }
        r = power;
    }

    static limb_mask is_zero(const element& a) noexcept
    {
        limb bits = 0;
        for (std::size_t i = 0; i < N; ++i)
            bits |= a.v[i];
        return mask_if_zero(bits);
    }

    static limb_mask equal(const element& a, const element& b) noexcept
    {
        limb bits = 0;
        for (std::size_t i = 0; i < N; ++i)
            bits |= a.v[i] ^ b.v[i];
        return mask_if_zero(bits);
    }

    // r = a where the mask is set.
    static void set_if(limb_mask mask, element& r, const element& a) noexcept
    {
        for (std::size_t i = 0; i < N; ++i)
            r.v[i] ^= (r.v[i] ^ a.v[i]) & mask;
    }

private:
    // r = t + top B^N, below 2 m, modulo m.
    void subtract_once(element& r, const limb (&t)[N], limb top) const noexcept
    {
        limb reduced[N];
        const limb borrow = Limbs::sub(reduced, t, m_.v);
        const limb_mask keep = settled(limb{0} - (borrow & (top ^ 1)));
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i)
            r.v[i] = settled(reduced[i] ^ ((reduced[i] ^ t[i]) & keep)); // vectors would wait for single limbs
    }

    // r = a, plus m where the mask is set. Returns the carry.
    limb add_modulus(element& r, const limb (&a)[N], limb_mask mask) const noexcept
    {
        mask = settled(mask);
        limb addend[N];
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i)
            addend[i] = settled(m_.v[i] & mask);
        return Limbs::add(r.v, a, addend);
    }

    element m_, one_, square_; // square_ = R^2 mod m
    limb n0_;                  // -m^-1 mod B
};

} // namespace zrc
