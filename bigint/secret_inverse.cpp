// The inverse of a secret number modulo an odd one, which may be secret too, by divsteps (D. J. Bernstein, B.-Y.
// Yang, "Fast constant-time gcd computation and modular inversion", 2019): a fixed number of steps, each a few
// masked operations on lowest limbs, collected into a matrix that is then applied to the whole numbers.
#include "bigint/euclid.hpp"
#include "bigint/exponentiation.hpp"
#include "bigint/limb.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/mont_limb_core.hpp"
#include "bigint/operand.hpp"
#include "bigint/signed_limb.hpp"
#include "core/settled.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

// Numbers are signed sums of digits d[i] 2^(kDigitBits i): 0 <= d[i] < 2^kDigitBits below the top, which has the
// sign. A matrix stands for as many divsteps; two bits of a limb stay free for sign and sum.
constexpr unsigned kDigitBits = kLimbBits - 2;
constexpr limb kDigitMask = (limb{1} << kDigitBits) - 1;

// Divsteps that take g to 0 for all f and g of `bits` bits when delta starts at 1/2 (P. Wuille's variant; 1 in the
// paper): the bound that convex hulls give, which no pair of up to 13 bits exceeds. The end is checked.
constexpr std::size_t divsteps(std::size_t bits) noexcept
{
    return std::size_t((std::uint64_t{45907} * bits + 26313) / 19929);
}

// 2^kDigitBits times the product of kDigitBits divsteps: (f, g) becomes (u f + v g, q f + r g) / 2^kDigitBits.
// |u| + |v| and |q| + |r| are at most 2^kDigitBits.
struct transition {
    signed_limb u, v, q, r;
};

// All ones when the sign is minus.
signed_limb sign_mask(signed_limb value) noexcept
{
    return settled(value >> (kLimbBits - 1));
}

