// Modular exponentiation in portable C++.
#include "bigint/mont_portable.hpp"

#include "bigint/exponentiation.hpp"
#include "core/settled.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {
namespace {

// r += a * b over `limbs` limbs; returns the carry.
limb add_product(limb* r, const limb* a, std::size_t limbs, limb b) noexcept
{
    limb carry = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const double_limb sum = settled(double_limb{a[i]} * b + r[i]) + carry;
        r[i] = limb(sum);
        carry = limb(sum >> kLimbBits);
    }
    return carry;
}

// t = a^2: each product of two different limbs once, then doubled, and the squares.
void set_square(limb* t, const limb* a, std::size_t n) noexcept
{
    std::fill_n(t, n + 1, limb{0});
    for (std::size_t i = 0; i < n; ++i)
        t[i + n] = add_product(t + 2 * i + 1, a + i + 1, n - 1 - i, a[i]);
    limb moved_out = 0, carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const limb low = t[2 * i], high = t[2 * i + 1];
        const double_limb squared = double_limb{a[i]} * a[i];
        double_limb sum = double_limb{limb(squared)} + (low << 1 | moved_out) + carry;
        t[2 * i] = limb(sum);
        sum = double_limb{limb(squared >> kLimbBits)} + (high << 1 | low >> (kLimbBits - 1)) + limb(sum >> kLimbBits);
        t[2 * i + 1] = limb(sum);
        moved_out = high >> (kLimbBits - 1);
        carry = limb(sum >> kLimbBits);
    }
}

// r = t R^-1 for the 2 n limbs t of the scratch memory.
void reduce(limb* r, const montgomery_modulus& modulus) noexcept
{
    limb* const t = modulus.scratch;
    const std::size_t n = modulus.n;
    limb carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double_limb top = double_limb{add_product(t + i, modulus.m, n, t[i] * modulus.n0)} + t[i + n] + carry;
        t[i + n] = limb(top);
        carry = limb(top >> kLimbBits);
    }
    subtract_masked(t + n, modulus.m, mask_of(carry != 0), n);
    std::copy_n(t + n, n, r);
}

} // namespace

// Product and reduction in one pass for each limb of b (C. K. Koc, T. Acar, B. Kaliski, "Analyzing and comparing
// Montgomery multiplication algorithms", 1996, the finely integrated form). t has n limbs and a bit above them.
void portable_montgomery::mul(limb* r, const limb* a, const limb* b, const montgomery_modulus& modulus) noexcept
{
    const limb* const m = modulus.m;
    limb* const t = modulus.scratch;
    const std::size_t n = modulus.n;

    std::fill_n(t, n + 1, limb{0});
    for (std::size_t i = 0; i < n; ++i) {
        const limb multiplier = b[i];
        // Each sum is at most (B - 1)^2 + 2 (B - 1) = B^2 - 1.
        double_limb product = double_limb{a[0]} * multiplier + t[0];
        const limb q = limb(product) * modulus.n0;
        double_limb sum = double_limb{m[0]} * q + limb(product);
        for (std::size_t j = 1; j < n; ++j) {
            product = double_limb{a[j]} * multiplier + t[j] + limb(product >> kLimbBits);
            sum = double_limb{m[j]} * q + limb(product) + limb(sum >> kLimbBits);
            t[j - 1] = limb(sum);
        }
        const double_limb top = double_limb{t[n]} + limb(product >> kLimbBits) + limb(sum >> kLimbBits);
        t[n - 1] = limb(top);
        t[n] = limb(top >> kLimbBits);
    }
    subtract_masked(t, m, mask_of(t[n] != 0), n);
    std::copy_n(t, n, r);
}

void portable_montgomery::sqr(limb* r, const limb* a, const montgomery_modulus& modulus) noexcept
{
    constexpr std::size_t kLeastLimbs = 8; // below, two steps cost more than half of the products saves
    if (modulus.n < kLeastLimbs) return mul(r, a, a, modulus);

    set_square(modulus.scratch, a, modulus.n);
    reduce(r, modulus);
}

void portable_montgomery::leave(limb* r, const limb* a, const montgomery_modulus& modulus) noexcept
{
    std::copy_n(a, modulus.n, modulus.scratch);
    std::fill_n(modulus.scratch + modulus.n, modulus.n, limb{0});
    reduce(r, modulus);
}

namespace {

using core = limb_core<portable_montgomery>;

bool secret_pair(const mod_exp_task& first, const mod_exp_task& second) noexcept
{
    return secret_exponentiation_alone<core>(first) && secret_exponentiation_alone<core>(second);
}

} // namespace

constinit const mod_exp_kernel kMontPortable{open_exponentiation<core>, open_product<core>,
                                             secret_exponentiation_alone<core>, secret_pair};

} // namespace zrc
