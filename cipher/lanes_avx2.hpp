// The parallel modes around a vector kernel for 16-byte blocks, two blocks to a 256-bit vector: what goes into the
// cipher and what is made of what comes out, as lanes_avx512 does for wider vectors.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/bytes.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace zrc {

// Kernels that include this are compiled for at least these features.
#define KESTRIM_TARGET_LANES_AVX2 "avx2,bmi,bmi2"

template <block_mode Mode>
class lanes_avx2 {
    static_assert(is_parallel(Mode));

public:
    // The inputs of the cipher for the next 2 * Vectors blocks. For CTR this moves the counter in `chain` on.
    template <std::size_t Vectors>
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static void
    load(std::uint8_t* chain, const std::uint8_t* in, __m256i (&x)[Vectors]) noexcept
    {
        if constexpr (Mode == block_mode::ctr) {
            counters(chain, x);
        } else {
            for (std::size_t i = 0; i < Vectors; ++i)
                x[i] = Mode == block_mode::cfb_decrypt ? before(chain, in, i) : at(in + 32 * i);
        }
    }

    // Turns the cipher's outputs into the mode's and stores them, last vector first: in place, each vector still
    // finds the ciphertext before it. Moves `chain` on.
    template <std::size_t Vectors>
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static void
    store(std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, const __m256i (&y)[Vectors]) noexcept
    {
        constexpr bool chained = Mode == block_mode::cbc_decrypt || Mode == block_mode::cfb_decrypt;
        constexpr std::size_t kLast = 32 * Vectors - 16;

        __m128i last;
        if constexpr (chained) last = block_at(in + kLast);
        for (std::size_t i = Vectors; i-- != 0;) {
            __m256i z = y[i];
            if constexpr (Mode == block_mode::cbc_decrypt) z = _mm256_xor_si256(z, before(chain, in, i));
            if constexpr (Mode == block_mode::cfb_decrypt || Mode == block_mode::ctr)
                z = _mm256_xor_si256(z, at(in + 32 * i));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32 * i), z);
        }
        if constexpr (chained) _mm_storeu_si128(reinterpret_cast<__m128i*>(chain), last);
    }

private:
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static __m128i
    block_at(const std::uint8_t* bytes) noexcept
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    }

    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static __m256i at(const std::uint8_t* bytes) noexcept
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
    }

    // The two ciphertext blocks that stand one place before those of `vector`.
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static __m256i
    before(const std::uint8_t* chain, const std::uint8_t* in, std::size_t vector) noexcept
    {
        if (vector != 0) return at(in + 32 * vector - 16);
        return _mm256_inserti128_si256(_mm256_castsi128_si256(block_at(chain)), block_at(in), 1);
    }

    template <std::size_t Vectors>
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES_AVX2)]] static void counters(std::uint8_t* chain,
                                                                                        __m256i (&x)[Vectors]) noexcept
    {
        const __m256i reversed = _mm256_broadcastsi128_si256(
            _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F)); // one byte order to the other
        const std::uint64_t high = load_be64(chain), low = load_be64(chain + 8);
        const std::uint64_t next = low + 2 * Vectors;
        const __m256i base = _mm256_broadcastsi128_si256(
            _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low))); // lowest lane: low half
        const __m256i two = _mm256_set_epi64x(0, 2, 0, 2);
        __m256i counter = _mm256_add_epi64(base, _mm256_set_epi64x(0, 1, 0, 0));
        for (std::size_t i = 0; i < Vectors; ++i, counter = _mm256_add_epi64(counter, two)) {
            __m256i carried = counter;
            if (next < low) { // a carry into the high half somewhere in this group; at most once in 2^64 blocks
                const __m256i sign = _mm256_set1_epi64x(INT64_MIN); // the comparison is one of signed numbers
                const __m256i wrapped = _mm256_cmpgt_epi64(_mm256_xor_si256(base, sign),
                                                           _mm256_xor_si256(counter, sign)); // -1 where it did
                carried = _mm256_sub_epi64(counter, _mm256_slli_si256(wrapped, 8));
            }
            x[i] = _mm256_shuffle_epi8(carried, reversed);
        }
        store_be64(chain + 8, next);
        if (next < low) store_be64(chain, high + 1);
    }
};

} // namespace zrc
