// The ARIA engine inside the library: single blocks, schedules, kernels.
//
// Decryption is encryption with other round keys (the other half of the schedule), so everything below works with
// "the round keys" of one direction.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/aria.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

static_assert(sizeof(ZRC_ARIA_KEY) == 548);

// Nothing is done with a schedule that is not keyed.
constexpr bool is_keyed(const ZRC_ARIA_KEY& key) noexcept
{
    return key.rounds == 12 || key.rounds == 14 || key.rounds == 16;
}

struct aria_cipher {
    using key = ZRC_ARIA_KEY;
    static constexpr std::size_t block_bytes = 16;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

// Makes the schedule for encryption out of one that is keyed for decryption only, for modes that run the cipher
// forwards in both directions. `out` is key material: the caller wipes it.
void aria_forward_schedule(const ZRC_ARIA_KEY& decryption_only, ZRC_ARIA_KEY& out) noexcept;

void aria_blocks_portable(const ZRC_ARIA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                          std::uint8_t* out, std::size_t blocks) noexcept;

#if KESTRIM_X86_64_KERNELS
void aria_blocks_gfni(const ZRC_ARIA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                      std::uint8_t* out, std::size_t blocks) noexcept;
void aria_blocks_aes_ni(const ZRC_ARIA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                        std::uint8_t* out, std::size_t blocks) noexcept;
#endif

// The list, best first, and the choice made from it.
extern kernel_choice<blocks_fn<ZRC_ARIA_KEY>> aria_kernels;

} // namespace zrc
