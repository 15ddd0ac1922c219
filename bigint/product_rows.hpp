// Rows and columns of the paper-and-pencil methods, for any width of limb: portable, with a time that depends on the
// sizes alone. A number is an array of limbs, least significant first.
#pragma once

#include "bigint/limb.hpp"

#include <cstddef>
#include <cstdint>

namespace zrc {

// `stored` is a limb where it stands in memory: 64-bit limbs can lie over an array of 32-bit words, aligned as those.
template <class Limb>
struct limb_kind;

template <>
struct limb_kind<std::uint32_t> {
    using wide = std::uint64_t;
    using stored = std::uint32_t;
};

#if defined(__SIZEOF_INT128__)
template <>
struct limb_kind<std::uint64_t> {
    __extension__ using wide = unsigned __int128;
    using stored [[gnu::may_alias, gnu::aligned(4)]] = std::uint64_t;
};
#endif

template <class Limb>
struct rows {
    using wide = typename limb_kind<Limb>::wide;
    using stored = typename limb_kind<Limb>::stored;
    static constexpr unsigned kBits = 8 * sizeof(Limb);

    static void clear(stored* r, std::size_t n) noexcept
    {
        for (std::size_t i = 0; i < n; ++i)
            r[i] = 0;
    }

    // r = a + b + carry; returns the carry. r may be a or b in this and the next function, and a in those below.
    static Limb add(stored* r, const stored* a, const stored* b, std::size_t n, Limb carry = 0) noexcept
    {
        for (std::size_t i = 0; i < n; ++i) {
            const wide sum = wide{a[i]} + b[i] + carry;
            r[i] = Limb(sum);
            carry = Limb(sum >> kBits);
        }
        return carry;
    }

    // r = a - b - borrow; returns the borrow.
    static Limb sub(stored* r, const stored* a, const stored* b, std::size_t n, Limb borrow = 0) noexcept
    {
        for (std::size_t i = 0; i < n; ++i) {
            const wide difference = wide{a[i]} - b[i] - borrow;
            r[i] = Limb(difference);
            borrow = Limb(difference >> kBits) & 1;
        }
        return borrow;
    }

    // r = a w + carry; returns the limb above.
    static Limb mul_1(stored* r, const stored* a, std::size_t n, Limb w, Limb carry = 0) noexcept
    {
        for (std::size_t i = 0; i < n; ++i) {
            const wide product = wide{a[i]} * w + carry;
            r[i] = Limb(product);
            carry = Limb(product >> kBits);
        }
        return carry;
    }

    // r += a w + carry; returns the limb above. (2^k - 1)^2 + 2 (2^k - 1) = 2^2k - 1: the sum of each step fits.
    static Limb addmul_1(stored* r, const stored* a, std::size_t n, Limb w, Limb carry = 0) noexcept
    {
        for (std::size_t i = 0; i < n; ++i) {
            const wide sum = wide{a[i]} * w + r[i] + carry;
            r[i] = Limb(sum);
            carry = Limb(sum >> kBits);
        }
        return carry;
    }

    // r -= a w; returns what has to be taken from the limb above.
    static Limb submul_1(stored* r, const stored* a, std::size_t n, Limb w) noexcept
    {
        Limb borrow = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const wide product = wide{a[i]} * w + borrow;
            const Limb low = Limb(product), before = r[i];
            r[i] = before - low;
            borrow = Limb(Limb(product >> kBits) + Limb(before < low));
        }
        return borrow;
    }

    // r = a b, na + nb limbs; na, nb >= 1; r overlaps neither. Cheapest with the longer operand first.
    static void multiply(stored* r, const stored* a, std::size_t na, const stored* b, std::size_t nb) noexcept
    {
        r[na] = mul_1(r, a, na, b[0]);
        for (std::size_t i = 1; i < nb; ++i)
            r[na + i] = addmul_1(r + i, a, na, b[i]);
    }

    // r = a^2, 2 n limbs; n >= 1; r does not overlap a. Each product of two different limbs once, then all doubled.
    static void square(stored* r, const stored* a, std::size_t n) noexcept
    {
        if (n > 1) {
            r[n] = mul_1(r + 1, a + 1, n - 1, a[0]);
            for (std::size_t i = 1; i + 1 < n; ++i)
                r[n + i] = addmul_1(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
        }
        r[0] = 0;
        r[2 * n - 1] = 0;
        double_and_add_squares(r, a, n);
    }

    // r = 2 r + the squares of the limbs of a, two limbs each. r is below half of its range.
    static void double_and_add_squares(stored* r, const stored* a, std::size_t n) noexcept
    {
        Limb carry = 0, shifted_out = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const wide product = wide{a[i]} * a[i];
            const Limb low = r[2 * i], high = r[2 * i + 1];
            const wide low_sum = wide{Limb(low << 1 | shifted_out)} + Limb(product) + carry;
            const wide high_sum =
                wide{Limb(high << 1 | low >> (kBits - 1))} + Limb(product >> kBits) + Limb(low_sum >> kBits);
            r[2 * i] = Limb(low_sum);
            r[2 * i + 1] = Limb(high_sum);
            carry = Limb(high_sum >> kBits);
            shifted_out = high >> (kBits - 1);
        }
    }
};

// One column of a product after the other (Comba's method); three limbs hold the sum of a column and what it carries.
template <class Limb>
class column_sum {
public:
    using wide = typename limb_kind<Limb>::wide;

    void add(wide product) noexcept
    {
        low_ += product;
        top_ = Limb(top_ + Limb(low_ < product));
    }

    Limb next() noexcept
    {
        const Limb column = Limb(low_);
        low_ = low_ >> kBits | wide{top_} << kBits;
        top_ = 0;
        return column;
    }

private:
    static constexpr unsigned kBits = 8 * sizeof(Limb);
    wide low_ = 0;
    Limb top_ = 0;
};

// r = a b for N limbs each, unrolled; r does not overlap a or b.
template <class Limb, std::size_t N>
inline void comba_multiply(typename limb_kind<Limb>::stored* r, const typename limb_kind<Limb>::stored* a,
                           const typename limb_kind<Limb>::stored* b) noexcept
{
    using wide = typename limb_kind<Limb>::wide;
    column_sum<Limb> sum;
#pragma GCC unroll 16
    for (std::size_t column = 0; column < 2 * N - 1; ++column) {
        const std::size_t first = column < N ? 0 : column - N + 1, last = column < N ? column : N - 1;
#pragma GCC unroll 8
        for (std::size_t i = first; i <= last; ++i)
            sum.add(wide{a[i]} * b[column - i]);
        r[column] = sum.next();
    }
    r[2 * N - 1] = sum.next();
}

// r = a^2 for N limbs, unrolled; r does not overlap a.
template <class Limb, std::size_t N>
inline void comba_square(typename limb_kind<Limb>::stored* r, const typename limb_kind<Limb>::stored* a) noexcept
{
    using wide = typename limb_kind<Limb>::wide;
    column_sum<Limb> sum;
#pragma GCC unroll 16
    for (std::size_t column = 0; column < 2 * N - 1; ++column) {
        const std::size_t first = column < N ? 0 : column - N + 1;
#pragma GCC unroll 8
        for (std::size_t i = first; 2 * i < column; ++i) {
            const wide product = wide{a[i]} * a[column - i];
            sum.add(product);
            sum.add(product);
        }
        if (column % 2 == 0) sum.add(wide{a[column / 2]} * a[column / 2]);
        r[column] = sum.next();
    }
    r[2 * N - 1] = sum.next();
}

} // namespace zrc
