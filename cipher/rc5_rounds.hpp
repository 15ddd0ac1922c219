// The rounds of RC5-32/16 (RFC 2040, section 6.4) on any number of blocks side by side.
#pragma once

#include "cipher/interleaved_blocks.hpp"
#include "kestrim/rc5.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {

struct rc5_core {
    using key = ZRC_RC5_KEY;
    static constexpr std::endian order = std::endian::little;
    static constexpr std::uint32_t rounds = 16;
    static constexpr std::size_t subkeys = 2 * (rounds + 1);

    template <bool Backwards, std::size_t N>
    [[gnu::always_inline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        const auto& s = schedule.round_key;
        std::array<std::uint32_t, N> a, b; // the low and the high word of a block
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            a[n] = std::uint32_t(x[n]);
            b[n] = std::uint32_t(x[n] >> 32);
        });
        if constexpr (Backwards) {
            for (std::size_t i = subkeys; i > 2; i -= 2) {
                side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                    b[n] = std::rotr(b[n] - s[i - 1], int(a[n] & 31)) ^ a[n];
                });
                side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                    a[n] = std::rotr(a[n] - s[i - 2], int(b[n] & 31)) ^ b[n];
                });
            }
            side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { a[n] -= s[0], b[n] -= s[1]; });
        } else {
            side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { a[n] += s[0], b[n] += s[1]; });
            for (std::size_t i = 2; i < subkeys; i += 2) {
                side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                    a[n] = std::rotl(a[n] ^ b[n], int(b[n] & 31)) + s[i];
                });
                side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                    b[n] = std::rotl(b[n] ^ a[n], int(a[n] & 31)) + s[i + 1];
                });
            }
        }
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { x[n] = a[n] | std::uint64_t{b[n]} << 32; });
    }
};

} // namespace zrc
