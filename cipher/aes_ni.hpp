// AES with the instructions of x86-64, on vectors of 128 bits: the schedule as the instructions want it, single blocks and
// the modes whose blocks wait for each other. Both AES kernels use it.
#pragma once

#include "cipher/aes_engine.hpp"
#include "cipher/portable_blocks.hpp"

#include <immintrin.h>

#define KESTRIM_TARGET_AES_NI "aes,ssse3,sse4.1"

namespace zrc::aes_ni {

// Round keys in registers. The schedule keeps its words with the first byte highest, the instructions want it lowest.
template <int Rounds>
struct round_keys {
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] explicit round_keys(const ZRC_AES_KEY& key) noexcept
    {
        const __m128i swapped = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
#pragma GCC unroll 16
        for (int i = 0; i <= Rounds; ++i) {
            const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(key.round_key + 4 * i));
            k[i] = _mm_shuffle_epi8(words, swapped);
        }
    }
    __m128i k[Rounds + 1];
};

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i load(const std::uint8_t* block) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void store(std::uint8_t* block, __m128i x) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block), x);
}

// All rounds but the addition of the first key and the last round.
template <int Rounds>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i
inner_rounds(__m128i x, const round_keys<Rounds>& key) noexcept
{
#pragma GCC unroll 16
    for (int i = 1; i < Rounds; ++i)
        x = _mm_aesenc_si128(x, key.k[i]);
    return x;
}

// CBC encryption, CFB encryption and OFB. The last round of a block and the addition of the first key for the next are one
// instruction, so that a block costs exactly its rounds.
template <block_mode Mode, int Rounds>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void
chained(const ZRC_AES_KEY& schedule, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
        std::size_t blocks) noexcept
{
    if (blocks == 0) return;
    const round_keys<Rounds> key{schedule};
    const __m128i first = key.k[0], last = key.k[Rounds];
    const __m128i both = _mm_xor_si128(first, last);
    __m128i x = _mm_xor_si128(load(chain), first); // what goes into the inner rounds
    __m128i result = _mm_setzero_si128();

    if constexpr (Mode == block_mode::cbc_encrypt) {
        x = _mm_xor_si128(x, load(in));
        for (; blocks > 1; --blocks, in += 16, out += 16) {
            const __m128i next = _mm_xor_si128(load(in + 16), first);
            x = _mm_aesenclast_si128(inner_rounds(x, key), _mm_xor_si128(last, next));
            store(out, _mm_xor_si128(x, next));
        }
        result = _mm_aesenclast_si128(inner_rounds(x, key), last);
        store(out, result);
    } else {
        for (; blocks != 0; --blocks, in += 16, out += 16) {
            const __m128i text = load(in);
            if constexpr (Mode == block_mode::cfb_encrypt) {
                x = _mm_aesenclast_si128(inner_rounds(x, key), _mm_xor_si128(both, text));
                store(out, _mm_xor_si128(x, first));
            } else {
                x = _mm_aesenclast_si128(inner_rounds(x, key), both);
                store(out, _mm_xor_si128(_mm_xor_si128(x, first), text));
            }
        }
        result = _mm_xor_si128(x, first);
    }
    store(chain, result);
}

// `Count` blocks of a parallel mode, side by side.
template <block_mode Mode, int Rounds, std::size_t Count>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void
side_by_side(const round_keys<Rounds>& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    constexpr bool chained_input = Mode == block_mode::cfb_decrypt, chained_output = Mode == block_mode::cbc_decrypt;

    __m128i text[Count], x[Count], before[Count];
#pragma GCC unroll 16
    for (std::size_t i = 0; i < Count; ++i) {
        text[i] = load(in + 16 * i);
        before[i] = i == 0 && (chained_input || chained_output) ? load(chain) : text[i == 0 ? 0 : i - 1];
        x[i] = chained_input ? before[i] : text[i];
        if constexpr (Mode == block_mode::ctr) {
            x[i] = load(chain);
            increment_counter<16>(chain);
        }
        x[i] = _mm_xor_si128(x[i], key.k[0]);
    }
#pragma GCC unroll 16
    for (int round = 1; round <= Rounds; ++round) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < Count; ++i) {
            if constexpr (uses_decryption(Mode)) {
                x[i] = round < Rounds ? _mm_aesdec_si128(x[i], key.k[round]) : _mm_aesdeclast_si128(x[i], key.k[round]);
            } else {
                x[i] = round < Rounds ? _mm_aesenc_si128(x[i], key.k[round]) : _mm_aesenclast_si128(x[i], key.k[round]);
            }
        }
    }
    if constexpr (chained_input || chained_output) store(chain, text[Count - 1]);
#pragma GCC unroll 16
    for (std::size_t i = 0; i < Count; ++i) {
        if constexpr (chained_output) x[i] = _mm_xor_si128(x[i], before[i]);
        if constexpr (chained_input || Mode == block_mode::ctr) x[i] = _mm_xor_si128(x[i], text[i]);
        store(out + 16 * i, x[i]);
    }
}

// A parallel mode: groups of `Count` blocks, then single ones.
template <block_mode Mode, int Rounds, std::size_t Count>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void
parallel(const ZRC_AES_KEY& schedule, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
         std::size_t blocks) noexcept
{
    const round_keys<Rounds> key{schedule};
    for (; blocks >= Count; blocks -= Count, in += 16 * Count, out += 16 * Count)
        side_by_side<Mode, Rounds, Count>(key, chain, in, out);
    for (; blocks != 0; --blocks, in += 16, out += 16)
        side_by_side<Mode, Rounds, 1>(key, chain, in, out);
}

} // namespace zrc::aes_ni
