// The digest unit: one front end over the table of algorithms.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace zrc {
namespace {

struct digest_algorithm {
    std::int32_t id;
    const char* name;
    std::int32_t digest_length;
    std::int32_t block_length;
    std::int32_t state_length;
    bool approved; // may be used in proven mode
    std::uint32_t (*init)(void* state);
    std::uint32_t (*update)(void* state, const std::uint8_t* data, std::uint32_t length);
    std::uint32_t (*final)(void* state, std::uint8_t* output);
};

// The unit's operations take an untyped record; here the algorithm's typed functions are put behind them.
template <class State, auto Init, auto Update, auto Final>
constexpr digest_algorithm algorithm(std::int32_t id, const char* name, std::int32_t digest_length,
                                     std::int32_t block_length, bool approved)
{
    return {id,
            name,
            digest_length,
            block_length,
            sizeof(State),
            approved,
            [](void* state) { return Init(static_cast<State*>(state)); },
            [](void* state, const std::uint8_t* data, std::uint32_t length) {
                return Update(static_cast<State*>(state), data, length);
            },
            [](void* state, std::uint8_t* output) { return Final(static_cast<State*>(state), output); }};
}

constexpr std::array kDigests = {
    algorithm<ZRC_MD5_STATE, zrc_Init_MD5, zrc_Update_MD5, zrc_Final_MD5>(ZRC_MD5, "MD5", 16, 64, false),
    algorithm<ZRC_SHA1_STATE, zrc_Init_SHA1, zrc_Update_SHA1, zrc_Final_SHA1>(ZRC_SHA1, "SHA1", 20, 64, false),
    algorithm<ZRC_SHA256_STATE, zrc_Init_SHA224, zrc_Update_SHA224, zrc_Final_SHA224>(ZRC_SHA224, "SHA224", 28, 64,
                                                                                      true),
    algorithm<ZRC_SHA256_STATE, zrc_Init_SHA256, zrc_Update_SHA256, zrc_Final_SHA256>(ZRC_SHA256, "SHA256", 32, 64,
                                                                                      true),
    algorithm<ZRC_SHA512_STATE, zrc_Init_SHA384, zrc_Update_SHA384, zrc_Final_SHA384>(ZRC_SHA384, "SHA384", 48, 128,
                                                                                      true),
    algorithm<ZRC_SHA512_STATE, zrc_Init_SHA512, zrc_Update_SHA512, zrc_Final_SHA512>(ZRC_SHA512, "SHA512", 64, 128,
                                                                                      true),
    algorithm<ZRC_HAS160_STATE, zrc_Init_HAS160, zrc_Update_HAS160, zrc_Final_HAS160>(ZRC_HAS160, "HAS160", 20, 64,
                                                                                      false),
    algorithm<ZRC_MDC2_STATE, zrc_Init_MDC2, zrc_Update_MDC2, zrc_Final_MDC2>(ZRC_MDC2, "MDC2", 16, 8, false),
};

const digest_algorithm* find_digest(std::int32_t id) noexcept
{
    for (const digest_algorithm& digest : kDigests) {
        if (digest.id == id) return &digest;
    }
    return nullptr;
}

constexpr char upper(char c) noexcept
{
    return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
}

using owned_digest_unit = owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;

} // namespace
} // namespace zrc

ZRC_DIGEST_UNIT* ZRC_New_DIGEST_Unit()
{
    return zrc_New_DIGEST_Unit_Ex(0);
}

ZRC_DIGEST_UNIT* zrc_New_DIGEST_Unit_Ex(std::int32_t no_mdc2)
{
    auto* unit = static_cast<ZRC_DIGEST_UNIT*>(ZRC_Malloc(sizeof(ZRC_DIGEST_UNIT)));
    if (!unit) return nullptr;
    std::memset(unit, 0, sizeof *unit);
    unit->no_mdc2 = std::uint8_t(no_mdc2); // the low byte alone counts
    return unit;
}

std::uint32_t ZRC_Init_DIGEST(ZRC_DIGEST_UNIT* unit, std::int32_t algorithm_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DIGEST, ZRC_F_INIT_DIGEST, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    ZRC_Clean_DIGEST_Unit(unit);
    unit->initialized = -1;
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (zrc_Init_DIGEST_Alg(unit, algorithm_id) != 0) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);

    const auto state_bytes = std::uint32_t(unit->state_length);
    unit->state = ZRC_Malloc(state_bytes);
    if (!unit->state) return fail(ZRC_ERR_INIT_DIGEST_FAIL);
    std::memset(unit->state, 0, state_bytes);
    if (unit->init_fn(unit->state) != 0) return fail(ZRC_ERR_INIT_DIGEST_FAIL);
    return 0;
}

