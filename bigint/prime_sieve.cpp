#include "bigint/prime_sieve.hpp"

#include "bigint/mont_limb_core.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace zrc {
namespace {

// As many primes as have a product below a limb: a large number is reduced modulo that in one pass, in Montgomery's
// way, so without a division.
struct prime_group {
    limb product;
    limb inverse; // of the product modulo B = 2^kLimbBits
    limb square;  // B^2 modulo the product: B in Montgomery form
};

constexpr std::size_t kGroupPrimes = kLimbBits / 16;

consteval auto make_groups()
{
    std::array<prime_group, kSmallPrimes / kGroupPrimes> groups{};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        limb product = 1;
        for (std::size_t j = 0; j < kGroupPrimes; ++j)
            product *= i + j == 0 ? 1 : small_prime[kGroupPrimes * i + j]; // without 2
        const double_limb power = (0 - product) % product;
        groups[i] = {product, 0 - negative_inverse(product), limb(power * power % product)};
    }
    return groups;
}

// floor((B - 1) / p)
consteval auto make_reciprocals()
{
    std::array<limb, kSmallPrimes> reciprocals{};
    for (std::size_t i = 0; i < kSmallPrimes; ++i)
        reciprocals[i] = ~limb{0} / small_prime[i];
    return reciprocals;
}

alignas(64) constexpr auto kGroups = make_groups();
alignas(64) constexpr auto kReciprocals = make_reciprocals();

limb high_half(limb a, limb b) noexcept
{
    return limb(double_limb{a} * b >> kLimbBits);
}

// -(value - borrowed) / B modulo the product, at most the product if `borrowed` is.
limb montgomery_step(limb value, limb borrowed, const prime_group& group) noexcept
{
    const limb q = (value - borrowed) * group.inverse; // q * product has the low half value - borrowed
    return high_half(q, group.product) + limb{value < borrowed};
}

// a b / B modulo the product, below it; a is at most the product, b below it.
limb montgomery_product(limb a, limb b, const prime_group& group) noexcept
{
    const double_limb wide = double_limb{a} * b;
    const limb high = limb(wide >> kLimbBits), subtract = high_half(limb(wide) * group.inverse, group.product);
    return high - subtract + (group.product & (limb{0} - limb{high < subtract}));
}

// x modulo prime i. The estimate of the quotient is at most 1 too small.
std::uint32_t residue_of(limb x, std::size_t i) noexcept
{
    const auto prime = std::uint32_t{small_prime[i]};
    const auto rest = std::uint32_t(x - high_half(x, kReciprocals[i]) * prime);
    return std::min(rest, rest - prime); // which wraps around for a rest below the prime
}

// Limb i of a number of `words` words.
limb limb_of(const std::uint32_t* data, std::size_t words, std::size_t i) noexcept
{
    if constexpr (kWordsPerLimb == 1) return data[i];
    const limb low = data[2 * i];
    return 2 * i + 1 < words ? low | limb{data[2 * i + 1]} << (kLimbBits / 2) : low;
}

} // namespace

prime_sieve::prime_sieve(std::uint32_t bits) noexcept
{
    const auto is_below_root = [=](std::uint16_t prime) {
        return bits > 32 || std::uint32_t{prime} * prime < std::uint64_t{1} << (bits - 1);
    };
    primes_ = std::size_t(std::ranges::partition_point(small_prime, is_below_root) - small_prime.begin());
    limbs_ = limbs_for_words((bits + 31) / 32);

    for (std::size_t i = 0; i < kGroups.size(); ++i) {
        const prime_group& group = kGroups[i];
        limb power =
            group.square; // Montgomery form of B^k, which is B^(k + 1), where k is made of the top bits of limbs_
        for (int bit = int(std::bit_width(limbs_)) - 2; bit >= 0; --bit) {
            power = montgomery_product(power, power, group);
            if ((limbs_ >> bit & 1) != 0) power = montgomery_product(power, group.square, group);
        }
        scale_[i] = power;
    }
}

std::uint32_t prime_sieve::find(const ZRC_BIGINT& candidate) noexcept
{
    start_at(candidate);
    for (std::uint32_t delta = 0;; delta += 2 * kWindow) {
        mark_window();
        const std::size_t steps = std::min<std::size_t>(kWindow, (kNone - delta) / 2);
        const auto found = std::size_t(std::find(refused_.data(), refused_.data() + steps, 0) - refused_.data());
        if (found < kWindow) return delta + 2 * std::uint32_t(found); // kNone when the steps end within the window
    }
}

void prime_sieve::start_at(const ZRC_BIGINT& candidate) noexcept
{
    constexpr std::size_t kAtOnce = 4; // each chain of steps waits for its products
    const std::uint32_t* const data = candidate.data;
    const auto words = std::size_t(candidate.length);
    for (std::size_t i = 0; i * kGroupPrimes < primes_; i += kAtOnce) {
        limb borrowed[kAtOnce] = {};
        for (std::size_t j = 0; j < limbs_; ++j) {
            const limb value = limb_of(data, words, j);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < kAtOnce; ++k)
                borrowed[k] = montgomery_step(value, borrowed[k], kGroups[i + k]);
        }
        for (std::size_t k = 0; k < kAtOnce; ++k)
            set_steps(i + k, montgomery_product(borrowed[k], scale_[i + k], kGroups[i + k]));
    }
}

// Takes what the candidate lacks to a multiple of the product of the group.
void prime_sieve::set_steps(std::size_t group, limb distance) noexcept
{
    for (std::size_t i = kGroupPrimes * group; i < kGroupPrimes * (group + 1); ++i) {
        const std::uint32_t here = residue_of(distance, i);
        steps_[i] =
            std::uint16_t((here + (small_prime[i] & (0 - (here & 1)))) / 2); // an odd distance needs a prime more
    }
}

// Marks the numbers that are 0 or 1 modulo a prime, and moves on to the next window.
void prime_sieve::mark_window() noexcept
{
    std::ranges::fill(refused_.span(), std::uint8_t{0});
    for (std::size_t i = 1; i < primes_; ++i) {
        const std::uint32_t prime = small_prime[i];
        std::uint32_t zero = steps_[i];
        std::uint32_t one = zero + (prime + 1) / 2; // (prime + 1) / 2 steps add 1
        one = std::min(one, one - prime);           // which wraps around below the prime
        if (prime < kWindow) {
            for (; one < kWindow; one += prime)
                refused_[one] = 1;
            for (; zero < kWindow; zero += prime)
                refused_[zero] = 1;
        } else {
            refused_[std::min<std::size_t>(one, kWindow)] = 1;
            refused_[std::min<std::size_t>(zero, kWindow)] = 1;
            zero += prime & (0 - std::uint32_t{zero < kWindow});
        }
        steps_[i] = std::uint16_t(zero - kWindow);
    }
}

} // namespace zrc
