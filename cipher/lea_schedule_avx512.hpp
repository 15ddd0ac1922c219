// LEA schedules with the vector rotations of AVX-512, which turn each word by its own amount.
#pragma once

#include "cipher/lea_schedule.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <iterator>

#define KESTRIM_TARGET_LEA_SCHEDULE "avx512f,avx512vl,avx2"

namespace zrc::lea_avx512 {

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline __m256i
load(const std::uint32_t* words) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline void store(std::uint32_t* words,
                                                                                   __m256i x) noexcept
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(words), x);
}

// The amounts by which words from place `First` on are rotated, eight of them.
template <std::size_t First>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline __m256i rotations() noexcept
{
    constexpr auto at = [](std::size_t i) { return lea::kRotations[(First + i) % lea::kRoundKeyWords]; };
    return _mm256_setr_epi32(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline __m256i
changed(__m256i key, const std::uint32_t* addends, __m256i by) noexcept
{
    return _mm256_rolv_epi32(_mm256_add_epi32(key, load(addends)), by);
}

// Keys of four and of six words: the six of a round key go out in a vector of eight, whose last two the next one, or
// the zeros at the end, take the place of.
template <std::size_t N>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline void put_rounds(__m256i key,
                                                                                        std::uint32_t* out) noexcept
{
    const __m256i by = rotations<0>();
    const __m256i places =
        N == 4 ? _mm256_setr_epi32(0, 1, 2, 1, 3, 1, 0, 0) : _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    for (std::size_t i = 0; i < lea::schedule_words(N); i += lea::kRoundKeyWords) {
        key = changed(key, lea::kAddends<N>.data() + i, by);
        store(out + i, N == 4 ? _mm256_permutevar8x32_epi32(key, places) : key);
    }
}

// Keys of eight words: each word of the schedule is made of the eighth before it, the first ones of the key.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline void put_words(__m256i key,
                                                                                       std::uint32_t* out) noexcept
{
    const __m256i by[]{rotations<0>(), rotations<8>(), rotations<16>()};
    const std::uint32_t* const addends = lea::kAddends<8>.data();
    for (std::size_t i = 0; i < lea::schedule_words(8); i += 24) {
        store(out + i, key = changed(key, addends + i, by[0]));
        store(out + i + 8, key = changed(key, addends + i + 8, by[1]));
        store(out + i + 16, key = changed(key, addends + i + 16, by[2]));
    }
}

[[gnu::target(KESTRIM_TARGET_LEA_SCHEDULE)]] inline void make_schedule(const std::uint8_t* key, std::size_t key_words,
                                                                       ZRC_LEA_KEY& schedule) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(key));
    const auto* const behind = reinterpret_cast<const __m128i*>(key + 16);
    std::uint32_t* const out = schedule.round_key;
    switch (key_words) {
    case 4:
        put_rounds<4>(_mm256_castsi128_si256(low), out);
        break;
    case 6:
        put_rounds<6>(_mm256_inserti128_si256(_mm256_castsi128_si256(low), _mm_loadl_epi64(behind), 1), out);
        break;
    default:
        put_words(_mm256_inserti128_si256(_mm256_castsi128_si256(low), _mm_loadu_si128(behind), 1), out);
    }
    std::fill(out + lea::schedule_words(key_words), std::end(schedule.round_key), 0U);
    schedule.rounds = std::uint32_t(lea::rounds_for(key_words));
}

} // namespace zrc::lea_avx512
