// LEA (TTAK.KO-12.0223): key schedule and portable code. Additions, rotations and XOR only: constant-time.
#include "cipher/lea_engine.hpp"

#include "cipher/lea_schedule.hpp"
#include "cipher/portable_blocks.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#if KESTRIM_X86_64_KERNELS
#include "cipher/lea_schedule_avx512.hpp"
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

// One round changes these words of the key `t`.
template <std::size_t... Word>
[[gnu::always_inline]] inline void change(auto& t, const std::uint32_t* addends) noexcept
{
    std::size_t j = 0;
    ((t[Word] = std::rotl(t[Word] + addends[j], lea::kRotations[j]), ++j), ...);
}

template <std::size_t... Word>
[[gnu::always_inline]] inline void put(const auto& t, std::uint32_t* round_key) noexcept
{
    ((*round_key++ = t[Word]), ...);
}

// Section "key schedule" of the standard. Keys of 16 and 24 bytes have as many words as a round changes; those of 32
// have eight words, of which each round changes the next six: after four rounds it is the first words' turn again.
[[gnu::always_inline]] inline void put_rounds(std::array<std::uint32_t, 4>& t, std::uint32_t* out) noexcept
{
    for (std::size_t i = 0; i < lea::schedule_words(4); i += lea::kRoundKeyWords) {
        change<0, 1, 2, 3>(t, lea::kAddends<4>.data() + i);
        put<0, 1, 2, 1, 3, 1>(t, out + i);
    }
}

[[gnu::always_inline]] inline void put_rounds(std::array<std::uint32_t, 6>& t, std::uint32_t* out) noexcept
{
    for (std::size_t i = 0; i < lea::schedule_words(6); i += lea::kRoundKeyWords) {
        change<0, 1, 2, 3, 4, 5>(t, lea::kAddends<6>.data() + i);
        put<0, 1, 2, 3, 4, 5>(t, out + i);
    }
}

[[gnu::always_inline]] inline void put_rounds(std::array<std::uint32_t, 8>& t, std::uint32_t* out) noexcept
{
    const std::uint32_t* addends = lea::kAddends<8>.data();
    const auto next = [&]<std::size_t... Word>(std::index_sequence<Word...>) __attribute__((always_inline))
    {
        change<Word...>(t, addends);
        put<Word...>(t, out);
        addends += lea::kRoundKeyWords;
        out += lea::kRoundKeyWords;
    };
    for (std::size_t i = 0; i < lea::rounds_for(8); i += 4) {
        next(std::index_sequence<0, 1, 2, 3, 4, 5>{});
        next(std::index_sequence<6, 7, 0, 1, 2, 3>{});
        next(std::index_sequence<4, 5, 6, 7, 0, 1>{});
        next(std::index_sequence<2, 3, 4, 5, 6, 7>{});
    }
}

template <std::size_t N>
void expand_key(const std::uint8_t* key, ZRC_LEA_KEY& schedule) noexcept
{
    secret<std::array<std::uint32_t, N>> t;
    for (std::size_t i = 0; i < N; ++i)
        (*t)[i] = load_le32(key + 4 * i);
    put_rounds(*t, schedule.round_key);
    std::fill(schedule.round_key + lea::schedule_words(N), std::end(schedule.round_key), 0U);
    schedule.rounds = std::uint32_t(lea::rounds_for(N));
}

void make_schedule_portable(const std::uint8_t* key, std::size_t key_words, ZRC_LEA_KEY& schedule) noexcept
{
    switch (key_words) {
    case 4:
        return expand_key<4>(key, schedule);
    case 6:
        return expand_key<6>(key, schedule);
    default:
        return expand_key<8>(key, schedule);
    }
}

constexpr kernel<lea_schedule_fn> kSchedules[] = {
#if KESTRIM_X86_64_KERNELS
    {"avx512", cpu_feature::avx512vl, lea_avx512::make_schedule},
#endif
    {"portable", cpu_feature::none, make_schedule_portable},
};

// The four words of a block.
struct state {
    std::uint32_t w[4];

    static state load(const std::uint8_t* bytes) noexcept
    {
        return {{load_le32(bytes), load_le32(bytes + 4), load_le32(bytes + 8), load_le32(bytes + 12)}};
    }

    void store(std::uint8_t* bytes) const noexcept
    {
        for (std::size_t i = 0; i < 4; ++i)
            store_le32(bytes + 4 * i, w[i]);
    }
};

inline state operator^(const state& a, const state& b) noexcept
{
    return {{a.w[0] ^ b.w[0], a.w[1] ^ b.w[1], a.w[2] ^ b.w[2], a.w[3] ^ b.w[3]}};
}

// Round R (mod 4). A round moves every word one place; here the words stay and change their names: what the standard
// calls X[i] is word i + R (mod 4).
template <std::size_t R>
[[gnu::always_inline]] inline void round(state& x, const std::uint32_t* k) noexcept
{
    std::uint32_t &a = x.w[R % 4], &b = x.w[(R + 1) % 4], &c = x.w[(R + 2) % 4], &d = x.w[(R + 3) % 4];
    d = std::rotr((c ^ k[4]) + (d ^ k[5]), 3);
    c = std::rotr((b ^ k[2]) + (c ^ k[3]), 5);
    b = std::rotl((a ^ k[0]) + (b ^ k[1]), 9);
}

