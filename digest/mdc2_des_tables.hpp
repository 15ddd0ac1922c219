// Tables of the DES core of MDC-2, computed from the boxes and permutations of FIPS 46-3.
#pragma once

#include "cipher/des_tables.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {

namespace mdc2_des {

// The core keeps its half blocks as the engine of DES does. A round key is arranged alike: word 1 for the odd boxes,
// word 0 for the even ones.
using des::kHalfRotation;
using des::kOddBoxRotation;

// Byte of the word of its parity in which the input of a box (0 is S1) stands.
consteval std::size_t byte_of_box(std::size_t box)
{
    return 3 - box / 2;
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

inline constexpr const auto& MDC2_DES_SPBox = des::kSPBoxes;
alignas(64) inline constexpr auto MDC2_DES_KeySchedule = mdc2_des::make_key_schedule();

// Each byte value with its low bit set so that the number of ones is odd.
inline constexpr auto MDC2_DES_OddParityBit_Array = mdc2_des::make_odd_parity();

static_assert(sizeof MDC2_DES_SPBox == 2048 && sizeof MDC2_DES_KeySchedule == 2048);
static_assert(MDC2_DES_OddParityBit_Array[0x00] == 0x01 && MDC2_DES_OddParityBit_Array[0x01] == 0x01);
static_assert(MDC2_DES_OddParityBit_Array[0x52] == 0x52 && MDC2_DES_OddParityBit_Array[0xFF] == 0xFE);

} // namespace zrc
