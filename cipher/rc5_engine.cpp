// RC5-32/16 (RFC 2040): key expansion, single blocks and the portable kernel.
#include "cipher/rc5_engine.hpp"

#include "cipher/interleaved_blocks.hpp"
#include "cipher/rc5_rounds.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_RC5_KEY) == 140);

constexpr std::uint32_t kMostKeyBytes = 255;

// Odd((e - 2) * 2^32) and Odd((golden ratio - 1) * 2^32), RFC 2040, section 6.3.
constexpr std::uint32_t kP = 0xB7E15163;
constexpr std::uint32_t kQ = 0x9E3779B9;

void expand_key(const std::uint8_t* key, std::size_t key_bytes, ZRC_RC5_KEY& schedule) noexcept
{
    secret_array<std::uint8_t, kMostKeyBytes + 1> padded;
    std::memset(padded.data(), 0, kMostKeyBytes + 1);
    std::memcpy(padded.data(), key, key_bytes);
    const std::size_t key_words = std::max<std::size_t>(1, (key_bytes + 3) / 4);
    secret_array<std::uint32_t, (kMostKeyBytes + 1) / 4> l; // "L" of the RFC
    for (std::size_t i = 0; i < key_words; ++i)
        l[i] = load_le32(padded.data() + 4 * i);

    auto& s = schedule.round_key;
    for (std::size_t i = 0; i < rc5_core::subkeys; ++i)
        s[i] = kP + std::uint32_t(i) * kQ;

    std::uint32_t a = 0, b = 0;
    std::size_t i = 0, j = 0;
    for (std::size_t steps = 3 * std::max(rc5_core::subkeys, key_words); steps != 0; --steps) {
        a = s[i] = std::rotl(s[i] + a + b, 3);
        b = l[j] = std::rotl(l[j] + a + b, int((a + b) & 31));
        if (++i == rc5_core::subkeys) i = 0;
        if (++j == key_words) j = 0;
    }
    schedule.rounds = rc5_core::rounds;
}

constexpr kernel<blocks_fn<ZRC_RC5_KEY>> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"avx512", cpu_feature::avx512, rc5_blocks_avx512},
#endif
    {"portable", cpu_feature::none, rc5_blocks_portable},
};

} // namespace

constinit kernel_choice<blocks_fn<ZRC_RC5_KEY>> rc5_kernels{kKernels};

void rc5_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    transform_block<rc5_core, false>(schedule, in, out);
}

void rc5_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    transform_block<rc5_core, true>(schedule, in, out);
}

void rc5_blocks_portable(const ZRC_RC5_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept
{
    interleaved_modes<rc5_core, 4, 2, 1>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc

std::uint32_t zrc_Init_Encrypt_RC5_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_RC5_KEY* schedule)
{
    if (!key || !schedule || key_length > zrc::kMostKeyBytes) {
        return zrc::code(ZRC_L_RC5_INTERFACE, ZRC_F_INIT_RC5_KEY, ZRC_ERR_INVALID_INPUT);
    }
    zrc::expand_key(key, key_length, *schedule);
    return 0;
}

void zrc_RC5_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_RC5_KEY* schedule)
{
    if (!in || !out || !schedule) return;
    zrc::rc5_cipher::encrypt(*schedule, in, out);
}

void zrc_RC5_Decrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_RC5_KEY* schedule)
{
    if (!in || !out || !schedule) return;
    zrc::rc5_cipher::decrypt(*schedule, in, out);
}