// The divsteps that the lowest digits of f, which is odd, and g decide. A divstep takes
//   (delta, f, g) to (1 - delta, g, (g - f) / 2)         if delta > 0 and g is odd
//                 to (1 + delta, f, (g + (g mod 2) f) / 2) else.
// `minus` is -(delta + 1/2): negative exactly when delta > 0.
transition collect_divsteps(signed_limb& minus, limb f, limb g) noexcept
{
    limb u = 1, v = 0, q = 0, r = 1; // two's complement; f = u f0 + v g0 and g = q f0 + r g0, times 2^step
    for (unsigned step = 0; step < kDigitBits; ++step) {
        const limb odd = settled(limb{0} - (g & 1));
        const limb positive = limb(sign_mask(minus));
        const limb swap = odd & positive;
        // g = g +- f, f = g if swapped, for the numbers and for the rows.
        g += ((f ^ positive) - positive) & odd;
        q += ((u ^ positive) - positive) & odd;
        r += ((v ^ positive) - positive) & odd;
        f += g & swap; // g - f + f
        u += q & swap;
        v += r & swap;
        minus = (minus ^ signed_limb(swap)) - 1;
        g >>= 1;
        u <<= 1;
        v <<= 1;
    }
    return {signed_limb(u), signed_limb(v), signed_limb(q), signed_limb(r)};
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

class divstep_inversion {
public:
    divstep_inversion(std::size_t a_words, std::size_t m_words) noexcept
        : m_limbs_{limbs_for_words(m_words)}, bits_{32 * std::max(a_words, m_words)},
          n_{(bits_ + 2 + kDigitBits - 1) / kDigitBits}, memory_{6 * aligned_limbs(n_)}
    {
        if (memory_.missing()) return;
        for (limb** const number : {&f_, &g_, &d_, &e_, &m_, &limbs_})
            *number = memory_.take(aligned_limbs(n_));
    }

    bool missing() const noexcept { return memory_.missing(); }

    void run(const ZRC_BIGINT& a, const ZRC_BIGINT& m) noexcept
    {
        split(g_, a);
        split(m_, m);
        std::copy_n(m_, n_, f_);
        e_[0] = 1;
        const limb inverse = 0 - negative_inverse(m_[0]); // modulo 2^kDigitBits, too
        signed_limb minus = -1;
        for (std::size_t left = divsteps(bits_) / kDigitBits + 1; left != 0; --left) {
            const transition t = collect_divsteps(minus, f_[0], g_[0]);
            move_numbers(t);
            move_cofactors(t, inverse);
        }
    }

    // True when f ended as 1 or -1, and g as 0.
    bool found() const noexcept
    {
        const limb negative = limb(sign_mask(signed_limb(f_[n_ - 1])));
        limb difference = 0;
        for (std::size_t i = 0; i < n_; ++i) {
            const limb minus_one = i + 1 < n_ ? kDigitMask : ~limb{0};
            difference |= (f_[i] ^ (minus_one & negative) ^ (limb{i == 0} & ~negative)) | g_[i];
        }
        return settled(limb{difference == 0}) != 0;
    }

    // The inverse, as many limbs as m has: d, or -d if f is -1, brought to 0 to m - 1.
    const limb* result() noexcept
    {
        const signed_limb sign = sign_mask(signed_limb(f_[n_ - 1])) | 1;
        set_d(settled(sign), settled(sign & sign_mask(signed_limb(d_[n_ - 1]))));
        set_d(1, settled(1 & sign_mask(signed_limb(d_[n_ - 1]))));
        join(d_);
        return limbs_;
    }

private:
    // From words to digits. A refill of one limb is always enough.
    void split(limb* digits, const ZRC_BIGINT& value) noexcept
    {
        const auto words = std::size_t(value.length);
        load_limbs(limbs_, value.data, words);
        double_limb bits = 0;
        unsigned held = 0;
        for (std::size_t i = 0, next = 0; i < n_; ++i, held -= kDigitBits, bits >>= kDigitBits) {
            if (held < kDigitBits) {
                if (next < limbs_for_words(words)) bits |= double_limb{limbs_[next++]} << held;
                held += unsigned{kLimbBits};
            }
            digits[i] = limb(bits) & kDigitMask;
        }
    }

    void join(const limb* digits) noexcept
    {
        double_limb bits = 0;
        unsigned held = 0;
        for (std::size_t i = 0, next = 0; i < m_limbs_; ++i, held -= unsigned{kLimbBits}, bits >>= kLimbBits) {
            for (; held < kLimbBits; held += kDigitBits)
                if (next < n_) bits |= double_limb{digits[next++]} << held;
            limbs_[i] = limb(bits);
        }
    }

    // (f, g) = (u f + v g, q f + r g) / 2^kDigitBits, without remainder.
    void move_numbers(const transition& t) noexcept
    {
        digit_sum f, g;
        for (std::size_t i = 0; i < n_; ++i) {
            const limb f_digit = f_[i], g_digit = g_[i];
            const limb f_next = f.add(t.u, f_digit).add(t.v, g_digit).next();
            const limb g_next = g.add(t.q, f_digit).add(t.r, g_digit).next();
            if (i == 0) continue; // both are 0
            f_[i - 1] = f_next;
            g_[i - 1] = g_next;
        }
        f_[n_ - 1] = f.rest();
        g_[n_ - 1] = g.rest();
    }

    // (d, e) = (u d + v e, q d + r e) / 2^kDigitBits modulo m.
    void move_cofactors(const transition& t, limb inverse) noexcept
    {
        const signed_limb d_sign = sign_mask(signed_limb(d_[n_ - 1])), e_sign = sign_mask(signed_limb(e_[n_ - 1]));
        const signed_limb d_multiple = multiple(t.u, t.v, d_sign, e_sign, inverse);
        const signed_limb e_multiple = multiple(t.q, t.r, d_sign, e_sign, inverse);
        digit_sum d, e;
        for (std::size_t i = 0; i < n_; ++i) {
            const limb d_digit = d_[i], e_digit = e_[i];
            const limb d_next = d.add(t.u, d_digit).add(t.v, e_digit).add(d_multiple, m_[i]).next();
            const limb e_next = e.add(t.q, d_digit).add(t.r, e_digit).add(e_multiple, m_[i]).next();
            if (i == 0) continue; // both are 0
            d_[i - 1] = d_next;
            e_[i - 1] = e_next;
        }
        d_[n_ - 1] = d.rest();
        e_[n_ - 1] = e.rest();
    }

    // The k that makes u d + v e + k m a multiple of 2^kDigitBits, with a quotient between -2 m and m again: first
    // a negative d or e gets one m more, which leaves both between -m and m and the sum between -+ 2^kDigitBits m,
    // then less than 2^kDigitBits m are taken away. |k| is below 2^(kDigitBits + 1), so three such products and
    // what is carried fit in two limbs.
    signed_limb multiple(signed_limb u, signed_limb v, signed_limb d_sign, signed_limb e_sign,
                         limb inverse) const noexcept
    {
        const limb lifted = limb(u & d_sign) + limb(v & e_sign);
        const limb low = limb(u) * d_[0] + limb(v) * e_[0];
        return signed_limb(lifted - ((low * inverse + lifted) & kDigitMask));
    }

    // d = c d + k m. A coefficient that is known to be 0 or 1 would become a branch.
    void set_d(signed_limb c, signed_limb k) noexcept
    {
        digit_sum d;
        for (std::size_t i = 0; i + 1 < n_; ++i)
            d_[i] = d.add(c, d_[i]).add(k, m_[i]).next();
        d_[n_ - 1] = d.add(c, d_[n_ - 1]).add(k, m_[n_ - 1]).rest();
    }

    std::size_t m_limbs_, bits_, n_;
    exponentiation_memory<limb> memory_; // filled with zeros
    // n_ digits each. f = d a and g = e a modulo m; d and e are above -2 m and below m.
    limb* f_ = nullptr;
    limb* g_ = nullptr;
    limb* d_ = nullptr;
    limb* e_ = nullptr;
    limb* m_ = nullptr;
    limb* limbs_ = nullptr; // of an operand or the result
};

} // namespace

bool secret_mod_inverse(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m) noexcept
{
    if (!r || !a || !m || a->length < 0 || m->length < 1) return false;
    if ((m->data[0] & 1) == 0 || m->data[m->length - 1] == 0) return false;
    if (m->length == 1 && m->data[0] == 1) return false;
    const std::int32_t words = m->length;
    divstep_inversion inversion{std::size_t(a->length), std::size_t(words)};
    if (inversion.missing()) return false;
    inversion.run(*a, *m);
    if (!inversion.found() || !grow(*r, words)) return false;
    store_normalised(*r, inversion.result(), std::size_t(words));
    return true;
}

} // namespace zrc
