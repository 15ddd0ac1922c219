// AES schedules with the AES instructions of x86-64: no look-up depends on the key.
#pragma once

#include "cipher/aes_ni.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <iterator>

namespace zrc::aes_ni {

// Four words as the instructions want them, from a schedule and back. The exchange is its own inverse.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i swap_words(__m128i words) noexcept
{
    return _mm_shuffle_epi8(words, _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i
load_words(const std::uint32_t* words) noexcept
{
    return swap_words(_mm_loadu_si128(reinterpret_cast<const __m128i*>(words)));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void store_words(std::uint32_t* words,
                                                                                   __m128i x) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(words), swap_words(x));
}

// Each word becomes the sum of itself and all words before it.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i running_sums(__m128i words) noexcept
{
    words = _mm_xor_si128(words, _mm_slli_si128(words, 4));
    return _mm_xor_si128(words, _mm_slli_si128(words, 8));
}

// SubWord, with RotWord before it where the round constant is not 0, of word `Word`, in all four places. The last
// round of the cipher does it: with four equal columns there is nothing for ShiftRows to move.
template <int Word>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline __m128i substituted(__m128i words,
                                                                                      int constant) noexcept
{
    constexpr int kBytes = 0x03020100 + 0x04040404 * Word, kRotated = 0x00030201 + 0x04040404 * Word;
    const __m128i four = _mm_shuffle_epi8(words, _mm_set1_epi32(constant != 0 ? kRotated : kBytes));
    return _mm_aesenclast_si128(four, _mm_set1_epi32(constant));
}

inline constexpr int kConstants[]{0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1B, 0x36};

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void expand_128(__m128i words,
                                                                                  std::uint32_t* w) noexcept
{
    store_words(w, words);
#pragma GCC unroll 16
    for (const int constant : kConstants) {
        words = _mm_xor_si128(running_sums(words), substituted<3>(words, constant));
        store_words(w += 4, words);
    }
}

// Six words in a step: `high` has two of them, in its lower half. Of the last step only four are used.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void expand_192(__m128i low, __m128i high,
                                                                                  std::uint32_t* w) noexcept
{
    constexpr int kSteps = 8;
    store_words(w, low);
#pragma GCC unroll 16
    for (int i = 0; i < kSteps; ++i) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(w + 4), swap_words(high));
        low = _mm_xor_si128(running_sums(low), substituted<1>(high, kConstants[i]));
        high = _mm_xor_si128(_mm_xor_si128(high, _mm_slli_si128(high, 4)), _mm_shuffle_epi32(low, 0xFF));
        store_words(w += 6, low);
    }
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void expand_256(__m128i low, __m128i high,
                                                                                  std::uint32_t* w) noexcept
{
    constexpr int kSteps = 7; // the last one has no second half
    store_words(w, low);
#pragma GCC unroll 16
    for (int i = 0; i < kSteps; ++i) {
        store_words(w + 4, high);
        low = _mm_xor_si128(running_sums(low), substituted<3>(high, kConstants[i]));
        high = _mm_xor_si128(running_sums(high), substituted<3>(low, 0));
        store_words(w += 8, low);
    }
}

// The equivalent inverse cipher: round keys in reverse order, InvMixColumns on all but the outer two.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] inline void to_decryption(ZRC_AES_KEY& schedule) noexcept
{
    std::uint32_t* front = schedule.round_key;
    std::uint32_t* back = front + std::size_t{4} * schedule.rounds;
    std::swap_ranges(front, front + 4, back);
    for (front += 4, back -= 4; front <= back; front += 4, back -= 4) {
        const __m128i first = load_words(front), second = load_words(back);
        store_words(front, _mm_aesimc_si128(second));
        store_words(back, _mm_aesimc_si128(first));
    }
}

[[gnu::target(KESTRIM_TARGET_AES_NI)]] inline void make_schedule(const std::uint8_t* key, std::size_t key_words,
                                                                 bool decryption, ZRC_AES_KEY& schedule) noexcept
{
    schedule.rounds = std::uint32_t(key_words + 6);
    switch (key_words) {
    case 4:
        expand_128(load(key), schedule.round_key);
        break;
    case 6:
        expand_192(load(key), _mm_loadl_epi64(reinterpret_cast<const __m128i*>(key + 16)), schedule.round_key);
        break;
    default:
        expand_256(load(key), load(key + 16), schedule.round_key);
    }
    std::fill(schedule.round_key + std::size_t{4} * (schedule.rounds + 1), std::end(schedule.round_key), 0U);
    if (decryption) to_decryption(schedule);
}

} // namespace zrc::aes_ni
