// The two S-boxes of SEED and its four SS tables, computed from their definition (RFC 4269, section 2.3).
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {

using byte_table = std::array<std::uint8_t, 256>;

// A matrix over GF(2) as eight rows: the first makes the top bit of the product, the top bit of a row meets the top
// bit of the byte.
using bit_matrix = std::array<std::uint8_t, 8>;

constexpr std::uint8_t multiply(const bit_matrix& matrix, std::uint8_t byte) noexcept
{
    unsigned product = 0;
    for (const std::uint8_t row : matrix)
        product = product << 1 | (unsigned(std::popcount(std::uint8_t(row & byte))) & 1U);
    return std::uint8_t(product);
}

// x times a in GF(2)[x] modulo a polynomial of degree 8.
constexpr std::uint8_t gf256_times_x(std::uint8_t a, unsigned polynomial) noexcept
{
    return std::uint8_t(unsigned{a} << 1 ^ (a & 0x80 ? polynomial : 0));
}

constexpr std::uint8_t gf256_multiply(std::uint8_t a, std::uint8_t b, unsigned polynomial) noexcept
{
    std::uint8_t product = 0;
    for (; b != 0; b >>= 1, a = gf256_times_x(a, polynomial))
        if (b & 1) product ^= a;
    return product;
}

constexpr unsigned kSeedPolynomial = 0x163; // x^8 + x^6 + x^5 + x + 1

constexpr bit_matrix kSeedMatrix1{0x8A, 0xFE, 0x85, 0x42, 0x45, 0x21, 0x88, 0x14};
constexpr bit_matrix kSeedMatrix2{0x45, 0x85, 0xFE, 0x21, 0x8A, 0x88, 0x42, 0x14};
constexpr std::uint8_t kSeedConstant1 = 0xA9, kSeedConstant2 = 0x38;

// matrix * x^exponent + constant for every x. x runs through the powers of the field's generator, so the power is a
// step through the same list.
constexpr byte_table seed_s_box(const bit_matrix& matrix, unsigned exponent, std::uint8_t constant) noexcept
{
    std::array<std::uint8_t, 255> power{};
    std::uint8_t next = 1;
    for (std::uint8_t& p : power) {
        p = next;
        next = gf256_times_x(next, kSeedPolynomial);
    }
    byte_table box{};
    box[0] = constant;
    for (unsigned i = 0; i < 255; ++i)
        box[power[i]] = std::uint8_t(multiply(matrix, power[i * exponent % 255]) ^ constant);
    return box;
}

constexpr byte_table kSeedS1 = seed_s_box(kSeedMatrix1, 247, kSeedConstant1);
constexpr byte_table kSeedS2 = seed_s_box(kSeedMatrix2, 251, kSeedConstant2);
static_assert(kSeedS1[0x00] == 0xA9 && kSeedS1[0x01] == 0x85 && kSeedS1[0x80] == 0x02 && kSeedS1[0xFF] == 0x9A);
static_assert(kSeedS2[0x00] == 0x38 && kSeedS2[0x01] == 0xE8 && kSeedS2[0x80] == 0x81 && kSeedS2[0xFF] == 0xB7);

// What byte i of the argument of G, from the least significant, adds to each byte of the result: all bits of its box
// but two, which are other ones for each byte.
constexpr std::array<std::uint32_t, 4> kSeedMask{0x3FCFF3FC, 0xFC3FCFF3, 0xF3FC3FCF, 0xCFF3FC3F};

consteval std::array<std::uint32_t, 4 * 256> make_seed_box()
{
    std::array<std::uint32_t, 4 * 256> box{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t x = 0; x < 256; ++x)
            box[256 * i + x] = (i % 2 == 0 ? kSeedS1 : kSeedS2)[x] * 0x01010101U & kSeedMask[i];
    return box;
}

// SS0, SS1, SS2 and SS3 one after another; SSi is for byte i of the argument of G, from the least significant.
alignas(64) inline constexpr auto SEED_BOX = make_seed_box();
static_assert(SEED_BOX[0] == 0x2989A1A8 && SEED_BOX[1] == 0x05858184);

} // namespace zrc
