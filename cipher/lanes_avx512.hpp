// The parallel modes around a vector kernel for 16-byte blocks, four blocks to a 512-bit vector: what goes into the
// cipher and what is made of what comes out. The chaining XOR and the counters thus cost no pass of their own.
#pragma once

#include "cipher/avx512.hpp"
#include "cipher/block_mode.hpp"
#include "core/bytes.hpp"

#include <cstddef>
#include <cstdint>

namespace zrc {

// Kernels that include this are compiled for at least these features.
#define KESTRIM_TARGET_LANES KESTRIM_TARGET_AVX512

// The blocks of a message that a kernel works on: as many as its vectors hold,
template <std::size_t Blocks>
struct all_blocks {
    static constexpr std::size_t count = Blocks;

    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static __m512i load(const std::uint8_t* bytes,
                                                                                  std::size_t) noexcept
    {
        return _mm512_loadu_si512(bytes);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static void store(std::uint8_t* bytes, std::size_t,
                                                                                __m512i x) noexcept
    {
        _mm512_storeu_si512(bytes, x);
    }
};

// or fewer, 1 to 15, at the end of a message: behind them no memory is touched, and the lanes hold zeros.
struct first_blocks {
    std::size_t count;

    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] __m512i load(const std::uint8_t* bytes,
                                                                           std::size_t vector) const noexcept
    {
        return _mm512_maskz_loadu_epi64(lanes(vector), bytes);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] void store(std::uint8_t* bytes, std::size_t vector,
                                                                         __m512i x) const noexcept
    {
        _mm512_mask_storeu_epi64(bytes, lanes(vector), x);
    }

private:
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] __mmask8 lanes(std::size_t vector) const noexcept
    {
        return __mmask8(((std::uint32_t{1} << 2 * count) - 1) >> 8 * vector);
    }
};

template <block_mode Mode>
class lanes_avx512 {
    static_assert(is_parallel(Mode));

public:
    // The inputs of the cipher for the next blocks. For CTR this moves the counter in `chain` on.
    template <std::size_t Vectors, class Blocks = all_blocks<4 * Vectors>>
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static void
    load(std::uint8_t* chain, const std::uint8_t* in, __m512i (&x)[Vectors], Blocks blocks = {}) noexcept
    {
        if constexpr (Mode == block_mode::ctr) {
            counters(chain, blocks.count, x);
        } else {
#pragma GCC unroll 16
            for (std::size_t i = 0; i < Vectors; ++i)
                x[i] = Mode == block_mode::cfb_decrypt ? before(chain, in, i, blocks) : at(in, i, blocks);
        }
    }

    // Turns the cipher's outputs into the mode's and stores them, last vector first: in place, each vector still
    // finds the ciphertext before it. Moves `chain` on.
    template <std::size_t Vectors, class Blocks = all_blocks<4 * Vectors>>
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static void
    store(std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, const __m512i (&y)[Vectors],
          Blocks blocks = {}) noexcept
    {
        constexpr bool chained = Mode == block_mode::cbc_decrypt || Mode == block_mode::cfb_decrypt;

        __m128i last;
        if constexpr (chained) last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 16 * (blocks.count - 1)));
#pragma GCC unroll 16
        for (std::size_t n = 0; n < Vectors; ++n) {
            const std::size_t i = Vectors - 1 - n;
            __m512i z = y[i];
            if constexpr (Mode == block_mode::cbc_decrypt) z = _mm512_xor_si512(z, before(chain, in, i, blocks));
            if constexpr (Mode == block_mode::cfb_decrypt || Mode == block_mode::ctr)
                z = _mm512_xor_si512(z, at(in, i, blocks));
            blocks.store(out + 64 * i, i, z);
        }
        if constexpr (chained) _mm_storeu_si128(reinterpret_cast<__m128i*>(chain), last);
    }

private:
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static __m512i
    at(const std::uint8_t* in, std::size_t vector, auto blocks) noexcept
    {
        return blocks.load(in + 64 * vector, vector);
    }

    // The four ciphertext blocks that stand one place before those of `vector`.
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static __m512i
    before(const std::uint8_t* chain, const std::uint8_t* in, std::size_t vector, auto blocks) noexcept
    {
        if (vector != 0) return blocks.load(in + 64 * vector - 16, vector);
        const __m512i shifted = _mm512_alignr_epi64(at(in, 0, blocks), _mm512_setzero_si512(), 6);
        return _mm512_inserti64x2(shifted, _mm_loadu_si128(reinterpret_cast<const __m128i*>(chain)), 0);
    }

    template <std::size_t Vectors>
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_LANES)]] static void
    counters(std::uint8_t* chain, std::size_t count, __m512i (&x)[Vectors]) noexcept
    {
        const __m512i reversed = _mm512_broadcast_i32x4(
            _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F)); // one byte order to the other
        const std::uint64_t high = load_be64(chain), low = load_be64(chain + 8);
        const std::uint64_t next = low + count;
        const __m512i base = _mm512_broadcast_i32x4(
            _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low))); // lowest lane: low half
#pragma GCC unroll 16
        for (std::size_t i = 0; i < Vectors; ++i) {
            const auto n = 4 * static_cast<long long>(i);
            const __m512i step = _mm512_set_epi64(0, n + 3, 0, n + 2, 0, n + 1, 0, n);
            __m512i sum = _mm512_add_epi64(base, step);
            if (next < low) { // a carry into the high half somewhere in this group; at most once in 2^64 blocks
                const __mmask8 wrapped = _mm512_cmplt_epu64_mask(sum, base) & 0x55;
                sum = _mm512_mask_add_epi64(sum, __mmask8(wrapped << 1), sum, _mm512_set1_epi64(1));
            }
            x[i] = _mm512_shuffle_epi8(sum, reversed);
        }
        store_be64(chain + 8, next);
        if (next < low) store_be64(chain, high + 1);
    }
};

} // namespace zrc
