// Numbers modulo an odd modulus of a fixed number of limbs, in Montgomery form: coordinates and scalars of curves.
//
// An element is a R mod m, with R = B^N and B = 2^kLimbBits, and always below m. No function here branches on what an
// element holds or addresses memory by it; the modulus is public.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/mont_limb_core.hpp"
#include "core/settled.hpp"
#include "pubkey/field_inverse.hpp"
#include "pubkey/field_mask.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {

template <std::size_t N>
struct field_element {
    limb v[N];
};

// Operations on N limbs in portable C++. Results may be operands.
template <std::size_t N>
struct plain_limbs {
    static constexpr std::size_t kLimbs = N;

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
        return fold(r, t);
    }

    static limb sqr(limb (&r)[kLimbs], const limb (&a)[kLimbs], const limb (&)[kLimbs], limb) noexcept
    {
        limb t[2 * kLimbs] = {};
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i) {
            limb carry = 0;
#pragma GCC unroll 9
            for (std::size_t j = i + 1; j < kLimbs; ++j) {
                const double_limb sum = double_limb{a[j]} * a[i] + t[i + j] + carry;
                t[i + j] = limb(sum);
                carry = limb(sum >> kLimbBits);
            }
            t[i + kLimbs] = carry;
        }
        // Those products twice, and the squares of limbs.
        limb carry = 0, above = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const double_limb square = double_limb{a[i]} * a[i];
            const double_limb low = double_limb{t[2 * i] << 1 | above} + limb(square) + carry;
            const limb middle = t[2 * i] >> (kLimbBits - 1);
            const double_limb high =
                double_limb{t[2 * i + 1] << 1 | middle} + limb(square >> kLimbBits) + limb(low >> kLimbBits);
            above = t[2 * i + 1] >> (kLimbBits - 1);
            carry = limb(high >> kLimbBits);
            t[2 * i] = limb(low);
            t[2 * i + 1] = limb(high);
        }
        return fold(r, t);
    }

private:
    // r = t B^-kLimbs mod m plus perhaps m. Returns the limb above r.
    static limb fold(limb (&r)[kLimbs], limb (&t)[2 * kLimbs]) noexcept
    {
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

// Operations modulo m on numbers below m, made of those of Limbs. Results may be operands.
template <class Limbs>
struct modular {
    static constexpr std::size_t kLimbs = Limbs::kLimbs;
    static constexpr bool kInlined = false; // into what uses them, as opposed to calls
    using number = limb[kLimbs];

    // r = a b R^-1 for a below R.
    static void mul(number& r, const number& a, const number& b, const number& m, limb n0) noexcept
    {
        number t;
        const limb top = Limbs::mul(t, a, b, m, n0);
        subtract_once(r, t, top, m);
    }

    static void sqr(number& r, const number& a, const number& m, limb n0) noexcept
    {
        number t;
        limb top;
        if constexpr (requires { Limbs::sqr(t, a, m, n0); }) {
            top = Limbs::sqr(t, a, m, n0);
        } else {
            top = Limbs::mul(t, a, a, m, n0);
        }
        subtract_once(r, t, top, m);
    }

    static void add(number& r, const number& a, const number& b, const number& m) noexcept
    {
        number sum;
        const limb carry = Limbs::add(sum, a, b);
        subtract_once(r, sum, carry, m);
    }

    static void sub(number& r, const number& a, const number& b, const number& m) noexcept
    {
        number difference;
        const limb borrow = Limbs::sub(difference, a, b);
        add_if(limb{0} - borrow, r, difference, m);
    }

    // r = a / 2.
    static void half(number& r, const number& a, const number& m) noexcept
    {
        number even;
        const limb carry = add_if(limb{0} - (a[0] & 1), even, a, m);
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i)
            r[i] = even[i] >> 1 | (i + 1 < kLimbs ? even[i + 1] : carry) << (kLimbBits - 1);
    }

private:
    // r = t + top B^N, below 2 m, modulo m.
    static void subtract_once(number& r, const number& t, limb top, const number& m) noexcept
    {
        number reduced;
        const limb borrow = Limbs::sub(reduced, t, m);
        const limb_mask keep = settled(limb{0} - (borrow & (top ^ 1)));
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i)
            r[i] = settled(reduced[i] ^ ((reduced[i] ^ t[i]) & keep)); // vectors would wait for single limbs
    }

    // r = a, plus m where the mask is set. Returns the carry.
    static limb add_if(limb_mask mask, number& r, const number& a, const number& m) noexcept
    {
        mask = settled(mask);
        number addend;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i)
            addend[i] = settled(m[i] & mask);
        return Limbs::add(r, a, addend);
    }
};

