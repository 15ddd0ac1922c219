// The DES core of MDC-2 (FIPS 46-3, encryption only), as far as it is inlined into the compression.
//
// It works in the order that the initial permutation makes: a block is permuted once and can then serve as key or
// as message. In this order the permuted choice PC-1 only moves bytes. Its table look-ups depend on key and data,
// which is in the nature of DES in software: it does not run in constant time.
#pragma once

#include "cipher/des_permutations.hpp"
#include "core/bytes.hpp"
#include "digest/mdc2_des_tables.hpp"
#include "kestrim/mdc2.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace zrc::mdc2_des {

// A block behind the initial permutation. Its bytes, from the left, are columns of the 8 x 8 bits of the block in
// bytes: 2, 4, 6, 8 in `left` and 1, 3, 5, 7 in `right`; within a column, the bit of the last byte of the block
// comes first.
using permuted_block = des::halves;
using des::exchange_bits;

inline permuted_block load_permuted(const std::uint8_t* bytes) noexcept
{
    return des::initial_permutation(load_be64(bytes));
}

inline void store_unpermuted(std::uint8_t* bytes, permuted_block block) noexcept
{
    store_be64(bytes, des::final_permutation(block));
}

// The key registers of 28 bits that PC-1 fills.
struct key_registers {
    std::uint32_t c;
    std::uint32_t d;
};

// PC-1: columns 1, 2, 3 and half of 4 to C; 7, 6, 5 and the other half of 4 to D; column 8, the parity, to neither.
constexpr key_registers permuted_choice_1(permuted_block key) noexcept
{
    const std::uint32_t even = key.left;
    const std::uint32_t odd = key.right;
    const std::uint32_t c = (odd >> 4 & 0xFF00000) | (even >> 12 & 0xFF000) | (odd >> 12 & 0xFF0) | (even >> 20 & 0xF);
    const std::uint32_t d = (odd << 20 & 0xFF00000) | (even << 4 & 0xFF000) | (odd >> 4 & 0xFF0) | (even >> 16 & 0xF);
    return {c, d};
}

// Four pairs of rounds, counted from 0, whose registers differ by rotations of four places, so that the same
// nibbles serve all of them. `rotation` is how far the registers have been rotated for the first pair.
struct round_group {
    std::size_t rotation;
    std::array<std::array<std::size_t, 2>, 4> pairs;
};
inline constexpr std::array<round_group, 2> kRoundGroups{{
    {15, {{{8, 9}, {10, 11}, {12, 13}, {14, 0}}}},
    {28, {{{15, 1}, {2, 3}, {4, 5}, {6, 7}}}},
}};

// What nibble `Nibble` of register `Half`, rotated for the first pair of a group, contributes to the four pairs.
template <std::size_t Half, std::size_t Nibble>
[[gnu::always_inline]] inline void look_up_nibble(std::uint64_t rotated, std::array<std::uint64_t, 4>& sums) noexcept
{
    const std::size_t value = rotated >> 4 * Nibble & 15;
    const auto& rows = MDC2_DES_KeySchedule.rows[Half];
    sums[0] ^= rows[Nibble][value];
    sums[1] ^= rows[(Nibble + 1) % kNibbles][value];
    sums[2] ^= rows[(Nibble + 2) % kNibbles][value];
    sums[3] ^= rows[(Nibble + 3) % kNibbles][value];
}

[[gnu::always_inline]] inline void store_round_key(std::uint32_t (&round_key)[2], std::uint64_t key) noexcept
{
    round_key[0] = std::uint32_t(key);
    round_key[1] = std::uint32_t(key >> 32);
}

template <std::size_t Group, std::size_t Pair>
[[gnu::always_inline]] inline void store_pair(std::uint64_t first, std::uint64_t second,
                                              ZRC_MDC2_DES_KEY& round_keys) noexcept
{
    constexpr const auto& pair = kRoundGroups[Group].pairs[Pair];
    exchange_bits(second, first, 16, std::uint64_t{0x0000FFFF0000FFFF});
    store_round_key(round_keys.round_key[pair[0]], first);
    store_round_key(round_keys.round_key[pair[1]], second);
}

