// RC5-32/16 in the modes of operation, on a block cipher unit.
#include "cipher/modes.hpp"
#include "cipher/rc5_engine.hpp"
#include "kestrim/block_modes.h"
#include "kestrim/state.h"

namespace zrc {
namespace {

struct rc5_interface {
    using key = ZRC_RC5_KEY;
    static constexpr std::size_t block_bytes = 8;
    static constexpr std::uint32_t library = ZRC_L_RC5_INTERFACE;
    static constexpr mode_functions functions{ZRC_F_DO_RC5_ECB, ZRC_F_DO_RC5_CBC, ZRC_F_DO_RC5_CFB, ZRC_F_DO_RC5_OFB,
                                              ZRC_F_DO_RC5_CTR};

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        rc5_kernels.get()(*schedule_of<key>(&unit), mode, chain, in, out, blocks);
    }
};

} // namespace
} // namespace zrc

using rc5_modes = zrc::modes<zrc::rc5_interface>;

std::uint32_t zrc_Init_RC5_Key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key)
{
    const auto failure = zrc::code(ZRC_L_RC5_INTERFACE, ZRC_F_INIT_RC5_KEY, ZRC_ERR_INIT_KEY_FAILURE);

    auto* schedule = zrc::schedule_of<ZRC_RC5_KEY>(unit);
    if (!schedule || !key) return failure;
    return zrc_Init_Encrypt_RC5_Key(key, unit->key_length, schedule) == 0 ? 0 : failure;
}

// Init has the number 2 in the code, as in the other ciphers.
std::uint32_t zrc_Init_RC5(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                           std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const auto failure = zrc::code(ZRC_L_RC5_INTERFACE, 2, ZRC_ERR_INIT_FAILURE);

    if (!unit) return failure;
    zrc::set_iv(*unit, iv);
    unit->encrypt = encrypt;
    return zrc_Init_RC5_Key(unit, key) == 0 ? 0 : failure;
}

std::uint32_t zrc_Do_RC5_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc5_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc5_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc5_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc5_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CTR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc5_modes::ctr(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return rc5_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return rc5_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return rc5_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return rc5_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return rc5_modes::cfb_segments<4>(unit, out, in, length);
}

std::uint32_t zrc_Do_RC5_CFB64(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return rc5_modes::cfb_segments<8>(unit, out, in, length);
}
