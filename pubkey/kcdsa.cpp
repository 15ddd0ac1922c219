// The KCDSA unit: its life, keys, and the streaming interface. Signing and verifying are in kcdsa_signature.cpp.
#include "pubkey/kcdsa.hpp"

#include "bigint/operand.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/drbg.h"
#include "kestrim/memory.h"
#include "kestrim/prng.h"
#include "kestrim/state.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

using owned_digest = owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;
using owned_pool = owned<ZRC_BIGINT_POOL, ZRC_Free_BIGINT_Pool>;
using owned_prng = owned<ZRC_PRNG_UNIT, ZRC_Free_PRNG_Unit>;
using owned_unit = owned<ZRC_KCDSA_UNIT, ZRC_Free_KCDSA>;

constexpr std::size_t kMostBlockBytes = 128;

// The least lengths of keys in proven mode, those of a 224-bit q and a 2048-bit p with up to 15 zero bits on top.
constexpr std::uint32_t kLeastPrivateBits = 209, kLeastPublicBits = 2033;

bool is_too_short_in_proven_mode(const ZRC_KCDSA_UNIT& unit, std::uint32_t operation) noexcept
{
    if (ZRC_Is_Proven() == 0) return false;
    if (operation == 1) return ZRC_Get_BIGINT_Bits_Length(unit.x) < kLeastPrivateBits;
    return ZRC_Get_BIGINT_Bits_Length(unit.y) < kLeastPublicBits;
}

ZRC_DRBG_INPUT* new_random_input() noexcept
{
    constexpr std::uint32_t kNormalCollection = 2;
    auto* const input = static_cast<ZRC_DRBG_INPUT*>(ZRC_Calloc(1, sizeof(ZRC_DRBG_INPUT)));
    if (input) input->level = kNormalCollection;
    return input;
}

void release_random_input(ZRC_KCDSA_UNIT& unit) noexcept
{
    if (unit.random_is_legacy != 0) {
        ZRC_Free_PRNG_Unit(static_cast<ZRC_PRNG_UNIT*>(unit.random_input));
    } else {
        ZRC_Free_Ex(unit.random_input, sizeof(ZRC_DRBG_INPUT));
    }
    unit.random_input = nullptr;
    unit.random_is_legacy = 0;
}

// Everything but the pool, the source of random values, and what the unit is used for.
void drop_key(ZRC_KCDSA_UNIT& unit) noexcept
{
    ZRC_Free_DIGEST_Unit(unit.digest);
    for (ZRC_BIGINT* number : {unit.p, unit.q, unit.g, unit.x, unit.y, unit.z, unit.J})
        if (number) ZRC_Free_BIGINT(number);
    if (unit.pool) {
        ZRC_Clear_BIGINT_Pool(unit.pool);
        zrc_Init_BIGINT_Pool(unit.pool);
    }

    ZRC_KCDSA_UNIT rest{};
    rest.random_input = unit.random_input;
    rest.random_is_legacy = unit.random_is_legacy;
    rest.operation = unit.operation;
    rest.pool = unit.pool;
    wipe(&unit, sizeof unit);
    unit = rest;
}

// What Init adds to a unit, made before any of it is put in.
struct additions {
    owned_digest digest;
    owned_pool pool;
    owned_prng prng;

    // What the unit lacks of a digest and a pool. Returns 0 or the reason.
    std::uint32_t make(const ZRC_KCDSA_UNIT& unit, std::int32_t digest_id) noexcept
    {
        if (!unit.digest) {
            digest.reset(ZRC_New_DIGEST_Unit());
            if (!digest) return ZRC_ERR_MEM_ALLOC;
            if (ZRC_Init_DIGEST(digest.get(), digest_id) != 0) return ZRC_ERR_INIT_DIGEST_FAIL;
        }
        if (!unit.pool) {
            pool.reset(ZRC_New_BIGINT_Pool());
            if (!pool) return ZRC_ERR_MEM_ALLOC;
        }
        return 0;
    }

    void give_to(ZRC_KCDSA_UNIT& unit) noexcept
    {
        if (digest) unit.digest = digest.release();
        if (pool) unit.pool = pool.release();
        if (!prng) return;
        unit.random_input = prng.release();
        unit.random_is_legacy = 1;
    }
};

// z = y mod 2^(8 block_bytes). Returns 0 or the reason.
std::uint32_t cache_z(ZRC_KCDSA_UNIT& unit, std::size_t block_bytes) noexcept
{
    if (!unit.y) return ZRC_ERR_SUB_OPERATION_FAILURE;
    owned_number z{ZRC_New_BIGINT()};
    if (!z) return ZRC_ERR_MALLOC;
    const auto words = std::min(std::int32_t(block_bytes / sizeof(std::uint32_t)), words_of{*unit.y}.length);
    if (!grow(*z, words)) return ZRC_ERR_SUB_OPERATION_FAILURE;
    std::copy_n(unit.y->data, words, z->data);
    set_length(*z, words);
    unit.z = z.release();
    return 0;
}

} // namespace
} // namespace zrc

ZRC_KCDSA_UNIT* ZRC_New_KCDSA()
{
    zrc::owned_unit unit{static_cast<ZRC_KCDSA_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_KCDSA_UNIT)))};
    if (!unit) return nullptr;
    unit->pool = ZRC_New_BIGINT_Pool();
    unit->random_input = zrc::new_random_input();
    return unit->pool && unit->random_input ? unit.release() : nullptr;
}

