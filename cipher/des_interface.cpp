// DES and triple DES in the modes of operation, on a block cipher unit.
#include "cipher/des_engine.hpp"
#include "cipher/modes.hpp"
#include "kestrim/block_modes.h"
#include "kestrim/state.h"

namespace zrc {
namespace {

// 1 for the encryption schedule: always where the unit encrypts, and in the modes that only encipher.
std::uint16_t schedule_direction(const ZRC_BLOCK_CIPHER_UNIT& unit, std::uint32_t encrypt) noexcept
{
    switch (unit.mode & 0xFE) {
    case ZRC_MODE_CFB:
    case ZRC_MODE_CFB1:
    case ZRC_MODE_CFB8:
    case ZRC_MODE_CFB16:
    case ZRC_MODE_CFB32:
    case ZRC_MODE_OFB:
    case ZRC_MODE_CTR:
        return 1;
    default:
        return encrypt != 0 ? 1 : 0;
    }
}

struct des_interface {
    using key = ZRC_DES_KEY;
    static constexpr std::size_t block_bytes = 8;
    static constexpr std::uint32_t library = ZRC_L_DES_INTERFACE;
    static constexpr mode_functions functions{ZRC_F_DO_DES_ECB, ZRC_F_DO_DES_CBC, ZRC_F_DO_DES_CFB, ZRC_F_DO_DES_OFB,
                                              ZRC_F_DO_DES_CTR};

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        des_kernels.get()(*schedule_of<key>(&unit), mode, chain, in, out, blocks);
    }
};

struct des_ede_interface {
    using key = ZRC_DES_EDE_KEY;
    static constexpr std::size_t block_bytes = 8;
    static constexpr std::uint32_t library = ZRC_L_DES_EDE_INTERFACE;
    static constexpr mode_functions functions{ZRC_F_DO_DES_EDE_ECB, ZRC_F_DO_DES_EDE_CBC, ZRC_F_DO_DES_EDE_CFB,
                                              ZRC_F_DO_DES_EDE_OFB, ZRC_F_DO_DES_EDE_CTR};

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        des_ede_kernels.get()(*schedule_of<key>(&unit), mode, chain, in, out, blocks);
    }
};

} // namespace
} // namespace zrc

using des_modes = zrc::modes<zrc::des_interface>;
using des_ede_modes = zrc::modes<zrc::des_ede_interface>;

std::uint32_t zrc_Init_DES_Key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, std::uint32_t encrypt)
{
    auto* schedule = zrc::schedule_of<ZRC_DES_KEY>(unit);
    if (!schedule || zrc_Init_Encrypt_DES_Key(key, schedule, zrc::schedule_direction(*unit, encrypt)) != 0) {
        return zrc::code(ZRC_L_DES_INTERFACE, ZRC_F_INIT_DES_KEY, ZRC_ERR_INIT_KEY_FAILURE);
    }
    return 0;
}

std::uint32_t zrc_Init_DES_EDE_key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, std::uint32_t encrypt)
{
    auto* schedule = zrc::schedule_of<ZRC_DES_EDE_KEY>(unit);
    if (!schedule ||
        zrc_Init_Encrypt_DES_EDE_KEY(key, unit->key_length, schedule, zrc::schedule_direction(*unit, encrypt)) != 0) {
        return zrc::code(ZRC_L_DES_EDE_INTERFACE, ZRC_F_INIT_DES_EDE_KEY, ZRC_ERR_INIT_KEY_FAILURE);
    }
    return 0;
}

// The result of the key schedule is not passed on, and a null key leaves the unit unkeyed.
std::uint32_t zrc_Init_DES(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                           std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit) return 0;
    zrc::set_iv(*unit, iv);
    if (key) zrc_Init_DES_Key(unit, key, encrypt);
    unit->encrypt = encrypt;
    return 0;
}

// The result of the key schedule is not passed on, and a null key leaves the unit unkeyed.
std::uint32_t zrc_Init_DES_EDE(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                               std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit) return 0;
    zrc::set_iv(*unit, iv);
    if (key) zrc_Init_DES_EDE_key(unit, key, encrypt);
    unit->encrypt = encrypt;
    return 0;
}

std::uint32_t zrc_Do_DES_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return des_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return des_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return des_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return des_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CTR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return des_modes::ctr(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return des_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return des_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return des_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return des_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return des_modes::cfb_segments<4>(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                 std::int32_t length)
{
    return des_ede_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                 std::int32_t length)
{
    return des_ede_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                 std::int32_t length)
{
    return des_ede_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                 std::int32_t length)
{
    return des_ede_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CTR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                 std::int32_t length)
{
    return des_ede_modes::ctr(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                  std::int32_t length)
{
    return des_ede_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                  std::int32_t length)
{
    return des_ede_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                  std::int32_t length)
{
    return des_ede_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                   std::int32_t length)
{
    return des_ede_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_DES_EDE_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                   std::int32_t length)
{
    return des_ede_modes::cfb_segments<4>(unit, out, in, length);
}
