// Euclid's algorithm as D. H. Lehmer has it: many divisions are simulated on the highest bits of both numbers, then
// made up for on the whole numbers at once (Knuth, The Art of Computer Programming, volume 2, 4.5.2, algorithm L).
// For public values.
#include "bigint/euclid.hpp"

#include "bigint/exponentiation.hpp"
#include "bigint/limb.hpp"
#include "bigint/operand.hpp"
#include "bigint/product.hpp"
#include "bigint/signed_limb.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

constexpr unsigned kHalfBits = kLimbBits / 2;
constexpr limb kHalf = limb{1} << kHalfBits;

// What a run of divisions does to a pair: (a, b) becomes (u0 a - v0 b, v1 b - u1 a), both negated for an odd number
// of divisions.
struct division_run {
    limb u0 = 1, v0 = 0;
    limb u1 = 0, v1 = 1;
    bool odd = false;

    bool empty() const noexcept { return v0 == 0 && u1 == 0; }
};

// Divides as long as remainders stay at `least` or above, which is kHalf or more. The coefficients of the row that
// makes b are at most (the larger of a, b) / (the a of that row), so below B / least; both of a row go into one
// limb.
inline division_run divide_while(limb a, limb b, limb least) noexcept
{
    limb row0 = 1, row1 = kHalf, odd = 0;
    if (b >= least) {
        for (;;) {
            const limb q = a / b, rest = a % b;
            if (rest < least) break;
            a = b;
            b = rest;
            row0 = std::exchange(row1, row0 + q * row1);
            odd ^= 1;
        }
    }
    return {row0 % kHalf, row0 >> kHalfBits, row1 % kHalf, row1 >> kHalfBits, odd != 0};
}

// As many divisions as two limbs tell for sure: a and b are the tops of longer numbers, cut off at the same bit,
// and the longer of them has its top bit set. Coefficients come out below B / 2.
//
// No quotient has to be the exact one. Any run is sound if what it makes of the whole numbers is not negative, and
// that depends on the coefficients of the last two rows alone. What is cut off adds less than 1 in the last place.
division_run simulate(double_limb a, double_limb b) noexcept
{
    // Row by row, coefficients are below sqrt(B), so what is cut off changes a remainder by less than sqrt(B).
    const division_run first = divide_while(limb(a >> kLimbBits), limb(b >> kLimbBits), kHalf);
    if (first.empty()) return first;
    double_limb x = a * first.u0 - b * first.v0, y = b * first.v1 - a * first.u1;
    if (first.odd) {
        x = 0 - x;
        y = 0 - y;
    }

    // x is B sqrt(B) / 2 at least, so it loses half a limb, and the error of x and y becomes less than 1 before,
    // and less than 2 after, they are cut off. The coefficients are below sqrt(B) / 4: remainders of 4 sqrt(B) can
    // bear that.
    const limb top = limb((x | y) >> kLimbBits);
    const unsigned shift = kLimbBits - unsigned(std::countl_zero(top));
    const division_run second = divide_while(limb(x >> shift), limb(y >> shift), 4 * kHalf);
    return {second.u0 * first.u0 + second.v0 * first.u1, second.u0 * first.v0 + second.v0 * first.v1,
            second.u1 * first.u0 + second.v1 * first.u1, second.u1 * first.v0 + second.v1 * first.v1,
            first.odd != second.odd};
}

std::size_t stripped(const limb* a, std::size_t n) noexcept
{
    while (n != 0 && a[n - 1] == 0)
        --n;
    return n;
}

std::size_t stripped_pair(const limb* a, const limb* b, std::size_t n) noexcept
{
    while (n != 0 && (a[n - 1] | b[n - 1]) == 0)
        --n;
    return n;
}

bool less(const limb* a, const limb* b, std::size_t n) noexcept
{
    while (n-- > 0)
        if (a[n] != b[n]) return a[n] < b[n];
    return false;
}

