// Remainders in a time that depends on lengths only: the set-up of Montgomery arithmetic for a secret modulus, and
// the reduction of a secret base.
#pragma once

#include "bigint/limb.hpp"
#include "core/secret.hpp"
#include "core/settled.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace zrc {

// All ones for true. The compiler cannot turn what is done with it into a branch.
inline limb mask_of(bool condition) noexcept
{
    return settled(limb(limb{0} - limb{condition}));
}

// r -= b & mask over `limbs` limbs; returns the borrow, 0 or 1.
inline limb subtract_masked(limb* r, const limb* b, limb mask, std::size_t limbs) noexcept
{
    limb borrow = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const double_limb difference = double_limb{r[i]} - (b[i] & mask) - borrow;
        r[i] = limb(difference);
        borrow = limb(difference >> kLimbBits) & 1;
    }
    return borrow;
}

// r += b & mask; returns the carry.
inline limb add_masked(limb* r, const limb* b, limb mask, std::size_t limbs) noexcept
{
    limb carry = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const limb part = b[i] & mask, sum = r[i] + part;
        r[i] = sum + carry;
        carry = limb{sum < part} + limb{r[i] < carry};
    }
    return carry;
}

// r = r mod m for r < 2 m, whose bit above the top limb is `carry`.
inline void reduce_once(limb* r, limb carry, const limb* m, std::size_t limbs) noexcept
{
    const limb borrow = subtract_masked(r, m, ~limb{0}, limbs);
    add_masked(r, m, mask_of(borrow > carry), limbs);
}

// A running remainder x modulo d = m 2^s, where s makes the top bit of d one; B is 2^kLimbBits. Quotients are
// estimated from three limbs by two with a reciprocal, which is exact for those (N. Moeller, T. Granlund, "Improved
// division by invariant integers", 2011, algorithm 5), and so at most one too large for the whole of d.
class steady_division {
public:
    // `memory` holds 2 * limbs limbs for as long as this lives. m's top limb is not zero; with its lowest bit set
    // this shows, and the count needs no branch.
    steady_division(limb* memory, const limb* m, std::size_t limbs) noexcept
        : d_{memory}, x_{memory + limbs}, limbs_{limbs}
    {
        constants_.shift = unsigned(std::countl_zero(m[limbs - 1] | 1));
        limb below = 0;
        for (std::size_t i = 0; i < limbs; ++i) {
            d_[i] = m[i] << constants_.shift | high_bits(below);
            below = m[i];
        }
        constants_.top = d_[limbs - 1];
        constants_.next = limbs > 1 ? d_[limbs - 2] : 0;
        constants_.reciprocal = reciprocal();
    }

    steady_division(const steady_division&) = delete;
    steady_division& operator=(const steady_division&) = delete;
    ~steady_division() { wipe(&constants_, sizeof constants_); }

    // x = B^limbs mod d, which is the two's complement of d.
    void start_at_power() noexcept
    {
        std::fill_n(x_, limbs_, limb{0});
        subtract_masked(x_, d_, ~limb{0}, limbs_);
    }

    // x = x B + low mod d.
    void push(limb low) noexcept
    {
        const limb q = quotient(low);
        limb above = x_[limbs_ - 1], owed = 0; // what the limbs below still have to take away
        for (std::size_t i = 0; i < limbs_; ++i) {
            const double_limb product = double_limb{q} * d_[i];
            limb part = limb(product), rest = limb(product >> kLimbBits);
            part += owed;
            rest += limb{part < owed};
            const limb difference = low - part;
            rest += limb{low < part}; // fits: product + owed <= B^2 - B, and there part is 0
            low = x_[i];
            x_[i] = difference;
            owed = rest;
        }
        above -= owed; // 0, or all ones for a quotient that was one too large
        add_masked(x_, d_, above, limbs_);
    }

    // x, reduced modulo d only. Below B^limbs.
    const limb* value() const noexcept { return x_; }