template <std::size_t Group, std::size_t... Nibble>
[[gnu::always_inline]] inline void expand_group(key_registers key, ZRC_MDC2_DES_KEY& round_keys,
                                                std::index_sequence<Nibble...>) noexcept
{
    constexpr round_group group = kRoundGroups[Group];
    const auto rotate = [](std::uint32_t bits) {
        return (std::uint64_t{bits} << kRegisterBits | bits) >> (kRegisterBits - group.rotation);
    };
    const std::uint64_t c = rotate(key.c);
    const std::uint64_t d = rotate(key.d);
    std::array<std::uint64_t, 4> first{};
    std::array<std::uint64_t, 4> second{};
    (look_up_nibble<0, Nibble>(c, first), ...);
    (look_up_nibble<1, Nibble>(d, second), ...);
    store_pair<Group, 0>(first[0], second[0], round_keys);
    store_pair<Group, 1>(first[1], second[1], round_keys);
    store_pair<Group, 2>(first[2], second[2], round_keys);
    store_pair<Group, 3>(first[3], second[3], round_keys);
}

inline void expand_key(permuted_block key, ZRC_MDC2_DES_KEY& round_keys) noexcept
{
    const key_registers registers = permuted_choice_1(key);
    constexpr auto nibbles = std::make_index_sequence<kNibbles>{};
    expand_group<0>(registers, round_keys, nibbles);
    expand_group<1>(registers, round_keys, nibbles);
}

// The part of the round function that comes from every other box, the last of them `Last`; the six input bits of each
// are the low ones of a byte of `inputs`.
template <std::size_t Last>
[[gnu::always_inline]] inline std::uint32_t substitute(std::uint32_t inputs) noexcept
{
    const auto& boxes = MDC2_DES_SPBox.entries;
    return boxes[Last][inputs & 63] ^ boxes[Last - 2][inputs >> 8 & 63] ^ boxes[Last - 4][inputs >> 16 & 63] ^
           boxes[Last - 6][inputs >> 24 & 63];
}

// One round: `changed` takes up the round function of `read`, both in the arrangement of the core.
[[gnu::always_inline]] inline void round(std::uint32_t& changed, std::uint32_t read,
                                         const std::uint32_t (&round_key)[2]) noexcept
{
    const std::uint32_t even_boxes = substitute<7>(read ^ round_key[0]); // S8, S6, S4, S2
    const std::uint32_t odd_boxes = substitute<6>(std::rotr(read, kOddBoxRotation) ^ round_key[1]);
    changed ^= even_boxes ^ odd_boxes;
}

// Encrypts a permuted block under each of several keys, all of them side by side: the rounds of one encryption wait
// for each other, those of two do not.
template <std::size_t... Key>
[[gnu::always_inline]] inline auto encrypt(permuted_block message,
                                           std::span<const ZRC_MDC2_DES_KEY, sizeof...(Key)> keys,
                                           std::index_sequence<Key...>) noexcept
{
    std::array<permuted_block, sizeof...(Key)> blocks;
    ((blocks[Key].left = std::rotl(message.left, kHalfRotation)), ...);
    ((blocks[Key].right = std::rotl(message.right, kHalfRotation)), ...);
    for (std::size_t i = 0; i < 16; i += 2) {
        (round(blocks[Key].left, blocks[Key].right, keys[Key].round_key[i]), ...);
        (round(blocks[Key].right, blocks[Key].left, keys[Key].round_key[i + 1]), ...);
    }
    // The last round does not exchange the halves.
    return std::array{
        permuted_block{std::rotr(blocks[Key].right, kHalfRotation), std::rotr(blocks[Key].left, kHalfRotation)}...};
}

template <std::size_t Keys>
inline std::array<permuted_block, Keys> encrypt(permuted_block message,
                                                std::span<const ZRC_MDC2_DES_KEY, Keys> keys) noexcept
{
    return encrypt(message, keys, std::make_index_sequence<Keys>{});
}

} // namespace zrc::mdc2_des