template <std::size_t N, class Arithmetic = modular<plain_limbs<N>>>
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
        cube_ = square_;
        for (std::size_t i = 0; i < N * kLimbBits; ++i)
            add(cube_, cube_, cube_);
        std::size_t bits = N * kLimbBits;
        while ((m[(bits - 1) / kLimbBits] >> ((bits - 1) % kLimbBits) & 1) == 0)
            --bits;
        matrices_ = divsteps::matrices_for(bits);
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
    [[gnu::always_inline]] void mul(element& r, const element& a, const element& b) const noexcept
    {
        if constexpr (Arithmetic::kInlined) {
            Arithmetic::mul(r.v, a.v, b.v, m_.v, n0_);
        } else {
            call_mul(r, a, b);
        }
    }

    [[gnu::always_inline]] void sqr(element& r, const element& a) const noexcept
    {
        if constexpr (Arithmetic::kInlined) {
            Arithmetic::sqr(r.v, a.v, m_.v, n0_);
        } else {
            call_sqr(r, a);
        }
    }

    [[gnu::always_inline]] void add(element& r, const element& a, const element& b) const noexcept
    {
        if constexpr (Arithmetic::kInlined) {
            Arithmetic::add(r.v, a.v, b.v, m_.v);
        } else {
            call_add(r, a, b);
        }
    }

    [[gnu::always_inline]] void sub(element& r, const element& a, const element& b) const noexcept
    {
        if constexpr (Arithmetic::kInlined) {
            Arithmetic::sub(r.v, a.v, b.v, m_.v);
        } else {
            call_sub(r, a, b);
        }
    }

    // r = a / 2.
    void half(element& r, const element& a) const noexcept { Arithmetic::half(r.v, a.v, m_.v); }

    void twice(element& r, const element& a) const noexcept { add(r, a, a); }

    void negate(element& r, const element& a) const noexcept { sub(r, element{}, a); }

    // The inverse, if there is one; 0 of 0.
    void inverse(element& r, const element& a) const noexcept
    {
        set_inverse(r.v, a.v, m_.v, n0_, matrices_);
        mul(r, r, cube_);
    }

    // The same of a plain number below m. All ones if it is the inverse.
    limb_mask plain_inverse(element& r, const element& a) const noexcept
    {
        return set_inverse(r.v, a.v, m_.v, n0_, matrices_);
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
    [[gnu::noinline]] void call_mul(element& r, const element& a, const element& b) const noexcept
    {
        Arithmetic::mul(r.v, a.v, b.v, m_.v, n0_);
    }

    [[gnu::noinline]] void call_sqr(element& r, const element& a) const noexcept
    {
        Arithmetic::sqr(r.v, a.v, m_.v, n0_);
    }

    [[gnu::noinline]] void call_add(element& r, const element& a, const element& b) const noexcept
    {
        Arithmetic::add(r.v, a.v, b.v, m_.v);
    }

    [[gnu::noinline]] void call_sub(element& r, const element& a, const element& b) const noexcept
    {
        Arithmetic::sub(r.v, a.v, b.v, m_.v);
    }

    element m_, one_, square_, cube_; // R^2 and R^3 mod m
    limb n0_;                         // -m^-1 mod B
    std::size_t matrices_;            // of an inversion
};

} // namespace zrc