    // r = a mod m, `a` having `a_limbs` limbs. a 2^s mod m 2^s is (a mod m) 2^s.
    void remainder(limb* r, const limb* a, std::size_t a_limbs) noexcept
    {
        const auto shifted = [&](std::size_t i) {
            return (i < a_limbs ? a[i] << constants_.shift : 0) | (i > 0 ? high_bits(a[i - 1]) : 0);
        };
        // All but one limb of d can be filled without a division.
        std::size_t rest = a_limbs + 1 - std::min(a_limbs + 1, limbs_ - 1);
        for (std::size_t i = 0; i < limbs_; ++i)
            x_[i] = rest + i <= a_limbs ? shifted(rest + i) : 0;
        while (rest-- > 0)
            push(shifted(rest));

        for (std::size_t i = 0; i < limbs_; ++i) {
            const limb upper = i + 1 < limbs_ ? x_[i + 1] : 0;
            r[i] = x_[i] >> constants_.shift | (upper << 1 << (kLimbBits - 1 - constants_.shift));
        }
    }

private:
    // The bits that a shift left by `constants_.shift` moves out of `value`; none for a shift of 0.
    limb high_bits(limb value) const noexcept { return value >> 1 >> (kLimbBits - 1 - constants_.shift); }

    // floor((B^3 - 1) / (top, next)) - B, from the bits of floor((B^2 - 1) / top) - B.
    limb reciprocal() const noexcept
    {
        // (B - 1 - top, B - 1) / top by shift and subtract. The remainder stays below top.
        limb v = 0, rest = ~constants_.top;
        for (std::size_t i = 0; i < kLimbBits; ++i) {
            const limb out = rest >> (kLimbBits - 1);
            rest = rest << 1 | 1;
            const limb fits = mask_of((out | limb{rest >= constants_.top}) != 0);
            rest -= constants_.top & fits;
            v = v << 1 | (fits & 1);
        }
        limb p = constants_.top * v + constants_.next;
        limb over = mask_of(p < constants_.next);
        v += over;
        limb again = over & mask_of(p >= constants_.top);
        v += again;
        p -= (constants_.top & again) + (constants_.top & over);
        const double_limb t = double_limb{v} * constants_.next;
        p += limb(t >> kLimbBits);
        over = mask_of(p < limb(t >> kLimbBits));
        v += over;
        again = over & mask_of((double_limb{p} << kLimbBits | limb(t)) >=
                               (double_limb{constants_.top} << kLimbBits | constants_.next));
        return v + again;
    }

    // min(B - 1, floor(top three limbs of x B + low / top two of d)).
    limb quotient(limb low) const noexcept
    {
        const double_limb d = double_limb{constants_.top} << kLimbBits | constants_.next;
        const limb u2 = x_[limbs_ - 1];
        const limb u1 = limbs_ > 1 ? x_[limbs_ - 2] : low;
        const limb u0 = limbs_ > 2 ? x_[limbs_ - 3] : limbs_ > 1 ? low : 0;

        const double_limb q = double_limb{constants_.reciprocal} * u2 + (double_limb{u2} << kLimbBits | u1);
        limb q1 = limb(q >> kLimbBits);
        const limb r1 = u1 - q1 * constants_.top;
        double_limb r = (double_limb{r1} << kLimbBits | u0) - double_limb{constants_.next} * q1 - d;
        ++q1;
        const limb down = mask_of(limb(r >> kLimbBits) >= limb(q));
        q1 += down;
        r += d & (double_limb{down} << kLimbBits | down);
        q1 += limb{r >= d};
        return q1 | mask_of((double_limb{u2} << kLimbBits | u1) >= d); // only ever equal
    }

    limb* d_;
    limb* x_;
    std::size_t limbs_;
    struct {
        unsigned shift;
        limb top, next, reciprocal;
    } constants_; // tell of m
};

} // namespace zrc
