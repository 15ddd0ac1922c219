// A Core (bigint/exponentiation.hpp) on plain limbs, for any "almost Montgomery" multiplication: with R = B^n,
// B = 2^kLimbBits, it takes operands below R and gives a b R^-1 mod m plus perhaps a multiple of m, below R again
// (S. Gueron, "Efficient software implementations of modular exponentiation", 2012). m is subtracted only where a sum
// passes R, and once more at the end.
//
// An Arithmetic provides, as static functions:
//   size_t length(size_t limbs)            n, at least `limbs`; m has zeros above its own limbs
//   size_t scratch_limbs(size_t n)
//   void mul(limb* r, const limb* a, const limb* b, const montgomery_modulus& m)     r may be an operand
//   void sqr(limb* r, const limb* a, const montgomery_modulus& m)                    the same
//   void leave(limb* r, const limb* a, const montgomery_modulus& m)                  a R^-1 mod m, at most m
#pragma once

#include "bigint/exponentiation.hpp"
#include "bigint/limb.hpp"
#include "bigint/steady_division.hpp"
#include "core/secret.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {

struct montgomery_modulus {
    const limb* m; // n limbs
    std::size_t n;
    limb n0;       // -m^-1 mod B
    limb* scratch; // scratch_limbs(n)
};

// -m^-1 mod B for an odd low limb, by Newton's iteration: m is its own inverse modulo 8, and each step doubles the
// bits.
constexpr limb negative_inverse(limb m) noexcept
{
    limb inverse = m;
    for (unsigned bits = 3; bits < kLimbBits; bits *= 2)
        inverse *= 2 - m * inverse;
    return 0 - inverse;
}

static_assert(limb(negative_inverse(limb{0} - 5) * 5) == 1);

// Sizes in limbs, rounded up to 64 bytes.
constexpr std::size_t aligned_limbs(std::size_t limbs) noexcept
{
    constexpr std::size_t kLine = 64 / sizeof(limb);
    return (limbs + kLine - 1) / kLine * kLine;
}

template <class Arithmetic>
class limb_core {
public:
    using digit = limb;
    static constexpr std::size_t lanes = 1;

    explicit limb_core(std::size_t limbs) noexcept
        : limbs_{limbs}, n_{Arithmetic::length(limbs)}, stride_{aligned_limbs(n_)}
    {
    }

    limb_core(const limb_core&) = delete;
    limb_core& operator=(const limb_core&) = delete;
    ~limb_core() { wipe(&modulus_, sizeof modulus_); }

    std::size_t digits() const noexcept { return stride_; }

    std::size_t workspace_digits() const noexcept { return 4 * stride_ + scratch_limbs(); }

    void prepare(limb* workspace, const limb* const (&m)[1]) noexcept
    {
        m_ = workspace;
        one_ = m_ + stride_;
        square_ = one_ + stride_;
        spare_ = square_ + stride_;
        modulus_ = {m_, n_, negative_inverse(m[0][0]), spare_ + stride_};
        copy_extended(m_, m[0]);
    }

    // Not fully reduced. Steps of division reach R B and R B^k, the Montgomery forms of B and B^k, where k is made of
    // the top bits of n; squarings and products by B go on to B^n, whose Montgomery form is R^2.
    void prepare_loads() noexcept
    {
        unsigned below = 0;
        while ((n_ >> below) > kMostSteps)
            ++below;

        steady_division power{modulus_.scratch, m_, limbs_};
        power.start_at_power(n_ - limbs_ + (n_ >> below));
        for (std::size_t i = limbs_; i < n_; ++i)
            power.step();
        copy_extended(one_, power.value());
        power.step();
        copy_extended(spare_, power.value());
        for (std::size_t i = 1; i < n_ >> below; ++i)
            power.step();
        copy_extended(square_, power.value());
        while (below-- > 0) {
            sqr(square_, square_);
            if ((n_ >> below & 1) != 0) mul(square_, square_, spare_);
        }
    }

    void load(limb* r, std::size_t, const limb* a) noexcept
    {
        copy_extended(r, a);
        mul(r, r, square_);
    }

    void load_once(limb* r, std::size_t, const limb* a) noexcept
    {
        steady_division{modulus_.scratch, m_, limbs_}.remainder(spare_, a, limbs_, n_);
        copy_extended(r, spare_);
    }

    void store(limb* r, std::size_t, const limb* a) noexcept
    {
        Arithmetic::leave(spare_, a, modulus_); // at most m: (a + q m) / R with a and q below R
        store_spare(r);
    }

    void load_plain(limb* r, std::size_t, const limb* a) noexcept { copy_extended(r, a); }

    void store_plain(limb* r, std::size_t, const limb* a) noexcept
    {
        std::copy_n(a, n_, spare_);
        store_spare(r);
    }

    void one(limb* r) noexcept { std::copy_n(one_, stride_, r); }
    void mul(limb* r, const limb* a, const limb* b) noexcept { Arithmetic::mul(r, a, b, modulus_); }
    void sqr(limb* r, const limb* a) noexcept { Arithmetic::sqr(r, a, modulus_); }

    void select(limb* r, const limb* table, std::size_t entries, const std::size_t (&index)[1]) noexcept
    {
        select_entry(r, table, entries, stride_, stride_, index[0]);
    }

private:
    static constexpr std::size_t kMostSteps = 8; // of the division, from R to R B^k

    // For products, and before them for the division of R^2 or of a R.
    std::size_t scratch_limbs() const noexcept
    {
        return aligned_limbs(std::max(Arithmetic::scratch_limbs(n_),
                                      steady_division::memory_limbs(limbs_, n_ + std::max(limbs_, kMostSteps))));
    }

    // From below 2 m.
    void store_spare(limb* r) noexcept
    {
        reduce_once(spare_, 0, m_, n_);
        std::copy_n(spare_, limbs_, r);
    }

    void copy_extended(limb* r, const limb* a) const noexcept
    {
        std::copy_n(a, limbs_, r);
        std::fill_n(r + limbs_, stride_ - limbs_, limb{0});
    }

    std::size_t limbs_, n_, stride_;
    limb* m_ = nullptr;
    limb* one_ = nullptr;
    limb* square_ = nullptr; // R^2
    limb* spare_ = nullptr;
    montgomery_modulus modulus_{};
};

} // namespace zrc
