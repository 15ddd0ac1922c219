// Long division of arrays of limbs, least significant first. The time depends on the values.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/product.hpp"

#include <cstddef>

namespace zrc {

// What divide() needs of memory by a divisor of nd limbs.
constexpr std::size_t division_scratch_limbs(std::size_t nd) noexcept
{
    return nd + 32;
}

// Divides u, n limbs, in place by d, nd limbs: the remainder takes the lowest nd limbs of u and the quotient the n -
// nd above them. 1 <= nd <= n; the top bit of d is set, and the top nd limbs of u are below d.
void divide(stored_limb* u, std::size_t n, const stored_limb* d, std::size_t nd, stored_limb* scratch) noexcept;

} // namespace zrc
