// DES (FIPS 46-3) and triple DES (SP 800-67): key schedules, single blocks and the portable kernels.
#include "cipher/des_engine.hpp"

#include "cipher/des_rounds.hpp"
#include "cipher/des_tables.hpp"
#include "cipher/interleaved_blocks.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#include <array>
#include <bit>
#include <cstring>

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

// The key registers before the first rotation, the first bit highest.
struct key_registers {
    std::uint32_t c, d; // in the upper 28 bits
};

// Permuted choice 1 takes the key as a square of bits, a byte to a row and the last byte on top, column by column: C
// gets columns 1 to 3 and half of column 4, D gets columns 7 to 5 and the other half. `key`: first byte lowest.
constexpr key_registers permuted_choice_1(std::uint64_t key) noexcept
{
    const auto transpose_step = [&key](int shift, std::uint64_t mask) {
        const std::uint64_t differing = (key ^ (key >> shift)) & mask;
        key ^= differing ^ differing << shift;
    };
    transpose_step(7, 0x00AA00AA00AA00AA);
    transpose_step(14, 0x0000CCCC0000CCCC);
    transpose_step(28, 0x00000000F0F0F0F0);

    const auto low = std::uint32_t(key); // columns 5 to 8
    return {std::uint32_t(key >> 32) & 0xFFFFFFF0,
            (low & 0xFF00) << 16 | (low & 0xFF0000) | (low >> 16 & 0xFF00) | std::uint32_t(key >> 28 & 0xF0)};
}

consteval bool choice_follows_the_standard()
{
    for (std::size_t i = 0; i < 2 * kRegisterBits; ++i) {
        const std::size_t bit = PChoice_1[i];
        const key_registers registers = permuted_choice_1(std::uint64_t{BitArray[bit % 8]} << (bit / 8 * 8));
        const std::uint32_t expected = 0x80000000U >> (i % kRegisterBits);
        if (registers.c != (i < kRegisterBits ? expected : 0)) return false;
        if (registers.d != (i < kRegisterBits ? 0 : expected)) return false;
    }
    return true;
}
static_assert(choice_follows_the_standard());

// Half of every round key: the upper or the lower 16 bits of its two words, of the first word lowest. C reaches only
// the upper halves (S1 to S4) and D only the lower (S5 to S8).
using half_keys = std::array<std::uint32_t, des::kRounds>;

// What each bit of a register sets in them.
consteval std::array<half_keys, kRegisterBits> make_places(bool of_c)
{
    const std::size_t first_place = of_c ? 0 : kRegisterBits;
    std::array<half_keys, kRegisterBits> all{};
    for (std::size_t round = 0; round < des::kRounds; ++round) {
        for (std::size_t i = 0; i < bigbyte.size(); ++i) {
            const std::size_t place = PChoice_2[of_c ? i : bigbyte.size() + i] - first_place;
            const std::uint32_t first = of_c ? spread(bigbyte[i], 0) >> 16 : spread(0, bigbyte[i]);
            const std::uint32_t second = of_c ? spread(bigbyte[i] << 6, 0) >> 16 : spread(0, bigbyte[i] << 6);
            all[(place + LCShitSchedule[round]) % kRegisterBits][round] |= first | second << 16;
        }
    }
    return all;
}
alignas(64) constexpr auto kPlacesOfC = make_places(true), kPlacesOfD = make_places(false);

// Looks at all places whatever the bits are. In registers meanwhile: most processors have vectors for four words.
[[gnu::always_inline]] inline half_keys gather(std::uint32_t key_register,
                                               const std::array<half_keys, kRegisterBits>& places) noexcept
{
    using four_words [[gnu::vector_size(16)]] = std::uint32_t;
    using four_signed [[gnu::vector_size(16)]] = std::int32_t;
    constexpr std::size_t kVectors = sizeof(half_keys) / sizeof(four_words);

    std::array<four_words, kVectors> sums{};
    four_words next{key_register, key_register, key_register, key_register};
    for (const half_keys& of_bit : places) {
        const auto set = four_words(four_signed(next) >> 31); // all ones or none
        next += next;
        side_by_side<kVectors>([&](std::size_t i) __attribute__((always_inline)) {
            four_words four;
            std::memcpy(&four, of_bit.data() + 4 * i, sizeof four);
            sums[i] |= four & set;
        });
    }
    half_keys halves;
    std::memcpy(halves.data(), sums.data(), sizeof halves);
    return halves;
}

void expand_key(const std::uint8_t* key, ZRC_DES_KEY& schedule, std::uint16_t direction) noexcept
{
    const key_registers registers = permuted_choice_1(load<std::uint64_t, std::endian::little>(key));
    secret<half_keys> upper, lower;
    *upper = gather(registers.c, kPlacesOfC);
    *lower = gather(registers.d, kPlacesOfD);
    for (std::size_t round = 0; round < des::kRounds; ++round) {
        const std::uint32_t high = (*upper)[round], low = (*lower)[round];
        auto& round_key = schedule.round_key[direction == kEncryption ? round : des::kRounds - 1 - round];
        round_key[0] = high << 16 | (low & 0xFFFF);
        round_key[1] = (high & 0xFFFF0000) | low >> 16;
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
