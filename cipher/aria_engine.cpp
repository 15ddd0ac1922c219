// ARIA (RFC 5794): key schedules and portable code. It looks up tables by secret bytes and is not constant-time where
// the cache tells; the vector kernels have no tables.
#include "cipher/aria_engine.hpp"

#include "cipher/aria_tables.hpp"
#include "cipher/portable_blocks.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <span>

namespace zrc {
namespace {

// Four words, most significant byte first, or a round key in the same form.
struct state {
    std::uint32_t w[4];

    static state load(const std::uint8_t* bytes) noexcept
    {
        return {{load_be32(bytes), load_be32(bytes + 4), load_be32(bytes + 8), load_be32(bytes + 12)}};
    }
    static state load(const std::uint32_t* words) noexcept { return {{words[0], words[1], words[2], words[3]}}; }

    void store(std::uint8_t* bytes) const noexcept
    {
        for (std::size_t i = 0; i < 4; ++i)
            store_be32(bytes + 4 * i, w[i]);
    }
    void store(std::uint32_t* words) const noexcept { std::copy_n(w, 4, words); }
};

[[gnu::always_inline]] inline state operator^(const state& a, const state& b) noexcept
{
    return {{a.w[0] ^ b.w[0], a.w[1] ^ b.w[1], a.w[2] ^ b.w[2], a.w[3] ^ b.w[3]}};
}

// Byte 0 is the most significant one.
template <unsigned Byte>
constexpr std::size_t byte_of(std::uint32_t word) noexcept
{
    return word >> (24 - 8 * Byte) & 0xFF;
}

// The two kinds of rounds: the substitution layer has SB1, SB2, SB3, SB4 for the bytes of a word, or SB3, SB4, SB1,
// SB2.
enum class layer {
    odd,
    even,
};

// Substitutes, and takes each byte to the other three of its word; in the even layer the halves come out exchanged.
template <layer Kind>
[[gnu::always_inline]] inline std::uint32_t substitute_and_spread(std::uint32_t x) noexcept
{
    const std::size_t a = byte_of<0>(x), b = byte_of<1>(x), c = byte_of<2>(x), d = byte_of<3>(x);
    return Kind == layer::odd ? S1[a] ^ S2[b] ^ X1[c] ^ X2[d] : X1[a] ^ X2[b] ^ S1[c] ^ S2[d];
}

inline std::uint32_t swap_bytes_of_halves(std::uint32_t x) noexcept
{
    return std::rotl(byte_swap(x), 16);
}

// Word 0 becomes the sum of words 0, 1, 2; word 1 of 0, 2, 3; word 2 of 0, 1, 3; word 3 of 1, 2, 3.
[[gnu::always_inline]] inline state mix_words(const state& x) noexcept
{
    const std::uint32_t sum02 = x.w[0] ^ x.w[2], sum13 = x.w[1] ^ x.w[3];
    return {{sum02 ^ x.w[1], sum02 ^ x.w[3], sum13 ^ x.w[0], sum13 ^ x.w[2]}};
}

// What is left of the diffusion layer after each byte went to the others of its word: words are mixed, the bytes
// within words permuted, words mixed again. For the even kind the permutations also set the halves right.
template <layer Kind>
[[gnu::always_inline]] inline state diffuse_words(const state& spread) noexcept
{
    state x = mix_words(spread);
    if constexpr (Kind == layer::odd)
        x = {{x.w[0], swap_bytes_of_halves(x.w[1]), std::rotl(x.w[2], 16), byte_swap(x.w[3])}};
    else
        x = {{std::rotl(x.w[0], 16), byte_swap(x.w[1]), x.w[2], swap_bytes_of_halves(x.w[3])}};
    return mix_words(x);
}

// Substitution and diffusion layer.
template <layer Kind>
[[gnu::always_inline]] inline state round(const state& x) noexcept
{
    return diffuse_words<Kind>({{substitute_and_spread<Kind>(x.w[0]), substitute_and_spread<Kind>(x.w[1]),
                                 substitute_and_spread<Kind>(x.w[2]), substitute_and_spread<Kind>(x.w[3])}});
}

// The diffusion layer alone, an involution.
state diffuse(const state& x) noexcept
{
    constexpr auto spread = [](std::uint32_t w) { return std::rotl(w, 8) ^ std::rotl(w, 16) ^ std::rotl(w, 24); };
    return diffuse_words<layer::odd>({{spread(x.w[0]), spread(x.w[1]), spread(x.w[2]), spread(x.w[3])}});
}

// The last substitution layer, of the even kind. Each box is read where its entries hold the substituted byte.
inline std::uint32_t substitute_last(std::uint32_t x) noexcept
{
    return (X1[byte_of<0>(x)] & 0xFF000000) | (X2[byte_of<1>(x)] & 0x00FF0000) | (S1[byte_of<2>(x)] & 0x0000FF00) |
           (S2[byte_of<3>(x)] & 0x000000FF);
}

void crypt(const std::uint32_t* round_keys, std::uint32_t rounds, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    const auto next_key = [&round_keys] {
        round_keys += 4;
        return state::load(round_keys - 4);
    };
    state x = state::load(in) ^ next_key();
    x = round<layer::odd>(x) ^ next_key();
    for (std::uint32_t r = 2; r < rounds; r += 2) {
        x = round<layer::even>(x) ^ next_key();
        x = round<layer::odd>(x) ^ next_key();
    }
    const state last_key = next_key();
    for (std::size_t i = 0; i < 4; ++i) {
        std::uint32_t word = substitute_last(x.w[i]);
        __asm__("" : "+r"(word)); // else GCC gathers the four words in a vector, which is slower
        store_be32(out + 4 * i, word ^ last_key.w[i]);
    }
}

// Four words at once, for which most processors have vectors. Not passed by value: where there are none, GCC warns.
using four_words [[gnu::vector_size(16)]] = std::uint32_t;

// Rotates 128 bits, most significant word first, to the right by no multiple of 32.
template <int Bits>
[[gnu::always_inline]] inline void rotate_right(four_words& x) noexcept
{
    constexpr int kLow = 4 - Bits / 32, kHigh = kLow + 3; // places of the words that make up word 0
    const four_words low = __builtin_shufflevector(x, x, kLow % 4, (kLow + 1) % 4, (kLow + 2) % 4, (kLow + 3) % 4);
    const four_words high = __builtin_shufflevector(x, x, kHigh % 4, (kHigh + 1) % 4, (kHigh + 2) % 4, (kHigh + 3) % 4);
    x = low >> Bits % 32 | high << (32 - Bits % 32);
}

constexpr std::uint32_t rounds_for(std::uint32_t key_bits) noexcept
{
    return key_bits == 128 || key_bits == 192 || key_bits == 256 ? key_bits / 32 + 8 : 0;
}

// Four round keys of one rotation, or the first `Count` of them.
template <int Bits, std::size_t Count = 4>
[[gnu::always_inline]] inline void store_round_keys(std::span<const state, 4> w, std::uint32_t* round_keys) noexcept
{
    for (std::size_t i = 0; i < Count; ++i) {
        four_words unchanged, rotated;
        std::memcpy(&unchanged, w[i].w, sizeof unchanged);
        std::memcpy(&rotated, w[(i + 1) % 4].w, sizeof rotated);
        rotate_right<Bits>(rotated);
        rotated ^= unchanged;
        std::memcpy(round_keys + 4 * i, &rotated, sizeof rotated);
    }
}

// RFC 5794, section 2.2. All of the key is read before the first round key is written.
void expand_key(const std::uint8_t* key, std::uint32_t key_bits, std::uint32_t* round_keys) noexcept
{
    const std::uint32_t first = key_bits / 64 - 2; // the order of the constants starts with CK1, CK2 or CK3
    const auto constant = [first](std::uint32_t i) { return state::load(KRK[(first + i) % 3]); };
    state right{}; // what the key has behind its first 128 bits
    if (key_bits >= 192) right = {{load_be32(key + 16), load_be32(key + 20), 0, 0}};
    if (key_bits >= 256) right = state::load(key + 16);

    secret_array<state, 4> w;
    w[0] = state::load(key);
    w[1] = round<layer::odd>(w[0] ^ constant(0)) ^ right;
    w[2] = round<layer::even>(w[1] ^ constant(1)) ^ w[0];
    w[3] = round<layer::odd>(w[2] ^ constant(2)) ^ w[1];

    store_round_keys<19>(w.span(), round_keys);
    store_round_keys<31>(w.span(), round_keys + 16);
    store_round_keys<67>(w.span(), round_keys + 32);
    if (key_bits == 128) return store_round_keys<97, 1>(w.span(), round_keys + 48);
    if (key_bits == 192) return store_round_keys<97, 3>(w.span(), round_keys + 48);
    store_round_keys<97>(w.span(), round_keys + 48);
    store_round_keys<109, 1>(w.span(), round_keys + 64);
}

// Turns round keys of one direction into those of the other.
void reverse_round_keys(const std::uint32_t* from, std::uint32_t* to, std::uint32_t rounds) noexcept
{
    for (std::size_t i = 0; i <= rounds; ++i) {
        const state key = state::load(from + 4 * (rounds - i));
        (i == 0 || i == rounds ? key : diffuse(key)).store(to + 4 * i);
    }
}

std::uint32_t init_key(const std::uint8_t* key, std::uint32_t key_length, ZRC_ARIA_KEY* schedule, auto set_key,
                       std::uint32_t (ZRC_ARIA_KEY::*half)[68]) noexcept
{
    const bool fits = key_length == 16 || key_length == 24 || key_length == 32;
    if (!key || !schedule || !fits) return code(ZRC_L_ARIA_INTERFACE, ZRC_F_INIT_ARIA_KEY, ZRC_ERR_INVALID_INPUT);

    // The key may lie in the schedule: what the round keys leave over is cleared behind them.
    const std::uint32_t rounds = set_key(key, schedule->*half, key_length * 8);
    std::fill(std::begin(schedule->*half) + 4 * (rounds + 1), std::end(schedule->*half), 0U);
    schedule->rounds = rounds;
    return 0;
}

} // namespace

void aria_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (is_keyed(schedule)) crypt(schedule.encrypt, schedule.rounds, in, out);
}

