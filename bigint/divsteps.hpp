// Inversion modulo odd numbers by divsteps (D. J. Bernstein, B.-Y. Yang, "Fast constant-time gcd computation and
// modular inversion", 2019): a fixed number of steps, each a few masked operations on lowest limbs, collected into a
// matrix that is then applied to the whole numbers. No branch and no address depends on a number.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/signed_limb.hpp"
#include "core/settled.hpp"

#include <cstddef>
#include <cstdint>

namespace zrc::divsteps {

// Numbers are signed sums of digits d[i] 2^(kDigitBits i): 0 <= d[i] < 2^kDigitBits below the top, which has the
// sign. A matrix stands for as many divsteps. The bits of a limb that stay free are for signs and sums, also in the
// halves of a limb that half a matrix is collected in.
inline constexpr unsigned kDigitBits = kLimbBits - 4;
inline constexpr limb kDigitMask = (limb{1} << kDigitBits) - 1;

// Of numbers below 2^bits and above minus twice that.
constexpr std::size_t digits_for(std::size_t bits) noexcept
{
    return (bits + 2 + kDigitBits - 1) / kDigitBits;
}

// Matrices that take g to 0 for all f and g of `bits` bits when delta starts at 1/2 (P. Wuille's variant; 1 in the
// paper), by the bound that convex hulls give, which no pair of up to 13 bits exceeds.
constexpr std::size_t matrices_for(std::size_t bits) noexcept
{
    return std::size_t((std::uint64_t{45907} * bits + 26313) / 19929) / kDigitBits + 1;
}

// 2^kDigitBits times the product of kDigitBits divsteps: (f, g) becomes (u f + v g, q f + r g) / 2^kDigitBits.
// |u| + |v| and |q| + |r| are at most 2^kDigitBits.
struct transition {
    signed_limb u, v, q, r;
};

// All ones when the sign is minus.
inline signed_limb sign_mask(signed_limb value) noexcept
{
    return settled(value >> (kLimbBits - 1));
}

// Two coefficients in one limb, the first one in its lower half.
inline signed_limb lower_half(limb row) noexcept
{
    return signed_limb(row << (kLimbBits / 2)) >> (kLimbBits / 2);
}
inline signed_limb upper_half(limb row) noexcept
{
    return signed_limb(row - limb(lower_half(row))) >> (kLimbBits / 2);
}

// Half a matrix: both coefficients of a row are in one limb, as what is done to rows is linear. A divstep takes
//   (delta, f, g) to (1 - delta, g, (g - f) / 2)         if delta > 0 and g is odd
//                 to (1 + delta, f, (g + (g mod 2) f) / 2) else.
// `minus` is -(delta + 1/2): negative exactly when delta > 0.
inline transition collect_half(signed_limb& minus, limb& f, limb& g) noexcept
{
    limb f_row = 1, g_row = limb{1} << (kLimbBits / 2);
    for (unsigned step = 0; step < kDigitBits / 2; ++step) {
        const limb odd = settled(limb{0} - (g & 1));
        const limb positive = limb(sign_mask(minus));
        const limb swap = odd & positive;
        // g = g +- f, f = g if swapped, for the numbers and for the rows.
        g += ((f ^ positive) - positive) & odd;
        g_row += ((f_row ^ positive) - positive) & odd;
        f += g & swap; // g - f + f
        f_row += g_row & swap;
        minus = (minus ^ signed_limb(swap)) - 1;
        g >>= 1;
        f_row <<= 1;
    }
    return {lower_half(f_row), upper_half(f_row), lower_half(g_row), upper_half(g_row)};
}

// The divsteps that the lowest digits of f, which is odd, and g decide.
inline transition collect(signed_limb& minus, limb f, limb g) noexcept
{
    const transition first = collect_half(minus, f, g), next = collect_half(minus, f, g);
    return {next.u * first.u + next.v * first.q, next.u * first.v + next.v * first.r,
            next.q * first.u + next.r * first.q, next.q * first.v + next.r * first.r};
}

// A sum of digits times coefficients, given out digit by digit from the lowest.
class digit_sum {
public:
    digit_sum& add(signed_limb coefficient, limb digit) noexcept
    {
        sum_ += signed_double_limb{coefficient} * signed_limb(digit);
        return *this;
    }

    limb next() noexcept
    {
        const limb digit = limb(sum_) & kDigitMask;
        sum_ >>= kDigitBits;
        return digit;
    }

    // All that is left, which is the top digit.
    limb rest() const noexcept { return limb(sum_); }

private:
    signed_double_limb sum_ = 0;
};

// What an inversion works on, n digits each: f = d a and g = e a modulo m; d and e are above -2 m and below m. In the
// beginning f is m, g is a, d is 0 and e is 1. Functions are inlined, so that a constant n unrolls their loops.
struct numbers {
    limb *f, *g, *d, *e;
    const limb* m;
    std::size_t n;

