// The tables of AES (FIPS 197), computed from the algebra behind them: the field GF(2^8) with the polynomial 0x11B, the
// S-box as an affine map of the inverse, MixColumns as a multiplication.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace zrc {

using aes_table = std::array<std::uint32_t, 256>;

namespace aes_algebra {

constexpr std::uint8_t multiply(std::uint8_t a, std::uint8_t b)
{
    unsigned product = 0;
    for (unsigned x = a; b != 0; b >>= 1, x = x << 1 ^ (x & 0x80 ? 0x11B : 0))
        product ^= b & 1 ? x : 0;
    return std::uint8_t(product);
}

constexpr std::array<std::uint8_t, 256> make_s_box()
{
    std::array<std::uint8_t, 256> box{};
    for (unsigned x = 0; x < 256; ++x) {
        std::uint8_t inverse = 1, square = std::uint8_t(x);
        for (unsigned e = 254; e != 0; e >>= 1) { // x^254 = 1/x, and 0 stays 0
            if (e & 1) inverse = multiply(inverse, square);
            square = multiply(square, square);
        }
        box[x] = std::uint8_t(inverse ^ std::rotl(inverse, 1) ^ std::rotl(inverse, 2) ^ std::rotl(inverse, 3) ^
                              std::rotl(inverse, 4) ^ 0x63);
    }
    return box;
}
inline constexpr auto kSBox = make_s_box();

constexpr std::array<std::uint8_t, 256> make_inverse_s_box()
{
    std::array<std::uint8_t, 256> box{};
    for (unsigned x = 0; x < 256; ++x)
        box[kSBox[x]] = std::uint8_t(x);
    return box;
}
inline constexpr auto kInverseSBox = make_inverse_s_box();

// Entry x is `source(x)` times the four coefficients, the first one highest.
constexpr aes_table columns(const std::array<std::uint8_t, 4>& coefficients, auto source)
{
    aes_table table{};
    for (unsigned x = 0; x < 256; ++x) {
        for (const std::uint8_t c : coefficients)
            table[x] = table[x] << 8 | multiply(c, source(x));
    }
    return table;
}

constexpr aes_table rotated(const aes_table& table)
{
    aes_table result{};
    for (unsigned x = 0; x < 256; ++x)
        result[x] = std::rotr(table[x], 8);
    return result;
}

constexpr std::uint8_t substituted(unsigned x)
{
    return kSBox[x];
}
constexpr std::uint8_t substituted_back(unsigned x)
{
    return kInverseSBox[x];
}
constexpr std::uint8_t same(unsigned x)
{
    return std::uint8_t(x);
}

} // namespace aes_algebra

// Forward rounds: S-box, then MixColumns.
alignas(64) inline constexpr aes_table E_Table0 = aes_algebra::columns({2, 1, 1, 3}, aes_algebra::substituted);
alignas(64) inline constexpr aes_table E_Table1 = aes_algebra::rotated(E_Table0);
alignas(64) inline constexpr aes_table E_Table2 = aes_algebra::rotated(E_Table1);
alignas(64) inline constexpr aes_table E_Table3 = aes_algebra::rotated(E_Table2);
// Last round and key expansion: the S-box in the lowest byte; shifted where it is used.
alignas(64) inline constexpr aes_table E_Table4_0 = aes_algebra::columns({0, 0, 0, 1}, aes_algebra::substituted);

// Backward rounds: inverse S-box, then InvMixColumns.
alignas(64) inline constexpr aes_table D_Table0 = aes_algebra::columns({14, 9, 13, 11}, aes_algebra::substituted_back);
alignas(64) inline constexpr aes_table D_Table1 = aes_algebra::rotated(D_Table0);
alignas(64) inline constexpr aes_table D_Table2 = aes_algebra::rotated(D_Table1);
alignas(64) inline constexpr aes_table D_Table3 = aes_algebra::rotated(D_Table2);
// Last backward round: the inverse S-box in all four bytes.
alignas(64) inline constexpr aes_table D_Table4 = aes_algebra::columns({1, 1, 1, 1}, aes_algebra::substituted_back);

// InvMixColumns of a single byte, for round keys.
alignas(64) inline constexpr aes_table K_Sched0 = aes_algebra::columns({14, 9, 13, 11}, aes_algebra::same);
alignas(64) inline constexpr aes_table K_Sched1 = aes_algebra::rotated(K_Sched0);
alignas(64) inline constexpr aes_table K_Sched2 = aes_algebra::rotated(K_Sched1);
alignas(64) inline constexpr aes_table K_Sched3 = aes_algebra::rotated(K_Sched2);

static_assert(aes_algebra::kSBox[0x00] == 0x63 && aes_algebra::kSBox[0x53] == 0xED && aes_algebra::kSBox[0xFF] == 0x16);
static_assert(E_Table0[0] == 0xC66363A5 && D_Table0[0] == 0x51F4A750 && D_Table4[0] == 0x52525252);

} // namespace zrc
