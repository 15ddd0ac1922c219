// RC5-32/16 for x86-64 with AVX-512: sixteen blocks to a pair of vectors, one with their first words and one with
// their second, and up to four pairs side by side. Fewer than sixteen blocks, and the modes whose blocks wait for
// each other, are left to the portable rounds.
#include "cipher/avx512.hpp"
#include "cipher/interleaved_blocks.hpp"
#include "cipher/rc5_engine.hpp"
#include "cipher/rc5_rounds.hpp"

namespace zrc {
namespace {

constexpr std::size_t kLanes = 16;

// The first and the second words of `Pairs` times sixteen blocks.
template <std::size_t Pairs>
struct word_vectors {
    __m512i a[Pairs];
    __m512i b[Pairs];
};

// Lanes 0, 2, 4, ... of two vectors, the second's counted from 16.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i even_lanes() noexcept
{
    return _mm512_set_epi32(30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i odd_lanes() noexcept
{
    return _mm512_add_epi32(even_lanes(), _mm512_set1_epi32(1));
}

// Lanes 0, 16, 1, 17, ...: of a vector of first words and one of second words, the blocks that begin at lane `first`.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i joined_lanes(int first) noexcept
{
    return _mm512_add_epi32(_mm512_set_epi32(23, 7, 22, 6, 21, 5, 20, 4, 19, 3, 18, 2, 17, 1, 16, 0),
                            _mm512_set1_epi32(first));
}

template <std::size_t Pairs>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void split(const std::uint64_t* x,
                                                                             word_vectors<Pairs>& v) noexcept
{
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Pairs; ++n) {
        const __m512i low = _mm512_loadu_si512(x + kLanes * n), high = _mm512_loadu_si512(x + kLanes * n + 8);
        v.a[n] = _mm512_permutex2var_epi32(low, even_lanes(), high);
        v.b[n] = _mm512_permutex2var_epi32(low, odd_lanes(), high);
    }
}

template <std::size_t Pairs>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline void join(const word_vectors<Pairs>& v,
                                                                            std::uint64_t* x) noexcept
{
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Pairs; ++n) {
        _mm512_storeu_si512(x + kLanes * n, _mm512_permutex2var_epi32(v.a[n], joined_lanes(0), v.b[n]));
        _mm512_storeu_si512(x + kLanes * n + 8, _mm512_permutex2var_epi32(v.a[n], joined_lanes(8), v.b[n]));
    }
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_AVX512)]] inline __m512i broadcast(std::uint32_t word) noexcept
{
    return _mm512_set1_epi32(int(word));
}

template <std::size_t Pairs>
[[gnu::target(KESTRIM_TARGET_AVX512)]] void encrypt(const std::uint32_t (&s)[rc5_core::subkeys],
                                                    std::uint64_t* x) noexcept
{
    word_vectors<Pairs> v;
    split(x, v);
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Pairs; ++n) {
        v.a[n] = _mm512_add_epi32(v.a[n], broadcast(s[0]));
        v.b[n] = _mm512_add_epi32(v.b[n], broadcast(s[1]));
    }
    for (std::size_t i = 2; i < rc5_core::subkeys; i += 2) {
        const __m512i s0 = broadcast(s[i]), s1 = broadcast(s[i + 1]);
#pragma GCC unroll 4
        for (std::size_t n = 0; n < Pairs; ++n)
            v.a[n] = _mm512_add_epi32(_mm512_rolv_epi32(_mm512_xor_si512(v.a[n], v.b[n]), v.b[n]), s0);
#pragma GCC unroll 4
        for (std::size_t n = 0; n < Pairs; ++n)
            v.b[n] = _mm512_add_epi32(_mm512_rolv_epi32(_mm512_xor_si512(v.b[n], v.a[n]), v.a[n]), s1);
    }
    join(v, x);
}

template <std::size_t Pairs>
[[gnu::target(KESTRIM_TARGET_AVX512)]] void decrypt(const std::uint32_t (&s)[rc5_core::subkeys],
                                                    std::uint64_t* x) noexcept
{
    word_vectors<Pairs> v;
    split(x, v);
    for (std::size_t i = rc5_core::subkeys; i > 2; i -= 2) {
        const __m512i s0 = broadcast(s[i - 2]), s1 = broadcast(s[i - 1]);
#pragma GCC unroll 4
        for (std::size_t n = 0; n < Pairs; ++n)
            v.b[n] = _mm512_xor_si512(_mm512_rorv_epi32(_mm512_sub_epi32(v.b[n], s1), v.a[n]), v.a[n]);
#pragma GCC unroll 4
        for (std::size_t n = 0; n < Pairs; ++n)
            v.a[n] = _mm512_xor_si512(_mm512_rorv_epi32(_mm512_sub_epi32(v.a[n], s0), v.b[n]), v.b[n]);
    }
#pragma GCC unroll 4
    for (std::size_t n = 0; n < Pairs; ++n) {
        v.a[n] = _mm512_sub_epi32(v.a[n], broadcast(s[0]));
        v.b[n] = _mm512_sub_epi32(v.b[n], broadcast(s[1]));
    }
    join(v, x);
}

struct rc5_avx512_core : rc5_core {
    template <bool Backwards, std::size_t N>
    [[gnu::always_inline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        if constexpr (N < kLanes)
            rc5_core::transform<Backwards>(schedule, x);
        else if constexpr (Backwards)
            decrypt<N / kLanes>(schedule.round_key, x.data());
        else
            encrypt<N / kLanes>(schedule.round_key, x.data());
    }
};

} // namespace

void rc5_blocks_avx512(const ZRC_RC5_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept
{
    interleaved_modes<rc5_avx512_core, 4 * kLanes, 2 * kLanes, kLanes, 4, 2, 1>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc
