// Every mode over whole 8-byte blocks for ciphers in scalar code: in modes whose blocks do not wait for each other,
// several blocks go through the rounds side by side, so that the look-ups of one fill the time that those of another
// take.
//
// A Cipher describes one:
//   key    the schedule
//   order  std::endian: the byte order in which it takes a block as one 64-bit number
//   transform<Backwards, N> (const key&, std::array<uint64_t, N>&): N blocks in place, encrypted or decrypted
#pragma once

#include "cipher/block_mode.hpp"
#include "core/bytes.hpp"
#include "core/secret.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {

// step(0), step(1), ... step(N - 1), unrolled, so that arrays of blocks become registers.
template <std::size_t N>
[[gnu::always_inline]] inline void side_by_side(auto step) noexcept
{
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline))
    {
        (step(I), ...);
    }
    (std::make_index_sequence<N>{});
}

// Groups of the first of `Widths` blocks as long as there are so many left, then groups of the second, and so on to
// 1.
template <class Cipher, std::size_t... Widths>
class interleaved_modes {
public:
    using key = typename Cipher::key;

    static void run(const key& schedule, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        with_mode(mode, [&]<block_mode Mode>() {
            if constexpr (is_parallel(Mode))
                parallel<Mode>(schedule, chain, in, out, blocks);
            else
                serial<Mode>(schedule, chain, in, out, blocks);
        });
    }

private:
    static constexpr std::size_t kBytes = 8;

    static std::uint64_t load_block(const std::uint8_t* bytes) noexcept
    {
        return load<std::uint64_t, Cipher::order>(bytes);
    }
    static void store_block(std::uint8_t* bytes, std::uint64_t block) noexcept { store<Cipher::order>(bytes, block); }

    // The bytes of a counter are big-endian, whatever the cipher's are.
    static std::uint64_t from_counter(std::uint64_t counter) noexcept
    {
        return Cipher::order == std::endian::big ? counter : byte_swap(counter);
    }

    // One copy of the rounds serves all modes.
    template <bool Backwards, std::size_t N>
    [[gnu::noinline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        Cipher::template transform<Backwards, N>(schedule, x);
    }

    template <block_mode Mode>
    static void parallel(const key& schedule, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
                         std::size_t blocks) noexcept
    {
        (groups<Mode, Widths>(schedule, chain, in, out, blocks), ...);
    }

    template <block_mode Mode, std::size_t N>
    static void groups(const key& schedule, std::uint8_t* chain, const std::uint8_t*& in, std::uint8_t*& out,
                       std::size_t& blocks) noexcept
    {
        if (blocks < N) return;
        secret<std::array<std::uint64_t, N>> x;
        for (; blocks >= N; blocks -= N, in += N * kBytes, out += N * kBytes) {
            prepare<Mode>(chain, in, *x);
            transform<uses_decryption(Mode)>(schedule, *x);
            finish<Mode>(chain, in, out, *x);
        }
    }

    // What goes into the cipher for the next N blocks. For CTR this moves the counter in `chain` on.
    template <block_mode Mode, std::size_t N>
    static void prepare(std::uint8_t* chain, const std::uint8_t* in, std::array<std::uint64_t, N>& x) noexcept
    {
        if constexpr (Mode == block_mode::ctr) {
            const std::uint64_t counter = load_be64(chain);
            for (std::size_t i = 0; i < N; ++i)
                x[i] = from_counter(counter + i);
            store_be64(chain, counter + N);
        } else if constexpr (Mode == block_mode::cfb_decrypt) {
            x[0] = load_block(chain);
            for (std::size_t i = 1; i < N; ++i)
                x[i] = load_block(in + (i - 1) * kBytes);
        } else {
            for (std::size_t i = 0; i < N; ++i)
                x[i] = load_block(in + i * kBytes);
        }
    }

    // Makes the mode's output of the cipher's. In place, each block of input is read before output takes its place.
    template <block_mode Mode, std::size_t N>
    static void finish(std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
                       const std::array<std::uint64_t, N>& y) noexcept
    {
        constexpr bool chained = Mode == block_mode::cbc_decrypt || Mode == block_mode::cfb_decrypt;
        constexpr bool stream = Mode == block_mode::cfb_decrypt || Mode == block_mode::ctr;

        std::uint64_t before = 0;
        if constexpr (chained) before = load_block(chain);
        for (std::size_t i = 0; i < N; ++i) {
            const std::uint64_t from = load_block(in + i * kBytes);
            std::uint64_t to = y[i];
            if constexpr (Mode == block_mode::cbc_decrypt) to ^= before;
            if constexpr (stream) to ^= from;
            store_block(out + i * kBytes, to);
            before = from;
        }
        if constexpr (chained) store_block(chain, before);
    }

    // The chain stays in a register, the rounds are inlined.
    template <block_mode Mode>
    static void serial(const key& schedule, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
                       std::size_t blocks) noexcept
    {
        std::array<std::uint64_t, 1> x{load_block(chain)};
        for (; blocks != 0; --blocks, in += kBytes, out += kBytes) {
            const std::uint64_t from = load_block(in);
            if constexpr (Mode == block_mode::cbc_encrypt) x[0] ^= from;
            Cipher::template transform<false, 1>(schedule, x);
            if constexpr (Mode == block_mode::cfb_encrypt) x[0] ^= from;
            store_block(out, Mode == block_mode::ofb ? x[0] ^ from : x[0]);
        }
        store_block(chain, x[0]);
    }
};

// One block, for the exported functions and the modes of other code.
template <class Cipher, bool Backwards>
inline void transform_block(const typename Cipher::key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    std::array<std::uint64_t, 1> x{load<std::uint64_t, Cipher::order>(in)};
    Cipher::template transform<Backwards, 1>(schedule, x);
    store<Cipher::order>(out, x[0]);
}

} // namespace zrc
