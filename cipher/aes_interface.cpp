// AES in the modes of operation, on a block cipher unit.
#include "cipher/aes_engine.hpp"
#include "cipher/modes.hpp"
#include "kestrim/block_modes.h"
#include "kestrim/state.h"

namespace zrc {
namespace {

struct aes_interface {
    using key = ZRC_AES_KEY;
    static constexpr std::size_t block_bytes = 16;
    static constexpr std::uint32_t library = ZRC_L_AES_INTERFACE;
    static constexpr mode_functions functions{ZRC_F_DO_AES_ECB, ZRC_F_DO_AES_CBC, ZRC_F_DO_AES_CFB, ZRC_F_DO_AES_OFB,
                                              ZRC_F_DO_AES_CTR};

    static bool is_keyed(const key& schedule) noexcept { return zrc::is_keyed(schedule); }

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        aes_kernels.get()(*schedule_of<key>(&unit), mode, chain, in, out, blocks);
    }
};

} // namespace
} // namespace zrc

using aes_modes = zrc::modes<zrc::aes_interface>;

std::uint32_t zrc_Init_AES_Key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, std::uint32_t encrypt)
{
    auto* schedule = zrc::schedule_of<ZRC_AES_KEY>(unit);
    const bool decryption = schedule && zrc::wants_decryption_schedule(*unit, encrypt);
    const auto build = decryption ? zrc_Init_Decrypt_AES_Key : zrc_Init_Encrypt_AES_Key;
    if (!schedule || build(key, unit->key_length, schedule) != 0) {
        return zrc::code(ZRC_L_AES_INTERFACE, ZRC_F_INIT_AES_KEY, ZRC_ERR_INIT_KEY_FAILURE);
    }
    return 0;
}

// The code carries ARIA's numbers: a documented oddity.
std::uint32_t zrc_Init_AES(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                           std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const auto failure = zrc::code(ZRC_L_ARIA_INTERFACE, ZRC_F_INIT_ARIA, ZRC_ERR_INIT_KEY_FAILURE);

    if (!unit) return failure;
    zrc::set_iv(*unit, iv);
    unit->encrypt = encrypt;
    return zrc_Init_AES_Key(unit, key, encrypt) == 0 ? 0 : failure;
}

std::uint32_t zrc_Do_AES_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return aes_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return aes_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return aes_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return aes_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CTR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                             std::int32_t length)
{
    return aes_modes::ctr(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aes_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aes_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aes_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return aes_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return aes_modes::cfb_segments<4>(unit, out, in, length);
}

std::uint32_t zrc_Do_AES_CFB64(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return aes_modes::cfb_segments<8>(unit, out, in, length);
}