void ZRC_Clean_KCDSA(ZRC_KCDSA_UNIT* unit)
{
    if (!unit) return;
    zrc::drop_key(*unit);
    if (unit->random_is_legacy != 0) zrc::release_random_input(*unit);
    if (!unit->random_input) unit->random_input = zrc::new_random_input();
}

void ZRC_Free_KCDSA(ZRC_KCDSA_UNIT* unit)
{
    if (!unit) return;
    zrc::drop_key(*unit);
    zrc::release_random_input(*unit);
    if (unit->pool) ZRC_Free_BIGINT_Pool(unit->pool);
    ZRC_Free_Ex(unit, sizeof *unit);
}

std::uint32_t ZRC_Set_KCDSA_Params(ZRC_KCDSA_UNIT* unit, const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g,
                                   const ZRC_BIGINT* x, const ZRC_BIGINT* y)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_SET_KCDSA_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;

    zrc::owned_number copies[5]; // made before the unit is cleaned: the numbers may be its own
    const ZRC_BIGINT* const given[] = {p, q, g, x, y};
    const bool copied = zrc::copy_numbers(copies, given);
    ZRC_Clean_KCDSA(unit);
    if (!p || !q || !g) return fail(ZRC_ERR_INVALID_INPUT);
    if (!copied) return fail(ZRC_ERR_COPY_BIGINT_FAIL);

    auto& [new_p, new_q, new_g, new_x, new_y] = copies;
    if (new_x && !new_y) {
        new_y.reset(ZRC_New_BIGINT());
        if (!new_y) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
        const zrc::kcdsa_domain_view domain{*new_p, *new_q, *new_g};
        const std::uint32_t failed = zrc::kcdsa_public_key(*new_y, domain, *new_x);
        if (failed != 0) return failed == zrc::kNoInverse ? fail(ZRC_ERR_SUB_OPERATION_FAILURE) : failed;
    }
    unit->p = new_p.release();
    unit->q = new_q.release();
    unit->g = new_g.release();
    unit->x = new_x.release();
    unit->y = new_y.release();
    return 0;
}

std::uint32_t ZRC_Init_KCDSA(ZRC_KCDSA_UNIT* unit, std::uint32_t operation)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_INIT_KCDSA, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;

    zrc::additions added;
    if (const std::uint32_t reason = added.make(*unit, ZRC_HAS160); reason != 0) return fail(reason);
    if (!unit->random_input) {
        added.prng.reset(ZRC_New_PRNG_Unit());
        if (!added.prng) return fail(ZRC_ERR_MEM_ALLOC);
        if (const std::uint32_t failed = ZRC_Init_PRNG(added.prng.get(), ZRC_HAS160, nullptr)) return failed;
    }
    added.give_to(*unit);
    unit->operation = operation;
    return 0;
}

std::uint32_t ZRC_Init_KCDSA_Ex(ZRC_KCDSA_UNIT* unit, std::uint32_t operation, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_INIT_KCDSA_EX, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (zrc::is_too_short_in_proven_mode(*unit, operation)) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (ZRC_Is_Proven() != 0 && digest_id != ZRC_SHA224 && digest_id != ZRC_SHA256)
        return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);

    zrc::additions added;
    if (const std::uint32_t reason = added.make(*unit, digest_id); reason != 0) return fail(reason);
    added.give_to(*unit);
    unit->operation = operation;
    return 0;
}

std::uint32_t ZRC_Update_KCDSA(ZRC_KCDSA_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_UPDATE_KCDSA, reason); };

    if (!unit || !unit->digest || !data || length < 1) return fail(ZRC_ERR_NULL_INPUT);
    const auto block_bytes = std::size_t(unit->digest->block_length);
    if (!unit->z) {
        if (const std::uint32_t reason = zrc::cache_z(*unit, block_bytes); reason != 0) return fail(reason);
    }

    // In front of the data of every call, not of the first alone.
    std::array<std::uint8_t, zrc::kMostBlockBytes> prefix{};
    const std::size_t z_bytes = (ZRC_Get_BIGINT_Bits_Length(unit->z) + 7) / 8;
    if (z_bytes > block_bytes) return fail(ZRC_ERR_SUB_BIGINT_FAIL); // the digest is not the one that z was made for
    ZRC_BIGINT_To_Binary_Unsigned(unit->z, prefix.data() + (block_bytes - z_bytes));
    if (ZRC_Update_DIGEST(unit->digest, prefix.data(), std::int32_t(block_bytes)) != 0 ||
        ZRC_Update_DIGEST(unit->digest, data, length) != 0)
        return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    return 0;
}

std::uint32_t ZRC_Final_KCDSA(ZRC_KCDSA_UNIT* unit, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S,
                              std::int32_t* S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_FINAL_KCDSA, reason); };

    if (!unit || !R || !R_length || !S || !S_length) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::is_too_short_in_proven_mode(*unit, unit->operation)) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (unit->operation == 1) return ZRC_Sign_KCDSA(unit, R, R_length, S, S_length);
    return ZRC_Verify_KCDSA(unit, R, *R_length, S, *S_length);
}

std::uint32_t ZRC_Get_KCDSA_Length(const ZRC_KCDSA_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0 || !unit) return 0;
    return (ZRC_Get_BIGINT_Bits_Length(unit->q) + 7) / 8;
}