void aria_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (is_keyed(schedule)) crypt(schedule.decrypt, schedule.rounds, in, out);
}

void aria_forward_schedule(const ZRC_ARIA_KEY& decryption_only, ZRC_ARIA_KEY& out) noexcept
{
    out = {};
    if (!is_keyed(decryption_only)) return;
    out.rounds = decryption_only.rounds;
    reverse_round_keys(decryption_only.decrypt, out.encrypt, out.rounds);
}

void aria_blocks_portable(const ZRC_ARIA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                          std::uint8_t* out, std::size_t blocks) noexcept
{
    if (is_keyed(key)) portable_modes<aria_cipher>::run(key, mode, chain, in, out, blocks);
}

namespace {

constexpr kernel<blocks_fn<ZRC_ARIA_KEY>> kKernels[]
{
#if KESTRIM_X86_64_KERNELS
    {"gfni-avx512", cpu_feature::gfni_avx512, aria_blocks_gfni}, {"aes-ni", cpu_feature::aes_ni, aria_blocks_aes_ni},
#endif
        {"portable", cpu_feature::none, aria_blocks_portable},
};

} // namespace

constinit kernel_choice<blocks_fn<ZRC_ARIA_KEY>> aria_kernels{kKernels};

} // namespace zrc

using namespace zrc;

