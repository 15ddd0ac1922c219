// Inverses modulo an odd number of a fixed number of limbs by divsteps (D. J. Bernstein, B.-Y. Yang, "Fast
// constant-time gcd computation and modular inversion", 2019): a fixed number of steps, each a few masked operations
// on lowest limbs, collected into a matrix that is then applied to the whole numbers. No branch and no address depends
// on the number; the modulus is public.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/signed_limb.hpp"
#include "core/secret.hpp"
#include "core/settled.hpp"
#include "pubkey/field_mask.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrc {

template <std::size_t N>
class divstep_inverse {
public:
    // Of matrices for a modulus of `bits` bits: divsteps that take g to 0 for all smaller f and g when delta starts at
    // 1/2 (P. Wuille's variant; 1 in the paper), by the bound that convex hulls give.
    static constexpr std::size_t matrices(std::size_t bits) noexcept
    {
        return std::size_t((std::uint64_t{45907} * bits + 26313) / 19929) / kDigitBits + 1;
    }

    // r = the inverse of a modulo m, if there is one, and else 0 or another number below m. a is below m; n0 = -m^-1
    // mod B. All ones if it is the inverse.
    static limb_mask run(limb (&r)[N], const limb (&a)[N], const limb (&m)[N], limb n0, std::size_t matrices) noexcept
    {
        digits modulus;
        secret<state> s;
        split(modulus, m);
        *s = {};
        split(s->g, a);
        std::copy_n(modulus, kDigits, s->f);
        s->e[0] = 1;
        signed_limb minus = -1;
        for (; matrices != 0; --matrices) {
            const transition t = collect(minus, s->f[0], s->g[0]);
            move_numbers(s->f, s->g, t);
            move_cofactors(s->d, s->e, t, modulus, 0 - n0);
        }
        const signed_limb sign = sign_of(s->f) | 1; // of f, which ends as the greatest common divisor or minus that
        set_multiple(s->d, settled(sign), settled(sign & sign_of(s->d)), modulus);
        set_multiple(s->d, 1, settled(1 & sign_of(s->d)), modulus);
        join(r, s->d);
        return is_unit(s->f);
    }

private:
    // Numbers are signed sums of digits d[i] 2^(kDigitBits i): 0 <= d[i] < 2^kDigitBits below the top, which has the
    // sign. There is room for twice the modulus.
    static constexpr unsigned kDigitBits = kLimbBits - 4;
    static constexpr limb kDigitMask = (limb{1} << kDigitBits) - 1;
    static constexpr std::size_t kDigits = (N * kLimbBits + 2 + kDigitBits - 1) / kDigitBits;
    using digits = limb[kDigits];

    // f = d a and g = e a modulo m; d and e are above -2 m and below m.
    struct state {
        digits f, g, d, e;
    };

    // 2^kDigitBits times the product of as many divsteps: (f, g) becomes (u f + v g, q f + r g) / 2^kDigitBits.
    // |u| + |v| and |q| + |r| are at most 2^kDigitBits.
    struct transition {
        signed_limb u, v, q, r;
    };

    // All ones when the sign is minus.
    static signed_limb sign_mask(signed_limb value) noexcept { return settled(value >> (kLimbBits - 1)); }
    static signed_limb sign_of(const digits& number) noexcept { return sign_mask(signed_limb(number[kDigits - 1])); }

    // Half a matrix: both coefficients of a row are in one limb, the first one in its lower half, and what is done to
    // rows is linear. A divstep takes
    //   (delta, f, g) to (1 - delta, g, (g - f) / 2)         if delta > 0 and g is odd
    //                 to (1 + delta, f, (g + (g mod 2) f) / 2) else.
    // `minus` is -(delta + 1/2): negative exactly when delta > 0.
    static transition collect_half(signed_limb& minus, limb& f, limb& g) noexcept
    {
        limb f_row = 1, g_row = limb{1} << (kLimbBits / 2);
        for (unsigned step = 0; step < kDigitBits / 2; ++step) {
            const limb odd = settled(limb{0} - (g & 1));
            const limb positive = limb(sign_mask(minus));
            const limb swap = odd & positive;
            // g = g +- f, f = g if swapped, for the numbers and for the rows: those can wait for the new g_row.
            const limb other = (f ^ g) & swap;
            g += ((f ^ positive) - positive) & odd;
            g_row += ((f_row ^ positive) - positive) & odd;
            f ^= other;
            f_row += g_row & swap; // g - f + f
            minus = (minus ^ signed_limb(swap)) - 1;
            g >>= 1;
            f_row <<= 1;
        }
        return {lower(f_row), upper(f_row), lower(g_row), upper(g_row)};
    }

