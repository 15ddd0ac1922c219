// LEA (TTAK.KO-12.0223): key schedule and portable code. Additions, rotations and XOR only: constant-time.
#include "cipher/lea_engine.hpp"

#include "cipher/portable_blocks.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace zrc {
namespace {

// A number of 288 bits, lowest word first: as much as the square root below needs.
struct wide {
    std::array<std::uint32_t, 9> word{};

    constexpr wide shifted(unsigned bits, std::uint32_t low_bits) const noexcept
    {
        wide result;
        std::uint32_t carry = low_bits;
        for (std::size_t i = 0; i < word.size(); ++i) {
            result.word[i] = word[i] << bits | carry;
            carry = word[i] >> (32 - bits);
        }
        return result;
    }

    // Subtracts `other` when it is not larger.
    constexpr bool subtract(const wide& other) noexcept
    {
        wide result;
        std::uint64_t difference = 0;
        for (std::size_t i = 0; i < word.size(); ++i) {
            difference = std::uint64_t{word[i]} - other.word[i] - (difference >> 63);
            result.word[i] = std::uint32_t(difference);
        }
        if (difference >> 63 != 0) return false;
        *this = result;
        return true;
    }
};

// The first 256 bits behind the point of sqrt(766965), the number that the letters LEA make in ASCII, 76 69 65: the
// root by hand, bit by bit.
consteval std::array<std::uint32_t, 8> make_delta()
{
    constexpr std::uint32_t kSquare = 766965, kRoot = 875;
    static_assert(kRoot * kRoot < kSquare && kSquare < (kRoot + 1) * (kRoot + 1));

    wide root, rest;
    root.word[0] = kRoot;
    rest.word[0] = kSquare - kRoot * kRoot;
    for (int bit = 0; bit < 256; ++bit) {
        rest = rest.shifted(2, 0);
        root = root.shifted(1, rest.subtract(root.shifted(2, 1)) ? 1 : 0);
    }
    std::array<std::uint32_t, 8> delta;
    std::reverse_copy(root.word.begin(), root.word.begin() + 8, delta.begin());
    return delta;
}
constexpr auto kDelta = make_delta();
static_assert(kDelta[0] == 0xC3EFE9DB && kDelta[7] == 0xE5C40957);

// Section "key schedule" of the standard. Keys of 16 and 24 bytes have as many words as a round changes; those of 32
// have eight words, of which each round changes the next six.
void expand_key(std::span<std::uint32_t> words, ZRC_LEA_KEY& schedule) noexcept
{
    constexpr int kRotations[6]{1, 3, 6, 11, 13, 17};
    constexpr std::size_t kOfFour[6]{0, 1, 2, 1, 3, 1}; // a key of four words fills six places

    const std::size_t n = words.size(), step = std::min<std::size_t>(n, 6);
    schedule = {};
    schedule.rounds = std::uint32_t(16 + 2 * n);
    for (std::size_t i = 0; i < schedule.rounds; ++i) {
        const auto word = [&](std::size_t j) -> std::uint32_t& { return words[(n == 8 ? 6 * i + j : j) % n]; };
        for (std::size_t j = 0; j < step; ++j)
            word(j) = std::rotl(word(j) + std::rotl(kDelta[i % n], int(i + j)), kRotations[j]);
        for (std::size_t j = 0; j < 6; ++j)
            schedule.round_key[6 * i + j] = word(n == 4 ? kOfFour[j] : j);
    }
}

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
    if (!lea_is_keyed(schedule)) return;
    state x = state::load(in);
    encrypt_words(schedule, x);
    x.store(out);
}

void lea_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (!lea_is_keyed(schedule)) return;
    state x = state::load(in);
    decrypt_words(schedule, x);
    x.store(out);
}

void lea_blocks_portable(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept
{
    if (!lea_is_keyed(key)) return;
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

} // namespace zrc

using namespace zrc;

std::uint32_t zrc_Init_Encrypt_LEA_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_LEA_KEY* schedule)
{
    const bool fits = key_length == 16 || key_length == 24 || key_length == 32;
    if (!key || !schedule || !fits) return code(ZRC_L_LEA_INTERFACE, ZRC_F_INIT_LEA_KEY, ZRC_ERR_INVALID_INPUT);

    secret_array<std::uint32_t, 8> words;
    const auto used = words.span().first(key_length / 4);
    for (std::size_t i = 0; i < used.size(); ++i)
        used[i] = load_le32(key + 4 * i);
    expand_key(used, *schedule);
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
