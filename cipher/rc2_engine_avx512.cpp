// RC2 for x86-64 with AVX-512: 32 blocks to four vectors, one for each of R[0] to R[3], and up to two such groups
// side by side. Mashing looks its subkeys up in registers. Fewer than 32 blocks, and the modes whose blocks wait for
// each other, are left to the portable rounds.
#include "cipher/avx512.hpp"
#include "cipher/interleaved_blocks.hpp"
#include "cipher/rc2_engine.hpp"
#include "cipher/rc2_rounds.hpp"

namespace zrc {
namespace {

constexpr std::size_t kLanes = 32;

struct word_vectors {
    __m512i r[4];
};

// The 64 subkeys, which mashing chooses from by the low six bits of a word.
struct subkey_table {
    __m512i low;
    __m512i high;
};

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i look_up(const subkey_table& k,
                                                                                  __m512i word) noexcept
{
    return _mm512_permutex2var_epi16(k.low, word, k.high);
}

// Word `first` of sixteen blocks in two vectors, then the word behind it.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i two_words(__m512i low, __m512i high,
                                                                                    int first) noexcept
{
    const __m512i lanes = _mm512_set_epi16(61, 57, 53, 49, 45, 41, 37, 33, 29, 25, 21, 17, 13, 9, 5, 1, //
                                           60, 56, 52, 48, 44, 40, 36, 32, 28, 24, 20, 16, 12, 8, 4, 0);
    return _mm512_permutex2var_epi16(low, _mm512_add_epi16(lanes, _mm512_set1_epi16(short(first))), high);
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void split(const std::uint64_t* x,
                                                                             word_vectors& v) noexcept
{
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; i += 2) {
        const __m512i front = two_words(_mm512_loadu_si512(x), _mm512_loadu_si512(x + 8), int(i));
        const __m512i back = two_words(_mm512_loadu_si512(x + 16), _mm512_loadu_si512(x + 24), int(i));
        v.r[i] = _mm512_shuffle_i64x2(front, back, 0x44);
        v.r[i + 1] = _mm512_shuffle_i64x2(front, back, 0xEE);
    }
}

// Pairs of words interleave to double words, pairs of these to blocks. Both steps work within 128-bit lanes, so the
// blocks come out in the order 0 1 8 9 16 17 24 25, and so on, by two.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void join(const word_vectors& v,
                                                                            std::uint64_t* x) noexcept
{
    const __m512i low01 = _mm512_unpacklo_epi16(v.r[0], v.r[1]), high01 = _mm512_unpackhi_epi16(v.r[0], v.r[1]);
    const __m512i low23 = _mm512_unpacklo_epi16(v.r[2], v.r[3]), high23 = _mm512_unpackhi_epi16(v.r[2], v.r[3]);
    const __m512i blocks[4] = {_mm512_unpacklo_epi32(low01, low23), _mm512_unpackhi_epi32(low01, low23),
                               _mm512_unpacklo_epi32(high01, high23), _mm512_unpackhi_epi32(high01, high23)};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(x + 2 * i), _mm512_extracti32x4_epi32(blocks[i], 0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(x + 8 + 2 * i), _mm512_extracti32x4_epi32(blocks[i], 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(x + 16 + 2 * i), _mm512_extracti32x4_epi32(blocks[i], 2));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(x + 24 + 2 * i), _mm512_extracti32x4_epi32(blocks[i], 3));
    }
}

template <int Places>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i rotate_left(__m512i words) noexcept
{
    return _mm512_or_si512(_mm512_slli_epi16(words, Places), _mm512_srli_epi16(words, 16 - Places));
}

// (R[i-1] & R[i-2]) + (~R[i-1] & R[i-3]): the sum has no carries.
template <std::size_t I>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i choice(const word_vectors& v) noexcept
{
    return _mm512_ternarylogic_epi32(v.r[(I + 3) % 4], v.r[(I + 2) % 4], v.r[(I + 1) % 4], 0xCA);
}

template <std::size_t I>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void mix(word_vectors& v, __m512i subkey) noexcept
{
    v.r[I] = rotate_left<rc2::kRotations[I]>(_mm512_add_epi16(_mm512_add_epi16(v.r[I], subkey), choice<I>(v)));
}

