// CBC-MAC over the block cipher unit.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim/cbc_mac.h"
#include "kestrim/memory.h"
#include "kestrim/state.h"

#include <cstring>

namespace zrc {
namespace {

using owned_cbc_mac_unit = owned<ZRC_CBC_MAC_UNIT, ZRC_Free_CBC_MAC_Unit>;

// Bytes of a block; 0 while the unit is not initialised.
std::uint32_t block_length(const ZRC_CBC_MAC_UNIT* unit) noexcept
{
    return unit && unit->cipher ? unit->cipher->block_length : 0;
}

bool absorb_block(ZRC_CBC_MAC_UNIT& unit, const std::uint8_t* data, std::uint32_t bytes) noexcept
{
    for (std::uint32_t i = 0; i < bytes; ++i)
        unit.block[i] = data[i] ^ unit.chain[i];
    std::int32_t written = 0;
    return ZRC_Update_BLOCK_CIPHER(unit.cipher, unit.chain, &written, unit.block, std::int32_t(bytes)) == 0;
}

} // namespace
} // namespace zrc

ZRC_CBC_MAC_UNIT* ZRC_New_CBC_MAC_Unit()
{
    auto* unit = static_cast<ZRC_CBC_MAC_UNIT*>(ZRC_Malloc(sizeof(ZRC_CBC_MAC_UNIT)));
    if (!unit) return nullptr;
    std::memset(unit, 0, sizeof *unit);
    unit->cipher = ZRC_New_BLOCK_CIPHER_Unit();
    if (unit->cipher) return unit;
    ZRC_Free(unit);
    return nullptr;
}

std::uint32_t ZRC_Init_CBC_MAC(ZRC_CBC_MAC_UNIT* unit, std::int32_t id, const std::uint8_t* key)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_CBC_MAC, ZRC_F_INIT_CBC_MAC, reason); };

    if (ZRC_Is_Proven() == 1) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    ZRC_Clean_CBC_MAC_Unit(unit);
    if (!unit || !key) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t cipher = std::uint32_t(id) & 0xFFFFFF00; // ECB
    if (ZRC_Init_BLOCK_CIPHER(unit->cipher, cipher, key, nullptr, 1) != 0) {
        ZRC_Clean_BLOCK_CIPHER_Unit(unit->cipher);
        return fail(ZRC_ERR_INIT_BLOCKCIPHER_FAIL);
    }
    return 0;
}

std::uint32_t ZRC_Update_CBC_MAC(ZRC_CBC_MAC_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    const auto failure = zrc::code(ZRC_L_CBC_MAC, ZRC_F_UPDATE_CBC_MAC, ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL);

    // Only whole blocks: a shorter last one would be read past its end.
    const std::uint32_t block = zrc::block_length(unit);
    if (block == 0 || !data || length < 0 || std::uint32_t(length) % block != 0) return failure;
    for (std::uint32_t at = 0; at < std::uint32_t(length); at += block) {
        if (!zrc::absorb_block(*unit, data + at, block)) return failure;
    }
    zrc::wipe(unit->block, sizeof unit->block);
    return 0;
}

std::uint32_t ZRC_Final_CBC_MAC(ZRC_CBC_MAC_UNIT* unit, std::uint8_t* output, std::int32_t* output_length)
{
    const std::uint32_t block = zrc::block_length(unit);
    if (block == 0 || !output) {
        return zrc::code(ZRC_L_CBC_MAC, ZRC_F_FINAL_CBC_MAC, ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL);
    }
    std::memcpy(output, unit->chain, block);
    if (output_length) *output_length = std::int32_t(block);
    return 0;
}

void ZRC_Clean_CBC_MAC_Unit(ZRC_CBC_MAC_UNIT* unit)
{
    if (!unit) return;
    ZRC_Clean_BLOCK_CIPHER_Unit(unit->cipher);
    zrc::wipe(unit->chain, sizeof unit->chain);
    zrc::wipe(unit->block, sizeof unit->block);
    unit->count = 0;
}

void ZRC_Free_CBC_MAC_Unit(ZRC_CBC_MAC_UNIT* unit)
{
    if (!unit) return;
    ZRC_Clean_CBC_MAC_Unit(unit);
    ZRC_Free_BLOCK_CIPHER_Unit(unit->cipher);
    ZRC_Free(unit);
}

std::uint32_t ZRC_CBC_MAC(std::int32_t id, const std::uint8_t* key, const std::uint8_t* data, std::int32_t length,
                          std::uint8_t* output, std::int32_t* output_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_CBC_MAC, ZRC_F_CBC_MAC, reason); };

    const zrc::owned_cbc_mac_unit unit{ZRC_New_CBC_MAC_Unit()};
    if (!unit) return fail(ZRC_ERR_MEM_ALLOC);
    if (ZRC_Init_CBC_MAC(unit.get(), id, key) != 0) return fail(ZRC_ERR_INIT_FAILURE);
    if (ZRC_Update_CBC_MAC(unit.get(), data, length) != 0) return fail(ZRC_ERR_UPDATE_FAILURE);
    if (ZRC_Final_CBC_MAC(unit.get(), output, output_length) != 0) return fail(ZRC_ERR_FINAL_FAILURE);
    return 0;
}
