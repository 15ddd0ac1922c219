// The LEA engine inside the library: single blocks and kernels. One schedule serves both directions.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/lea.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

static_assert(sizeof(ZRC_LEA_KEY) == 772);

// Nothing is done with a schedule that is not keyed. All numbers of rounds are multiples of 4.
constexpr bool is_keyed(const ZRC_LEA_KEY& key) noexcept
{
    return key.rounds == 24 || key.rounds == 28 || key.rounds == 32;
}

struct lea_cipher {
    using key = ZRC_LEA_KEY;
    static constexpr std::size_t block_bytes = 16;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

void lea_blocks_portable(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept;

#if KESTRIM_X86_64_KERNELS
void lea_blocks_avx512(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept;
void lea_blocks_avx2(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept;
#endif

// The list, best first, and the choice made from it.
extern kernel_choice<blocks_fn<ZRC_LEA_KEY>> lea_kernels;

} // namespace zrc
