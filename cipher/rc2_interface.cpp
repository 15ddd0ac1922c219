// RC2 in the modes of operation, on a block cipher unit.
#include "cipher/modes.hpp"
#include "cipher/rc2_engine.hpp"
#include "kestrim/block_modes.h"
#include "kestrim/state.h"

namespace zrc {
namespace {

// Codes of RC2 carry no function number.
struct rc2_interface {
    using key = ZRC_RC2_KEY;
    static constexpr std::size_t block_bytes = 8;
    static constexpr std::uint32_t library = ZRC_L_RC2_INTERFACE;
    static constexpr mode_functions functions{0, 0, 0, 0, 0};

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        rc2_kernels.get()(*schedule_of<key>(&unit), mode, chain, in, out, blocks);
    }
};

} // namespace
} // namespace zrc

constexpr std::uint32_t kUsualKeyBits = 128; // where the unit says nothing

using rc2_modes = zrc::modes<zrc::rc2_interface>;

std::uint32_t zrc_Init_RC2_Key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key)
{
    const auto failure = zrc::code(ZRC_L_RC2_INTERFACE, 0, ZRC_ERR_INIT_KEY_FAILURE);

    auto* schedule = zrc::schedule_of<ZRC_RC2_KEY>(unit);
    if (!schedule || !key) return failure;
    const std::uint32_t bits = unit->rc2_key_bits != 0 ? unit->rc2_key_bits : kUsualKeyBits;
    return zrc_Init_Encrypt_RC2_Key(key, unit->key_length, bits, schedule) == 0 ? 0 : failure;
}

std::uint32_t zrc_Init_RC2(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                           std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const auto failure = zrc::code(ZRC_L_RC2_INTERFACE, 0, ZRC_ERR_INIT_FAILURE);

    if (!unit) return failure;
    zrc::set_iv(*unit, iv);
    unit->encrypt = encrypt;
    return zrc_Init_RC2_Key(unit, key) == 0 ? 0 : failure;
}

std::uint32_t zrc_Do_RC2_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc2_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc2_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc2_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return rc2_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return rc2_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return rc2_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return rc2_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return rc2_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_RC2_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return rc2_modes::cfb_segments<4>(unit, out, in, length);
}
