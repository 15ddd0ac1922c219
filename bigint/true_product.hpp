// The product that modular arithmetic uses: 0 for a zero operand, unlike ZRC_Mtp_BIGINT.
#pragma once

#include "kestrim/bigint.h"

#include <cstdint>

namespace zrc {

// r = a b. Returns 0 or the reason of the failure (ZRC_ERR_START_BIGINT_POOL_FAIL for a null pool). r may be a or b.
std::uint32_t true_product(ZRC_BIGINT& r, const ZRC_BIGINT& a, const ZRC_BIGINT& b, ZRC_BIGINT_POOL* pool) noexcept;

} // namespace zrc
