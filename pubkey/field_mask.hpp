// Conditions as masks, which no branch comes of.
#pragma once

#include "bigint/limb.hpp"
#include "core/settled.hpp"

namespace zrc {

// All ones or zero.
using limb_mask = limb;

[[gnu::always_inline]] inline limb_mask mask_if_zero(limb value) noexcept
{
    return settled(limb{0} - (~(value | (limb{0} - value)) >> (kLimbBits - 1)));
}

} // namespace zrc
