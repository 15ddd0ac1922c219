// The message schedule of SHA-512 in AVX2 vectors, for two blocks at once: a vector holds two words of one block and,
// above them, the same two words of another. The rounds stay with the kernels that include this.
#pragma once

#include "core/secret.hpp"
#include "digest/sha_constants.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {

// For each pair of rounds: constant plus message word for the two rounds of the first block, then of the second.
using sha512_round_inputs = secret_array<std::uint64_t, 2 * 80>;

class sha512_schedule {
public:
    // The sixteen words of both blocks, and what the first sixteen rounds need of them. Inlined and without loops, so
    // that the words stay in vector registers; the same holds for next().
    template <std::size_t... Pair>
    [[gnu::always_inline, gnu::target("avx2")]] sha512_schedule(const std::uint8_t* first, const std::uint8_t* second,
                                                                std::uint64_t* inputs,
                                                                std::index_sequence<Pair...>) noexcept
        : w_{load_words(first + 16 * Pair, second + 16 * Pair)...}
    {
        (put(inputs + 4 * Pair, &kSha512K[2 * Pair], w_[Pair]), ...);
    }

    // The words of rounds 2 * Pair and 2 * Pair + 1 (mod 16) of the next sixteen; k are the constants of those
    // rounds.
    template <std::size_t Pair>
    [[gnu::always_inline, gnu::target("avx2")]] void next(std::uint64_t* inputs, const std::uint64_t* k) noexcept
    {
        const __m256i after_1 = _mm256_alignr_epi8(w_[(Pair + 1) % 8], w_[Pair], 8);
        const __m256i after_9 = _mm256_alignr_epi8(w_[(Pair + 5) % 8], w_[(Pair + 4) % 8], 8);
        const __m256i after_14 = w_[(Pair + 7) % 8];
        const __m256i sigma0 = sum2(rotate<1>(after_1), rotate_8(after_1), _mm256_srli_epi64(after_1, 7));
        const __m256i sigma1 = sum2(rotate<19>(after_14), rotate<61>(after_14), _mm256_srli_epi64(after_14, 6));
        w_[Pair] = _mm256_add_epi64(_mm256_add_epi64(w_[Pair], after_9), _mm256_add_epi64(sigma0, sigma1));
        put(inputs, k, w_[Pair]);
    }

private:
    [[gnu::always_inline, gnu::target("avx2")]] static __m128i load(const void* memory) noexcept
    {
        return _mm_loadu_si128(static_cast<const __m128i*>(memory));
    }
    [[gnu::always_inline, gnu::target("avx2")]] static __m256i in_both_halves(__m128i half) noexcept
    {
        return _mm256_broadcastsi128_si256(half);
    }
    [[gnu::always_inline, gnu::target("avx2")]] static __m256i load_words(const std::uint8_t* first,
                                                                          const std::uint8_t* second) noexcept
    {
        const __m256i big_endian = in_both_halves(_mm_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607));
        return _mm256_shuffle_epi8(_mm256_set_m128i(load(second), load(first)), big_endian);
    }
    [[gnu::always_inline, gnu::target("avx2")]] static void put(std::uint64_t* inputs, const std::uint64_t* k,
                                                                __m256i words) noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(inputs), _mm256_add_epi64(words, in_both_halves(load(k))));
    }
    template <int By>
    [[gnu::always_inline, gnu::target("avx2")]] static __m256i rotate(__m256i x) noexcept
    {
        return _mm256_or_si256(_mm256_srli_epi64(x, By), _mm256_slli_epi64(x, 64 - By));
    }
    [[gnu::always_inline, gnu::target("avx2")]] static __m256i rotate_8(__m256i x) noexcept
    {
        return _mm256_shuffle_epi8(x, in_both_halves(_mm_set_epi64x(0x080F0E0D0C0B0A09, 0x0007060504030201)));
    }
    // The sum without carries.
    [[gnu::always_inline, gnu::target("avx2")]] static __m256i sum2(__m256i x, __m256i y, __m256i z) noexcept
    {
        return _mm256_xor_si256(_mm256_xor_si256(x, y), z);
    }

    __m256i w_[8]; // the last sixteen words of both blocks
};

} // namespace zrc
