// The exported word primitives: arrays of 32-bit words, least significant first. Inside, two words are one limb where
// the machine's byte order and multiplier allow that; a word that is left over goes after the limbs.
#include "bigint/product.hpp"
#include "bigint/product_rows.hpp"
#include "kestrim/bigint_words.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

namespace zrc {
namespace {

using word = std::uint32_t;
using unit = std::conditional_t<std::endian::native == std::endian::little, limb, word>;
using stored_unit = limb_kind<unit>::stored;

constexpr std::size_t kWordsPerUnit = sizeof(unit) / sizeof(word);

stored_unit* units(word* words) noexcept
{
    return reinterpret_cast<stored_unit*>(words);
}

const stored_unit* units(const word* words) noexcept
{
    return reinterpret_cast<const stored_unit*>(words);
}

// A count from outside: negative ones do nothing.
std::size_t count(std::int32_t words) noexcept
{
    return words > 0 ? std::size_t(words) : 0;
}

void require_count(std::int32_t num) noexcept
{
    if (num >= 0) return;
    std::fputs("bigint_lib: assertion failed: num >= 0\n", stderr);
    std::abort();
}

// The best that there is for limbs; words have the portable functions of the same names.
struct limb_operations : rows<limb> {
    static limb add(stored_limb* r, const stored_limb* a, const stored_limb* b, std::size_t n) noexcept
    {
        return add_n(r, a, b, n);
    }
    static limb sub(stored_limb* r, const stored_limb* a, const stored_limb* b, std::size_t n) noexcept
    {
        return sub_n(r, a, b, n);
    }
    static limb addmul_1(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept
    {
        return zrc::addmul_1(r, a, n, w);
    }
    static void multiply(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b,
                         std::size_t nb) noexcept
    {
        zrc::multiply(r, a, na, b, nb);
    }
    static void square(stored_limb* r, const stored_limb* a, std::size_t n) noexcept { zrc::square(r, a, n); }
};

using operations = std::conditional_t<std::is_same_v<unit, limb>, limb_operations, rows<word>>;

// r = a b, na + nb words; na, nb >= 1. Where both have words left over, x and y, the product is that of the whole
// limbs plus x b and y a, without copies of the operands.
void multiply_words(word* r, const word* a, std::size_t na, const word* b, std::size_t nb) noexcept
{
    const std::size_t ua = na / kWordsPerUnit, ub = nb / kWordsPerUnit, whole = kWordsPerUnit * (ua + ub);
    if (ua != 0 && ub != 0)
        operations::multiply(units(r), units(a), ua, units(b), ub);
    else
        std::fill_n(r, whole, 0);
    if constexpr (kWordsPerUnit != 1) {
        unit top = 0; // of na + nb - whole words
        const unit x = na % 2 != 0 ? a[na - 1] : 0, y = nb % 2 != 0 ? b[nb - 1] : 0;
        if (na % 2 != 0) top += operations::addmul_1(units(r) + ua, units(b), ub, x);
        if (nb % 2 != 0) top += operations::addmul_1(units(r) + ub, units(a), ua, y);
        top += x * y;
        for (std::size_t i = whole; i < na + nb; ++i, top >>= 32)
            r[i] = word(top);
    }
}

// r = a^2, 2 n words; n >= 1. A word x left over adds 2 x a' and x^2 to the square of the whole limbs a'.
void square_words(word* r, const word* a, std::size_t n) noexcept
{
    const std::size_t un = n / kWordsPerUnit;
    if (un != 0) operations::square(units(r), units(a), un);
    if constexpr (kWordsPerUnit != 1) {
        if (n % 2 == 0) return;
        const unit x = a[n - 1];
        const unit top = operations::addmul_1(units(r) + un, units(a), un, x << 1) + x * x;
        units(r)[2 * un] = top;
    }
}

// True when splitting operands of n words pays.
bool worth_halving(std::size_t n, bool squaring) noexcept
{
    if (n % 2 != 0 || n < 16) return false;
    if constexpr (!std::is_same_v<unit, limb>) return true;
    const product_kernel& kernel = *product_kernels.get();
    return n / kWordsPerUnit >= (squaring ? kernel.square_halving_limbs : kernel.multiply_halving_limbs);
}

// r = |low - high|, `half` words; the high half has only `high_words`. Returns the sign of the difference, -1, 0 or
// 1.
std::int32_t half_difference(word* r, const word* low, std::int32_t half, std::int32_t high_words) noexcept
{
    const word* const high = low + half;
    const std::int32_t missing = half - high_words, sign = zrc_Cmp_Parts(low, high, high_words, missing);
    if (sign < 0)
        zrc_Sub_Part_Words(r, high, low, high_words, -missing);
    else
        zrc_Sub_Part_Words(r, low, high, high_words, missing);
    return sign;
}

// The last step of a product by halves: r holds the product of the low halves and, above it, that of the high ones,
// and `crossed` that of the differences. low + high - crossed, or + crossed when it is `negative`, belongs in the
// middle. `sum` has room for 2 * half words.
void add_middle(word* r, const word* crossed, bool negative, word* sum, std::int32_t half) noexcept
{
    word carry = zrc_Add_Words(sum, r, r + 2 * half, 2 * half);
    if (negative)
        carry += zrc_Add_Words(sum, sum, crossed, 2 * half);
    else
        carry -= zrc_Sub_Words(sum, sum, crossed, 2 * half);
    carry += zrc_Add_Words(r + half, r + half, sum, 2 * half);
    for (word *rest = r + 3 * half, *const end = r + 4 * half; rest != end && carry != 0; ++rest) {
        const std::uint64_t next = std::uint64_t{*rest} + carry;
        *rest = word(next);
        carry = word(next >> 32);
    }
}

// Karatsuba's method: with a = a0 + a1 B and b = b0 + b1 B, B = 2^(32 half),
//   a b = a0 b0 + (a0 b0 + a1 b1 - (a0 - a1)(b0 - b1)) B + a1 b1 B^2.
// The high halves have a_high and b_high words, 0 to `half`. r and scratch have 4 * half words; the differences first
// stand where the result will be.
void multiply_halves(word* r, const word* a, std::int32_t a_high, const word* b, std::int32_t b_high, std::int32_t half,
                     word* scratch) noexcept
{
    word *const crossed = scratch, *const rest = scratch + 2 * half;
    const std::int32_t sign = half_difference(r, a, half, a_high) * half_difference(r + half, b, half, b_high);
    zrc_Mtp_Recursive(crossed, r, r + half, half, 0, 0, rest);
    zrc_Mtp_Recursive(r, a, b, half, 0, 0, rest);
    zrc_Mtp_Recursive(r + 2 * half, a + half, b + half, half, a_high - half, b_high - half, rest);
    add_middle(r, crossed, sign < 0, rest, half);
}

} // namespace
} // namespace zrc

using zrc::operations;
using zrc::rows;
using zrc::unit;
using zrc::units;

std::uint32_t zrc_Add_Words(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, std::int32_t words)
{
    const std::size_t n = zrc::count(words), whole = n - n % zrc::kWordsPerUnit;
    const unit carry = operations::add(units(r), units(a), units(b), whole / zrc::kWordsPerUnit);
    return rows<std::uint32_t>::add(r + whole, a + whole, b + whole, n - whole, std::uint32_t(carry));
}

std::uint32_t zrc_Sub_Words(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, std::int32_t words)
{
    const std::size_t n = zrc::count(words), whole = n - n % zrc::kWordsPerUnit;
    const unit borrow = operations::sub(units(r), units(a), units(b), whole / zrc::kWordsPerUnit);
    return rows<std::uint32_t>::sub(r + whole, a + whole, b + whole, n - whole, std::uint32_t(borrow));
}

std::uint32_t zrc_Sub_Part_Words(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, std::int32_t common,
                                 std::int32_t difference)
{
    if (common < 0) return 0;
    std::uint32_t borrow = zrc_Sub_Words(r, a, b, common);
    const std::int64_t longer = difference < 0 ? -std::int64_t{difference} : difference;
    for (std::int64_t i = common; i < common + longer; ++i) {
        const std::uint64_t from = difference > 0 ? a[i] : 0, taken = difference > 0 ? 0 : b[i];
        const std::uint64_t left = from - taken - borrow;
        r[i] = std::uint32_t(left);
        borrow = std::uint32_t(left >> 32) & 1;
    }
    return borrow;
}

std::uint32_t zrc_Mtp_Words(std::uint32_t* r, const std::uint32_t* a, std::int32_t words, std::uint32_t w)
{
    zrc::require_count(words);
    const std::size_t n = zrc::count(words), whole = n - n % zrc::kWordsPerUnit;
    const unit carry = operations::mul_1(units(r), units(a), whole / zrc::kWordsPerUnit, w);
    return rows<std::uint32_t>::mul_1(r + whole, a + whole, n - whole, w, std::uint32_t(carry));
}

std::uint32_t zrc_Mtp_Add_Words(std::uint32_t* r, const std::uint32_t* a, std::int32_t words, std::uint32_t w)
{
    zrc::require_count(words);
    const std::size_t n = zrc::count(words), whole = n - n % zrc::kWordsPerUnit;
    const unit carry = operations::addmul_1(units(r), units(a), whole / zrc::kWordsPerUnit, w);
    return rows<std::uint32_t>::addmul_1(r + whole, a + whole, n - whole, w, std::uint32_t(carry));
}

void zrc_Sqr_Words(std::uint32_t* r, const std::uint32_t* a, std::int32_t words)
{
    for (std::size_t i = 0; i < zrc::count(words); ++i) {
        const std::uint64_t square = std::uint64_t{a[i]} * a[i];
        r[2 * i] = std::uint32_t(square);
        r[2 * i + 1] = std::uint32_t(square >> 32);
    }
}

std::uint32_t zrc_Div_Words(std::uint32_t high, std::uint32_t low, std::uint32_t divisor)
{
    if (divisor == 0) return UINT32_MAX;
    return std::uint32_t((std::uint64_t{high} << 32 | low) / divisor);
}

std::int32_t zrc_Cmp_Parts(const std::uint32_t* a, const std::uint32_t* b, std::int32_t common, std::int32_t difference)
{
    if (common < 0) return 0;
    for (std::int64_t i = std::int64_t{difference} - 1; i >= 0; --i)
        if (a[common + i] != 0) return 1;
    for (std::int64_t i = -std::int64_t{difference} - 1; i >= 0; --i)
        if (b[common + i] != 0) return -1;
    for (std::int64_t i = std::int64_t{common} - 1; i >= 0; --i)
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    return 0;
}

void zrc_Mtp_Word_Base(std::uint32_t* r, const std::uint32_t* a, std::int32_t a_words, const std::uint32_t* b,
                       std::int32_t b_words)
{
    if (a_words < 0 || b_words < 0) return;
    const std::size_t na = zrc::count(a_words), nb = zrc::count(b_words);
    if (na == 0 || nb == 0)
        std::fill_n(r, na + nb, 0);
    else
        zrc::multiply_words(r, a, na, b, nb);
}

void zrc_Sqr_Word_Base(std::uint32_t* r, const std::uint32_t* a, std::int32_t words, std::uint32_t*)
{
    if (words > 0) zrc::square_words(r, a, std::size_t(words));
}

void zrc_Mtp_Base(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b)
{
    zrc::comba_multiply<unit, 4 / zrc::kWordsPerUnit>(units(r), units(a), units(b));
}

void zrc_Mtp_Base_Ex(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b)
{
    zrc::comba_multiply<unit, 8 / zrc::kWordsPerUnit>(units(r), units(a), units(b));
}

void zrc_Sqr_Base(std::uint32_t* r, const std::uint32_t* a)
{
    zrc::comba_square<unit, 4 / zrc::kWordsPerUnit>(units(r), units(a));
}

void zrc_Sqr_Base_Ex(std::uint32_t* r, const std::uint32_t* a)
{
    zrc::comba_square<unit, 8 / zrc::kWordsPerUnit>(units(r), units(a));
}

void zrc_Mtp_Recursive(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, std::int32_t n,
                       std::int32_t dna, std::int32_t dnb, std::uint32_t* scratch)
{
    if (n <= 0 || dna > 0 || dnb > 0) return;
    if (n == 4 && dna == 0 && dnb == 0) return zrc_Mtp_Base(r, a, b);
    if (n == 8 && dna == 0 && dnb == 0) return zrc_Mtp_Base_Ex(r, a, b);
    const std::int32_t half = n / 2;
    if (dna >= -half && dnb >= -half && zrc::worth_halving(std::size_t(n), false))
        return zrc::multiply_halves(r, a, half + dna, b, half + dnb, half, scratch);

    const std::int32_t na = dna < -n ? 0 : n + dna, nb = dnb < -n ? 0 : n + dnb;
    zrc_Mtp_Word_Base(r, a, na, b, nb);
    if (dna != 0 || dnb != 0) std::fill_n(r + na + nb, 2 * std::size_t(n) - std::size_t(na) - std::size_t(nb), 0);
}

void zrc_Mtp_Recursive_P(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, std::int32_t n,
                         std::int32_t tna, std::int32_t tnb, std::uint32_t* scratch)
{
    if (n <= 0 || tna < 0 || tnb < 0 || tna > n || tnb > n) return;
    if (zrc::worth_halving(2 * std::size_t(n), false)) return zrc::multiply_halves(r, a, tna, b, tnb, n, scratch);

    const std::size_t na = std::size_t(n) + std::size_t(tna), nb = std::size_t(n) + std::size_t(tnb);
    zrc::multiply_words(r, a, na, b, nb);
    std::fill_n(r + na + nb, 4 * std::size_t(n) - na - nb, 0);
}

void zrc_Sqr_Recursive(std::uint32_t* r, const std::uint32_t* a, std::int32_t n, std::uint32_t* scratch)
{
    if (n == 4) return zrc_Sqr_Base(r, a);
    if (n == 8) return zrc_Sqr_Base_Ex(r, a);
    if (n <= 0) return;
    if (!zrc::worth_halving(std::size_t(n), true)) return zrc::square_words(r, a, std::size_t(n));

    // As in multiply_halves; the square of the difference has no sign.
    const std::int32_t half = n / 2;
    std::uint32_t *const crossed = scratch, *const rest = scratch + n;
    zrc::half_difference(r, a, half, half);
    zrc_Sqr_Recursive(crossed, r, half, rest);
    zrc_Sqr_Recursive(r, a, half, rest);
    zrc_Sqr_Recursive(r + n, a + half, half, rest);
    zrc::add_middle(r, crossed, false, rest, half);
}
