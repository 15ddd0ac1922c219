// AES (FIPS 197) with tables: key expansion, single blocks and the portable kernel. Look-ups depend on key and data,
// so this code does not run in constant time; schedules and kernels with AES instructions do.
#include "cipher/aes_engine.hpp"

#include "cipher/aes_schedule.hpp"
#include "cipher/aes_tables.hpp"
#include "cipher/portable_blocks.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#if KESTRIM_X86_64_KERNELS
#include "cipher/aes_schedule_aes_ni.hpp"
#endif

#include <algorithm>
#include <array>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_AES_KEY) == 244);

// Byte `index` of a word, counted from the highest.
template <int Index>
constexpr std::uint8_t byte_of(std::uint32_t word) noexcept
{
    return std::uint8_t(word >> (24 - 8 * Index));
}

std::uint32_t substitute(std::uint32_t word) noexcept
{
    return E_Table4_0[byte_of<0>(word)] << 24 | E_Table4_0[byte_of<1>(word)] << 16 | E_Table4_0[byte_of<2>(word)] << 8 |
           E_Table4_0[byte_of<3>(word)];
}

std::uint32_t inverse_mix_column(std::uint32_t word) noexcept
{
    return K_Sched0[byte_of<0>(word)] ^ K_Sched1[byte_of<1>(word)] ^ K_Sched2[byte_of<2>(word)] ^
           K_Sched3[byte_of<3>(word)];
}

// FIPS 197, 5.2, with Nk = key_words.
void expand(const std::uint8_t* key, std::size_t key_words, ZRC_AES_KEY& schedule) noexcept
{
    schedule = {};
    schedule.rounds = std::uint32_t(key_words + 6);
    std::uint32_t* const w = schedule.round_key;
    for (std::size_t i = 0; i < key_words; ++i)
        w[i] = load_be32(key + 4 * i);

    std::uint8_t constant = 1;
    for (std::size_t i = key_words; i < 4 * (schedule.rounds + 1); ++i) {
        std::uint32_t word = w[i - 1];
        if (i % key_words == 0) {
            word = substitute(std::rotl(word, 8)) ^ std::uint32_t{constant} << 24;
            constant = aes_algebra::multiply(constant, 2);
        } else if (key_words > 6 && i % key_words == 4) {
            word = substitute(word);
        }
        w[i] = w[i - key_words] ^ word;
    }
}

// FIPS 197, 5.3.5: round keys in reverse order, InvMixColumns on all but the outer two.
void to_decryption(ZRC_AES_KEY& schedule) noexcept
{
    std::uint32_t* const w = schedule.round_key;
    const std::size_t last = std::size_t{4} * schedule.rounds;
    for (std::size_t front = 0, back = last; front < back; front += 4, back -= 4)
        std::swap_ranges(w + front, w + front + 4, w + back);
    std::transform(w + 4, w + last, w + 4, inverse_mix_column);
}

void make_schedule_portable(const std::uint8_t* key, std::size_t key_words, bool decryption,
                            ZRC_AES_KEY& schedule) noexcept
{
    expand(key, key_words, schedule);
    if (decryption) to_decryption(schedule);
}

using state = std::array<std::uint32_t, 4>;

state load_state(const std::uint8_t* in, const std::uint32_t* round_key) noexcept
{
    state s;
    for (std::size_t i = 0; i < 4; ++i)
        s[i] = load_be32(in + 4 * i) ^ round_key[i];
    return s;
}

void store_state(std::uint8_t* out, const state& s) noexcept
{
    for (std::size_t i = 0; i < 4; ++i)
        store_be32(out + 4 * i, s[i]);
}

// Column i of a round takes its bytes from columns i, i + Step, i + 2 * Step and i + 3 * Step (ShiftRows: 1 forwards, 3
// backwards).
template <std::size_t Step>
state full_round(const state& s, const std::uint32_t* round_key, const aes_table& t0, const aes_table& t1,
                 const aes_table& t2, const aes_table& t3) noexcept
{
    state result;
    for (std::size_t i = 0; i < 4; ++i) {
        result[i] = t0[byte_of<0>(s[i])] ^ t1[byte_of<1>(s[(i + Step) % 4])] ^ t2[byte_of<2>(s[(i + 2 * Step) % 4])] ^
                    t3[byte_of<3>(s[(i + 3 * Step) % 4])] ^ round_key[i];
    }
    return result;
}