template <std::size_t I>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void unmix(word_vectors& v, __m512i subkey) noexcept
{
    v.r[I] = _mm512_sub_epi16(_mm512_sub_epi16(rotate_left<16 - rc2::kRotations[I]>(v.r[I]), subkey), choice<I>(v));
}

template <std::size_t I>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void mash(word_vectors& v,
                                                                            const subkey_table& k) noexcept
{
    v.r[I] = _mm512_add_epi16(v.r[I], look_up(k, v.r[(I + 3) % 4]));
}

template <std::size_t I>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void unmash(word_vectors& v,
                                                                              const subkey_table& k) noexcept
{
    v.r[I] = _mm512_sub_epi16(v.r[I], look_up(k, v.r[(I + 3) % 4]));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i broadcast(std::uint16_t word) noexcept
{
    return _mm512_set1_epi16(short(word));
}

template <std::size_t I, std::size_t Groups>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void mix_all(word_vectors (&v)[Groups],
                                                                               std::uint16_t subkey) noexcept
{
    const __m512i k = broadcast(subkey);
#pragma GCC unroll 4
    for (word_vectors& group : v)
        mix<I>(group, k);
}

template <std::size_t I, std::size_t Groups>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void unmix_all(word_vectors (&v)[Groups],
                                                                                 std::uint16_t subkey) noexcept
{
    const __m512i k = broadcast(subkey);
#pragma GCC unroll 4
    for (word_vectors& group : v)
        unmix<I>(group, k);
}

template <std::size_t Groups>
[[gnu::target(KESTRIM_TARGET_AVX512)]] void encrypt(const std::uint16_t (&k)[64], std::uint64_t* x) noexcept
{
    const subkey_table table{_mm512_loadu_si512(k), _mm512_loadu_si512(k + 32)};
    word_vectors v[Groups];
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Groups; ++n)
        split(x + kLanes * n, v[n]);
    for (std::size_t round = 0; round < rc2::kRounds; ++round) {
        mix_all<0>(v, k[4 * round]);
        mix_all<1>(v, k[4 * round + 1]);
        mix_all<2>(v, k[4 * round + 2]);
        mix_all<3>(v, k[4 * round + 3]);
        if (!rc2::is_mashed(round)) continue;
#pragma GCC unroll 4
        for (word_vectors& group : v)
            mash<0>(group, table), mash<1>(group, table), mash<2>(group, table), mash<3>(group, table);
    }
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Groups; ++n)
        join(v[n], x + kLanes * n);
}

template <std::size_t Groups>
[[gnu::target(KESTRIM_TARGET_AVX512)]] void decrypt(const std::uint16_t (&k)[64], std::uint64_t* x) noexcept
{
    const subkey_table table{_mm512_loadu_si512(k), _mm512_loadu_si512(k + 32)};
    word_vectors v[Groups];
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Groups; ++n)
        split(x + kLanes * n, v[n]);
    for (std::size_t round = rc2::kRounds; round-- != 0;) {
        if (rc2::is_mashed(round)) {
#pragma GCC unroll 4
            for (word_vectors& group : v)
                unmash<3>(group, table), unmash<2>(group, table), unmash<1>(group, table), unmash<0>(group, table);
        }
        unmix_all<3>(v, k[4 * round + 3]);
        unmix_all<2>(v, k[4 * round + 2]);
        unmix_all<1>(v, k[4 * round + 1]);
        unmix_all<0>(v, k[4 * round]);
    }
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Groups; ++n)
        join(v[n], x + kLanes * n);
}

struct rc2_avx512_core : rc2_core {
    template <bool Backwards, std::size_t N>
    [[gnu::always_inline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        if constexpr (N < kLanes)
            rc2_core::transform<Backwards>(schedule, x);
        else if constexpr (Backwards)
            decrypt<N / kLanes>(schedule.round_key, x.data());
        else
            encrypt<N / kLanes>(schedule.round_key, x.data());
    }
};

} // namespace

void rc2_blocks_avx512(const ZRC_RC2_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept
{
    interleaved_modes<rc2_avx512_core, 2 * kLanes, kLanes, 4, 2, 1>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc
