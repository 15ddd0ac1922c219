// The exported functions of the DES core of MDC-2.
#include "digest/mdc2_des.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc::mdc2_des {
namespace {

// Moving bytes, permuted_choice_1 selects the bits that PC-1 of the standard does; those of a block count from 1 at
// the left.
consteval bool permuted_choice_follows_the_standard()
{
    for (std::size_t i = 0; i < 56; ++i) {
        const std::uint64_t bit = std::uint64_t{1} << (64 - fips46::kPermutedChoice1[i]);
        const auto [c, d] = permuted_choice_1(des::initial_permutation(bit));
        if ((std::uint64_t{c} << 28 | d) != std::uint64_t{1} << (55 - i)) return false;
    }
    return true;
}
static_assert(permuted_choice_follows_the_standard());

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
