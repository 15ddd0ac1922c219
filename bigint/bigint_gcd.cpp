// The exported greatest common divisor and modular inverse.
#include "bigint/euclid.hpp"
#include "bigint/operand.hpp"
#include "bigint/pool_frame.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/error.h"

#include <cstdint>

std::uint32_t ZRC_Mod_Inverse_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m, ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_INVERSE_BIGINT, reason); };

    if (!a || !m) return fail(ZRC_ERR_NULL_INPUT);
    zrc::pool_frame frame{pool};
    if (!frame.open()) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);
    if (!r) r = frame.get();
    if (!r) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
    if (zrc::is_zero(*m)) return fail(ZRC_ERR_MOD_BIGINT_FAIL);

    switch (zrc::mod_inverse(*r, *a, *m)) {
    case zrc::euclid_outcome::done:
        return 0;
    case zrc::euclid_outcome::no_inverse:
        return fail(ZRC_ERR_MOD_INVERSE_BIGINT_FAIL);
    case zrc::euclid_outcome::no_memory:
        return fail(ZRC_ERR_MALLOC);
    case zrc::euclid_outcome::no_room:
        return fail(ZRC_ERR_EXPAND_BIGINT_WORD);
    }
    return fail(ZRC_ERR_INTERNAL);
}

ZRC_BIGINT* zrc_Euclid(ZRC_BIGINT* a, ZRC_BIGINT* b, ZRC_BIGINT_POOL* pool)
{
    if (!a || !b) return nullptr;
    ZRC_BIGINT* const divisor = ZRC_Get_BIGINT_Pool(pool); // the caller's frame takes it back
    if (!divisor || zrc::greatest_common_divisor(*divisor, *a, *b) != zrc::euclid_outcome::done) return nullptr;
    return divisor;
}

std::uint32_t zrc_Gcd_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_GCD_BIGINT, reason); };

    if (!r || !a || !b) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::pool_frame frame{pool};
    if (!frame.open()) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);

    switch (zrc::greatest_common_divisor(*r, *a, *b)) {
    case zrc::euclid_outcome::done:
        return 0;
    case zrc::euclid_outcome::no_room:
        return fail(ZRC_ERR_EXPAND_BIGINT_WORD);
    default:
        return fail(ZRC_ERR_EUCLID_FAIL);
    }
}