// Two limbs of a << shift from the top of its n limbs, n >= 2.
double_limb top_limbs(const limb* a, std::size_t n, unsigned shift) noexcept
{
    const double_limb top = double_limb{a[n - 1]} << kLimbBits | a[n - 2];
    const limb below = n > 2 ? a[n - 3] : 0;
    return top << shift | below >> 1 >> (kLimbBits - 1 - shift);
}

// One limb from the highest set bit down. a[n - 1] is not zero.
limb top_bits(const limb* a, std::size_t n) noexcept
{
    const auto shift = unsigned(std::countl_zero(a[n - 1]));
    const limb below = n > 1 ? a[n - 2] : 0;
    return a[n - 1] << shift | below >> 1 >> (kLimbBits - 1 - shift);
}

std::size_t bit_length(const limb* a, std::size_t n) noexcept
{
    return n * kLimbBits - std::size_t(std::countl_zero(a[n - 1]));
}

// How many words a has without zeros on top.
std::int32_t words_in(const limb* a, std::size_t n) noexcept
{
    n = stripped(a, n);
    return n == 0 ? 0 : std::int32_t((bit_length(a, n) + kWordBits - 1) / kWordBits);
}

// a = m - a; `words` is the length of m, and a is not above it.
void subtract_from(limb* a, const std::uint32_t* m, std::size_t words) noexcept
{
    double_limb borrow = 0;
    for (std::size_t i = 0; i < limbs_for_words(words); ++i) {
        limb digit = 0;
        load_limbs(&digit, m + i * kWordsPerLimb, std::min(kWordsPerLimb, words - i * kWordsPerLimb));
        const double_limb difference = double_limb{digit} - a[i] - borrow;
        borrow = difference >> kLimbBits & 1;
        a[i] = limb(difference);
    }
}

// r = a. False: r cannot grow to just the words that a takes.
bool store(ZRC_BIGINT& r, const limb* a, std::size_t n) noexcept
{
    const std::int32_t words = words_in(a, n);
    if (!grow(r, words)) return false;
    store_limbs(r.data, a, std::size_t(words));
    r.length = words;
    return true;
}

// A factor w B^limbs, w of two limbs.
struct partial_quotient {
    limb low, high;
    std::size_t limbs;
};

// A multiple of b that a, not below b, contains: the quotient to about half a limb, never too large.
partial_quotient estimate(const limb* a, std::size_t na, const limb* b, std::size_t nb) noexcept
{
    const limb q = top_bits(a, na) / ((top_bits(b, nb) >> kHalfBits) + 1); // below 2 sqrt(B); over 2^kHalfBits
    const std::size_t longer_bits = bit_length(a, na) - bit_length(b, nb);
    if (longer_bits <= kHalfBits) return {std::max(q >> (kHalfBits - longer_bits), limb{1}), 0, 0};

    const std::size_t shift = longer_bits - kHalfBits;
    const double_limb w = double_limb{q} << (shift % kLimbBits);
    return {limb(w), limb(w >> kLimbBits), shift / kLimbBits};
}

// a -= w b and a += w b. The sum has room above.
void subtract_multiple(limb* a, const limb* b, std::size_t nb, limb w) noexcept
{
    if (w == 0 || nb == 0) return;
    for (limb borrow = submul_1(a, b, nb, w); borrow != 0; ++nb) {
        const limb before = a[nb];
        a[nb] = before - borrow;
        borrow = before < borrow;
    }
}

void add_multiple(limb* a, const limb* b, std::size_t nb, limb w) noexcept
{
    if (w == 0 || nb == 0) return;
    for (limb carry = addmul_1(a, b, nb, w); carry != 0; ++nb) {
        a[nb] += carry;
        carry = a[nb] < carry;
    }
}

