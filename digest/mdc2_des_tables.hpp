// Tables of the DES core of MDC-2: the boxes and permutations of FIPS 46-3 in the standard's own layout, and the
// three tables computed from them that the core works with.
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

namespace mdc2_des {

// Arrangement of the core. A half block is kept rotated left by one, so that the six bits that E selects for S8,
// S6, S4 and S2 are the low six bits of its bytes 0 to 3 (byte 0 is the lowest); rotated right by four more, the
// same holds for S7, S5, S3 and S1. A round key is arranged alike: word 1 for the odd boxes, word 0 for the even
// ones.
inline constexpr int kHalfRotation = 1;
inline constexpr int kOddBoxRotation = 4;

// Byte of the word of its parity in which the input of a box (0 is S1) stands.
consteval std::size_t byte_of_box(std::size_t box)
{
    return 3 - box / 2;
}

// S-box and permutation P in one: the word that a box contributes to the output of the round function.
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

// Key schedule: the registers C and D of 28 bits are cut into nibbles, and a row of the table says what one nibble
// contributes to the round keys of two rounds, the second of which has its registers two places further left. Eight
// such pairs make the sixteen rounds. C reaches the boxes S1 to S4 only, and D the boxes S5 to S8, so of each
// 64-bit round key, word 1 above word 0, C fills the first and third 16-bit piece and D the others. In a row of C
// these pieces stand, from the top, as
//
//     first round: piece 1 | second round: piece 1 | first round: piece 3 | second round: piece 3
//
// and alike for D (pieces 2 and 4), so that exchanging the even pieces of C with the odd ones of D leaves two round
// keys. The eighth nibble of each register is always empty.
struct key_schedule_table {
    std::uint64_t rows[2][8][16];
};

inline constexpr std::size_t kRegisterBits = 28;
inline constexpr std::size_t kNibbles = kRegisterBits / 4;

// Contribution of bit `bit` (from 0, the rightmost) of register `half` to the two round keys of a pair.
consteval std::uint64_t key_schedule_bit(std::size_t half, std::size_t bit)
{
    std::uint64_t row = 0;
    for (std::size_t i = 24 * half; i < 24 * half + 24; ++i) {
        const std::size_t selected = 28 * (half + 1) - fips46::kPermutedChoice2[i]; // counted like `bit`
        const std::size_t box = i / 6;
        const std::size_t piece_bit = 8 * (byte_of_box(box) % 2) + 5 - i % 6;
        const std::size_t first_piece = box % 2 == 0 ? 48 : 16;
        if (selected == bit) row |= std::uint64_t{1} << (first_piece + piece_bit);
        if (selected == (bit + 2) % kRegisterBits) row |= std::uint64_t{1} << (first_piece - 16 + piece_bit);
    }
    return row;
}

consteval key_schedule_table make_key_schedule()
{
    key_schedule_table table{};
    for (std::size_t half = 0; half < 2; ++half) {
        for (std::size_t bit = 0; bit < kRegisterBits; ++bit) {
            const std::uint64_t row = key_schedule_bit(half, bit);
            for (std::size_t value = 0; value < 16; ++value)
                if (value >> bit % 4 & 1) table.rows[half][bit / 4][value] |= row;
        }
    }
    return table;
}

consteval std::array<std::uint8_t, 256> make_odd_parity()
{
    std::array<std::uint8_t, 256> table{};
    for (unsigned value = 0; value < 256; ++value) {
        const unsigned high_bits = value & 0xFE;
        table[value] = std::uint8_t(high_bits | (std::popcount(high_bits) % 2 == 0));
    }
    return table;
}

} // namespace mdc2_des

alignas(64) inline constexpr auto MDC2_DES_SPBox = mdc2_des::make_sp_boxes();
alignas(64) inline constexpr auto MDC2_DES_KeySchedule = mdc2_des::make_key_schedule();

// Each byte value with its low bit set so that the number of ones is odd.
inline constexpr auto MDC2_DES_OddParityBit_Array = mdc2_des::make_odd_parity();

static_assert(sizeof MDC2_DES_SPBox == 2048 && sizeof MDC2_DES_KeySchedule == 2048);
static_assert(MDC2_DES_OddParityBit_Array[0x00] == 0x01 && MDC2_DES_OddParityBit_Array[0x01] == 0x01);
static_assert(MDC2_DES_OddParityBit_Array[0x52] == 0x52 && MDC2_DES_OddParityBit_Array[0xFF] == 0xFE);

} // namespace zrc