std::uint32_t set_encrypt_key(const std::uint8_t* key, std::uint32_t* round_keys, std::uint32_t key_bits)
{
    if (!key || !round_keys || rounds_for(key_bits) == 0) return 0;
    expand_key(key, key_bits, round_keys);
    return rounds_for(key_bits);
}

std::uint32_t set_decrypt_key(const std::uint8_t* key, std::uint32_t* round_keys, std::uint32_t key_bits)
{
    secret_array<std::uint32_t, 68> encryption;
    if (!round_keys || set_encrypt_key(key, encryption.data(), key_bits) == 0) return 0;
    reverse_round_keys(encryption.data(), round_keys, rounds_for(key_bits));
    return rounds_for(key_bits);
}

std::uint32_t zrc_Init_Encrypt_ARIA_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_ARIA_KEY* schedule)
{
    return init_key(key, key_length, schedule, set_encrypt_key, &ZRC_ARIA_KEY::encrypt);
}

std::uint32_t zrc_Init_Decrypt_ARIA_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_ARIA_KEY* schedule)
{
    return init_key(key, key_length, schedule, set_decrypt_key, &ZRC_ARIA_KEY::decrypt);
}

void zrc_ARIA_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_ARIA_KEY* schedule)
{
    aria_cipher::encrypt(*schedule, in, out);
}

void zrc_ARIA_Decrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_ARIA_KEY* schedule)
{
    aria_cipher::decrypt(*schedule, in, out);
}

void printBlock(const std::uint8_t* block)
{
    printBlockOfLength(block, std::int32_t{aria_cipher::block_bytes});
}

void printBlockOfLength(const std::uint8_t* block, std::int32_t length)
{
    if (!block || length < 0) return;
    for (std::int32_t i = 0; i < length; ++i)
        std::printf("%02x", unsigned{block[i]});
    std::putchar('\n');
}