    // Takes g to 0, and f to the greatest common divisor of a and m, or minus that. `inverse` is that of m modulo
    // 2^kDigitBits.
    [[gnu::always_inline]] void run(std::size_t matrices, limb inverse) const noexcept
    {
        signed_limb minus = -1;
        for (; matrices != 0; --matrices) {
            const transition t = collect(minus, f[0], g[0]);
            move_numbers(t);
            move_cofactors(t, inverse);
        }
    }

    // Brings d, or -d if f is negative, to 0 to m - 1.
    [[gnu::always_inline]] void finish() const noexcept
    {
        const signed_limb sign = sign_of(f) | 1;
        set_d(settled(sign), settled(sign & sign_of(d)));
        set_d(1, settled(1 & sign_of(d)));
    }

    // All ones when f is 1 or -1: d is the inverse of a.
    [[gnu::always_inline]] limb found() const noexcept
    {
        const limb negative = limb(sign_of(f));
        limb difference = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const limb minus_one = i + 1 < n ? kDigitMask : ~limb{0};
            difference |= f[i] ^ (minus_one & negative) ^ (limb{i == 0} & ~negative);
        }
        return settled(limb{0} - limb{difference == 0});
    }

private:
    signed_limb sign_of(const limb* number) const noexcept { return sign_mask(signed_limb(number[n - 1])); }

    // (f, g) = (u f + v g, q f + r g) / 2^kDigitBits, without remainder.
    [[gnu::always_inline]] void move_numbers(const transition& t) const noexcept
    {
        digit_sum f_sum, g_sum;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < n; ++i) {
            const limb f_digit = f[i], g_digit = g[i];
            const limb f_next = f_sum.add(t.u, f_digit).add(t.v, g_digit).next();
            const limb g_next = g_sum.add(t.q, f_digit).add(t.r, g_digit).next();
            if (i == 0) continue; // both are 0
            f[i - 1] = f_next;
            g[i - 1] = g_next;
        }
        f[n - 1] = f_sum.rest();
        g[n - 1] = g_sum.rest();
    }

    // (d, e) = (u d + v e, q d + r e) / 2^kDigitBits modulo m.
    [[gnu::always_inline]] void move_cofactors(const transition& t, limb inverse) const noexcept
    {
        const signed_limb d_multiple = multiple(t.u, t.v, inverse), e_multiple = multiple(t.q, t.r, inverse);
        digit_sum d_sum, e_sum;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < n; ++i) {
            const limb d_digit = d[i], e_digit = e[i];
            const limb d_next = d_sum.add(t.u, d_digit).add(t.v, e_digit).add(d_multiple, m[i]).next();
            const limb e_next = e_sum.add(t.q, d_digit).add(t.r, e_digit).add(e_multiple, m[i]).next();
            if (i == 0) continue; // both are 0
            d[i - 1] = d_next;
            e[i - 1] = e_next;
        }
        d[n - 1] = d_sum.rest();
        e[n - 1] = e_sum.rest();
    }

    // The k that makes u d + v e + k m a multiple of 2^kDigitBits, with a quotient between -2 m and m again: first a
    // negative d or e gets one m more, which leaves both between -m and m and the sum between -+ 2^kDigitBits m, then
    // less than 2^kDigitBits m are taken away. |k| is below 2^(kDigitBits + 1), so three such products and what is
    // carried fit in two limbs.
    signed_limb multiple(signed_limb u, signed_limb v, limb inverse) const noexcept
    {
        const limb lifted = limb(u & sign_of(d)) + limb(v & sign_of(e));
        const limb low = limb(u) * d[0] + limb(v) * e[0];
        return signed_limb(lifted - ((low * inverse + lifted) & kDigitMask));
    }

    // d = c d + k m. A coefficient that is known to be 0 or 1 would become a branch.
    [[gnu::always_inline]] void set_d(signed_limb c, signed_limb k) const noexcept
    {
        digit_sum sum;
        for (std::size_t i = 0; i + 1 < n; ++i)
            d[i] = sum.add(c, d[i]).add(k, m[i]).next();
        d[n - 1] = sum.add(c, d[n - 1]).add(k, m[n - 1]).rest();
    }
};

// From limbs to digits: digit i of a number of `count` limbs.
[[gnu::always_inline]] inline limb digit_of(const limb* limbs, std::size_t count, std::size_t i) noexcept
{
    const std::size_t low = i * kDigitBits / kLimbBits, shift = i * kDigitBits % kLimbBits;
    limb digit = low < count ? limbs[low] >> shift : 0;
    if (shift > kLimbBits - kDigitBits && low + 1 < count) digit |= limbs[low + 1] << (kLimbBits - shift);
    return digit & kDigitMask;
}

// And back: `count` limbs of n digits, none of which is negative.
[[gnu::always_inline]] inline void join(limb* limbs, std::size_t count, const limb* digits, std::size_t n) noexcept
{
    double_limb bits = 0;
    unsigned held = 0;
    for (std::size_t i = 0, next = 0; i < count; ++i, held -= unsigned{kLimbBits}, bits >>= kLimbBits) {
        for (; held < kLimbBits; held += kDigitBits)
            if (next < n) bits |= double_limb{digits[next++]} << held;
        limbs[i] = limb(bits);
    }
}

} // namespace zrc::divsteps
