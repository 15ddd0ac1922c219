// Quotient limbs from the top down, each estimated from the top of the remainder by a multiplication with a
// reciprocal instead of a division: N. Moeller, T. Granlund, "Improved division by invariant integers", IEEE
// Transactions on Computers 60 (2011); the algorithms below are numbered as there. B is 2^kLimbBits.
#include "bigint/division.hpp"

#include <algorithm>

namespace zrc {
namespace {

// Divisors and quotients from these lengths on are worth the reciprocal for division in blocks.
constexpr std::size_t kShortestForBlocks = 14;
constexpr std::size_t kFewestForBlocks = 16;

// floor((B^2 - 1) / d) - B; the top bit of d is set.
limb reciprocal(limb d) noexcept
{
    return limb((double_limb{limb(~d)} << kLimbBits | limb(~limb{0})) / d);
}

// Division of two limbs by one with its top bit set: algorithm 4.
class one_limb_divisor {
public:
    explicit one_limb_divisor(limb d) noexcept : d_{d}, v_{reciprocal(d)} {}

    // The quotient of high B + low; high becomes the remainder. high < d.
    limb divide(limb& high, limb low) const noexcept
    {
        const double_limb q = double_limb{v_} * high + (double_limb{high} << kLimbBits | low);
        limb quotient = limb(q >> kLimbBits) + 1;
        limb rest = low - quotient * d_;
        if (rest > limb(q)) {
            --quotient;
            rest += d_;
        }
        if (rest >= d_) [[unlikely]] {
            ++quotient;
            rest -= d_;
        }
        high = rest;
        return quotient;
    }

private:
    limb d_, v_;
};

// Division of three limbs by two, (d1, d0) with the top bit of d1 set: algorithms 5 and 6.
class two_limb_divisor {
public:
    two_limb_divisor(limb d1, limb d0) noexcept
        : d_{double_limb{d1} << kLimbBits | d0}, d1_{d1}, d0_{d0}, v_{reciprocal(d1)}
    {
        limb p = d1 * v_ + d0;
        if (p < d0) {
            --v_;
            if (p >= d1) {
                --v_;
                p -= d1;
            }
            p -= d1;
        }
        const double_limb t = double_limb{v_} * d0;
        p += limb(t >> kLimbBits);
        if (p < limb(t >> kLimbBits)) {
            --v_;
            if ((double_limb{p} << kLimbBits | limb(t)) >= d_) --v_;
        }
    }

    // The quotient of (u2, u1, u0), and in (u2, u1) the remainder. (u2, u1) < (d1, d0).
    limb divide(limb& u2, limb& u1, limb u0) const noexcept
    {
        const double_limb q = double_limb{v_} * u2 + (double_limb{u2} << kLimbBits | u1);
        limb quotient = limb(q >> kLimbBits);
        const limb r1 = u1 - quotient * d1_;
        double_limb rest = (double_limb{r1} << kLimbBits | u0) - double_limb{d0_} * quotient - d_;
        ++quotient;
        if (limb(rest >> kLimbBits) >= limb(q)) {
            --quotient;
            rest += d_;
        }
        if (rest >= d_) [[unlikely]] {
            ++quotient;
            rest -= d_;
        }
        u2 = limb(rest >> kLimbBits);
        u1 = limb(rest);
        return quotient;
    }