template <std::size_t Step>
state last_round(const state& s, const std::uint32_t* round_key, const aes_table& box) noexcept
{
    state result;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::uint32_t word =
            (box[byte_of<0>(s[i])] & 0xFF) << 24 | (box[byte_of<1>(s[(i + Step) % 4])] & 0xFF) << 16 |
            (box[byte_of<2>(s[(i + 2 * Step) % 4])] & 0xFF) << 8 | (box[byte_of<3>(s[(i + 3 * Step) % 4])] & 0xFF);
        result[i] = word ^ round_key[i];
    }
    return result;
}

} // namespace

void aes_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (!is_keyed(schedule)) return;
    const std::uint32_t* round_key = schedule.round_key;
    state s = load_state(in, round_key);
    for (std::uint32_t round = 1; round < schedule.rounds; ++round)
        s = full_round<1>(s, round_key += 4, E_Table0, E_Table1, E_Table2, E_Table3);
    store_state(out, last_round<1>(s, round_key + 4, E_Table4_0));
}

void aes_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (!is_keyed(schedule)) return;
    const std::uint32_t* round_key = schedule.round_key;
    state s = load_state(in, round_key);
    for (std::uint32_t round = 1; round < schedule.rounds; ++round)
        s = full_round<3>(s, round_key += 4, D_Table0, D_Table1, D_Table2, D_Table3);
    store_state(out, last_round<3>(s, round_key + 4, D_Table4));
}

void aes_blocks_portable(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept
{
    if (is_keyed(key)) portable_modes<aes_cipher>::run(key, mode, chain, in, out, blocks);
}

namespace {

constexpr kernel<blocks_fn<ZRC_AES_KEY>> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"vaes", cpu_feature::vaes_avx512, aes_blocks_vaes},
    {"aes-ni", cpu_feature::aes_ni, aes_blocks_aes_ni},
#endif
    {"portable", cpu_feature::none, aes_blocks_portable},
};

constexpr kernel<aes_schedule_fn> kSchedules[] = {
#if KESTRIM_X86_64_KERNELS
    {"aes-ni", cpu_feature::aes_ni, aes_ni::make_schedule},
#endif
    {"portable", cpu_feature::none, make_schedule_portable},
};

} // namespace

constinit kernel_choice<blocks_fn<ZRC_AES_KEY>> aes_kernels{kKernels};
constinit kernel_choice<aes_schedule_fn> aes_schedules{kSchedules};

namespace {

std::uint32_t init_key(const std::uint8_t* key, std::uint32_t key_length, bool decryption,
                       ZRC_AES_KEY* schedule) noexcept
{
    if (!key || !schedule || (key_length != 16 && key_length != 24 && key_length != 32)) {
        return code(ZRC_L_AES_INTERFACE, ZRC_F_INIT_AES_KEY, ZRC_ERR_INVALID_INPUT);
    }
    aes_schedules.get()(key, key_length / 4, decryption, *schedule);
    return 0;
}

} // namespace

} // namespace zrc

std::uint32_t zrc_Init_Encrypt_AES_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_AES_KEY* schedule)
{
    return zrc::init_key(key, key_length, false, schedule);
}

std::uint32_t zrc_Init_Decrypt_AES_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_AES_KEY* schedule)
{
    return zrc::init_key(key, key_length, true, schedule);
}

void zrc_AES_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_AES_KEY* schedule)
{
    if (in && out && schedule) zrc::aes_cipher::encrypt(*schedule, in, out);
}

void zrc_AES_Decrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_AES_KEY* schedule)
{
    if (in && out && schedule) zrc::aes_cipher::decrypt(*schedule, in, out);
}
