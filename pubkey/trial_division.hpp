// Division of public candidates for primes by the first odd primes, in groups whose product fits a word.
#pragma once

#include "bigint/small_primes.hpp"
#include "kestrim/bigint.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

inline constexpr std::size_t kTrialPrimes = 511; // the odd primes up to 3,671
inline constexpr std::size_t kMostTrialGroups = kTrialPrimes / 2;

// Consecutive primes from small_prime[first] on, whose product fits a word.
struct trial_group {
    std::uint32_t product;
    std::uint16_t first, primes;
};

struct trial_groups {
    std::array<trial_group, kMostTrialGroups> group{};
    std::size_t count = 0;
};

consteval trial_groups make_trial_groups()
{
    trial_groups groups;
    for (std::size_t i = 1; i <= kTrialPrimes; ++groups.count) {
        trial_group& group = groups.group[groups.count];
        group = {1, std::uint16_t(i), 0};
        for (; i <= kTrialPrimes && std::uint64_t{group.product} * small_prime[i] <= 0xFFFFFFFF; ++i, ++group.primes)
            group.product *= small_prime[i];
    }
    return groups;
}

inline constexpr trial_groups kTrial = make_trial_groups();
static_assert(kTrial.group[0].product == 3234846615 && kTrial.group[0].primes == 9, "3 to 29");

inline std::uint32_t residue(const ZRC_BIGINT& n, std::uint32_t divisor) noexcept
{
    std::uint64_t rest = 0;
    for (std::int32_t i = n.length; i-- > 0;)
        rest = (rest << 32 | n.data[i]) % divisor;
    return std::uint32_t(rest);
}

// Whether a prime of the group divides the number with this residue modulo the product.
inline bool has_divisor(std::uint32_t residue, const trial_group& group) noexcept
{
    for (std::size_t i = group.first; i < std::size_t{group.first} + group.primes; ++i)
        if (residue % small_prime[i] == 0) return true;
    return false;
}

// Whether one of all these primes divides n, which is larger than they are.
inline bool has_small_divisor(const ZRC_BIGINT& n) noexcept
{
    for (std::size_t i = 0; i < kTrial.count; ++i)
        if (has_divisor(residue(n, kTrial.group[i].product), kTrial.group[i])) return true;
    return false;
}

} // namespace zrc