    bool is(limb high, limb low) const noexcept { return high == d1_ && low == d0_; }

private:
    double_limb d_;
    limb d1_, d0_, v_;
};

void divide_by_limb(stored_limb* u, std::size_t n, limb d) noexcept
{
    const one_limb_divisor divisor{d};
    limb rest = u[n - 1];
    for (std::size_t i = n - 1; i-- > 0;)
        u[i + 1] = divisor.divide(rest, u[i]);
    u[0] = rest;
}

// The schoolbook method, a limb of the quotient at a time. nd is 2 or more.
void divide_by_limbs(stored_limb* u, std::size_t n, const stored_limb* d, std::size_t nd) noexcept
{
    const limb d1 = d[nd - 1], d0 = d[nd - 2];
    const two_limb_divisor divisor{d1, d0};
    limb top = u[n - 1], next = u[n - 2]; // of the remainder; all its limbs but the top one are in memory, too
    for (std::size_t i = n - nd; i-- > 0;) {
        stored_limb* const rest = u + i;
        limb quotient = ~limb{0};
        if (divisor.is(top, next)) [[unlikely]] {
            // Here B - 1 is the exact quotient: the remainder is below d B, and above d B - d as d has its top bit
            // set.
            submul_1(rest, d, nd, quotient);
            top = rest[nd - 1];
            next = rest[nd - 2];
        } else {
            quotient = divisor.divide(top, next, rest[nd - 2]);
            const limb missing = submul_1(rest, d, nd - 2, quotient);
            const limb borrow = limb{next < missing};
            next -= missing;
            const bool too_large = top < borrow;
            top -= borrow;
            rest[nd - 2] = next;
            if (too_large) [[unlikely]] {
                --quotient;
                top += d1 + add_n(rest, rest, d, nd - 1);
                next = rest[nd - 2];
            }
        }
        rest[nd] = quotient;
    }
    u[nd - 1] = top;
}

bool at_least(const stored_limb* a, const stored_limb* b, std::size_t n) noexcept
{
    while (n-- > 0)
        if (a[n] != b[n]) return a[n] > b[n];
    return true;
}

// Many limbs of the quotient at a time, so that nearly all work is in products. kBlock limbs come from a product of
// the top of the remainder with a reciprocal of the top of d; twice as many from twice that with the upper part of d,
// and then one product of both with the lower part (C. Burnikel, J. Ziegler, "Fast recursive division", 1998).
//
// With K = B^kBlock and h the top kBlock limbs of d, the reciprocal K + I = floor((K^2 - 1) / (h + 1)), or K when h
// is K - 1, is never too large, and neither is q = u + floor(u I / K) for the top limbs u of the remainder: the
// remainder is u K B^(nd - kBlock) at least, and d below (h + 1) B^(nd - kBlock). At most 5 are missing:
//   exact quotient < (u + 1) K / h
//   q > u (K + I) / K - 1 >= u (K^2 / (h + 1) - 1) / K - 1 > u K / (h + 1) - 2
//   difference < u K / (h (h + 1)) + K / h + 2 <= K / (h + 1) + K / h + 2 < 6, as u <= h and K / 2 <= h
// and for h = K - 1, where q is u, less than (u + K) / (K - 1) < 3. Most often it is 1.
class block_divider {
public:
    static constexpr std::size_t kBlock = 8;

    // nd is kBlock or more; scratch has division_scratch_limbs(nd) limbs. d is used as long as this lives.
    block_divider(const stored_limb* d, std::size_t nd, stored_limb* scratch) noexcept
        : d_{d}, nd_{nd}, inverse_{scratch}, quotient_{scratch + kBlock}, product_{scratch + 2 * kBlock}
    {
        // K^2 - 1 - K (h + 1) = (K - 2 - h) K + K - 1 is to be divided by h + 1.
        stored_limb* const above = product_; // h + 1
        limb carry = 1;
        for (std::size_t i = 0; i < kBlock; ++i) {
            above[i] = d[nd - kBlock + i] + carry;
            carry &= limb{above[i] == 0};
        }
        fill(inverse_, 0);
        if (carry != 0) return;
        stored_limb* const dividend = above + kBlock;
        for (std::size_t i = 0; i < kBlock; ++i) {
            dividend[i] = ~limb{0};
            dividend[kBlock + i] = ~above[i];
        }
        divide_by_limbs(dividend, 2 * kBlock, above, kBlock);
        copy(inverse_, dividend + kBlock);
    }

