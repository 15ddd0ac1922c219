// Conditions as masks of all ones or all zeros, made without branches.
#pragma once

#include "core/settled.hpp"

#include <climits>
#include <cstddef>

namespace zrc {

using ct_mask = std::size_t; // 0 or ~0

// The mask is settled so that the compiler does not make a branch of it again.
[[gnu::always_inline]] inline ct_mask ct_from_top_bit(std::size_t value) noexcept
{
    return settled(std::size_t{0} - (value >> (sizeof value * CHAR_BIT - 1)));
}

[[gnu::always_inline]] inline ct_mask ct_is_zero(std::size_t value) noexcept
{
    return ct_from_top_bit(~value & (value - 1));
}

[[gnu::always_inline]] inline ct_mask ct_equal(std::size_t a, std::size_t b) noexcept
{
    return ct_is_zero(a ^ b);
}

// For numbers below half of the range: a - b then borrows into the top bit exactly when a is below b.
[[gnu::always_inline]] inline ct_mask ct_less(std::size_t a, std::size_t b) noexcept
{
    return ct_from_top_bit(a - b);
}

} // namespace zrc