// Two key words for one XOR, which the compiler is kept from taking apart again.
[[gnu::always_inline]] inline std::uint32_t joined(std::uint32_t k1, std::uint32_t k2) noexcept
{
    std::uint32_t both = k1 ^ k2;
    __asm__("" : "+r"(both));
    return both;
}

// Each word waits for the one before it: what is needed next is computed from it beside the word itself, not after
// it.
template <std::size_t R>
[[gnu::always_inline]] inline void inverse_round(state& x, const std::uint32_t* k) noexcept
{
    std::uint32_t &a = x.w[R % 4], &b = x.w[(R + 1) % 4], &c = x.w[(R + 2) % 4], &d = x.w[(R + 3) % 4];
    const std::uint32_t ab = std::rotr(b, 9) - (a ^ k[0]);
    const std::uint32_t bc = std::rotl(c, 5) - (ab ^ joined(k[1], k[2]));
    const std::uint32_t cd = std::rotl(d, 3) - (bc ^ joined(k[3], k[4]));
    b = ab ^ k[1];
    c = bc ^ k[3];
    d = cd ^ k[5];
}

[[gnu::always_inline]] inline void encrypt_words(const ZRC_LEA_KEY& schedule, state& x) noexcept
{
    const std::uint32_t* k = schedule.round_key;
    for (const std::uint32_t* const end = k + std::size_t{6} * schedule.rounds; k != end; k += 24) {
        round<0>(x, k);
        round<1>(x, k + 6);
        round<2>(x, k + 12);
        round<3>(x, k + 18);
    }
}

[[gnu::always_inline]] inline void decrypt_words(const ZRC_LEA_KEY& schedule, state& x) noexcept
{
    const std::uint32_t* k = schedule.round_key + std::size_t{6} * schedule.rounds;
    while (k != schedule.round_key) {
        k -= 24;
        inverse_round<3>(x, k + 18);
        inverse_round<2>(x, k + 12);
        inverse_round<1>(x, k + 6);
        inverse_round<0>(x, k);
    }
}

// The modes in which each block waits for the one before it: the chain stays in registers.
template <block_mode Mode>
void serial(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
            std::size_t blocks) noexcept
{
    state x = state::load(chain);
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        const state from = state::load(in);
        if constexpr (Mode == block_mode::cbc_encrypt) x = x ^ from;
        encrypt_words(key, x);
        if constexpr (Mode == block_mode::cfb_encrypt) x = x ^ from;
        (Mode == block_mode::ofb ? x ^ from : x).store(out);
    }
    x.store(chain);
}

constexpr kernel<blocks_fn<ZRC_LEA_KEY>> kKernels[]
{
#if KESTRIM_X86_64_KERNELS
    {"avx512", cpu_feature::avx512, lea_blocks_avx512}, {"avx2", cpu_feature::avx2, lea_blocks_avx2},
#endif
        {"portable", cpu_feature::none, lea_blocks_portable},
};

} // namespace

void lea_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (!is_keyed(schedule)) return;
    state x = state::load(in);
    encrypt_words(schedule, x);
    x.store(out);
}

void lea_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (!is_keyed(schedule)) return;
    state x = state::load(in);
    decrypt_words(schedule, x);
    x.store(out);
}

void lea_blocks_portable(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept
{
    if (!is_keyed(key)) return;
    switch (mode) {
    case block_mode::cbc_encrypt:
        return serial<block_mode::cbc_encrypt>(key, chain, in, out, blocks);
    case block_mode::cfb_encrypt:
        return serial<block_mode::cfb_encrypt>(key, chain, in, out, blocks);
    case block_mode::ofb:
        return serial<block_mode::ofb>(key, chain, in, out, blocks);
    default:
        return portable_modes<lea_cipher>::run(key, mode, chain, in, out, blocks);
    }
}

constinit kernel_choice<blocks_fn<ZRC_LEA_KEY>> lea_kernels{kKernels};
constinit kernel_choice<lea_schedule_fn> lea_schedules{kSchedules};

} // namespace zrc

using namespace zrc;

std::uint32_t zrc_Init_Encrypt_LEA_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_LEA_KEY* schedule)
{
    const bool fits = key_length == 16 || key_length == 24 || key_length == 32;
    if (!key || !schedule || !fits) return code(ZRC_L_LEA_INTERFACE, ZRC_F_INIT_LEA_KEY, ZRC_ERR_INVALID_INPUT);

    lea_schedules.get()(key, key_length / 4, *schedule);
    return 0;
}

void zrc_LEA_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_LEA_KEY* schedule)
{
    lea_cipher::encrypt(*schedule, in, out);
}

void zrc_LEA_Decrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_LEA_KEY* schedule)
{
    lea_cipher::decrypt(*schedule, in, out);
}
