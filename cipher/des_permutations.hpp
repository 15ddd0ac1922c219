// The initial and the final permutation of DES (FIPS 46-3) as exchanges of bits between the halves of a block.
#pragma once

#include <cstdint>

namespace zrc::des {

struct halves {
    std::uint32_t left;
    std::uint32_t right;
};

// Exchanges the bits of `b` under `mask` with those of `a` that stand `shift` places higher.
template <class Word>
[[gnu::always_inline]] constexpr void exchange_bits(Word& a, Word& b, int shift, Word mask) noexcept
{
    const Word differing = ((a >> shift) ^ b) & mask;
    b ^= differing;
    a ^= differing << shift;
}

[[gnu::always_inline]] constexpr halves initial_permutation(std::uint64_t block) noexcept
{
    auto left = std::uint32_t(block >> 32), right = std::uint32_t(block);
    exchange_bits(left, right, 4, 0x0F0F0F0FU);
    exchange_bits(left, right, 16, 0x0000FFFFU);
    exchange_bits(right, left, 2, 0x33333333U);
    exchange_bits(right, left, 8, 0x00FF00FFU);
    exchange_bits(left, right, 1, 0x55555555U);
    return {left, right};
}

// The exchanges of the initial permutation, last one first.
[[gnu::always_inline]] constexpr std::uint64_t final_permutation(halves block) noexcept
{
    auto [left, right] = block;
    exchange_bits(left, right, 1, 0x55555555U);
    exchange_bits(right, left, 8, 0x00FF00FFU);
    exchange_bits(right, left, 2, 0x33333333U);
    exchange_bits(left, right, 16, 0x0000FFFFU);
    exchange_bits(left, right, 4, 0x0F0F0F0FU);
    return std::uint64_t{left} << 32 | right;
}

} // namespace zrc::des
