// LEA for x86-64 with AVX-512: groups of 16 blocks in four vectors, each of which holds one word of every block. Four
// groups side by side keep the vector units busy; one alone waits for its own results.
#include "cipher/lanes_avx512.hpp"
#include "cipher/lea_engine.hpp"
#include "cipher/padded_group.hpp"
#include "core/bytes.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kGroupBlocks = 16;
constexpr std::size_t kWorthAGroup = 3; // fewer blocks are as fast one by one

// From four blocks to a vector to one word to a vector, and by the same exchange back.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline void transpose(__m512i* x) noexcept
{
    const __m512i low01 = _mm512_unpacklo_epi32(x[0], x[1]), high01 = _mm512_unpackhi_epi32(x[0], x[1]);
    const __m512i low23 = _mm512_unpacklo_epi32(x[2], x[3]), high23 = _mm512_unpackhi_epi32(x[2], x[3]);
    x[0] = _mm512_unpacklo_epi64(low01, low23);
    x[1] = _mm512_unpackhi_epi64(low01, low23);
    x[2] = _mm512_unpacklo_epi64(high01, high23);
    x[3] = _mm512_unpackhi_epi64(high01, high23);
}

// The words of the next 16 * Groups counters without a transposition: only the last words differ. Not done, and
// false, when that word wraps.
template <std::size_t... Group>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline bool
counter_words(std::uint8_t* chain, __m512i* x, std::index_sequence<Group...>) noexcept
{
    constexpr std::uint32_t kCounters = kGroupBlocks * sizeof...(Group);
    const std::uint32_t next = load_be32(chain + 12) + kCounters;
    if (next < kCounters) return false;

    const __m512i block = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15); // as transposed
    const __m512i first = _mm512_add_epi32(_mm512_set1_epi32(static_cast<int>(next - kCounters)), block);
    const __m512i reversed = _mm512_broadcast_i32x4(_mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
    const __m512i same[]{_mm512_set1_epi32(static_cast<int>(load_le32(chain))),
                         _mm512_set1_epi32(static_cast<int>(load_le32(chain + 4))),
                         _mm512_set1_epi32(static_cast<int>(load_le32(chain + 8)))};
    ((x[4 * Group] = same[0], x[4 * Group + 1] = same[1], x[4 * Group + 2] = same[2]), ...);
    ((x[4 * Group + 3] = _mm512_shuffle_epi8(
          _mm512_add_epi32(first, _mm512_set1_epi32(static_cast<int>(kGroupBlocks * Group))), reversed)),
     ...);
    store_be32(chain + 12, next);
    return true;
}

// The six words of a round key, in every lane.
struct round_key {
    __m512i w[6];

    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] explicit round_key(const std::uint32_t* words) noexcept
        : w{spread(words[0]), spread(words[1]), spread(words[2]), spread(words[3]), spread(words[4]), spread(words[5])}
    {
    }

    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static __m512i spread(std::uint32_t word) noexcept
    {
        return _mm512_set1_epi32(static_cast<int>(word));
    }
};

// Round R (mod 4) for the words x of one group. A round moves every word one place; here the words stay and change
// their names: what the standard calls X[i] is word i + R (mod 4).
template <std::size_t R>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline void round(__m512i* x, const round_key& k) noexcept
{
    __m512i &a = x[R % 4], &b = x[(R + 1) % 4], &c = x[(R + 2) % 4], &d = x[(R + 3) % 4];
    const __m512i cd = _mm512_add_epi32(_mm512_xor_si512(c, k.w[4]), _mm512_xor_si512(d, k.w[5]));
    const __m512i bc = _mm512_add_epi32(_mm512_xor_si512(b, k.w[2]), _mm512_xor_si512(c, k.w[3]));
    const __m512i ab = _mm512_add_epi32(_mm512_xor_si512(a, k.w[0]), _mm512_xor_si512(b, k.w[1]));
    d = _mm512_ror_epi32(cd, 3);
    c = _mm512_ror_epi32(bc, 5);
    b = _mm512_rol_epi32(ab, 9);
}

// The inverse, one word at a time, for each waits for the one before it: groups take turns.
template <int LeftRotation>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline void
inverse_step(const __m512i& before, __m512i& word, __m512i k_before, __m512i k_word) noexcept
{
    const __m512i rotated = _mm512_rol_epi32(word, LeftRotation);
    word = _mm512_xor_si512(_mm512_sub_epi32(rotated, _mm512_xor_si512(before, k_before)), k_word);
}

template <bool Backwards, std::size_t R, std::size_t... Group>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline void
round_of_groups(__m512i* x, const std::uint32_t* four_keys, std::index_sequence<Group...>) noexcept
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
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline void
rounds(const ZRC_LEA_KEY& key, __m512i* x, std::index_sequence<Group...> groups) noexcept
{
    for (std::size_t done = 0; done < key.rounds; done += 4) {
        const std::uint32_t* const k = key.round_key + 6 * (Backwards ? key.rounds - 4 - done : done);
        round_of_groups<Backwards, Backwards ? 3 : 0>(x, k, groups);
        round_of_groups<Backwards, Backwards ? 2 : 1>(x, k, groups);
        round_of_groups<Backwards, Backwards ? 1 : 2>(x, k, groups);
        round_of_groups<Backwards, Backwards ? 0 : 3>(x, k, groups);
    }
}

// One step of as many groups as are counted by `Group`, of four vectors each.
template <block_mode Mode, std::size_t... Group, std::size_t... Vector>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] inline void
step(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
     std::index_sequence<Group...> groups, std::index_sequence<Vector...>) noexcept
{
    __m512i words[4 * sizeof...(Group)];
    if (Mode != block_mode::ctr || !counter_words(chain, words, groups)) {
        __m512i blocks[4 * sizeof...(Group)];
        lanes_avx512<Mode>::load(chain, in, blocks);
        ((words[Vector] = blocks[Vector]), ...);
        (transpose(words + 4 * Group), ...);
    }
    rounds<uses_decryption(Mode)>(key, words, groups);
    (transpose(words + 4 * Group), ...);
    lanes_avx512<Mode>::store(chain, in, out, words);
}

// Works through all whole steps of `Groups` groups; returns the number of blocks done.
template <block_mode Mode, std::size_t Groups>
[[gnu::target(KESTRIM_TARGET_LANES)]] std::size_t run_groups(const ZRC_LEA_KEY& key, std::uint8_t* chain,
                                                             const std::uint8_t* in, std::uint8_t* out,
                                                             std::size_t blocks) noexcept
{
    constexpr std::size_t kStep = Groups * kGroupBlocks;
    std::size_t done = 0;
    for (; blocks - done >= kStep; done += kStep) {
        step<Mode>(key, chain, in + 16 * done, out + 16 * done, std::make_index_sequence<Groups>{},
                   std::make_index_sequence<4 * Groups>{});
    }
    return done;
}

template <block_mode Mode>
void run(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
         std::size_t blocks) noexcept
{
    std::size_t done = run_groups<Mode, 4>(key, chain, in, out, blocks);
    done += run_groups<Mode, 1>(key, chain, in + 16 * done, out + 16 * done, blocks - done);
    const std::size_t rest = blocks - done;
    if (rest < kWorthAGroup) return lea_blocks_portable(key, Mode, chain, in + 16 * done, out + 16 * done, rest);
    run_padded_group<Mode, kGroupBlocks>(
        chain, in + 16 * done, out + 16 * done, rest,
        [&key](std::uint8_t* first, std::uint8_t* data) { run_groups<Mode, 1>(key, first, data, data, kGroupBlocks); });
}

} // namespace

void lea_blocks_avx512(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
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
