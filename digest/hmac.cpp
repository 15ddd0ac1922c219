// HMAC (FIPS 198-1, RFC 2104) over the digest unit.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"

#include <cstdint>
#include <cstring>

namespace zrc {
namespace {

constexpr std::int32_t kKeyBlockBytes = sizeof(ZRC_HMAC_UNIT::key); // the longest block of any digest
constexpr std::size_t kDigestBytes = 64;                            // the longest digest
constexpr std::uint8_t kInnerPad = 0x36;
constexpr std::uint8_t kOuterPad = 0x5C;

enum status : std::int32_t {
    kKeyed = 1,
    kAbsorbing = 2,
    kFinished = 3,
};

using owned_hmac_unit = owned<ZRC_HMAC_UNIT, ZRC_Free_HMAC_Unit>;

// The inner snapshot is the last thing that Init makes: without it the unit is fresh, or its Init failed.
bool is_keyed(const ZRC_HMAC_UNIT& unit) noexcept
{
    return unit.inner_state != nullptr;
}

std::uint8_t* take_snapshot(const ZRC_DIGEST_UNIT& digest) noexcept
{
    const auto bytes = std::uint32_t(digest.state_length);
    auto* snapshot = static_cast<std::uint8_t*>(ZRC_Malloc(bytes));
    if (snapshot) std::memcpy(snapshot, digest.state, bytes);
    return snapshot;
}

void restore_snapshot(ZRC_DIGEST_UNIT& digest, const std::uint8_t* snapshot) noexcept
{
    std::memcpy(digest.state, snapshot, std::size_t(digest.state_length));
}

// Fills the key block: the key itself, or its digest when it is longer than the digest's block. Returns 0 or a reason.
std::uint32_t load_key(ZRC_HMAC_UNIT& unit, const std::uint8_t* key, std::int32_t key_length) noexcept
{
    ZRC_DIGEST_UNIT* digest = unit.digest_unit;
    const std::int32_t block_length = digest->block_length;

    if (block_length > kKeyBlockBytes) return ZRC_ERR_SUB_OPERATION_FAILURE;
    if (key_length > block_length) {
        if (ZRC_Update_DIGEST(digest, key, key_length) != 0) return ZRC_ERR_UPDATE_DIGEST_FAIL;
        if (ZRC_Final_DIGEST(digest, unit.key, &unit.key_length) != 0) return ZRC_ERR_FINAL_DIGEST_FAIL;
    } else {
        if (key_length < 0) return ZRC_ERR_SUB_OPERATION_FAILURE;
        std::memcpy(unit.key, key, std::size_t(key_length));
        unit.key_length = key_length;
    }
    // MDC-2 has a digest longer than its block: only the first block of it is ever used.
    if (unit.key_length < block_length) {
        std::memset(unit.key + unit.key_length, 0, std::size_t(block_length - unit.key_length));
    }
    return 0;
}

bool absorb_pad(ZRC_HMAC_UNIT& unit, std::uint8_t pad) noexcept
{
    secret_array<std::uint8_t, kKeyBlockBytes> block;
    for (std::size_t i = 0; i < sizeof unit.key; ++i)
        block[i] = unit.key[i] ^ pad;
    return ZRC_Update_DIGEST(unit.digest_unit, block.data(), unit.digest_unit->block_length) == 0;
}

} // namespace
} // namespace zrc

ZRC_HMAC_UNIT* ZRC_New_HMAC_Unit()
{
    return zrc_New_HMAC_Unit_Ex(0);
}

ZRC_HMAC_UNIT* zrc_New_HMAC_Unit_Ex(std::int32_t no_mdc2)
{
    auto* unit = static_cast<ZRC_HMAC_UNIT*>(ZRC_Malloc(sizeof(ZRC_HMAC_UNIT)));
    if (!unit) return nullptr;
    std::memset(unit, 0, sizeof *unit);
    unit->no_mdc2 = no_mdc2;
    return unit;
}

std::uint32_t ZRC_Init_HMAC(ZRC_HMAC_UNIT* unit, std::int32_t digest_id, const std::uint8_t* key,
                            std::int32_t key_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_HMAC, ZRC_F_INIT_HMAC, reason); };

    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit || !key) return fail(ZRC_ERR_NULL_INPUT);
    ZRC_Clean_HMAC_Unit(unit);
    unit->algorithm_id = digest_id | ZRC_HMAC_FLAG;
    unit->initialized = -1;
    unit->digest_unit = zrc_New_DIGEST_Unit_Ex(unit->no_mdc2);
    unit->status = zrc::kKeyed;

    ZRC_DIGEST_UNIT* digest = unit->digest_unit;
    if (ZRC_Init_DIGEST(digest, digest_id) != 0) return fail(ZRC_ERR_INIT_DIGEST_FAIL); // refuses a null unit, too
    unit->state_length = digest->state_length;
    if (const std::uint32_t reason = zrc::load_key(*unit, key, key_length)) return fail(reason);

    if (!zrc::absorb_pad(*unit, zrc::kOuterPad)) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    unit->outer_state = zrc::take_snapshot(*digest);
    if (!unit->outer_state) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);

    digest->init_fn(digest->state);
    if (!zrc::absorb_pad(*unit, zrc::kInnerPad)) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    unit->inner_state = zrc::take_snapshot(*digest);
    if (!unit->inner_state) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

