// ARIA's constants (RFC 5794): the four S-boxes from their algebra, as bytes and spread over words, and CK1 to CK3.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {

using aria_box = std::array<std::uint8_t, 256>;
using aria_word_box = std::array<std::uint32_t, 256>;

// x^Exponent for every x of GF(2^8) with the polynomial x^8 + x^4 + x^3 + x + 1; 0 stays 0.
template <unsigned Exponent>
consteval aria_box aria_powers()
{
    std::array<std::uint8_t, 255> power{}; // of x + 1, which generates the multiplicative group
    std::array<unsigned, 256> log{};
    unsigned value = 1;
    for (unsigned i = 0; i < 255; ++i) {
        power[i] = std::uint8_t(value);
        log[value] = i;
        value ^= value << 1 ^ (value & 0x80 ? 0x11BU : 0U);
    }
    aria_box box{};
    for (std::size_t x = 1; x < 256; ++x)
        box[x] = power[log[x] * Exponent % 255];
    return box;
}

// rows * box[x] + constant for every x. Row i makes bit i; bit j of a row takes bit j.
consteval aria_box aria_affine(const aria_box& box, const std::array<std::uint8_t, 8>& rows, std::uint8_t constant)
{
    aria_box result{};
    for (std::size_t x = 0; x < 256; ++x) {
        unsigned bits = constant;
        for (unsigned i = 0; i < 8; ++i)
            bits ^= (unsigned(std::popcount(unsigned(rows[i] & box[x]))) & 1U) << i;
        result[x] = std::uint8_t(bits);
    }
    return result;
}

consteval aria_box aria_inverse(const aria_box& box)
{
    aria_box result{};
    for (std::size_t x = 0; x < 256; ++x)
        result[box[x]] = std::uint8_t(x);
    return result;
}

inline constexpr std::array<std::uint8_t, 8> kAriaRows1{0xF1, 0xE3, 0xC7, 0x8F, 0x1F, 0x3E, 0x7C, 0xF8};
inline constexpr std::array<std::uint8_t, 8> kAriaRows2{0x7A, 0xBC, 0xEB, 0xB9, 0x34, 0x81, 0xBA, 0xCB};
inline constexpr std::uint8_t kAriaConstant1 = 0x63, kAriaConstant2 = 0xE2;

inline constexpr aria_box kAriaSb1 = aria_affine(aria_powers<254>(), kAriaRows1, kAriaConstant1);
inline constexpr aria_box kAriaSb2 = aria_affine(aria_powers<247>(), kAriaRows2, kAriaConstant2);
inline constexpr aria_box kAriaSb3 = aria_inverse(kAriaSb1);
inline constexpr aria_box kAriaSb4 = aria_inverse(kAriaSb2);

// Each entry of a box in those bytes of a word that `pattern` names with 0x01.
consteval aria_word_box aria_spread(const aria_box& box, std::uint32_t pattern)
{
    aria_word_box words{};
    for (std::size_t x = 0; x < 256; ++x)
        words[x] = box[x] * pattern;
    return words;
}

// One look-up substitutes a byte and takes it to the three other bytes of its word, the first step of the diffusion.
// In the second kind of substitution layer the box meets the byte two places further, and the halves of the word come
// out exchanged.
alignas(64) inline constexpr aria_word_box S1 = aria_spread(kAriaSb1, 0x00010101);
alignas(64) inline constexpr aria_word_box S2 = aria_spread(kAriaSb2, 0x01000101);
alignas(64) inline constexpr aria_word_box X1 = aria_spread(kAriaSb3, 0x01010001);
alignas(64) inline constexpr aria_word_box X2 = aria_spread(kAriaSb4, 0x01010100);

static_assert(S1[0x00] == 0x00636363 && S1[0x01] == 0x007C7C7C && S1[0xFF] == 0x00161616);
static_assert(S2[0x00] == 0xE200E2E2 && S2[0x01] == 0x4E004E4E && S2[0xFF] == 0x81008181);
static_assert(X1[0x00] == 0x52520052 && X1[0x01] == 0x09090009 && X1[0xFF] == 0x7D7D007D);
static_assert(X2[0x00] == 0x30303000 && X2[0x01] == 0x68686800 && X2[0xFF] == 0x60606000);

// CK1, CK2, CK3: the first 384 bits of the fraction of 1/pi.
inline constexpr std::uint32_t KRK[3][4]{
    {0x517CC1B7, 0x27220A94, 0xFE13ABE8, 0xFA9A6EE0},
    {0x6DB14ACC, 0x9E21C820, 0xFF28B1D5, 0xEF5DE2B0},
    {0xDB92371D, 0x2126E970, 0x03249775, 0x04E8C90E},
};

} // namespace zrc