    // Divides the nd + k limbs of u in place; k is a multiple of kBlock. The top nd limbs are below d.
    void divide(stored_limb* u, std::size_t k) noexcept
    {
        while (k != 0) {
            std::size_t part = kBlock;
            while (2 * part <= std::min(k, nd_))
                part *= 2;
            k -= part;
            divide(u + k, nd_, part);
        }
    }

private:
    // The same for the upper nd limbs of d, and a k of kBlock times a power of two that is not above nd.
    void divide(stored_limb* u, std::size_t nd, std::size_t k) noexcept
    {
        if (k == kBlock) return divide_block(u, nd);
        const stored_limb* const d = d_ + (nd_ - nd);
        const std::size_t low = nd - k, half = k / 2;
        // Equal tops would give a quotient of k + 1 limbs by the upper part.
        if (low == 0 || at_least(u + nd, d + low, k)) {
            divide(u + half, nd, half);
            divide(u, nd, half);
            return;
        }
        divide(u + low + half, k, half);
        divide(u + low, k, half);
        multiply(product_, u + nd, k, d, low);
        limb borrow = sub_n(u, u, product_, nd);
        // With x / h for the upper parts of both, h being B^k / 2 at least and x / h below B^k, the exact quotient is
        // above x / (h + 1) - 1 > x / h - 2 - 1: the one by the upper part is at most 2 too large.
        for (int left = 2; left != 0 && borrow != 0; --left) {
            decrement(u + nd, k);
            borrow -= add_n(u, u, d, nd);
        }
    }

    void divide_block(stored_limb* u, std::size_t nd) noexcept
    {
        const stored_limb* const d = d_ + (nd_ - nd);
        stored_limb* const top = u + nd;
        multiply(product_, top, kBlock, inverse_, kBlock);
        // One more than the estimate; K - 1 if that gives K.
        if (rows<limb>::add(quotient_, top, product_ + kBlock, kBlock, 1) != 0) fill(quotient_, ~limb{0});

        multiply(product_, d, nd, quotient_, kBlock);
        sub_n(u, u, product_, nd + 1); // what is above cancels
        if (top[0] == ~limb{0}) {
            top[0] += add_n(u, u, d, nd);
            decrement(quotient_, kBlock);
        }
        for (int left = kMostMissing; left != 0 && (top[0] != 0 || at_least(u, d, nd)); --left) {
            top[0] -= sub_n(u, u, d, nd);
            increment(quotient_, kBlock);
        }
        copy(top, quotient_);
    }

    static void fill(stored_limb* block, limb value) noexcept
    {
        for (std::size_t i = 0; i < kBlock; ++i)
            block[i] = value;
    }

    static void copy(stored_limb* to, const stored_limb* from) noexcept
    {
        for (std::size_t i = 0; i < kBlock; ++i)
            to[i] = from[i];
    }

    static void increment(stored_limb* number, std::size_t n) noexcept
    {
        for (std::size_t i = 0; i < n && ++number[i] == 0; ++i) {
        }
    }

    static void decrement(stored_limb* number, std::size_t n) noexcept
    {
        for (std::size_t i = 0; i < n && number[i]-- == 0; ++i) {
        }
    }

    static constexpr int kMostMissing = 4; // after 1 was added to the estimate

    const stored_limb* d_;
    std::size_t nd_;
    stored_limb* inverse_;  // I
    stored_limb* quotient_; // of one block
    stored_limb* product_;
};

} // namespace

void divide(stored_limb* u, std::size_t n, const stored_limb* d, std::size_t nd, stored_limb* scratch) noexcept
{
    if (nd == 1) return divide_by_limb(u, n, d[0]);
    if (nd < kShortestForBlocks || n - nd < kFewestForBlocks) return divide_by_limbs(u, n, d, nd);

    // The limbs of the quotient that make no whole block come first.
    const std::size_t whole = (n - nd) / block_divider::kBlock * block_divider::kBlock;
    if (n - whole > nd) divide_by_limbs(u + whole, n - whole, d, nd);
    block_divider{d, nd, scratch}.divide(u, whole);
}

} // namespace zrc
