// Curves and points as the exported functions have them, on the engine.
#pragma once

#include "core/owned.hpp"
#include "kestrim/ecc.h"
#include "pubkey/ecc_engine.hpp"

#include <cstdint>

namespace zrc {

using owned_point = owned<ZRC_ECC_POINT, ZRC_Free_ECC_POINT>;
using owned_curve = owned<ZRC_ECC_CURVE, ZRC_Free_ECC_CURVE>;

// Null for a null curve and before its parameters are set.
inline const curve_engine* engine_of(const ZRC_ECC_CURVE* curve) noexcept
{
    return curve ? static_cast<const curve_engine*>(curve->engine) : nullptr;
}

// Whether there are coordinates where they are looked at.
inline bool is_complete(const ZRC_ECC_POINT* point) noexcept
{
    return point && (point->infinity != 0 || (point->x && point->y));
}

// The limbs of a number, of at most kMostCurveBits bits; it may be secret, but for how many words it has.
void load_number(field_number& r, const ZRC_BIGINT& value) noexcept;

// False, with r as it was, when there is no memory. Secret but for the number of words.
bool store_number(ZRC_BIGINT& r, const field_number& value, std::size_t words) noexcept;

enum class point_state {
    good,
    out_of_range,
    off_curve
};

// The coordinates of a complete point, in `r` if they are those of a point of the curve.
point_state load_point(plain_point& r, const ZRC_ECC_CURVE& curve, const ZRC_ECC_POINT& point) noexcept;

// False, with r as it was, when there is no memory.
bool store_point(ZRC_ECC_POINT& r, const ZRC_ECC_CURVE& curve, const plain_point& point) noexcept;

// n times a public point is infinity.
bool has_order_n(const ZRC_ECC_CURVE& curve, const plain_point& point) noexcept;

// r = k G for a secret k that has no more words than n. False without memory.
bool multiply_base(ZRC_ECC_POINT& r, const ZRC_ECC_CURVE& curve, const ZRC_BIGINT& k) noexcept;

} // namespace zrc
