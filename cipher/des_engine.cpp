// DES (FIPS 46-3) and triple DES (SP 800-67): key schedules, single blocks and the portable kernels.
#include "cipher/des_engine.hpp"

#include "cipher/des_rounds.hpp"
#include "cipher/des_tables.hpp"
#include "cipher/interleaved_blocks.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

namespace zrc {
namespace {

static_assert(sizeof(ZRC_DES_KEY) == 128);
static_assert(sizeof(ZRC_DES_EDE_KEY) == 384);

constexpr std::uint16_t kEncryption = 1;
constexpr std::uint16_t kDecryption = 0;
constexpr std::size_t kKeyBytes = 8;
constexpr std::size_t kRegisterBits = 28; // of each of the key registers C and D

// One word of a round key. `upper` holds the groups of six bits for S1 to S4, and `lower` those for S5 to S8, in
// their low 24 bits; the first and the third group of each go to the low ends of the four bytes.
constexpr std::uint32_t spread(std::uint32_t upper, std::uint32_t lower) noexcept
{
    return (upper << 6 & 0x3F000000) | (upper << 10 & 0x003F0000) | (lower >> 10 & 0x00003F00) |
           (lower >> 6 & 0x0000003F);
}

void expand_key(const std::uint8_t* key, ZRC_DES_KEY& schedule, std::uint16_t direction) noexcept
{
    secret_array<std::uint32_t, 2 * kRegisterBits> selected; // C and D, a word for each bit, all zeros or all ones
    for (std::size_t i = 0; i < 2 * kRegisterBits; ++i) {
        const std::size_t bit = PChoice_1[i];
        selected[i] = 0U - std::uint32_t{(key[bit / 8] & BitArray[bit % 8]) != 0};
    }

    for (std::size_t round = 0; round < des::kRounds; ++round) {
        // C reaches only the upper half of a round key (S1 to S4) and D only the lower (S5 to S8).
        const auto half = [&](std::size_t first) {
            std::uint32_t bits = 0;
            for (std::size_t i = 0; i < bigbyte.size(); ++i) {
                const std::size_t place = PChoice_2[bigbyte.size() * first + i] - kRegisterBits * first;
                const std::size_t rotated = (place + LCShitSchedule[round]) % kRegisterBits;
                bits |= bigbyte[i] & selected[kRegisterBits * first + rotated];
            }
            return bits;
        };
        const std::uint32_t upper = half(0), lower = half(1);
        auto& round_key = schedule.round_key[direction == kEncryption ? round : des::kRounds - 1 - round];
        round_key[0] = spread(upper, lower);
        round_key[1] = spread(upper << 6, lower << 6);
    }
}

consteval bool permutation_follows_the_standard()
{
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint64_t bit = std::uint64_t{1} << (64 - fips46::kInitialPermutation[i]);
        const des::halves block = des::initial_permutation(bit);
        if ((std::uint64_t{block.left} << 32 | block.right) != std::uint64_t{1} << (63 - i)) return false;
        if (des::final_permutation(block) != bit) return false;
    }
    return true;
}
static_assert(permutation_follows_the_standard());

} // namespace

void des_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    transform_block<des_core, false>(schedule, in, out);
}

void des_ede_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    transform_block<des_ede_core, false>(schedule, in, out);
}

void des_blocks_portable(const ZRC_DES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept
{
    interleaved_modes<des_core, 4, 2, 1>::run(key, mode, chain, in, out, blocks);
}

void des_ede_blocks_portable(const ZRC_DES_EDE_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                             std::uint8_t* out, std::size_t blocks) noexcept
{
    interleaved_modes<des_ede_core, 4, 2, 1>::run(key, mode, chain, in, out, blocks);
}

namespace {

constexpr kernel<blocks_fn<ZRC_DES_KEY>> kDesKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"gfni", cpu_feature::gfni_avx512, des_blocks_gfni},
#endif
    {"portable", cpu_feature::none, des_blocks_portable},
};
constexpr kernel<blocks_fn<ZRC_DES_EDE_KEY>> kDesEdeKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"gfni", cpu_feature::gfni_avx512, des_ede_blocks_gfni},
#endif
    {"portable", cpu_feature::none, des_ede_blocks_portable},
};

} // namespace

constinit kernel_choice<blocks_fn<ZRC_DES_KEY>> des_kernels{kDesKernels};
constinit kernel_choice<blocks_fn<ZRC_DES_EDE_KEY>> des_ede_kernels{kDesEdeKernels};

} // namespace zrc

std::uint32_t zrc_Init_Encrypt_DES_Key(const std::uint8_t* key, ZRC_DES_KEY* schedule, std::uint16_t direction)
{
    if (!key || !schedule) return zrc::code(ZRC_L_DES_INTERFACE, ZRC_F_INIT_DES_KEY, ZRC_ERR_INVALID_INPUT);
    if (direction == zrc::kEncryption || direction == zrc::kDecryption) zrc::expand_key(key, *schedule, direction);
    return 0;
}

void zrc_DES_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_DES_KEY* schedule)
{
    if (!in || !out || !schedule) return;
    zrc::des_cipher::encrypt(*schedule, in, out);
}

std::uint32_t zrc_Init_Encrypt_DES_EDE_KEY(const std::uint8_t* key, std::uint32_t key_length, ZRC_DES_EDE_KEY* schedule,
                                           std::uint16_t direction)
{
    // The library number is that of single DES, on purpose.
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_DES_INTERFACE, ZRC_F_INIT_ENCRYPT_DES_EDE_KEY, reason);
    };

    if (!key || !schedule) return fail(ZRC_ERR_INVALID_INPUT);
    if (key_length != 2 * zrc::kKeyBytes && key_length != 3 * zrc::kKeyBytes) return fail(ZRC_ERR_INVALID_INPUT);
    if (direction != zrc::kEncryption && direction != zrc::kDecryption) return 0;

    const std::uint8_t* const k1 = key;
    const std::uint8_t* const k2 = key + zrc::kKeyBytes;
    const std::uint8_t* const k3 = key_length == 3 * zrc::kKeyBytes ? key + 2 * zrc::kKeyBytes : k1;
    const bool encrypts = direction == zrc::kEncryption;
    const std::uint16_t opposite = encrypts ? zrc::kDecryption : zrc::kEncryption;
    if (zrc_Init_Encrypt_DES_Key(encrypts ? k1 : k3, &schedule->slot[0], direction) != 0 ||
        zrc_Init_Encrypt_DES_Key(k2, &schedule->slot[1], opposite) != 0 ||
        zrc_Init_Encrypt_DES_Key(encrypts ? k3 : k1, &schedule->slot[2], direction) != 0) {
        return fail(ZRC_ERR_INIT_KEY_FAILURE);
    }
    return 0;
}

void DES_EDE_encrypt_block(const std::uint8_t* in, std::uint8_t* out, const ZRC_DES_EDE_KEY* schedule)
{
    if (!in || !out || !schedule) return;
    zrc::des_ede_cipher::encrypt(*schedule, in, out);
}
