// The rounds of DES and triple DES on any number of blocks side by side, and the permutations around them.
#pragma once

#include "cipher/des_permutations.hpp"
#include "cipher/des_tables.hpp"
#include "cipher/interleaved_blocks.hpp"
#include "kestrim/des.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace des {

inline constexpr std::size_t kRounds = 16;

// One round: `changed` takes up the round function of `read`. The standard exchanges the halves, here they change
// names.
[[gnu::always_inline]] inline void round(std::uint32_t& changed, std::uint32_t read,
                                         const std::uint32_t (&round_key)[2]) noexcept
{
    constexpr std::uint32_t kInputs = 0x3F3F3F3F;
    const std::uint32_t odd = (std::rotr(read, kOddBoxRotation) ^ round_key[0]) & kInputs;
    const std::uint32_t even = (read ^ round_key[1]) & kInputs;
    changed ^= SPBox_7[odd & 0xFF] ^ SPBox_5[odd >> 8 & 0xFF] ^ SPBox_3[odd >> 16 & 0xFF] ^ SPBox_1[odd >> 24];
    changed ^= SPBox_8[even & 0xFF] ^ SPBox_6[even >> 8 & 0xFF] ^ SPBox_4[even >> 16 & 0xFF] ^ SPBox_2[even >> 24];
}

// Sixteen rounds between the permutations. The halves change places behind the last round, as FIPS 46-3 has it.
template <std::size_t N>
[[gnu::always_inline]] inline void rounds(const ZRC_DES_KEY& schedule, std::array<halves, N>& blocks) noexcept
{
    for (std::size_t i = 0; i < kRounds; i += 2) {
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            round(blocks[n].left, blocks[n].right, schedule.round_key[i]);
        });
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            round(blocks[n].right, blocks[n].left, schedule.round_key[i + 1]);
        });
    }
    side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
        blocks[n] = {blocks[n].right, blocks[n].left};
    });
}

// Between two passes the final and the initial permutation cancel out.
template <std::size_t N>
[[gnu::always_inline]] inline void rounds(const ZRC_DES_EDE_KEY& schedule, std::array<halves, N>& blocks) noexcept
{
    for (const ZRC_DES_KEY& pass : schedule.slot)
        rounds(pass, blocks);
}

template <std::size_t N>
[[gnu::always_inline]] inline void permute(const std::array<std::uint64_t, N>& x,
                                           std::array<halves, N>& blocks) noexcept
{
    side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
        const auto [left, right] = initial_permutation(x[n]);
        blocks[n] = {std::rotl(left, kHalfRotation), std::rotl(right, kHalfRotation)};
    });
}

template <std::size_t N>
[[gnu::always_inline]] inline void unpermute(const std::array<halves, N>& blocks,
                                             std::array<std::uint64_t, N>& x) noexcept
{
    side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
        x[n] = final_permutation({std::rotr(blocks[n].left, kHalfRotation), std::rotr(blocks[n].right, kHalfRotation)});
    });
}

} // namespace des

template <class Key>
struct des_core_for {
    using key = Key;
    static constexpr std::endian order = std::endian::big;

    template <bool, std::size_t N>
    [[gnu::always_inline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        std::array<des::halves, N> blocks;
        des::permute(x, blocks);
        des::rounds(schedule, blocks);
        des::unpermute(blocks, x);
    }
};

using des_core = des_core_for<ZRC_DES_KEY>;
using des_ede_core = des_core_for<ZRC_DES_EDE_KEY>;

} // namespace zrc