std::uint32_t zrc_Init_DIGEST_Alg(ZRC_DIGEST_UNIT* unit, std::int32_t algorithm_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DIGEST, ZRC_F_INIT_DIGEST_ALG, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    unit->algorithm_id = algorithm_id;

    // A refusal in proven mode keeps the identifier, one for any other reason does not.
    const zrc::digest_algorithm* digest = zrc::find_digest(algorithm_id);
    if (digest && !digest->approved && ZRC_Is_Proven() == 1) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (!digest || (algorithm_id == ZRC_MDC2 && unit->no_mdc2 != 0)) {
        unit->algorithm_id = 0;
        return fail(ZRC_ERR_INVALID_ALGORITHM_ID);
    }

    unit->block_length = digest->block_length;
    unit->digest_length = digest->digest_length;
    unit->state = nullptr;
    unit->state_length = digest->state_length;
    unit->init_fn = digest->init;
    unit->update_fn = digest->update;
    unit->final_fn = digest->final;
    return 0;
}

std::uint32_t ZRC_Update_DIGEST(ZRC_DIGEST_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DIGEST, ZRC_F_UPDATE_DIGEST, reason); };

    if (!unit || !data) return fail(ZRC_ERR_NULL_INPUT);
    if (length < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (!unit->state) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    if (unit->update_fn(unit->state, data, std::uint32_t(length)) != 0) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    return 0;
}

std::uint32_t ZRC_Final_DIGEST(ZRC_DIGEST_UNIT* unit, std::uint8_t* output, std::int32_t* output_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DIGEST, ZRC_F_FINAL_DIGEST, reason); };

    if (!unit || !output) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->state) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);
    if (unit->final_fn(unit->state, output) != 0) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);
    unit->init_fn(unit->state);
    if (output_length) *output_length = unit->digest_length;
    return 0;
}

void ZRC_Clean_DIGEST_Unit(ZRC_DIGEST_UNIT* unit)
{
    if (!unit || unit->initialized != -1) return;
    if (unit->state) ZRC_Free_Ex(unit->state, std::uint32_t(unit->state_length));
    zrc::wipe(unit, sizeof *unit);
}

void ZRC_Free_DIGEST_Unit(ZRC_DIGEST_UNIT* unit)
{
    ZRC_Clean_DIGEST_Unit(unit);
    ZRC_Free(unit);
}

std::uint32_t ZRC_DIGEST(std::int32_t algorithm_id, const std::uint8_t* data, std::int32_t length, std::uint8_t* output,
                         std::int32_t* output_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DIGEST, ZRC_F_DIGEST, reason); };

    if (!data) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::owned_digest_unit unit{ZRC_New_DIGEST_Unit()};
    if (!unit) return fail(ZRC_ERR_MALLOC);
    if (ZRC_Init_DIGEST(unit.get(), algorithm_id) != 0) return fail(ZRC_ERR_INIT_DIGEST_FAIL);
    if (ZRC_Update_DIGEST(unit.get(), data, length) != 0) return fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
    if (ZRC_Final_DIGEST(unit.get(), output, output_length) != 0) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);
    return 0;
}

std::int32_t ZRC_Get_DIGEST_Length(std::int32_t algorithm_id)
{
    if (ZRC_Crypto_Initialize() != 0) return 0;
    const zrc::digest_algorithm* digest = zrc::find_digest(algorithm_id);
    return digest ? digest->digest_length : 0;
}

const char* ZRC_Get_DIGEST_Alg_Name(std::int32_t algorithm_id)
{
    if (ZRC_Crypto_Initialize() != 0) return nullptr;
    const zrc::digest_algorithm* digest = zrc::find_digest(algorithm_id);
    return digest ? digest->name : nullptr;
}

std::int32_t ZRC_Get_DIGEST_Alg_ID(const ZRC_DIGEST_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0) return 0;
    return unit ? unit->algorithm_id : 0;
}

std::int32_t ZRC_Get_DIGEST_Alg_ID_By_Name(const char* name)
{
    if (ZRC_Crypto_Initialize() != 0 || !name) return 0;

    // A name that fills the buffer leaves no terminating zero byte in it and matches none of the shorter ones below.
    std::array<char, 16> wanted{};
    for (std::size_t i = 0; i < wanted.size() && name[i] != '\0'; ++i)
        wanted[i] = zrc::upper(name[i]);

    for (const zrc::digest_algorithm& digest : zrc::kDigests) {
        if (std::memcmp(wanted.data(), digest.name, std::strlen(digest.name) + 1) == 0) return digest.id;
    }
    return 0;
}
