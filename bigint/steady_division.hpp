// Remainders in a time that depends on lengths only: the set-up of Montgomery arithmetic for a secret modulus, and
// the reduction of a secret base.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/product.hpp"
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
#if KESTRIM_X86_64_KERNELS
    return masked_row(r, b, mask, limbs);
#else
    limb borrow = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const double_limb difference = double_limb{r[i]} - (b[i] & mask) - borrow;
        r[i] = limb(difference);
        borrow = limb(difference >> kLimbBits) & 1;
    }
    return borrow;
#endif
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
//
// The remainder stands on top of the limbs that are still to come, so that a step moves nothing. It takes q d away by
// adding q (B^limbs - d), because there are instructions for two carries at a time and none for two borrows.
class steady_division {
public:
    // What a numerator of that many limbs needs as memory.
    static constexpr std::size_t memory_limbs(std::size_t limbs, std::size_t numerator_limbs) noexcept
    {
        return limbs + std::max(limbs, numerator_limbs + 1);
    }

    // `memory` stays for as long as this lives. m's top limb is not zero; with its lowest bit set this shows, and the
    // count needs no branch.
    steady_division(limb* memory, const limb* m, std::size_t limbs) noexcept
        : negative_{memory}, numerator_{memory + limbs}, limbs_{limbs}
    {
        constants_.shift = unsigned(std::countl_zero(m[limbs - 1] | 1));
        const auto shifted = [&](std::size_t i) {
            return m[i] << constants_.shift | (i > 0 ? high_bits(m[i - 1]) : 0);
        };
        limb carry = 1;
        for (std::size_t i = 0; i < limbs; ++i) {
            negative_[i] = ~shifted(i) + carry;
            carry = limb{negative_[i] < carry};
        }
        constants_.top = shifted(limbs - 1);
        constants_.next = limbs > 1 ? shifted(limbs - 2) : 0;
        constants_.reciprocal = reciprocal();
    }

    steady_division(const steady_division&) = delete;
    steady_division& operator=(const steady_division&) = delete;
    ~steady_division() { wipe(&constants_, sizeof constants_); }

    // x = B^limbs mod d, with `steps` zeros to come.
    void start_at_power(std::size_t steps) noexcept
    {
        std::fill_n(numerator_, steps, limb{0});
        x_ = std::copy_n(negative_, limbs_, numerator_ + steps) - limbs_;
    }

    // x = x B + the next limb mod d.
    void step() noexcept
    {
        --x_;
        const limb q = quotient();
        const limb above = x_[limbs_] + add_multiple_(x_, negative_, limbs_, q) - q;
        subtract_masked(x_, negative_, above, limbs_); // all ones for a quotient that was one too large, else 0
    }

    // x, reduced modulo d only. Below B^limbs.
    const limb* value() const noexcept { return x_; }

    // r = a B^zeros mod m, `a` having `a_limbs` limbs. a 2^s mod m 2^s is (a mod m) 2^s.
    void remainder(limb* r, const limb* a, std::size_t a_limbs, std::size_t zeros = 0) noexcept
    {
        const std::size_t used = zeros + a_limbs + 1, all = std::max(limbs_, used);
        std::fill_n(numerator_, zeros, limb{0});
        limb below = 0;
        for (std::size_t i = 0; i < a_limbs; ++i) {
            numerator_[zeros + i] = a[i] << constants_.shift | high_bits(below);
            below = a[i];
        }
        numerator_[used - 1] = high_bits(below); // below 2^s, so the topmost limbs are below d
        std::fill(numerator_ + used, numerator_ + all, limb{0});
        x_ = numerator_ + all - limbs_;
        while (x_ != numerator_)
            step();

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
        // (B - 1 - top, B - 1) / top by Newton's iteration, which comes from below: of B^2 / top, B + v lacks a
        // quarter at first, the square of its last part after each step, and what is rounded off: in the end below 5.
        const limb top = constants_.top;
        limb v = 0 - top;
        for (std::size_t bits = 2; bits < kLimbBits; bits *= 2) {
            const limb missing = ~(top + limb(double_limb{top} * v >> kLimbBits));
            v += missing + limb(double_limb{v} * missing >> kLimbBits);
        }
        double_limb rest = (double_limb{limb(~top)} << kLimbBits | limb(~limb{0})) - double_limb{v} * top;
        for (int i = 0; i < 4; ++i) {
            const limb fits = mask_of(rest >= top);
            rest -= top & fits;
            v += fits & 1;
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

    // min(B - 1, floor(top three limbs of the old x and the limb below / top two of d)).
    limb quotient() const noexcept
    {
        const double_limb d = double_limb{constants_.top} << kLimbBits | constants_.next;
        const limb u2 = x_[limbs_], u1 = x_[limbs_ - 1], u0 = limbs_ > 1 ? x_[limbs_ - 2] : 0;

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

    limb* negative_;    // B^limbs - d
    limb* numerator_;   // what is still to come, then x
    limb* x_ = nullptr; // above it the limb that the last step has cleared
    std::size_t limbs_;
    decltype(product_kernel::add_multiple) add_multiple_ = product_kernels.get()->add_multiple;
    struct {
        unsigned shift;
        limb top, next, reciprocal;
    } constants_; // tell of m
};

} // namespace zrc