// (a, b) = (u0 a - v0 b, v1 b - u1 a), neither negative; coefficients below B / 2.
void cross_subtract(limb* a, limb* b, std::size_t n, limb u0, limb v0, limb u1, limb v1) noexcept
{
    limb carry_a = 0, carry_b = 0; // signed
    const auto next = [](limb plus, limb with, limb minus, limb without, limb& carry) {
        const auto sum = signed_double_limb(double_limb{plus} * with) -
                         signed_double_limb(double_limb{minus} * without) + signed_limb(carry);
        carry = limb(sum >> kLimbBits);
        return limb(sum);
    };
    for (std::size_t i = 0; i < n; ++i) {
        const limb x = a[i], y = b[i];
        a[i] = next(u0, x, v0, y, carry_a);
        b[i] = next(v1, y, u1, x, carry_b);
    }
}

// (x, y) = (u0 x + v0 y, u1 x + v1 y) over n limbs and one above; coefficients below B / 2.
void cross_add(limb* x, limb* y, std::size_t n, const division_run& run) noexcept
{
    limb carry_x = 0, carry_y = 0;
    const auto next = [](limb u, limb p, limb v, limb q, limb& carry) {
        // 2 (B / 2 - 1) (B - 1) + B - 1 < B^2
        const double_limb sum = double_limb{u} * p + double_limb{v} * q + carry;
        carry = limb(sum >> kLimbBits);
        return limb(sum);
    };
    for (std::size_t i = 0; i < n; ++i) {
        const limb p = x[i], q = y[i];
        x[i] = next(run.u0, p, run.v0, q, carry_x);
        y[i] = next(run.u1, p, run.v1, q, carry_y);
    }
    x[n] = carry_x;
    y[n] = carry_y;
}

constexpr std::size_t rounded(std::size_t limbs) noexcept
{
    constexpr std::size_t kLine = 64 / sizeof(limb);
    return (limbs + kLine - 1) / kLine * kLine;
}

// The algorithm on a pair (a, b), and on the cofactors x, y when asked for. With the first pair (m, c), and all
// modulo m, a = -x c and b = y c, or a = x c and b = -y c when flipped.
class euclid {
public:
    // Cofactors stay at m or below.
    euclid(const words_of& a, const words_of& b, bool with_cofactors) noexcept
        : n_{limbs_for_words(std::size_t(std::max(a.length, b.length)))},
          cofactor_room_{with_cofactors ? limbs_for_words(std::size_t(a.length)) + 2 : 0},
          memory_{2 * rounded(n_) + 2 * rounded(cofactor_room_)}
    {
        if (memory_.missing()) return;
        a_ = take(a);
        b_ = take(b);
        if (!with_cofactors) return;
        x_ = memory_.take(rounded(cofactor_room_));
        y_ = memory_.take(rounded(cofactor_room_));
        y_[0] = 1;
        cofactor_limbs_ = 1;
    }

    bool missing() const noexcept { return memory_.missing(); }

    void run() noexcept
    {
        for (n_ = stripped_pair(a_, b_, n_); n_ > 1; n_ = stripped_pair(a_, b_, n_))
            if (!simulated_divisions() && !division()) return;
        if (n_ == 1) last_divisions();
    }

    // After run():
    bool store_divisor(ZRC_BIGINT& r) const noexcept { return store(r, a_, n_); }
    bool divisor_is_one() const noexcept { return n_ == 1 && a_[0] == 1; }
    // Of c modulo m, which is not 1. Once.
    bool store_inverse(ZRC_BIGINT& r, const words_of& m) const noexcept
    {
        const auto words = std::size_t(m.length);
        if (!flipped_) subtract_from(x_, m.data, words);
        return store(r, x_, limbs_for_words(words));
    }

private:
    limb* take(const words_of& from) noexcept
    {
        limb* const to = memory_.take(rounded(n_));
        load_limbs(to, from.data, std::size_t(from.length));
        return to;
    }

