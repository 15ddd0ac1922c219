// Tables of DES: the boxes and permutations of FIPS 46-3 in the standard's own layout, and the tables computed from
// them that key schedule and rounds work with.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {

// The standard numbers bits from 1, the leftmost. A permutation lists, for each bit of its output, the bit of its
// input.
namespace fips46 {

// clang-format off
inline constexpr std::array<std::uint8_t, 64> kInitialPermutation{
    58, 50, 42, 34, 26, 18, 10, 2,
    60, 52, 44, 36, 28, 20, 12, 4,
    62, 54, 46, 38, 30, 22, 14, 6,
    64, 56, 48, 40, 32, 24, 16, 8,
    57, 49, 41, 33, 25, 17, 9, 1,
    59, 51, 43, 35, 27, 19, 11, 3,
    61, 53, 45, 37, 29, 21, 13, 5,
    63, 55, 47, 39, 31, 23, 15, 7,
};

inline constexpr std::array<std::uint8_t, 32> kP{
    16, 7, 20, 21,
    29, 12, 28, 17,
    1, 15, 23, 26,
    5, 18, 31, 10,
    2, 8, 24, 14,
    32, 27, 3, 9,
    19, 13, 30, 6,
    22, 11, 4, 25,
};

inline constexpr std::array<std::uint8_t, 56> kPermutedChoice1{
    57, 49, 41, 33, 25, 17, 9,
    1, 58, 50, 42, 34, 26, 18,
    10, 2, 59, 51, 43, 35, 27,
    19, 11, 3, 60, 52, 44, 36,
    63, 55, 47, 39, 31, 23, 15,
    7, 62, 54, 46, 38, 30, 22,
    14, 6, 61, 53, 45, 37, 29,
    21, 13, 5, 28, 20, 12, 4,
};

inline constexpr std::array<std::uint8_t, 48> kPermutedChoice2{
    14, 17, 11, 24, 1, 5,
    3, 28, 15, 6, 21, 10,
    23, 19, 12, 4, 26, 8,
    16, 7, 27, 20, 13, 2,
    41, 52, 31, 37, 47, 55,
    30, 40, 51, 45, 33, 48,
    44, 49, 39, 56, 34, 53,
    46, 42, 50, 36, 29, 32,
};

// Row: the outer two of six input bits; column: the inner four.
inline constexpr std::uint8_t kSBoxes[8][64]{
    {
        14, 4, 13, 1, 2, 15, 11, 8, 3, 10, 6, 12, 5, 9, 0, 7,
        0, 15, 7, 4, 14, 2, 13, 1, 10, 6, 12, 11, 9, 5, 3, 8,
        4, 1, 14, 8, 13, 6, 2, 11, 15, 12, 9, 7, 3, 10, 5, 0,
        15, 12, 8, 2, 4, 9, 1, 7, 5, 11, 3, 14, 10, 0, 6, 13,
    },
    {
        15, 1, 8, 14, 6, 11, 3, 4, 9, 7, 2, 13, 12, 0, 5, 10,
        3, 13, 4, 7, 15, 2, 8, 14, 12, 0, 1, 10, 6, 9, 11, 5,
        0, 14, 7, 11, 10, 4, 13, 1, 5, 8, 12, 6, 9, 3, 2, 15,
        13, 8, 10, 1, 3, 15, 4, 2, 11, 6, 7, 12, 0, 5, 14, 9,
    },
    {
        10, 0, 9, 14, 6, 3, 15, 5, 1, 13, 12, 7, 11, 4, 2, 8,
        13, 7, 0, 9, 3, 4, 6, 10, 2, 8, 5, 14, 12, 11, 15, 1,
        13, 6, 4, 9, 8, 15, 3, 0, 11, 1, 2, 12, 5, 10, 14, 7,
        1, 10, 13, 0, 6, 9, 8, 7, 4, 15, 14, 3, 11, 5, 2, 12,
    },
    {
        7, 13, 14, 3, 0, 6, 9, 10, 1, 2, 8, 5, 11, 12, 4, 15,
        13, 8, 11, 5, 6, 15, 0, 3, 4, 7, 2, 12, 1, 10, 14, 9,
        10, 6, 9, 0, 12, 11, 7, 13, 15, 1, 3, 14, 5, 2, 8, 4,
        3, 15, 0, 6, 10, 1, 13, 8, 9, 4, 5, 11, 12, 7, 2, 14,
    },
    {
        2, 12, 4, 1, 7, 10, 11, 6, 8, 5, 3, 15, 13, 0, 14, 9,
        14, 11, 2, 12, 4, 7, 13, 1, 5, 0, 15, 10, 3, 9, 8, 6,
        4, 2, 1, 11, 10, 13, 7, 8, 15, 9, 12, 5, 6, 3, 0, 14,
        11, 8, 12, 7, 1, 14, 2, 13, 6, 15, 0, 9, 10, 4, 5, 3,
    },
    {
        12, 1, 10, 15, 9, 2, 6, 8, 0, 13, 3, 4, 14, 7, 5, 11,
        10, 15, 4, 2, 7, 12, 9, 5, 6, 1, 13, 14, 0, 11, 3, 8,
        9, 14, 15, 5, 2, 8, 12, 3, 7, 0, 4, 10, 1, 13, 11, 6,
        4, 3, 2, 12, 9, 5, 15, 10, 11, 14, 1, 7, 6, 0, 8, 13,
    },
    {
        4, 11, 2, 14, 15, 0, 8, 13, 3, 12, 9, 7, 5, 10, 6, 1,
        13, 0, 11, 7, 4, 9, 1, 10, 14, 3, 5, 12, 2, 15, 8, 6,
        1, 4, 11, 13, 12, 3, 7, 14, 10, 15, 6, 8, 0, 5, 9, 2,
        6, 11, 13, 8, 1, 4, 10, 7, 9, 5, 0, 15, 14, 2, 3, 12,
    },
    {
        13, 2, 8, 4, 6, 15, 11, 1, 10, 9, 3, 14, 5, 0, 12, 7,
        1, 15, 13, 8, 10, 3, 7, 4, 12, 5, 6, 11, 0, 14, 9, 2,
        7, 11, 4, 1, 9, 12, 14, 2, 0, 6, 10, 13, 15, 3, 5, 8,
        2, 1, 14, 7, 4, 10, 8, 13, 15, 12, 9, 0, 3, 5, 6, 11,
    },
};
// clang-format on

} // namespace fips46

