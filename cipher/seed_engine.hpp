// Inner interface of SEED (RFC 4269) and SEED-256: single blocks, and whole blocks in every mode.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/seed.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// With any other schedule neither the block functions nor the kernels write anything.
constexpr bool is_keyed(const ZRC_SEED_KEY& schedule) noexcept
{
    return schedule.rounds == 16 || schedule.rounds == 24;
}

struct seed_cipher {
    using key = ZRC_SEED_KEY;
    static constexpr std::size_t block_bytes = 16;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

void seed_blocks_portable(const ZRC_SEED_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                          std::uint8_t* out, std::size_t blocks) noexcept;

#if KESTRIM_X86_64_KERNELS
void seed_blocks_gfni(const ZRC_SEED_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                      std::uint8_t* out, std::size_t blocks) noexcept;
#endif

extern kernel_choice<blocks_fn<ZRC_SEED_KEY>> seed_kernels;

} // namespace zrc
