// SEED in the modes of operation, on a block cipher unit.
#include "cipher/modes.hpp"
#include "cipher/seed_engine.hpp"
#include "kestrim/block_modes.h"
#include "kestrim/state.h"

namespace zrc {
namespace {

struct seed_interface {
    using key = ZRC_SEED_KEY;
    static constexpr std::size_t block_bytes = 16;
    static constexpr std::uint32_t library = ZRC_L_SEED_INTERFACE;
    static constexpr mode_functions functions{ZRC_F_DO_SEED_ECB, ZRC_F_DO_SEED_CBC, ZRC_F_DO_SEED_CFB,
                                              ZRC_F_DO_SEED_OFB, ZRC_F_DO_SEED_CTR};

    static bool is_keyed(const key& schedule) noexcept { return zrc::is_keyed(schedule); }

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        seed_kernels.get()(*schedule_of<key>(&unit), mode, chain, in, out, blocks);
    }
};

} // namespace
} // namespace zrc

using seed_modes = zrc::modes<zrc::seed_interface>;

std::uint32_t zrc_Init_SEED_Key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key)
{
    const auto failure = zrc::code(ZRC_L_SEED_INTERFACE, ZRC_F_INIT_SEED_KEY, ZRC_ERR_INIT_KEY_FAILURE);

    auto* schedule = zrc::schedule_of<ZRC_SEED_KEY>(unit);
    if (!schedule || !key) return failure;
    if (unit->key_length == 16) return zrc_Init_Encrypt_SEED_Key(key, schedule) == 0 ? 0 : failure;
    if (unit->key_length == 32) return zrc_Init_Encrypt_SEED_Key_256(key, schedule) == 0 ? 0 : failure;
    return failure;
}

std::uint32_t zrc_Init_SEED(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                            std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const auto failure = zrc::code(ZRC_L_SEED_INTERFACE, ZRC_F_INIT_SEED, ZRC_ERR_INIT_FAILURE);

    if (!unit) return failure;
    zrc::set_iv(*unit, iv);
    unit->encrypt = encrypt;
    return zrc_Init_SEED_Key(unit, key) == 0 ? 0 : failure;
}

std::uint32_t zrc_Do_SEED_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return seed_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return seed_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return seed_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return seed_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CTR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return seed_modes::ctr(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return seed_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return seed_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return seed_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                std::int32_t length)
{
    return seed_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                std::int32_t length)
{
    return seed_modes::cfb_segments<4>(unit, out, in, length);
}

std::uint32_t zrc_Do_SEED_CFB64(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                std::int32_t length)
{
    return seed_modes::cfb_segments<8>(unit, out, in, length);
}
