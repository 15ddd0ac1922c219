// Init, Update and Final of the signature families that proven mode refuses whole: their units have the members digest,
// operation and proven, and sign when operation is 1. `fail` makes a code of a reason.
#pragma once

#include "core/owned.hpp"
#include "kestrim/digest.h"
#include "kestrim/error.h"
#include "kestrim/state.h"

#include <cstdint>

namespace zrc {

template <class Unit>
std::uint32_t init_signature(Unit* unit, std::uint32_t operation, std::int32_t digest_id, auto fail) noexcept
{
    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    unit->proven = ZRC_Is_Proven();
    if (unit->proven != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);

    owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    if (!digest) return fail(ZRC_ERR_MEM_ALLOC);
    if (ZRC_Init_DIGEST(digest.get(), digest_id) != 0) return fail(ZRC_ERR_INIT_DIGEST_FAIL);
    ZRC_Free_DIGEST_Unit(unit->digest);
    unit->digest = digest.release();
    unit->operation = operation;
    return 0;
}

template <class Unit>
std::uint32_t update_signature(Unit* unit, const std::uint8_t* data, std::int32_t length, auto fail) noexcept
{
    if (!unit || !unit->digest || !data) return fail(ZRC_ERR_NULL_INPUT);
    if (length < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (length == 0) return 0; // MD5 and HAS-160 would refuse it
    return ZRC_Update_DIGEST(unit->digest, data, length) == 0 ? 0 : fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
}

// Where a signature is written to, or read from: two numbers with their lengths.
struct signature_buffers {
    std::uint8_t* R;
    std::int32_t* R_length;
    std::uint8_t* S;
    std::int32_t* S_length;
};

template <auto Sign, auto Verify, class Unit>
std::uint32_t final_signature(Unit* unit, const signature_buffers& to, auto fail) noexcept
{
    if (!unit || !to.R || !to.R_length || !to.S || !to.S_length) return fail(ZRC_ERR_NULL_INPUT);
    if (unit->operation == 1) return Sign(unit, to.R, to.R_length, to.S, to.S_length);
    return Verify(unit, to.R, *to.R_length, to.S, *to.S_length);
}

} // namespace zrc
