// LEA for x86-64 with AVX2: groups of 8 blocks in four vectors, each of which holds one word of every block. Two
// groups side by side keep the vector units busy; one alone waits for its own results.
#include "cipher/lanes_avx2.hpp"
#include "cipher/lea_engine.hpp"
#include "cipher/padded_group.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kGroupBlocks = 8;
constexpr std::size_t kWorthAGroup = 3; // fewer blocks are as fast one by one

// From two blocks to a vector to one word to a vector, and by the same exchange back.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] inline void transpose(__m256i* x) noexcept
{
    const __m256i low01 = _mm256_unpacklo_epi32(x[0], x[1]), high01 = _mm256_unpackhi_epi32(x[0], x[1]);
    const __m256i low23 = _mm256_unpacklo_epi32(x[2], x[3]), high23 = _mm256_unpackhi_epi32(x[2], x[3]);
    x[0] = _mm256_unpacklo_epi64(low01, low23);
    x[1] = _mm256_unpackhi_epi64(low01, low23);
    x[2] = _mm256_unpacklo_epi64(high01, high23);
    x[3] = _mm256_unpackhi_epi64(high01, high23);
}

template <int Bits>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] inline __m256i rotate_left(__m256i x) noexcept
{
    return _mm256_or_si256(_mm256_slli_epi32(x, Bits), _mm256_srli_epi32(x, 32 - Bits));
}

// The six words of a round key, in every lane.
struct round_key {
    __m256i w[6];

    [[gnu::always_inline,
      gnu::target(KESTRIM_TARGET_LANES_AVX2)]] explicit round_key(const std::uint32_t* words) noexcept
        : w{spread(words[0]), spread(words[1]), spread(words[2]), spread(words[3]), spread(words[4]), spread(words[5])}
    {
    }

    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static __m256i spread(std::uint32_t word) noexcept
    {
        return _mm256_set1_epi32(static_cast<int>(word));
    }
};

// Round R (mod 4) for the words x of one group. A round moves every word one place; here the words stay and change
// their names: what the standard calls X[i] is word i + R (mod 4).
template <std::size_t R>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] inline void round(__m256i* x,
                                                                                 const round_key& k) noexcept
{
    __m256i &a = x[R % 4], &b = x[(R + 1) % 4], &c = x[(R + 2) % 4], &d = x[(R + 3) % 4];
    const __m256i cd = _mm256_add_epi32(_mm256_xor_si256(c, k.w[4]), _mm256_xor_si256(d, k.w[5]));
    const __m256i bc = _mm256_add_epi32(_mm256_xor_si256(b, k.w[2]), _mm256_xor_si256(c, k.w[3]));
    const __m256i ab = _mm256_add_epi32(_mm256_xor_si256(a, k.w[0]), _mm256_xor_si256(b, k.w[1]));
    d = rotate_left<29>(cd);
    c = rotate_left<27>(bc);
    b = rotate_left<9>(ab);
}

// The inverse, one word at a time, for each waits for the one before it: groups take turns.
template <int LeftRotation>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] inline void
inverse_step(const __m256i& before, __m256i& word, __m256i k_before, __m256i k_word) noexcept
{
    const __m256i rotated = rotate_left<LeftRotation>(word);
    word = _mm256_xor_si256(_mm256_sub_epi32(rotated, _mm256_xor_si256(before, k_before)), k_word);
}

template <bool Backwards, std::size_t R, std::size_t... Group>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] inline void
round_of_groups(__m256i* x, const std::uint32_t* four_keys, std::index_sequence<Group...>) noexcept
{
    const round_key k{four_keys + 6 * R};
    if constexpr (Backwards) {
        (inverse_step<23>(x[4 * Group + R % 4], x[4 * Group + (R + 1) % 4], k.w[0], k.w[1]), ...);
        (inverse_step<5>(x[4 * Group + (R + 1) % 4], x[4 * Group + (R + 2) % 4], k.w[2], k.w[3]), ...);
        (inverse_step<3>(x[4 * Group + (R + 2) % 4], x[4 * Group + (R + 3) % 4], k.w[4], k.w[5]), ...);
    } else {
        (round<R>(x + 4 * Group, k), ...);
    }
}

template <bool Backwards, std::size_t... Group>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] inline void
cipher(const ZRC_LEA_KEY& key, __m256i* x, std::index_sequence<Group...> groups) noexcept
{
    (transpose(x + 4 * Group), ...);
    for (std::size_t done = 0; done < key.rounds; done += 4) {
        const std::uint32_t* const k = key.round_key + 6 * (Backwards ? key.rounds - 4 - done : done);
        round_of_groups<Backwards, Backwards ? 3 : 0>(x, k, groups);
        round_of_groups<Backwards, Backwards ? 2 : 1>(x, k, groups);
        round_of_groups<Backwards, Backwards ? 1 : 2>(x, k, groups);
        round_of_groups<Backwards, Backwards ? 0 : 3>(x, k, groups);
    }
    (transpose(x + 4 * Group), ...);
}

// Works through all whole steps of `Groups` groups; returns the number of blocks done.
template <block_mode Mode, std::size_t Groups>
[[gnu::target(KESTRIM_TARGET_LANES_AVX2)]] std::size_t run_groups(const ZRC_LEA_KEY& key, std::uint8_t* chain,
                                                                  const std::uint8_t* in, std::uint8_t* out,
                                                                  std::size_t blocks) noexcept
{
    constexpr std::size_t kStep = Groups * kGroupBlocks;
    std::size_t done = 0;
    for (; blocks - done >= kStep; done += kStep) {
        __m256i x[4 * Groups];
        lanes_avx2<Mode>::load(chain, in + 16 * done, x);
        cipher<uses_decryption(Mode)>(key, x, std::make_index_sequence<Groups>{});
        lanes_avx2<Mode>::store(chain, in + 16 * done, out + 16 * done, x);
    }
    return done;
}

template <block_mode Mode>
void run(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
         std::size_t blocks) noexcept
{
    std::size_t done = run_groups<Mode, 2>(key, chain, in, out, blocks);
    done += run_groups<Mode, 1>(key, chain, in + 16 * done, out + 16 * done, blocks - done);
    const std::size_t rest = blocks - done;
    if (rest < kWorthAGroup) return lea_blocks_portable(key, Mode, chain, in + 16 * done, out + 16 * done, rest);
    run_padded_group<Mode, kGroupBlocks>(
        chain, in + 16 * done, out + 16 * done, rest,
        [&key](std::uint8_t* first, std::uint8_t* data) { run_groups<Mode, 1>(key, first, data, data, kGroupBlocks); });
}

} // namespace

void lea_blocks_avx2(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept
{
    if (!lea_is_keyed(key)) return;
    switch (mode) {
    case block_mode::ecb_encrypt:
        return run<block_mode::ecb_encrypt>(key, chain, in, out, blocks);
    case block_mode::ecb_decrypt:
        return run<block_mode::ecb_decrypt>(key, chain, in, out, blocks);
    case block_mode::cbc_decrypt:
        return run<block_mode::cbc_decrypt>(key, chain, in, out, blocks);
    case block_mode::cfb_decrypt:
        return run<block_mode::cfb_decrypt>(key, chain, in, out, blocks);
    case block_mode::ctr:
        return run<block_mode::ctr>(key, chain, in, out, blocks);
    default:
        return lea_blocks_portable(key, mode, chain, in, out, blocks);
    }
}

} // namespace zrc