    // False: the tops of both differ too much.
    bool simulated_divisions() noexcept
    {
        const auto shift = unsigned(std::countl_zero(a_[n_ - 1] | b_[n_ - 1]));
        const division_run run = simulate(top_limbs(a_, n_, shift), top_limbs(b_, n_, shift));
        if (run.empty()) return false;
        if (run.odd) {
            cross_subtract(b_, a_, n_, run.v0, run.u0, run.v1, run.u1);
            std::swap(a_, b_);
        } else {
            cross_subtract(a_, b_, n_, run.u0, run.v0, run.u1, run.v1);
        }
        if (cofactor_limbs_ == 0) return true;
        cross_add(x_, y_, cofactor_limbs_, run);
        cofactor_limbs_ = stripped_pair(x_, y_, cofactor_limbs_ + 1);
        flipped_ ^= run.odd;
        return true;
    }

    // A part of one division; for quotients that are too large to simulate. False: b is zero.
    bool division() noexcept
    {
        if (less(a_, b_, n_)) {
            std::swap(a_, b_);
            std::swap(x_, y_);
            flipped_ = !flipped_;
        }
        const std::size_t nb = stripped(b_, n_);
        if (nb == 0) return false;
        const partial_quotient q = estimate(a_, n_, b_, nb);
        subtract_multiple(a_ + q.limbs, b_, nb, q.low);
        subtract_multiple(a_ + q.limbs + 1, b_, nb, q.high);
        if (cofactor_limbs_ == 0) return true;

        const std::size_t ny = stripped(y_, cofactor_limbs_);
        add_multiple(x_ + q.limbs, y_, ny, q.low);
        add_multiple(x_ + q.limbs + 1, y_, ny, q.high);
        cofactor_limbs_ = stripped_pair(x_, y_, cofactor_room_);
        return true;
    }

    // The rest, when both fit a limb. The coefficients of the last divisor are at most half of a or b.
    void last_divisions() noexcept
    {
        limb a = a_[0], b = b_[0], u0 = 1, v0 = 0, u1 = 0, v1 = 1;
        while (b != 0) {
            const limb q = a / b;
            a = std::exchange(b, a % b);
            u0 = std::exchange(u1, u0 + q * u1);
            v0 = std::exchange(v1, v0 + q * v1);
            flipped_ = !flipped_;
        }
        a_[0] = a;
        if (cofactor_limbs_ == 0) return;
        cross_add(x_, y_, cofactor_limbs_, {u0, v0, 0, 0, false});
        ++cofactor_limbs_;
    }

    std::size_t n_;
    std::size_t cofactor_room_, cofactor_limbs_ = 0;
    exponentiation_memory<limb> memory_; // filled with zeros
    limb* a_ = nullptr;
    limb* b_ = nullptr;
    limb* x_ = nullptr;
    limb* y_ = nullptr;
    bool flipped_ = false;
};

} // namespace

euclid_outcome greatest_common_divisor(ZRC_BIGINT& r, const ZRC_BIGINT& a, const ZRC_BIGINT& b) noexcept
{
    euclid pair{words_of{a}, words_of{b}, false};
    if (pair.missing()) return euclid_outcome::no_memory;
    pair.run();
    return pair.store_divisor(r) ? euclid_outcome::done : euclid_outcome::no_room;
}

euclid_outcome mod_inverse(ZRC_BIGINT& r, const ZRC_BIGINT& a, const ZRC_BIGINT& m) noexcept
{
    const words_of modulus{m};
    if (modulus.length == 1 && modulus.data[0] == 1) { // all is 0; the cofactor may be 1
        r.length = 0;
        return euclid_outcome::done;
    }
    euclid pair{modulus, words_of{a}, true};
    if (pair.missing()) return euclid_outcome::no_memory;
    pair.run();
    if (!pair.divisor_is_one()) return euclid_outcome::no_inverse;
    return pair.store_inverse(r, modulus) ? euclid_outcome::done : euclid_outcome::no_room;
}

} // namespace zrc
