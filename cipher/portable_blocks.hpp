// Every mode over whole blocks, made of a cipher's single-block functions: the portable kernel of each cipher, and what
// vector kernels leave over.
//
// A Cipher describes one:
//   key          the schedule
//   block_bytes  8 or 16
//   encrypt, decrypt (const key&, const uint8_t* in, uint8_t* out): one block; in and out may be the same
#pragma once

#include "cipher/block_mode.hpp"
#include "core/bytes.hpp"
#include "core/secret.hpp"

#include <array>
#include <cstring>

namespace zrc {

template <std::size_t N>
[[gnu::always_inline]] inline void xor_block(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b) noexcept
{
    static_assert(N % 8 == 0);
    for (std::size_t i = 0; i < N; i += 8) {
        std::uint64_t x, y;
        std::memcpy(&x, a + i, 8);
        std::memcpy(&y, b + i, 8);
        x ^= y;
        std::memcpy(out + i, &x, 8);
    }
}

// Adds 1 to a block as one big-endian number.
template <std::size_t N>
inline void increment_counter(std::uint8_t* counter) noexcept
{
    static_assert(N == 8 || N == 16);
    const std::uint64_t low = load_be64(counter + N - 8) + 1;
    store_be64(counter + N - 8, low);
    if constexpr (N == 16) {
        if (low == 0) store_be64(counter, load_be64(counter) + 1);
    }
}

template <class Cipher>
class portable_modes {
public:
    static void run(const typename Cipher::key& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        constexpr auto each = [](std::size_t count, const std::uint8_t* from, std::uint8_t* to, auto step) {
            for (; count != 0; --count, from += kBytes, to += kBytes)
                step(from, to);
        };
        secret_array<std::uint8_t, kBytes> block;
        std::uint8_t* const b = block.data();

        switch (mode) {
        case block_mode::ecb_encrypt:
            return each(blocks, in, out, [&](auto from, auto to) { Cipher::encrypt(key, from, to); });
        case block_mode::ecb_decrypt:
            return each(blocks, in, out, [&](auto from, auto to) { Cipher::decrypt(key, from, to); });
        case block_mode::cbc_encrypt:
            return each(blocks, in, out, [&](auto from, auto to) {
                xor_block<kBytes>(chain, from, chain);
                Cipher::encrypt(key, chain, chain);
                std::memcpy(to, chain, kBytes);
            });
        case block_mode::cbc_decrypt:
            return each(blocks, in, out, [&](auto from, auto to) {
                Cipher::decrypt(key, from, b);
                xor_block<kBytes>(b, b, chain);
                std::memcpy(chain, from, kBytes);
                std::memcpy(to, b, kBytes);
            });
        case block_mode::cfb_encrypt:
            return each(blocks, in, out, [&](auto from, auto to) {
                Cipher::encrypt(key, chain, chain);
                xor_block<kBytes>(chain, from, chain);
                std::memcpy(to, chain, kBytes);
            });
        case block_mode::cfb_decrypt:
            return each(blocks, in, out, [&](auto from, auto to) {
                Cipher::encrypt(key, chain, b);
                std::memcpy(chain, from, kBytes);
                xor_block<kBytes>(to, chain, b);
            });
        case block_mode::ofb:
            return each(blocks, in, out, [&](auto from, auto to) {
                Cipher::encrypt(key, chain, chain);
                xor_block<kBytes>(to, from, chain);
            });
        case block_mode::ctr:
            return each(blocks, in, out, [&](auto from, auto to) {
                Cipher::encrypt(key, chain, b);
                increment_counter<kBytes>(chain);
                xor_block<kBytes>(to, from, b);
            });
        }
    }

private:
    static constexpr std::size_t kBytes = Cipher::block_bytes;
};

} // namespace zrc
