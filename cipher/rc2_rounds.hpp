// The rounds of RC2 (RFC 2268, sections 3 and 4) on any number of blocks side by side.
#pragma once

#include "cipher/interleaved_blocks.hpp"
#include "kestrim/rc2.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace rc2 {

// R[0] to R[3] of the RFC.
using words = std::array<std::uint16_t, 4>;

inline constexpr std::array<int, 4> kRotations{1, 2, 3, 5};

template <std::size_t I>
[[gnu::always_inline]] inline void mix(words& r, std::uint16_t subkey) noexcept
{
    constexpr std::size_t a = (I + 3) % 4, b = (I + 2) % 4, c = (I + 1) % 4;
    const auto sum = std::uint16_t(r[I] + subkey + (r[a] & r[b]) + (~r[a] & r[c]));
    r[I] = std::rotl(sum, kRotations[I]);
}

template <std::size_t I>
[[gnu::always_inline]] inline void unmix(words& r, std::uint16_t subkey) noexcept
{
    constexpr std::size_t a = (I + 3) % 4, b = (I + 2) % 4, c = (I + 1) % 4;
    r[I] = std::uint16_t(std::rotr(r[I], kRotations[I]) - subkey - (r[a] & r[b]) - (~r[a] & r[c]));
}

template <std::size_t I>
[[gnu::always_inline]] inline void mash(words& r, const std::uint16_t (&k)[64]) noexcept
{
    r[I] = std::uint16_t(r[I] + k[r[(I + 3) % 4] & 63]);
}

template <std::size_t I>
[[gnu::always_inline]] inline void unmash(words& r, const std::uint16_t (&k)[64]) noexcept
{
    r[I] = std::uint16_t(r[I] - k[r[(I + 3) % 4] & 63]);
}

// Mashing rounds follow the mixing rounds with these numbers, counted from 0; going back they come before them.
constexpr bool is_mashed(std::size_t round) noexcept
{
    return round == 4 || round == 10;
}

inline constexpr std::size_t kRounds = 16;

template <std::size_t N>
[[gnu::always_inline]] inline void encrypt(const std::uint16_t (&k)[64], std::array<words, N>& r) noexcept
{
    for (std::size_t round = 0; round < kRounds; ++round) {
        const std::uint16_t* const subkeys = k + 4 * round;
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { mix<0>(r[n], subkeys[0]); });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { mix<1>(r[n], subkeys[1]); });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { mix<2>(r[n], subkeys[2]); });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { mix<3>(r[n], subkeys[3]); });
        if (!is_mashed(round)) continue;
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            mash<0>(r[n], k), mash<1>(r[n], k), mash<2>(r[n], k), mash<3>(r[n], k);
        });
    }
}

template <std::size_t N>
[[gnu::always_inline]] inline void decrypt(const std::uint16_t (&k)[64], std::array<words, N>& r) noexcept
{
    for (std::size_t round = kRounds; round-- != 0;) {
        const std::uint16_t* const subkeys = k + 4 * round;
        if (is_mashed(round)) {
            side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                unmash<3>(r[n], k), unmash<2>(r[n], k), unmash<1>(r[n], k), unmash<0>(r[n], k);
            });
        }
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { unmix<3>(r[n], subkeys[3]); });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { unmix<2>(r[n], subkeys[2]); });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { unmix<1>(r[n], subkeys[1]); });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) { unmix<0>(r[n], subkeys[0]); });
    }
}

} // namespace rc2

struct rc2_core {
    using key = ZRC_RC2_KEY;
    static constexpr std::endian order = std::endian::little;

    template <bool Backwards, std::size_t N>
    [[gnu::always_inline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        std::array<rc2::words, N> r;
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            r[n] = {std::uint16_t(x[n]), std::uint16_t(x[n] >> 16), std::uint16_t(x[n] >> 32),
                    std::uint16_t(x[n] >> 48)};
        });
        if constexpr (Backwards)
            rc2::decrypt(schedule.round_key, r);
        else
            rc2::encrypt(schedule.round_key, r);
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            x[n] = r[n][0] | std::uint64_t{r[n][1]} << 16 | std::uint64_t{r[n][2]} << 32 | std::uint64_t{r[n][3]} << 48;
        });
    }
};

} // namespace zrc