std::uint32_t ZRC_Update_HMAC(ZRC_HMAC_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_HMAC, ZRC_F_UPDATE_HMAC, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (length <= 0) return fail(ZRC_ERR_INVALID_INPUT); // unlike the digest unit, which takes a length of 0
    if (!zrc::is_keyed(*unit)) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    if (unit->status == zrc::kFinished) {
        zrc::restore_snapshot(*unit->digest_unit, unit->inner_state);
        unit->status = zrc::kKeyed;
    }
    if (ZRC_Update_DIGEST(unit->digest_unit, data, length) != 0) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    unit->status = zrc::kAbsorbing;
    return 0;
}

std::uint32_t ZRC_Final_HMAC(ZRC_HMAC_UNIT* unit, std::uint8_t* output, std::int32_t* output_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_HMAC, ZRC_F_FINAL_HMAC, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    // A null output is refused before the message is finished, so that the caller loses nothing.
    if (!output || !zrc::is_keyed(*unit)) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);

    ZRC_DIGEST_UNIT* digest = unit->digest_unit;
    zrc::secret_array<std::uint8_t, zrc::kDigestBytes> inner_hash;
    std::int32_t inner_length = 0;
    if (ZRC_Final_DIGEST(digest, inner_hash.data(), &inner_length) != 0) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);
    zrc::restore_snapshot(*digest, unit->outer_state);
    if (ZRC_Update_DIGEST(digest, inner_hash.data(), inner_length) != 0) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    if (ZRC_Final_DIGEST(digest, output, output_length) != 0) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);
    unit->status = zrc::kFinished;
    return 0;
}

void ZRC_Clean_HMAC_Unit(ZRC_HMAC_UNIT* unit)
{
    if (!unit || unit->initialized != -1) return;
    ZRC_Free_DIGEST_Unit(unit->digest_unit);
    ZRC_Free_Ex(unit->inner_state, std::uint32_t(unit->state_length));
    ZRC_Free_Ex(unit->outer_state, std::uint32_t(unit->state_length));
    zrc::wipe(unit, sizeof *unit);
}

void ZRC_Free_HMAC_Unit(ZRC_HMAC_UNIT* unit)
{
    ZRC_Clean_HMAC_Unit(unit);
    ZRC_Free(unit);
}

std::uint32_t ZRC_HMAC(std::int32_t digest_id, const std::uint8_t* key, std::int32_t key_length,
                       const std::uint8_t* data, std::int32_t data_length, std::uint8_t* output,
                       std::int32_t* output_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_HMAC, ZRC_F_HMAC, reason); };

    const zrc::owned_hmac_unit unit{ZRC_New_HMAC_Unit()};
    if (!unit) return fail(ZRC_ERR_MEM_ALLOC);
    if (ZRC_Init_HMAC(unit.get(), digest_id, key, key_length) != 0) return fail(ZRC_ERR_INIT_FAILURE);
    if (ZRC_Update_HMAC(unit.get(), data, data_length) != 0) return fail(ZRC_ERR_UPDATE_FAILURE);
    if (ZRC_Final_HMAC(unit.get(), output, output_length) != 0) return fail(ZRC_ERR_FINAL_FAILURE);
    return 0;
}

char* ZRC_Get_HMAC_Name(std::int32_t hmac_id)
{
    static constexpr char kPrefix[] = "HMAC_";

    if (ZRC_Crypto_Initialize() != 0 || (hmac_id & ZRC_HMAC_FLAG) == 0) return nullptr;
    const char* digest_name = ZRC_Get_DIGEST_Alg_Name(hmac_id & ~ZRC_HMAC_FLAG);
    if (!digest_name) return nullptr;

    const std::size_t digest_name_bytes = std::strlen(digest_name) + 1;
    auto* name = static_cast<char*>(ZRC_Malloc(std::uint32_t(sizeof kPrefix - 1 + digest_name_bytes)));
    if (!name) return nullptr;
    std::memcpy(name, kPrefix, sizeof kPrefix - 1);
    std::memcpy(name + sizeof kPrefix - 1, digest_name, digest_name_bytes);
    return name;
}