namespace des {

// Half blocks are kept rotated left by one, so that the six bits that E selects for S8, S6, S4 and S2 are the low six
// bits of bytes 0 to 3 (byte 0 is the lowest); rotated right by four more, the same holds for S7, S5, S3 and S1.
inline constexpr int kHalfRotation = 1;
inline constexpr int kOddBoxRotation = 4;

// S-box (0 is S1) and permutation P in one: the word that a box contributes to the output of the round function.
consteval std::uint32_t permuted_output(std::size_t box, unsigned input)
{
    const unsigned row = (input >> 4 & 2) | (input & 1);
    const unsigned column = input >> 1 & 15;
    const std::uint32_t output = std::uint32_t{fips46::kSBoxes[box][16 * row + column]} << (28 - 4 * box);
    std::uint32_t permuted = 0;
    for (std::size_t i = 0; i < 32; ++i)
        permuted |= (output >> (32 - fips46::kP[i]) & 1) << (31 - i);
    return std::rotl(permuted, kHalfRotation);
}

struct sp_box_table {
    std::uint32_t entries[8][64];
};

consteval sp_box_table make_sp_boxes()
{
    sp_box_table table{};
    for (std::size_t box = 0; box < 8; ++box) {
        for (unsigned input = 0; input < 64; ++input)
            table.entries[box][input] = permuted_output(box, input);
    }
    return table;
}

// All boxes in one object, so that one base address serves them all.
alignas(64) inline constexpr auto kSPBoxes = make_sp_boxes();

// The standard counts from 1.
template <std::size_t N>
consteval std::array<std::uint8_t, N> counted_from_0(std::array<std::uint8_t, N> choice)
{
    for (std::uint8_t& bit : choice)
        --bit;
    return choice;
}

template <std::size_t N>
consteval std::array<std::uint32_t, N> single_bits()
{
    std::array<std::uint32_t, N> masks{};
    for (std::size_t i = 0; i < N; ++i)
        masks[i] = std::uint32_t{1} << (N - 1 - i);
    return masks;
}

} // namespace des

// Each S-box merged with the permutation P.
inline constexpr const auto& SPBox_1 = des::kSPBoxes.entries[0];
inline constexpr const auto& SPBox_2 = des::kSPBoxes.entries[1];
inline constexpr const auto& SPBox_3 = des::kSPBoxes.entries[2];
inline constexpr const auto& SPBox_4 = des::kSPBoxes.entries[3];
inline constexpr const auto& SPBox_5 = des::kSPBoxes.entries[4];
inline constexpr const auto& SPBox_6 = des::kSPBoxes.entries[5];
inline constexpr const auto& SPBox_7 = des::kSPBoxes.entries[6];
inline constexpr const auto& SPBox_8 = des::kSPBoxes.entries[7];

// The permuted choices, bits counted from 0.
inline constexpr auto PChoice_1 = des::counted_from_0(fips46::kPermutedChoice1);
inline constexpr auto PChoice_2 = des::counted_from_0(fips46::kPermutedChoice2);

// Places by which the key registers have been rotated left in each round. The name is spelled so on purpose.
inline constexpr std::array<std::uint8_t, 16> LCShitSchedule{1, 2, 4, 6, 8, 10, 12, 14, 15, 17, 19, 21, 23, 25, 27, 28};

inline constexpr auto BitArray = des::single_bits<8>(); // bits of a key byte, the highest first
inline constexpr auto bigbyte = des::single_bits<24>(); // bits of half a round key, the highest first

static_assert(SPBox_1[0] == 0x01010400 && SPBox_8[63] == 0x10041000);
static_assert(PChoice_1[0] == 56 && PChoice_2[47] == 31);
static_assert(BitArray[0] == 0x80 && BitArray[7] == 0x01 && bigbyte[0] == 0x800000 && bigbyte[23] == 0x1);

} // namespace zrc