    static signed_limb lower(limb row) noexcept { return signed_limb(row << (kLimbBits / 2)) >> (kLimbBits / 2); }
    static signed_limb upper(limb row) noexcept { return signed_limb(row - limb(lower(row))) >> (kLimbBits / 2); }

    // The divsteps that the lowest digits of f, which is odd, and g decide.
    static transition collect(signed_limb& minus, limb f, limb g) noexcept
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

    // (f, g) = (u f + v g, q f + r g) / 2^kDigitBits, without remainder.
    static void move_numbers(digits& f, digits& g, const transition& t) noexcept
    {
        digit_sum f_sum, g_sum;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < kDigits; ++i) {
            const limb f_digit = f[i], g_digit = g[i];
            const limb f_next = f_sum.add(t.u, f_digit).add(t.v, g_digit).next();
            const limb g_next = g_sum.add(t.q, f_digit).add(t.r, g_digit).next();
            if (i == 0) continue; // both are 0
            f[i - 1] = f_next;
            g[i - 1] = g_next;
        }
        f[kDigits - 1] = f_sum.rest();
        g[kDigits - 1] = g_sum.rest();
    }

    // (d, e) = (u d + v e, q d + r e) / 2^kDigitBits modulo m.
    static void move_cofactors(digits& d, digits& e, const transition& t, const digits& m, limb inverse) noexcept
    {
        const signed_limb d_multiple = multiple(t.u, t.v, d, e, inverse),
                          e_multiple = multiple(t.q, t.r, d, e, inverse);
        digit_sum d_sum, e_sum;
#pragma GCC unroll 10
        for (std::size_t i = 0; i < kDigits; ++i) {
            const limb d_digit = d[i], e_digit = e[i];
            const limb d_next = d_sum.add(t.u, d_digit).add(t.v, e_digit).add(d_multiple, m[i]).next();
            const limb e_next = e_sum.add(t.q, d_digit).add(t.r, e_digit).add(e_multiple, m[i]).next();
            if (i == 0) continue; // both are 0
            d[i - 1] = d_next;
            e[i - 1] = e_next;
        }
        d[kDigits - 1] = d_sum.rest();
        e[kDigits - 1] = e_sum.rest();
    }

    // The k that makes u d + v e + k m a multiple of 2^kDigitBits, with a quotient between -2 m and m again: first a
    // negative d or e gets one m more, which leaves both between -m and m and the sum between -+ 2^kDigitBits m, then
    // less than 2^kDigitBits m are taken away. |k| is below 2^(kDigitBits + 1).
    static signed_limb multiple(signed_limb u, signed_limb v, const digits& d, const digits& e, limb inverse) noexcept
    {
        const limb lifted = limb(u & sign_of(d)) + limb(v & sign_of(e));
        const limb low = limb(u) * d[0] + limb(v) * e[0];
        return signed_limb(lifted - ((low * inverse + lifted) & kDigitMask));
    }

    // d = c d + k m. A coefficient that is known to be 0 or 1 would become a branch.
    static void set_multiple(digits& d, signed_limb c, signed_limb k, const digits& m) noexcept
    {
        digit_sum sum;
        for (std::size_t i = 0; i + 1 < kDigits; ++i)
            d[i] = sum.add(c, d[i]).add(k, m[i]).next();
        d[kDigits - 1] = sum.add(c, d[kDigits - 1]).add(k, m[kDigits - 1]).rest();
    }

    // f is 1 or -1.
    static limb_mask is_unit(const digits& f) noexcept
    {
        const limb negative = limb(sign_of(f));
        limb difference = 0;
        for (std::size_t i = 0; i < kDigits; ++i) {
            const limb minus_one = i + 1 < kDigits ? kDigitMask : ~limb{0};
            difference |= f[i] ^ (minus_one & negative) ^ (limb{i == 0} & ~negative);
        }
        return mask_if_zero(difference);
    }

    static void split(digits& to, const limb (&from)[N]) noexcept
    {
        for (std::size_t i = 0; i < kDigits; ++i) {
            const std::size_t low = i * kDigitBits / kLimbBits, shift = i * kDigitBits % kLimbBits;
            limb digit = low < N ? from[low] >> shift : 0;
            if (shift > kLimbBits - kDigitBits && low + 1 < N) digit |= from[low + 1] << (kLimbBits - shift);
            to[i] = digit & kDigitMask;
        }
    }

    static void join(limb (&to)[N], const digits& from) noexcept
    {
        double_limb bits = 0;
        unsigned held = 0;
        for (std::size_t i = 0, next = 0; i < N; ++i, held -= unsigned{kLimbBits}, bits >>= kLimbBits) {
            for (; held < kLimbBits; held += kDigitBits)
                if (next < kDigits) bits |= double_limb{from[next++]} << held;
            to[i] = limb(bits);
        }
    }
};

} // namespace zrc
