// Limbs with a sign, for sums of products that can be negative.
#pragma once

#include "bigint/limb.hpp"

#include <cstdint>
#include <type_traits>

namespace zrc {

using signed_limb = std::make_signed_t<limb>;

#if defined(__SIZEOF_INT128__)
__extension__ using signed_double_limb = __int128;
#else
using signed_double_limb = std::int64_t;
#endif

static_assert(sizeof(signed_double_limb) == 2 * sizeof(limb));

} // namespace zrc
