// ARIA in the modes of operation, on a block cipher unit.
#include "cipher/aria_engine.hpp"
#include "cipher/modes.hpp"
#include "kestrim/block_modes.h"
#include "kestrim/state.h"

namespace zrc {
namespace {

// A unit keyed to decipher CFB128 has the decryption half of the schedule only; CFB needs the other. A half that was
// never written is zero, which the first round key of a keyed one is for one key in 2^128 (and its derived form is then
// the same).
bool lacks_forward_schedule(const ZRC_BLOCK_CIPHER_UNIT& unit, const ZRC_ARIA_KEY& schedule) noexcept
{
    const std::uint32_t* first = schedule.encrypt;
    return unit.mode == ZRC_MODE_CFB128 && (first[0] | first[1] | first[2] | first[3]) == 0;
}

struct aria_interface {
    using key = ZRC_ARIA_KEY;
    static constexpr std::size_t block_bytes = 16;
    static constexpr std::uint32_t library = ZRC_L_ARIA_INTERFACE;
    static constexpr mode_functions functions{ZRC_F_DO_ARIA_ECB, ZRC_F_DO_ARIA_CBC, ZRC_F_DO_ARIA_CFB,
                                              ZRC_F_DO_ARIA_OFB, ZRC_F_DO_ARIA_CTR};

    static bool is_keyed(const key& schedule) noexcept { return zrc::is_keyed(schedule); }

    static void run(const ZRC_BLOCK_CIPHER_UNIT& unit, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        const key& schedule = *schedule_of<key>(&unit);
        if (uses_decryption(mode) || !lacks_forward_schedule(unit, schedule)) {
            return aria_kernels.get()(schedule, mode, chain, in, out, blocks);
        }
        secret<key> forward;
        aria_forward_schedule(schedule, *forward);
        aria_kernels.get()(*forward, mode, chain, in, out, blocks);
    }
};

} // namespace
} // namespace zrc

using aria_modes = zrc::modes<zrc::aria_interface>;

std::uint32_t zrc_Init_ARIA_Key(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, std::uint32_t encrypt)
{
    auto* schedule = zrc::schedule_of<ZRC_ARIA_KEY>(unit);
    const bool decryption = schedule && zrc::wants_decryption_schedule(*unit, encrypt);
    const auto build = decryption ? zrc_Init_Decrypt_ARIA_Key : zrc_Init_Encrypt_ARIA_Key;
    if (!schedule || build(key, unit->key_length, schedule) != 0) {
        return zrc::code(ZRC_L_ARIA_INTERFACE, ZRC_F_INIT_ARIA_KEY, ZRC_ERR_INIT_KEY_FAILURE);
    }
    return 0;
}

// A null key is accepted and leaves the unit unkeyed.
std::uint32_t zrc_Init_ARIA(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* key, const std::uint8_t* iv,
                            std::uint32_t encrypt)
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const auto failure = zrc::code(ZRC_L_ARIA_INTERFACE, ZRC_F_INIT_ARIA, ZRC_ERR_INIT_FAILURE);

    if (!unit) return failure;
    zrc::set_iv(*unit, iv);
    if (key && zrc_Init_ARIA_Key(unit, key, encrypt) != 0) return failure;
    unit->encrypt = encrypt;
    return 0;
}

std::uint32_t zrc_Do_ARIA_ECB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aria_modes::ecb(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CBC(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aria_modes::cbc(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aria_modes::cfb(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_OFB(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aria_modes::ofb(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CTR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                              std::int32_t length)
{
    return aria_modes::ctr(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFBR(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return aria_modes::cfb_bits(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFB1(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return aria_modes::cfb1(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFB8(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                               std::int32_t length)
{
    return aria_modes::cfb_segments<1>(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFB16(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                std::int32_t length)
{
    return aria_modes::cfb_segments<2>(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFB32(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                std::int32_t length)
{
    return aria_modes::cfb_segments<4>(unit, out, in, length);
}

std::uint32_t zrc_Do_ARIA_CFB64(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, const std::uint8_t* in,
                                std::int32_t length)
{
    return aria_modes::cfb_segments<8>(unit, out, in, length);
}
