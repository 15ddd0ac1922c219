// AES with the instructions of x86-64, on vectors of 128 bits: the schedule as the instructions want it, blocks side
// by side, and the modes whose blocks wait for each other. Both AES kernels use it. Loops over blocks and rounds are
// unrolled so that arrays become registers.
#pragma once

#include "cipher/aes_engine.hpp"
#include "core/bytes.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#define KESTRIM_TARGET_AES_NI "aes,ssse3,sse4.1"

namespace zrc::aes_ni {

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i load(const std::uint8_t* block) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void store(std::uint8_t* block, __m128i x) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block), x);
}

// The schedule keeps its words with the first byte highest, the instructions want it lowest.
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

// Calls `kernel` with the mode and the number of rounds as template arguments; not at all for a schedule that is none.
[[gnu::always_inline]] inline void with_mode_and_rounds(const ZRC_AES_KEY& key, block_mode mode, auto kernel) noexcept
{
    with_mode(mode, [&]<block_mode Mode>() {
        switch (key.rounds) {
        case 10:
            return kernel.template operator()<Mode, 10>();
        case 12:
            return kernel.template operator()<Mode, 12>();
        case 14:
            return kernel.template operator()<Mode, 14>();
        default:
            return;
        }
    });
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

// CBC encryption, CFB encryption and OFB. The last round of a block and the addition of the first key for the next are
// one instruction, so that a block costs exactly its rounds.
template <block_mode Mode, int Rounds>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void
chained(const round_keys<Rounds>& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
        std::size_t blocks) noexcept
{
    static_assert(!is_parallel(Mode));
    if (blocks == 0) return;
    const __m128i first = key.k[0], last = key.k[Rounds];
    const __m128i both = _mm_xor_si128(first, last);
    __m128i x = _mm_xor_si128(load(chain), first); // what goes into the inner rounds
    __m128i result = _mm_setzero_si128();

    if constexpr (Mode == block_mode::cbc_encrypt) {
        x = _mm_xor_si128(x, load(in));
        for (;; in += 16, out += 16) {
            x = inner_rounds(x, key);
            if (--blocks == 0) break;
            const __m128i next = _mm_xor_si128(load(in + 16), first);
            x = _mm_aesenclast_si128(x, _mm_xor_si128(last, next));
            store(out, _mm_xor_si128(x, next));
        }
        result = _mm_aesenclast_si128(x, last);
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

// The next Count counters; moves `chain` on. Halves are made in scalar registers: a vector loaded from two scalar
// stores just done would have to wait for them.
template <std::size_t Count>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void counters(std::uint8_t* chain,
                                                                                __m128i (&x)[Count]) noexcept
{
    const std::uint64_t high = load_be64(chain), low = load_be64(chain + 8), next = low + Count;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < Count; ++i) {
        const std::uint64_t n = low + i;
        x[i] =
            _mm_set_epi64x(static_cast<long long>(byte_swap(n)), static_cast<long long>(byte_swap(high + (n < low))));
    }
    store_be64(chain + 8, next);
    if (next < low) store_be64(chain, high + 1);
}

// The ciphertext block before block `i`.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i
before(const std::uint8_t* chain, const std::uint8_t* in, std::size_t i) noexcept
{
    return load(i == 0 ? chain : in + 16 * (i - 1));
}

// `Count` blocks of a parallel mode, side by side. They are stored last block first: in place, each still finds the
// ciphertext before it.
template <block_mode Mode, int Rounds, std::size_t Count>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void
side_by_side(const round_keys<Rounds>& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    static_assert(is_parallel(Mode));
    constexpr bool chained = Mode == block_mode::cbc_decrypt || Mode == block_mode::cfb_decrypt;
    constexpr bool keystream = Mode == block_mode::ctr || Mode == block_mode::cfb_decrypt;

    __m128i x[Count];
    if constexpr (Mode == block_mode::ctr) {
        counters(chain, x);
    } else {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < Count; ++i)
            x[i] = Mode == block_mode::cfb_decrypt ? before(chain, in, i) : load(in + 16 * i);
    }
#pragma GCC unroll 16
    for (std::size_t i = 0; i < Count; ++i)
        x[i] = _mm_xor_si128(x[i], key.k[0]);
#pragma GCC unroll 16
    for (int round = 1; round < Rounds; ++round) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < Count; ++i)
            x[i] = uses_decryption(Mode) ? _mm_aesdec_si128(x[i], key.k[round]) : _mm_aesenc_si128(x[i], key.k[round]);
    }
    __m128i next_chain = _mm_setzero_si128();
    if constexpr (chained) next_chain = load(in + 16 * (Count - 1));
#pragma GCC unroll 16
    for (std::size_t n = 0; n < Count; ++n) {
        const std::size_t i = Count - 1 - n;
        __m128i y = uses_decryption(Mode) ? _mm_aesdeclast_si128(x[i], key.k[Rounds])
                                          : _mm_aesenclast_si128(x[i], key.k[Rounds]);
        if constexpr (Mode == block_mode::cbc_decrypt) y = _mm_xor_si128(y, before(chain, in, i));
        if constexpr (keystream) y = _mm_xor_si128(y, load(in + 16 * i));
        store(out + 16 * i, y);
    }
    if constexpr (chained) store(chain, next_chain);
}

} // namespace zrc::aes_ni
