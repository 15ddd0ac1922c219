// The exported functions of the DES core of MDC-2.
#include "digest/mdc2_des.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc::mdc2_des {
namespace {

// Bit `number` of a 64-bit block, counted from 1 at the left as in FIPS 46-3.
constexpr std::uint64_t standard_bit(std::size_t number)
{
    return std::uint64_t{1} << (64 - number);
}

// The exchanges and byte moves above do what the permutations of the standard say, bit by bit.
consteval bool permutations_follow_the_standard()
{
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint64_t bit = standard_bit(fips46::kInitialPermutation[i]);
        const permuted_block block = initial_permutation(std::uint32_t(bit >> 32), std::uint32_t(bit));
        if ((std::uint64_t{block.left} << 32 | block.right) != standard_bit(i + 1)) return false;
    }
    for (std::size_t i = 0; i < 56; ++i) {
        const std::uint64_t bit = standard_bit(fips46::kPermutedChoice1[i]);
        const auto [c, d] = permuted_choice_1(initial_permutation(std::uint32_t(bit >> 32), std::uint32_t(bit)));
        if ((std::uint64_t{c} << 28 | d) != std::uint64_t{1} << (55 - i)) return false;
    }
    return true;
}
static_assert(permutations_follow_the_standard());

} // namespace
} // namespace zrc::mdc2_des

void init_MDC2_DES_KEY(const std::uint8_t* key, ZRC_MDC2_DES_KEY* round_keys)
{
    if (!key || !round_keys) return;
    zrc::mdc2_des::expand_key(zrc::mdc2_des::load_permuted(key), *round_keys);
}

void encrypt_MDC2_DES_Block(std::uint8_t* block, const ZRC_MDC2_DES_KEY* round_keys)
{
    if (!block || !round_keys) return;
    const auto message = zrc::mdc2_des::load_permuted(block);
    const std::span<const ZRC_MDC2_DES_KEY, 1> key{round_keys, 1};
    zrc::mdc2_des::store_unpermuted(block, zrc::mdc2_des::encrypt(message, key)[0]);
}
